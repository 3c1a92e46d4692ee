// The merge driver: checks, scope, copy in plan order, folders, commit.
#include "gnr_projectdb/merge.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/merge/merge_folders.h"
#include "gnr_projectdb/merge/merge_internal.h"
#include "gnr_projectdb/merge/merge_session.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>

namespace yxmerge {
namespace {

std::int64_t ReadVersion(sqlite3* db, const wchar_t* name) {
    CYxSqliteCmd cmd(db, L"SELECT iVersion FROM main.vesion WHERE wszName = ?");
    cmd.Bind(1, name);
    std::int64_t v = 0;
    if (cmd.Next()) cmd.Column(0, v);
    return v;
}

bool SameFile(const std::string& a, const std::string& b) {
    struct stat sa {}, sb {};
    if (::stat(a.c_str(), &sa) != 0 || ::stat(b.c_str(), &sb) != 0) return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

}  // namespace

int CompareForMerge(YxProjectDbHandle source, YxProjectDbHandle target) {
    const int rc = YxProjectDb_CompareVesions(source, target);
    if (rc != YXPDB_E_NOCONNECTION) return rc;
    // A version name that neither file records (a file made without the
    // catalog, say) is no difference; one that only the target records
    // makes the source the older file.
    sqlite3* a = CYxProjectDbConnectionManager::GetConnection(source);
    sqlite3* b = CYxProjectDbConnectionManager::GetConnection(target);
    for (const wchar_t* name : {L"main", L"plate", L"dish"}) {
        const std::int64_t va = ReadVersion(a, name), vb = ReadVersion(b, name);
        if (va < vb) return YXPDB_E_OLDER;
        if (va > vb) return std::wstring_view(name) == L"main" ? YXPDB_E_NEWER_MAIN : YXPDB_E_NEWER_CATALOG;
    }
    return ReadVersion(a, L"main") == 0 ? YXPDB_E_NOCONNECTION : 0;
}

int CheckPair(const SYxProjectDbMerge_DuplicateOptions& o, sqlite3** src, sqlite3** dst, std::wstring* srcPath) {
    if (o.hSource == 0 || o.hTarget == 0) return YXPDB_E_NOCONNECTION;
    *src = CYxProjectDbConnectionManager::GetConnection(o.hSource);
    *dst = CYxProjectDbConnectionManager::GetConnection(o.hTarget);
    if (!*src || !*dst) return YXPDB_E_NOCONNECTION;
    const char* s = sqlite3_db_filename(*src, "main");
    const char* d = sqlite3_db_filename(*dst, "main");
    if (!s || !*s || !d || !*d) return YXPDB_E_NOCONNECTION;
    if (*src == *dst || SameFile(s, d)) return YXPDB_E_SAMEFILE;
    if (sqlite3_db_readonly(*dst, "main") == 1) return YXPDB_E_READONLY;
    if (int rc = CompareForMerge(o.hSource, o.hTarget)) return rc;
    *srcPath = YxProjectDb_Db_Filename(o.hSource).str();
    return 0;
}

int CopyFrameprops(CYxMergeSession& s, int table, bool planOnly, SYxProjectDbMergeTableCount* count) {
    bool hadTrigger = false;
    if (!planOnly) {
        CYxSqliteCmd q(s.Target(),
                       L"SELECT count(*) FROM main.sqlite_master WHERE type = 'trigger' AND name = 'framepropConstraitTrigger'");
        std::int64_t n = 0;
        if (q.Next()) q.Column(0, n);
        hadTrigger = n > 0;
    }
    if (hadTrigger && YxProjectDb_Frameprop_DropNullConstraintTrigger(s.Options().hTarget) != 0) {
        YX_DIAG_WARN(L"Unable to drop framepropTrigger");
        return SQLITE_ERROR;
    }
    int rc = s.CopyTable(table, planOnly, count);
    if (rc == 0 && hadTrigger && YxProjectDb_Frameprop_CreateNullConstraintTrigger(s.Options().hTarget) != 0) {
        YX_DIAG_WARN(L"Unable to create framepropTrigger");
        rc = SQLITE_ERROR;
    }
    return rc;
}

int CopyAllTables(CYxMergeSession& s, bool planOnly, SYxProjectDbMergeReport* report) {
    const auto& plan = Plan();
    std::int64_t total = 0;
    for (std::size_t i = 0; i < plan.size(); ++i) {
        std::int64_t n = 0;
        if (int rc = s.CountRows(static_cast<int>(i), &n)) return rc;
        total += n;
    }
    s.SetTotal(total);
    for (std::size_t i = 0; i < plan.size(); ++i) {
        SYxProjectDbMergeTableCount count;
        const int t = static_cast<int>(i);
        const int rc = plan[i].name == L"frameprop" ? CopyFrameprops(s, t, planOnly, &count) : s.CopyTable(t, planOnly, &count);
        if (rc) return rc;
        if (report && (count.iCopied || count.iMatched)) report->tables.push_back(count);
    }
    return 0;
}

int ScopeFromUuids(CYxMergeSession& s, const SYxProjectDbMergeScope& scope) {
    struct SRoots {
        const wchar_t* table;
        const std::vector<CYxStringW>* uuids;
    } roots[] = {{L"jobrun", &scope.runUuids}, {L"project", &scope.projectUuids}};
    for (const auto& r : roots) {
        for (const auto& u : *r.uuids) {
            std::int64_t added = 0;
            if (int rc = s.AddRoots(PlanIndex(r.table), L"wszUuid", u, &added)) return rc;
            if (added == 0) return YXPDB_E_NOTFOUND;
        }
    }
    return s.CloseScope(true);
}

// Maps an interrupt that the merge asked for to the cancel status.
int Outcome(const CYxMergeSession& s, int rc) {
    if (rc != 0 && s.Cancelled()) return YXPDB_E_CANCELLED;
    return rc;
}

int RunMerge(const SYxProjectDbMerge_DuplicateOptions& o, const SYxProjectDbMergeScope& scope,
             SYxProjectDbMergeReport* report, bool planOnly) {
    const auto start = std::chrono::steady_clock::now();
    if (report) *report = SYxProjectDbMergeReport();
    sqlite3 *src = nullptr, *dst = nullptr;
    std::wstring srcPath;
    if (int rc = CheckPair(o, &src, &dst, &srcPath)) return rc;

    CYxMergeSession s(o, dst);
    if (int rc = s.Begin(srcPath)) return Outcome(s, rc);
    if (int rc = ScopeFromUuids(s, scope)) return Outcome(s, rc);
    if (int rc = CopyAllTables(s, planOnly, report)) return Outcome(s, rc);
    if (planOnly) {
        s.Rollback();
    } else {
        CYxMergeFolders folders(s, YxProjectDb_Db_ProjectRootFolder(o.hSource).str(),
                                YxProjectDb_Db_ProjectRootFolder(o.hTarget).str());
        if (o.bCopyFolders)
            if (int rc = folders.CopyAll()) return Outcome(s, rc);
        if (s.Cancelled()) return YXPDB_E_CANCELLED;
        if (int rc = s.Commit()) return rc;
        folders.Keep();
        if (report)
            for (const auto& f : folders.Created()) report->folders.push_back(CYxStringW(f));
    }
    if (report) report->dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return 0;
}

}  // namespace yxmerge

int YxProjectDb_Merge_Run(const SYxProjectDbMerge_DuplicateOptions& options, const SYxProjectDbMergeScope& scope,
                          SYxProjectDbMergeReport* report) {
    return yxmerge::RunMerge(options, scope, report, false);
}

int YxProjectDb_Merge_Plan(const SYxProjectDbMerge_DuplicateOptions& options, const SYxProjectDbMergeScope& scope,
                           SYxProjectDbMergeReport* report) {
    return yxmerge::RunMerge(options, scope, report, true);
}
