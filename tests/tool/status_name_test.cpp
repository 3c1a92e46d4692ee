#include "gnr_projectdb/status.h"

#include <gtest/gtest.h>

#include <string>

TEST(StatusName, NamesLibraryAndSqliteCodes) {
    EXPECT_STREQ("YXPDB_OK", YxProjectDb_StatusName(0));
    EXPECT_STREQ("YXPDB_E_NOCONNECTION", YxProjectDb_StatusName(-9));
    EXPECT_STREQ("YXPDB_E_NEWER_CATALOG", YxProjectDb_StatusName(-57));
    EXPECT_STREQ("SQLITE_BUSY", YxProjectDb_StatusName(5));
    EXPECT_STREQ("SQLITE_CANTOPEN", YxProjectDb_StatusName(14));
    EXPECT_STREQ("SQLITE_NOTADB", YxProjectDb_StatusName(26));
    EXPECT_STREQ("SQLITE_DONE", YxProjectDb_StatusName(101));
    EXPECT_STREQ("SQLITE_CONSTRAINT_UNIQUE", YxProjectDb_StatusName(2067));
    // An extended code without its own entry falls back to its primary code.
    EXPECT_STREQ("SQLITE_IOERR", YxProjectDb_StatusName(10 | (60 << 8)));
    EXPECT_STREQ("UNKNOWN_STATUS", YxProjectDb_StatusName(-2));
    EXPECT_STREQ("UNKNOWN_STATUS", YxProjectDb_StatusName(1000000));
}
