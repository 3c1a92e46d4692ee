// The projectdb tool's upgrade commands: versions read before and after,
// refusals before anything runs, dry runs, backups, and the one-line
// failures that name what happened.
#include "upgrade_fixtures.h"

#include "migration_fixture.h"
#include "test_support.h"
#include "tool_runner.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {
void ExpectOneErrorLine(const SToolResult& r, const std::string& line) {
    EXPECT_EQ(1, r.exitCode) << r.out << r.err;
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ(line, r.ErrLines()[0]);
}

// The "step A -> B" lines of a dry run, as pairs.
std::vector<std::pair<int, int>> DryRunSteps(const std::string& out) {
    std::vector<std::pair<int, int>> steps;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) {
        int from = 0, to = 0;
        if (std::sscanf(line.c_str(), "  step %d -> %d", &from, &to) == 2) steps.emplace_back(from, to);
    }
    return steps;
}

std::string JobsVersions(const std::string& path) {
    return std::to_string(UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='main';")) + "/" +
           std::to_string(UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='silent';"));
}
}  // namespace

TEST(ToolUpgradeTest, UpgradeReportsTheVersionsBeforeAndAfter) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("old.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, 110));
    SToolResult r = RunTool({"upgrade", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ("", r.err);
    EXPECT_NE(std::string::npos,
              r.out.find("upgrade of '" + path + "' done: version 110, silent 0 -> version 136, silent 1\n"))
        << r.out;
    EXPECT_EQ("136/1", JobsVersions(path));

    // Current now: nothing to do, and that is success.
    const std::string dump = UpgTest_Dump(path);
    for (const char* command : {"upgrade", "silent-upgrade"}) {
        r = RunTool({command, path});
        EXPECT_EQ(0, r.exitCode) << r.err;
        EXPECT_EQ("'" + path + "' is already current (version 136, silent 1): nothing to do\n", r.out);
    }
    EXPECT_EQ(dump, UpgTest_Dump(path));
}

TEST(ToolUpgradeTest, GapAndNewerVersionsAreRefusedBeforeAnythingRuns) {
    CYxTempDir dir;
    const std::string gap = dir.FileUtf8("gap.db");
    UpgTest_CreateJobsFile(gap, 90, 0);
    std::string dump = UpgTest_Dump(gap);
    ExpectOneErrorLine(RunTool({"upgrade", gap}),
                       "projectdb: upgrade: " + gap + ": version 90 has no upgrade step (YXPDB_E_NOCONNECTION -9)");
    ExpectOneErrorLine(RunTool({"upgrade", "--dry-run", gap}),
                       "projectdb: upgrade: " + gap + ": version 90 has no upgrade step (YXPDB_E_NOCONNECTION -9)");
    EXPECT_EQ(dump, UpgTest_Dump(gap));

    const std::string newer = dir.FileUtf8("newer.db");
    UpgTest_CreateJobsFile(newer, 137, 1);
    dump = UpgTest_Dump(newer);
    for (const char* command : {"upgrade", "silent-upgrade", "cleanup"}) {
        SCOPED_TRACE(command);
        ExpectOneErrorLine(RunTool({command, "--backup", newer}),
                           std::string("projectdb: ") + command + ": " + newer +
                               ": version 137 is newer than this tool (newest 136) (YXPDB_E_GENERIC -1)");
    }
    EXPECT_EQ(dump, UpgTest_Dump(newer));
    EXPECT_FALSE(std::filesystem::exists(newer + ".v137.bak"));

    // The clean-up script is for current files only.
    const std::string old = dir.FileUtf8("old.db");
    UpgTest_CreateJobsFile(old, 120, 1);
    dump = UpgTest_Dump(old);
    ExpectOneErrorLine(RunTool({"cleanup", old}), "projectdb: cleanup: " + old +
                                                      ": version 120 is not the current version 136; upgrade it first");
    EXPECT_EQ(dump, UpgTest_Dump(old));
}

TEST(ToolUpgradeTest, AStepThatFailsMidwayIsAFailureNamingTheVersionReached) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("damaged.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, 110));
    // The rebuild of tracequal by the step to 132 needs this name for the old table.
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "CREATE TABLE tracequal_old(x);"));
    UpgTest_Close(db);

    const SToolResult r = RunTool({"upgrade", "--quiet", path});
    // The silent step after the failed chain succeeds, so the library
    // commits the steps that succeeded and answers 0; the tool reads back.
    ExpectOneErrorLine(r, "projectdb: upgrade: " + path +
                              ": upgrade stopped at version 131, silent 1: the step to version 132 failed (-v shows "
                              "the details)");
    EXPECT_EQ(std::string::npos, r.out.find("done")) << r.out;
    EXPECT_EQ("131/1", JobsVersions(path));
}

TEST(ToolUpgradeTest, DryRunListsTheStepsThatTheUpgradeRunsAndChangesNothing) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("v40.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, 40));
    const std::string dump = UpgTest_Dump(path);
    SToolResult dry = RunTool({"upgrade", "--dry-run", path});
    EXPECT_EQ(0, dry.exitCode) << dry.err;
    EXPECT_EQ(dump, UpgTest_Dump(path));
    EXPECT_NE(std::string::npos, dry.out.find("  silent step 0 -> 1\n")) << dry.out;
    const auto steps = DryRunSteps(dry.out);
    ASSERT_FALSE(steps.empty()) << dry.out;
    EXPECT_EQ(40, steps.front().first);
    EXPECT_EQ(136, steps.back().second);

    // The real upgrade logs each version it reaches (with -v): the same chain.
    const SToolResult real = RunTool({"upgrade", "-v", "--quiet", path});
    EXPECT_EQ(0, real.exitCode) << real.err;
    std::vector<int> reached;
    for (const std::string& line : real.ErrLines()) {
        const std::size_t at = line.find("version ");
        int v = 0;
        char mark = 0;
        if (at != std::string::npos && std::sscanf(line.c_str() + at, "version %d (%c", &v, &mark) == 2 && mark == ')')
            reached.push_back(v);
    }
    std::vector<int> planned;
    for (const auto& s : steps) planned.push_back(s.second);
    planned.push_back(1);  // the silent chain's one step reports silent version 1
    EXPECT_EQ(planned, reached) << real.err;
    EXPECT_EQ("136/1", JobsVersions(path));

    // The steps that skip versions appear as such.
    const std::string early = dir.FileUtf8("v10.db");
    UpgTest_CreateJobsFile(early, 10, 0);
    const auto fromTen = DryRunSteps(RunTool({"upgrade", "--dry-run", early}).out);
    for (const auto& jump : {std::make_pair(14, 16), std::make_pair(48, 60), std::make_pair(79, 100)})
        EXPECT_NE(fromTen.end(), std::find(fromTen.begin(), fromTen.end(), jump)) << jump.first;
    // Leaving 10 to 48 except 15 (jumped over), 60 to 79 and 100 to 135.
    EXPECT_EQ(38u + 20u + 36u, fromTen.size());
}

TEST(ToolUpgradeTest, BackupIsACopyOfTheFileBeforeTheUpgrade) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("jobs.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, 120));
    const std::string dump = UpgTest_Dump(path);
    // A backup of that name exists already: it is kept, the next name is used.
    { std::ofstream(path + ".v120.bak") << "an older backup"; }

    const SToolResult r = RunTool({"upgrade", "--backup", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_NE(std::string::npos,
              r.out.find("backup of version 120, silent 0 written to '" + path + ".v120-2.bak'\n"))
        << r.out;
    EXPECT_EQ("an older backup", ReadFileBytes(path + ".v120.bak"));
    EXPECT_EQ(dump, UpgTest_Dump(path + ".v120-2.bak"));
    EXPECT_EQ("136/1", JobsVersions(path));
}

TEST(ToolUpgradeTest, JobsCommandsSucceedOnACurrentFileAndReportFailures) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("jobs.db");
    UpgTest_CreateJobsFile(path, 136, -1);
    SToolResult r = RunTool({"silent-upgrade", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='silent';"));
    r = RunTool({"cleanup", "--quiet", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ("clean-up of '" + path + "' done (version 136, silent 1)\n", r.out);
}

TEST(ToolUpgradeTest, AppCommands) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("app.db");
    UpgTest_CreateAppFile(path, 5);
    ExpectOneErrorLine(RunTool({"app-upgrade", "--quiet", path}),
                       "projectdb: app-upgrade: " + path +
                           ": version 5 has no upgrade step (app-downgrade takes it to 4) (YXPDB_E_NOCONNECTION -9)");
    EXPECT_EQ(0, RunTool({"app-downgrade", path}).exitCode);
    SToolResult r = RunTool({"app-upgrade", "--dry-run", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ((std::vector<std::pair<int, int>>{{4, 6}, {6, 7}}), DryRunSteps(r.out)) << r.out;
    r = RunTool({"app-upgrade", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ("upgrade of '" + path + "' done: version 4 -> version 7\n", r.out);
    EXPECT_EQ(7, UpgTest_IntOf(path, "SELECT iVersion FROM version WHERE wszName='main';"));

    // A current application database is not an error.
    r = RunTool({"app-upgrade", path});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ("'" + path + "' is already current (version 7): nothing to do\n", r.out);
    ExpectOneErrorLine(RunTool({"app-downgrade", path}), "projectdb: app-downgrade: " + path +
                                                             ": version 7 cannot be downgraded (only 5 can) "
                                                             "(YXPDB_E_NOCONNECTION -9)");
}
