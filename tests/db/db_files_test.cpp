// Creating, connecting to and describing jobs and application database files.
#include "db_test_util.h"
#include "test_support.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>

namespace {

using Rows = std::vector<std::string>;

class DbFiles : public ::testing::Test {
protected:
    CYxTempDir dir;
    std::string file = dir.FileUtf8("Study 1.db");
    CYxStringW wfile = dir.File("Study 1.db");
};

TEST_F(DbFiles, CreateWritesTheWholeSchemaInListOrder) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    Rows expected;
    for (int i = 0; i < count; ++i) expected.push_back(CYxStringW(defs[i]->wszName).ToUtf8());
    EXPECT_EQ(59u, expected.size());
    EXPECT_EQ(expected, YxTest_Query(file, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY rowid"));

    EXPECT_EQ((Rows{"main|136", "silent|1"}), YxTest_Query(file, "SELECT wszName, iVersion FROM vesion ORDER BY iKey"));
    EXPECT_EQ((Rows{"folderformat|int32|1", "journal_mode|stringw|wal", "synchronous|stringw|normal"}),
              YxTest_Query(file, "SELECT wszName, wszType, varValue FROM settings ORDER BY wszName"));
    Rows identity = YxTest_Query(file, "SELECT wszName, wszUuid FROM dbinfo");
    ASSERT_EQ(1u, identity.size());
    EXPECT_TRUE(std::regex_match(identity[0], std::regex("dbuuid\\|[0-9a-f]{32}"))) << identity[0];
    EXPECT_EQ(Rows{"ok"}, YxTest_Query(file, "PRAGMA integrity_check"));
    EXPECT_EQ(Rows{"wal"}, YxTest_Query(file, "PRAGMA journal_mode"));
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path() + "/Study 1 Projects"));
}

TEST_F(DbFiles, KeyColumnIsTheRowIdInEveryTable) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    for (int i = 0; i < count; ++i) {
        const std::string t = CYxStringW(defs[i]->wszName).ToUtf8();
        // Only an INTEGER PRIMARY KEY column is an alias of the row id; such a
        // table has no separate primary-key index.
        EXPECT_EQ(Rows{"iKey|INTEGER|1"},
                  YxTest_Query(file, "SELECT name, type, pk FROM pragma_table_info('" + t + "') WHERE pk>0"))
            << t;
        EXPECT_EQ(Rows{"0"}, YxTest_Query(file, "SELECT count(*) FROM pragma_index_list('" + t + "') WHERE origin='pk'"))
            << t;
    }
}

TEST_F(DbFiles, CreateOnAnExistingDatabaseFailsAndKeepsItsData) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(wfile);
    ASSERT_NE(0u, h);
    ASSERT_EQ(0, YxProjectDb_Db_SetOptInt32(h, L"sortorder", 7));
    YxProjectDb_Db_Disconnect(h);
    EXPECT_NE(0, YxProjectDb_Db_Jobs_Create(wfile));
    EXPECT_EQ(Rows{"7"}, YxTest_Query(file, "SELECT varValue FROM settings WHERE wszName='sortorder'"));
    EXPECT_EQ(Rows{"ok"}, YxTest_Query(file, "PRAGMA integrity_check"));
}

TEST_F(DbFiles, EmptyPathsAreRefused) {
    EXPECT_EQ(-1, YxProjectDb_Db_Jobs_Create(L""));
    EXPECT_EQ(-1, YxProjectDb_Db_Jobs_Create(nullptr));
    EXPECT_EQ(0u, YxProjectDb_Db_Jobs_Connect(L""));
    EXPECT_EQ(0u, YxProjectDb_Db_Jobs_ConnectForRead(nullptr));
    EXPECT_EQ(-1, YxProjectDb_Db_Jobs_GetInfo(L"", nullptr));
    EXPECT_EQ(-9, YxProjectDb_Db_Jobs_GetInfo(dir.File("missing.db"), nullptr));
}

