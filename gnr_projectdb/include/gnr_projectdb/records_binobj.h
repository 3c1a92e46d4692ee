/// \file
/// Segmentation results of a run: binary layers (binlayer), the objects found
/// in a layer on a frame (binobj) with their properties and qualifiers
/// (binobjprop, binobjqual), and traces (trace) with their properties and
/// qualifiers (traceprop, tracequal).
///
/// Frames are addressed by (iJobrunKeyRef, iFrameIndex). Object properties and
/// qualifiers repeat their object's run and frame. Trace properties name their
/// trace by (iJobrunKeyRef, iTraceId), trace qualifiers by the trace's iKey.
/// References of 0 are written as SQL NULL (an object's trace, a layer's assay
/// run ...).
///
/// Statuses: 0 on success; -9 when the handle names no open connection
/// (nothing read or written; an insert's key out-argument is set to 0, other
/// out-arguments are untouched); otherwise the SQLite result code of the
/// failed statement. A single insert that fails sets
/// its key out-argument to 0. Look-ups that find nothing return 0 and leave
/// the record untouched; sequences are appended to.
///
/// Bulk inserts run in one transaction with one prepared statement, write each
/// new key into its row, and retry a busy database from the first row (sleep
/// 30 ms, no limit), so that a batch is wholly in or wholly retried. Empty: 0.
///
/// Names and uuids are spliced into conditions between single quotes as they
/// stand: a quote in them makes the statement fail with the SQLite status.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <list>
#include <vector>

// ---- binary layers

/// Inserts the layer with the uuid as given.
GNR_API int YxProjectDb_Binlayer_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                        const wchar_t* uuid, const wchar_t* name, const wchar_t* compName,
                                        const wchar_t* fileTag, std::int32_t color, std::int32_t attribute,
                                        std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Binlayer_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binlayer>& rows);
GNR_API int YxProjectDb_Binlayer_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                         std::vector<SYxProjectDbRow_binlayer>& rows);
/// The layer of the run (and assay run) with the name and component name.
GNR_API int YxProjectDb_Binlayer_Find(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                      const wchar_t* name, const wchar_t* compName, SYxProjectDbRow_binlayer& row);
GNR_API int YxProjectDb_Binlayer_Find(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* name,
                                      const wchar_t* compName, SYxProjectDbRow_binlayer& row);
/// Key of the layer with the uuid; 0 when none.
GNR_API int YxProjectDb_Binlayer_GetIKey(YxProjectDbHandle handle, const wchar_t* uuid, std::int64_t& key);

// ---- binary objects

GNR_API int YxProjectDb_Binobj_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                      std::int64_t binlayerKey, std::int32_t binObjId, std::int64_t traceKey,
                                      std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom,
                                      std::int32_t pixelCount, std::int64_t* key = nullptr);
/// As Insert with " OR IGNORE ": an existing object gives 0 and *key 0.
GNR_API int YxProjectDb_Binobj_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int32_t frameIndex, std::int64_t binlayerKey,
                                              std::int32_t binObjId, std::int64_t traceKey, std::int32_t left,
                                              std::int32_t top, std::int32_t right, std::int32_t bottom,
                                              std::int32_t pixelCount, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Binobj_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobj>& rows);
GNR_API int YxProjectDb_Binobj_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                       std::vector<SYxProjectDbRow_binobj>& rows);
/// The object (run, frame, layer, object id).
GNR_API int YxProjectDb_binobj_getOne(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                      std::int64_t binlayerKey, std::int32_t binObjId, SYxProjectDbRow_binobj& row);

// ---- object properties

GNR_API int YxProjectDb_Binobjprop_Insert(YxProjectDbHandle handle, std::int64_t binobjKey, std::int64_t propdefKey,
                                          std::int64_t jobrunKey, std::int32_t frameIndex, double value,
                                          std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Binobjprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t binobjKey,
                                                  std::int64_t propdefKey, std::int64_t jobrunKey,
                                                  std::int32_t frameIndex, double value, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Binobjprop_InsertOrReplace(YxProjectDbHandle handle, std::int64_t binobjKey,
                                                   std::int64_t propdefKey, std::int64_t jobrunKey,
                                                   std::int32_t frameIndex, double value, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Binobjprop_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobjprop>& rows);
GNR_API int YxProjectDb_Binobjprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           std::vector<SYxProjectDbRow_binobjprop>& rows);
/// Deletes by (iBinobjKeyRef, iPropdefKeyRef) of each row, in one transaction.
GNR_API int YxProjectDb_Binobjprop_RemoveMany(YxProjectDbHandle handle,
                                              const std::vector<SYxProjectDbRow_binobjprop>& rows);

// ---- object qualifiers

GNR_API int YxProjectDb_Binobjqual_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobjqual>& rows);
GNR_API int YxProjectDb_Binobjqual_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                       std::vector<SYxProjectDbRow_binobjqual>& rows);
GNR_API int YxProjectDb_Binobjqual_GetManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                            std::vector<SYxProjectDbRow_binobjqual>& rows);
/// Deletes by (iBinobjKeyRef, iQualdefKeyRef) of each row, in one transaction.
GNR_API int YxProjectDb_Binobjqual_RemoveMany(YxProjectDbHandle handle,
                                              const std::vector<SYxProjectDbRow_binobjqual>& rows);
/// Deletes every object qualifier of the run.
GNR_API int YxProjectDb_Binobjqual_RemoveMany(YxProjectDbHandle handle, std::int64_t jobrunKey);

// ---- traces

GNR_API int YxProjectDb_Trace_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                     std::int32_t traceId, std::int32_t frameIndex, std::int32_t frameCount,
                                     std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Trace_InsertMany(YxProjectDbHandle handle, std::list<SYxProjectDbRow_trace>& rows);
GNR_API int YxProjectDb_Trace_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                      std::list<SYxProjectDbRow_trace>& rows);
/// Key of the trace (run, assay run, trace id); 0 when none. The assay run key
/// is compared with '=': a trace stored without assay run (NULL) is not found.
GNR_API int YxProjectDb_Trace_GetIKey(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                      std::int32_t traceId, std::int64_t& key);

// ---- trace properties

GNR_API int YxProjectDb_Traceprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                 std::int32_t traceId, std::int64_t propdefKey,
                                                 std::int64_t assayrunKey, double value, std::int64_t* key = nullptr);
GNR_API int YxProjectDb_Traceprop_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_traceprop>& rows);
GNR_API int YxProjectDb_Traceprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                          std::vector<SYxProjectDbRow_traceprop>& rows);
/// Deletes by (iJobrunKeyRef, iTraceId, iPropdefKeyRef) of each row.
GNR_API int YxProjectDb_Traceprop_RemoveMany(YxProjectDbHandle handle,
                                             const std::vector<SYxProjectDbRow_traceprop>& rows);

// ---- trace qualifiers

GNR_API int YxProjectDb_Tracequal_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                      std::vector<SYxProjectDbRow_tracequal>& rows);
GNR_API int YxProjectDb_Tracequal_GetManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                           std::vector<SYxProjectDbRow_tracequal>& rows);
/// Deletes by (iJobrunKeyRef, iTraceKeyRef, iQualdefKeyRef) of each row.
GNR_API int YxProjectDb_Tracequal_RemoveMany(YxProjectDbHandle handle,
                                             const std::vector<SYxProjectDbRow_tracequal>& rows);
/// Deletes every trace qualifier of the run.
GNR_API int YxProjectDb_Tracequal_RemoveMany(YxProjectDbHandle handle, std::int64_t jobrunKey);
