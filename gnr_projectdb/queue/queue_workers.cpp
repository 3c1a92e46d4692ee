// The worker threads of the seven kinds. Every loop holds the engine's lock
// while it takes and hands on items, and releases it (handing retired items
// to their callbacks on the way) for the item's work.
#include "gnr_projectdb/queue/queue_engine.h"

namespace {

thread_local const CYxQueueEngine* t_workerOf = nullptr;

typedef std::chrono::steady_clock Clock;

std::uint64_t NsSince(Clock::time_point start) {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count());
}

bool HasTransport(EYxQueueWorkerKind kind) {
    return kind == eYxQueueWorker_ProcessTransportInOrder || kind == eYxQueueWorker_ProcessTransportOutOfOrder;
}

}  // namespace

bool CYxQueueEngine::OnWorkerThread() const {
    return t_workerOf == this;
}

void CYxQueueEngine::WorkerMain(Stage& stage) noexcept {
    t_workerOf = this;
    Bin bin;
    try {
        bin.reserve(m_capacity);
        Lock lock(m_mutex);
        if (stage.kind == eYxQueueWorker_TransportInOrder || stage.kind == eYxQueueWorker_TransportOutOfOrder)
            TransportLoop(stage, lock, bin);
        else
            ProcessLoop(stage, lock, bin);
        Release(lock, bin);
    } catch (...) {
        // Only the engine's own allocation can get here, before the thread
        // took any item: stop everything so that nobody waits for it.
        try {
            Lock lock(m_mutex);
            CancelLocked(YXPDB_E_GENERIC);
            Release(lock, bin);
        } catch (...) {
        }
    }
    t_workerOf = nullptr;
}

void CYxQueueEngine::Release(Lock& lock, Bin& bin) noexcept {
    DisposeCancelled(lock);
    lock.unlock();
    Dispose(bin);
}

IYxQueueItem* CYxQueueEngine::NextInput(Stage& stage, Lock& lock, Bin& bin) {
    for (;;) {
        if (m_cancelled)
            return nullptr;
        IYxQueueItem* item = nullptr;
        if (stage.kind == eYxQueueWorker_TransportInOrder) {
            item = stage.ordered.Take(stage.next);
            if (item != nullptr)
                ++stage.next;
        } else if (!stage.input.Empty()) {
            item = stage.input.Pop();
        }
        if (item != nullptr)
            return item;
        if (m_closed && m_inFlight == 0)
            return nullptr;
        if (!bin.empty() || !m_cancelBin.empty()) {
            // Retired items do not wait in this thread while it sleeps, and
            // nobody else may come to hand on the cancelled ones before it
            // wakes.
            Release(lock, bin);
            lock.lock();
            continue;
        }
        ++stage.sleepers;
        stage.wake.wait(lock);
        --stage.sleepers;
    }
}

void CYxQueueEngine::ProcessLoop(Stage& stage, Lock& lock, Bin& bin) {
    const bool lastWork = stage.index + 1 == m_stages.size() && !HasTransport(stage.kind);
    for (;;) {
        // Items this thread retired are handed on when it releases the lock
        // for its next piece of work, or before it sleeps.
        IYxQueueItem* item = NextInput(stage, lock, bin);
        if (item == nullptr)
            return;
        if (IsFailed(item)) {
            AfterProcess(stage, item, lock, bin);
            continue;
        }
        Release(lock, bin);
        const Clock::time_point start = Clock::now();
        int status = 0;
        try {
            status = item->Process(static_cast<int>(stage.index));
        } catch (...) {
            status = YXPDB_E_QUEUE_EXCEPTION;
        }
        const std::uint64_t ns = NsSince(start);
        lock.lock();
        stage.stats.iProcessNs += ns;
        if (status != 0) {
            Fail(stage, item, status, bin);
            if (m_policy == eYxQueueFailure_Stop)
                continue;
        } else {
            ++m_stats.iProcessed;
            if (!HasTransport(stage.kind))
                ++stage.stats.iItems;
        }
        if (m_cancelled) {
            RetireOnCancel(item, lastWork, bin);
            continue;
        }
        AfterProcess(stage, item, lock, bin);
    }
}

