// The jobs database's upgrade driver: the main chain of migration steps, the
// silent chain, the index check, and commit or rollback, all in one
// transaction; compaction and statistics after a successful commit.
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/upgrade_connection.h"
#include "gnr_projectdb/upgrades/upgrade_driver.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

#include <sqlite3.h>

#include <atomic>

namespace {
std::atomic<PFYxJobsStepResolver> g_resolver{nullptr};

bool HasJobsStep(std::int64_t v) {
    return (v >= 10 && v <= 48) || (v >= 60 && v <= 79) || (v >= 100 && v < YX_PROJECTDB_JOBS_SCHEMA_VERSION);
}

std::int64_t ReadMain(sqlite3* db) {
    int error = 0;
    return YxProjectDb_Upgrade_ReadVersion(db, L"vesion", L"main", &error);
}

std::int64_t ReadSilent(sqlite3* db) {
    int error = 0;
    const std::int64_t v = YxProjectDb_Upgrade_ReadVersion(db, L"vesion", L"silent", &error);
    return error ? 0 : v;
}

int ProgressHandler(void*) { return YxProjectDb_Upgrade_AbortFlag().load() != 0 ? 1 : 0; }

// Opens the file and prepares the connection; on failure the connection is
// closed and the status returned.
int OpenForUpgrade(const wchar_t* path, sqlite3** db) {
    *db = nullptr;
    int rc = YxSqlite_Open(path, db, 2);
    if (rc != 0) {
        YxSqlite_Close(*db);
        *db = nullptr;
        return rc;
    }
    rc = YxProjectDb_Upgrade_PrepareConnection(*db);
    if (rc != 0) {
        YX_DIAG_WARN(L"Preparing the connection for the upgrade failed: %d", rc);
        YxSqlite_Close(*db);
        *db = nullptr;
    }
    return rc;
}

// Runs the steps of one chain while the version read is below `target`,
// logging each version reached; stops at the first failing step. Returns the
// status of the last step run, or `status` when no step was needed. With
// `mustAdvance` a step that succeeds without moving the version ends the
// chain with -9 (it would run for ever); without it the step simply runs
// again, as the silent chain does: its second run fails with its own status.
int RunChain(sqlite3* db, std::int64_t (*read)(sqlite3*), int (*step)(sqlite3*, std::int64_t), std::int64_t target,
             const wchar_t* startLine, int status, bool mustAdvance) {
    std::int64_t version = read(db);
    YX_DIAG_INFO(startLine, version);
    while (version < target) {
        status = step(db, version);
        const std::int64_t reached = read(db);
        YX_DIAG_INFO(L"version %I64d (%s)", reached, status != 0 ? L"FAILED" : L"");
        if (status != 0) break;
        if (mustAdvance && reached <= version) {  // a step that does not advance would never end
            status = YXPDB_E_NOCONNECTION;
            break;
        }
        version = reached;
    }
    return status;
}

int RunSilentChain(sqlite3* db, int status) {
    return RunChain(db, &ReadSilent, &YxProjectDb_Upgrade_JobsSilentStep, YX_PROJECTDB_JOBS_SILENT_VERSION,
                    L"Upgrading silent version %I64d to...", status, false);
}

// Ends the transaction; a failing commit becomes the run's status, and so
// does a transaction that SQLite rolled back by itself (an interrupted or
// failed statement): the caller is never told of an upgrade that did not
// happen.
int EndTransaction(CYxSqliteTransaction& transaction, int status) {
    const int end = transaction.End();
    if (status == 0 && end != 0) {
        YX_DIAG_WARN(L"Ending the upgrade transaction failed: %d", end);
        return end;
    }
    return status;
}

}  // namespace

void YxProjectDb_Upgrade_CompactAndAnalyse(sqlite3* db) {
    YxProjectDb_Upgrade_PhaseCounter().fetch_add(1);
    YX_DIAG_INFO(L"Optimizing database file...");
    YxSqlite_Execute(db, L"VACUUM;", nullptr, false);
    YxProjectDb_Upgrade_PhaseCounter().fetch_add(1);
    YX_DIAG_INFO(L"Analyzing database file...");
    YxSqlite_Execute(db, L"ANALYZE;", nullptr, false);
}

std::atomic<int>& YxProjectDb_Upgrade_PhaseCounter() {
    static std::atomic<int> phase{0};
    return phase;
}

std::atomic<int>& YxProjectDb_Upgrade_AbortFlag() {
    static std::atomic<int> abort{0};
    return abort;
}

void YxProjectDb_Upgrade_InstallProgressHandler(sqlite3* db) {
    sqlite3_progress_handler(db, 100, &ProgressHandler, nullptr);
}

std::int64_t YxProjectDb_Upgrade_ReadVersion(sqlite3* db, const wchar_t* table, const wchar_t* name, int* error) {
    const CYxStringW format = CYxStringW::Format(L"SELECT %%s FROM %%s WHERE %%s='%s';", name);
    return YxSqlite_ReadOneInt64(db, CYxStringW::Format(format, L"iVersion", table, L"wszName"), error);
}

