// The per-table copies: one generic copy over the merge plan, and the named
// copies of the record families on top of it.
#include "gnr_projectdb/merge.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/merge/merge_folders.h"
#include "gnr_projectdb/merge/merge_internal.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include <sqlite3.h>

using namespace yxmerge;

namespace {

// The table that a column of `table` refers to, or -1.
int ReferencedTable(int table, int col) {
    for (const SRef& r : Plan()[table].refs)
        if (r.iCol == col) return r.iTarget;
    return -1;
}

}  // namespace

int YxProjectDb_Table_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& options, const wchar_t* table,
                                    const wchar_t* parentColumn, std::int64_t srcParent, std::int64_t dstParent,
                                    const std::vector<SYxProjectDbMergeKeyMap>& maps,
                                    std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    sqlite3 *src = nullptr, *dst = nullptr;
    std::wstring srcPath;
    if (int rc = CheckPair(options, &src, &dst, &srcPath)) return rc;
    const int t = PlanIndex(table);
    if (t < 0) return YXPDB_E_NOCONNECTION;
    const bool byParent = parentColumn && *parentColumn;
    int parent = -1;
    if (byParent) {
        const int col = YxSqliteTableDef_FindColumn(*Plan()[t].pDef, parentColumn);
        parent = col < 0 ? -1 : ReferencedTable(t, col);
        if (parent < 0) return YXPDB_E_NOCONNECTION;
    }
    for (const auto& m : maps)
        if (PlanIndex(m.wszTable) < 0) return YXPDB_E_NOCONNECTION;

    CYxMergeSession s(options, dst);
    if (int rc = s.Begin(srcPath)) return Outcome(s, rc);
    for (const auto& m : maps)
        if (m.pMap && !m.pMap->empty())
            if (int rc = s.SeedMap(PlanIndex(m.wszTable), *m.pMap)) return Outcome(s, rc);
    if (byParent && parent != t)
        if (int rc = s.SeedMap(parent, srcParent, dstParent)) return Outcome(s, rc);
    if (outMap)
        if (int rc = s.EnsureMap(t)) return Outcome(s, rc);
    if (int rc = s.AddRootsByKey(t, byParent ? parentColumn : nullptr, srcParent)) return Outcome(s, rc);
    if (int rc = s.CloseScope(false)) return Outcome(s, rc);
    if (int rc = CopyAllTables(s, false, nullptr)) return Outcome(s, rc);
    std::vector<SYxProjectDbMap_oldToNew> pairs;
    if (outMap)
        if (int rc = s.ReadMap(t, pairs)) return Outcome(s, rc);
    if (s.Cancelled()) return YXPDB_E_CANCELLED;
    if (int rc = s.Commit()) return rc;
    if (outMap) outMap->insert(outMap->end(), pairs.begin(), pairs.end());
    return 0;
}

int YxProjectDb_Jobrun_DuplicateOne(const SYxProjectDbMerge_DuplicateOptions& options, std::int64_t srcRun,
                                    std::int64_t dstProj, std::int64_t* newKey) {
    sqlite3 *src = nullptr, *dst = nullptr;
    std::wstring srcPath;
    if (int rc = CheckPair(options, &src, &dst, &srcPath)) return rc;
    const int runs = PlanIndex(L"jobrun"), projects = PlanIndex(L"project");
    CYxMergeSession s(options, dst);
    if (int rc = s.Begin(srcPath)) return Outcome(s, rc);
    if (dstProj != 0) {
        std::int64_t srcProj = 0;
        CYxSqliteCmd q(dst, L"SELECT ifnull(iProjKeyRef, 0) FROM gnr_merge_src.jobrun WHERE iKey = ?");
        q.Bind(1, srcRun);
        if (q.Next()) q.Column(0, srcProj);
        if (int rc = q.Result()) return rc;
        if (srcProj != 0)
            if (int rc = s.SeedMap(projects, srcProj, dstProj)) return Outcome(s, rc);
        s.Exclude(projects);
    }
    if (int rc = s.EnsureMap(runs)) return Outcome(s, rc);
    if (int rc = s.AddRootsByKey(runs, L"iKey", srcRun)) return Outcome(s, rc);
    std::int64_t found = 0;
    if (int rc = s.CountRows(runs, &found)) return Outcome(s, rc);
    if (found == 0) return YXPDB_E_NOTFOUND;
    if (int rc = s.CloseScope(true)) return Outcome(s, rc);
    if (int rc = CopyAllTables(s, false, nullptr)) return Outcome(s, rc);
    CYxMergeFolders folders(s, YxProjectDb_Db_ProjectRootFolder(options.hSource).str(),
                            YxProjectDb_Db_ProjectRootFolder(options.hTarget).str());
    if (options.bCopyFolders)
        if (int rc = folders.CopyAll()) return Outcome(s, rc);
    std::vector<SYxProjectDbMap_oldToNew> pairs;
    if (int rc = s.ReadMap(runs, pairs)) return Outcome(s, rc);
    if (s.Cancelled()) return YXPDB_E_CANCELLED;
    if (int rc = s.Commit()) return rc;
    folders.Keep();
    if (newKey)
        for (const auto& p : pairs)
            if (p.iOldKey == srcRun) *newKey = p.iNewKey;
    return 0;
}

