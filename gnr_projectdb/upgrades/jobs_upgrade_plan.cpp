// The list of migration steps an upgrade of a jobs database would run.
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/upgrades/jobs_steps.h"

int YxProjectDb_Db_Jobs_UpgradePlan(std::int64_t mainVersion, std::vector<SYxProjectDbUpgradeStep>* steps) {
    if (steps) steps->clear();
    if (mainVersion > YX_PROJECTDB_JOBS_SCHEMA_VERSION) return YXPDB_E_GENERIC;
    for (std::int64_t version = mainVersion; version < YX_PROJECTDB_JOBS_SCHEMA_VERSION;) {
        const std::int64_t next = YxProjectDb_Upgrade_JobsStepTarget(version);
        if (next <= version) return YXPDB_E_NOCONNECTION;
        if (steps) steps->push_back({version, next});
        version = next;
    }
    return 0;
}
