// The per-connection statement cache seen through the record operations:
// one statement serves every key, nothing is left stepped between calls (a
// writer in another process can commit), cached statements read a changed
// schema, disconnecting closes the file, and memory stays flat over a
// million calls.
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"
#include "records_fixture.h"

#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

// Open descriptors of this process that name the file or its journals.
int OpenDescriptorsOf(const std::string& path) {
    int n = 0;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", ec)) {
        const fs::path target = fs::read_symlink(entry.path(), ec);
        if (!ec && target.string().rfind(path, 0) == 0) ++n;
    }
    return n;
}

// Statements of the connection that are stepped and not reset.
int SteppedStatements(sqlite3* db) {
    int n = 0;
    for (sqlite3_stmt* s = sqlite3_next_stmt(db, nullptr); s; s = sqlite3_next_stmt(db, s))
        n += sqlite3_stmt_busy(s) ? 1 : 0;
    return n;
}

long ResidentKiB() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

CYxSqliteStmtCache* CacheOf(YxProjectDbHandle h) { return CYxProjectDbConnectionManager::GetConnection(h).Statements(); }

class StatementCache : public CYxRecordsTest {
protected:
    std::int64_t AddFrame(std::int64_t run, int index) {
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Frame_Insert(m_h, run, 0, index, 2460000.5, 0, index * 10, &key));
        return key;
    }
};

TEST_F(StatementCache, DisconnectClosesTheFileAndAReusedHandleStartsAfresh) {
    const std::int64_t run = AddRun();
    const std::int64_t frame = AddFrame(run, 3);
    SYxProjectDbRow_frame f{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, frame, f));
    ASSERT_EQ(0, YxProjectDb_Row_Update(m_h, f));
    SYxProjectDbRow_jobrun r{};
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, run, r));
    ASSERT_EQ(0, YxProjectDb_Row_Delete(m_h, AddFrame(run, 4), static_cast<const SYxProjectDbRow_frame*>(nullptr)));
    ASSERT_GE(CacheOf(m_h)->Size(), 4u);
    const std::string path = m_path.ToUtf8();
    ASSERT_GT(OpenDescriptorsOf(path), 0);

    const YxProjectDbHandle old = m_h;
    YxProjectDb_Db_Disconnect(m_h);
    m_h = 0;
    EXPECT_EQ(OpenDescriptorsOf(path), 0) << "a cached statement kept the file open";

    // The same number, another file: nothing of the old cache answers.
    const CYxStringW other = m_dir.File("other.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(other));
    m_h = YxProjectDb_Db_Jobs_Connect(other);
    ASSERT_EQ(m_h, old);
    EXPECT_EQ(CacheOf(m_h)->Size(), 0u);
    SYxProjectDbRow_frame g{};
    EXPECT_EQ(0, YxProjectDb_Row_GetOne(m_h, frame, g));
    EXPECT_EQ(g.iKey, 0);
}

TEST_F(StatementCache, AlternatingCallsOnTwoHandlesLeaveNothingStepped) {
    // Rollback journal: a statement left stepped would hold a read lock and
    // keep every other writer from committing.
    YxProjectDb_Db_Disconnect(m_h);
    m_h = 0;
    {
        sqlite3* raw = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(m_path.ToUtf8().c_str(), &raw));
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(raw, "PRAGMA journal_mode=delete;", nullptr, nullptr, nullptr));
        sqlite3_close(raw);
    }
    m_h = YxProjectDb_Db_Jobs_Connect(m_path);
    const YxProjectDbHandle h2 = YxProjectDb_Db_Jobs_Connect(m_path);
    ASSERT_NE(0u, m_h);
    ASSERT_NE(0u, h2);
    // Locks as usual, without a disk flush per commit.
    for (YxProjectDbHandle h : {m_h, h2})
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(CYxProjectDbConnectionManager::GetConnection(h), "PRAGMA synchronous=OFF;",
                                          nullptr, nullptr, nullptr));
    const std::int64_t run = AddRun();
    const std::int64_t frames[2] = {AddFrame(run, 1), AddFrame(run, 2)};

    std::size_t cached[2] = {0, 0};
    for (int i = 0; i < 10000; ++i) {
        const YxProjectDbHandle reader = (i % 2) ? h2 : m_h;
        const YxProjectDbHandle writer = (i % 2) ? m_h : h2;
        SYxProjectDbRow_frame f{};
        ASSERT_EQ(0, YxProjectDb_Row_GetOne(reader, frames[i % 2], f)) << i;
        ASSERT_EQ(f.iKey, frames[i % 2]);
        if (i >= 2) {
            ASSERT_EQ(f.iFileFrameIndex, i - 2) << "the write two calls ago is not seen";
        }
        f.iFileFrameIndex = i;
        ASSERT_EQ(0, YxProjectDb_Row_Update(writer, f)) << i;
        SYxProjectDbRow_jobrun r{};
        ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(writer, run, r));
        ASSERT_EQ(r.iKey, run);
        if (i == 1) {
            cached[0] = CacheOf(m_h)->Size();
            cached[1] = CacheOf(h2)->Size();
        }
    }
    // Every key ran on the same few statements.
    EXPECT_EQ(CacheOf(m_h)->Size(), cached[0]);
    EXPECT_EQ(CacheOf(h2)->Size(), cached[1]);
    EXPECT_EQ(CacheOf(m_h)->LentCount() + CacheOf(h2)->LentCount(), 0u);
    EXPECT_EQ(SteppedStatements(CYxProjectDbConnectionManager::GetConnection(m_h)), 0);
    EXPECT_EQ(SteppedStatements(CYxProjectDbConnectionManager::GetConnection(h2)), 0);

    // A writer in another process commits while both handles stay open.
    const std::string sql = "INSERT INTO frame (iJobrunKeyRef, iFrameIndex) VALUES (" + std::to_string(run) + ", 99);";
    EXPECT_EQ(0, YxTest_RunCommand(std::string(YxTest_HelperPath()) + " exec '" + m_path.ToUtf8() + "' '" + sql + "'"));
    EXPECT_EQ(Count(L"frame"), 3);
    YxProjectDb_Db_Disconnect(h2);
}

