/// \file
/// Job definitions (table jobdef) and their small companion tables: tags of
/// definitions (jobdeftag), the task list (tasklistjobdef) and toolbar
/// (toolbarjobdef) marks, the last saved state of each job class
/// (jobclasslaststate) and the job users (jobuser).
///
/// Statuses: 0 on success, -9 when the handle has no connection (nothing read
/// or written, out-arguments untouched except key out-arguments, which are set
/// to 0), otherwise the SQLite result code; key out-arguments are 0 on any
/// failure. Look-ups that find nothing return 0 and leave the record
/// untouched; sequences are appended to. Texts placed into conditions are not
/// escaped: a single quote fails with the SQLite status and changes nothing.
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

class CYxLiteVariantR;

/// The saved state of a job class or of a task.
struct GNR_API SYxProjectDbJobTaskState {
    std::int64_t iVersion = 0;
    std::int32_t iState = 0;
    CYxStringW wszName;
    CYxByteArray pData;
    CYxByteArray pConnectionData;
    CYxByteArray pLockableParams;
    CYxStringW wszNotes;
    CYxStringW wszNotesDetailed;
    double dMTime = 0.0;

    SYxProjectDbJobTaskState() = default;
    SYxProjectDbJobTaskState(std::int64_t version, std::int32_t state, const CYxStringW& name,
                             const CYxByteArray& data, const CYxByteArray& connectionData,
                             const CYxByteArray& lockableParams)
        : iVersion(version), iState(state), wszName(name), pData(data), pConnectionData(connectionData),
          pLockableParams(lockableParams) {}
    SYxProjectDbJobTaskState(std::int64_t version, std::int32_t state, const CYxStringW& name,
                             const CYxByteArray& data, const CYxByteArray& connectionData,
                             const CYxByteArray& lockableParams, double mTime)
        : SYxProjectDbJobTaskState(version, state, name, data, connectionData, lockableParams) {
        dMTime = mTime;
    }

    /// Fills the state from the current group of a key-value tree: text
    /// entries "version", "state" (decimal), "name", "notes", "notesdetailed",
    /// "mtime"; byte entries "data", "connectiondata", "lockableparams".
    /// Missing entries leave their field as it is. 0, or -13 when the tree
    /// holds none of them.
    int LoadFromLiteVariant(const CYxLiteVariantR& reader);
};

/// An old-key/new-key pair of the database merge.
struct SYxProjectDbMap_oldToNew {
    std::int64_t iOldKey = 0;
    std::int64_t iNewKey = 0;
};

// ---- job definitions

/// By key or uuid text; not found: 0, record untouched.
GNR_API int YxProjectDb_Jobdef_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobdef& row);
GNR_API int YxProjectDb_Jobdef_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobdef& row);
/// Appends the definitions with that name.
GNR_API int YxProjectDb_Jobdef_GetOneOrMany(YxProjectDbHandle handle, const wchar_t* name,
                                            std::vector<SYxProjectDbRow_jobdef>& rows);
/// The definitions of a project.
GNR_API int YxProjectDb_Jobdef_GetMany(YxProjectDbHandle handle, std::int64_t projKey,
                                       std::vector<SYxProjectDbRow_jobdef>& rows);
GNR_API int YxProjectDb_Jobdef_GetAll(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_jobdef>& rows);
/// The definitions of one definition type.
GNR_API int YxProjectDb_Jobdef_GetAllDefType(YxProjectDbHandle handle, std::int32_t defType,
                                             std::vector<SYxProjectDbRow_jobdef>& rows);
/// Uuids of the definitions of the project with that uuid, by name without
/// case, each once.
GNR_API int YxProjectDb_Jobdef_GetAllUuuids(YxProjectDbHandle handle, const wchar_t* projUuid,
                                            std::vector<CYxStringW>& uuids);
/// Key of the last created run of the definition whose flags masked equal
/// value (mask 0: any run); 0 when none or without connection.
GNR_API std::int64_t YxProjectDb_Jobdef_GetLatestJobrun(YxProjectDbHandle handle, std::int64_t key,
                                                        std::int64_t mask, std::int64_t value);
/// Whether the definition with the uuid is in A and in B. Any failed read
/// (also no connection): -9 and the flag untouched. Not in A: false, 0.
GNR_API int YxProjectDb_Jobdef_ExistsInBothDbs(YxProjectDbHandle a, YxProjectDbHandle b, const wchar_t* uuid,
                                               bool& exists);
/// Inserts with a new uuid and dCTime = dMTime = now; null usability is
/// stored as an empty BLOB; a project key of 0 as NULL.
GNR_API int YxProjectDb_Jobdef_Insert(YxProjectDbHandle handle, std::int64_t projKey, std::int32_t state,
                                      std::int32_t progress, const wchar_t* name, const wchar_t* desc,
                                      std::int32_t defType, const CYxByteArray* usability,
                                      std::int64_t* key = nullptr);
/// Import form: uuid and both times stored as given.
GNR_API int YxProjectDb_Jobdef_Insert(YxProjectDbHandle handle, std::int64_t projKey, std::int32_t state,
                                      std::int32_t progress, const wchar_t* uuid, const wchar_t* name,
                                      const wchar_t* desc, std::int32_t defType, double cTime, double mTime,
                                      const CYxByteArray* usability, std::int64_t* key = nullptr);
