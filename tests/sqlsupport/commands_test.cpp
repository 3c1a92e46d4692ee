// Statement objects: binding and reading every value type, the error model
// (first code kept, reported once, constraint and busy failures ignorable),
// and the typed select, insert, update and delete built from a definition.
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "sqlite_fixture.h"

namespace {

const SYxSqliteColDef kSampleCols[] = {
    {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr, nullptr, nullptr},
    {eYxColReference, eYxTypeInt64, YX_SQLITE_INDEX_YES, L"iParentKeyRef", L"sample", nullptr, nullptr, nullptr},
    {eYxColPlain, eYxTypeInt32, YX_SQLITE_INDEX_NONE, L"iCount", nullptr, nullptr, nullptr, nullptr},
    {eYxColPlain, eYxTypeDouble, YX_SQLITE_INDEX_NONE, L"dValue", nullptr, nullptr, nullptr, nullptr},
    {eYxColPlain, eYxTypeText, YX_SQLITE_INDEX_NONE, L"wszName", nullptr, L"none", L"NOCASE", nullptr},
    {eYxColPlain, eYxTypeBlob, YX_SQLITE_INDEX_NONE, L"pData", nullptr, nullptr, nullptr, nullptr},
};
const SYxSqliteTableDef kSample = {L"sample", 6, kSampleCols, {L"wszName", nullptr}, L"ON CONFLICT ABORT",
                                   {nullptr}, {nullptr}};

class Commands : public SqliteFileTest {
protected:
    void SetUp() override {
        SqliteFileTest::SetUp();
        ASSERT_EQ(YxSqlite_Execute(m_db, YxSqlite_CreateTableWithIndexesSqlCommand(kSample)), SQLITE_OK);
    }
    std::int64_t Add(std::int64_t parent, int count, double value, const wchar_t* name) {
        CYxSqliteInsert ins(m_db, kSample);
        return ins.Row(parent, count, value, name, CYxByteArray());
    }
};

// Counts the failures that a command reports.
class CountingCmd : public CYxSqliteCmd {
public:
    int reported = 0;

protected:
    void OnError(int, const char*) override { ++reported; }
};

TEST_F(Commands, BindsAndReadsEveryType) {
    CYxSqliteCmd cmd(m_db, L"SELECT typeof(?1), typeof(?2), typeof(?3), typeof(?4), typeof(?5), typeof(?6), "
                           L"typeof(?7), ?2, ?3, ?4, ?5, ?6, ?7, length(?7)");
    const std::uint8_t raw[] = {0, 1, 0, 255};
    cmd.Bind(1);
    cmd.Bind(2, 7);
    cmd.Bind(3, std::int64_t{1} << 40);
    cmd.Bind(4, 2.5);
    cmd.Bind(5, L"\u00e9t\u00e9 \U0001F600");
    cmd.Bind(6, CYxByteArray(raw, sizeof raw));
    cmd.Bind(7, CYxByteArray());  // an empty array is an empty blob, not NULL
    ASSERT_TRUE(cmd.Next());
    const char* types[] = {"null", "integer", "integer", "real", "text", "blob", "blob"};
    for (int i = 0; i < 7; ++i) EXPECT_STREQ(cmd.ColumnUtf8(i), types[i]) << i;
    int i32 = 0;
    std::int64_t i64 = 0;
    double d = 0;
    CYxStringW text;
    CYxByteArray blob;
    cmd.Column(7, i32);
    cmd.Column(8, i64);
    cmd.Column(9, d);
    cmd.Column(10, text);
    cmd.Column(11, blob);
    EXPECT_EQ(i32, 7);
    EXPECT_EQ(i64, std::int64_t{1} << 40);
    EXPECT_EQ(d, 2.5);
    EXPECT_EQ(text.str(), L"\u00e9t\u00e9 \U0001F600");
    EXPECT_EQ(blob, CYxByteArray(raw, sizeof raw));
    EXPECT_FALSE(cmd.IsNull(12));
    cmd.Column(13, i64);
    EXPECT_EQ(i64, 0);
    EXPECT_FALSE(cmd.Next());
    EXPECT_EQ(cmd.Result(), 0);
}

TEST_F(Commands, NullReadsAsZeroOrTheGivenValue) {
    CYxSqliteCmd cmd(m_db, L"SELECT NULL, 3");
    ASSERT_TRUE(cmd.Next());
    std::int64_t i64 = 99;
    double d = 9;
    CYxStringW text(L"x");
    CYxByteArray blob(CYxByteArray("ab", 2));
    EXPECT_TRUE(cmd.IsNull(0));
    cmd.Column(0, i64, -1);
    cmd.Column(0, d, -2.0);
    EXPECT_EQ(i64, -1);
    EXPECT_EQ(d, -2.0);
    cmd.Column(1, i64, -1);
    EXPECT_EQ(i64, 3);
    cmd.Column(0, i64);
    cmd.Column(0, text);
    cmd.Column(0, blob);
    EXPECT_EQ(i64, 0);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(blob.IsEmpty());
}

TEST_F(Commands, ResetRunsAgainWithTheSameBindings) {
    Add(0, 1, 0, L"a");
    Add(0, 2, 0, L"b");
    Add(0, 3, 0, L"c");
    CYxSqliteCmd cmd(m_db, L"SELECT wszName FROM sample WHERE iCount >= ? ORDER BY iKey");
    cmd.Bind(1, 2);
    std::vector<std::wstring> first, second;
    CYxStringW name;
    while (cmd.Next()) {
        cmd.Column(0, name);
        first.push_back(name.str());
    }
    cmd.Reset();
    while (cmd.Next()) {
        cmd.Column(0, name);
        second.push_back(name.str());
    }
    EXPECT_EQ(first, (std::vector<std::wstring>{L"b", L"c"}));
    EXPECT_EQ(second, first);

    CYxSqliteCmd ins(m_db, L"INSERT INTO sample (wszName) VALUES ('d')");
    std::int64_t rowid = 0;
    EXPECT_FALSE(ins.Next(&rowid));
    EXPECT_EQ(rowid, 4);
    EXPECT_EQ(ins.Result(), 0);
}

TEST_F(Commands, FirstErrorIsKeptAndReportedOnce) {
    // Prepared after construction: a base constructor cannot reach the override.
    CountingCmd bad;
    bad.Prepare(m_db, L"SELEC 1");
    EXPECT_FALSE(bad.IsPrepared());
    EXPECT_EQ(bad.Result(), SQLITE_ERROR);
    EXPECT_EQ(bad.reported, 1);
    EXPECT_FALSE(bad.Next());
    EXPECT_EQ(bad.Result(), SQLITE_ERROR);

    Add(0, 1, 0, L"dup");
    CountingCmd dup;
    dup.Prepare(m_db, L"INSERT INTO sample (wszName) VALUES ('DUP')");  // NOCASE: the same name
    EXPECT_FALSE(dup.Next());
    EXPECT_EQ(dup.LastStep() & 0xFF, SQLITE_CONSTRAINT);
    EXPECT_EQ(dup.Result(), SQLITE_CONSTRAINT);
    EXPECT_EQ(dup.reported, 1);
    dup.Reset();
    EXPECT_EQ(dup.Prepare(m_db, L"SELECT * FROM nosuch"), SQLITE_ERROR);
    EXPECT_EQ(dup.Result(), SQLITE_CONSTRAINT);  // still the first one
    EXPECT_EQ(dup.reported, 2);

    CountingCmd ignored;
    ignored.Prepare(m_db, L"INSERT INTO sample (wszName) VALUES ('dup')");
    ignored.IgnoreConstraintError();
    EXPECT_FALSE(ignored.Next());
    EXPECT_EQ(ignored.LastStep() & 0xFF, SQLITE_CONSTRAINT);
    EXPECT_EQ(ignored.Result(), 0);
    EXPECT_EQ(ignored.reported, 0);
    EXPECT_FALSE(ignored.IsBusy());
    EXPECT_EQ(Int("SELECT count(*) FROM sample"), 1);
}

TEST_F(Commands, InsertReturnsKeysAndHonoursConflictClauses) {
    const std::int64_t a = Add(0, 1, 1.0, L"a");
    const std::int64_t b = Add(a, 2, 2.0, L"b");
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);

