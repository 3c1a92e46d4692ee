// Small helpers for the database-file tests.
#pragma once

#include "framework/yxstring.h"

#include <sqlite3.h>

#include <string>
#include <vector>

// Runs a query on a plain SQLite connection of its own and returns every row
// as "a|b|c" (NULL as empty).
std::vector<std::string> YxTest_Query(const std::string& file, const std::string& sql);
std::vector<std::string> YxTest_QueryDb(sqlite3* db, const std::string& sql);
