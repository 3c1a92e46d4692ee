/// \file
/// Thumbnails: small renderings of acquired frames, kept in a SQLite file of
/// their own beside the jobs database ("demo.gnrdb" -> "demo.gnrthumbs").
///
/// CYxThumbnailDb is the open thumbnail database of one jobs database. A
/// thumbnail is identified by (run uuid, frame index, plane, level), so it
/// stays valid when the run is merged into another database. It is made from
/// the frame's image file: the run's folder, the file row's name, and the page
/// of the frame in that file. The pages of a TIFF file hold the planes of each
/// frame one after the other:
///     page = frame.iFileFrameIndex * file.iPlanes + plane      (iPlanes 0 counts as 1)
/// 8- and 16-bit grey TIFF (strips or tiles, any compression libtiff reads,
/// multi-page, classic or BigTIFF) is read; a 16-bit page is stretched between
/// its 0.1 % and 99.9 % percentiles, an 8-bit page is taken as it is. The page
/// is reduced by area averaging so that its long side is at most the level
/// (128, 256 or 512 pixels; a smaller page keeps its size) and stored as an
/// 8-bit grey PNG, together with the source file's size and modification
/// time. A source whose size or time changed is rendered again on the next
/// request; a source that could not be read gets a failure row with its size
/// and time and is not tried again until either changes.
///
/// The file is a cache: when it is missing, damaged or of a newer version
/// than this library knows, Open makes a new empty one in its place. The jobs
/// database is only read, through a connection of its own (WAL readers never
/// block its writer).
///
/// Threads: every member function may be called from any thread at the same
/// time. The synchronous calls (Get, Build, GetInfo, Prune) run on the calling
/// thread; Build renders on worker threads of a processing queue. The request
/// queue (Request, Cancel, CancelOlderThan) serves requests on threads of its
/// own and calls the callbacks there (see FnYxThumbCallback). Writes to the
/// file are serialised: a Build holds the file's writer for its whole run, so
/// a Get or a queued request that must store a new thumbnail meanwhile waits
/// for it. Destroying the object cancels every pending request (their
/// callbacks are called with YXPDB_E_CANCELLED before the destructor returns)
/// and waits for its threads; it must not be destroyed from a callback.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/status.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// The thumbnail sizes: the most pixels on the long side.
enum EYxThumbLevel : int {
    eYxThumbLevel_128 = 128,
    eYxThumbLevel_256 = 256,
    eYxThumbLevel_512 = 512,
};

/// Pixel format of a stored thumbnail (column iFormat).
enum EYxThumbFormat : int {
    eYxThumbFormat_PngGrey8 = 1,   ///< PNG, 8-bit grey
};

/// Version of the thumbnail file's schema that this library writes.
constexpr int YX_THUMB_SCHEMA_VERSION = 1;

/// One thumbnail: PNG bytes (8-bit grey) and the picture's size in pixels.
struct SYxThumbnail {
    std::vector<std::uint8_t> png;
    int iWidth = 0;
    int iHeight = 0;
};

/// Progress of a Build, reported on the thread that called Build.
struct SYxThumbBuildProgress {
    std::int64_t iDone = 0;     ///< thumbnails handled so far (made, current or failed)
    std::int64_t iTotal = 0;    ///< thumbnails to handle, counted first
    const wchar_t* wszRunUuid = L"";   ///< run being handled
};
typedef std::function<void(const SYxThumbBuildProgress&)> FnYxThumbProgress;

struct SYxThumbBuildOptions {
    /// The run to build; empty for every run of the jobs database.
    CYxStringW wszRunUuid;
    /// One of EYxThumbLevel.
    int iLevel = eYxThumbLevel_128;
    /// The plane to build; -1 for every plane of each frame's file.
    int iPlane = -1;
    /// Rendering threads: 1 or more; 0 for one per hardware thread.
    int iWorkers = 0;
    /// Optional: called now and then, and once at the end, on the thread
    /// that called Build while it holds the file's writer: it must not call
    /// Get, Build, GetInfo or Prune of the same object.
    FnYxThumbProgress fnProgress;
    /// Optional: true cancels. A cancelled build writes nothing.
    const std::atomic<bool>* pCancel = nullptr;
};

struct SYxThumbBuildReport {
    std::int64_t iMade = 0;      ///< rendered and stored now
    std::int64_t iCurrent = 0;   ///< already stored and up to date
    std::int64_t iFailed = 0;    ///< source unreadable (failure row written or still valid)
    std::int64_t iNoImage = 0;   ///< frames without an image file (nothing to render)
    double dSeconds = 0;
};

