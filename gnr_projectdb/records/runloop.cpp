// Acquisition loops of a run (records_frame.h).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kLoop = YxJobsDef_runloop;
}  // namespace

std::int64_t YxProjectDb_Runloop_Find(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t order,
                                      std::int32_t nestLevel) {
    // The run key is compared through its 32-bit form, as the statement
    // always did.
    return ReadInt64(handle, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%d AND %s=%d AND %s=%d;", L"iKey",
                                                kLoop.wszName, L"iJobrunKeyRef", static_cast<std::int32_t>(jobrunKey),
                                                L"iOrder", order, L"iNestLevel", nestLevel));
}

int YxProjectDb_Runloop_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                               std::int32_t order, std::int32_t nestLevel, std::int32_t loopType, std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    SYxProjectDbRow_runloop row{0, jobrunKey, jobtaskKey, order, nestLevel, loopType};
    return Insert(conn, row, key, nullptr, eStampNone);
}

int YxProjectDb_Runloop_GetOrInsert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                    std::int32_t order, std::int32_t nestLevel, std::int32_t loopType,
                                    std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const std::int64_t found = YxProjectDb_Runloop_Find(handle, jobrunKey, order, nestLevel);
    if (found != 0) {
        if (key) *key = found;
        return 0;
    }
    return YxProjectDb_Runloop_Insert(handle, jobrunKey, jobtaskKey, order, nestLevel, loopType, key);
}

int YxProjectDb_Runloop_GetIKey(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t order,
                                std::int64_t& key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = kLoop.wszName;
    int rc = 0;
    key = ReadInt64(conn,
                    CYxStringW::Format(L"SELECT %s.%s FROM %s WHERE %s.%s=%I64d AND %s.%s=%I64d ", t, L"iKey", t, t,
                                       L"iJobrunKeyRef", jobrunKey, t, L"iOrder", static_cast<std::int64_t>(order)),
                    &rc);
    return rc;
}

int YxProjectDb_Runloop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                std::vector<SYxProjectDbRow_runloop>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s=%I64d ORDER BY %s", L"iJobrunKeyRef", jobrunKey, L"runloop.iOrder"),
                        rows);
}

int YxProjectDb_Runloop_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_runloop& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_Runloop_UpdateIncOrder(YxProjectDbHandle handle, std::int64_t jobrunKey) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    if (YxSqlite_Execute(db, L"BEGIN TRANSACTION;") != 0) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = kLoop.wszName;
    // Through negative orders, so that no two loops of the run ever share an
    // order on the way.
    int rc = YxSqlite_Execute(db, CYxStringW::Format(L"UPDATE %s SET %s=-(%s+1), %s=%s+1 WHERE %s=%I64d;", t,
                                                     L"iOrder", L"iOrder", L"iNestLevel", L"iNestLevel",
                                                     L"iJobrunKeyRef", jobrunKey));
    if (rc == 0)
        rc = YxSqlite_Execute(db, CYxStringW::Format(L"UPDATE %s SET %s=-%s WHERE %s=%I64d;", t, L"iOrder", L"iOrder",
                                                     L"iJobrunKeyRef", jobrunKey));
    if (rc != 0) {
        // SQLite may have ended the transaction itself already.
        if (!sqlite3_get_autocommit(db)) YxSqlite_Execute(db, L"ROLLBACK TRANSACTION;");
        return YXPDB_E_NOCONNECTION;
    }
    rc = YxSqlite_Execute(db, L"COMMIT TRANSACTION;");
    if (rc != 0 && !sqlite3_get_autocommit(db)) YxSqlite_Execute(db, L"ROLLBACK TRANSACTION;", nullptr, false);
    return rc;
}

int YxProjectDb_Runloop_ReplaceTaskKeyRefMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              const wchar_t* mapTable) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    // The map table's name is spliced as a name: it must be an identifier.
    const wchar_t* m = mapTable ? mapTable : L"";
    if (const int rc = YxSqlite_CheckIdentifier(m)) return rc;
    return Execute(conn, CYxStringW::Format(L"UPDATE %s SET %s=ifnull((SELECT %s.%s FROM %s WHERE %s.%s=%s), %s) "
                                              L"WHERE %s=%I64d;",
                                              kLoop.wszName, L"iJobtaskKeyRef", m, L"iValue", m, m, L"iKey",
                                              L"iJobtaskKeyRef", L"iJobtaskKeyRef", L"iJobrunKeyRef", jobrunKey));
}
