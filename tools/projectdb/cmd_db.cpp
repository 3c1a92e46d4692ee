// projectdb create / app-create / info / app-info.
#include "tool.h"

#include "gnr_projectdb/db.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

QString Q(const CYxStringW& s) { return QString::fromStdWString(s.str()); }

// An existing file is never turned into a database behind its owner's
// back: only --force replaces one, and only an empty one.
int Create(CYxToolCall& call, bool app) {
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    std::error_code error;
    const std::filesystem::path fsPath = std::filesystem::u8path(file);
    if (std::filesystem::exists(std::filesystem::symlink_status(fsPath, error))) {
        if (!call.Flag("force")) return call.FailText(file, "the file exists (--force replaces an empty file)");
        const bool empty = std::filesystem::is_regular_file(fsPath, error) &&
                           std::filesystem::file_size(fsPath, error) == 0 && !error;
        if (!empty) return call.FailText(file, "the file exists and is not empty (--force replaces only an empty file)");
    }
    const int rc = app ? YxProjectDb_Db_Vasq_Create(path.c_str()) : YxProjectDb_Db_Jobs_CreateWithUpgrades(path.c_str());
    if (rc != 0) return call.Fail(file, "cannot create the database", rc);
    std::printf("created %s database %s\n", app ? "application" : "jobs", file.c_str());
    return 0;
}

int Info(CYxToolCall& call, bool app) {
    const bool json = call.Flag("json");
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    SYxProjectDbFileInfo info;
    const int rc = app ? YxProjectDb_Db_Vasq_GetInfo(path.c_str(), &info) : YxProjectDb_Db_Jobs_GetInfo(path.c_str(), &info);
    if (rc != 0) return call.Fail(file, YxTool_InfoFailure(info, rc, app ? 7 : 136), rc);
    if (json) {
        QJsonObject o;
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
    }
    return 0;
}

void DeclareCreate(CYxToolSyntax& s) {
    s.Argument("FILE", "the database file");
    s.Flag("force", "replace an existing empty file");
}
void DeclareInfo(CYxToolSyntax& s) {
    s.Argument("FILE", "the database file");
    s.Flag("json", "print one JSON object");
}

}  // namespace

YX_TOOL_COMMAND("create", 11, "create a new jobs database (schema 136, holder catalog) and its project folder", &DeclareCreate,
                [](CYxToolCall& c) { return Create(c, false); });
YX_TOOL_COMMAND("app-create", 40, "create a new application database (schema 7)", &DeclareCreate,
                [](CYxToolCall& c) { return Create(c, true); });
YX_TOOL_COMMAND("info", 12, "describe a jobs database file: journal, settings, versions, state", &DeclareInfo,
                [](CYxToolCall& c) { return Info(c, false); });
YX_TOOL_COMMAND("app-info", 41, "describe an application database file", &DeclareInfo,
                [](CYxToolCall& c) { return Info(c, true); });
