// projectdb sql FILE ["SQL"] [--write] [--app] [--list|--csv|--json]:
// statements on a connection of the library (its SQL functions and
// collation available). Without SQL on the command line the statements are
// read from standard input. Rows print in the sqlite3 shell's list mode
// unless --csv or --json asks otherwise (see sql_output.h).
#include "tool.h"

#include "sql_output.h"

#include "gnr_projectdb/db.h"

#include <sqlite3.h>

#include <cstdio>
#include <iostream>
#include <iterator>

namespace {
int RunSql(CYxToolCall& call) {
    const bool write = call.Flag("write");
    const bool app = call.Flag("app");
    const int formats = int(call.Flag("list")) + int(call.Flag("csv")) + int(call.Flag("json"));
    if (formats > 1) return call.Usage("--list, --csv and --json exclude each other");
    const EYxSqlFormat format = call.Flag("csv") ? eYxSqlCsv : call.Flag("json") ? eYxSqlJson : eYxSqlList;
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);

    std::string sql;
    if (call.ArgCount() > 1) sql = call.Arg(1);
    else sql.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());

    YxProjectDbHandle h = 0;
    if (app) h = write ? YxProjectDb_Db_Vasq_Connect(path.c_str()) : YxProjectDb_Db_Vasq_ConnectForRead(path.c_str());
    else h = write ? YxProjectDb_Db_Jobs_Connect(path.c_str()) : YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!h) return call.Fail(file, "cannot open the database", YXPDB_E_NOCONNECTION);
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h);

    CYxSqlOutput output(format, stdout);
    int status = 0;
    const char* tail = sql.c_str();
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
        rc = output.Print(stmt);
        if (rc != SQLITE_DONE) {
            std::fflush(stdout);
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
    s.OptionalArgument("SQL", "one or more statements (default: read from standard input)");
    s.Flag("write", "open for writing");
    s.Flag("app", "the file is an application database");
    s.Flag("list", "values separated by '|' (the default)");
    s.Flag("csv", "CSV (RFC 4180) with a header line");
    s.Flag("json", "a JSON array of row objects per statement");
}
}  // namespace

YX_TOOL_COMMAND("sql", 21,
                "run SQL on a library connection (read-only unless --write; --app for an application database)",
                &Declare, &RunSql);
