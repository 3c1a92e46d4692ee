// Malformed expressions: the parse error names the position and what was
// expected, and a search with such an expression never reaches SQLite.
#include "search_model.h"

#include "gnr_projectdb/search.h"

namespace {

struct SBad {
    const wchar_t* expression;
    int position;
    const wchar_t* expected;
    const wchar_t* found;
};

}  // namespace

using SearchSyntax = SearchDbTest;

TEST_F(SearchSyntax, MalformedExpressionsNamePositionAndExpectation) {
    const SBad cases[] = {
        {L"", 0, L"a condition", L"the end"},
        {L"   ", 3, L"a condition", L"the end"},
        {L"Area >", 6, L"a number", L"the end"},
        {L"Area > x", 7, L"a number", L"x"},
        {L"Area 5", 5, L"a comparison operator", L"5"},
        {L"Area > 5 and", 12, L"a condition", L"the end"},
        {L"Area > 5 Area < 3", 9, L"'and', 'or' or the end", L"Area"},
        {L"(Area > 5", 9, L"')'", L"the end"},
        {L"Area > 5)", 8, L"'and', 'or' or the end", L")"},
        {L"tag = 'mitosis", 6, L"a closing quote", L"'"},
        {L"tag = \"it\"\"s", 6, L"a closing quote", L"\""},
        {L"tag < 3", 4, L"'=', '!=' or 'in'", L"<"},
        {L"tag between 1 and 2", 4, L"'=', '!=' or 'in'", L"between"},
        {L"well in A1", 8, L"'('", L"A1"},
        {L"well in (A1 B2)", 12, L"',' or ')'", L"B2"},
        {L"well in ()", 9, L"a value", L")"},
        {L"t between 1 or 2", 12, L"'and'", L"or"},
        {L"t = x", 4, L"a number", L"x"},
        {L"frame not = 3", 10, L"'in' or 'between'", L"="},
        {L"Area in (1, G1)", 12, L"a number", L"G1"},
        {L"Phase in (G1, 2)", 14, L"a text", L"2"},
        {L"Cycle. > 1", 7, L"a name", L">"},
        {L"Area > 5; DROP TABLE frame", 8, L"'and', 'or' or the end", L";"},
        {L"Area > 5 -- comment", 9, L"'and', 'or' or the end", L"-"},
        {L"Área ! 5", 5, L"a comparison operator", L"!"},
        {L"and Area > 5", 0, L"a condition", L"and"},
        {L"not", 3, L"a condition", L"the end"},
        {L"Area > 1e999", 7, L"a number", L"1e999"},
        {L"Größe > 1 and (tag = x or )", 26, L"a condition", L")"},
    };
    for (const SBad& c : cases) {
        SCOPED_TRACE(CYxStringW(c.expression).ToUtf8());
        SYxProjectDbSearchError error;
        EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Check(c.expression, &error));
        EXPECT_EQ(c.position, error.iPosition);
        EXPECT_EQ(std::wstring(c.expected), error.wszExpected.str());
        EXPECT_EQ(std::wstring(c.found), error.wszFound.str());

        // The search refuses the same way, before any statement, and leaves
        // the output alone.
        std::vector<std::int32_t> out{42};
        SYxProjectDbSearchError again;
        EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Frames(h, runKey, c.expression, out, &again));
        EXPECT_EQ(error.iPosition, again.iPosition);
        EXPECT_EQ(std::vector<std::int32_t>{42}, out);
        std::vector<std::int64_t> objs;
        EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Objects(h, runKey, c.expression, objs));
        EXPECT_TRUE(objs.empty());
    }
    EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Check(nullptr));
}

