// Qualifiers of traces (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kQual = YxJobsDef_tracequal;
}  // namespace

int YxProjectDb_Tracequal_InsertOrReplaceMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_tracequal>& rows) {
    return InsertMany(handle, rows, kOrReplace);
}

int YxProjectDb_Tracequal_GetManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                   std::vector<SYxProjectDbRow_tracequal>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s=%I64d", L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Tracequal_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_tracequal>& rows) {
    return RemoveMany(handle, rows, {L"iJobrunKeyRef", L"iTraceKeyRef", L"iQualdefKeyRef"});
}

int YxProjectDb_Tracequal_RemoveMany(YxProjectDbHandle handle, std::int64_t jobrunKey) {
    return Execute(handle,
                   CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d;", kQual.wszName, L"iJobrunKeyRef", jobrunKey));
}
