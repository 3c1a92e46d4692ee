// Julian-day values as SQLite reads them, and path splitting.
#include "framework/yxdatetime.h"
#include "uisupport/yxpath.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <cmath>

namespace {

SYxSystemTime Make(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    SYxSystemTime st;
    st.wYear = y;
    st.wMonth = mo;
    st.wDay = d;
    st.wHour = h;
    st.wMinute = mi;
    st.wSecond = s;
    st.wMilliseconds = ms;
    return st;
}

TEST(JulianDay, KnownDates) {
    EXPECT_DOUBLE_EQ(YxJdn_FromSystemTime(Make(2000, 1, 1, 12)), 2451545.0);
    EXPECT_DOUBLE_EQ(YxJdn_FromSystemTime(Make(1970, 1, 1)), 2440587.5);
    EXPECT_DOUBLE_EQ(YxJdn_FromUnixMs(0), 2440587.5);
    EXPECT_DOUBLE_EQ(YxJdn_FromSystemTime(Make(1858, 11, 17)), 2400000.5);  // MJD 0

    const SYxSystemTime j2000 = YxJdn_ToSystemTime(2451545.0);
    EXPECT_EQ(j2000.wYear, 2000);
    EXPECT_EQ(j2000.wMonth, 1);
    EXPECT_EQ(j2000.wDay, 1);
    EXPECT_EQ(j2000.wHour, 12);
    EXPECT_EQ(j2000.wMinute, 0);
    EXPECT_EQ(j2000.wDayOfWeek, 6);  // Saturday

    const SYxSystemTime leap = YxJdn_ToSystemTime(YxJdn_FromSystemTime(Make(2024, 2, 29, 23, 59, 58, 250)));
    EXPECT_EQ(leap.wMonth, 2);
    EXPECT_EQ(leap.wDay, 29);
    EXPECT_EQ(leap.wHour, 23);
    EXPECT_EQ(leap.wSecond, 58);
    EXPECT_EQ(leap.wMilliseconds, 250);
    EXPECT_EQ(leap.wDayOfWeek, 4);  // Thursday

    // Before 1970: negative Unix times split the right way.
    const SYxSystemTime before = YxJdn_ToSystemTime(YxJdn_FromUnixMs(-500));
    EXPECT_EQ(before.wYear, 1969);
    EXPECT_EQ(before.wMonth, 12);
    EXPECT_EQ(before.wDay, 31);
    EXPECT_EQ(before.wHour, 23);
    EXPECT_EQ(before.wSecond, 59);
    EXPECT_EQ(before.wMilliseconds, 500);
    EXPECT_EQ(before.wDayOfWeek, 3);  // Wednesday
}

TEST(JulianDay, MillisecondsSurviveTheRoundTrip) {
    for (std::int64_t ms : {std::int64_t{0}, std::int64_t{1}, std::int64_t{-1}, std::int64_t{946728000123},
                            std::int64_t{1700000000999}, std::int64_t{-86400001}, std::int64_t{4102444800000}})
        EXPECT_EQ(YxJdn_ToUnixMs(YxJdn_FromUnixMs(ms)), ms) << ms;
}

// Stored times must read correctly in any SQLite client.
TEST(JulianDay, NowAgreesWithTheClockAndWithSqlite) {
    using namespace std::chrono;
    const auto ms = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const double now = YxJdn_Now();
    EXPECT_NEAR(now, YxJdn_FromUnixMs(ms), 2.0 / 86400.0);

    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT julianday('now'), datetime(?1), julianday('2000-01-01 12:00:00')", -1,
                                 &stmt, nullptr),
              SQLITE_OK);
    sqlite3_bind_double(stmt, 1, YxJdn_FromSystemTime(Make(2021, 6, 30, 8, 15, 42)));
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_NEAR(sqlite3_column_double(stmt, 0), YxJdn_Now(), 2.0 / 86400.0);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)), "2021-06-30 08:15:42");
    EXPECT_DOUBLE_EQ(sqlite3_column_double(stmt, 2), 2451545.0);
    sqlite3_finalize(stmt);
    sqlite3_close(db);
}

TEST(PathSplit, FolderKeepsItsSeparator) {
    CYxStringW folder, name;
    YxPath_Split(L"/data/projects/p.db", folder, name);
    EXPECT_EQ(folder, L"/data/projects/");
    EXPECT_EQ(name, L"p.db");
    YxPath_Split(L"Project\\Run 1\\frame.tif", folder, name);
    EXPECT_EQ(folder, L"Project\\Run 1\\");
    EXPECT_EQ(name, L"frame.tif");
    YxPath_Split(L"a/b\\c", folder, name);  // mixed separators: the last one counts
    EXPECT_EQ(folder, L"a/b\\");
    EXPECT_EQ(name, L"c");
    YxPath_Split(L"/data/projects/", folder, name);
    EXPECT_EQ(folder, L"/data/");
    EXPECT_EQ(name, L"projects/");
    YxPath_Split(L"/root", folder, name);
    EXPECT_EQ(folder, L"/");
    EXPECT_EQ(name, L"root");
    YxPath_Split(L"plain", folder, name);
    EXPECT_EQ(folder, L"");
    EXPECT_EQ(name, L"plain");
    YxPath_Split(nullptr, folder, name);
    EXPECT_EQ(folder, L"");
    EXPECT_EQ(name, L"");
    YxPath_Split(L"/", folder, name);
    EXPECT_EQ(folder, L"");
    EXPECT_EQ(name, L"/");
}

}  // namespace
