// The request queue of a thumbnail database. Requests for the same
// thumbnail (run, frame, plane, level) that are pending together form one
// job. Jobs wait in priority order (higher priority first, then the newest
// request first); reader threads, each with its own read-only connection to
// the thumbnail file, answer those that are stored and current; the others
// go to the rendering stage of a processing queue, whose one transporting
// worker is the writer: it stores the results in batched transactions on
// the engine's read-write connection and then answers the job's requests.
//
// Every public member function may be called from any thread, also from a
// callback. The queue's one lock is never held while a callback runs.
#pragma once

#include "gnr_projectdb/queue.h"
#include "gnr_projectdb/thumbnails.h"
#include "gnr_projectdb/thumbnails/thumb_sources.h"
#include "gnr_projectdb/thumbnails/thumb_store.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <unordered_map>
#include <vector>

class CYxThumbEngine;
class CYxThumbToken;

class CYxThumbQueue {
public:
    // Starts the threads. 0, or YXPDB_E_THUMB_ARGUMENT for bad options, a
    // queue status, or the SQLite code of a reader's open.
    static int Create(CYxThumbEngine& engine, const SYxThumbQueueOptions& options,
                      std::unique_ptr<CYxThumbQueue>* out);
    // Cancels every unanswered request (callbacks on this thread), stops
    // the threads, and stores what was rendered already.
    ~CYxThumbQueue();

    std::uint64_t Request(const wchar_t* runUuid, int frameIndex, int plane, int level, int priority,
                          FnYxThumbCallback callback);
    bool Cancel(std::uint64_t requestId);
    std::uint64_t NewGeneration();
    std::uint64_t CurrentGeneration() const;
    std::size_t CancelOlderThan(std::uint64_t generation);
    void WaitIdle();

private:
    friend class CYxThumbToken;

    // Order of a waiting job: priority, then the newest request's id.
    typedef std::tuple<int, std::uint64_t, std::wstring> Order;   // (priority, newest id, job name)
    struct SOrderFirst {
        bool operator()(const Order& a, const Order& b) const {
            if (std::get<0>(a) != std::get<0>(b)) return std::get<0>(a) > std::get<0>(b);
            if (std::get<1>(a) != std::get<1>(b)) return std::get<1>(a) > std::get<1>(b);
            return std::get<2>(a) < std::get<2>(b);
        }
    };
    enum EStage { eWaitRead, eReading, eWaitRender, eRendering, eStoring };
    struct SJob {
        SYxThumbKey key;
        SYxThumbSource source;   // set by the reader that found it missing
        SYxThumbStamp stamp;
        EStage stage = eWaitRead;
        int priority = 0;
        std::uint64_t newest = 0;
        std::vector<std::uint64_t> requests;   // unanswered, not cancelled
    };
    struct SRequest {
        std::wstring job;
        std::uint64_t generation = 0;
        FnYxThumbCallback callback;
    };
    // Callbacks to call once the lock is released.
    struct SAnswer {
        std::uint64_t id;
        FnYxThumbCallback callback;
    };

    explicit CYxThumbQueue(CYxThumbEngine& engine);
    void ReaderLoop(CYxThumbConnection& db);
    // Moves a job into a waiting set in its order.
    void EnqueueLocked(const std::wstring& name, SJob& job, EStage stage);
    // Takes the first job of a waiting set (false when empty).
    bool TakeLocked(std::set<Order, SOrderFirst>& waiting, EStage next, std::wstring* name, SYxThumbKey* key);
    // Ends a job: its requests get (status, thumb) after the lock is let go.
    void Finish(const std::wstring& name, int status, const SYxThumbnail& thumb);
    // Takes the answers of a cancelled request set (lock held).
    void CancelLocked(std::uint64_t id, std::vector<SAnswer>* answers);
    // Calls the callbacks of answers that were taken under the lock (and
    // counted in m_calling there).
    void Call(std::vector<SAnswer>& answers, int status, const SYxThumbnail& thumb);

    // The writer (the processing queue's transporting worker).
    struct SStored {
        std::wstring job;
        SYxThumbKey key;
        CYxStringW source;
        SYxThumbStamp stamp;
        int status = 0;   // 0: thumbnail made; else the rendering status
        SYxThumbnail thumb;
    };
    void Store(SStored&& result, bool lastInLine);
    void FlushStored();

    CYxThumbEngine& m_engine;
    int m_batchRows = 64;

    mutable std::mutex m_lock;
    std::condition_variable m_readable;   // a job waits for a reader, or stop
    std::condition_variable m_idle;       // a job or request went away
    bool m_stop = false;
    int m_calling = 0;   // answers taken whose callbacks have not returned yet
    std::uint64_t m_nextId = 0;
    std::uint64_t m_generation = 1;
    std::unordered_map<std::wstring, SJob> m_jobs;
    std::unordered_map<std::uint64_t, SRequest> m_requests;
    std::set<Order, SOrderFirst> m_waitRead;
    std::set<Order, SOrderFirst> m_waitRender;

    std::vector<SStored> m_stored;   // the writer's batch (writer thread only)
    std::vector<std::unique_ptr<CYxThumbConnection>> m_readerDbs;
    std::vector<std::thread> m_readers;
    std::unique_ptr<CYxQueueMaster> m_render;
};
