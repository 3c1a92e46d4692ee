// Assay runs with their recipes, graph settings of runs and definitions,
// and single members of JSON metadata columns.
#include "gnr_projectdb/json_member.h"
#include "gnr_projectdb/records_assays.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/sys.h"

#include "locale_support.h"
#include "records/records_fixture.h"
#include "support/row_print.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

class CYxAssaysTest : public CYxRecordsTest {
protected:
    std::int64_t AddAssayrun(std::int64_t run, const wchar_t* name, double ctime) {
        SYxProjectDbRow_assayrun a{};
        a.iJobrunKeyRef = run;
        a.wszName = name;
        a.dCTime = ctime;
        a.wszUuid = YxProjectDb_Sys_UuidAsText();
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Import(m_h, a, &key));
        return key;
    }
};

TEST_F(CYxAssaysTest, AssayRunsOfARunComeWithTheirRecipe) {
    const std::int64_t run = AddRun(), other = AddRun();
    SYxProjectDbRow_assayrecipe seg{};
    seg.wszUniqueName = L"Segmentation";
    seg.wszModule = L"old";
    seg.dMTime = 1.0;
    std::int64_t segOld = 0, segNew = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Import(m_h, seg, &segOld));
    seg.wszModule = L"new";
    seg.dMTime = 2.0;
    seg.wszUuid = L"u2";
    ASSERT_EQ(0, YxProjectDb_Row_Import(m_h, seg, &segNew));

    const std::int64_t second = AddAssayrun(run, L"segmentation", 20.0);  // case differs
    const std::int64_t first = AddAssayrun(run, L"No recipe", 10.0);
    AddAssayrun(other, L"Segmentation", 5.0);

    std::vector<SYxProjectDbAssayrunWithRecipe> rows;
    ASSERT_EQ(0, YxProjectDb_Assayrun_GetManyWithRecipe(m_h, run, rows));
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ(first, rows[0].run.iKey);
    EXPECT_EQ(0, rows[0].recipe.iKey);
    EXPECT_EQ(second, rows[1].run.iKey);
    EXPECT_EQ(CYxStringW(L"segmentation"), rows[1].run.wszName);
    EXPECT_EQ(segNew, rows[1].recipe.iKey);  // the last modified recipe of that name
    EXPECT_EQ(CYxStringW(L"new"), rows[1].recipe.wszModule);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Assayrun_GetManyWithRecipe(999, run, rows));
}

TEST_F(CYxAssaysTest, GraphSettingsOfRunsAndDefinitions) {
    const std::int64_t run = AddRun();
    SYxProjectDbRow_jobrun r{};
    ASSERT_EQ(0, YxProjectDb_Row_GetOne(m_h, run, r));
    SYxProjectDbRow_graphsettings g{};
    ASSERT_EQ(0, YxProjectDb_Graphsettings_GetForJobrun(m_h, run, g));
    EXPECT_EQ(0, g.iKey);

    const unsigned char bytes[] = {1, 2, 3};
    std::int64_t k1 = 0, k2 = 0;
    ASSERT_EQ(0, YxProjectDb_Graphsettings_Save(m_h, r.wszUuid, L"first", CYxByteArray(bytes, 3), &k1));
    ASSERT_NE(0, k1);
    SYxProjectDbRow_graphsettings saved{};
    ASSERT_EQ(0, YxProjectDb_Graphsettings_GetForJobrun(m_h, run, saved));
    EXPECT_EQ(k1, saved.iKey);
    EXPECT_EQ(saved.dCTime, saved.dMTime);

    ASSERT_EQ(0, YxProjectDb_Graphsettings_Save(m_h, r.wszUuid, L"it's; --", CYxByteArray(bytes, 1), &k2));
    EXPECT_EQ(k1, k2);  // the same row, saved again
    SYxProjectDbRow_graphsettings again{};
    ASSERT_EQ(0, YxProjectDb_Graphsettings_GetOne(m_h, r.wszUuid, again));
    EXPECT_EQ(CYxStringW(L"it's; --"), again.wszDesc);
    EXPECT_EQ(1u, again.pData.GetSize());
    EXPECT_EQ(saved.dCTime, again.dCTime);
    EXPECT_GE(again.dMTime, saved.dMTime);
    EXPECT_EQ(1, Count(L"graphsettings"));

    SYxProjectDbRow_jobdef def{};
    def.wszName = L"d";
    std::int64_t kd = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, def, &kd));
    SYxProjectDbRow_graphsettings none{};
    ASSERT_EQ(0, YxProjectDb_Graphsettings_GetForJobdef(m_h, kd, none));
    EXPECT_EQ(0, none.iKey);  // the run's settings are not the definition's
    ASSERT_EQ(0, YxProjectDb_Graphsettings_Save(m_h, def.wszUuid, L"", CYxByteArray(), nullptr));
    ASSERT_EQ(0, YxProjectDb_Graphsettings_GetForJobdef(m_h, kd, none));
    EXPECT_EQ(def.wszUuid, none.wszUniqueName);

    ASSERT_EQ(0, YxProjectDb_Graphsettings_Delete(m_h, r.wszUuid));
    EXPECT_EQ(1, Count(L"graphsettings"));
    std::int64_t key = 5;
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Graphsettings_Save(999, L"x", L"", CYxByteArray(), &key));
    EXPECT_EQ(0, key);
}

class CYxJsonMemberTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_path = m_dir.File("app.db");
        ASSERT_EQ(0, YxProjectDb_Db_Vasq_Create(m_path));
        m_h = YxProjectDb_Db_Vasq_Connect(m_path);
        ASSERT_NE(0u, m_h);
        QJsonObject meta{{"iWidth", 512}, {"name", "a"}, {"nested", QJsonObject{{"x", 1}}}};
        ASSERT_EQ(0, YxProjectDb_Files_Insert(m_h, L"f.tif", &meta, &m_key));
    }
    void TearDown() override { YxProjectDb_Db_Disconnect(m_h); }
    QJsonObject Stored() {
        SYxProjectDbRow_files row{};
        EXPECT_EQ(0, YxProjectDb_Files_GetOne(m_h, m_key, row));
        return row.jsonMetadata;
    }
    int Get(const wchar_t* member, QJsonValue& v) {
        return YxProjectDb_Json_GetMember(m_h, L"files", L"jsonMetadata", m_key, member, v);
    }
    int Set(const wchar_t* member, const QJsonValue& v) {
        return YxProjectDb_Json_SetMember(m_h, L"files", L"jsonMetadata", m_key, member, v);
    }

    CYxTempDir m_dir;
    CYxStringW m_path;
    YxProjectDbHandle m_h = 0;
    std::int64_t m_key = 0;
};

TEST_F(CYxJsonMemberTest, ReadsEachKindOfValue) {
    QJsonValue v;
    ASSERT_EQ(0, Get(L"iWidth", v));
    EXPECT_EQ(QJsonValue(512), v);
    ASSERT_EQ(0, Get(L"name", v));
    EXPECT_EQ(QJsonValue("a"), v);
    ASSERT_EQ(0, Get(L"nested", v));
    EXPECT_EQ(QJsonValue(QJsonObject{{"x", 1}}), v);
    v = QJsonValue(7);
    EXPECT_EQ(YXPDB_E_NOTFOUND, Get(L"missing", v));
    EXPECT_EQ(QJsonValue(7), v);
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Json_GetMember(m_h, L"files", L"jsonMetadata", 999, L"iWidth", v));
}

TEST_F(CYxJsonMemberTest, WritesOneMemberAndKeepsTheOthers) {
    ASSERT_EQ(0, Set(L"iWidth", QJsonValue(1024)));
    ASSERT_EQ(0, Set(L"dCalibration", QJsonValue(0.25)));
    ASSERT_EQ(0, Set(L"flag", QJsonValue(true)));
    ASSERT_EQ(0, Set(L"gone", QJsonValue(QJsonValue::Null)));
    ASSERT_EQ(0, Set(L"list", QJsonArray{1, "two"}));
    ASSERT_EQ(0, Set(L"it's; DROP TABLE files; --", QJsonValue("x'); --")));
    ASSERT_EQ(0, Set(L"Größe", QJsonValue("ÄÖÜ")));
    const QJsonObject o = Stored();
    EXPECT_EQ(QJsonValue(1024), o.value("iWidth"));
    EXPECT_EQ(QJsonValue(0.25), o.value("dCalibration"));
    EXPECT_EQ(QJsonValue(true), o.value("flag"));
    EXPECT_TRUE(o.value("gone").isNull());
    EXPECT_EQ(QJsonValue(QJsonArray{1, "two"}), o.value("list"));
    EXPECT_EQ(QJsonValue("x'); --"), o.value("it's; DROP TABLE files; --"));
    EXPECT_EQ(QJsonValue("ÄÖÜ"), o.value("Größe"));
    EXPECT_EQ(QJsonValue("a"), o.value("name"));
    EXPECT_EQ(QJsonValue(QJsonObject{{"x", 1}}), o.value("nested"));

    // A whole number is stored as a JSON integer, which SQLite reads as one.
    QJsonValue v;
    ASSERT_EQ(0, Get(L"iWidth", v));
    EXPECT_EQ(1024, v.toInt());

    ASSERT_EQ(0, YxProjectDb_Json_RemoveMember(m_h, L"files", L"jsonMetadata", m_key, L"name"));
    ASSERT_EQ(0, Set(L"list", QJsonValue(QJsonValue::Undefined)));
    EXPECT_FALSE(Stored().contains("name"));
    EXPECT_FALSE(Stored().contains("list"));
    EXPECT_TRUE(Stored().contains("iWidth"));
}

// Reals come back as the same double, both through GetMember and in the
// stored text, and under a comma-decimal locale too.
TEST_F(CYxJsonMemberTest, RealsReadBackExactly) {
    const double values[] = {0.1, 2460000.123456789, -1.5e-7, 1.0 / 3.0, 6.02214076e23};
    auto check = [&] {
        for (const double d : values) {
            ASSERT_EQ(0, Set(L"dValue", QJsonValue(d)));
            QJsonValue v;
            ASSERT_EQ(0, Get(L"dValue", v));
            EXPECT_EQ(d, v.toDouble());
            EXPECT_EQ(d, Stored().value("dValue").toDouble());
        }
    };
    check();
    CYxCommaLocale comma;
    YX_REQUIRE_COMMA_LOCALE(comma);
    check();
}

TEST_F(CYxJsonMemberTest, OnlyJsonColumnsOfTheSchemaAndAddressableNames) {
    QJsonValue v(5);
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Json_GetMember(m_h, L"files", L"wszFileName", m_key, L"a", v));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Json_GetMember(m_h, L"files; DROP TABLE files", L"jsonMetadata", m_key,
                                                           L"a", v));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Json_SetMember(m_h, L"nosuch", L"jsonMetadata", m_key, L"a", v));
    EXPECT_EQ(YXPDB_E_NOTFOUND, Set(L"a\"b", v));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Json_SetMember(m_h, L"files", L"jsonMetadata", 999, L"a", v));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Json_SetMember(999, L"files", L"jsonMetadata", m_key, L"a", v));
    EXPECT_EQ(QJsonValue(5), v);
    EXPECT_EQ(3, Stored().size());
}

}  // namespace
