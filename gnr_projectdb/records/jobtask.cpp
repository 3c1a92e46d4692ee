// Job tasks (records_jobprogram.h).
#include "gnr_projectdb/records_jobprogram.h"

#include "gnr_projectdb/keymap.h"
#include "gnr_projectdb/records/keymap_fill.h"
#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kTask = YxJobsDef_jobtask;

// The old-to-new pairing of two programs' tasks by name.
CYxStringW PairSelect(std::int64_t oldKey, std::int64_t newKey) {
    return CYxStringW::Format(
        L"SELECT old.%s, new.%s FROM %s old, %s new WHERE old.%s=%I64d AND new.%s=%I64d AND old.%s=new.%s;", L"iKey",
        L"iKey", L"jobtask", L"jobtask", L"iJobprogramKeyRef", oldKey, L"iJobprogramKeyRef", newKey, L"wszName",
        L"wszName");
}
}  // namespace

int YxProjectDb_Jobtask_Insert(YxProjectDbHandle handle, std::int64_t programKey, std::int64_t parentKey,
                               std::int64_t blockNumber, std::int64_t order, const wchar_t* className,
                               const SYxProjectDbJobTaskState& state, const CYxByteArray* dependency,
                               std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) {
        if (key) *key = 0;
        return YXPDB_E_NOCONNECTION;
    }
    return YxProjectDb_Jobtask_Insert(handle, programKey, parentKey, blockNumber, order, className, state, dependency,
                                      YxProjectDb_Sys_UuidAsText(), key);
}

int YxProjectDb_Jobtask_Insert(YxProjectDbHandle handle, std::int64_t programKey, std::int64_t parentKey,
                               std::int64_t blockNumber, std::int64_t order, const wchar_t* className,
                               const SYxProjectDbJobTaskState& state, const CYxByteArray* dependency,
                               const wchar_t* uuid, std::int64_t* key) {
    SYxProjectDbRow_jobtask row{0,
                                programKey,
                                parentKey,
                                blockNumber,
                                order,
                                state.iVersion,
                                state.iState,
                                CYxStringW(className),
                                state.wszName,
                                state.wszNotes,
                                state.wszNotesDetailed,
                                state.pData,
                                state.pConnectionData,
                                dependency ? *dependency : CYxByteArray(),
                                state.pLockableParams,
                                CYxStringW(uuid)};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobtask_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t blockNumber,
                               std::int64_t order, const wchar_t* className, const SYxProjectDbJobTaskState& state) {
    return UpdateValues(handle, kTask, key,
                        {L"iBlockNumber", L"iOrder", L"wszClassName", L"iState", L"wszNotes", L"wszNotesDetailed"},
                        blockNumber, order, CYxStringW(className), state.iState, state.wszNotes,
                        state.wszNotesDetailed);
}

int YxProjectDb_Jobtask_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobtask& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_Jobtask_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobtask& row) {
    return GetOneByUuid(handle, uuid, row);
}

int YxProjectDb_Jobtask_GetOne(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* name,
                               SYxProjectDbRow_jobtask& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L"%s=%I64d AND %s='%s'", L"iJobprogramKeyRef", programKey, L"wszName",
                                          name ? name : L"");
}

int YxProjectDb_Jobtask_GetMany(YxProjectDbHandle handle, std::int64_t programKey,
                                std::vector<SYxProjectDbRow_jobtask>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    if (programKey == 0)
        return GetManyWhere(conn,
                            CYxStringW::Format(L"%s IS NULL ORDER BY %s, %s", L"iJobprogramKeyRef", L"iJobtaskKeyRef",
                                               L"iOrder"),
                            rows);
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s=%I64d ORDER BY %s, %s, %s", L"iJobprogramKeyRef", programKey,
                                           L"iJobprogramKeyRef", L"iJobtaskKeyRef", L"iOrder"),
                        rows);
}

int YxProjectDb_Jobtask_GetAllWithClass(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* className,
                                        std::vector<SYxProjectDbRow_jobtask>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyFormatted(conn, rows, L"%s=%I64d AND %s='%s'", L"iJobprogramKeyRef", programKey, L"wszClassName",
                                           className ? className : L"");
}

int YxProjectDb_Jobtask_GetAllWithState(YxProjectDbHandle handle, std::int64_t programKey, std::int64_t bits,
                                        std::vector<SYxProjectDbRow_jobtask>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s=%I64d AND bitwiseand(%s, %I64d)=%I64d", L"iJobprogramKeyRef",
                                           programKey, L"iState", bits, bits),
                        rows);
}

int YxProjectDb_Jobtask_GetOldToNewMap(YxProjectDbHandle handle, std::int64_t oldProgramKey,
                                       std::int64_t newProgramKey, std::map<std::int64_t, std::int64_t>& map) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, PairSelect(oldProgramKey, newProgramKey));
    while (cmd.Next()) {
        std::int64_t oldKey = 0, newKey = 0;
        cmd.Column(0, oldKey);
        cmd.Column(1, newKey);
        map[oldKey] = newKey;
    }
    return cmd.Result();
}

int YxProjectDb_Jobtask_CreateOldToNewLookupTable(YxProjectDbHandle handle, std::int64_t oldProgramKey,
                                                  std::int64_t newProgramKey, CYxStringW& tableName) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    // A key map (keymap.h) filled with the pairs of tasks of equal name.
    int rc = YxProjectDb_KeyMap_Create(handle, tableName);
    if (rc == 0) rc = KeyMapFillFromSelect(handle, tableName, PairSelect(oldProgramKey, newProgramKey));
    return rc;
}

int YxProjectDb_Jobtask_Delete(YxProjectDbHandle handle, std::int64_t key) {
    return Execute(handle, CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d;", L"jobtask", L"iKey", key));
}

int YxProjectDb_Jobtask_DeleteIfNotInJobrun(YxProjectDbHandle handle, std::int64_t key) {
    return Execute(handle, CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d AND %s IS NULL;", L"jobtask", L"iKey",
                                              key, L"iJobprogramKeyRef"));
}

int YxProjectDb_Jobtask_DeleteMany(YxProjectDbHandle handle, std::int64_t programKey) {
    return Execute(handle, CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d;", L"jobtask", L"iJobprogramKeyRef",
                                              programKey));
}

int YxProjectDb_Jobtask_DeleteUnreferenced(YxProjectDbHandle handle) {
    return Execute(handle, CYxStringW::Format(L"DELETE FROM %s WHERE %s IS NULL AND %s > -1;\n", L"jobtask",
                                              L"iJobprogramKeyRef", L"iOrder"));
}
