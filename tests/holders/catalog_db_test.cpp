// The catalog in jobs databases: installation by CreateWithUpgrades, the
// update of an older catalog, look-ups, user holders and the holders of a run.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/holders.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "test_query.h"
#include "support/test_support.h"

#include <sqlite3.h>

#include <gtest/gtest.h>

#include <set>

namespace {

class CYxHolderDbTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_path = m_dir.File("jobs.db");
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_CreateWithUpgrades(m_path));
        m_h = YxProjectDb_Db_Jobs_Connect(m_path);
        ASSERT_NE(0u, m_h);
    }
    void TearDown() override {
        if (m_h) YxProjectDb_Db_Disconnect(m_h);
    }
    sqlite3* Db() const { return CYxProjectDbConnectionManager::GetConnection(m_h).Get(); }
    std::vector<std::string> Query(const char* sql) const { return YxTest_QueryDb(Db(), sql); }
    std::int64_t Count(const wchar_t* table, const wchar_t* where = nullptr) const {
        std::int64_t n = -1;
        EXPECT_EQ(0, YxProjectDb_Table_Count(m_h, table, where, &n));
        return n;
    }
    // A user-defined 2 x 3 plate.
    SYxHolderEntry UserPlate(const wchar_t* model) const {
        SYxHolderEntry e;
        e.eKind = eYxHolderPlate;
        e.wszCompany = L"Lab";
        e.wszType = L"Custom plate";
        e.wszModel = model;
        SYxHolderLayout& l = e.layout;
        l.dWidth = 60;
        l.dHeight = 40;
        l.outline = YxHolder_RectShape(60, 40);
        l.iRows = 2;
        l.iCols = 3;
        l.first = {10, 10};
        l.dPitchX = l.dPitchY = 15;
        l.well = YxHolder_CircleShape(12);
        EXPECT_EQ(0, YxHolder_BuildGrid(l));
        return e;
    }

    CYxTempDir m_dir;
    CYxStringW m_path;
    YxProjectDbHandle m_h = 0;
};

TEST_F(CYxHolderDbTest, CreateWithUpgradesInstallsTheWholeCatalog) {
    std::vector<SYxHolderEntry> all;
    ASSERT_EQ(0, YxProjectDb_Holder_GetAll(m_h, true, all));
    ASSERT_EQ(YxHolder_Catalog().size(), all.size());
    for (const SYxHolderEntry& c : YxHolder_Catalog()) {
        SYxHolderEntry e;
        ASSERT_EQ(0, YxProjectDb_Holder_GetByUuid(m_h, c.wszUuid, e)) << YxHolder_FullName(c).ToUtf8();
        EXPECT_EQ(c.eKind, e.eKind);
        EXPECT_EQ(YxHolder_FullName(c), YxHolder_FullName(e));
        EXPECT_EQ(c.wszConfigUuid, e.wszConfigUuid);
        EXPECT_EQ(0, e.iUserImported);
        EXPECT_EQ(0, e.iRemoved);
        EXPECT_EQ(c.layout.elements.size(), e.layout.elements.size());
        EXPECT_EQ(c.wszSlideUuid, e.wszSlideUuid);
    }
    EXPECT_EQ((std::vector<std::string>{"main|136", "silent|1", "plate|1", "dish|1"}),
              Query("SELECT wszName, iVersion FROM vesion ORDER BY iKey"));
    EXPECT_EQ(std::vector<std::string>{"0"}, Query("SELECT count(*) FROM wellplatename WHERE wszCompany<>'Generic'"));
    // Plates come first, in natural order of their names.
    EXPECT_EQ(CYxStringW(L"6-well plate"), all[0].wszType);
    EXPECT_EQ(CYxStringW(L"96-well plate"), all[4].wszType);
}