    CYxSqliteInsert plain(m_db, kSample);
    EXPECT_EQ(plain.Row(std::int64_t{0}, 9, 9.0, L"A", CYxByteArray()), 0);
    EXPECT_EQ(plain.Result(), SQLITE_CONSTRAINT);

    CYxSqliteInsert ignore(m_db, kSample, L" OR IGNORE ");
    EXPECT_EQ(ignore.Row(std::int64_t{0}, 9, 9.0, L"a", CYxByteArray()), 0);
    EXPECT_EQ(ignore.Result(), 0);
    EXPECT_EQ(Rows("SELECT iKey, iCount FROM sample WHERE wszName='a'"), std::vector<std::string>{"1|1"});
    EXPECT_EQ(ignore.Row(std::int64_t{0}, 3, 3.0, L"c", CYxByteArray()), 3);  // and still inserts new rows

    CYxSqliteInsert replace(m_db, kSample, L"OR REPLACE");
    const std::int64_t r = replace.Row(std::int64_t{0}, 7, 7.0, L"B", CYxByteArray("x", 1));
    EXPECT_EQ(r, 4);
    EXPECT_EQ(replace.Result(), 0);
    EXPECT_EQ(Rows("SELECT iKey, iCount, wszName, pData FROM sample ORDER BY iKey"),
              (std::vector<std::string>{"1|1|a|", "3|3|c|", "4|7|B|x"}));
}

