// Reading the saved state of a job class or task from a key-value tree.
#include "framework/yxlitevariant.h"
#include "gnr_projectdb/records_jobdef.h"
#include "locale_support.h"

#include <gtest/gtest.h>

namespace {

CYxByteArray StateTree(const wchar_t* mtime) {
    CYxLiteVariantW w;
    EXPECT_EQ(YXLV_OK, w.OpenGroup(L""));
    EXPECT_EQ(YXLV_OK, w.AddText(L"version", L"9000000000"));
    EXPECT_EQ(YXLV_OK, w.AddText(L"state", L"-3"));
    EXPECT_EQ(YXLV_OK, w.AddText(L"mtime", mtime));
    EXPECT_EQ(YXLV_OK, w.AddText(L"name", L"Acquire"));
    const unsigned char raw[] = {1, 0, 2};
    EXPECT_EQ(YXLV_OK, w.AddBytes(L"data", raw, sizeof raw));
    EXPECT_EQ(YXLV_OK, w.CloseGroup());
    CYxByteArray out;
    EXPECT_EQ(YXLV_OK, w.GetData(out));
    return out;
}

SYxProjectDbJobTaskState Load(const CYxByteArray& tree, int& rc) {
    CYxLiteVariantR r(tree);
    EXPECT_EQ(YXLV_OK, r.EnterGroup(L""));
    SYxProjectDbJobTaskState state;
    state.wszNotes = L"kept";
    rc = state.LoadFromLiteVariant(r);
    return state;
}

TEST(JobTaskState, LoadReadsTheEntriesAndKeepsTheMissingOnes) {
    int rc = -1;
    const SYxProjectDbJobTaskState s = Load(StateTree(L"2459000.75"), rc);
    EXPECT_EQ(0, rc);
    EXPECT_EQ(9000000000, s.iVersion);
    EXPECT_EQ(-3, s.iState);
    EXPECT_EQ(2459000.75, s.dMTime);
    EXPECT_EQ(L"Acquire", s.wszName.str());
    EXPECT_EQ(3u, s.pData.GetSize());
    EXPECT_EQ(L"kept", s.wszNotes.str());
}

TEST(JobTaskState, TheTimeKeepsItsFractionUnderACommaLocale) {
    CYxCommaLocale comma;
    YX_REQUIRE_COMMA_LOCALE(comma);
    int rc = -1;
    const SYxProjectDbJobTaskState s = Load(StateTree(L"2459000.75"), rc);
    EXPECT_EQ(0, rc);
    EXPECT_EQ(2459000.75, s.dMTime);
}

}  // namespace
