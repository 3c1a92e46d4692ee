// Element names: rows and columns by letters (bijective base 26: A ... Z,
// AA ... AZ, BA ...) or by numbers from 1, optionally zero padded.
#include "gnr_projectdb/holders_geometry.h"

#include <cwchar>
#include <string>

namespace {

bool ValidNaming(int naming) {
    return naming == eYxNamingLetters || naming == eYxNamingNumbers || naming == eYxNamingNumbersPadded;
}

bool IsLetters(int naming) { return naming == eYxNamingLetters; }

std::wstring Letters(int index) {  // 0 -> A, 25 -> Z, 26 -> AA
    std::wstring s;
    for (int n = index + 1; n > 0; n = (n - 1) / 26) s.insert(s.begin(), static_cast<wchar_t>(L'A' + (n - 1) % 26));
    return s;
}

std::wstring Digits(long long n) {
    std::wstring s;
    do {
        s.insert(s.begin(), static_cast<wchar_t>(L'0' + n % 10));
        n /= 10;
    } while (n > 0);
    return s;
}

std::wstring Part(int index, int count, int naming) {
    if (naming == eYxNamingLetters) return Letters(index);
    std::wstring s = Digits(index + 1);
    if (naming == eYxNamingNumbersPadded) {
        const std::size_t width = Digits(count).size();
        if (s.size() < width) s.insert(0, width - s.size(), L'0');
    }
    return s;
}

bool IsAsciiLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }
bool IsAsciiDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Reads one part of a name starting at *p; the index from 0, or -1 when the
// part is empty, of the wrong kind or larger than count.
int ReadPart(const wchar_t*& p, int count, int naming) {
    long long value = 0;
    const wchar_t* start = p;
    if (IsLetters(naming)) {
        for (; IsAsciiLetter(*p); ++p) {
            const int digit = ((*p >= L'a') ? *p - L'a' : *p - L'A') + 1;
            value = value * 26 + digit;
            if (value > count) return -1;
        }
    } else {
        for (; IsAsciiDigit(*p); ++p) {
            value = value * 10 + (*p - L'0');
            if (value > count) return -1;
        }
    }
    if (p == start || value < 1) return -1;
    return static_cast<int>(value - 1);
}

}  // namespace

CYxStringW YxHolder_ElementName(int row, int col, int rows, int cols, int rowNaming, int colNaming) {
    if (!ValidNaming(rowNaming) || !ValidNaming(colNaming)) return CYxStringW();
    if (row < 0 || col < 0 || row >= rows || col >= cols) return CYxStringW();
    std::wstring s = Part(row, rows, rowNaming);
    if (IsLetters(rowNaming) == IsLetters(colNaming)) s += L'-';
    s += Part(col, cols, colNaming);
    return CYxStringW(std::move(s));
}

int YxHolder_ParseElementName(const wchar_t* name, int rows, int cols, int rowNaming, int colNaming, int* row,
                              int* col) {
    if (!name || !row || !col) return YXPDB_E_GENERIC;
    if (!ValidNaming(rowNaming) || !ValidNaming(colNaming) || rows <= 0 || cols <= 0) return YXPDB_E_NOTFOUND;
    const wchar_t* p = name;
    const int r = ReadPart(p, rows, rowNaming);
    if (r < 0) return YXPDB_E_NOTFOUND;
    if (IsLetters(rowNaming) == IsLetters(colNaming)) {
        if (*p != L'-') return YXPDB_E_NOTFOUND;
        ++p;
    }
    const int c = ReadPart(p, cols, colNaming);
    if (c < 0 || *p != 0) return YXPDB_E_NOTFOUND;
    *row = r;
    *col = c;
    return YXPDB_OK;
}
