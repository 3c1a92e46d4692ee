// wcs_collation in queries over UTF-8 and UTF-16 databases, and the natural
// comparison behind it.
#include "sqlfn_fixture.h"

#include "framework/yxnaturalcompare.h"

#include <algorithm>
#include <random>

namespace {
int Sign(int v) { return (v > 0) - (v < 0); }
}  // namespace

TEST(NaturalCompare, DigitRunsCompareByValue) {
    EXPECT_LT(YxNaturalCompare(L"A2", L"a10"), 0);
    EXPECT_LT(YxNaturalCompare(L"Well 2", L"Well 10"), 0);
    EXPECT_GT(YxNaturalCompare(L"Well 10", L"Well 9"), 0);
    EXPECT_LT(YxNaturalCompare(L"x9y", L"x10a"), 0);  // the number decides before the tail
    EXPECT_LT(YxNaturalCompare(L"v1.9", L"v1.10"), 0);
    // Runs far beyond 64 bits do not overflow.
    EXPECT_LT(YxNaturalCompare(L"n99999999999999999999999", L"n100000000000000000000000"), 0);
    EXPECT_GT(YxNaturalCompare(L"n100000000000000000000001", L"n100000000000000000000000"), 0);
}

TEST(NaturalCompare, CaseZerosAndEnds) {
    EXPECT_EQ(0, YxNaturalCompare(L"WELL a1", L"well A1"));
    EXPECT_EQ(0, YxNaturalCompare(nullptr, L""));
    EXPECT_LT(YxNaturalCompare(nullptr, L"a"), 0);
    EXPECT_LT(YxNaturalCompare(L"Run", L"Run 1"), 0);
    EXPECT_GT(YxNaturalCompare(L"B", L"a1"), 0);
    // Leading zeros: equal value first, then fewer zeros first.
    EXPECT_LT(YxNaturalCompare(L"a007", L"a8"), 0);
    EXPECT_LT(YxNaturalCompare(L"a7", L"a007"), 0);
    EXPECT_LT(YxNaturalCompare(L"a007b", L"a7c"), 0);  // the tail outranks the zeros
    EXPECT_EQ(0, YxNaturalCompare(L"a07", L"A07"));
    // Counted form: embedded zeros are characters, the count is the end.
    EXPECT_LT(YxNaturalCompareN(L"ab\0c", 4, L"ab\0d", 4), 0);
    EXPECT_EQ(0, YxNaturalCompareN(L"abX", 2, L"abY", 2));
}

// Antisymmetry and transitivity over random texts of letters, digits and
// blanks: sorting must give a consistent order.
TEST(NaturalCompare, IsAConsistentOrder) {
    std::mt19937 rng(5);
    const wchar_t alphabet[] = L"aAbB0019 .";
    std::vector<std::wstring> texts(300);
    for (auto& t : texts) {
        const int len = static_cast<int>(rng() % 6);
        for (int i = 0; i < len; ++i) t += alphabet[rng() % 10];
    }
    for (std::size_t i = 0; i < texts.size(); ++i)
        for (std::size_t j = 0; j < texts.size(); ++j)
            ASSERT_EQ(Sign(YxNaturalCompare(texts[i].c_str(), texts[j].c_str())),
                      -Sign(YxNaturalCompare(texts[j].c_str(), texts[i].c_str())));
    std::sort(texts.begin(), texts.end(),
              [](const std::wstring& a, const std::wstring& b) { return YxNaturalCompare(a.c_str(), b.c_str()) < 0; });
    for (std::size_t i = 0; i + 1 < texts.size(); ++i)
        for (std::size_t j = i + 1; j < texts.size(); ++j)
            ASSERT_LE(YxNaturalCompare(texts[i].c_str(), texts[j].c_str()), 0);
}

class CollationTest : public SqlFnTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(CollationTest, OrderByPutsNumbersInValueOrder) {
    Open(":memory:", GetParam());
    Values({"'Well 10'", "'a10'", "'Well 2'", "'A2'", "'well 1'", "'B1'", "'Plate 3 Well 11'", "'Plate 3 Well 9'"});
    EXPECT_EQ((std::vector<std::string>{"A2", "a10", "B1", "Plate 3 Well 9", "Plate 3 Well 11", "well 1", "Well 2",
                                        "Well 10"}),
              Column("SELECT x FROM v ORDER BY x COLLATE wcs_collation"));
    // Binary order for contrast: the collation really is used.
    EXPECT_EQ("A2", Column("SELECT x FROM v ORDER BY x")[0]);
    EXPECT_EQ("Plate 3 Well 11", Column("SELECT x FROM v ORDER BY x")[2]);
}

TEST_P(CollationTest, ComparisonsAndIndexes) {
    Open(":memory:", GetParam());
    EXPECT_EQ(1, One("SELECT 'WELL 2' = 'well 2' COLLATE wcs_collation").i);
    EXPECT_EQ(1, One("SELECT 'Well 2' < 'Well 10' COLLATE wcs_collation").i);
    // Characters beyond the basic plane (surrogate pairs in UTF-16).
    EXPECT_EQ(1, One("SELECT 'x\xF0\x9F\x94\xAC 2' < 'x\xF0\x9F\x94\xAC 10' COLLATE wcs_collation").i);
    Exec("CREATE TABLE w(name TEXT COLLATE wcs_collation); CREATE INDEX iw ON w(name);"
         "INSERT INTO w VALUES('Well 10'),('Well 9'),('Well 100'),('well 1');");
    EXPECT_EQ((std::vector<std::string>{"well 1", "Well 9", "Well 10", "Well 100"}),
              Column("SELECT name FROM w ORDER BY name"));
    EXPECT_EQ(2, One("SELECT count(*) FROM w WHERE name > 'WELL 9'").i);
}

TEST_P(CollationTest, CaseFoldsInEveryScript) {
    Open(":memory:", GetParam());
    // "Äpfel" = "äpfel"; "б2" < "Б10" whatever the process locale.
    EXPECT_EQ(1, One("SELECT '\xC3\x84pfel' = '\xC3\xA4pfel' COLLATE wcs_collation").i);
    EXPECT_EQ(1, One("SELECT '\xD0\xB1" "2' < '\xD0\x91" "10' COLLATE wcs_collation").i);
}

INSTANTIATE_TEST_SUITE_P(Encodings, CollationTest, ::testing::Values("UTF-8", "UTF-16le", "UTF-16be"));
