// Job runs: inserting with folders, reading, running flag, updates, paths
// and value listings (records_jobrun.h).
#include "gnr_projectdb/records_jobrun.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records/table_ops.h"

#include <filesystem>
#include <system_error>

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kRun = YxJobsDef_jobrun;

// The run folder relative to the project folder, by the database's scheme.
CYxStringW RunFolderName(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* name, double cTime) {
    const CYxStringW time = YxProjectDb_Sys_JdnFormatForFile(cTime, true, true, true);
    if (YxProjectDb_Db_GetOptInt32(handle, L"folderformat") == 1) {
        const CYxStringW defName = YxSqlite_ReadOneStringW(
            Db(handle), CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%I64d", L"wszName", L"jobdef", L"iKey", jobdefKey));
        return CYxStringW::Format(L"%s\\%s", YxProjectDb_Sys_ReplaceNonAlnum(defName, L'_'), time);
    }
    return CYxStringW::Format(L"%s__%s", time, YxProjectDb_Sys_ReplaceNonAlnum(name ? name : L"", L'_'));
}

int ReadFolders(YxProjectDbHandle handle, std::int64_t key, CYxStringW& projFolder, CYxStringW& runFolder) {
    sqlite3* db = Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"SELECT %s.%s, %s.%s FROM %s, %s WHERE %s.%s=%s.%s AND %s.%s=%I64d;",
                                            L"project", L"wszFolderName", L"jobrun", L"wszFolderName", L"project",
                                            L"jobrun", L"jobrun", L"iProjKeyRef", L"project", L"iKey", L"jobrun",
                                            L"iKey", key));
    if (!cmd.Next()) return cmd.Result() ? cmd.Result() : YXPDB_E_NOTFOUND;
    cmd.Column(0, projFolder);
    cmd.Column(1, runFolder);
    return 0;
}

int GetRunsWhere(YxProjectDbHandle handle, const CYxStringW& where, std::vector<SYxProjectDbRow_jobrun>& rows) {
    return GetManyWhere(handle, where, rows);
}
}  // namespace

// ---------------------------------------------------------------- inserting

int YxProjectDb_Jobrun_Insert(YxProjectDbHandle handle, SYxProjectDbRow_jobrun& row, std::int64_t* key) {
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobrun_Insert(YxProjectDbHandle handle, std::int64_t projKey, const wchar_t* projectFolder,
                              std::int64_t jobdefKey, std::int64_t programKey, std::int64_t finishFlags,
                              const wchar_t* name, const wchar_t* desc, double cTime, SYxProjectDbRow_jobrun* out,
                              CYxStringW* path) {
    const CYxStringW uuid = YxProjectDb_Sys_UuidAsText();
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const CYxStringW folder = RunFolderName(handle, jobdefKey, name, cTime);
    const CYxStringW abs =
        YxFs_AddTrailingSeparator(YxFs_Native(CYxStringW::Format(L"%s%s", YxFs_AddTrailingSeparator(projectFolder), folder)));
    const int rc = YxFs_CreateDirectories(abs);
    if (rc != 0) return rc;
    SYxProjectDbRow_jobrun row{0,     projKey,         jobdefKey,  programKey, finishFlags,      cTime, cTime, 0.0,
                               uuid, CYxStringW(name), CYxStringW(desc), folder,     CYxStringW()};
    const int st = Insert(conn, row, nullptr, nullptr, eStampNone);
    if (st != 0) return st;
    if (out) *out = row;
    if (path) *path = abs;
    return 0;
}

int YxProjectDb_Jobrun_Insert(YxProjectDbHandle handle, std::int64_t projKey, const wchar_t* projectFolder,
                              std::int64_t jobdefKey, std::int64_t programKey, std::int64_t finishFlags,
                              const wchar_t* name, const wchar_t* desc, SYxProjectDbRow_jobrun* out, CYxStringW* path) {
    return YxProjectDb_Jobrun_Insert(handle, projKey, projectFolder, jobdefKey, programKey, finishFlags, name, desc,
                                     YxProjectDb_Sys_JdnNow(), out, path);
}

// ---------------------------------------------------------------- reading

int YxProjectDb_Jobrun_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobrun& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_Jobrun_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobrun& row) {
    return GetOneByUuid(handle, uuid, row);
}

