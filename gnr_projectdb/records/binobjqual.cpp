// Qualifiers of binary objects (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kQual = YxJobsDef_binobjqual;
}  // namespace

int YxProjectDb_Binobjqual_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobjqual>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Binobjqual_InsertOrReplaceMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobjqual>& rows) {
    return InsertMany(handle, rows, kOrReplace);
}

int YxProjectDb_Binobjqual_GetManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                    std::vector<SYxProjectDbRow_binobjqual>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s=%I64d", L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Binobjqual_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_binobjqual>& rows) {
    return RemoveMany(handle, rows, {L"iBinobjKeyRef", L"iQualdefKeyRef"});
}

int YxProjectDb_Binobjqual_RemoveMany(YxProjectDbHandle handle, std::int64_t jobrunKey) {
    return Execute(handle,
                   CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d;", kQual.wszName, L"iJobrunKeyRef", jobrunKey));
}
