// projectdb upgrade | silent-upgrade | cleanup | app-upgrade FILE
//           [--quiet] [--dry-run] [--backup]
// projectdb app-downgrade FILE [--quiet]
//
// Each command reads the file's versions first: a newer file than this tool
// knows is refused before anything runs, a current one is reported as
// already current (nothing done), and a version without an upgrade step is
// refused. --dry-run lists the steps that would run and changes nothing;
// --backup copies the file through SQLite's online backup before the work
// starts. Afterwards the versions are read again: a run that returned
// success but left the file below the current version is a failure naming
// the version it reached.
//
// The jobs upgrade and clean-up show their progress (a bar on a terminal,
// one line per phase otherwise). Ctrl-C asks "Are you sure to abort the
// process?" on the terminal; a yes cancels the run, which rolls back; a yes
// that comes after the commit is reported as too late. --quiet runs without
// progress output (and without cancellation).
#include "tool.h"

#include "tool_progress.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/upgrade.h"

#include <sqlite3.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {
enum EKind { eUpgrade, eSilent, eCleanup, eAppUpgrade, eAppDowngrade };

struct SVersions {
    long long main = 0;
    long long silent = 0;
};

bool IsApp(EKind kind) { return kind == eAppUpgrade || kind == eAppDowngrade; }
long long Newest(EKind kind) {
    return IsApp(kind) ? static_cast<long long>(YX_PROJECTDB_APP_VERSION)
                       : static_cast<long long>(YX_PROJECTDB_JOBS_SCHEMA_VERSION);
}

std::string VersionText(EKind kind, const SVersions& v) {
    if (IsApp(kind)) return "version " + std::to_string(v.main);
    return "version " + std::to_string(v.main) + ", silent " + std::to_string(v.silent);
}

int ReadVersions(EKind kind, const std::wstring& path, SVersions* versions, SYxProjectDbFileInfo* info) {
    const int rc = IsApp(kind) ? YxProjectDb_Db_Vasq_GetInfo(path.c_str(), info)
                               : YxProjectDb_Db_Jobs_GetInfo(path.c_str(), info);
    versions->main = info->iMainVersion;
    versions->silent = info->iSilentVersion;
    return rc;
}

bool IsCurrent(EKind kind, const SVersions& v) {
    if (kind == eSilent) return v.silent >= YX_PROJECTDB_JOBS_SILENT_VERSION;
    if (IsApp(kind)) return v.main == YX_PROJECTDB_APP_VERSION;
    return v.main == YX_PROJECTDB_JOBS_SCHEMA_VERSION && v.silent >= YX_PROJECTDB_JOBS_SILENT_VERSION;
}

// The steps the command would run, one line each; empty when none.
std::vector<std::string> Plan(EKind kind, const SVersions& v) {
    std::vector<std::string> lines;
    std::vector<SYxProjectDbUpgradeStep> steps;
    switch (kind) {
    case eUpgrade:
        YxProjectDb_Db_Jobs_UpgradePlan(v.main, &steps);
        for (const auto& s : steps) lines.push_back("step " + std::to_string(s.iFrom) + " -> " + std::to_string(s.iTo));
        if (v.silent < YX_PROJECTDB_JOBS_SILENT_VERSION)
            lines.push_back("silent step " + std::to_string(v.silent) + " -> 1");
        lines.push_back("index check, compaction (VACUUM) and analysis");
        break;
    case eSilent:
        lines.push_back("silent step " + std::to_string(v.silent) + " -> 1");
        lines.push_back("analysis");
        break;
    case eCleanup:
        lines.push_back("delete obsolete records and clear the run statistics counts");
        lines.push_back("compaction (VACUUM) and analysis");
        break;
    case eAppUpgrade:
        YxProjectDb_Db_Vasq_UpgradePlan(v.main, &steps);
        for (const auto& s : steps) lines.push_back("step " + std::to_string(s.iFrom) + " -> " + std::to_string(s.iTo));
        lines.push_back("index check and compaction (VACUUM)");
        break;
    case eAppDowngrade:
        lines.push_back("step 5 -> 4");
        break;
    }
    return lines;
}

