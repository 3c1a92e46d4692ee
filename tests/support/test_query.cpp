#include "test_query.h"

std::vector<std::string> YxTest_QueryDb(sqlite3* db, const std::string& sql) {
    std::vector<std::string> rows;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        rows.push_back(std::string("error: ") + sqlite3_errmsg(db));
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

std::vector<std::string> YxTest_Query(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        return {"error: cannot open"};
    }
    auto rows = YxTest_QueryDb(db, sql);
    sqlite3_close(db);
    return rows;
}
