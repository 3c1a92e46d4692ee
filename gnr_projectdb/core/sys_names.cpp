// Numbered names: the prefix of a name without its number, and the first
// free numbered name among existing ones ("Run", "Run 1" -> "Run 2").
#include "gnr_projectdb/sys.h"

#include <cwctype>

namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool NamesEqual(const CYxStringW& a, const wchar_t* b, bool ignoreCase) {
    return ignoreCase ? a.CompareNoCase(b) == 0 : a == b;
}

bool IsTaken(const CYxStringW& candidate, const std::vector<CYxStringW>& existing, bool ignoreCase) {
    for (const CYxStringW& e : existing)
        if (NamesEqual(candidate, e, ignoreCase)) return true;
    return false;
}

}  // namespace

CYxStringW YxProjectDb_Sys_GetNamePrefix(const wchar_t* name, bool withBlank) {
    CYxStringW prefix(name);
    prefix.Trim();
    std::wstring& s = prefix.str();
    if (withBlank) {
        // A trailing " <digits>" group, when it ends the name.
        std::size_t i = s.size();
        while (i > 0 && IsDigit(s[i - 1])) --i;
        if (i < s.size() && i > 0 && s[i - 1] == L' ') s.erase(i - 1);
    } else {
        prefix.TrimRight(L"1234567890");
        prefix.TrimRight();
    }
    return prefix;
}

bool YxProjectDb_Sys_IsNameUnique(const wchar_t* name, const std::vector<CYxStringW>& existing,
                                  CYxStringW& uniqueName, bool withBlank, bool compare) {
    const CYxStringW original(name);
    uniqueName = original;
    if (!IsTaken(original, existing, compare)) return true;
    const CYxStringW prefix = YxProjectDb_Sys_GetNamePrefix(original, withBlank);
    const wchar_t* pattern = withBlank ? L"%s %d" : L"%s%d";
    // At most existing.size() candidates can be taken, so this ends.
    for (int number = 1;; ++number) {
        const CYxStringW candidate = CYxStringW::Format(pattern, prefix, number);
        if (!IsTaken(candidate, existing, compare)) {
            uniqueName = candidate;
            return false;
        }
    }
}
