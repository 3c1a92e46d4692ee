// Measurements and results (application database), deposits and upload
// requests (jobs database).
#include "acq_fixture.h"

#include "gnr_projectdb/records_deposit.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_measurement.h"

#include <QJsonObject>

#include <list>

class Measurements : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, YxProjectDb_Db_Vasq_Create(dir.File("app.db")));
        h = YxProjectDb_Db_Vasq_Connect(dir.File("app.db"));
        ASSERT_NE(0u, h);
        defA = AddDefinition("segment");
        defB = AddDefinition("count");
        ASSERT_EQ(0, YxProjectDb_Files_Insert(h, L"/img/a.tif", 8, 8, 0, 1, 1.0, &fileKey));
    }
    void TearDown() override { YxProjectDb_Db_Disconnect(h); }
    std::int64_t AddDefinition(const std::string& module) {
        AcqQuery(h, "INSERT INTO definitions (wszModule, jsonMetadata) VALUES ('" + module + "', '{}')");
        return std::stoll(AcqOne(h, "SELECT max(iKey) FROM definitions"));
    }
    std::string Meta(std::int64_t key, const char* member) {
        return AcqOne(h, std::string("SELECT json_extract(jsonMetadata, '$.") + member +
                             "') FROM measurements WHERE iKey=" + std::to_string(key));
    }
    CYxTempDir dir;
    YxProjectDbHandle h = 0;
    std::int64_t defA = 0, defB = 0, fileKey = 0;
    static constexpr YxProjectDbHandle kNoHandle = 0x7FFF0000DEADull;
};

TEST_F(Measurements, InsertBuildsTheMetadataAndFlagsChangeInPlace) {
    const unsigned char blob[] = {1, 2, 3, 0, 5};
    std::int64_t m = 0;
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defA, fileKey, L"Nuclei \"A\"", L"first", 3, 1, 2460000.5,
                                                 2460000.75, sizeof(blob), blob, &m));
    EXPECT_EQ("{\"wszName\":\"Nuclei \\\"A\\\"\",\"wszDesc\":\"first\",\"iBatchNumber\":3,\"iFlags\":1,"
              "\"dCTime\":2460000.5,\"dMTime\":2460000.75}",
              AcqOne(h, "SELECT jsonMetadata FROM measurements"));

    ASSERT_EQ(0, YxProjectDb_Measurements_ChangeFlags(h, m, 4, true));
    EXPECT_EQ("5", Meta(m, "iFlags"));
    ASSERT_EQ(0, YxProjectDb_Measurements_ChangeFlags(h, m, 1, false));
    EXPECT_EQ("4", Meta(m, "iFlags"));
    ASSERT_EQ(0, YxProjectDb_Measurements_ChangeFlags(h, m, 4, true));  // already set
    EXPECT_EQ("4", Meta(m, "iFlags"));
    EXPECT_EQ("Nuclei \"A\"", Meta(m, "wszName"));  // other members untouched

    SYxProjectDbRow_measurements row;
    ASSERT_EQ(0, YxProjectDb_Measurements_GetOne(h, m, row));
    EXPECT_EQ(defA, row.iDefinitionKeyRef);
    EXPECT_EQ(fileKey, row.iFileKeyRef);
    EXPECT_EQ(4, row.jsonMetadata.value("iFlags").toInt());
    EXPECT_EQ(CYxByteArray(blob, sizeof(blob)), row.pData);
    EXPECT_EQ(L"/img/a.tif", YxProjectDb_Measurements_GetFileName(h, m));
    EXPECT_EQ(defA, YxProjectDb_Measurements_GetAnalysisKeyRef(h, m));
    EXPECT_EQ(0, YxProjectDb_Measurements_GetAnalysisKeyRef(h, 999));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Measurements_GetAnalysisKeyRef(kNoHandle, m));
    EXPECT_TRUE(YxProjectDb_Measurements_GetFileName(kNoHandle, m).IsEmpty());

    // Update moves it to no file: the name comes back empty.
    QJsonObject meta{{"wszName", "renamed"}, {"iFlags", 2}};
    ASSERT_EQ(0, YxProjectDb_Measurements_Update(h, m, 0, &meta));
    EXPECT_EQ("NULL|renamed", AcqOne(h, "SELECT iFileKeyRef, json_extract(jsonMetadata,'$.wszName') FROM measurements"));
    EXPECT_TRUE(YxProjectDb_Measurements_GetFileName(h, m).IsEmpty());
    ASSERT_EQ(0, YxProjectDb_Measurements_Delete(h, m));
    EXPECT_EQ("0", AcqOne(h, "SELECT count(*) FROM measurements"));
}

