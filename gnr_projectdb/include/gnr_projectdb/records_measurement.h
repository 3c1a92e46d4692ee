/// \file
/// Measurements of analysis definitions on registered files (table
/// measurements) and their results (table results), both in the application
/// database (a handle from YxProjectDb_Db_Vasq_Connect). Their metadata is a
/// JSON object stored as the text of its document; the data is a blob.
///
/// Members of a measurement's metadata written by the library: "wszName",
/// "wszDesc", "iBatchNumber", "iFlags" (bit set), "dCTime", "dMTime".
///
/// Statuses: 0 on success; -9 when the handle names no open connection
/// (nothing read or written, key out-arguments set to 0); otherwise the
/// SQLite result code of the failed statement. Look-ups that find nothing
/// return 0 and leave the record untouched; sequences are appended to. Blobs
/// passed as (size, pointer) with a null pointer or size 0 are stored empty.
///
/// Module names are spliced into the SQL text between double quotes as they
/// stand.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/bytes.h"
#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/status.h"

#include <QJsonObject>

#include <cstdint>
#include <vector>

struct SYxProjectDbRow_measurements {
    std::int64_t iKey = 0;
    std::int64_t iDefinitionKeyRef = 0;  ///< table definitions
    std::int64_t iFileKeyRef = 0;        ///< table files; 0 is stored as NULL
    QJsonObject jsonMetadata;
    CYxByteArray pData;
};

struct SYxProjectDbRow_results {
    std::int64_t iKey = 0;
    std::int64_t iMeasurementKeyRef = 0;
    QJsonObject jsonMetadata;
    CYxByteArray pData;
};

// ---- measurements

/// Builds the metadata from the six members (in the order listed above) and
/// inserts it with the data. *key: the new key, 0 on failure.
GNR_API int YxProjectDb_Measurements_Insert(YxProjectDbHandle handle, std::int64_t definitionKey,
                                            std::int64_t fileKey, const wchar_t* name, const wchar_t* desc,
                                            std::int32_t batchNumber, std::int32_t flags, double cTime, double mTime,
                                            std::uint32_t dataSize, const void* data, std::int64_t* key = nullptr);
/// Stores the given object (null: an empty object).
GNR_API int YxProjectDb_Measurements_Insert(YxProjectDbHandle handle, std::int64_t definitionKey,
                                            std::int64_t fileKey, QJsonObject* metadata, std::uint32_t dataSize,
                                            const void* data, std::int64_t* key = nullptr);
/// Sets iFileKeyRef and jsonMetadata.
GNR_API int YxProjectDb_Measurements_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t fileKey,
                                            const QJsonObject* metadata);
/// Sets (set true) or clears (set false) the bits of flags in the "iFlags"
/// member, in one statement.
GNR_API int YxProjectDb_Measurements_ChangeFlags(YxProjectDbHandle handle, std::int64_t key, std::int32_t flags,
                                                 bool set);
GNR_API int YxProjectDb_Measurements_Delete(YxProjectDbHandle handle, std::int64_t key);
GNR_API int YxProjectDb_Measurements_GetOne(YxProjectDbHandle handle, std::int64_t key,
                                            SYxProjectDbRow_measurements& row);
/// Appends the measurements of a definition.
GNR_API int YxProjectDb_Measurements_GetMany(YxProjectDbHandle handle, std::int64_t definitionKey,
                                             std::vector<SYxProjectDbRow_measurements>& rows);
/// The definition key of the measurement; 0 when none or on failure, -9 for
/// an unknown handle.
GNR_API std::int64_t YxProjectDb_Measurements_GetAnalysisKeyRef(YxProjectDbHandle handle, std::int64_t key);
/// wszFileName of the files row the measurement points at; "" when either
/// row cannot be read or without connection.
GNR_API CYxStringW YxProjectDb_Measurements_GetFileName(YxProjectDbHandle handle, std::int64_t key);
/// The statement "SELECT max(json_extract(jsonMetadata, '&.iBatchNumber'))
/// FROM measurements;" - its value when it yields one, else 0 (also for an
/// unknown handle). The path does not begin with '$', so SQLite rejects it as
/// soon as a measurement exists: the result is then 0 as well.
GNR_API std::int32_t YxProjectDb_Measurements_GetMaxBatchNumber(YxProjectDbHandle handle);
/// Appends the "wszName" member of every measurement, or, with modules, of
/// the measurements of the (first) definition whose wszModule is one of them.
GNR_API int YxProjectDb_Measurements_GetAllNames(YxProjectDbHandle handle, std::vector<CYxStringW>& names,
                                                 const std::vector<CYxStringW>& modules);

// ---- results

/// Inserts a result (a new uuid into its wszUuid). *key: the new key, 0 on
/// failure.
GNR_API int YxProjectDb_Results_Insert(YxProjectDbHandle handle, std::int64_t measurementKey,
                                       const QJsonObject* metadata, std::uint32_t dataSize, const void* data,
                                       std::int64_t* key = nullptr);
/// Sets iMeasurementKeyRef, jsonMetadata and pData from the row.
GNR_API int YxProjectDb_Results_Update(YxProjectDbHandle handle, std::int64_t key, const SYxProjectDbRow_results& row);
/// Sets jsonMetadata and pData.
GNR_API int YxProjectDb_Results_Update(YxProjectDbHandle handle, std::int64_t key, const QJsonObject* metadata,
                                       const CYxByteArray& data);
/// Appends the results of a measurement.
GNR_API int YxProjectDb_Results_GetMany(YxProjectDbHandle handle, std::int64_t measurementKey,
                                        std::vector<SYxProjectDbRow_results>& rows);