TEST_F(StatementCache, CachedStatementsReadTheChangedSchema) {
    const std::int64_t run = AddRun(5);
    const std::int64_t frame = AddFrame(run, 7);
    SYxProjectDbRow_frame f{};
    SYxProjectDbRow_jobrun r{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, frame, f));
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, run, r));
    const std::size_t cached = CacheOf(m_h)->Size();

    // Another connection adds a column to one table and rebuilds the other
    // with its columns in another order, as a migration step does.
    sqlite3* raw = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(m_path.ToUtf8().c_str(), &raw));
    ASSERT_EQ(SQLITE_OK,
              sqlite3_exec(raw,
                           "ALTER TABLE frame ADD COLUMN iExtra INTEGER DEFAULT 1;"
                           "CREATE TABLE jobrun_new (wszFinishMessage TEXT, wszFolderName TEXT, wszDesc TEXT, "
                           "wszName TEXT, wszUuid TEXT, dFTime REAL, dMTime REAL, dCTime REAL, iFinishFlags INTEGER, "
                           "iJobprogramKeyRef INTEGER, iJobdefKeyRef INTEGER, iProjKeyRef INTEGER, iNote TEXT, "
                           "iKey INTEGER PRIMARY KEY);"
                           "INSERT INTO jobrun_new SELECT wszFinishMessage, wszFolderName, wszDesc, 'renamed', wszUuid, "
                           "dFTime, dMTime, dCTime, iFinishFlags + 1, iJobprogramKeyRef, iJobdefKeyRef, iProjKeyRef, "
                           "'x', iKey FROM jobrun;"
                           "DROP TABLE jobrun; ALTER TABLE jobrun_new RENAME TO jobrun;"
                           "UPDATE frame SET iFileFrameIndex = 71;",
                           nullptr, nullptr, nullptr));
    sqlite3_close(raw);

    SYxProjectDbRow_frame f2{};
    SYxProjectDbRow_jobrun r2{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, frame, f2));
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, run, r2));
    EXPECT_EQ(f2.iFrameIndex, 7);
    EXPECT_EQ(f2.iFileFrameIndex, 71);
    EXPECT_EQ(r2.iFinishFlags, 6);
    EXPECT_EQ(r2.wszName, CYxStringW(L"renamed"));
    EXPECT_EQ(r2.wszUuid, r.wszUuid);
    EXPECT_EQ(r2.dCTime, r.dCTime);
    EXPECT_EQ(CacheOf(m_h)->Size(), cached);  // re-prepared in place
}

TEST_F(StatementCache, MemoryStaysFlatOverAMillionCalls) {
    const std::int64_t run = AddRun();
    std::int64_t frames[8];
    for (int i = 0; i < 8; ++i) frames[i] = AddFrame(run, i);
    sqlite3* db = Db();
    auto calls = [&](int from, int to) {
        for (int i = from; i < to; ++i) {
            if (i % 1000 == 0) {
                ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "BEGIN;", nullptr, nullptr, nullptr));
            }
            SYxProjectDbRow_frame f{};
            switch (i % 4) {
            case 0:
            case 1:
                ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, frames[i % 8], f));
                ASSERT_EQ(f.iKey, frames[i % 8]);
                break;
            case 2: {
                SYxProjectDbRow_jobrun r{};
                ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, run, r));
                ASSERT_EQ(r.iKey, run);
                break;
            }
            default:
                ASSERT_EQ(0, YxProjectDb_Frame_Update(m_h, frames[i % 8], run, 0, i % 8, 2460000.5, 0, i));
            }
            if (i % 1000 == 999) {
                ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr));
            }
        }
    };
    calls(0, 20000);
    const sqlite3_int64 sqliteBefore = sqlite3_memory_used();
    const long rssBefore = ResidentKiB();
    const std::size_t cached = CacheOf(m_h)->Size();
    calls(20000, 1020000);
    const sqlite3_int64 sqliteGrowth = sqlite3_memory_used() - sqliteBefore;
    const long rssGrowth = ResidentKiB() - rssBefore;
    EXPECT_LT(sqliteGrowth, 64 * 1024) << "SQLite's heap grew by " << sqliteGrowth << " bytes";
    EXPECT_LT(rssGrowth, 2048) << "resident memory grew by " << rssGrowth << " KiB";
    EXPECT_EQ(CacheOf(m_h)->Size(), cached);
}

}  // namespace
