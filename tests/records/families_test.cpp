// Projects, definitions, programs and runs: folders on disk, the kept
// oddities of some statements, and the listed edge cases.
#include "records_fixture.h"

#include <chrono>
#include <thread>

#include "framework/yxfilesystem.h"
#include "framework/yxlitevariant.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/records_project.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

#include <cwctype>
#include <fstream>
#include <set>

TEST_F(CYxRecordsTest, ProjectFoldersExistAsStoredAndBusyFoldersGetANewName) {
    const CYxStringW root = YxProjectDb_Db_ProjectRootFolder(m_h);
    ASSERT_FALSE(root.IsEmpty());
    std::int64_t k1 = 0, k2 = 0, k3 = 0;
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"First", L"d", L"Alpha", &k1));
    SYxProjectDbRow_project p{};
    ASSERT_EQ(0, YxProjectDb_Proj_GetOne(m_h, k1, p));
    EXPECT_EQ(L"Alpha", p.wszFolderName);
    EXPECT_TRUE(YxFs_IsDirectory(root + p.wszFolderName));

    // A folder holding a file gets a sibling name; the stored name is the new one.
    { std::ofstream(YxFs_NativeUtf8(root + L"Alpha/image.tif")) << "x"; }
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"Second", L"d", L"Alpha", &k2));
    SYxProjectDbRow_project p2{};
    ASSERT_EQ(0, YxProjectDb_Proj_GetOne(m_h, k2, p2));
    EXPECT_EQ(L"Alpha (2)", p2.wszFolderName);
    EXPECT_TRUE(YxFs_IsDirectory(root + p2.wszFolderName));

    // An existing empty folder is reused under its own name.
    ASSERT_EQ(0, YxFs_CreateDirectories(root + L"Empty"));
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"Third", L"d", L"Empty", &k3));
    SYxProjectDbRow_project p3{};
    ASSERT_EQ(0, YxProjectDb_Proj_GetOne(m_h, k3, p3));
    EXPECT_EQ(L"Empty", p3.wszFolderName);

    // Deleting a project leaves its folder and definitions.
    std::int64_t def = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, k1, 0, 0, L"D", L"", 0, nullptr, &def));
    ASSERT_EQ(0, YxProjectDb_Proj_Delete(m_h, k1));
    EXPECT_TRUE(YxFs_IsDirectory(root + L"Alpha"));
    EXPECT_EQ(1, Count(L"jobdef"));
    EXPECT_FALSE(YxProjectDb_Proj_IsExisting(m_h, k1));
    EXPECT_EQ(2, YxProjectDb_Proj_GetCount(m_h));
}

TEST_F(CYxRecordsTest, UuidListsKeepOrderAndExactValuesAndTakeAnyNumberOfUuids) {
    std::int64_t p[3] = {};
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, CYxStringW::Format(L"P%d", i), L"", CYxStringW::Format(L"P%d", i),
                                             &p[i]));
    std::vector<CYxStringW> all;
    ASSERT_EQ(0, YxProjectDb_Proj_GetAllUuuids(m_h, all));
    ASSERT_EQ(3u, all.size());

    // More job definitions than SQLite takes terms in one expression.
    std::vector<SYxProjectDbRow_jobdef> defs;
    std::vector<CYxStringW> defUuids;
    for (int i = 0; i < 2500; ++i) {
        SYxProjectDbRow_jobdef d{};
        d.iProjKeyRef = p[i % 2];  // the third project has none
        d.wszUuid = CYxStringW::Format(L"def-%05d", i);
        d.wszName = CYxStringW::Format(L"n%05d", i);
        defs.push_back(d);
        defUuids.push_back(d.wszUuid);
    }
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, defs));
    SYxProjectDbRow_project p0{}, p1{};
    ASSERT_EQ(0, YxProjectDb_Proj_GetOne(m_h, p[0], p0));
    ASSERT_EQ(0, YxProjectDb_Proj_GetOne(m_h, p[1], p1));

    // A value already out is not repeated; one differing in case is another value.
    CYxStringW upper = p1.wszUuid;
    for (wchar_t& c : upper.str()) c = static_cast<wchar_t>(std::towupper(c));
    std::vector<CYxStringW> projUuids{p0.wszUuid, upper};
    ASSERT_EQ(0, YxProjectDb_Proj_getUUIDFromJobDefUUIDs(m_h, defUuids, projUuids));
    EXPECT_EQ((std::vector<CYxStringW>{p0.wszUuid, upper, p1.wszUuid}), projUuids);

    std::vector<CYxStringW> again{all[1]};
    ASSERT_EQ(0, YxProjectDb_Proj_GetAllUuuids(m_h, again));
    ASSERT_EQ(3u, again.size());
    EXPECT_EQ(all[1], again[0]);
    EXPECT_EQ(std::set<CYxStringW>(all.begin(), all.end()), std::set<CYxStringW>(again.begin(), again.end()));

    std::vector<CYxStringW> ofP0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetAllUuuids(m_h, p0.wszUuid, ofP0));
    ASSERT_EQ(1250u, ofP0.size());
    EXPECT_EQ(L"def-00000", ofP0.front());  // ordered by name
    EXPECT_EQ(L"def-02498", ofP0.back());
}