TEST_F(Commands, NullValueListWritesReferenceZeroAsNull) {
    const CYxSqliteNullValueVector nulls = YxSqliteNullValueVector_Create(kSample);
    ASSERT_EQ(nulls.size(), 6u);
    EXPECT_TRUE(nulls[1].bActive);
    EXPECT_FALSE(nulls[2].bActive);
    CYxSqliteInsert ins(m_db, kSample);
    const std::int64_t k1 = ins.Row(nulls, std::int64_t{0}, 0, 0.0, L"root", CYxByteArray());
    const std::int64_t k2 = ins.Row(nulls, k1, 0, 0.0, L"child", CYxByteArray());
    ASSERT_GT(k2, k1);
    EXPECT_EQ(Rows("SELECT typeof(iParentKeyRef), iCount, typeof(pData) FROM sample ORDER BY iKey"),
              (std::vector<std::string>{"null|0|blob", "integer|0|blob"}));

    // With a column list the list still maps to the table's columns.
    CYxSqliteInsert some(m_db, kSample, std::vector<const wchar_t*>{L"wszName", L"iParentKeyRef"});
    const std::int64_t k3 = some.Row(nulls, L"listed", std::int64_t{0});
    ASSERT_GT(k3, 0);
    EXPECT_EQ(Rows("SELECT typeof(iParentKeyRef), typeof(iCount), typeof(pData) FROM sample WHERE wszName='listed'"),
              std::vector<std::string>{"null|null|null"});
    CYxSqliteInsert defaults(m_db, kSample, std::vector<const wchar_t*>{L"iCount"});
    EXPECT_GT(defaults.Row(5), 0);
    EXPECT_EQ(Rows("SELECT wszName FROM sample WHERE iCount=5"), std::vector<std::string>{"none"});
}

