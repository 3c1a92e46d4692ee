// Helpers of the diagnostics tests: plain SQLite access that does not go
// through the code under test, and the comparison of a file by path.
#pragma once

#include "gnr_projectdb/diagnostics.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <string>
#include <vector>

// Runs a script on a plain connection (foreign keys off); returns the status.
int DiagTest_Exec(const std::string& path, const std::string& sql);
// Creates the tables of the list with their indexes and the version row(s);
// silent < 0 writes no "silent" row.
void DiagTest_CreateFile(const std::string& path, const SYxSqliteTableDef* const* defs, int count,
                         const char* versionTable, int version, int silent = -1);
// Replaces one table of a file with the given definition (rows are lost).
void DiagTest_ReplaceTable(const std::string& path, const SYxSqliteTableDef& def);

// Opens the file for reading and compares its schema; the status goes to
// *status when given (the test fails on a non-zero one otherwise).
std::vector<SYxProjectDbFinding> DiagTest_Compare(const std::string& path, SYxProjectDbSchemaReport* report = nullptr,
                                                  EYxProjectDbFlavour flavour = eYxFlavourDetect);
std::vector<SYxProjectDbFinding> DiagTest_Integrity(const std::string& path);

// "index missing frame.idx_frame_iJobrunKeyRef expected=(iJobrunKeyRef) found=",
// one line per finding, for comparisons and failure messages.
std::string DiagTest_Lines(const std::vector<SYxProjectDbFinding>& findings);
