// Numbered names, folder names, alphanumeric copies, id strings and uuids.
#include "gnr_projectdb/sys.h"

#include <gtest/gtest.h>

#include <set>

namespace {
std::vector<CYxStringW> Names(std::initializer_list<const wchar_t*> list) {
    std::vector<CYxStringW> out;
    for (const wchar_t* s : list) out.emplace_back(s);
    return out;
}
}  // namespace

TEST(SysNamePrefix, WithBlankCutsOnlyABlankAndDigits) {
    EXPECT_EQ(L"Run", YxProjectDb_Sys_GetNamePrefix(L"Run 12", true));
    EXPECT_EQ(L"Run", YxProjectDb_Sys_GetNamePrefix(L"  Run 3  ", true));
    EXPECT_EQ(L"Run12", YxProjectDb_Sys_GetNamePrefix(L"Run12", true));
    EXPECT_EQ(L"Run 1x", YxProjectDb_Sys_GetNamePrefix(L"Run 1x", true));
    EXPECT_EQ(L"Plate 3 Run", YxProjectDb_Sys_GetNamePrefix(L"Plate 3 Run 4", true));
    EXPECT_EQ(L"42", YxProjectDb_Sys_GetNamePrefix(L"42", true));
}

TEST(SysNamePrefix, WithoutBlankCutsDigitsThenWhiteSpace) {
    EXPECT_EQ(L"Run", YxProjectDb_Sys_GetNamePrefix(L"Run12", false));
    EXPECT_EQ(L"Run", YxProjectDb_Sys_GetNamePrefix(L"Run 12", false));
    EXPECT_EQ(L"Run 1x", YxProjectDb_Sys_GetNamePrefix(L"Run 1x", false));
    EXPECT_EQ(L"", YxProjectDb_Sys_GetNamePrefix(L"123", false));
    EXPECT_EQ(L"", YxProjectDb_Sys_GetNamePrefix(nullptr, false));
}

TEST(SysNameUnique, FreeNameIsKept) {
    CYxStringW unique(L"stale");
    EXPECT_TRUE(YxProjectDb_Sys_IsNameUnique(L"Run", {}, unique, true, true));
    EXPECT_EQ(L"Run", unique);
    EXPECT_TRUE(YxProjectDb_Sys_IsNameUnique(L"Run", Names({L"Run 1", L"Run2"}), unique, true, false));
    EXPECT_EQ(L"Run", unique);
}

TEST(SysNameUnique, TakenNameGetsTheFirstFreeNumber) {
    CYxStringW unique;
    EXPECT_FALSE(YxProjectDb_Sys_IsNameUnique(L"Run", Names({L"Run", L"Run 1"}), unique, true, false));
    EXPECT_EQ(L"Run 2", unique);
    EXPECT_FALSE(YxProjectDb_Sys_IsNameUnique(L"Run 3", Names({L"Run 3"}), unique, true, false));
    EXPECT_EQ(L"Run 1", unique);
    // Numbers are tried in order; gaps are filled.
    EXPECT_FALSE(YxProjectDb_Sys_IsNameUnique(L"Run", Names({L"Run 2", L"Run", L"Run 1", L"Run 4"}), unique, true,
                                              false));
    EXPECT_EQ(L"Run 3", unique);
    // Without the blank.
    EXPECT_FALSE(YxProjectDb_Sys_IsNameUnique(L"Scan7", Names({L"Scan7", L"Scan1"}), unique, false, false));
    EXPECT_EQ(L"Scan2", unique);
}

TEST(SysNameUnique, ComparisonFlagIgnoresCase) {
    CYxStringW unique;
    EXPECT_TRUE(YxProjectDb_Sys_IsNameUnique(L"run", Names({L"Run"}), unique, true, false));
    EXPECT_FALSE(YxProjectDb_Sys_IsNameUnique(L"run", Names({L"Run", L"RUN 1"}), unique, true, true));
    EXPECT_EQ(L"run 2", unique);  // candidates are checked the same way
}

