// projectdb find FILE --run UUID EXPRESSION [--objects] [--json | --csv]:
// the frames (or binary objects) of a run that satisfy a search expression,
// one per line, as JSON or as CSV.
#include "tool.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/search.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <string>
#include <vector>

namespace {

class CReadHandle {
public:
    explicit CReadHandle(const std::wstring& path) : m_h(YxProjectDb_Db_Jobs_ConnectForRead(path.c_str())) {}
    ~CReadHandle() {
        if (m_h) YxProjectDb_Db_Disconnect(m_h);
    }
    CReadHandle(const CReadHandle&) = delete;
    CReadHandle& operator=(const CReadHandle&) = delete;
    YxProjectDbHandle Get() const { return m_h; }

private:
    YxProjectDbHandle m_h;
};

template <class T>
void Print(const std::vector<T>& found, const char* what, bool json, bool csv, const std::string& run,
           const std::string& expression) {
    if (json) {
        QJsonArray list;
        for (T v : found) list.append(static_cast<qint64>(v));
        QJsonObject o;
        o["run"] = QString::fromStdString(run);
        o["expression"] = QString::fromStdString(expression);
        o[what] = list;
        std::printf("%s", QJsonDocument(o).toJson(QJsonDocument::Indented).constData());
        return;
    }
    if (csv) std::printf("%s\n", what[0] == 'f' ? "frame" : "object");
    for (T v : found) std::printf("%lld\n", static_cast<long long>(v));
}

int Find(CYxToolCall& call) {
    const std::string& file = call.Arg(0);
    const std::string& expression = call.Arg(1);
    const std::string run = call.Value("run");
    const bool json = call.Flag("json");
    const bool csv = call.Flag("csv");
    const bool objects = call.Flag("objects");
    if (run.empty()) return call.Usage("--run UUID is required");
    if (json && csv) return call.Usage("--json and --csv exclude each other");

    CReadHandle h(call.WideArg(0));
    if (!h.Get()) return call.Fail(file, "cannot open the database", YXPDB_E_NOCONNECTION);
    SYxProjectDbRow_jobrun row;
    const std::wstring uuid = YxTool_Wide(run);
    if (int rc = YxProjectDb_Jobrun_GetOne(h.Get(), uuid.c_str(), row)) return call.Fail(file, "cannot read the runs", rc);
    if (row.iKey == 0) return call.FailText(file, "no run " + run);

    const std::wstring text = YxTool_Wide(expression);
    SYxProjectDbSearchError error;
    std::vector<std::int32_t> frames;
    std::vector<std::int64_t> keys;
    const int rc = objects ? YxProjectDb_Search_Objects(h.Get(), row.iKey, text.c_str(), keys, &error)
                           : YxProjectDb_Search_Frames(h.Get(), row.iKey, text.c_str(), frames, &error);
    if (rc == YXPDB_E_SEARCH_SYNTAX) {
        // The expression with a caret under the place of the error; the
        // position counts characters, the caret line as many columns.
        std::fprintf(stderr, "  %s\n  %s^\n", expression.c_str(),
                     std::string(static_cast<std::size_t>(error.iPosition < 0 ? 0 : error.iPosition), ' ').c_str());
        return call.Fail(file,
                         "the expression does not parse at character " + std::to_string(error.iPosition + 1) +
                             ": expected " + YxTool_Narrow(error.wszExpected.str()) + ", found " +
                             YxTool_Narrow(error.wszFound.str()),
                         rc);
    }
    if (rc != 0) return call.Fail(file, "the search failed", rc);
    if (objects) Print(keys, "objects", json, csv, run, expression);
    else Print(frames, "frames", json, csv, run, expression);
    return 0;
}

void Declare(CYxToolSyntax& s) {
    s.Argument("FILE", "the jobs database");
    s.Argument("EXPRESSION", "the search expression, e.g. \"Mean Intensity\" > 1200 and tag = mitosis");
    s.Value("run", "UUID", "the run to search (required)");
    s.Flag("objects", "find the run's binary objects instead of its frames");
    s.Flag("json", "print JSON");
    s.Flag("csv", "print CSV with a header line");
}

}  // namespace

YX_TOOL_COMMAND("find", 23, "the frames or objects of a run that satisfy a search expression", &Declare, &Find);
