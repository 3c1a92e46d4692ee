// The migration steps of the jobs database, as the upgrade driver sees them.
//
// A step takes an open connection (prepared by YxProjectDb_Upgrade_PrepareConnection,
// inside the driver's transaction) and moves the file from one main version
// to the next, ending with the version bump. Returns 0 or the status of the
// failed statement.
#pragma once

#include <cstdint>

struct sqlite3;

typedef int (*PFYxJobsUpgradeStep)(sqlite3* db);

// The step that leaves version `from`, or null when there is none (the gaps:
// below 10, 49 to 59, 80 to 99, 136 and above).
PFYxJobsUpgradeStep YxProjectDb_Upgrade_FindJobsStep(std::int64_t from);
// The main version that the step leaving `from` writes; -1 when there is
// no such step.
std::int64_t YxProjectDb_Upgrade_JobsStepTarget(std::int64_t from);