TEST_F(CYxHolderDbTest, TwoNewFilesCompareEqualAndHoldTheSameRows) {
    const CYxStringW other = m_dir.File("other.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_CreateWithUpgrades(other));
    const YxProjectDbHandle h2 = YxProjectDb_Db_Jobs_Connect(other);
    ASSERT_NE(0u, h2);
    EXPECT_EQ(0, YxProjectDb_CompareVesions(m_h, h2));
    for (const char* sql : {"SELECT wszUuid, iWellplateconfigKeyRef, wszCompany, wszType, wszModel FROM wellplatename "
                            "ORDER BY wszUuid",
                            "SELECT wszUuid, hex(pData) FROM wellplateconfiguration ORDER BY wszUuid",
                            "SELECT wszUuid, hex(layoutelement), hex(surroundarea) FROM dishconfiguration ORDER BY wszUuid",
                            "SELECT wszUuid, hex(layoutelement), iNumCrosses, iSlideKeyRef FROM slidedef ORDER BY wszUuid"})
        EXPECT_EQ(Query(sql), YxTest_QueryDb(CYxProjectDbConnectionManager::GetConnection(h2).Get(), sql)) << sql;
    YxProjectDb_Db_Disconnect(h2);
}

TEST_F(CYxHolderDbTest, PlainCreateGetsTheCatalogFromAnUpdate) {
    const CYxStringW plain = m_dir.File("plain.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(plain));
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(plain);
    ASSERT_NE(0u, h);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_CompareVesions(h, m_h));  // no catalog versions at all
    ASSERT_EQ(0, YxProjectDb_Holder_UpdateCatalogs(h));
    EXPECT_EQ(0, YxProjectDb_CompareVesions(h, m_h));
    std::vector<SYxHolderEntry> all;
    ASSERT_EQ(0, YxProjectDb_Holder_GetAll(h, false, all));
    EXPECT_EQ(YxHolder_Catalog().size(), all.size());
    // A second run changes nothing.
    const std::vector<std::string> before = YxTest_QueryDb(
        CYxProjectDbConnectionManager::GetConnection(h).Get(), "SELECT count(*), sum(iKey) FROM wellplatename");
    ASSERT_EQ(0, YxProjectDb_Holder_UpdateCatalogs(h));
    EXPECT_EQ(before, YxTest_QueryDb(CYxProjectDbConnectionManager::GetConnection(h).Get(),
                                     "SELECT count(*), sum(iKey) FROM wellplatename"));
    YxProjectDb_Db_Disconnect(h);
}

TEST_F(CYxHolderDbTest, AnOlderCatalogGetsNewAndChangedEntriesAndWithdrawnOnesMarked) {
    SYxHolderEntry user = UserPlate(L"six");
    ASSERT_EQ(0, YxProjectDb_Holder_InsertUser(m_h, user));
    const std::vector<std::string> userRows = Query(
        "SELECT n.iKey, n.wszUuid, n.wszCompany, n.wszType, n.wszModel, n.iUserImported, n.iRemoved, c.iKey, "
        "c.wszUuid, hex(c.pData) FROM wellplatename n JOIN wellplateconfiguration c ON c.iKey=n.iWellplateconfigKeyRef "
        "WHERE n.iUserImported=1");
    ASSERT_EQ(1u, userRows.size());

    // The file as an older catalog left it: one entry missing, one changed,
    // one that the catalog no longer lists, and an older version number.
    const CYxStringW p96 = YxHolder_Catalog()[4].wszUuid;
    const std::string p96u = p96.ToUtf8();
    const std::int64_t p96Key = std::stoll(Query(("SELECT iKey FROM wellplatename WHERE wszUuid='" + p96u + "'").c_str())[0]);
    ASSERT_EQ(0, sqlite3_exec(Db(),
                              ("UPDATE wellplateconfiguration SET pData=x'00' WHERE iKey=(SELECT iWellplateconfigKeyRef "
                               "FROM wellplatename WHERE wszUuid='" + p96u + "');"
                               "UPDATE wellplatename SET wszModel='old model' WHERE wszUuid='" + p96u + "';"
                               "DELETE FROM wellplatename WHERE wszType='384-well plate';"
                               "INSERT INTO wellplateconfiguration (wszUuid, iRowCount, iColCount) VALUES ('oldcfg', 1, 1);"
                               "INSERT INTO wellplatename (wszUuid, iWellplateconfigKeyRef, wszCompany, wszType, wszModel, "
                               "iUserImported, iRemoved) VALUES ('withdrawn', last_insert_rowid(), 'Generic', 'gone', "
                               "'plate', 0, 0);"
                               "UPDATE vesion SET iVersion=0 WHERE wszName='plate';")
                                  .c_str(),
                              nullptr, nullptr, nullptr));
    // A run still refers to the changed entry by key.
    SYxProjectDbRow_jobrun run{};
    run.wszName = L"run";
    std::int64_t runKey = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, run, &runKey));
    SYxProjectDbRow_plateinfo info{0, runKey, p96Key, L"P1", L"", L"", 0, CYxByteArray()};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, info, nullptr));

    ASSERT_EQ(0, YxProjectDb_Holder_UpdateCatalog(m_h, eYxHolderPlate));
    EXPECT_EQ((std::vector<std::string>{"1"}), Query("SELECT iVersion FROM vesion WHERE wszName='plate'"));
    SYxHolderEntry e;
    ASSERT_EQ(0, YxProjectDb_Holder_GetByUuid(m_h, p96, e));  // changed: decodes again, same key
    EXPECT_EQ(p96Key, e.iKey);
    EXPECT_EQ(CYxStringW(L"SBS round wells"), e.wszModel);
    EXPECT_EQ(96u, e.layout.elements.size());
    ASSERT_EQ(0, YxProjectDb_Holder_GetByUuid(m_h, YxHolder_Catalog()[5].wszUuid, e));  // re-inserted
    EXPECT_EQ(384u, e.layout.elements.size());
    EXPECT_EQ((std::vector<std::string>{"1"}), Query("SELECT iRemoved FROM wellplatename WHERE wszUuid='withdrawn'"));
    EXPECT_EQ(1, Count(L"plateinfo", L"iWellplatenameKeyRef IS NOT NULL"));
    // The user's rows are byte for byte what they were.
    EXPECT_EQ(userRows, Query("SELECT n.iKey, n.wszUuid, n.wszCompany, n.wszType, n.wszModel, n.iUserImported, "
                              "n.iRemoved, c.iKey, c.wszUuid, hex(c.pData) FROM wellplatename n JOIN "
                              "wellplateconfiguration c ON c.iKey=n.iWellplateconfigKeyRef WHERE n.iUserImported=1"));
    // Removed entries are not listed, but can still be read.
    std::vector<SYxHolderEntry> listed;
    ASSERT_EQ(YXPDB_E_HOLDER_DATA, YxProjectDb_Holder_GetAll(m_h, true, listed));  // 'oldcfg' holds no geometry
    listed.clear();
    ASSERT_EQ(0, YxProjectDb_Holder_GetAll(m_h, false, listed));
    for (const SYxHolderEntry& x : listed) EXPECT_NE(CYxStringW(L"withdrawn"), x.wszUuid);
}

