// Text helpers: alphanumeric copies, folder names and id strings.
#include "gnr_projectdb/sys.h"

#include "framework/yxunicode.h"

#include <cwchar>

CYxStringW YxProjectDb_Sys_ReplaceNonAlnum(const wchar_t* text, wchar_t replacement) {
    CYxStringW out(text);
    for (wchar_t& c : out.str())
        if (!yx::IsWordCharacter(c)) c = replacement;
    return out;
}

namespace {

bool IsInvalidInFolderName(wchar_t c) {
    return c < 0x20 || c == 0x7F || std::wcschr(L"/\\:*?\"<>|", c) != nullptr;
}

// CON, PRN, AUX, NUL, COM1-9, LPT1-9 as the whole name or before a dot.
bool IsReservedDeviceName(const std::wstring& name) {
    const std::size_t dot = name.find(L'.');
    CYxStringW base(name.substr(0, dot));
    base.MakeUpper();
    const std::wstring& b = base.str();
    if (b == L"CON" || b == L"PRN" || b == L"AUX" || b == L"NUL") return true;
    return b.size() == 4 && (b.compare(0, 3, L"COM") == 0 || b.compare(0, 3, L"LPT") == 0) && b[3] >= L'1' &&
           b[3] <= L'9';
}

}  // namespace

CYxStringW YxProjectDb_Sys_CheckFolderName(const wchar_t* name) {
    CYxStringW out(name);
    for (wchar_t& c : out.str())
        if (IsInvalidInFolderName(c)) c = L'_';
    out.Trim(L" .");
    if (out.IsEmpty()) return CYxStringW(L"_");
    if (IsReservedDeviceName(out.str())) out = L"_" + out;
    return out;
}

bool YxProjectDb_Sys_GetValueFromIdString(const wchar_t* idString, const wchar_t* key, CYxStringW& value) {
    if (!idString || !key) return false;
    CYxStringW wanted(key);
    wanted.Trim();
    const std::wstring s(idString);
    for (std::size_t start = 0; start <= s.size();) {
        std::size_t end = s.find(L';', start);
        if (end == std::wstring::npos) end = s.size();
        const std::wstring entry = s.substr(start, end - start);
        const std::size_t eq = entry.find(L'=');
        if (eq != std::wstring::npos) {
            CYxStringW k(entry.substr(0, eq));
            k.Trim();
            if (k.CompareNoCase(wanted) == 0) {
                CYxStringW v(entry.substr(eq + 1));
                v.Trim();
                value = v;
                return true;
            }
        }
        start = end + 1;
    }
    return false;
}
