// The application database's tables at versions 1 to 6 (see the history in
// app_frozen_schema.h). These definitions never change: a file written by
// an old release has exactly these tables.
#include "gnr_projectdb/upgrades/app_frozen_schema.h"

#include <cwchar>

namespace {
#define YX_COL(role, type, index, name, ref, action) \
    {eYxCol##role, eYxType##type, index, name, ref, nullptr, nullptr, action}
#define YX_PK YX_COL(PrimaryKey, Int64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr)
#define YX_PLAIN(type, name) YX_COL(Plain, type, YX_SQLITE_INDEX_NONE, name, nullptr, nullptr)
#define YX_NCOLS(a) static_cast<int>(sizeof(a) / sizeof(a[0]))
#define YX_TABLE(var, name, cols) \
    const SYxSqliteTableDef var = {name, YX_NCOLS(cols), cols, {nullptr}, nullptr, {nullptr}, {nullptr}}

const wchar_t* const kCascade = L"ON DELETE CASCADE ON UPDATE CASCADE";
const wchar_t* const kSetNull = L"ON DELETE SET NULL ON UPDATE CASCADE";

// ---- unchanged from version 1 on

const SYxSqliteColDef c_vesion[] = {YX_PK, YX_PLAIN(Text, L"wszName"), YX_PLAIN(Int64, L"iVersion")};
YX_TABLE(t_vesion, L"vesion", c_vesion);
YX_TABLE(t_version, L"version", c_vesion);

const SYxSqliteColDef c_settings[] = {
    YX_PK,
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszName", nullptr, nullptr),
    YX_PLAIN(Text, L"wszType"),
    YX_PLAIN(Text, L"varValue"),
};
const SYxSqliteTableDef t_settings = {L"settings", YX_NCOLS(c_settings), c_settings,
                                      {L"wszName", L"wszType", nullptr}, L"ON CONFLICT ABORT", {nullptr}, {nullptr}};

const SYxSqliteColDef c_datatable[] = {
    YX_PK,
    YX_COL(Plain, Int64, YX_SQLITE_INDEX_YES, L"iAnalysisRunKeyRef", nullptr, nullptr),
    YX_PLAIN(Text, L"wszName"),
};
YX_TABLE(t_datatable, L"datatable", c_datatable);

const SYxSqliteColDef c_datacolumn[] = {
    YX_PK,
    YX_COL(Plain, Int64, YX_SQLITE_INDEX_YES, L"iAnalysisRunKeyRef", nullptr, nullptr),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iDatatableKeyRef", L"datatable", kCascade),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Blob, L"pMetadata"),
};
YX_TABLE(t_datacolumn, L"datacolumn", c_datacolumn);

const SYxSqliteColDef c_datavalue[] = {
    YX_PK,
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iColumnKeyRef", L"datacolumn", kCascade),
    YX_PLAIN(Blob, L"pValue"),
};
YX_TABLE(t_datavalue, L"datavalue", c_datavalue);

const SYxSqliteColDef c_result[] = {
    YX_PK,
    YX_COL(Plain, Int64, YX_SQLITE_INDEX_YES, L"iAnalysisRunKeyRef", nullptr, nullptr),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Text, L"wszType"),
    YX_PLAIN(Text, L"wszName"),
};
YX_TABLE(t_result, L"result", c_result);

const SYxSqliteColDef c_resultdef[] = {
    YX_PK,
    YX_COL(Plain, Int64, YX_SQLITE_INDEX_YES, L"iAnalysisRunKeyRef", nullptr, nullptr),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_NONE, L"iResultKeyRef", L"result", kCascade),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_NONE, L"iDatatableKeyRef", L"datatable", kCascade),
    YX_PLAIN(Blob, L"pValue"),
};
YX_TABLE(t_resultdef, L"resultdef", c_resultdef);

// ---- version 1 only

