// uuid, jdnnow, printjdn, bitwiseand and bitsetmasked, and their errors.
#include "sqlfn_fixture.h"

#include "gnr_projectdb/sys.h"

#include <cmath>
#include <set>

TEST_F(SqlFnTest, BitwiseAnd) {
    EXPECT_EQ(0x30, One("SELECT bitwiseand(0xF0, 0x3C)").i);
    EXPECT_EQ(-2, One("SELECT bitwiseand(-1, -2)").i);  // full 64 bits
    EXPECT_EQ(SQLITE_NULL, One("SELECT bitwiseand(1.0, 1)").type);
    EXPECT_EQ(SQLITE_NULL, One("SELECT bitwiseand(1, '1')").type);
    EXPECT_EQ(SQLITE_NULL, One("SELECT bitwiseand(NULL, 1)").type);
}

TEST_F(SqlFnTest, BitSetMasked) {
    EXPECT_EQ(0xCC, One("SELECT bitsetmasked(0xF0, 0x0F, 0x3C)").i);
    EXPECT_EQ(0xF0, One("SELECT bitsetmasked(0xF0, 0xFF, 0)").i);  // empty mask: unchanged
    EXPECT_EQ(0x0F, One("SELECT bitsetmasked(0xF0, 0x0F, -1)").i);  // full mask: the bits
    EXPECT_EQ(INT64_MIN | 1, One("SELECT bitsetmasked(1, -9223372036854775808, -9223372036854775808)").i);
}

TEST_F(SqlFnTest, ArgumentFaultsFailTheStatementWithTheirText) {
    EXPECT_EQ("Wrong parameter type", ErrorOf("SELECT bitsetmasked(1, 2, '3')"));
    EXPECT_EQ("Wrong parameter type", ErrorOf("SELECT bitsetmasked(NULL, 2, 3)"));
    EXPECT_EQ("Wrong parameter type", ErrorOf("SELECT bitsetmasked(1.5, 2, 3)"));
    EXPECT_EQ("Wrong parameter count", ErrorOf("SELECT bitsetmasked(1, 2)"));
    EXPECT_EQ("Wrong parameter count", ErrorOf("SELECT bitsetmasked(1, 2, 3, 4)"));
    EXPECT_EQ("Wrong parameter count", ErrorOf("SELECT bitwiseand(1)"));
    EXPECT_EQ("Wrong parameter count", ErrorOf("SELECT bitwiseand(1, 2, 3)"));
    EXPECT_EQ("Wrong parameter count", ErrorOf("SELECT printjdn(2460000.5)"));
    // Inside a query over rows, the first faulty row stops the statement.
    Values({"1", "'x'"});
    EXPECT_EQ("Wrong parameter type", ErrorOf("SELECT bitsetmasked(x, 1, 1) FROM v"));
}

TEST_F(SqlFnTest, UuidIsNewHexEachCall) {
    std::set<std::string> seen;
    for (int i = 0; i < 50; ++i) {
        const std::string u = One("SELECT uuid()").text;
        ASSERT_EQ(32u, u.size()) << u;
        EXPECT_EQ(std::string::npos, u.find_first_not_of("0123456789abcdef")) << u;
        seen.insert(u);
    }
    EXPECT_EQ(50u, seen.size());
    // Per row, not once per statement.
    Exec("CREATE TABLE u AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<20) "
         "SELECT uuid() AS id FROM n;");
    EXPECT_EQ(20, One("SELECT count(DISTINCT id) FROM u").i);
}

TEST_F(SqlFnTest, JdnNowAgreesWithJulianday) {
    const double before = YxProjectDb_Sys_JdnNow();
    const SValue v = One("SELECT jdnnow(), julianday('now')");
    const double after = YxProjectDb_Sys_JdnNow();
    EXPECT_EQ(SQLITE_FLOAT, v.type);
    const double oneSecond = 1.0 / 86400.0;
    EXPECT_GE(v.d, before - 0.002 * oneSecond);
    EXPECT_LE(v.d, after + 0.002 * oneSecond);
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(m_db, "SELECT jdnnow() - julianday('now')", -1, &st, nullptr));
    ASSERT_EQ(SQLITE_ROW, sqlite3_step(st));
    EXPECT_LT(std::fabs(sqlite3_column_double(st, 0)), oneSecond);
    sqlite3_finalize(st);
    // Readable by SQLite's own date functions.
    EXPECT_EQ(One("SELECT date('now')").text, One("SELECT date(jdnnow())").text);
}

TEST_F(SqlFnTest, PrintJdnWalksTheFormat) {
    const double jdn = 2460374.25;  // 2024-03-04 18:00 UTC
    const std::string d = YxProjectDb_Sys_JdnFormatDateShort(jdn).ToUtf8();
    const std::string D = YxProjectDb_Sys_JdnFormatDateLong(jdn).ToUtf8();
    const std::string t = YxProjectDb_Sys_JdnFormatTimeShort(jdn).ToUtf8();
    const std::string T = YxProjectDb_Sys_JdnFormatTimeLong(jdn).ToUtf8();
    ASSERT_FALSE(d.empty() || D.empty() || t.empty() || T.empty());
    EXPECT_EQ("Run of " + d + " at " + t + "!", One("SELECT printjdn(2460374.25, 'Run of %d at %t!')").text);
    EXPECT_EQ("[" + D + "|" + T + "]", One("SELECT printjdn(2460374.25, '[%D|%T]')").text);
    // Unknown pairs vanish, a lone trailing '%' too; text without '%' is copied.
    EXPECT_EQ("ab", One("SELECT printjdn(2460374.25, 'a%qb%%%')").text);
    EXPECT_EQ("Ünïcode ok", One("SELECT printjdn(2460374.25, 'Ünïcode ok')").text);
    EXPECT_EQ("", One("SELECT printjdn(2460374.25, '')").text);
    EXPECT_EQ(SQLITE_NULL, One("SELECT printjdn(NULL, '%d')").type);
}
