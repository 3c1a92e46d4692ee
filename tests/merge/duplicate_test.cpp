// The per-table copies: one run, one table's rows under another parent,
// caller-given key maps, and what they refuse.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/merge.h"
#include "merge_fixture.h"

#include <sqlite3.h>

namespace {

std::int64_t Scalar(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* s = nullptr;
    std::int64_t v = -1;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) == SQLITE_OK && sqlite3_step(s) == SQLITE_ROW)
        v = sqlite3_column_int64(s, 0);
    else
        ADD_FAILURE() << sqlite3_errmsg(db) << ": " << sql;
    sqlite3_finalize(s);
    sqlite3_close(db);
    return v;
}

class Duplicate : public ::testing::Test {
protected:
    void SetUp() override {
        src = MergeTest_MakeDemo(dir.Path() + "/acq", 2);
        dst = MergeTest_MakeDemo(dir.Path() + "/dst", 1);
        o.hSource = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(src));
        o.hTarget = YxProjectDb_Db_Jobs_Connect(CYxStringW::FromUtf8(dst));
        ASSERT_NE(0u, o.hSource);
        ASSERT_NE(0u, o.hTarget);
        srcRun = Scalar(src, "SELECT max(iKey) FROM jobrun");
        dstRun = Scalar(dst, "SELECT max(iKey) FROM jobrun");
    }
    void TearDown() override {
        YxProjectDb_Db_Disconnect(o.hSource);
        YxProjectDb_Db_Disconnect(o.hTarget);
    }
    CYxTempDir dir;
    std::string src, dst;
    SYxProjectDbMerge_DuplicateOptions o;
    std::int64_t srcRun = 0, dstRun = 0;
};

}  // namespace

TEST_F(Duplicate, OneRunIntoAnotherProject) {
    const std::int64_t dstProj = Scalar(dst, "SELECT max(iKey) FROM project");
    const std::int64_t projects = Scalar(dst, "SELECT count(*) FROM project");
    std::int64_t newKey = 0;
    ASSERT_EQ(0, YxProjectDb_Jobrun_DuplicateOne(o, srcRun, dstProj, &newKey));
    ASSERT_NE(0, newKey);
    const std::string k = std::to_string(newKey);
    EXPECT_EQ(dstProj, Scalar(dst, "SELECT iProjKeyRef FROM jobrun WHERE iKey = " + k));
    EXPECT_EQ(projects, Scalar(dst, "SELECT count(*) FROM project"));
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + std::to_string(srcRun)),
              Scalar(dst, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + k));
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM frameprop WHERE iJobrunKeyRef = " + std::to_string(srcRun)),
              Scalar(dst, "SELECT count(*) FROM frameprop WHERE iJobrunKeyRef = " + k));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) FROM jobrun WHERE iKey = " + k + " AND wszUuid = '" +
                                 MergeTest_Text(src, "SELECT wszUuid FROM jobrun WHERE iKey = " + std::to_string(srcRun)) + "'"));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) = 0 FROM pragma_foreign_key_check"));
    // The frame-property trigger is still in place after the bulk copy.
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) FROM sqlite_master WHERE name = 'framepropConstraitTrigger'"));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Jobrun_DuplicateOne(o, 424242, dstProj, &newKey));
}

