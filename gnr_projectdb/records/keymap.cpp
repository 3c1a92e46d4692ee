// Temporary key-map tables (keymap.h).
#include "gnr_projectdb/keymap.h"

#include "gnr_projectdb/records/keymap_fill.h"
#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const wchar_t* const kOld = L"iKey";
const wchar_t* const kNew = L"iValue";

// The connection of the handle, with the name checked: -9 or -13 into *rc.
sqlite3* Checked(const Conn& conn, const wchar_t* name, int* rc) {
    sqlite3* db = conn.Db();
    if (!db) {
        *rc = YXPDB_E_NOCONNECTION;
        return nullptr;
    }
    if (!YxProjectDb_KeyMap_IsName(name)) {
        *rc = YXPDB_E_NOTFOUND;
        return nullptr;
    }
    *rc = 0;
    return db;
}
}  // namespace

bool YxProjectDb_KeyMap_IsName(const wchar_t* name) {
    if (!name || name[0] != L'l' || name[1] != L'u' || name[2] != L'_') return false;
    int digits = 0;
    for (const wchar_t* p = name + 3; *p; ++p, ++digits) {
        const bool hex = (*p >= L'0' && *p <= L'9') || (*p >= L'a' && *p <= L'f');
        if (!hex) return false;
    }
    return digits == 32;
}

int YxProjectDb_KeyMap_Create(YxProjectDbHandle handle, CYxStringW& name) {
    name.Empty();
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    const CYxStringW candidate = CYxStringW(L"lu_") + YxProjectDb_Sys_UuidAsText();
    if (!YxProjectDb_KeyMap_IsName(candidate)) return YXPDB_E_NOTFOUND;
    const int rc = YxSqlite_ExecuteSingle(
        db, CYxStringW::Format(L"CREATE TEMP TABLE %s (%s INTEGER PRIMARY KEY, %s INTEGER);", candidate, kOld, kNew));
    if (rc == 0) name = candidate;
    return rc;
}

int YxProjectDb_KeyMap_Insert(YxProjectDbHandle handle, const wchar_t* name, std::int64_t oldKey,
                              std::int64_t newKey) {
    return YxProjectDb_KeyMap_InsertMany(handle, name, {{oldKey, newKey}});
}

int YxProjectDb_KeyMap_InsertMany(YxProjectDbHandle handle, const wchar_t* name,
                                  const std::map<std::int64_t, std::int64_t>& pairs) {
    int rc = 0;
    sqlite3* db = Checked(handle, name, &rc);
    if (!db || pairs.empty()) return rc;
    CYxSqliteTransaction tr(db, true, 30);
    {
        CYxSqliteCmd ins(db, CYxStringW::Format(L"INSERT OR REPLACE INTO %s (%s, %s) VALUES (?, ?);", name, kOld, kNew));
        for (const auto& pair : pairs) {
            if (ins.Result() != 0) break;
            ins.BindInt64(1, pair.first);
            ins.BindInt64(2, pair.second);
            ins.Next();
            ins.Reset();
        }
        rc = ins.Result();
    }
    if (rc != 0) tr.SetRollback();
    const int end = tr.End();
    return rc ? rc : end;
}

int YxProjectDb_KeyMap_Lookup(YxProjectDbHandle handle, const wchar_t* name, std::int64_t oldKey,
                              std::int64_t* newKey) {
    int rc = 0;
    sqlite3* db = Checked(handle, name, &rc);
    if (!db) return rc;
    CYxSqliteCmd sel(db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=?;", kNew, name, kOld));
    sel.BindInt64(1, oldKey);
    if (sel.Next()) {
        if (newKey) sel.Column(0, *newKey);
        return 0;
    }
    return sel.Result() ? sel.Result() : YXPDB_E_NOTFOUND;
}

int YxProjectDb_KeyMap_GetAll(YxProjectDbHandle handle, const wchar_t* name,
                              std::map<std::int64_t, std::int64_t>& pairs) {
    int rc = 0;
    sqlite3* db = Checked(handle, name, &rc);
    if (!db) return rc;
    CYxSqliteCmd sel(db, CYxStringW::Format(L"SELECT %s, %s FROM %s;", kOld, kNew, name));
    while (sel.Next()) {
        std::int64_t oldKey = 0, newKey = 0;
        sel.Column(0, oldKey);
        sel.Column(1, newKey);
        pairs[oldKey] = newKey;
    }
    return sel.Result();
}

int YxProjectDb_KeyMap_Count(YxProjectDbHandle handle, const wchar_t* name, std::int64_t* count) {
    int rc = 0;
    sqlite3* db = Checked(handle, name, &rc);
    if (!db) return rc;
    CYxSqliteCmd sel(db, CYxStringW::Format(L"SELECT COUNT(*) FROM %s;", name));
    if (sel.Next() && count) sel.Column(0, *count);
    return sel.Result();
}

int YxProjectDb_KeyMap_Drop(YxProjectDbHandle handle, const wchar_t* name) {
    int rc = 0;
    sqlite3* db = Checked(handle, name, &rc);
    if (!db) return rc;
    return YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"DROP TABLE IF EXISTS temp.%s;", name));
}

CYxProjectDbKeyMap::CYxProjectDbKeyMap(YxProjectDbHandle handle) : m_handle(handle) {
    m_status = YxProjectDb_KeyMap_Create(handle, m_name);
}

CYxProjectDbKeyMap::~CYxProjectDbKeyMap() { Drop(); }

int CYxProjectDbKeyMap::Insert(std::int64_t oldKey, std::int64_t newKey) {
    return YxProjectDb_KeyMap_Insert(m_handle, m_name, oldKey, newKey);
}

int CYxProjectDbKeyMap::InsertMany(const std::map<std::int64_t, std::int64_t>& pairs) {
    return YxProjectDb_KeyMap_InsertMany(m_handle, m_name, pairs);
}

int CYxProjectDbKeyMap::Lookup(std::int64_t oldKey, std::int64_t* newKey) const {
    return YxProjectDb_KeyMap_Lookup(m_handle, m_name, oldKey, newKey);
}

int CYxProjectDbKeyMap::Drop() {
    if (m_name.IsEmpty()) return 0;
    const int rc = YxProjectDb_KeyMap_Drop(m_handle, m_name);
    m_name.Empty();
    return rc;
}

int yxrec::KeyMapFillFromSelect(YxProjectDbHandle handle, const wchar_t* name, const wchar_t* select) {
    int rc = 0;
    sqlite3* db = Checked(handle, name, &rc);
    if (!db) return rc;
    return YxSqlite_ExecuteSingle(
        db, CYxStringW::Format(L"INSERT OR REPLACE INTO %s (%s, %s) %s;", name, kOld, kNew, select ? select : L""));
}
