/// \file
/// Property, qualifier and tag definitions (tables propdef, qualdef, qualstr,
/// tagdef): the named things that frames, objects, traces and runs carry
/// values of.
///
/// A definition is identified by the unique group of its table: propdef by
/// (iType, wszFeatureName, wszUnit, iOnEntity, wszAssayName, wszGroupName,
/// wszBinaryName, iAggregation), qualdef by (wszGroupName, wszName), qualstr
/// by wszName and tagdef by (iType, wszName), compared as the table compares
/// them (the NOCASE columns without regard to ASCII case). Every value is
/// bound; no text of the caller becomes part of a statement.
///
/// Statuses: 0 on success, -9 when the handle has no connection (nothing is
/// read or written; key out-arguments are set to 0), -13 where stated,
/// otherwise the SQLite result code (19 for a rename onto a name that is
/// taken). Key out-arguments are 0 on any failure. Sequences are appended to.
///
/// Threads: a handle is used by one thread at a time. Several processes may
/// call GetOrInsert on one file at once: each definition ends up as exactly
/// one row and every caller receives its key.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

// ---- get or insert

/// Looks the definition up by the unique group of the record's values and
/// inserts the record (all its columns but iKey) when there is none. The
/// record's iKey and *key (when given) receive the key of the one row, 0 on
/// failure. A definition that exists is returned as it is: the record's other
/// columns are not written to it.
GNR_API int YxProjectDb_Propdef_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_propdef& row,
                                            std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Qualdef_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_qualdef& row,
                                            std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Qualstr_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_qualstr& row,
                                            std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Tagdef_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_tagdef& row,
                                           std::int64_t* key = nullptr);
/// The qualifier string with that text; *key as above.
GNR_API int YxProjectDb_Qualstr_GetOrInsert(YxProjectDbHandle handle, const wchar_t* name, std::int64_t* key);

// ---- find without inserting

/// The key of the definition with the unique group of the record's values
/// into *key: 0 when there is none (status 0). The record is not changed.
GNR_API int YxProjectDb_Propdef_Find(YxProjectDbHandle handle, const SYxProjectDbRow_propdef& row, std::int64_t* key);
GNR_API int YxProjectDb_Qualdef_Find(YxProjectDbHandle handle, const SYxProjectDbRow_qualdef& row, std::int64_t* key);
GNR_API int YxProjectDb_Qualstr_Find(YxProjectDbHandle handle, const SYxProjectDbRow_qualstr& row, std::int64_t* key);
GNR_API int YxProjectDb_Tagdef_Find(YxProjectDbHandle handle, const SYxProjectDbRow_tagdef& row, std::int64_t* key);

// ---- definitions used by a run

/// Appends, ordered by key, every definition that some row of the run refers
/// to: a table that refers to the definition table and has a run column
/// counts (frame, object, trace and run values, statistics). Qualifier
/// strings count when a qualifier value of the run uses them.
GNR_API int YxProjectDb_Propdef_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                    std::vector<SYxProjectDbRow_propdef>& rows);
GNR_API int YxProjectDb_Qualdef_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                    std::vector<SYxProjectDbRow_qualdef>& rows);
GNR_API int YxProjectDb_Qualstr_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                    std::vector<SYxProjectDbRow_qualstr>& rows);
GNR_API int YxProjectDb_Tagdef_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                   std::vector<SYxProjectDbRow_tagdef>& rows);

// ---- rename, colour

/// Sets the name of the definition (propdef: wszFeatureName; the others:
/// wszName). A key without row: 0, nothing changed. A name that makes the
/// unique group collide with another definition: 19 (SQLITE_CONSTRAINT),
/// nothing changed. A null name is the empty name.
GNR_API int YxProjectDb_Propdef_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* featureName);
GNR_API int YxProjectDb_Qualdef_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name);
GNR_API int YxProjectDb_Qualstr_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name);
GNR_API int YxProjectDb_Tagdef_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name);
/// Sets iColor of the tag definition. A key without row: 0, nothing changed.
GNR_API int YxProjectDb_Tagdef_SetColor(YxProjectDbHandle handle, std::int64_t key, std::int32_t color);

// ---- delete when unused

/// Deletes the definition only when no row of any table refers to it (in one
/// statement, so no reference can slip in between check and delete). A used
/// definition: -13 and nothing deleted. A key without row: 0.
GNR_API int YxProjectDb_Propdef_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key);
GNR_API int YxProjectDb_Qualdef_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key);
GNR_API int YxProjectDb_Qualstr_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key);
GNR_API int YxProjectDb_Tagdef_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key);
