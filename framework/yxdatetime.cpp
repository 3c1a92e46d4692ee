#include "framework/yxdatetime.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace {
constexpr double kUnixEpochJdn = 2440587.5;
constexpr double kMsPerDay = 86400000.0;

// Days since 1970-01-01 for a civil date (Howard Hinnant's algorithm).
std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void CivilFromDays(std::int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const std::int64_t yy = static_cast<std::int64_t>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yy + (m <= 2));
}

SYxSystemTime FromUnixMs(std::int64_t ms) {
    std::int64_t days = ms >= 0 ? ms / 86400000 : -((-ms + 86399999) / 86400000);
    std::int64_t rest = ms - days * 86400000;
    SYxSystemTime st;
    CivilFromDays(days, st.wYear, st.wMonth, st.wDay);
    st.wDayOfWeek = static_cast<int>(((days % 7) + 11) % 7);  // 1970-01-01 was a Thursday
    st.wHour = static_cast<int>(rest / 3600000);
    st.wMinute = static_cast<int>(rest / 60000 % 60);
    st.wSecond = static_cast<int>(rest / 1000 % 60);
    st.wMilliseconds = static_cast<int>(rest % 1000);
    return st;
}
}  // namespace

double YxJdn_FromUnixMs(std::int64_t ms) { return kUnixEpochJdn + static_cast<double>(ms) / kMsPerDay; }

std::int64_t YxJdn_ToUnixMs(double jdn) { return std::llround((jdn - kUnixEpochJdn) * kMsPerDay); }

double YxJdn_Now() {
    using namespace std::chrono;
    const auto ms = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    return YxJdn_FromUnixMs(static_cast<std::int64_t>(ms));
}

SYxSystemTime YxJdn_ToSystemTime(double jdn) { return FromUnixMs(YxJdn_ToUnixMs(jdn)); }

double YxJdn_FromSystemTime(const SYxSystemTime& st) {
    const std::int64_t days = DaysFromCivil(st.wYear, static_cast<unsigned>(st.wMonth), static_cast<unsigned>(st.wDay));
    const std::int64_t ms = days * 86400000 + st.wHour * 3600000LL + st.wMinute * 60000LL + st.wSecond * 1000LL +
                            st.wMilliseconds;
    return YxJdn_FromUnixMs(ms);
}

SYxSystemTime YxJdn_ToLocalSystemTime(double jdn) {
    const std::int64_t ms = YxJdn_ToUnixMs(jdn);
    std::time_t secs = static_cast<std::time_t>(ms >= 0 ? ms / 1000 : -((-ms + 999) / 1000));
    std::tm tmv{};
    localtime_r(&secs, &tmv);
    SYxSystemTime st;
    st.wYear = tmv.tm_year + 1900;
    st.wMonth = tmv.tm_mon + 1;
    st.wDayOfWeek = tmv.tm_wday;
    st.wDay = tmv.tm_mday;
    st.wHour = tmv.tm_hour;
    st.wMinute = tmv.tm_min;
    st.wSecond = tmv.tm_sec;
    st.wMilliseconds = static_cast<int>(ms - static_cast<std::int64_t>(secs) * 1000);
    return st;
}

double YX_GetTimeCounter() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}
