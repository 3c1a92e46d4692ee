// The type-safe formatter behind every SQL text: each literal form the
// statements use, and refusal of arguments that do not fit.
#include "framework/yxstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

namespace {

std::wstring F(const CYxStringW& s) { return s.str(); }

TEST(Format, IntegerForms) {
    EXPECT_EQ(F(CYxStringW::Format(L"%d", 42)), L"42");
    EXPECT_EQ(F(CYxStringW::Format(L"%d", -7)), L"-7");
    EXPECT_EQ(F(CYxStringW::Format(L"%d", INT_MIN)), L"-2147483648");
    EXPECT_EQ(F(CYxStringW::Format(L"%I32d", 123456)), L"123456");
    EXPECT_EQ(F(CYxStringW::Format(L"%I64d", std::int64_t{9007199254740993})), L"9007199254740993");
    EXPECT_EQ(F(CYxStringW::Format(L"%I64d", INT64_MIN)), L"-9223372036854775808");
    // A 32-bit value is widened by a 64-bit conversion.
    EXPECT_EQ(F(CYxStringW::Format(L"%I64d", -5)), L"-5");
    // Unsigned 32-bit values, as handle counts or flags are passed.
    EXPECT_EQ(F(CYxStringW::Format(L"%d", 7u)), L"7");
    EXPECT_EQ(F(CYxStringW::Format(L"%d", short{-3})), L"-3");
}

TEST(Format, PaddedAndHexForms) {
    EXPECT_EQ(F(CYxStringW::Format(L"%03d", 7)), L"007");
    EXPECT_EQ(F(CYxStringW::Format(L"%02d", 5)), L"05");
    EXPECT_EQ(F(CYxStringW::Format(L"%02d", 123)), L"123");  // width is a minimum
    EXPECT_EQ(F(CYxStringW::Format(L"%04d", 42)), L"0042");
    EXPECT_EQ(F(CYxStringW::Format(L"%04d", -42)), L"-042");
    EXPECT_EQ(F(CYxStringW::Format(L"%x", 255)), L"ff");
    EXPECT_EQ(F(CYxStringW::Format(L"%x", -1)), L"ffffffff");
    EXPECT_EQ(F(CYxStringW::Format(L"%02x", 10)), L"0a");
    EXPECT_EQ(F(CYxStringW::Format(L"%04x", 0xBEEF)), L"beef");
    EXPECT_EQ(F(CYxStringW::Format(L"%04x", 0x1F)), L"001f");
    EXPECT_EQ(F(CYxStringW::Format(L"%08x", 0x1234ABu)), L"001234ab");
    // The uuid text is built from one 32-bit, two 16-bit and eight 8-bit parts.
    const std::uint16_t d2 = 0x0a0b;
    const std::uint8_t b = 0x0c;
    EXPECT_EQ(F(CYxStringW::Format(L"%08x%04x%02x", 0xdeadbeefu, d2, b)), L"deadbeef0a0b0c");
    EXPECT_EQ(F(CYxStringW::Format(L"[%5d|%-5d]", 42, 42)), L"[   42|42   ]");
}

TEST(Format, DoubleForms) {
    EXPECT_EQ(F(CYxStringW::Format(L"%lf", 2451545.0)), L"2451545.000000");
    EXPECT_EQ(F(CYxStringW::Format(L"%lf", -0.5)), L"-0.500000");
    EXPECT_EQ(F(CYxStringW::Format(L"%.3lf", 1.23456)), L"1.235");
    EXPECT_EQ(F(CYxStringW::Format(L"%lf", 1.5f)), L"1.500000");
}

TEST(Format, TextAndPercent) {
    const CYxStringW table(L"frame");
    const std::wstring column(L"iKey");
    EXPECT_EQ(F(CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%I64d LIMIT 1;", column, table, L"iKey",
                                   std::int64_t{12})),
              L"SELECT iKey FROM frame WHERE iKey=12 LIMIT 1;");
    EXPECT_EQ(F(CYxStringW::Format(L"%s", L"\u00e9\u4e2d\U0001F600")), L"\u00e9\u4e2d\U0001F600");
    EXPECT_EQ(F(CYxStringW::Format(L"%s", static_cast<const wchar_t*>(nullptr))), L"");
    EXPECT_EQ(F(CYxStringW::Format(L"LIKE '%%%s%%'", L"abc")), L"LIKE '%abc%'");
    EXPECT_EQ(F(CYxStringW::Format(L"100%%")), L"100%");
    EXPECT_EQ(F(CYxStringW::Format(L"[%6s|%-6s]", L"ab", L"cd")), L"[    ab|cd    ]");
    // Text with embedded format characters is inserted as it is, not re-read.
    EXPECT_EQ(F(CYxStringW::Format(L"%s|%d", L"%d%s", 1)), L"%d%s|1");
    CYxStringW s(L"a");
    s.AppendFormat(L"-%d-%s", 2, L"b");
    EXPECT_EQ(s.str(), L"a-2-b");
}

