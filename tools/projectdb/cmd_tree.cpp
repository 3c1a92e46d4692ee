// projectdb tree FILE [--json]: the projects of a database with their job
// definitions, programs and runs.
#include "tool.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/records_project.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace {

QString Q(const CYxStringW& s) { return QString::fromStdWString(s.str()); }
std::string N(const CYxStringW& s) { return YxTool_Narrow(s.str()); }

struct SRunInfo {
    SYxProjectDbRow_jobrun row;
    std::int64_t frames = 0;
};

QJsonObject RunJson(const SRunInfo& r) {
    QJsonObject o;
    o[QStringLiteral("key")] = static_cast<qint64>(r.row.iKey);
    o[QStringLiteral("name")] = Q(r.row.wszName);
    o[QStringLiteral("uuid")] = Q(r.row.wszUuid);
    o[QStringLiteral("finishFlags")] = static_cast<qint64>(r.row.iFinishFlags);
    o[QStringLiteral("running")] = (r.row.iFinishFlags & YX_JOBRUN_FLAG_RUNNING) != 0;
    o[QStringLiteral("folder")] = Q(r.row.wszFolderName);
    o[QStringLiteral("program")] = static_cast<qint64>(r.row.iJobprogramKeyRef);
    o[QStringLiteral("frames")] = static_cast<qint64>(r.frames);
    return o;
}

void PrintRun(const SRunInfo& r, const char* indent) {
    std::printf("%srun %lld \"%s\" uuid=%s flags=%lld%s folder=\"%s\" frames=%lld\n", indent,
                static_cast<long long>(r.row.iKey), N(r.row.wszName).c_str(), N(r.row.wszUuid).c_str(),
                static_cast<long long>(r.row.iFinishFlags),
                (r.row.iFinishFlags & YX_JOBRUN_FLAG_RUNNING) ? " (running)" : "", N(r.row.wszFolderName).c_str(),
                static_cast<long long>(r.frames));
}

int RunTree(CYxToolCall& call) {
    const bool json = call.Flag("json");
    const std::string& file = call.Arg(0);
    const CYxStringW path(call.WideArg(0));
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(path);
    if (!h) return call.Fail(file, "cannot open the database", YXPDB_E_NOCONNECTION);

    std::vector<SYxProjectDbRow_project> projects;
    int rc = YxProjectDb_Proj_GetAll(h, projects);
    QJsonArray jprojects;
    for (std::size_t pi = 0; rc == 0 && pi < projects.size(); ++pi) {
        const SYxProjectDbRow_project& p = projects[pi];
        std::vector<SYxProjectDbRow_jobdef> defs;
        std::vector<SYxProjectDbRow_jobrun> runRows;
        rc = YxProjectDb_Jobdef_GetMany(h, p.iKey, defs);
        if (rc == 0) rc = YxProjectDb_Jobrun_GetMany(h, p.iKey, runRows);
        std::vector<SRunInfo> runs;
        for (const auto& r : runRows) {
            SRunInfo info{r, 0};
            if (rc == 0)
                rc = YxProjectDb_Table_Count(h, L"frame", CYxStringW::Format(L"iJobrunKeyRef=%I64d", r.iKey), &info.frames);
            runs.push_back(info);
        }
        if (rc != 0) break;
        QJsonObject jp;
        if (!json)
            std::printf("project %lld \"%s\" uuid=%s folder=\"%s\"\n", static_cast<long long>(p.iKey),
                        N(p.wszName).c_str(), N(p.wszUuid).c_str(), N(p.wszFolderName).c_str());
        jp[QStringLiteral("key")] = static_cast<qint64>(p.iKey);
        jp[QStringLiteral("name")] = Q(p.wszName);
        jp[QStringLiteral("uuid")] = Q(p.wszUuid);
        jp[QStringLiteral("folder")] = Q(p.wszFolderName);
        QJsonArray jdefs;
        for (const auto& d : defs) {
            std::vector<SYxProjectDbRow_jobprogram> programs;
            rc = YxProjectDb_Jobprogram_GetMany(h, d.iKey, programs);
            if (rc != 0) break;
            if (!json)
                std::printf("  jobdef %lld \"%s\" uuid=%s state=%d\n", static_cast<long long>(d.iKey),
                            N(d.wszName).c_str(), N(d.wszUuid).c_str(), d.iState);
            QJsonObject jd;
            jd[QStringLiteral("key")] = static_cast<qint64>(d.iKey);
            jd[QStringLiteral("name")] = Q(d.wszName);
            jd[QStringLiteral("uuid")] = Q(d.wszUuid);
            jd[QStringLiteral("state")] = d.iState;
            QJsonArray jprogs, jruns;
            for (const auto& g : programs) {
                if (!json)
                    std::printf("    program %lld \"%s\" uuid=%s\n", static_cast<long long>(g.iKey),
                                N(g.wszSummary).c_str(), N(g.wszUuid).c_str());
                QJsonObject jg;
                jg[QStringLiteral("key")] = static_cast<qint64>(g.iKey);
                jg[QStringLiteral("summary")] = Q(g.wszSummary);
                jg[QStringLiteral("uuid")] = Q(g.wszUuid);
                jprogs.append(jg);
            }
            for (const auto& r : runs)
                if (r.row.iJobdefKeyRef == d.iKey) {
                    if (!json) PrintRun(r, "    ");
                    jruns.append(RunJson(r));
                }
            jd[QStringLiteral("programs")] = jprogs;
            jd[QStringLiteral("runs")] = jruns;
            jdefs.append(jd);
        }
        QJsonArray jloose;
        for (const auto& r : runs) {
            bool owned = false;
            for (const auto& d : defs) owned = owned || r.row.iJobdefKeyRef == d.iKey;
            if (owned) continue;
            if (!json) PrintRun(r, "  ");
            jloose.append(RunJson(r));
        }
        jp[QStringLiteral("jobdefs")] = jdefs;
        jp[QStringLiteral("runs")] = jloose;
        jprojects.append(jp);
    }
    YxProjectDb_Db_Disconnect(h);
    if (rc != 0) return call.Fail(file, "cannot read the projects", rc);
    if (json) {
        QJsonObject root;
        root[QStringLiteral("projects")] = jprojects;
        std::fputs(QJsonDocument(root).toJson(QJsonDocument::Indented).toStdString().c_str(), stdout);
    }
    return 0;
}

void Declare(CYxToolSyntax& s) {
    s.Argument("FILE", "the jobs database");
    s.Flag("json", "print one JSON document");
}
}  // namespace

YX_TOOL_COMMAND("tree", 22,
                "the projects with their job definitions, programs and runs (name, uuid, state, flags, folder, frames)",
                &Declare, &RunTree);