TEST_F(Commands, UpdateByKeyWholeRowOrColumnList) {
    const std::int64_t a = Add(0, 1, 1.0, L"a");
    const std::int64_t b = Add(a, 2, 2.0, L"b");
    CYxSqliteUpdate all(m_db, kSample);
    EXPECT_TRUE(all.Row(b, std::int64_t{0}, 20, 20.5, L"bb", CYxByteArray("z", 1)));
    EXPECT_EQ(Rows("SELECT iParentKeyRef, iCount, dValue, wszName, pData FROM sample WHERE iKey=2"),
              std::vector<std::string>{"0|20|20.5|bb|z"});
    const CYxSqliteNullValueVector nulls = YxSqliteNullValueVector_Create(kSample);
    EXPECT_TRUE(all.Row(b, nulls, std::int64_t{0}, 21, 21.5, L"bb", CYxByteArray()));
    EXPECT_EQ(Rows("SELECT typeof(iParentKeyRef), iCount FROM sample WHERE iKey=2"),
              std::vector<std::string>{"null|21"});

    CYxSqliteUpdate one(m_db, kSample, std::vector<const wchar_t*>{L"dValue"});
    EXPECT_TRUE(one.Row(a, 9.25));
    CYxSqliteUpdate ref(m_db, kSample, std::vector<const wchar_t*>{L"iParentKeyRef"});
    EXPECT_TRUE(ref.Row(a, nulls, std::int64_t{0}));
    EXPECT_EQ(Rows("SELECT typeof(iParentKeyRef), iCount, dValue, wszName FROM sample ORDER BY iKey"),
              (std::vector<std::string>{"null|1|9.25|a", "null|21|21.5|bb"}));
    // A unique clash fails the update and leaves the row.
    EXPECT_FALSE(all.Row(a, std::int64_t{0}, 1, 1.0, L"BB", CYxByteArray()));
    EXPECT_EQ(all.Result(), SQLITE_CONSTRAINT);
    EXPECT_EQ(Rows("SELECT wszName FROM sample WHERE iKey=1"), std::vector<std::string>{"a"});
}

TEST_F(Commands, DeleteByKeyAndByColumns) {
    Add(0, 1, 0, L"a");
    Add(0, 2, 0, L"b");
    Add(0, 2, 0, L"c");
    Add(0, 3, 0, L"d");
    CYxSqliteDelete byKey(m_db, kSample);
    EXPECT_TRUE(byKey.Row(std::int64_t{1}));
    EXPECT_TRUE(byKey.Row(std::int64_t{99}));  // no such row: nothing to do, no failure
    CYxSqliteDelete byCols(m_db, kSample, std::vector<const wchar_t*>{L"iCount", L"wszName"});
    EXPECT_TRUE(byCols.Row(2, L"C"));  // both columns must match (NOCASE name)
    EXPECT_EQ(Rows("SELECT wszName FROM sample ORDER BY iKey"), (std::vector<std::string>{"b", "d"}));
}

TEST_F(Commands, SelectForms) {
    Add(0, 1, 0.5, L"a");
    Add(1, 2, 1.5, L"b");
    Add(1, 2, 2.5, L"c");
    std::int64_t key = 0, parent = 0;
    int count = 0;
    double value = 0;
    CYxStringW name;
    CYxByteArray data;

    CYxSqliteSelect byKey(m_db, kSample, std::int64_t{2});
    ASSERT_TRUE(byKey.Row(key, parent, count, value, name, data));
    EXPECT_EQ(key, 2);
    EXPECT_EQ(parent, 1);
    EXPECT_EQ(name, L"b");
    EXPECT_FALSE(byKey.Row(key));

    CYxSqliteSelect where(m_db, kSample, L"iCount=2", L"ORDER BY iKey DESC");
    std::vector<std::int64_t> keys;
    while (where.Row(key)) keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::int64_t>{3, 2}));

    CYxSqliteSelect cols(m_db, kSample, std::vector<const wchar_t*>{L"wszName", L"dValue"}, L"iKey=3");
    ASSERT_TRUE(cols.Row(name, value));
    EXPECT_EQ(name, L"c");
    EXPECT_EQ(value, 2.5);

    CYxSqliteSelect all(m_db, kSample);
    int n = 0;
    while (all.Row(key)) ++n;
    EXPECT_EQ(n, 3);
    EXPECT_EQ(all.Result(), 0);

    CYxSqliteSelect bad(m_db, kSample, L"nosuchcolumn=1");
    EXPECT_FALSE(bad.Row(key));
    EXPECT_EQ(bad.Result(), SQLITE_ERROR);
}

