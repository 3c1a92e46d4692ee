// The non-template members of the common table operations (table_ops.h).
#include "gnr_projectdb/records/table_ops.h"

#include <string>
#include <unordered_set>

namespace yxrec {

int ReadStrings(const Conn& c, const wchar_t* sql, std::vector<CYxStringW>& out, bool unique) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    // The values already out, for an exact (case-sensitive) test in constant
    // time; the output keeps the order in which values first came.
    std::unordered_set<std::wstring> seen;
    if (unique)
        for (const CYxStringW& s : out) seen.insert(s.str());
    CYxSqliteCmd cmd(db, sql);
    while (cmd.Next()) {
        CYxStringW value;
        cmd.Column(0, value);
        if (unique && !seen.insert(value.str()).second) continue;
        out.push_back(std::move(value));
    }
    return cmd.Result();
}

int ReadKeys(const Conn& c, const wchar_t* sql, std::vector<std::int64_t>& out) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, sql);
    while (cmd.Next()) {
        std::int64_t value = 0;
        cmd.Column(0, value);
        out.push_back(value);
    }
    return cmd.Result();
}

std::int64_t ReadInt64(const Conn& c, const wchar_t* sql, int* status, bool* found) {
    if (found) *found = false;
    sqlite3* db = c.Db();
    if (!db) {
        if (status) *status = YXPDB_E_NOCONNECTION;
        return 0;
    }
    CYxSqliteCmd cmd(db, sql);
    std::int64_t value = 0;
    if (cmd.Next()) {
        cmd.Column(0, value);
        if (found) *found = true;
    }
    if (status) *status = cmd.Result();
    return cmd.Result() == 0 ? value : 0;
}

int Execute(const Conn& c, const wchar_t* sql) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    return YxSqlite_ExecuteSingle(db, sql);
}

int ExecuteScript(const Conn& c, const wchar_t* script) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    return YxSqlite_Execute(db, script);
}

bool HasRow(const Conn& c, const wchar_t* sql, int* status) {
    bool found = false;
    ReadInt64(c, sql, status, &found);
    return found;
}

int DeleteKey(const Conn& c, const SYxSqliteTableDef& def, std::int64_t key) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteDelete del(c.Stmts(), def);
    del.Row(key);
    return del.Result();
}

int DeleteByParent(const Conn& c, const SYxSqliteTableDef& def, const wchar_t* column, std::int64_t key) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    if (const int rc = YxSqlite_CheckColumn(def, column)) return rc;
    return YxSqlite_ExecuteSingle(
        db, CYxStringW::Format(L"DELETE FROM %s WHERE %s.%s=%I64d;", def.wszName, def.wszName, column, key));
}

int DeleteManyByUuid(const Conn& c, const SYxSqliteTableDef& def, const std::vector<CYxStringW>* uuids) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!uuids || uuids->empty()) return 0;
    CYxStringW list;
    for (const CYxStringW& u : *uuids)
        if (const int rc = YxSqlite_AppendFormat(list, L", '%s'", u)) return rc;
    return YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"DELETE FROM %s WHERE %s IN ('kvuli_carce' %s)", def.wszName,
                                                   L"wszUuid", list));
}

bool IsNameUnique(const Conn& c, const SYxSqliteTableDef& def, const wchar_t* nameColumn,
                  const wchar_t* name, CYxStringW& uniqueName, bool distinct) {
    if (!c) return true;
    const CYxStringW prefix = YxProjectDb_Sys_GetNamePrefix(name ? name : L"", false);
    const wchar_t* t = def.wszName;
    CYxStringW sql;
    std::vector<CYxStringW> names;
    if (YxSqlite_Format(sql, distinct ? L"SELECT DISTINCT %s.%s FROM %s WHERE %s.%s LIKE '%s%%'"
                                      : L"SELECT %s.%s FROM %s WHERE %s.%s LIKE '%s%%'",
                        t, nameColumn, t, t, nameColumn, prefix) == 0)
        ReadStrings(c, sql, names, false);
    return YxProjectDb_Sys_IsNameUnique(name ? name : L"", names, uniqueName, true, false);
}

std::int64_t GetLatestJobrun(const Conn& c, std::int64_t jobdefKey, std::int64_t mask,
                             std::int64_t value) {
    sqlite3* db = c.Db();
    if (!db) return 0;
    CYxStringW sql = CYxStringW::Format(L"SELECT %s.%s FROM %s WHERE %s.%s=%I64d", L"jobrun", L"iKey", L"jobrun",
                                        L"jobrun", L"iJobdefKeyRef", jobdefKey);
    if (mask != 0) sql.AppendFormat(L" AND bitwiseand(%s.%s, %I64d)=%I64d", L"jobrun", L"iFinishFlags", mask, value);
    sql.AppendFormat(L" ORDER BY %s.%s DESC LIMIT 1", L"jobrun", L"dCTime");
    int error = 0;
    const std::int64_t key = YxSqlite_ReadOneInt64(db, sql, &error);
    return error == 0 ? key : 0;
}

int GetAllUuuids(const Conn& conn, const SYxSqliteTableDef& child, const SYxSqliteTableDef& parent,
                 const wchar_t* refColumn, const wchar_t* parentUuid, std::vector<CYxStringW>& out) {
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* c = child.wszName;
    const wchar_t* p = parent.wszName;
    CYxStringW sql;
    if (const int rc = YxSqlite_Format(
            sql, L"SELECT %s.%s  FROM %s JOIN %s ON %s.%s = %s.%s WHERE %s.%s='%s' ORDER BY %s.%s COLLATE NOCASE asc",
            c, L"wszUuid", c, p, p, L"iKey", c, refColumn, p, L"wszUuid", parentUuid ? parentUuid : L"", c,
            L"wszName"))
        return rc;
    return ReadStrings(conn, sql, out, true);
}

}  // namespace yxrec