const SYxSqliteColDef c_assayrecipe1[] = {
    YX_PK, YX_PLAIN(Text, L"wszUuid"), YX_PLAIN(Text, L"wszName"), YX_PLAIN(Text, L"wszModule"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_assayrecipe1, L"assayrecipe", c_assayrecipe1);

const SYxSqliteColDef c_reciperun1[] = {
    YX_PK,
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iRecipeKeyRef", L"assayrecipe", kCascade),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_reciperun1, L"reciperun", c_reciperun1);

const SYxSqliteColDef c_file1[] = {
    YX_PK, YX_PLAIN(Text, L"wszFileName"), YX_PLAIN(Int32, L"iWidth"), YX_PLAIN(Int32, L"iHeight"),
};
YX_TABLE(t_file1, L"file", c_file1);

// ---- from version 2 on

const SYxSqliteColDef c_assayrecipe2[] = {
    YX_PK,
    YX_PLAIN(Text, L"wszUuid"),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszUniqueName", nullptr, nullptr),
    YX_PLAIN(Text, L"wszDesc"),
    YX_PLAIN(Text, L"wszModule"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Double, L"dMTime"),
    YX_PLAIN(Blob, L"pData"),
};
const SYxSqliteTableDef t_assayrecipe2 = {L"assayrecipe", YX_NCOLS(c_assayrecipe2), c_assayrecipe2,
                                          {L"wszUuid", nullptr}, L"ON CONFLICT ABORT", {nullptr}, {nullptr}};

const SYxSqliteColDef c_file2[] = {
    YX_PK,
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszFileName", nullptr, nullptr),
    YX_PLAIN(Int32, L"iWidth"),
    YX_PLAIN(Int32, L"iHeight"),
    YX_PLAIN(Int32, L"iBpc"),
    YX_PLAIN(Int32, L"iPlanes"),
    YX_PLAIN(Double, L"dCalibration"),
};
YX_TABLE(t_file2, L"file", c_file2);

#define YX_RECIPE_REF YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iRecipeKeyRef", L"assayrecipe", kSetNull)
#define YX_ANALYSIS_REF YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iAnalysisKeyRef", L"analysis", kCascade)

const SYxSqliteColDef c_analysis2[] = {
    YX_PK, YX_RECIPE_REF, YX_PLAIN(Text, L"wszName"), YX_PLAIN(Text, L"wszModule"), YX_PLAIN(Text, L"wszFileName"),
    YX_PLAIN(Double, L"dCTime"), YX_PLAIN(Double, L"dMTime"), YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_analysis2, L"analysis", c_analysis2);

const SYxSqliteColDef c_analysisrun2[] = {
    YX_PK, YX_ANALYSIS_REF, YX_PLAIN(Text, L"wszName"), YX_PLAIN(Double, L"dCTime"), YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_analysisrun2, L"analysisrun", c_analysisrun2);

// ---- version 3

const SYxSqliteColDef c_analysis3[] = {
    YX_PK,
    YX_RECIPE_REF,
    YX_PLAIN(Text, L"wszUuid"),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Text, L"wszDesc"),
    YX_PLAIN(Text, L"wszModule"),
    YX_PLAIN(Text, L"wszFileName"),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Double, L"dMTime"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_analysis3, L"analysis", c_analysis3);

const SYxSqliteColDef c_analysisrun3[] = {
    YX_PK,
    YX_ANALYSIS_REF,
    YX_PLAIN(Text, L"wszFileName"),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Text, L"wszDesc"),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Double, L"dMTime"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_analysisrun3, L"analysisrun", c_analysisrun3);

// ---- version 4 (and 5)

const SYxSqliteColDef c_analysis4[] = {
    YX_PK,
    YX_RECIPE_REF,
    YX_PLAIN(Text, L"wszUuid"),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Text, L"wszDesc"),
    YX_PLAIN(Text, L"wszModule"),
    YX_PLAIN(Text, L"wszFileName"),
    YX_PLAIN(Text, L"wszChannels"),
    YX_PLAIN(Double, L"dCalibration"),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Double, L"dMTime"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_analysis4, L"analysis", c_analysis4);

const SYxSqliteColDef c_analysis5[] = {
    YX_PK,
    YX_RECIPE_REF,
    YX_PLAIN(Text, L"wszUuid"),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Text, L"wszDesc"),
    YX_PLAIN(Text, L"wszModule"),
    YX_PLAIN(Text, L"wszFileName"),
    YX_PLAIN(Text, L"wszChannels"),
    YX_PLAIN(Double, L"dCalibration"),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Double, L"dMTime"),
    YX_PLAIN(Blob, L"pData"),
    YX_PLAIN(Text, L"wszGroup"),
};
YX_TABLE(t_analysis5, L"analysis", c_analysis5);

