/// \file
/// Frames of a run (table frame), the acquisition loops (runloop) and each
/// frame's place in them (loopindex), and the per-frame attributes: numeric
/// properties (frameprop), qualifiers (framequal), tags (frametag) and the
/// holder position (framewellinfo, frameplateinfo, frameslideinfo).
///
/// A frame is addressed from the attribute tables by (iJobrunKeyRef,
/// iFrameIndex), which is unique in frame. Optional references of 0 are
/// written as SQL NULL (a frame's task and file, a loop's task, a property's
/// assay run).
///
/// Statuses: 0 on success; -9 when the handle names no open connection
/// (nothing read or written, key out-arguments untouched); otherwise the
/// SQLite result code of the failed statement. A single insert that fails
/// sets its key out-argument to 0. Look-ups that find nothing return 0 and
/// leave the record untouched; sequences are appended to.
///
/// Bulk inserts (InsertMany, InsertOrIgnoreMany, InsertOrReplaceMany) run in
/// one transaction with one prepared statement and write each new key into
/// its row (0 for an ignored row). When the database is busy they sleep 30 ms,
/// roll the pass back and start again from the first row, without limit: a
/// batch is wholly in or wholly retried (busy errors are not reported then;
/// inside a transaction of the caller they are). Any other row error does not
/// stop the pass; the first error is returned. Empty: 0.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

// ---- frames

GNR_API int YxProjectDb_Frame_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                     std::int32_t frameIndex, double cTime, std::int64_t fileKey,
                                     std::int32_t fileFrameIndex, std::int64_t* key = nullptr);
/// As Insert with " OR IGNORE ": an existing frame gives 0 and *key 0.
GNR_API int YxProjectDb_Frame_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                             std::int64_t jobtaskKey, std::int32_t frameIndex, double cTime,
                                             std::int64_t fileKey, std::int32_t fileFrameIndex,
                                             std::int64_t* key = nullptr);
/// As Insert with "OR REPLACE": an existing frame is replaced (new key).
GNR_API int YxProjectDb_Frame_InsertOrReplace(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int64_t jobtaskKey, std::int32_t frameIndex, double cTime,
                                              std::int64_t fileKey, std::int32_t fileFrameIndex,
                                              std::int64_t* key = nullptr);
/// Attaches a file to a frame: creates the frame with only these values, or,
/// when the frame exists (constraint result 19), sets just its iFileKeyRef and
/// iFileFrameIndex and returns that update's status. Any other failure of the
/// insert is returned as it is.
GNR_API int YxProjectDb_Frame_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                     std::int64_t fileKey, std::int32_t fileFrameIndex);
/// The same for the task and the acquisition time (iJobtaskKeyRef, dCTime).
GNR_API int YxProjectDb_Frame_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                     std::int64_t jobtaskKey, double cTime);
/// Sets every column of the frame with the key.
GNR_API int YxProjectDb_Frame_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t jobrunKey,
                                     std::int64_t jobtaskKey, std::int32_t frameIndex, double cTime,
                                     std::int64_t fileKey, std::int32_t fileFrameIndex);
GNR_API int YxProjectDb_Frame_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frame>& rows);
GNR_API int YxProjectDb_Frame_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                      std::vector<SYxProjectDbRow_frame>& rows);
/// Number of frames of the run; count untouched on failure.
GNR_API int YxProjectDb_Frame_GetCount(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t& count);
/// Maps the task key of every frame of the run through a key-map table
/// (columns iKey = old key, iValue = new key); keys absent from the map stay.
GNR_API int YxProjectDb_Frame_ReplaceTaskKeyRefMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                    const wchar_t* mapTable);

// ---- loops

/// Key of the loop (run, order, nest level); 0 when none, on failure or
/// without connection. The run key is compared as a 32-bit number.
GNR_API std::int64_t YxProjectDb_Runloop_Find(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t order,
                                              std::int32_t nestLevel);
GNR_API int YxProjectDb_Runloop_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                       std::int32_t order, std::int32_t nestLevel, std::int32_t loopType,
                                       std::int64_t* key = nullptr);
/// The key of the loop (run, order, nest level) when it exists (status 0),
/// otherwise inserts it.
GNR_API int YxProjectDb_Runloop_GetOrInsert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                            std::int32_t order, std::int32_t nestLevel, std::int32_t loopType,
                                            std::int64_t* key = nullptr);
