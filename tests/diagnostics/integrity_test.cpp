// SQLite's integrity and foreign key checks as findings.
#include "diag_fixture.h"
#include "test_support.h"

#include "gnr_projectdb/db.h"

#include <gtest/gtest.h>

namespace {

TEST(Integrity, SoundFileHasNoFinding) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("jobs.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(CYxStringW::FromUtf8(path)));
    ASSERT_EQ(0, DiagTest_Exec(path, "PRAGMA foreign_keys=1; INSERT INTO project(wszUuid) VALUES('p');"
                                     "INSERT INTO jobrun(iProjKeyRef, wszUuid) VALUES(1, 'r');"));
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Integrity(path)));
}

TEST(Integrity, ReferencesToMissingRowsNameTheRowAndColumn) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("jobs.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(CYxStringW::FromUtf8(path)));
    ASSERT_EQ(0, DiagTest_Exec(path, "INSERT INTO project(wszUuid) VALUES('p');"
                                     "INSERT INTO jobrun(iKey, iProjKeyRef, wszUuid) VALUES(5, 1, 'r');"
                                     "INSERT INTO jobrun(iKey, iProjKeyRef, wszUuid) VALUES(6, 77, 's');"
                                     "INSERT INTO frame(iKey, iJobrunKeyRef, iFrameIndex) VALUES(9, 5, 0);"
                                     "INSERT INTO frame(iKey, iJobrunKeyRef, iFrameIndex) VALUES(10, 8, 0);"));
    EXPECT_EQ("foreign key frame.rowid 10 iJobrunKeyRef expected=a row of jobrun found=none\n"
              "foreign key jobrun.rowid 6 iProjKeyRef expected=a row of project found=none\n",
              DiagTest_Lines(DiagTest_Integrity(path)));
}

TEST(Integrity, IndexThatDisagreesWithItsTable) {
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("plain.db");
    // The catalogue is edited so that the index claims another column than
    // it was built from: every row is then missing from it.
    ASSERT_EQ(0, DiagTest_Exec(path, "CREATE TABLE t(a INTEGER, b INTEGER); CREATE INDEX ti ON t(a);"
                                     "INSERT INTO t VALUES(1, 10), (2, 20);"
                                     "PRAGMA writable_schema=ON;"
                                     "UPDATE sqlite_master SET sql='CREATE INDEX ti ON t(b)' WHERE name='ti';"));
    const std::vector<SYxProjectDbFinding> findings = DiagTest_Integrity(path);
    ASSERT_FALSE(findings.empty());
    for (const SYxProjectDbFinding& f : findings) {
        EXPECT_EQ(eYxFindingIntegrity, f.eKind);
        EXPECT_EQ(L"ok", f.wszExpected);
        EXPECT_NE(-1, f.wszFound.Find(L"ti")) << f.wszFound.ToUtf8();
    }
}

}  // namespace
