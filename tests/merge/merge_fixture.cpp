#include "merge_fixture.h"

#include "gnr_projectdb/schema.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

namespace {

std::string Utf8(const wchar_t* w) { return CYxStringW(w).ToUtf8(); }

std::string Value(sqlite3_stmt* s, int i) {
    switch (sqlite3_column_type(s, i)) {
    case SQLITE_NULL:
        return "NULL";
    case SQLITE_BLOB: {
        const auto* p = static_cast<const unsigned char*>(sqlite3_column_blob(s, i));
        std::string hex = "x";
        static const char d[] = "0123456789abcdef";
        for (int k = 0; k < sqlite3_column_bytes(s, i); ++k) {
            hex += d[p[k] >> 4];
            hex += d[p[k] & 15];
        }
        return hex;
    }
    default: {
        const char* t = reinterpret_cast<const char*>(sqlite3_column_text(s, i));
        return t ? t : "";
    }
    }
}

bool Skipped(const std::string& t) { return t == "vesion" || t == "settings" || t == "dbinfo"; }

class CCanonical {
public:
    explicit CCanonical(sqlite3* db) : m_db(db) {
        int n = 0;
        const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&n);
        for (int i = 0; i < n; ++i) m_defs[Utf8(defs[i]->wszName)] = defs[i];
    }

    // Table name referred to by a column, or "".
    std::string RefTable(const SYxSqliteColDef& c) const {
        if (c.eRole == eYxColReference && c.wszRefTable) return Utf8(c.wszRefTable);
        std::string n = Utf8(c.wszName);
        if (c.eRole == eYxColPlain && n == "iTraceKeyRef") return "trace";
        return "";
    }

    std::string Identity(const std::string& table, std::int64_t key) {
        const auto memo = m_identity.find({table, key});
        if (memo != m_identity.end()) return memo->second;
        const SYxSqliteTableDef* d = m_defs.at(table);
        std::vector<int> cols;
        if (YxSqliteTableDef_FindColumn(*d, L"wszUuid") >= 0) {
            cols.push_back(YxSqliteTableDef_FindColumn(*d, L"wszUuid"));
        } else if (d->apUnique[0]) {
            for (int g = 0; d->apUnique[g]; ++g) cols.push_back(YxSqliteTableDef_FindColumn(*d, d->apUnique[g]));
        } else {
            for (int c = 0; c < d->nCols; ++c)
                if (d->pCols[c].eRole != eYxColPrimaryKey) cols.push_back(c);
        }
        std::string id = table + "(" + Row(table, key, cols) + ")";
        m_identity[{table, key}] = id;
        return id;
    }

    // The given columns of one row, references replaced by identities.
    std::string Row(const std::string& table, std::int64_t key, const std::vector<int>& cols) {
        const SYxSqliteTableDef* d = m_defs.at(table);
        std::string sql = "SELECT ";
        for (std::size_t i = 0; i < cols.size(); ++i) sql += (i ? ", " : "") + Utf8(d->pCols[cols[i]].wszName);
        sql += " FROM " + table + " WHERE iKey = ?";
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(m_db, sql.c_str(), -1, &s, nullptr);
        sqlite3_bind_int64(s, 1, key);
        std::string out;
        if (sqlite3_step(s) == SQLITE_ROW) {
            for (std::size_t i = 0; i < cols.size(); ++i) {
                const SYxSqliteColDef& c = d->pCols[cols[i]];
                const std::string ref = RefTable(c);
                std::string v;
                if (!ref.empty() && sqlite3_column_type(s, static_cast<int>(i)) != SQLITE_NULL) {
                    const std::int64_t k = sqlite3_column_int64(s, static_cast<int>(i));
                    v = Exists(ref, k) ? Identity(ref, k) : "dangling:" + std::to_string(k);
                } else {
                    v = Value(s, static_cast<int>(i));
                }
                out += (i ? "|" : "") + Utf8(c.wszName) + "=" + v;
            }
        }
        sqlite3_finalize(s);
        return out;
    }

    bool Exists(const std::string& table, std::int64_t key) {
        const std::string sql = "SELECT 1 FROM " + table + " WHERE iKey = ?";
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(m_db, sql.c_str(), -1, &s, nullptr);
        sqlite3_bind_int64(s, 1, key);
        const bool found = sqlite3_step(s) == SQLITE_ROW;
        sqlite3_finalize(s);
        return found;
    }