int YxProjectDb_Jobrun_GetAll(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_jobrun>& rows) {
    return GetAll(handle, rows);
}

int YxProjectDb_Jobrun_GetMany(YxProjectDbHandle handle, std::int64_t projKey,
                               std::vector<SYxProjectDbRow_jobrun>& rows) {
    return GetMany(handle, L"iProjKeyRef", projKey, rows);
}

int YxProjectDb_Jobrun_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                std::vector<SYxProjectDbRow_jobrun>& rows) {
    return GetMany(handle, L"iJobdefKeyRef", jobdefKey, rows);
}

int YxProjectDb_Jobrun_GetManyReferencingJobprogram(YxProjectDbHandle handle, std::int64_t programKey,
                                                    std::vector<SYxProjectDbRow_jobrun>& rows) {
    return GetMany(handle, L"iJobprogramKeyRef", programKey, rows);
}

int YxProjectDb_Jobrun_GetManyWithFinishFlag(YxProjectDbHandle handle, std::int64_t jobdefKey, std::int64_t mask,
                                             std::int64_t value, std::vector<SYxProjectDbRow_jobrun>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetRunsWhere(handle,
                        CYxStringW::Format(L"%s=%I64d AND bitwiseand(%s, %I64d) = %I64d", L"iJobdefKeyRef", jobdefKey,
                                           L"iFinishFlags", mask, value),
                        rows);
}

int YxProjectDb_Jobrun_GetLatest(YxProjectDbHandle handle, std::int64_t projKey, SYxProjectDbRow_jobrun& row) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    // SELECT * yields the columns in table order, as ReadRow expects.
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"SELECT * FROM %s WHERE %s.%s=%I64d ORDER BY %s.%s DESC LIMIT 1;", L"jobrun",
                                            L"jobrun", L"iProjKeyRef", projKey, L"jobrun", L"dCTime"));
    if (cmd.Next()) ReadRow(cmd, row);
    return cmd.Result();
}

int YxProjectDb_Jobrun_GetLatestForJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                          SYxProjectDbRow_jobrun& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneWhere(conn,
                       CYxStringW::Format(L"%s=%I64d ORDER BY %s DESC, %s DESC LIMIT 1", L"iJobdefKeyRef", jobdefKey,
                                          L"dMTime", L"iKey"),
                       row);
}

int YxProjectDb_Jobrun_GetLastUnfinished(YxProjectDbHandle handle, SYxProjectDbRow_jobrun& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneWhere(conn, CYxStringW::Format(L"%s=1 ORDER BY iKey desc LIMIT 1", L"iFinishFlags"), row);
}

std::int64_t YxProjectDb_Jobrun_CountForJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey) {
    return ReadInt64(handle, CYxStringW::Format(L"SELECT COUNT(*) FROM %s WHERE %s.%s=%I64d;", L"jobrun", L"jobrun",
                                                L"iJobdefKeyRef", jobdefKey));
}

// ---------------------------------------------------------------- running flag, updates

int YxProjectDb_Jobrun_IsRunning(YxProjectDbHandle handle, const wchar_t* uuid, bool& running) {
    SYxProjectDbRow_jobrun row{};
    if (GetOneByUuid(handle, uuid, row) != 0) return YXPDB_E_NOCONNECTION;
    running = (row.iFinishFlags & YX_JOBRUN_FLAG_RUNNING) != 0;
    return 0;
}

