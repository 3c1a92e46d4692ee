// Transactions, savepoints, the transaction guard and stored options.
#include "db_test_util.h"
#include "test_support.h"

#include "gnr_projectdb/db.h"

#include <chrono>

namespace {

using Rows = std::vector<std::string>;

class DbSession : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
        h = YxProjectDb_Db_Jobs_Connect(wfile);
        ASSERT_NE(0u, h);
        db = CYxProjectDbConnectionManager::GetConnection(h);
    }
    void TearDown() override { YxProjectDb_Db_Disconnect(h); }
    Rows Q(const std::string& sql) { return YxTest_QueryDb(db, sql); }

    CYxTempDir dir;
    std::string file = dir.FileUtf8("jobs.db");
    CYxStringW wfile = dir.File("jobs.db");
    YxProjectDbHandle h = 0;
    sqlite3* db = nullptr;
};

TEST_F(DbSession, BeginCommitRollback) {
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(h));
    EXPECT_TRUE(YxProjectDb_Db_IsInTransaction(h));
    // A second begin on the same connection cannot succeed by waiting.
    EXPECT_EQ(-9, YxProjectDb_Db_TransactionBegin(h));
    Q("INSERT INTO qualstr(wszName) VALUES ('a')");
    EXPECT_EQ(0, YxProjectDb_Db_TransactionRollback(h));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(h));
    EXPECT_EQ(Rows{"0"}, Q("SELECT count(*) FROM qualstr"));

    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(h));
    Q("INSERT INTO qualstr(wszName) VALUES ('b')");
    EXPECT_EQ(0, YxProjectDb_Db_TransactionCommit(h));
    EXPECT_EQ(Rows{"b"}, Q("SELECT wszName FROM qualstr"));
    EXPECT_EQ(-9, YxProjectDb_Db_TransactionCommit(h));  // nothing open
    EXPECT_EQ(-9, YxProjectDb_Db_TransactionRollback(h));
    EXPECT_EQ(-9, YxProjectDb_Db_TransactionBegin(0));
    EXPECT_EQ(-9, YxProjectDb_Db_TransactionCommit(0));
}

TEST_F(DbSession, SavepointsNestInsideATransaction) {
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(h));
    Q("INSERT INTO qualstr(wszName) VALUES ('kept')");
    ASSERT_EQ(0, YxProjectDb_Db_SavepointSet(h, L"sp1"));
    Q("INSERT INTO qualstr(wszName) VALUES ('dropped')");
    EXPECT_EQ(0, YxProjectDb_Db_SavepointRollback(h, L"sp1"));
    EXPECT_EQ(0, YxProjectDb_Db_SavepointRelease(h, L"sp1"));
    EXPECT_EQ(0, YxProjectDb_Db_TransactionCommit(h));
    EXPECT_EQ(Rows{"kept"}, Q("SELECT wszName FROM qualstr"));
    EXPECT_EQ(-9, YxProjectDb_Db_SavepointRelease(h, L"unknown"));
    EXPECT_EQ(-9, YxProjectDb_Db_SavepointSet(0, L"sp"));
    EXPECT_EQ(-9, YxProjectDb_Db_SavepointRollback(424242, L"sp"));  // null connection, fails cleanly
}

TEST_F(DbSession, NestedGuardsBeginAndCommitOnce) {
    {
        CYxProjectDb_Db_TransactionHolder outer(h);
        EXPECT_TRUE(outer.OwnsTransaction());
        EXPECT_TRUE(YxProjectDb_Db_IsInTransaction(h));
        {
            CYxProjectDb_Db_TransactionHolder inner(h);
            EXPECT_FALSE(inner.OwnsTransaction());
            Q("INSERT INTO qualstr(wszName) VALUES ('x')");
        }
        // The inner guard did not commit: the transaction is still open.
        EXPECT_TRUE(YxProjectDb_Db_IsInTransaction(h));
    }
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(h));
    EXPECT_EQ(Rows{"1"}, YxTest_Query(file, "SELECT count(*) FROM qualstr"));
}