TEST_F(CYxRecordsTest, ProjectLatestIsTheLastModifiedAndUuidListsHoldEachOnce) {
    std::int64_t a = 0, b = 0;
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"A", L"", L"A", &a));
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"B", L"", L"B", &b));
    std::this_thread::sleep_for(std::chrono::milliseconds(5));  // times have millisecond resolution
    ASSERT_EQ(0, YxProjectDb_Proj_Update(m_h, a, L"A2", L"changed"));
    EXPECT_EQ(a, YxProjectDb_Proj_GetLatest(m_h));

    SYxProjectDbRow_project pa{};
    ASSERT_EQ(0, YxProjectDb_Proj_GetOne(m_h, a, pa));
    std::int64_t d1 = 0, d2 = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, a, 0, 0, L"x", L"", 0, nullptr, &d1));
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, a, 0, 0, L"y", L"", 0, nullptr, &d2));
    SYxProjectDbRow_jobdef r1{}, r2{};
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetOne(m_h, d1, r1));
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetOne(m_h, d2, r2));
    std::vector<CYxStringW> projUuids;
    ASSERT_EQ(0, YxProjectDb_Proj_getUUIDFromJobDefUUIDs(m_h, {r1.wszUuid, r2.wszUuid}, projUuids));
    ASSERT_EQ(1u, projUuids.size());
    EXPECT_EQ(pa.wszUuid, projUuids[0]);
    std::vector<CYxStringW> defUuids;
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetAllUuuids(m_h, pa.wszUuid, defUuids));
    EXPECT_EQ((std::vector<CYxStringW>{r1.wszUuid, r2.wszUuid}), defUuids);

    CYxStringW unique;
    EXPECT_TRUE(YxProjectDb_Proj_IsNameUnique(m_h, L"New", unique));
    EXPECT_FALSE(YxProjectDb_Proj_IsNameUnique(m_h, L"B", unique));
    EXPECT_NE(L"B", unique);
    EXPECT_FALSE(unique.IsEmpty());
}

TEST_F(CYxRecordsTest, KeptStatementOddities) {
    std::int64_t proj = 0, tag = 0;
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"P", L"", L"P", &proj));
    SYxProjectDbRow_tagdef t{0, 0, 0, L"t", L""};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, t, &tag));
    ASSERT_EQ(0, YxProjectDb_Projtag_Insert(m_h, proj, tag));
    std::int64_t ignored = 5;
    EXPECT_EQ(0, YxProjectDb_Projtag_InsertOrIgnore(m_h, proj, tag, &ignored));
    EXPECT_EQ(0, ignored);
    bool exists = true;
    EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Projtag_Exists(m_h, proj, tag, exists));
    EXPECT_FALSE(exists);

    std::int64_t key = 5;
    EXPECT_NE(0, YxProjectDb_Jobuser_Insert(m_h, L"u", L"p", &key));
    EXPECT_EQ(0, key);
    EXPECT_EQ(0, Count(L"jobuser"));
    SYxProjectDbMap_oldToNew m1, m2;
    ASSERT_EQ(0, YxProjectDb_Jobuser_UpdateOrInsert(m_h, L"u", L"p", m1));
    ASSERT_NE(0, m1.iOldKey);
    ASSERT_EQ(0, YxProjectDb_Jobuser_UpdateOrInsert(m_h, L"u", L"p2", m2));
    EXPECT_EQ(m1.iOldKey, m2.iOldKey);
    SYxProjectDbRow_jobuser user{};
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Jobuser_GetOne(m_h, L"u", L"p", user));
    EXPECT_EQ(0, YxProjectDb_Jobuser_GetOne(m_h, L"u", L"p2", user));
    EXPECT_EQ(m1.iOldKey, user.iKey);

    // Last unfinished: flags exactly 1 only.
    const std::int64_t running = AddRun(1);
    AddRun(3);
    SYxProjectDbRow_jobrun last{};
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetLastUnfinished(m_h, last));
    EXPECT_EQ(running, last.iKey);
}

