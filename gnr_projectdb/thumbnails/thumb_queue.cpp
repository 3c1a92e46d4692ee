#include "gnr_projectdb/thumbnails/thumb_queue.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"
#include "gnr_projectdb/thumbnails/thumb_engine.h"

#include <sqlite3.h>

namespace {

std::wstring JobName(const SYxThumbKey& key) {
    return key.wszRunUuid.str() + L"|" + std::to_wstring(key.iFrameIndex) + L"|" + std::to_wstring(key.iPlane) +
           L"|" + std::to_wstring(key.iLevel);
}

}  // namespace

// A rendering token: one per job sent to rendering. Its work takes the
// first job waiting for rendering at that moment (so rendering follows the
// priority order, not the order of the tokens), and its transport hands the
// result to the writer.
class CYxThumbToken : public IYxQueueItem {
public:
    explicit CYxThumbToken(CYxThumbQueue& queue) : m_queue(queue) {}

    int Process(int) override {
        {
            std::lock_guard<std::mutex> lock(m_queue.m_lock);
            if (!m_queue.TakeLocked(m_queue.m_waitRender, CYxThumbQueue::eRendering, &m_result.job, &m_result.key))
                return 0;
            const CYxThumbQueue::SJob& job = m_queue.m_jobs.at(m_result.job);
            m_source = job.source;
            m_result.stamp = job.stamp;
        }
        m_has = true;
        m_result.source = m_source.wszPath;
        m_result.status = YxThumb_RenderSource(m_source, m_result.key.iLevel, &m_result.thumb);
        return 0;
    }

    int Transport(int) override {
        // The batch ends when no other token waits behind this one: every
        // token checks, also one whose job went away, since a token that
        // saw this one waiting left the batch to it.
        SYxQueueStatistics stats;
        bool last = true;
        if (m_queue.m_render && m_queue.m_render->GetStatistics(&stats) == 0 && stats.stages.size() > 1)
            last = stats.stages[1].iWaiting == 0;
        if (m_has) {
            m_queue.Store(std::move(m_result), last);
            m_has = false;
        } else if (last) {
            m_queue.FlushStored();
        }
        return 0;
    }

private:
    CYxThumbQueue& m_queue;
    bool m_has = false;
    SYxThumbSource m_source;
    CYxThumbQueue::SStored m_result;
};

int CYxThumbEngine::StartQueue(const SYxThumbQueueOptions& options) {
    return CYxThumbQueue::Create(*this, options, &m_queue);
}

CYxThumbQueue::CYxThumbQueue(CYxThumbEngine& engine) : m_engine(engine) {}

int CYxThumbQueue::Create(CYxThumbEngine& engine, const SYxThumbQueueOptions& options,
                          std::unique_ptr<CYxThumbQueue>* out) {
    if (options.iReaders < 1 || options.iGenerators < 1 || options.iBatchRows < 1 || options.iReaders > 64 ||
        options.iGenerators > 64)
        return YXPDB_E_THUMB_ARGUMENT;
    std::unique_ptr<CYxThumbQueue> queue(new CYxThumbQueue(engine));
    queue->m_batchRows = options.iBatchRows;
    for (int i = 0; i < options.iReaders; ++i) {
        YxThumbDbPtr db;
        const int rc = YxThumb_OpenConnection(engine.ThumbPath(), true, &db);
        if (rc != 0) return rc;
        queue->m_readerDbs.push_back(std::make_unique<CYxThumbConnection>(std::move(db)));
    }
    SYxQueueOptions renderOptions;
    renderOptions.iCapacity = 1 << 24;   // one token per waiting job: never full in practice
    SYxQueueStage render, store;
    render.eKind = eYxQueueWorker_ProcessOutOfOrder;
    render.iThreads = options.iGenerators;
    store.eKind = eYxQueueWorker_TransportOutOfOrder;
    store.iThreads = 1;
    renderOptions.stages = {render, store};
    int rc = CYxQueueMaster::Create(renderOptions, &queue->m_render);
    if (rc == 0) rc = queue->m_render->Start();
    if (rc != 0) return rc;
    try {
        for (const auto& db : queue->m_readerDbs) {
            CYxThumbConnection* connection = db.get();
            queue->m_readers.emplace_back([q = queue.get(), connection] { q->ReaderLoop(*connection); });
        }
    } catch (...) {
        return YXPDB_E_THREAD;   // the destructor stops the readers already running
    }
    *out = std::move(queue);
    return 0;
}

