// Items and bookkeeping for the queue tests: items that burn a given amount
// of CPU time, and a ledger that records every call an item receives and how
// it ended, so that tests can check "exactly once" and ordering.
#pragma once

#include "gnr_projectdb/queue.h"
#include "spin_work.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <vector>

namespace queuetest {

using gnr_spin::Burn;

// What happened to every item of one run, indexed by the producer's id.
struct Ledger {
    explicit Ledger(std::size_t n)
        : processCalls(n), transportCalls(n), destroyed(n), cancelCalls(n), failCalls(n), endState(n) {}

    std::vector<std::atomic<int>> processCalls;
    std::vector<std::atomic<int>> transportCalls;
    std::vector<std::atomic<int>> destroyed;
    std::vector<std::atomic<int>> cancelCalls;
    std::vector<std::atomic<int>> failCalls;
    std::vector<std::atomic<int>> endState;  // state seen by the destructor
    // Items whose last piece of work finished (counted before the queue can
    // retire them).
    std::atomic<std::uint64_t> finished{0};
    // Sequence numbers in the order the sink saw them.
    std::mutex sinkMutex;
    std::vector<std::uint64_t> sinkOrder;
    // Set while a Transport call runs: transports must never overlap.
    std::atomic<bool> inTransport{false};
    std::atomic<int> overlaps{0};
    // Calls that saw a wrong stage index.
    std::atomic<int> wrongStage{0};
};

struct ItemPlan {
    double processUs = 0;       // work of stage 0
    int failStatus = 0;         // returned by Process of stage failStage
    bool throwInProcess = false;
    int failStage = 0;
    bool failTransport = false;  // Transport returns 99 instead
};

// An item whose work is described by its plan. `sinkStage` is the stage
// whose end counts as the item's arrival at the sink; `lastStage` the index
// of the final stage (finishing it makes the item "finished").
class CTestItem : public IYxQueueItem {
public:
    CTestItem(Ledger& ledger, std::size_t id, ItemPlan plan, int sinkStage, int lastStage,
              bool sinkIsTransport, bool lastIsTransport)
        : m_ledger(ledger), m_id(id), m_plan(plan), m_sinkStage(sinkStage), m_lastStage(lastStage),
          m_sinkIsTransport(sinkIsTransport), m_lastIsTransport(lastIsTransport) {}
    ~CTestItem() override {
        m_ledger.destroyed[m_id].fetch_add(1);
        m_ledger.endState[m_id].store(GetState());
    }
    std::size_t Id() const { return m_id; }

    int Process(int stage) override {
        if (stage < 0 || stage > m_lastStage)
            m_ledger.wrongStage.fetch_add(1);
        m_ledger.processCalls[m_id].fetch_add(1);
        // The planned work is done by the first stage; later ones only pass.
        if (stage == 0)
            Burn(m_plan.processUs);
        if (stage == m_plan.failStage) {
            if (m_plan.throwInProcess)
                throw std::runtime_error("item failure");
            if (m_plan.failStatus != 0)
                return m_plan.failStatus;
        }
        if (stage == m_sinkStage && !m_sinkIsTransport)
            Sink();
        if (stage == m_lastStage && !m_lastIsTransport)
            m_ledger.finished.fetch_add(1);
        return 0;
    }

    int Transport(int stage) override {
        if (m_ledger.inTransport.exchange(true))
            m_ledger.overlaps.fetch_add(1);
        m_ledger.transportCalls[m_id].fetch_add(1);
        if (stage < 0 || stage > m_lastStage)
            m_ledger.wrongStage.fetch_add(1);
        int status = 0;
        if (m_plan.failTransport) {
            status = 99;
        } else {
            if (stage == m_sinkStage && m_sinkIsTransport)
                Sink();
            if (stage == m_lastStage && m_lastIsTransport)
                m_ledger.finished.fetch_add(1);
        }
        m_ledger.inTransport.store(false);
        return status;
    }

private:
    void Sink() {
        std::lock_guard<std::mutex> lock(m_ledger.sinkMutex);
        m_ledger.sinkOrder.push_back(GetSequence());
    }

    Ledger& m_ledger;
    std::size_t m_id;
    ItemPlan m_plan;
    int m_sinkStage;
    int m_lastStage;
    bool m_sinkIsTransport;
    bool m_lastIsTransport;
};

// Random work of 0 to 50 us, most items short (0 to 5 us) so that 100k
// items stay quick, and a long one (2 ms) now and then.
inline double RandomWorkUs(std::mt19937_64& rng) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const std::uint64_t draw = rng();
    if (draw % 5000 == 0)
        return 2000.0;
    return (draw % 10 == 0 ? 50.0 : 5.0) * unit(rng);
}

inline bool IsTransportKind(EYxQueueWorkerKind kind) {
    return kind == eYxQueueWorker_TransportInOrder || kind == eYxQueueWorker_TransportOutOfOrder;
}

inline bool HasTransport(EYxQueueWorkerKind kind) {
    return IsTransportKind(kind) || kind == eYxQueueWorker_ProcessTransportInOrder ||
           kind == eYxQueueWorker_ProcessTransportOutOfOrder;
}

// Builds items for a chain: the sink is the last stage whose work runs.
struct ChainShape {
    explicit ChainShape(const std::vector<SYxQueueStage>& stages) {
        lastStage = static_cast<int>(stages.size()) - 1;
        lastIsTransport = HasTransport(stages.back().eKind);
        sinkStage = lastStage;
        sinkIsTransport = lastIsTransport;
    }
    std::unique_ptr<CTestItem> Make(Ledger& ledger, std::size_t id, const ItemPlan& plan) const {
        return std::make_unique<CTestItem>(ledger, id, plan, sinkStage, lastStage, sinkIsTransport,
                                           lastIsTransport);
    }
    int sinkStage = 0;
    int lastStage = 0;
    bool sinkIsTransport = false;
    bool lastIsTransport = false;
};

}  // namespace queuetest
