#include "gnr_projectdb/thumbnails/thumb_store.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"
#include "gnr_projectdb/sys.h"

#include <sqlite3.h>
#include <sys/stat.h>

namespace {

const wchar_t* const kSchema =
    L"CREATE TABLE vesion (iKey INTEGER PRIMARY KEY, wszName TEXT NOT NULL UNIQUE, iVersion INTEGER NOT NULL);"
    L"CREATE TABLE thumb (iKey INTEGER PRIMARY KEY, wszRunUuid TEXT NOT NULL, iFrameIndex INTEGER NOT NULL,"
    L" iPlane INTEGER NOT NULL, iLevel INTEGER NOT NULL, iWidth INTEGER NOT NULL, iHeight INTEGER NOT NULL,"
    L" iFormat INTEGER NOT NULL, pImage BLOB NOT NULL, iSourceSize INTEGER NOT NULL,"
    L" iSourceMTime INTEGER NOT NULL, dCTime REAL NOT NULL,"
    L" UNIQUE (wszRunUuid, iFrameIndex, iPlane, iLevel));"
    L"CREATE INDEX thumb_dCTime ON thumb (dCTime);"
    L"CREATE TABLE thumbfail (iKey INTEGER PRIMARY KEY, wszRunUuid TEXT NOT NULL, iFrameIndex INTEGER NOT NULL,"
    L" iPlane INTEGER NOT NULL, wszSource TEXT NOT NULL, iSourceSize INTEGER NOT NULL,"
    L" iSourceMTime INTEGER NOT NULL, iStatus INTEGER NOT NULL, dCTime REAL NOT NULL,"
    L" UNIQUE (wszRunUuid, iFrameIndex, iPlane));";

}  // namespace

void SYxThumbDbCloser::operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }

