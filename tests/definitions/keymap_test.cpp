// Key maps: temporary old-key -> new-key tables, their names, their life
// time and what they refuse.
#include "gnr_projectdb/keymap.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include "records/records_fixture.h"

#include <gtest/gtest.h>

namespace {

class CYxKeyMapTest : public CYxRecordsTest {
protected:
    bool TempTableExists(const CYxStringW& name) {
        std::int64_t n = -1;
        CYxSqliteCmd cmd(Db(), L"SELECT COUNT(*) FROM sqlite_temp_master WHERE type='table' AND name=?;");
        cmd.Bind(1, name);
        if (cmd.Next()) cmd.Column(0, n);
        return n == 1;
    }
};

TEST(CYxKeyMapNames, OnlyLuAndThirtyTwoLowerHexDigits) {
    EXPECT_TRUE(YxProjectDb_KeyMap_IsName(L"lu_0123456789abcdef0123456789abcdef"));
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(nullptr));
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(L""));
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(L"lu_0123456789abcdef0123456789abcde"));    // 31
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(L"lu_0123456789abcdef0123456789abcdef0"));  // 33
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(L"LU_0123456789abcdef0123456789abcdef"));
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(L"lu_0123456789ABCDEF0123456789abcdef"));
    EXPECT_FALSE(YxProjectDb_KeyMap_IsName(L"frame; DROP TABLE frame"));
}

TEST_F(CYxKeyMapTest, CreateFillLookUpAndDrop) {
    CYxStringW name(L"previous");
    ASSERT_EQ(0, YxProjectDb_KeyMap_Create(m_h, name));
    ASSERT_TRUE(YxProjectDb_KeyMap_IsName(name)) << name.ToUtf8();
    EXPECT_TRUE(TempTableExists(name));

    ASSERT_EQ(0, YxProjectDb_KeyMap_Insert(m_h, name, 10, 100));
    ASSERT_EQ(0, YxProjectDb_KeyMap_InsertMany(m_h, name, {{11, 110}, {12, 120}, {10, 101}}));
    ASSERT_EQ(0, YxProjectDb_KeyMap_InsertMany(m_h, name, {}));
    std::int64_t count = 0, value = 0;
    ASSERT_EQ(0, YxProjectDb_KeyMap_Count(m_h, name, &count));
    EXPECT_EQ(3, count);
    ASSERT_EQ(0, YxProjectDb_KeyMap_Lookup(m_h, name, 10, &value));
    EXPECT_EQ(101, value);  // the later entry replaced the earlier one
    value = -5;
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_KeyMap_Lookup(m_h, name, 13, &value));
    EXPECT_EQ(-5, value);
    std::map<std::int64_t, std::int64_t> all{{1, 1}};
    ASSERT_EQ(0, YxProjectDb_KeyMap_GetAll(m_h, name, all));
    EXPECT_EQ((std::map<std::int64_t, std::int64_t>{{1, 1}, {10, 101}, {11, 110}, {12, 120}}), all);

    // Two maps are independent tables.
    CYxStringW other;
    ASSERT_EQ(0, YxProjectDb_KeyMap_Create(m_h, other));
    EXPECT_NE(name, other);
    ASSERT_EQ(0, YxProjectDb_KeyMap_Count(m_h, other, &count));
    EXPECT_EQ(0, count);

    ASSERT_EQ(0, YxProjectDb_KeyMap_Drop(m_h, name));
    EXPECT_FALSE(TempTableExists(name));
    EXPECT_EQ(0, YxProjectDb_KeyMap_Drop(m_h, name));
    EXPECT_NE(0, YxProjectDb_KeyMap_Lookup(m_h, name, 10, &value));
    EXPECT_TRUE(TempTableExists(other));
}

TEST_F(CYxKeyMapTest, ANameThatIsNoKeyMapRunsNothing) {
    std::int64_t value = 0, count = 0;
    const wchar_t* bad = L"frame";
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_KeyMap_Insert(m_h, bad, 1, 2));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_KeyMap_Lookup(m_h, bad, 1, &value));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_KeyMap_Count(m_h, bad, &count));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_KeyMap_Drop(m_h, bad));
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_KeyMap_Drop(m_h, L"lu_x; DROP TABLE frame"));
    EXPECT_EQ(0, Count(L"frame"));  // the table is still there to be counted
}

TEST_F(CYxKeyMapTest, TheObjectDropsItsMapAtTheEndOfItsScope) {
    CYxStringW name;
    {
        CYxProjectDbKeyMap map(m_h);
        ASSERT_EQ(0, map.Status());
        name = map.Name();
        ASSERT_TRUE(TempTableExists(name));
        ASSERT_EQ(0, map.Insert(1, 2));
        ASSERT_EQ(0, map.InsertMany({{3, 4}}));
        std::int64_t v = 0;
        ASSERT_EQ(0, map.Lookup(3, &v));
        EXPECT_EQ(4, v);
    }
    EXPECT_FALSE(TempTableExists(name));
    CYxProjectDbKeyMap dead(999);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, dead.Status());
    EXPECT_TRUE(dead.Name().IsEmpty());
    EXPECT_EQ(0, dead.Drop());
}

TEST_F(CYxKeyMapTest, AMapInsideTheCallersTransactionStaysWithIt) {
    CYxProjectDbKeyMap map(m_h);
    ASSERT_EQ(0, YxSqlite_Execute(Db(), L"BEGIN;"));
    ASSERT_EQ(0, map.InsertMany({{1, 10}, {2, 20}}));
    ASSERT_EQ(0, YxSqlite_Execute(Db(), L"ROLLBACK;"));
    std::int64_t count = -1;
    ASSERT_EQ(0, YxProjectDb_KeyMap_Count(m_h, map.Name(), &count));
    EXPECT_EQ(0, count);
}

TEST_F(CYxKeyMapTest, WithoutConnection) {
    CYxStringW name(L"kept");
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_KeyMap_Create(999, name));
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_KeyMap_Insert(999, L"lu_0123456789abcdef0123456789abcdef", 1, 2));
}

}  // namespace
