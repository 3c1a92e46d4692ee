// The application database's current schema (version 7).
//
//   version       one row per version name ("main"); same columns as the jobs
//                 database's vesion table
//   settings      stored options, as in the jobs database
//   assayrecipe   analysis recipes, as in the jobs database
//   definitions   an analysis definition: the image file it was made on, its
//                 recipe, the analysis module, its metadata (name,
//                 description, uuid, flags, channels, times) as JSON and the
//                 module's parameters as a blob
//   measurements  one measurement of a definition on a registered file, with
//                 its metadata (name, description, batch number, flags,
//                 times) as JSON and its data as a blob
//   files         registered image files with their geometry as JSON
//   results       results of a measurement: JSON metadata, the packed result
//                 tables as a blob, and an identity (uuid)
//
// A measurement and its results belong to their definition and measurement
// and go with them; a file or a recipe only gives context, so deleting it
// keeps the rows and clears the reference.
#include "gnr_projectdb/schema/app_schema.h"

#include <cwchar>

namespace {
#define YX_COL(role, type, index, name, ref, action) \
    {eYxCol##role, eYxType##type, index, name, ref, nullptr, nullptr, action}

const wchar_t* const kCascade = L"ON DELETE CASCADE ON UPDATE CASCADE";
const wchar_t* const kSetNull = L"ON DELETE SET NULL ON UPDATE CASCADE";

const SYxSqliteColDef s_version[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszName", nullptr, nullptr),
    YX_COL(Plain, Int64, YX_SQLITE_INDEX_NONE, L"iVersion", nullptr, nullptr),
};
const SYxSqliteColDef s_settings[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszName", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszType", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"varValue", nullptr, nullptr),
};
const SYxSqliteColDef s_assayrecipe[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszUuid", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszUniqueName", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszDesc", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszModule", nullptr, nullptr),
    YX_COL(Plain, Double, YX_SQLITE_INDEX_NONE, L"dCTime", nullptr, nullptr),
    YX_COL(Plain, Double, YX_SQLITE_INDEX_NONE, L"dMTime", nullptr, nullptr),
    YX_COL(Plain, Blob, YX_SQLITE_INDEX_NONE, L"pData", nullptr, nullptr),
};
const SYxSqliteColDef s_definitions[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iFileKeyRef", L"files", kSetNull),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iRecipeKeyRef", L"assayrecipe", kSetNull),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszModule", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"jsonMetadata", nullptr, nullptr),
    YX_COL(Plain, Blob, YX_SQLITE_INDEX_NONE, L"pData", nullptr, nullptr),
};
const SYxSqliteColDef s_measurements[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iDefinitionKeyRef", L"definitions", kCascade),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iFileKeyRef", L"files", kSetNull),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"jsonMetadata", nullptr, nullptr),
    YX_COL(Plain, Blob, YX_SQLITE_INDEX_NONE, L"pData", nullptr, nullptr),
};
const SYxSqliteColDef s_files[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszFileName", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"jsonMetadata", nullptr, nullptr),
};
const SYxSqliteColDef s_results[] = {
    YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iMeasurementKeyRef", L"measurements", kCascade),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"jsonMetadata", nullptr, nullptr),
    YX_COL(Plain, Blob, YX_SQLITE_INDEX_NONE, L"pData", nullptr, nullptr),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_NONE, L"wszUuid", nullptr, nullptr),
};
#undef YX_COL

#define YX_NCOLS(a) static_cast<int>(sizeof(a) / sizeof(a[0]))
}  // namespace

const SYxSqliteTableDef YxAppDef_version = {L"version", YX_NCOLS(s_version), s_version,
                                            {nullptr}, nullptr, {nullptr}, {nullptr}};
const SYxSqliteTableDef YxAppDef_settings = {L"settings", YX_NCOLS(s_settings), s_settings,
                                             {L"wszName", L"wszType", nullptr}, L"ON CONFLICT ABORT",
                                             {nullptr}, {nullptr}};
const SYxSqliteTableDef YxAppDef_assayrecipe = {L"assayrecipe", YX_NCOLS(s_assayrecipe), s_assayrecipe,
                                                {L"wszUuid", nullptr}, L"ON CONFLICT ABORT", {nullptr}, {nullptr}};
const SYxSqliteTableDef YxAppDef_definitions = {L"definitions", YX_NCOLS(s_definitions), s_definitions,
                                                {nullptr}, nullptr, {nullptr}, {nullptr}};
const SYxSqliteTableDef YxAppDef_measurements = {L"measurements", YX_NCOLS(s_measurements), s_measurements,
                                                 {nullptr}, nullptr, {nullptr}, {nullptr}};
const SYxSqliteTableDef YxAppDef_files = {L"files", YX_NCOLS(s_files), s_files,
                                          {nullptr}, nullptr, {nullptr}, {nullptr}};
const SYxSqliteTableDef YxAppDef_results = {L"results", YX_NCOLS(s_results), s_results,
                                            {nullptr}, nullptr, {nullptr}, {nullptr}};

namespace {
const SYxSqliteTableDef* const s_appTables[] = {
    &YxAppDef_version,      &YxAppDef_settings, &YxAppDef_assayrecipe, &YxAppDef_definitions,
    &YxAppDef_measurements, &YxAppDef_files,    &YxAppDef_results,
};
static_assert(sizeof(s_appTables) / sizeof(s_appTables[0]) == YX_PROJECTDB_APP_TABLE_COUNT,
              "the application schema has seven tables");
}  // namespace

const SYxSqliteTableDef* const* YxProjectDb_Schema_GetAppTables(int* count) {
    if (count) *count = YX_PROJECTDB_APP_TABLE_COUNT;
    return s_appTables;
}

const SYxSqliteTableDef* YxProjectDb_Schema_FindAppTable(const wchar_t* name) {
    if (!name) return nullptr;
    for (const SYxSqliteTableDef* def : s_appTables)
        if (std::wcscmp(def->wszName, name) == 0) return def;
    return nullptr;
}