TEST_F(DbFiles, ConnectSetsUpTheConnection) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(wfile);
    ASSERT_NE(0u, h);
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h);
    EXPECT_EQ(Rows{"1"}, YxTest_QueryDb(db, "PRAGMA foreign_keys"));
    EXPECT_EQ(Rows{"1"}, YxTest_QueryDb(db, "PRAGMA recursive_triggers"));
    EXPECT_EQ(Rows{"1"}, YxTest_QueryDb(db, "PRAGMA synchronous"));  // normal
    EXPECT_EQ((Rows{"trg_jobdef_d", "trg_jobdef_i", "trg_jobdef_u_dMTime", "trg_jobrun_u_dMTime"}),
              YxTest_QueryDb(db, "SELECT name FROM sqlite_temp_master WHERE type='trigger' ORDER BY name"));
    // The insert trigger stamps the project with the definition's time.
    EXPECT_EQ(Rows{}, YxTest_QueryDb(db, "INSERT INTO project(iKey, dMTime) VALUES (1, 1.0)"));
    EXPECT_EQ(Rows{}, YxTest_QueryDb(db, "INSERT INTO jobdef(iProjKeyRef, dMTime) VALUES (1, 2.5)"));
    EXPECT_EQ(Rows{"2.5"}, YxTest_QueryDb(db, "SELECT dMTime FROM project"));
    // ... and the delete trigger calls jdnnow(), registered on the connection.
    EXPECT_EQ(Rows{}, YxTest_QueryDb(db, "DELETE FROM jobdef"));
    EXPECT_EQ(Rows{"1"}, YxTest_QueryDb(db, "SELECT dMTime > 2400000 FROM project"));

    EXPECT_EQ(wfile, YxProjectDb_Db_Filename(h));
    EXPECT_EQ(CYxStringW::FromUtf8(dir.Path() + "/"), YxProjectDb_Db_Folder(h));
    EXPECT_EQ(CYxStringW::FromUtf8(dir.Path() + "/Study 1 Projects/"), YxProjectDb_Db_ProjectRootFolder(h));
    EXPECT_EQ(CYxStringW(L"Study 1 Projects"), YxProjectDb_Db_ProjectFolderName(wfile));
    EXPECT_GT(YxProjectDb_Db_GetSize(h), 0u);
    EXPECT_TRUE(YxProjectDb_Db_HasTable(h, L"jobrunqualstat"));
    EXPECT_FALSE(YxProjectDb_Db_HasTable(h, L"assaydef"));
    EXPECT_FALSE(YxProjectDb_Db_HasTable(h, L"x' OR '1'='1"));
    EXPECT_EQ(0, YxProjectDb_Db_IsWriteable(h));
    YxProjectDb_Db_Disconnect(h);
}

TEST_F(DbFiles, ReadOnlyFileConnectsOnlyForReading) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    // Leave no WAL behind, so a reader needs no write access.
    { YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(wfile); ASSERT_NE(0u, h);
      YxProjectDb_Db_SetOptStr(h, L"journal_mode", L"delete"); YxProjectDb_Db_Disconnect(h); }
    ASSERT_EQ(0, chmod(file.c_str(), 0444));
    EXPECT_EQ(0u, YxProjectDb_Db_Jobs_Connect(wfile));
    YxProjectDbHandle r = YxProjectDb_Db_Jobs_ConnectForRead(wfile);
    ASSERT_NE(0u, r);
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(r));
    EXPECT_TRUE(YxProjectDb_Db_HasTable(r, L"frame"));
    YxProjectDb_Db_Disconnect(r);

    SYxProjectDbFileInfo info;
    EXPECT_EQ(-10, YxProjectDb_Db_Jobs_GetInfo(wfile, &info));
    EXPECT_TRUE(info.bReadOnly);
    EXPECT_FALSE(info.bDamaged);
}

TEST_F(DbFiles, GetInfoDescribesEveryField) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    SYxProjectDbFileInfo info;
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_GetInfo(wfile, &info));
    EXPECT_EQ(wfile, info.wszFileName);
    EXPECT_EQ(CYxStringW(L"wal"), info.wszJournalMode);
    EXPECT_EQ(CYxStringW(L"wal"), info.wszStoredJournalMode);
    EXPECT_EQ(CYxStringW(L"normal"), info.wszStoredSynchronous);
    EXPECT_FALSE(info.bNetworkDrive);
    EXPECT_FALSE(info.bReadOnly);
    EXPECT_FALSE(info.bDamaged);
    EXPECT_EQ(0, info.iOpenResult);
    EXPECT_EQ(1, info.iFolderFormat);
    EXPECT_EQ(0, info.iMainReadError);
    EXPECT_EQ(136, info.iMainVersion);
    EXPECT_EQ(0, info.iSilentReadError);
    EXPECT_EQ(1, info.iSilentVersion);
    EXPECT_EQ(101, info.iPlateReadError);  // no "plate" row: no row read
    EXPECT_EQ(0, info.iPlateVersion);
    EXPECT_EQ(0, YxProjectDb_Db_Jobs_GetInfo(wfile, nullptr));
}

