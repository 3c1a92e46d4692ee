// Runtime state of runs (jobrunrtstate, jobrunstate) (records_jobrun.h).
#include "gnr_projectdb/records_jobrun.h"

#include "gnr_projectdb/records/table_ops.h"

#include <sqlite3.h>

using namespace yxrec;

CYxByteArray YxProjectDb_JobrunRTState_EncodePhases(const std::vector<CYxStringW>& phases) {
    std::string text;
    for (const CYxStringW& p : phases) {
        text += p.ToUtf8();
        text += '\n';
    }
    return CYxByteArray(text.data(), text.size());
}

int YxProjectDb_JobrunRTState_InsertOrReplace(YxProjectDbHandle handle, std::int64_t runKey, const CYxByteArray& data,
                                              const CYxByteArray& executedPhases) {
    SYxProjectDbRow_jobrunrtstate row{0, runKey, data, executedPhases};
    return Insert(handle, row, nullptr, kOrReplace, eStampNone);
}

int YxProjectDb_JobrunRTState_GetOne(YxProjectDbHandle handle, std::int64_t runKey, SYxProjectDbRow_jobrunrtstate& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneWhere(conn, CYxStringW::Format(L"%s=%I64d", L"iJobrunKeyRef", runKey), row);
}

int YxProjectDb_JobrunRTState_GetOne_ExecutedPhases(YxProjectDbHandle handle, std::int64_t runKey,
                                                    std::vector<CYxStringW>& phases) {
    SYxProjectDbRow_jobrunrtstate row{};
    const int rc = YxProjectDb_JobrunRTState_GetOne(handle, runKey, row);
    if (rc != 0 || row.iKey == 0) return rc;
    const std::string text(reinterpret_cast<const char*>(row.pExecutedPhases.GetData()), row.pExecutedPhases.GetSize());
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        if (end > start) phases.push_back(CYxStringW::FromUtf8(std::string_view(text).substr(start, end - start)));
        start = end + 1;
    }
    return 0;
}

int YxProjectDb_JobrunRTState_Delete(YxProjectDbHandle handle, std::int64_t runKey) {
    return Execute(handle, CYxStringW::Format(L"DELETE FROM %s WHERE %s.%s=%I64d", L"jobrunrtstate", L"jobrunrtstate",
                                              L"iJobrunKeyRef", runKey));
}

int YxProjectDb_JobrunState_CreateTable(sqlite3* db) {
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd probe(db, L"SELECT * FROM sqlite_master WHERE type='table' AND tbl_name='jobrunstate';");
    const bool exists = probe.Next();
    if (probe.Result() != 0) return probe.Result();
    if (exists) return 0;
    return YxSqlite_Execute(db, L"CREATE TABLE jobrunstate (iKey INTEGER PRIMARY KEY, iJobrunKeyRef INTEGER, "
                                L"wszState TEXT);");
}

int YxProjectDb_JobrunState_SetState(sqlite3* db, std::int64_t runKey, const wchar_t* state) {
    if (!db || YxProjectDb_JobrunState_CreateTable(db) != 0) return YXPDB_E_NOCONNECTION;
    int error = 0;
    const std::int64_t key = YxSqlite_ReadOneInt64(
        db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%I64d LIMIT 1;", L"iKey", L"jobrunstate", L"iJobrunKeyRef",
                               runKey),
        &error);
    CYxStringW sql;
    if (error == SQLITE_DONE) {
        if (const int rc = YxSqlite_Format(sql, L"INSERT INTO %s(%s,%s) VALUES(%I64d,'%s');", L"jobrunstate",
                                           L"iJobrunKeyRef", L"wszState", runKey, state ? state : L""))
            return rc;
        return YxSqlite_ExecuteSingle(db, sql);
    }
    if (error != 0) return error;
    if (const int rc = YxSqlite_Format(sql, L"UPDATE %s SET %s='%s' WHERE iKey=%I64d;", L"jobrunstate", L"wszState",
                                       state ? state : L"", key))
        return rc;
    return YxSqlite_ExecuteSingle(db, sql);
}
