/// \file
/// Projects (table project) and the tags attached to them (table projtag).
///
/// A project owns a folder under the database's project root folder
/// (YxProjectDb_Db_ProjectRootFolder); wszFolderName holds its name, one path
/// component. Statuses: 0 on success, -9 when the handle has no connection
/// (nothing read, written or created; key out-arguments set to 0), otherwise
/// the SQLite result code. Look-ups that find nothing return 0 and leave the
/// record untouched; sequences are appended to.
///
/// Texts placed into conditions (uuids, names) are not escaped: a single
/// quote makes the statement fail with the SQLite status.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

// ---- project folders

/// The path to use for a project folder. A free path or an existing empty
/// folder: the path itself with a trailing '/', 0. An existing non-empty
/// folder (or a file): the first free sibling "Name (2)", "Name (3)", ... with a
/// trailing '/', 0. No free name: -9 and an empty result.
GNR_API int YxProjectDb_Proj_CheckFolderPath(const wchar_t* path, CYxStringW& result);
/// "<project root>/<folder name>/"; for an unknown handle just "<folder name>/".
GNR_API CYxStringW YxProjectDb_Proj_MakeAbsPath(YxProjectDbHandle handle, const wchar_t* folderName);

// ---- projects

/// Creates the project's folder (a valid name made from folderName; a new
/// sibling name when that folder exists and holds files) and inserts the row
/// with a new uuid, dCTime = dMTime = now and the folder name actually
/// created. The folder status (-9 no free name, -1 creation failed) is returned
/// as it stands and no row is written then; the folder stays when the insert
/// fails. *key: the new key, 0 on any failure.
GNR_API int YxProjectDb_Proj_Insert(YxProjectDbHandle handle, const wchar_t* name, const wchar_t* desc,
                                    const wchar_t* folderName, std::int64_t* key = nullptr);
/// Import form: as above with the uuid and both times stored as given.
GNR_API int YxProjectDb_Proj_Insert(YxProjectDbHandle handle, const wchar_t* uuid, const wchar_t* name,
                                    const wchar_t* desc, const wchar_t* folderName, double cTime, double mTime,
                                    std::int64_t* key = nullptr);
/// Sets dMTime = now, wszName, wszDesc, wszFolderName (no folder is renamed).
GNR_API int YxProjectDb_Proj_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                    const wchar_t* desc, const wchar_t* folderName);
/// Sets dMTime = now, wszName, wszDesc.
GNR_API int YxProjectDb_Proj_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                    const wchar_t* desc);
/// Deletes the row only: its folder, definitions, runs and tag links stay.
GNR_API int YxProjectDb_Proj_Delete(YxProjectDbHandle handle, std::int64_t key);
/// By key, or by uuid text; not found: 0, record untouched.
GNR_API int YxProjectDb_Proj_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_project& row);
GNR_API int YxProjectDb_Proj_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_project& row);
GNR_API int YxProjectDb_Proj_GetAll(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_project>& rows);
/// The runs of the project (iProjKeyRef).
GNR_API int YxProjectDb_Proj_GetAllJobruns(YxProjectDbHandle handle, std::int64_t projKey,
                                           std::vector<SYxProjectDbRow_jobrun>& rows);
/// Every project uuid, unordered, each once.
GNR_API int YxProjectDb_Proj_GetAllUuuids(YxProjectDbHandle handle, std::vector<CYxStringW>& uuids);
/// The uuids (each once) of the projects owning the given job definitions; with
/// no definition uuids, of every project that has a job definition.
GNR_API int YxProjectDb_Proj_getUUIDFromJobDefUUIDs(YxProjectDbHandle handle,
                                                    const std::vector<CYxStringW>& jobdefUuids,
                                                    std::vector<CYxStringW>& projUuids);
/// Number of projects; 0 without connection or on failure.
GNR_API int YxProjectDb_Proj_GetCount(YxProjectDbHandle handle);
/// Key of the project modified last; 0 when none or without connection.
GNR_API std::int64_t YxProjectDb_Proj_GetLatest(YxProjectDbHandle handle);
/// Whether a project with the key exists; false without connection.
GNR_API bool YxProjectDb_Proj_IsExisting(YxProjectDbHandle handle, std::int64_t key);
/// True when no project has the name; otherwise false and the first free
/// numbered name in uniqueName. True without connection (uniqueName untouched).
GNR_API bool YxProjectDb_Proj_IsNameUnique(YxProjectDbHandle handle, const wchar_t* name, CYxStringW& uniqueName);

// ---- project tags

/// Inserts (project, tag); *key the new key, 0 on failure.
GNR_API int YxProjectDb_Projtag_Insert(YxProjectDbHandle handle, std::int64_t projKey, std::int64_t tagKey,
                                       std::int64_t* key = nullptr);
/// As Insert with " OR IGNORE ": an existing pair gives 0 and *key 0.
GNR_API int YxProjectDb_Projtag_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t projKey, std::int64_t tagKey,
                                               std::int64_t* key = nullptr);
/// Inserts every record in one transaction, retrying while busy; each iKey set.
GNR_API int YxProjectDb_Projtag_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_projtag>& rows);
/// Tests the pair with a condition whose two terms are joined by a comma: the
/// statement does not prepare, so the flag is always false and the status is
/// SQLite's error. Without connection: -9 and the flag untouched.
GNR_API int YxProjectDb_Projtag_Exists(YxProjectDbHandle handle, std::int64_t projKey, std::int64_t tagKey,
                                       bool& exists);
/// Tag links of a project / project links of a tag.
GNR_API int YxProjectDb_Projtag_GetManyTags(YxProjectDbHandle handle, std::int64_t projKey,
                                            std::vector<SYxProjectDbRow_projtag>& rows);
GNR_API int YxProjectDb_Projtag_GetManyProjs(YxProjectDbHandle handle, std::int64_t tagKey,
                                             std::vector<SYxProjectDbRow_projtag>& rows);
/// Deletes every tag link of the project.
GNR_API int YxProjectDb_Projtag_DeleteMany(YxProjectDbHandle handle, std::int64_t projKey);
