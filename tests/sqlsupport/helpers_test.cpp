// Helper functions: opening, scripts, single values, transactions on two
// connections, backup with progress and abort, and refusal of null input.
#include "sqlite_fixture.h"

#include "framework/yxfilesystem.h"

namespace {

class Helpers : public SqliteFileTest {};

TEST_F(Helpers, OpenFlagsAndFailures) {
    sqlite3* db = reinterpret_cast<sqlite3*>(0x1);
    CYxStringW error;
    // Read-write without create (the upgrade driver's flags) needs the file.
    EXPECT_EQ(YxSqlite_Open(m_dir.File("missing.db"), &db, SQLITE_OPEN_READWRITE, &error), SQLITE_CANTOPEN);
    EXPECT_EQ(db, nullptr);
    EXPECT_FALSE(error.IsEmpty());
    EXPECT_FALSE(YxFs_Exists(m_dir.File("missing.db")));
    EXPECT_EQ(YxSqlite_Open(L"", &db, SQLITE_OPEN_READWRITE), SQLITE_CANTOPEN);
    EXPECT_EQ(YxSqlite_Open(m_path, nullptr, SQLITE_OPEN_READWRITE), SQLITE_MISUSE);
    const char key[] = "secret";
    EXPECT_EQ(YxSqlite_OpenEncrypted(m_path, &db, SQLITE_OPEN_READWRITE, 6, key), SQLITE_MISUSE);
    EXPECT_EQ(db, nullptr);

    ASSERT_EQ(YxSqlite_Open(m_path, &db, SQLITE_OPEN_READWRITE), SQLITE_OK);
    EXPECT_TRUE(YxSqlite_Filename(db).EndsWith(L"/test.db"));
    EXPECT_EQ(YxSqlite_Close(db), SQLITE_OK);
    // A path with the backslashes of a stored relative name reaches the same file.
    const CYxStringW back = CYxStringW::FromUtf8(m_dir.Path()) + L"\\test.db";
    ASSERT_EQ(YxSqlite_OpenEncryptedBlocking(back, &db, SQLITE_OPEN_READWRITE, 0, nullptr), SQLITE_OK);
    EXPECT_EQ(YxSqlite_Filename(db), YxSqlite_Filename(m_db));
    YxSqlite_Close(db);
}

TEST_F(Helpers, ExecuteStopsAtTheFirstFailure) {
    CYxStringW error;
    EXPECT_EQ(YxSqlite_Execute(m_db,
                               L"CREATE TABLE t (a INTEGER UNIQUE); INSERT INTO t VALUES (1);\n"
                               L"INSERT INTO nosuch VALUES (2); INSERT INTO t VALUES (3);",
                               &error, false),
              SQLITE_ERROR);
    EXPECT_NE(error.Find(L"nosuch"), -1);
    EXPECT_EQ(Rows("SELECT a FROM t"), std::vector<std::string>{"1"});

    EXPECT_EQ(YxSqlite_Execute(m_db, L"INSERT INTO t VALUES (4); INSERT INTO t VALUES (1); INSERT INTO t VALUES (5);",
                               &error, false),
              SQLITE_CONSTRAINT);
    // The connection's last error is the failed statement's, fit to be shown.
    EXPECT_NE(YxSqlite_GetShowableErrorMessage(m_db).Find(L"UNIQUE"), -1)
        << YxSqlite_GetShowableErrorMessage(m_db).ToUtf8();
    EXPECT_EQ(Rows("SELECT a FROM t ORDER BY a"), (std::vector<std::string>{"1", "4"}));

    EXPECT_EQ(YxSqlite_Execute(m_db, L"  -- only a comment\n ;; ", &error), SQLITE_OK);
    EXPECT_TRUE(error.IsEmpty());
    EXPECT_EQ(YxSqlite_Execute(m_db, nullptr), SQLITE_OK);
    // Statements that return rows are run to their end.
    EXPECT_EQ(YxSqlite_ExecuteBlocking(m_db, L"SELECT * FROM t; INSERT INTO t VALUES (6);"), SQLITE_OK);
    EXPECT_EQ(Int("SELECT count(*) FROM t"), 3);
}

TEST_F(Helpers, ReadOneValues) {
    Exec("CREATE TABLE v (n INTEGER, s TEXT, d REAL); INSERT INTO v VALUES (42, 'Gr\xC3\xBC\xC3\x9F" "e', 0.25);");
    int err = -1;
    EXPECT_EQ(YxSqlite_ReadOneInt64(m_db, L"SELECT n FROM v", &err), 42);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(YxSqlite_ReadOneStringW(m_db, L"SELECT s FROM v", &err).str(), L"Gr\u00fc\u00dfe");
    EXPECT_EQ(err, 0);
    EXPECT_EQ(YxSqlite_ReadOneDouble(m_db, L"SELECT d FROM v", &err), 0.25);

    EXPECT_EQ(YxSqlite_ReadOneInt64(m_db, L"SELECT n FROM v WHERE n=0", &err), 0);
    EXPECT_EQ(err, SQLITE_DONE);
    EXPECT_TRUE(YxSqlite_ReadOneStringW(m_db, L"SELECT s FROM v WHERE n=0", &err).IsEmpty());
    EXPECT_EQ(err, SQLITE_DONE);
    EXPECT_EQ(YxSqlite_ReadOneInt64(m_db, L"SELECT nope FROM v", &err), 0);
    EXPECT_EQ(err, SQLITE_ERROR);
    EXPECT_EQ(YxSqlite_ReadOneInt64(m_db, L"", &err), 0);
    EXPECT_NE(err, 0);
    EXPECT_EQ(YxSqlite_ReadOneInt64(m_db, L"SELECT 5"), 5);  // the error out-argument is optional
}

TEST_F(Helpers, HasTableLooksUpTheNameAsAValue) {
    Exec("CREATE TABLE \"it's\" (n INTEGER); CREATE VIEW w AS SELECT 1; ATTACH ':memory:' AS other;"
         "CREATE TABLE other.elsewhere (n INTEGER);");
    int err = -1;
    EXPECT_TRUE(YxSqlite_HasTable(m_db, L"it's", &err));
    EXPECT_EQ(err, 0);
    EXPECT_FALSE(YxSqlite_HasTable(m_db, L"x' OR '1'='1", &err));
    EXPECT_EQ(err, 0);
    EXPECT_FALSE(YxSqlite_HasTable(m_db, L"w", &err)) << "a view is no table";
    EXPECT_FALSE(YxSqlite_HasTable(m_db, L"elsewhere", &err)) << "only the main database counts";
    EXPECT_FALSE(YxSqlite_HasTable(m_db, nullptr, &err));
    EXPECT_EQ(err, SQLITE_MISUSE);
    EXPECT_FALSE(YxSqlite_HasTable(nullptr, L"it's", &err));
    EXPECT_EQ(err, SQLITE_MISUSE);
}

TEST_F(Helpers, TwoDatabasesTransaction) {
    sqlite3* other = nullptr;
    ASSERT_EQ(YxSqlite_Open(m_dir.File("other.db"), &other, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE), SQLITE_OK);
    bool b1 = false, b2 = false;
    EXPECT_EQ(YxSqlite_TryTwoDatabasesTransaction(&b1, &b2, m_db, other), SQLITE_OK);
    EXPECT_TRUE(b1);
    EXPECT_TRUE(b2);
    EXPECT_EQ(sqlite3_get_autocommit(m_db), 0);
    EXPECT_EQ(sqlite3_get_autocommit(other), 0);
    Exec("ROLLBACK");

    // A transaction already open stays the caller's.
    EXPECT_EQ(YxSqlite_TryTwoDatabasesTransaction(&b1, &b2, m_db, other), SQLITE_OK);
    EXPECT_TRUE(b1);
    EXPECT_FALSE(b2);
    Exec("ROLLBACK");
    sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);