// ---- named copies

namespace {

int Copy(const SYxProjectDbMerge_DuplicateOptions& o, const wchar_t* table, const wchar_t* parent, std::int64_t src,
         std::int64_t dst, std::vector<SYxProjectDbMap_oldToNew>* out = nullptr,
         const std::vector<SYxProjectDbMergeKeyMap>& maps = {}) {
    return YxProjectDb_Table_DuplicateMany(o, table, parent, src, dst, maps, out);
}

}  // namespace

int YxProjectDb_Proj_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o,
                                   std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    return Copy(o, L"project", nullptr, 0, 0, outMap);
}
int YxProjectDb_Projtag_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcProj,
                                      std::int64_t dstProj) {
    return Copy(o, L"projtag", L"iProjKeyRef", srcProj, dstProj);
}
int YxProjectDb_Jobdef_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcProj,
                                     std::int64_t dstProj, std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    return Copy(o, L"jobdef", L"iProjKeyRef", srcProj, dstProj, outMap);
}
int YxProjectDb_Jobdeftag_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcDef,
                                        std::int64_t dstDef) {
    return Copy(o, L"jobdeftag", L"iJobdefKeyRef", srcDef, dstDef);
}
int YxProjectDb_TaskListjobdef_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcDef,
                                             std::int64_t dstDef) {
    return Copy(o, L"tasklistjobdef", L"iJobdefKeyRef", srcDef, dstDef);
}
int YxProjectDb_Toolbarjobdef_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcDef,
                                            std::int64_t dstDef) {
    return Copy(o, L"toolbarjobdef", L"iJobdefKeyRef", srcDef, dstDef);
}
int YxProjectDb_Jobprogram_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcDef,
                                         std::int64_t dstDef, std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    return Copy(o, L"jobprogram", L"iJobdefKeyRef", srcDef, dstDef, outMap);
}
int YxProjectDb_Jobtask_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcProgram,
                                      std::int64_t dstProgram, std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    return Copy(o, L"jobtask", L"iJobprogramKeyRef", srcProgram, dstProgram, outMap);
}
int YxProjectDb_File_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcRun,
                                   std::int64_t dstRun, std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    return Copy(o, L"file", L"iJobrunKeyRef", srcRun, dstRun, outMap);
}
int YxProjectDb_PlaneInfo_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o,
                                        std::vector<SYxProjectDbMap_oldToNew>* outMap) {
    return Copy(o, L"planeinfo", nullptr, 0, 0, outMap);
}
int YxProjectDb_Frame_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcRun,
                                    std::int64_t dstRun, const std::vector<SYxProjectDbMap_oldToNew>& mapA,
                                    const std::vector<SYxProjectDbMap_oldToNew>& mapB) {
    std::vector<SYxProjectDbMergeKeyMap> maps(2);
    maps[0].wszTable = L"jobtask";
    maps[0].pMap = &mapA;
    maps[1].wszTable = L"file";
    maps[1].pMap = &mapB;
    return Copy(o, L"frame", L"iJobrunKeyRef", srcRun, dstRun, nullptr, maps);
}
int YxProjectDb_Frameprop_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, std::int64_t srcRun,
                                        std::int64_t dstRun) {
    return Copy(o, L"frameprop", L"iJobrunKeyRef", srcRun, dstRun);
}
int YxProjectDb_RunTable_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o, const wchar_t* table,
                                       std::int64_t srcRun, std::int64_t dstRun) {
    return Copy(o, table, L"iJobrunKeyRef", srcRun, dstRun);
}
int YxProjectDb_Deposit_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o) {
    return Copy(o, L"deposit", nullptr, 0, 0);
}
int YxProjectDb_toupload_DuplicateMany(const SYxProjectDbMerge_DuplicateOptions& o) {
    return Copy(o, L"toupload", nullptr, 0, 0);
}
