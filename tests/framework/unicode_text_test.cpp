// Case and letter rules of wide text are Unicode's under every locale: the
// same answers under the C locale, where the C library knows no letters
// beyond ASCII, and under a German UTF-8 one.
#include "locale_support.h"

#include "framework/yxnaturalcompare.h"
#include "framework/yxstring.h"
#include "framework/yxunicode.h"
#include "gnr_projectdb/sys.h"

#include <gtest/gtest.h>

#include <string>

namespace {

void ExpectUnicodeRules() {
    // Caseless comparison beyond ASCII: Latin-1, Cyrillic, Greek (all three sigmas).
    EXPECT_TRUE(CYxStringW(L"\u00C4pfel").EqualsNoCase(L"\u00E4pfel"));
    EXPECT_TRUE(CYxStringW(L"\u0411\u0423\u041A").EqualsNoCase(L"\u0431\u0443\u043A"));
    EXPECT_TRUE(CYxStringW(L"\u03A3\u03C3\u03C2").EqualsNoCase(L"\u03C3\u03C3\u03C3"));
    EXPECT_FALSE(CYxStringW(L"\u00C4pfel").EqualsNoCase(L"Apfel"));

    EXPECT_EQ(std::wstring(L"\u00C4PFEL \u0411\u0423\u041A"), CYxStringW(L"\u00E4pfel \u0431\u0443\u043A").MakeUpper().str());
    EXPECT_EQ(std::wstring(L"\u00E4pfel \u0431\u0443\u043A"), CYxStringW(L"\u00C4PFEL \u0411\u0423\u041A").MakeLower().str());
    // Simple one-to-one mappings: the sharp s has no single upper-case letter.
    EXPECT_EQ(std::wstring(L"STRA\u00DFE"), CYxStringW(L"stra\u00DFe").MakeUpper().str());

    // Natural order folds case in every script: "б2" before "Б10".
    EXPECT_LT(YxNaturalCompare(L"\u04312", L"\u041110"), 0);
    EXPECT_GT(YxNaturalCompare(L"\u041110", L"\u04312"), 0);
    EXPECT_EQ(0, YxNaturalCompare(L"\u00C4pfel 7", L"\u00E4pfel 7"));

    // Folder-safe names keep letters and digits of every script.
    EXPECT_EQ(std::wstring(L"Gr\u00F6\u00DFe_1_\u041F\u0440\u043E\u0431\u0430_\u0663"),
              YxProjectDb_Sys_ReplaceNonAlnum(L"Gr\u00F6\u00DFe/1 \u041F\u0440\u043E\u0431\u0430?\u0663", L'_').str());
    // A decomposed accent stays with its letter; currency signs and punctuation go.
    EXPECT_EQ(std::wstring(L"e\u0301t\u00E9_a_"), YxProjectDb_Sys_ReplaceNonAlnum(L"e\u0301t\u00E9\u20ACa.", L'_').str());
}

}  // namespace

TEST(UnicodeText, RulesUnderTheCLocale) {
    CYxProcessLocale c("C");
    ASSERT_TRUE(c.Active());
    ExpectUnicodeRules();
}

TEST(UnicodeText, RulesUnderACommaLocale) {
    CYxCommaLocale german;
    YX_REQUIRE_COMMA_LOCALE(german);
    ExpectUnicodeRules();
}

TEST(UnicodeText, CharactersOutsideUnicodeAreLeftAlone) {
    // wchar_t can hold values that are no code point: no case, no letter, no crash.
    for (const wchar_t c : {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), static_cast<wchar_t>(0x7FFFFFFF)}) {
        EXPECT_EQ(c, yx::ToLower(c));
        EXPECT_EQ(c, yx::ToUpper(c));
        EXPECT_EQ(c, yx::FoldCase(c));
        EXPECT_FALSE(yx::IsWordCharacter(c));
    }
    EXPECT_TRUE(yx::IsWordCharacter(L'\u4E2D'));   // CJK ideograph
    EXPECT_FALSE(yx::IsWordCharacter(L'\u00B2'));  // superscript two is no decimal digit
    EXPECT_FALSE(yx::IsWordCharacter(L' '));
}
