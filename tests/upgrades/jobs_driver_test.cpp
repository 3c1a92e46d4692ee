// The jobs upgrade driver without a dialog: the step chain with its gaps,
// the silent step, rollback, index check, compaction and statistics.
#include "upgrade_fixtures.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/upgrade_driver.h"
#include "test_support.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

namespace {
std::mutex g_mutex;
std::vector<std::int64_t> g_asked;   // versions the resolver was asked for
std::vector<std::int64_t> g_ran;     // versions whose step ran
std::set<std::int64_t> g_missing;    // versions the resolver has no step for
std::int64_t g_failAt = -1;          // the step of this version fails
std::int64_t g_stuckAt = -1;         // the step of this version does not bump

std::int64_t MainOf(sqlite3* db) { return UpgTest_Int(db, "SELECT iVersion FROM vesion WHERE wszName='main';"); }

// Stands for a migration step: records itself, changes the schema, bumps the
// version the way the real steps do (48 -> 60, 79 -> 100, else +1).
int TestStep(sqlite3* db) {
    const std::int64_t v = MainOf(db);
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        g_ran.push_back(v);
    }
    const std::int64_t next = v == 48 ? 60 : v == 79 ? 100 : v + 1;
    std::wstring script = CYxStringW::Format(L"CREATE TABLE step_%I64d(x);", v).str();
    if (v == g_failAt) script += L"INSERT INTO no_such_table VALUES(1);";
    if (v != g_stuckAt)
        script += CYxStringW::Format(L"UPDATE %s SET %s=%d WHERE %s='main';\n", L"version", L"iVersion",
                                     static_cast<int>(next), L"wszName")
                      .str();
    return YxSqlite_Execute(db, script.c_str(), nullptr, false);
}

PFYxJobsUpgradeStep Resolve(std::int64_t from) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_asked.push_back(from);
    return g_missing.count(from) ? nullptr : &TestStep;
}

class JobsDriverTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_asked.clear();
        g_ran.clear();
        g_missing.clear();
        g_failAt = g_stuckAt = -1;
        YxProjectDb_Upgrade_SetJobsStepResolverForTesting(&Resolve);
        path = dir.FileUtf8("jobs.db");
    }
    void TearDown() override { YxProjectDb_Upgrade_SetJobsStepResolverForTesting(nullptr); }
    std::int64_t Main() const { return UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='main';"); }
    std::int64_t Silent() const {
        return UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='silent';");
    }
    int Upgrade() const { return YxProjectDb_Db_Jobs_Upgrade(CYxStringW::FromUtf8(path), nullptr); }

    CYxTempDir dir;
    std::string path;
};
}  // namespace

TEST_F(JobsDriverTest, CurrentFileRunsNoStepButChecksIndexesCompactsAndAnalyses) {
    UpgTest_CreateJobsFile(path, 136, 1);
    const std::wstring index = YxSqlite_IndexNames(YxJobsDef_frame).front().str();
    const std::string indexUtf8(index.begin(), index.end());
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "DROP INDEX " + indexUtf8 + ";"));
    // Free pages that only a VACUUM gives back.
    ASSERT_EQ(0, UpgTest_Exec(db, "CREATE TABLE filler(x); INSERT INTO filler SELECT randomblob(4000) FROM "
                                  "(WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM c WHERE i<200) "
                                  "SELECT i FROM c); DROP TABLE filler;"));
    ASSERT_GT(UpgTest_Int(db, "PRAGMA freelist_count;"), 0);
    UpgTest_Close(db);

    EXPECT_EQ(0, Upgrade());
    EXPECT_TRUE(g_asked.empty());
    EXPECT_EQ(136, Main());
    EXPECT_EQ(1, Silent());
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE type='index' AND name='" +
                                         indexUtf8 + "';"));
    EXPECT_EQ(0, UpgTest_IntOf(path, "PRAGMA freelist_count;"));
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='sqlite_stat1';"));
    EXPECT_GT(UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_stat1;"), 0);
}

