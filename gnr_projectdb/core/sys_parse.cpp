// YxProjectDb_Sys_JdnParse: ISO dates and the compact file-name form.
#include "gnr_projectdb/sys.h"

#include "framework/yxdatetime.h"

#include <cwctype>

namespace {

// A cursor over the text; every reader advances only on success.
struct SCursor {
    const wchar_t* p;

    bool AtEnd() const { return *p == 0; }
    bool Accept(wchar_t c) {
        if (*p != c) return false;
        ++p;
        return true;
    }
    // Exactly `count` digits.
    bool Digits(int count, int& value) {
        int v = 0;
        for (int i = 0; i < count; ++i) {
            if (p[i] < L'0' || p[i] > L'9') return false;
            v = v * 10 + (p[i] - L'0');
        }
        p += count;
        value = v;
        return true;
    }
    void SkipBlanks() {
        while (*p && std::iswspace(static_cast<wint_t>(*p))) ++p;
    }
};

bool IsLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && IsLeap(y) ? 29 : days[m - 1];
}

bool IsValid(const SYxSystemTime& st) {
    return st.wMonth >= 1 && st.wMonth <= 12 && st.wDay >= 1 && st.wDay <= DaysInMonth(st.wYear, st.wMonth) &&
           st.wHour <= 23 && st.wMinute <= 59 && st.wSecond <= 59 && st.wMilliseconds <= 999;
}

// ".f..." after the seconds: up to three digits count, more are ignored.
bool ParseFraction(SCursor& c, int& ms) {
    if (c.p[0] < L'0' || c.p[0] > L'9') return false;
    int scale = 100;
    ms = 0;
    while (*c.p >= L'0' && *c.p <= L'9') {
        ms += (*c.p - L'0') * scale;
        scale /= 10;
        ++c.p;
    }
    return true;
}

// "YYYY-MM-DD[( |T)HH:MM[:SS[.f...]]][Z]"
bool ParseIso(SCursor c, SYxSystemTime& st) {
    if (!c.Digits(4, st.wYear) || !c.Accept(L'-') || !c.Digits(2, st.wMonth) || !c.Accept(L'-') ||
        !c.Digits(2, st.wDay))
        return false;
    if (c.Accept(L' ') || c.Accept(L'T')) {
        if (!c.Digits(2, st.wHour) || !c.Accept(L':') || !c.Digits(2, st.wMinute)) return false;
        if (c.Accept(L':')) {
            if (!c.Digits(2, st.wSecond)) return false;
            if (c.Accept(L'.') && !ParseFraction(c, st.wMilliseconds)) return false;
        }
        c.Accept(L'Z');
    }
    c.SkipBlanks();
    return c.AtEnd();
}

// "YYYYMMDD[_HHMMSS[_mmm]]"
bool ParseCompact(SCursor c, SYxSystemTime& st) {
    if (!c.Digits(4, st.wYear) || !c.Digits(2, st.wMonth) || !c.Digits(2, st.wDay)) return false;
    if (c.Accept(L'_')) {
        if (!c.Digits(2, st.wHour) || !c.Digits(2, st.wMinute) || !c.Digits(2, st.wSecond)) return false;
        if (c.Accept(L'_') && !c.Digits(3, st.wMilliseconds)) return false;
    }
    c.SkipBlanks();
    return c.AtEnd();
}

}  // namespace

bool YxProjectDb_Sys_JdnParse(const wchar_t* text, double* jdn) {
    if (!text || !jdn) return false;
    SCursor c{text};
    c.SkipBlanks();
    SYxSystemTime st;
    if (!ParseIso(c, st)) {
        st = SYxSystemTime();
        if (!ParseCompact(c, st)) return false;
    }
    if (!IsValid(st)) return false;
    *jdn = YxJdn_FromSystemTime(st);
    return true;
}