TEST_F(DbFiles, GetInfoOfANewerDatabaseFailsWithAllFieldsFilled) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(wfile);
    ASSERT_NE(0u, h);
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(h);
    ASSERT_EQ(Rows{}, YxTest_QueryDb(db, "UPDATE vesion SET iVersion=137 WHERE wszName='main'"));
    YxProjectDb_Db_Disconnect(h);
    SYxProjectDbFileInfo info;
    EXPECT_EQ(-1, YxProjectDb_Db_Jobs_GetInfo(wfile, &info));
    EXPECT_EQ(137, info.iMainVersion);
    EXPECT_EQ(1, info.iSilentVersion);
    EXPECT_EQ(CYxStringW(L"normal"), info.wszStoredSynchronous);
    EXPECT_EQ(1, info.iFolderFormat);
}

TEST_F(DbFiles, GarbageFileIsReportedNotCrashedOn) {
    {
        std::ofstream out(file, std::ios::binary);
        std::uint32_t x = 12345;
        for (int i = 0; i < 20000; ++i) {
            x = x * 1103515245u + 12345u;
            out.put(static_cast<char>(x >> 24));
        }
    }
    SYxProjectDbFileInfo info;
    EXPECT_EQ(-10, YxProjectDb_Db_Jobs_GetInfo(wfile, &info));
    EXPECT_TRUE(info.bDamaged);
    EXPECT_EQ(0u, YxProjectDb_Db_Jobs_Connect(wfile));
    YxProjectDbHandle r = YxProjectDb_Db_Jobs_ConnectForRead(wfile);
    if (r) {
        EXPECT_FALSE(YxProjectDb_Db_HasTable(r, L"frame"));
        YxProjectDb_Db_Disconnect(r);
    }
    // A corrupted page in a real database is found by the test write.
    const std::string file2 = dir.FileUtf8("second.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(CYxStringW::FromUtf8(file2)));
    {
        YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(CYxStringW::FromUtf8(file2));
        ASSERT_NE(0u, h);
        YxProjectDb_Db_SetOptStr(h, L"journal_mode", L"delete");
        YxProjectDb_Db_Disconnect(h);
    }
    std::fstream f(file2, std::ios::in | std::ios::out | std::ios::binary);
    f.seekp(4096);  // page 2: the first table's root page
    for (int i = 0; i < 4096; ++i) f.put('\x5a');
    f.close();
    SYxProjectDbFileInfo info2;
    EXPECT_EQ(-10, YxProjectDb_Db_Jobs_GetInfo(CYxStringW::FromUtf8(file2), &info2));
    EXPECT_TRUE(info2.bDamaged || info2.bReadOnly);
}

TEST_F(DbFiles, UnknownHandleAnswersEmpty) {
    const YxProjectDbHandle unknown = 987654;
    EXPECT_TRUE(YxProjectDb_Db_Filename(unknown).IsEmpty());
    EXPECT_TRUE(YxProjectDb_Db_Folder(unknown).IsEmpty());
    EXPECT_TRUE(YxProjectDb_Db_ProjectRootFolder(unknown).IsEmpty());
    EXPECT_EQ(0u, YxProjectDb_Db_GetSize(unknown));
    EXPECT_FALSE(YxProjectDb_Db_HasTable(unknown, L"frame"));
    EXPECT_EQ(-9, YxProjectDb_Db_IsWriteable(unknown));
    EXPECT_FALSE(YxProjectDb_Db_IsInTransaction(unknown));
    EXPECT_EQ(-9, YxProjectDb_Db_Backup(unknown, nullptr));
    YxProjectDb_Db_Disconnect(unknown);  // nothing happens
}

TEST_F(DbFiles, BackupCopiesTheOpenDatabase) {
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(wfile));
    YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(wfile);
    ASSERT_NE(0u, h);
    ASSERT_EQ(0, YxProjectDb_Db_SetOptInt32(h, L"customid", 42));
    sqlite3* copy = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &copy));
    EXPECT_EQ(0, YxProjectDb_Db_Backup(h, copy));
    EXPECT_EQ(Rows{"42"}, YxTest_QueryDb(copy, "SELECT varValue FROM settings WHERE wszName='customid'"));
    sqlite3_close(copy);
    YxProjectDb_Db_Disconnect(h);
}

