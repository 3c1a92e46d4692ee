/// \file
/// Assays and graph settings, as a browsing module reads them: the assay runs
/// of a job run with the recipe each one ran, and the saved graph settings of
/// a run or a job definition.
///
/// An assay run names its recipe by wszName: the recipe is the assayrecipe row
/// whose wszUniqueName equals that name without regard to ASCII case (assay
/// names are compared so throughout the schema); of several such rows the
/// last modified one (then the highest key) counts.
///
/// Graph settings are rows of graphsettings keyed by wszUniqueName. The
/// settings of a job run or a job definition are the row whose unique name is
/// that run's or definition's wszUuid.
///
/// Statuses: 0 on success, -9 when the handle has no connection (nothing read
/// or written, key out-arguments 0), otherwise the SQLite result code. Look-ups
/// that find nothing return 0 and leave the record untouched; sequences are
/// appended to. Every text is bound.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/bytes.h"
#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

/// One assay run with its recipe (recipe.iKey 0 when no recipe has its name).
struct SYxProjectDbAssayrunWithRecipe {
    SYxProjectDbRow_assayrun run;
    SYxProjectDbRow_assayrecipe recipe;
};

/// Appends the assay runs of the job run, oldest first (dCTime, then key).
GNR_API int YxProjectDb_Assayrun_GetManyWithRecipe(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                   std::vector<SYxProjectDbAssayrunWithRecipe>& rows);

/// The graph settings of that unique name.
GNR_API int YxProjectDb_Graphsettings_GetOne(YxProjectDbHandle handle, const wchar_t* uniqueName,
                                             SYxProjectDbRow_graphsettings& row);
/// The graph settings of a job run / job definition (by key). A key without
/// row: 0, record untouched.
GNR_API int YxProjectDb_Graphsettings_GetForJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                   SYxProjectDbRow_graphsettings& row);
GNR_API int YxProjectDb_Graphsettings_GetForJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                   SYxProjectDbRow_graphsettings& row);
/// Saves the settings under the unique name in one statement: a new row gets
/// creation and modification time now; an existing one keeps its creation
/// time and gets description, data and modification time. *key receives the
/// row's key (0 on failure).
GNR_API int YxProjectDb_Graphsettings_Save(YxProjectDbHandle handle, const wchar_t* uniqueName, const wchar_t* desc,
                                           const CYxByteArray& data, std::int64_t* key = nullptr);
/// Deletes the settings of that unique name (none: 0).
GNR_API int YxProjectDb_Graphsettings_Delete(YxProjectDbHandle handle, const wchar_t* uniqueName);
