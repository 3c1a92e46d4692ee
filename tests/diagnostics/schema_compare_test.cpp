// The schema comparison: clean files of every known version give no
// finding, each kind of damage is named with what was expected and found,
// and names read from the file stay data.
#include "diag_fixture.h"
#include "migration_fixture.h"
#include "test_support.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/app_frozen_schema.h"
#include "gnr_projectdb/upgrades/jobs_history.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <vector>

namespace {

// A copy of a definition whose columns can be changed.
struct SEditedDef {
    explicit SEditedDef(const SYxSqliteTableDef& from) : def(from), cols(from.pCols, from.pCols + from.nCols) {
        Sync();
    }
    SYxSqliteColDef& Col(const wchar_t* name) {
        for (auto& c : cols)
            if (std::wcscmp(c.wszName, name) == 0) return c;
        ADD_FAILURE() << "no column";
        return cols[0];
    }
    void Remove(const wchar_t* name) {
        for (auto it = cols.begin(); it != cols.end(); ++it)
            if (std::wcscmp(it->wszName, name) == 0) {
                cols.erase(it);
                break;
            }
        Sync();
    }
    void Sync() {
        def.pCols = cols.data();
        def.nCols = static_cast<int>(cols.size());
    }
    SYxSqliteTableDef def;
    std::vector<SYxSqliteColDef> cols;
};

class SchemaCompare : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.FileUtf8("jobs.db");
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(CYxStringW::FromUtf8(path)));
    }
    CYxTempDir dir;
    std::string path;
};

TEST_F(SchemaCompare, NewFilesOfBothFlavoursAreClean) {
    SYxProjectDbSchemaReport report;
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report)));
    EXPECT_EQ(eYxFlavourJobs, report.eFlavour);
    EXPECT_EQ(136, report.iVersion);
    EXPECT_EQ(1, report.iSilentVersion);
    EXPECT_EQ(136, report.iComparedVersion);
    EXPECT_TRUE(report.bExactVersion);
    EXPECT_EQ(59, report.nTablesCompared);

    const std::string app = dir.FileUtf8("app.db");
    ASSERT_EQ(0, YxProjectDb_Db_Vasq_Create(CYxStringW::FromUtf8(app)));
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(app, &report)));
    EXPECT_EQ(eYxFlavourApplication, report.eFlavour);
    EXPECT_EQ(7, report.iVersion);
    EXPECT_TRUE(report.bExactVersion);
    // Compared as a jobs database, the application file is all wrong.
    EXPECT_LT(50u, DiagTest_Compare(app, nullptr, eYxFlavourJobs).size());
}

TEST_F(SchemaCompare, IndexesMissingExtraAndDifferent) {
    ASSERT_EQ(0, DiagTest_Exec(path, "DROP INDEX idx_frame_iJobrunKeyRef;"
                                     "DROP INDEX uidx_jobprogram_wszUuid;"
                                     "CREATE INDEX uidx_jobprogram_wszUuid ON jobprogram(wszUuid);"
                                     "DROP INDEX idx_frameprop_iJobrunKeyRef_iPropdefKeyRef_dValue;"
                                     "CREATE INDEX idx_frameprop_iJobrunKeyRef_iPropdefKeyRef_dValue "
                                     "ON frameprop(iJobrunKeyRef, dValue);"
                                     "CREATE INDEX mine ON jobrun(wszName, dCTime);"));
    EXPECT_EQ("index missing frame.idx_frame_iJobrunKeyRef expected=(iJobrunKeyRef) found=\n"
              "index different frameprop.idx_frameprop_iJobrunKeyRef_iPropdefKeyRef_dValue "
              "expected=(iJobrunKeyRef, iPropdefKeyRef, dValue) found=(iJobrunKeyRef, dValue)\n"
              "index different jobprogram.uidx_jobprogram_wszUuid expected=UNIQUE (wszUuid) found=(wszUuid)\n"
              "index extra jobrun.mine expected= found=(wszName, dCTime)\n",
              DiagTest_Lines(DiagTest_Compare(path)));
}

TEST_F(SchemaCompare, TablesMissingAndExtraWithoutTheirDetails) {
    ASSERT_EQ(0, DiagTest_Exec(path, "DROP TABLE toupload; CREATE TABLE notes (iKey INTEGER PRIMARY KEY, x TEXT);"
                                     "CREATE INDEX notes_x ON notes(x);"));
    EXPECT_EQ("table extra notes.notes expected= found=table\n"
              "table missing toupload.toupload expected=table found=\n",
              DiagTest_Lines(DiagTest_Compare(path)));
}

