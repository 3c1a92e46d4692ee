// Upkeep: thumbnails of runs that the jobs database no longer has go, then
// the oldest ones until the images fit the byte budget. One transaction;
// the freed pages are given back afterwards (incremental vacuum).
#include "gnr_projectdb/thumbnails/thumb_engine.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

#include <sqlite3.h>

#include <set>

namespace {

int ImageBytes(sqlite3* db, std::int64_t* bytes) {
    CYxSqliteCmd cmd(db, L"SELECT total(length(pImage)) FROM thumb;");
    double total = 0;
    if (cmd.Next()) cmd.Column(0, total);
    *bytes = static_cast<std::int64_t>(total);
    return cmd.Result();
}

int RemoveOrphans(sqlite3* db, const std::set<std::wstring>& runs, SYxThumbPruneReport* report) {
    std::set<std::wstring> stored;
    {
        CYxSqliteCmd list(db, L"SELECT wszRunUuid FROM thumb UNION SELECT wszRunUuid FROM thumbfail;");
        while (list.Next()) {
            CYxStringW uuid;
            list.Column(0, uuid);
            stored.insert(uuid.str());
        }
        if (list.Result() != 0) return list.Result();
    }
    CYxSqliteCmd thumbs(db, L"DELETE FROM thumb WHERE wszRunUuid=?1;");
    CYxSqliteCmd failures(db, L"DELETE FROM thumbfail WHERE wszRunUuid=?1;");
    for (const std::wstring& uuid : stored) {
        if (runs.count(uuid)) continue;
        const CYxStringW value(uuid);
        thumbs.Reset();
        thumbs.Bind(1, value);
        thumbs.Next();
        if (thumbs.Result() != 0) return thumbs.Result();
        report->iRemovedOrphans += thumbs.Changes();
        failures.Reset();
        failures.Bind(1, value);
        failures.Next();
        if (failures.Result() != 0) return failures.Result();
        report->iFailuresRemoved += failures.Changes();
    }
    return 0;
}

int FitBudget(sqlite3* db, std::int64_t budget, SYxThumbPruneReport* report) {
    std::vector<std::int64_t> doomed;
    {
        // Newest first: the thumbnails that still fit stay.
        CYxSqliteCmd list(db, L"SELECT iKey, length(pImage) FROM thumb ORDER BY dCTime DESC, iKey DESC;");
        std::int64_t kept = 0;
        while (list.Next()) {
            std::int64_t key = 0, bytes = 0;
            list.Column(0, key);
            list.Column(1, bytes);
            if (doomed.empty() && kept + bytes <= budget) kept += bytes;
            else doomed.push_back(key);
        }
        if (list.Result() != 0) return list.Result();
    }
    CYxSqliteCmd remove(db, L"DELETE FROM thumb WHERE iKey=?1;");
    for (std::int64_t key : doomed) {
        remove.Reset();
        remove.Bind(1, key);
        remove.Next();
        if (remove.Result() != 0) return remove.Result();
    }
    report->iRemovedBudget = static_cast<std::int64_t>(doomed.size());
    return 0;
}

}  // namespace

int CYxThumbEngine::Prune(std::int64_t byteBudget, SYxThumbPruneReport* report) {
    SYxThumbPruneReport local;
    SYxThumbPruneReport& r = report ? *report : local;
    r = SYxThumbPruneReport();
    std::vector<CYxStringW> uuids;
    int rc = m_sources.RunUuids(&uuids);
    if (rc != 0) return rc;
    std::set<std::wstring> runs;
    for (const CYxStringW& u : uuids) runs.insert(u.str());

    std::lock_guard<std::mutex> lock(m_writeLock);
    sqlite3* db = m_db.Db();
    {
        CYxSqliteTransaction guard(db);
        rc = ImageBytes(db, &r.iImageBytesBefore);
        if (rc == 0) rc = RemoveOrphans(db, runs, &r);
        if (rc == 0 && byteBudget >= 0) rc = FitBudget(db, byteBudget, &r);
        if (rc == 0) rc = ImageBytes(db, &r.iImageBytesAfter);
        rc = guard.Finish(rc);
    }
    if (rc != 0) {
        const std::int64_t before = r.iImageBytesBefore;
        r = SYxThumbPruneReport();
        r.iImageBytesBefore = r.iImageBytesAfter = before;
        return rc;
    }
    sqlite3_exec(db, "PRAGMA incremental_vacuum;", nullptr, nullptr, nullptr);
    return 0;
}