// A wrong argument reads nothing and marks the place; the rest of the text is
// still produced, so the failure is visible and never undefined.
TEST(Format, WrongArgumentTypeIsAClearFailure) {
    EXPECT_EQ(F(CYxStringW::Format(L"k=%d;", std::int64_t{5})), L"k=<format error>;");
    EXPECT_EQ(F(CYxStringW::Format(L"%s", 5)), L"<format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"%d", L"text")), L"<format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"%d", 1.5)), L"<format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"%lf", 3)), L"<format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"%I32d", std::int64_t{1})), L"<format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"%x", std::uint64_t{1})), L"<format error>");
    // Missing arguments and a dangling '%'.
    EXPECT_EQ(F(CYxStringW::Format(L"%d and %d", 1)), L"1 and <format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"%s")), L"<format error>");
    EXPECT_EQ(F(CYxStringW::Format(L"end %", 1)), L"end <format error>");
    // One bad argument does not shift the others.
    EXPECT_EQ(F(CYxStringW::Format(L"%d,%d,%d", 1, 2.0, 3)), L"1,<format error>,3");
}

}  // namespace

namespace {

// Widths and precisions are read without overflow and bounded: a larger one
// is a format error at that place (its argument is used up, the others stay
// in step), never a wrapped value or an allocation of its size.
TEST(Format, OversizedWidthOrPrecisionIsAFormatError) {
    EXPECT_EQ(F(CYxStringW::Format(L"[%99999999999d]", 1)), L"[<format error>]");
    EXPECT_EQ(F(CYxStringW::Format(L"[%4294967297d]", 1)), L"[<format error>]");  // 2^32 + 1
    EXPECT_EQ(F(CYxStringW::Format(L"[%300000000s]", L"x")), L"[<format error>]");
    EXPECT_EQ(F(CYxStringW::Format(L"[%-4097s]", L"x")), L"[<format error>]");
    EXPECT_EQ(F(CYxStringW::Format(L"[%.4097lf]", 1.0)), L"[<format error>]");
    EXPECT_EQ(F(CYxStringW::Format(L"[%.18446744073709551617s]", L"abc")), L"[<format error>]");
    EXPECT_EQ(F(CYxStringW::Format(L"[%1.99999999999999999999999c]", L'x')), L"[<format error>]");
    EXPECT_EQ(F(CYxStringW::Format(L"%5000d|%d|%s", 1, 2, L"z")), L"<format error>|2|z");
}

// Up to the bound the field is produced in full, whatever the conversion.
TEST(Format, WidthAndPrecisionAtTheBound) {
    const std::wstring d = F(CYxStringW::Format(L"%4096d", -7));
    ASSERT_EQ(d.size(), 4096u);
    EXPECT_EQ(d.substr(4094), L"-7");
    EXPECT_EQ(d.find_first_not_of(L' '), 4094u);
    const std::wstring z = F(CYxStringW::Format(L"%04096I64d", std::int64_t{42}));
    ASSERT_EQ(z.size(), 4096u);
    EXPECT_EQ(z.find_first_not_of(L'0'), 4094u);
    const std::wstring s = F(CYxStringW::Format(L"%-4096s|", L"ab"));
    ASSERT_EQ(s.size(), 4097u);
    EXPECT_EQ(s.substr(0, 3), L"ab ");
    EXPECT_EQ(s.back(), L'|');
    // 1e300 has 301 integer digits: the whole text is longer than the bound.
    const std::wstring f = F(CYxStringW::Format(L"%.4096lf", 1e300));
    ASSERT_EQ(f.size(), 301u + 1u + 4096u);
    EXPECT_EQ(f.substr(0, 2), L"10");
    EXPECT_EQ(f[301], L'.');
    EXPECT_EQ(f.find_first_not_of(L'0', 302), std::wstring::npos);
    EXPECT_EQ(F(CYxStringW::Format(L"%.4096s", L"abc")), L"abc");
}

}  // namespace
