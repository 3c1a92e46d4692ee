// A fresh database file in a temporary folder for each test, and small
// read-back helpers that go straight to SQLite.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "support/test_support.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

class SqliteFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_path = m_dir.File("test.db");
        ASSERT_EQ(YxSqlite_Open(m_path, &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE), SQLITE_OK);
    }
    void TearDown() override { YxSqlite_Close(m_db); }

    // Runs a query and returns its rows, the columns of each joined by '|'
    // (NULL as "NULL").
    std::vector<std::string> Rows(const char* sql) const { return Rows(m_db, sql); }
    static std::vector<std::string> Rows(sqlite3* db, const char* sql) {
        std::vector<std::string> rows;
        sqlite3_stmt* stmt = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr), SQLITE_OK) << sql << ": " << sqlite3_errmsg(db);
        while (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
            std::string row;
            for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
                if (i) row += '|';
                const auto* t = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
                row += sqlite3_column_type(stmt, i) == SQLITE_NULL ? "NULL" : (t ? t : "");
            }
            rows.push_back(row);
        }
        sqlite3_finalize(stmt);
        return rows;
    }
    long long Int(const char* sql) const {
        const auto rows = Rows(sql);
        return rows.empty() ? -1 : std::stoll(rows[0]);
    }
    void Exec(const char* sql) const {
        ASSERT_EQ(sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql << ": " << sqlite3_errmsg(m_db);
    }

    CYxTempDir m_dir;
    CYxStringW m_path;
    sqlite3* m_db = nullptr;
};
