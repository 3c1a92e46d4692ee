// Jobs database files at any schema version from 10 to 136, built from the
// schema history, and a comparable description of a database's schema.
//
// A file at version v holds the tables of v (with the indexes their
// definitions ask for), the version row "main" = v and no "silent" row, and
// rows in every table: row k of a table has key k, references to row
// ((k-1) mod n)+1 of the referenced table (n its row count; NULL when that
// table does not exist at v or is empty, the previous row for a reference to
// the table itself), and values derived from the table, column and k. Every
// frame-addressed row k lies on frame index k of its run, so the frame
// attribute tables agree with `frame`.
//
// This file does not depend on GoogleTest (the benchmarks use it too).
#pragma once

#include "framework/yxstring.h"

#include <map>
#include <string>
#include <vector>

struct sqlite3;

struct SYxMigrationRows {
    int iDefault = 3;                      // rows per table
    std::map<std::wstring, int> perTable;  // overrides by table name
    int For(const wchar_t* table) const {
        const auto it = perTable.find(table);
        return it == perTable.end() ? iDefault : it->second;
    }
};

// Creates (or replaces) the file at `path` at `version`. Returns 0 or the
// SQLite status; *error receives the message of a failure.
int YxMigrationFixture_CreateFile(const std::string& path, int version, const SYxMigrationRows& rows = {},
                                  std::string* error = nullptr);

// One line per fact, sorted, per table: the columns (name, declared type,
// collation, default, not-null, primary key; a default of NULL is no
// default), the foreign keys (columns, parent, actions), and the unique
// groups and indexes (columns, unique flag, origin; names only for explicit
// indexes, automatic ones are unnamed). Indexes are left out unless asked.
std::map<std::string, std::string> YxMigrationFixture_Schema(sqlite3* db, bool withIndexes);

// Runs a query and returns every row as text, columns separated by '|'.
std::vector<std::string> YxMigrationFixture_Rows(sqlite3* db, const std::string& query);
