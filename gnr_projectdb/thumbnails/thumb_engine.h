// The inside of CYxThumbnailDb: the thumbnail file's read-write connection
// (used under m_writeLock), the sources of the jobs database, and the
// rendering of one thumbnail. Threads as CYxThumbnailDb says.
#pragma once

#include "gnr_projectdb/thumbnails.h"
#include "gnr_projectdb/thumbnails/thumb_sources.h"
#include "gnr_projectdb/thumbnails/thumb_queue.h"
#include "gnr_projectdb/thumbnails/thumb_store.h"

#include <memory>
#include <mutex>

bool YxThumb_IsLevel(int level);

// Renders the thumbnail of a source page at a level. 0 or YXPDB_E_IMAGE.
int YxThumb_RenderSource(const SYxThumbSource& source, int level, SYxThumbnail* out);

class CYxThumbEngine {
public:
    CYxThumbEngine(CYxStringW jobsPath, CYxStringW thumbPath, YxThumbDbPtr db, YxProjectDbHandle jobs);
    ~CYxThumbEngine();

    int Get(const wchar_t* runUuid, int frameIndex, int plane, int level, SYxThumbnail* out);
    int Build(const SYxThumbBuildOptions& options, SYxThumbBuildReport* report);
    int GetInfo(SYxThumbInfo* out);
    int Prune(std::int64_t byteBudget, SYxThumbPruneReport* report);

    const CYxStringW& ThumbPath() const { return m_thumbPath; }
    CYxThumbSources& Sources() { return m_sources; }
    // The read-write connection of the thumbnail file and the lock that
    // every use of it holds.
    std::mutex& WriteLock() { return m_writeLock; }
    CYxThumbConnection& WriteDb() { return m_db; }
    // Starts the request queue (once, by Open).
    int StartQueue(const SYxThumbQueueOptions& options);
    CYxThumbQueue& Queue() { return *m_queue; }

private:
    int BuildRun(const CYxStringW& runUuid, const SYxThumbBuildOptions& options, SYxThumbBuildReport* report,
                 std::int64_t* done, std::int64_t total);

    CYxStringW m_jobsPath;
    CYxStringW m_thumbPath;
    std::mutex m_writeLock;
    CYxThumbConnection m_db;
    CYxThumbSources m_sources;
    // Last: it is stopped before the connections above close.
    std::unique_ptr<CYxThumbQueue> m_queue;
};