const SYxSqliteColDef c_analysisrun4[] = {
    YX_PK,
    YX_ANALYSIS_REF,
    YX_PLAIN(Text, L"wszFileName"),
    YX_PLAIN(Text, L"wszName"),
    YX_PLAIN(Text, L"wszDesc"),
    YX_PLAIN(Int32, L"iFlags"),
    YX_PLAIN(Int32, L"iBtachNumber"),
    YX_PLAIN(Double, L"dCTime"),
    YX_PLAIN(Double, L"dMTime"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_analysisrun4, L"analysisrun", c_analysisrun4);

// ---- version 6

const SYxSqliteColDef c_files6[] = {YX_PK, YX_PLAIN(Text, L"wszFileName"), YX_PLAIN(Text, L"jsonMetadata")};
YX_TABLE(t_files6, L"files", c_files6);

const SYxSqliteColDef c_definitions6[] = {
    YX_PK,
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iFileKeyRef", L"files", kSetNull),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iRecipeKeyRef", L"assayrecipe", kSetNull),
    YX_COL(Plain, Text, YX_SQLITE_INDEX_YES, L"wszModule", nullptr, nullptr),
    YX_PLAIN(Text, L"jsonMetadata"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_definitions6, L"definitions", c_definitions6);

const SYxSqliteColDef c_measurements6[] = {
    YX_PK,
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iDefinitionKeyRef", L"definitions", kCascade),
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iFileKeyRef", L"files", kSetNull),
    YX_PLAIN(Text, L"jsonMetadata"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_measurements6, L"measurements", c_measurements6);

const SYxSqliteColDef c_results6[] = {
    YX_PK,
    YX_COL(Reference, Int64, YX_SQLITE_INDEX_YES, L"iMeasurementKeyRef", L"measurements", kCascade),
    YX_PLAIN(Text, L"jsonMetadata"),
    YX_PLAIN(Blob, L"pData"),
};
YX_TABLE(t_results6, L"results", c_results6);

// ---- the tables of each version, in creation order

const SYxSqliteTableDef* const s_v1[] = {&t_vesion,    &t_settings,   &t_assayrecipe1, &t_reciperun1, &t_file1,
                                         &t_datatable, &t_datacolumn, &t_datavalue,    &t_result,     &t_resultdef};
const SYxSqliteTableDef* const s_v2[] = {&t_vesion,    &t_settings,   &t_assayrecipe2, &t_analysis2,
                                         &t_analysisrun2, &t_file2,   &t_datatable,    &t_datacolumn,
                                         &t_datavalue, &t_result,     &t_resultdef};
const SYxSqliteTableDef* const s_v3[] = {&t_vesion,    &t_settings,   &t_assayrecipe2, &t_analysis3,
                                         &t_analysisrun3, &t_file2,   &t_datatable,    &t_datacolumn,
                                         &t_datavalue, &t_result,     &t_resultdef};
const SYxSqliteTableDef* const s_v4[] = {&t_vesion,    &t_settings,   &t_assayrecipe2, &t_analysis4,
                                         &t_analysisrun4, &t_file2,   &t_datatable,    &t_datacolumn,
                                         &t_datavalue, &t_result,     &t_resultdef};
const SYxSqliteTableDef* const s_v5[] = {&t_vesion,    &t_settings,   &t_assayrecipe2, &t_analysis5,
                                         &t_analysisrun4, &t_file2,   &t_datatable,    &t_datacolumn,
                                         &t_datavalue, &t_result,     &t_resultdef};
const SYxSqliteTableDef* const s_v6[] = {&t_version,     &t_settings, &t_assayrecipe2, &t_definitions6,
                                         &t_measurements6, &t_files6, &t_results6,     &t_file2,
                                         &t_datacolumn,  &t_datavalue, &t_resultdef};

struct SVersionTables {
    const SYxSqliteTableDef* const* tables;
    int count;
};
const SVersionTables s_versions[] = {
    {s_v1, YX_NCOLS(s_v1)}, {s_v2, YX_NCOLS(s_v2)}, {s_v3, YX_NCOLS(s_v3)},
    {s_v4, YX_NCOLS(s_v4)}, {s_v5, YX_NCOLS(s_v5)}, {s_v6, YX_NCOLS(s_v6)},
};
}  // namespace

const SYxSqliteTableDef* const* YxProjectDb_AppFrozen_GetTables(int version, int* count) {
    if (version < YX_APP_FROZEN_FIRST || version > YX_APP_FROZEN_LAST) {
        if (count) *count = 0;
        return nullptr;
    }
    const SVersionTables& v = s_versions[version - YX_APP_FROZEN_FIRST];
    if (count) *count = v.count;
    return v.tables;
}

const SYxSqliteTableDef* YxProjectDb_AppFrozen_FindTable(int version, const wchar_t* name) {
    int count = 0;
    const SYxSqliteTableDef* const* tables = YxProjectDb_AppFrozen_GetTables(version, &count);
    if (!tables || !name) return nullptr;
    for (int i = 0; i < count; ++i)
        if (std::wcscmp(tables[i]->wszName, name) == 0) return tables[i];
    return nullptr;
}
