// Registration through a handle of the connection registry.
#include "sqlfn_fixture.h"

#include "gnr_projectdb/connection.h"

TEST(SqlFunctionsRegistration, ThroughARegistryHandle) {
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &db));
    // Before registration the functions are unknown.
    sqlite3_stmt* st = nullptr;
    EXPECT_NE(SQLITE_OK, sqlite3_prepare_v2(db, "SELECT bitsetmasked(0xF0, 0x0F, 0x3C)", -1, &st, nullptr));
    sqlite3_finalize(st);

    CYxProjectDbConnectionManager& registry = CYxProjectDbConnectionManager::GetInstance();
    const YxProjectDbHandle handle = registry.Add(db);
    ASSERT_NE(0u, handle);
    EXPECT_EQ(0, YxProjectDb_Db_CreateFunctions(handle));

    ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(db, "SELECT bitsetmasked(0xF0, 0x0F, 0x3C), 'a10' > 'A2' COLLATE wcs_collation",
                                            -1, &st, nullptr));
    ASSERT_EQ(SQLITE_ROW, sqlite3_step(st));
    EXPECT_EQ(0xCC, sqlite3_column_int64(st, 0));
    EXPECT_EQ(1, sqlite3_column_int(st, 1));
    sqlite3_finalize(st);

    registry.Delete(handle);
    sqlite3_close(db);
    // The released handle names nothing any more.
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Db_CreateFunctions(handle));
}

TEST(SqlFunctionsRegistration, UnknownOrNullConnection) {
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Db_CreateFunctions(0));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Db_CreateFunctions(0x7FFFFFFFull));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Db_CreateFunctionsOn(nullptr));
}
