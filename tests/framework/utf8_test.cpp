// The one pair of text conversions: round trips and the replacement of every
// kind of invalid input by U+FFFD without losing the text around it.
#include "framework/yxstring.h"
#include "framework/yxutf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr wchar_t kRep = 0xFFFD;

std::wstring W(const std::string& utf8) { return YxWideFromUtf8(utf8); }

TEST(Utf8, RoundTripOfEveryEncodedLength) {
    const std::wstring text = L"A\u00e9\u07ff\u0800\u4e2d\uffff\U00010000\U0001F600\U0010FFFF z";
    const std::string utf8 = YxUtf8FromWide(text);
    EXPECT_EQ(utf8, "A\xC3\xA9\xDF\xBF\xE0\xA0\x80\xE4\xB8\xAD\xEF\xBF\xBF\xF0\x90\x80\x80\xF0\x9F\x98\x80"
                    "\xF4\x8F\xBF\xBF z");
    EXPECT_EQ(W(utf8), text);
    EXPECT_EQ(CYxStringW::FromUtf8(CYxStringW(text).ToUtf8()).str(), text);
    // Embedded NUL characters are kept: lengths are explicit.
    const std::wstring withNul(L"a\0b", 3);
    EXPECT_EQ(W(YxUtf8FromWide(withNul)), withNul);
    EXPECT_EQ(YxUtf8FromWide(nullptr, 5), "");
    EXPECT_EQ(YxWideFromUtf8(nullptr, 5), L"");
}

TEST(Utf8, InvalidWideCodePointsBecomeReplacement) {
    const wchar_t loneHigh[] = {L'a', static_cast<wchar_t>(0xD800), L'b', 0};
    const wchar_t loneLow[] = {L'a', static_cast<wchar_t>(0xDC00), L'b', 0};
    const wchar_t highAtEnd[] = {L'a', static_cast<wchar_t>(0xDBFF), 0};
    const wchar_t tooBig[] = {static_cast<wchar_t>(0x110000), L'x', 0};
    const wchar_t negative[] = {static_cast<wchar_t>(-1), 0};
    EXPECT_EQ(W(YxUtf8FromWide(loneHigh)), std::wstring(L"a") + kRep + L"b");
    EXPECT_EQ(W(YxUtf8FromWide(loneLow)), std::wstring(L"a") + kRep + L"b");
    EXPECT_EQ(W(YxUtf8FromWide(highAtEnd)), std::wstring(L"a") + kRep);
    EXPECT_EQ(W(YxUtf8FromWide(tooBig)), std::wstring(1, kRep) + L"x");
    EXPECT_EQ(W(YxUtf8FromWide(negative)), std::wstring(1, kRep));
    // A surrogate pair (text that arrived as UTF-16) is one code point.
    const wchar_t pair[] = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00), 0};
    EXPECT_EQ(YxUtf8FromWide(pair), "\xF0\x9F\x98\x80");
    // Two high surrogates: both invalid, neither swallows the other.
    const wchar_t twoHigh[] = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xD801), 0};
    EXPECT_EQ(W(YxUtf8FromWide(twoHigh)), std::wstring(2, kRep));
}

TEST(Utf8, MalformedUtf8BecomesReplacement) {
    const std::wstring r(1, kRep);
    EXPECT_EQ(W("a\xFF" "b"), L"a" + r + L"b");              // never a lead byte
    EXPECT_EQ(W("\x80\xBF"), r + r);                          // stray continuations
    EXPECT_EQ(W("\xC0\x80"), r);                              // overlong NUL
    EXPECT_EQ(W("\xE0\x80\xAF"), r);                          // overlong '/'
    EXPECT_EQ(W("\xED\xA0\x80"), r);                          // encoded surrogate
    EXPECT_EQ(W("\xF4\x90\x80\x80"), r);                      // beyond U+10FFFF
    EXPECT_EQ(W("\xF8\x88\x80\x80\x80"), std::wstring(5, kRep));  // five-byte form
    EXPECT_EQ(W("ab\xE4\xB8"), L"ab" + r);                    // truncated at the end
    EXPECT_EQ(W("\xE4\xB8" "c"), r + L"c");                   // interrupted sequence
    EXPECT_EQ(W("\xF0\x9F\x98"), r);
    // Every prefix of a valid text decodes without loss of what is complete.
    const std::string full = "x\xE4\xB8\xAD\xF0\x9F\x98\x80y";
    for (std::size_t n = 0; n <= full.size(); ++n) {
        const std::wstring got = W(full.substr(0, n));
        EXPECT_EQ(got.empty(), n == 0) << n;
        if (n >= 1) {
            EXPECT_EQ(got[0], L'x') << n;
        }
    }
}

}  // namespace