TEST(SysFolderName, InvalidCharactersAndEnds) {
    EXPECT_EQ(L"a_b_c_d_e_f_g_h_i_j", YxProjectDb_Sys_CheckFolderName(L"a/b\\c:d*e?f\"g<h>i|j"));
    EXPECT_EQ(L"tab_nl_", YxProjectDb_Sys_CheckFolderName(L"tab\tnl\n"));
    EXPECT_EQ(L"Run 1.v2", YxProjectDb_Sys_CheckFolderName(L" . Run 1.v2 .. "));
    EXPECT_EQ(L"_", YxProjectDb_Sys_CheckFolderName(L" ... "));
    EXPECT_EQ(L"_", YxProjectDb_Sys_CheckFolderName(nullptr));
    EXPECT_EQ(L"_CON", YxProjectDb_Sys_CheckFolderName(L"CON"));
    EXPECT_EQ(L"_lpt1.txt", YxProjectDb_Sys_CheckFolderName(L"lpt1.txt"));
    EXPECT_EQ(L"CONSOLE", YxProjectDb_Sys_CheckFolderName(L"CONSOLE"));
    EXPECT_EQ(L"Äpfel ünd Birnen", YxProjectDb_Sys_CheckFolderName(L"Äpfel ünd Birnen"));
}

TEST(SysReplaceNonAlnum, EveryOtherCharacterIsReplaced) {
    EXPECT_EQ(L"", YxProjectDb_Sys_ReplaceNonAlnum(L"", L'_'));
    EXPECT_EQ(L"", YxProjectDb_Sys_ReplaceNonAlnum(nullptr, L'_'));
    EXPECT_EQ(L"Run_1__2024_03_04", YxProjectDb_Sys_ReplaceNonAlnum(L"Run 1: 2024-03-04", L'_'));
    EXPECT_EQ(L"abcXYZ019", YxProjectDb_Sys_ReplaceNonAlnum(L"abcXYZ019", L'-'));
    EXPECT_EQ(L"a-b", YxProjectDb_Sys_ReplaceNonAlnum(L"a\\b", L'-'));
}

TEST(SysIdString, KeysIgnoreCaseAndBlanks) {
    CYxStringW value(L"untouched");
    const wchar_t* id = L"Plate = 96 well ; well=B3;empty=;noequals;well=C4";
    EXPECT_TRUE(YxProjectDb_Sys_GetValueFromIdString(id, L"plate", value));
    EXPECT_EQ(L"96 well", value);
    EXPECT_TRUE(YxProjectDb_Sys_GetValueFromIdString(id, L"WELL", value));
    EXPECT_EQ(L"B3", value);  // the first entry wins
    EXPECT_TRUE(YxProjectDb_Sys_GetValueFromIdString(id, L"empty", value));
    EXPECT_EQ(L"", value);
    value = L"untouched";
    EXPECT_FALSE(YxProjectDb_Sys_GetValueFromIdString(id, L"noequals", value));
    EXPECT_FALSE(YxProjectDb_Sys_GetValueFromIdString(id, L"pla", value));
    EXPECT_FALSE(YxProjectDb_Sys_GetValueFromIdString(nullptr, L"plate", value));
    EXPECT_EQ(L"untouched", value);
    EXPECT_TRUE(YxProjectDb_Sys_GetValueFromIdString(L"a=x=y", L"a", value));
    EXPECT_EQ(L"x=y", value);  // only the first '=' separates
}

TEST(SysUuid, ThirtyTwoLowerHexDigitsAndNew) {
    std::set<std::wstring> seen;
    for (int i = 0; i < 200; ++i) {
        const CYxStringW u = YxProjectDb_Sys_UuidAsText();
        ASSERT_EQ(32u, u.GetLength()) << u.ToUtf8();
        ASSERT_EQ(std::wstring::npos, u.str().find_first_not_of(L"0123456789abcdef")) << u.ToUtf8();
        EXPECT_EQ(L'4', u[12]) << u.ToUtf8();  // a random (version 4) uuid, fields in order
        seen.insert(u.str());
    }
    EXPECT_EQ(200u, seen.size());
}