TEST_F(SearchSyntax, LayerBelongsToObjectSearches) {
    SYxProjectDbSearchError error;
    const wchar_t* text = L"Area > 1 or (tag = a and layer = nuclei)";
    EXPECT_EQ(0, YxProjectDb_Search_Check(text));
    std::vector<std::int32_t> frames;
    EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Frames(h, runKey, text, frames, &error));
    EXPECT_EQ(25, error.iPosition);
    EXPECT_EQ(L"a condition on frames", error.wszExpected.str());
    std::vector<std::int64_t> objects;
    EXPECT_EQ(0, YxProjectDb_Search_Objects(h, runKey, text, objects));
}

TEST_F(SearchSyntax, LimitsOnLengthAndNestingAreParseErrors) {
    std::wstring many = L"frame = 0";
    for (int i = 1; i < 200; ++i) many += L" or frame = " + std::to_wstring(i);
    std::vector<std::int32_t> frames;
    // 200 conditions run (as one compound statement that SQLite accepts).
    EXPECT_EQ(0, YxProjectDb_Search_Frames(h, runKey, many.c_str(), frames));
    const std::size_t at = many.size() + 4;
    many += L" or frame = 200";
    SYxProjectDbSearchError error;
    EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Frames(h, runKey, many.c_str(), frames, &error));
    EXPECT_EQ(static_cast<int>(at), error.iPosition);
    EXPECT_EQ(L"at most 200 conditions", error.wszExpected.str());

    // 50 levels of "and", "or" and "not" (five "not (...)" count two each)
    // still compile into a statement SQLite takes; the 51st is refused.
    std::wstring deep = L"tag = a";
    for (int i = 0; i < 45; ++i)
        deep = i % 9 == 0 ? L"not (" + deep + L")" : i % 2 ? L"(" + deep + L" or frame = 1) and t = 2"
                                                           : L"(" + deep + L" and p = 1) or frame = 3";
    EXPECT_EQ(0, YxProjectDb_Search_Frames(h, runKey, deep.c_str(), frames, &error))
        << error.wszExpected.ToUtf8();
    const std::wstring deeper = L"(" + deep + L")";
    EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, YxProjectDb_Search_Frames(h, runKey, deeper.c_str(), frames, &error));
    EXPECT_EQ(L"at most 50 levels of nesting", error.wszExpected.str());
    std::vector<std::int64_t> objects;
    EXPECT_EQ(0, YxProjectDb_Search_Objects(h, runKey, deep.c_str(), objects));
}

TEST_F(SearchSyntax, WellFormedSpellings) {
    const wchar_t* good[] = {
        L"\"Mean Intensity\" > 1200 and tag = mitosis and well in (A1, B2) and t between 10 and 20",
        L"NOT(Area>=+1.5e2)OR(Area<-.5)",
        L"'it''s' = 'it''s' and \"a\"\"b\" != x",
        L"Nuclei.\"Mean Intensity\" == 3 and Cells.Area <> 4",
        L"loop12 not between 1 and 2 and p not in (1) and frame in (1,2,3)",
        L"tag = 7 and well = 3 and tag in (and, or, not)",
        L"\"t\" > 1 and \"tag\" = \"G1\"",
        L"Größe\t>\n1",
    };
    for (const wchar_t* g : good) {
        SYxProjectDbSearchError error;
        EXPECT_EQ(0, YxProjectDb_Search_Check(g, &error))
            << CYxStringW(g).ToUtf8() << " at " << error.iPosition << ": expected " << error.wszExpected.ToUtf8();
        std::vector<std::int32_t> frames;
        EXPECT_EQ(0, YxProjectDb_Search_Frames(h, runKey, g, frames)) << CYxStringW(g).ToUtf8();
    }
}

TEST_F(SearchSyntax, UnknownHandle) {
    std::vector<std::int32_t> frames{1};
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Search_Frames(kNoHandle, runKey, L"frame > 0", frames));
    std::vector<std::int64_t> objects{2};
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Search_Objects(kNoHandle, runKey, L"frame > 0", objects));
    EXPECT_EQ(1u, frames.size());
    EXPECT_EQ(1u, objects.size());
}
