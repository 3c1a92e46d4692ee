// The compiled statements: values never in the text, texts that look like
// SQL matched as values, and query plans served by the tables' indexes.
#include "search_model.h"

#include "gnr_projectdb/search.h"

#include <algorithm>

namespace {

std::vector<std::int32_t> Expected(const std::vector<SSearchItem>& frames, bool (*pred)(const SSearchItem&)) {
    std::vector<std::int32_t> out;
    for (const SSearchItem& f : frames)
        if (f.inFrameTable && pred(f)) out.push_back(f.frameIndex);
    return out;
}

bool HasQual(const SSearchItem& f, int def, const wchar_t* text) {
    for (const SSearchQual& q : f.quals)
        if (q.def == def && q.text == text) return true;
    return false;
}
bool HasTag(const SSearchItem& f, const wchar_t* tag) {
    return std::find(f.tags.begin(), f.tags.end(), std::wstring(tag)) != f.tags.end();
}

}  // namespace

using SearchPlan = SearchDbTest;

TEST_F(SearchPlan, TextsThatLookLikeSqlAreMatchedAsValues) {
    ASSERT_NO_FATAL_FAILURE(Fill(150, 77));
    const std::string schemaBefore = AcqQuery(h, "SELECT group_concat(sql, ';') FROM sqlite_master").front();
    const std::int64_t framesBefore = Count("frame");

    struct SCase {
        const wchar_t* expression;
        bool (*pred)(const SSearchItem&);
    };
    const SCase cases[] = {
        {L"Phase = 'it''s'", [](const SSearchItem& f) { return HasQual(f, 0, L"it's"); }},
        {L"Cycle.Phase = \"it's\"", [](const SSearchItem& f) { return HasQual(f, 0, L"it's"); }},
        {L"Shape in ('a;b', 'x -- y')",
         [](const SSearchItem& f) { return HasQual(f, 1, L"a;b") || HasQual(f, 1, L"x -- y"); }},
        {L"Shape != Ünïcode", [](const SSearchItem& f) { return !HasQual(f, 1, L"Ünïcode"); }},
        {L"tag = \"o'clock\" or tag = 'drop table frame'",
         [](const SSearchItem& f) { return HasTag(f, L"o'clock") || HasTag(f, L"drop table frame"); }},
        {L"tag = Ärger", [](const SSearchItem& f) { return HasTag(f, L"Ärger"); }},
        // ASCII case does not matter for tag names, other letters do.
        {L"tag = ärger", [](const SSearchItem&) { return false; }},
        {L"tag = O'CLOCK", nullptr},  // unterminated: a parse error, not SQL
        {L"'it''s; -- x' >= 0",
         [](const SSearchItem& f) {
             for (const SSearchValue& v : f.props)
                 if (v.def == 5 && v.value >= 0) return true;
             return false;
         }},
        {L"Phase = '''; DROP TABLE frame; --'", [](const SSearchItem&) { return false; }},
        {L"Phase = \"1\" or Phase = 1", [](const SSearchItem& f) { return HasQual(f, 0, L"1"); }},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(CYxStringW(c.expression).ToUtf8());
        std::vector<std::int32_t> got;
        const int rc = YxProjectDb_Search_Frames(h, runKey, c.expression, got);
        if (!c.pred) {
            EXPECT_EQ(YXPDB_E_SEARCH_SYNTAX, rc);
            continue;
        }
        ASSERT_EQ(0, rc);
        EXPECT_EQ(Expected(frames, c.pred), got);

        // No character of a value reaches the statement's text: it holds no
        // quote at all, and it is the same whatever the values are.
        CYxStringW sql;
        int bound = 0;
        ASSERT_EQ(0, YxProjectDb_Search_Explain(c.expression, false, &sql, &bound));
        EXPECT_EQ(std::wstring::npos, sql.str().find_first_of(L"'\";"));
        EXPECT_EQ(std::wstring::npos, sql.str().find(L"--"));
        EXPECT_GT(bound, 1);
    }
    // Nothing was changed by any of them.
    EXPECT_EQ(schemaBefore, AcqQuery(h, "SELECT group_concat(sql, ';') FROM sqlite_master").front());
    EXPECT_EQ(framesBefore, Count("frame"));

    CYxStringW a, b;
    ASSERT_EQ(0, YxProjectDb_Search_Explain(L"tag = x and Area > 1", false, &a));
    ASSERT_EQ(0, YxProjectDb_Search_Explain(L"tag = 'y; DELETE FROM frame' and Area > 1e300", false, &b));
    EXPECT_EQ(a.str(), b.str());
}

TEST_F(SearchPlan, ConditionsAreServedByIndexes) {
    ASSERT_NO_FATAL_FAILURE(Fill(40, 5));
    // Tables with rows of many runs: each must be searched through an index,
    // never scanned whole. The property values go through the index on
    // (iJobrunKeyRef, iPropdefKeyRef, dValue).
    const char* runTables[] = {"frame", "frameprop", "framequal", "frametag", "framewellinfo",
                               "loopindex", "binobj", "binobjprop", "binobjqual", "wellinfo", "runloop", "binlayer"};
    struct SCase {
        const wchar_t* expression;
        bool objects;
        std::vector<std::string> mustUse;
    };
    const SCase cases[] = {
        {L"\"Mean Intensity\" > 1200 and tag = mitosis and well in (A1, B2) and t between 10 and 20", false,
         {"SEARCH frameprop USING INDEX idx_frameprop_iJobrunKeyRef_iPropdefKeyRef_dValue (iJobrunKeyRef=? AND "
          "iPropdefKeyRef=? AND dValue>?)",
          "SEARCH frame USING COVERING INDEX sqlite_autoindex_frame_1 (iJobrunKeyRef=? AND iFrameIndex=?)"}},
        {L"Area between 1 and 2 or not (Phase in (G1, S) or p = 1)", false,
         {"SEARCH frameprop USING INDEX idx_frameprop_iJobrunKeyRef_iPropdefKeyRef_dValue (iJobrunKeyRef=? AND "
          "iPropdefKeyRef=? AND dValue>? AND dValue<?)"}},
        {L"Area < 3 and layer = nuclei and not Shape = G1 and frame > 2", true,
         {"SEARCH binobjprop USING INDEX idx_binobjprop_iJobrunKeyRef_iPropdefKeyRef_dValue (iJobrunKeyRef=? AND "
          "iPropdefKeyRef=? AND dValue<?)"}},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(CYxStringW(c.expression).ToUtf8());
        CYxStringW sql;
        ASSERT_EQ(0, YxProjectDb_Search_Explain(c.expression, c.objects, &sql));
        const std::vector<std::string> plan = AcqQuery(h, "EXPLAIN QUERY PLAN " + sql.ToUtf8());
        std::string all;
        for (const std::string& row : plan) all += row + "\n";
        SCOPED_TRACE(all);
        for (const std::string& row : plan)
            for (const char* t : runTables)
                EXPECT_EQ(std::string::npos, row.find(std::string("SCAN ") + t + " ")) << row;
        for (const std::string& use : c.mustUse) EXPECT_NE(std::string::npos, all.find(use)) << use;
    }
}