struct SYxThumbLevelInfo {
    int iLevel = 0;
    std::int64_t iCount = 0;     ///< thumbnails of this level
    std::int64_t iBytes = 0;     ///< their PNG bytes
};

struct SYxThumbInfo {
    CYxStringW wszFileName;      ///< absolute path of the thumbnail file
    int iVersion = 0;            ///< schema version recorded in the file
    std::int64_t iFileBytes = 0; ///< size of the file (without its WAL)
    std::int64_t iThumbnails = 0;
    std::int64_t iImageBytes = 0;   ///< PNG bytes of every thumbnail
    std::int64_t iFailures = 0;     ///< failure rows
    std::vector<SYxThumbLevelInfo> levels;   ///< levels that have thumbnails, smallest first
};

struct SYxThumbPruneReport {
    std::int64_t iRemovedOrphans = 0;   ///< thumbnails of runs no longer in the jobs database
    std::int64_t iRemovedBudget = 0;    ///< oldest thumbnails removed to fit the byte budget
    std::int64_t iFailuresRemoved = 0;  ///< failure rows of runs no longer there
    std::int64_t iImageBytesBefore = 0;
    std::int64_t iImageBytesAfter = 0;
};

/// Answer to one request. Called exactly once per request id that Request
/// returned (0 ids get none): with status 0 and the thumbnail, with the
/// status of a failure, or with YXPDB_E_CANCELLED when the request was
/// cancelled (through Cancel, CancelOlderThan or the destructor). A request
/// whose cancel call has returned gets no thumbnail afterwards.
/// It runs on a reader thread or the writer thread of the queue, or, for a
/// cancel, on the thread that cancels (the destructor's, for the requests it
/// cancels). It may call Request, Cancel and
/// CancelOlderThan; it must not destroy the CYxThumbnailDb nor block for
/// long (the queue's threads serve other requests meanwhile). The thumbnail
/// is valid during the call only.
typedef std::function<void(std::uint64_t requestId, int status, const SYxThumbnail& thumbnail)> FnYxThumbCallback;

struct SYxThumbQueueOptions {
    int iReaders = 2;       ///< reader threads, each with its own read-only connection
    int iGenerators = 2;    ///< rendering threads for requests that miss
    int iBatchRows = 64;    ///< most thumbnails the writer stores per transaction
};

class CYxThumbEngine;

class GNR_API CYxThumbnailDb {
public:
    /// Opens (or makes) the thumbnail file of the jobs database at
    /// jobsDbPath and a read connection to the jobs database. A missing,
    /// damaged or newer thumbnail file is replaced by a new empty one.
    ///   0 and *out set;
    ///   YXPDB_E_THUMB_ARGUMENT: null path or out, or queue options below 1
    ///     (or above 64 threads);
    ///   YXPDB_E_THREAD: a thread of the request queue cannot be started;
    ///   YXPDB_E_GENERIC: the jobs database cannot be opened;
    ///   YXPDB_E_READONLY: the thumbnail file cannot be made or written;
    ///   otherwise the SQLite code of the failed statement.
    /// *out is left alone on failure.
    static int Open(const wchar_t* jobsDbPath, std::unique_ptr<CYxThumbnailDb>* out,
                    const SYxThumbQueueOptions* queueOptions = nullptr);
    ~CYxThumbnailDb();
    CYxThumbnailDb(const CYxThumbnailDb&) = delete;
    CYxThumbnailDb& operator=(const CYxThumbnailDb&) = delete;

    /// Path of the thumbnail file.
    CYxStringW GetFileName() const;

    /// The stored thumbnail, or a new one rendered and stored now when it is
    /// missing or its source changed.
    ///   0: *out holds the thumbnail;
    ///   YXPDB_E_THUMB_ARGUMENT: null uuid or out, negative frame index or
    ///     plane, a level not in EYxThumbLevel;
    ///   YXPDB_E_NOTFOUND: no such run, frame, or plane (plane >= the file's
    ///     planes), or the frame has no image file;
    ///   YXPDB_E_THUMB_SOURCE: the image cannot be read (failure row written,
    ///     or written before and the source has not changed);
    ///   otherwise the SQLite code of the failed statement.
    /// *out is cleared on any failure.
    int Get(const wchar_t* runUuid, int frameIndex, int plane, int level, SYxThumbnail* out);

