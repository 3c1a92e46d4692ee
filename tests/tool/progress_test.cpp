// The tool's progress output and Ctrl-C handling: a bar only on a terminal,
// plain phase lines elsewhere, and a cancel that is asked on the terminal.
#include "tool_progress.h"
#include "tool_runner.h"

#include "migration_fixture.h"
#include "test_support.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/schema.h"
#include "tool.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <thread>

namespace {
std::string Contents(std::FILE* f) {
    std::fflush(f);
    std::rewind(f);
    std::string s;
    char buffer[512];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;) s.append(buffer, n);
    return s;
}

struct STempFiles {
    std::FILE* bar = std::tmpfile();
    std::FILE* lines = std::tmpfile();
    ~STempFiles() {
        std::fclose(bar);
        std::fclose(lines);
    }
};

int CountingCancel(void* context) {
    ++*static_cast<int*>(context);
    return 0;
}
}  // namespace

TEST(ToolProgress, BarLineShowsFillCountsAndTimeLeft) {
    EXPECT_EQ("[" + std::string(30, '.') + "] Copying", CYxToolProgress::BarLine("Copying", 0, 0, 0, -1));
    EXPECT_EQ("[" + std::string(15, '#') + std::string(15, '.') + "] Copying  rows 50/100, 1:05 left",
              CYxToolProgress::BarLine("Copying", 0.5, 50, 100, 65));
    // Without an estimate the counts stand alone; out-of-range fractions are clamped.
    EXPECT_EQ("[" + std::string(30, '#') + "] x  rows 7/5", CYxToolProgress::BarLine("x", 1.4, 7, 5, -1));
    EXPECT_EQ("[" + std::string(30, '.') + "] x", CYxToolProgress::BarLine("x", -3, 0, 0, 10));

    EXPECT_EQ("0:00", CYxToolProgress::Duration(0.2));
    EXPECT_EQ("0:59", CYxToolProgress::Duration(59.4));
    EXPECT_EQ("12:00", CYxToolProgress::Duration(720));
    EXPECT_EQ("1:02:03", CYxToolProgress::Duration(3723));
    EXPECT_EQ("0:00", CYxToolProgress::Duration(-5));
}

TEST(ToolProgress, WithoutTerminalOnePlainLinePerPhaseAndNoBar) {
    STempFiles f;
    {
        CYxToolProgress p(f.bar, f.lines, false);
        p.SetRange(0, 30);
        p.Phase("Upgrading tables");
        p.SetPos(5);
        p.Rows(10, 100);
        p.Phase("Upgrading tables");  // the same phase again: no second line
        p.SetText(L"Indexing tables");
        p.Rows(100, 100, 0);
        p.Phase("");
        p.Finish();
    }
    EXPECT_EQ("", Contents(f.bar));
    EXPECT_EQ("Upgrading tables\nIndexing tables\n", Contents(f.lines));
}

TEST(ToolProgress, OnTerminalBarRedrawnInPlaceAndRemovedAtTheEnd) {
    STempFiles f;
    {
        CYxToolProgress p(f.bar, f.lines, true);
        p.SetRange(0, 10);
        p.Phase("Copying frames");
        p.SetPos(5);
        p.Rows(3, 4, 2);
        // The destructor removes the bar.
    }
    const std::string bar = Contents(f.bar);
    EXPECT_EQ("", Contents(f.lines));
    EXPECT_NE(std::string::npos, bar.find("\r[" + std::string(15, '#') + std::string(15, '.') + "] Copying frames\033[K"))
        << bar;
    EXPECT_NE(std::string::npos, bar.find("] Copying frames  rows 3/4, 0:02 left\033[K")) << bar;
    EXPECT_EQ(bar.size() - 4, bar.rfind("\r\033[K")) << "ends with the bar erased";
    EXPECT_EQ(std::string::npos, bar.find('\n'));
}

TEST(ToolProgress, EstimatesTimeLeftFromTheRateOfThePhase) {
    STempFiles f;
    CYxToolProgress p(f.bar, f.lines, true);
    p.Phase("Copying");
    p.Rows(100, 1100);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    // 100 rows in ~1.1 s: the remaining 900 take about 9.9 s.
    p.Rows(200, 1100);
    p.Finish();
    const std::string bar = Contents(f.bar);
    const std::size_t at = bar.find("rows 200/1100, 0:");
    ASSERT_NE(std::string::npos, at) << bar;
    const int seconds = std::stoi(bar.substr(at + 17, 2));
    EXPECT_GE(seconds, 9) << bar;
    EXPECT_LE(seconds, 13) << bar;
    // A new phase starts its own estimate: no time left is shown at once.
    STempFiles g;
    CYxToolProgress q(g.bar, g.lines, true);
    q.Phase("A");
    q.Rows(1, 10);
    q.Phase("B");
    q.Rows(5, 10);
    q.Finish();
    EXPECT_EQ(std::string::npos, Contents(g.bar).find("left"));
}

