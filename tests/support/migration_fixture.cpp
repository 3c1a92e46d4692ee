// Jobs database files at old schema versions, for the migration tests and
// benchmarks.
#include "migration_fixture.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/upgrades/jobs_history.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <set>

namespace {

std::string Utf8(const wchar_t* s) { return CYxStringW(s).ToUtf8(); }

// The table a column refers to: its own reference, or for an integer column
// that was once stored without its foreign key, the reference of the
// current column of that name.
const wchar_t* ReferencedTable(const SYxSqliteTableDef& def, const SYxSqliteColDef& col) {
    if (col.eRole == eYxColReference) return col.wszRefTable;
    if (col.eRole != eYxColPlain) return nullptr;
    if (const SYxSqliteTableDef* current = YxProjectDb_Schema_FindJobsTable(def.wszName)) {
        const int i = YxSqliteTableDef_FindColumn(*current, col.wszName);
        if (i >= 0 && current->pCols[i].eRole == eYxColReference) return current->pCols[i].wszRefTable;
    }
    return nullptr;
}

// Parents before children (references to the own table do not count), in
// history order otherwise.
std::vector<const SYxSqliteTableDef*> InsertOrder(const std::vector<const SYxSqliteTableDef*>& defs) {
    std::vector<const SYxSqliteTableDef*> order, pending = defs;
    std::set<std::wstring> present, placed;
    for (const SYxSqliteTableDef* d : defs) present.insert(d->wszName);
    while (!pending.empty()) {
        bool progress = false;
        for (auto it = pending.begin(); it != pending.end();) {
            bool ready = true;
            for (int i = 0; i < (*it)->nCols && ready; ++i) {
                const wchar_t* ref = ReferencedTable(**it, (*it)->pCols[i]);
                if (ref && std::wcscmp(ref, (*it)->wszName) != 0 && present.count(ref) && !placed.count(ref))
                    ready = false;
            }
            if (ready) {
                placed.insert((*it)->wszName);
                order.push_back(*it);
                it = pending.erase(it);
                progress = true;
            } else {
                ++it;
            }
        }
        if (!progress) {  // a cycle: keep the remaining ones in history order
            order.insert(order.end(), pending.begin(), pending.end());
            break;
        }
    }
    return order;
}

int Fail(sqlite3* db, int rc, std::string* error) {
    if (error) *error = db ? sqlite3_errmsg(db) : "open failed";
    return rc ? rc : SQLITE_ERROR;
}

// Binds the value of one column of row k.
void BindValue(sqlite3_stmt* stmt, int index, const SYxSqliteTableDef& def, const SYxSqliteColDef& col, long long k,
               const std::set<std::wstring>& present, const SYxMigrationRows& rows) {
    if (col.eRole == eYxColPrimaryKey) {
        sqlite3_bind_int64(stmt, index, k);
        return;
    }
    if (const wchar_t* ref = ReferencedTable(def, col)) {
        if (std::wcscmp(ref, def.wszName) == 0) {
            if (k > 1) sqlite3_bind_int64(stmt, index, k - 1);
            else sqlite3_bind_null(stmt, index);
            return;
        }
        const int n = present.count(ref) ? rows.For(ref) : 0;
        if (n > 0) sqlite3_bind_int64(stmt, index, (k - 1) % n + 1);
        else sqlite3_bind_null(stmt, index);
        return;
    }
    switch (col.eType) {
    case eYxTypeInt32:
    case eYxTypeInt64: sqlite3_bind_int64(stmt, index, k); break;
    case eYxTypeDouble: sqlite3_bind_double(stmt, index, static_cast<double>(k) + 0.25); break;
    case eYxTypeText: {
        const std::string text = Utf8(def.wszName) + "." + Utf8(col.wszName) + "." + std::to_string(k);
        sqlite3_bind_text(stmt, index, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        break;
    }
    default: {
        const unsigned char bytes[4] = {static_cast<unsigned char>(k >> 24), static_cast<unsigned char>(k >> 16),
                                        static_cast<unsigned char>(k >> 8), static_cast<unsigned char>(k)};
        sqlite3_bind_blob(stmt, index, bytes, 4, SQLITE_TRANSIENT);
    }
    }
}

int FillTable(sqlite3* db, const SYxSqliteTableDef& def, const std::set<std::wstring>& present,
              const SYxMigrationRows& rows, std::string* error) {
    std::string sql = "INSERT INTO " + Utf8(def.wszName) + " (";
    std::string params;
    for (int i = 0; i < def.nCols; ++i) {
        sql += (i ? ", " : "") + Utf8(def.pCols[i].wszName);
        params += i ? ", ?" : "?";
    }
    sql += ") VALUES (" + params + ");";
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr);
    if (rc != SQLITE_OK) return Fail(db, rc, error);
    const int n = rows.For(def.wszName);
    for (long long k = 1; k <= n && rc == SQLITE_OK; ++k) {
        for (int i = 0; i < def.nCols; ++i) BindValue(stmt, i + 1, def, def.pCols[i], k, present, rows);
        rc = sqlite3_step(stmt) == SQLITE_DONE ? SQLITE_OK : sqlite3_errcode(db);
        sqlite3_reset(stmt);
    }
    if (rc != SQLITE_OK && error) *error = Utf8(def.wszName) + ": " + sqlite3_errmsg(db);
    sqlite3_finalize(stmt);
    return rc;
}

std::string Text(sqlite3_stmt* stmt, int col) {
    const auto* t = reinterpret_cast<const char*>(sqlite3_column_text(stmt, col));
    return t ? std::string(t) : std::string("<null>");
}

}  // namespace

