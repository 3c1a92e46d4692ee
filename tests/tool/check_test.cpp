// projectdb check and projectdb schema FILE / --dot: findings listed with
// exit 1, clean files exit 0, an upgrade restores a dropped index.
#include "tool_runner.h"

#include "migration_fixture.h"
#include "test_support.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <sqlite3.h>

namespace {

int Exec(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return rc;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(ToolCheck, CleanFileAndFileWithFindings) {
    CYxTempDir dir;
    const std::string file = dir.FileUtf8("jobs.db");
    ASSERT_EQ(0, RunTool({"create", file}).exitCode);
    const SToolResult clean = RunTool({"check", file});
    EXPECT_EQ(0, clean.exitCode) << clean.err;
    EXPECT_EQ("", clean.err);
    EXPECT_EQ(file + ": jobs database, version 136 (silent 1), compared with the schema of version 136\nno findings\n",
              clean.out);

    ASSERT_EQ(0, Exec(file, "DROP INDEX idx_frame_iJobrunKeyRef; CREATE TABLE extra(x);"
                            "INSERT INTO frame(iJobrunKeyRef, iFrameIndex) VALUES(4, 1);"));
    const SToolResult r = RunTool({"check", file});
    EXPECT_EQ(1, r.exitCode);
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ("projectdb: check: " + file + ": 3 findings", r.ErrLines()[0]);
    EXPECT_TRUE(Has(r.out, "\nforeign key: frame: rowid 1 iJobrunKeyRef: expected a row of jobrun, found none\n"))
        << r.out;
    EXPECT_TRUE(Has(r.out, "\nindex missing: frame: idx_frame_iJobrunKeyRef: expected (iJobrunKeyRef)\n")) << r.out;
    EXPECT_TRUE(Has(r.out, "\ntable extra: extra\n")) << r.out;

    const SToolResult json = RunTool({"check", file, "--json"});
    EXPECT_EQ(1, json.exitCode);
    QJsonParseError error;
    const QJsonObject o = QJsonDocument::fromJson(QByteArray::fromStdString(json.out), &error).object();
    ASSERT_EQ(QJsonParseError::NoError, error.error) << json.out;
    EXPECT_EQ("jobs", o["flavour"].toString().toStdString());
    EXPECT_EQ(136, o["comparedVersion"].toInt());
    const QJsonArray findings = o["findings"].toArray();
    ASSERT_EQ(3, findings.size());
    bool sawIndex = false;
    for (const auto& f : findings) {
        const QJsonObject x = f.toObject();
        if (x["kind"].toString() != "index missing") continue;
        sawIndex = true;
        EXPECT_EQ("frame", x["table"].toString().toStdString());
        EXPECT_EQ("idx_frame_iJobrunKeyRef", x["name"].toString().toStdString());
        EXPECT_EQ("(iJobrunKeyRef)", x["expected"].toString().toStdString());
        EXPECT_EQ("", x["found"].toString().toStdString());
    }
    EXPECT_TRUE(sawIndex);
}

TEST(ToolCheck, UpgradeBringsADroppedIndexBack) {
    CYxTempDir dir;
    const std::string file = dir.FileUtf8("old.db");
    std::string error;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(file, 135, {}, &error)) << error;
    ASSERT_EQ(0, Exec(file, "DROP INDEX idx_frame_iJobrunKeyRef;"));
    const SToolResult before = RunTool({"check", file});
    EXPECT_EQ(1, before.exitCode);
    EXPECT_TRUE(Has(before.out, "version 135 (silent 0), compared with the schema of version 135\n")) << before.out;
    EXPECT_TRUE(Has(before.out, "index missing: frame: idx_frame_iJobrunKeyRef")) << before.out;

    const SToolResult upgrade = RunTool({"upgrade", file, "--quiet"});
    ASSERT_EQ(0, upgrade.exitCode) << upgrade.err;
    const SToolResult after = RunTool({"check", file});
    EXPECT_EQ(0, after.exitCode) << after.out << after.err;
    EXPECT_TRUE(Has(after.out, "version 136 (silent 1), compared with the schema of version 136\nno findings\n"))
        << after.out;
}

TEST(ToolCheck, FilesThatCannotBeRead) {
    CYxTempDir dir;
    const SToolResult missing = RunTool({"check", dir.FileUtf8("none.db")});
    EXPECT_EQ(1, missing.exitCode);
    ASSERT_EQ(1u, missing.ErrLines().size()) << missing.err;
    EXPECT_TRUE(Has(missing.err, "cannot open the database (SQLITE_CANTOPEN 14)")) << missing.err;

    const std::string text = dir.FileUtf8("text.db");
    ASSERT_EQ(0, YxTest_RunCommand("echo 'not a database at all, but long enough to have a header' > '" + text + "'"));
    const SToolResult notDb = RunTool({"check", text});
    EXPECT_EQ(1, notDb.exitCode);
    ASSERT_EQ(1u, notDb.ErrLines().size()) << notDb.err;
    EXPECT_TRUE(Has(notDb.err, "(SQLITE_NOTADB 26)")) << notDb.err;
    EXPECT_EQ("", notDb.out);
}

TEST(ToolSchema, FileSchemaBuiltInSchemaAndGraph) {
    CYxTempDir dir;
    const std::string file = dir.FileUtf8("mine.db");
    ASSERT_EQ(0, YxTest_RunCommand("sqlite3 '" + file + "' \"CREATE TABLE t(a TEXT, b INT); "
                                   "CREATE INDEX ti ON t(b); CREATE VIEW v AS SELECT a FROM t;\""));
    const SToolResult own = RunTool({"schema", file});
    EXPECT_EQ(0, own.exitCode) << own.err;
    EXPECT_EQ("CREATE TABLE t(a TEXT, b INT);\nCREATE INDEX ti ON t(b);\nCREATE VIEW v AS SELECT a FROM t;\n", own.out);

    const SToolResult builtIn = RunTool({"schema"});
    EXPECT_EQ(0, builtIn.exitCode);
    EXPECT_EQ(0u, builtIn.out.find("CREATE TABLE vesion ("));

    const SToolResult wrong = RunTool({"schema", file, "--dot"});
    EXPECT_EQ(2, wrong.exitCode);
    EXPECT_EQ(1u, wrong.ErrLines().size());

    std::string svg;
    ASSERT_EQ(0, YxTest_RunCommand(std::string("'") + YxTest_ToolPath() + "' schema --dot | dot -Tsvg", &svg));
    EXPECT_TRUE(Has(svg, "<svg")) << svg.substr(0, 200);
    EXPECT_TRUE(Has(svg, "<title>jobrun&#45;&gt;frame</title>")) << "no edge from jobrun to frame";
}

}  // namespace
