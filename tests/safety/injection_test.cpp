// A caller's text, or a value read from a database file, is data: it never
// adds a statement and never changes which rows a statement selects.
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"
#include "gnr_projectdb/records_project.h"
#include "records/records_fixture.h"

#include "test_query.h"

#include <sqlite3.h>

namespace {

// Runs a script or a query on a connection of its own.
std::vector<std::string> OnFile(const std::string& file, const std::string& sql, bool script = false) {
    sqlite3* db = nullptr;
    std::vector<std::string> rows;
    if (sqlite3_open(file.c_str(), &db) != SQLITE_OK) rows = {"error: cannot open"};
    else if (script) {
        if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
            rows = {std::string("error: ") + sqlite3_errmsg(db)};
    } else {
        rows = YxTest_QueryDb(db, sql);
    }
    sqlite3_close(db);
    return rows;
}

std::string SqlQuoted(const std::string& text) {
    std::string q = "'";
    for (char c : text) q += c == '\'' ? std::string("''") : std::string(1, c);
    return q + "'";
}

class InjectionTest : public CYxRecordsTest {
protected:
    std::int64_t AddProject(const wchar_t* name) {
        SYxProjectDbRow_project p{};
        p.wszName = name;
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, p, &key));
        return key;
    }
    std::int64_t AddJobdef(const wchar_t* name) {
        SYxProjectDbRow_jobdef d{};
        d.wszName = name;
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, d, &key));
        return key;
    }
    std::int64_t AddProgram() {
        SYxProjectDbRow_jobprogram p{};
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, p, &key));
        return key;
    }
};

// ---- statements with spliced text run as exactly one statement

TEST_F(InjectionTest, PropertyDefinitionKeyCannotAddADelete) {
    const std::int64_t program = AddProgram(), other = AddProgram();
    ASSERT_EQ(0, YxProjectDb_Jobpropdef_InsertOrUpdate(m_h, program, L"a", 1.0, 0, 0, {}, 0, nullptr));
    ASSERT_EQ(0, YxProjectDb_Jobpropdef_InsertOrUpdate(m_h, other, L"b", 2.0, 0, 0, {}, 0, nullptr));
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobpropdef_Delete(m_h, program, L"x'; DELETE FROM jobpropdef; --"));
    EXPECT_EQ(2, Count(L"jobpropdef"));
    // The same key without a quote is an ordinary key that matches nothing,
    // and a real key still deletes its own row only.
    EXPECT_EQ(0, YxProjectDb_Jobpropdef_Delete(m_h, program, L"x; DELETE FROM jobpropdef; --"));
    EXPECT_EQ(2, Count(L"jobpropdef"));
    EXPECT_EQ(0, YxProjectDb_Jobpropdef_Delete(m_h, program, L"a"));
    EXPECT_EQ(1, Count(L"jobpropdef"));
}

TEST_F(InjectionTest, SavepointNamesAreIdentifiers) {
    const std::int64_t before = Count(L"settings");
    ASSERT_GT(before, 0);
    EXPECT_EQ(-9, YxProjectDb_Db_SavepointSet(m_h, L"sp; DELETE FROM settings"));
    EXPECT_EQ(before, Count(L"settings"));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(m_h));
    EXPECT_EQ(-9, YxProjectDb_Db_SavepointRelease(m_h, L"sp; DELETE FROM settings"));
    EXPECT_EQ(-9, YxProjectDb_Db_SavepointRollback(m_h, L"sp; DELETE FROM settings"));
    EXPECT_EQ(before, Count(L"settings"));

    // Plain names work as before.
    ASSERT_EQ(0, YxProjectDb_Db_SavepointSet(m_h, L"sp_1"));
    AddProject(L"kept out");
    EXPECT_EQ(0, YxProjectDb_Db_SavepointRollback(m_h, L"sp_1"));
    EXPECT_EQ(0, YxProjectDb_Db_SavepointRelease(m_h, L"sp_1"));
    EXPECT_EQ(0, Count(L"project"));
}

TEST_F(InjectionTest, ConditionsOfTheCallerRunAsOneStatement) {
    AddProject(L"p");
    std::vector<SYxProjectDbRow_project> rows;
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Row_GetWhere(m_h, L"1=1; DELETE FROM project", rows));
    std::int64_t n = -1;
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Table_Count(m_h, L"project", L"1=1; DELETE FROM project", &n));
    EXPECT_EQ(-1, n);
    EXPECT_EQ(1, Count(L"project"));
}

// ---- a quote in a text placed between quotes fails before any statement

TEST_F(InjectionTest, QuoteInAUserNameSelectsNothing) {
    SYxProjectDbMap_oldToNew entry{};
    ASSERT_EQ(0, YxProjectDb_Jobuser_UpdateOrInsert(m_h, L"admin", L"secret", entry));
    SYxProjectDbRow_jobuser row{};
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobuser_GetOne(m_h, L"admin' --", L"wrong", row));
    EXPECT_EQ(0, row.iKey);
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobuser_GetOne(m_h, L"admin", L"' OR ''='", row));
    EXPECT_EQ(0, row.iKey);
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Jobuser_GetOne(m_h, L"admin", L"wrong", row));
    EXPECT_EQ(0, YxProjectDb_Jobuser_GetOne(m_h, L"admin", L"secret", row));
    EXPECT_NE(0, row.iKey);
    // The update-or-insert looks the name up the same way: nothing is written.
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobuser_UpdateOrInsert(m_h, L"x' OR 1=1 --", L"p", entry));
    EXPECT_EQ(1, Count(L"jobuser"));
}

