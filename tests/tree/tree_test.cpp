// projectdb tree: the record tree of a real database, as text and JSON.
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/records_project.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

TEST(ProjectdbTree, ListsProjectsDefinitionsProgramsAndRunsWithFrameCounts) {
    CYxTempDir dir;
    const CYxStringW path = dir.File("t.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(path));
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
    ASSERT_NE(0u, h);
    std::int64_t proj = 0, def = 0, prog = 0;
    ASSERT_EQ(0, YxProjectDb_Proj_Insert(h, L"Cells", L"", L"Cells", &proj));
    ASSERT_EQ(0, YxProjectDb_Jobdef_Insert(h, proj, 3, 0, L"Scan", L"", 0, nullptr, &def));
    ASSERT_EQ(0, YxProjectDb_Jobprogram_Insert(h, def, L"v1", &prog));
    SYxProjectDbRow_jobrun run{};
    ASSERT_EQ(0, YxProjectDb_Jobrun_Insert(h, proj, YxProjectDb_Proj_MakeAbsPath(h, L"Cells"), def, prog, 1,
                                           L"Morning", L"", &run, nullptr));
    std::vector<SYxProjectDbRow_frame> frames = {{0, run.iKey, 0, 0, 1.0, 0, 0}, {0, run.iKey, 0, 1, 2.0, 0, 1}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, frames));
    YxProjectDb_Db_Disconnect(h);

    std::string out;
    ASSERT_EQ(0, YxTest_RunCommand(std::string(YxTest_ToolPath()) + " tree '" + dir.FileUtf8("t.db") + "' --json", &out));
    const QJsonObject root = QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
    const QJsonArray projects = root[QStringLiteral("projects")].toArray();
    ASSERT_EQ(1, projects.size());
    const QJsonObject p = projects[0].toObject();
    EXPECT_EQ(QStringLiteral("Cells"), p[QStringLiteral("name")].toString());
    const QJsonObject d = p[QStringLiteral("jobdefs")].toArray()[0].toObject();
    EXPECT_EQ(QStringLiteral("Scan"), d[QStringLiteral("name")].toString());
    EXPECT_EQ(3, d[QStringLiteral("state")].toInt());
    EXPECT_EQ(QStringLiteral("v1"), d[QStringLiteral("programs")].toArray()[0].toObject()[QStringLiteral("summary")].toString());
    const QJsonObject r = d[QStringLiteral("runs")].toArray()[0].toObject();
    EXPECT_EQ(QStringLiteral("Morning"), r[QStringLiteral("name")].toString());
    EXPECT_EQ(QString::fromStdWString(run.wszUuid.str()), r[QStringLiteral("uuid")].toString());
    EXPECT_EQ(QString::fromStdWString(run.wszFolderName.str()), r[QStringLiteral("folder")].toString());
    EXPECT_EQ(2, r[QStringLiteral("frames")].toInt());
    EXPECT_TRUE(r[QStringLiteral("running")].toBool());

    std::string text;
    ASSERT_EQ(0, YxTest_RunCommand(std::string(YxTest_ToolPath()) + " tree '" + dir.FileUtf8("t.db") + "'", &text));
    EXPECT_NE(std::string::npos, text.find("run ")) << text;
    EXPECT_NE(std::string::npos, text.find("frames=2")) << text;

    std::string err;
    EXPECT_NE(0, YxTest_RunCommand(std::string(YxTest_ToolPath()) + " tree '" + dir.FileUtf8("missing.db") + "' 2>&1", &err));
    EXPECT_NE(std::string::npos, err.find("(YXPDB_E_NOCONNECTION -9)")) << err;
}
