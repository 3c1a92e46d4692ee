// The projectdb tool's upgrade commands: exit status and reported status.
#include "upgrade_fixtures.h"

#include "test_support.h"

namespace {
int Tool(const std::string& args, std::string* output) {
    return YxTest_RunCommand(std::string(YxTest_ToolPath()) + " " + args + " </dev/null", output);
}
}  // namespace

TEST(ToolUpgradeTest, JobsCommandsSucceedOnACurrentFileAndReportFailures) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("jobs.db");
    UpgTest_CreateJobsFile(path, 136, -1);
    std::string out;
    EXPECT_EQ(0, Tool("silent-upgrade '" + path + "'", &out)) << out;
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='silent';"));
    EXPECT_EQ(0, Tool("upgrade '" + path + "'", &out)) << out;
    EXPECT_EQ(0, Tool("cleanup --quiet '" + path + "'", &out)) << out;
    EXPECT_EQ("", out);

    const std::string old = dir.FileUtf8("old.db");
    UpgTest_CreateJobsFile(old, 50, 1);
    EXPECT_NE(0, Tool("upgrade --quiet '" + old + "'", &out));
    EXPECT_NE(std::string::npos, out.find("(YXPDB_E_NOCONNECTION -9)")) << out;
    EXPECT_NE(0, Tool("upgrade", &out));
}

TEST(ToolUpgradeTest, AppCommands) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("app.db");
    UpgTest_CreateAppFile(path, 5);
    std::string out;
    EXPECT_NE(0, Tool("app-upgrade --quiet '" + path + "'", &out));
    EXPECT_NE(std::string::npos, out.find("(YXPDB_E_NOCONNECTION -9)")) << out;
    EXPECT_EQ(0, Tool("app-downgrade '" + path + "'", &out)) << out;
    EXPECT_EQ(0, Tool("app-upgrade '" + path + "'", &out)) << out;
    EXPECT_EQ(7, UpgTest_IntOf(path, "SELECT iVersion FROM version WHERE wszName='main';"));
}
