// The exported search functions: parse, compile, bind, run.
#include "gnr_projectdb/search.h"

#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/search/search_compiler.h"
#include "gnr_projectdb/search/search_parser.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include <sqlite3.h>

#include <string>

namespace {

void Report(const yxsearch::SParseError& e, SYxProjectDbSearchError* error) {
    if (!error) return;
    error->iPosition = e.position;
    error->wszExpected = e.expected;
    error->wszFound = e.found;
}

int Build(const wchar_t* expression, bool objects, yxsearch::SCompiled& out, SYxProjectDbSearchError* error) {
    yxsearch::SParseError e;
    const std::unique_ptr<yxsearch::SNode> root = yxsearch::Parse(expression ? expression : L"", e);
    int rc = root ? yxsearch::Compile(*root, objects, out, e) : YXPDB_E_SEARCH_SYNTAX;
    if (rc == YXPDB_E_SEARCH_SYNTAX) Report(e, error);
    return rc;
}

// Runs the compiled statement for the run; every row's first column is
// appended to a local list, which reaches the caller only on success.
template <class T>
int Run(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* expression, bool objects,
        std::vector<T>& out, SYxProjectDbSearchError* error) {
    yxsearch::SCompiled compiled;
    if (const int rc = Build(expression, objects, compiled, error)) return rc;
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(handle).Get();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd;
    if (const int rc = cmd.Prepare(db, compiled.sql.c_str())) return rc;
    cmd.BindInt64(1, jobrunKey);
    int pos = 2;
    for (const yxsearch::SBoundValue& v : compiled.values) {
        if (v.kind == yxsearch::SBoundValue::eText) cmd.Bind(pos, CYxStringW(v.text));
        else if (v.kind == yxsearch::SBoundValue::eInt) cmd.BindInt64(pos, v.integer);
        else cmd.Bind(pos, v.number);
        ++pos;
    }
    std::vector<T> found;
    while (cmd.Next()) {
        T value{};
        cmd.Column(0, value);
        found.push_back(value);
    }
    if (const int rc = cmd.Result()) return rc;
    out.insert(out.end(), found.begin(), found.end());
    return 0;
}

}  // namespace

int YxProjectDb_Search_Check(const wchar_t* expression, SYxProjectDbSearchError* error) {
    yxsearch::SParseError e;
    if (yxsearch::Parse(expression ? expression : L"", e)) return 0;
    Report(e, error);
    return YXPDB_E_SEARCH_SYNTAX;
}

int YxProjectDb_Search_Frames(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* expression,
                              std::vector<std::int32_t>& frameIndexes, SYxProjectDbSearchError* error) {
    return Run(handle, jobrunKey, expression, false, frameIndexes, error);
}

int YxProjectDb_Search_Objects(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* expression,
                               std::vector<std::int64_t>& objectKeys, SYxProjectDbSearchError* error) {
    return Run(handle, jobrunKey, expression, true, objectKeys, error);
}

int YxProjectDb_Search_Explain(const wchar_t* expression, bool objects, CYxStringW* sql, int* boundCount,
                               SYxProjectDbSearchError* error) {
    yxsearch::SCompiled compiled;
    if (const int rc = Build(expression, objects, compiled, error)) return rc;
    if (sql) *sql = CYxStringW(compiled.sql);
    if (boundCount) *boundCount = 1 + static_cast<int>(compiled.values.size());
    return 0;
}
