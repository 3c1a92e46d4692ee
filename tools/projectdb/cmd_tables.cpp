// projectdb tables FILE [--json] [--app]: every table of the file with its
// row count, by name.
#include "tool.h"

#include "sql_output.h"

#include "gnr_projectdb/db.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {
// The names come from the file: only plain identifiers are put into a
// statement (and quoted as well).
bool IsPlainIdentifier(const std::string& name) {
    if (name.empty() || name.size() > 128) return false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
        if (!letter && !(i > 0 && c >= '0' && c <= '9')) return false;
    }
    return true;
}

struct STable {
    std::string name;
    long long rows = -1;  // -1: not counted (a name that is not a plain identifier)
};

int ReadTables(sqlite3* db, std::vector<STable>* tables) {
    sqlite3_stmt* list = nullptr;
    int rc = sqlite3_prepare_v2(
        db, "SELECT name FROM sqlite_schema WHERE type='table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name;",
        -1, &list, nullptr);
    if (rc == SQLITE_OK) {
        while ((rc = sqlite3_step(list)) == SQLITE_ROW)
            tables->push_back({reinterpret_cast<const char*>(sqlite3_column_text(list, 0)), -1});
    }
    sqlite3_finalize(list);
    if (rc != SQLITE_DONE) return rc;
    for (STable& t : *tables) {
        if (!IsPlainIdentifier(t.name)) continue;
        const std::string sql = "SELECT count(*) FROM \"" + t.name + "\";";
        sqlite3_stmt* count = nullptr;
        rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &count, nullptr);
        if (rc == SQLITE_OK && (rc = sqlite3_step(count)) == SQLITE_ROW) {
            t.rows = sqlite3_column_int64(count, 0);
            rc = SQLITE_OK;
        }
        sqlite3_finalize(count);
        if (rc != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
}

int RunTables(CYxToolCall& call) {
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    const YxProjectDbHandle h = call.Flag("app") ? YxProjectDb_Db_Vasq_ConnectForRead(path.c_str())
                                                 : YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!h) return call.Fail(file, "cannot open the database", YXPDB_E_NOCONNECTION);
    std::vector<STable> tables;
    const int rc = ReadTables(CYxProjectDbConnectionManager::GetConnection(h), &tables);
    YxProjectDb_Db_Disconnect(h);
    if (rc != SQLITE_OK) return call.Fail(file, "cannot count the rows", rc);

    if (call.Flag("json")) {
        std::printf("[");
        for (std::size_t i = 0; i < tables.size(); ++i) {
            const std::string rows = tables[i].rows < 0 ? "null" : std::to_string(tables[i].rows);
            std::printf("%s{\"table\":%s,\"rows\":%s}", i ? ",\n" : "", CYxSqlOutput::JsonString(tables[i].name).c_str(),
                        rows.c_str());
        }
        std::printf("]\n");
        return 0;
    }
    std::size_t width = 5;
    for (const STable& t : tables) width = std::max(width, t.name.size());
    for (const STable& t : tables) {
        const std::string rows = t.rows < 0 ? "?" : std::to_string(t.rows);
        std::printf("%-*s  %12s\n", static_cast<int>(width), t.name.c_str(), rows.c_str());
    }
    return 0;
}

void Declare(CYxToolSyntax& s) {
    s.Argument("FILE", "the database file");
    s.Flag("json", "a JSON array of {\"table\", \"rows\"}");
    s.Flag("app", "the file is an application database");
}
}  // namespace

YX_TOOL_COMMAND("tables", 22, "list every table of a database file with its row count", &Declare, &RunTables);
