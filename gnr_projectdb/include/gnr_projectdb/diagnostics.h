/// \file
/// Diagnostics of a database file: its schema compared with the schema that
/// its recorded version should have, SQLite's own integrity and foreign key
/// checks, and the graph of the tables joined by their references written as
/// Graphviz DOT.
///
/// The comparison reads the file's catalogue (tables, columns with declared
/// type, default, collation and reference, unique groups and explicit
/// indexes) and the table definitions of the recorded version: the current
/// definitions (schema.h, jobs 136 with silent version 1; application 7) or,
/// for older jobs versions 10 to 135, the schema history that the migration
/// steps are written against (with the columns of the silent step when the
/// file records silent version 1), and for application versions 1 to 6 the
/// definitions of their upgrade steps. A version without a known schema (no
/// version row, a gap of the upgrade chain, a version newer than this
/// library) is compared with the current schema, and the report says so.
/// Column order is not compared: the silent step appends its columns.
///
/// Every finding is a plain record; a clean file yields none. Nothing here
/// writes to the file: only reads and pragmas that read run, and every name
/// read from the file reaches SQL as a bound value.
///
/// Statuses: 0; -9 for a handle without connection; otherwise the SQLite
/// result code of the statement that failed. On failure nothing is appended
/// to the findings; the report is filled as far as it was read.
///
/// Threads: a handle is used by one thread at a time; the DOT writer is a
/// pure function.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

enum EYxProjectDbFlavour {
    /// Decided from the file: an application database has one of its own
    /// tables (definitions, analysis, reciperun, datatable) and no jobrun.
    eYxFlavourDetect = 0,
    eYxFlavourJobs = 1,
    eYxFlavourApplication = 2,
};

enum EYxProjectDbFindingKind {
    eYxFindingTableMissing = 0,
    eYxFindingTableExtra,
    eYxFindingColumnMissing,
    eYxFindingColumnExtra,
    eYxFindingColumnDifferent,  ///< type, default, collation, not-null or reference
    eYxFindingIndexMissing,
    eYxFindingIndexExtra,
    eYxFindingIndexDifferent,   ///< other columns, or unique where it should not be
    eYxFindingUniqueMissing,    ///< a group of columns unique together
    eYxFindingUniqueExtra,
    eYxFindingIntegrity,        ///< a line of PRAGMA integrity_check
    eYxFindingForeignKey,       ///< a row of PRAGMA foreign_key_check
};

/// One finding. `table` names the table; `name` the column, the index, the
/// unique group (its columns, "a, b") or, for a foreign key, the row
/// ("rowid 7"). `expected` and `found` describe the item as the schema wants
/// it and as the file has it: a column as "INTEGER REFERENCES jobrun(iKey) ON
/// DELETE CASCADE ON UPDATE CASCADE COLLATE NOCASE DEFAULT 'x' NOT NULL"
/// (only the parts that apply), an index as "(a, b)" or "UNIQUE (a)", a table
/// as "table"; empty for the side that does not exist.
struct SYxProjectDbFinding {
    EYxProjectDbFindingKind eKind = eYxFindingTableMissing;
    CYxStringW wszTable;
    CYxStringW wszName;
    CYxStringW wszExpected;
    CYxStringW wszFound;
};

/// What the comparison compared against.
struct SYxProjectDbSchemaReport {
    EYxProjectDbFlavour eFlavour = eYxFlavourJobs;  ///< the flavour compared (never Detect)
    std::int64_t iVersion = 0;         ///< recorded main version (0 when none is readable)
    std::int64_t iSilentVersion = 0;   ///< jobs: recorded silent version (0 when none)
    std::int64_t iComparedVersion = 0; ///< version whose schema was used
    bool bExactVersion = false;        ///< false: no schema is known for iVersion
    int nTablesCompared = 0;           ///< tables of the expected schema
};

/// "table missing", "column different", ... (static text, never null).
GNR_API const char* YxProjectDb_Diag_FindingKindName(EYxProjectDbFindingKind kind);

/// Compares the schema of the open file with the schema of its recorded
/// version and appends one finding per difference to *findings (sorted by
/// table, then kind, then name). report may be null. Reads only.
GNR_API int YxProjectDb_Diag_CompareSchema(YxProjectDbHandle handle, EYxProjectDbFlavour flavour,
                                           std::vector<SYxProjectDbFinding>* findings,
                                           SYxProjectDbSchemaReport* report = nullptr);

/// Runs "PRAGMA integrity_check;" and "PRAGMA foreign_key_check;" and appends
/// one finding per problem they report (none for a sound file). Reads only.
GNR_API int YxProjectDb_Diag_CheckIntegrity(YxProjectDbHandle handle, std::vector<SYxProjectDbFinding>* findings);

/// The file's own schema: the CREATE statement of every table, index, view
/// and trigger of the main database (SQLite's internal tables left out), in
/// the order they were made, each ending in ";\n". Appended to *sql.
GNR_API int YxProjectDb_Diag_FileSchemaSql(YxProjectDbHandle handle, CYxStringW* sql);

/// The tables of the flavour's current schema as a Graphviz digraph: one
/// node per table, one edge from each table to every table that it
/// references, nodes in dependency order (referenced tables first). Renders
/// with `dot -Tsvg`. eYxFlavourDetect draws the jobs schema.
GNR_API CYxStringW YxProjectDb_Diag_SchemaDot(EYxProjectDbFlavour flavour);
