// Build: every missing or out-of-date thumbnail of a run (or of every run) at
// one level. The work list is made first (what is current or known to fail
// is counted, not rendered); rendering runs on the processing queue's
// workers out of order, and one transporting worker stores each result in
// the build's single transaction, so a cancel or a failure leaves the file
// as it was.
#include "gnr_projectdb/thumbnails/thumb_engine.h"

#include "gnr_projectdb/queue.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

#include <sqlite3.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <thread>
#include <utility>

namespace {

struct SWork {
    SYxThumbKey key;
    SYxThumbSource source;
    SYxThumbStamp stamp;
};

// What the rendering items share with the building thread.
struct SBuildShared {
    std::mutex lock;
    std::condition_variable changed;
    std::int64_t done = 0;      // items stored (thumbnail or failure row)
    std::int64_t made = 0;
    std::int64_t failed = 0;
    std::int64_t retired = 0;   // items that left the queue any way
    CYxThumbConnection* db = nullptr;

    void Retire() {
        std::lock_guard<std::mutex> g(lock);
        ++retired;
        changed.notify_all();
    }
};

class CRenderItem : public IYxQueueItem {
public:
    CRenderItem(SWork work, SBuildShared& shared) : m_work(std::move(work)), m_shared(shared) {}

    int Process(int) override {
        m_render = YxThumb_RenderSource(m_work.source, m_work.key.iLevel, &m_thumb);
        return 0;
    }

    int Transport(int) override {
        // The building thread holds the connection for the whole build; this
        // worker is the only one that writes meanwhile.
        const int rc = m_render == 0
                           ? YxThumb_Store(m_shared.db->Cache(), m_work.key, m_thumb, m_work.stamp)
                           : YxThumb_StoreFailure(m_shared.db->Cache(), m_work.key, m_work.source.wszPath, m_work.stamp,
                                                  m_render);
        if (rc != 0) return rc;
        std::lock_guard<std::mutex> g(m_shared.lock);
        ++m_shared.done;
        ++(m_render == 0 ? m_shared.made : m_shared.failed);
        return 0;
    }

    ~CRenderItem() override {
        if (GetState() != eYxQueueItem_New) m_shared.Retire();
    }

private:
    SWork m_work;
    SBuildShared& m_shared;
    SYxThumbnail m_thumb;
    int m_render = 0;
};

typedef std::map<std::pair<int, int>, SYxThumbStamp> StampMap;

// The stamps of a run's thumbnails at a level (level 0: of its failure rows).
int LoadStamps(sqlite3* db, const wchar_t* sql, const CYxStringW& run, int level, StampMap* out) {
    CYxSqliteCmd cmd(db, sql);
    cmd.Bind(1, run);
    if (level > 0) cmd.Bind(2, level);
    while (cmd.Next()) {
        int frame = 0, plane = 0;
        SYxThumbStamp stamp;
        cmd.Column(0, frame);
        cmd.Column(1, plane);
        cmd.Column(2, stamp.iSize);
        cmd.Column(3, stamp.iMTimeNs);
        (*out)[{frame, plane}] = stamp;
    }
    return cmd.Result();
}

bool Cancelled(const SYxThumbBuildOptions& options) {
    return options.pCancel && options.pCancel->load(std::memory_order_relaxed);
}

}  // namespace

