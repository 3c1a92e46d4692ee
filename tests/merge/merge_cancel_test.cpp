// A merge that is cancelled or killed leaves the target as it was.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/merge.h"
#include "merge_fixture.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace {

std::string ProjectRoot(const std::string& dbFile) {
    std::filesystem::path p(dbFile);
    return (p.parent_path() / (p.stem().string() + " Projects")).string();
}

// Cancels on the n-th report (never with n = 0) and counts the reports.
class CCancelAt : public IYxProjectDbMergeProgress {
public:
    explicit CCancelAt(int n) : m_n(n) {}
    int OnMergeProgress(const SYxProjectDbMergeProgress& p) override {
        ++calls;
        // Rows done only grow, never pass the count, and give a time estimate.
        if (p.iRowsDone > p.iRowsTotal || p.iRowsDone < last) ++disorder;
        if (p.iRowsDone > 0 && p.dSecondsLeft < 0) ++disorder;
        last = p.iRowsDone;
        return m_n != 0 && calls >= m_n ? 1 : 0;
    }
    int calls = 0;
    int disorder = 0;
    std::int64_t last = 0;

private:
    int m_n;
};

class MergeCancel : public ::testing::Test {
protected:
    void SetUp() override {
        src = MergeTest_MakeDemo(dir.Path() + "/acq", 2);
        // The target already holds an acquisition of its own.
        dst = MergeTest_MakeDemo(dir.Path() + "/dst", 1);
    }
    int Merge(IYxProjectDbMergeProgress* progress, const std::atomic<bool>* cancel = nullptr) {
        const YxProjectDbHandle s = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(src));
        const YxProjectDbHandle d = YxProjectDb_Db_Jobs_Connect(CYxStringW::FromUtf8(dst));
        SYxProjectDbMerge_DuplicateOptions o;
        o.hSource = s;
        o.hTarget = d;
        o.eDuplicates = eYxMergeCopyDuplicates;  // everything is copied: the most work to undo
        o.pProgress = progress;
        o.pCancel = cancel;
        const int rc = YxProjectDb_Merge_Run(o, {}, nullptr);
        YxProjectDb_Db_Disconnect(s);
        YxProjectDb_Db_Disconnect(d);
        return rc;
    }
    CYxTempDir dir;
    std::string src, dst;
};

}  // namespace

TEST_F(MergeCancel, CancelAtAnyReportLeavesTheTargetAsItWas) {
    // A full merge into a twin of the target counts the reports.
    CCancelAt full(0);
    {
        const std::string kept = dst;
        dst = MergeTest_MakeDemo(dir.Path() + "/twin", 1);
        ASSERT_EQ(0, Merge(&full));
        dst = kept;
    }
    EXPECT_EQ(0, full.disorder);
    ASSERT_GT(full.calls, 5);

    const std::string before = MergeTest_ExactDump(dst);
    const auto folders = MergeTest_FolderListing(ProjectRoot(dst));
    // Cancel at 24 points spread over the whole merge, the last report included.
    const int points = 24;
    for (int i = 1; i <= points; ++i) {
        const int at = std::max(1, full.calls * i / points);
        CCancelAt cancel(at);
        EXPECT_EQ(YXPDB_E_CANCELLED, Merge(&cancel)) << "cancel at report " << at << " of " << full.calls;
        EXPECT_EQ(before, MergeTest_ExactDump(dst)) << "cancel at report " << at;
        EXPECT_EQ(folders, MergeTest_FolderListing(ProjectRoot(dst))) << "cancel at report " << at;
    }
}

TEST_F(MergeCancel, CancelFlagFromAnotherThread) {
    const std::string before = MergeTest_ExactDump(dst);
    std::atomic<bool> cancel{true};
    EXPECT_EQ(YXPDB_E_CANCELLED, Merge(nullptr, &cancel));
    EXPECT_EQ(before, MergeTest_ExactDump(dst));

    // Set while the merge runs: the merge ends cancelled or, if it was
    // quicker, complete; never half done.
    std::atomic<bool> late{false};
    std::thread t([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        late = true;
    });
    const int rc = Merge(nullptr, &late);
    t.join();
    if (rc == YXPDB_E_CANCELLED) {
        EXPECT_EQ(before, MergeTest_ExactDump(dst));
    } else {
        EXPECT_EQ(0, rc);
        EXPECT_NE(before, MergeTest_ExactDump(dst));
    }
}

TEST_F(MergeCancel, KilledMergingProcessLeavesTheTargetAsItWas) {
    const std::string before = MergeTest_ExactDump(dst);
    for (int round = 0; round < 3; ++round) {
        int pipefd[2];
        ASSERT_EQ(0, ::pipe(pipefd));
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            ::close(pipefd[0]);
            // The child merges slowly and says when it is under way.
            struct CSlow : IYxProjectDbMergeProgress {
                int fd;
                int calls = 0;
                int round;
                int OnMergeProgress(const SYxProjectDbMergeProgress&) override {
                    if (++calls == 1 + round * 3) {
                        if (::write(fd, "x", 1) != 1) ::_exit(3);
                    }
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                    return 0;
                }
            } slow;
            slow.fd = pipefd[1];
            slow.round = round;
            ::_exit(Merge(&slow) == 0 ? 0 : 1);
        }
        ::close(pipefd[1]);
        char c = 0;
        ASSERT_EQ(1, ::read(pipefd[0], &c, 1));
        ::kill(pid, SIGKILL);
        int status = 0;
        ::waitpid(pid, &status, 0);
        ::close(pipefd[0]);
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(before, MergeTest_ExactDump(dst)) << "round " << round;
    }
    // The file is still good for a merge afterwards.
    EXPECT_EQ(0, Merge(nullptr));
    EXPECT_NE(before, MergeTest_ExactDump(dst));
}
