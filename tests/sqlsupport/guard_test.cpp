// The guards for spliced text: quoted values, identifiers, columns, pragma
// values, and the one-statement rule of commands and ExecuteSingle.
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"
#include "sqlite_fixture.h"

namespace {

TEST(SqlFormatGuard, RefusesAQuoteInsideQuotesAndLeavesOtherPlacesAlone) {
    CYxStringW sql(L"stale");
    EXPECT_EQ(0, YxSqlite_Format(sql, L"SELECT %s FROM t WHERE a='%s' AND b=%d", L"col", L"plain text", 7));
    EXPECT_EQ(CYxStringW(L"SELECT col FROM t WHERE a='plain text' AND b=7"), sql);

    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"SELECT * FROM t WHERE a='%s'", L"x' OR 1=1 --"));
    EXPECT_TRUE(sql.IsEmpty());
    // Every placement between quotes counts: LIKE patterns, lists, the second
    // of several literals, narrow texts, single characters.
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a LIKE '%s%%'", L"it's"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a IN ('k', '%s')", L"'"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a='%s' AND b='%s'", L"ok", L"no'"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a='%s'", "narrow'"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a='%c'", L'\''));
    // Double-quoted places refuse the double quote.
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"m=\"%s\"", L"a\" OR \"1\"=\"1"));
    EXPECT_EQ(0, YxSqlite_Format(sql, L"m=\"%s\"", L"it's"));
    // Outside quotes the text is the caller's SQL (conditions, names).
    EXPECT_EQ(0, YxSqlite_Format(sql, L"WHERE %s", L"a='x'"));
    // A doubled quote in the format stays inside the literal.
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a='it''s %s'", L"'"));
    EXPECT_EQ(0, YxSqlite_Format(sql, L"a='it''s' AND %s", L"b='c'"));
    // The width and length parts of a conversion are skipped as the
    // formatter reads them.
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_Format(sql, L"a=%I64d AND b='%-10s'", std::int64_t{1}, L"'"));
}

TEST(SqlFormatGuard, AppendKeepsTheTextOnFailure) {
    CYxStringW list(L"x");
    EXPECT_EQ(0, YxSqlite_AppendFormat(list, L", '%s'", L"a"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_AppendFormat(list, L", '%s'", L"b'"));
    EXPECT_EQ(CYxStringW(L"x, 'a'"), list);
    EXPECT_EQ(0, YxSqlite_CheckQuotedText(nullptr));
    EXPECT_EQ(0, YxSqlite_CheckQuotedText(L"Größe \"x\""));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckQuotedText(L"O'Brien"));
}

TEST(SqlIdentifierGuard, PlainIdentifiersOnly) {
    for (const wchar_t* ok : {L"sp", L"_x1", L"iJobrunKeyRef", L"lu_0123abcd"}) EXPECT_EQ(0, YxSqlite_CheckIdentifier(ok)) << ok;
    for (const wchar_t* bad : {L"", L"1abc", L"sp; DELETE FROM settings", L"a b", L"a-b", L"\"x\"", L"[x]", L"äpfel",
                               L"x--", L"iKey=-1; DELETE FROM project; --"})
        EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckIdentifier(bad)) << CYxStringW(bad).ToUtf8();
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckIdentifier(nullptr));
    EXPECT_EQ(0, YxSqlite_CheckIdentifier(CYxStringW(128, L'a')));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckIdentifier(CYxStringW(129, L'a')));
}

TEST(SqlIdentifierGuard, ColumnsOfTheTable) {
    const SYxSqliteTableDef* frame = YxProjectDb_Schema_FindJobsTable(L"frame");
    ASSERT_NE(nullptr, frame);
    EXPECT_EQ(0, YxSqlite_CheckColumn(*frame, L"iJobrunKeyRef"));
    EXPECT_EQ(0, YxSqlite_CheckColumn(*frame, L"iKey"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckColumn(*frame, L"iProjKeyRef"));  // an identifier, not frame's
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckColumn(*frame, L"iKey=-1; DELETE FROM project; --"));
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_CheckColumn(*frame, nullptr));
}

