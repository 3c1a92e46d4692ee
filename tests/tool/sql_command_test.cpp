// projectdb sql and tables: list, CSV and JSON output that reads back (with
// Python's csv and json modules) to what the sqlite3 shell gives for the same
// query, reals as the shell prints them, blobs as literals, SQL from stdin.
#include "test_support.h"
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {
void WriteText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

// A plain SQLite file (not a jobs database) with values that are hard to print.
std::string MakeValuesFile(const CYxTempDir& dir) {
    const std::string db = dir.FileUtf8("values.db");
    const std::string script = dir.FileUtf8("make.sql");
    WriteText(script,
              "CREATE TABLE t(k INTEGER PRIMARY KEY, i, r, s);\n"
              "INSERT INTO t(i, r, s) VALUES\n"
              " (0, 0.1, 'plain'), (-7, 1.0, ''), (9223372036854775807, 1e300, 'comma, and \"quotes\"'),\n"
              " (-9223372036854775808, 2.5e15, 'line\nbreak'), (NULL, -0.5, 'cr\r\nlf'), (42, 1e-7, 'tab\there'),\n"
              " (1, 123456.789, 'caf\xC3\xA9 \xE2\x82\xAC'), (2, 1.0/3, char(1) || 'ctl'), (3, 0.1 + 0.2, NULL),\n"
              " (4, 100.0, 'back\\slash'), (5, 1e16, ' spaces ');\n");
    EXPECT_EQ(0, YxTest_RunCommand("sqlite3 '" + db + "' < '" + script + "'"));
    return db;
}

// Runs python3 on `program` with the paths as arguments; its output.
int Python(const CYxTempDir& dir, const std::string& program, const std::vector<std::string>& args, std::string* out) {
    const std::string path = dir.FileUtf8("check.py");
    WriteText(path, program);
    std::string command = "python3 '" + path + "'";
    for (const auto& a : args) command += " '" + a + "'";
    return YxTest_RunCommand(command + " 2>&1", out);
}
}  // namespace

TEST(ToolSql, CsvAndJsonReadBackToTheShellsValues) {
    CYxTempDir dir;
    const std::string db = MakeValuesFile(dir);
    const std::string query = "SELECT k, i, r, s, typeof(r) AS type FROM t ORDER BY k;";
    const std::string queryFile = dir.FileUtf8("query.sql");
    WriteText(queryFile, query);

    const SToolResult csv = RunTool({"sql", "--csv", db, query});
    ASSERT_EQ(0, csv.exitCode) << csv.err;
    const SToolResult json = RunTool({"sql", "--json", db}, query);  // SQL from stdin
    ASSERT_EQ(0, json.exitCode) << json.err;
    const std::string ours = dir.FileUtf8("ours"), theirs = dir.FileUtf8("theirs");
    const std::string oursJson = dir.FileUtf8("ours.json"), theirsJson = dir.FileUtf8("theirs.json");
    WriteText(ours, csv.out);
    WriteText(oursJson, json.out);
    ASSERT_EQ(0, YxTest_RunCommand("sqlite3 -csv -header '" + db + "' < '" + queryFile + "' > '" + theirs + "'"));
    ASSERT_EQ(0, YxTest_RunCommand("sqlite3 -json '" + db + "' < '" + queryFile + "' > '" + theirsJson + "'"));

    // CSV carries text: cells compare as text, and reals by the double they
    // read back to (the shell's 15 digits lose the last bits of 1/3).
    std::string report;
    const int rc = Python(dir, R"(
import csv, json, sys
def rows(path):
    with open(path, newline='', encoding='utf-8') as f:
        return list(csv.reader(f))
a, b = rows(sys.argv[1]), rows(sys.argv[2])
assert len(a) == len(b) == 12, (len(a), len(b))
assert a[0] == b[0], (a[0], b[0])
for ra, rb in zip(a[1:], b[1:]):
    for x, y, name in zip(ra, rb, a[0]):
        if name == 'r':
            assert float(x) == float(y) or abs(float(x) - float(y)) < 1e-14 * abs(float(y)), (x, y)
            assert len(x) >= len(y), (x, y)
        else:
            assert x == y, (name, x, y)
ja, jb = json.load(open(sys.argv[3], encoding='utf-8')), json.load(open(sys.argv[4], encoding='utf-8'))
assert ja == jb, (ja, jb)
assert [type(r['r']) for r in ja] == [float] * 11
print('same')
)",
                          {ours, theirs, oursJson, theirsJson}, &report);
    EXPECT_EQ(0, rc) << report << "\nours:\n" << csv.out << json.out;
    EXPECT_EQ("same\n", report);
}

