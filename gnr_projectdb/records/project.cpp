// Projects and project tags (records_project.h).
#include "gnr_projectdb/records_project.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records/table_ops.h"
#include "uisupport/yxpath.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kProj = YxJobsDef_project;
const SYxSqliteTableDef& kProjtag = YxJobsDef_projtag;

// Steps 1 to 5 of a project insert: the folder made valid, absolute, checked
// for a free name and created; the name actually created goes to stored.
int PrepareProjectFolder(YxProjectDbHandle handle, const wchar_t* folderName, CYxStringW& stored) {
    const CYxStringW valid = YxProjectDb_Sys_CheckFolderName(folderName ? folderName : L"");
    const CYxStringW abs = YxProjectDb_Proj_MakeAbsPath(handle, valid);
    CYxStringW path;
    int rc = YxProjectDb_Proj_CheckFolderPath(abs, path);
    if (rc != 0) return rc;
    rc = YxFs_CreateDirectories(path);
    if (rc != 0) return rc;
    CYxStringW folder, last;
    YxPath_Split(path, folder, last);
    last.Trim(L"\\/");
    stored = last;
    return 0;
}

int InsertProject(YxProjectDbHandle handle, const wchar_t* uuid, const wchar_t* name, const wchar_t* desc,
                  const wchar_t* folderName, double cTime, double mTime, bool stamp, std::int64_t* key) {
    if (key) *key = 0;
    // An unknown handle has no project root: nothing may be created then.
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    CYxStringW stored;
    const int rc = PrepareProjectFolder(handle, folderName, stored);
    if (rc != 0) return rc;
    SYxProjectDbRow_project row{0, cTime, mTime, CYxStringW(uuid), CYxStringW(name), CYxStringW(desc), stored};
    return Insert(conn, row, key, nullptr, stamp ? eStampAll : eStampNone);
}

}  // namespace

int YxProjectDb_Proj_CheckFolderPath(const wchar_t* path, CYxStringW& result) {
    const CYxStringW p(path);
    if (YxFs_Exists(p) && !YxFs_IsDirectoryEmpty(p)) {
        CYxStringW free;
        if (!YxFs_FreeSiblingName(p, free)) {
            result.Empty();
            return YXPDB_E_NOCONNECTION;
        }
        free.Replace(L"\\ ", L" ");
        result = YxFs_AddTrailingSeparator(free);
        return 0;
    }
    result = YxFs_AddTrailingSeparator(p);
    return 0;
}

CYxStringW YxProjectDb_Proj_MakeAbsPath(YxProjectDbHandle handle, const wchar_t* folderName) {
    CYxStringW root = YxProjectDb_Db_ProjectRootFolder(handle);
    if (!root.IsEmpty()) root = YxFs_AddTrailingSeparator(root);
    root += folderName;
    return YxFs_AddTrailingSeparator(root);
}

int YxProjectDb_Proj_Insert(YxProjectDbHandle handle, const wchar_t* name, const wchar_t* desc,
                            const wchar_t* folderName, std::int64_t* key) {
    return InsertProject(handle, L"", name, desc, folderName, 0.0, 0.0, true, key);
}

int YxProjectDb_Proj_Insert(YxProjectDbHandle handle, const wchar_t* uuid, const wchar_t* name, const wchar_t* desc,
                            const wchar_t* folderName, double cTime, double mTime, std::int64_t* key) {
    return InsertProject(handle, uuid, name, desc, folderName, cTime, mTime, false, key);
}

int YxProjectDb_Proj_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name, const wchar_t* desc,
                            const wchar_t* folderName) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const double now = YxProjectDb_Sys_JdnNow();
    return UpdateValues(conn, kProj, key, {L"dMTime", L"wszName", L"wszDesc", L"wszFolderName"}, now,
                        CYxStringW(name), CYxStringW(desc), CYxStringW(folderName));
}

int YxProjectDb_Proj_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name, const wchar_t* desc) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const double now = YxProjectDb_Sys_JdnNow();
    return UpdateValues(conn, kProj, key, {L"dMTime", L"wszName", L"wszDesc"}, now, CYxStringW(name),
                        CYxStringW(desc));
}

int YxProjectDb_Proj_Delete(YxProjectDbHandle handle, std::int64_t key) { return DeleteKey(handle, kProj, key); }

int YxProjectDb_Proj_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_project& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_Proj_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_project& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L"%s.%s='%s'", kProj.wszName, L"wszUuid", uuid ? uuid : L"");
}

int YxProjectDb_Proj_GetAll(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_project>& rows) {
    return GetAll(handle, rows);
}

int YxProjectDb_Proj_GetAllJobruns(YxProjectDbHandle handle, std::int64_t projKey,
                                   std::vector<SYxProjectDbRow_jobrun>& rows) {
    return GetMany(handle, L"iProjKeyRef", projKey, rows);
}

