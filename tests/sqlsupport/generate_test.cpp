// The SQL generators, judged by what SQLite makes of their text: columns,
// types, defaults, collations, unique groups, indexes and references as
// PRAGMA reports them on a real file.
#include "gnr_projectdb/schema.h"
#include "sqlite_fixture.h"

#include <set>

namespace {

class Generate : public SqliteFileTest {
protected:
    void Run(const CYxStringW& sql) {
        CYxStringW error;
        ASSERT_EQ(YxSqlite_Execute(m_db, sql, &error), SQLITE_OK) << sql.ToUtf8() << "\n" << error.ToUtf8();
    }
    std::string IndexColumns(const std::string& index) const {
        std::string cols;
        for (const auto& r : Rows(("SELECT name FROM pragma_index_info('" + index + "') ORDER BY seqno").c_str()))
            cols += (cols.empty() ? "" : ",") + r;
        return cols;
    }
    std::vector<std::string> Schema() const {
        return Rows("SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY name");
    }
};

TEST_F(Generate, ColumnsTypesDefaultsAndCollations) {
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_wellplatename));
    EXPECT_EQ(Rows("SELECT cid, name, type, \"notnull\", dflt_value, pk FROM pragma_table_info('wellplatename')"),
              (std::vector<std::string>{"0|iKey|INTEGER|0|NULL|1", "1|wszUuid|TEXT|0|NULL|0",
                                        "2|iWellplateconfigKeyRef|INTEGER|0|NULL|0",
                                        "3|wszCompany|TEXT|0|'Unknown'|0", "4|wszType|TEXT|0|'Unknown'|0",
                                        "5|wszModel|TEXT|0|'Unknown'|0", "6|iUserImported|INT|0|NULL|0",
                                        "7|iRemoved|INT|0|NULL|0", "8|iWellplatenameKeyRef|INTEGER|0|NULL|0"}));
    for (const char* col : {"wszCompany", "wszType", "wszModel", "wszUuid"}) {
        const char* type = nullptr;
        const char* coll = nullptr;
        ASSERT_EQ(sqlite3_table_column_metadata(m_db, "main", "wellplatename", col, &type, &coll, nullptr, nullptr,
                                                nullptr),
                  SQLITE_OK);
        EXPECT_STREQ(coll, std::string(col) == "wszUuid" ? "BINARY" : "NOCASE") << col;
    }
    // The default and the collation at work.
    Exec("INSERT INTO wellplatename (wszUuid, wszCompany) VALUES ('u1', 'Corning')");
    EXPECT_EQ(Rows("SELECT wszCompany, wszType, wszModel FROM wellplatename WHERE wszCompany='CORNING'"),
              std::vector<std::string>{"Corning|Unknown|Unknown"});
}

TEST_F(Generate, UniqueGroupOwnIndexesAndReferences) {
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_wellplatename));
    EXPECT_EQ(Rows("SELECT name, \"unique\", origin FROM pragma_index_list('wellplatename') ORDER BY name"),
              (std::vector<std::string>{"idx_wellplatename_iWellplateconfigKeyRef|0|c",
                                        "idx_wellplatename_iWellplatenameKeyRef|0|c",
                                        "sqlite_autoindex_wellplatename_1|1|u", "uidx_wellplatename_wszUuid|1|c"}));
    EXPECT_EQ(IndexColumns("sqlite_autoindex_wellplatename_1"), "wszUuid,wszCompany,wszType,wszModel");
    EXPECT_EQ(IndexColumns("idx_wellplatename_iWellplateconfigKeyRef"), "iWellplateconfigKeyRef");
    EXPECT_EQ(Rows("SELECT \"table\", \"from\", \"to\", on_update, on_delete FROM "
                   "pragma_foreign_key_list('wellplatename') ORDER BY \"from\""),
              (std::vector<std::string>{"wellplateconfiguration|iWellplateconfigKeyRef|iKey|CASCADE|CASCADE",
                                        "wellplatename|iWellplatenameKeyRef|iKey|CASCADE|CASCADE"}));
    // The group is unique under the columns' own collation.
    Exec("INSERT INTO wellplatename (wszUuid, wszCompany, wszType, wszModel) VALUES ('u', 'A', 'b', 'c')");
    EXPECT_EQ(sqlite3_exec(m_db,
                           "INSERT INTO wellplatename (wszUuid, wszCompany, wszType, wszModel) "
                           "VALUES ('u2', 'a', 'B', 'C')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);  // different uuid: a different group
    EXPECT_EQ(sqlite3_exec(m_db, "INSERT INTO wellplatename (wszUuid, wszModel) VALUES ('u', 'x')", nullptr,
                           nullptr, nullptr),
              SQLITE_CONSTRAINT);  // the uuid's own unique index
}

TEST_F(Generate, CompositeIndexesKeepColumnOrder) {
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_binobjprop));
    std::set<std::string> composite;
    for (const auto& name : Rows("SELECT name FROM pragma_index_list('binobjprop') WHERE origin='c'"))
        composite.insert(IndexColumns(name));
    EXPECT_EQ(composite, (std::set<std::string>{"iPropdefKeyRef", "iJobrunKeyRef,iFrameIndex,iPropdefKeyRef",
                                                "iJobrunKeyRef,iPropdefKeyRef,dValue"}));
    EXPECT_EQ(IndexColumns("sqlite_autoindex_binobjprop_1"), "iBinobjKeyRef,iPropdefKeyRef");
    // The index names the generator reports are the ones that exist.
    std::set<std::string> reported;
    for (const CYxStringW& n : YxSqlite_IndexNames(YxJobsDef_binobjprop)) reported.insert(n.ToUtf8());
    std::set<std::string> actual;
    for (const auto& n : Rows("SELECT name FROM pragma_index_list('binobjprop') WHERE origin='c'")) actual.insert(n);
    EXPECT_EQ(reported, actual);
}

