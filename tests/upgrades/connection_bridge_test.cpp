// The upgrade connection: foreign keys off, legacy ALTER TABLE, and the
// writable name `version` that reaches `vesion` without touching the file.
#include "upgrade_fixtures.h"

#include "gnr_projectdb/upgrades/upgrade_connection.h"
#include "test_support.h"

#include <sqlite3.h>

namespace {
const char* kBump = "UPDATE version SET iVersion=%d WHERE wszName='main';";

std::string Bump(int v) {
    char buf[128];
    std::snprintf(buf, sizeof buf, kBump, v);
    return buf;
}

class BridgeTest : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.FileUtf8("bridge.db");
        sqlite3* db = UpgTest_Open(path);
        ASSERT_EQ(0, UpgTest_Exec(db, "CREATE TABLE vesion(iKey INTEGER PRIMARY KEY, wszName TEXT, iVersion INTEGER);"
                                      "INSERT INTO vesion(wszName, iVersion) VALUES('main', 40), ('silent', 0);"));
        UpgTest_Close(db);
    }
    CYxTempDir dir;
    std::string path;
};
}  // namespace

TEST_F(BridgeTest, BumpThroughVersionReachesVesionAndStoresNothing) {
    const std::string before = UpgTest_Dump(path);
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "PRAGMA foreign_keys=1;"));
    ASSERT_EQ(0, YxProjectDb_Upgrade_PrepareConnection(db));
    EXPECT_EQ(0, UpgTest_Int(db, "PRAGMA foreign_keys;"));
    EXPECT_EQ(1, UpgTest_Int(db, "PRAGMA legacy_alter_table;"));
    ASSERT_EQ(0, UpgTest_Exec(db, "BEGIN;" + Bump(41) + "COMMIT;"));
    EXPECT_EQ(41, UpgTest_Int(db, "SELECT iVersion FROM vesion WHERE wszName='main';"));
    EXPECT_EQ(0, UpgTest_Int(db, "SELECT iVersion FROM vesion WHERE wszName='silent';"));
    UpgTest_Close(db);

    // Only the value changed: no table, view or trigger was left in the file.
    std::string expected = before;
    expected.replace(expected.find("vesion: 1 main 40"), 17, "vesion: 1 main 41");
    EXPECT_EQ(expected, UpgTest_Dump(path));
}

TEST_F(BridgeTest, RealVersionTableInMainTakesPrecedence) {
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, YxProjectDb_Upgrade_PrepareConnection(db));
    // The application database renames its table inside the upgrade; from
    // then on the bump must reach the real table.
    ASSERT_EQ(0, UpgTest_Exec(db, "BEGIN;ALTER TABLE vesion RENAME TO version;" + Bump(6) + "COMMIT;"));
    EXPECT_EQ(6, UpgTest_Int(db, "SELECT iVersion FROM main.version WHERE wszName='main';"));
    UpgTest_Close(db);
    EXPECT_EQ(6, UpgTest_IntOf(path, "SELECT iVersion FROM version WHERE wszName='main';"));
    EXPECT_EQ(0, UpgTest_IntOf(path, "SELECT count(*) FROM sqlite_master WHERE name='vesion';"));
}

TEST_F(BridgeTest, BothTablesPresentOnlyVersionChanges) {
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, UpgTest_Exec(db, "CREATE TABLE version(iKey INTEGER PRIMARY KEY, wszName TEXT, iVersion INTEGER);"
                                  "INSERT INTO version(wszName, iVersion) VALUES('main', 3);"));
    ASSERT_EQ(0, YxProjectDb_Upgrade_PrepareConnection(db));
    ASSERT_EQ(0, UpgTest_Exec(db, Bump(9)));
    EXPECT_EQ(9, UpgTest_Int(db, "SELECT iVersion FROM version WHERE wszName='main';"));
    EXPECT_EQ(40, UpgTest_Int(db, "SELECT iVersion FROM vesion WHERE wszName='main';"));
    UpgTest_Close(db);
}

TEST_F(BridgeTest, PreparingTwiceIsHarmlessAndInsideATransactionIsRefused) {
    sqlite3* db = UpgTest_Open(path);
    ASSERT_EQ(0, YxProjectDb_Upgrade_PrepareConnection(db));
    EXPECT_EQ(0, YxProjectDb_Upgrade_PrepareConnection(db));
    ASSERT_EQ(0, UpgTest_Exec(db, Bump(50)));
    EXPECT_EQ(50, UpgTest_Int(db, "SELECT iVersion FROM vesion WHERE wszName='main';"));
    ASSERT_EQ(0, UpgTest_Exec(db, "BEGIN;"));
    EXPECT_NE(0, YxProjectDb_Upgrade_PrepareConnection(db));
    UpgTest_Exec(db, "ROLLBACK;");
    UpgTest_Close(db);
    EXPECT_NE(0, YxProjectDb_Upgrade_PrepareConnection(nullptr));
}
