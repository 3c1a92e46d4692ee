#include "framework/yxnaturalcompare.h"

#include <cwchar>
#include "framework/yxunicode.h"


namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// End of the digit run that starts at `from`.
std::size_t DigitRunEnd(const wchar_t* s, std::size_t n, std::size_t from) {
    while (from < n && IsDigit(s[from])) ++from;
    return from;
}

// First position after the leading zeros of a run [from, end).
std::size_t SkipZeros(const wchar_t* s, std::size_t from, std::size_t end) {
    while (from < end && s[from] == L'0') ++from;
    return from;
}

}  // namespace

int YxNaturalCompareN(const wchar_t* a, std::size_t na, const wchar_t* b, std::size_t nb) {
    if (!a) na = 0;
    if (!b) nb = 0;
    std::size_t i = 0, j = 0;
    int zerosTie = 0;  // decided by the first digit runs that differ only in leading zeros
    while (i < na && j < nb) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            const std::size_t ea = DigitRunEnd(a, na, i), eb = DigitRunEnd(b, nb, j);
            const std::size_t za = SkipZeros(a, i, ea), zb = SkipZeros(b, j, eb);
            // Significant digits: more of them is the larger value.
            if (ea - za != eb - zb) return ea - za < eb - zb ? -1 : 1;
            for (std::size_t k = 0; k < ea - za; ++k)
                if (a[za + k] != b[zb + k]) return a[za + k] < b[zb + k] ? -1 : 1;
            if (zerosTie == 0 && za - i != zb - j) zerosTie = za - i < zb - j ? -1 : 1;
            i = ea;
            j = eb;
            continue;
        }
        const wchar_t x = yx::FoldCase(a[i]);
        const wchar_t y = yx::FoldCase(b[j]);
        if (x != y) return x < y ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < na) return 1;
    if (j < nb) return -1;
    return zerosTie;
}

int YxNaturalCompare(const wchar_t* a, const wchar_t* b) {
    return YxNaturalCompareN(a, a ? std::wcslen(a) : 0, b, b ? std::wcslen(b) : 0);
}
