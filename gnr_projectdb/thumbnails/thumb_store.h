// The thumbnail file: its connections, schema and upgrade, and the
// statements on its two tables. A connection is used by one thread at a
// time; the functions hold no state of their own.
//
//   vesion    (iKey, wszName UNIQUE, iVersion)           the "thumbs" version row
//   thumb     (iKey, wszRunUuid, iFrameIndex, iPlane, iLevel, iWidth, iHeight,
//              iFormat, pImage, iSourceSize, iSourceMTime, dCTime)
//             unique (wszRunUuid, iFrameIndex, iPlane, iLevel); index on dCTime
//   thumbfail (iKey, wszRunUuid, iFrameIndex, iPlane, wszSource, iSourceSize,
//              iSourceMTime, iStatus, dCTime)  unique (wszRunUuid, iFrameIndex, iPlane)
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/thumbnails.h"

#include <cstdint>
#include <memory>
#include <string>

#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"

struct sqlite3;

struct SYxThumbDbCloser {
    void operator()(sqlite3* db) const noexcept;
};
typedef std::unique_ptr<sqlite3, SYxThumbDbCloser> YxThumbDbPtr;

// One connection to the thumbnail file with its prepared statements (kept
// across calls; finalized before the connection closes).
class CYxThumbConnection {
public:
    explicit CYxThumbConnection(YxThumbDbPtr db) : m_db(std::move(db)), m_cache(m_db.get()) {}
    ~CYxThumbConnection() { m_cache.Clear(); }
    CYxThumbConnection(const CYxThumbConnection&) = delete;
    CYxThumbConnection& operator=(const CYxThumbConnection&) = delete;
    sqlite3* Db() const { return m_db.get(); }
    CYxSqliteStmtCache& Cache() { return m_cache; }

private:
    YxThumbDbPtr m_db;
    CYxSqliteStmtCache m_cache;
};

// What a source file was when it was read: size in bytes and modification
// time in nanoseconds. A missing file is {-1, 0}.
struct SYxThumbStamp {
    std::int64_t iSize = -1;
    std::int64_t iMTimeNs = 0;
    bool operator==(const SYxThumbStamp& o) const { return iSize == o.iSize && iMTimeNs == o.iMTimeNs; }
    bool operator!=(const SYxThumbStamp& o) const { return !(*this == o); }
};
SYxThumbStamp YxThumb_StampOf(const std::string& pathUtf8);

struct SYxThumbKey {
    CYxStringW wszRunUuid;
    int iFrameIndex = 0;
    int iPlane = 0;
    int iLevel = 0;
};

// Opens the file read-write (made when missing) in WAL mode with a busy
// timeout, or read-only; mapped reads the file through a memory map.
// 0 or the SQLite code; *out untouched on failure.
int YxThumb_OpenConnection(const CYxStringW& path, bool readOnly, YxThumbDbPtr* out, bool mapped = true);
// Brings the schema on an open read-write connection to the current version
// (see YxProjectDb_Thumb_Upgrade for the codes).
int YxThumb_UpgradeSchema(sqlite3* db);
// The recorded version (0 when the file has no version row), or the code.
int YxThumb_ReadVersion(sqlite3* db, int* version);
// PRAGMA quick_check: 0 when it says ok, SQLITE_CORRUPT otherwise (or the
// code of the statement).
int YxThumb_QuickCheck(sqlite3* db);

// The stored thumbnail of a key. 0 with *found; the stamp goes to *stamp.
int YxThumb_Lookup(CYxSqliteStmtCache& db, const SYxThumbKey& key, SYxThumbnail* out, SYxThumbStamp* stamp, bool* found);
// The stamp of a failure row of (run, frame, plane). 0 with *found.
int YxThumb_LookupFailure(CYxSqliteStmtCache& db, const SYxThumbKey& key, SYxThumbStamp* stamp, bool* found);
// Stores a thumbnail (replacing the key's row) and removes the key's
// failure row. Runs inside the caller's transaction when one is open.
int YxThumb_Store(CYxSqliteStmtCache& db, const SYxThumbKey& key, const SYxThumbnail& thumb, const SYxThumbStamp& stamp);
// Stores (replaces) the failure row of (run, frame, plane).
int YxThumb_StoreFailure(CYxSqliteStmtCache& db, const SYxThumbKey& key, const CYxStringW& source, const SYxThumbStamp& stamp,
                         int status);
