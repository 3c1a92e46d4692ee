// A fresh jobs database per test, connected; helpers that fill the tables
// the record tests build on.
#pragma once

#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_generic.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

class CYxRecordsTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_path = m_dir.File("jobs.db");
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(m_path));
        m_h = YxProjectDb_Db_Jobs_Connect(m_path);
        ASSERT_NE(0u, m_h);
    }
    void TearDown() override {
        if (m_h) YxProjectDb_Db_Disconnect(m_h);
    }
    sqlite3* Db() const { return CYxProjectDbConnectionManager::GetConnection(m_h).Get(); }
    std::int64_t Count(const wchar_t* table, const wchar_t* where = nullptr) const {
        std::int64_t n = -1;
        EXPECT_EQ(0, YxProjectDb_Table_Count(m_h, table, where, &n));
        return n;
    }
    // A run row without folder work, through the generic insert.
    std::int64_t AddRun(std::int64_t flags = 0, std::int64_t jobdefKey = 0) {
        SYxProjectDbRow_jobrun run{};
        run.iJobdefKeyRef = jobdefKey;
        run.iFinishFlags = flags;
        run.wszName = L"run";
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, run, &key));
        return key;
    }

    CYxTempDir m_dir;
    CYxStringW m_path;
    YxProjectDbHandle m_h = 0;
};