    std::map<std::string, std::vector<std::string>> Dump() {
        std::map<std::string, std::vector<std::string>> out;
        for (const auto& [name, d] : m_defs) {
            if (Skipped(name)) continue;
            std::vector<int> cols;
            for (int c = 0; c < d->nCols; ++c)
                if (d->pCols[c].eRole != eYxColPrimaryKey) cols.push_back(c);
            std::vector<std::int64_t> keys;
            sqlite3_stmt* s = nullptr;
            sqlite3_prepare_v2(m_db, ("SELECT iKey FROM " + name).c_str(), -1, &s, nullptr);
            while (sqlite3_step(s) == SQLITE_ROW) keys.push_back(sqlite3_column_int64(s, 0));
            sqlite3_finalize(s);
            if (keys.empty()) continue;
            auto& rows = out[name];
            for (std::int64_t k : keys) rows.push_back(Row(name, k, cols));
            std::sort(rows.begin(), rows.end());
        }
        return out;
    }

private:
    sqlite3* m_db;
    std::map<std::string, const SYxSqliteTableDef*> m_defs;
    std::map<std::pair<std::string, std::int64_t>, std::string> m_identity;
};

sqlite3* OpenRead(const std::string& file) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot open " << file;
        sqlite3_close(db);
        return nullptr;
    }
    return db;
}

}  // namespace

std::map<std::string, std::vector<std::string>> MergeTest_CanonicalDump(const std::string& file) {
    sqlite3* db = OpenRead(file);
    if (!db) return {};
    auto dump = CCanonical(db).Dump();
    sqlite3_close(db);
    return dump;
}

std::string MergeTest_ExactDump(const std::string& file) {
    sqlite3* db = OpenRead(file);
    if (!db) return {};
    std::string out;
    std::vector<std::string> tables;
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db, "SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY type, name", -1, &s, nullptr);
    while (sqlite3_step(s) == SQLITE_ROW) {
        for (int i = 0; i < 4; ++i) out += Value(s, i) + "|";
        out += "\n";
        if (std::string(reinterpret_cast<const char*>(sqlite3_column_text(s, 0))) == "table")
            tables.push_back(reinterpret_cast<const char*>(sqlite3_column_text(s, 1)));
    }
    sqlite3_finalize(s);
    for (const auto& t : tables) {
        out += "== " + t + "\n";
        sqlite3_prepare_v2(db, ("SELECT * FROM \"" + t + "\" ORDER BY rowid").c_str(), -1, &s, nullptr);
        while (sqlite3_step(s) == SQLITE_ROW) {
            for (int i = 0; i < sqlite3_column_count(s); ++i) out += Value(s, i) + "|";
            out += "\n";
        }
        sqlite3_finalize(s);
    }
    sqlite3_close(db);
    return out;
}

std::string MergeTest_MakeDemo(const std::string& dir, int count) {
    const std::string cmd = std::string(YxTest_ToolPath()) + " demo '" + dir + "' 2>&1";
    for (int i = 0; i < count; ++i) {
        std::string out;
        EXPECT_EQ(0, YxTest_RunCommand(cmd, &out)) << out;
    }
    return dir + "/demo.gnrdb";
}

std::vector<std::string> MergeTest_FolderListing(const std::string& folder) {
    namespace fs = std::filesystem;
    std::vector<std::string> out;
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) return out;
    for (auto it = fs::recursive_directory_iterator(folder, ec); it != fs::recursive_directory_iterator(); ++it) {
        if (!it->is_regular_file()) {
            if (it->is_directory()) out.push_back(fs::relative(it->path(), folder).string() + "/");
            continue;
        }
        std::ifstream in(it->path(), std::ios::binary);
        std::stringstream content;
        content << in.rdbuf();
        out.push_back(fs::relative(it->path(), folder).string() + "|" + std::to_string(it->file_size()) + "|" +
                      std::to_string(std::hash<std::string>()(content.str())));
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string MergeTest_Text(const std::string& file, const std::string& sql) {
    sqlite3* db = OpenRead(file);
    if (!db) return {};
    sqlite3_stmt* s = nullptr;
    std::string v;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) == SQLITE_OK && sqlite3_step(s) == SQLITE_ROW) v = Value(s, 0);
    sqlite3_finalize(s);
    sqlite3_close(db);
    return v;
}