TEST(ToolSql, ListModeMatchesTheShellAndRealsKeepTheirLastDigits) {
    CYxTempDir dir;
    const std::string db = MakeValuesFile(dir);
    // Reals whose 15 digits already read back: exactly what the shell prints.
    const std::string query = "SELECT k, i, r, s FROM t WHERE k NOT IN (8, 9) ORDER BY k;";
    const SToolResult list = RunTool({"sql", db, query});
    ASSERT_EQ(0, list.exitCode) << list.err;
    std::string shell;
    ASSERT_EQ(0, YxTest_RunCommand("sqlite3 '" + db + "' \"" + query + "\"", &shell));
    EXPECT_EQ(shell, list.out);
    EXPECT_EQ(list.out, RunTool({"sql", "--list", db, query}).out);

    // Where 15 digits do not give the double back, the shortest text that does.
    const SToolResult reals = RunTool({"sql", db, "SELECT r FROM t WHERE k IN (8, 9) ORDER BY k; SELECT 1e999, -1e999;"});
    EXPECT_EQ("0.3333333333333333\n0.30000000000000004\nInf|-Inf\n", reals.out);
    const SToolResult json = RunTool({"sql", "--json", db, "SELECT 1e999 AS big;"});
    EXPECT_EQ("[{\"big\":9.0e+999}]\n", json.out);
}

TEST(ToolSql, BlobsPrintAsLiteralsInEveryFormat) {
    CYxTempDir dir;
    const std::string db = MakeValuesFile(dir);
    const std::string query = "SELECT x'00FF10', zeroblob(0), CAST('a' AS BLOB);";
    EXPECT_EQ("X'00FF10'|X''|X'61'\n", RunTool({"sql", db, query}).out);
    EXPECT_EQ("x'00FF10',zeroblob(0),CAST('a' AS BLOB)\r\nX'00FF10',X'',X'61'\r\n",
              RunTool({"sql", "--csv", db, query}).out);
    EXPECT_EQ("[{\"x'00FF10'\":\"X'00FF10'\",\"zeroblob(0)\":\"X''\",\"CAST('a' AS BLOB)\":\"X'61'\"}]\n",
              RunTool({"sql", "--json", db, query}).out);
}

TEST(ToolSql, StdinStatementsFormatsAndFailures) {
    CYxTempDir dir;
    const std::string db = MakeValuesFile(dir);
    // Several statements from stdin; JSON gives one array per statement with columns.
    SToolResult r = RunTool({"sql", "--json", db}, "SELECT 1 AS a;\nSELECT 2 AS b WHERE 0;\nSELECT 'x' AS c;\n");
    EXPECT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ("[{\"a\":1}]\n[]\n[{\"c\":\"x\"}]\n", r.out);

    r = RunTool({"sql", "--csv", "--json", db, "SELECT 1;"});
    EXPECT_EQ(2, r.exitCode);
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_NE(std::string::npos, r.ErrLines()[0].find("--list, --csv and --json exclude each other"));

    // A failing statement: the rows before it are printed, one error line.
    r = RunTool({"sql", db}, "SELECT 1; SELECT nosuchcolumn FROM t; SELECT 3;");
    EXPECT_EQ(1, r.exitCode);
    EXPECT_EQ("1\n", r.out);
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ("projectdb: sql: " + db + ": no such column: nosuchcolumn (SQLITE_ERROR 1)", r.ErrLines()[0]);

    // Read-only unless --write.
    r = RunTool({"sql", db}, "DELETE FROM t;");
    EXPECT_EQ(1, r.exitCode);
    EXPECT_NE(std::string::npos, r.err.find("SQLITE_READONLY")) << r.err;
    EXPECT_EQ("11\n", RunTool({"sql", db, "SELECT count(*) FROM t;"}).out);
}

TEST(ToolTables, EveryTableWithItsRowCount) {
    CYxTempDir dir;
    const std::string db = MakeValuesFile(dir);
    ASSERT_EQ(0, YxTest_RunCommand("sqlite3 '" + db + "' 'CREATE TABLE \"odd\"\"name\"(x); CREATE TABLE empty(x); "
                                   "CREATE INDEX ti ON t(s); CREATE VIEW v AS SELECT 1;'"));
    SToolResult r = RunTool({"tables", db});
    EXPECT_EQ(0, r.exitCode) << r.err;
    // Names that are not plain identifiers are listed but not put into SQL.
    EXPECT_EQ("empty                0\n"
              "odd\"name             ?\n"
              "t                   11\n",
              r.out);
    r = RunTool({"tables", "--json", db});
    EXPECT_EQ(0, r.exitCode) << r.err;
    std::string report;
    const std::string json = dir.FileUtf8("tables.json");
    WriteText(json, r.out);
    ASSERT_EQ(0, Python(dir, "import json,sys\nprint(json.load(open(sys.argv[1])))\n", {json}, &report)) << report;
    EXPECT_EQ("[{'table': 'empty', 'rows': 0}, {'table': 'odd\"name', 'rows': None}, {'table': 't', 'rows': 11}]\n",
              report);

    // A current jobs database lists all its tables.
    const std::string jobs = dir.FileUtf8("jobs.db");
    ASSERT_EQ(0, RunTool({"create", jobs}).exitCode);
    r = RunTool({"tables", jobs});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ(59, std::count(r.out.begin(), r.out.end(), '\n')) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("\nvesion ")) << r.out;
}
