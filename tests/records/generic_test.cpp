// The common record operations on a real database: look-ups, appends,
// uuid deletes, quotes in spliced texts, and the busy-retrying many-insert
// against a second process that holds the database.
#include "records_fixture.h"

#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"

#include <sqlite3.h>

#include <chrono>
#include <set>

TEST_F(CYxRecordsTest, LookupsLeaveRecordUntouchedAndSequencesAreAppended) {
    SYxProjectDbRow_tagdef tag{0, 1, 0xff, L"red", L"d"};
    std::int64_t key = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, tag, &key));
    ASSERT_NE(0, key);
    EXPECT_EQ(key, tag.iKey);

    SYxProjectDbRow_tagdef miss{};
    miss.wszName = L"keep";
    EXPECT_EQ(0, YxProjectDb_Row_GetOne(m_h, key + 100, miss));
    EXPECT_EQ(0, miss.iKey);
    EXPECT_EQ(L"keep", miss.wszName);

    SYxProjectDbRow_jobdef def{};
    def.wszName = L"keep";
    EXPECT_EQ(0, YxProjectDb_Jobdef_GetOne(m_h, L"nosuchuuid", def));
    EXPECT_EQ(L"keep", def.wszName);

    std::vector<SYxProjectDbRow_tagdef> rows(2);
    EXPECT_EQ(0, YxProjectDb_Row_GetAll(m_h, rows));
    ASSERT_EQ(3u, rows.size());
    EXPECT_EQ(L"red", rows[2].wszName);
    EXPECT_EQ(0xff, rows[2].iColor);
}

TEST(RowRecords, JobdefValueConstructorTakesDefTypeAndUsabilityLast) {
    const CYxByteArray usability(std::vector<std::uint8_t>{1, 2, 3});
    const SYxProjectDbRow_jobdef r(11, 22, 3, 4, 5.5, 6.5, CYxStringW(L"id"), CYxStringW(L"name"),
                                   CYxStringW(L"desc"), 7, usability);
    EXPECT_EQ(11, r.iKey);
    EXPECT_EQ(22, r.iProjKeyRef);
    EXPECT_EQ(3, r.iState);
    EXPECT_EQ(4, r.iProgress);
    EXPECT_EQ(5.5, r.dCTime);
    EXPECT_EQ(6.5, r.dMTime);
    EXPECT_EQ(L"id", r.wszUuid);
    EXPECT_EQ(L"name", r.wszName);
    EXPECT_EQ(L"desc", r.wszDesc);
    EXPECT_EQ(7, r.iDefType);
    EXPECT_EQ(usability, r.pUsability);

    const SYxProjectDbRow_jobdef empty;
    EXPECT_EQ(0, empty.iKey);
    EXPECT_EQ(0, empty.iDefType);
    EXPECT_TRUE(empty.wszName.IsEmpty());
}

TEST_F(CYxRecordsTest, TaskListRecordAndProgramPropertyKeepTheirNames) {
    std::int64_t def = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, 0, 0, 0, L"n", L"d", 0, nullptr, &def));
    ASSERT_EQ(0, YxProjectDb_TaskListjobdef_Insert(m_h, def));
    std::vector<SYxProjectDbRow_taskListjobdef> marks;
    ASSERT_EQ(0, YxProjectDb_TaskListjobdef_GetManyReferencingJobdef(m_h, def, marks));
    ASSERT_EQ(1u, marks.size());
    EXPECT_EQ(def, marks[0].iJobdefKeyRef);

    std::int64_t prog = 0;
    ASSERT_EQ(0, YxProjectDb_Jobprogram_Insert(m_h, def, L"s", nullptr, &prog));
    SYxProjectDbRow_jobprogram::_property p;
    p.name = L"k";
    p.wszValue = L"v";
    ASSERT_EQ(0, YxProjectDb_Jobprogram_InsertOrUpdateProperties(m_h, prog, {p}));
    CYxStringW back;
    ASSERT_EQ(0, YxProjectDb_Jobprogram_GetProperty(m_h, prog, L"k", back));
    EXPECT_EQ(L"v", back);
}