/// Key of the loop of the run with the order; key 0 when none.
GNR_API int YxProjectDb_Runloop_GetIKey(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t order,
                                        std::int64_t& key);
/// The loops of the run, outermost first (by iOrder).
GNR_API int YxProjectDb_Runloop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                        std::vector<SYxProjectDbRow_runloop>& rows);
GNR_API int YxProjectDb_Runloop_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_runloop& row);
/// Makes room for a new outermost loop: every loop of the run gets iOrder + 1
/// and iNestLevel + 1, in one transaction. A failing begin or update: -9 (the
/// update rolled back). Must not be called inside an open transaction.
GNR_API int YxProjectDb_Runloop_UpdateIncOrder(YxProjectDbHandle handle, std::int64_t jobrunKey);
/// As Frame_ReplaceTaskKeyRefMany, on the loops of the run.
GNR_API int YxProjectDb_Runloop_ReplaceTaskKeyRefMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                      const wchar_t* mapTable);

// ---- loop indexes

GNR_API int YxProjectDb_Loopindex_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                         std::int64_t runloopKey, std::int32_t loopIndex, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Loopindex_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int32_t frameIndex, std::int64_t runloopKey,
                                                 std::int32_t loopIndex, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Loopindex_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_loopindex>& rows);
GNR_API int YxProjectDb_Loopindex_InsertOrIgnoreMany(YxProjectDbHandle handle,
                                                     std::vector<SYxProjectDbRow_loopindex>& rows);
GNR_API int YxProjectDb_Loopindex_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                          std::vector<SYxProjectDbRow_loopindex>& rows);
GNR_API int YxProjectDb_Loopindex_GetAllForFrame(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int32_t frameIndex,
                                                 std::vector<SYxProjectDbRow_loopindex>& rows);
/// The frame indexes of the run and task at a loop coordinate: every frame
/// whose loop index rows match all given (iRunloopKeyRef, iLoopIndex) pairs
/// (other fields of the coordinates are not used), in the order SQLite yields
/// them. frameIndexes is cleared first; it stays empty on failure. No
/// coordinates: every frame of the run and task with a loop index row.
GNR_API void YxProjectDb_Loopindex_GetFrameIndex(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int64_t jobtaskKey,
                                                 const std::vector<SYxProjectDbRow_loopindex>& coordinates,
                                                 std::vector<std::int32_t>& frameIndexes);

// ---- frame properties

GNR_API int YxProjectDb_Frameprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                          std::vector<SYxProjectDbRow_frameprop>& rows);
GNR_API int YxProjectDb_Frameprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                          std::vector<SYxProjectDbRow_frameprop>& rows);
GNR_API int YxProjectDb_Frameprop_GetOne(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                         std::int64_t propdefKey, SYxProjectDbRow_frameprop& row);
GNR_API int YxProjectDb_Frameprop_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                         std::int64_t propdefKey, std::int32_t frameIndex, double value,
                                         std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frameprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int64_t assayrunKey, std::int64_t propdefKey,
                                                 std::int32_t frameIndex, double value, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frameprop_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frameprop>& rows);
GNR_API int YxProjectDb_Frameprop_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                      std::vector<SYxProjectDbRow_frameprop>& rows);
/// Gives every frame of the run the value of the property (acquisition
/// property: no assay run), in one INSERT OR REPLACE ... SELECT. The value is
/// written with six decimals.
GNR_API int YxProjectDb_Frameprop_InsertManySame(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int64_t propdefKey, double value);
/// For each row in one transaction: the row with the same run, frame,
/// property and assay run (NULL matching NULL) gets the row's dValue and its
/// key goes into the row; otherwise the row is inserted.
GNR_API int YxProjectDb_Frameprop_UpdateOrInsertMany(YxProjectDbHandle handle,
                                                     std::vector<SYxProjectDbRow_frameprop>& rows);
GNR_API int YxProjectDb_Frameprop_UpdateValue(YxProjectDbHandle handle, std::int64_t key, double value);
/// Deletes by (iJobrunKeyRef, iFrameIndex, iPropdefKeyRef) of each row.
GNR_API int YxProjectDb_Frameprop_RemoveMany(YxProjectDbHandle handle,
                                             const std::vector<SYxProjectDbRow_frameprop>& rows);
