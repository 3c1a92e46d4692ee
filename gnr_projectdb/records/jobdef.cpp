// Job definitions and definition tags (records_jobdef.h).
#include "gnr_projectdb/records_jobdef.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kJobdef = YxJobsDef_jobdef;
const SYxSqliteTableDef& kJobdeftag = YxJobsDef_jobdeftag;

CYxByteArray BytesOrEmpty(const CYxByteArray* bytes) { return bytes ? *bytes : CYxByteArray(); }
}  // namespace

int YxProjectDb_Jobdef_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobdef& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_Jobdef_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobdef& row) {
    return GetOneByUuid(handle, uuid, row);
}

int YxProjectDb_Jobdef_GetOneOrMany(YxProjectDbHandle handle, const wchar_t* name,
                                    std::vector<SYxProjectDbRow_jobdef>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyFormatted(conn, rows, L"%s='%s'", L"wszName", name ? name : L"");
}

int YxProjectDb_Jobdef_GetMany(YxProjectDbHandle handle, std::int64_t projKey,
                               std::vector<SYxProjectDbRow_jobdef>& rows) {
    return GetMany(handle, L"iProjKeyRef", projKey, rows);
}

int YxProjectDb_Jobdef_GetAll(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_jobdef>& rows) {
    return GetAll(handle, rows);
}

int YxProjectDb_Jobdef_GetAllDefType(YxProjectDbHandle handle, std::int32_t defType,
                                     std::vector<SYxProjectDbRow_jobdef>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s=%d", L"iDefType", defType), rows);
}

int YxProjectDb_Jobdef_GetAllUuuids(YxProjectDbHandle handle, const wchar_t* projUuid,
                                    std::vector<CYxStringW>& uuids) {
    return GetAllUuuids(handle, kJobdef, YxJobsDef_project, L"iProjKeyRef", projUuid, uuids);
}

std::int64_t YxProjectDb_Jobdef_GetLatestJobrun(YxProjectDbHandle handle, std::int64_t key, std::int64_t mask,
                                                std::int64_t value) {
    return GetLatestJobrun(handle, key, mask, value);
}

int YxProjectDb_Jobdef_ExistsInBothDbs(YxProjectDbHandle a, YxProjectDbHandle b, const wchar_t* uuid,
                                       bool& exists) {
    return ExistsInBothDbs<SYxProjectDbRow_jobdef>(a, b, uuid, exists);
}

int YxProjectDb_Jobdef_Insert(YxProjectDbHandle handle, std::int64_t projKey, std::int32_t state,
                              std::int32_t progress, const wchar_t* name, const wchar_t* desc, std::int32_t defType,
                              const CYxByteArray* usability, std::int64_t* key) {
    SYxProjectDbRow_jobdef row(0, projKey, state, progress, 0.0, 0.0, CYxStringW(), CYxStringW(name),
                               CYxStringW(desc), defType, BytesOrEmpty(usability));
    return Insert(handle, row, key, nullptr, eStampAll);
}

int YxProjectDb_Jobdef_Insert(YxProjectDbHandle handle, std::int64_t projKey, std::int32_t state,
                              std::int32_t progress, const wchar_t* uuid, const wchar_t* name, const wchar_t* desc,
                              std::int32_t defType, double cTime, double mTime, const CYxByteArray* usability,
                              std::int64_t* key) {
    SYxProjectDbRow_jobdef row(0, projKey, state, progress, cTime, mTime, CYxStringW(uuid), CYxStringW(name),
                               CYxStringW(desc), defType, BytesOrEmpty(usability));
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobdef_Import(YxProjectDbHandle handle, SYxProjectDbRow_jobdef& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    row.iKey = 0;
    return Insert(conn, row, nullptr, nullptr, eStampTimes);
}

bool YxProjectDb_Jobdef_IsNameUnique(YxProjectDbHandle handle, const wchar_t* name, CYxStringW& uniqueName) {
    return IsNameUnique(handle, kJobdef, L"wszName", name, uniqueName, true);
}

int YxProjectDb_Jobdef_Update(YxProjectDbHandle handle, std::int64_t key, std::int32_t state, std::int32_t progress,
                              const wchar_t* name, const wchar_t* desc, std::int32_t defType,
                              const CYxByteArray* usability) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const double now = YxProjectDb_Sys_JdnNow();
    return UpdateValues(conn, kJobdef, key,
                        {L"iState", L"iProgress", L"dMTime", L"wszName", L"wszDesc", L"iDefType", L"pUsability"}, state,
                        progress, now, CYxStringW(name), CYxStringW(desc), defType, BytesOrEmpty(usability));
}

int YxProjectDb_Jobdef_UpdateMTime(YxProjectDbHandle handle, std::int64_t key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return UpdateValues(conn, kJobdef, key, {L"dMTime"}, YxProjectDb_Sys_JdnNow());
}

int YxProjectDb_Jobdef_UpdateState(YxProjectDbHandle handle, std::int64_t key, std::int32_t state) {
    return UpdateValues(handle, kJobdef, key, {L"iState"}, state);
}

int YxProjectDb_Jobdef_Delete(YxProjectDbHandle handle, std::int64_t key) { return DeleteKey(handle, kJobdef, key); }

int YxProjectDb_Jobdef_DeleteMany(YxProjectDbHandle handle, const std::vector<CYxStringW>* uuids) {
    return DeleteManyByUuid(handle, kJobdef, uuids);
}

// ---------------------------------------------------------------- definition tags

int YxProjectDb_Jobdeftag_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, std::int64_t tagKey,
                                 std::int64_t* key) {
    SYxProjectDbRow_jobdeftag row{0, jobdefKey, tagKey};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobdeftag_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobdefKey, std::int64_t tagKey,
                                         std::int64_t* key) {
    SYxProjectDbRow_jobdeftag row{0, jobdefKey, tagKey};
    return Insert(handle, row, key, kOrIgnore, eStampNone);
}

int YxProjectDb_Jobdeftag_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_jobdeftag>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Jobdeftag_GetManyTags(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                      std::vector<SYxProjectDbRow_jobdeftag>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", L"jobdeftag", L"iJobdefKeyRef", jobdefKey), rows);
}

int YxProjectDb_Jobdeftag_GetManyJobdefs(YxProjectDbHandle handle, std::int64_t tagKey,
                                         std::vector<SYxProjectDbRow_jobdeftag>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", L"jobdeftag", L"iTagdefKeyRef", tagKey), rows);
}

int YxProjectDb_Jobdeftag_DeleteMany(YxProjectDbHandle handle, std::int64_t jobdefKey) {
    return DeleteByParent(handle, kJobdeftag, L"iJobdefKeyRef", jobdefKey);
}
