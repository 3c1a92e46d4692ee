/// \file
/// Schema upgrades of database files: the jobs database's upgrade and
/// clean-up drivers, and the application database's upgrade and downgrade.
///
/// Every driver opens the file itself (read-write, no create), does all of its
/// work in one transaction and closes the file again: the caller must not
/// hold the file open for writing meanwhile. An upgrade either moves the file
/// to the current version in one committed transaction or leaves it where it
/// was (see YxProjectDb_Db_Jobs_Upgrade for the one exception).
///
/// Statuses: 0 on success, -4 (YXPDB_E_PATH) for a null or empty path, -9
/// (YXPDB_E_NOCONNECTION) for a version that has no step, -11
/// (YXPDB_E_THREAD) when a worker thread fails, the open status when the file
/// cannot be opened, otherwise the SQLite status of the statement that
/// failed (9, SQLITE_INTERRUPT, after a confirmed cancel).
///
/// Threads: the jobs drivers with a progress dialog run their work on a
/// worker thread of their own while the calling thread drives the dialog; the
/// cancel state they share is process-wide, so only one dialog-driven
/// upgrade or clean-up may run at a time. Everything else runs on the
/// caller's thread.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/status.h"
#include "gnr_projectdb/ui.h"

#include <cstdint>
#include <vector>

struct sqlite3;

enum {
    YX_PROJECTDB_JOBS_SILENT_VERSION = 1,
    YX_PROJECTDB_APP_VERSION = 7,
};

/// One migration step: the main version it leaves and the one it writes.
struct SYxProjectDbUpgradeStep {
    std::int64_t iFrom = 0;
    std::int64_t iTo = 0;
};

// ---- jobs database

/// The main-version steps that YxProjectDb_Db_Jobs_Upgrade runs on a file at
/// main version `mainVersion`, in order (the silent step, the index check,
/// compaction and analysis are not listed). Changes nothing.
///   0    *steps holds the steps (none for the current version 136);
///   -9   a version on the way has no step: *steps holds the steps before it;
///   -1   137 or above: newer than this library (*steps empty).
/// steps may be null.
GNR_API int YxProjectDb_Db_Jobs_UpgradePlan(std::int64_t mainVersion, std::vector<SYxProjectDbUpgradeStep>* steps);

/// Brings a jobs database to main 136 and silent 1: the migration steps from
/// the file's main version on, then the silent step when the silent version
/// is below 1, then the index check; commits, compacts (VACUUM) and analyses.
/// With a dialog the work runs on a worker thread; the dialog shows the
/// phases and a liveness bar and offers cancellation ("Are you sure to abort
/// the process?"; Yes interrupts the running statement and rolls back).
/// Without a dialog it runs on the calling thread.
///   -4   null or empty path (dialog run)
///   -9   a main version without a step (below 10, 49 to 59, 80 to 99); the
///        file is rolled back
///   -11  the worker thread could not be started or ended abnormally
///   the open status, or the status of the failed step (rolled back).
/// A failing main chain followed by a silent step that succeeds commits the
/// steps that succeeded and returns 0.
GNR_API int YxProjectDb_Db_Jobs_Upgrade(const wchar_t* path, CYxProgressDialog* dialog);
/// Only the silent step, on the calling thread; commits and analyses (no
/// VACUUM). -4 for a null or empty path; the open status; the step's status.
GNR_API int YxProjectDb_Db_Jobs_Silent_Upgrade(const wchar_t* path);
/// Deletes obsolete records (empty qualifier strings, binary objects that
/// have neither a property nor a qualifier row, tasks of no program that no
/// assay run uses) and clears the run statistics counts for recomputation;
/// then compacts and analyses. Dialog and statuses as for the upgrade; the
/// script's own status is returned (the transaction is committed whatever
/// it is).
GNR_API int YxProjectDb_Db_Jobs_Cleanup(const wchar_t* path, CYxProgressDialog* dialog);

// ---- application database

/// Upgrades from versions 1, 2, 3, 4 or 6 to 7 on the calling thread; the
/// dialog (optional) only receives positions 40, 60, 90, 100.
///   -4   null or empty path
///   -9   any other version (0, 5, 7 and above): nothing is changed. A
///        current file is answered with -9 too; check the version first
///   the open status, or the status of the failed step (rolled back).
GNR_API int YxProjectDb_Db_Vasq_Upgrade(const wchar_t* path, CYxProgressDialog* dialog);
/// The steps that YxProjectDb_Db_Vasq_Upgrade runs on a file at `version`.
/// 0 with the steps (none for 7); -9 for a version without a step (0, 5;
/// *steps empty); -1 above 7. steps may be null.
GNR_API int YxProjectDb_Db_Vasq_UpgradePlan(std::int64_t version, std::vector<SYxProjectDbUpgradeStep>* steps);
/// Takes a version-5 file down to 4. -4, the open status, -9 for any other
/// version, or the step's status (rolled back).
GNR_API int YxProjectDb_Db_Vasq_Downgrade(const wchar_t* path, CYxProgressDialog* dialog);
/// True exactly for version 5.
GNR_API bool YxProjectDb_Db_Vasq_DowngradeIsPossible(std::int64_t version);

/// The steps, on a connection prepared for upgrades inside a transaction.
/// Each returns 0 or the status of its failed statement.
GNR_API int YxProjectDb_Db_Upgrade_From_001_To_002(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_002_To_003(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_003_To_004(sqlite3* db);
/// Converts analyses, analysis runs and their results into files,
/// definitions, measurements and results with JSON metadata; renames the
/// version table to `version`.
GNR_API int YxProjectDb_Db_Upgrade_From_004_To_006(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_006_To_007(sqlite3* db);
GNR_API int YxProjectDb_Db_Downgrade_From_005_To_004(sqlite3* db);