TEST_F(CYxRecordsTest, DefinitionStateMarksAndClassState) {
    std::int64_t def = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, 0, 1, 0, L"D", L"", 0, nullptr, &def));
    SYxProjectDbRow_jobdef before{};
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetOne(m_h, def, before));
    ASSERT_EQ(0, YxProjectDb_Jobdef_UpdateState(m_h, def, 7));
    SYxProjectDbRow_jobdef after{};
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetOne(m_h, def, after));
    EXPECT_EQ(7, after.iState);
    EXPECT_EQ(before.dMTime, after.dMTime);
    // Times have millisecond resolution: let the clock move on.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_EQ(0, YxProjectDb_Jobdef_Update(m_h, def, 8, 1, L"D2", L"x", 2, nullptr));
    ASSERT_EQ(0, YxProjectDb_Jobdef_GetOne(m_h, def, after));
    EXPECT_GT(after.dMTime, before.dMTime);
    EXPECT_EQ(L"D2", after.wszName);

    std::int64_t k1 = 0, k2 = 9;
    ASSERT_EQ(0, YxProjectDb_TaskListjobdef_Insert(m_h, def, &k1));
    EXPECT_NE(0, k1);
    EXPECT_EQ(0, YxProjectDb_TaskListjobdef_Insert(m_h, def, &k2));
    EXPECT_EQ(0, k2);
    EXPECT_EQ(1, Count(L"tasklistjobdef"));
    EXPECT_TRUE(YxProjectDb_TaskListjobdef_Exists(m_h, def));
    ASSERT_EQ(0, YxProjectDb_TaskListjobdef_Delete(m_h, def));
    EXPECT_FALSE(YxProjectDb_TaskListjobdef_Exists(m_h, def));

    SYxProjectDbJobTaskState s1(1, 2, L"first", CYxByteArray("a", 1), {}, {});
    SYxProjectDbJobTaskState s2(3, 4, L"second", CYxByteArray("bb", 2), {}, {});
    ASSERT_EQ(0, YxProjectDb_Jobclasslaststate_InsertOrUpdate(m_h, L"cls", s1));
    ASSERT_EQ(0, YxProjectDb_Jobclasslaststate_InsertOrUpdate(m_h, L"cls", s2));
    EXPECT_EQ(1, Count(L"jobclasslaststate"));
    SYxProjectDbJobTaskState got;
    ASSERT_EQ(0, YxProjectDb_Jobclasslaststate_GetOne(m_h, L"cls", got));
    EXPECT_EQ(3, got.iVersion);
    EXPECT_EQ(L"second", got.wszName);
    EXPECT_EQ(CYxByteArray("bb", 2), got.pData);
    SYxProjectDbJobTaskState untouched;
    untouched.iVersion = 42;
    EXPECT_EQ(0, YxProjectDb_Jobclasslaststate_GetOne(m_h, L"unknown", untouched));
    EXPECT_EQ(42, untouched.iVersion);
}

