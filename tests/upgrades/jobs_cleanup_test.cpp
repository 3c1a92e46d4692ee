// The clean-up of a jobs database: exactly the obsolete records go.
#include "upgrade_fixtures.h"

#include "gnr_projectdb/upgrade.h"
#include "test_support.h"

#include <sqlite3.h>

namespace {
class JobsCleanupTest : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.FileUtf8("jobs.db");
        UpgTest_CreateJobsFile(path, 136, 1);
    }
    int Cleanup() { return YxProjectDb_Db_Jobs_Cleanup(CYxStringW::FromUtf8(path), nullptr); }
    std::string Keys(const std::string& table) {
        return UpgTest_TextOf(path, "SELECT ifnull(group_concat(iKey, ','), '') FROM (SELECT iKey FROM " + table +
                                        " ORDER BY iKey);");
    }
    CYxTempDir dir;
    std::string path;
};
}  // namespace

TEST_F(JobsCleanupTest, DeletesExactlyTheUnreferencedBinaryObjects) {
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "INSERT INTO binobj(iKey) VALUES(1),(2),(3),(4),(5);"
                                  "INSERT INTO binobjprop(iBinobjKeyRef) VALUES(1),(1),(4);"
                                  "INSERT INTO binobjqual(iBinobjKeyRef) VALUES(3),(4);"));
    UpgTest_Close(db);
    EXPECT_EQ(0, Cleanup());
    EXPECT_EQ("1,3,4", Keys("binobj"));
    EXPECT_EQ(3, UpgTest_IntOf(path, "SELECT count(*) FROM binobjprop;"));
    EXPECT_EQ(2, UpgTest_IntOf(path, "SELECT count(*) FROM binobjqual;"));
    // The temporary helper table is not left behind, and the file was analysed.
    EXPECT_EQ(0, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='_ref_object';"));
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='sqlite_stat1';"));
}

TEST_F(JobsCleanupTest, EveryObjectReferencedDeletesNone) {
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "INSERT INTO binobj(iKey) VALUES(7),(8);"
                                  "INSERT INTO binobjprop(iBinobjKeyRef) VALUES(7);"
                                  "INSERT INTO binobjqual(iBinobjKeyRef) VALUES(8);"));
    UpgTest_Close(db);
    EXPECT_EQ(0, Cleanup());
    EXPECT_EQ("7,8", Keys("binobj"));
}

TEST_F(JobsCleanupTest, RemovesEmptyQualifierStringsAndOrphanTasksAndClearsCounts) {
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "INSERT INTO qualstr(iKey, wszName) VALUES(1, ''), (2, 'kept');"
                                  "INSERT INTO jobprogram(iKey) VALUES(1);"
                                  // 10: in a program; 11: used by an assay run; 12: neither
                                  "INSERT INTO jobtask(iKey, iJobprogramKeyRef) VALUES(10, 1), (11, NULL), (12, NULL);"
                                  "INSERT INTO assayrun(iJobtaskKeyRef) VALUES(11);"
                                  "INSERT INTO jobrunpropstat(iKey, iCount) VALUES(1, 5);"
                                  "INSERT INTO jobrunqualstat(iKey, iCount) VALUES(1, 6);"));
    UpgTest_Close(db);
    EXPECT_EQ(0, Cleanup());
    EXPECT_EQ("2", Keys("qualstr"));
    EXPECT_EQ("10,11", Keys("jobtask"));
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM jobrunpropstat WHERE iCount IS NULL;"));
    EXPECT_EQ(1, UpgTest_IntOf(path, "SELECT count(*) FROM jobrunqualstat WHERE iCount IS NULL;"));
}