TEST_F(SchemaCompare, ColumnsByTypeDefaultCollationReferenceAndPresence) {
    SEditedDef frame(YxJobsDef_frame);
    frame.Col(L"iFrameIndex").eType = eYxTypeText;
    frame.Col(L"iJobrunKeyRef").wszRefAction = L"ON DELETE SET NULL";
    frame.Remove(L"dCTime");
    DiagTest_ReplaceTable(path, frame.def);
    SEditedDef name(YxJobsDef_wellplatename);
    name.Col(L"wszCompany").wszDefault = L"It's";
    name.Col(L"wszType").wszCollation = nullptr;
    DiagTest_ReplaceTable(path, name.def);
    ASSERT_EQ(0, DiagTest_Exec(path, "ALTER TABLE frame ADD COLUMN wszNote TEXT NOT NULL DEFAULT '';"));

    const std::string lines = DiagTest_Lines(DiagTest_Compare(path));
    EXPECT_EQ("column missing frame.dCTime expected=REAL found=\n"
              "column extra frame.wszNote expected= found=TEXT NOT NULL DEFAULT ''\n"
              "column different frame.iFrameIndex expected=INT found=TEXT\n"
              "column different frame.iJobrunKeyRef "
              "expected=INTEGER REFERENCES jobrun(iKey) ON DELETE CASCADE ON UPDATE CASCADE "
              "found=INTEGER REFERENCES jobrun(iKey) ON DELETE SET NULL\n"
              "column different wellplatename.wszCompany expected=TEXT DEFAULT 'Unknown' COLLATE NOCASE "
              "found=TEXT DEFAULT 'It''s' COLLATE NOCASE\n"
              "column different wellplatename.wszType expected=TEXT DEFAULT 'Unknown' COLLATE NOCASE "
              "found=TEXT DEFAULT 'Unknown'\n",
              lines);
}

TEST_F(SchemaCompare, UniqueGroupsMissingAndOfOtherColumns) {
    SEditedDef jobrun(YxJobsDef_jobrun);
    jobrun.def.apUnique[0] = nullptr;
    DiagTest_ReplaceTable(path, jobrun.def);
    SEditedDef frame(YxJobsDef_frame);
    frame.def.apUnique[0] = L"iFrameIndex";
    frame.def.apUnique[1] = nullptr;
    DiagTest_ReplaceTable(path, frame.def);
    EXPECT_EQ("unique group missing frame.iJobrunKeyRef, iFrameIndex expected=UNIQUE (iJobrunKeyRef, iFrameIndex) "
              "found=\n"
              "unique group extra frame.iFrameIndex expected= found=UNIQUE (iFrameIndex)\n"
              "unique group missing jobrun.wszUuid expected=UNIQUE (wszUuid) found=\n",
              DiagTest_Lines(DiagTest_Compare(path)));
}

TEST_F(SchemaCompare, NamesFromTheFileAreData) {
    const std::string evil = "x'); DROP TABLE frame; --";
    ASSERT_EQ(0, DiagTest_Exec(path, "CREATE TABLE \"" + evil + "\" (\"a'b\" TEXT);"
                                     "CREATE INDEX \"i'); DELETE FROM vesion; --\" ON \"" + evil + "\"(\"a'b\");"));
    const std::string lines = DiagTest_Lines(DiagTest_Compare(path));
    EXPECT_EQ("table extra " + evil + "." + evil + " expected= found=table\n", lines);
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Integrity(path)));
    // Nothing ran: the file is as it was, apart from the extra table.
    ASSERT_EQ(0, DiagTest_Exec(path, "DROP TABLE \"" + evil + "\";"));
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path)));
}

TEST_F(SchemaCompare, VersionsWithoutAKnownSchemaAreComparedWithTheCurrentOne) {
    SYxProjectDbSchemaReport report;
    for (int version : {90, 9, 137}) {
        ASSERT_EQ(0, DiagTest_Exec(path, "UPDATE vesion SET iVersion=" + std::to_string(version) +
                                             " WHERE wszName='main';"));
        EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report)));
        EXPECT_EQ(version, report.iVersion);
        EXPECT_EQ(136, report.iComparedVersion);
        EXPECT_FALSE(report.bExactVersion);
    }
    ASSERT_EQ(0, DiagTest_Exec(path, "DELETE FROM vesion;"));
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report)));
    EXPECT_EQ(0, report.iVersion);
    EXPECT_FALSE(report.bExactVersion);

    // A current file that never ran the silent step has no alignment matrices.
    ASSERT_EQ(0, DiagTest_Exec(path, "INSERT INTO vesion(wszName, iVersion) VALUES('main', 136);"));
    EXPECT_EQ("column extra plateinfo.pAlignmentMatrix expected= found=BLOB\n"
              "column extra slideinfo.pAlignmentMatrix expected= found=BLOB\n",
              DiagTest_Lines(DiagTest_Compare(path, &report)));
    EXPECT_TRUE(report.bExactVersion);
}