void CYxQueueEngine::TransportLoop(Stage& stage, Lock& lock, Bin& bin) {
    for (;;) {
        IYxQueueItem* item = NextInput(stage, lock, bin);
        if (item == nullptr)
            return;
        TransportOne(stage, item, lock, bin);
    }
}

void CYxQueueEngine::AfterProcess(Stage& stage, IYxQueueItem* item, Lock& lock, Bin& bin) {
    switch (stage.kind) {
    case eYxQueueWorker_ProcessInOrder:
        if (!PutOrdered(stage, item, bin))
            return;
        while (IYxQueueItem* next = stage.ordered.Take(stage.next)) {
            ++stage.next;
            Forward(stage, next, bin);
        }
        return;
    case eYxQueueWorker_ProcessTransportInOrder:
        if (PutOrdered(stage, item, bin))
            DrainTransports(stage, lock, bin);
        return;
    case eYxQueueWorker_ProcessTransportOutOfOrder:
        stage.pending.Push(item);
        DrainTransports(stage, lock, bin);
        return;
    default:
        Forward(stage, item, bin);
        return;
    }
}

bool CYxQueueEngine::PutOrdered(Stage& stage, IYxQueueItem* item, Bin& bin) {
    if (stage.ordered.Put(item))
        return true;
    // Cannot happen while at most `capacity` items are in flight; should it
    // ever, the item retires failed rather than being lost.
    Retire(item, eYxQueueItem_Failed, YXPDB_E_GENERIC, bin);
    return false;
}

void CYxQueueEngine::DrainTransports(Stage& stage, Lock& lock, Bin& bin) {
    // Whoever finds the transport turn free takes it and transports every
    // item that is ready, in order; the others go back to processing.
    if (stage.transporting)
        return;
    stage.transporting = true;
    while (!m_cancelled) {
        IYxQueueItem* item = nullptr;
        if (stage.kind == eYxQueueWorker_ProcessTransportInOrder) {
            item = stage.ordered.Take(stage.next);
            if (item == nullptr)
                break;
            ++stage.next;
        } else {
            if (stage.pending.Empty())
                break;
            item = stage.pending.Pop();
        }
        TransportOne(stage, item, lock, bin);
    }
    stage.transporting = false;
}

void CYxQueueEngine::TransportOne(Stage& stage, IYxQueueItem* item, Lock& lock, Bin& bin) {
    if (IsFailed(item)) {
        Forward(stage, item, bin);
        return;
    }
    Release(lock, bin);
    const Clock::time_point start = Clock::now();
    int status = 0;
    try {
        status = item->Transport(static_cast<int>(stage.index));
    } catch (...) {
        status = YXPDB_E_QUEUE_EXCEPTION;
    }
    const std::uint64_t ns = NsSince(start);
    lock.lock();
    stage.stats.iTransportNs += ns;
    if (status != 0) {
        Fail(stage, item, status, bin);
        if (m_policy == eYxQueueFailure_Stop)
            return;
    } else {
        ++m_stats.iTransported;
        ++stage.stats.iItems;
    }
    if (m_cancelled) {
        RetireOnCancel(item, stage.index + 1 == m_stages.size(), bin);
        return;
    }
    Forward(stage, item, bin);
}

void CYxQueueEngine::Forward(Stage& stage, IYxQueueItem* item, Bin& bin) {
    if (stage.index + 1 < m_stages.size()) {
        Deliver(stage.index + 1, item);
    } else if (IsFailed(item)) {
        Retire(item, eYxQueueItem_Failed, item->m_iStatus, bin);
    } else {
        Retire(item, eYxQueueItem_Done, 0, bin);
    }
}

void CYxQueueEngine::RetireOnCancel(IYxQueueItem* item, bool lastWorkDone, Bin& bin) {
    if (IsFailed(item))
        Retire(item, eYxQueueItem_Failed, item->m_iStatus, bin);
    else if (lastWorkDone)
        Retire(item, eYxQueueItem_Done, 0, bin);
    else
        Retire(item, eYxQueueItem_Cancelled, YXPDB_E_QUEUE_CANCELLED, bin);
}