    b1 = b2 = true;
    EXPECT_EQ(YxSqlite_TryTwoDatabasesTransaction(&b1, &b2, m_db, nullptr), SQLITE_MISUSE);
    EXPECT_FALSE(b1);
    EXPECT_FALSE(b2);
    EXPECT_NE(sqlite3_get_autocommit(m_db), 0);
    YxSqlite_Close(other);
}

struct SProgress {
    std::vector<std::pair<int, int>> calls;
    int abortAt = -1;
};

int OnBackupProgress(void* context, int done, int total) {
    auto* p = static_cast<SProgress*>(context);
    p->calls.emplace_back(done, total);
    return static_cast<int>(p->calls.size()) == p->abortAt ? 1 : 0;
}

class Backup : public SqliteFileTest {
protected:
    void SetUp() override {
        SqliteFileTest::SetUp();
        Exec("PRAGMA page_size=1024; CREATE TABLE big (i INTEGER, s TEXT);"
             "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c WHERE x<2000) "
             "INSERT INTO big SELECT x, hex(randomblob(40)) FROM c;");
        ASSERT_EQ(YxSqlite_Open(m_dir.File("copy.db"), &m_target, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE),
                  SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(m_target, "CREATE TABLE old (a); INSERT INTO old VALUES ('kept');", nullptr, nullptr,
                               nullptr),
                  SQLITE_OK);
    }
    void TearDown() override {
        YxSqlite_Close(m_target);
        SqliteFileTest::TearDown();
    }
    sqlite3* m_target = nullptr;
};

