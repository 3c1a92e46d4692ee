// Qualifiers of frames (records_frame.h).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kQual = YxJobsDef_framequal;

int InsertQual(const Conn& conn, const wchar_t* clause, std::int64_t jobrunKey, std::int32_t frameIndex,
               std::int64_t qualdefKey, std::int64_t qualstrKey, std::int64_t* key) {
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    SYxProjectDbRow_framequal row{0, jobrunKey, frameIndex, qualdefKey, qualstrKey};
    return Insert(conn, row, key, clause, eStampNone);
}

}  // namespace

int YxProjectDb_Framequal_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                  std::vector<SYxProjectDbRow_framequal>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s=%I64d", L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Framequal_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                  std::vector<SYxProjectDbRow_framequal>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s=%I64d AND %s.%s=%d", L"iJobrunKeyRef", jobrunKey, kQual.wszName,
                                           L"iFrameIndex", frameIndex),
                        rows);
}

int YxProjectDb_Framequal_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                 std::int64_t qualdefKey, std::int64_t qualstrKey, std::int64_t* key) {
    return InsertQual(handle, nullptr, jobrunKey, frameIndex, qualdefKey, qualstrKey, key);
}

int YxProjectDb_Framequal_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                         std::int64_t qualdefKey, std::int64_t qualstrKey, std::int64_t* key) {
    return InsertQual(handle, kOrIgnore, jobrunKey, frameIndex, qualdefKey, qualstrKey, key);
}

int YxProjectDb_Framequal_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_framequal>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Framequal_InsertOrReplaceMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_framequal>& rows) {
    return InsertMany(handle, rows, kOrReplace);
}

int YxProjectDb_Framequal_InsertManySame(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t qualdefKey,
                                         std::int64_t qualstrKey) {
    return Execute(handle, CYxStringW::Format(L"INSERT OR REPLACE INTO %s (%s, %s, %s, %s) \n   SELECT  %s, %s, %I64d, "
                                              L"%I64d FROM %s WHERE %s=%I64d; \n",
                                              kQual.wszName, L"iJobrunKeyRef", L"iFrameIndex", L"iQualdefKeyRef",
                                              L"iQualstrKeyRef", L"iJobrunKeyRef", L"iFrameIndex", qualdefKey,
                                              qualstrKey, L"frame", L"iJobrunKeyRef", jobrunKey));
}

int YxProjectDb_Framequal_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_framequal>& rows) {
    return RemoveMany(handle, rows, {L"iJobrunKeyRef", L"iFrameIndex", L"iQualdefKeyRef"});
}

int YxProjectDb_Framequal_RemoveManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey) {
    return Execute(handle,
                   CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d", kQual.wszName, L"iJobrunKeyRef", jobrunKey));
}
