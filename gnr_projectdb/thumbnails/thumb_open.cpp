// Opening the thumbnail file of a jobs database. The file is a cache: one
// that cannot be opened as a thumbnail file of a version this library knows
// is deleted (with its WAL and shared-memory files) and made again.
#include "gnr_projectdb/thumbnails/thumb_engine.h"

#include "framework/yxdiag.h"
#include "framework/yxfilesystem.h"
#include "gnr_projectdb/db.h"

#include <sqlite3.h>

#include <cstdio>

namespace {

// Checks and upgrades the file on a connection of its own, without a memory
// map, so that the check leaves nothing mapped; then opens the connection
// that is kept.
int OpenChecked(const CYxStringW& path, YxThumbDbPtr* out) {
    {
        YxThumbDbPtr check;
        int rc = YxThumb_OpenConnection(path, false, &check, false);
        if (rc == 0) rc = YxThumb_QuickCheck(check.get());
        if (rc == 0) rc = YxThumb_UpgradeSchema(check.get());
        if (rc != 0) return rc;
    }
    return YxThumb_OpenConnection(path, false, out);
}

void RemoveFiles(const CYxStringW& path) {
    const std::string file = YxFs_NativeUtf8(path);
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((file + suffix).c_str());
}

}  // namespace

CYxStringW YxProjectDb_Thumb_FilePath(const wchar_t* jobsDbPath) {
    if (!jobsDbPath) return CYxStringW();
    std::wstring path = jobsDbPath;
    const std::size_t slash = path.find_last_of(L"/\\");
    const std::size_t dot = path.find_last_of(L'.');
    if (dot != std::wstring::npos && (slash == std::wstring::npos || dot > slash + 1)) path.resize(dot);
    return CYxStringW(path + L".gnrthumbs");
}

int YxProjectDb_Thumb_Upgrade(const wchar_t* thumbPath) {
    if (!thumbPath || !*thumbPath) return YXPDB_E_THUMB_ARGUMENT;
    YxThumbDbPtr db;
    const int rc = YxThumb_OpenConnection(thumbPath, false, &db);
    return rc != 0 ? rc : YxThumb_UpgradeSchema(db.get());
}

int CYxThumbnailDb::Open(const wchar_t* jobsDbPath, std::unique_ptr<CYxThumbnailDb>* out,
                         const SYxThumbQueueOptions* queueOptions) {
    if (!jobsDbPath || !*jobsDbPath || !out) return YXPDB_E_THUMB_ARGUMENT;
    const SYxThumbQueueOptions options = queueOptions ? *queueOptions : SYxThumbQueueOptions();
    if (options.iReaders < 1 || options.iGenerators < 1 || options.iBatchRows < 1 || options.iReaders > 64 ||
        options.iGenerators > 64)
        return YXPDB_E_THUMB_ARGUMENT;
    const CYxStringW thumbPath = YxProjectDb_Thumb_FilePath(jobsDbPath);
    const YxProjectDbHandle jobs = YxProjectDb_Db_Jobs_ConnectForRead(jobsDbPath);
    if (jobs == 0) return YXPDB_E_GENERIC;
    YxThumbDbPtr db;
    int rc = OpenChecked(thumbPath, &db);
    if (rc != 0) {
        YX_DIAG_WARN(L"Thumbnail file %s cannot be used (status %d); making a new one", thumbPath, rc);
        RemoveFiles(thumbPath);
        rc = OpenChecked(thumbPath, &db);
    }
    if (rc != 0) {
        YxProjectDb_Db_Disconnect(jobs);
        const int primary = rc & 0xFF;
        return primary == SQLITE_CANTOPEN || primary == SQLITE_READONLY || primary == SQLITE_PERM ? YXPDB_E_READONLY
                                                                                               : rc;
    }
    auto engine = std::make_unique<CYxThumbEngine>(CYxStringW(jobsDbPath), thumbPath, std::move(db), jobs);
    rc = engine->StartQueue(options);
    if (rc != 0) return rc;
    out->reset(new CYxThumbnailDb(std::move(engine)));
    return 0;
}

CYxThumbnailDb::CYxThumbnailDb(std::unique_ptr<CYxThumbEngine> engine) : m_engine(std::move(engine)) {}
CYxThumbnailDb::~CYxThumbnailDb() = default;
CYxStringW CYxThumbnailDb::GetFileName() const { return m_engine->ThumbPath(); }
int CYxThumbnailDb::Get(const wchar_t* runUuid, int frameIndex, int plane, int level, SYxThumbnail* out) {
    return m_engine->Get(runUuid, frameIndex, plane, level, out);
}
int CYxThumbnailDb::Build(const SYxThumbBuildOptions& options, SYxThumbBuildReport* report) {
    return m_engine->Build(options, report);
}
int CYxThumbnailDb::GetInfo(SYxThumbInfo* out) { return m_engine->GetInfo(out); }
int CYxThumbnailDb::Prune(std::int64_t byteBudget, SYxThumbPruneReport* report) {
    return m_engine->Prune(byteBudget, report);
}

std::uint64_t CYxThumbnailDb::Request(const wchar_t* runUuid, int frameIndex, int plane, int level, int priority,
                                      FnYxThumbCallback callback) {
    return m_engine->Queue().Request(runUuid, frameIndex, plane, level, priority, std::move(callback));
}
bool CYxThumbnailDb::Cancel(std::uint64_t requestId) { return m_engine->Queue().Cancel(requestId); }
std::uint64_t CYxThumbnailDb::NewGeneration() { return m_engine->Queue().NewGeneration(); }
std::uint64_t CYxThumbnailDb::CurrentGeneration() const { return m_engine->Queue().CurrentGeneration(); }
std::size_t CYxThumbnailDb::CancelOlderThan(std::uint64_t generation) {
    return m_engine->Queue().CancelOlderThan(generation);
}
void CYxThumbnailDb::WaitIdle() { m_engine->Queue().WaitIdle(); }
