// The application database: upgrades from every version to 7, the side
// version 5 and its downgrade, and the conversion of the analysis data.
#include "upgrade_fixtures.h"

#include "framework/yxlitevariant.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/upgrade.h"
#include "locale_support.h"
#include "test_support.h"

#include <sqlite3.h>

namespace {
class AppUpgradeTest : public ::testing::Test {
protected:
    void SetUp() override { path = dir.FileUtf8("app.db"); }
    int Upgrade(CYxProgressDialog* dialog = nullptr) {
        return YxProjectDb_Db_Vasq_Upgrade(CYxStringW::FromUtf8(path), dialog);
    }
    int Downgrade() { return YxProjectDb_Db_Vasq_Downgrade(CYxStringW::FromUtf8(path), nullptr); }
    std::int64_t Count(const std::string& sql) { return UpgTest_IntOf(path, sql); }
    std::string Text(const std::string& sql) { return UpgTest_TextOf(path, sql); }
    bool HasTable(const std::string& name) {
        return Count("SELECT count(*) FROM sqlite_master WHERE type='table' AND name='" + name + "';") == 1;
    }

    // Every table of the current schema exists with the current columns.
    void ExpectCurrentSchema() {
        sqlite3* db = UpgTest_Open(path);
        int count = 0;
        const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetAppTables(&count);
        for (int i = 0; i < count; ++i) {
            std::vector<std::string> expected;
            for (int c = 0; c < defs[i]->nCols; ++c) {
                const std::wstring w = defs[i]->pCols[c].wszName;
                expected.emplace_back(w.begin(), w.end());
            }
            const std::wstring name = defs[i]->wszName;
            EXPECT_EQ(expected, UpgTest_Columns(db, std::string(name.begin(), name.end())));
        }
        EXPECT_EQ(7, UpgTest_Int(db, "SELECT iVersion FROM version WHERE wszName='main';"));
        EXPECT_EQ(0, UpgTest_Int(db, "SELECT count(*) FROM sqlite_master WHERE name='vesion';"));
        EXPECT_EQ("ok", UpgTest_Text(db, "PRAGMA integrity_check;"));
        UpgTest_Close(db);
    }

    // Analysis data of a version-4 (or 5) file.
    void FillAnalysisData() {
        sqlite3* db = UpgTest_Open(path);
        ASSERT_EQ(0, UpgTest_Exec(db,
            "INSERT INTO assayrecipe(iKey, wszUuid, wszUniqueName) VALUES(2, 'r2', 'Recipe');"
            "INSERT INTO file(wszFileName, iWidth, iHeight, iBpc, iPlanes, dCalibration) VALUES"
            " ('img1.tif', 512, 256, 16, 3, 0.25), ('run1.tif', 64, 32, 8, 1, 0.125);"
            "INSERT INTO analysis(iKey, iRecipeKeyRef, wszUuid, wszName, wszDesc, wszModule, wszFileName,"
            " wszChannels, dCalibration, iFlags, dCTime, dMTime, pData) VALUES"
            " (5, 2, 'a5uuid', 'Cell''s count', 'with \"quotes\" and ''apostrophes''', 'CellCount', 'img1.tif',"
            "  'DAPI', 0.5, 3, 2460000.5, 2460001.25, x'0a0b'),"
            " (6, NULL, 'a6uuid', 'Second', '', 'Other', 'nowhere.tif', '', 1.5, 0, 2460002.0, 2460002.0, NULL);"
            "INSERT INTO analysisrun(iKey, iAnalysisKeyRef, wszFileName, wszName, wszDesc, iFlags, iBtachNumber,"
            " dCTime, dMTime, pData) VALUES"
            " (11, 5, 'run1.tif', 'Run A', 'first run', 1, 7, 2460003.0, 2460003.5, x'c0ffee'),"
            " (12, 6, '', 'Run B', '', 0, 8, 2460004.0, 2460004.0, NULL);"
            "INSERT INTO datatable(iKey, iAnalysisRunKeyRef, wszName) VALUES(31, 11, 'Objects');"
            "INSERT INTO result(iKey, iAnalysisRunKeyRef, iFlags, wszType, wszName) VALUES(21, 11, 4, 'table', 'Nuclei');"
            "INSERT INTO resultdef(iAnalysisRunKeyRef, iResultKeyRef, iDatatableKeyRef, pValue) VALUES(11, 21, 31, x'01');"
            "INSERT INTO datacolumn(iKey, iAnalysisRunKeyRef, iDatatableKeyRef, iFlags, wszName, pMetadata) VALUES"
            " (41, 11, 31, 1, 'Area', x'aa'), (42, 11, 31, 2, 'Perimeter', NULL);"
            "INSERT INTO datavalue(iColumnKeyRef, pValue) VALUES(41, x'0102'), (41, x'0304'), (42, x'05');"));
        UpgTest_Close(db);
    }