TEST(SchemaCompareHandles, UnknownHandle) {
    std::vector<SYxProjectDbFinding> findings;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Diag_CompareSchema(987654, eYxFlavourJobs, &findings));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Diag_CheckIntegrity(987654, &findings));
    CYxStringW sql;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Diag_FileSchemaSql(987654, &sql));
    EXPECT_TRUE(findings.empty());
}

// Every version that a jobs file can carry, as the schema history describes
// it, without and with the silent step's columns.
std::vector<int> JobsVersions() {
    std::vector<int> versions;
    for (int v = YX_JOBS_HISTORY_FIRST_VERSION; v <= YX_JOBS_HISTORY_LAST_VERSION; ++v)
        if (v == YX_JOBS_HISTORY_LAST_VERSION || YxJobsHistory_NextVersion(v)) versions.push_back(v);
    return versions;
}

class HistoryVersion : public ::testing::TestWithParam<int> {};

TEST_P(HistoryVersion, FileOfTheVersionIsCleanAndTheSilentColumnsAreExpected) {
    const int version = GetParam();
    CYxTempDir dir;
    const std::string path = dir.FileUtf8("old.db");
    SYxMigrationRows rows;
    rows.iDefault = 1;
    std::string error;
    ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, version, rows, &error)) << error;
    SYxProjectDbSchemaReport report;
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report)));
    EXPECT_EQ(version, report.iComparedVersion);
    EXPECT_TRUE(report.bExactVersion);
    EXPECT_EQ(static_cast<int>(YxJobsHistory_TablesAt(version).size()), report.nTablesCompared);

    // With the silent row the holder tables need their alignment matrices.
    ASSERT_EQ(0, DiagTest_Exec(path, "INSERT INTO vesion(wszName, iVersion) VALUES('silent', 1);"));
    std::string expected, addColumns;
    for (const char* table : {"plateinfo", "slideinfo"}) {
        const SYxSqliteTableDef* def = YxJobsHistory_Def(CYxStringW::FromUtf8(table), version);
        if (!def || YxSqliteTableDef_FindColumn(*def, L"pAlignmentMatrix") >= 0) continue;
        expected += std::string("column missing ") + table + ".pAlignmentMatrix expected=BLOB found=\n";
        addColumns += std::string("ALTER TABLE ") + table + " ADD COLUMN pAlignmentMatrix BLOB DEFAULT NULL;";
    }
    EXPECT_EQ(expected, DiagTest_Lines(DiagTest_Compare(path)));
    // The silent step's own statements make the file clean again.
    ASSERT_EQ(0, DiagTest_Exec(path, addColumns));
    EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path)));
}

INSTANTIATE_TEST_SUITE_P(Jobs, HistoryVersion, ::testing::ValuesIn(JobsVersions()),
                         [](const ::testing::TestParamInfo<int>& info) { return "v" + std::to_string(info.param); });

// Upgraded files end exactly at the current schema, indexes included.
TEST(SchemaCompareUpgraded, JobsFilesUpgradedFromOldVersions) {
    for (int version : {10, 48, 100, 128, 135}) {
        CYxTempDir dir;
        const std::string path = dir.FileUtf8("old.db");
        std::string error;
        ASSERT_EQ(0, YxMigrationFixture_CreateFile(path, version, {}, &error)) << error;
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Upgrade(CYxStringW::FromUtf8(path), nullptr)) << version;
        SYxProjectDbSchemaReport report;
        EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report))) << "from " << version;
        EXPECT_EQ(136, report.iVersion);
        EXPECT_EQ(1, report.iSilentVersion);
    }
}

TEST(SchemaCompareUpgraded, ApplicationFilesOfEveryVersionAndAfterTheirUpgrade) {
    for (int version = YX_APP_FROZEN_FIRST; version <= YX_APP_FROZEN_LAST; ++version) {
        CYxTempDir dir;
        const std::string path = dir.FileUtf8("app.db");
        int count = 0;
        const SYxSqliteTableDef* const* defs = YxProjectDb_AppFrozen_GetTables(version, &count);
        DiagTest_CreateFile(path, defs, count, version >= 6 ? "version" : "vesion", version);
        SYxProjectDbSchemaReport report;
        EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report))) << version;
        EXPECT_EQ(eYxFlavourApplication, report.eFlavour);
        EXPECT_EQ(version, report.iComparedVersion);
        EXPECT_TRUE(report.bExactVersion);
        if (version == 5) continue;  // left only by going down to 4
        ASSERT_EQ(0, YxProjectDb_Db_Vasq_Upgrade(CYxStringW::FromUtf8(path), nullptr)) << version;
        EXPECT_EQ("", DiagTest_Lines(DiagTest_Compare(path, &report))) << "from " << version;
        EXPECT_EQ(7, report.iVersion);
    }
}

}  // namespace