TEST_F(Measurements, MaxBatchNumberKeepsItsHistoricalPath) {
    // Empty table: max() over no rows yields NULL, read as 0.
    EXPECT_EQ(0, YxProjectDb_Measurements_GetMaxBatchNumber(h));
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defA, 0, L"a", L"", 3, 0, 0.0, 0.0, 0, nullptr));
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defA, 0, L"b", L"", 7, 0, 0.0, 0.0, 0, nullptr));
    // "&.iBatchNumber" is not a JSON path: SQLite refuses the statement, so
    // the result stays 0 although batch 7 exists.
    EXPECT_EQ(0, YxProjectDb_Measurements_GetMaxBatchNumber(h));
    EXPECT_EQ("7", AcqOne(h, "SELECT max(json_extract(jsonMetadata, '$.iBatchNumber')) FROM measurements"));
    EXPECT_EQ(0, YxProjectDb_Measurements_GetMaxBatchNumber(kNoHandle));
}

TEST_F(Measurements, NamesOfAllOrOfModules) {
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defA, 0, L"seg 1", L"", 1, 0, 0.0, 0.0, 0, nullptr));
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defB, 0, L"count 1", L"", 1, 0, 0.0, 0.0, 0, nullptr));
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defB, 0, L"count 2", L"", 1, 0, 0.0, 0.0, 0, nullptr));
    std::vector<CYxStringW> names{L"kept"};
    ASSERT_EQ(0, YxProjectDb_Measurements_GetAllNames(h, names, {}));
    EXPECT_EQ((std::vector<CYxStringW>{L"kept", L"seg 1", L"count 1", L"count 2"}), names);
    names.clear();
    ASSERT_EQ(0, YxProjectDb_Measurements_GetAllNames(h, names, {L"count"}));
    EXPECT_EQ((std::vector<CYxStringW>{L"count 1", L"count 2"}), names);
    // Two modules: one valid statement; the sub-select yields one definition.
    names.clear();
    ASSERT_EQ(0, YxProjectDb_Measurements_GetAllNames(h, names, {L"nothing", L"segment"}));
    EXPECT_EQ(std::vector<CYxStringW>{L"seg 1"}, names);

    std::vector<SYxProjectDbRow_measurements> rows;
    ASSERT_EQ(0, YxProjectDb_Measurements_GetMany(h, defB, rows));
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ("count 2", rows[1].jsonMetadata.value("wszName").toString().toStdString());
    EXPECT_EQ(0, rows[1].iFileKeyRef);
}

TEST_F(Measurements, ResultsOfAMeasurement) {
    std::int64_t m = 0, r1 = 0, r2 = 0;
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defA, fileKey, L"m", L"", 1, 0, 0.0, 0.0, 0, nullptr, &m));
    QJsonObject meta{{"table", "cells"}};
    ASSERT_EQ(0, YxProjectDb_Results_Insert(h, m, &meta, 3, "abc", &r1));
    ASSERT_EQ(0, YxProjectDb_Results_Insert(h, m, nullptr, 0, nullptr, &r2));
    EXPECT_EQ(2, std::stoi(AcqOne(h, "SELECT count(DISTINCT wszUuid) FROM results WHERE length(wszUuid)=32")));
    std::vector<SYxProjectDbRow_results> rows;
    ASSERT_EQ(0, YxProjectDb_Results_GetMany(h, m, rows));
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ(meta, rows[0].jsonMetadata);
    EXPECT_EQ(CYxByteArray("abc", 3), rows[0].pData);
    EXPECT_TRUE(rows[1].pData.IsEmpty());
    EXPECT_EQ("blob", AcqOne(h, "SELECT typeof(pData) FROM results WHERE iKey=" + std::to_string(r2)));

    QJsonObject meta2{{"table", "nuclei"}};
    ASSERT_EQ(0, YxProjectDb_Results_Update(h, r2, &meta2, CYxByteArray("xy", 2)));
    std::int64_t m2 = 0;
    ASSERT_EQ(0, YxProjectDb_Measurements_Insert(h, defB, 0, L"m2", L"", 1, 0, 0.0, 0.0, 0, nullptr, &m2));
    SYxProjectDbRow_results moved{0, m2, meta2, CYxByteArray("z", 1)};
    ASSERT_EQ(0, YxProjectDb_Results_Update(h, r1, moved));
    rows.clear();
    ASSERT_EQ(0, YxProjectDb_Results_GetMany(h, m2, rows));
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ(r1, rows[0].iKey);
    EXPECT_EQ(CYxByteArray("z", 1), rows[0].pData);
    // Results go with their measurement.
    ASSERT_EQ(0, YxProjectDb_Measurements_Delete(h, m));
    EXPECT_EQ("1", AcqOne(h, "SELECT count(*) FROM results"));
}

using Uploads = AcqDbTest;

