// Every step against the schema history: run on a file at its source version,
// it must produce exactly the tables of its target version.
#include "migration_test_util.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/schema.h"

#include <set>

namespace {

class StepMatchesHistory : public ::testing::TestWithParam<int> {};

TEST_P(StepMatchesHistory, ProducesTheTablesOfItsTargetVersion) {
    const int from = GetParam();
    CYxMigrationDir dir;
    const std::string path = dir.FileUtf8("step.db"), expected = dir.FileUtf8("expected.db");
    std::string error;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, from, {}, &error)) << error;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(expected, YxJobsHistory_SchemaAfterStep(from), {}, &error)) << error;

    ASSERT_EQ(0, YxTest_RunStep(path, from));

    CYxTestDb db(path), want(expected);
    EXPECT_EQ(std::to_string(YxJobsHistory_NextVersion(from)), YxTest_Main(db));
    EXPECT_EQ("<no row>", db.One("SELECT iVersion FROM vesion WHERE wszName='silent';"));
    const auto got = YxMigrationFixture_Schema(db.Get(), false);
    const auto wanted = YxMigrationFixture_Schema(want.Get(), false);
    std::set<std::string> gotNames, wantedNames;
    for (const auto& t : got) gotNames.insert(t.first);
    for (const auto& t : wanted) wantedNames.insert(t.first);
    ASSERT_EQ(wantedNames, gotNames);
    for (const auto& t : wanted) EXPECT_EQ(t.second, got.at(t.first)) << "table " << t.first;
    EXPECT_EQ("ok", db.One("PRAGMA integrity_check;"));
}

INSTANTIATE_TEST_SUITE_P(EveryStep, StepMatchesHistory, ::testing::ValuesIn(YxTest_StepVersions()),
                         [](const ::testing::TestParamInfo<int>& info) { return "from_" + std::to_string(info.param); });

// A file built from the history at 136 is a database as the schema creates it.
TEST(JobsHistory, EndsAtTheCurrentSchemaWithoutTheAlignmentMatrices) {
    CYxMigrationDir dir;
    const std::string fromHistory = dir.FileUtf8("history.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(fromHistory, 136));
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(dir.File("fresh.db")));
    CYxTestDb history(fromHistory), fresh(dir.FileUtf8("fresh.db"));
    auto got = YxMigrationFixture_Schema(history.Get(), true);
    const auto wanted = YxMigrationFixture_Schema(fresh.Get(), true);
    ASSERT_EQ(wanted.size(), got.size());
    // The description carries collations, references with their actions,
    // defaults, unique groups and indexes.
    EXPECT_NE(std::string::npos, wanted.at("tagdef").find("|wszName|TEXT|0||0 collate NOCASE\n"));
    EXPECT_NE(std::string::npos,
              wanted.at("jobtask").find("reference iJobtaskKeyRef|jobtask|iKey|CASCADE|CASCADE|NONE"));
    EXPECT_NE(std::string::npos, wanted.at("wellplatename").find("|wszCompany|TEXT|0|'Unknown'|0 collate NOCASE"));
    EXPECT_NE(std::string::npos, wanted.at("frame").find("unique (iJobrunKeyRef,iFrameIndex) 1|u|0"));
    EXPECT_NE(std::string::npos, wanted.at("frame").find("index idx_frame_iJobrunKeyRef (iJobrunKeyRef) 0|c|0"));
    for (const auto& t : wanted) {
        std::string want = t.second;
        // The main chain never adds the alignment matrices; the silent step does.
        if (t.first == "plateinfo" || t.first == "slideinfo") {
            const std::size_t at = want.find("pAlignmentMatrix");
            ASSERT_NE(std::string::npos, at) << t.first;
            want.erase(want.rfind('\n', at) + 1, want.find('\n', at) - want.rfind('\n', at));
        }
        EXPECT_EQ(want, got[t.first]) << "table " << t.first;
    }
}

TEST(JobsHistory, RetiredTablesLiveWhereTheirStepsNeedThem) {
    // Tables and columns read by the statements of the steps.
    auto has = [](const wchar_t* table, const wchar_t* column, int version) {
        const SYxSqliteTableDef* def = YxJobsHistory_Def(table, version);
        return def && (!column || YxSqliteTableDef_FindColumn(*def, column) >= 0);
    };
    EXPECT_TRUE(has(L"assaydef", L"wszModule", 10));
    EXPECT_TRUE(has(L"jobdef", L"wszSummary", 17));
    EXPECT_TRUE(has(L"binobj", L"iBinframeKeyRef", 79));
    EXPECT_TRUE(has(L"binframe", L"iBinlayerKeyRef", 79));
    EXPECT_TRUE(has(L"tagcolor", L"iColor", 119));
    EXPECT_FALSE(has(L"tagdef", L"iColor", 119));
    EXPECT_FALSE(has(L"binframe", nullptr, 100));
    EXPECT_FALSE(has(L"settings", nullptr, 27));
    EXPECT_FALSE(has(L"frameprop", nullptr, 79));
    EXPECT_FALSE(has(L"plateinfo", nullptr, 29));
    // The generic rebuilds copy every current column of every current table
    // present at 11 and 12.
    for (int version : {11, 12}) {
        for (const SYxSqliteTableDef* def : YxJobsHistory_TablesAt(version)) {
            const SYxSqliteTableDef* current = YxProjectDb_Schema_FindJobsTable(def->wszName);
            for (int i = 0; current && i < current->nCols; ++i)
                EXPECT_GE(YxSqliteTableDef_FindColumn(*def, current->pCols[i].wszName), 0)
                    << CYxStringW(def->wszName).ToUtf8() << " " << CYxStringW(current->pCols[i].wszName).ToUtf8()
                    << " at " << version;
        }
    }
    // Fourteen leads to sixteen: nothing may change at 16 but attributes.
    EXPECT_EQ(16, YxJobsHistory_NextVersion(14));
    for (const SYxSqliteTableDef* def : YxJobsHistory_TablesAt(16)) {
        const SYxSqliteTableDef* before = YxJobsHistory_Def(def->wszName, 14);
        ASSERT_NE(nullptr, before) << CYxStringW(def->wszName).ToUtf8();
        ASSERT_EQ(before->nCols, def->nCols) << CYxStringW(def->wszName).ToUtf8();
    }
}

TEST(JobsStepTable, KnowsExactlyTheVersionsWithAStep) {
    for (int v = -1; v <= 140; ++v) {
        const bool expected = (v >= 10 && v <= 48) || (v >= 60 && v <= 79) || (v >= 100 && v <= 135);
        EXPECT_EQ(expected, YxProjectDb_Upgrade_FindJobsStep(v) != nullptr) << v;
    }
    EXPECT_EQ(nullptr, YxProjectDb_Upgrade_FindJobsStep(static_cast<std::int64_t>(1) << 40));
    EXPECT_EQ(60, YxJobsHistory_NextVersion(48));
    EXPECT_EQ(100, YxJobsHistory_NextVersion(79));
    EXPECT_EQ(0, YxJobsHistory_NextVersion(136));
}

}  // namespace
