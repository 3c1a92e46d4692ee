// Reading a database in tests on a plain SQLite connection, independent of
// the library under test.
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

// Rows of a query as "a|b|c" texts (NULL as empty); one "error: <message>"
// row when the statement cannot be prepared.
std::vector<std::string> YxTest_QueryDb(sqlite3* db, const std::string& sql);
// The same on a read-only connection of its own to `file`.
std::vector<std::string> YxTest_Query(const std::string& file, const std::string& sql);