int YxProjectDb_Jobrun_RemoveRunningFlag(YxProjectDbHandle handle) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    std::vector<std::int64_t> keys;
    const int rc = ReadKeys(conn,
                            CYxStringW::Format(L"SELECT %s FROM %s WHERE %s IS NOT NULL AND bitwiseand(%s,%I64d)=%I64d;",
                                               L"iKey", L"jobrun", L"iFinishFlags", L"iFinishFlags",
                                               std::int64_t{YX_JOBRUN_FLAG_RUNNING}, std::int64_t{YX_JOBRUN_FLAG_RUNNING}),
                            keys);
    for (std::int64_t key : keys) {
        // Failures of the repairs are not reported: the next start tries again.
        YxSqlite_Execute(db, CYxStringW::Format(L"UPDATE %s SET %s=bitsetmasked(%s,%I64d,%I64d), %s=(SELECT max(%s.%s) "
                                                L"FROM %s WHERE %s.%s=%I64d) WHERE %s.%s=%I64d;",
                                                L"jobrun", L"iFinishFlags", L"iFinishFlags",
                                                std::int64_t{YX_JOBRUN_FINISHED_REPAIRED}, std::int64_t{255}, L"dFTime",
                                                L"frame", L"dCTime", L"frame", L"frame", L"iJobrunKeyRef", key,
                                                L"jobrun", L"iKey", key));
        YxSqlite_Execute(db, CYxStringW::Format(L"UPDATE %s SET %s=(SELECT count(%s.%s) FROM %s WHERE %s.%s=%s.%s) "
                                                L"WHERE %s.%s=%I64d AND %s.%s=0;",
                                                L"file", L"iFrameCount", L"frame", L"iKey", L"frame", L"frame",
                                                L"iFileKeyRef", L"file", L"iKey", L"file", L"iJobrunKeyRef", key,
                                                L"file", L"iFrameCount"));
    }
    return rc;
}

int YxProjectDb_Jobrun_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name, const wchar_t* desc) {
    return UpdateValues(handle, kRun, key, {L"wszName", L"wszDesc"}, CYxStringW(name), CYxStringW(desc));
}

int YxProjectDb_Jobrun_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name) {
    return UpdateValues(handle, kRun, key, {L"wszName"}, CYxStringW(name));
}

int YxProjectDb_Jobrun_UpdateNotes(YxProjectDbHandle handle, std::int64_t key, const wchar_t* desc) {
    return UpdateValues(handle, kRun, key, {L"wszDesc"}, CYxStringW(desc));
}

int YxProjectDb_Jobrun_UpdateFinish(YxProjectDbHandle handle, std::int64_t key, std::int64_t flags, double finishTime,
                                    const wchar_t* message) {
    return UpdateValues(handle, kRun, key, {L"iFinishFlags", L"dFTime", L"wszFinishMessage"}, flags, finishTime,
                        CYxStringW(message));
}

int YxProjectDb_Jobrun_UpdateJobprogram(YxProjectDbHandle handle, std::int64_t key, std::int64_t programKey) {
    return UpdateValues(handle, kRun, key, {L"iJobprogramKeyRef"}, programKey);
}

int YxProjectDb_Jobrun_UpdateJobprogram(YxProjectDbHandle handle, std::int64_t key, std::int64_t jobdefKey,
                                        std::int64_t programKey) {
    return UpdateValues(handle, kRun, key, {L"iJobdefKeyRef", L"iJobprogramKeyRef"}, jobdefKey, programKey);
}

int YxProjectDb_Jobrun_Delete(YxProjectDbHandle handle, std::int64_t key) { return DeleteKey(handle, kRun, key); }

int YxProjectDb_Jobrun_DeleteFolder(YxProjectDbHandle handle, std::int64_t key) {
    CYxStringW path;
    const int rc = YxProjectDb_Jobrun_GetAbsPath(handle, key, path);
    if (rc != 0) return rc;
    if (!YxFs_Exists(path)) return 0;
    return YxFs_DeleteWithContents(path);
}

// ---------------------------------------------------------------- paths

CYxStringW YxProjectDb_Jobrun_MakeAbsPath(YxProjectDbHandle handle, const wchar_t* projectFolder,
                                          const wchar_t* runFolder) {
    const CYxStringW root = YxProjectDb_Db_ProjectRootFolder(handle);
    if (root.IsEmpty()) return root;
    CYxStringW p = YxFs_AddTrailingSeparator(root);
    p = YxFs_AddTrailingSeparator(p + projectFolder);
    p = YxFs_AddTrailingSeparator(p + runFolder);
    return YxFs_Native(p);
}

int YxProjectDb_Jobrun_GetAbsPath(YxProjectDbHandle handle, std::int64_t key, CYxStringW& path) {
    CYxStringW projFolder, runFolder;
    const int rc = ReadFolders(handle, key, projFolder, runFolder);
    if (rc != 0) return rc;
    path = YxProjectDb_Jobrun_MakeAbsPath(handle, projFolder, runFolder);
    return 0;
}