CYxThumbQueue::~CYxThumbQueue() {
    std::vector<SAnswer> answers;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_stop = true;
        for (auto& [id, request] : m_requests) answers.push_back({id, std::move(request.callback)});
        m_requests.clear();
        for (auto it = m_jobs.begin(); it != m_jobs.end();) {
            it->second.requests.clear();
            if (it->second.stage == eWaitRead || it->second.stage == eWaitRender) it = m_jobs.erase(it);
            else ++it;
        }
        m_waitRead.clear();
        m_waitRender.clear();
        m_calling += static_cast<int>(answers.size());
    }
    m_readable.notify_all();
    m_idle.notify_all();
    Call(answers, YXPDB_E_CANCELLED, SYxThumbnail());
    for (std::thread& t : m_readers) t.join();
    if (m_render) {
        // Tokens of erased jobs find nothing; those rendering now are stored.
        m_render->Close();
        m_render->Wait();
    }
    FlushStored();
}

std::uint64_t CYxThumbQueue::Request(const wchar_t* runUuid, int frameIndex, int plane, int level, int priority,
                                     FnYxThumbCallback callback) {
    if (!runUuid || frameIndex < 0 || plane < 0 || !YxThumb_IsLevel(level) || !callback) return 0;
    const SYxThumbKey key{runUuid, frameIndex, plane, level};
    const std::wstring name = JobName(key);
    std::lock_guard<std::mutex> lock(m_lock);
    if (m_stop) return 0;
    const std::uint64_t id = ++m_nextId;
    m_requests[id] = SRequest{name, m_generation, std::move(callback)};
    auto found = m_jobs.find(name);
    if (found == m_jobs.end()) {
        SJob& job = m_jobs[name];
        job.key = key;
        job.priority = priority;
        job.newest = id;
        job.requests.push_back(id);
        EnqueueLocked(name, job, eWaitRead);
        m_readable.notify_one();
        return id;
    }
    SJob& job = found->second;
    job.requests.push_back(id);
    std::set<Order, SOrderFirst>* waiting =
        job.stage == eWaitRead ? &m_waitRead : job.stage == eWaitRender ? &m_waitRender : nullptr;
    if (waiting) {
        // The newest request moves the job ahead within its priority.
        waiting->erase(Order(job.priority, job.newest, name));
        job.priority = std::max(job.priority, priority);
        job.newest = id;
        waiting->insert(Order(job.priority, job.newest, name));
    }
    return id;
}

void CYxThumbQueue::EnqueueLocked(const std::wstring& name, SJob& job, EStage stage) {
    job.stage = stage;
    (stage == eWaitRead ? m_waitRead : m_waitRender).insert(Order(job.priority, job.newest, name));
}

bool CYxThumbQueue::TakeLocked(std::set<Order, SOrderFirst>& waiting, EStage next, std::wstring* name,
                               SYxThumbKey* key) {
    if (waiting.empty()) return false;
    *name = std::get<2>(*waiting.begin());
    waiting.erase(waiting.begin());
    SJob& job = m_jobs.at(*name);
    job.stage = next;
    *key = job.key;
    return true;
}

void CYxThumbQueue::ReaderLoop(CYxThumbConnection& db) {
    for (;;) {
        std::wstring name;
        SYxThumbKey key;
        {
            std::unique_lock<std::mutex> lock(m_lock);
            m_readable.wait(lock, [this] { return m_stop || !m_waitRead.empty(); });
            if (m_stop) return;
            TakeLocked(m_waitRead, eReading, &name, &key);
        }
        SYxThumbSource source;
        int rc = m_engine.Sources().Resolve(key.wszRunUuid, key.iFrameIndex, key.iPlane, &source);
        if (rc != 0) {
            Finish(name, rc, SYxThumbnail());
            continue;
        }
        const SYxThumbStamp now = YxThumb_StampOf(source.pathUtf8);
        SYxThumbnail thumb;
        SYxThumbStamp stored;
        bool found = false;
        rc = YxThumb_Lookup(db.Cache(), key, &thumb, &stored, &found);
        if (rc == 0 && found && stored == now) {
            Finish(name, 0, thumb);
            continue;
        }
        if (rc == 0) {
            rc = YxThumb_LookupFailure(db.Cache(), key, &stored, &found);
            if (rc == 0 && found && stored == now) rc = YXPDB_E_THUMB_SOURCE;
        }
        if (rc != 0) {
            Finish(name, rc, SYxThumbnail());
            continue;
        }
        {
            std::lock_guard<std::mutex> lock(m_lock);
            SJob& job = m_jobs.at(name);
            if (job.requests.empty()) {
                // Everybody cancelled meanwhile: nothing to render.
                m_jobs.erase(name);
                m_idle.notify_all();
                continue;
            }
            job.source = source;
            job.stamp = now;
            EnqueueLocked(name, job, eWaitRender);
        }
        std::unique_ptr<IYxQueueItem> token = std::make_unique<CYxThumbToken>(*this);
        if (m_render->Push(std::move(token)) != 0) {
            // Only when the queue is shutting down: the job was answered
            // (cancelled) by the destructor already.
            std::lock_guard<std::mutex> lock(m_lock);
            m_waitRender.clear();
        }
    }
}

