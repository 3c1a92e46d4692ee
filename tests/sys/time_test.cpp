// Julian-day values: calendar fields, file-name texts, parsing and display.
#include "gnr_projectdb/sys.h"

#include "framework/yxdatetime.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <cwctype>
#include <random>

namespace {
constexpr double kMs = 1.0 / 86400000.0;
// 2024-02-29 13:45:07.089 UTC, a Thursday.
const double kLeapDay = 2460370.0 + (1 * 3600 + 45 * 60 + 7) / 86400.0 + 89 * kMs;  // JDN days start at noon
}  // namespace

TEST(SysJdn, ToSTKnownValues) {
    SYxSystemTime st;
    YxProjectDb_Sys_JdnToST(2451545.0, &st);  // J2000.0: 2000-01-01 12:00 UTC, a Saturday
    EXPECT_EQ(2000, st.wYear);
    EXPECT_EQ(1, st.wMonth);
    EXPECT_EQ(1, st.wDay);
    EXPECT_EQ(6, st.wDayOfWeek);
    EXPECT_EQ(12, st.wHour);
    EXPECT_EQ(0, st.wMinute);
    YxProjectDb_Sys_JdnToST(kLeapDay, &st);
    EXPECT_EQ(2024, st.wYear);
    EXPECT_EQ(2, st.wMonth);
    EXPECT_EQ(29, st.wDay);
    EXPECT_EQ(4, st.wDayOfWeek);
    EXPECT_EQ(13, st.wHour);
    EXPECT_EQ(45, st.wMinute);
    EXPECT_EQ(7, st.wSecond);
    EXPECT_EQ(89, st.wMilliseconds);
    YxProjectDb_Sys_JdnToST(kLeapDay, nullptr);  // ignored
}

TEST(SysJdn, NowIsSqlitesJulianDay) {
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &db));
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(db, "SELECT julianday('now')", -1, &st, nullptr));
    const double before = YxProjectDb_Sys_JdnNow();
    ASSERT_EQ(SQLITE_ROW, sqlite3_step(st));
    const double sqliteNow = sqlite3_column_double(st, 0);
    const double after = YxProjectDb_Sys_JdnNow();
    sqlite3_finalize(st);
    sqlite3_close(db);
    EXPECT_LE(before - 2 * kMs, sqliteNow);
    EXPECT_LE(sqliteNow, after + 2 * kMs);
    EXPECT_LT(after - before, 1.0 / 86400.0);
}

TEST(SysJdn, FormatForFileFlagCombinations) {
    EXPECT_EQ(L"20240229_134507_089", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, true, true, true));
    EXPECT_EQ(L"20240229", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, true, false, false));
    EXPECT_EQ(L"20240229_134507", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, true, true, false));
    EXPECT_EQ(L"20240229_089", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, true, false, true));
    EXPECT_EQ(L"134507_089", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, false, true, true));
    EXPECT_EQ(L"134507", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, false, true, false));
    EXPECT_EQ(L"089", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, false, false, true));
    EXPECT_EQ(L"", YxProjectDb_Sys_JdnFormatForFile(kLeapDay, false, false, false));
    // Padding of small fields.
    SYxSystemTime early;
    early.wYear = 1;
    early.wMonth = 1;
    early.wDay = 2;
    early.wHour = 3;
    early.wMinute = 4;
    early.wSecond = 5;
    early.wMilliseconds = 6;
    EXPECT_EQ(L"00010102_030405_006", YxProjectDb_Sys_JdnFormatForFile(YxJdn_FromSystemTime(early), true, true, true));
}

TEST(SysJdnParse, AcceptedForms) {
    double jdn = 0;
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"2024-02-29 13:45:07.089", &jdn));
    EXPECT_NEAR(kLeapDay, jdn, 0.1 * kMs);
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"  2024-02-29T13:45:07.0891Z ", &jdn));
    EXPECT_NEAR(kLeapDay, jdn, 0.1 * kMs);
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"2000-01-01", &jdn));
    EXPECT_EQ(2451544.5, jdn);
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"2000-01-01 12:00", &jdn));
    EXPECT_EQ(2451545.0, jdn);
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"2000-01-01 12:00:00.5", &jdn));
    EXPECT_NEAR(2451545.0 + 500 * kMs, jdn, 0.1 * kMs);
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"20240229_134507_089", &jdn));
    EXPECT_NEAR(kLeapDay, jdn, 0.1 * kMs);
    ASSERT_TRUE(YxProjectDb_Sys_JdnParse(L"20240229", &jdn));
    EXPECT_EQ(2460369.5, jdn);
}

