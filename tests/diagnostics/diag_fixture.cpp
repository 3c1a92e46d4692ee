#include "diag_fixture.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

int DiagTest_Exec(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return rc;
}

void DiagTest_CreateFile(const std::string& path, const SYxSqliteTableDef* const* defs, int count,
                         const char* versionTable, int version, int silent) {
    std::string sql = "BEGIN;";
    for (int i = 0; i < count; ++i) sql += YxSqlite_CreateTableWithIndexesSqlCommand(*defs[i]).ToUtf8();
    sql += std::string("INSERT INTO ") + versionTable + "(wszName, iVersion) VALUES('main', " +
           std::to_string(version) + ");";
    if (silent >= 0)
        sql += std::string("INSERT INTO ") + versionTable + "(wszName, iVersion) VALUES('silent', " +
               std::to_string(silent) + ");";
    sql += "COMMIT;";
    ASSERT_EQ(0, DiagTest_Exec(path, sql)) << sql;
}

void DiagTest_ReplaceTable(const std::string& path, const SYxSqliteTableDef& def) {
    const std::string sql = "DROP TABLE " + CYxStringW(def.wszName).ToUtf8() + ";" +
                            YxSqlite_CreateTableWithIndexesSqlCommand(def).ToUtf8();
    ASSERT_EQ(0, DiagTest_Exec(path, sql)) << sql;
}

std::vector<SYxProjectDbFinding> DiagTest_Compare(const std::string& path, SYxProjectDbSchemaReport* report,
                                                  EYxProjectDbFlavour flavour) {
    std::vector<SYxProjectDbFinding> findings;
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(path));
    EXPECT_NE(0u, h) << path;
    EXPECT_EQ(0, YxProjectDb_Diag_CompareSchema(h, flavour, &findings, report));
    YxProjectDb_Db_Disconnect(h);
    return findings;
}

std::vector<SYxProjectDbFinding> DiagTest_Integrity(const std::string& path) {
    std::vector<SYxProjectDbFinding> findings;
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(path));
    EXPECT_NE(0u, h) << path;
    EXPECT_EQ(0, YxProjectDb_Diag_CheckIntegrity(h, &findings));
    YxProjectDb_Db_Disconnect(h);
    return findings;
}

std::string DiagTest_Lines(const std::vector<SYxProjectDbFinding>& findings) {
    std::string s;
    for (const SYxProjectDbFinding& f : findings)
        s += std::string(YxProjectDb_Diag_FindingKindName(f.eKind)) + " " + f.wszTable.ToUtf8() + "." +
             f.wszName.ToUtf8() + " expected=" + f.wszExpected.ToUtf8() + " found=" + f.wszFound.ToUtf8() + "\n";
    return s;
}