TEST_F(CYxHolderDbTest, ANewerCatalogIsLeftAlone) {
    ASSERT_EQ(0, sqlite3_exec(Db(), "UPDATE vesion SET iVersion=99 WHERE wszName IN ('plate','dish');"
                                    "UPDATE wellplatename SET wszModel='kept' WHERE wszType='6-well plate';",
                              nullptr, nullptr, nullptr));
    ASSERT_EQ(0, YxProjectDb_Holder_UpdateCatalogs(m_h));
    EXPECT_EQ(std::vector<std::string>{"kept"}, Query("SELECT wszModel FROM wellplatename WHERE wszType='6-well plate'"));
    EXPECT_EQ(std::vector<std::string>{"99"}, Query("SELECT iVersion FROM vesion WHERE wszName='dish'"));
}

TEST_F(CYxHolderDbTest, FindByUuidFullNameOrUnambiguousPart) {
    SYxHolderEntry e;
    ASSERT_EQ(0, YxProjectDb_Holder_Find(m_h, L"96", e));
    EXPECT_EQ(CYxStringW(L"96-well plate"), e.wszType);
    ASSERT_EQ(0, YxProjectDb_Holder_Find(m_h, L"generic 1536-WELL plate sbs square wells", e));
    EXPECT_EQ(1536u, e.layout.elements.size());
    ASSERT_EQ(0, YxProjectDb_Holder_Find(m_h, YxHolder_Catalog().back().wszUuid, e));
    EXPECT_EQ(eYxHolderSlide, e.eKind);
    EXPECT_EQ(YXPDB_E_AMBIGUOUS, YxProjectDb_Holder_Find(m_h, L"35 mm", e));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Holder_Find(m_h, L"no such holder", e));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Holder_Find(m_h, L"x' OR '1'='1", e));
    EXPECT_EQ(YXPDB_E_GENERIC, YxProjectDb_Holder_Find(m_h, L"", e));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Holder_Find(987654, L"96", e));
    ASSERT_EQ(0, YxProjectDb_Holder_GetByName(m_h, eYxHolderDish, L"GENERIC", L"35 mm dish", L"4 compartments", e));
    EXPECT_EQ(4u, e.layout.elements.size());
    EXPECT_EQ(eYxShapePolygon, e.layout.elements[0].shape.eKind);
    // A removed holder is not found by a part of its name any more.
    ASSERT_EQ(0, YxProjectDb_Holder_MarkRemoved(m_h, eYxHolderPlate, YxProjectDb_Holder_Find(m_h, L"96", e) ? 0 : e.iKey));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Holder_Find(m_h, L"96", e));
}