TEST_F(CYxRecordsTest, InsertWritesZeroReferencesAsNullAndStampsUuidAndTimes) {
    SYxProjectDbRow_jobdef def{};
    def.wszName = L"d";
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, def, nullptr));
    EXPECT_EQ(32u, def.wszUuid.GetLength());
    EXPECT_GT(def.dCTime, 2400000.0);
    EXPECT_EQ(def.dCTime, def.dMTime);
    EXPECT_EQ(1, Count(L"jobdef", L"iProjKeyRef IS NULL"));
    SYxProjectDbRow_jobdef back{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, def.iKey, back));
    EXPECT_EQ(def.wszUuid, back.wszUuid);
    EXPECT_EQ(def.dCTime, back.dCTime);
}

TEST_F(CYxRecordsTest, DeleteManyByUuidDeletesExactlyTheListedRowsAndTheConstantOne) {
    std::vector<CYxStringW> uuids;
    for (const wchar_t* u : {L"a1", L"a2", L"a3", L"kvuli_carce"}) {
        std::int64_t key = 0;
        ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, 0, 0, 0, u, L"n", L"d", 0, 1.0, 1.0, nullptr, &key));
        ASSERT_NE(0, key);
    }
    EXPECT_EQ(0, YxProjectDb_Jobdef_DeleteMany(m_h, nullptr));
    std::vector<CYxStringW> none;
    EXPECT_EQ(0, YxProjectDb_Jobdef_DeleteMany(m_h, &none));
    EXPECT_EQ(4, Count(L"jobdef"));
    uuids = {L"a1", L"a3"};
    EXPECT_EQ(0, YxProjectDb_Jobdef_DeleteMany(m_h, &uuids));
    EXPECT_EQ(0, Count(L"jobdef", L"wszUuid IN ('a1','a3')"));
    // The list always holds the constant element, so a row carrying it goes too.
    EXPECT_EQ(0, Count(L"jobdef", L"wszUuid='kvuli_carce'"));
    EXPECT_EQ(1, Count(L"jobdef", L"wszUuid='a2'"));
}

TEST_F(CYxRecordsTest, QuotesInSplicedTextsFailWithSqliteStatusAndChangeNothing) {
    std::int64_t defKey = 0, progKey = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, 0, 0, 0, L"it", L"d", 0, nullptr, &defKey));
    ASSERT_EQ(0, YxProjectDb_Jobprogram_Insert(m_h, defKey, L"s", &progKey));
    ASSERT_EQ(0, YxProjectDb_Jobpropdef_InsertOrUpdate(m_h, progKey, L"k", 1.0, 0, 0, {L"x"}, 0, nullptr));
    const std::int64_t defs = Count(L"jobdef"), propdefs = Count(L"jobpropdef");

    SYxProjectDbRow_jobdef row{};
    row.iKey = 5;
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobdef_GetOne(m_h, L"it's", row));
    EXPECT_EQ(5, row.iKey);
    std::vector<SYxProjectDbRow_jobdef> rows;
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobdef_GetOneOrMany(m_h, L"it's", rows));
    EXPECT_TRUE(rows.empty());
    std::vector<CYxStringW> uuids = {L"x'y"};
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobdef_DeleteMany(m_h, &uuids));
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Jobpropdef_Delete(m_h, progKey, L"k'"));
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Table_DeleteByParent(m_h, L"jobdef", L"no'column", 1));
    EXPECT_EQ(defs, Count(L"jobdef"));
    EXPECT_EQ(propdefs, Count(L"jobpropdef"));
    // Bound values take any text.
    SYxProjectDbRow_tagdef tag{0, 0, 0, L"it's", L""};
    EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, tag, nullptr));
    EXPECT_NE(0, tag.iKey);
}

