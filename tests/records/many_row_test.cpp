// Many-row writes are wholly in or wholly out: interrupted passes (a progress
// handler asking to stop, a full file), waiting out another writer inside the
// caller's transaction, a busy snapshot, and statistics scripts that fail.
#include "records_fixture.h"

#include "gnr_projectdb/records_jobrun.h"

#include <sqlite3.h>

#include <chrono>
#include <set>

namespace {

std::vector<SYxProjectDbRow_tagdef> Tags(int n, int textLength = 8) {
    std::vector<SYxProjectDbRow_tagdef> rows;
    const std::wstring pad(static_cast<std::size_t>(textLength), L'x');
    for (int i = 0; i < n; ++i)
        rows.push_back(SYxProjectDbRow_tagdef{0, i, 0, CYxStringW::Format(L"tag%d", i), CYxStringW(pad.c_str())});
    return rows;
}

// Asks SQLite to stop once it has been called `after` times.
struct SStopper {
    int calls = 0;
    int after = 0;
    static int Handler(void* self) {
        auto* s = static_cast<SStopper*>(self);
        return ++s->calls >= s->after ? 1 : 0;
    }
};

class ManyRowTest : public CYxRecordsTest {
protected:
    // Every key is either 0 or names the row that was inserted for it; the
    // number of distinct non-zero keys.
    std::size_t KeysNamingTheirRows(const std::vector<SYxProjectDbRow_tagdef>& rows) {
        std::set<std::int64_t> keys;
        for (const auto& r : rows) {
            if (r.iKey == 0) continue;
            SYxProjectDbRow_tagdef back{};
            EXPECT_EQ(0, YxProjectDb_Row_GetOne(m_h, r.iKey, back));
            EXPECT_EQ(r.wszName, back.wszName) << "key " << r.iKey;
            EXPECT_EQ(r.iType, back.iType) << "key " << r.iKey;
            keys.insert(r.iKey);
        }
        return keys.size();
    }
    bool AllKeysZero(const std::vector<SYxProjectDbRow_tagdef>& rows) const {
        for (const auto& r : rows)
            if (r.iKey != 0) return false;
        return true;
    }
};

}  // namespace

TEST_F(ManyRowTest, AnInterruptedPassIsWhollyOutWithEveryKeyZero) {
    auto rows = Tags(5000);
    SStopper stop{0, 400};
    sqlite3_progress_handler(Db(), 100, &SStopper::Handler, &stop);
    EXPECT_EQ(SQLITE_INTERRUPT, YxProjectDb_Row_InsertMany(m_h, rows));
    sqlite3_progress_handler(Db(), 0, nullptr, nullptr);
    ASSERT_GE(stop.calls, stop.after) << "the pass was not interrupted";
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(m_h));
    EXPECT_EQ(0, Count(L"tagdef"));
    EXPECT_TRUE(AllKeysZero(rows));

    // The handle goes on working, and a whole pass is wholly in.
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, rows));
    EXPECT_EQ(5000, Count(L"tagdef"));
    EXPECT_EQ(5000u, KeysNamingTheirRows(rows));
}

TEST_F(ManyRowTest, AnInterruptedPassInsideTheCallersTransactionLeavesNoRowOfItsOwn) {
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(m_h));
    auto first = Tags(3);
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, first));
    auto rows = Tags(3000);
    for (auto& r : rows) r.iType += 100;
    SStopper stop{0, 300};
    sqlite3_progress_handler(Db(), 100, &SStopper::Handler, &stop);
    EXPECT_EQ(SQLITE_INTERRUPT, YxProjectDb_Row_InsertMany(m_h, rows));
    sqlite3_progress_handler(Db(), 0, nullptr, nullptr);
    EXPECT_TRUE(AllKeysZero(rows));
    // SQLite rolled the caller's transaction back; nothing of the pass may
    // have been written outside it.
    if (YxProjectDb_Db_IsInTransaction(m_h)) YxProjectDb_Db_TransactionCommit(m_h);
    EXPECT_EQ(0, Count(L"tagdef", L"iType >= 100"));
}

TEST_F(ManyRowTest, AFullFileLeavesNoRowAndNoKey) {
    const std::int64_t pages = [&] {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(Db(), "PRAGMA page_count;", -1, &s, nullptr);
        sqlite3_step(s);
        const std::int64_t n = sqlite3_column_int64(s, 0);
        sqlite3_finalize(s);
        return n;
    }();
    const std::string limit = "PRAGMA max_page_count=" + std::to_string(pages + 20) + ";";
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(Db(), limit.c_str(), nullptr, nullptr, nullptr));
    auto rows = Tags(2000, 400);
    EXPECT_EQ(SQLITE_FULL, YxProjectDb_Row_InsertMany(m_h, rows));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(m_h));
    EXPECT_EQ(0, Count(L"tagdef"));
    EXPECT_TRUE(AllKeysZero(rows));

    // Inside the caller's transaction the caller's own rows survive the pass.
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(m_h));
    auto mine = Tags(2);
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, mine));
    for (auto& r : rows) r.iType += 100;
    EXPECT_EQ(SQLITE_FULL, YxProjectDb_Row_InsertMany(m_h, rows));
    EXPECT_TRUE(AllKeysZero(rows));
    // Whether SQLite kept the caller's transaction is SQLite's choice; the
    // pass is out either way, and the caller's rows share its fate.
    const bool kept = YxProjectDb_Db_IsInTransaction(m_h);
    if (kept) {
        ASSERT_EQ(0, YxProjectDb_Db_TransactionCommit(m_h));
    }
    EXPECT_EQ(0, Count(L"tagdef", L"iType >= 100"));
    EXPECT_EQ(kept ? 2 : 0, Count(L"tagdef"));
    if (kept) {
        EXPECT_EQ(2u, KeysNamingTheirRows(mine));
    }
}