TEST(ToolInterrupt, SigintSetsAFlagThatProgressTurnsIntoACancelRequest) {
    void (*before)(int) = std::signal(SIGINT, SIG_IGN);
    {
        CYxToolInterrupt interrupt;
        EXPECT_FALSE(interrupt.TakePending());
        std::raise(SIGINT);  // the process survives: the handler only sets a flag
        EXPECT_TRUE(interrupt.TakePending());
        EXPECT_FALSE(interrupt.TakePending()) << "one Ctrl-C, one request";
        EXPECT_FALSE(interrupt.AbortRequested()) << "nothing pending, nothing asked";
        EXPECT_FALSE(interrupt.Confirmed());

        STempFiles f;
        CYxToolProgress p(f.bar, f.lines, false);
        int cancels = 0;
        p.RegisterCancelCallback(&CountingCancel, &cancels);
        p.ProcessMessages();
        EXPECT_EQ(0, cancels) << "progress without an interrupt object ignores Ctrl-C";

        CYxToolProgress withInterrupt(false, &interrupt);
        withInterrupt.RegisterCancelCallback(&CountingCancel, &cancels);
        withInterrupt.ProcessMessages();
        EXPECT_EQ(0, cancels);
        std::raise(SIGINT);
        withInterrupt.ProcessMessages();
        withInterrupt.ProcessMessages();
        EXPECT_EQ(1, cancels);
    }
    // The previous handler is back.
    EXPECT_EQ(SIG_IGN, std::signal(SIGINT, before));
}

TEST(ToolProgressRun, UpgradeThroughAPipeWritesPhaseLinesAndNoBar) {
    CYxTempDir dir;
    const std::string db = dir.FileUtf8("old.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(db, 110));
    const SToolResult r = RunTool({"upgrade", db});
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ("", r.err);
    EXPECT_EQ(0u, r.out.find("Upgrading tables (may take a long time)...\n")) << r.out;
    EXPECT_EQ(std::string::npos, r.out.find('\r'));
    EXPECT_EQ(std::string::npos, r.out.find('\033'));
}

TEST(ToolProgressRun, UpgradeOnATerminalDrawsTheBar) {
    CYxTempDir dir;
    const std::string db = dir.FileUtf8("old.db");
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(db, 110));
    const SToolResult r = RunToolOnTerminal({"upgrade", db}, nullptr);
    EXPECT_EQ(0, r.exitCode) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("\r[")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("] Upgrading tables (may take a long time)...\033[K")) << r.out;
    EXPECT_EQ(std::string::npos, r.out.find("Upgrading tables (may take a long time)...\r\n"))
        << "no plain phase lines on a terminal";
}

namespace {
// Rows per table that keep an upgrade busy for seconds: far longer than the
// tenth of a second the tool takes to notice Ctrl-C and ask.
constexpr int kSlowUpgradeRows = 20000;

bool FileIsCurrent(const std::string& db) {
    SYxProjectDbFileInfo info;
    return YxProjectDb_Db_Jobs_GetInfo(YxTool_Wide(db).c_str(), &info) == 0 &&
           info.iMainVersion == YX_PROJECTDB_JOBS_SCHEMA_VERSION;
}

// Upgrades a file on a terminal, presses Ctrl-C once the bar shows and
// answers "y" to the question; with `afterCommit` only once the file
// reads as current.
SToolResult CancelUpgrade(const std::string& db, bool afterCommit) {
    bool interrupted = false, answered = false;
    const SToolResult r = RunToolOnTerminal({"upgrade", db}, [&](const std::string& out) -> std::string {
        if (!interrupted && out.find("] Upgrading tables") != std::string::npos) {
            interrupted = true;
            return "\x03";
        }
        if (interrupted && !answered && out.find("Are you sure to abort the process? [y/N] ") != std::string::npos) {
            if (afterCommit && !FileIsCurrent(db)) return "";
            answered = true;
            return "y\n";
        }
        return "";
    });
    EXPECT_TRUE(answered) << r.out;
    return r;
}
}  // namespace

TEST(ToolProgressRun, CtrlCAnsweredYesRollsTheUpgradeBack) {
    CYxTempDir dir;
    const std::string db = dir.FileUtf8("old.db");
    SYxMigrationRows fill;
    fill.iDefault = kSlowUpgradeRows;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(db, 110, fill));
    const std::string before = ReadFileBytes(db);
    const SToolResult r = CancelUpgrade(db, false);
    EXPECT_EQ(1, r.exitCode) << r.out;
    EXPECT_EQ(before, ReadFileBytes(db)) << "a cancelled upgrade leaves the file as it was";
    EXPECT_EQ(std::string::npos, r.out.find("done")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("(SQLITE_INTERRUPT 9)")) << r.out;
}

TEST(ToolProgressRun, AYesAfterTheCommitSaysTheCancelCameTooLate) {
    CYxTempDir dir;
    const std::string db = dir.FileUtf8("old.db");
    // The question holds up only the watching thread: the upgrade commits
    // while it waits for the answer.
    SYxMigrationRows fill;
    fill.iDefault = kSlowUpgradeRows;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(db, 110, fill));
    const SToolResult r = CancelUpgrade(db, true);
    EXPECT_EQ(0, r.exitCode) << r.out;
    const SToolResult info = RunTool({"info", db});
    EXPECT_NE(std::string::npos, info.out.find("main version:         136 ")) << info.out;
    EXPECT_NE(std::string::npos, r.out.find("the cancel came too late")) << r.out;
}
