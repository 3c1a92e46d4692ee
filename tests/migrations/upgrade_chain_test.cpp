// The whole chain through the upgrade driver: a file at any version with a
// step, holding rows in every table, ends as a freshly created database with
// its rows.
#include "migration_test_util.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/upgrade.h"

#include <map>
#include <set>

namespace {

// The tables and columns whose rows a file at `from` keeps to the end: the
// table exists at every version on the way without being created anew, and
// the column exists all the way without a step overwriting it.
std::map<std::string, std::vector<std::string>> Survivors(int from) {
    std::vector<int> path;
    for (int v = YxJobsHistory_NextVersion(from); v; v = YxJobsHistory_NextVersion(v)) path.push_back(v);
    std::map<std::string, std::vector<std::string>> out;
    for (const SYxSqliteTableDef* def : YxJobsHistory_TablesAt(from)) {
        if (CYxStringW(def->wszName) == L"vesion") continue;
        bool kept = true;
        for (int v : path) kept = kept && YxJobsHistory_Def(def->wszName, v) && !YxJobsHistory_CreatedAt(def->wszName, v);
        if (!kept) continue;
        std::vector<std::string>& cols = out[CYxStringW(def->wszName).ToUtf8()];
        for (int i = 0; i < def->nCols; ++i) {
            const wchar_t* col = def->pCols[i].wszName;
            bool survives = true;
            for (int v : path) {
                const SYxSqliteTableDef* later = YxJobsHistory_Def(def->wszName, v);
                survives = survives && YxSqliteTableDef_FindColumn(*later, col) >= 0 &&
                           !YxJobsHistory_ValuesResetAt(def->wszName, col, v);
            }
            if (survives) cols.push_back(CYxStringW(col).ToUtf8());
        }
    }
    return out;
}

std::map<std::string, std::vector<std::string>> ReadRows(const CYxTestDb& db,
                                                         const std::map<std::string, std::vector<std::string>>& cols) {
    std::map<std::string, std::vector<std::string>> rows;
    for (const auto& t : cols) {
        std::string list;
        for (const std::string& c : t.second) list += (list.empty() ? "" : ", ") + c;
        rows[t.first] = db.Rows("SELECT " + list + " FROM " + t.first + " ORDER BY iKey;");
    }
    return rows;
}

class UpgradeChain : public ::testing::TestWithParam<int> {
protected:
    static void SetUpTestSuite() {
        s_dir = new CYxMigrationDir;
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(s_dir->File("fresh.db")));
        CYxTestDb fresh(s_dir->FileUtf8("fresh.db"));
        s_fresh = new std::map<std::string, std::string>(YxMigrationFixture_Schema(fresh.Get(), true));
    }
    static void TearDownTestSuite() {
        delete s_fresh;
        delete s_dir;
        s_fresh = nullptr;
        s_dir = nullptr;
    }
    static CYxMigrationDir* s_dir;
    static std::map<std::string, std::string>* s_fresh;
};
CYxMigrationDir* UpgradeChain::s_dir = nullptr;
std::map<std::string, std::string>* UpgradeChain::s_fresh = nullptr;

TEST_P(UpgradeChain, EndsAsAFreshDatabaseWithItsRows) {
    const int from = GetParam();
    CYxMigrationDir dir;
    const std::string path = dir.FileUtf8("old.db");
    std::string error;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, from, {}, &error)) << error;

    const auto survivors = Survivors(from);
    ASSERT_FALSE(survivors.empty());
    std::map<std::string, std::vector<std::string>> before;
    {
        CYxTestDb db(path);
        before = ReadRows(db, survivors);
    }
    std::size_t rowsKept = 0;
    for (const auto& t : before) rowsKept += t.second.size();
    EXPECT_GT(rowsKept, 0u);

    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Upgrade(dir.File("old.db"), nullptr));

    CYxTestDb db(path);
    EXPECT_EQ("136", YxTest_Main(db));
    EXPECT_EQ("1", db.One("SELECT iVersion FROM vesion WHERE wszName='silent';"));

    const auto schema = YxMigrationFixture_Schema(db.Get(), true);
    std::set<std::string> names, freshNames;
    for (const auto& t : schema) names.insert(t.first);
    for (const auto& t : *s_fresh) freshNames.insert(t.first);
    ASSERT_EQ(freshNames, names);
    for (const auto& t : *s_fresh) EXPECT_EQ(t.second, schema.at(t.first)) << "table " << t.first;

    EXPECT_EQ("ok", db.One("PRAGMA integrity_check;"));
    EXPECT_EQ(std::vector<std::string>{}, db.Rows("PRAGMA foreign_key_check;"));
    EXPECT_EQ(std::vector<std::string>{},
              db.Rows("SELECT m.name, f.\"table\" FROM sqlite_master m, pragma_foreign_key_list(m.name) f WHERE "
                      "m.type='table' AND f.\"table\" NOT IN (SELECT name FROM sqlite_master WHERE type='table');"));

    const auto after = ReadRows(db, survivors);
    for (const auto& t : before) EXPECT_EQ(t.second, after.at(t.first)) << "rows of " << t.first;
}

std::vector<int> ChainVersions() {
    std::vector<int> versions = YxTest_StepVersions();
    versions.push_back(136);  // nothing to do but the silent step and the index check
    return versions;
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, UpgradeChain, ::testing::ValuesIn(ChainVersions()),
                         [](const ::testing::TestParamInfo<int>& info) { return "from_" + std::to_string(info.param); });

}  // namespace