TEST_F(JobsDriverTest, ChainSkipsTheGapsAndReachesTheCurrentVersion) {
    UpgTest_CreateJobsFile(path, 47, 1);
    EXPECT_EQ(0, Upgrade());
    EXPECT_EQ(136, Main());
    std::vector<std::int64_t> expected;
    for (std::int64_t v = 47; v <= 48; ++v) expected.push_back(v);
    for (std::int64_t v = 60; v <= 79; ++v) expected.push_back(v);
    for (std::int64_t v = 100; v <= 135; ++v) expected.push_back(v);
    EXPECT_EQ(expected, g_ran);
    EXPECT_EQ(expected, g_asked);
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='step_135';"));
}

TEST_F(JobsDriverTest, VersionsWithoutAStepFailAndLeaveTheFileUnchanged) {
    for (int version : {0, 9, 49, 50, 59, 80, 90, 99}) {
        SCOPED_TRACE(version);
        std::remove(path.c_str());
        UpgTest_CreateJobsFile(path, version, 1);
        const std::string before = UpgTest_Dump(path);
        g_asked.clear();
        EXPECT_EQ(YXPDB_E_NOCONNECTION, Upgrade());
        EXPECT_TRUE(g_asked.empty());
        EXPECT_EQ(before, UpgTest_Dump(path));
    }
}

TEST_F(JobsDriverTest, NewerFileIsLeftAlone) {
    // A file from a newer release has nothing to do; it is not an error.
    UpgTest_CreateJobsFile(path, 137, 1);
    EXPECT_EQ(0, Upgrade());
    EXPECT_EQ(137, Main());
    EXPECT_TRUE(g_asked.empty());
}

TEST_F(JobsDriverTest, MissingStepFailsWithMinus9AndRollsBackEarlierSteps) {
    UpgTest_CreateJobsFile(path, 20, 1);
    g_missing.insert(22);
    const std::string before = UpgTest_Dump(path);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, Upgrade());
    EXPECT_EQ((std::vector<std::int64_t>{20, 21}), g_ran);
    EXPECT_EQ(before, UpgTest_Dump(path));
}

TEST_F(JobsDriverTest, FailingStepRollsBackTheWholeChain) {
    UpgTest_CreateJobsFile(path, 30, 1);
    g_failAt = 33;
    const std::string before = UpgTest_Dump(path);
    EXPECT_EQ(SQLITE_ERROR, Upgrade());
    EXPECT_EQ(4u, g_ran.size());
    EXPECT_EQ(before, UpgTest_Dump(path));
}

TEST_F(JobsDriverTest, StepThatDoesNotAdvanceEndsTheRun) {
    UpgTest_CreateJobsFile(path, 130, 1);
    g_stuckAt = 131;
    const std::string before = UpgTest_Dump(path);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, Upgrade());
    EXPECT_EQ((std::vector<std::int64_t>{130, 131}), g_ran);
    EXPECT_EQ(before, UpgTest_Dump(path));
}

TEST_F(JobsDriverTest, FileWithoutSilentRowGetsAlignmentColumnsAndTheRow) {
    UpgTest_CreateJobsFile(path, 136, -1);
    EXPECT_EQ(0, Upgrade());
    EXPECT_EQ(1, Silent());
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM vesion WHERE wszName='silent';"));
    sqlite3* db = UpgTest_Open(path);
    for (const char* table : {"plateinfo", "slideinfo"}) {
        const auto cols = UpgTest_Columns(db, table);
        EXPECT_EQ("pAlignmentMatrix", cols.back()) << table;
    }
    UpgTest_Close(db);

    // Once at 1, the silent step does not run again.
    EXPECT_EQ(0, YxProjectDb_Db_Jobs_Silent_Upgrade(CYxStringW::FromUtf8(path)));
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM vesion WHERE wszName='silent';"));
}

TEST_F(JobsDriverTest, SilentUpgradeAloneDoesNotTouchTheMainChain) {
    UpgTest_CreateJobsFile(path, 40, -1);
    EXPECT_EQ(0, YxProjectDb_Db_Jobs_Silent_Upgrade(CYxStringW::FromUtf8(path)));
    EXPECT_TRUE(g_asked.empty());
    EXPECT_EQ(40, Main());
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM vesion WHERE wszName='silent' AND iVersion=1;"));
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='sqlite_stat1';"));
}