// Why the command cannot run on a file at these versions (empty when it
// can). The upgrades fail with the status the library gives such a file
// (-9, no step).
std::string Refusal(EKind kind, const SVersions& v) {
    const std::string version = "version " + std::to_string(v.main);
    switch (kind) {
    case eUpgrade:
        if (YxProjectDb_Db_Jobs_UpgradePlan(v.main, nullptr) != 0) return version + " has no upgrade step";
        return "";
    case eSilent: return "";
    case eCleanup:
        // The clean-up script is written for the current tables, and it
        // commits whatever it managed to do.
        if (v.main != YX_PROJECTDB_JOBS_SCHEMA_VERSION)
            return version + " is not the current version " + std::to_string(YX_PROJECTDB_JOBS_SCHEMA_VERSION) +
                   "; upgrade it first";
        return "";
    case eAppUpgrade:
        if (YxProjectDb_Db_Vasq_UpgradePlan(v.main, nullptr) != 0)
            return version + " has no upgrade step" +
                   (YxProjectDb_Db_Vasq_DowngradeIsPossible(v.main) ? " (app-downgrade takes it to 4)" : "");
        return "";
    case eAppDowngrade:
        if (!YxProjectDb_Db_Vasq_DowngradeIsPossible(v.main)) return version + " cannot be downgraded (only 5 can)";
        return "";
    }
    return "";
}

// "<file>.v110.bak", or "<file>.v110-2.bak", ... when that exists.
std::string BackupName(const std::string& file, long long version) {
    const std::string stem = file + ".v" + std::to_string(version);
    std::string name = stem + ".bak";
    for (int i = 2; std::filesystem::exists(std::filesystem::u8path(name)); ++i)
        name = stem + "-" + std::to_string(i) + ".bak";
    return name;
}

// Copies the whole file into `target` (a new file) through the online backup.
int WriteBackup(EKind kind, const std::wstring& path, const std::string& target) {
    const YxProjectDbHandle source = IsApp(kind) ? YxProjectDb_Db_Vasq_ConnectForRead(path.c_str())
                                                 : YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!source) return YXPDB_E_NOCONNECTION;
    sqlite3* copy = nullptr;
    int rc = sqlite3_open_v2(target.c_str(), &copy, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (rc == SQLITE_OK) rc = YxProjectDb_Db_Backup(source, copy);
    const int closed = sqlite3_close(copy);
    if (rc == SQLITE_OK) rc = closed;
    YxProjectDb_Db_Disconnect(source);
    if (rc != SQLITE_OK) std::filesystem::remove(std::filesystem::u8path(target));
    return rc;
}

int RunLibrary(EKind kind, const std::wstring& path, CYxProgressDialog* dialog) {
    switch (kind) {
    case eUpgrade: return YxProjectDb_Db_Jobs_Upgrade(path.c_str(), dialog);
    case eSilent: return YxProjectDb_Db_Jobs_Silent_Upgrade(path.c_str());
    case eCleanup: return YxProjectDb_Db_Jobs_Cleanup(path.c_str(), dialog);
    case eAppUpgrade: return YxProjectDb_Db_Vasq_Upgrade(path.c_str(), dialog);
    case eAppDowngrade: return YxProjectDb_Db_Vasq_Downgrade(path.c_str(), dialog);
    }
    return YXPDB_E_GENERIC;
}

const char* WhatOf(EKind kind) {
    switch (kind) {
    case eUpgrade: return "upgrade";
    case eSilent: return "silent upgrade";
    case eCleanup: return "clean-up";
    case eAppUpgrade: return "upgrade";
    case eAppDowngrade: return "downgrade";
    }
    return "";
}

