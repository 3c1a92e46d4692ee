// The engine's life cycle: options, start, push, close, cancel, wait, and
// how items move between stages and retire.
#include "gnr_projectdb/queue/queue_engine.h"

#include <algorithm>
#include <system_error>

namespace {

bool IsTransportOnly(EYxQueueWorkerKind kind) {
    return kind == eYxQueueWorker_TransportInOrder || kind == eYxQueueWorker_TransportOutOfOrder;
}

bool HasOrderedRing(EYxQueueWorkerKind kind) {
    return kind == eYxQueueWorker_TransportInOrder || kind == eYxQueueWorker_ProcessInOrder ||
           kind == eYxQueueWorker_ProcessTransportInOrder;
}

int ThreadsOf(const SYxQueueStage& stage) {
    if (IsTransportOnly(stage.eKind))
        return 1;
    if (stage.iThreads > 0)
        return stage.iThreads;
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

}  // namespace

int CYxQueueEngine::CheckOptions(const SYxQueueOptions& options) {
    if (options.iCapacity < 1 || options.stages.empty())
        return YXPDB_E_QUEUE_ARGUMENT;
    if (options.eFailurePolicy != eYxQueueFailure_Continue && options.eFailurePolicy != eYxQueueFailure_Stop)
        return YXPDB_E_QUEUE_ARGUMENT;
    for (std::size_t i = 0; i < options.stages.size(); ++i) {
        const SYxQueueStage& stage = options.stages[i];
        if (stage.eKind < eYxQueueWorker_ProcessInOrder || stage.eKind > eYxQueueWorker_ProcessRemove)
            return YXPDB_E_QUEUE_ARGUMENT;
        if (stage.iThreads < 0 || (IsTransportOnly(stage.eKind) && stage.iThreads > 1))
            return YXPDB_E_QUEUE_ARGUMENT;
        if (stage.eKind == eYxQueueWorker_ProcessRemove && i + 1 != options.stages.size())
            return YXPDB_E_QUEUE_ARGUMENT;
    }
    return 0;
}

CYxQueueEngine::CYxQueueEngine(const SYxQueueOptions& options)
    : m_capacity(static_cast<std::size_t>(options.iCapacity)),
      m_policy(options.eFailurePolicy),
      m_fnCancelled(options.fnCancelled),
      m_fnFailed(options.fnFailed),
      m_refillLevel(m_capacity - std::max<std::size_t>(1, m_capacity / 2)) {
    for (std::size_t i = 0; i < options.stages.size(); ++i) {
        auto stage = std::make_unique<Stage>();
        stage->kind = options.stages[i].eKind;
        stage->threads = ThreadsOf(options.stages[i]);
        stage->index = i;
        if (stage->kind != eYxQueueWorker_TransportInOrder)
            stage->input.Reserve(m_capacity);
        if (HasOrderedRing(stage->kind))
            stage->ordered.Reserve(m_capacity);
        if (stage->kind == eYxQueueWorker_ProcessTransportOutOfOrder)
            stage->pending.Reserve(m_capacity);
        stage->stats.eKind = stage->kind;
        stage->stats.iThreads = stage->threads;
        m_stages.push_back(std::move(stage));
    }
    m_cancelBin.reserve(m_capacity);
    m_stats.stages.reserve(m_stages.size());
}

CYxQueueEngine::~CYxQueueEngine() {
    Cancel();
    Wait();
    // Never started: nothing else hands the cancelled items back.
    Lock lock(m_mutex);
    DisposeCancelled(lock);
}

int CYxQueueEngine::Start() {
    std::lock_guard<std::mutex> join(m_joinMutex);
    {
        Lock lock(m_mutex);
        if (m_started || m_cancelled || m_joined)
            return YXPDB_E_QUEUE_STATE;
        m_started = true;
    }
    try {
        for (auto& stage : m_stages) {
            for (int t = 0; t < stage->threads; ++t) {
                Stage* s = stage.get();
                m_threads.emplace_back([this, s] { WorkerMain(*s); });
            }
        }
    } catch (...) {
        Cancel();
        return YXPDB_E_THREAD;
    }
    return 0;
}

int CYxQueueEngine::Push(std::unique_ptr<IYxQueueItem>& item, int timeoutMs) {
    if (!item)
        return YXPDB_E_QUEUE_ARGUMENT;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
    Lock lock(m_mutex);
    for (;;) {
        if (m_cancelled)
            return YXPDB_E_QUEUE_CANCELLED;
        if (m_closed)
            return YXPDB_E_QUEUE_CLOSED;
        if (m_inFlight < m_capacity)
            break;
        if (timeoutMs == 0)
            return YXPDB_E_QUEUE_TIMEOUT;
        ++m_producersWaiting;
        if (timeoutMs < 0) {
            m_producerWake.wait(lock);
        } else {
            ++m_timedProducersWaiting;
            const std::cv_status waited = m_producerWake.wait_until(lock, deadline);
            --m_timedProducersWaiting;
            if (waited == std::cv_status::timeout) {
                --m_producersWaiting;
                if (!m_cancelled && !m_closed && m_inFlight < m_capacity)
                    break;
                return m_cancelled ? YXPDB_E_QUEUE_CANCELLED
                                   : m_closed ? YXPDB_E_QUEUE_CLOSED : YXPDB_E_QUEUE_TIMEOUT;
            }
        }
        --m_producersWaiting;
    }
    IYxQueueItem* raw = item.release();
    raw->m_iSequence = m_nextSequence++;
    raw->m_eState = eYxQueueItem_Queued;
    raw->m_iStatus = 0;
    ++m_inFlight;
    ++m_stats.iPushed;
    m_stats.iHighWater = std::max(m_stats.iHighWater, m_inFlight);
    Deliver(0, raw);
    // A slot freed by a retirement woke one producer; pass on what is left.
    if (m_producersWaiting > 0 && m_inFlight < m_capacity)
        m_producerWake.notify_one();
    return 0;
}

void CYxQueueEngine::Close() {
    Lock lock(m_mutex);
    if (m_closed)
        return;
    m_closed = true;
    NotifyAllLocked();
}

void CYxQueueEngine::Cancel() {
    Lock lock(m_mutex);
    CancelLocked(YXPDB_E_QUEUE_CANCELLED);
    DisposeCancelled(lock);
}

bool CYxQueueEngine::IsCancelled() const {
    Lock lock(m_mutex);
    return m_cancelled;
}

int CYxQueueEngine::Wait() {
    if (OnWorkerThread())
        return YXPDB_E_QUEUE_STATE;
    Close();
    std::lock_guard<std::mutex> join(m_joinMutex);
    {
        Lock lock(m_mutex);
        if (!m_started && m_inFlight > 0 && !m_cancelled)
            return YXPDB_E_QUEUE_STATE;
    }
    if (!m_joined) {
        for (std::thread& thread : m_threads) {
            if (thread.joinable())
                thread.join();
        }
        m_joined = true;
    }
    Lock lock(m_mutex);
    m_doneWake.wait(lock, [this] { return (m_inFlight == 0 || !m_started) && m_disposing == 0; });
    return m_result;
}

int CYxQueueEngine::GetStatistics(SYxQueueStatistics* out) const {
    if (out == nullptr)
        return YXPDB_E_QUEUE_ARGUMENT;
    try {
        SYxQueueStatistics copy;
        {
            Lock lock(m_mutex);
            copy = m_stats;
            copy.iDepth = m_inFlight;
            copy.stages.clear();
            for (const auto& stage : m_stages) {
                SYxQueueStageStatistics s = stage->stats;
                s.iWaiting = stage->input.Size() + stage->ordered.Size() + stage->pending.Size();
                copy.stages.push_back(s);
            }
        }
        *out = std::move(copy);
    } catch (...) {
        return YXPDB_E_GENERIC;
    }
    return 0;
}

// ---- movement, lock held

void CYxQueueEngine::Deliver(std::size_t stageIndex, IYxQueueItem* item) {
    Stage& stage = *m_stages[stageIndex];
    bool wake = stage.sleepers > 0;
    if (stage.kind == eYxQueueWorker_TransportInOrder) {
        stage.ordered.Put(item);
        wake = wake && item->GetSequence() == stage.next;
    } else {
        stage.input.Push(item);
    }
    if (wake)
        stage.wake.notify_one();
}

void CYxQueueEngine::Retire(IYxQueueItem* item, EYxQueueItemState state, int status, Bin& bin) {
    item->m_eState = state;
    item->m_iStatus = status;
    switch (state) {
    case eYxQueueItem_Done: ++m_stats.iRemoved; break;
    case eYxQueueItem_Failed: ++m_stats.iFailed; break;
    default: ++m_stats.iCancelled; break;
    }
    bin.push_back(item);
    --m_inFlight;
    if (m_producersWaiting > 0 && (m_inFlight <= m_refillLevel || m_timedProducersWaiting > 0))
        m_producerWake.notify_one();
    if (m_inFlight == 0 && (m_closed || m_cancelled))
        NotifyAllLocked();
}

void CYxQueueEngine::Fail(Stage& stage, IYxQueueItem* item, int status, Bin& bin) {
    ++stage.stats.iFailed;
    if (m_policy == eYxQueueFailure_Stop) {
        Retire(item, eYxQueueItem_Failed, status, bin);
        if (!m_cancelled)
            CancelLocked(status);
        return;
    }
    // The item goes on in its place, but no stage works on it any more.
    item->m_eState = eYxQueueItem_Failed;
    item->m_iStatus = status;
}

void CYxQueueEngine::CancelLocked(int reason) {
    if (m_cancelled)
        return;
    m_cancelled = true;
    m_closed = true;
    if (m_result == 0)
        m_result = reason;
    auto cancel = [this](IYxQueueItem* item) { RetireOnCancel(item, false, m_cancelBin); };
    for (auto& stage : m_stages) {
        while (!stage->input.Empty())
            cancel(stage->input.Pop());
        while (!stage->pending.Empty())
            cancel(stage->pending.Pop());
        stage->ordered.TakeAll(cancel);
    }
    NotifyAllLocked();
}

void CYxQueueEngine::NotifyAllLocked() {
    for (auto& stage : m_stages)
        stage->wake.notify_all();
    m_producerWake.notify_all();
    m_doneWake.notify_all();
}

void CYxQueueEngine::DisposeCancelled(Lock& lock) noexcept {
    if (m_cancelBin.empty())
        return;
    Bin bin;
    bin.swap(m_cancelBin);
    m_disposing += bin.size();
    const std::size_t count = bin.size();
    lock.unlock();
    Dispose(bin);
    lock.lock();
    m_disposing -= count;
    if (m_disposing == 0)
        m_doneWake.notify_all();
}

void CYxQueueEngine::Dispose(Bin& bin) noexcept {
    for (IYxQueueItem* raw : bin) {
        std::unique_ptr<IYxQueueItem> item(raw);
        const FnYxQueueItemHandler* handler = nullptr;
        if (raw->m_eState == eYxQueueItem_Cancelled)
            handler = &m_fnCancelled;
        else if (raw->m_eState == eYxQueueItem_Failed)
            handler = &m_fnFailed;
        if (handler != nullptr && *handler) {
            try {
                (*handler)(std::move(item));
            } catch (...) {
                // A callback's exception stays here; the item was the callback's.
            }
        }
        // An item done, or without a callback, is destroyed here; a
        // destructor that throws ends the process like any noexcept breach.
    }
    bin.clear();
}