    CYxTempDir dir;
    std::string path;
};
}  // namespace

TEST_F(AppUpgradeTest, EveryUpgradableVersionReachesSeven) {
    for (int version : {1, 2, 3, 4, 6}) {
        SCOPED_TRACE(version);
        std::remove(path.c_str());
        UpgTest_CreateAppFile(path, version);
        CUpgTestDialog dialog;
        EXPECT_EQ(0, Upgrade(&dialog));
        ExpectCurrentSchema();
        EXPECT_EQ((std::vector<int>{40, 60, 90, 100}), dialog.Positions());
        EXPECT_FALSE(HasTable("analysis"));
        EXPECT_FALSE(HasTable("analysisrun"));
        // The index check made the indexes of the current tables.
        EXPECT_EQ(1, Count("SELECT count(*) FROM sqlite_master WHERE type='index' AND tbl_name='results';"));
    }
}

TEST_F(AppUpgradeTest, CurrentAndUnknownVersionsAreRefusedUntouched) {
    for (int version : {7, 5}) {
        SCOPED_TRACE(version);
        std::remove(path.c_str());
        UpgTest_CreateAppFile(path, version);
        const std::string before = UpgTest_Dump(path);
        CUpgTestDialog dialog;
        EXPECT_EQ(YXPDB_E_NOCONNECTION, Upgrade(&dialog));
        EXPECT_EQ((std::vector<int>{40}), dialog.Positions());
        EXPECT_EQ(before, UpgTest_Dump(path));
    }
    std::remove(path.c_str());
    UpgTest_CreateAppFile(path, 4);
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "DELETE FROM vesion;"));  // version 0
    UpgTest_Close(db);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, Upgrade());
}

TEST_F(AppUpgradeTest, VersionFiveGoesDownToFourAndThenUpToSeven) {
    UpgTest_CreateAppFile(path, 5);
    FillAnalysisData();
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "UPDATE analysis SET wszGroup='g';"));
    UpgTest_Close(db);

    EXPECT_EQ(YXPDB_E_NOCONNECTION, Upgrade());
    EXPECT_EQ(0, Downgrade());
    EXPECT_EQ(4, Count("SELECT iVersion FROM vesion WHERE wszName='main';"));
    db = UpgTest_Open(path);
    EXPECT_EQ((std::vector<std::string>{"iKey", "iRecipeKeyRef", "wszUuid", "wszName", "wszDesc", "wszModule",
                                        "wszFileName", "wszChannels", "dCalibration", "iFlags", "dCTime", "dMTime",
                                        "pData"}),
              UpgTest_Columns(db, "analysis"));
    UpgTest_Close(db);
    EXPECT_EQ(2, Count("SELECT count(*) FROM analysis;"));
    EXPECT_EQ("Cell's count", Text("SELECT wszName FROM analysis WHERE iKey=5;"));
    EXPECT_FALSE(HasTable("analysis_old"));
    // The runs still point at their analysis after the rebuild.
    EXPECT_EQ(0, Count("SELECT count(*) FROM pragma_foreign_key_list('analysisrun') WHERE \"table\"<>'analysis';"));

    EXPECT_EQ(YXPDB_E_NOCONNECTION, Downgrade());
    EXPECT_EQ(0, Upgrade());
    ExpectCurrentSchema();
    EXPECT_EQ(2, Count("SELECT count(*) FROM definitions;"));
}

TEST_F(AppUpgradeTest, DowngradeRefusesEveryOtherVersion) {
    for (int version : {1, 4, 6}) {
        SCOPED_TRACE(version);
        std::remove(path.c_str());
        UpgTest_CreateAppFile(path, version);
        const std::string before = UpgTest_Dump(path);
        EXPECT_EQ(YXPDB_E_NOCONNECTION, Downgrade());
        EXPECT_EQ(before, UpgTest_Dump(path));
    }
    EXPECT_TRUE(YxProjectDb_Db_Vasq_DowngradeIsPossible(5));
    for (std::int64_t v : {0, 4, 6, 7}) EXPECT_FALSE(YxProjectDb_Db_Vasq_DowngradeIsPossible(v)) << v;
}

