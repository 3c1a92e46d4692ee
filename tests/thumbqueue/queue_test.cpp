// The request queue: answers, identical requests, priority order, cancels,
// generations, shutdown, and many threads against a second process that
// keeps inserting frames into the jobs database.
#include "thumbnails/thumb_fixture.h"

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <map>
#include <random>
#include <set>
#include <thread>

namespace {

// The grey value of page p of the queue tests' file (8-bit, kept as is).
int PageValue(int page) { return 10 + (page * 7) % 240; }

// Holds a reader thread inside a callback until released.
struct SGate {
    std::mutex lock;
    std::condition_variable changed;
    bool entered = false, released = false;
    void Enter() {
        std::unique_lock<std::mutex> g(lock);
        entered = true;
        changed.notify_all();
        changed.wait(g, [this] { return released; });
    }
    void WaitEntered() {
        std::unique_lock<std::mutex> g(lock);
        changed.wait(g, [this] { return entered; });
    }
    void Release() {
        std::lock_guard<std::mutex> g(lock);
        released = true;
        changed.notify_all();
    }
};

// What the callbacks of a test saw, by request id.
struct SAnswers {
    std::mutex lock;
    std::condition_variable changed;
    std::map<std::uint64_t, std::vector<int>> statuses;
    std::vector<std::uint64_t> order;
    std::map<std::uint64_t, int> values;   // first pixel of each thumbnail
    FnYxThumbCallback Callback() {
        return [this](std::uint64_t id, int status, const SYxThumbnail& t) {
            int value = -1;
            if (status == 0) {
                std::vector<std::uint8_t> grey;
                int w = 0, h = 0;
                if (YxProjectDb_Thumb_DecodePng(t.png.data(), t.png.size(), &grey, &w, &h) == 0 && !grey.empty())
                    value = grey[0];
            }
            std::lock_guard<std::mutex> g(lock);
            statuses[id].push_back(status);
            order.push_back(id);
            values[id] = value;
            changed.notify_all();
        };
    }
    std::size_t Count() {
        std::lock_guard<std::mutex> g(lock);
        return order.size();
    }
    void WaitCount(std::size_t n) {
        std::unique_lock<std::mutex> g(lock);
        changed.wait(g, [&] { return order.size() >= n; });
    }
};

}  // namespace

class ThumbQueueTest : public ThumbDbTest {
protected:
    void SetUp() override {
        ThumbDbTest::SetUp();
        // 40 frames of 2 planes, 300 x 200, each page one grey value.
        std::vector<STestPage> pages;
        for (int i = 0; i < 80; ++i)
            pages.push_back(ConstantPage(300, 200, 8, static_cast<std::uint16_t>(PageValue(i))));
        ASSERT_TRUE(WriteTiff(RunFile(L"q.tif"), pages));
        fileKey = AddFile(L"q.tif", 2, 0, 40);
    }
    void OpenWith(int readers, int generators) {
        thumbs.reset();
        SYxThumbQueueOptions options;
        options.iReaders = readers;
        options.iGenerators = generators;
        options.iBatchRows = 8;
        ASSERT_EQ(0, CYxThumbnailDb::Open(jobsPath, &thumbs, &options));
    }
    void BuildAll() {
        SYxThumbBuildOptions options;
        options.iWorkers = 2;
        ASSERT_EQ(0, thumbs->Build(options, nullptr));
    }
    std::int64_t fileKey = 0;
};

