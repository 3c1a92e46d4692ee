// The generic row printer: exact forms, escaping, doubles that read back,
// byte arrays, every table of the schema, and its use in test messages.
#include "gnr_projectdb/printers.h"
#include "gnr_projectdb/schema.h"
#include "support/row_print.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

std::string U8(const CYxStringW& s) { return s.ToUtf8(); }

TEST(CYxPrinters, OneLineAndMultiLineForms) {
    SYxProjectDbRow_frame f{3, 1, 0, 2, 2461000.5, 7, -4};
    EXPECT_EQ("frame{iKey=3, iJobrunKeyRef=1, iJobtaskKeyRef=0, iFrameIndex=2, dCTime=2461000.5, iFileKeyRef=7, "
              "iFileFrameIndex=-4}",
              U8(YxProjectDb_Row_ToText(f)));
    SYxProjectDbRow_qualstr q{9, L"G1"};
    EXPECT_EQ("qualstr\n  iKey = 9\n  wszName = \"G1\"\n", U8(YxProjectDb_Row_ToText(q, eYxPrintMultiLine)));
    SYxProjectDbRow_jobrunpropstat s{};
    s.iCount = 5000000000LL;  // 64-bit counters print whole
    EXPECT_NE(std::string::npos, U8(YxProjectDb_Row_ToText(s)).find("iCount=5000000000,"));
}

TEST(CYxPrinters, TextIsQuotedAndEscaped) {
    EXPECT_EQ("\"\"", U8(YxProjectDb_Print_Text(nullptr)));
    EXPECT_EQ("\"a\\\"b\\\\c\\nd\\te\\r\"", U8(YxProjectDb_Print_Text(L"a\"b\\c\nd\te\r")));
    EXPECT_EQ("\"x\\u{0001}y\\u{007f}\"", U8(YxProjectDb_Print_Text(L"x\x01y\x7f")));
    EXPECT_EQ("\"Größe ' ; --\"", U8(YxProjectDb_Print_Text(L"Größe ' ; --")));
}

TEST(CYxPrinters, DoublesReadBackExactlyWhateverTheLocale) {
    // A locale with a decimal comma, where one is installed, must not leak in.
    const char* old = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = old ? old : "C";
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    const double values[] = {0.1, 2461000.5, -1e-300, 1e300, 1.0 / 3.0, 0.0, 123456789012.0};
    for (double v : values) {
        const std::string text = U8(YxProjectDb_Print_Double(v));
        EXPECT_EQ(std::string::npos, text.find(',')) << text;
        std::setlocale(LC_NUMERIC, "C");
        EXPECT_EQ(v, std::strtod(text.c_str(), nullptr)) << text;
        std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    }
    std::setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_EQ("0.1", U8(YxProjectDb_Print_Double(0.1)));
    EXPECT_EQ("nan", U8(YxProjectDb_Print_Double(std::nan(""))));
    EXPECT_EQ("-inf", U8(YxProjectDb_Print_Double(-std::numeric_limits<double>::infinity())));
}

TEST(CYxPrinters, BytesShowCountAndAtMostSixteen) {
    EXPECT_EQ("<0 bytes>", U8(YxProjectDb_Print_Bytes(CYxByteArray())));
    const unsigned char three[] = {0x0a, 0xff, 0x00};
    EXPECT_EQ("<3 bytes: 0aff00>", U8(YxProjectDb_Print_Bytes(CYxByteArray(three, 3))));
    std::string twenty(20, '\x11');
    EXPECT_EQ("<20 bytes: " + std::string(32, '1') + "...>",
              U8(YxProjectDb_Print_Bytes(CYxByteArray(twenty.data(), twenty.size()))));
}

// Every record prints its table and every column of the schema list, in
// column order, each exactly once.
template <class Row>
void ExpectAllColumns(const Row& row) {
    const SYxSqliteTableDef& def = Row::Def();
    const std::string text = U8(YxProjectDb_Row_ToText(row));
    ASSERT_EQ(0u, text.find(U8(CYxStringW(def.wszName)) + "{")) << text;
    std::size_t at = 0;
    for (int c = 0; c < def.nCols; ++c) {
        const std::string name = (c ? ", " : "{") + U8(CYxStringW(def.pCols[c].wszName)) + "=";
        const std::size_t pos = text.find(name, at);
        ASSERT_NE(std::string::npos, pos) << name << " in " << text;
        at = pos + name.size();
    }
    EXPECT_EQ('}', text.back());
}

TEST(CYxPrinters, EveryTableOfTheSchemaPrintsEveryColumn) {
    int tables = 0;
#define YX_CHECK_TABLE(t) \
    ExpectAllColumns(YX_ROW_TYPE(t){}); \
    ++tables;
    YX_JOBS_TABLE_LIST(YX_CHECK_TABLE)
#undef YX_CHECK_TABLE
    EXPECT_EQ(YX_PROJECTDB_JOBS_TABLE_COUNT, tables);
}

TEST(CYxPrinters, TestFailuresShowTheRecords) {
    SYxProjectDbRow_tagdef a{1, 0, 255, L"Mitosis", L""};
    SYxProjectDbRow_tagdef b = a;
    EXPECT_EQ(a, b);
    b.wszName = L"Apoptosis";
    EXPECT_NONFATAL_FAILURE(EXPECT_EQ(a, b), "tagdef{iKey=1, iType=0, iColor=255, wszName=\"Apoptosis\"");
    b = a;
    const unsigned char one = 1;
    b.wszDesc = L"x";
    EXPECT_NE(a, b);
    SYxProjectDbRow_planeinfo p{}, p2{};
    p2.pData = CYxByteArray(&one, 1);
    EXPECT_NE(p, p2);
}

}  // namespace
