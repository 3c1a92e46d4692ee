/// \file
/// Deposits (table deposit: a blob deposited for a job definition, named by a
/// uuid) and upload requests (table toupload: a project, job definition or job
/// run to be uploaded for a user, with its state), in the jobs database.
///
/// Statuses: 0 on success; -9 when the handle names no open connection
/// (nothing read or written, key out-arguments set to 0); otherwise the
/// SQLite result code of the failed statement. Look-ups that find nothing
/// return 0 and leave the record untouched; sequences are appended to.
///
/// Uuids and states are spliced into the SQL text between single quotes as
/// they stand: a quote in them makes the statement fail with the SQLite status.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/bytes.h"
#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <list>
#include <vector>

// ---- deposits

/// Inserts the deposit with the times and uuid as given. A null pointer or
/// size 0 stores an empty blob. *key: the new key, 0 on failure.
GNR_API int YxProjectDb_Deposit_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, double cTime, double mTime,
                                       const wchar_t* uuid, std::uint32_t dataSize, const void* data,
                                       std::int64_t* key = nullptr);
/// Sets every column of the deposit with the key.
GNR_API int YxProjectDb_Deposit_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t jobdefKey, double cTime,
                                       double mTime, const wchar_t* uuid, CYxByteArray& data);
/// The deposit with the uuid.
GNR_API int YxProjectDb_Deposit_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_deposit& row);
/// Appends the deposits of a job definition (both forms select the same rows).
GNR_API int YxProjectDb_Deposit_GetMany(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                        std::list<SYxProjectDbRow_deposit>& rows);
GNR_API int YxProjectDb_Deposit_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                         std::list<SYxProjectDbRow_deposit>& rows);

// ---- upload requests

/// Inserts a request for the object (tableName "project", "jobdef" or
/// "jobrun", its uuid) and the user. The new row holds the cloud URL in
/// wszCloudUrl and NULL in iUploadState.
GNR_API int YxProjectDb_toupload_SaveRequest(YxProjectDbHandle handle, const wchar_t* tableName, const wchar_t* uuidRef,
                                             const wchar_t* cloudUrl, const SYxProjectDbRow_jobuser& user);
/// Sets wszRunState of the requests for the run, for its job definition and
/// for that definition's project. A failing read of any of the three returns
/// its status and changes nothing.
GNR_API int YxProjectDb_toupload_ChangeStatus(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              const wchar_t* runState);
/// Appends the requests of a user.
GNR_API int YxProjectDb_toupload_GetMany(YxProjectDbHandle handle, std::int64_t userKey,
                                         std::vector<SYxProjectDbRow_toupload>& rows);
/// The request of the user for the object uuid.
GNR_API int YxProjectDb_toupload_GetOne(YxProjectDbHandle handle, const wchar_t* uuidRef, std::int64_t userKey,
                                        SYxProjectDbRow_toupload& row);
