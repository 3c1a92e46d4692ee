// Which definitions a file of a recorded version is compared with.
#include "gnr_projectdb/diagnostics/expected_schema.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/upgrades/app_frozen_schema.h"
#include "gnr_projectdb/upgrades/jobs_history.h"

#include <cwchar>

namespace {

bool HasColumn(const SYxSqliteTableDef& def, const wchar_t* column) {
    return YxSqliteTableDef_FindColumn(def, column) >= 0;
}

// Columns that the silent step adds: those of the current definition that
// the main chain's last version does not have.
std::vector<const SYxSqliteColDef*> SilentColumns(const SYxSqliteTableDef& current) {
    std::vector<const SYxSqliteColDef*> columns;
    const SYxSqliteTableDef* last = YxJobsHistory_Def(current.wszName, YX_JOBS_HISTORY_LAST_VERSION);
    for (int i = 0; last && i < current.nCols; ++i)
        if (!HasColumn(*last, current.pCols[i].wszName)) columns.push_back(&current.pCols[i]);
    return columns;
}

SYxDiagExpectedSchema FromList(const SYxSqliteTableDef* const* defs, int count, std::int64_t version, bool exact) {
    SYxDiagExpectedSchema schema;
    schema.iComparedVersion = version;
    schema.bExactVersion = exact;
    for (int i = 0; i < count; ++i) {
        SYxDiagExpectedTable t;
        t.pDef = defs[i];
        schema.tables.push_back(t);
    }
    return schema;
}

}  // namespace

SYxDiagExpectedSchema YxDiag_ExpectedJobsSchema(std::int64_t version, std::int64_t silentVersion) {
    int count = 0;
    const SYxSqliteTableDef* const* current = YxProjectDb_Schema_GetJobsTables(&count);
    const bool known = version == YX_PROJECTDB_JOBS_SCHEMA_VERSION ||
                       (version >= YX_JOBS_HISTORY_FIRST_VERSION && version < YX_PROJECTDB_JOBS_SCHEMA_VERSION &&
                        YxJobsHistory_NextVersion(static_cast<int>(version)) != 0);
    if (!known) return FromList(current, count, YX_PROJECTDB_JOBS_SCHEMA_VERSION, false);

    const bool silent = silentVersion >= 1;
    if (version == YX_PROJECTDB_JOBS_SCHEMA_VERSION) {
        SYxDiagExpectedSchema schema = FromList(current, count, version, true);
        if (!silent)
            for (SYxDiagExpectedTable& t : schema.tables)
                for (const SYxSqliteColDef* c : SilentColumns(*t.pDef)) t.withoutColumns.push_back(c->wszName);
        return schema;
    }

    SYxDiagExpectedSchema schema;
    schema.iComparedVersion = version;
    schema.bExactVersion = true;
    for (const SYxSqliteTableDef* def : YxJobsHistory_TablesAt(static_cast<int>(version))) {
        SYxDiagExpectedTable t;
        t.pDef = def;
        const SYxSqliteTableDef* now = YxProjectDb_Schema_FindJobsTable(def->wszName);
        if (silent && now)
            for (const SYxSqliteColDef* c : SilentColumns(*now))
                if (!HasColumn(*def, c->wszName)) t.extraColumns.push_back(c);
        schema.tables.push_back(t);
    }
    return schema;
}

SYxDiagExpectedSchema YxDiag_ExpectedAppSchema(std::int64_t version) {
    int count = 0;
    const SYxSqliteTableDef* const* current = YxProjectDb_Schema_GetAppTables(&count);
    if (version >= YX_APP_FROZEN_FIRST && version <= YX_APP_FROZEN_LAST) {
        int frozenCount = 0;
        const SYxSqliteTableDef* const* frozen =
            YxProjectDb_AppFrozen_GetTables(static_cast<int>(version), &frozenCount);
        return FromList(frozen, frozenCount, version, true);
    }
    const bool exact = version == YX_PROJECTDB_APP_SCHEMA_VERSION;
    SYxDiagExpectedSchema schema = FromList(current, count, YX_PROJECTDB_APP_SCHEMA_VERSION, exact);
    // The conversion to version 6 leaves some tables of the old result
    // model in place; a file made at 7 never has them.
    int frozenCount = 0;
    const SYxSqliteTableDef* const* last = YxProjectDb_AppFrozen_GetTables(YX_APP_FROZEN_LAST, &frozenCount);
    for (int i = 0; i < frozenCount; ++i) {
        if (YxProjectDb_Schema_FindAppTable(last[i]->wszName)) continue;
        SYxDiagExpectedTable t;
        t.pDef = last[i];
        t.bOptional = true;
        schema.tables.push_back(t);
    }
    return schema;
}