TEST_F(CYxHolderDbTest, UserHoldersAreWholeOrAbsent) {
    SYxHolderEntry plate = UserPlate(L"quote ' model");
    ASSERT_EQ(0, YxProjectDb_Holder_InsertUser(m_h, plate));
    EXPECT_NE(0, plate.iKey);
    EXPECT_EQ(32u, plate.wszUuid.GetLength());
    SYxHolderEntry back;
    ASSERT_EQ(0, YxProjectDb_Holder_Find(m_h, L"quote ' model", back));
    EXPECT_EQ(1, back.iUserImported);
    EXPECT_EQ(6u, back.layout.elements.size());

    // The same names again violate the unique group: nothing of it stays.
    const std::int64_t configs = Count(L"wellplateconfiguration");
    SYxHolderEntry twin = UserPlate(L"quote ' model");
    twin.wszUuid = plate.wszUuid;
    EXPECT_EQ(SQLITE_CONSTRAINT, YxProjectDb_Holder_InsertUser(m_h, twin) & 0xFF);
    EXPECT_EQ(configs, Count(L"wellplateconfiguration"));
    EXPECT_EQ(0, twin.iKey);
    // Inside the caller's transaction the failure undoes only its own rows.
    ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(m_h));
    SYxHolderEntry dish;
    dish.eKind = eYxHolderDish;
    dish.wszModel = L"mine";
    dish.layout = YxHolder_Catalog()[7].layout;
    ASSERT_EQ(0, YxProjectDb_Holder_InsertUser(m_h, dish));
    EXPECT_NE(0, YxProjectDb_Holder_InsertUser(m_h, twin));
    EXPECT_TRUE(YxProjectDb_Db_IsInTransaction(m_h));
    ASSERT_EQ(0, YxProjectDb_Db_TransactionCommit(m_h));
    EXPECT_EQ(configs, Count(L"wellplateconfiguration"));
    EXPECT_EQ(1, Count(L"dishname", L"iUserImported=1"));
    SYxHolderEntry found;
    ASSERT_EQ(0, YxProjectDb_Holder_GetByName(m_h, eYxHolderDish, L"Unknown", L"Unknown", L"mine", found));
    // An invalid layout is refused before anything is written.
    SYxHolderEntry bad = UserPlate(L"bad");
    bad.layout.dPitchX = 1;
    EXPECT_EQ(YXPDB_E_GENERIC, YxProjectDb_Holder_InsertUser(m_h, bad));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Holder_Find(m_h, L"Lab Custom plate bad", found));
}

