// projectdb create and app-create never take over an existing file: only
// --force replaces one, and only an empty one.
#include "test_support.h"
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {
void ExpectRefused(const SToolResult& r, const std::string& command, const std::string& file, const std::string& why) {
    EXPECT_EQ(1, r.exitCode) << r.out << r.err;
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ("projectdb: " + command + ": " + file + ": " + why, r.ErrLines()[0]);
    EXPECT_EQ("", r.out);
}
}  // namespace

TEST(ToolCreate, AnExistingFileIsLeftByteIdentical) {
    CYxTempDir dir;
    const std::string other = dir.FileUtf8("someone-elses.db");
    ASSERT_EQ(0, YxTest_RunCommand("sqlite3 '" + other + "' 'CREATE TABLE mine(a); INSERT INTO mine VALUES(42);'"));
    const std::string text = dir.FileUtf8("notes.txt");
    std::ofstream(text) << "not a database\n";
    for (const std::string& file : {other, text}) {
        const std::string before = ReadFileBytes(file);
        ASSERT_FALSE(before.empty());
        for (const char* command : {"create", "app-create"}) {
            SCOPED_TRACE(std::string(command) + " " + file);
            ExpectRefused(RunTool({command, file}), command, file, "the file exists (--force replaces an empty file)");
            ExpectRefused(RunTool({command, "--force", file}), command, file,
                          "the file exists and is not empty (--force replaces only an empty file)");
            EXPECT_EQ(before, ReadFileBytes(file));
        }
    }
    // No project folder appeared beside the refused file either.
    EXPECT_FALSE(YxTest_RunCommand("test -e '" + dir.Path() + "/someone-elses Projects'") == 0);
}

TEST(ToolCreate, AnEmptyFileOnlyWithForce) {
    CYxTempDir dir;
    for (const char* command : {"create", "app-create"}) {
        SCOPED_TRACE(command);
        const std::string file = dir.FileUtf8((std::string(command) + ".db").c_str());
        std::ofstream(file).close();
        ExpectRefused(RunTool({command, file}), command, file, "the file exists (--force replaces an empty file)");
        EXPECT_EQ("", ReadFileBytes(file));

        const SToolResult r = RunTool({command, "--force", file});
        EXPECT_EQ(0, r.exitCode) << r.err;
        EXPECT_EQ("", r.err);
        const SToolResult info = RunTool({std::string(command) == "create" ? "info" : "app-info", file});
        EXPECT_EQ(0, info.exitCode) << info.err;
        EXPECT_NE(std::string::npos, info.out.find(std::string(command) == "create" ? "main version:         136 "
                                                                                     : "main version:         7 "))
            << info.out;
    }
    // A directory is not an empty file.
    ExpectRefused(RunTool({"create", "--force", dir.Path()}), "create", dir.Path(),
                  "the file exists and is not empty (--force replaces only an empty file)");
}
