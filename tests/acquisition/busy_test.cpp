// Bulk inserts against other processes writing or locking the same file.
#include "acq_fixture.h"

#include "gnr_projectdb/records_frame.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <set>

namespace {

const int kBatches = 25;
const int kBatchRows = 400;

// Child process: waits for the start signal, then records its run's frames in
// batches through its own connection. A busy timeout of 0 makes every
// collision with the other writer surface as SQLITE_BUSY, so the batches go
// through the library's retry. Exit status 0 when every batch was stored and
// every row got a key.
int RecordFrames(const CYxStringW& path, std::int64_t runKey, int startFd) {
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
    if (!h) return 2;
    sqlite3_busy_timeout(CYxProjectDbConnectionManager::GetConnection(h).Get(), 0);
    char go = 0;
    if (read(startFd, &go, 1) != 1) return 3;
    for (int b = 0; b < kBatches; ++b) {
        std::vector<SYxProjectDbRow_frame> rows;
        for (int i = 0; i < kBatchRows; ++i) rows.push_back({0, runKey, 0, b * kBatchRows + i, 1.0 * i, 0, i});
        if (YxProjectDb_Frame_InsertMany(h, rows) != 0) return 4;
        for (const auto& r : rows)
            if (r.iKey == 0) return 5;
    }
    YxProjectDb_Db_Disconnect(h);
    return 0;
}

}  // namespace

using Busy = AcqDbTest;

TEST_F(Busy, TwoProcessesRecordingIntoOneFileStoreEveryFrameOnce) {
    int pipes[2][2];
    pid_t pids[2];
    const std::int64_t runs[2] = {runKey, runKey2};
    for (int c = 0; c < 2; ++c) {
        ASSERT_EQ(0, pipe(pipes[c]));
        pids[c] = fork();
        ASSERT_GE(pids[c], 0);
        if (pids[c] == 0) {
            close(pipes[c][1]);
            _exit(RecordFrames(path, runs[c], pipes[c][0]));
        }
        close(pipes[c][0]);
    }
    // Both start together.
    for (int c = 0; c < 2; ++c) {
        EXPECT_EQ(1, write(pipes[c][1], "g", 1));
        close(pipes[c][1]);
    }
    for (int c = 0; c < 2; ++c) {
        int status = -1;
        ASSERT_EQ(pids[c], waitpid(pids[c], &status, 0));
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(0, WEXITSTATUS(status)) << "child " << c;
    }
    const std::int64_t n = kBatches * kBatchRows;
    for (std::int64_t run : runs) {
        const std::string r = std::to_string(run);
        EXPECT_EQ(n, Count("frame", "iJobrunKeyRef=" + r));
        EXPECT_EQ(std::to_string(n) + "|0|" + std::to_string(n - 1),
                  AcqOne(h, "SELECT count(DISTINCT iFrameIndex), min(iFrameIndex), max(iFrameIndex) FROM frame "
                            "WHERE iJobrunKeyRef=" + r));
    }
    EXPECT_EQ("ok", AcqOne(h, "PRAGMA integrity_check"));
}

// A second process holds the database; the bulk insert waits until it is
// released and stores the batch once.
class BusyLocked : public AcqDbTest, public ::testing::WithParamInterface<bool> {};

TEST_P(BusyLocked, BulkInsertWhileAnotherProcessHoldsTheDatabase) {
    const bool retryLoop = GetParam();
    // Without a busy timeout every attempt fails at once and the library's
    // 30 ms retry does the waiting; with the library's own timeout SQLite
    // waits inside the statement.
    if (retryLoop) sqlite3_busy_timeout(CYxProjectDbConnectionManager::GetConnection(h).Get(), 0);
    const int lockMs = 800;
    CYxTestProcess locker;
    ASSERT_TRUE(locker.Start(YxTest_HelperPath(), {"lock", path.ToUtf8(), std::to_string(lockMs)}));
    ASSERT_TRUE(locker.WaitForLine("locked"));

    std::vector<SYxProjectDbRow_frame> rows;
    for (int i = 0; i < 3000; ++i) rows.push_back({0, runKey, taskKey, i, 0.5, 0, i});
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(0, YxProjectDb_Frame_InsertMany(h, rows));
    const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0);
    EXPECT_EQ(0, locker.Wait());
    EXPECT_GE(waited.count(), lockMs / 2) << "the insert did not wait for the lock";

    std::set<std::int64_t> keys;
    for (const auto& r : rows) keys.insert(r.iKey);
    EXPECT_EQ(rows.size(), keys.size());
    EXPECT_EQ(0u, keys.count(0));
    EXPECT_EQ(3000, Count("frame"));
    // The keys written back are the stored rows' keys.
    EXPECT_EQ(std::to_string(rows.back().iKey),
              AcqOne(h, "SELECT iKey FROM frame WHERE iFrameIndex=2999"));
}

INSTANTIATE_TEST_SUITE_P(Acquisition, BusyLocked, ::testing::Values(true, false),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? std::string("RetryLoop") : std::string("BusyTimeout");
                         });
