// Cancellation at random moments, with producers blocked on a full queue and
// workers busy: every item pushed ends exactly once, done or cancelled; every
// item refused stays with its producer; Wait returns.
#include "queue_test_items.h"

#include <string>
#include <thread>

using namespace queuetest;

namespace {

SYxQueueStage St(EYxQueueWorkerKind kind, int threads) {
    SYxQueueStage s;
    s.eKind = kind;
    s.iThreads = threads;
    return s;
}

struct CancelRun {
    const char* name;
    std::vector<SYxQueueStage> stages;
    bool ordered;
    // Cancel from inside an item's work instead of from another thread.
    bool fromWorker;
};

class CancelItem : public CTestItem {
public:
    CancelItem(CYxQueueMaster*& master, bool trigger, Ledger& ledger, std::size_t id, const ItemPlan& plan,
               const ChainShape& shape)
        : CTestItem(ledger, id, plan, shape.sinkStage, shape.lastStage, shape.sinkIsTransport,
                    shape.lastIsTransport),
          m_master(master), m_trigger(trigger) {}
    int Process(int stage) override {
        const int status = CTestItem::Process(stage);
        if (m_trigger)
            m_master->Cancel();
        return status;
    }

private:
    CYxQueueMaster*& m_master;
    bool m_trigger;
};

void RunOnce(const CancelRun& run, std::uint64_t seed) {
    const int producers = 3;
    const std::size_t perProducer = 4000;
    const std::size_t n = producers * perProducer;
    Ledger ledger(n);
    ChainShape shape(run.stages);
    std::mt19937_64 rng(seed);

    SYxQueueOptions options;
    options.iCapacity = 1 + static_cast<int>(rng() % 16);
    options.stages = run.stages;
    options.fnCancelled = [&ledger](std::unique_ptr<IYxQueueItem> item) {
        auto* test = static_cast<CTestItem*>(item.get());
        if (item->GetState() == eYxQueueItem_Cancelled && item->GetStatus() == YXPDB_E_QUEUE_CANCELLED)
            ledger.cancelCalls[test->Id()].fetch_add(1);
        else
            ledger.cancelCalls[test->Id()].fetch_add(100);
    };
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
    CYxQueueMaster* master = queue.get();
    ASSERT_EQ(0, queue->Start());

    const std::size_t triggerId = rng() % n;
    std::vector<std::atomic<int>> pushResult(n);
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&, p] {
            std::mt19937_64 local(seed + p + 1);
            for (std::size_t k = 0; k < perProducer; ++k) {
                const std::size_t id = p * perProducer + k;
                ItemPlan plan;
                plan.processUs = RandomWorkUs(local);
                auto item = std::make_unique<CancelItem>(master, run.fromWorker && id == triggerId, ledger, id,
                                                         plan, shape);
                std::unique_ptr<IYxQueueItem> base(std::move(item));
                const int rc = master->Push(std::move(base));
                pushResult[id].store(rc == 0 ? 1 : rc);
                if (rc != 0) {
                    // Refused: still ours, untouched.
                    if (!base || base->GetState() != eYxQueueItem_New)
                        pushResult[id].store(-1000);
                }
            }
        });
    }
    if (!run.fromWorker) {
        std::this_thread::sleep_for(std::chrono::microseconds(rng() % 30000));
        queue->Cancel();
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(YXPDB_E_QUEUE_CANCELLED, queue->Wait());

    SYxQueueStatistics stats;
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    std::uint64_t accepted = 0, done = 0, cancelled = 0, broken = 0;
    for (std::size_t id = 0; id < n; ++id) {
        const int push = pushResult[id].load();
        if (push == 1) {
            ++accepted;
            const int state = ledger.endState[id].load();
            const int cancels = ledger.cancelCalls[id].load();
            if (ledger.destroyed[id].load() != 1)
                ++broken;
            else if (state == eYxQueueItem_Done && cancels == 0)
                ++done;
            else if (state == eYxQueueItem_Cancelled && cancels == 1)
                ++cancelled;
            else
                ++broken;
        } else {
            // Refused items are never worked on and die with their producer's pointer.
            if (push != YXPDB_E_QUEUE_CANCELLED && push != YXPDB_E_QUEUE_CLOSED)
                ++broken;
            if (ledger.processCalls[id].load() != 0 || ledger.destroyed[id].load() != 1 ||
                ledger.endState[id].load() != eYxQueueItem_New)
                ++broken;
        }
    }
    EXPECT_EQ(0u, broken) << "seed " << seed;
    EXPECT_EQ(accepted, stats.iPushed);
    EXPECT_EQ(done, stats.iRemoved);
    EXPECT_EQ(cancelled, stats.iCancelled);
    EXPECT_EQ(0u, stats.iFailed);
    EXPECT_EQ(0u, stats.iDepth);
    EXPECT_LE(stats.iHighWater, static_cast<std::uint64_t>(options.iCapacity));
    EXPECT_EQ(0, ledger.overlaps.load());
    if (run.fromWorker) {
        // The item that cancelled still had its transport to do.
        EXPECT_GE(cancelled, 1u);
        EXPECT_EQ(eYxQueueItem_Cancelled, ledger.endState[triggerId].load());
    }

    if (run.ordered) {
        // Done items reached the sink as an unbroken prefix of the sequence.
        std::size_t misplaced = 0;
        for (std::size_t i = 0; i < ledger.sinkOrder.size(); ++i)
            misplaced += ledger.sinkOrder[i] != i;
        EXPECT_EQ(0u, misplaced) << "seed " << seed;
    }
}

