// Expands the schema list into the constant table definitions.
#include "gnr_projectdb/schema.h"

#include <cwchar>

#define YX_COLDEF(t, role, type, name, index, ref, dflt, coll, action) \
    {eYxCol##role, eYxType##type, index, L## #name, ref, dflt, coll, action},

#define YX_DEFINE_JOBS_TABLE(t)                                                            \
    static const SYxSqliteColDef s_cols_##t[] = {YX_COLS_##t(YX_COLDEF)};                   \
    const SYxSqliteTableDef YxJobsDef_##t = {L## #t,                                        \
                                             static_cast<int>(sizeof(s_cols_##t) / sizeof(s_cols_##t[0])), \
                                             s_cols_##t, YX_META_##t};
YX_JOBS_TABLE_LIST(YX_DEFINE_JOBS_TABLE)

#define YX_LIST_ENTRY(t) &YxJobsDef_##t,
static const SYxSqliteTableDef* const s_jobsTables[] = {YX_JOBS_TABLE_LIST(YX_LIST_ENTRY)};

static_assert(sizeof(s_jobsTables) / sizeof(s_jobsTables[0]) == YX_PROJECTDB_JOBS_TABLE_COUNT,
              "the jobs schema has 59 tables");

const SYxSqliteTableDef* const* YxProjectDb_Schema_GetJobsTables(int* count) {
    if (count) *count = YX_PROJECTDB_JOBS_TABLE_COUNT;
    return s_jobsTables;
}

const SYxSqliteTableDef* YxProjectDb_Schema_FindJobsTable(const wchar_t* name) {
    if (!name) return nullptr;
    for (const SYxSqliteTableDef* def : s_jobsTables)
        if (std::wcscmp(def->wszName, name) == 0) return def;
    return nullptr;
}
