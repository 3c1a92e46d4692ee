/// \file
/// Job programs (table jobprogram) with their properties, job tasks (table
/// jobtask), and the property definitions of programs (jobpropdef) with the
/// allowed values of enumerated properties (jobpropenumvalue).
///
/// Program properties are stored in pProperties as a key-value tree
/// (framework/yxlitevariant.h): the entries of its root group (empty name),
/// each a text or a byte array keyed by the property name.
///
/// Statuses: 0 on success, -9 when the handle has no connection (nothing read
/// or written; out-arguments untouched except key out-arguments, set to 0),
/// -13 for a missing property or property tree, otherwise the SQLite result
/// code; key out-arguments are 0 on any failure. Look-ups that find nothing
/// return 0 and leave the record untouched; sequences are appended to. Texts
/// placed into conditions are not escaped: a single quote fails with the
/// SQLite status and changes nothing.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/bytes.h"
#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <map>
#include <vector>

/// A property definition of a program with its enumeration values.
struct SYxProjectDbJobpropdefValues {
    SYxProjectDbRow_jobpropdef def;
    std::vector<CYxStringW> values;
};

// ---- programs

/// Insert forms: without properties an empty array, without uuid a new one,
/// without time the current time. *key: the new key, 0 on failure.
GNR_API int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                          std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                          const CYxByteArray* properties, std::int64_t* key);
GNR_API int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                          const CYxByteArray* properties, const wchar_t* uuid, std::int64_t* key);
GNR_API int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                          const CYxByteArray* properties, const wchar_t* uuid, double mTime,
                                          std::int64_t* key);
/// Sets wszSummary, pProperties and dMTime (now); with null properties only
/// wszSummary and dMTime.
GNR_API int YxProjectDb_Jobprogram_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* summary,
                                          const CYxByteArray* properties);
/// Deletes the program with the uuid (bound, so any text is safe here).
GNR_API int YxProjectDb_Jobprogram_RemoveOne(YxProjectDbHandle handle, const wchar_t* uuid);
GNR_API int YxProjectDb_Jobprogram_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobprogram& row);
GNR_API int YxProjectDb_Jobprogram_GetOne(YxProjectDbHandle handle, const wchar_t* uuid,
                                          SYxProjectDbRow_jobprogram& row);
/// The programs of a definition.
GNR_API int YxProjectDb_Jobprogram_GetMany(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                           std::vector<SYxProjectDbRow_jobprogram>& rows);
/// The definition's program modified last (the higher key on a tie).
GNR_API int YxProjectDb_Jobprogram_GetLatest(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                             SYxProjectDbRow_jobprogram& row);
/// The OR of the task states of the definition's program with the highest
/// key (not the one modified last). state untouched when no row comes back.
GNR_API int YxProjectDb_Jobprogram_GetLatestTaskStateoOr(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                         int& state);
/// One property of the program. -13 when the program, its tree, the root
/// group or the name is missing (or the tree is damaged); value untouched on
/// any failure.
GNR_API int YxProjectDb_Jobprogram_GetProperty(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                               CYxByteArray& value);
GNR_API int YxProjectDb_Jobprogram_GetProperty(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                               CYxStringW& value);
/// Stores the record's pProperties for its iKey.
GNR_API int YxProjectDb_Jobprogram_InsertOrUpdateProperties(YxProjectDbHandle handle,
                                                            const SYxProjectDbRow_jobprogram& row);
/// Writes the properties into the program's tree, replacing entries of the
/// same name and keeping the others. Empty list: 0, nothing changed. No such
/// program: -13. Damaged stored bytes are replaced by a new tree.
GNR_API int YxProjectDb_Jobprogram_InsertOrUpdateProperties(YxProjectDbHandle handle, std::int64_t key,
                                                            const std::vector<SYxProjectDbRow_jobprogram::_property>& props);
/// Copies the program row (same definition, summary and properties) under a
/// new uuid and the current time. *newKey 0 on failure; a missing program: -13.
GNR_API int YxProjectDb_Jobprogram_Duplicate(YxProjectDbHandle handle, std::int64_t key, std::int64_t* newKey);

// ---- tasks

/// Inserts a task; a program or parent key of 0 is stored as NULL. Values
/// from the state: version, state, name, notes, detailed notes, data,
/// connection data, lockable parameters. A null dependency expression is
/// stored as an empty BLOB. The first form takes a new uuid.
GNR_API int YxProjectDb_Jobtask_Insert(YxProjectDbHandle handle, std::int64_t programKey, std::int64_t parentKey,
                                       std::int64_t blockNumber, std::int64_t order, const wchar_t* className,
                                       const SYxProjectDbJobTaskState& state, const CYxByteArray* dependency,
                                       std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobtask_Insert(YxProjectDbHandle handle, std::int64_t programKey, std::int64_t parentKey,
                                       std::int64_t blockNumber, std::int64_t order, const wchar_t* className,
                                       const SYxProjectDbJobTaskState& state, const CYxByteArray* dependency,
                                       const wchar_t* uuid, std::int64_t* key);
/// Sets iBlockNumber, iOrder, wszClassName, iState, wszNotes, wszNotesDetailed
/// (the last three from the state).
GNR_API int YxProjectDb_Jobtask_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t blockNumber,
                                       std::int64_t order, const wchar_t* className,
                                       const SYxProjectDbJobTaskState& state);
