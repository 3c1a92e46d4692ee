// The companion tables of job definitions: task list and toolbar marks, the
// last state of job classes, job users (records_jobdef.h).
#include "gnr_projectdb/records_jobdef.h"

#include "framework/yxclocale.h"
#include "framework/yxlitevariant.h"
#include "gnr_projectdb/records/table_ops.h"

#include <cwchar>

using namespace yxrec;

// ---------------------------------------------------------------- job task state

int SYxProjectDbJobTaskState::LoadFromLiteVariant(const CYxLiteVariantR& reader) {
    int found = 0;
    CYxStringW text;
    if (reader.GetText(L"version", text) == 0) {
        iVersion = std::wcstoll(text.c_str(), nullptr, 10);
        ++found;
    }
    if (reader.GetText(L"state", text) == 0) {
        iState = static_cast<std::int32_t>(std::wcstol(text.c_str(), nullptr, 10));
        ++found;
    }
    if (reader.GetText(L"mtime", text) == 0) {
        dMTime = YxWcstodC(text.c_str());
        ++found;
    }
    found += reader.GetText(L"name", wszName) == 0;
    found += reader.GetText(L"notes", wszNotes) == 0;
    found += reader.GetText(L"notesdetailed", wszNotesDetailed) == 0;
    found += reader.GetBytes(L"data", pData) == 0;
    found += reader.GetBytes(L"connectiondata", pConnectionData) == 0;
    found += reader.GetBytes(L"lockableparams", pLockableParams) == 0;
    return found ? 0 : YXPDB_E_NOTFOUND;
}

// ---------------------------------------------------------------- task list and toolbar

namespace {

template <class Row>
bool MarkExists(const Conn& conn, std::int64_t jobdefKey) {
    if (!conn) return false;
    std::vector<Row> rows;
    const wchar_t* t = Row::Def().wszName;
    GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", t, L"iJobdefKeyRef", jobdefKey), rows);
    return !rows.empty();
}

template <class Row>
int MarkInsert(const Conn& conn, std::int64_t jobdefKey, std::int64_t* key) {
    if (key) *key = 0;
    if (!conn) return YXPDB_E_NOCONNECTION;
    if (MarkExists<Row>(conn, jobdefKey)) return 0;
    Row row{0, jobdefKey};
    return Insert(conn, row, key, nullptr, eStampNone);
}

template <class Row>
int MarkGetMany(YxProjectDbHandle handle, std::int64_t jobdefKey, std::vector<Row>& rows) {
    return GetMany(handle, L"iJobdefKeyRef", jobdefKey, rows);
}

template <class Row>
int MarkDelete(const Conn& conn, std::int64_t jobdefKey) {
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = Row::Def().wszName;
    return YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"DELETE FROM %s WHERE %s.%s=%I64d", t, t, L"iJobdefKeyRef",
                                                         jobdefKey));
}

}  // namespace

int YxProjectDb_TaskListjobdef_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, std::int64_t* key) {
    return MarkInsert<SYxProjectDbRow_taskListjobdef>(handle, jobdefKey, key);
}
bool YxProjectDb_TaskListjobdef_Exists(YxProjectDbHandle handle, std::int64_t jobdefKey) {
    return MarkExists<SYxProjectDbRow_taskListjobdef>(handle, jobdefKey);
}
int YxProjectDb_TaskListjobdef_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                        std::vector<SYxProjectDbRow_taskListjobdef>& rows) {
    return MarkGetMany(handle, jobdefKey, rows);
}
int YxProjectDb_TaskListjobdef_Delete(YxProjectDbHandle handle, std::int64_t jobdefKey) {
    return MarkDelete<SYxProjectDbRow_taskListjobdef>(handle, jobdefKey);
}

int YxProjectDb_Toolbarjobdef_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, std::int64_t* key) {
    return MarkInsert<SYxProjectDbRow_toolbarjobdef>(handle, jobdefKey, key);
}
bool YxProjectDb_Toolbarjobdef_Exists(YxProjectDbHandle handle, std::int64_t jobdefKey) {
    return MarkExists<SYxProjectDbRow_toolbarjobdef>(handle, jobdefKey);
}
int YxProjectDb_Toolbarjobdef_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                       std::vector<SYxProjectDbRow_toolbarjobdef>& rows) {
    return MarkGetMany(handle, jobdefKey, rows);
}
int YxProjectDb_Toolbarjobdef_Delete(YxProjectDbHandle handle, std::int64_t jobdefKey) {
    return MarkDelete<SYxProjectDbRow_toolbarjobdef>(handle, jobdefKey);
}

// ---------------------------------------------------------------- last state of a job class

