// mode, median and the quartiles: kinds of groups, even sizes and ties.
#include "sqlfn_fixture.h"

#include <algorithm>
#include <random>

class OrderTest : public SqlFnTest {
protected:
    // The four results over v(x), formatted with SQLite's own printf of the
    // value and its type, e.g. "2/integer".
    std::string Pick(const char* fn) {
        const SValue v = One(std::string("SELECT ") + fn + "(x) FROM v");
        const char* type = v.type == SQLITE_INTEGER ? "integer" : v.type == SQLITE_FLOAT ? "real"
                         : v.type == SQLITE_NULL  ? "null"
                                                  : "other";
        return v.text + "/" + type;
    }
};

TEST_F(OrderTest, OddIntegerGroup) {
    Values({"9", "1", "5", "3", "7"});  // sorted 1 3 5 7 9
    EXPECT_EQ("5/integer", Pick("median"));
    EXPECT_EQ("3/integer", Pick("lower_quartile"));
    EXPECT_EQ("7/integer", Pick("upper_quartile"));
}

TEST_F(OrderTest, EvenGroupTakesNearestRank) {
    Values({"40", "10", "30", "20"});
    EXPECT_EQ("20/integer", Pick("median"));  // the lower middle value
    EXPECT_EQ("10/integer", Pick("lower_quartile"));
    EXPECT_EQ("30/integer", Pick("upper_quartile"));
    Values({"8", "1", "7", "2", "6", "3", "5", "4"});
    EXPECT_EQ("4/integer", Pick("median"));
    EXPECT_EQ("2/integer", Pick("lower_quartile"));
    EXPECT_EQ("6/integer", Pick("upper_quartile"));
    Values({"2.5", "0.5"});
    EXPECT_EQ("0.5/real", Pick("median"));
    EXPECT_EQ("0.5/real", Pick("lower_quartile"));
    EXPECT_EQ("2.5/real", Pick("upper_quartile"));
}

TEST_F(OrderTest, SingleValueAndEmptyGroups) {
    Values({"NULL", "42", "NULL"});
    for (const char* f : {"median", "lower_quartile", "upper_quartile", "mode"}) EXPECT_EQ("42/integer", Pick(f)) << f;
    Values({"NULL"});
    for (const char* f : {"median", "lower_quartile", "upper_quartile", "mode"}) EXPECT_EQ("/null", Pick(f)) << f;
}

// Against a sorted copy, for sizes 1..40: ranks ceil(n/4), ceil(n/2), ceil(3n/4).
TEST_F(OrderTest, RandomGroupsPickTheNearestRank) {
    std::mt19937 rng(99);
    std::uniform_int_distribution<int> dist(-1000, 1000);
    for (int n = 1; n <= 40; ++n) {
        std::vector<int> xs(n);
        std::vector<std::string> literals;
        for (int& x : xs) {
            x = dist(rng);
            literals.push_back(std::to_string(x));
        }
        Values(literals);
        std::sort(xs.begin(), xs.end());
        SCOPED_TRACE(n);
        EXPECT_EQ(xs[(n + 3) / 4 - 1], One("SELECT lower_quartile(x) FROM v").i);
        EXPECT_EQ(xs[(n + 1) / 2 - 1], One("SELECT median(x) FROM v").i);
        EXPECT_EQ(xs[(3 * n + 3) / 4 - 1], One("SELECT upper_quartile(x) FROM v").i);
    }
}

TEST_F(OrderTest, FirstValueDecidesTheKind) {
    // A real first: the whole group is real, the integers included.
    Values({"3.5", "1", "2"});
    EXPECT_EQ("2.0/real", Pick("median"));
    // An integer first: later reals are truncated to integers.
    Values({"1", "2.9", "3.5"});
    EXPECT_EQ("2/integer", Pick("median"));
}

TEST_F(OrderTest, TextGroupsSortNaturallyAndYieldNumbers) {
    // Texts sort by the natural order, so '10' is above '9'.
    Values({"'10'", "'9'", "'100'"});
    EXPECT_EQ("10.0/real", Pick("median"));
    EXPECT_EQ("9.0/real", Pick("lower_quartile"));
    EXPECT_EQ("100.0/real", Pick("upper_quartile"));
    Values({"'2.5'", "'abc'", "'2.5'"});
    EXPECT_EQ("2.5/real", Pick("mode"));
}

TEST_F(OrderTest, ModeAndItsTieBreak) {
    Values({"3", "1", "3", "2", "3", "1"});
    EXPECT_EQ("3/integer", Pick("mode"));
    Values({"3", "1", "3", "1", "2"});  // 1 and 3 twice: the smaller wins
    EXPECT_EQ("1/integer", Pick("mode"));
    Values({"5", "4", "3"});  // all once: the smallest
    EXPECT_EQ("3/integer", Pick("mode"));
    Values({"0.25", "0.75", "0.75", "NULL", "NULL", "NULL"});
    EXPECT_EQ("0.75/real", Pick("mode"));
}

TEST_F(OrderTest, GroupedQueries) {
    Exec("CREATE TABLE g(k, x); INSERT INTO g VALUES(1,5),(2,1),(1,1),(2,2),(1,9),(2,2),(3,NULL);");
    EXPECT_EQ((std::vector<std::string>{"1:5:1", "2:2:2", "3:<null>:<null>"}),
              Column("SELECT k || ':' || ifnull(median(x),'<null>') || ':' || ifnull(mode(x),'<null>') "
                     "FROM g GROUP BY k ORDER BY k"));
}

// A statement abandoned in the middle of a group must free the collected
// list (checked by the leak sanitizer build).
TEST_F(OrderTest, AbandonedStatementReleasesItsState) {
    Exec("CREATE TABLE g(k, x); INSERT INTO g VALUES(1,1),(1,2),(2,3),(2,4);");
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(m_db, "SELECT k, median(x) FROM g GROUP BY k", -1, &st, nullptr));
    ASSERT_EQ(SQLITE_ROW, sqlite3_step(st));
    EXPECT_EQ(1, sqlite3_column_int(st, 1));
    sqlite3_finalize(st);
}
