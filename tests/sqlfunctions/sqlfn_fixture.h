// An in-memory connection with the library's SQL functions registered, and
// small readers of one-value queries.
#pragma once

#include "gnr_projectdb/sqlfunctions.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class SqlFnTest : public ::testing::Test {
protected:
    void SetUp() override { Open(":memory:"); }
    void TearDown() override { sqlite3_close(m_db); }

    void Open(const char* path, const char* encoding = nullptr) {
        if (m_db) sqlite3_close(m_db);
        m_db = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(path, &m_db));
        if (encoding) Exec(std::string("PRAGMA encoding='") + encoding + "';");
        ASSERT_EQ(0, YxProjectDb_Db_CreateFunctionsOn(m_db));
    }

    void Exec(const std::string& sql) {
        char* err = nullptr;
        const int rc = sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, &err);
        ASSERT_EQ(SQLITE_OK, rc) << sql << ": " << (err ? err : "");
        sqlite3_free(err);
    }

    // A table v(x) holding the given SQL literals, one row each.
    void Values(const std::vector<std::string>& literals) {
        Exec("DROP TABLE IF EXISTS v; CREATE TABLE v(x);");
        for (const std::string& l : literals) Exec("INSERT INTO v VALUES(" + l + ");");
    }

    // The first column of the first row: its type, and the value in `out`.
    struct SValue {
        int type = SQLITE_NULL;
        std::int64_t i = 0;
        double d = 0;
        std::string text;
    };
    SValue One(const std::string& sql) {
        SValue v;
        sqlite3_stmt* st = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(m_db, sql.c_str(), -1, &st, nullptr)) << sql << ": " << sqlite3_errmsg(m_db);
        if (!st) return v;
        const int rc = sqlite3_step(st);
        EXPECT_EQ(SQLITE_ROW, rc) << sql << ": " << sqlite3_errmsg(m_db);
        if (rc == SQLITE_ROW) {
            v.type = sqlite3_column_type(st, 0);
            v.i = sqlite3_column_int64(st, 0);
            v.d = sqlite3_column_double(st, 0);
            const unsigned char* t = sqlite3_column_text(st, 0);
            if (t) v.text = reinterpret_cast<const char*>(t);
        }
        sqlite3_finalize(st);
        return v;
    }
    // The error message of a statement that must fail in step or prepare.
    std::string ErrorOf(const std::string& sql) {
        sqlite3_stmt* st = nullptr;
        int rc = sqlite3_prepare_v2(m_db, sql.c_str(), -1, &st, nullptr);
        if (rc == SQLITE_OK) {
            while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
            }
            sqlite3_finalize(st);
        }
        EXPECT_NE(SQLITE_DONE, rc) << sql << " should fail";
        return rc == SQLITE_DONE ? std::string() : std::string(sqlite3_errmsg(m_db));
    }
    std::vector<std::string> Column(const std::string& sql) {
        std::vector<std::string> out;
        sqlite3_stmt* st = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(m_db, sql.c_str(), -1, &st, nullptr)) << sqlite3_errmsg(m_db);
        while (st && sqlite3_step(st) == SQLITE_ROW) {
            const unsigned char* t = sqlite3_column_text(st, 0);
            out.push_back(t ? reinterpret_cast<const char*>(t) : "<null>");
        }
        sqlite3_finalize(st);
        return out;
    }

    sqlite3* m_db = nullptr;
};
