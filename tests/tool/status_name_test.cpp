#include "gnr_projectdb/status.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
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

// Every status that status.h declares is named by the library: a code added
// to the header without a name would reach users as "UNKNOWN_STATUS".
TEST(StatusName, EveryDeclaredStatusHasItsName) {
    std::ifstream header(std::string(GNR_SOURCE_DIR) + "/gnr_projectdb/include/gnr_projectdb/status.h");
    ASSERT_TRUE(header.good());
    const std::string text((std::istreambuf_iterator<char>(header)), std::istreambuf_iterator<char>());
    const std::regex declaration(R"((YXPDB_\w+)\s*=\s*(-?\d+))");
    int seen = 0;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), declaration); it != std::sregex_iterator(); ++it) {
        const std::string name = (*it)[1];
        const int code = std::stoi((*it)[2]);
        EXPECT_EQ(name, YxProjectDb_StatusName(code)) << "status " << code;
        ++seen;
    }
    EXPECT_GE(seen, 20);
}