TEST_F(DbSession, ExclusiveBeginWaitsForAnotherProcess) {
    CYxTestProcess locker;
    ASSERT_TRUE(locker.Start(YxTest_HelperPath(), {"lock", file, "1200"}));
    ASSERT_TRUE(locker.WaitForLine("locked"));
    sqlite3_busy_timeout(db, 0);  // make every attempt fail fast; the begin must keep trying
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(h));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(waited).count(), 500);
    Q("INSERT INTO qualstr(wszName) VALUES ('after')");
    EXPECT_EQ(0, YxProjectDb_Db_TransactionCommit(h));
    EXPECT_EQ(0, locker.Wait());
    EXPECT_EQ(Rows{"after"}, YxTest_Query(file, "SELECT wszName FROM qualstr"));
}

TEST_F(DbSession, IntegerOptionsAcceptOnlyTheirNames) {
    EXPECT_EQ(0, YxProjectDb_Db_SetOptInt32(h, L"Sorttype", 3));
    EXPECT_EQ(Rows{"Sorttype|int32|3"}, Q("SELECT wszName, wszType, varValue FROM settings WHERE wszName='Sorttype'"));
    EXPECT_EQ(3, YxProjectDb_Db_GetOptInt32(h, L"Sorttype"));
    EXPECT_EQ(-13, YxProjectDb_Db_SetOptInt32(h, L"pagesize", 1));
    EXPECT_EQ(Rows{"0"}, Q("SELECT count(*) FROM settings WHERE wszName='pagesize'"));
    EXPECT_EQ(-9, YxProjectDb_Db_SetOptInt32(0, L"sortorder", 1));
    EXPECT_EQ(-13, YxProjectDb_Db_SetOptInt32(0, L"pagesize", 1));  // the name is tested first
    // Writing again replaces the row.
    EXPECT_EQ(0, YxProjectDb_Db_SetOptInt32(h, L"sortorder", 1));
    EXPECT_EQ(0, YxProjectDb_Db_SetOptInt32(h, L"sortorder", 2));
    EXPECT_EQ(2, YxProjectDb_Db_GetOptInt32(h, L"sortorder"));
    EXPECT_EQ(Rows{"1"}, Q("SELECT count(*) FROM settings WHERE wszName='sortorder'"));
}

TEST_F(DbSession, TextOptions) {
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(h, L"categories", L"Default"));
    EXPECT_EQ(Rows{"categories|stringw|"}, Q("SELECT wszName, wszType, varValue FROM settings WHERE wszName='categories'"));
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(h, L"categories", L"Cells;Nuclei"));
    EXPECT_EQ(CYxStringW(L"Cells;Nuclei"), YxProjectDb_Db_GetOptStr(h, L"categories"));
    // A name stored only as text reads as 0 through the integer getter.
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(h, L"customid", L"17"));
    EXPECT_EQ(0, YxProjectDb_Db_GetOptInt32(h, L"customid"));
    // Pragma-backed options are applied before they are stored.
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(h, L"SYNCHRONOUS", L"full"));
    EXPECT_EQ(Rows{"2"}, Q("PRAGMA synchronous"));
    EXPECT_NE(0, YxProjectDb_Db_SetOptStr(h, L"journal_mode", L"wal; DROP TABLE frame"));
    EXPECT_TRUE(YxProjectDb_Db_HasTable(h, L"frame"));
    // A quote breaks the statement; nothing is stored, nothing reported.
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(h, L"note", L"it's"));
    EXPECT_TRUE(YxProjectDb_Db_GetOptStr(h, L"note").IsEmpty());
    EXPECT_EQ(-9, YxProjectDb_Db_SetOptStr(0, L"categories", L"x"));
    EXPECT_TRUE(YxProjectDb_Db_GetOptStr(0, L"journal_mode").IsEmpty());
    EXPECT_EQ(0, YxProjectDb_Db_GetOptInt32(0, L"folderformat"));
}

}  // namespace
