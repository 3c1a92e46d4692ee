// Failing items under both policies: statuses kept, exceptions caught,
// in-order stages letting failed items pass in their place, the stop policy
// cancelling the rest.
#include "queue_test_items.h"

#include <set>

using namespace queuetest;

namespace {

SYxQueueStage St(EYxQueueWorkerKind kind, int threads) {
    SYxQueueStage s;
    s.eKind = kind;
    s.iThreads = threads;
    return s;
}

struct Handlers {
    std::mutex mutex;
    std::vector<std::pair<std::size_t, int>> failed;  // id, status
    std::vector<std::size_t> cancelled;
    void Install(SYxQueueOptions& options) {
        options.fnFailed = [this](std::unique_ptr<IYxQueueItem> item) {
            EXPECT_EQ(eYxQueueItem_Failed, item->GetState());
            std::lock_guard<std::mutex> lock(mutex);
            failed.emplace_back(static_cast<CTestItem*>(item.get())->Id(), item->GetStatus());
        };
        options.fnCancelled = [this](std::unique_ptr<IYxQueueItem> item) {
            std::lock_guard<std::mutex> lock(mutex);
            cancelled.push_back(static_cast<CTestItem*>(item.get())->Id());
        };
    }
};

ItemPlan PlanFor(std::size_t id, int failStage) {
    ItemPlan plan;
    plan.processUs = static_cast<double>(id % 13);
    plan.failStage = failStage;
    if (id % 10 == 3)
        plan.failStatus = 7;
    if (id % 10 == 7)
        plan.throwInProcess = true;
    if (id % 10 == 9)
        plan.failTransport = true;
    return plan;
}

// Under "go on", failures in the first stage and in the transport skip the
// rest of the item's work; the in-order sink still sees every other item,
// in order.
TEST(QueueFailure, ContinuePolicyKeepsStatusesAndOrder) {
    const std::size_t n = 5000;
    Ledger ledger(n);
    Handlers handlers;
    SYxQueueOptions options;
    options.iCapacity = 6;
    options.stages = {St(eYxQueueWorker_ProcessOutOfOrder, 2), St(eYxQueueWorker_ProcessInOrder, 2),
                      St(eYxQueueWorker_TransportInOrder, 1)};
    handlers.Install(options);
    ChainShape shape(options.stages);
    std::unique_ptr<CYxQueueMaster> queue;
    ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
    ASSERT_EQ(0, queue->Start());
    for (std::size_t id = 0; id < n; ++id)
        ASSERT_EQ(0, queue->Push(shape.Make(ledger, id, PlanFor(id, 0))));
    EXPECT_EQ(0, queue->Wait());

    std::set<std::size_t> expectedFailures;
    std::vector<std::uint64_t> expectedSink;
    for (std::size_t id = 0; id < n; ++id) {
        const int mod = static_cast<int>(id % 10);
        if (mod == 3 || mod == 7 || mod == 9)
            expectedFailures.insert(id);
        else
            expectedSink.push_back(id);
        // A failure in stage 0 skips stage 1 and the transport.
        const bool early = mod == 3 || mod == 7;
        EXPECT_EQ(early ? 1 : 2, ledger.processCalls[id].load()) << id;
        EXPECT_EQ(early ? 0 : 1, ledger.transportCalls[id].load()) << id;
        EXPECT_EQ(1, ledger.destroyed[id].load()) << id;
    }
    EXPECT_EQ(expectedSink, ledger.sinkOrder);
    ASSERT_EQ(expectedFailures.size(), handlers.failed.size());
    for (const auto& f : handlers.failed) {
        EXPECT_TRUE(expectedFailures.count(f.first)) << f.first;
        const int mod = static_cast<int>(f.first % 10);
        EXPECT_EQ(mod == 3 ? 7 : mod == 7 ? YXPDB_E_QUEUE_EXCEPTION : 99, f.second) << f.first;
    }
    EXPECT_TRUE(handlers.cancelled.empty());

    SYxQueueStatistics stats;
    ASSERT_EQ(0, queue->GetStatistics(&stats));
    EXPECT_EQ(expectedFailures.size(), stats.iFailed);
    EXPECT_EQ(expectedSink.size(), stats.iRemoved);
    EXPECT_EQ(0u, stats.iCancelled);
    EXPECT_EQ(n - 2 * (n / 10), stats.stages[0].iItems);
    EXPECT_EQ(2 * (n / 10), stats.stages[0].iFailed);
    EXPECT_EQ(n / 10, stats.stages[2].iFailed);
}

// Under "stop", the first failure cancels the master: Wait reports the
// failing status, the failed item goes to the failure callback, everything
// else not done to the cancel callback, and further pushes are refused.
TEST(QueueFailure, StopPolicyCancelsTheRest) {
    for (EYxQueueWorkerKind kind : {eYxQueueWorker_ProcessTransportInOrder, eYxQueueWorker_ProcessOutOfOrder,
                                    eYxQueueWorker_ProcessRemove}) {
        const std::size_t n = 3000, failing = 1000;
        Ledger ledger(n);
        Handlers handlers;
        SYxQueueOptions options;
        options.iCapacity = 16;
        options.eFailurePolicy = eYxQueueFailure_Stop;
        options.stages = {St(kind, 2)};
        if (kind == eYxQueueWorker_ProcessOutOfOrder)
            options.stages.push_back(St(eYxQueueWorker_TransportInOrder, 1));
        handlers.Install(options);
        ChainShape shape(options.stages);
        std::unique_ptr<CYxQueueMaster> queue;
        ASSERT_EQ(0, CYxQueueMaster::Create(options, &queue));
        ASSERT_EQ(0, queue->Start());
        std::size_t accepted = 0;
        int refusal = 0;
        for (std::size_t id = 0; id < n; ++id) {
            ItemPlan plan;
            plan.processUs = 5.0;
            if (id == failing)
                plan.failStatus = 42;
            const int rc = queue->Push(shape.Make(ledger, id, plan));
            if (rc != 0) {
                refusal = rc;
                break;
            }
            ++accepted;
        }
        EXPECT_EQ(42, queue->Wait());
        EXPECT_TRUE(queue->IsCancelled());
        EXPECT_EQ(YXPDB_E_QUEUE_CANCELLED, refusal);
        EXPECT_LT(accepted, n);

        ASSERT_EQ(1u, handlers.failed.size());
        EXPECT_EQ(failing, handlers.failed[0].first);
        EXPECT_EQ(42, handlers.failed[0].second);
        SYxQueueStatistics stats;
        ASSERT_EQ(0, queue->GetStatistics(&stats));
        EXPECT_EQ(accepted, stats.iPushed);
        EXPECT_EQ(accepted, stats.iRemoved + stats.iCancelled + stats.iFailed);
        EXPECT_EQ(handlers.cancelled.size(), stats.iCancelled);
        std::size_t wrong = 0;
        for (std::size_t id = 0; id < accepted; ++id) {
            wrong += ledger.destroyed[id].load() != 1;
            const int state = ledger.endState[id].load();
            wrong += id == failing ? state != eYxQueueItem_Failed
                                   : state != eYxQueueItem_Done && state != eYxQueueItem_Cancelled;
        }
        EXPECT_EQ(0u, wrong);
        // Items before the failing one are ahead of it in an in-order sink.
        if (kind != eYxQueueWorker_ProcessRemove) {
            for (std::size_t i = 0; i < ledger.sinkOrder.size(); ++i)
                EXPECT_EQ(i, ledger.sinkOrder[i]);
        }
    }
}

}  // namespace
