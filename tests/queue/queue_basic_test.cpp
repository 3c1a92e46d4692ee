// The master's contract outside of load: options checking, push timeouts and
// refusals, the states that calls are allowed in, callbacks that misbehave,
// and the statistics.
#include "queue_test_items.h"

#include <atomic>
#include <thread>

using namespace queuetest;

namespace {

SYxQueueStage St(EYxQueueWorkerKind kind, int threads) {
    SYxQueueStage s;
    s.eKind = kind;
    s.iThreads = threads;
    return s;
}

SYxQueueOptions Options(std::vector<SYxQueueStage> stages, int capacity = 4) {
    SYxQueueOptions options;
    options.iCapacity = capacity;
    options.stages = std::move(stages);
    return options;
}

TEST(QueueCreate, RejectsOptionsThatMakeNoQueue) {
    std::unique_ptr<CYxQueueMaster> queue;
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessRemove, 1)}), nullptr));
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, CYxQueueMaster::Create(Options({}), &queue));
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessRemove, 1)}, 0), &queue));
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessInOrder, -1)}), &queue));
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, CYxQueueMaster::Create(Options({St(eYxQueueWorker_TransportInOrder, 2)}), &queue));
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT,
              CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessRemove, 1), St(eYxQueueWorker_TransportInOrder, 1)}),
                                     &queue));
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT,
              CYxQueueMaster::Create(Options({St(static_cast<EYxQueueWorkerKind>(7), 1)}), &queue));
    SYxQueueOptions badPolicy = Options({St(eYxQueueWorker_ProcessRemove, 1)});
    badPolicy.eFailurePolicy = static_cast<EYxQueueFailurePolicy>(5);
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, CYxQueueMaster::Create(badPolicy, &queue));
    EXPECT_EQ(nullptr, queue);

    // Zero threads means one per hardware thread; a transport stage has one.
    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessInOrder, 0),
                                                 St(eYxQueueWorker_TransportOutOfOrder, 0)}),
                                        &queue));
    SYxQueueStatistics stats;
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    ASSERT_EQ(2u, stats.stages.size());
    EXPECT_GE(stats.stages[0].iThreads, 1);
    EXPECT_EQ(1, stats.stages[1].iThreads);
    EXPECT_EQ(eYxQueueWorker_TransportOutOfOrder, stats.stages[1].eKind);
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, queue->GetStatistics(nullptr));
}

TEST(QueuePush, TimeoutsAndRefusalsLeaveTheItemWithTheCaller) {
    Ledger ledger(8);
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessOutOfOrder, 1)}, 2), &queue));
    ChainShape shape({St(eYxQueueWorker_ProcessOutOfOrder, 1)});

    std::unique_ptr<IYxQueueItem> none;
    EXPECT_EQ(YXPDB_E_QUEUE_ARGUMENT, queue->Push(std::move(none)));

    // Not started yet: pushes are taken up to the capacity.
    std::unique_ptr<IYxQueueItem> first = shape.Make(ledger, 0, {});
    ASSERT_EQ(0, queue->Push(std::move(first), 0));
    EXPECT_EQ(nullptr, first);
    ASSERT_EQ(0, queue->Push(shape.Make(ledger, 1, {}), 0));

    std::unique_ptr<IYxQueueItem> extra = shape.Make(ledger, 2, {});
    EXPECT_EQ(YXPDB_E_QUEUE_TIMEOUT, queue->Push(std::move(extra), 0));
    ASSERT_NE(nullptr, extra);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(YXPDB_E_QUEUE_TIMEOUT, queue->Push(std::move(extra), 60));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(55));
    EXPECT_LT(waited, std::chrono::seconds(5));
    ASSERT_NE(nullptr, extra);
    EXPECT_EQ(eYxQueueItem_New, extra->GetState());

    // Once started, the blocked push gets its room as items finish.
    ASSERT_EQ(0, queue->Start());
    EXPECT_EQ(0, queue->Push(std::move(extra), 5000));
    EXPECT_EQ(nullptr, extra);
    queue->Close();
    std::unique_ptr<IYxQueueItem> late = shape.Make(ledger, 3, {});
    EXPECT_EQ(YXPDB_E_QUEUE_CLOSED, queue->Push(std::move(late)));
    ASSERT_NE(nullptr, late);
    EXPECT_EQ(0, queue->Wait());
    for (std::size_t id = 0; id < 3; ++id) {
        EXPECT_EQ(1, ledger.processCalls[id].load());
        EXPECT_EQ(eYxQueueItem_Done, ledger.endState[id].load());
    }
    // The sequence numbers follow the order of successful pushes.
    std::vector<std::uint64_t> sorted = ledger.sinkOrder;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ((std::vector<std::uint64_t>{0, 1, 2}), sorted);
}