SYxThumbStamp YxThumb_StampOf(const std::string& pathUtf8) {
    struct stat st;
    if (::stat(pathUtf8.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return {};
    return {static_cast<std::int64_t>(st.st_size),
            static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec};
}

int YxThumb_OpenConnection(const CYxStringW& path, bool readOnly, YxThumbDbPtr* out, bool mapped) {
    sqlite3* raw = nullptr;
    const int flags = readOnly ? SQLITE_OPEN_READONLY : (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    int rc = YxSqlite_Open(path, &raw, flags);
    if (rc != SQLITE_OK) return rc;
    YxThumbDbPtr db(raw);
    sqlite3_busy_timeout(db.get(), 60000);
    if (!readOnly) {
        // A file that is not a database fails here, before any other statement.
        // Page size and vacuum mode take effect in a new file only: pages of
        // 16 KiB hold a thumbnail of level 128 or 256 without overflow pages.
        rc = sqlite3_exec(db.get(), "PRAGMA page_size=16384; PRAGMA auto_vacuum=INCREMENTAL;"
                                    " PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) return rc;
    }
    // Reads come from the mapped file instead of one read call per page.
    if (mapped) {
        rc = sqlite3_exec(db.get(), "PRAGMA mmap_size=1073741824;", nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) return rc;
    }
    *out = std::move(db);
    return 0;
}

int YxThumb_ReadVersion(sqlite3* db, int* version) {
    int rc = 0;
    *version = 0;
    if (!YxSqlite_HasTable(db, L"vesion", &rc)) return rc;
    CYxSqliteCmd cmd(db, L"SELECT iVersion FROM vesion WHERE wszName='thumbs';");
    if (cmd.Next()) cmd.Column(0, *version);
    return cmd.Result();
}

int YxThumb_QuickCheck(sqlite3* db) {
    CYxSqliteCmd cmd(db, L"PRAGMA quick_check(1);");
    CYxStringW answer;
    if (cmd.Next()) cmd.Column(0, answer);
    if (cmd.Result() != 0) return cmd.Result();
    return answer == CYxStringW(L"ok") ? 0 : SQLITE_CORRUPT;
}

int YxThumb_UpgradeSchema(sqlite3* db) {
    CYxSqliteTransaction guard(db);
    int version = 0;
    int rc = YxThumb_ReadVersion(db, &version);
    if (rc != 0) return guard.Finish(rc);
    if (version > YX_THUMB_SCHEMA_VERSION) return guard.Finish(YXPDB_E_NEWER_MAIN);
    if (version == YX_THUMB_SCHEMA_VERSION) return guard.Finish(0);
    // Version 0: a new file. Anything else in it means it is not ours.
    const std::int64_t tables =
        YxSqlite_ReadOneInt64(db, L"SELECT count(*) FROM sqlite_master WHERE type='table';", &rc);
    if (rc != 0) return guard.Finish(rc);
    if (tables != 0) return guard.Finish(SQLITE_NOTADB);
    rc = YxSqlite_Execute(db, kSchema);
    if (rc == 0) {
        CYxSqliteCmd insert(db, L"INSERT INTO vesion (wszName, iVersion) VALUES ('thumbs', ?1);");
        insert.Bind(1, YX_THUMB_SCHEMA_VERSION);
        insert.Next();
        rc = insert.Result();
    }
    return guard.Finish(rc);
}

int YxThumb_Lookup(CYxSqliteStmtCache& db, const SYxThumbKey& key, SYxThumbnail* out, SYxThumbStamp* stamp, bool* found) {
    *found = false;
    CYxSqliteCmd cmd(db, L"SELECT iWidth, iHeight, pImage, iSourceSize, iSourceMTime FROM thumb"
                         L" WHERE wszRunUuid=?1 AND iFrameIndex=?2 AND iPlane=?3 AND iLevel=?4;");
    cmd.BindAll(key.wszRunUuid, key.iFrameIndex, key.iPlane, key.iLevel);
    if (cmd.Next()) {
        cmd.Column(0, out->iWidth);
        cmd.Column(1, out->iHeight);
        const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(cmd.GetStmt(), 2));
        const int size = sqlite3_column_bytes(cmd.GetStmt(), 2);
        out->png.assign(data, data + (data ? size : 0));
        cmd.Column(3, stamp->iSize);
        cmd.Column(4, stamp->iMTimeNs);
        *found = true;
    }
    return cmd.Result();
}

int YxThumb_LookupFailure(CYxSqliteStmtCache& db, const SYxThumbKey& key, SYxThumbStamp* stamp, bool* found) {
    *found = false;
    CYxSqliteCmd cmd(db, L"SELECT iSourceSize, iSourceMTime FROM thumbfail"
                         L" WHERE wszRunUuid=?1 AND iFrameIndex=?2 AND iPlane=?3;");
    cmd.BindAll(key.wszRunUuid, key.iFrameIndex, key.iPlane);
    if (cmd.Next()) {
        cmd.Column(0, stamp->iSize);
        cmd.Column(1, stamp->iMTimeNs);
        *found = true;
    }
    return cmd.Result();
}

int YxThumb_Store(CYxSqliteStmtCache& db, const SYxThumbKey& key, const SYxThumbnail& thumb, const SYxThumbStamp& stamp) {
    CYxSqliteTransaction guard(db.Db());
    CYxSqliteCmd insert(db, L"INSERT OR REPLACE INTO thumb (wszRunUuid, iFrameIndex, iPlane, iLevel, iWidth,"
                            L" iHeight, iFormat, pImage, iSourceSize, iSourceMTime, dCTime)"
                            L" VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11);");
    insert.BindAll(key.wszRunUuid, key.iFrameIndex, key.iPlane, key.iLevel, thumb.iWidth, thumb.iHeight,
                   static_cast<int>(eYxThumbFormat_PngGrey8));
    insert.Bind(8, thumb.png.data(), static_cast<int>(thumb.png.size()));
    insert.Bind(9, stamp.iSize);
    insert.Bind(10, stamp.iMTimeNs);
    insert.Bind(11, YxProjectDb_Sys_JdnNow());
    insert.Next();
    int rc = insert.Result();
    if (rc == 0) {
        CYxSqliteCmd remove(db, L"DELETE FROM thumbfail WHERE wszRunUuid=?1 AND iFrameIndex=?2 AND iPlane=?3;");
        remove.BindAll(key.wszRunUuid, key.iFrameIndex, key.iPlane);
        remove.Next();
        rc = remove.Result();
    }
    return guard.Finish(rc);
}

int YxThumb_StoreFailure(CYxSqliteStmtCache& db, const SYxThumbKey& key, const CYxStringW& source, const SYxThumbStamp& stamp,
                         int status) {
    CYxSqliteCmd insert(db, L"INSERT OR REPLACE INTO thumbfail (wszRunUuid, iFrameIndex, iPlane, wszSource,"
                            L" iSourceSize, iSourceMTime, iStatus, dCTime) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8);");
    insert.BindAll(key.wszRunUuid, key.iFrameIndex, key.iPlane, source, stamp.iSize, stamp.iMTimeNs, status,
                   YxProjectDb_Sys_JdnNow());
    insert.Next();
    return insert.Result();
}
