// The application database's upgrade and downgrade drivers. Both run on the
// caller's thread in one transaction and report progress as plain positions
// (40 when the version is known, 60 after the steps, 90 before the end of
// the transaction, 100 at the end).
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/upgrade_connection.h"
#include "gnr_projectdb/upgrades/upgrade_driver.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

namespace {
void SetPos(CYxProgressDialog* dialog, int position) {
    if (dialog) dialog->SetPos(position);
}

int Open(const wchar_t* path, sqlite3** db) {
    *db = nullptr;
    int rc = YxSqlite_Open(path, db, 2);
    if (rc == 0) rc = YxProjectDb_Upgrade_PrepareConnection(*db);
    if (rc != 0) {
        YxSqlite_Close(*db);
        *db = nullptr;
    }
    return rc;
}

void LogStep(int reached, int status) {
    YX_DIAG_INFO(L"version %I64d (%s)", static_cast<std::int64_t>(reached), status != 0 ? L"FAILED" : L"");
}

// The end of both drivers: index check over the current tables, end of the
// transaction, compaction; closes the connection.
int Finish(sqlite3* db, CYxSqliteTransaction& transaction, int status, CYxProgressDialog* dialog) {
    SetPos(dialog, 60);
    if (status == 0) {
        int count = 0;
        const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetAppTables(&count);
        CYxStringW script = L"PRAGMA foreign_keys=0;\n";
        for (int i = 0; i < count; ++i) script += YxSqlite_CheckTableIndexesSqlCommand(*defs[i]);
        YxSqlite_Execute(db, script, nullptr, false);
    } else {
        transaction.SetRollback();
    }
    SetPos(dialog, 90);
    const int end = transaction.End();
    if (status == 0 && end != 0) status = end;
    if (status == 0) {
        YX_DIAG_INFO(L"Optimizing database file...");
        YxSqlite_Execute(db, L"VACUUM;", nullptr, false);
    }
    YxSqlite_Close(db);
    SetPos(dialog, 100);
    return status;
}

// Leaves a file with a version that has no step untouched.
int Refuse(sqlite3* db, CYxSqliteTransaction& transaction) {
    transaction.SetRollback();
    transaction.End();
    YxSqlite_Close(db);
    return YXPDB_E_NOCONNECTION;
}
}  // namespace

bool YxProjectDb_Db_Vasq_DowngradeIsPossible(std::int64_t version) { return version == 5; }

namespace {
struct SStep {
    std::int64_t from;
    int to;
    int (*run)(sqlite3*);
};
const SStep kChain[] = {
    {1, 2, &YxProjectDb_Db_Upgrade_From_001_To_002}, {2, 3, &YxProjectDb_Db_Upgrade_From_002_To_003},
    {3, 4, &YxProjectDb_Db_Upgrade_From_003_To_004}, {4, 6, &YxProjectDb_Db_Upgrade_From_004_To_006},
    {6, 7, &YxProjectDb_Db_Upgrade_From_006_To_007},
};
}  // namespace

int YxProjectDb_Db_Vasq_UpgradePlan(std::int64_t version, std::vector<SYxProjectDbUpgradeStep>* steps) {
    if (steps) steps->clear();
    if (version > YX_PROJECTDB_APP_VERSION) return YXPDB_E_GENERIC;
    if (version == YX_PROJECTDB_APP_VERSION) return 0;
    bool on = false;
    for (const SStep& step : kChain) {
        on = on || step.from == version;
        if (on && steps) steps->push_back({step.from, step.to});
    }
    return on ? 0 : YXPDB_E_NOCONNECTION;
}

int YxProjectDb_Db_Vasq_Upgrade(const wchar_t* path, CYxProgressDialog* dialog) {
    if (!path || !*path) return YXPDB_E_PATH;
    sqlite3* db = nullptr;
    int status = Open(path, &db);
    if (status != 0) return status;

    CYxSqliteTransaction transaction(db, true, 30);
    int error = 0;
    const std::int64_t version =
        YxProjectDb_Upgrade_ReadVersion(db, YxSqlite_HasTable(db, L"version") ? L"version" : L"vesion", L"main", &error);
    YX_DIAG_INFO(L"Upgrading version %I64d to...", version);
    SetPos(dialog, 40);

    std::size_t first = sizeof(kChain) / sizeof(kChain[0]);
    for (std::size_t i = 0; i < sizeof(kChain) / sizeof(kChain[0]); ++i)
        if (kChain[i].from == version) first = i;
    if (first == sizeof(kChain) / sizeof(kChain[0])) return Refuse(db, transaction);

    // One fall-through chain from the file's version to the current one.
    for (std::size_t i = first; i < sizeof(kChain) / sizeof(kChain[0]); ++i) {
        status = kChain[i].run(db);
        LogStep(kChain[i].to, status);
        if (status != 0) break;
    }
    return Finish(db, transaction, status, dialog);
}

int YxProjectDb_Db_Vasq_Downgrade(const wchar_t* path, CYxProgressDialog* dialog) {
    if (!path || !*path) return YXPDB_E_PATH;
    sqlite3* db = nullptr;
    int status = Open(path, &db);
    if (status != 0) return status;

    CYxSqliteTransaction transaction(db, true, 30);
    int error = 0;
    const std::int64_t version = YxProjectDb_Upgrade_ReadVersion(db, L"vesion", L"main", &error);
    YX_DIAG_INFO(L"Downgrading from version %I64d ...", version);
    SetPos(dialog, 40);
    if (!YxProjectDb_Db_Vasq_DowngradeIsPossible(version)) return Refuse(db, transaction);

    status = YxProjectDb_Db_Downgrade_From_005_To_004(db);
    LogStep(4, status);
    return Finish(db, transaction, status, dialog);
}