// An item that holds its worker until the gate opens (or only item 0 passes).
class CGatedItem : public IYxQueueItem {
public:
    CGatedItem(const std::atomic<bool>& gate, bool free) : m_gate(gate), m_free(free) {}
    int Process(int) override {
        while (!m_free && !m_gate.load())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return 0;
    }

private:
    const std::atomic<bool>& m_gate;
    bool m_free;
};

// Blocked producers are woken in batches once a full queue has drained to
// half, but one waiting with a deadline gets the first slot that frees: it
// must not sit out its timeout while the others are still being worked on.
TEST(QueuePush, ProducerWithADeadlineGetsTheFirstFreeSlot) {
    std::atomic<bool> gate{false};
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessOutOfOrder, 4)}, 4), &queue));
    // Item 0 passes once started; 1 to 3 hold their workers.
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(0, queue->Push(std::make_unique<CGatedItem>(gate, i == 0), 0));
    std::atomic<int> rc{1};
    std::atomic<bool> returned{false};
    std::thread producer([&] {
        rc = queue->Push(std::make_unique<CGatedItem>(gate, true), 20000);
        returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(returned.load());
    ASSERT_EQ(0, queue->Start());
    const auto start = std::chrono::steady_clock::now();
    while (!returned.load() && std::chrono::steady_clock::now() - start < std::chrono::seconds(10))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(returned.load());
    EXPECT_EQ(0, rc.load());
    SYxQueueStatistics stats;
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    // Pushed while three items were still held.
    EXPECT_GE(stats.iDepth, 3u);
    gate = true;
    producer.join();
    EXPECT_EQ(0, queue->Wait());
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    EXPECT_EQ(5u, stats.iRemoved);
}

TEST(QueueStates, CallsOutOfTurn) {
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessRemove, 1)}), &queue));
    // Nothing pushed and never started: Wait has nothing to wait for.
    EXPECT_EQ(0, queue->Wait());
    EXPECT_EQ(YXPDB_E_QUEUE_STATE, queue->Start());

    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessRemove, 1)}), &queue));
    Ledger ledger(1);
    ChainShape shape({St(eYxQueueWorker_ProcessRemove, 1)});
    ASSERT_EQ(0, queue->Push(shape.Make(ledger, 0, {})));
    // Items that no worker will ever take: Wait refuses instead of hanging.
    EXPECT_EQ(YXPDB_E_QUEUE_STATE, queue->Wait());
    ASSERT_EQ(0, queue->Start());
    EXPECT_EQ(YXPDB_E_QUEUE_STATE, queue->Start());
    EXPECT_EQ(0, queue->Wait());
    EXPECT_EQ(0, queue->Wait());
    EXPECT_EQ(eYxQueueItem_Done, ledger.endState[0].load());

    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessRemove, 1)}), &queue));
    queue->Cancel();
    queue->Cancel();
    EXPECT_EQ(YXPDB_E_QUEUE_STATE, queue->Start());
    EXPECT_EQ(YXPDB_E_QUEUE_CANCELLED, queue->Wait());
}

// An item that asks its own master to wait is refused rather than deadlocked.
class WaitingItem : public IYxQueueItem {
public:
    explicit WaitingItem(CYxQueueMaster*& master, std::atomic<int>& seen) : m_master(master), m_seen(seen) {}
    int Process(int) override {
        m_seen = m_master->Wait();
        return 0;
    }

private:
    CYxQueueMaster*& m_master;
    std::atomic<int>& m_seen;
};

