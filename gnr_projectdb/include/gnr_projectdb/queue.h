/// \file
/// The parallel processing queue: a queue master that moves items through a
/// fixed chain of stages, each stage served by worker threads of one kind.
///
/// Items are pushed by any number of producer threads; each successful Push
/// gives the item the next sequence number (0, 1, 2, ...), which is the
/// "submission order" that the in-order stages keep. At most `capacity` items
/// are in flight (pushed and not yet retired); Push blocks, or fails after
/// its timeout, while the queue is full. An item retires exactly once, in one
/// of three ways: done (it went through every stage and is dropped), failed
/// (its work returned a non-zero status or threw), or cancelled (the master
/// was cancelled before the item was done).
///
/// Stage guarantees (N = the stage's thread count):
///   ProcessInOrder        N threads process in parallel; items leave in submission order.
///   ProcessOutOfOrder     N threads process in parallel; items leave as they finish.
///   TransportInOrder      1 thread transports, one item at a time, in submission order.
///   TransportOutOfOrder   1 thread transports, one item at a time, in arrival order.
///   ProcessTransportInOrder     N threads process in parallel; transports never overlap
///                               and run in submission order, each by whichever thread
///                               completed the next item.
///   ProcessTransportOutOfOrder  N threads process in parallel; transports never overlap
///                               and run in completion order.
///   ProcessRemove         N threads process in parallel, then drop the item; last stage only.
/// A stage calls the item's work with the index of the stage in the chain;
/// an item leaving the last stage is done and is destroyed by the master.
///
/// Threads: every member function of CYxQueueMaster may be called from any
/// thread at the same time. Item work and the callbacks run on the master's
/// worker threads, except that Cancel hands the items it takes out of the
/// stage buffers to the cancel callback on the thread that calls Cancel.
/// Item work and callbacks may call Cancel, Close, GetStatistics and a Push
/// with a timeout of 0; they must not call Wait or destroy the master. The
/// callbacks may run on several threads at once. No exception escapes a
/// worker thread: an exception from an item's work becomes the item's
/// failure (YXPDB_E_QUEUE_EXCEPTION); one from a callback is swallowed.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// The enums are int-sized with every int value valid, so that Create can
/// refuse any value a caller passes.
enum EYxQueueWorkerKind : int {
    eYxQueueWorker_ProcessInOrder = 0,
    eYxQueueWorker_ProcessOutOfOrder = 1,
    eYxQueueWorker_TransportInOrder = 2,
    eYxQueueWorker_TransportOutOfOrder = 3,
    eYxQueueWorker_ProcessTransportInOrder = 4,
    eYxQueueWorker_ProcessTransportOutOfOrder = 5,
    eYxQueueWorker_ProcessRemove = 6,
};

enum EYxQueueItemState : int {
    eYxQueueItem_New = 0,        ///< not pushed yet
    eYxQueueItem_Queued = 1,     ///< pushed, not retired
    eYxQueueItem_Done = 2,       ///< went through every stage
    eYxQueueItem_Failed = 3,     ///< its work failed; GetStatus says how
    eYxQueueItem_Cancelled = 4,  ///< the master was cancelled before it was done
};

enum EYxQueueFailurePolicy : int {
    /// A failed item skips the remaining stages' work (in-order stages still
    /// let it pass in its place) and retires as failed; the others go on.
    eYxQueueFailure_Continue = 0,
    /// The first failure cancels the master: the failed item retires as
    /// failed, every other item not yet done as cancelled.
    eYxQueueFailure_Stop = 1,
};

/// One unit of work. Derive from it and implement the stages' work. The
/// master owns a pushed item until it retires; sequence, state and status are
/// set by the master and may be read by the item's own work, by the callbacks,
/// and by the owner once the item is back in its hands.
class GNR_API IYxQueueItem {
public:
    IYxQueueItem() = default;
    IYxQueueItem(const IYxQueueItem&) = delete;
    IYxQueueItem& operator=(const IYxQueueItem&) = delete;
    virtual ~IYxQueueItem();

    /// The work of a processing stage (every kind except the two transport
    /// kinds). 0 for success; any other value fails the item with that status.
    virtual int Process(int iStage) = 0;
    /// The work of a transporting stage (the two transport kinds and the two
    /// process-and-transport kinds): move the item on, for example to a
    /// database writer. 0 for success; any other value fails the item. The
    /// default does nothing and returns 0.
    virtual int Transport(int iStage);

    /// Position in submission order; 0 before the item is pushed.
    std::uint64_t GetSequence() const noexcept { return m_iSequence; }
    EYxQueueItemState GetState() const noexcept { return m_eState; }
    /// 0, or the status of the failing work; YXPDB_E_QUEUE_CANCELLED once
    /// cancelled.
    int GetStatus() const noexcept { return m_iStatus; }

private:
    friend class CYxQueueEngine;
    std::uint64_t m_iSequence = 0;
    EYxQueueItemState m_eState = eYxQueueItem_New;
    int m_iStatus = 0;
};

/// Receives an item that retires cancelled or failed; it may keep the item
/// or let it go. Never called twice for one item.
typedef std::function<void(std::unique_ptr<IYxQueueItem>)> FnYxQueueItemHandler;