/// Inserts the record keeping its uuid; its iKey becomes the new key (0 on
/// failure) and dCTime/dMTime the current time. -9: record untouched.
GNR_API int YxProjectDb_Jobdef_Import(YxProjectDbHandle handle, SYxProjectDbRow_jobdef& row);
/// True when no definition has the name; else false and a free numbered name.
/// True without connection.
GNR_API bool YxProjectDb_Jobdef_IsNameUnique(YxProjectDbHandle handle, const wchar_t* name, CYxStringW& uniqueName);
/// Sets iState, iProgress, dMTime (now), wszName, wszDesc, iDefType, pUsability
/// (null: empty).
GNR_API int YxProjectDb_Jobdef_Update(YxProjectDbHandle handle, std::int64_t key, std::int32_t state,
                                      std::int32_t progress, const wchar_t* name, const wchar_t* desc,
                                      std::int32_t defType, const CYxByteArray* usability);
/// Sets dMTime only.
GNR_API int YxProjectDb_Jobdef_UpdateMTime(YxProjectDbHandle handle, std::int64_t key);
/// Sets iState only; dMTime is kept.
GNR_API int YxProjectDb_Jobdef_UpdateState(YxProjectDbHandle handle, std::int64_t key, std::int32_t state);
GNR_API int YxProjectDb_Jobdef_Delete(YxProjectDbHandle handle, std::int64_t key);
/// Deletes the definitions whose uuid is listed; null or empty: 0, nothing run.
GNR_API int YxProjectDb_Jobdef_DeleteMany(YxProjectDbHandle handle, const std::vector<CYxStringW>* uuids);

// ---- definition tags

GNR_API int YxProjectDb_Jobdeftag_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, std::int64_t tagKey,
                                         std::int64_t* key = nullptr);
/// An existing pair: 0 and *key 0.
GNR_API int YxProjectDb_Jobdeftag_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                 std::int64_t tagKey, std::int64_t* key = nullptr);
/// One transaction, retried while busy; each iKey set.
GNR_API int YxProjectDb_Jobdeftag_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_jobdeftag>& rows);
GNR_API int YxProjectDb_Jobdeftag_GetManyTags(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                              std::vector<SYxProjectDbRow_jobdeftag>& rows);
GNR_API int YxProjectDb_Jobdeftag_GetManyJobdefs(YxProjectDbHandle handle, std::int64_t tagKey,
                                                 std::vector<SYxProjectDbRow_jobdeftag>& rows);
GNR_API int YxProjectDb_Jobdeftag_DeleteMany(YxProjectDbHandle handle, std::int64_t jobdefKey);

// ---- task list and toolbar marks (the same four operations each)

/// Marks the definition; already marked: 0 at once (*key 0), so a definition
/// is listed once.
GNR_API int YxProjectDb_TaskListjobdef_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                              std::int64_t* key = nullptr);
/// False without connection or on failure.
GNR_API bool YxProjectDb_TaskListjobdef_Exists(YxProjectDbHandle handle, std::int64_t jobdefKey);
GNR_API int YxProjectDb_TaskListjobdef_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                                std::vector<SYxProjectDbRow_taskListjobdef>& rows);
/// Removes the marks of the definition (not a row by its own key).
GNR_API int YxProjectDb_TaskListjobdef_Delete(YxProjectDbHandle handle, std::int64_t jobdefKey);

GNR_API int YxProjectDb_Toolbarjobdef_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                             std::int64_t* key = nullptr);
GNR_API bool YxProjectDb_Toolbarjobdef_Exists(YxProjectDbHandle handle, std::int64_t jobdefKey);
GNR_API int YxProjectDb_Toolbarjobdef_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                               std::vector<SYxProjectDbRow_toolbarjobdef>& rows);
GNR_API int YxProjectDb_Toolbarjobdef_Delete(YxProjectDbHandle handle, std::int64_t jobdefKey);

// ---- last state of a job class

/// Fills iVersion, iState, wszName, pData and dMTime of the class's row. No
/// row: 0 and the state untouched.
GNR_API int YxProjectDb_Jobclasslaststate_GetOne(YxProjectDbHandle handle, const wchar_t* uniqueName,
                                                 SYxProjectDbJobTaskState& state);
GNR_API int YxProjectDb_Jobclasslaststate_GetAll(YxProjectDbHandle handle,
                                                 std::vector<SYxProjectDbRow_jobclasslaststate>& rows);
/// Saves the class's state (version, state, name, pData, now), replacing the
/// row of that unique name; *key the new row id, 0 on failure.
GNR_API int YxProjectDb_Jobclasslaststate_InsertOrUpdate(YxProjectDbHandle handle, const wchar_t* uniqueName,
                                                         const SYxProjectDbJobTaskState& state,
                                                         std::int64_t* key = nullptr);

// ---- job users

/// The user with that name and password; no such user: -13, record untouched.
GNR_API int YxProjectDb_Jobuser_GetOne(YxProjectDbHandle handle, const wchar_t* username, const wchar_t* password,
                                       SYxProjectDbRow_jobuser& row);
GNR_API int YxProjectDb_Jobuser_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobuser& row);
/// Prepares an insert of two columns against three placeholders, which SQLite
/// refuses: always SQLite's error and *key 0. Add users with UpdateOrInsert.
GNR_API int YxProjectDb_Jobuser_Insert(YxProjectDbHandle handle, const wchar_t* username, const wchar_t* password,
                                       std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobuser_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* username,
                                       const wchar_t* password);
/// An existing user (by name): name and password updated, its key into
/// entry.iOldKey. Otherwise inserted: the new key into entry.iOldKey and
/// entry.iNewKey = 0. On failure the entry keeps what was set before the
/// failing step.
GNR_API int YxProjectDb_Jobuser_UpdateOrInsert(YxProjectDbHandle handle, const wchar_t* username,
                                               const wchar_t* password, SYxProjectDbMap_oldToNew& entry);
