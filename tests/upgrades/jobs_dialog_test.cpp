// Dialog-driven upgrades and clean-ups: the worker thread, the texts, the
// liveness bar, cancellation through the question box, and a process killed
// in the middle of an upgrade.
#include "upgrade_fixtures.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/upgrade_driver.h"
#include "test_support.h"
#include "uisupport/yxquestionbox.h"

#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace {
std::atomic<bool> g_stepStarted{false};
std::atomic<int> g_rows{0};  // rows counted by the slow step's statement
int g_signalFd = -1;         // the slow step writes one byte here once it has written

int SlowStep(sqlite3* db) {
    // Writes first, so that an interrupted step has something to roll back.
    int rc = YxSqlite_Execute(db, L"CREATE TABLE slow_step(x);INSERT INTO slow_step VALUES(1);"
                                  L"UPDATE version SET iVersion=131 WHERE wszName='main';\n",
                              nullptr, false);
    if (rc != 0) return rc;
    g_stepStarted.store(true);
    if (g_signalFd >= 0) {
        const char byte = 1;
        if (write(g_signalFd, &byte, 1) != 1) return SQLITE_IOERR;
    }
    const std::wstring sql = CYxStringW::Format(L"WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM c "
                                                L"WHERE i<%d) SELECT count(*) FROM c;",
                                                g_rows.load())
                                 .str();
    return YxSqlite_Execute(db, sql.c_str(), nullptr, false);
}

int BumpStep(sqlite3* db) {
    const int v = static_cast<int>(UpgTest_Int(db, "SELECT iVersion FROM vesion WHERE wszName='main';"));
    return YxSqlite_Execute(db, CYxStringW::Format(L"UPDATE version SET iVersion=%d WHERE wszName='main';", v + 1),
                            nullptr, false);
}

// 130 -> 131 is slow, the rest are quick.
PFYxJobsUpgradeStep Resolve(std::int64_t from) { return from == 130 ? &SlowStep : &BumpStep; }

class JobsDialogTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_stepStarted.store(false);
        g_signalFd = -1;
        YxProjectDb_Upgrade_SetJobsStepResolverForTesting(&Resolve);
        path = dir.FileUtf8("jobs.db");
        UpgTest_CreateJobsFile(path, 130, 1);
        dialog.cancelWhen = &g_stepStarted;
    }
    void TearDown() override {
        YxProjectDb_Upgrade_SetJobsStepResolverForTesting(nullptr);
        SUpgTestQuestions::Uninstall();
    }
    std::int64_t Main() const { return UpgTest_IntOf(path, "SELECT iVersion FROM vesion WHERE wszName='main';"); }
    int Upgrade() { return YxProjectDb_Db_Jobs_Upgrade(CYxStringW::FromUtf8(path), &dialog); }
    static long Count(const std::vector<std::wstring>& texts, const wchar_t* text) {
        return std::count(texts.begin(), texts.end(), std::wstring(text));
    }

    CYxTempDir dir;
    std::string path;
    CUpgTestDialog dialog;
};
}  // namespace

TEST_F(JobsDialogTest, CancelConfirmedWithYesInterruptsAndRollsBack) {
    SUpgTestQuestions::Install(YX_IDYES);
    g_rows.store(200000000);  // far longer than the test may take
    const std::string before = UpgTest_Dump(path);
    const auto start = std::chrono::steady_clock::now();
    const int status = Upgrade();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));

    EXPECT_EQ(SQLITE_INTERRUPT, status);
    EXPECT_EQ(before, UpgTest_Dump(path));
    EXPECT_EQ(1, SUpgTestQuestions::Count());
    EXPECT_EQ(L"Are you sure to abort the process?", SUpgTestQuestions::LastText());
    EXPECT_EQ(L"Warning", SUpgTestQuestions::LastTitle());
    EXPECT_EQ(36u, SUpgTestQuestions::LastStyle());
    EXPECT_EQ(dialog.GetWindow(), SUpgTestQuestions::LastOwner());
    EXPECT_EQ(YXPDB_E_NOCONNECTION, dialog.CancelResult());

    const auto texts = dialog.Texts();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(L"Upgrading tables (may take a long time)...", texts.front());
    EXPECT_EQ(1, Count(texts, L"Upgrade was Canceled! Rolling back..."));
    EXPECT_EQ(0, Count(texts, L"Optimizing database file (may take a long time)..."));

    // The cancel belonged to that run: the next one, without dialog, works.
    g_rows.store(10);
    EXPECT_EQ(0, YxProjectDb_Db_Jobs_Upgrade(CYxStringW::FromUtf8(path), nullptr));
    EXPECT_EQ(136, Main());
}

