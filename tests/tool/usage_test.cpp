// Wrong use of projectdb: one line on stderr with the usage, exit status 2;
// --help and --version on the tool and on every sub-command.
#include "tool_runner.h"

#include "test_support.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {
// The sub-commands as `projectdb --help` lists them.
std::vector<std::string> ListedCommands() {
    const SToolResult r = RunTool({"--help"});
    std::vector<std::string> names;
    std::istringstream in(r.out);
    bool inList = false;
    for (std::string line; std::getline(in, line);) {
        if (line == "commands:") inList = true;
        else if (line.empty()) inList = inList && names.empty();
        else if (inList && line.size() > 2 && line[2] != ' ') names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return names;
}

void ExpectWrongUse(const SToolResult& r, const std::string& command, const std::string& what) {
    EXPECT_EQ(2, r.exitCode) << r.err;
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    const std::string line = r.ErrLines()[0];
    EXPECT_EQ(0u, line.find("projectdb: " + command)) << line;
    EXPECT_NE(std::string::npos, line.find(what)) << line;
    EXPECT_NE(std::string::npos, line.find("usage: projectdb")) << line;
    EXPECT_EQ("", r.out);
}
}  // namespace

TEST(ToolUsage, ToolLevelHelpVersionAndMissingOrUnknownCommand) {
    const SToolResult help = RunTool({"--help"});
    EXPECT_EQ(0, help.exitCode);
    EXPECT_EQ("", help.err);
    EXPECT_NE(std::string::npos, help.out.find("exit status: 0 done, 1 failed, 2 wrong use"));

    const SToolResult version = RunTool({"--version"});
    EXPECT_EQ(0, version.exitCode);
    EXPECT_EQ(0u, version.out.find("projectdb ")) << version.out;
    EXPECT_NE(std::string::npos, version.out.find("jobs schema 136"));

    ExpectWrongUse(RunTool({}), "", "missing command");
    ExpectWrongUse(RunTool({"frobnicate", "x.db"}), "", "unknown command 'frobnicate'");
}

TEST(ToolUsage, EverySubCommandAnswersHelpVersionAndUnknownOptions) {
    const std::vector<std::string> commands = ListedCommands();
    ASSERT_GE(commands.size(), 10u);
    for (const std::string& c : commands) {
        SCOPED_TRACE(c);
        for (const char* flag : {"--help", "-h"}) {
            const SToolResult help = RunTool({c, flag});
            EXPECT_EQ(0, help.exitCode);
            EXPECT_EQ(0u, help.out.find("usage: projectdb " + c + " ")) << help.out;
            EXPECT_EQ("", help.err);
        }
        const SToolResult version = RunTool({c, "--version"});
        EXPECT_EQ(0, version.exitCode);
        EXPECT_EQ(0u, version.out.find("projectdb ")) << version.out;

        ExpectWrongUse(RunTool({c, "--no-such-option", "a.db"}), c + ": ", "unknown option 'no-such-option'");
    }
}

TEST(ToolUsage, MissingAndSurplusArguments) {
    ExpectWrongUse(RunTool({"info"}), "info: ", "missing argument FILE");
    ExpectWrongUse(RunTool({"info", "a.db", "b.db"}), "info: ", "unexpected argument 'b.db'");
    ExpectWrongUse(RunTool({"sql", "a.db", "SELECT 1;", "extra"}), "sql: ", "unexpected argument 'extra'");
    ExpectWrongUse(RunTool({"upgrade", "--quiet"}), "upgrade: ", "missing argument FILE");
    ExpectWrongUse(RunTool({"schema", "a.db", "b.db"}), "schema: ", "unexpected argument");
    // -h is help, never a file name, wherever it stands.
    const SToolResult r = RunTool({"info", "a.db", "-h"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ(0u, r.out.find("usage: projectdb info"));
}

TEST(ToolFailures, OneLineNamingTheFileAndTheStatus) {
    CYxTempDir dir;
    const std::string missing = dir.FileUtf8("missing.db");
    SToolResult r = RunTool({"info", missing});
    EXPECT_EQ(1, r.exitCode);
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ("projectdb: info: " + missing + ": no such file (YXPDB_E_NOCONNECTION -9)", r.ErrLines()[0]);
    EXPECT_EQ("", r.out) << "nothing of the description is printed beside an error";

    const std::string text = dir.FileUtf8("text.db");
    {
        std::ofstream f(text);
        f << "this is not a database, but it is long enough to look at its header at all\n";
    }
    r = RunTool({"tree", text});
    EXPECT_EQ(1, r.exitCode);
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_NE(std::string::npos, r.ErrLines()[0].find("(SQLITE_NOTADB 26)")) << r.err;

    r = RunTool({"sql", text, "SELECT * FROM sqlite_master;"});
    EXPECT_EQ(1, r.exitCode);
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ(0u, r.ErrLines()[0].find("projectdb: sql: " + text + ": ")) << r.err;
    EXPECT_NE(std::string::npos, r.ErrLines()[0].find("(SQLITE_NOTADB 26)")) << r.err;
}

TEST(ToolFailures, LibraryDiagnosticsOnlyWithVerbose) {
    CYxTempDir dir;
    const std::string db = dir.FileUtf8("v.db");
    ASSERT_EQ(0, RunTool({"create", db}).exitCode);
    SToolResult quiet = RunTool({"sql", "--write", db, "SELECT 1;"});
    EXPECT_EQ(0, quiet.exitCode);
    EXPECT_EQ("", quiet.err);
    EXPECT_EQ("1\n", quiet.out);

    SToolResult verbose = RunTool({"sql", "-v", "--write", db, "SELECT 1;"});
    EXPECT_EQ(0, verbose.exitCode);
    EXPECT_NE(std::string::npos, verbose.err.find("Journal mode: ")) << verbose.err;
    EXPECT_EQ("1\n", verbose.out);
}