struct SYxQueueStage {
    EYxQueueWorkerKind eKind = eYxQueueWorker_ProcessOutOfOrder;
    /// Worker threads of the stage: 1 or more; 0 for one per hardware thread.
    /// The two transport kinds take exactly 1 (0 is read as 1).
    int iThreads = 0;
};

struct SYxQueueOptions {
    /// Most items in flight at once; 1 or more.
    int iCapacity = 64;
    EYxQueueFailurePolicy eFailurePolicy = eYxQueueFailure_Continue;
    /// The chain, first stage first; at least one stage.
    std::vector<SYxQueueStage> stages;
    /// Optional: receives each cancelled item (otherwise it is destroyed).
    FnYxQueueItemHandler fnCancelled;
    /// Optional: receives each failed item (otherwise it is destroyed).
    FnYxQueueItemHandler fnFailed;
};

struct SYxQueueStageStatistics {
    EYxQueueWorkerKind eKind = eYxQueueWorker_ProcessOutOfOrder;
    int iThreads = 0;
    std::uint64_t iItems = 0;          ///< items that left the stage with their work done
    std::uint64_t iFailed = 0;         ///< items whose work failed in this stage
    std::uint64_t iWaiting = 0;        ///< items now waiting in the stage's buffers
    std::uint64_t iProcessNs = 0;      ///< time spent in Process calls
    std::uint64_t iTransportNs = 0;    ///< time spent in Transport calls
};

struct SYxQueueStatistics {
    std::uint64_t iPushed = 0;
    std::uint64_t iProcessed = 0;      ///< successful Process calls, all stages
    std::uint64_t iTransported = 0;    ///< successful Transport calls, all stages
    std::uint64_t iRemoved = 0;        ///< items done and dropped
    std::uint64_t iCancelled = 0;
    std::uint64_t iFailed = 0;
    std::uint64_t iDepth = 0;          ///< items in flight now
    std::uint64_t iHighWater = 0;      ///< most items in flight at once so far
    std::vector<SYxQueueStageStatistics> stages;
};

class CYxQueueEngine;

class GNR_API CYxQueueMaster {
public:
    /// Checks the options and makes a master that is not started yet.
    ///   0 and *out set; YXPDB_E_QUEUE_ARGUMENT for a null out, no stages,
    ///   a capacity below 1, a negative thread count, more than one thread on
    ///   a transport stage, ProcessRemove before the last stage, or an unknown
    ///   kind; YXPDB_E_GENERIC when memory runs out. *out is left alone on
    ///   failure.
    static int Create(const SYxQueueOptions& options, std::unique_ptr<CYxQueueMaster>* out);
    /// Cancels what is not done and waits for the workers; never throws. Not
    /// to be run by the master's own worker threads.
    ~CYxQueueMaster();
    CYxQueueMaster(const CYxQueueMaster&) = delete;
    CYxQueueMaster& operator=(const CYxQueueMaster&) = delete;

    /// Starts the worker threads. Items may be pushed before it.
    ///   0; YXPDB_E_QUEUE_STATE when already started or cancelled;
    ///   YXPDB_E_THREAD when a thread cannot be started (the master is then
    ///   cancelled and the threads already running end).
    int Start();
    /// Hands an item to the master. timeoutMs < 0 waits as long as the queue
    /// is full, 0 does not wait, > 0 waits at most that many milliseconds.
    ///   0: the master owns the item and *item is null.
    ///   YXPDB_E_QUEUE_ARGUMENT (null item), YXPDB_E_QUEUE_TIMEOUT,
    ///   YXPDB_E_QUEUE_CLOSED, YXPDB_E_QUEUE_CANCELLED: the item stays in
    ///   *item, untouched. A Push blocked when the master is closed or
    ///   cancelled returns at once.
    int Push(std::unique_ptr<IYxQueueItem>&& item, int timeoutMs = -1);
    /// No more items: later pushes fail with YXPDB_E_QUEUE_CLOSED; the workers
    /// finish the items in flight and end. Idempotent.
    void Close();
    /// Hands every item in flight that is not done to the cancel callback,
    /// exactly once: those waiting in the stages now, and those being worked
    /// on as soon as their current call returns. Workers end promptly and
    /// blocked pushes return. Idempotent.
    void Cancel();
    /// Closes the master and waits until the workers have ended and every
    /// item has retired.
    ///   0 when every item is done or, under eYxQueueFailure_Continue, some
    ///   failed; the failing item's status when eYxQueueFailure_Stop stopped
    ///   the master; YXPDB_E_QUEUE_CANCELLED after Cancel;
    ///   YXPDB_E_QUEUE_STATE when called from a worker thread, or when the
    ///   master was never started and still holds items.
    /// Later calls return the same result.
    int Wait();
    /// A snapshot of the counters. 0, or YXPDB_E_QUEUE_ARGUMENT for a null
    /// out (nothing written).
    int GetStatistics(SYxQueueStatistics* out) const;
    bool IsCancelled() const;

private:
    explicit CYxQueueMaster(std::unique_ptr<CYxQueueEngine> engine);
    std::unique_ptr<CYxQueueEngine> m_engine;
};
