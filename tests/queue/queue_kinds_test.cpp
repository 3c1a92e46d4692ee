// Every worker kind under load: 100k items of random work through real
// threads. None lost, none duplicated, in-order kinds deliver in submission
// order, transports never overlap, the capacity is never exceeded.
#include "queue_test_items.h"

#include <algorithm>
#include <string>

using namespace queuetest;

namespace {

struct KindCase {
    const char* name;
    std::vector<SYxQueueStage> stages;
    bool ordered;  // the sink must see exactly 0, 1, 2, ...
};

SYxQueueStage St(EYxQueueWorkerKind kind, int threads) {
    SYxQueueStage s;
    s.eKind = kind;
    s.iThreads = threads;
    return s;
}

std::vector<KindCase> Cases() {
    return {
        {"ProcessInOrder", {St(eYxQueueWorker_ProcessInOrder, 2), St(eYxQueueWorker_TransportOutOfOrder, 1)}, true},
        {"ProcessOutOfOrder", {St(eYxQueueWorker_ProcessOutOfOrder, 2)}, false},
        {"TransportInOrder", {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_TransportInOrder, 1)}, true},
        {"TransportOutOfOrder",
         {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_TransportOutOfOrder, 1)},
         false},
        {"ProcessTransportInOrder", {St(eYxQueueWorker_ProcessTransportInOrder, 3)}, true},
        {"ProcessTransportOutOfOrder", {St(eYxQueueWorker_ProcessTransportOutOfOrder, 3)}, false},
        {"ProcessRemove", {St(eYxQueueWorker_ProcessRemove, 2)}, false},
        {"LongChain",
         {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_ProcessInOrder, 2),
          St(eYxQueueWorker_ProcessTransportOutOfOrder, 1), St(eYxQueueWorker_TransportInOrder, 1),
          St(eYxQueueWorker_ProcessRemove, 1)},
         false},
    };
}

class QueueKinds : public ::testing::TestWithParam<KindCase> {};

TEST_P(QueueKinds, HundredThousandItemsEachExactlyOnce) {
    const KindCase& c = GetParam();
    const std::size_t n = 100000;
    const int capacity = 8;
    Ledger ledger(n);
    ChainShape shape(c.stages);

    SYxQueueOptions options;
    options.iCapacity = capacity;
    options.stages = c.stages;
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
    ASSERT_EQ(0, queue->Start());

    std::mt19937_64 rng(12345);
    std::uint64_t capacityBreaches = 0;
    for (std::size_t id = 0; id < n; ++id) {
        ItemPlan plan;
        plan.processUs = RandomWorkUs(rng);
        ASSERT_EQ(0, queue->Push(shape.Make(ledger, id, plan)));
        // Pushing sequence `id` needs id + 1 - capacity items retired, and an
        // item counts as finished before it retires.
        if (id + 1 > static_cast<std::size_t>(capacity) && ledger.finished.load() < id + 1 - capacity)
            ++capacityBreaches;
    }
    ASSERT_EQ(0, queue->Wait());
    EXPECT_EQ(0u, capacityBreaches);

    SYxQueueStatistics stats;
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    EXPECT_EQ(n, stats.iPushed);
    EXPECT_EQ(n, stats.iRemoved);
    EXPECT_EQ(0u, stats.iCancelled);
    EXPECT_EQ(0u, stats.iFailed);
    EXPECT_EQ(0u, stats.iDepth);
    EXPECT_LE(stats.iHighWater, static_cast<std::uint64_t>(capacity));
    EXPECT_EQ(static_cast<std::uint64_t>(capacity), stats.iHighWater);
    ASSERT_EQ(c.stages.size(), stats.stages.size());
    for (const SYxQueueStageStatistics& s : stats.stages) {
        EXPECT_EQ(n, s.iItems);
        EXPECT_EQ(0u, s.iWaiting);
    }

    std::size_t processStages = 0, transportStages = 0;
    for (const SYxQueueStage& s : c.stages) {
        processStages += IsTransportKind(s.eKind) ? 0 : 1;
        transportStages += HasTransport(s.eKind) ? 1 : 0;
    }
    EXPECT_EQ(n * processStages, stats.iProcessed);
    EXPECT_EQ(n * transportStages, stats.iTransported);

    std::size_t wrongCalls = 0, wrongEnds = 0;
    for (std::size_t id = 0; id < n; ++id) {
        wrongCalls += ledger.processCalls[id].load() != static_cast<int>(processStages);
        wrongCalls += ledger.transportCalls[id].load() != static_cast<int>(transportStages);
        wrongEnds += ledger.destroyed[id].load() != 1 || ledger.endState[id].load() != eYxQueueItem_Done;
    }
    EXPECT_EQ(0u, wrongCalls);
    EXPECT_EQ(0u, wrongEnds);
    EXPECT_EQ(0, ledger.wrongStage.load());
    if (transportStages == 1) {
        EXPECT_EQ(0, ledger.overlaps.load());
    }

    ASSERT_EQ(n, ledger.sinkOrder.size());
    if (c.ordered) {
        std::size_t misplaced = 0;
        for (std::size_t i = 0; i < n; ++i)
            misplaced += ledger.sinkOrder[i] != i;
        EXPECT_EQ(0u, misplaced);
    } else {
        std::vector<std::uint64_t> sorted = ledger.sinkOrder;
        std::sort(sorted.begin(), sorted.end());
        std::size_t misplaced = 0;
        for (std::size_t i = 0; i < n; ++i)
            misplaced += sorted[i] != i;
        EXPECT_EQ(0u, misplaced);
    }
}

INSTANTIATE_TEST_SUITE_P(AllKinds, QueueKinds, ::testing::ValuesIn(Cases()),
                         [](const ::testing::TestParamInfo<KindCase>& info) { return std::string(info.param.name); });

// The out-of-order kinds really do let fast items overtake a slow one, and
// the in-order kinds hold them back; otherwise the ordering checks above
// would prove nothing.
TEST(QueueOrdering, SlowFirstItemIsOvertakenOnlyOutOfOrder) {
    for (EYxQueueWorkerKind kind : {eYxQueueWorker_ProcessTransportOutOfOrder, eYxQueueWorker_ProcessTransportInOrder}) {
        const std::size_t n = 50;
        Ledger ledger(n);
        SYxQueueOptions options;
        options.iCapacity = 16;
        options.stages = {St(kind, 2)};
        ChainShape shape(options.stages);
        std::unique_ptr<CYxQueueMaster> queue;
        ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
        ASSERT_EQ(0, queue->Start());
        for (std::size_t id = 0; id < n; ++id) {
            ItemPlan plan;
            plan.processUs = id == 0 ? 20000.0 : 1.0;
            ASSERT_EQ(0, queue->Push(shape.Make(ledger, id, plan)));
        }
        ASSERT_EQ(0, queue->Wait());
        ASSERT_EQ(n, ledger.sinkOrder.size());
        if (kind == eYxQueueWorker_ProcessTransportInOrder)
            EXPECT_EQ(0u, ledger.sinkOrder.front());
        else
            EXPECT_NE(0u, ledger.sinkOrder.front());
    }
}

}  // namespace
