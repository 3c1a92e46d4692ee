// The queue master's engine: the stages, their buffers and worker threads,
// and the counters. One mutex guards all shared state; item work and the
// callbacks always run with it released.
#pragma once

#include "gnr_projectdb/queue.h"
#include "gnr_projectdb/queue/queue_buffers.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

class CYxQueueEngine {
public:
    // Throws std::bad_alloc; the options must have been checked.
    explicit CYxQueueEngine(const SYxQueueOptions& options);
    ~CYxQueueEngine();

    static int CheckOptions(const SYxQueueOptions& options);

    int Start();
    int Push(std::unique_ptr<IYxQueueItem>& item, int timeoutMs);
    void Close();
    void Cancel();
    int Wait();
    int GetStatistics(SYxQueueStatistics* out) const;
    bool IsCancelled() const;

private:
    struct Stage {
        EYxQueueWorkerKind kind = eYxQueueWorker_ProcessOutOfOrder;
        int threads = 1;
        std::size_t index = 0;
        gnr::queue::CFifo input;            // every kind but TransportInOrder
        gnr::queue::CSequenceRing ordered;  // TransportInOrder: input; in-order processing: output
        gnr::queue::CFifo pending;          // ProcessTransportOutOfOrder: processed, not transported
        std::uint64_t next = 0;             // next sequence number to leave (in-order kinds)
        bool transporting = false;          // a thread holds the stage's transport turn
        std::condition_variable wake;
        int sleepers = 0;
        SYxQueueStageStatistics stats;
    };
    // Items retired under the lock, disposed of after it is released.
    typedef std::vector<IYxQueueItem*> Bin;
    typedef std::unique_lock<std::mutex> Lock;

    // Worker loops (queue_workers.cpp).
    void WorkerMain(Stage& stage) noexcept;
    void ProcessLoop(Stage& stage, Lock& lock, Bin& bin);
    void TransportLoop(Stage& stage, Lock& lock, Bin& bin);
    void AfterProcess(Stage& stage, IYxQueueItem* item, Lock& lock, Bin& bin);
    void DrainTransports(Stage& stage, Lock& lock, Bin& bin);
    void TransportOne(Stage& stage, IYxQueueItem* item, Lock& lock, Bin& bin);
    // The stage's next item, or null when the worker is to end; hands on
    // the retired items in `bin` before it sleeps.
    IYxQueueItem* NextInput(Stage& stage, Lock& lock, Bin& bin);
    bool PutOrdered(Stage& stage, IYxQueueItem* item, Bin& bin);
    void Forward(Stage& stage, IYxQueueItem* item, Bin& bin);
    void RetireOnCancel(IYxQueueItem* item, bool lastWorkDone, Bin& bin);
    // Hands retired items on and releases the lock.
    void Release(Lock& lock, Bin& bin) noexcept;
    bool OnWorkerThread() const;

    // Movement and retirement, lock held (queue_engine.cpp).
    void Deliver(std::size_t stageIndex, IYxQueueItem* item);
    void Retire(IYxQueueItem* item, EYxQueueItemState state, int status, Bin& bin);
    void Fail(Stage& stage, IYxQueueItem* item, int status, Bin& bin);
    void CancelLocked(int reason);
    void Dispose(Bin& bin) noexcept;
    void DisposeCancelled(Lock& lock) noexcept;
    void NotifyAllLocked();

    static bool IsFailed(const IYxQueueItem* item) { return item->m_eState == eYxQueueItem_Failed; }

    const std::size_t m_capacity;
    const EYxQueueFailurePolicy m_policy;
    const FnYxQueueItemHandler m_fnCancelled;
    const FnYxQueueItemHandler m_fnFailed;
    std::vector<std::unique_ptr<Stage>> m_stages;

    mutable std::mutex m_mutex;
    std::condition_variable m_producerWake;
    std::condition_variable m_doneWake;
    int m_producersWaiting = 0;
    // Producers waiting with a deadline: woken by every retirement.
    int m_timedProducersWaiting = 0;
    // Producers waiting without one are woken once the items in flight have
    // fallen to this level, so that a full queue costs one wake-up per
    // refill rather than one per item.
    const std::size_t m_refillLevel;
    bool m_started = false;
    bool m_closed = false;
    bool m_cancelled = false;
    int m_result = 0;
    std::uint64_t m_nextSequence = 0;
    std::uint64_t m_inFlight = 0;
    // Items cancelled under the lock, waiting to be handed to the callback;
    // sized to the capacity up front.
    Bin m_cancelBin;
    // Cancelled items being handed to the callback outside the lock.
    std::uint64_t m_disposing = 0;
    SYxQueueStatistics m_stats;

    std::mutex m_joinMutex;
    std::vector<std::thread> m_threads;
    bool m_joined = false;
};