TEST_F(CYxRecordsTest, ProgramsTasksAndProperties) {
    std::int64_t def = 0, older = 0, newer = 0;
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, 0, 0, 0, L"D", L"", 0, nullptr, &def));
    ASSERT_EQ(0, YxProjectDb_Jobprogram_Insert(m_h, def, L"old", nullptr, L"u1", 100.0, &older));
    ASSERT_EQ(0, YxProjectDb_Jobprogram_Insert(m_h, def, L"new", nullptr, L"u2", 50.0, &newer));
    SYxProjectDbJobTaskState s;
    s.iState = 1;
    s.wszName = L"acquire";
    ASSERT_EQ(0, YxProjectDb_Jobtask_Insert(m_h, older, 0, 0, 0, L"C", s, nullptr));
    s.iState = 2;
    s.wszName = L"analyse";
    ASSERT_EQ(0, YxProjectDb_Jobtask_Insert(m_h, older, 0, 0, 1, L"C", s, nullptr));
    s.iState = 8;
    s.wszName = L"acquire";
    ASSERT_EQ(0, YxProjectDb_Jobtask_Insert(m_h, newer, 0, 0, 0, L"C", s, nullptr));

    // Latest by time is the older key; the task-state OR takes the highest key.
    SYxProjectDbRow_jobprogram latest{};
    ASSERT_EQ(0, YxProjectDb_Jobprogram_GetLatest(m_h, def, latest));
    EXPECT_EQ(older, latest.iKey);
    int state = -1;
    ASSERT_EQ(0, YxProjectDb_Jobprogram_GetLatestTaskStateoOr(m_h, def, state));
    EXPECT_EQ(8, state);

    std::map<std::int64_t, std::int64_t> map;
    ASSERT_EQ(0, YxProjectDb_Jobtask_GetOldToNewMap(m_h, older, newer, map));
    ASSERT_EQ(1u, map.size());
    CYxStringW lu;
    ASSERT_EQ(0, YxProjectDb_Jobtask_CreateOldToNewLookupTable(m_h, older, newer, lu));
    EXPECT_EQ(1, YxSqlite_ReadOneInt64(Db(), CYxStringW::Format(L"SELECT count(*) FROM %s", lu)));

    // Tasks of no program: found with 0; the clean-up spares negative orders.
    s.wszName = L"loose";
    ASSERT_EQ(0, YxProjectDb_Jobtask_Insert(m_h, 0, 0, 0, 3, L"C", s, nullptr));
    ASSERT_EQ(0, YxProjectDb_Jobtask_Insert(m_h, 0, 0, 0, -1, L"C", s, nullptr));
    std::vector<SYxProjectDbRow_jobtask> loose;
    ASSERT_EQ(0, YxProjectDb_Jobtask_GetMany(m_h, 0, loose));
    EXPECT_EQ(2u, loose.size());
    ASSERT_EQ(0, YxProjectDb_Jobtask_DeleteUnreferenced(m_h));
    loose.clear();
    ASSERT_EQ(0, YxProjectDb_Jobtask_GetMany(m_h, 0, loose));
    ASSERT_EQ(1u, loose.size());
    EXPECT_EQ(-1, loose[0].iOrder);

    // Properties: replace one entry, keep the others.
    CYxByteArray none;
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Jobprogram_GetProperty(m_h, older, L"a", none));
    std::vector<SYxProjectDbRow_jobprogram::_property> props(2);
    props[0].name = L"a";
    props[0].wszValue = L"one";
    props[1].name = L"b";
    props[1].bIsBytes = true;
    props[1].pValue = CYxByteArray("\x01\x02", 2);
    ASSERT_EQ(0, YxProjectDb_Jobprogram_InsertOrUpdateProperties(m_h, older, props));
    ASSERT_EQ(0, YxProjectDb_Jobprogram_InsertOrUpdateProperties(m_h, older, {}));
    std::vector<SYxProjectDbRow_jobprogram::_property> change(1);
    change[0].name = L"a";
    change[0].wszValue = L"two";
    ASSERT_EQ(0, YxProjectDb_Jobprogram_InsertOrUpdateProperties(m_h, older, change));
    CYxStringW text;
    ASSERT_EQ(0, YxProjectDb_Jobprogram_GetProperty(m_h, older, L"a", text));
    EXPECT_EQ(L"two", text);
    CYxByteArray bytes;
    ASSERT_EQ(0, YxProjectDb_Jobprogram_GetProperty(m_h, older, L"b", bytes));
    EXPECT_EQ(CYxByteArray("\x01\x02", 2), bytes);
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Jobprogram_GetProperty(m_h, older, L"c", text));

    // Enumeration values of property definitions, in batches.
    std::vector<SYxProjectDbJobpropdefValues> defs(1);
    defs[0].def.wszPropkey = L"mode";
    for (int i = 0; i < 250; ++i) defs[0].values.push_back(CYxStringW::Format(L"v%d", i));
    ASSERT_EQ(0, YxProjectDb_Jobpropdef_SetAll(m_h, older, defs));
    ASSERT_NE(0, defs[0].def.iKey);
    std::vector<SYxProjectDbRow_jobpropenumvalue> values;
    ASSERT_EQ(0, YxProjectDb_Jobpropenumvalue_GetAll(m_h, defs[0].def.iKey, values));
    ASSERT_EQ(250u, values.size());
    EXPECT_EQ(L"v249", values.back().wszPropenumvalue);
}