TEST_F(Backup, CopiesTheWholeDatabase) {
    EXPECT_EQ(YxSqlite_Backup(m_db, m_target), SQLITE_OK);
    EXPECT_EQ(Rows(m_target, "SELECT count(*), sum(i) FROM big"), std::vector<std::string>{"2000|2001000"});
    EXPECT_EQ(Rows(m_target, "SELECT count(*) FROM sqlite_master WHERE name='old'"), std::vector<std::string>{"0"});
    EXPECT_EQ(YxSqlite_Backup(m_db, m_db), SQLITE_MISUSE);
    EXPECT_EQ(YxSqlite_Backup(nullptr, m_target), SQLITE_MISUSE);
    EXPECT_EQ(YxSqlite_Backup(m_db, nullptr), SQLITE_MISUSE);
}

TEST_F(Backup, RunningReportsProgressStepByStep) {
    SProgress progress;
    EXPECT_EQ(YxSqlite_BackupRunning(m_db, m_target, 10, 0, &OnBackupProgress, &progress), SQLITE_OK);
    ASSERT_GT(progress.calls.size(), 5u);
    const int total = progress.calls.back().second;
    EXPECT_EQ(progress.calls.back().first, total);
    for (std::size_t i = 1; i < progress.calls.size(); ++i) {
        EXPECT_GT(progress.calls[i].first, progress.calls[i - 1].first);
        EXPECT_LE(progress.calls[i].first - progress.calls[i - 1].first, 10);
    }
    EXPECT_EQ(Rows(m_target, "SELECT count(*) FROM big"), std::vector<std::string>{"2000"});
}

TEST_F(Backup, AbortLeavesTheTargetAsItWas) {
    SProgress progress;
    progress.abortAt = 3;
    EXPECT_EQ(YxSqlite_BackupRunning(m_db, m_target, 5, 0, &OnBackupProgress, &progress), SQLITE_ABORT);
    EXPECT_EQ(progress.calls.size(), 3u);
    EXPECT_EQ(Rows(m_target, "SELECT a FROM old"), std::vector<std::string>{"kept"});
    EXPECT_EQ(Rows(m_target, "SELECT count(*) FROM sqlite_master WHERE name='big'"), std::vector<std::string>{"0"});
    // The target is usable afterwards.
    EXPECT_EQ(sqlite3_exec(m_target, "INSERT INTO old VALUES ('more')", nullptr, nullptr, nullptr), SQLITE_OK);
}

TEST(HelpersWithoutConnection, FailCleanly) {
    CYxStringW error;
    int err = 0;
    EXPECT_EQ(YxSqlite_Execute(nullptr, L"SELECT 1", &error), SQLITE_MISUSE);
    EXPECT_EQ(YxSqlite_ExecuteBlocking(nullptr, L"SELECT 1"), SQLITE_MISUSE);
    EXPECT_EQ(YxSqlite_ReadOneInt64(nullptr, L"SELECT 1", &err), 0);
    EXPECT_EQ(err, SQLITE_MISUSE);
    EXPECT_TRUE(YxSqlite_ReadOneStringW(nullptr, L"SELECT 1", &err).IsEmpty());
    EXPECT_EQ(YxSqlite_StartTransaction(nullptr), SQLITE_MISUSE);
    EXPECT_EQ(YxSqlite_Close(nullptr), SQLITE_OK);
    EXPECT_TRUE(YxSqlite_Filename(nullptr).IsEmpty());
    EXPECT_FALSE(YxSqlite_GetShowableErrorMessage(nullptr).IsEmpty());
    EXPECT_EQ(YxSqlite_BackupRunning(nullptr, nullptr, 1, 0, nullptr, nullptr), SQLITE_MISUSE);
}

}  // namespace