TEST_F(CYxHolderDbTest, RunPlatesKeepTheirAlignmentAndWells) {
    SYxProjectDbRow_jobrun run{};
    run.wszName = L"run";
    std::int64_t runKey = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, run, &runKey));
    SYxHolderEntry plate;
    ASSERT_EQ(0, YxProjectDb_Holder_Find(m_h, L"96", plate));
    const SYxHolderAlignment m = YxHolder_MakeAlignment(0.7, 1.001, 5000, 3000);
    std::int64_t infoKey = 0;
    std::vector<std::int64_t> wellKeys;
    ASSERT_EQ(0, YxProjectDb_Holder_AddRunPlate(m_h, runKey, plate, L"Plate 1", L"BC-1", m, {13, 14, 95}, &infoKey,
                                                &wellKeys));
    ASSERT_EQ(3u, wellKeys.size());
    std::vector<SYxHolderRunPlate> plates;
    ASSERT_EQ(0, YxProjectDb_Holder_GetRunPlates(m_h, runKey, plates));
    ASSERT_EQ(1u, plates.size());
    EXPECT_EQ(infoKey, plates[0].row.iKey);
    EXPECT_TRUE(plates[0].bHasAlignment);
    EXPECT_EQ(m.c, plates[0].alignment.c);
    EXPECT_EQ(plate.wszUuid, plates[0].holder.wszUuid);
    std::vector<SYxProjectDbRow_wellinfo> wells;
    ASSERT_EQ(0, YxProjectDb_Holder_GetRunWells(m_h, runKey, wells));
    ASSERT_EQ(3u, wells.size());
    EXPECT_EQ(CYxStringW(L"B2"), wells[0].wszName);
    EXPECT_EQ(95, wells[2].iWellIndex);
    EXPECT_EQ(CYxStringW(L"H12"), wells[2].wszName);
    ASSERT_EQ(0, YxProjectDb_Framewellinfo_Insert(m_h, runKey, wellKeys[1], 0, nullptr));
    ASSERT_EQ(0, YxProjectDb_Framewellinfo_Insert(m_h, runKey, wellKeys[1], 1, nullptr));
    std::vector<CYxStringW> withFrames;
    ASSERT_EQ(0, YxProjectDb_Holder_GetRunFrameWells(m_h, runKey, withFrames));
    EXPECT_EQ(std::vector<CYxStringW>{L"B3"}, withFrames);
    // A bad well index writes nothing; a damaged matrix is reported on read.
    EXPECT_EQ(YXPDB_E_GENERIC, YxProjectDb_Holder_AddRunPlate(m_h, runKey, plate, L"P2", L"", m, {96}, nullptr, nullptr));
    EXPECT_EQ(1, Count(L"plateinfo"));
    ASSERT_EQ(0, sqlite3_exec(Db(), "UPDATE plateinfo SET pAlignmentMatrix=x'0102';", nullptr, nullptr, nullptr));
    plates.clear();
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxProjectDb_Holder_GetRunPlates(m_h, runKey, plates));
    ASSERT_EQ(1u, plates.size());
    EXPECT_FALSE(plates[0].bHasAlignment);
    // Slides.
    SYxHolderEntry slide;
    ASSERT_EQ(0, YxProjectDb_Holder_Find(m_h, L"8 chambers", slide));
    std::int64_t slideKey = 0;
    ASSERT_EQ(0, YxProjectDb_Holder_AddRunSlide(m_h, runKey, slide, L"S1", L"", m, &slideKey));
    std::vector<SYxProjectDbRow_slideinfo> slides;
    ASSERT_EQ(0, YxProjectDb_Holder_GetRunSlides(m_h, runKey, slides));
    ASSERT_EQ(1u, slides.size());
    EXPECT_EQ(slide.iKey, slides[0].iSlideKeyRef);
    EXPECT_EQ(YxHolder_EncodeAlignment(m), slides[0].pAlignmentMatrix);
}

}  // namespace