// Without a connection every command fails with SQLITE_MISUSE and does nothing.
TEST(CommandsWithoutConnection, FailCleanly) {
    CYxSqliteCmd cmd(nullptr, L"SELECT 1");
    EXPECT_EQ(cmd.Result(), SQLITE_MISUSE);
    cmd.Bind(1, 5);
    cmd.Bind(2, L"x");
    EXPECT_FALSE(cmd.Next());
    std::int64_t v = 7;
    cmd.Column(0, v);
    EXPECT_EQ(v, 0);
    cmd.Reset();
    EXPECT_EQ(cmd.ColumnCount(), 0);

    CYxSqliteSelect sel(nullptr, kSample, std::int64_t{1});
    EXPECT_FALSE(sel.Row(v));
    EXPECT_EQ(sel.Result(), SQLITE_MISUSE);
    CYxSqliteInsert ins(nullptr, kSample);
    EXPECT_EQ(ins.Row(std::int64_t{0}, 1, 1.0, L"a", CYxByteArray()), 0);
    EXPECT_EQ(ins.Result(), SQLITE_MISUSE);
    {
        CYxSqliteInsertTransacted tx(nullptr, kSample);
        EXPECT_FALSE(tx.IsTransactionOwner());
        EXPECT_EQ(tx.Row(std::int64_t{0}, 1, 1.0, L"a", CYxByteArray()), 0);
        EXPECT_EQ(tx.Finish(), 0);
    }
    CYxSqliteUpdate upd(nullptr, kSample);
    EXPECT_FALSE(upd.Row(1, std::int64_t{0}, 1, 1.0, L"a", CYxByteArray()));
    EXPECT_EQ(upd.Result(), SQLITE_MISUSE);
    CYxSqliteDelete del(nullptr, kSample);
    EXPECT_FALSE(del.Row(std::int64_t{1}));
    EXPECT_EQ(del.Result(), SQLITE_MISUSE);
}

TEST_F(Commands, InsertTransactedCommitsItsOwnTransactionOnly) {
    {
        CYxSqliteInsertTransacted tx(m_db, kSample);
        EXPECT_TRUE(tx.IsTransactionOwner());
        EXPECT_GT(tx.Row(std::int64_t{0}, 1, 1.0, L"a", CYxByteArray()), 0);
        EXPECT_GT(tx.Row(std::int64_t{0}, 2, 2.0, L"b", CYxByteArray()), 0);
        EXPECT_EQ(sqlite3_get_autocommit(m_db), 0);
    }
    EXPECT_NE(sqlite3_get_autocommit(m_db), 0);
    EXPECT_EQ(Int("SELECT count(*) FROM sample"), 2);

    // Inside a transaction of the caller it begins none and ends none.
    Exec("BEGIN");
    {
        CYxSqliteInsertTransacted tx(m_db, kSample);
        EXPECT_FALSE(tx.IsTransactionOwner());
        EXPECT_GT(tx.Row(std::int64_t{0}, 3, 3.0, L"c", CYxByteArray()), 0);
    }
    EXPECT_EQ(sqlite3_get_autocommit(m_db), 0);
    Exec("ROLLBACK");
    EXPECT_EQ(Int("SELECT count(*) FROM sample"), 2);
}

}  // namespace