TEST_F(ThumbQueueTest, AnswersOnceWithTheRightPicture) {
    OpenWith(2, 2);
    std::ofstream(RunFile(L"bad.tif"), std::ios::binary) << "II*\0broken";
    AddFile(L"bad.tif", 1, 100, 1);
    SAnswers answers;
    std::vector<std::uint64_t> same;
    for (int i = 0; i < 6; ++i) same.push_back(thumbs->Request(kRun, 3, 1, 128, 0, answers.Callback()));
    const std::uint64_t big = thumbs->Request(kRun, 3, 1, 512, 0, answers.Callback());
    const std::uint64_t unknown = thumbs->Request(kRun, 77, 0, 128, 0, answers.Callback());
    const std::uint64_t broken = thumbs->Request(kRun, 100, 0, 128, 0, answers.Callback());
    // A callback may ask again.
    std::atomic<std::uint64_t> inner{0};
    SAnswers nested;
    const std::uint64_t outer = thumbs->Request(kRun, 5, 0, 256, 2, [&](std::uint64_t, int status, const SYxThumbnail&) {
        EXPECT_EQ(0, status);
        inner = thumbs->Request(kRun, 5, 0, 256, 0, nested.Callback());
    });
    EXPECT_NE(0u, outer);
    // Refused at once, never answered.
    EXPECT_EQ(0u, thumbs->Request(kRun, 0, 0, 100, 0, answers.Callback()));
    EXPECT_EQ(0u, thumbs->Request(nullptr, 0, 0, 128, 0, answers.Callback()));
    EXPECT_EQ(0u, thumbs->Request(kRun, -1, 0, 128, 0, answers.Callback()));
    EXPECT_EQ(0u, thumbs->Request(kRun, 0, 0, 128, 0, FnYxThumbCallback()));
    thumbs->WaitIdle();
    nested.WaitCount(1);
    thumbs->WaitIdle();

    std::set<std::uint64_t> ids(same.begin(), same.end());
    EXPECT_EQ(6u, ids.size());   // every request its own id
    for (std::uint64_t id : same) {
        ASSERT_EQ(1u, answers.statuses[id].size());
        EXPECT_EQ(0, answers.statuses[id][0]);
        EXPECT_EQ(PageValue(3 * 2 + 1), answers.values[id]);
    }
    EXPECT_EQ(std::vector<int>{0}, answers.statuses[big]);
    EXPECT_EQ(std::vector<int>{YXPDB_E_NOTFOUND}, answers.statuses[unknown]);
    EXPECT_EQ(std::vector<int>{YXPDB_E_THUMB_SOURCE}, answers.statuses[broken]);
    EXPECT_EQ(9u, answers.Count());
    ASSERT_NE(0u, inner.load());
    EXPECT_EQ(std::vector<int>{0}, nested.statuses[inner]);
    EXPECT_EQ(PageValue(10), nested.values[inner]);
    // Stored by the writer: three thumbnails and one failure row.
    EXPECT_EQ("3", ThumbQuery("SELECT count(*) FROM thumb"));
    EXPECT_EQ("1", ThumbQuery("SELECT count(*) FROM thumbfail"));
    EXPECT_EQ("171", ThumbQuery("SELECT iHeight FROM thumb WHERE iLevel=256"));
}

TEST_F(ThumbQueueTest, HigherPriorityFirstThenTheNewest) {
    OpenWith(1, 1);
    BuildAll();
    SGate gate;
    SAnswers answers;
    thumbs->Request(kRun, 0, 0, 128, 0, [&](std::uint64_t, int, const SYxThumbnail&) { gate.Enter(); });
    gate.WaitEntered();   // the only reader is held: the next requests wait
    const std::uint64_t b = thumbs->Request(kRun, 1, 0, 128, 0, answers.Callback());
    const std::uint64_t c = thumbs->Request(kRun, 2, 0, 128, 5, answers.Callback());
    const std::uint64_t d = thumbs->Request(kRun, 3, 0, 128, 0, answers.Callback());
    const std::uint64_t e = thumbs->Request(kRun, 4, 0, 128, 5, answers.Callback());
    const std::uint64_t f = thumbs->Request(kRun, 5, 0, 128, -1, answers.Callback());
    // Asking again for b's thumbnail makes it the newest of priority 0.
    const std::uint64_t b2 = thumbs->Request(kRun, 1, 0, 128, 0, answers.Callback());
    gate.Release();
    thumbs->WaitIdle();
    const std::vector<std::uint64_t> expected = {e, c, b, b2, d, f};
    EXPECT_EQ(expected, answers.order);
}

TEST_F(ThumbQueueTest, CancelsAndGenerations) {
    OpenWith(1, 1);
    SGate gate;
    SAnswers answers;
    EXPECT_EQ(1u, thumbs->CurrentGeneration());
    thumbs->Request(kRun, 0, 0, 128, 9, [&](std::uint64_t, int, const SYxThumbnail&) { gate.Enter(); });
    gate.WaitEntered();
    std::vector<std::uint64_t> first;
    for (int i = 1; i <= 4; ++i) first.push_back(thumbs->Request(kRun, i, 0, 128, 0, answers.Callback()));
    EXPECT_EQ(2u, thumbs->NewGeneration());
    const std::uint64_t r5 = thumbs->Request(kRun, 5, 0, 128, 0, answers.Callback());
    const std::uint64_t r6 = thumbs->Request(kRun, 6, 1, 128, 0, answers.Callback());
    const std::uint64_t r7 = thumbs->Request(kRun, 1, 0, 128, 0, answers.Callback());   // same job as first[0]

    EXPECT_EQ(4u, thumbs->CancelOlderThan(2));
    EXPECT_EQ(4u, answers.Count());   // answered before the call returned
    for (std::uint64_t id : first) EXPECT_EQ(std::vector<int>{YXPDB_E_CANCELLED}, answers.statuses[id]);
    EXPECT_TRUE(thumbs->Cancel(r5));
    EXPECT_EQ(std::vector<int>{YXPDB_E_CANCELLED}, answers.statuses[r5]);
    EXPECT_FALSE(thumbs->Cancel(r5));
    EXPECT_FALSE(thumbs->Cancel(first[0]));
    EXPECT_FALSE(thumbs->Cancel(987654321));
    EXPECT_EQ(0u, thumbs->CancelOlderThan(2));
    gate.Release();
    thumbs->WaitIdle();
    EXPECT_EQ(std::vector<int>{0}, answers.statuses[r6]);
    EXPECT_EQ(PageValue(13), answers.values[r6]);
    EXPECT_EQ(std::vector<int>{0}, answers.statuses[r7]);   // its job survived the cancel of the other
    EXPECT_FALSE(thumbs->Cancel(r6));
    EXPECT_EQ(7u, answers.Count());
}