TEST_F(AppUpgradeTest, ConversionKeepsTheAnalysisData) {
    UpgTest_CreateAppFile(path, 4);
    FillAnalysisData();
    ASSERT_EQ(0, Upgrade());
    ExpectCurrentSchema();

    // Definitions keep their keys, recipes, modules, blobs and metadata.
    EXPECT_EQ(2, Count("SELECT iRecipeKeyRef FROM definitions WHERE iKey=5;"));
    EXPECT_EQ(1, Count("SELECT iRecipeKeyRef IS NULL FROM definitions WHERE iKey=6;"));
    EXPECT_EQ("CellCount", Text("SELECT wszModule FROM definitions WHERE iKey=5;"));
    EXPECT_EQ("0A0B", Text("SELECT hex(pData) FROM definitions WHERE iKey=5;"));
    EXPECT_EQ("{\"wszName\":\"Cell's count\",\"wszDesc\":\"with \\\"quotes\\\" and 'apostrophes'\","
              "\"wszUuid\":\"a5uuid\",\"iFlags\":3,\"wszChannels\":\"DAPI\",\"dCTime\":2460000.5,"
              "\"dMTime\":2460001.25}",
              Text("SELECT jsonMetadata FROM definitions WHERE iKey=5;"));

    // The analysis's image: geometry from the old file row, calibration from the analysis.
    EXPECT_EQ("img1.tif", Text("SELECT f.wszFileName FROM files f JOIN definitions d ON d.iFileKeyRef=f.iKey "
                               "WHERE d.iKey=5;"));
    EXPECT_EQ("{\"iWidth\":512,\"iHeight\":256,\"iBpc\":16,\"iPlanes\":3,\"dCalibration\":0.5}",
              Text("SELECT f.jsonMetadata FROM files f JOIN definitions d ON d.iFileKeyRef=f.iKey WHERE d.iKey=5;"));
    EXPECT_EQ(0, Count("SELECT json_extract(f.jsonMetadata, '$.iWidth') FROM files f JOIN definitions d "
                       "ON d.iFileKeyRef=f.iKey WHERE d.iKey=6;"));

    // Measurements keep their keys and blobs; a run's own image lies in the analysis's data folder.
    EXPECT_EQ(5, Count("SELECT iDefinitionKeyRef FROM measurements WHERE iKey=11;"));
    EXPECT_EQ("C0FFEE", Text("SELECT hex(pData) FROM measurements WHERE iKey=11;"));
    EXPECT_EQ(7, Count("SELECT json_extract(jsonMetadata, '$.iBatchNumber') FROM measurements WHERE iKey=11;"));
    EXPECT_EQ("first run", Text("SELECT json_extract(jsonMetadata, '$.wszDesc') FROM measurements WHERE iKey=11;"));
    EXPECT_EQ("analysisdata\\a5uuid\\run1.tif",
              Text("SELECT f.wszFileName FROM files f JOIN measurements m ON m.iFileKeyRef=f.iKey WHERE m.iKey=11;"));
    EXPECT_EQ(64, Count("SELECT json_extract(f.jsonMetadata, '$.iWidth') FROM files f JOIN measurements m "
                        "ON m.iFileKeyRef=f.iKey WHERE m.iKey=11;"));
    // A run without an image of its own uses the analysis's.
    EXPECT_EQ(Count("SELECT iFileKeyRef FROM definitions WHERE iKey=6;"),
              Count("SELECT iFileKeyRef FROM measurements WHERE iKey=12;"));

    // The result, with its identity and its packed table.
    EXPECT_EQ(1, Count("SELECT count(*) FROM results;"));
    EXPECT_EQ(11, Count("SELECT iMeasurementKeyRef FROM results;"));
    EXPECT_EQ("{\"wszName\":\"Nuclei\",\"wszType\":\"table\",\"iFlags\":4}", Text("SELECT jsonMetadata FROM results;"));
    EXPECT_EQ(1, Count("SELECT length(wszUuid)=32 AND wszUuid NOT GLOB '*[^0-9a-f]*' FROM results;"));

    sqlite3* db = UpgTest_Open(path);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(db, "SELECT pData FROM results;", -1, &stmt, nullptr));
    ASSERT_EQ(SQLITE_ROW, sqlite3_step(stmt));
    CYxByteArray blob(sqlite3_column_blob(stmt, 0), static_cast<std::size_t>(sqlite3_column_bytes(stmt, 0)));
    sqlite3_finalize(stmt);
    UpgTest_Close(db);

    CYxLiteVariantR tree(blob);
    ASSERT_EQ(YXLV_OK, tree.Status());
    ASSERT_EQ(YXLV_OK, tree.EnterGroup(L""));
    CYxStringW text;
    ASSERT_EQ(YXLV_OK, tree.GetText(L"_systemFlags", text));
    EXPECT_EQ(L"4", text.str());
    ASSERT_EQ(YXLV_OK, tree.EnterGroup(L"table"));
    EXPECT_EQ(1, tree.GetCount());
    ASSERT_EQ(YXLV_OK, tree.EnterGroup(L"0"));
    ASSERT_EQ(YXLV_OK, tree.GetText(L"iDatatableKeyRef", text));
    EXPECT_EQ(L"31", text.str());
    ASSERT_EQ(YXLV_OK, tree.EnterGroup(L"columns"));
    EXPECT_EQ(2, tree.GetCount());
    ASSERT_EQ(YXLV_OK, tree.EnterGroup(L"0"));
    ASSERT_EQ(YXLV_OK, tree.GetText(L"wszName", text));
    EXPECT_EQ(L"Area", text.str());
    ASSERT_EQ(YXLV_OK, tree.EnterGroup(L"values"));
    CYxByteArray value;
    ASSERT_EQ(YXLV_OK, tree.GetBytes(L"1", value));
    EXPECT_EQ(CYxByteArray("\x03\x04", 2), value);
    EXPECT_EQ(2, tree.GetCount());

    // The old model is gone.
    for (const char* table : {"analysis", "analysisrun", "datatable", "result"}) EXPECT_FALSE(HasTable(table)) << table;
}

