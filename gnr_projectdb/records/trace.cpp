// Traces (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kTrace = YxJobsDef_trace;
}  // namespace

int YxProjectDb_Trace_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                             std::int32_t traceId, std::int32_t frameIndex, std::int32_t frameCount, std::int64_t* key) {
    SYxProjectDbRow_trace row{0, jobrunKey, assayrunKey, traceId, frameIndex, frameCount};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Trace_InsertMany(YxProjectDbHandle handle, std::list<SYxProjectDbRow_trace>& rows) {
    // The bulk insert works on a vector; the new keys are copied back.
    std::vector<SYxProjectDbRow_trace> batch(rows.begin(), rows.end());
    const int rc = InsertMany(handle, batch);
    auto it = batch.begin();
    for (SYxProjectDbRow_trace& row : rows) row.iKey = (it++)->iKey;
    return rc;
}

int YxProjectDb_Trace_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey, std::list<SYxProjectDbRow_trace>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    std::vector<SYxProjectDbRow_trace> read;
    const int rc = GetManyWhere(conn, CYxStringW::Format(L"%s=%I64d", L"iJobrunKeyRef", jobrunKey), read);
    rows.insert(rows.end(), read.begin(), read.end());
    return rc;
}

int YxProjectDb_Trace_GetIKey(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                              std::int32_t traceId, std::int64_t& key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = kTrace.wszName;
    int rc = 0;
    key = ReadInt64(conn,
                    CYxStringW::Format(L"SELECT %s.%s FROM %s WHERE %s.%s=%I64d AND  %s.%s=%I64d AND %s.%s=%I64d", t,
                                       L"iKey", t, t, L"iJobrunKeyRef", jobrunKey, t, L"iAssayrunKeyRef", assayrunKey,
                                       t, L"iTraceId", static_cast<std::int64_t>(traceId)),
                    &rc);
    return rc;
}
