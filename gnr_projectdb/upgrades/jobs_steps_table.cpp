// The table of the jobs database's migration steps.
#include "gnr_projectdb/upgrades/jobs_steps.h"

PFYxJobsUpgradeStep YxProjectDb_Upgrade_FindJobsStep(std::int64_t /*from*/) {
    // Filled in as the migration steps are written.
    return nullptr;
}