TEST_F(CYxRecordsTest, RunFoldersInBothFormatsExistAsStored) {
    std::int64_t proj = 0, def = 0;
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(m_h, L"P", L"", L"Proj", &proj));
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(m_h, proj, 0, 0, L"My def", L"", 0, nullptr, &def));
    const CYxStringW projPath = YxProjectDb_Proj_MakeAbsPath(m_h, L"Proj");

    ASSERT_EQ(0, YxProjectDb_Db_SetOptInt32(m_h, L"folderformat", 1));
    SYxProjectDbRow_jobrun run{};
    CYxStringW path;
    ASSERT_EQ(0, YxProjectDb_Jobrun_Insert(m_h, proj, projPath, def, 0, 1, L"Run 1", L"", &run, &path));
    EXPECT_TRUE(run.wszFolderName.StartsWith(L"My_def\\"));
    EXPECT_TRUE(YxFs_IsDirectory(path));
    CYxStringW again;
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetAbsPath(m_h, run.iKey, again));
    EXPECT_EQ(path, again);
    EXPECT_EQ(run.dCTime, run.dMTime);

    ASSERT_EQ(0, YxProjectDb_Db_SetOptInt32(m_h, L"folderformat", 0));
    SYxProjectDbRow_jobrun run2{};
    CYxStringW path2;
    ASSERT_EQ(0, YxProjectDb_Jobrun_Insert(m_h, proj, projPath, def, 0, 1, L"Run 2", L"", &run2, &path2));
    EXPECT_TRUE(run2.wszFolderName.EndsWith(L"__Run_2"));
    EXPECT_TRUE(YxFs_IsDirectory(path2));
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetAbsPath(m_h, run2.iKey, again));
    EXPECT_EQ(path2, again);

    { std::ofstream(YxFs_NativeUtf8(path2 + L"a.bin")) << "12345"; }
    std::uint64_t size = 0;
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetImagesSize(m_h, run2.iKey, size));
    EXPECT_EQ(5u, size);
    ASSERT_EQ(0, YxProjectDb_Jobrun_DeleteFolder(m_h, run2.iKey));
    EXPECT_FALSE(YxFs_Exists(path2));
    EXPECT_EQ(2, YxProjectDb_Jobrun_CountForJobdef(m_h, def));
}

TEST_F(CYxRecordsTest, RemoveRunningFlagRepairsCrashedRuns) {
    const std::int64_t withFrames = AddRun(1 | 256);
    const std::int64_t noFrames = AddRun(1);
    const std::int64_t finished = AddRun(2);
    SYxProjectDbRow_file file{};
    file.iJobrunKeyRef = withFrames;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, file, nullptr));
    std::vector<SYxProjectDbRow_frame> frames = {{0, withFrames, 0, 0, 100.0, file.iKey, 0},
                                                 {0, withFrames, 0, 1, 250.0, file.iKey, 1}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, frames));
    ASSERT_EQ(0, YxProjectDb_Jobrun_RemoveRunningFlag(m_h));

    SYxProjectDbRow_jobrun r{};
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, withFrames, r));
    EXPECT_EQ(256 | 4, r.iFinishFlags);
    EXPECT_EQ(250.0, r.dFTime);
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, noFrames, r));
    EXPECT_EQ(4, r.iFinishFlags);
    EXPECT_EQ(1, Count(L"jobrun", CYxStringW::Format(L"iKey=%I64d AND dFTime IS NULL", noFrames)));
    ASSERT_EQ(0, YxProjectDb_Jobrun_GetOne(m_h, finished, r));
    EXPECT_EQ(2, r.iFinishFlags);
    EXPECT_EQ(0, Count(L"jobrun", L"bitwiseand(iFinishFlags,1)=1"));
    EXPECT_EQ(1, Count(L"file", L"iFrameCount=2"));
    bool running = true;
    ASSERT_EQ(0, YxProjectDb_Jobrun_IsRunning(m_h, r.wszUuid, running));
    EXPECT_FALSE(running);
}