int Run(EKind kind, CYxToolCall& call) {
    const bool quiet = call.Flag("quiet");
    const bool dryRun = kind != eAppDowngrade && call.Flag("dry-run");
    const bool backup = kind != eAppDowngrade && call.Flag("backup");
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    const char* what = WhatOf(kind);

    SYxProjectDbFileInfo info;
    SVersions before;
    int rc = ReadVersions(kind, path, &before, &info);
    if (rc != 0) return call.Fail(file, YxTool_InfoFailure(info, rc, Newest(kind)), rc);
    if (kind != eCleanup && kind != eAppDowngrade && IsCurrent(kind, before)) {
        std::printf("'%s' is already current (%s): nothing to do\n", file.c_str(), VersionText(kind, before).c_str());
        return 0;
    }
    const std::string refusal = Refusal(kind, before);
    if (!refusal.empty())
        return kind == eCleanup ? call.FailText(file, refusal) : call.Fail(file, refusal, YXPDB_E_NOCONNECTION);

    if (dryRun) {
        std::printf("%s of '%s' at %s would run:\n", what, file.c_str(), VersionText(kind, before).c_str());
        for (const std::string& line : Plan(kind, before)) std::printf("  %s\n", line.c_str());
        return 0;
    }
    if (backup) {
        const std::string name = BackupName(file, before.main);
        rc = WriteBackup(kind, path, name);
        if (rc != 0) return call.Fail(file, "cannot write the backup '" + name + "'; nothing was changed", rc);
        std::printf("backup of %s written to '%s'\n", VersionText(kind, before).c_str(), name.c_str());
    }

    const bool cancellable = !quiet && (kind == eUpgrade || kind == eCleanup);
    std::unique_ptr<CYxToolInterrupt> interrupt;
    if (cancellable) interrupt = std::make_unique<CYxToolInterrupt>();
    CYxToolProgress progress(quiet, interrupt.get());
    rc = RunLibrary(kind, path, quiet ? nullptr : &progress);
    progress.Finish();

    SVersions after;
    const int readBack = ReadVersions(kind, path, &after, &info);
    if (rc != 0)
        return call.Fail(file, std::string(what) + " failed; the file is at " +
                                   (readBack == 0 ? VersionText(kind, after) : "an unknown version"),
                         rc);
    if (readBack != 0) return call.Fail(file, "cannot read the versions back after the " + std::string(what), readBack);
    if (kind != eCleanup && kind != eAppDowngrade && !IsCurrent(kind, after)) {
        std::string why = std::string(what) + " stopped at " + VersionText(kind, after);
        std::vector<SYxProjectDbUpgradeStep> next;
        if (kind == eUpgrade && after.main < YX_PROJECTDB_JOBS_SCHEMA_VERSION &&
            YxProjectDb_Db_Jobs_UpgradePlan(after.main, &next) == 0 && !next.empty())
            why += ": the step to version " + std::to_string(next.front().iTo) + " failed";
        return call.FailText(file, why + " (-v shows the details)");
    }
    if (interrupt && interrupt->Confirmed())
        std::printf("the cancel came too late: the %s had committed and '%s' is changed\n", what, file.c_str());
    if (kind == eCleanup)
        std::printf("clean-up of '%s' done (%s)\n", file.c_str(), VersionText(kind, after).c_str());
    else
        std::printf("%s of '%s' done: %s -> %s\n", what, file.c_str(), VersionText(kind, before).c_str(),
                    VersionText(kind, after).c_str());
    return 0;
}

int RunUpgrade(CYxToolCall& c) { return Run(eUpgrade, c); }
int RunSilent(CYxToolCall& c) { return Run(eSilent, c); }
int RunCleanup(CYxToolCall& c) { return Run(eCleanup, c); }
int RunAppUpgrade(CYxToolCall& c) { return Run(eAppUpgrade, c); }
int RunAppDowngrade(CYxToolCall& c) { return Run(eAppDowngrade, c); }

void DeclareDowngrade(CYxToolSyntax& s) {
    s.Argument("FILE", "the database file");
    s.Flag("quiet", "no progress output and no cancellation");
}
void Declare(CYxToolSyntax& s) {
    DeclareDowngrade(s);
    s.Flag("dry-run", "list the steps that would run and change nothing");
    s.Flag("backup", "first copy the file to FILE.vVERSION.bak (online backup)");
}
}  // namespace

YX_TOOL_COMMAND("upgrade", 30, "upgrade a jobs database to the current version (Ctrl-C cancels)", &Declare,
                &RunUpgrade);
YX_TOOL_COMMAND("silent-upgrade", 31, "run only the silent upgrade step of a jobs database", &Declare, &RunSilent);
YX_TOOL_COMMAND("cleanup", 32, "delete obsolete records of a jobs database, compact and analyse", &Declare,
                &RunCleanup);
YX_TOOL_COMMAND("app-upgrade", 42, "upgrade an application database to version 7", &Declare, &RunAppUpgrade);
YX_TOOL_COMMAND("app-downgrade", 43, "take an application database from version 5 down to 4", &DeclareDowngrade,
                &RunAppDowngrade);
