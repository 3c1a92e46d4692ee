// The history of the jobs database schema from version 10 to 136.
//
// Every table that ever existed in a jobs database (the 59 of the current
// schema and the retired ones) is described here once, as a sequence of eras:
// from a given version on, the table has a given list of columns, a unique
// group and (derived from the current schema) its composite indexes, until
// the next era of the same table begins or the table is dropped. Columns that
// still exist are taken from the current definitions in schema.h; columns
// that no longer exist, and the few variants of current columns with other
// attributes, are listed here beside the eras.
//
// The migration steps take the frozen definitions of the tables they rebuild
// or create from this history (the definition at their target version), and
// the tests build files at any version from it, so the steps and the test
// files cannot disagree about what a version looks like.
//
// The definitions are built once, on first use, and never change afterwards;
// the pointers handed out stay valid for the life of the process and may be
// read from any thread.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <vector>

enum {
    YX_JOBS_HISTORY_FIRST_VERSION = 10,
    YX_JOBS_HISTORY_LAST_VERSION = 136,
};

// The definition of a table as it was at `version`, or null when the table
// did not exist then. Versions that no step writes (15, 49 to 59,
// 80 to 99) answer with the definition in force before them.
const SYxSqliteTableDef* YxJobsHistory_Def(const wchar_t* table, int version);

// Every table that exists at `version`, in the order in which the tables
// were introduced (the current creation order for current tables, retired
// tables beside the tables they belonged to).
std::vector<const SYxSqliteTableDef*> YxJobsHistory_TablesAt(int version);

// Names of every table that ever existed, in the same order.
std::vector<const wchar_t*> YxJobsHistory_AllTableNames();

// True when the table's era beginning exactly at `version` creates it anew
// without taking over its rows: the table did not exist just before, or the
// step drops and recreates it.
bool YxJobsHistory_CreatedAt(const wchar_t* table, int version);

// True when the step arriving at `version` overwrites the values of the
// column (rows written before `version` do not keep their value).
bool YxJobsHistory_ValuesResetAt(const wchar_t* table, const wchar_t* column, int version);

// The version that the step leaving `version` writes: 14 goes to 16, 48 to
// 60, 79 to 100, every other version from 10 to 135 to the next one; 0 for a
// version without a step.
int YxJobsHistory_NextVersion(int version);

// The version whose schema the step leaving `version` produces. Equal to
// YxJobsHistory_NextVersion except for 14: its step only writes 16 and
// leaves the tables as they were at 14 (and so at 15).
int YxJobsHistory_SchemaAfterStep(int version);
