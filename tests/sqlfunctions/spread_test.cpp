// variance, stdev, stderror_of_mean and coeff_of_var against a two-pass
// computation, and their small-group rules.
#include "sqlfn_fixture.h"

#include <cmath>
#include <random>

namespace {

struct STextbook {
    double variance, stdev, stderr_, cv;
};

// Two passes in long double: mean first, then squared deviations.
STextbook TwoPass(const std::vector<double>& xs) {
    long double sum = 0;
    for (double x : xs) sum += x;
    const long double mean = sum / xs.size();
    long double ss = 0;
    for (double x : xs) ss += (x - mean) * (x - mean);
    const long double var = ss / (xs.size() - 1);
    const long double sd = std::sqrt(var);
    return {double(var), double(sd), double(sd / std::sqrt((long double)xs.size())), double(sd / mean)};
}

void ExpectRel(double expected, double actual, const char* what) {
    EXPECT_NEAR(expected, actual, std::fabs(expected) * 1e-9) << what;
}

}  // namespace

class SpreadTest : public SqlFnTest {
protected:
    void CheckAgainstTwoPass(const std::vector<double>& xs) {
        Exec("DROP TABLE IF EXISTS v; CREATE TABLE v(x REAL);");
        sqlite3_stmt* ins = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(m_db, "INSERT INTO v VALUES(?)", -1, &ins, nullptr));
        Exec("BEGIN");
        for (double x : xs) {
            sqlite3_bind_double(ins, 1, x);
            ASSERT_EQ(SQLITE_DONE, sqlite3_step(ins));
            sqlite3_reset(ins);
        }
        sqlite3_finalize(ins);
        Exec("COMMIT");
        const STextbook t = TwoPass(xs);
        ExpectRel(t.variance, One("SELECT variance(x) FROM v").d, "variance");
        ExpectRel(t.stdev, One("SELECT stdev(x) FROM v").d, "stdev");
        ExpectRel(t.stderr_, One("SELECT stderror_of_mean(x) FROM v").d, "stderror_of_mean");
        ExpectRel(t.cv, One("SELECT coeff_of_var(x) FROM v").d, "coeff_of_var");
    }
};

TEST_F(SpreadTest, RandomDataMatchesTwoPass) {
    std::mt19937_64 rng(20240229);
    for (int n : {2, 3, 17, 1000}) {
        std::normal_distribution<double> dist(42.0, 7.5);
        std::vector<double> xs(n);
        for (double& x : xs) x = dist(rng);
        SCOPED_TRACE(n);
        CheckAgainstTwoPass(xs);
    }
}

// A large common offset with a small spread: summing squares would lose
// about six digits here (error ~ (mean/stdev)^2 * eps), the running
// algorithm only ~ mean/stdev * eps.
TEST_F(SpreadTest, LargeOffsetStaysAccurate) {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> xs(5000);
    for (double& x : xs) x = 1.0e5 + dist(rng);
    CheckAgainstTwoPass(xs);
}

TEST_F(SpreadTest, IntegersTextsAndNullsAreReadAsDoubles) {
    Values({"1", "'2'", "NULL", "3.0", "NULL"});  // NULLs skipped: {1,2,3}
    EXPECT_DOUBLE_EQ(1.0, One("SELECT variance(x) FROM v").d);
    EXPECT_DOUBLE_EQ(1.0 / std::sqrt(3.0), One("SELECT stderror_of_mean(x) FROM v").d);
    EXPECT_DOUBLE_EQ(0.5, One("SELECT coeff_of_var(x) FROM v").d);
}

TEST_F(SpreadTest, SmallGroups) {
    for (const char* f : {"stdev", "variance", "stderror_of_mean", "coeff_of_var"}) {
        SCOPED_TRACE(f);
        Values({});
        EXPECT_EQ(SQLITE_NULL, One(std::string("SELECT ") + f + "(x) FROM v").type);
        Values({"NULL", "NULL"});
        EXPECT_EQ(SQLITE_NULL, One(std::string("SELECT ") + f + "(x) FROM v").type);
        Values({"5.5", "NULL"});
        const SValue one = One(std::string("SELECT ") + f + "(x) FROM v");
        EXPECT_EQ(SQLITE_FLOAT, one.type);
        EXPECT_EQ(0.0, one.d);
    }
}

TEST_F(SpreadTest, CoeffOfVarOfZeroMeanIsOne) {
    Values({"0", "0"});
    EXPECT_EQ(1.0, One("SELECT coeff_of_var(x) FROM v").d);
    Values({"-3", "3"});  // spread, but a mean of exactly 0
    EXPECT_EQ(1.0, One("SELECT coeff_of_var(x) FROM v").d);
    Values({"2", "4"});
    EXPECT_NEAR(std::sqrt(2.0) / 3.0, One("SELECT coeff_of_var(x) FROM v").d, 1e-15);
}

TEST_F(SpreadTest, GroupsAreIndependent) {
    Exec("CREATE TABLE g(k, x); INSERT INTO g VALUES(1,1),(1,3),(2,10),(2,20),(2,30),(3,7);");
    const auto rows = Column("SELECT printf('%d:%.4f', k, stdev(x)) FROM g GROUP BY k ORDER BY k");
    EXPECT_EQ((std::vector<std::string>{"1:1.4142", "2:10.0000", "3:0.0000"}), rows);
}