// Every table of the jobs database, created in list order on one file.
TEST_F(Generate, WholeJobsSchemaMatchesItsDefinitions) {
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    ASSERT_EQ(count, 59);
    for (int t = 0; t < count; ++t) Run(YxSqlite_CreateTableWithIndexesSqlCommand(*defs[t]));
    for (int t = 0; t < count; ++t) {
        const SYxSqliteTableDef& def = *defs[t];
        const std::string table = CYxStringW(def.wszName).ToUtf8();
        const auto cols = Rows(("SELECT name FROM pragma_table_info('" + table + "')").c_str());
        ASSERT_EQ(static_cast<int>(cols.size()), def.nCols) << table;
        int refs = 0;
        for (int c = 0; c < def.nCols; ++c) {
            EXPECT_EQ(cols[static_cast<std::size_t>(c)], CYxStringW(def.pCols[c].wszName).ToUtf8()) << table;
            if (def.pCols[c].eRole == eYxColReference && def.pCols[c].wszRefTable) ++refs;
        }
        EXPECT_EQ(def.pCols[0].eRole, eYxColPrimaryKey) << table;
        EXPECT_EQ(Int(("SELECT count(*) FROM pragma_foreign_key_list('" + table + "')").c_str()), refs) << table;
        EXPECT_EQ(Int(("SELECT count(*) FROM pragma_index_list('" + table + "') WHERE origin='u'").c_str()),
                  def.apUnique[0] ? 1 : 0)
            << table;
        EXPECT_EQ(Int(("SELECT count(*) FROM pragma_index_list('" + table + "') WHERE origin='c'").c_str()),
                  static_cast<long long>(YxSqlite_IndexNames(def).size()))
            << table;
    }
}

TEST_F(Generate, CheckIndexesRecreatesOnlyWhatIsMissing) {
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_binobjprop));
    const auto before = Schema();
    const CYxStringW check = YxSqlite_CheckTableIndexesSqlCommand(YxJobsDef_binobjprop);
    Run(check);  // nothing missing: nothing changes
    EXPECT_EQ(Schema(), before);

    const std::string dropped = YxSqlite_IndexNames(YxJobsDef_binobjprop)[1].ToUtf8();
    Exec(("DROP INDEX " + dropped).c_str());
    ASSERT_NE(Schema(), before);
    Run(check);
    EXPECT_EQ(Schema(), before);
}

TEST_F(Generate, DropTableAndIndexesRemovesOnlyThatTable) {
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_binobjprop));
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_wellplatename));
    const CYxStringW drop = YxSqlite_DropTableAndIndexesSqlCommand(YxJobsDef_binobjprop);
    Run(drop);
    EXPECT_EQ(Int("SELECT count(*) FROM sqlite_master WHERE tbl_name='binobjprop'"), 0);
    EXPECT_EQ(Int("SELECT count(*) FROM sqlite_master WHERE tbl_name='wellplatename'"), 5);
    Run(drop);  // a second run finds nothing to drop and still succeeds
}