TEST_F(InjectionTest, QuoteInAUuidSelectsNothing) {
    AddJobdef(L"d");
    SYxProjectDbRow_jobdef row{};
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobdef_GetOne(m_h, L"x' OR 1=1 --", row));
    EXPECT_EQ(0, row.iKey);
    std::vector<SYxProjectDbRow_jobdef> many;
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobdef_GetOneOrMany(m_h, L"x' OR 1=1 --", many));
    EXPECT_TRUE(many.empty());
    // A delete by a list of uuids with one bad element deletes nothing at all.
    const std::vector<CYxStringW> uuids{L"nothing", L"x') OR 1=1 --"};
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobdef_DeleteMany(m_h, &uuids));
    EXPECT_EQ(1, Count(L"jobdef"));
}

TEST_F(InjectionTest, QuoteInAnOptionNameOrValueWritesNothing) {
    const std::int64_t before = Count(L"settings");
    // Option writes report no failure of their own; nothing is stored.
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(m_h, L"categories", L"a', 'b'); DELETE FROM settings; --"));
    EXPECT_EQ(before, Count(L"settings"));
    EXPECT_EQ(CYxStringW(), YxProjectDb_Db_GetOptStr(m_h, L"x' OR '1'='1"));
    // A pragma value that is not SQLite's own is refused before it runs.
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Db_SetOptStr(m_h, L"synchronous", L"normal; DELETE FROM settings"));
    EXPECT_EQ(before, Count(L"settings"));
    EXPECT_EQ(0, YxProjectDb_Db_SetOptStr(m_h, L"synchronous", L"FULL"));
    EXPECT_EQ(CYxStringW(L"FULL"), YxProjectDb_Db_GetOptStr(m_h, L"synchronous"));
}

// ---- names that callers pass are identifiers of the schema

TEST_F(InjectionTest, DeleteByParentTakesOnlyColumnsOfTheTable) {
    AddProject(L"one");
    AddProject(L"two");
    EXPECT_EQ(SQLITE_ERROR,
              YxProjectDb_Table_DeleteByParent(m_h, L"frame", L"iKey=-1; DELETE FROM project; --", 0));
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Table_DeleteByParent(m_h, L"frame", L"iProjKeyRef", 1));
    EXPECT_EQ(2, Count(L"project"));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Table_DeleteByParent(m_h, L"project; DROP TABLE frame", L"iKey", 1));
    EXPECT_EQ(0, YxProjectDb_Table_DeleteByParent(m_h, L"project", L"iKey", 1));
    EXPECT_EQ(1, Count(L"project"));
}

// ---- values read from a file are data

TEST(FileValues, StoredSynchronousCannotRunStatementsOnConnect) {
    CYxTempDir dir;
    const CYxStringW path = dir.File("jobs.db");
    const std::string other = dir.FileUtf8("other.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(path));
    ASSERT_TRUE(OnFile(other, "CREATE TABLE t(a); INSERT INTO t VALUES(1);", true).empty());
    const std::string file = path.ToUtf8();
    const std::string payload = "normal; DELETE FROM project; ATTACH DATABASE '" + other + "' AS o; DROP TABLE o.t";
    ASSERT_TRUE(OnFile(file,
                       "INSERT INTO project(wszName) VALUES('p'); UPDATE settings SET varValue=" + SqlQuoted(payload) +
                           " WHERE wszName='synchronous';",
                       true)
                    .empty());

    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
    ASSERT_NE(0u, h);
    // The bad value counts as absent: the default "normal" (1) applies.
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h).Get();
    EXPECT_EQ(std::vector<std::string>{"1"}, YxTest_QueryDb(db, "PRAGMA synchronous;"));
    EXPECT_TRUE(YxTest_QueryDb(db, "SELECT name FROM pragma_database_list WHERE name='o';").empty());
    YxProjectDb_Db_Disconnect(h);
    EXPECT_EQ(std::vector<std::string>{"1"}, OnFile(file, "SELECT count(*) FROM project;"));
    EXPECT_EQ(std::vector<std::string>{"1"}, OnFile(other, "SELECT count(*) FROM t;"));
}

TEST(FileValues, StoredValidValuesStillApply) {
    CYxTempDir dir;
    const CYxStringW path = dir.File("jobs.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(path));
    ASSERT_TRUE(OnFile(path.ToUtf8(), "UPDATE settings SET varValue='FULL' WHERE wszName='synchronous';", true).empty());
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
    ASSERT_NE(0u, h);
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h).Get();
    EXPECT_EQ(std::vector<std::string>{"2"}, YxTest_QueryDb(db, "PRAGMA synchronous;"));
    YxProjectDb_Db_Disconnect(h);
}

}  // namespace
