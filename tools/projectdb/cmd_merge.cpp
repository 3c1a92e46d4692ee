// projectdb merge SRC DST [--runs UUID,...] [--projects UUID,...]
//                         [--copy-duplicates] [--no-folders] [--dry-run] [--json]
//
// Merges the source jobs database into the target: every row re-keyed,
// records matched by identity, run and project folders copied. The whole
// merge is one transaction of the target: Ctrl-C asks, and a yes rolls the
// target back to what it was. --dry-run only counts what would be copied and
// what would be matched to rows the target has, and writes nothing.
#include "tool.h"
#include "tool_progress.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/merge.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

// Feeds the merge's reports to the progress line; a Ctrl-C answered "y"
// answers non-zero, which cancels the merge and rolls the target back.
class CMergeProgress : public IYxProjectDbMergeProgress {
public:
    CMergeProgress(CYxToolProgress& progress, CYxToolInterrupt& interrupt)
        : m_progress(progress), m_interrupt(interrupt) {}
    int OnMergeProgress(const SYxProjectDbMergeProgress& p) override {
        // On a terminal the bar names the table; a log gets one line per phase.
        const std::string table = YxTool_Narrow(p.wszTable ? p.wszTable : L"");
        if (p.iRowsTotal == 0) m_progress.Phase("counting rows");
        else if (m_progress.OnTerminal() && !table.empty()) m_progress.Phase("merging " + table);
        else m_progress.Phase("merging rows");
        if (p.iRowsTotal > 0) m_progress.Rows(p.iRowsDone, p.iRowsTotal, p.dSecondsLeft);
        return m_interrupt.AbortRequested() ? 1 : 0;
    }

private:
    CYxToolProgress& m_progress;
    CYxToolInterrupt& m_interrupt;
};

std::vector<CYxStringW> UuidList(const std::string& value) {
    std::vector<CYxStringW> uuids;
    for (const QString& part : QString::fromStdString(value).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString uuid = part.trimmed();
        if (!uuid.isEmpty()) uuids.emplace_back(uuid.toStdWString());
    }
    return uuids;
}

// The reason of a refused or failed merge, for the one error line.
std::string FailureText(int status) {
    switch (status) {
    case YXPDB_E_OLDER: return "the source is older than the target; upgrade it first";
    case YXPDB_E_NEWER_MAIN:
    case YXPDB_E_NEWER_CATALOG: return "the source is newer than the target; upgrade the target first";
    case YXPDB_E_SAMEFILE: return "source and target are the same database";
    case YXPDB_E_NOTFOUND: return "a run or project uuid is not in the source; nothing merged";
    case YXPDB_E_CANCELLED: return "cancelled; the target is unchanged";
    case YXPDB_E_FOLDER: return "a folder could not be copied; the target is unchanged";
    case YXPDB_E_READONLY: return "the target is read-only";
    default: return "merge failed; the target is unchanged";
    }
}

// Opens a file for the merge after GetInfo has described it, so that a
// missing, damaged or too new file is named as such.
int Open(CYxToolCall& call, const std::string& file, const std::wstring& path, bool forWriting,
         YxProjectDbHandle* handle) {
    SYxProjectDbFileInfo info;
    const int rc = YxProjectDb_Db_Jobs_GetInfo(path.c_str(), &info);
    const bool readOnlyIsEnough = !forWriting && rc == YXPDB_E_READONLY && !info.bDamaged;
    if (rc != 0 && !readOnlyIsEnough) return call.Fail(file, YxTool_InfoFailure(info, rc, 136), rc);
    *handle = forWriting ? YxProjectDb_Db_Jobs_Connect(path.c_str()) : YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!*handle) return call.Fail(file, "cannot open the database", YXPDB_E_NOCONNECTION);
    return 0;
}

void PrintText(const SYxProjectDbMergeReport& report, bool dryRun, const std::string& src, const std::string& dst) {
    std::printf("%s '%s' into '%s'\n", dryRun ? "would merge" : "merged", src.c_str(), dst.c_str());
    std::printf("%-24s %12s %12s\n", "table", dryRun ? "would copy" : "copied", "matched");
    long long copied = 0, matched = 0;
    for (const auto& t : report.tables) {
        std::printf("%-24s %12lld %12lld\n", YxTool_Narrow(t.wszTable.str()).c_str(),
                    static_cast<long long>(t.iCopied), static_cast<long long>(t.iMatched));
        copied += t.iCopied;
        matched += t.iMatched;
    }
    std::printf("%-24s %12lld %12lld\n", "total", copied, matched);
    for (const auto& f : report.folders) std::printf("folder %s\n", YxTool_Narrow(f.str()).c_str());
    if (!dryRun) std::printf("done in %.1f s\n", report.dSeconds);
}

