// Shared fixture of the acquisition record tests: a fresh jobs database with
// a project, a job definition, a program with one task and two runs.
#pragma once

#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_generic.h"
#include "test_support.h"

#include <sqlite3.h>

#include <string>
#include <vector>

// Every row of a query on the handle's connection as "a|b|c" (NULL as "NULL").
inline std::vector<std::string> AcqQuery(YxProjectDbHandle h, const std::string& sql) {
    std::vector<std::string> rows;
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h).Get();
    sqlite3_stmt* s = nullptr;
    if (!db || sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot prepare: " << sql;
        return rows;
    }
    while (sqlite3_step(s) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(s); ++i) {
            if (i) row += '|';
            const char* t = reinterpret_cast<const char*>(sqlite3_column_text(s, i));
            row += t ? t : "NULL";
        }
        rows.push_back(row);
    }
    sqlite3_finalize(s);
    return rows;
}

inline std::string AcqOne(YxProjectDbHandle h, const std::string& sql) {
    const std::vector<std::string> rows = AcqQuery(h, sql);
    return rows.empty() ? std::string("<none>") : rows.front();
}

class AcqDbTest : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.File("acq.gnrdb");
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(path));
        h = YxProjectDb_Db_Jobs_Connect(path);
        ASSERT_NE(0u, h);
        SYxProjectDbRow_project proj;
        proj.wszName = L"P";
        proj.wszFolderName = L"P";
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, proj, &projKey));
        SYxProjectDbRow_jobdef def;
        def.iProjKeyRef = projKey;
        def.wszName = L"D";
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, def, &jobdefKey));
        SYxProjectDbRow_jobprogram prog;
        prog.iJobdefKeyRef = jobdefKey;
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, prog, &programKey));
        SYxProjectDbRow_jobtask task;
        task.iJobprogramKeyRef = programKey;
        task.wszName = L"acquire";
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, task, &taskKey));
        runKey = AddRun(L"run1");
        runKey2 = AddRun(L"run2");
    }
    void TearDown() override {
        if (h) YxProjectDb_Db_Disconnect(h);
    }
    std::int64_t AddRun(const wchar_t* folder) {
        SYxProjectDbRow_jobrun run;
        run.iProjKeyRef = projKey;
        run.iJobdefKeyRef = jobdefKey;
        run.iJobprogramKeyRef = programKey;
        run.wszFolderName = folder;
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(h, run, &key));
        return key;
    }
    std::int64_t AddPropdef(const wchar_t* feature, int entity = 1) {
        SYxProjectDbRow_propdef def;
        def.iType = 1;
        def.wszFeatureName = feature;
        def.iOnEntity = entity;
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(h, def, &key));
        return key;
    }
    std::int64_t Count(const std::string& table, const std::string& where = "1") {
        return std::stoll(AcqOne(h, "SELECT count(*) FROM " + table + " WHERE " + where));
    }

    CYxTempDir dir;
    CYxStringW path;
    YxProjectDbHandle h = 0;
    std::int64_t projKey = 0, jobdefKey = 0, programKey = 0, taskKey = 0, runKey = 0, runKey2 = 0;
    // A handle that names no connection.
    static constexpr YxProjectDbHandle kNoHandle = 0x7FFF0000DEADull;
};
