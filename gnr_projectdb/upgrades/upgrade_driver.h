// The shared parts of the upgrade drivers: the process-wide phase counter and
// abort flag, the progress handler that answers the abort flag, version
// reads, the jobs step dispatcher and silent step, the workers and the
// dialog-driven run.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/upgrades/jobs_steps.h"
#include "uisupport/yxprogressdialog.h"

#include <atomic>
#include <cstdint>

struct sqlite3;

// Phase of the running worker (0 tables, 1 indexes, then compaction and
// statistics) and the user's confirmed cancel (non-zero), shared between a
// worker and the thread that shows the dialog.
std::atomic<int>& YxProjectDb_Upgrade_PhaseCounter();
// After a successful commit: one phase up, "VACUUM;", one phase up,
// "ANALYZE;" (their results are not reported).
void YxProjectDb_Upgrade_CompactAndAnalyse(sqlite3* db);
std::atomic<int>& YxProjectDb_Upgrade_AbortFlag();

// Installs the SQLite progress handler (every 100 instructions) that
// interrupts the running statement once the abort flag is set.
void YxProjectDb_Upgrade_InstallProgressHandler(sqlite3* db);

// "SELECT iVersion FROM <table> WHERE wszName='<name>';" read as one value;
// *error receives the read's status (0, 101 for no row, or an SQLite code).
std::int64_t YxProjectDb_Upgrade_ReadVersion(sqlite3* db, const wchar_t* table, const wchar_t* name, int* error);

// Runs the step that leaves main version `from`: 10 to 48, 60 to 79 and 100
// to 135 have one (48 leads to 60, 79 to 100, every other step adds one).
// -9 for any other version, and for a version whose step is missing.
int YxProjectDb_Upgrade_RunJobsStep(sqlite3* db, std::int64_t from);

// Replaces the lookup of the steps (null restores the real table). For tests
// of the driver only; not synchronised with running upgrades.
typedef PFYxJobsUpgradeStep (*PFYxJobsStepResolver)(std::int64_t from);
void YxProjectDb_Upgrade_SetJobsStepResolverForTesting(PFYxJobsStepResolver resolver);

// The silent step: -9 unless version is 0; else the status of its script.
int YxProjectDb_Upgrade_JobsSilentStep(sqlite3* db, std::int64_t version);

// The workers: the bodies of the upgrade and the clean-up.
int YxProjectDb_Upgrade_JobsUpgradeWorker(const wchar_t* path);
int YxProjectDb_Upgrade_JobsCleanupWorker(const wchar_t* path);

enum EYxUpgradeRunKind { eYxUpgradeRunUpgrade, eYxUpgradeRunCleanup };
typedef int (*PFYxUpgradeWorker)(const wchar_t* path);
// Runs the worker on a thread of its own while the calling thread keeps the
// dialog alive; see YxProjectDb_Db_Jobs_Upgrade.
int YxProjectDb_Upgrade_RunWithDialog(const wchar_t* path, CYxProgressDialog* dialog, PFYxUpgradeWorker worker,
                                      EYxUpgradeRunKind kind);