int YxProjectDb_Proj_GetAllUuuids(YxProjectDbHandle handle, std::vector<CYxStringW>& uuids) {
    return ReadStrings(handle, CYxStringW::Format(L"SELECT %s FROM %s ", L"wszUuid", kProj.wszName), uuids, true);
}

int YxProjectDb_Proj_getUUIDFromJobDefUUIDs(YxProjectDbHandle handle, const std::vector<CYxStringW>& jobdefUuids,
                                            std::vector<CYxStringW>& projUuids) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    // SQLite limits the depth of an expression (1000 terms): a long list is
    // asked in chunks of the same statement, and the answers are joined
    // without repeating a value. Every condition is built (and every uuid
    // checked) before the first statement runs. No uuids: one statement
    // without a condition.
    constexpr std::size_t kChunk = 500;
    std::vector<CYxStringW> conditions(1);
    for (std::size_t i = 0; i < jobdefUuids.size(); ++i) {
        if (i > 0 && i % kChunk == 0) conditions.emplace_back();
        CYxStringW& where = conditions.back();
        where += where.IsEmpty() ? L" WHERE " : L" OR ";
        if (const int rc = YxSqlite_AppendFormat(where, L" %s.%s = '%s' ", L"jobdef", L"wszUuid", jobdefUuids[i]))
            return rc;
    }
    for (const CYxStringW& where : conditions) {
        const CYxStringW sql = CYxStringW::Format(L"SELECT %s.%s FROM %s  JOIN %s ON %s.%s = %s.%s %s", L"project",
                                                  L"wszUuid", L"project", L"jobdef", L"jobdef", L"iProjKeyRef",
                                                  L"project", L"iKey", where);
        if (const int rc = ReadStrings(conn, sql, projUuids, true)) return rc;
    }
    return 0;
}

int YxProjectDb_Proj_GetCount(YxProjectDbHandle handle) {
    return static_cast<int>(ReadInt64(handle, CYxStringW::Format(L"SELECT count(*) FROM %s;", kProj.wszName)));
}

std::int64_t YxProjectDb_Proj_GetLatest(YxProjectDbHandle handle) {
    return ReadInt64(handle, CYxStringW::Format(L"SELECT %s.%s FROM %s ORDER BY %s.%s DESC LIMIT 1;", L"project",
                                                L"iKey", L"project", L"project", L"dMTime"));
}

bool YxProjectDb_Proj_IsExisting(YxProjectDbHandle handle, std::int64_t key) {
    return HasRow(handle, CYxStringW::Format(L"SELECT %s.%s FROM %s WHERE %s.%s=%I64d;", L"project", L"iKey",
                                             L"project", L"project", L"iKey", key));
}

bool YxProjectDb_Proj_IsNameUnique(YxProjectDbHandle handle, const wchar_t* name, CYxStringW& uniqueName) {
    return IsNameUnique(handle, kProj, L"wszName", name, uniqueName, false);
}

// ---------------------------------------------------------------- project tags

int YxProjectDb_Projtag_Insert(YxProjectDbHandle handle, std::int64_t projKey, std::int64_t tagKey,
                               std::int64_t* key) {
    SYxProjectDbRow_projtag row{0, projKey, tagKey};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Projtag_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t projKey, std::int64_t tagKey,
                                       std::int64_t* key) {
    SYxProjectDbRow_projtag row{0, projKey, tagKey};
    return Insert(handle, row, key, kOrIgnore, eStampNone);
}

int YxProjectDb_Projtag_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_projtag>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Projtag_Exists(YxProjectDbHandle handle, std::int64_t projKey, std::int64_t tagKey, bool& exists) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    // The two terms are joined by a comma, as the condition has always been
    // written; SQLite does not accept it, so no row is ever read here.
    const CYxStringW where = CYxStringW::Format(L"%s.%s=%I64d , %s.%s=%I64d ", L"projtag", L"iTagdefKeyRef", tagKey,
                                                L"projtag", L"iProjKeyRef", projKey);
    CYxSqliteSelect sel(conn.Db(), kProjtag, where);
    exists = sel.Next();
    return sel.Result();
}

int YxProjectDb_Projtag_GetManyTags(YxProjectDbHandle handle, std::int64_t projKey,
                                    std::vector<SYxProjectDbRow_projtag>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", L"projtag", L"iProjKeyRef", projKey), rows);
}

int YxProjectDb_Projtag_GetManyProjs(YxProjectDbHandle handle, std::int64_t tagKey,
                                     std::vector<SYxProjectDbRow_projtag>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", L"projtag", L"iTagdefKeyRef", tagKey), rows);
}

int YxProjectDb_Projtag_DeleteMany(YxProjectDbHandle handle, std::int64_t projKey) {
    return DeleteByParent(handle, kProjtag, L"iProjKeyRef", projKey);
}