GNR_API int YxProjectDb_Jobtask_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobtask& row);
GNR_API int YxProjectDb_Jobtask_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobtask& row);
GNR_API int YxProjectDb_Jobtask_GetOne(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* name,
                                       SYxProjectDbRow_jobtask& row);
/// The tasks of a program by parent and order; programKey 0: the tasks of no
/// program.
GNR_API int YxProjectDb_Jobtask_GetMany(YxProjectDbHandle handle, std::int64_t programKey,
                                        std::vector<SYxProjectDbRow_jobtask>& rows);
GNR_API int YxProjectDb_Jobtask_GetAllWithClass(YxProjectDbHandle handle, std::int64_t programKey,
                                                const wchar_t* className, std::vector<SYxProjectDbRow_jobtask>& rows);
/// Tasks that have all the given state bits.
GNR_API int YxProjectDb_Jobtask_GetAllWithState(YxProjectDbHandle handle, std::int64_t programKey,
                                                std::int64_t bits, std::vector<SYxProjectDbRow_jobtask>& rows);
/// Pairs (old task key -> new task key) of the tasks of equal names.
GNR_API int YxProjectDb_Jobtask_GetOldToNewMap(YxProjectDbHandle handle, std::int64_t oldProgramKey,
                                               std::int64_t newProgramKey,
                                               std::map<std::int64_t, std::int64_t>& map);
/// Creates the temporary table "lu_<uuid>"(iKey, iValue) of those pairs; its
/// name goes to tableName (also when the script fails). The caller drops it.
GNR_API int YxProjectDb_Jobtask_CreateOldToNewLookupTable(YxProjectDbHandle handle, std::int64_t oldProgramKey,
                                                          std::int64_t newProgramKey, CYxStringW& tableName);
GNR_API int YxProjectDb_Jobtask_Delete(YxProjectDbHandle handle, std::int64_t key);
/// Deletes the task only when it belongs to no program.
GNR_API int YxProjectDb_Jobtask_DeleteIfNotInJobrun(YxProjectDbHandle handle, std::int64_t key);
/// Deletes the tasks of a program.
GNR_API int YxProjectDb_Jobtask_DeleteMany(YxProjectDbHandle handle, std::int64_t programKey);
/// Deletes the tasks of no program whose order is not negative.
GNR_API int YxProjectDb_Jobtask_DeleteUnreferenced(YxProjectDbHandle handle);

// ---- property definitions of programs

/// INSERT OR REPLACE of (program, property key) with its values, then the
/// enumeration values of the new key replaced as SetAll does. *key 0 on failure.
GNR_API int YxProjectDb_Jobpropdef_InsertOrUpdate(YxProjectDbHandle handle, std::int64_t programKey,
                                                  const wchar_t* propKey, double defaultValue, std::int32_t type,
                                                  std::int32_t visibility, const std::vector<CYxStringW>& enumValues,
                                                  std::int32_t flags, const CYxByteArray* dependency,
                                                  std::int64_t* key = nullptr);
/// Replaces all definitions of the program (each def's iKey is set); the
/// enumeration values go in batches of at most 102 rows. Values are spliced
/// unescaped: a quote fails that batch with the SQLite status.
GNR_API int YxProjectDb_Jobpropdef_SetAll(YxProjectDbHandle handle, std::int64_t programKey,
                                          std::vector<SYxProjectDbJobpropdefValues>& defs);
GNR_API int YxProjectDb_Jobpropdef_GetAll(YxProjectDbHandle handle, std::int64_t programKey,
                                          std::vector<SYxProjectDbRow_jobpropdef>& rows);
GNR_API int YxProjectDb_Jobpropdef_GetOne(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey,
                                          SYxProjectDbRow_jobpropdef& row);
/// The key into *key (0 when none); -9 leaves it untouched.
GNR_API int YxProjectDb_Jobpropdef_GetIkey(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey,
                                           std::int64_t* key);
GNR_API int YxProjectDb_Jobpropdef_Delete(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey);
GNR_API int YxProjectDb_Jobpropdef_Delete(YxProjectDbHandle handle, std::int64_t key);

/// Values of an enumerated property in insertion order.
GNR_API int YxProjectDb_Jobpropenumvalue_GetAll(YxProjectDbHandle handle, std::int64_t propdefKey,
                                                std::vector<SYxProjectDbRow_jobpropenumvalue>& rows);
GNR_API int YxProjectDb_Jobpropenumvalue_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t propdefKey,
                                                        const wchar_t* value, std::int64_t* key = nullptr);
/// Replaces the values of the definition with the records' texts; each
/// record's iKey and iJobpropdefKeyRef are set.
GNR_API int YxProjectDb_Jobpropenumvalue_SetAll(YxProjectDbHandle handle, std::int64_t propdefKey,
                                                std::vector<SYxProjectDbRow_jobpropenumvalue>& rows);
