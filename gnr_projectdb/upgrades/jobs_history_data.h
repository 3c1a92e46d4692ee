// The raw tables of the jobs schema history (jobs_history_eras.cpp), read by
// jobs_history.cpp, which turns them into table definitions.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

// A column that is not (or not in this form) part of the current schema.
struct SYxJobsLegacyColumn {
    const wchar_t* wszTable;
    const wchar_t* wszToken;  // name used in era column lists
    SYxSqliteColDef col;
};

// From version iFrom on, the table has these columns (see jobs_history_eras.cpp).
struct SYxJobsEra {
    const wchar_t* wszTable;
    int iFrom;
    const wchar_t* wszColumns;         // null: dropped at iFrom
    const wchar_t* wszUnique = nullptr;  // null: the current group; "": none
    bool bFresh = false;               // dropped and created again at iFrom
};

struct SYxJobsValueReset {
    const wchar_t* wszTable;
    const wchar_t* wszColumn;
    int iVersion;
};

extern const SYxJobsLegacyColumn g_yxJobsLegacyColumns[];
extern const int g_yxJobsLegacyColumnCount;
extern const SYxJobsEra g_yxJobsEras[];
extern const int g_yxJobsEraCount;
extern const SYxJobsValueReset g_yxJobsValueResets[];
extern const int g_yxJobsValueResetCount;