TEST_F(DbFiles, ApplicationDatabaseFollowsTheSameSteps) {
    ASSERT_EQ(0, YxProjectDb_Db_Vasq_Create(wfile));
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetAppTables(&count);
    Rows expected;
    for (int i = 0; i < count; ++i) expected.push_back(CYxStringW(defs[i]->wszName).ToUtf8());
    EXPECT_EQ((Rows{"version", "settings", "assayrecipe", "definitions", "measurements", "files", "results"}), expected);
    EXPECT_EQ(expected, YxTest_Query(file, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY rowid"));
    EXPECT_EQ(Rows{"main|7"}, YxTest_Query(file, "SELECT wszName, iVersion FROM version"));
    SYxProjectDbFileInfo info;
    EXPECT_EQ(0, YxProjectDb_Db_Vasq_GetInfo(wfile, &info));
    EXPECT_EQ(7, info.iMainVersion);
    YxProjectDbHandle h = YxProjectDb_Db_Vasq_Connect(wfile);
    ASSERT_NE(0u, h);
    EXPECT_TRUE(YxProjectDb_Db_HasTable(h, L"results"));
    YxProjectDb_Db_Disconnect(h);
    YxProjectDbHandle r = YxProjectDb_Db_Vasq_ConnectForRead(wfile);
    EXPECT_NE(0u, r);
    YxProjectDb_Db_Disconnect(r);
}

}  // namespace

namespace {
TEST(DbContent, CreateWithUpgradesAddsCatalogVersionsAndDefaults) {
    CYxTempDir dir;
    const CYxStringW a = dir.File("a.db"), b = dir.File("b.db");
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_CreateWithUpgrades(a));
    ASSERT_EQ(0, YxProjectDb_Db_Jobs_CreateWithUpgrades(b));
    EXPECT_EQ(-9, YxProjectDb_Db_Jobs_CreateWithUpgrades(a));  // exists already
    EXPECT_EQ((std::vector<std::string>{"main|136", "silent|1", "plate|1", "dish|1"}),
              YxTest_Query(dir.FileUtf8("a.db"), "SELECT wszName, iVersion FROM vesion ORDER BY iKey"));
    YxProjectDbHandle ha = YxProjectDb_Db_Jobs_Connect(a), hb = YxProjectDb_Db_Jobs_Connect(b);
    ASSERT_NE(0u, ha);
    ASSERT_NE(0u, hb);
    EXPECT_EQ(0, YxProjectDb_CompareVesions(ha, hb));
    EXPECT_EQ(0, YxProjectDb_Db_GetOptInt32(ha, L"sortorder"));
    EXPECT_EQ(std::vector<std::string>{"1"},
              YxTest_QueryDb(CYxProjectDbConnectionManager::GetConnection(ha),
                             "SELECT count(*) FROM settings WHERE wszName='categories'"));
    YxProjectDb_Db_Disconnect(ha);
    YxProjectDb_Db_Disconnect(hb);
}
}  // namespace

namespace {
std::string Bytes(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST(DbCreate, AnExistingFileIsLeftByteIdentical) {
    CYxTempDir dir;
    const std::string db = dir.FileUtf8("old.db");
    {
        sqlite3* raw = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(db.c_str(), &raw));
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(raw, "PRAGMA journal_mode=delete; CREATE TABLE keep(x); "
                                               "INSERT INTO keep VALUES(42);",
                                          nullptr, nullptr, nullptr));
        sqlite3_close(raw);
    }
    const std::string text = dir.FileUtf8("notes.txt");
    std::ofstream(text) << "not a database";
    for (const std::string& file : {db, text}) {
        SCOPED_TRACE(file);
        const std::string before = Bytes(file);
        const CYxStringW wfile = CYxStringW::FromUtf8(file);
        EXPECT_NE(0, YxProjectDb_Db_Jobs_Create(wfile));
        EXPECT_NE(0, YxProjectDb_Db_Jobs_CreateWithUpgrades(wfile));
        EXPECT_NE(0, YxProjectDb_Db_Vasq_Create(wfile));
        EXPECT_EQ(before, Bytes(file));
        EXPECT_FALSE(std::filesystem::exists(file + "-wal"));
    }
    EXPECT_EQ(std::vector<std::string>{"delete"}, YxTest_Query(db, "PRAGMA journal_mode"));
    EXPECT_FALSE(std::filesystem::exists(dir.FileUtf8("old Projects")));

    // An empty file is no database yet: it is created.
    const std::string empty = dir.FileUtf8("empty.db");
    std::ofstream(empty).close();
    EXPECT_EQ(0, YxProjectDb_Db_Jobs_Create(CYxStringW::FromUtf8(empty)));
    EXPECT_EQ(std::vector<std::string>{"136"},
              YxTest_Query(empty, "SELECT iVersion FROM vesion WHERE wszName='main'"));
}
}  // namespace
