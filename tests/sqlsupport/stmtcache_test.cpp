// The statement cache of a connection: reuse, hand-back state (reset and
// bindings cleared, also after a failed step), no statement lent twice,
// least-recently-used eviction, statements that a schema change made invalid
// leave the cache, and a cleared cache lets the connection close.
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"
#include "sqlite_fixture.h"

#include <memory>

namespace {

const SYxSqliteColDef kItemCols[] = {
    {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr, nullptr, nullptr},
    {eYxColPlain, eYxTypeInt32, YX_SQLITE_INDEX_NONE, L"iCount", nullptr, nullptr, nullptr, nullptr},
    {eYxColPlain, eYxTypeText, YX_SQLITE_INDEX_UNIQUE, L"wszName", nullptr, nullptr, nullptr, nullptr},
};
const SYxSqliteTableDef kItem = {L"item", 3, kItemCols, {nullptr}, nullptr, {nullptr}, {nullptr}};

// Statements of the connection that are stepped and not reset.
int BusyStatements(sqlite3* db) {
    int n = 0;
    for (sqlite3_stmt* s = sqlite3_next_stmt(db, nullptr); s; s = sqlite3_next_stmt(db, s))
        n += sqlite3_stmt_busy(s) ? 1 : 0;
    return n;
}

int LiveStatements(sqlite3* db) {
    int n = 0;
    for (sqlite3_stmt* s = sqlite3_next_stmt(db, nullptr); s; s = sqlite3_next_stmt(db, s)) ++n;
    return n;
}

class StmtCache : public SqliteFileTest {
protected:
    void SetUp() override {
        SqliteFileTest::SetUp();
        Exec("CREATE TABLE item (iKey INTEGER PRIMARY KEY, iCount INTEGER, wszName TEXT UNIQUE);"
             "INSERT INTO item VALUES (1, 10, 'a'), (2, 20, 'b'), (3, 30, 'c');");
    }
    void TearDown() override {
        m_cache.reset();
        SqliteFileTest::TearDown();
    }
    // Reads (iCount, wszName) of a key through the cached select by key.
    bool Read(std::int64_t key, int& count, CYxStringW& name) {
        CYxSqliteSelect sel(*m_cache, kItem, key);
        std::int64_t k = 0;
        const bool found = sel.Row(k, count, name);
        EXPECT_EQ(0, sel.Result());
        return found;
    }

    void Reset(std::size_t capacity) { m_cache = std::make_unique<CYxSqliteStmtCache>(m_db, capacity); }