TEST(SysJdnParse, RejectsOtherTexts) {
    double jdn = 123.0;
    for (const wchar_t* bad :
         {L"", L"   ", L"2024-2-29", L"2023-02-29", L"2024-13-01", L"2024-04-31", L"2024-01-01 24:00",
          L"2024-01-01 12:60", L"2024-01-01 12:00:60", L"2024-01-01 12", L"2024-01-01 12:00:", L"2024-01-01 12:00:00.",
          L"2024-01-01x", L"20240101_1200", L"20240101_120000_12", L"20240101 120000", L"2024010", L"yesterday"}) {
        EXPECT_FALSE(YxProjectDb_Sys_JdnParse(bad, &jdn)) << CYxStringW(bad).ToUtf8();
    }
    EXPECT_EQ(123.0, jdn);
    EXPECT_FALSE(YxProjectDb_Sys_JdnParse(nullptr, &jdn));
    EXPECT_FALSE(YxProjectDb_Sys_JdnParse(L"2024-01-01", nullptr));
}

// What JdnFormatForFile writes, JdnParse reads back to the millisecond.
TEST(SysJdnParse, RoundTripsTheFileForm) {
    std::mt19937_64 rng(1234);
    std::uniform_int_distribution<std::int64_t> ms(-62135596800000LL + 86400000LL, 253402300799999LL);  // years 1..9999
    for (int i = 0; i < 2000; ++i) {
        const double jdn = YxJdn_FromUnixMs(ms(rng));
        const CYxStringW text = YxProjectDb_Sys_JdnFormatForFile(jdn, true, true, true);
        double back = 0;
        ASSERT_TRUE(YxProjectDb_Sys_JdnParse(text, &back)) << text.ToUtf8();
        ASSERT_EQ(YxJdn_ToUnixMs(jdn), YxJdn_ToUnixMs(back)) << text.ToUtf8();
        ASSERT_EQ(text, YxProjectDb_Sys_JdnFormatForFile(back, true, true, true));
    }
}

// Display forms in local time: pinned to a zone and the C locale here so
// that the texts are known.
class SysDisplayTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        m_hadTz = tz != nullptr;
        if (tz) m_oldTz = tz;
        setenv("TZ", "UTC-2", 1);  // two hours east of UTC, no daylight saving
        tzset();
    }
    void TearDown() override {
        if (m_hadTz)
            setenv("TZ", m_oldTz.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    bool m_hadTz = false;
    std::string m_oldTz;
};

TEST_F(SysDisplayTest, LocaleIndependentTime) {
    EXPECT_EQ(L"15:45:07.089", YxProjectDb_Sys_JdnFormatTimeHHMMSSmmm(kLeapDay));
}

TEST_F(SysDisplayTest, FormsInLocalTime) {
    const char* lang = std::getenv("LC_ALL");
    if (!lang || !*lang) lang = std::getenv("LC_TIME");
    if (!lang || !*lang) lang = std::getenv("LANG");
    const std::string l = lang ? lang : "";
    if (!l.empty() && l != "C" && l != "POSIX" && l.rfind("C.", 0) != 0)
        GTEST_SKIP() << "texts are checked in the C locale only; environment has " << lang;
    EXPECT_EQ(L"02/29/24", YxProjectDb_Sys_JdnFormatDateShort(kLeapDay));
    EXPECT_EQ(L"02/29", YxProjectDb_Sys_JdnFormatDateDM(kLeapDay));
    EXPECT_EQ(L"Thursday, 29 February 2024", YxProjectDb_Sys_JdnFormatDateLong(kLeapDay));
    EXPECT_EQ(L"15:45:07", YxProjectDb_Sys_JdnFormatTimeLong(kLeapDay));
    EXPECT_EQ(L"15:45", YxProjectDb_Sys_JdnFormatTimeShort(kLeapDay));
    EXPECT_EQ(L"02/29/24 15:45:07", YxProjectDb_Sys_JdnFormat(kLeapDay));
    EXPECT_EQ(L"02/29/24 15:45", YxProjectDb_Sys_JdnFormatShort(kLeapDay));
    EXPECT_EQ(L"Thu, 02/29/24 15:45", YxProjectDb_Sys_DayJdnFormatShort(kLeapDay));
    // Local midnight crossing: 23:30 UTC is already the next day here.
    EXPECT_EQ(L"03/01/24", YxProjectDb_Sys_JdnFormatDateShort(2460370.5 - 30.0 / 1440.0));
}
