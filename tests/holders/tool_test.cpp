// projectdb create and projectdb holders: catalog in new files, the picture
// as rendered by a real SVG renderer, JSON export and import.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/holders.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "test_query.h"
#include "support/test_support.h"

#include <QColor>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string Tool(const std::string& args, int* status = nullptr) {
    std::string out;
    const int rc = YxTest_RunCommand(std::string(YxTest_ToolPath()) + " " + args + " 2>&1", &out);
    if (status) *status = rc;
    return out;
}

// Renders the SVG with rsvg-convert and loads the PNG.
QImage Render(const std::string& svg, const std::string& png) {
    std::string out;
    const int rc = YxTest_RunCommand("rsvg-convert '" + svg + "' -o '" + png + "' 2>&1", &out);
    EXPECT_EQ(0, rc) << "rsvg-convert (Debian librsvg2-bin, installed by scripts/setup.sh): " << out;
    return QImage(QString::fromStdString(png));
}

QColor PixelAtMm(const QImage& img, double x, double y) {
    return QColor::fromRgba(img.pixel(static_cast<int>(x * 8.0), static_cast<int>(y * 8.0)));
}

TEST(HolderTool, CreateMakesFilesThatHoldTheCatalog) {
    CYxTempDir dir;
    int rc = -1;
    Tool("create '" + dir.FileUtf8("a.db") + "'", &rc);
    ASSERT_EQ(0, rc);
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(dir.FileUtf8("a.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr));
    EXPECT_EQ(std::vector<std::string>{std::to_string(YxHolder_Catalog().size())},
              YxTest_QueryDb(db, "SELECT (SELECT count(*) FROM wellplatename) + (SELECT count(*) FROM dishname) + "
                                     "(SELECT count(*) FROM slidedef)"));
    sqlite3_close(db);
    const std::string list = Tool("holders list --db '" + dir.FileUtf8("a.db") + "' --json", &rc);
    ASSERT_EQ(0, rc) << list;
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromStdString(list));
    ASSERT_TRUE(doc.isArray()) << list;
    EXPECT_EQ(static_cast<int>(YxHolder_Catalog().size()), doc.array().size());
}

TEST(HolderTool, ShowGivesEveryElementInMillimetres) {
    int rc = -1;
    const std::string out = Tool("holders show 384 --json", &rc);
    ASSERT_EQ(0, rc) << out;
    const QJsonObject o = QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
    const QJsonArray elements = o.value("elements").toArray();
    ASSERT_EQ(384, elements.size());
    const QJsonObject last = elements.last().toObject();
    EXPECT_EQ(QString("P24"), last.value("name").toString());
    EXPECT_NEAR(12.13 + 23 * 4.5, last.value("center").toObject().value("x").toDouble(), 0.01);
    EXPECT_NEAR(8.99 + 15 * 4.5, last.value("center").toObject().value("y").toDouble(), 0.01);
    EXPECT_NEAR(127.76, o.value("width").toDouble(), 1e-9);
    EXPECT_EQ(QString("roundrect"), o.value("outline").toObject().value("kind").toString());
    // An ambiguous or unknown part fails with one line naming the problem.
    const std::string amb = Tool("holders show 35", &rc);
    EXPECT_EQ(1, rc);
    EXPECT_NE(std::string::npos, amb.find("matches several holders")) << amb;
    Tool("holders show 'no such thing'", &rc);
    EXPECT_EQ(1, rc);
}

TEST(HolderTool, RenderedPictureHasTheStatedSizeAndA1WhereItBelongs) {
    CYxTempDir dir;
    int rc = -1;
    const std::string svg = dir.Path() + "/p96.svg";
    const std::string out = Tool("holders show 96 --svg '" + svg + "'", &rc);
    ASSERT_EQ(0, rc) << out;
    EXPECT_NE(std::string::npos, out.find("1023 x 684 pixels")) << out;
    const QImage img = Render(svg, dir.Path() + "/p96.png");
    ASSERT_FALSE(img.isNull());
    EXPECT_EQ(1023, img.width());
    EXPECT_EQ(684, img.height());
    // A1's centre is inside the drawn well (white); the space between A1, A2,
    // B1 and B2 is the plate (grey); outside the rounded corner nothing.
    EXPECT_EQ(QColor(Qt::white), PixelAtMm(img, 14.38, 11.24));
    EXPECT_EQ(QColor("#d0d0d0"), PixelAtMm(img, 14.38 + 4.5, 11.24 + 4.5));
    EXPECT_EQ(0, PixelAtMm(img, 0.2, 0.2).alpha());
    // The last well too.
    EXPECT_EQ(QColor(Qt::white), PixelAtMm(img, 14.38 + 99, 11.24 + 63));
}

TEST(HolderTool, RunMarksTheWellsThatHoldFrames) {
    CYxTempDir dir;
    const CYxStringW path = dir.File("run.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_CreateWithUpgrades(path));
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(path);
    ASSERT_NE(0u, h);
    SYxProjectDbRow_jobrun run{};
    run.wszName = L"run";
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, run, nullptr));
    SYxHolderEntry plate;
    ASSERT_EQ(0, YxProjectDb_Holder_Find(h, L"96", plate));
    std::vector<std::int64_t> wells;
    ASSERT_EQ(0, YxProjectDb_Holder_AddRunPlate(h, run.iKey, plate, L"P", L"", SYxHolderAlignment(), {14, 0}, nullptr,
                                                &wells));
    ASSERT_EQ(0, YxProjectDb_Framewellinfo_Insert(h, run.iKey, wells[0], 0, nullptr));  // B3 holds a frame, A1 none
    YxProjectDb_Db_Disconnect(h);

    int rc = -1;
    const std::string svg = dir.Path() + "/run.svg";
    const std::string out = Tool("holders show 96 --db '" + dir.FileUtf8("run.db") + "' --run " + run.wszUuid.ToUtf8() +
                                     " --svg '" + svg + "'",
                                 &rc);
    ASSERT_EQ(0, rc) << out;
    const QImage img = Render(svg, dir.Path() + "/run.png");
    ASSERT_FALSE(img.isNull());
    EXPECT_EQ(QColor("#3070d0"), PixelAtMm(img, 14.38 + 2 * 9, 11.24 + 9));  // B3
    EXPECT_EQ(QColor(Qt::white), PixelAtMm(img, 14.38, 11.24));              // A1
    Tool("holders show 96 --db '" + dir.FileUtf8("run.db") + "' --run \"x' OR '1'='1\" --svg '" + svg + "'", &rc);
    EXPECT_EQ(1, rc);
}

