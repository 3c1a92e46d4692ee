/// \file
/// The common record operations for every table of the jobs database, one
/// overload per row record (generated from the schema list), so that a caller
/// can read and fill any table - also those without operations of their own
/// (propdef, qualdef, tagdef, qualstr, assayrun, assayrecipe, the holder
/// tables, graphsettings, dbinfo, settings, the link tables of runs ...).
///
/// Every function resolves the handle first. Statuses: 0 on success; -9 when
/// the handle has no connection (nothing is read, written or changed, and no
/// out-argument is touched except that a key out-argument is set to 0);
/// otherwise the SQLite result code of the failed statement.
///
/// Condition columns and texts are formatted into the SQL text, not bound: a
/// text with a single quote, or an unknown column name, fails with the SQLite
/// status and changes nothing.
///
/// Threads: a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

#define YX_DECLARE_ROW_OPS(t)                                                                                        \
    /* The row with the key. Not found: 0 and the record is left untouched. */                                       \
    GNR_API int YxProjectDb_Row_GetOne(YxProjectDbHandle handle, std::int64_t key, YX_ROW_TYPE(t)& row);        \
    /* Appends every row of the table. On failure the rows read so far stay appended. */                             \
    GNR_API int YxProjectDb_Row_GetAll(YxProjectDbHandle handle, std::vector<YX_ROW_TYPE(t)>& rows);            \
    /* Appends the rows whose column equals the key ("<column>=<key>"). */                                           \
    GNR_API int YxProjectDb_Row_GetMany(YxProjectDbHandle handle, const wchar_t* column, std::int64_t key,           \
                                        std::vector<YX_ROW_TYPE(t)>& rows);                                     \
    /* Appends the rows of "WHERE <where>" (all rows for null or ""). */                                             \
    GNR_API int YxProjectDb_Row_GetWhere(YxProjectDbHandle handle, const wchar_t* where,                             \
                                         std::vector<YX_ROW_TYPE(t)>& rows);                                    \
    /* Inserts the record (its iKey is ignored; references of 0 are stored as NULL). Where the table has them,     \
       wszUuid gets a new uuid and dCTime/dMTime the current time, written back into the record. The record's      \
       iKey and *key (when given) receive the new key, 0 on failure. */                                              \
    GNR_API int YxProjectDb_Row_Insert(YxProjectDbHandle handle, YX_ROW_TYPE(t)& row, std::int64_t* key);       \
    /* Inserts the record exactly as given (uuid and times kept); key as for Insert. */                             \
    GNR_API int YxProjectDb_Row_Import(YxProjectDbHandle handle, YX_ROW_TYPE(t)& row, std::int64_t* key);       \
    /* Inserts every record as given in one transaction, retrying while the database is busy; each record's iKey    \
       receives its new key. Empty: 0. */                                                                            \
    GNR_API int YxProjectDb_Row_InsertMany(YxProjectDbHandle handle, std::vector<YX_ROW_TYPE(t)>& rows);        \
    /* As InsertMany with "OR REPLACE". */                                                                           \
    GNR_API int YxProjectDb_Row_InsertOrReplaceMany(YxProjectDbHandle handle,                                        \
                                                    std::vector<YX_ROW_TYPE(t)>& rows);                         \
    /* Writes every non-key column of the record to the row with its iKey; dMTime, where present, is set to now    \
       (also in the record). A key without row: 0, nothing changed. */                                              \
    GNR_API int YxProjectDb_Row_Update(YxProjectDbHandle handle, YX_ROW_TYPE(t)& row);                          \
    /* Deletes the row with the key. The record type only selects the table. */                                     \
    GNR_API int YxProjectDb_Row_Delete(YxProjectDbHandle handle, std::int64_t key, const YX_ROW_TYPE(t)* table);

YX_JOBS_TABLE_LIST(YX_DECLARE_ROW_OPS)
#undef YX_DECLARE_ROW_OPS

// Operations by table name (lower case, as in the schema). An unknown table
// name: -13.

/// "DELETE FROM <table> WHERE <table>.<column>=<key>;".
GNR_API int YxProjectDb_Table_DeleteByParent(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                                             std::int64_t key);
/// Deletes the rows whose wszUuid is in the list. Null or empty list: 0, no
/// statement.
GNR_API int YxProjectDb_Table_DeleteManyByUuid(YxProjectDbHandle handle, const wchar_t* table,
                                               const std::vector<CYxStringW>* uuids);
/// Number of rows of "WHERE <where>" (all rows for null or "") into *count
/// (untouched on failure).
GNR_API int YxProjectDb_Table_Count(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* where,
                                    std::int64_t* count);