void CYxThumbQueue::Store(SStored&& result, bool lastInLine) {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        auto job = m_jobs.find(result.job);
        if (job != m_jobs.end()) job->second.stage = eStoring;
    }
    m_stored.push_back(std::move(result));
    if (lastInLine || static_cast<int>(m_stored.size()) >= m_batchRows) FlushStored();
}

void CYxThumbQueue::FlushStored() {
    if (m_stored.empty()) return;
    int rc = 0;
    {
        std::lock_guard<std::mutex> lock(m_engine.WriteLock());
        CYxThumbConnection& db = m_engine.WriteDb();
        CYxSqliteTransaction guard(db.Db());
        for (const SStored& s : m_stored) {
            rc = s.status == 0 ? YxThumb_Store(db.Cache(), s.key, s.thumb, s.stamp)
                               : YxThumb_StoreFailure(db.Cache(), s.key, s.source, s.stamp, s.status);
            if (rc != 0) break;
        }
        rc = guard.Finish(rc);
    }
    for (const SStored& s : m_stored) {
        const int status = rc != 0 ? rc : s.status == 0 ? 0 : YXPDB_E_THUMB_SOURCE;
        Finish(s.job, status, status == 0 ? s.thumb : SYxThumbnail());
    }
    m_stored.clear();
}

void CYxThumbQueue::Finish(const std::wstring& name, int status, const SYxThumbnail& thumb) {
    std::vector<SAnswer> answers;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        auto job = m_jobs.find(name);
        if (job == m_jobs.end()) return;
        for (std::uint64_t id : job->second.requests) {
            auto request = m_requests.find(id);
            if (request == m_requests.end()) continue;
            answers.push_back({id, std::move(request->second.callback)});
            m_requests.erase(request);
        }
        m_jobs.erase(job);
        m_calling += static_cast<int>(answers.size());
    }
    m_idle.notify_all();
    Call(answers, status, thumb);
}

void CYxThumbQueue::CancelLocked(std::uint64_t id, std::vector<SAnswer>* answers) {
    auto request = m_requests.find(id);
    if (request == m_requests.end()) return;
    answers->push_back({id, std::move(request->second.callback)});
    const std::wstring name = request->second.job;
    m_requests.erase(request);
    auto found = m_jobs.find(name);
    if (found == m_jobs.end()) return;
    SJob& job = found->second;
    job.requests.erase(std::remove(job.requests.begin(), job.requests.end(), id), job.requests.end());
    if (!job.requests.empty()) return;
    if (job.stage == eWaitRead || job.stage == eWaitRender) {
        (job.stage == eWaitRead ? m_waitRead : m_waitRender).erase(Order(job.priority, job.newest, name));
        m_jobs.erase(found);
    }
}

bool CYxThumbQueue::Cancel(std::uint64_t requestId) {
    std::vector<SAnswer> answers;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        CancelLocked(requestId, &answers);
        m_calling += static_cast<int>(answers.size());
    }
    m_idle.notify_all();
    Call(answers, YXPDB_E_CANCELLED, SYxThumbnail());
    return !answers.empty();
}

std::uint64_t CYxThumbQueue::NewGeneration() {
    std::lock_guard<std::mutex> lock(m_lock);
    return ++m_generation;
}

std::uint64_t CYxThumbQueue::CurrentGeneration() const {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_generation;
}

std::size_t CYxThumbQueue::CancelOlderThan(std::uint64_t generation) {
    std::vector<SAnswer> answers;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        std::vector<std::uint64_t> old;
        for (const auto& [id, request] : m_requests)
            if (request.generation < generation) old.push_back(id);
        for (std::uint64_t id : old) CancelLocked(id, &answers);
        m_calling += static_cast<int>(answers.size());
    }
    m_idle.notify_all();
    Call(answers, YXPDB_E_CANCELLED, SYxThumbnail());
    return answers.size();
}

void CYxThumbQueue::WaitIdle() {
    std::unique_lock<std::mutex> lock(m_lock);
    m_idle.wait(lock, [this] { return m_requests.empty() && m_jobs.empty() && m_calling == 0; });
}

void CYxThumbQueue::Call(std::vector<SAnswer>& answers, int status, const SYxThumbnail& thumb) {
    if (answers.empty()) return;
    for (SAnswer& a : answers) {
        try {
            a.callback(a.id, status, thumb);
        } catch (...) {
            // A callback's exception stays with the callback.
        }
    }
    std::lock_guard<std::mutex> lock(m_lock);
    m_calling -= static_cast<int>(answers.size());
    m_idle.notify_all();
}