TEST_F(CYxRecordsTest, InsertManyEmptyIsNoOpAndSetsEveryKey) {
    std::vector<SYxProjectDbRow_qualstr> none;
    EXPECT_EQ(0, YxProjectDb_Row_InsertMany(m_h, none));
    std::vector<SYxProjectDbRow_qualstr> rows = {{0, L"a"}, {0, L"b"}, {0, L"c"}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, rows));
    for (const auto& r : rows) {
        SYxProjectDbRow_qualstr back{};
        ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, r.iKey, back));
        EXPECT_EQ(r.wszName, back.wszName);
    }
    // A unique conflict fails the plain form; the replace form takes it.
    std::vector<SYxProjectDbRow_qualstr> again = {{0, L"a"}};
    EXPECT_NE(0, YxProjectDb_Row_InsertMany(m_h, again));
    EXPECT_EQ(0, YxProjectDb_Row_InsertOrReplaceMany(m_h, again));
    EXPECT_NE(0, again[0].iKey);
    EXPECT_EQ(3, Count(L"qualstr"));
}

TEST_F(CYxRecordsTest, InsertManyWaitsOutAnotherProcessAndStoresEveryRowOnce) {
    // Busy answers must reach the retry loop quickly instead of waiting in
    // SQLite's own busy handler.
    sqlite3_busy_timeout(Db(), 20);
    CYxTestProcess locker;
    ASSERT_TRUE(locker.Start(YxTest_HelperPath(), {"lock", m_dir.FileUtf8("jobs.db"), "1200"}));
    ASSERT_TRUE(locker.WaitForLine("locked"));

    std::vector<SYxProjectDbRow_tagdef> rows;
    for (int i = 0; i < 300; ++i)
        rows.push_back(SYxProjectDbRow_tagdef{0, i, 0, CYxStringW::Format(L"tag%d", i), L""});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, YxProjectDb_Row_InsertMany(m_h, rows));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(0, locker.Wait());
    EXPECT_GE(waited, std::chrono::milliseconds(500)) << "the insert did not meet the lock";

    EXPECT_EQ(300, Count(L"tagdef"));
    std::set<std::int64_t> keys;
    for (const auto& r : rows) {
        SYxProjectDbRow_tagdef back{};
        ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, r.iKey, back));
        EXPECT_EQ(r.wszName, back.wszName);
        EXPECT_EQ(r.iType, back.iType);
        keys.insert(r.iKey);
    }
    EXPECT_EQ(300u, keys.size());
}

TEST_F(CYxRecordsTest, UpdateAndDeleteThroughTheGenericFamily) {
    SYxProjectDbRow_graphsettings g{0, L"g1", L"d", 0.0, 0.0, CYxByteArray("ab", 2)};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, g, nullptr));
    const double created = g.dMTime;
    g.wszDesc = L"changed";
    g.dCTime = 0.0;
    ASSERT_EQ(0, YxProjectDb_Row_Update(m_h, g));
    SYxProjectDbRow_graphsettings back{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, g.iKey, back));
    EXPECT_EQ(L"changed", back.wszDesc);
    EXPECT_GE(back.dMTime, created);
    EXPECT_EQ(CYxByteArray("ab", 2), back.pData);
    EXPECT_EQ(0, YxProjectDb_Row_Delete(m_h, g.iKey, &g));
    EXPECT_EQ(0, Count(L"graphsettings"));
}

TEST_F(CYxRecordsTest, SplicedTextsCannotRunASecondStatement) {
    std::int64_t key = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, 0, 0, 0, L"u1", L"n", L"d", 0, 1.0, 1.0, nullptr, &key));
    // A crafted uuid closes the list and appends a statement of its own.
    std::vector<CYxStringW> uuids = {L"u1') ; DROP TABLE frame; --"};
    EXPECT_NE(0, YxProjectDb_Jobdef_DeleteMany(m_h, &uuids));
    EXPECT_EQ(1, Count(L"jobdef"));
    EXPECT_TRUE(YxProjectDb_Db_HasTable(m_h, L"frame"));
}
