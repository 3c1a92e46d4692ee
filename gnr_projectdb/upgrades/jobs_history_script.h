// The script of one migration step of the jobs database, built from pieces.
//
// A step names what it does to which table; the definitions come from the
// schema history (jobs_history.h): new and rebuilt tables are created as they
// were at the step's target version, and a rebuild copies back every column
// of the target definition that the source definition has, by name. Columns
// that are new to the table get their default, or the expression the step
// gives for them (a constant, a join, a subquery; the old table is named
// <table>_old there).
//
// A rebuild keeps the columns that the table has in the file beyond the
// definitions of the step's source and target versions where the current
// schema has them too (the alignment
// matrix that the silent step may have added before the main chain reached
// the step): they are created after the definition's columns, with their
// current definition, and their values are copied back.
//
// Run() appends the version bump and executes the script once. A step never
// begins or ends a transaction.
#pragma once

#include "framework/yxstring.h"

#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;
struct SYxSqliteColDef;
struct SYxSqliteTableDef;

// Column name and the SQL expression that fills it in a copy back.
using CYxJobsColumnFill = std::pair<const wchar_t*, const wchar_t*>;

class CYxJobsStepScript {
public:
    // `from` is the version that the step leaves; the bump writes
    // YxJobsHistory_NextVersion(from).
    CYxJobsStepScript(sqlite3* db, int from);

    // Rename, create, copy back, drop the old table.
    CYxJobsStepScript& Rebuild(const wchar_t* table, std::initializer_list<CYxJobsColumnFill> fills = {});
    // The pieces of a rebuild, for steps that work between them.
    CYxJobsStepScript& RenameForRebuild(const wchar_t* table);
    CYxJobsStepScript& CreateTable(const wchar_t* table);
    CYxJobsStepScript& CopyBack(const wchar_t* table, std::initializer_list<CYxJobsColumnFill> fills = {});
    CYxJobsStepScript& DropOld(const wchar_t* table);

    // A table that the step introduces (created from its target definition).
    CYxJobsStepScript& Create(const wchar_t* table) { return CreateTable(table); }
    // "DROP TABLE <table>;"
    CYxJobsStepScript& Drop(const wchar_t* table);
    // ALTER TABLE ... ADD COLUMN with the column of the target definition.
    CYxJobsStepScript& AddColumn(const wchar_t* table, const wchar_t* column);
    // Statements of the step's own.
    CYxJobsStepScript& Sql(const wchar_t* text);

    // Appends the version bump and executes the script.
    int Run();

    const CYxStringW& Text() const { return m_script; }
    // The definition of a table before and after the step.
    const SYxSqliteTableDef* SourceDef(const wchar_t* table) const;
    const SYxSqliteTableDef* TargetDef(const wchar_t* table) const;

private:
    // The columns of the current schema that the table has in the file but
    // neither in the step's source nor in its target definition (read when
    // the table is renamed).
    std::vector<const SYxSqliteColDef*> KeptColumns(const wchar_t* table);

    sqlite3* m_db;
    int m_from;
    std::map<std::wstring, std::vector<const SYxSqliteColDef*>> m_kept;
    CYxStringW m_script;
    bool m_failed = false;
};

// The rename piece of a rebuild: the table becomes <table>_old, and the
// explicit indexes of loopindex are dropped (the query looks at loopindex
// whatever the table; the final index check of the upgrade recreates them).
CYxStringW YxJobsStep_RenameForRebuild(sqlite3* db, const wchar_t* table, const wchar_t* oldName);

// The generic rebuild of 011->012 and 012->013: every current table present
// in the file is rebuilt from its current definition, all columns copied.
int YxJobsStep_RebuildCurrentTables(sqlite3* db, int newVersion);

// "UPDATE version SET iVersion=<n> WHERE wszName='main';"
CYxStringW YxJobsStep_VersionBump(int newVersion);
