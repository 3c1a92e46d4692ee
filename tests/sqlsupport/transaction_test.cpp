// The transaction guard and the script executor: a failure never leaves the
// connection inside a transaction that the caller did not open, nested work
// is undone on its own, and a transaction that SQLite rolled back by itself
// is never reported as committed.
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"
#include "sqlite_fixture.h"

namespace {

class Transactions : public SqliteFileTest {
protected:
    void SetUp() override {
        SqliteFileTest::SetUp();
        Exec("CREATE TABLE t(x INTEGER UNIQUE);");
    }
    bool InTransaction() const { return !sqlite3_get_autocommit(m_db); }
};

int StopAtOnce(void*) { return 1; }

}  // namespace

TEST_F(Transactions, FinishCommitsOnSuccessAndRollsBackOnFailure) {
    {
        CYxSqliteTransaction tr(m_db);
        ASSERT_TRUE(tr.IsActive());
        EXPECT_FALSE(tr.IsSavepoint());
        Exec("INSERT INTO t VALUES(1);");
        EXPECT_EQ(0, tr.Finish(0));
        EXPECT_FALSE(InTransaction());
    }
    {
        CYxSqliteTransaction tr(m_db);
        Exec("INSERT INTO t VALUES(2);");
        EXPECT_EQ(SQLITE_CONSTRAINT, tr.Finish(SQLITE_CONSTRAINT));
        EXPECT_FALSE(InTransaction());
    }
    EXPECT_EQ(std::vector<std::string>{"1"}, Rows("SELECT x FROM t;"));
}

TEST_F(Transactions, DestructorCommitsUnlessRollbackWasChosenOrAnExceptionPasses) {
    {
        CYxSqliteTransaction tr(m_db);
        Exec("INSERT INTO t VALUES(1);");
    }
    {
        CYxSqliteTransaction tr(m_db);
        Exec("INSERT INTO t VALUES(2);");
        tr.SetRollback();
    }
    try {
        CYxSqliteTransaction tr(m_db);
        Exec("INSERT INTO t VALUES(3);");
        throw 1;
    } catch (int) {
    }
    EXPECT_FALSE(InTransaction());
    EXPECT_EQ(std::vector<std::string>{"1"}, Rows("SELECT x FROM t;"));
}

TEST_F(Transactions, InsideTheCallersTransactionOnlyTheGuardedWorkIsUndone) {
    Exec("BEGIN; INSERT INTO t VALUES(1);");
    {
        CYxSqliteTransaction tr(m_db);
        EXPECT_FALSE(tr.IsActive());
        ASSERT_TRUE(tr.IsSavepoint());
        Exec("INSERT INTO t VALUES(2);");
        EXPECT_EQ(SQLITE_FULL, tr.Finish(SQLITE_FULL));
    }
    EXPECT_TRUE(InTransaction());  // still the caller's
    {
        CYxSqliteTransaction tr(m_db);
        Exec("INSERT INTO t VALUES(3);");
        EXPECT_EQ(0, tr.Finish(0));
    }
    EXPECT_TRUE(InTransaction());
    Exec("COMMIT;");
    EXPECT_EQ((std::vector<std::string>{"1", "3"}), Rows("SELECT x FROM t ORDER BY x;"));
}

TEST_F(Transactions, ATransactionRolledBackBySqliteIsNeverReportedAsCommitted) {
    Exec("INSERT INTO t VALUES(1);");
    {
        CYxSqliteTransaction tr(m_db);
        Exec("INSERT INTO t VALUES(2);");
        sqlite3_progress_handler(m_db, 1, &StopAtOnce, nullptr);
        // An interrupted write makes SQLite roll the whole transaction back.
        EXPECT_EQ(SQLITE_INTERRUPT, sqlite3_exec(m_db, "INSERT INTO t SELECT x + 10 FROM t;", nullptr, nullptr,
                                                 nullptr));
        sqlite3_progress_handler(m_db, 0, nullptr, nullptr);
        EXPECT_TRUE(tr.IsLost());
        EXPECT_EQ(SQLITE_ABORT, tr.Finish(0));
    }
    // The same for a guard that found the caller's transaction open.
    Exec("BEGIN; INSERT INTO t VALUES(3);");
    {
        CYxSqliteTransaction tr(m_db);
        sqlite3_progress_handler(m_db, 1, &StopAtOnce, nullptr);
        EXPECT_EQ(SQLITE_INTERRUPT, sqlite3_exec(m_db, "INSERT INTO t SELECT x + 10 FROM t;", nullptr, nullptr,
                                                 nullptr));
        sqlite3_progress_handler(m_db, 0, nullptr, nullptr);
        EXPECT_EQ(SQLITE_ABORT, tr.Finish(0));
    }
    EXPECT_FALSE(InTransaction());
    EXPECT_EQ(std::vector<std::string>{"1"}, Rows("SELECT x FROM t;"));
}

TEST_F(Transactions, AFailingScriptEndsTheTransactionItBegan) {
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Execute(m_db, L"BEGIN; INSERT INTO t VALUES(1); INSERT INTO nosuch VALUES(1); "
                                                   L"COMMIT;",
                                             nullptr, false));
    EXPECT_FALSE(InTransaction());
    EXPECT_EQ(0, Int("SELECT count(*) FROM t;"));
    // The connection is usable for the next script that opens one.
    EXPECT_EQ(SQLITE_OK, YxSqlite_Execute(m_db, L"BEGIN; INSERT INTO t VALUES(2); COMMIT;"));
    EXPECT_EQ(1, Int("SELECT count(*) FROM t;"));

    // A transaction that was open before the script stays the caller's.
    Exec("BEGIN; INSERT INTO t VALUES(3);");
    EXPECT_EQ(SQLITE_CONSTRAINT, YxSqlite_Execute(m_db, L"INSERT INTO t VALUES(3);", nullptr, false));
    EXPECT_TRUE(InTransaction());
    Exec("COMMIT;");
    EXPECT_EQ(2, Int("SELECT count(*) FROM t;"));
}