int YxProjectDb_Jobrun_GetImagesSize(YxProjectDbHandle handle, std::int64_t key, std::uint64_t& size) {
    CYxStringW path;
    const int rc = YxProjectDb_Jobrun_GetAbsPath(handle, key, path);
    if (rc != 0) return rc;
    std::uint64_t total = 0;
    std::error_code ec;
    const std::filesystem::path root(YxFs_NativeUtf8(path));
    if (std::filesystem::is_directory(root, ec)) {
        for (auto it = std::filesystem::recursive_directory_iterator(root, ec);
             !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            std::error_code fe;
            if (it->is_regular_file(fe)) total += it->file_size(fe);
        }
    }
    size = total;
    return 0;
}

// ---------------------------------------------------------------- value listings

namespace {
// "SELECT DISTINCT v.col FROM v INNER JOIN link ON link.ref=v.iKey WHERE link.iJobrunKeyRef=run LIMIT n;"
CYxStringW JoinedListing(const wchar_t* valueTable, const wchar_t* valueColumn, const wchar_t* link,
                         const wchar_t* linkRef, std::int64_t runKey, int limit, const wchar_t* extra = L"") {
    return CYxStringW::Format(L"SELECT DISTINCT %s.%s FROM %s INNER JOIN %s ON %s.%s=%s.%s WHERE %s.%s=%I64d%s LIMIT %d;",
                              valueTable, valueColumn, valueTable, link, link, linkRef, valueTable, L"iKey", link,
                              L"iJobrunKeyRef", runKey, extra, limit);
}
}  // namespace

int YxProjectDb_Jobrun_GetAllCustomMetadataGroups(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                                  std::vector<CYxStringW>& groups) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    int rc = ReadStrings(conn, JoinedListing(L"qualdef", L"wszGroupName", L"framequal", L"iQualdefKeyRef", runKey, limit),
                         groups, true);
    if (rc != 0) return rc;
    const CYxStringW onlyCustom = CYxStringW::Format(L" AND %s.%s=%d", L"propdef", L"iType", 1);
    return ReadStrings(conn,
                       JoinedListing(L"propdef", L"wszGroupName", L"frameprop", L"iPropdefKeyRef", runKey, limit,
                                     onlyCustom),
                       groups, true);
}

int YxProjectDb_Jobrun_GetAllPlateBarcodes(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                           std::vector<CYxStringW>& values) {
    return ReadStrings(handle,
                       JoinedListing(L"plateinfo", L"wszBarcode", L"frameplateinfo", L"iPlateinfoKeyRef", runKey, limit),
                       values, false);
}

int YxProjectDb_Jobrun_GetAllPlateNames(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                        std::vector<CYxStringW>& values) {
    return ReadStrings(handle,
                       JoinedListing(L"plateinfo", L"wszName", L"frameplateinfo", L"iPlateinfoKeyRef", runKey, limit),
                       values, false);
}

int YxProjectDb_Jobrun_GetAllSlideBarcodes(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                           std::vector<CYxStringW>& values) {
    return ReadStrings(handle,
                       JoinedListing(L"slideinfo", L"wszBarcode", L"frameslideinfo", L"iSlideinfoKeyRef", runKey, limit),
                       values, false);
}

int YxProjectDb_Jobrun_GetAllPropValues(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey,
                                        int limit, std::vector<double>& values) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"SELECT DISTINCT %s.%s FROM %s WHERE %s.%s=%I64d AND %s.%s=%I64d LIMIT %d;",
                                            L"frameprop", L"dValue", L"frameprop", L"frameprop", L"iJobrunKeyRef",
                                            runKey, L"frameprop", L"iPropdefKeyRef", propdefKey, limit));
    while (cmd.Next()) {
        double v = 0.0;
        cmd.Column(0, v);
        values.push_back(v);
    }
    return cmd.Result();
}

int YxProjectDb_Jobrun_GetAllQualValues(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t qualdefKey,
                                        int limit, std::vector<CYxStringW>& values) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const CYxStringW byQualdef = CYxStringW::Format(L" AND %s.%s=%I64d", L"framequal", L"iQualdefKeyRef", qualdefKey);
    return ReadStrings(conn,
                       JoinedListing(L"qualstr", L"wszName", L"framequal", L"iQualstrKeyRef", runKey, limit, byQualdef),
                       values, false);
}
