// The CREATE statements that the schema hands to callers (schema.h) are the
// ones a new jobs database holds.
#include "db_test_util.h"
#include "test_support.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/schema.h"

#include <sqlite3.h>

#include <string>
#include <vector>

namespace {

using Rows = std::vector<std::string>;

const char* const kSchemaQuery =
    "SELECT type, name, tbl_name, sql FROM sqlite_master "
    "WHERE type IN ('table', 'index') AND name NOT LIKE 'sqlite_autoindex%' ORDER BY type, name";

TEST(SchemaCreateSql, EveryTableRunsAndMatchesWhatCreateWrites) {
    CYxTempDir dir;
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(dir.File("created.db")));

    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    ASSERT_EQ(YX_PROJECTDB_JOBS_TABLE_COUNT, count);
    std::string script;
    for (int i = 0; i < count; ++i) {
        const std::string sql = YxProjectDb_Schema_CreateSql(defs[i]).ToUtf8();
        const std::string name = CYxStringW(defs[i]->wszName).ToUtf8();
        EXPECT_EQ(0u, sql.find("CREATE TABLE " + name + " (")) << sql;
        EXPECT_EQ(";\n", sql.substr(sql.size() - 2)) << name;
        script += sql;
    }

    const std::string replayed = dir.FileUtf8("replayed.db");
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(replayed.c_str(), &db));
    char* error = nullptr;
    const int rc = sqlite3_exec(db, script.c_str(), nullptr, nullptr, &error);
    EXPECT_EQ(SQLITE_OK, rc) << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);

    const Rows expected = YxTest_Query(dir.FileUtf8("created.db"), kSchemaQuery);
    EXPECT_GT(expected.size(), static_cast<std::size_t>(count));  // the indexes are there too
    EXPECT_EQ(expected, YxTest_Query(replayed, kSchemaQuery));
}

TEST(SchemaCreateSql, NullDefinitionGivesEmptyText) {
    EXPECT_TRUE(YxProjectDb_Schema_CreateSql(nullptr).IsEmpty());
}

}  // namespace