TEST(HolderTool, ExportedHoldersImportAsUserHolders) {
    CYxTempDir dir;
    int rc = -1;
    Tool("create '" + dir.FileUtf8("a.db") + "'", &rc);
    ASSERT_EQ(0, rc);
    const std::string exported = Tool("holders export '8 chambers'", &rc);
    ASSERT_EQ(0, rc) << exported;
    QJsonObject o = QJsonDocument::fromJson(QByteArray::fromStdString(exported)).object();
    o.remove("uuid");
    o["company"] = "Our lab";
    o["model"] = "8 chambers, glued";
    {
        std::ofstream f(dir.Path() + "/mine.json");
        f << QJsonDocument(o).toJson().toStdString();
    }
    const std::string imp = Tool("holders import '" + dir.Path() + "/mine.json' --db '" + dir.FileUtf8("a.db") + "'", &rc);
    ASSERT_EQ(0, rc) << imp;
    const std::string shown = Tool("holders show glued --json --db '" + dir.FileUtf8("a.db") + "'", &rc);
    ASSERT_EQ(0, rc) << shown;
    const QJsonObject back = QJsonDocument::fromJson(QByteArray::fromStdString(shown)).object();
    EXPECT_TRUE(back.value("userImported").toBool());
    EXPECT_EQ(o.value("elements").toArray(), back.value("elements").toArray());
    EXPECT_EQ(QString("Our lab"), back.value("company").toString());
    // A file with a broken layout imports nothing.
    o["model"] = "broken";
    o["elements"] = QJsonArray{};
    {
        std::ofstream f(dir.Path() + "/bad.json");
        f << QJsonDocument(QJsonArray{o}).toJson().toStdString();
    }
    const std::string bad = Tool("holders import '" + dir.Path() + "/bad.json' --db '" + dir.FileUtf8("a.db") + "'", &rc);
    EXPECT_EQ(1, rc);
    EXPECT_NE(std::string::npos, bad.find("elements")) << bad;
    Tool("holders show broken --db '" + dir.FileUtf8("a.db") + "'", &rc);
    EXPECT_EQ(1, rc);
}

}  // namespace

namespace {

TEST(HolderTool, DemoRecordsItsPositionsOnACatalogPlate) {
    CYxTempDir dir;
    int rc = -1;
    const std::string out = Tool("demo '" + dir.Path() + "/demo'", &rc);
    ASSERT_EQ(0, rc) << out;
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2((dir.Path() + "/demo/demo.gnrdb").c_str(), &db, SQLITE_OPEN_READONLY, nullptr));
    // The plate is the catalog's 96-well plate, with a stored alignment.
    const std::string p96 = YxHolder_Catalog()[4].wszUuid.ToUtf8();
    EXPECT_EQ(std::vector<std::string>{p96 + "|48"},
              YxTest_QueryDb(db, "SELECT n.wszUuid, length(p.pAlignmentMatrix) FROM plateinfo p JOIN wellplatename n "
                                     "ON n.iKey=p.iWellplatenameKeyRef"));
    // The wells found from the stage positions, each holding its twelve frames.
    EXPECT_EQ((std::vector<std::string>{"13|B2|12", "14|B3|12", "25|C2|12", "26|C3|12"}),
              YxTest_QueryDb(db, "SELECT w.iWellIndex, w.wszName, count(f.iKey) FROM wellinfo w JOIN framewellinfo f "
                                     "ON f.iWellinfoKeyRef=w.iKey GROUP BY w.iKey ORDER BY w.iWellIndex"));
    // The well qualifier recorded with each frame agrees with its well.
    EXPECT_EQ(std::vector<std::string>{"0"},
              YxTest_QueryDb(db, "SELECT count(*) FROM framewellinfo f JOIN wellinfo w ON w.iKey=f.iWellinfoKeyRef "
                                     "JOIN framequal q ON q.iJobrunKeyRef=f.iJobrunKeyRef AND q.iFrameIndex=f.iFrameIndex "
                                     "JOIN qualstr s ON s.iKey=q.iQualstrKeyRef WHERE s.wszName<>w.wszName"));
    EXPECT_EQ(std::vector<std::string>{"48"}, YxTest_QueryDb(db, "SELECT count(*) FROM frameplateinfo"));
    sqlite3_close(db);
}

}  // namespace
