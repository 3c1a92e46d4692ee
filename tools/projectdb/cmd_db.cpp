// projectdb create / app-create / info / app-info.
#include "tool.h"

#include "gnr_projectdb/db.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstdio>

namespace {

QString Q(const CYxStringW& s) { return QString::fromStdWString(s.str()); }

int Create(const std::vector<std::string>& args, bool app) {
    if (args.size() != 1) return YxTool_Fail("expected one FILE argument", -1);
    const std::wstring path = YxTool_Wide(args[0]);
    const int rc = app ? YxProjectDb_Db_Vasq_Create(path.c_str()) : YxProjectDb_Db_Jobs_CreateWithUpgrades(path.c_str());
    if (rc != 0) return YxTool_Fail("cannot create " + args[0], rc);
    std::printf("created %s database %s\n", app ? "application" : "jobs", args[0].c_str());
    return 0;
}

int Info(const std::vector<std::string>& argsIn, bool app) {
    std::vector<std::string> args = argsIn;
    const bool json = YxTool_TakeFlag(args, "--json");
    if (args.size() != 1) return YxTool_Fail("expected one FILE argument", -1);
    const std::wstring path = YxTool_Wide(args[0]);
    SYxProjectDbFileInfo info;
    const int rc = app ? YxProjectDb_Db_Vasq_GetInfo(path.c_str(), &info) : YxProjectDb_Db_Jobs_GetInfo(path.c_str(), &info);
    if (json) {
        QJsonObject o;
        o["status"] = rc;
        o["fileName"] = Q(info.wszFileName);
        o["journalMode"] = Q(info.wszJournalMode);
        o["storedJournalMode"] = Q(info.wszStoredJournalMode);
        o["storedSynchronous"] = Q(info.wszStoredSynchronous);
        o["networkDrive"] = info.bNetworkDrive;
        o["readOnly"] = info.bReadOnly;
        o["damaged"] = info.bDamaged;
        o["openResult"] = info.iOpenResult;
        o["folderFormat"] = info.iFolderFormat;
        o["mainVersion"] = static_cast<qint64>(info.iMainVersion);
        o["mainReadError"] = info.iMainReadError;
        o["plateVersion"] = static_cast<qint64>(info.iPlateVersion);
        o["plateReadError"] = info.iPlateReadError;
        o["silentVersion"] = static_cast<qint64>(info.iSilentVersion);
        o["silentReadError"] = info.iSilentReadError;
        std::printf("%s\n", QJsonDocument(o).toJson(QJsonDocument::Compact).constData());
    } else {
        std::printf("file name:            %s\n", YxTool_Narrow(info.wszFileName.str()).c_str());
        std::printf("journal mode:         %s\n", YxTool_Narrow(info.wszJournalMode.str()).c_str());
        std::printf("stored journal mode:  %s\n", YxTool_Narrow(info.wszStoredJournalMode.str()).c_str());
        std::printf("stored synchronous:   %s\n", YxTool_Narrow(info.wszStoredSynchronous.str()).c_str());
        std::printf("network drive:        %s\n", info.bNetworkDrive ? "yes" : "no");
        std::printf("read-only:            %s\n", info.bReadOnly ? "yes" : "no");
        std::printf("damaged:              %s\n", info.bDamaged ? "yes" : "no");
        std::printf("open result:          %d\n", info.iOpenResult);
        std::printf("folder format:        %d\n", info.iFolderFormat);
        std::printf("main version:         %lld (read error %d)\n", static_cast<long long>(info.iMainVersion), info.iMainReadError);
        std::printf("plate version:        %lld (read error %d)\n", static_cast<long long>(info.iPlateVersion), info.iPlateReadError);
        std::printf("silent version:       %lld (read error %d)\n", static_cast<long long>(info.iSilentVersion), info.iSilentReadError);
        std::printf("status:               %d\n", rc);
    }
    if (rc != 0) {
        std::fprintf(stderr, "projectdb: %s is not usable as it is (status %d)\n", args[0].c_str(), rc);
        return 1;
    }
    return 0;
}

}  // namespace

YX_TOOL_COMMAND("create", "FILE", "create a new jobs database (schema 136, holder catalog) and its project folder",
                [](const std::vector<std::string>& a) { return Create(a, false); });
YX_TOOL_COMMAND("app-create", "FILE", "create a new application database (schema 7)",
                [](const std::vector<std::string>& a) { return Create(a, true); });
YX_TOOL_COMMAND("info", "FILE [--json]", "describe a jobs database file: journal, settings, versions, state",
                [](const std::vector<std::string>& a) { return Info(a, false); });
YX_TOOL_COMMAND("app-info", "FILE [--json]", "describe an application database file",
                [](const std::vector<std::string>& a) { return Info(a, true); });
