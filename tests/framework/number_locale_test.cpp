// Numbers written into SQL text and read from stored text keep the decimal
// point when the process runs under a comma-decimal locale.
#include "framework/yxclocale.h"
#include "framework/yxstring.h"
#include "locale_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

std::wstring F(const CYxStringW& s) { return s.str(); }

std::string PlainPrintf(double value) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f", value);
    return buf;
}

TEST(NumberLocale, FormatWritesADecimalPointUnderACommaLocale) {
    CYxCommaLocale comma;
    YX_REQUIRE_COMMA_LOCALE(comma);
    ASSERT_EQ("2,5", PlainPrintf(2.5));  // the locale is in effect for plain printf

    EXPECT_EQ(F(CYxStringW::Format(L"%lf", 2.5)), L"2.500000");
    EXPECT_EQ(F(CYxStringW::Format(L"%f|%.1lf", 0.125, -1234.75)), L"0.125000|-1234.8");
    EXPECT_EQ(F(CYxStringW::Format(L"[%+010.3lf|%-8.2f]", 3.5, 0.5)), L"[+00003.500|0.50    ]");
    EXPECT_EQ(F(CYxStringW::Format(L"%e|%.3E", 1234.5, 0.000125)), L"1.234500e+03|1.250E-04");
    EXPECT_EQ(F(CYxStringW::Format(L"%g|%G|%g", 0.5, 1e-10, 1234567.0)), L"0.5|1E-10|1.23457e+06");
    EXPECT_EQ(F(CYxStringW::Format(L"%#.0f", 3.0)), L"3.");
    EXPECT_EQ(F(CYxStringW::Format(L"VALUES(%d, %lf, %I64d)", 1234567, 2451545.25, std::int64_t{-9})),
              L"VALUES(1234567, 2451545.250000, -9)");

    // Only the formatter's own conversion is switched: the thread keeps its locale.
    EXPECT_EQ("2,5", PlainPrintf(2.5));
}

TEST(NumberLocale, WcstodCReadsADecimalPointUnderACommaLocale) {
    CYxCommaLocale comma;
    YX_REQUIRE_COMMA_LOCALE(comma);
    ASSERT_EQ(2.0, std::wcstod(L"2.5", nullptr));  // the locale stops a plain wcstod at the point

    EXPECT_EQ(2.5, YxWcstodC(L"2.5"));
    EXPECT_EQ(2459000.75, YxWcstodC(L"2459000.75"));
    wchar_t* end = nullptr;
    const wchar_t* text = L" -0.125e1x";
    EXPECT_EQ(-1.25, YxWcstodC(text, &end));
    EXPECT_EQ(text + 9, end);
    // A comma is not a decimal separator here.
    EXPECT_EQ(2.0, YxWcstodC(L"2,5"));
    EXPECT_EQ(0.0, YxWcstodC(nullptr));
    EXPECT_EQ("2,5", PlainPrintf(2.5));
}

}  // namespace
