/// \file
/// Job runs (table jobrun) with their folders, running flag and value
/// listings; their runtime state (jobrunrtstate, jobrunstate); the statistics
/// of the values of their frames, objects and traces (jobrunpropstat,
/// jobrunqualstat, jobruntagstat); and their own properties, qualifiers and
/// tags (jobrunprop, jobrunqual, jobruntag).
///
/// A run owns a folder below its project's folder; wszFolderName holds it
/// relative to the project folder, with the backslash the formats write
/// ("<definition>\<time>" or "<time>__<run name>").
///
/// Statuses: 0 on success, -9 when the handle has no connection (nothing read,
/// written or created; out-arguments untouched except key out-arguments, set
/// to 0), otherwise the SQLite result code; key out-arguments are 0 on any
/// failure. Look-ups that find nothing return 0 and leave the record
/// untouched; sequences are appended to. Texts and conditions placed into
/// statements are not escaped: a single quote fails with the SQLite status and
/// changes nothing.
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

struct sqlite3;

/// Bits of iFinishFlags used by the library.
enum { YX_JOBRUN_FLAG_RUNNING = 1, YX_JOBRUN_FINISHED_REPAIRED = 4 };

/// Entities of the statistics (iOnEntity).
enum { YX_STAT_ENTITY_FRAMES = 1, YX_STAT_ENTITY_OBJECTS = 2, YX_STAT_ENTITY_TRACES = 3 };

// ---- inserting runs

/// Inserts the record's columns as given (its iKey is ignored, references of 0
/// stored as NULL); the record's iKey and *key receive the new key (0 on
/// failure). No folder is created.
GNR_API int YxProjectDb_Jobrun_Insert(YxProjectDbHandle handle, SYxProjectDbRow_jobrun& row,
                                      std::int64_t* key = nullptr);
/// Creates the run's folder below projectFolder (an absolute path) and
/// inserts the run with a new uuid, dCTime = dMTime = cTime and the relative
/// folder name. The folder is "<definition name>\<time>" when the database's
/// folderformat option is 1, else "<time>__<run name>" (non-alphanumerics
/// replaced by '_'). A folder that cannot be created: -1 and no row. On
/// success *out receives the stored record and *path the absolute run folder
/// with a trailing '/'; both are untouched on failure.
GNR_API int YxProjectDb_Jobrun_Insert(YxProjectDbHandle handle, std::int64_t projKey, const wchar_t* projectFolder,
                                      std::int64_t jobdefKey, std::int64_t programKey, std::int64_t finishFlags,
                                      const wchar_t* name, const wchar_t* desc, double cTime,
                                      SYxProjectDbRow_jobrun* out = nullptr, CYxStringW* path = nullptr);
/// As above with cTime = now.
GNR_API int YxProjectDb_Jobrun_Insert(YxProjectDbHandle handle, std::int64_t projKey, const wchar_t* projectFolder,
                                      std::int64_t jobdefKey, std::int64_t programKey, std::int64_t finishFlags,
                                      const wchar_t* name, const wchar_t* desc, SYxProjectDbRow_jobrun* out = nullptr,
                                      CYxStringW* path = nullptr);

// ---- reading runs

GNR_API int YxProjectDb_Jobrun_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobrun& row);
GNR_API int YxProjectDb_Jobrun_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobrun& row);
GNR_API int YxProjectDb_Jobrun_GetAll(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_jobrun>& rows);
/// Runs of a project.
GNR_API int YxProjectDb_Jobrun_GetMany(YxProjectDbHandle handle, std::int64_t projKey,
                                       std::vector<SYxProjectDbRow_jobrun>& rows);
GNR_API int YxProjectDb_Jobrun_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                        std::vector<SYxProjectDbRow_jobrun>& rows);
GNR_API int YxProjectDb_Jobrun_GetManyReferencingJobprogram(YxProjectDbHandle handle, std::int64_t programKey,
                                                            std::vector<SYxProjectDbRow_jobrun>& rows);
/// Runs of a definition whose flags masked equal value.
GNR_API int YxProjectDb_Jobrun_GetManyWithFinishFlag(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                     std::int64_t mask, std::int64_t value,
                                                     std::vector<SYxProjectDbRow_jobrun>& rows);
/// The project's last created run.
GNR_API int YxProjectDb_Jobrun_GetLatest(YxProjectDbHandle handle, std::int64_t projKey, SYxProjectDbRow_jobrun& row);
/// The definition's run modified last (the higher key on a tie).
GNR_API int YxProjectDb_Jobrun_GetLatestForJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                  SYxProjectDbRow_jobrun& row);
/// The run of highest key whose flags equal exactly 1 (running, no other bit).
GNR_API int YxProjectDb_Jobrun_GetLastUnfinished(YxProjectDbHandle handle, SYxProjectDbRow_jobrun& row);
/// Number of runs of the definition; 0 without connection or on failure.
GNR_API std::int64_t YxProjectDb_Jobrun_CountForJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey);

// ---- running flag and updates