int YxProjectDb_Jobclasslaststate_GetOne(YxProjectDbHandle handle, const wchar_t* uniqueName,
                                         SYxProjectDbJobTaskState& state) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = L"jobclasslaststate";
    CYxStringW sql;
    if (const int rc = YxSqlite_Format(sql, L"SELECT %s.%s, %s.%s, %s.%s, %s.%s, %s.%s FROM %s WHERE %s.%s='%s';", t,
                                       L"iVersion", t, L"iState", t, L"wszName", t, L"pData", t, L"dMTime", t, t,
                                       L"wszUniqueName", uniqueName ? uniqueName : L""))
        return rc;
    CYxSqliteCmd cmd(db, sql);
    if (cmd.Next()) {
        cmd.Column(0, state.iVersion);
        cmd.Column(1, state.iState);
        cmd.Column(2, state.wszName);
        cmd.Column(3, state.pData);
        cmd.Column(4, state.dMTime);
    }
    return cmd.Result();
}

int YxProjectDb_Jobclasslaststate_GetAll(YxProjectDbHandle handle,
                                         std::vector<SYxProjectDbRow_jobclasslaststate>& rows) {
    return GetAll(handle, rows);
}

int YxProjectDb_Jobclasslaststate_InsertOrUpdate(YxProjectDbHandle handle, const wchar_t* uniqueName,
                                                 const SYxProjectDbJobTaskState& state, std::int64_t* key) {
    if (key) *key = 0;
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    const double now = YxProjectDb_Sys_JdnNow();
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"INSERT OR REPLACE INTO %s (%s, %s, %s, %s, %s, %s) VALUES (?, ?, ?, ?, ?, ?);",
                                            L"jobclasslaststate", L"wszUniqueName", L"iVersion", L"iState", L"wszName",
                                            L"pData", L"dMTime"));
    cmd.Bind(1, uniqueName ? uniqueName : L"");
    cmd.BindInt64(2, state.iVersion);
    cmd.BindInt32(3, state.iState);
    cmd.Bind(4, state.wszName);
    cmd.Bind(5, state.pData);
    cmd.Bind(6, now);
    std::int64_t rowid = 0;
    cmd.Next(&rowid);
    if (cmd.Result() == 0 && key) *key = rowid;
    return cmd.Result();
}

// ---------------------------------------------------------------- job users

int YxProjectDb_Jobuser_GetOne(YxProjectDbHandle handle, const wchar_t* username, const wchar_t* password,
                               SYxProjectDbRow_jobuser& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    SYxProjectDbRow_jobuser found{};
    const int rc = GetOneFormatted(conn, found, L"%s='%s' AND %s='%s'", L"wszUsername", username ? username : L"",
                                                  L"wszPassword", password ? password : L"");
    if (rc != 0) return rc;
    if (found.iKey == 0) return YXPDB_E_NOTFOUND;
    row = found;
    return 0;
}

int YxProjectDb_Jobuser_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobuser& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_Jobuser_Insert(YxProjectDbHandle handle, const wchar_t* username, const wchar_t* password,
                               std::int64_t* key) {
    if (key) *key = 0;
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    // Two columns against three placeholders: SQLite refuses to prepare this,
    // and the failure is what callers of this form get.
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"INSERT INTO %s ( %s, %s) VALUES (?, ?, ?);", L"jobuser", L"wszUsername",
                                            L"wszPassword"));
    cmd.Bind(1, username ? username : L"");
    cmd.Bind(2, password ? password : L"");
    std::int64_t rowid = 0;
    cmd.Next(&rowid);
    if (cmd.Result() == 0 && key) *key = rowid;
    return cmd.Result();
}

int YxProjectDb_Jobuser_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* username,
                               const wchar_t* password) {
    return UpdateValues(handle, YxJobsDef_jobuser, key, {L"wszUsername", L"wszPassword"},
                        CYxStringW(username), CYxStringW(password));
}

int YxProjectDb_Jobuser_UpdateOrInsert(YxProjectDbHandle handle, const wchar_t* username, const wchar_t* password,
                                       SYxProjectDbMap_oldToNew& entry) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    SYxProjectDbRow_jobuser row{};
    int rc = GetOneFormatted(conn, row, L"  %s='%s' ", L"wszUsername", username ? username : L"");
    if (rc != 0) return rc;
    if (row.iKey != 0) {
        rc = YxProjectDb_Jobuser_Update(handle, row.iKey, username, password);
        entry.iOldKey = row.iKey;
        return rc;
    }
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"INSERT INTO %s (%s, %s) VALUES (?, ?);", L"jobuser", L"wszUsername",
                                            L"wszPassword"));
    cmd.Bind(1, username ? username : L"");
    cmd.Bind(2, password ? password : L"");
    std::int64_t rowid = 0;
    cmd.Next(&rowid);
    if (cmd.Result() == 0) {
        entry.iOldKey = rowid;
        entry.iNewKey = 0;
    }
    return cmd.Result();
}