/// The trigger framepropConstraitTrigger: while it exists, an acquisition
/// property (NULL assay run) for a (run, property, frame) that has one already
/// is silently dropped - the first value stays.
GNR_API int YxProjectDb_Frameprop_CreateNullConstraintTrigger(YxProjectDbHandle handle);
GNR_API int YxProjectDb_Frameprop_DropNullConstraintTrigger(YxProjectDbHandle handle);

// ---- frame qualifiers

GNR_API int YxProjectDb_Framequal_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                          std::vector<SYxProjectDbRow_framequal>& rows);
GNR_API int YxProjectDb_Framequal_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                          std::vector<SYxProjectDbRow_framequal>& rows);
GNR_API int YxProjectDb_Framequal_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                         std::int64_t qualdefKey, std::int64_t qualstrKey, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Framequal_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int32_t frameIndex, std::int64_t qualdefKey,
                                                 std::int64_t qualstrKey, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Framequal_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_framequal>& rows);
GNR_API int YxProjectDb_Framequal_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                      std::vector<SYxProjectDbRow_framequal>& rows);
/// Gives every frame of the run the qualifier value, in one statement.
GNR_API int YxProjectDb_Framequal_InsertManySame(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int64_t qualdefKey, std::int64_t qualstrKey);
/// Deletes by (iJobrunKeyRef, iFrameIndex, iQualdefKeyRef) of each row.
GNR_API int YxProjectDb_Framequal_RemoveMany(YxProjectDbHandle handle,
                                             const std::vector<SYxProjectDbRow_framequal>& rows);
GNR_API int YxProjectDb_Framequal_RemoveManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey);

// ---- frame tags

GNR_API int YxProjectDb_Frametag_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                         std::vector<SYxProjectDbRow_frametag>& rows);
GNR_API int YxProjectDb_Frametag_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t tagdefKey,
                                        std::int32_t frameIndex, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frametag_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frametag>& rows);
GNR_API int YxProjectDb_Frametag_InsertOrIgnoreMany(YxProjectDbHandle handle,
                                                    std::vector<SYxProjectDbRow_frametag>& rows);
/// Deletes by (iJobrunKeyRef, iTagdefKeyRef, iFrameIndex) of each row.
GNR_API int YxProjectDb_Frametag_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_frametag>& rows);
GNR_API int YxProjectDb_Frametag_RemoveManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey);
/// Deletes the tags of the run with the given tag definitions (one prepared
/// delete run per definition). Empty list: 0.
GNR_API int YxProjectDb_Frametag_RemoveManyReferencingJobrunTagdef(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                                   const std::vector<std::int64_t>& tagdefKeys);

// ---- holder position of frames

GNR_API int YxProjectDb_Framewellinfo_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::vector<SYxProjectDbRow_framewellinfo>& rows);
GNR_API int YxProjectDb_Framewellinfo_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                             std::int64_t wellinfoKey, std::int32_t frameIndex,
                                             std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Framewellinfo_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                     std::int64_t wellinfoKey, std::int32_t frameIndex,
                                                     std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Framewellinfo_InsertMany(YxProjectDbHandle handle,
                                                 std::vector<SYxProjectDbRow_framewellinfo>& rows);

GNR_API int YxProjectDb_Frameplateinfo_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                               std::vector<SYxProjectDbRow_frameplateinfo>& rows);
GNR_API int YxProjectDb_Frameplateinfo_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int64_t plateinfoKey, std::int32_t frameIndex,
                                              std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frameplateinfo_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                      std::int64_t plateinfoKey, std::int32_t frameIndex,
                                                      std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frameplateinfo_InsertMany(YxProjectDbHandle handle,
                                                  std::vector<SYxProjectDbRow_frameplateinfo>& rows);
/// Whether the frame has a plate position; exists untouched on -9.
GNR_API int YxProjectDb_Frameplateinfo_Exists(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int32_t frameIndex, bool& exists);

GNR_API int YxProjectDb_Frameslideinfo_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                               std::vector<SYxProjectDbRow_frameslideinfo>& rows);
GNR_API int YxProjectDb_Frameslideinfo_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int64_t slideinfoKey, std::int32_t frameIndex,
                                              std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frameslideinfo_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                      std::int64_t slideinfoKey, std::int32_t frameIndex,
                                                      std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Frameslideinfo_InsertMany(YxProjectDbHandle handle,
                                                  std::vector<SYxProjectDbRow_frameslideinfo>& rows);
GNR_API int YxProjectDb_Frameslideinfo_Exists(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int32_t frameIndex, bool& exists);
