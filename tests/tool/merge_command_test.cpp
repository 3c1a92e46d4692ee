// projectdb merge: per-table counts, a dry run that writes nothing, a second
// merge that adds nothing, folders, scopes, and the refusals with their one
// error line.
#include "tool_runner.h"

#include "test_support.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

namespace {

std::string Demo(const CYxTempDir& dir) {
    const SToolResult r = RunTool({"demo", dir.Path()});
    EXPECT_EQ(0, r.exitCode) << r.err;
    return dir.Path() + "/demo.gnrdb";
}

std::string NewTarget(const CYxTempDir& dir, const char* name) {
    const std::string file = dir.FileUtf8(name);
    const SToolResult r = RunTool({"create", file});
    EXPECT_EQ(0, r.exitCode) << r.err;
    return file;
}

// The single value of a query, as the sql command prints it.
std::string Value(const std::string& file, const std::string& sql) {
    const SToolResult r = RunTool({"sql", file, sql});
    EXPECT_EQ(0, r.exitCode) << r.err;
    std::string out = r.out;
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

struct SCounts {
    long long copied = 0;
    long long matched = 0;
};

// table -> counts, from the --json output of a merge.
std::map<std::string, SCounts> Counts(const SToolResult& r, QJsonObject* root = nullptr) {
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromStdString(r.out));
    EXPECT_TRUE(doc.isObject()) << r.out;
    std::map<std::string, SCounts> counts;
    for (const QJsonValue t : doc.object()[QStringLiteral("tables")].toArray()) {
        const QJsonObject o = t.toObject();
        counts[o[QStringLiteral("table")].toString().toStdString()] =
            SCounts{o[QStringLiteral("copied")].toVariant().toLongLong(), o[QStringLiteral("matched")].toVariant().toLongLong()};
    }
    if (root) *root = doc.object();
    return counts;
}

void ExpectOneErrorLine(const SToolResult& r, const std::string& needle) {
    EXPECT_EQ(1, r.exitCode) << r.err;
    ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
    EXPECT_EQ(0u, r.ErrLines()[0].find("projectdb: merge: ")) << r.err;
    EXPECT_NE(std::string::npos, r.ErrLines()[0].find(needle)) << r.err;
    EXPECT_EQ("", r.out);
}

}  // namespace

TEST(MergeCommand, DryRunCountsWithoutWritingThenMergeCopiesAndASecondMergeOnlyMatches) {
    CYxTempDir src, dst;
    const std::string source = Demo(src);
    const std::string target = NewTarget(dst, "target.gnrdb");
    const std::string frames = Value(source, "SELECT count(*) FROM frame;");
    ASSERT_NE("0", frames);

    const std::string before = ReadFileBytes(target);
    const SToolResult plan = RunTool({"merge", "--dry-run", "--json", source, target});
    ASSERT_EQ(0, plan.exitCode) << plan.err;
    QJsonObject planRoot;
    const auto planned = Counts(plan, &planRoot);
    EXPECT_TRUE(planRoot[QStringLiteral("dryRun")].toBool());
    ASSERT_TRUE(planned.count("frame"));
    EXPECT_EQ(std::stoll(frames), planned.at("frame").copied);
    EXPECT_EQ(before, ReadFileBytes(target)) << "a dry run writes nothing";
    EXPECT_EQ("0", Value(target, "SELECT count(*) FROM frame;"));

    const SToolResult merged = RunTool({"merge", "--json", source, target});
    ASSERT_EQ(0, merged.exitCode) << merged.err;
    const auto first = Counts(merged);
    for (const auto& [table, c] : planned) {
        ASSERT_TRUE(first.count(table)) << table;
        EXPECT_EQ(c.copied, first.at(table).copied) << table << ": the plan and the merge agree";
    }
    EXPECT_EQ(frames, Value(target, "SELECT count(*) FROM frame;"));
    EXPECT_EQ("ok", Value(target, "PRAGMA integrity_check;"));
    EXPECT_EQ("", Value(target, "PRAGMA foreign_key_check;"));

    const SToolResult again = RunTool({"merge", "--json", source, target});
    ASSERT_EQ(0, again.exitCode) << again.err;
    for (const auto& [table, c] : Counts(again)) EXPECT_EQ(0, c.copied) << table << " was copied twice";
    EXPECT_EQ(frames, Value(target, "SELECT count(*) FROM frame;"));
}

TEST(MergeCommand, TextReportAndFoldersOnlyWhenAsked) {
    CYxTempDir src, dst;
    const std::string source = Demo(src);
    const std::string withFolders = NewTarget(dst, "a.gnrdb");
    const std::string withoutFolders = NewTarget(dst, "b.gnrdb");

    const SToolResult text = RunTool({"merge", source, withFolders});
    ASSERT_EQ(0, text.exitCode) << text.err;
    EXPECT_NE(std::string::npos, text.out.find("merged '" + source + "' into '" + withFolders + "'\n")) << text.out;
    EXPECT_EQ(std::string::npos, text.out.find('\r')) << "no progress bar into a pipe";
    EXPECT_NE(std::string::npos, text.out.find("\nframe ")) << text.out;
    EXPECT_NE(std::string::npos, text.out.find("\nfolder ")) << "the demo's run folder is copied:\n" << text.out;
    EXPECT_EQ("", text.err) << "no progress bar when stderr is not a terminal";

    const SToolResult bare = RunTool({"merge", "--no-folders", "--json", source, withoutFolders});
    ASSERT_EQ(0, bare.exitCode) << bare.err;
    QJsonObject root;
    Counts(bare, &root);
    EXPECT_TRUE(root[QStringLiteral("folders")].toArray().isEmpty());
}

TEST(MergeCommand, RunScopeBringsOneRunAndUnknownUuidsMergeNothing) {
    CYxTempDir src, dst;
    const std::string source = Demo(src);
    const std::string target = NewTarget(dst, "t.gnrdb");
    const std::string run = Value(source, "SELECT wszUuid FROM jobrun ORDER BY iKey LIMIT 1;");
    ASSERT_FALSE(run.empty());

    const std::string before = ReadFileBytes(target);
    ExpectOneErrorLine(RunTool({"merge", "--runs", run + ",no-such-uuid", source, target}), "(YXPDB_E_NOTFOUND -13)");
    EXPECT_EQ(before, ReadFileBytes(target));

    const SToolResult r = RunTool({"merge", "--runs", run, source, target});
    ASSERT_EQ(0, r.exitCode) << r.err;
    EXPECT_EQ(run, Value(target, "SELECT group_concat(wszUuid) FROM jobrun;"));
}

TEST(MergeCommand, RefusalsLeaveTheTargetAsItWas) {
    CYxTempDir src, dst;
    const std::string source = Demo(src);
    const std::string target = NewTarget(dst, "t.gnrdb");
    const std::string before = ReadFileBytes(target);

    ExpectOneErrorLine(RunTool({"merge", target, target}), "(YXPDB_E_SAMEFILE -60)");
    ExpectOneErrorLine(RunTool({"merge", source, dst.FileUtf8("missing.gnrdb")}), "no such file");
    EXPECT_FALSE(std::filesystem::exists(dst.FileUtf8("missing.gnrdb"))) << "a missing target is not created";

    // A source one version behind the target is refused before anything is written.
    const SToolResult older = RunTool({"sql", "--write", source, "UPDATE vesion SET iVersion=135 WHERE wszName='main';"});
    ASSERT_EQ(0, older.exitCode) << older.err;
    ExpectOneErrorLine(RunTool({"merge", source, target}), "(YXPDB_E_OLDER -38)");
    EXPECT_EQ(before, ReadFileBytes(target));
}