TEST_F(Uploads, SaveRequestLeavesTheStateNullAndStoresTheUrl) {
    SYxProjectDbRow_jobuser user;
    user.wszUsername = L"ann";
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, user, nullptr));
    const std::int64_t userKey = user.iKey;
    ASSERT_EQ(0, YxProjectDb_toupload_SaveRequest(h, L"jobrun", L"run-uuid", L"https://cloud/x", user));
    EXPECT_EQ("run-uuid|jobrun|" + std::to_string(userKey) + "|NULL|https://cloud/x|NULL",
              AcqOne(h, "SELECT wszUuidRef, wszTablename, iUserKeyRef, iUploadState, wszCloudUrl, wszRunState "
                        "FROM toupload"));
    // The same object for the same user again breaks the unique rule.
    EXPECT_NE(0, YxProjectDb_toupload_SaveRequest(h, L"jobrun", L"run-uuid", L"u", user));

    SYxProjectDbRow_toupload row;
    ASSERT_EQ(0, YxProjectDb_toupload_GetOne(h, L"run-uuid", userKey, row));
    EXPECT_EQ(L"https://cloud/x", row.wszCloudUrl);
    std::vector<SYxProjectDbRow_toupload> rows;
    ASSERT_EQ(0, YxProjectDb_toupload_GetMany(h, userKey, rows));
    EXPECT_EQ(1u, rows.size());
}

TEST_F(Uploads, ChangeStatusMarksTheRunItsDefinitionAndProject) {
    // Uuids as the inserts stamped them.
    const std::string runUuid = AcqOne(h, "SELECT wszUuid FROM jobrun WHERE iKey=" + std::to_string(runKey));
    const std::string defUuid = AcqOne(h, "SELECT wszUuid FROM jobdef");
    const std::string projUuid = AcqOne(h, "SELECT wszUuid FROM project");
    const std::string otherRun = AcqOne(h, "SELECT wszUuid FROM jobrun WHERE iKey=" + std::to_string(runKey2));
    SYxProjectDbRow_jobuser user;
    user.wszUsername = L"bob";
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, user, nullptr));
    const std::pair<const char*, std::string> requests[] = {
        {"jobrun", runUuid}, {"jobdef", defUuid}, {"project", projUuid}, {"jobrun", otherRun}, {"jobdef", "unrelated"}};
    for (const auto& r : requests)
        ASSERT_EQ(0, YxProjectDb_toupload_SaveRequest(h, CYxStringW::FromUtf8(r.first), CYxStringW::FromUtf8(r.second),
                                                      L"u", user));
    ASSERT_EQ(0, YxProjectDb_toupload_ChangeStatus(h, runKey, L"finished"));
    EXPECT_EQ("jobdef|finished,jobrun|finished,project|finished",
              AcqOne(h, "SELECT group_concat(wszTablename || '|' || wszRunState, ',') FROM (SELECT * FROM toupload "
                        "WHERE wszRunState IS NOT NULL ORDER BY wszTablename)"));
    EXPECT_EQ(2, Count("toupload", "wszRunState IS NULL"));
    // A quote in the state fails the statement and changes nothing.
    EXPECT_NE(0, YxProjectDb_toupload_ChangeStatus(h, runKey, L"it's"));
    EXPECT_EQ(3, Count("toupload", "wszRunState='finished'"));
}

TEST_F(Uploads, DepositsByUuidAndDefinition) {
    std::int64_t d1 = 0, d2 = 0;
    ASSERT_EQ(0, YxProjectDb_Deposit_Insert(h, jobdefKey, 1.5, 2.5, L"dep-1", 4, "data", &d1));
    ASSERT_EQ(0, YxProjectDb_Deposit_Insert(h, jobdefKey, 3.0, 3.0, L"dep-2", 0, nullptr, &d2));
    SYxProjectDbRow_deposit row;
    ASSERT_EQ(0, YxProjectDb_Deposit_GetOne(h, L"dep-1", row));
    EXPECT_EQ(d1, row.iKey);
    EXPECT_DOUBLE_EQ(1.5, row.dCTime);
    EXPECT_DOUBLE_EQ(2.5, row.dMTime);
    EXPECT_EQ(CYxByteArray("data", 4), row.pData);
    CYxByteArray changed("new", 3);
    ASSERT_EQ(0, YxProjectDb_Deposit_Update(h, d2, jobdefKey, 4.0, 5.0, L"dep-2b", changed));
    std::list<SYxProjectDbRow_deposit> a, b;
    ASSERT_EQ(0, YxProjectDb_Deposit_GetMany(h, jobdefKey, a));
    ASSERT_EQ(0, YxProjectDb_Deposit_GetManyReferencingJobdef(h, jobdefKey, b));
    ASSERT_EQ(2u, a.size());
    EXPECT_EQ(2u, b.size());
    EXPECT_EQ(L"dep-2b", a.back().wszUuid);
    EXPECT_EQ(changed, a.back().pData);
    SYxProjectDbRow_deposit none;
    ASSERT_EQ(0, YxProjectDb_Deposit_GetOne(h, L"dep-2", none));
    EXPECT_EQ(0, none.iKey);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Deposit_GetOne(kNoHandle, L"dep-1", none));
}
