// The schema that a file of a given flavour and recorded version should
// have, as table definitions: the current lists, the jobs schema history or
// the application database's frozen step definitions. Built per call from
// immutable definitions; safe from any thread.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <cstdint>
#include <vector>

struct SYxDiagExpectedTable {
    const SYxSqliteTableDef* pDef = nullptr;
    // A table that a file of this version may or may not have (tables that
    // an upgrade leaves behind but a new file never gets): its absence is
    // no finding, its presence is compared.
    bool bOptional = false;
    // Columns beyond the definition that the file should have as well (the
    // columns of the silent step in older jobs versions), compared like the
    // definition's own.
    std::vector<const SYxSqliteColDef*> extraColumns;
    // Columns of the definition that the file should not have (the silent
    // step's, in a current file that never ran it).
    std::vector<const wchar_t*> withoutColumns;
};

struct SYxDiagExpectedSchema {
    std::int64_t iComparedVersion = 0;
    bool bExactVersion = false;
    std::vector<SYxDiagExpectedTable> tables;
};

// Jobs database at (main, silent).
SYxDiagExpectedSchema YxDiag_ExpectedJobsSchema(std::int64_t version, std::int64_t silentVersion);
// Application database at its main version.
SYxDiagExpectedSchema YxDiag_ExpectedAppSchema(std::int64_t version);
