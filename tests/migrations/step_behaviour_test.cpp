// The steps whose statements do more than move columns.
#include "migration_test_util.h"

#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrade_steps.h"
#include "gnr_projectdb/upgrades/jobs_history_script.h"

namespace {

class StepBehaviour : public ::testing::Test {
protected:
    std::string FileAt(int version, const SYxMigrationRows& rows = {}) {
        const std::string path = m_dir.FileUtf8(("v" + std::to_string(version) + ".db").c_str());
        std::string error;
        EXPECT_EQ(0, YxMigrationFixture_CreateFile(path, version, rows, &error)) << error;
        return path;
    }
    static bool HasIndex(const CYxTestDb& db, const std::string& name) {
        return db.One("SELECT count(*) FROM sqlite_master WHERE type='index' AND name='" + name + "';") == "1";
    }
    CYxMigrationDir m_dir;
};

TEST_F(StepBehaviour, FourteenJumpsToSixteenAndContinuesWithoutFifteen) {
    const std::string path = FileAt(14);
    std::map<std::string, std::string> before;
    {
        CYxTestDb db(path);
        before = YxMigrationFixture_Schema(db.Get(), true);
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 14));
    {
        CYxTestDb db(path);
        EXPECT_EQ("16", YxTest_Main(db));
        EXPECT_EQ(before, YxMigrationFixture_Schema(db.Get(), true));  // the bump alone
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 16));
    {
        CYxTestDb db(path);
        EXPECT_EQ("17", YxTest_Main(db));
        // 015->016 never ran: the roots are still there.
        EXPECT_EQ("1", db.One("SELECT count(*) FROM sqlite_master WHERE name='jobdefroot';"));
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 17));
    CYxTestDb db(path);
    EXPECT_EQ("0", db.One("SELECT count(*) FROM sqlite_master WHERE name='jobdefroot';"));
    // One program per definition, with its summary.
    EXPECT_EQ(db.Rows("SELECT iKey, 'jobdef.wszSummary.' || iKey FROM jobdef ORDER BY iKey;"),
              db.Rows("SELECT iJobdefKeyRef, wszSummary FROM jobprogram ORDER BY iJobdefKeyRef;"));
}

TEST_F(StepBehaviour, RebuildingAnyTableDropsTheLoopIndexIndexesUntilTheIndexCheck) {
    const std::string path = FileAt(13);
    {
        CYxTestDb db(path);
        ASSERT_TRUE(HasIndex(db, "idx_loopindex_iJobrunKeyRef"));
        // The rename piece of any table names the indexes of loopindex only.
        const CYxStringW piece = YxJobsStep_RenameForRebuild(db.Get(), L"project", L"project_old");
        EXPECT_EQ(CYxStringW(L"ALTER TABLE project RENAME TO project_old;\n"
                             L"DROP INDEX IF EXISTS idx_loopindex_iJobrunKeyRef;\n"),
                  piece);
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 13));  // rebuilds jobdef
    {
        CYxTestDb db(path);
        EXPECT_FALSE(HasIndex(db, "idx_loopindex_iJobrunKeyRef"));
        EXPECT_TRUE(HasIndex(db, "idx_frame_iJobrunKeyRef"));  // other tables keep theirs
        EXPECT_FALSE(HasIndex(db, "idx_jobdef_iProjKeyRef"));  // went with jobdef_old
        EXPECT_EQ("1", db.One("SELECT count(*) FROM sqlite_master WHERE name='sqlite_autoindex_loopindex_1';"));
    }
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Upgrade(m_dir.File("v13.db"), nullptr));
    CYxTestDb db(path);
    EXPECT_TRUE(HasIndex(db, "idx_loopindex_iJobrunKeyRef"));
    EXPECT_TRUE(HasIndex(db, "idx_jobdef_iProjKeyRef"));
}

TEST_F(StepBehaviour, TagColoursFoldBackWithTheHighestColourKeyWinning) {
    const std::string path = FileAt(119);
    {
        CYxTestDb db(path);
        ASSERT_EQ(SQLITE_OK, db.Exec("DELETE FROM tagcolor;"
                                     "INSERT INTO tagcolor (iKey, iTagdefKeyRef, iColor) VALUES (9, 1, 100);"
                                     "INSERT INTO tagcolor (iKey, iTagdefKeyRef, iColor) VALUES (5, 1, 900);"
                                     "INSERT INTO tagcolor (iKey, iTagdefKeyRef, iColor) VALUES (7, 2, 700);"));
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 119));
    CYxTestDb db(path);
    EXPECT_EQ("120", YxTest_Main(db));
    EXPECT_EQ((std::vector<std::string>{"1|100|tagdef.wszName.1", "2|700|tagdef.wszName.2", "3|<null>|tagdef.wszName.3"}),
              db.Rows("SELECT iKey, iColor, wszName FROM tagdef ORDER BY iKey;"));
    EXPECT_EQ("0", db.One("SELECT count(*) FROM sqlite_master WHERE name IN ('tagcolor', 'tagdef_old');"));
}

TEST_F(StepBehaviour, ColoursSurviveTheirStayInTagcolor) {
    const std::string path = FileAt(101);
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Upgrade(m_dir.File("v101.db"), nullptr));
    CYxTestDb db(path);
    EXPECT_EQ((std::vector<std::string>{"1|1", "2|2", "3|3"}), db.Rows("SELECT iKey, iColor FROM tagdef ORDER BY iKey;"));
}

