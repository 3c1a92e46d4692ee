// projectdb sql FILE "SQL" [--write] [--app]: statements on a connection of
// the library (its SQL functions and collation available), rows printed as
// the sqlite3 shell's list mode prints them.
#include "tool.h"

#include "gnr_projectdb/db.h"

#include <sqlite3.h>

#include <cstdio>

namespace {
int RunSql(CYxToolCall& call) {
    const bool write = call.Flag("write");
    const bool app = call.Flag("app");
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    YxProjectDbHandle h = 0;
    if (app) h = write ? YxProjectDb_Db_Vasq_Connect(path.c_str()) : YxProjectDb_Db_Vasq_ConnectForRead(path.c_str());
    else h = write ? YxProjectDb_Db_Jobs_Connect(path.c_str()) : YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!h) return call.Fail(file, "cannot open the database", YXPDB_E_NOCONNECTION);
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h);

    int status = 0;
    const char* tail = call.Arg(1).c_str();
    while (tail && *tail) {
        sqlite3_stmt* stmt = nullptr;
        const char* next = nullptr;
        int rc = sqlite3_prepare_v2(db, tail, -1, &stmt, &next);
        if (rc != SQLITE_OK) {
            status = call.Fail(file, sqlite3_errmsg(db), rc);
            break;
        }
        tail = next;
        if (!stmt) continue;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            const int n = sqlite3_column_count(stmt);
            for (int i = 0; i < n; ++i) {
                if (i) std::fputc('|', stdout);
                const unsigned char* text = sqlite3_column_text(stmt, i);
                if (text) std::fwrite(text, 1, static_cast<std::size_t>(sqlite3_column_bytes(stmt, i)), stdout);
            }
            std::fputc('\n', stdout);
        }
        if (rc != SQLITE_DONE) {
            status = call.Fail(file, sqlite3_errmsg(db), rc);
            sqlite3_finalize(stmt);
            break;
        }
        sqlite3_finalize(stmt);
    }
    YxProjectDb_Db_Disconnect(h);
    return status == 0 ? 0 : 1;
}
void Declare(CYxToolSyntax& s) {
    s.Argument("FILE", "the database file");
    s.Argument("SQL", "one or more statements");
    s.Flag("write", "open for writing");
    s.Flag("app", "the file is an application database");
}
}  // namespace

YX_TOOL_COMMAND("sql", 21,
                "run SQL on a library connection (read-only unless --write; --app for an application database)",
                &Declare, &RunSql);