void YxProjectDb_Upgrade_SetJobsStepResolverForTesting(PFYxJobsStepResolver resolver) { g_resolver.store(resolver); }

int YxProjectDb_Upgrade_RunJobsStep(sqlite3* db, std::int64_t from) {
    if (!HasJobsStep(from)) return YXPDB_E_NOCONNECTION;
    const PFYxJobsStepResolver resolver = g_resolver.load();
    const PFYxJobsUpgradeStep step = resolver ? resolver(from) : YxProjectDb_Upgrade_FindJobsStep(from);
    if (!step) return YXPDB_E_NOCONNECTION;
    return step(db);
}

int YxProjectDb_Upgrade_JobsSilentStep(sqlite3* db, std::int64_t version) {
    if (version != 0) return YXPDB_E_NOCONNECTION;
    return YxSqlite_Execute(db,
                            L"ALTER TABLE plateinfo ADD COLUMN pAlignmentMatrix BLOB DEFAULT NULL;"
                            L"ALTER TABLE slideinfo ADD COLUMN pAlignmentMatrix BLOB DEFAULT NULL;"
                            L"INSERT INTO vesion(iVersion,wszName) VALUES(1,'silent');\n",
                            nullptr, false);
}

int YxProjectDb_Upgrade_JobsUpgradeWorker(const wchar_t* path) {
    sqlite3* db = nullptr;
    int status = OpenForUpgrade(path, &db);
    if (status != 0) return status;
    {
        CYxSqliteTransaction transaction(db, true, 30);
        YxSqlite_Execute(db, L"PRAGMA foreign_keys=0;\n", nullptr, false);
        YxProjectDb_Upgrade_InstallProgressHandler(db);

        status = RunChain(db, &ReadMain, &YxProjectDb_Upgrade_RunJobsStep, YX_PROJECTDB_JOBS_SCHEMA_VERSION,
                          L"Upgrading version %I64d to...", status, true);

        // The silent step runs even after a failed main chain, and its status
        // then decides whether the work done so far is committed - unless
        // SQLite rolled the transaction back already: there is nothing left
        // to commit, and the step would write outside any transaction.
        if (transaction.IsLost()) {
            if (status == 0) status = SQLITE_ABORT;
        } else if (ReadSilent(db) < YX_PROJECTDB_JOBS_SILENT_VERSION || status == 0) {
            status = RunSilentChain(db, status);
        }
        if (status == 0 && transaction.IsLost()) status = SQLITE_ABORT;

        if (status == 0) {
            YxProjectDb_Upgrade_PhaseCounter().fetch_add(1);
            int count = 0;
            const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
            CYxStringW script = L"PRAGMA foreign_keys=0;\n";
            for (int i = 0; i < count; ++i) script += YxSqlite_CheckTableIndexesSqlCommand(*defs[i]);
            YX_DIAG_INFO(L"Checking Indexes...");
            YxSqlite_Execute(db, script, nullptr, false);
            YX_DIAG_INFO(L"Committing transaction after upgrade...");
        } else {
            transaction.SetRollback();
            YX_DIAG_INFO(L"Rolling back transaction after error in upgrade...");
        }
        status = EndTransaction(transaction, status);
    }
    if (status == 0) YxProjectDb_Upgrade_CompactAndAnalyse(db);
    YxSqlite_Close(db);
    return status;
}

int YxProjectDb_Db_Jobs_Silent_Upgrade(const wchar_t* path) {
    if (!path || !*path) return YXPDB_E_PATH;
    sqlite3* db = nullptr;
    int status = OpenForUpgrade(path, &db);
    if (status != 0) return status;
    {
        CYxSqliteTransaction transaction(db, true, 30);
        YxSqlite_Execute(db, L"PRAGMA foreign_keys=0;\n", nullptr, false);
        YxProjectDb_Upgrade_InstallProgressHandler(db);
        status = RunSilentChain(db, 0);
        if (status == 0 && transaction.IsLost()) status = SQLITE_ABORT;
        if (status != 0) {
            transaction.SetRollback();
            YX_DIAG_INFO(L"Rolling back transaction after error in silent upgrade...");
        } else {
            YX_DIAG_INFO(L"Committing transaction after silent upgrade...");
        }
        status = EndTransaction(transaction, status);
    }
    if (status == 0) {
        YX_DIAG_INFO(L"Analyzing database file after silent upgrade...");
        YxSqlite_Execute(db, L"ANALYZE;", nullptr, false);
    }
    YxSqlite_Close(db);
    return status;
}

int YxProjectDb_Db_Jobs_Upgrade(const wchar_t* path, CYxProgressDialog* dialog) {
    if (!path || !*path) return YXPDB_E_PATH;
    if (!dialog) return YxProjectDb_Upgrade_JobsUpgradeWorker(path);
    return YxProjectDb_Upgrade_RunWithDialog(path, dialog, &YxProjectDb_Upgrade_JobsUpgradeWorker,
                                             eYxUpgradeRunUpgrade);
}
