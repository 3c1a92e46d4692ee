/// \file
/// Single members of the JSON metadata columns (jsonMetadata of files,
/// measurements, results and definitions in the application database), read
/// and written inside SQLite with json_extract / json_set / json_remove, so
/// the rest of the document is never parsed or rewritten by hand.
///
/// The table must be a table of the application schema and the column one of
/// its columns whose name begins with "json"; the member is a top-level
/// member name. Table and column are checked against the schema and only the
/// schema's own names reach the statement; the member path and the value are
/// bound. A member name holding a double quote cannot be addressed by an
/// SQLite JSON path: -13.
///
/// Statuses: 0 on success; -9 when the handle has no connection; -13 for an
/// unknown table or column, an unaddressable member name, a key without row,
/// or (GetMember) a member that is not present; otherwise the SQLite result
/// code (for example 1 when the stored text is not JSON). Out-arguments are
/// untouched on any failure.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/status.h"

#include <cstdint>

/// Qt Core's JSON value; callers include <QJsonValue> to make or read one.
class QJsonValue;

/// The member's value: numbers as double (integers that fit exactly, too),
/// texts, true/false, null, and arrays and objects as parsed JSON.
GNR_API int YxProjectDb_Json_GetMember(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                                       std::int64_t key, const wchar_t* member, QJsonValue& value);
/// Sets the member (adding it when absent) and leaves every other member as
/// it is; a NULL column is taken as an empty object. Whole numbers within
/// +-2^53 are stored as JSON integers. An undefined value removes the member.
GNR_API int YxProjectDb_Json_SetMember(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                                       std::int64_t key, const wchar_t* member, const QJsonValue& value);
/// Removes the member (absent: 0, nothing changed).
GNR_API int YxProjectDb_Json_RemoveMember(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                                          std::int64_t key, const wchar_t* member);