TEST_F(StepBehaviour, AssayRunsWithoutCapturedDataGetThePrecedingCaptureTask) {
    const std::string path = FileAt(68, SYxMigrationRows{6, {}});
    {
        CYxTestDb db(path);
        // Program 1: capture task 1 (order 1) before assay task 2 (order 5),
        // same parent (none) and block; task 3 is a capture task after it,
        // task 4 one in another block. Run 2's task 5 has no capture before it.
        ASSERT_EQ(SQLITE_OK,
                  db.Exec("UPDATE jobtask SET iJobprogramKeyRef=1, iJobtaskKeyRef=NULL, iBlockNumber=1, "
                          "wszClassName='CYxAssay';"
                          "UPDATE jobtask SET iOrder=1, wszClassName='CYxCaptureLambdaAssay' WHERE iKey=1;"
                          "UPDATE jobtask SET iOrder=5 WHERE iKey=2;"
                          "UPDATE jobtask SET iOrder=7, wszClassName='CYxCaptureLambdaAssay' WHERE iKey=3;"
                          "UPDATE jobtask SET iOrder=2, iBlockNumber=2, wszClassName='CYxCaptureLambdaAssay' "
                          "WHERE iKey=4;"
                          "UPDATE jobtask SET iOrder=3, iJobprogramKeyRef=2 WHERE iKey=5;"
                          "UPDATE assayrun SET iCapturedDataKeyRef=NULL WHERE iKey IN (1, 2);"
                          "UPDATE assayrun SET iJobtaskKeyRef=2 WHERE iKey=1;"
                          "UPDATE assayrun SET iJobtaskKeyRef=5 WHERE iKey=2;"
                          "UPDATE assayrun SET iJobtaskKeyRef=2, iCapturedDataKeyRef=6 WHERE iKey=3;"));
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 68));
    CYxTestDb db(path);
    EXPECT_EQ((std::vector<std::string>{"1|1", "2|<null>", "3|6"}),
              db.Rows("SELECT iKey, iCapturedDataKeyRef FROM assayrun WHERE iKey<=3 ORDER BY iKey;"));
}

TEST_F(StepBehaviour, BinaryObjectsTakeTheirFrameAddressAndLoseThoseWithoutProperties) {
    const std::string path = FileAt(79);
    {
        CYxTestDb db(path);
        ASSERT_EQ(SQLITE_OK, db.Exec("UPDATE binframe SET iJobrunKeyRef=2, iFrameIndex=40 WHERE iKey=1;"
                                     "DELETE FROM binobjprop WHERE iBinobjKeyRef=2;"));
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 79));
    CYxTestDb db(path);
    EXPECT_EQ("100", YxTest_Main(db));
    EXPECT_EQ((std::vector<std::string>{"1|2|40|1|1|1", "3|3|3|3|3|3"}),
              db.Rows("SELECT iKey, iJobrunKeyRef, iFrameIndex, iBinlayerKeyRef, iBinObjId, iTraceKeyRef FROM binobj "
                      "ORDER BY iKey;"));
    EXPECT_EQ(std::vector<std::string>{},
              db.Rows("SELECT name FROM sqlite_master WHERE name IN ('binframe', 'binobj_new', 'trace_new', "
                      "'_ref_object');"));
    EXPECT_EQ((std::vector<std::string>{"1", "2", "3"}), db.Rows("SELECT iKey FROM trace ORDER BY iKey;"));
}

TEST_F(StepBehaviour, FramesKeepTheirPlatesAndWellsWhenTheLinksMoveOut) {
    const std::string path = FileAt(21);
    {
        CYxTestDb db(path);
        // Runloop 2 is a well loop; loop index row 2 (run 2, frame 2) is at
        // well index 2, which is wellinfo row 2 of run 2.
        ASSERT_EQ("2|2|2", db.One("SELECT l.iJobrunKeyRef, l.iFrameIndex, r.iLoopType FROM loopindex l JOIN runloop "
                                  "r ON (r.iKey=l.iRunloopKeyRef) WHERE l.iKey=2;"));
        ASSERT_EQ(SQLITE_OK, db.Exec("UPDATE frame SET iPlateinfoKeyRef=NULL WHERE iKey=3;"));
    }
    ASSERT_EQ(0, YxTest_RunStep(path, 21));
    CYxTestDb db(path);
    EXPECT_EQ((std::vector<std::string>{"1|1|1", "2|2|2"}),
              db.Rows("SELECT iJobrunKeyRef, iFrameIndex, iPlateinfoKeyRef FROM frameplateinfo ORDER BY iFrameIndex;"));
    EXPECT_EQ(std::vector<std::string>{"2|2|2"},
              db.Rows("SELECT iJobrunKeyRef, iFrameIndex, iWellinfoKeyRef FROM framewellinfo;"));
}

TEST_F(StepBehaviour, AStepOnAFileThatLacksItsTableFailsWithTheStatementStatus) {
    const std::string path = FileAt(29);
    {
        CYxTestDb db(path);
        ASSERT_EQ(SQLITE_OK, db.Exec("DROP TABLE wellplatename;"));
    }
    EXPECT_EQ(SQLITE_ERROR, YxTest_RunStep(path, 29));
    CYxTestDb db(path);
    EXPECT_EQ("29", YxTest_Main(db));
    EXPECT_EQ("0", db.One("SELECT count(*) FROM sqlite_master WHERE name LIKE '%_old';"));
}

TEST_F(StepBehaviour, StepsRefuseANullConnection) {
    EXPECT_NE(0, YxProjectDb_Db_Upgrade_From_010_To_011(nullptr));
    EXPECT_NE(0, YxProjectDb_Db_Upgrade_From_011_To_012(nullptr));
    EXPECT_NE(0, YxProjectDb_Db_Upgrade_From_079_To_100(nullptr));
}

}  // namespace
