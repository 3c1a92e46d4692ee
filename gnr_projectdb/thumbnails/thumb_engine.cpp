// Get-or-render of one thumbnail, and what the file holds.
#include "gnr_projectdb/thumbnails/thumb_engine.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/thumbnails/thumb_image.h"

#include <sqlite3.h>

bool YxThumb_IsLevel(int level) {
    return level == eYxThumbLevel_128 || level == eYxThumbLevel_256 || level == eYxThumbLevel_512;
}

int YxThumb_RenderSource(const SYxThumbSource& source, int level, SYxThumbnail* out) {
    SYxGreyPage page;
    int rc = YxThumb_ReadTiffPage(source.pathUtf8, source.iPage, &page);
    if (rc != 0) return rc;
    std::vector<std::uint8_t> grey;
    int width = 0, height = 0;
    YxThumb_Render(page, level, &grey, &width, &height);
    SYxThumbnail thumb;
    rc = YxThumb_EncodePng(grey.data(), grey.size(), width, height, true, &thumb.png);
    if (rc != 0) return YXPDB_E_IMAGE;
    thumb.iWidth = width;
    thumb.iHeight = height;
    *out = std::move(thumb);
    return 0;
}

CYxThumbEngine::CYxThumbEngine(CYxStringW jobsPath, CYxStringW thumbPath, YxThumbDbPtr db, YxProjectDbHandle jobs)
    : m_jobsPath(std::move(jobsPath)), m_thumbPath(std::move(thumbPath)), m_db(std::move(db)), m_sources(jobs) {}

CYxThumbEngine::~CYxThumbEngine() = default;

int CYxThumbEngine::Get(const wchar_t* runUuid, int frameIndex, int plane, int level, SYxThumbnail* out) {
    if (!out) return YXPDB_E_THUMB_ARGUMENT;
    *out = SYxThumbnail();
    if (!runUuid || frameIndex < 0 || plane < 0 || !YxThumb_IsLevel(level)) return YXPDB_E_THUMB_ARGUMENT;
    const SYxThumbKey key{runUuid, frameIndex, plane, level};
    SYxThumbSource source;
    int rc = m_sources.Resolve(key.wszRunUuid, frameIndex, plane, &source);
    if (rc != 0) return rc;
    const SYxThumbStamp now = YxThumb_StampOf(source.pathUtf8);
    {
        std::lock_guard<std::mutex> lock(m_writeLock);
        SYxThumbStamp stored;
        bool found = false;
        rc = YxThumb_Lookup(m_db.Cache(), key, out, &stored, &found);
        if (rc != 0) {
            *out = SYxThumbnail();
            return rc;
        }
        if (found && stored == now) return 0;
        *out = SYxThumbnail();
        rc = YxThumb_LookupFailure(m_db.Cache(), key, &stored, &found);
        if (rc != 0) return rc;
        if (found && stored == now) return YXPDB_E_THUMB_SOURCE;
    }
    SYxThumbnail made;
    rc = YxThumb_RenderSource(source, level, &made);
    std::lock_guard<std::mutex> lock(m_writeLock);
    if (rc != 0) {
        rc = YxThumb_StoreFailure(m_db.Cache(), key, source.wszPath, now, rc);
        return rc != 0 ? rc : YXPDB_E_THUMB_SOURCE;
    }
    rc = YxThumb_Store(m_db.Cache(), key, made, now);
    if (rc == 0) *out = std::move(made);
    return rc;
}

int CYxThumbEngine::GetInfo(SYxThumbInfo* out) {
    if (!out) return YXPDB_E_THUMB_ARGUMENT;
    *out = SYxThumbInfo();
    out->wszFileName = m_thumbPath;
    std::lock_guard<std::mutex> lock(m_writeLock);
    int rc = YxThumb_ReadVersion(m_db.Db(), &out->iVersion);
    if (rc != 0) return rc;
    {
        CYxSqliteCmd levels(m_db.Db(), L"SELECT iLevel, count(*), sum(length(pImage)) FROM thumb"
                                        L" GROUP BY iLevel ORDER BY iLevel;");
        while (levels.Next()) {
            SYxThumbLevelInfo level;
            levels.Column(0, level.iLevel);
            levels.Column(1, level.iCount);
            levels.Column(2, level.iBytes);
            out->iThumbnails += level.iCount;
            out->iImageBytes += level.iBytes;
            out->levels.push_back(level);
        }
        if (levels.Result() != 0) return levels.Result();
    }
    CYxSqliteCmd failures(m_db.Db(), L"SELECT count(*) FROM thumbfail;");
    if (failures.Next()) failures.Column(0, out->iFailures);
    if (failures.Result() != 0) return failures.Result();
    out->iFileBytes = static_cast<std::int64_t>(YX_GetFileSizeFromName(m_thumbPath));
    return 0;
}
