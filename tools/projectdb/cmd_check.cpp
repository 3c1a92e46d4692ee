// projectdb check FILE [--json]: SQLite's integrity and foreign key checks
// and the file's schema against the schema of its recorded version. Every
// finding is listed on standard output; exit 1 when there is any.
#include "tool.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/diagnostics.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstdio>

namespace {

QString Q(const CYxStringW& s) { return QString::fromStdWString(s.str()); }

std::string FindingLine(const SYxProjectDbFinding& f) {
    std::string line = YxProjectDb_Diag_FindingKindName(f.eKind);
    if (!f.wszTable.IsEmpty()) line += ": " + f.wszTable.ToUtf8();
    if (!f.wszName.IsEmpty() && f.wszName != f.wszTable) line += ": " + f.wszName.ToUtf8();
    if (f.eKind == eYxFindingTableMissing || f.eKind == eYxFindingTableExtra) return line;
    const char* sep = ": ";
    if (!f.wszExpected.IsEmpty()) {
        line += sep + ("expected " + f.wszExpected.ToUtf8());
        sep = ", ";
    }
    if (!f.wszFound.IsEmpty()) line += sep + ("found " + f.wszFound.ToUtf8());
    return line;
}

const char* FlavourName(EYxProjectDbFlavour flavour) {
    return flavour == eYxFlavourApplication ? "application" : "jobs";
}

int RunCheck(CYxToolCall& call) {
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!h) return call.Fail(file, "cannot open the database", YxTool_OpenFailure(file));

    std::vector<SYxProjectDbFinding> findings;
    SYxProjectDbSchemaReport report;
    int rc = YxProjectDb_Diag_CheckIntegrity(h, &findings);
    if (rc == 0) rc = YxProjectDb_Diag_CompareSchema(h, eYxFlavourDetect, &findings, &report);
    YxProjectDb_Db_Disconnect(h);
    if (rc != 0) return call.Fail(file, "cannot read the database", rc);

    if (call.Flag("json")) {
        QJsonArray list;
        for (const SYxProjectDbFinding& f : findings) {
            QJsonObject o;
            o["kind"] = QString::fromUtf8(YxProjectDb_Diag_FindingKindName(f.eKind));
            o["table"] = Q(f.wszTable);
            o["name"] = Q(f.wszName);
            o["expected"] = Q(f.wszExpected);
            o["found"] = Q(f.wszFound);
            list.append(o);
        }
        QJsonObject o;
        o["file"] = QString::fromStdString(file);
        o["flavour"] = QString::fromUtf8(FlavourName(report.eFlavour));
        o["version"] = static_cast<qint64>(report.iVersion);
        if (report.eFlavour == eYxFlavourJobs) o["silentVersion"] = static_cast<qint64>(report.iSilentVersion);
        o["comparedVersion"] = static_cast<qint64>(report.iComparedVersion);
        o["exactVersion"] = report.bExactVersion;
        o["findings"] = list;
        std::fputs(QJsonDocument(o).toJson(QJsonDocument::Indented).constData(), stdout);
    } else {
        std::printf("%s: %s database, version %lld", file.c_str(), FlavourName(report.eFlavour),
                    static_cast<long long>(report.iVersion));
        if (report.eFlavour == eYxFlavourJobs) std::printf(" (silent %lld)", static_cast<long long>(report.iSilentVersion));
        if (report.bExactVersion)
            std::printf(", compared with the schema of version %lld\n", static_cast<long long>(report.iComparedVersion));
        else
            std::printf("; no schema is known for this version, compared with the current schema (version %lld)\n",
                        static_cast<long long>(report.iComparedVersion));
        for (const SYxProjectDbFinding& f : findings) std::printf("%s\n", FindingLine(f).c_str());
        if (findings.empty()) std::printf("no findings\n");
    }
    std::fflush(stdout);
    if (findings.empty()) return 0;
    return call.FailText(file, std::to_string(findings.size()) + (findings.size() == 1 ? " finding" : " findings"));
}

void Declare(CYxToolSyntax& s) {
    s.Argument("FILE", "the jobs or application database");
    s.Flag("json", "print the findings as JSON");
}
}  // namespace

YX_TOOL_COMMAND("check", 14, "check a database's integrity and its schema against its version's (exit 1 on findings)",
                &Declare, &RunCheck);