void PrintJson(const SYxProjectDbMergeReport& report, bool dryRun, const std::string& src, const std::string& dst) {
    QJsonObject root;
    root[QStringLiteral("source")] = QString::fromStdString(src);
    root[QStringLiteral("target")] = QString::fromStdString(dst);
    root[QStringLiteral("dryRun")] = dryRun;
    QJsonArray tables;
    for (const auto& t : report.tables) {
        QJsonObject o;
        o[QStringLiteral("table")] = QString::fromStdWString(t.wszTable.str());
        o[QStringLiteral("copied")] = static_cast<qint64>(t.iCopied);
        o[QStringLiteral("matched")] = static_cast<qint64>(t.iMatched);
        tables.append(o);
    }
    root[QStringLiteral("tables")] = tables;
    QJsonArray folders;
    for (const auto& f : report.folders) folders.append(QString::fromStdWString(f.str()));
    root[QStringLiteral("folders")] = folders;
    if (!dryRun) root[QStringLiteral("seconds")] = report.dSeconds;
    std::printf("%s", QJsonDocument(root).toJson(QJsonDocument::Indented).constData());
}

int RunMerge(CYxToolCall& call) {
    const std::string& src = call.Arg(0);
    const std::string& dst = call.Arg(1);
    const bool dryRun = call.Flag("dry-run");
    const bool json = call.Flag("json");

    SYxProjectDbMergeScope scope;
    scope.runUuids = UuidList(call.Value("runs"));
    scope.projectUuids = UuidList(call.Value("projects"));

    YxProjectDbHandle hSrc = 0, hDst = 0;
    if (Open(call, src, call.WideArg(0), false, &hSrc) != 0) return 1;
    // A dry run writes nothing either, but it counts on the target's own
    // connection, which must be one that could merge.
    if (Open(call, dst, call.WideArg(1), true, &hDst) != 0) {
        YxProjectDb_Db_Disconnect(hSrc);
        return 1;
    }

    // JSON on stdout stays parseable: no phase lines beside it.
    CYxToolInterrupt interrupt;
    CYxToolProgress progress(json && !isatty(STDERR_FILENO), &interrupt);
    CMergeProgress merging(progress, interrupt);
    SYxProjectDbMerge_DuplicateOptions options;
    options.hSource = hSrc;
    options.hTarget = hDst;
    options.eDuplicates = call.Flag("copy-duplicates") ? eYxMergeCopyDuplicates : eYxMergeSkipDuplicates;
    options.bCopyFolders = !call.Flag("no-folders");
    options.pProgress = &merging;

    SYxProjectDbMergeReport report;
    const int rc = dryRun ? YxProjectDb_Merge_Plan(options, scope, &report) : YxProjectDb_Merge_Run(options, scope, &report);
    progress.Finish();
    YxProjectDb_Db_Disconnect(hSrc);
    YxProjectDb_Db_Disconnect(hDst);
    if (rc != 0) return call.Fail(dst, FailureText(rc), rc);

    if (json) PrintJson(report, dryRun, src, dst);
    else PrintText(report, dryRun, src, dst);
    return 0;
}

void Declare(CYxToolSyntax& s) {
    s.Argument("SRC", "the jobs database to merge from (only read)");
    s.Argument("DST", "the jobs database to merge into");
    s.Value("runs", "UUID,...", "merge only these runs (with what they refer to)");
    s.Value("projects", "UUID,...", "merge only these projects");
    s.Flag("copy-duplicates", "copy records whose uuid the target has as new records with new uuids");
    s.Flag("no-folders", "do not copy run and project folders");
    s.Flag("dry-run", "count what would be copied and matched; write nothing");
    s.Flag("json", "print the per-table counts as JSON");
}
}  // namespace

YX_TOOL_COMMAND("merge", 33, "merge one jobs database into another (Ctrl-C cancels and rolls back)", &Declare,
                &RunMerge);
