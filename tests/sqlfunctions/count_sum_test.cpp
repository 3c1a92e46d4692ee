// bitwiseor, count_ret_null, count_str and double_sum.
#include "sqlfn_fixture.h"

TEST_F(SqlFnTest, BitwiseOrCombinesIntegersOnly) {
    Values({"1", "4", "'8'", "2.0", "NULL", "64"});
    EXPECT_EQ(1 | 4 | 64, One("SELECT bitwiseor(x) FROM v").i);
    Values({"-9223372036854775808", "1"});  // the sign bit survives
    EXPECT_EQ(INT64_MIN + 1, One("SELECT bitwiseor(x) FROM v").i);
    Values({});
    const SValue empty = One("SELECT bitwiseor(x) FROM v");
    EXPECT_EQ(SQLITE_INTEGER, empty.type);
    EXPECT_EQ(0, empty.i);
}

TEST_F(SqlFnTest, CountsSkipNullAndEmptyText) {
    Values({"NULL", "''", "NULL"});
    EXPECT_EQ(SQLITE_NULL, One("SELECT count_ret_null(x) FROM v").type);
    SValue n = One("SELECT count_str(x) FROM v");
    EXPECT_EQ(SQLITE_INTEGER, n.type);
    EXPECT_EQ(0, n.i);

    Values({"NULL", "''", "' '", "0", "0.0", "x''", "'a'"});  // blank, zeros and an empty blob count
    EXPECT_EQ(5, One("SELECT count_ret_null(x) FROM v").i);
    EXPECT_EQ(5, One("SELECT count_str(x) FROM v").i);
    // Without an argument every row counts.
    EXPECT_EQ(7, One("SELECT count_str() FROM v").i);

    Values({});
    EXPECT_EQ(SQLITE_NULL, One("SELECT count_ret_null(x) FROM v").type);
    EXPECT_EQ(0, One("SELECT count_str(x) FROM v").i);
}

TEST_F(SqlFnTest, DoubleSum) {
    Values({"1", "2.5", "NULL", "'3'"});
    const SValue s = One("SELECT double_sum(x) FROM v");
    EXPECT_EQ(SQLITE_FLOAT, s.type);
    EXPECT_DOUBLE_EQ(6.5, s.d);
    Values({"NULL"});
    EXPECT_EQ(SQLITE_NULL, One("SELECT double_sum(x) FROM v").type);
    // Beyond 64-bit integers no overflow error, unlike sum().
    Values({"9223372036854775807", "9223372036854775807"});
    EXPECT_DOUBLE_EQ(2 * 9223372036854775807.0, One("SELECT double_sum(x) FROM v").d);
}