TEST_F(ManyRowTest, ARowThatFailsAloneKeepsThePassAndItsKeys) {
    auto rows = Tags(4);
    rows[2].wszName = rows[1].wszName;  // (iType, wszName) is unique
    rows[2].iType = rows[1].iType;
    EXPECT_EQ(SQLITE_CONSTRAINT, YxProjectDb_Row_InsertMany(m_h, rows));
    EXPECT_EQ(0, rows[2].iKey);
    EXPECT_EQ(3, Count(L"tagdef"));
    EXPECT_EQ(3u, KeysNamingTheirRows(rows));
}

TEST_F(ManyRowTest, InsideTheCallersTransactionItWaitsOutAnotherWriter) {
    sqlite3_busy_timeout(Db(), 20);
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(m_h));
    auto mine = Tags(2);
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, mine));
    ASSERT_EQ(0, YxProjectDb_Db_TransactionCommit(m_h));

    CYxTestProcess locker;
    ASSERT_TRUE(locker.Start(YxTest_HelperPath(), {"lock", m_dir.FileUtf8("jobs.db"), "1000"}));
    ASSERT_TRUE(locker.WaitForLine("locked"));
    // A deferred transaction of the caller that has not read yet.
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(Db(), "BEGIN TRANSACTION;", nullptr, nullptr, nullptr));
    auto rows = Tags(50);
    for (auto& r : rows) r.iType += 100;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, YxProjectDb_Row_InsertMany(m_h, rows));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500)) << "no wait happened";
    EXPECT_TRUE(YxProjectDb_Db_IsInTransaction(m_h));  // still the caller's to end
    ASSERT_EQ(0, YxProjectDb_Db_TransactionCommit(m_h));
    EXPECT_EQ(0, locker.Wait());
    EXPECT_EQ(52, Count(L"tagdef"));
    EXPECT_EQ(50u, KeysNamingTheirRows(rows));
}

TEST_F(ManyRowTest, ABusySnapshotInsideTheCallersTransactionIsReturnedAtOnce) {
    sqlite3_busy_timeout(Db(), 20);
    ASSERT_EQ(0, YxProjectDb_Db_SetOptStr(m_h, L"journal_mode", L"wal"));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(Db(), "BEGIN TRANSACTION;", nullptr, nullptr, nullptr));
    auto mine = Tags(1);
    EXPECT_EQ(0, Count(L"tagdef"));  // the caller's snapshot
    // Another process commits a change after the snapshot was taken.
    CYxTestProcess writer;
    ASSERT_TRUE(writer.Start(YxTest_HelperPath(),
                             {"exec", m_dir.FileUtf8("jobs.db"), "INSERT INTO tagdef(iType, wszName) VALUES(7, 'x');"}));
    ASSERT_EQ(0, writer.Wait());
    auto rows = Tags(5);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(SQLITE_BUSY, YxProjectDb_Row_InsertMany(m_h, rows));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_TRUE(AllKeysZero(rows));
    EXPECT_TRUE(YxProjectDb_Db_IsInTransaction(m_h));
    sqlite3_exec(Db(), "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
    EXPECT_EQ(1, Count(L"tagdef"));
}

TEST_F(ManyRowTest, AFailingStatisticsScriptLeavesNoTransactionBehind) {
    // A null condition becomes the empty text: the script's UPDATE fails.
    EXPECT_NE(0, YxProjectDb_Jobrunpropstat_UpdateStats(m_h, YX_STAT_ENTITY_FRAMES, nullptr, false, false));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(m_h));
    EXPECT_NE(0, YxProjectDb_Jobrunqualstat_UpdateStats(m_h, YX_STAT_ENTITY_FRAMES, nullptr, true, true));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(m_h));
    EXPECT_NE(0, YxProjectDb_Jobruntagstat_UpdateStats(m_h, nullptr, false, true));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(m_h));

    // Later scripts run, and later writes reach the file.
    EXPECT_EQ(0, YxProjectDb_Jobrunpropstat_UpdateStats(m_h, YX_STAT_ENTITY_FRAMES, L"1=1", false, false));
    auto rows = Tags(3);
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, rows));
    YxProjectDb_Db_Disconnect(m_h);
    m_h = YxProjectDb_Db_Jobs_Connect(m_path);
    ASSERT_NE(0u, m_h);
    EXPECT_EQ(3, Count(L"tagdef"));
}
