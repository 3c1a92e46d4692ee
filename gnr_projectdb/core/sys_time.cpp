// Julian-day values: the current instant, calendar fields and the compact
// text of file and folder names. All in UTC.
#include "gnr_projectdb/sys.h"

#include "framework/yxdatetime.h"

double YxProjectDb_Sys_JdnNow() { return YxJdn_Now(); }

void YxProjectDb_Sys_JdnToST(double jdn, SYxSystemTime* st) {
    if (!st) return;
    *st = YxJdn_ToSystemTime(jdn);
}

CYxStringW YxProjectDb_Sys_JdnFormatForFile(double jdn, bool withDate, bool withTime, bool withMs) {
    SYxSystemTime st;
    YxProjectDb_Sys_JdnToST(jdn, &st);
    CYxStringW out;
    if (withDate) out.AppendFormat(L"%04d%02d%02d", st.wYear, st.wMonth, st.wDay);
    if (withTime) {
        if (withDate) out += L"_";
        out.AppendFormat(L"%02d%02d%02d", st.wHour, st.wMinute, st.wSecond);
    }
    if (withMs) {
        if (!out.IsEmpty()) out += L"_";
        out.AppendFormat(L"%03d", st.wMilliseconds);
    }
    return out;
}
