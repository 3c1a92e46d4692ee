// A busy database: a second process holds an exclusive lock on the file.
// Busy failures are detected, can be ignored, and a transacted insert whose
// row met the lock leaves none of the rows of its pass.
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "sqlite_fixture.h"

#include <chrono>
#include <thread>

namespace {

const SYxSqliteColDef kItemCols[] = {
    {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr, nullptr, nullptr},
    {eYxColPlain, eYxTypeInt32, YX_SQLITE_INDEX_NONE, L"iValue", nullptr, nullptr, nullptr, nullptr},
};
const SYxSqliteTableDef kItem = {L"item", 2, kItemCols, {nullptr}, nullptr, {nullptr}, {nullptr}};

class Busy : public SqliteFileTest {
protected:
    void SetUp() override {
        SqliteFileTest::SetUp();
        Exec("CREATE TABLE item (iKey INTEGER PRIMARY KEY, iValue INT); INSERT INTO item (iValue) VALUES (1);");
        sqlite3_busy_timeout(m_db, 0);  // report a lock at once
    }
    // Starts the helper holding an exclusive transaction on the file.
    static void Lock(CYxTestProcess& locker, const std::string& file, int ms) {
        ASSERT_TRUE(locker.Start(YxTest_HelperPath(), {"lock", file, std::to_string(ms)}));
        ASSERT_TRUE(locker.WaitForLine("locked"));
    }
    void Lock(const std::string& file, int ms) { Lock(m_locker, file, ms); }
    void Unlock() {
        m_locker.Kill();
        m_locker.Wait();
    }
    CYxTestProcess m_locker;
};

TEST_F(Busy, IsBusyWhileAnotherProcessHoldsTheLock) {
    Lock(m_dir.FileUtf8("test.db"), 60000);

    CYxSqliteSelect sel(m_db, kItem);
    std::int64_t key = 0;
    EXPECT_FALSE(sel.Row(key));
    EXPECT_TRUE(sel.IsBusy());
    EXPECT_EQ(sel.Result(), SQLITE_BUSY);

    CYxSqliteInsert ins(m_db, kItem);
    ins.IgnoreBusyError();
    EXPECT_EQ(ins.Row(2), 0);
    EXPECT_TRUE(ins.IsBusy());
    EXPECT_EQ(ins.Result(), 0);  // not an error of the command: the caller retries

    int err = 0;
    EXPECT_EQ(YxSqlite_ReadOneInt64(m_db, L"SELECT count(*) FROM item", &err), 0);
    EXPECT_EQ(err, SQLITE_BUSY);
    EXPECT_EQ(YxSqlite_Execute(m_db, L"INSERT INTO item (iValue) VALUES (3);", nullptr, false), SQLITE_BUSY);

    Unlock();
    // The lock dies with its process; the same statements succeed now.
    EXPECT_EQ(ins.Row(2), 2);
    EXPECT_FALSE(ins.IsBusy());
    EXPECT_EQ(Int("SELECT count(*) FROM item"), 2);
}

// One pass writes rows to `item` in this file and a row to `audit` in a
// second file that the other process has locked. The transacted insert into
// `audit` owns the pass's transaction; its row meets the lock after the
// `item` rows were written, and ending it must take them all back.
class BusyPass : public Busy {
protected:
    void SetUp() override {
        Busy::SetUp();
        sqlite3* setup = nullptr;
        ASSERT_EQ(YxSqlite_Open(m_dir.File("aux.db"), &setup, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE),
                  SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(setup, "CREATE TABLE audit (iKey INTEGER PRIMARY KEY, iValue INT);", nullptr,
                               nullptr, nullptr),
                  SQLITE_OK);
        YxSqlite_Close(setup);
        m_aux = m_dir.FileUtf8("aux.db");
        Exec(("ATTACH DATABASE '" + m_aux + "' AS aux;").c_str());
        Exec("SELECT count(*) FROM aux.audit;");  // the schemas are read before the lock
    }
    // Runs one pass; false when it met the lock.
    bool Pass(int value) {
        CYxSqliteInsertTransacted audit(m_db, kAudit);
        audit.IgnoreBusyError();
        EXPECT_TRUE(audit.IsTransactionOwner());
        CYxSqliteInsert item(m_db, kItem);
        EXPECT_GT(item.Row(value), 0);
        EXPECT_GT(item.Row(value + 1), 0);
        if (audit.Row(value) != 0) return true;
        EXPECT_TRUE(audit.IsBusy());
        EXPECT_EQ(audit.Result(), 0);
        return false;
    }
    static const SYxSqliteTableDef kAudit;
    std::string m_aux;
};
const SYxSqliteTableDef BusyPass::kAudit = {L"audit", 2, kItemCols, {nullptr}, nullptr, {nullptr}, {nullptr}};

TEST_F(BusyPass, TransactedInsertLeavesNoRowOfABusyPass) {
    Lock(m_aux, 60000);
    EXPECT_FALSE(Pass(10));
    EXPECT_NE(sqlite3_get_autocommit(m_db), 0);  // the transaction is over
    EXPECT_EQ(Rows("SELECT iValue FROM item ORDER BY iKey"), std::vector<std::string>{"1"});

    // The caller's loop: sleep 30 ms and run the pass again until it lands.
    std::thread release([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        Unlock();
    });
    int passes = 1;
    while (!Pass(20) && passes < 1000) {
        ++passes;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    release.join();
    EXPECT_GT(passes, 1);
    EXPECT_EQ(Rows("SELECT iValue FROM item ORDER BY iKey"), (std::vector<std::string>{"1", "20", "21"}));
    EXPECT_EQ(Rows("SELECT iValue FROM aux.audit"), std::vector<std::string>{"20"});
}

TEST_F(Busy, BlockingOpenAndExecuteWaitForTheLock) {
    CYxTestProcess first, second;
    Lock(first, m_dir.FileUtf8("test.db"), 800);
    const auto start = std::chrono::steady_clock::now();
    sqlite3* db = nullptr;
    ASSERT_EQ(YxSqlite_OpenEncryptedBlocking(m_path, &db, SQLITE_OPEN_READWRITE, 0, nullptr), SQLITE_OK);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GT(waited, std::chrono::milliseconds(300));
    YxSqlite_Close(db);
    EXPECT_EQ(first.Wait(), 0);

    Lock(second, m_dir.FileUtf8("test.db"), 500);
    EXPECT_EQ(YxSqlite_ExecuteBlocking(m_db, L"INSERT INTO item (iValue) VALUES (5);"), SQLITE_OK);
    EXPECT_EQ(Int("SELECT count(*) FROM item WHERE iValue=5"), 1);
}

}  // namespace