class QueueCancel : public ::testing::TestWithParam<CancelRun> {};

TEST_P(QueueCancel, EveryItemEndsExactlyOnceAtRandomMoments) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        RunOnce(GetParam(), seed * 7919);
        if (HasFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Chains, QueueCancel,
    ::testing::Values(
        CancelRun{"ProcessInOrder",
                  {St(eYxQueueWorker_ProcessInOrder, 2), St(eYxQueueWorker_TransportOutOfOrder, 1)}, true, false},
        CancelRun{"TransportInOrder",
                  {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_TransportInOrder, 1)}, true, false},
        CancelRun{"ProcessTransportInOrder", {St(eYxQueueWorker_ProcessTransportInOrder, 2)}, true, false},
        CancelRun{"ProcessTransportOutOfOrder", {St(eYxQueueWorker_ProcessTransportOutOfOrder, 2)}, false, false},
        CancelRun{"ProcessRemove", {St(eYxQueueWorker_ProcessRemove, 2)}, false, false},
        CancelRun{"LongChain",
                  {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_ProcessInOrder, 2),
                   St(eYxQueueWorker_TransportInOrder, 1)},
                  true, false},
        CancelRun{"ProcessTransportInOrderFromWorker", {St(eYxQueueWorker_ProcessTransportInOrder, 2)}, true, true},
        CancelRun{"TransportOutOfOrderFromWorker",
                  {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_TransportOutOfOrder, 1)}, false,
                  true}),
    [](const ::testing::TestParamInfo<CancelRun>& info) { return std::string(info.param.name); });

// A producer blocked on a full queue is released by Cancel and by Close, and
// keeps its item.
TEST(QueueCancelBlocked, BlockedPushReturnsWithItsItem) {
    for (bool cancel : {true, false}) {
        SYxQueueOptions options;
        options.iCapacity = 2;
        options.stages = {St(eYxQueueWorker_ProcessOutOfOrder, 1)};
        Ledger ledger(3);
        ChainShape shape(options.stages);
        std::unique_ptr<CYxQueueMaster> queue;
        ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
        // Not started: the two items stay in flight and the third push blocks.
        ASSERT_EQ(0, queue->Push(shape.Make(ledger, 0, {})));
        ASSERT_EQ(0, queue->Push(shape.Make(ledger, 1, {})));
        std::atomic<int> rc{1};
        std::unique_ptr<IYxQueueItem> third = shape.Make(ledger, 2, {});
        std::thread producer([&] { rc = queue->Push(std::move(third)); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(1, rc.load());
        if (cancel)
            queue->Cancel();
        else
            queue->Close();
        producer.join();
        EXPECT_EQ(cancel ? YXPDB_E_QUEUE_CANCELLED : YXPDB_E_QUEUE_CLOSED, rc.load());
        ASSERT_TRUE(third != nullptr);
        EXPECT_EQ(eYxQueueItem_New, third->GetState());
        queue.reset();
        // Whatever was still in flight ended cancelled when the master went.
        EXPECT_EQ(eYxQueueItem_Cancelled, ledger.endState[0].load());
        EXPECT_EQ(eYxQueueItem_Cancelled, ledger.endState[1].load());
        EXPECT_EQ(0, ledger.processCalls[0].load());
    }
}

}  // namespace