    /// Renders and stores every missing or out-of-date thumbnail of a run (or
    /// of every run) at one level, in one transaction of the thumbnail file.
    ///   0 with *report filled (failed sources are counted, they are no
    ///     failure of the build);
    ///   YXPDB_E_THUMB_ARGUMENT: bad level, plane or worker count;
    ///   YXPDB_E_NOTFOUND: the named run is not in the jobs database;
    ///   YXPDB_E_CANCELLED: cancelled, nothing written;
    ///   otherwise a queue status or the SQLite code (nothing written).
    /// report may be null; on failure it holds the counts so far.
    int Build(const SYxThumbBuildOptions& options, SYxThumbBuildReport* report);

    /// What the file holds. 0, YXPDB_E_THUMB_ARGUMENT for a null out, or the
    /// SQLite code; *out is reset first.
    int GetInfo(SYxThumbInfo* out);

    /// Removes the thumbnails and failure rows of runs that are no longer in
    /// the jobs database, then the oldest thumbnails (by the time they were
    /// stored) until their PNG bytes are at most byteBudget (< 0: no budget),
    /// in one transaction, and gives the freed pages back to the file system.
    ///   0; otherwise the SQLite code (nothing removed). report may be null;
    ///   it is reset first.
    int Prune(std::int64_t byteBudget, SYxThumbPruneReport* report);

    // ---- the request queue

    /// Asks for a thumbnail; returns at once with a request id (1, 2, ...),
    /// or 0 when the arguments are invalid (see Get) or the callback is
    /// empty, in which case the callback is never called. Higher priority is
    /// served first; within a priority the newest request first. Identical
    /// pending requests (same uuid, frame, plane, level) are rendered once
    /// and each gets its callback. A request belongs to the generation that
    /// is current when it is made.
    std::uint64_t Request(const wchar_t* runUuid, int frameIndex, int plane, int level, int priority,
                          FnYxThumbCallback callback);
    /// Cancels one request: if it has not been answered yet, its callback is
    /// called with YXPDB_E_CANCELLED before Cancel returns. True when it was
    /// cancelled by this call, false when it was answered or cancelled
    /// before, or is unknown.
    bool Cancel(std::uint64_t requestId);
    /// Starts a new generation and returns its number (the first is 1). Views
    /// call it when what is on screen changes.
    std::uint64_t NewGeneration();
    std::uint64_t CurrentGeneration() const;
    /// Cancels every unanswered request of a generation older than
    /// `generation`, as Cancel does; returns how many.
    std::size_t CancelOlderThan(std::uint64_t generation);
    /// Blocks until every request made so far has been answered (tests and
    /// shutdown paths). Not to be called from a callback.
    void WaitIdle();

private:
    explicit CYxThumbnailDb(std::unique_ptr<CYxThumbEngine> engine);
    std::unique_ptr<CYxThumbEngine> m_engine;
};

// ---- the file

/// The thumbnail file's path for a jobs database path: the extension
/// replaced by ".gnrthumbs" (added when there is none). "" for null.
GNR_API CYxStringW YxProjectDb_Thumb_FilePath(const wchar_t* jobsDbPath);

/// Brings a thumbnail file up to YX_THUMB_SCHEMA_VERSION (a new or empty
/// file gets the whole schema). 0; YXPDB_E_THUMB_ARGUMENT for a null path;
/// YXPDB_E_NEWER_MAIN when the file is of a newer version; otherwise the
/// SQLite code (SQLITE_NOTADB, SQLITE_CORRUPT for a damaged file). Nothing is
/// changed on failure.
GNR_API int YxProjectDb_Thumb_Upgrade(const wchar_t* thumbPath);

// ---- pictures

/// Decodes PNG bytes (any colour type and depth) into 8-bit grey pixels, row
/// by row without padding. 0; YXPDB_E_THUMB_ARGUMENT for null outputs or data;
/// YXPDB_E_IMAGE when the bytes are not a PNG libpng can read. The outputs
/// are left alone on failure.
GNR_API int YxProjectDb_Thumb_DecodePng(const void* data, std::size_t size, std::vector<std::uint8_t>* grey,
                                        int* width, int* height);

/// Encodes 8-bit grey pixels (width * height bytes, rows without padding)
/// into PNG bytes / a PNG file (made or replaced). 0;
/// YXPDB_E_THUMB_ARGUMENT for null pointers, a size below 1, or a buffer
/// too small; YXPDB_E_IMAGE when encoding or writing fails (*png left alone,
/// no partial file is left behind).
GNR_API int YxProjectDb_Thumb_EncodePng(const std::uint8_t* grey, std::size_t size, int width, int height,
                                        std::vector<std::uint8_t>* png);
GNR_API int YxProjectDb_Thumb_WritePng(const wchar_t* path, const std::uint8_t* grey, std::size_t size, int width,
                                       int height);