TEST_F(Generate, TableUnderAnotherNameAndSingleColumnIndexes) {
    Run(YxSqlite_CreateTableSqlCommand(YxJobsDef_wellplatename));
    Run(YxSqlite_CreateTableExSqlCommand(YxJobsDef_wellplatename, L"wellplatename_old"));
    EXPECT_EQ(Rows("SELECT name, type, dflt_value FROM pragma_table_info('wellplatename_old')"),
              Rows("SELECT name, type, dflt_value FROM pragma_table_info('wellplatename')"));
    // Neither form creates the indexes of the columns.
    EXPECT_EQ(Int("SELECT count(*) FROM sqlite_master WHERE type='index' AND sql IS NOT NULL"), 0);

    const SYxSqliteColDef& uuid = YxJobsDef_wellplatename.pCols[1];
    const SYxSqliteColDef& company = YxJobsDef_wellplatename.pCols[3];
    EXPECT_TRUE(YxSqlite_CreateColumnIndexSqlCommand(L"wellplatename", company).IsEmpty());
    EXPECT_TRUE(YxSqlite_CreateColumnIndexSqlCommand(nullptr, uuid).IsEmpty());
    Run(YxSqlite_CreateColumnIndexSqlCommand(L"wellplatename_old", uuid));
    EXPECT_EQ(Rows("SELECT \"unique\" FROM pragma_index_list('wellplatename_old') WHERE origin='c'"),
              std::vector<std::string>{"1"});
}

// Keys are row ids: VACUUM never renumbers them.
TEST_F(Generate, KeysSurviveVacuum) {
    Run(YxSqlite_CreateTableWithIndexesSqlCommand(YxJobsDef_vesion));
    for (int i = 1; i <= 10; ++i)
        Exec(("INSERT INTO vesion (wszName, iVersion) VALUES ('v" + std::to_string(i) + "', " + std::to_string(i) +
              ")")
                 .c_str());
    Exec("DELETE FROM vesion WHERE iKey IN (2, 3, 5, 10)");
    const auto before = Rows("SELECT iKey, wszName FROM vesion ORDER BY iKey");
    Exec("VACUUM");
    EXPECT_EQ(Rows("SELECT iKey, wszName FROM vesion ORDER BY iKey"), before);
    EXPECT_EQ(Rows("SELECT iKey FROM vesion ORDER BY iKey"),
              (std::vector<std::string>{"1", "4", "6", "7", "8", "9"}));
    EXPECT_EQ(Int("SELECT count(*) FROM vesion WHERE rowid <> iKey"), 0);
}

std::size_t Occurrences(const std::wstring& text, const std::wstring& what) {
    std::size_t n = 0;
    for (std::size_t pos = text.find(what); pos != std::wstring::npos; pos = text.find(what, pos + what.size())) ++n;
    return n;
}

TEST(GenerateXml, EveryTableOnceAndBalanced) {
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    const std::wstring xml = YxSqlite_GetAllDefsAsXml(136, defs, count).str();
    EXPECT_EQ(xml.rfind(L"<?xml", 0), 0u);
    EXPECT_NE(xml.find(L"<schema version=\"136\""), std::wstring::npos);
    EXPECT_EQ(Occurrences(xml, L"<table "), 59u);
    EXPECT_EQ(Occurrences(xml, L"</table>"), 59u);
    EXPECT_EQ(Occurrences(xml, L"<schema"), 1u);
    EXPECT_EQ(Occurrences(xml, L"</schema>"), 1u);
    EXPECT_EQ(Occurrences(xml, L"<"), Occurrences(xml, L">"));
    for (int t = 0; t < count; ++t)
        EXPECT_EQ(Occurrences(xml, std::wstring(L"<table name=\"") + defs[t]->wszName + L"\">"), 1u)
            << CYxStringW(defs[t]->wszName).ToUtf8();

    const std::wstring empty = YxSqlite_GetAllDefsAsXml(1, nullptr, 5).str();
    EXPECT_EQ(Occurrences(empty, L"<table"), 0u);
    EXPECT_EQ(Occurrences(empty, L"</schema>"), 1u);
}

TEST(GenerateXml, AttributeTextIsEscaped) {
    static const SYxSqliteColDef cols[] = {
        {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr, nullptr, nullptr},
        {eYxColPlain, eYxTypeText, YX_SQLITE_INDEX_NONE, L"wszNote", nullptr, L"a<b & \"c\" 'd'", nullptr, nullptr},
    };
    static const SYxSqliteTableDef def = {L"note", 2, cols, {nullptr}, nullptr, {nullptr}, {nullptr}};
    const SYxSqliteTableDef* list[] = {&def};
    const std::wstring xml = YxSqlite_GetAllDefsAsXml(1, list, 1).str();
    EXPECT_NE(xml.find(L"default=\"a&lt;b &amp; &quot;c&quot; &apos;d&apos;\""), std::wstring::npos) << CYxStringW(xml).ToUtf8();
    // The same default in SQL is a quoted literal that SQLite reads back.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    EXPECT_EQ(YxSqlite_Execute(db, YxSqlite_CreateTableSqlCommand(def)), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "INSERT INTO note DEFAULT VALUES", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(YxSqlite_ReadOneStringW(db, L"SELECT wszNote FROM note").str(), L"a<b & \"c\" 'd'");
    sqlite3_close(db);
}

}  // namespace