/// flag = bit 1 of the run's flags (false for an unknown uuid). Any failure of
/// the read, also no connection: -9 and the flag untouched.
GNR_API int YxProjectDb_Jobrun_IsRunning(YxProjectDbHandle handle, const wchar_t* uuid, bool& running);
/// Repairs runs left running by a crash: flags' low byte becomes 4, dFTime the
/// creation time of the run's last frame (NULL without frames), and files of
/// those runs with a frame count of 0 get their count from the frames. The
/// status is that of the selection of the runs.
GNR_API int YxProjectDb_Jobrun_RemoveRunningFlag(YxProjectDbHandle handle);
GNR_API int YxProjectDb_Jobrun_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                      const wchar_t* desc);
GNR_API int YxProjectDb_Jobrun_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name);
GNR_API int YxProjectDb_Jobrun_UpdateNotes(YxProjectDbHandle handle, std::int64_t key, const wchar_t* desc);
GNR_API int YxProjectDb_Jobrun_UpdateFinish(YxProjectDbHandle handle, std::int64_t key, std::int64_t flags,
                                            double finishTime, const wchar_t* message);
GNR_API int YxProjectDb_Jobrun_UpdateJobprogram(YxProjectDbHandle handle, std::int64_t key, std::int64_t programKey);
GNR_API int YxProjectDb_Jobrun_UpdateJobprogram(YxProjectDbHandle handle, std::int64_t key, std::int64_t jobdefKey,
                                                std::int64_t programKey);
/// Deletes the row (its frames, files, attributes and statistics go with it);
/// the folder stays.
GNR_API int YxProjectDb_Jobrun_Delete(YxProjectDbHandle handle, std::int64_t key);
/// Deletes the run's folder with its contents (the row stays). An unknown run
/// or a failed read: its status (-13 for no run); a failed removal: -1.
GNR_API int YxProjectDb_Jobrun_DeleteFolder(YxProjectDbHandle handle, std::int64_t key);

// ---- paths

/// "<project root>/<project folder>/<run folder>/" (stored backslashes turned
/// into '/'); "" for an unknown handle.
GNR_API CYxStringW YxProjectDb_Jobrun_MakeAbsPath(YxProjectDbHandle handle, const wchar_t* projectFolder,
                                                  const wchar_t* runFolder);
/// The absolute folder of the run; -13 for an unknown run (path untouched).
GNR_API int YxProjectDb_Jobrun_GetAbsPath(YxProjectDbHandle handle, std::int64_t key, CYxStringW& path);
/// Total size in bytes of the files below the run's folder (0 when it is
/// missing); status as GetAbsPath, size untouched on failure.
GNR_API int YxProjectDb_Jobrun_GetImagesSize(YxProjectDbHandle handle, std::int64_t key, std::uint64_t& size);

// ---- value listings (distinct values of one run, at most limit rows)

GNR_API int YxProjectDb_Jobrun_GetAllCustomMetadataGroups(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                                          std::vector<CYxStringW>& groups);
GNR_API int YxProjectDb_Jobrun_GetAllPlateBarcodes(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                                   std::vector<CYxStringW>& values);
GNR_API int YxProjectDb_Jobrun_GetAllPlateNames(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                                std::vector<CYxStringW>& values);
GNR_API int YxProjectDb_Jobrun_GetAllSlideBarcodes(YxProjectDbHandle handle, std::int64_t runKey, int limit,
                                                   std::vector<CYxStringW>& values);
GNR_API int YxProjectDb_Jobrun_GetAllPropValues(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey,
                                                int limit, std::vector<double>& values);
GNR_API int YxProjectDb_Jobrun_GetAllQualValues(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t qualdefKey,
                                                int limit, std::vector<CYxStringW>& values);

// ---- runtime state

/// pExecutedPhases holds the executed phase names as UTF-8 text, one per line.
GNR_API CYxByteArray YxProjectDb_JobrunRTState_EncodePhases(const std::vector<CYxStringW>& phases);
/// Stores (replacing) the run's runtime data and executed phases.
GNR_API int YxProjectDb_JobrunRTState_InsertOrReplace(YxProjectDbHandle handle, std::int64_t runKey,
                                                      const CYxByteArray& data, const CYxByteArray& executedPhases);
/// Appends the run's executed phase names (nothing when no row).
GNR_API int YxProjectDb_JobrunRTState_GetOne_ExecutedPhases(YxProjectDbHandle handle, std::int64_t runKey,
                                                            std::vector<CYxStringW>& phases);
GNR_API int YxProjectDb_JobrunRTState_GetOne(YxProjectDbHandle handle, std::int64_t runKey,
                                             SYxProjectDbRow_jobrunrtstate& row);
GNR_API int YxProjectDb_JobrunRTState_Delete(YxProjectDbHandle handle, std::int64_t runKey);
/// The table jobrunstate(iKey, iJobrunKeyRef, wszState) on a raw connection:
/// created when missing. -9 for a null connection, else the SQLite status.
GNR_API int YxProjectDb_JobrunState_CreateTable(sqlite3* db);
/// Sets the state text of a run (inserting its row when missing). -9 for a
/// null connection or when the table cannot be created.
GNR_API int YxProjectDb_JobrunState_SetState(sqlite3* db, std::int64_t runKey, const wchar_t* state);