    std::unique_ptr<CYxSqliteStmtCache> m_cache;
};

TEST_F(StmtCache, OneStatementServesEveryKeyAndIsHandedBackReset) {
    Reset(8);
    int count = 0;
    CYxStringW name;
    for (std::int64_t key : {1, 2, 3, 2}) {
        ASSERT_TRUE(Read(key, count, name)) << key;
        EXPECT_EQ(key * 10, count);
        EXPECT_EQ(BusyStatements(m_db), 0) << "a statement was handed back unreset";
    }
    EXPECT_EQ(m_cache->Size(), 1u);
    EXPECT_EQ(m_cache->LentCount(), 0u);
    int before = count;
    EXPECT_FALSE(Read(99, count, name));
    EXPECT_EQ(before, count);

    // The same text through a plain command is one more statement, reused.
    const wchar_t* sql = L"SELECT iCount FROM item WHERE iKey=?";
    sqlite3_stmt* first = nullptr;
    {
        CYxSqliteCmd cmd(*m_cache, sql);
        EXPECT_TRUE(cmd.IsCached());
        first = cmd.GetStmt();
        cmd.Bind(1, 3);
        ASSERT_TRUE(cmd.Next());
    }
    {
        CYxSqliteCmd cmd(*m_cache, sql);
        EXPECT_EQ(first, cmd.GetStmt());
        // The binding of the last use was cleared: the key is NULL now.
        EXPECT_FALSE(cmd.Next());
        EXPECT_EQ(cmd.Result(), 0);
    }
    EXPECT_EQ(m_cache->Size(), 2u);
}

TEST_F(StmtCache, NestedUsersOfOneKeyGetTheirOwnStatement) {
    Reset(8);
    CYxSqliteSelect outer(*m_cache, kItem, 1);
    EXPECT_TRUE(outer.IsCached());
    {
        CYxSqliteSelect inner(*m_cache, kItem, 2);
        EXPECT_FALSE(inner.IsCached());
        EXPECT_NE(outer.GetStmt(), inner.GetStmt());
        std::int64_t k = 0;
        int count = 0;
        CYxStringW name;
        ASSERT_TRUE(inner.Row(k, count, name));
        EXPECT_EQ(count, 20);
    }
    std::int64_t k = 0;
    int count = 0;
    CYxStringW name;
    ASSERT_TRUE(outer.Row(k, count, name));
    EXPECT_EQ(count, 10);
    EXPECT_EQ(m_cache->Size(), 1u);
    EXPECT_EQ(LiveStatements(m_db), 1);  // the inner one was finalized
}

TEST_F(StmtCache, LeastRecentlyUsedGoesPastTheLimitButNeverALentOne) {
    Reset(3);
    auto use = [&](int n) {
        CYxSqliteCmd cmd(*m_cache, CYxStringW::Format(L"SELECT %d", n));
        EXPECT_TRUE(cmd.Next());
    };
    use(1);
    use(2);
    use(3);
    use(1);  // 2 is now the least recently used
    use(4);
    EXPECT_EQ(m_cache->Size(), 3u);
    EXPECT_EQ(LiveStatements(m_db), 3);
    EXPECT_EQ(m_cache->Take("TSELECT 2"), nullptr);
    for (const char* kept : {"TSELECT 1", "TSELECT 3", "TSELECT 4"}) {
        sqlite3_stmt* s = m_cache->Take(kept);
        EXPECT_NE(s, nullptr) << kept;
        m_cache->Release(s, false);
    }

    // A lent statement outlives its turn: the cache grows until it is back.
    {
        CYxSqliteCmd held(*m_cache, L"SELECT 5");
        for (int n = 6; n < 10; ++n) use(n);
        EXPECT_EQ(m_cache->Take("TSELECT 5"), nullptr);  // lent: never lent twice
        ASSERT_TRUE(held.Next());
        int v = 0;
        held.Column(0, v);
        EXPECT_EQ(v, 5);
    }
    EXPECT_EQ(m_cache->Size(), 3u);
    EXPECT_EQ(LiveStatements(m_db), 3);
}

TEST_F(StmtCache, FailedStepsHandBackAResetStatement) {
    Reset(8);
    sqlite3_stmt* stmt = nullptr;
    {
        CYxSqliteInsert ins(*m_cache, kItem);
        stmt = ins.GetStmt();
        ins.IgnoreConstraintError();
        EXPECT_EQ(ins.Row(1, L"a"), 0);  // duplicate name
        EXPECT_EQ(ins.LastStep() & 0xFF, SQLITE_CONSTRAINT);
        // bindings left behind on purpose: the hand-back must clear them
    }
    EXPECT_EQ(BusyStatements(m_db), 0);
    {
        CYxSqliteInsert ins(*m_cache, kItem);
        EXPECT_EQ(ins.GetStmt(), stmt);  // a refused row keeps the statement
        EXPECT_EQ(ins.Row(4, L"d"), 4);
        EXPECT_EQ(ins.Result(), 0);
    }
    // A read stopped after its first row holds a read transaction until the
    // statement is reset; the hand-back resets it, so another connection can
    // write.
    Exec("PRAGMA journal_mode=delete;");
    {
        CYxSqliteSelect sel(*m_cache, kItem, eYxSelectByColumns, {L"iCount"}, nullptr);
        sel.BindAll(30);
        ASSERT_TRUE(sel.Next());
        EXPECT_EQ(BusyStatements(m_db), 1);
    }
    EXPECT_EQ(BusyStatements(m_db), 0);
    sqlite3* other = nullptr;
    ASSERT_EQ(YxSqlite_Open(m_path, &other, SQLITE_OPEN_READWRITE), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(other, "INSERT INTO item VALUES (5, 50, 'e');", nullptr, nullptr, nullptr), SQLITE_OK);
    YxSqlite_Close(other);
}

TEST_F(StmtCache, SchemaChangesAreSeenAndInvalidStatementsLeave) {
    Reset(8);
    int count = 0;
    CYxStringW name;
    ASSERT_TRUE(Read(2, count, name));

    // Another connection rebuilds the table with its columns in another
    // order and an extra one: the cached statement reads by name.
    sqlite3* other = nullptr;
    ASSERT_EQ(YxSqlite_Open(m_path, &other, SQLITE_OPEN_READWRITE), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other,
                           "CREATE TABLE item2 (wszName TEXT UNIQUE, iExtra INTEGER, iCount INTEGER, "
                           "iKey INTEGER PRIMARY KEY);"
                           "INSERT INTO item2 SELECT wszName, 7, iCount + 1, iKey FROM item;"
                           "DROP TABLE item; ALTER TABLE item2 RENAME TO item;",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    ASSERT_TRUE(Read(2, count, name));
    EXPECT_EQ(count, 21);
    EXPECT_EQ(name, CYxStringW(L"b"));
    EXPECT_EQ(m_cache->Size(), 1u);

    // A column the statement needs is gone: the statement fails cleanly and
    // leaves the cache; once the column is back a new one is prepared.
    ASSERT_EQ(sqlite3_exec(other, "ALTER TABLE item DROP COLUMN iCount;", nullptr, nullptr, nullptr), SQLITE_OK);
    {
        CYxSqliteSelect sel(*m_cache, kItem, 2);
        EXPECT_FALSE(sel.Next());
        EXPECT_EQ(sel.Result(), SQLITE_ERROR);
    }
    EXPECT_EQ(m_cache->Size(), 0u);
    EXPECT_EQ(LiveStatements(m_db), 0);
    ASSERT_EQ(sqlite3_exec(other, "ALTER TABLE item ADD COLUMN iCount INTEGER DEFAULT 5;", nullptr, nullptr, nullptr),
              SQLITE_OK);
    YxSqlite_Close(other);
    ASSERT_TRUE(Read(2, count, name));
    EXPECT_EQ(count, 5);
    EXPECT_EQ(m_cache->Size(), 1u);
}

TEST_F(StmtCache, TextsStillRunAsExactlyOneStatement) {
    Reset(8);
    CYxSqliteCmd cmd(*m_cache, L"SELECT 1; DROP TABLE item;");
    EXPECT_EQ(cmd.Result(), SQLITE_ERROR);
    EXPECT_FALSE(cmd.Next());
    EXPECT_EQ(m_cache->Size(), 0u);
    EXPECT_EQ(Int("SELECT count(*) FROM item"), 3);
}

TEST_F(StmtCache, ClearedCacheLetsTheConnectionClose) {
    Reset(8);
    int count = 0;
    CYxStringW name;
    ASSERT_TRUE(Read(1, count, name));
    {
        CYxSqliteUpdate upd(*m_cache, kItem, {L"iCount"});
        EXPECT_TRUE(upd.Row(1, 11));
        CYxSqliteDelete del(*m_cache, kItem);
        EXPECT_TRUE(del.Row(3));
    }
    EXPECT_EQ(Int("SELECT iCount FROM item WHERE iKey=1"), 11);
    EXPECT_EQ(Int("SELECT count(*) FROM item WHERE iKey=3"), 0);
    EXPECT_EQ(LiveStatements(m_db), 3);
    EXPECT_EQ(sqlite3_close(m_db), SQLITE_BUSY);  // statements keep it open
    m_cache->Clear();
    EXPECT_EQ(LiveStatements(m_db), 0);
    EXPECT_EQ(sqlite3_close(m_db), SQLITE_OK);
    m_db = nullptr;
}

}  // namespace