TEST(QueueStates, WaitFromAWorkerIsRefused) {
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(Options({St(eYxQueueWorker_ProcessTransportInOrder, 1)}), &queue));
    CYxQueueMaster* master = queue.get();
    std::atomic<int> seen{1};
    ASSERT_EQ(0, queue->Start());
    ASSERT_EQ(0, queue->Push(std::make_unique<WaitingItem>(master, seen)));
    EXPECT_EQ(0, queue->Wait());
    EXPECT_EQ(YXPDB_E_QUEUE_STATE, seen.load());
}

// Callbacks that throw do not take the worker or the master down; the
// destructor of a master never started hands its items to the cancel callback.
TEST(QueueCallbacks, ThrowingCallbacksAndDestroyingUnstarted) {
    Ledger ledger(20);
    std::atomic<int> failedCalls{0}, cancelledCalls{0};
    SYxQueueOptions options = Options({St(eYxQueueWorker_ProcessOutOfOrder, 2)}, 20);
    options.fnFailed = [&](std::unique_ptr<IYxQueueItem>) {
        ++failedCalls;
        throw std::runtime_error("callback");
    };
    options.fnCancelled = [&](std::unique_ptr<IYxQueueItem>) {
        ++cancelledCalls;
        throw 5;
    };
    ChainShape shape(options.stages);
    {
        std::unique_ptr<CYxQueueMaster> queue;
        ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
        ASSERT_EQ(0, queue->Start());
        for (std::size_t id = 0; id < 10; ++id) {
            ItemPlan plan;
            plan.failStatus = id % 2 ? 3 : 0;
            ASSERT_EQ(0, queue->Push(shape.Make(ledger, id, plan)));
        }
        EXPECT_EQ(0, queue->Wait());
        EXPECT_EQ(5, failedCalls.load());
    }
    {
        std::unique_ptr<CYxQueueMaster> queue;
        ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
        for (std::size_t id = 10; id < 20; ++id)
            ASSERT_EQ(0, queue->Push(shape.Make(ledger, id, {})));
    }
    EXPECT_EQ(10, cancelledCalls.load());
    for (std::size_t id = 0; id < 20; ++id)
        EXPECT_EQ(1, ledger.destroyed[id].load()) << id;
    for (std::size_t id = 10; id < 20; ++id)
        EXPECT_EQ(eYxQueueItem_Cancelled, ledger.endState[id].load());
}

// Time per stage is measured where the work runs.
TEST(QueueStatistics, TimePerStage) {
    const std::size_t n = 40;
    Ledger ledger(n);
    std::unique_ptr<CYxQueueMaster> queue;
    std::vector<SYxQueueStage> stages = {St(eYxQueueWorker_ProcessInOrder, 2), St(eYxQueueWorker_TransportInOrder, 1)};
    ASSERT_EQ(0, CYxQueueMaster::Create(Options(stages), &queue));
    ChainShape shape(stages);
    ASSERT_EQ(0, queue->Start());
    for (std::size_t id = 0; id < n; ++id) {
        ItemPlan plan;
        plan.processUs = 500.0;
        ASSERT_EQ(0, queue->Push(shape.Make(ledger, id, plan)));
    }
    ASSERT_EQ(0, queue->Wait());
    SYxQueueStatistics stats;
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    // 40 items of 500 us each: at least 20 ms of processing in stage 0.
    EXPECT_GE(stats.stages[0].iProcessNs, 20u * 1000 * 1000 * 9 / 10);
    EXPECT_EQ(0u, stats.stages[0].iTransportNs);
    EXPECT_EQ(0u, stats.stages[1].iProcessNs);
    EXPECT_EQ(n, stats.iProcessed);
    EXPECT_EQ(n, stats.iTransported);
    EXPECT_EQ(n, stats.iRemoved);
}

}  // namespace
