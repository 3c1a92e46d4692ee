// The schema of an open SQLite file as its catalogue describes it: tables,
// columns (declared type, default, collation, not-null, primary key,
// reference), unique groups and explicit indexes. Read through the
// table-valued pragma functions with the table and index names bound, so a
// name stored in the file never becomes SQL text.
//
// Plain values; one thread at a time per connection.
#pragma once

#include "framework/yxstring.h"

#include <vector>

struct sqlite3;

struct SYxDiagFileColumn {
    CYxStringW name;
    CYxStringW type;       // declared type as written, upper case
    CYxStringW dflt;       // default as written; empty for none (and for NULL)
    CYxStringW collation;  // "BINARY" unless the column names another
    bool bNotNull = false;
    bool bPrimaryKey = false;
    CYxStringW refTable;   // referenced table; empty without reference
    CYxStringW refColumn;
    CYxStringW onDelete;   // "NO ACTION" when the reference names none
    CYxStringW onUpdate;
};

struct SYxDiagFileIndex {
    CYxStringW name;
    std::vector<CYxStringW> columns;
    bool bUnique = false;
    bool bConstraint = false;  // made by a UNIQUE clause of the table (origin "u")
};

struct SYxDiagFileTable {
    CYxStringW name;
    std::vector<SYxDiagFileColumn> columns;
    std::vector<SYxDiagFileIndex> indexes;  // primary key indexes left out
};

// Every table of the main database except SQLite's own (sqlite_*), sorted by
// name. Returns 0 or the SQLite status of the read that failed.
int YxDiag_ReadFileSchema(sqlite3* db, std::vector<SYxDiagFileTable>* tables);

// Appends the CREATE statements of the main database (see
// YxProjectDb_Diag_FileSchemaSql). Returns 0 or the SQLite status.
int YxDiag_ReadSchemaSql(sqlite3* db, CYxStringW* sql);