TEST_F(JobsDialogTest, CancelAnsweredNoChangesNothingAndTheRunCompletes) {
    SUpgTestQuestions::Install(YX_IDNO);
    g_rows.store(1500000);
    EXPECT_EQ(0, Upgrade());
    EXPECT_EQ(1, SUpgTestQuestions::Count());
    EXPECT_EQ(136, Main());
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM slow_step;"));

    const auto texts = dialog.Texts();
    EXPECT_EQ(0, Count(texts, L"Upgrade was Canceled! Rolling back..."));
    EXPECT_EQ(0, dialog.RangeMin());
    EXPECT_EQ(30, dialog.RangeMax());
    const auto positions = dialog.Positions();
    ASSERT_FALSE(positions.empty());
    EXPECT_EQ(0, positions.front());
    for (int p : positions) {
        EXPECT_GE(p, 0);
        EXPECT_LT(p, 30);
    }
    EXPECT_GT(dialog.ProcessCount(), 0);
}

TEST_F(JobsDialogTest, SecondCancelRequestDoesNotAskAgain) {
    SUpgTestQuestions::Install(YX_IDYES);
    g_rows.store(200000000);
    EXPECT_EQ(SQLITE_INTERRUPT, Upgrade());
    EXPECT_EQ(1, SUpgTestQuestions::Count());
    // The callback was withdrawn with the end of the run.
    EXPECT_FALSE(dialog.HasCancelCallback());
}

TEST_F(JobsDialogTest, CleanupWithDialogShowsItsTexts) {
    dialog.cancelWhen = nullptr;
    EXPECT_EQ(0, YxProjectDb_Db_Jobs_Cleanup(CYxStringW::FromUtf8(path), &dialog));
    const auto texts = dialog.Texts();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(L"Deleting obsolete records (may take a long time)...", texts.front());
    for (const auto& t : texts) EXPECT_EQ(std::wstring::npos, t.find(L"Upgrad")) << std::string(t.begin(), t.end());
    EXPECT_EQ(130, Main());
}

TEST_F(JobsDialogTest, KilledProcessLeavesTheFileAtItsOldVersion) {
    g_rows.store(2000000000);
    const std::string before = UpgTest_Dump(path);
    int fds[2];
    ASSERT_EQ(0, pipe(fds));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(fds[0]);
        g_signalFd = fds[1];
        const int status = YxProjectDb_Db_Jobs_Upgrade(CYxStringW::FromUtf8(path), nullptr);
        _exit(status == 0 ? 0 : 3);
    }
    close(fds[1]);
    char byte = 0;
    const ssize_t got = read(fds[0], &byte, 1);
    close(fds[0]);
    ASSERT_EQ(1, got) << "the child never reached the slow step";
    ASSERT_EQ(0, kill(child, SIGKILL));
    int wstatus = 0;
    ASSERT_EQ(child, waitpid(child, &wstatus, 0));
    EXPECT_TRUE(WIFSIGNALED(wstatus));

    EXPECT_EQ("ok", UpgTest_TextOf(path, "PRAGMA integrity_check;"));
    EXPECT_EQ(130, Main());
    EXPECT_EQ(before, UpgTest_Dump(path));
}