int CYxThumbEngine::Build(const SYxThumbBuildOptions& options, SYxThumbBuildReport* report) {
    SYxThumbBuildReport local;
    SYxThumbBuildReport& r = report ? *report : local;
    r = SYxThumbBuildReport();
    if (!YxThumb_IsLevel(options.iLevel) || options.iPlane < -1 || options.iWorkers < 0)
        return YXPDB_E_THUMB_ARGUMENT;
    const auto start = std::chrono::steady_clock::now();
    auto finish = [&](int rc) {
        r.dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return rc;
    };

    std::vector<CYxStringW> runs;
    int rc = 0;
    if (options.wszRunUuid.IsEmpty()) {
        rc = m_sources.RunUuids(&runs);
    } else {
        runs.push_back(options.wszRunUuid);
    }
    if (rc != 0) return finish(rc);

    std::lock_guard<std::mutex> lock(m_writeLock);
    sqlite3* db = m_db.Db();
    CYxSqliteTransaction guard(db);

    // ---- the work list
    std::vector<SWork> work;
    for (const CYxStringW& run : runs) {
        std::vector<SYxThumbFrameEntry> frames;
        rc = m_sources.Frames(run, &frames);
        if (rc != 0) return finish(guard.Finish(rc));
        StampMap thumbs, failures;
        rc = LoadStamps(db, L"SELECT iFrameIndex, iPlane, iSourceSize, iSourceMTime FROM thumb"
                            L" WHERE wszRunUuid=?1 AND iLevel=?2;", run, options.iLevel, &thumbs);
        if (rc == 0)
            rc = LoadStamps(db, L"SELECT iFrameIndex, iPlane, iSourceSize, iSourceMTime FROM thumbfail"
                                L" WHERE wszRunUuid=?1;", run, 0, &failures);
        if (rc != 0) return finish(guard.Finish(rc));
        for (const SYxThumbFrameEntry& frame : frames) {
            if (frame.iPlanes == 0) {
                ++r.iNoImage;
                continue;
            }
            for (int plane = 0; plane < frame.iPlanes; ++plane) {
                if (options.iPlane >= 0 && plane != options.iPlane) continue;
                SWork w;
                w.key = {run, frame.iFrameIndex, plane, options.iLevel};
                if (m_sources.Resolve(run, frame.iFrameIndex, plane, &w.source) != 0) {
                    ++r.iNoImage;
                    continue;
                }
                w.stamp = YxThumb_StampOf(w.source.pathUtf8);
                const auto t = thumbs.find({frame.iFrameIndex, plane});
                const auto f = failures.find({frame.iFrameIndex, plane});
                if (t != thumbs.end() && t->second == w.stamp) ++r.iCurrent;
                else if (f != failures.end() && f->second == w.stamp) ++r.iFailed;
                else work.push_back(std::move(w));
            }
        }
    }
    const std::int64_t already = r.iCurrent + r.iFailed;
    const std::int64_t total = already + static_cast<std::int64_t>(work.size());
    SYxThumbBuildProgress progress;
    progress.iTotal = total;
    progress.wszRunUuid = options.wszRunUuid.c_str();
    auto report_progress = [&](std::int64_t done) {
        if (!options.fnProgress) return;
        progress.iDone = done;
        options.fnProgress(progress);
    };
    report_progress(already);
    if (work.empty()) return finish(guard.Finish(Cancelled(options) ? YXPDB_E_CANCELLED : 0));

    // ---- rendering and storing
    SBuildShared shared;
    shared.db = &m_db;
    SYxQueueOptions queueOptions;
    const int workers = options.iWorkers > 0 ? options.iWorkers
                                             : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    queueOptions.iCapacity = 4 * workers + 4;
    queueOptions.eFailurePolicy = eYxQueueFailure_Stop;
    SYxQueueStage render, store;
    render.eKind = eYxQueueWorker_ProcessOutOfOrder;
    render.iThreads = workers;
    store.eKind = eYxQueueWorker_TransportOutOfOrder;
    store.iThreads = 1;
    queueOptions.stages = {render, store};
    std::unique_ptr<CYxQueueMaster> queue;
    rc = CYxQueueMaster::Create(queueOptions, &queue);
    if (rc == 0) rc = queue->Start();
    if (rc != 0) return finish(guard.Finish(rc));

    std::int64_t pushed = 0, reported = -1;
    bool cancelled = false;
    auto poll = [&]() {
        std::int64_t done;
        {
            std::lock_guard<std::mutex> g(shared.lock);
            done = shared.done;
        }
        if (done != reported) {
            reported = done;
            report_progress(already + done);
        }
        if (!cancelled && Cancelled(options)) {
            cancelled = true;
            queue->Cancel();
        }
    };
    for (SWork& w : work) {
        std::unique_ptr<IYxQueueItem> item = std::make_unique<CRenderItem>(std::move(w), shared);
        int pushRc;
        while ((pushRc = queue->Push(std::move(item), 50)) == YXPDB_E_QUEUE_TIMEOUT) poll();
        if (pushRc != 0) break;   // cancelled, or stopped by a failed store
        ++pushed;
        poll();
    }
    queue->Close();
    {
        std::unique_lock<std::mutex> g(shared.lock);
        while (shared.retired < pushed) {
            shared.changed.wait_for(g, std::chrono::milliseconds(50));
            g.unlock();
            poll();
            g.lock();
        }
    }
    rc = queue->Wait();
    queue.reset();
    r.iMade = shared.made;
    r.iFailed += shared.failed;
    if (rc == 0 && cancelled) rc = YXPDB_E_CANCELLED;
    if (rc == YXPDB_E_QUEUE_CANCELLED) rc = YXPDB_E_CANCELLED;
    rc = guard.Finish(rc);
    if (rc == 0) report_progress(total);
    return finish(rc);
}
