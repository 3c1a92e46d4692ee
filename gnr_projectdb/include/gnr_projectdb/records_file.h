/// \file
/// Image files of a run (table file), the planes (channels) they contain
/// (planeinfo, shared by name and component count, linked to files through
/// fileplaneinfo), and the free-standing files of the application database
/// (table files, geometry as a JSON object).
///
/// Statuses: 0 on success; -9 when the handle names no open connection
/// (nothing read or written; a key out-argument is set to 0); otherwise the
/// SQLite result code of the failed statement. A look-up that finds nothing
/// returns 0 and leaves the record untouched; sequences are appended to.
///
/// Names and uuids are spliced into the conditions between single quotes as
/// they stand: a quote in them makes the statement fail with the SQLite status.
///
/// The Files_* functions work on a handle of an application database
/// (YxProjectDb_Db_Vasq_Connect); every other function on a jobs database.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <QJsonObject>

#include <cstdint>
#include <list>
#include <vector>

/// A row of the application database's files table. jsonMetadata holds the
/// parsed document of the JSON column (empty when the column is not an object).
struct SYxProjectDbRow_files {
    std::int64_t iKey = 0;
    CYxStringW wszFileName;
    QJsonObject jsonMetadata;
};

// ---- files of a run

/// Inserts one file row (wszUuid empty). *key: the new key, 0 on failure.
GNR_API int YxProjectDb_File_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* fileName,
                                    std::int32_t width, std::int32_t height, std::int32_t planes,
                                    std::int32_t components, std::int32_t bitsPerComponent, std::int32_t frameCount,
                                    double calibration, double aspect, std::int64_t* key = nullptr);
/// Sets iFrameCount of the row.
GNR_API int YxProjectDb_File_Update(YxProjectDbHandle handle, std::int64_t key, std::int32_t frameCount);
/// Sets dCalibration of the row.
GNR_API int YxProjectDb_File_Update(YxProjectDbHandle handle, std::int64_t key, double calibration);
GNR_API int YxProjectDb_File_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_file& row);
/// Appends the files of a run.
GNR_API int YxProjectDb_File_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                     std::vector<SYxProjectDbRow_file>& rows);
/// Appends the rows of the keys, in key order (keys without a row are
/// skipped). The first read that fails ends the call with -9; the rows read
/// before stay appended. Null or empty list: 0.
GNR_API int YxProjectDb_File_GetMany(YxProjectDbHandle handle, const std::vector<std::int64_t>* keys,
                                     std::vector<SYxProjectDbRow_file>& rows);
/// Whether a file row has the uuid. exists is cleared first; -9 without
/// connection leaves it untouched.
GNR_API int Yx_ProjectDb_File_Exists(YxProjectDbHandle handle, const wchar_t* uuid, bool& exists);
/// Bytes on disk of every file of every run: "<project root>/<project
/// folder>\<run folder>\<file name>" each. Missing files count 0; 0 without
/// connection.
GNR_API std::uint64_t YxProjectDb_File_GetAllFilesSize(YxProjectDbHandle handle);
/// The same for the files of one run.
GNR_API std::uint64_t YxProjectDb_File_GetManyFilesSize(YxProjectDbHandle handle, std::int64_t jobrunKey);
/// Adds the size of every listed file, taking wszFileName as the path and
/// rounding each file to whole MiB (half away from zero), to sizeMiB - which is
/// not cleared first. A file whose size cannot be had ends the call with -9
/// (what was added stays added); a failing read returns its status.
GNR_API int YxProjectDb_File_GetImagesSize_FromIKeys(YxProjectDbHandle handle, const std::vector<std::int64_t>* keys,
                                                     std::int64_t& sizeMiB);

// ---- files without run (application database)

/// Stores fileName and {"iWidth", "iHeight", "iPlanes", "dCalibration"} in
/// that order. The fifth argument is accepted and not stored. *key: the new
/// key, 0 on failure.
GNR_API int YxProjectDb_Files_Insert(YxProjectDbHandle handle, const wchar_t* fileName, std::int32_t width,
                                     std::int32_t height, std::int32_t unused, std::int32_t planes,
                                     double calibration, std::int64_t* key = nullptr);
/// Stores the given object (null: an empty object).
GNR_API int YxProjectDb_Files_Insert(YxProjectDbHandle handle, const wchar_t* fileName, QJsonObject* metadata,
                                     std::int64_t* key = nullptr);
/// Sets wszFileName and jsonMetadata (null: an empty object).
GNR_API int YxProjectDb_Files_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* fileName,
                                     const QJsonObject* metadata);
GNR_API int YxProjectDb_Files_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_files& row);

// ---- planes

/// Plain insert of the plane (row.iKey ignored); row.iKey and *key get the new
/// key, 0 on failure.
GNR_API int YxProjectDb_PlaneInfo_Insert(YxProjectDbHandle handle, SYxProjectDbRow_planeinfo& row,
                                         std::int64_t* key = nullptr);
/// Attaches the plane to a file at a position: the plane with the same name
/// and component count is reused (its pData replaced by the row's), otherwise
/// inserted; row.iKey receives the plane's key. Then the link row is
/// inserted and its status returned. A failing plane insert returns its
/// status and writes no link.
GNR_API int YxProjectDb_PlaneInfo_InsertOrReplace(YxProjectDbHandle handle, std::int64_t fileKey,
                                                  SYxProjectDbRow_planeinfo& row, std::int32_t position);
GNR_API int YxProjectDb_PlaneInfo_GetOne(YxProjectDbHandle handle, const wchar_t* planeName, std::int32_t components,
                                         SYxProjectDbRow_planeinfo& row);
/// Appends the distinct planes of a file.
GNR_API int YxProjectDb_PlaneInfo_GetMany(YxProjectDbHandle handle, std::list<SYxProjectDbRow_planeinfo>& rows,
                                          std::int64_t fileKey);
/// Appends every distinct plane of any file of the run.
GNR_API int YxProjectDb_PlaneInfo_GetAllReferencingJobrun(YxProjectDbHandle handle,
                                                          std::list<SYxProjectDbRow_planeinfo>& rows,
                                                          std::int64_t jobrunKey);
/// Inserts the link (row.iKey ignored, then set to the new key).
GNR_API int YxProjectDb_FilePlaneInfo_Insert(YxProjectDbHandle handle, SYxProjectDbRow_fileplaneinfo& row);
GNR_API int YxProjectDb_FilePlaneInfo_GetMany(YxProjectDbHandle handle, std::int64_t fileKey,
                                              std::list<SYxProjectDbRow_fileplaneinfo>& rows);
/// Key of the link (file, plane, position); 0 when none. -9 leaves key as is.
GNR_API int YxProjectDb_FilePlaneInfo_GetIKey(YxProjectDbHandle handle, std::int64_t fileKey, std::int64_t planeKey,
                                              std::int32_t position, std::int64_t& key);