TEST_F(JobsDriverTest, FailingSilentStepRollsBack) {
    UpgTest_CreateJobsFile(path, 136, -1);
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "ALTER TABLE slideinfo ADD COLUMN pAlignmentMatrix BLOB;"));
    UpgTest_Close(db);
    const std::string before = UpgTest_Dump(path);
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Db_Jobs_Silent_Upgrade(CYxStringW::FromUtf8(path)));
    EXPECT_EQ(before, UpgTest_Dump(path));
    EXPECT_EQ(SQLITE_ERROR, Upgrade());
    EXPECT_EQ(before, UpgTest_Dump(path));
}

TEST_F(JobsDriverTest, SuccessfulSilentStepCommitsWhatTheFailedMainChainDid) {
    // The order of the driver: a main chain that fails is followed by the
    // silent step, whose success commits the main steps that succeeded.
    UpgTest_CreateJobsFile(path, 45, -1);
    g_missing.insert(47);
    EXPECT_EQ(0, Upgrade());
    EXPECT_EQ(47, Main());
    EXPECT_EQ(1, Silent());
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='step_46';"));
}

TEST_F(JobsDriverTest, PathAndOpenFailures) {
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Jobs_Silent_Upgrade(nullptr));
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Jobs_Silent_Upgrade(L""));
    CUpgTestDialog dialog;
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Jobs_Upgrade(L"", &dialog));
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Jobs_Upgrade(nullptr, &dialog));
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Jobs_Cleanup(L"", &dialog));
    EXPECT_TRUE(dialog.Texts().empty());
    // No create: a missing file is an open failure and stays missing.
    EXPECT_EQ(SQLITE_CANTOPEN, Upgrade());
    EXPECT_EQ(SQLITE_CANTOPEN, YxProjectDb_Db_Jobs_Cleanup(CYxStringW::FromUtf8(path), nullptr));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(JobsDriverTest, ASilentRowHoldingZeroRunsTheStepAgainAndReturnsItsFailure) {
    UpgTest_CreateJobsFile(path, 136, 0);
    const std::string before = UpgTest_Dump(path);
    // The first run adds the columns and a second "silent" row; the version
    // read is still the first row's 0, so the step runs again and its first
    // statement fails.
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Db_Jobs_Silent_Upgrade(CYxStringW::FromUtf8(path)));
    EXPECT_EQ(before, UpgTest_Dump(path));
    EXPECT_EQ(SQLITE_ERROR, Upgrade());
    EXPECT_EQ(before, UpgTest_Dump(path));
}

TEST_F(JobsDriverTest, ACancelDuringTheIndexPhaseFailsAndLeavesTheOldVersion) {
    UpgTest_CreateJobsFile(path, 135, 1);
    const std::wstring index = YxSqlite_IndexNames(YxJobsDef_frame).front().str();
    const std::string indexUtf8(index.begin(), index.end());
    sqlite3* db = UpgTest_Open(path);
    // Enough frames that re-creating the dropped index takes a while.
    ASSERT_EQ(0, UpgTest_Exec(db, "DROP INDEX " + indexUtf8 + ";"
                                  "INSERT INTO frame(iJobrunKeyRef, iFrameIndex) SELECT 1, i FROM "
                                  "(WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM c WHERE i<300000) "
                                  "SELECT i FROM c);"));
    UpgTest_Close(db);

    YxProjectDb_Upgrade_PhaseCounter().store(0);
    YxProjectDb_Upgrade_AbortFlag().store(0);
    std::atomic<bool> done{false};
    std::thread canceller([&] {
        // The user confirms a cancel as soon as the indexes are examined.
        while (!done.load() && YxProjectDb_Upgrade_PhaseCounter().load() < 1) std::this_thread::yield();
        if (!done.load()) YxProjectDb_Upgrade_AbortFlag().fetch_add(1);
    });
    const int status = Upgrade();
    done.store(true);
    canceller.join();
    YxProjectDb_Upgrade_AbortFlag().store(0);
    YxProjectDb_Upgrade_PhaseCounter().store(0);

    EXPECT_NE(0, status);
    EXPECT_EQ(135, Main());
    EXPECT_EQ(0, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='step_135';"));
    EXPECT_EQ(0, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='" + indexUtf8 + "';"));
}