// ---- statistics
//
// The UpdateStats scripts recompute the statistics rows that match the
// condition (a text placed after WHERE, e.g. "iJobrunKeyRef=5"; it must not
// be empty) in one transaction: with onlyNull only rows whose iCount is NULL;
// with deleteEmpty rows whose count comes out 0 are removed afterwards.
// Entity 1 frames, 2 objects, 3 traces; another entity: -13, nothing run.
// The status is the script's.

GNR_API int YxProjectDb_Jobrunpropstat_UpdateStats(YxProjectDbHandle handle, int entity, const wchar_t* condition,
                                                   bool onlyNull, bool deleteEmpty);
/// Without onlyNull the entity does not filter the rows (every matching row
/// is computed from the entity's source table).
GNR_API int YxProjectDb_Jobrunqualstat_UpdateStats(YxProjectDbHandle handle, int entity, const wchar_t* condition,
                                                   bool onlyNull, bool deleteEmpty);
GNR_API int YxProjectDb_Jobruntagstat_UpdateStats(YxProjectDbHandle handle, const wchar_t* condition, bool onlyNull,
                                                  bool deleteEmpty);
/// Sets the seven statistics of the rows whose iKey is in (keys) to NULL;
/// keys is a list or a sub-select text.
GNR_API int YxProjectDb_Jobrunpropstat_ResetStats(YxProjectDbHandle handle, const wchar_t* keys);
/// Resets the (run, property) row, or inserts it empty (entity from propdef).
GNR_API int YxProjectDb_Jobrunpropstat_ResetStats(YxProjectDbHandle handle, std::int64_t runKey,
                                                  std::int64_t propdefKey);
/// Inserts (run, property, assay run (0: NULL), entity) with "OR REPLACE" and no
/// statistics.
GNR_API int YxProjectDb_Jobrunpropstat_InsertEmpty(YxProjectDbHandle handle, std::int64_t runKey,
                                                   std::int64_t propdefKey, std::int64_t assayrunKey, int entity,
                                                   std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobrunpropstat_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                               std::vector<SYxProjectDbRow_jobrunpropstat>& rows);
GNR_API int YxProjectDb_Jobrunpropstat_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                           std::vector<SYxProjectDbRow_jobrunpropstat>& rows);
/// Sets iCount and iDistinctCount of every row of the run to NULL.
GNR_API int YxProjectDb_Jobrunqualstat_ResetStats(YxProjectDbHandle handle, std::int64_t runKey);
/// The same for the (run, qualifier, entity) of each record, one prepared statement.
GNR_API int YxProjectDb_Jobrunqualstat_ResetMany(YxProjectDbHandle handle,
                                                 const std::vector<SYxProjectDbRow_jobrunqualstat>& rows);
/// Deletes the qualifier statistics of the run.
GNR_API int YxProjectDb_Jobrunqualstat_RemoveMany(YxProjectDbHandle handle, std::int64_t runKey);
/// "OR REPLACE" of every record in one transaction, busy retried; counts of -1
/// stored as NULL. Each iKey set.
GNR_API int YxProjectDb_Jobrunqualstat_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                           std::vector<SYxProjectDbRow_jobrunqualstat>& rows);
GNR_API int YxProjectDb_Jobrunqualstat_InsertEmpty(YxProjectDbHandle handle, std::int64_t runKey,
                                                   std::int64_t qualdefKey, int entity, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobrunqualstat_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                               std::vector<SYxProjectDbRow_jobrunqualstat>& rows);
GNR_API int YxProjectDb_Jobruntagstat_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                              std::vector<SYxProjectDbRow_jobruntagstat>& rows);
GNR_API int YxProjectDb_Jobruntagstat_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                          std::vector<SYxProjectDbRow_jobruntagstat>& rows);

// ---- properties, qualifiers and tags of runs

GNR_API int YxProjectDb_Jobrunprop_Insert(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey,
                                          double value, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobrunprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t runKey,
                                                  std::int64_t propdefKey, double value, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobrunprop_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                           std::vector<SYxProjectDbRow_jobrunprop>& rows);
GNR_API int YxProjectDb_Jobrunprop_DeleteMany(YxProjectDbHandle handle, std::int64_t runKey);
GNR_API int YxProjectDb_Jobrunqual_Insert(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t qualdefKey,
                                          std::int64_t qualstrKey, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobrunqual_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t runKey,
                                                  std::int64_t qualdefKey, std::int64_t qualstrKey,
                                                  std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobrunqual_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                           std::vector<SYxProjectDbRow_jobrunqual>& rows);
GNR_API int YxProjectDb_Jobrunqual_DeleteMany(YxProjectDbHandle handle, std::int64_t runKey);
GNR_API int YxProjectDb_Jobruntag_Insert(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t tagdefKey,
                                         std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobruntag_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t runKey,
                                                 std::int64_t tagdefKey, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Jobruntag_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                          std::vector<SYxProjectDbRow_jobruntag>& rows);
GNR_API int YxProjectDb_Jobruntag_DeleteMany(YxProjectDbHandle handle, std::int64_t runKey);