// The conversion writes times and calibrations into its statements' text:
// a comma-decimal locale changes nothing in them.
TEST_F(AppUpgradeTest, ConversionUnderACommaLocale) {
    CYxCommaLocale comma;
    YX_REQUIRE_COMMA_LOCALE(comma);
    UpgTest_CreateAppFile(path, 4);
    FillAnalysisData();
    ASSERT_EQ(0, Upgrade());
    ExpectCurrentSchema();
    // "->" gives the JSON text of a member: no conversion on the way out.
    EXPECT_EQ("2460000.5|2460001.25", Text("SELECT (jsonMetadata -> '$.dCTime') || '|' || "
                                         "(jsonMetadata -> '$.dMTime') FROM definitions WHERE iKey=5;"));
    EXPECT_EQ("2460003.0|2460003.5", Text("SELECT (jsonMetadata -> '$.dCTime') || '|' || "
                                        "(jsonMetadata -> '$.dMTime') FROM measurements WHERE iKey=11;"));
    EXPECT_EQ("0.5", Text("SELECT f.jsonMetadata -> '$.dCalibration' FROM files f "
                          "JOIN definitions d ON d.iFileKeyRef=f.iKey WHERE d.iKey=5;"));
    EXPECT_EQ("0.125", Text("SELECT f.jsonMetadata -> '$.dCalibration' FROM files f "
                            "JOIN measurements m ON m.iFileKeyRef=f.iKey WHERE m.iKey=11;"));
}

TEST_F(AppUpgradeTest, FailingStepRollsBackEverything) {
    UpgTest_CreateAppFile(path, 2);
    sqlite3* db = UpgTest_Open(path);
    // A table in the way of the conversion's new tables.
    ASSERT_EQ(0, UpgTest_Exec(db, "CREATE TABLE measurements(x);"));
    UpgTest_Close(db);
    const std::string before = UpgTest_Dump(path);
    EXPECT_EQ(SQLITE_ERROR, Upgrade());
    EXPECT_EQ(before, UpgTest_Dump(path));
}

TEST_F(AppUpgradeTest, PathAndOpenFailures) {
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Vasq_Upgrade(nullptr, nullptr));
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Vasq_Upgrade(L"", nullptr));
    EXPECT_EQ(YXPDB_E_PATH, YxProjectDb_Db_Vasq_Downgrade(L"", nullptr));
    EXPECT_EQ(SQLITE_CANTOPEN, Upgrade());
    EXPECT_EQ(SQLITE_CANTOPEN, Downgrade());
}