TEST_F(Duplicate, FramesOntoAnotherRunThroughGivenMaps) {
    // Map every task of the source run's frames to one task of the target,
    // and leave files unmapped (written as NULL).
    const std::int64_t task = Scalar(dst, "SELECT min(iKey) FROM jobtask");
    std::vector<SYxProjectDbMap_oldToNew> tasks, files;
    {
        sqlite3* db = nullptr;
        sqlite3_open_v2(src.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, "SELECT DISTINCT iJobtaskKeyRef FROM frame WHERE iJobtaskKeyRef IS NOT NULL", -1, &s,
                           nullptr);
        while (sqlite3_step(s) == SQLITE_ROW) tasks.push_back({sqlite3_column_int64(s, 0), task});
        sqlite3_finalize(s);
        sqlite3_close(db);
    }
    ASSERT_FALSE(tasks.empty());
    files.push_back({-1, -1});  // a map that names no frame's file
    const std::int64_t before = Scalar(dst, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + std::to_string(dstRun));
    const std::int64_t added = Scalar(src, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + std::to_string(srcRun));
    // The target run has the same frame indexes already: they are matched,
    // nothing is added. Onto a new, empty run every frame is copied.
    ASSERT_EQ(0, YxProjectDb_Frame_DuplicateMany(o, srcRun, dstRun, tasks, files));
    EXPECT_EQ(before, Scalar(dst, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + std::to_string(dstRun)));
    sqlite3* db = nullptr;
    sqlite3_open_v2(dst.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "INSERT INTO jobrun(wszUuid, wszName) VALUES ('feedfeedfeedfeedfeedfeedfeedfeed', 'empty')",
                                      nullptr, nullptr, nullptr));
    const std::int64_t empty = sqlite3_last_insert_rowid(db);
    sqlite3_close(db);
    ASSERT_EQ(0, YxProjectDb_Frame_DuplicateMany(o, srcRun, empty, tasks, files));
    const std::string e = std::to_string(empty);
    EXPECT_EQ(added, Scalar(dst, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + e));
    EXPECT_EQ(added, Scalar(dst, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + e + " AND iJobtaskKeyRef = " +
                                     std::to_string(task)));
    EXPECT_EQ(0, Scalar(dst, "SELECT count(*) FROM frame WHERE iJobrunKeyRef = " + e + " AND iFileKeyRef IS NOT NULL"));
    // Frame properties follow with their definitions matched, not doubled.
    const std::int64_t defs = Scalar(dst, "SELECT count(*) FROM propdef");
    ASSERT_EQ(0, YxProjectDb_Frameprop_DuplicateMany(o, srcRun, empty));
    EXPECT_EQ(defs, Scalar(dst, "SELECT count(*) FROM propdef"));
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM frameprop WHERE iJobrunKeyRef = " + std::to_string(srcRun)),
              Scalar(dst, "SELECT count(*) FROM frameprop WHERE iJobrunKeyRef = " + e));
}

TEST_F(Duplicate, TasksKeepTheirTreeAndHandBackTheirKeys) {
    const std::int64_t srcProgram = Scalar(src, "SELECT max(iKey) FROM jobprogram");
    const std::int64_t dstProgram = Scalar(dst, "SELECT max(iKey) FROM jobprogram");
    std::vector<SYxProjectDbMap_oldToNew> map;
    SYxProjectDbMerge_DuplicateOptions copy = o;
    copy.eDuplicates = eYxMergeCopyDuplicates;
    ASSERT_EQ(0, YxProjectDb_Jobtask_DuplicateMany(copy, srcProgram, dstProgram, &map));
    const std::int64_t n = Scalar(src, "SELECT count(*) FROM jobtask WHERE iJobprogramKeyRef = " + std::to_string(srcProgram));
    ASSERT_EQ(static_cast<std::size_t>(n), map.size());
    for (const auto& m : map) {
        EXPECT_EQ(dstProgram, Scalar(dst, "SELECT iJobprogramKeyRef FROM jobtask WHERE iKey = " + std::to_string(m.iNewKey)));
        // Same name as the source task; parent task mapped inside the copy.
        EXPECT_EQ(1, Scalar(dst, "SELECT count(*) FROM jobtask WHERE iKey = " + std::to_string(m.iNewKey)));
    }
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM jobtask WHERE iJobtaskKeyRef IS NOT NULL AND iJobprogramKeyRef = " +
                              std::to_string(srcProgram)),
              Scalar(dst, "SELECT count(*) FROM jobtask t JOIN jobtask p ON p.iKey = t.iJobtaskKeyRef WHERE "
                          "t.iJobprogramKeyRef = " + std::to_string(dstProgram) + " AND p.iJobprogramKeyRef = " +
                          std::to_string(dstProgram) + " AND t.iKey > " + std::to_string(map.front().iNewKey - 1)));
}

TEST_F(Duplicate, BadArgumentsChangeNothing) {
    const std::string before = MergeTest_ExactDump(dst);
    std::vector<SYxProjectDbMap_oldToNew> out{{7, 8}};
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Table_DuplicateMany(o, L"nosuchtable", nullptr, 0, 0, {}, &out));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Table_DuplicateMany(o, L"frame", L"iFrameIndex", 1, 2, {}, &out));
    EXPECT_EQ(YXPDB_E_NOCONNECTION,
              YxProjectDb_Table_DuplicateMany(o, L"frame", L"iJobrunKeyRef; DROP TABLE frame", 1, 2, {}, &out));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Table_DuplicateMany(o, L"vesion", nullptr, 0, 0, {}, &out));
    SYxProjectDbMerge_DuplicateOptions none;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Frameprop_DuplicateMany(none, 1, 2));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_RunTable_DuplicateMany(o, nullptr, 1, 2));
    ASSERT_EQ(1u, out.size());
    EXPECT_EQ(before, MergeTest_ExactDump(dst));
}
