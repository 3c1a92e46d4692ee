/// \file
/// Table and column definitions: the static description from which CREATE
/// TABLE / CREATE INDEX texts, typed statements, row records and the XML
/// export are all produced. Definitions are immutable constants; sharing them
/// between threads is safe.
#pragma once

#include "gnr_projectdb/export.h"

#include <cstdint>
#include <vector>

enum EYxSqliteColRole { eYxColPlain = 0, eYxColPrimaryKey = 1, eYxColReference = 2 };
enum EYxSqliteColType { eYxTypeInt32 = 0, eYxTypeInt64 = 1, eYxTypeDouble = 2, eYxTypeText = 3, eYxTypeBlob = 4 };

/// The own-index marks of a column.
#define YX_SQLITE_INDEX_NONE L""
#define YX_SQLITE_INDEX_YES L"yes"
#define YX_SQLITE_INDEX_UNIQUE L"unique"

struct SYxSqliteColDef {
    EYxSqliteColRole eRole;
    EYxSqliteColType eType;
    const wchar_t* wszIndex;      ///< YX_SQLITE_INDEX_* (never null)
    const wchar_t* wszName;
    const wchar_t* wszRefTable;   ///< referenced table, or null
    const wchar_t* wszDefault;    ///< default value text, or null
    const wchar_t* wszCollation;  ///< "NOCASE", or null
    const wchar_t* wszRefAction;  ///< "ON DELETE CASCADE" etc. for references, or null
};

enum { YX_SQLITE_MAX_GROUP_COLS = 8 };

struct SYxSqliteTableDef {
    const wchar_t* wszName;
    int nCols;
    const SYxSqliteColDef* pCols;
    /// Columns unique together (null-terminated list), with the conflict clause.
    const wchar_t* apUnique[YX_SQLITE_MAX_GROUP_COLS + 1];
    const wchar_t* wszUniqueConflict;
    /// Up to two composite indexes (null-terminated lists; empty when unused).
    const wchar_t* apIndex1[YX_SQLITE_MAX_GROUP_COLS + 1];
    const wchar_t* apIndex2[YX_SQLITE_MAX_GROUP_COLS + 1];
};

/// Returns the position of a named column, or -1.
GNR_API int YxSqliteTableDef_FindColumn(const SYxSqliteTableDef& def, const wchar_t* column);

/// The value of a column that is to be written as SQL NULL.
struct SYxSqliteNullValue {
    SYxSqliteNullValue() = default;
    explicit SYxSqliteNullValue(std::int64_t value) : bActive(true), iValue(value) {}
    bool bActive = false;      ///< false: the column is never written as NULL
    std::int64_t iValue = 0;   ///< integer value that stands for NULL
};
using CYxSqliteNullValueVector = std::vector<SYxSqliteNullValue>;

/// One entry per column of the table: reference columns map 0 to NULL,
/// every other column is written as it is.
GNR_API CYxSqliteNullValueVector YxSqliteNullValueVector_Create(const SYxSqliteTableDef& def);