int YxMigrationFixture_CreateFile(const std::string& path, int version, const SYxMigrationRows& rows,
                                  std::string* error) {
    std::remove(path.c_str());
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (rc != SQLITE_OK) {
        const int status = Fail(db, rc, error);
        sqlite3_close(db);
        return status;
    }
    const std::vector<const SYxSqliteTableDef*> defs = YxJobsHistory_TablesAt(version);
    std::set<std::wstring> present;
    for (const SYxSqliteTableDef* d : defs) present.insert(d->wszName);

    CYxStringW script = L"PRAGMA foreign_keys=0;\nPRAGMA synchronous=OFF;\nBEGIN;\n";
    for (const SYxSqliteTableDef* d : defs) script += YxSqlite_CreateTableWithIndexesSqlCommand(*d);
    script.AppendFormat(L"INSERT INTO vesion (wszName, iVersion) VALUES ('main', %d);\n", version);
    rc = sqlite3_exec(db, script.ToUtf8().c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) rc = Fail(db, rc, error);
    for (const SYxSqliteTableDef* d : InsertOrder(defs)) {
        if (rc != SQLITE_OK) break;
        if (std::wcscmp(d->wszName, L"vesion") == 0) continue;
        rc = FillTable(db, *d, present, rows, error);
    }
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) sqlite3_exec(db, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return rc;
}

std::vector<std::string> YxMigrationFixture_Rows(sqlite3* db, const std::string& query) {
    std::vector<std::string> out;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, query.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        out.push_back(std::string("<error> ") + sqlite3_errmsg(db));
        sqlite3_finalize(stmt);
        return out;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        std::string line;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i) line += (i ? "|" : "") + Text(stmt, i);
        out.push_back(line);
    }
    sqlite3_finalize(stmt);
    return out;
}

std::map<std::string, std::string> YxMigrationFixture_Schema(sqlite3* db, bool withIndexes) {
    std::map<std::string, std::string> schema;
    for (const std::string& table :
         YxMigrationFixture_Rows(db, "SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE "
                                     "'sqlite_%' ORDER BY name;")) {
        std::vector<std::string> facts;
        for (const std::string& c :
             YxMigrationFixture_Rows(db, "SELECT cid, name, type, \"notnull\", ifnull(dflt_value,'NULL'), pk FROM "
                                         "pragma_table_info('" + table + "') ORDER BY cid;")) {
            // cid|name|type|notnull|dflt|pk; the collation is read separately.
            std::string name = c.substr(c.find('|') + 1);
            name = name.substr(0, name.find('|'));
            const char* coll = nullptr;
            sqlite3_table_column_metadata(db, "main", table.c_str(), name.c_str(), nullptr, &coll, nullptr, nullptr,
                                          nullptr);
            std::string fact = "column " + c + " collate " + (coll ? coll : "?");
            const std::string nullDefault = "|NULL|";
            const std::size_t at = fact.find(nullDefault);
            if (at != std::string::npos) fact.replace(at, nullDefault.size(), "||");  // DEFAULT NULL is no default
            facts.push_back(fact);
        }
        std::map<std::string, std::string> keys;  // id -> description
        for (const std::string& f : YxMigrationFixture_Rows(
                 db, "SELECT id, \"from\", \"table\", ifnull(\"to\",''), on_update, on_delete, \"match\" FROM "
                     "pragma_foreign_key_list('" + table + "') ORDER BY id, seq;")) {
            const std::string id = f.substr(0, f.find('|'));
            keys[id] += (keys[id].empty() ? "" : " + ") + f.substr(f.find('|') + 1);
        }
        for (const auto& k : keys) facts.push_back("reference " + k.second);
        for (const std::string& i : YxMigrationFixture_Rows(
                 db, "SELECT name, \"unique\", origin, partial FROM pragma_index_list('" + table + "');")) {
            const std::string name = i.substr(0, i.find('|'));
            const std::string rest = i.substr(i.find('|') + 1);
            const bool automatic = name.rfind("sqlite_autoindex_", 0) == 0;
            if (!automatic && !withIndexes) continue;
            std::string cols;
            for (const std::string& c : YxMigrationFixture_Rows(
                     db, "SELECT name FROM pragma_index_info('" + name + "') ORDER BY seqno;"))
                cols += (cols.empty() ? "" : ",") + c;
            facts.push_back(std::string(automatic ? "unique" : "index " + name) + " (" + cols + ") " + rest);
        }
        std::sort(facts.begin(), facts.end());
        std::string text;
        for (const std::string& f : facts) text += f + "\n";
        schema[table] = text;
    }
    return schema;
}
