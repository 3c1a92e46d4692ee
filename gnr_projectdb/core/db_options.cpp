// Options: named rows of the settings table.
#include "framework/yxtranslate.h"
#include "gnr_projectdb/core/db_internal.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

#include <cwchar>

namespace {

CYxStringW ReadOption(sqlite3* db, const wchar_t* name, const wchar_t* type) {
    // A name holding a quote reads nothing: the option is missing.
    CYxStringW sql;
    if (YxSqlite_Format(sql, L"SELECT %s FROM %s WHERE %s='%s' AND %s='%s'", L"varValue", L"settings", L"wszName",
                        name, L"wszType", type) != 0)
        return CYxStringW();
    int err = 0;
    return YxSqlite_ReadOneStringW(db, sql, &err);
}
}  // namespace

int YxProjectDb_Db_GetOptInt32(YxProjectDbHandle handle, const wchar_t* name) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db || !name) return 0;
    return static_cast<int>(std::wcstol(ReadOption(db, name, L"int32").c_str(), nullptr, 10));
}

CYxStringW YxProjectDb_Db_GetOptStr(YxProjectDbHandle handle, const wchar_t* name) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db || !name) return CYxStringW();
    return ReadOption(db, name, L"stringw");
}

int YxProjectDb_Db_SetOptInt32(YxProjectDbHandle handle, const wchar_t* name, int value) {
    static const wchar_t* const kKnown[] = {L"folderformat", L"sortorder", L"customtype", L"customid", L"sorttype"};
    bool known = false;
    for (const wchar_t* k : kKnown) known = known || (name && CYxStringW(name).EqualsNoCase(k));
    if (!known) return YXPDB_E_NOTFOUND;
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    // The write's own outcome is deliberately not reported.
    CYxStringW sql;
    if (YxSqlite_Format(sql, L"INSERT OR REPLACE INTO %s (%s, %s, %s) VALUES ('%s', '%s', %d);\n", L"settings",
                        L"wszName", L"wszType", L"varValue", name, L"int32", value) == 0)
        YxSqlite_ExecuteSingle(db, sql, nullptr, true);
    return YXPDB_OK;
}

int YxProjectDb_Db_SetOptStr(YxProjectDbHandle handle, const wchar_t* name, const wchar_t* value) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    const CYxStringW n(name);
    CYxStringW v(value);
    // A pragma value is spliced bare: only SQLite's own values pass; anything
    // else fails as a refused statement and nothing is stored.
    int rc = SQLITE_OK;
    if (n.EqualsNoCase(L"journal_mode"))
        rc = YxSqlite_IsJournalModeValue(v)
                 ? YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"PRAGMA journal_mode=%s;", v), nullptr, true)
                 : SQLITE_ERROR;
    else if (n.EqualsNoCase(L"synchronous"))
        rc = YxSqlite_IsSynchronousValue(v)
                 ? YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"PRAGMA synchronous=%s;", v), nullptr, true)
                 : SQLITE_ERROR;
    if (rc != SQLITE_OK) return rc;
    if (n == L"categories" && v == YX_GetTranslation("gnr_projectdb/cyxprojectdb", L"Default")) v.Empty();
    // A name or value holding a single quote is refused by the guard and
    // nothing is written; that failure is not reported, as for every option
    // write.
    CYxStringW sql;
    if (YxSqlite_Format(sql, L"INSERT OR REPLACE INTO %s (%s, %s, %s) VALUES ('%s', '%s', '%s');\n", L"settings",
                        L"wszName", L"wszType", L"varValue", n, L"stringw", v) == 0)
        YxSqlite_ExecuteSingle(db, sql, nullptr, false);
    return YXPDB_OK;
}