TEST(SqlPragmaValues, SQLitesOwnValueSets) {
    for (const wchar_t* v : {L"delete", L"WAL", L"Truncate", L"persist", L"memory", L"off"})
        EXPECT_TRUE(YxSqlite_IsJournalModeValue(v)) << CYxStringW(v).ToUtf8();
    for (const wchar_t* v : {L"", L"wal;", L"normal", L"wal; DELETE FROM project", L"walx"})
        EXPECT_FALSE(YxSqlite_IsJournalModeValue(v)) << CYxStringW(v).ToUtf8();
    for (const wchar_t* v : {L"OFF", L"normal", L"Full", L"extra", L"0", L"1", L"2", L"3"})
        EXPECT_TRUE(YxSqlite_IsSynchronousValue(v)) << CYxStringW(v).ToUtf8();
    for (const wchar_t* v : {L"", L"4", L"normal; DELETE FROM project", L"01", L"wal"})
        EXPECT_FALSE(YxSqlite_IsSynchronousValue(v)) << CYxStringW(v).ToUtf8();
    EXPECT_FALSE(YxSqlite_IsJournalModeValue(nullptr));
    EXPECT_FALSE(YxSqlite_IsSynchronousValue(nullptr));
}

class SingleStatementTest : public SqliteFileTest {
protected:
    void SetUp() override {
        SqliteFileTest::SetUp();
        Exec("CREATE TABLE t(a INTEGER); INSERT INTO t VALUES(1),(2);");
    }
};

TEST_F(SingleStatementTest, ExecuteSingleRunsNothingWhenASecondStatementFollows) {
    CYxStringW error;
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_ExecuteSingle(m_db, L"DELETE FROM t WHERE a=1; DELETE FROM t", &error, false));
    EXPECT_FALSE(error.IsEmpty());
    EXPECT_EQ(2, Int("SELECT count(*) FROM t"));
    // Text that does not even prepare after the statement is refused as well.
    EXPECT_EQ(SQLITE_ERROR, YxSqlite_ExecuteSingle(m_db, L"DELETE FROM t WHERE a=1; garbage", nullptr, false));
    EXPECT_EQ(2, Int("SELECT count(*) FROM t"));
    // Blanks, comments and semicolons after it are fine.
    EXPECT_EQ(0, YxSqlite_ExecuteSingle(m_db, L"DELETE FROM t WHERE a=1; ;\n -- done\n /* end */", &error, false));
    EXPECT_TRUE(error.IsEmpty());
    EXPECT_EQ(1, Int("SELECT count(*) FROM t"));
}

TEST_F(SingleStatementTest, CommandsAndSingleReadsRefuseASecondStatement) {
    {
        CYxSqliteCmd cmd(m_db, L"SELECT a FROM t; DELETE FROM t");
        EXPECT_FALSE(cmd.IsPrepared());
        EXPECT_FALSE(cmd.Next());
        EXPECT_EQ(SQLITE_ERROR, cmd.Result());
    }
    int error = 0;
    EXPECT_EQ(0, YxSqlite_ReadOneInt64(m_db, L"SELECT count(*) FROM t; DELETE FROM t", &error));
    EXPECT_EQ(SQLITE_ERROR, error);
    EXPECT_EQ(2, Int("SELECT count(*) FROM t"));
    EXPECT_EQ(2, YxSqlite_ReadOneInt64(m_db, L"SELECT count(*) FROM t;  ", &error));
    EXPECT_EQ(0, error);
    CYxSqliteCmd ok(m_db, L"SELECT a FROM t ORDER BY a; -- trailing comment");
    ASSERT_TRUE(ok.Next());
    EXPECT_EQ(0, ok.Result());
}

}  // namespace