TEST_F(ThumbQueueTest, DestroyingCancelsWhatIsPending) {
    OpenWith(1, 1);
    SGate gate;
    SAnswers answers;
    thumbs->Request(kRun, 0, 0, 128, 0, [&](std::uint64_t, int, const SYxThumbnail&) { gate.Enter(); });
    gate.WaitEntered();
    for (int i = 1; i <= 10; ++i) thumbs->Request(kRun, i, i % 2, 256, i, answers.Callback());
    std::thread closer([&] { thumbs.reset(); });
    answers.WaitCount(10);   // cancelled by the destructor while the reader is held
    gate.Release();
    closer.join();
    EXPECT_EQ(10u, answers.Count());
    for (auto& [id, statuses] : answers.statuses) EXPECT_EQ(std::vector<int>{YXPDB_E_CANCELLED}, statuses) << id;
}

TEST_F(ThumbQueueTest, ManyThreadsWithCancelsWhileAnotherProcessAcquires) {
    OpenWith(2, 2);
    const std::string stop = dir.FileUtf8("stop");
    CYxTestProcess acquisition;
    ASSERT_TRUE(acquisition.Start(YxTest_HelperPath(), {"frames", jobsPath.ToUtf8(), std::to_string(runKey),
                                                        std::to_string(fileKey), "1000", stop}));
    ASSERT_TRUE(acquisition.WaitForLine("ready"));

    struct SRecord {
        std::uint64_t id = 0;
        int frame = 0, plane = 0, level = 0;
        std::atomic<bool> cancelled{false};
        std::atomic<int> calls{0};
        std::atomic<int> status{1};
        std::atomic<int> value{-1}, width{0}, height{0};
    };
    constexpr int kThreads = 4, kPerThread = 2500;
    std::vector<SRecord> records(kThreads * kPerThread);
    std::atomic<int> resultAfterCancel{0};
    auto callback = [&](SRecord& r) {
        return [&r, &resultAfterCancel](std::uint64_t, int status, const SYxThumbnail& t) {
            if (status == 0) {
                std::vector<std::uint8_t> grey;
                int w = 0, h = 0;
                if (YxProjectDb_Thumb_DecodePng(t.png.data(), t.png.size(), &grey, &w, &h) == 0 && !grey.empty()) {
                    r.value = grey[grey.size() / 2];
                    r.width = w;
                    r.height = h;
                }
                if (r.cancelled) ++resultAfterCancel;
            }
            r.status = status;
            ++r.calls;
        };
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            std::mt19937 random(1000 + t);
            for (int i = 0; i < kPerThread; ++i) {
                SRecord& r = records[static_cast<std::size_t>(t * kPerThread + i)];
                // One request in ten is for a frame the acquisition adds.
                r.frame = random() % 10 == 0 ? 1000 + static_cast<int>(random() % 50) : static_cast<int>(random() % 40);
                r.plane = static_cast<int>(random() % 2);
                r.level = random() % 2 ? 128 : 256;
                r.id = thumbs->Request(kRun, r.frame, r.plane, r.level, static_cast<int>(random() % 4), callback(r));
                ASSERT_NE(0u, r.id);
                if (random() % 5 == 0) {
                    SRecord& victim = records[static_cast<std::size_t>(t * kPerThread) + random() % (i + 1)];
                    if (thumbs->Cancel(victim.id)) victim.cancelled = true;
                }
                if (i % 500 == 499 && t == 0) thumbs->CancelOlderThan(thumbs->NewGeneration() - 1);
            }
        });
    for (std::thread& t : threads) t.join();
    thumbs->WaitIdle();
    std::ofstream(stop) << "stop";
    EXPECT_EQ(0, acquisition.Wait());   // every insert of the acquisition went in, none met busy

    int cancelled = 0, answered = 0;
    for (const SRecord& r : records) {
        ASSERT_EQ(1, r.calls.load()) << "request " << r.id;
        if (r.status == YXPDB_E_CANCELLED) {
            ++cancelled;
            continue;
        }
        if (r.frame >= 1000 && r.status == YXPDB_E_NOTFOUND) continue;   // asked before it was inserted
        ASSERT_EQ(0, r.status.load()) << "request " << r.id << " frame " << r.frame;
        ++answered;
        const int page = r.frame >= 1000 ? r.plane : r.frame * 2 + r.plane;
        EXPECT_EQ(PageValue(page), r.value.load()) << "frame " << r.frame << " plane " << r.plane;
        EXPECT_EQ(r.level, r.width.load());
        EXPECT_EQ(r.level == 128 ? 85 : 171, r.height.load());
    }
    EXPECT_EQ(0, resultAfterCancel.load());
    EXPECT_GT(cancelled, 0);
    EXPECT_GT(answered, 0);
}
