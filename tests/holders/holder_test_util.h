// Small helpers of the holder tests.
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

// Rows of a query as "a|b|c" texts (NULL empty); one "error: ..." on failure.
inline std::vector<std::string> YxHolderTest_Query(sqlite3* db, const std::string& sql) {
    std::vector<std::string> rows;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        rows.push_back(std::string("error: ") + sqlite3_errmsg(db));
        sqlite3_finalize(stmt);
        return rows;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
            if (i) row += '|';
            const unsigned char* t = sqlite3_column_text(stmt, i);
            if (t) row += reinterpret_cast<const char*>(t);
        }
        rows.push_back(row);
    }
    sqlite3_finalize(stmt);
    return rows;
}
