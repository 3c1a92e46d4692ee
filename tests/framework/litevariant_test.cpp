// The key-value tree: what a writer stores a reader finds again, changing a
// stored tree keeps the rest of it, and bytes that are not a tree are refused
// without harm, whatever they are.
#include "framework/yxlitevariant.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

CYxByteArray Bytes(std::initializer_list<int> list) {
    std::vector<std::uint8_t> v;
    for (int b : list) v.push_back(static_cast<std::uint8_t>(b));
    return CYxByteArray(v);
}

// A tree like the properties of a job program, with one nested group.
CYxByteArray SampleTree() {
    CYxLiteVariantW w;
    EXPECT_EQ(w.OpenGroup(L""), YXLV_OK);
    EXPECT_EQ(w.AddText(L"Objective", L"40x \u00d6l \U0001F52C"), YXLV_OK);
    const std::uint8_t raw[] = {0, 1, 2, 0xFF, 0, 0x80};
    EXPECT_EQ(w.AddBytes(L"Calibration", raw, sizeof raw), YXLV_OK);
    EXPECT_EQ(w.AddText(L"Empty", L""), YXLV_OK);
    EXPECT_EQ(w.OpenGroup(L"Camera"), YXLV_OK);
    EXPECT_EQ(w.AddText(L"Binning", L"2x2"), YXLV_OK);
    EXPECT_EQ(w.CloseGroup(), YXLV_OK);
    EXPECT_EQ(w.CloseGroup(), YXLV_OK);
    CYxByteArray data;
    EXPECT_EQ(w.GetData(data), YXLV_OK);
    return data;
}

TEST(LiteVariant, RoundTripOfTextBytesAndGroups) {
    CYxLiteVariantR r(SampleTree());
    ASSERT_EQ(r.Status(), YXLV_OK);
    EXPECT_EQ(r.GetCount(), 1);
    ASSERT_EQ(r.EnterGroup(L""), YXLV_OK);
    EXPECT_EQ(r.Depth(), 1);

    CYxStringW text;
    EXPECT_EQ(r.GetText(L"Objective", text), YXLV_OK);
    EXPECT_EQ(text.str(), L"40x \u00d6l \U0001F52C");
    CYxByteArray bytes;
    EXPECT_EQ(r.GetBytes(L"Calibration", bytes), YXLV_OK);
    EXPECT_EQ(bytes, Bytes({0, 1, 2, 0xFF, 0, 0x80}));
    EXPECT_EQ(r.GetText(L"Empty", text), YXLV_OK);
    EXPECT_TRUE(text.IsEmpty());

    const std::vector<CYxStringW> names = r.GetNames();
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[0], L"Objective");
    EXPECT_EQ(names[1], L"Calibration");
    EXPECT_EQ(names[2], L"Empty");
    EXPECT_EQ(names[3], L"Camera");
    EXPECT_EQ(r.GetKind(L"Objective"), eYxLvText);
    EXPECT_EQ(r.GetKind(L"Calibration"), eYxLvBytes);
    EXPECT_EQ(r.GetKind(L"Camera"), eYxLvGroup);
    EXPECT_EQ(r.GetKind(L"objective"), eYxLvNone);  // names are exact

    ASSERT_EQ(r.EnterGroup(L"Camera"), YXLV_OK);
    EXPECT_EQ(r.GetText(L"Binning", text), YXLV_OK);
    EXPECT_EQ(text.str(), L"2x2");
    EXPECT_EQ(r.GetKind(L"Objective"), eYxLvNone);  // entries of the parent are not seen
    EXPECT_EQ(r.LeaveGroup(), YXLV_OK);
    EXPECT_EQ(r.LeaveGroup(), YXLV_OK);
    EXPECT_EQ(r.LeaveGroup(), YXLV_E_STATE);
    EXPECT_EQ(r.Depth(), 0);
}

TEST(LiteVariant, LookupFailuresLeaveTheOutArgument) {
    CYxLiteVariantR r(SampleTree());
    ASSERT_EQ(r.EnterGroup(L""), YXLV_OK);
    CYxStringW text(L"keep");
    CYxByteArray bytes = Bytes({9});
    EXPECT_EQ(r.GetText(L"Missing", text), YXLV_E_NOTFOUND);
    EXPECT_EQ(r.GetText(L"Calibration", text), YXLV_E_TYPE);
    EXPECT_EQ(r.GetText(L"Camera", text), YXLV_E_TYPE);
    EXPECT_EQ(r.GetBytes(L"Objective", bytes), YXLV_E_TYPE);
    EXPECT_EQ(r.GetText(nullptr, text), YXLV_E_STATE);
    EXPECT_EQ(text.str(), L"keep");
    EXPECT_EQ(bytes, Bytes({9}));
    EXPECT_EQ(r.EnterGroup(L"Objective"), YXLV_E_TYPE);
    EXPECT_EQ(r.EnterGroup(L"Nope"), YXLV_E_NOTFOUND);
    EXPECT_EQ(r.Depth(), 1);
}

TEST(LiteVariant, EmptyBytesAreTheEmptyTreeWithoutRootGroup) {
    CYxLiteVariantR r(CYxByteArray{});
    EXPECT_EQ(r.Status(), YXLV_OK);
    EXPECT_EQ(r.GetCount(), 0);
    EXPECT_EQ(r.EnterGroup(L""), YXLV_E_NOTFOUND);

    // A fresh writer's tree is as empty, but serialised.
    CYxLiteVariantW w;
    CYxByteArray data;
    ASSERT_EQ(w.GetData(data), YXLV_OK);
    EXPECT_FALSE(data.IsEmpty());
    CYxLiteVariantR r2(data);
    EXPECT_EQ(r2.Status(), YXLV_OK);
    EXPECT_EQ(r2.GetCount(), 0);
}

// Changing one property of a stored tree: load, enter, replace, serialise.
TEST(LiteVariant, RewritingReplacesInPlaceAndKeepsTheRest) {
    CYxLiteVariantW w;
    ASSERT_EQ(w.Load(SampleTree()), YXLV_OK);
    ASSERT_EQ(w.OpenGroup(L""), YXLV_OK);
    EXPECT_EQ(w.AddBytes(L"Objective", Bytes({7, 7})), YXLV_OK);  // text becomes bytes
    EXPECT_EQ(w.AddText(L"New", L"n"), YXLV_OK);
    EXPECT_EQ(w.Remove(L"Empty"), YXLV_OK);
    EXPECT_EQ(w.Remove(L"Empty"), YXLV_E_NOTFOUND);
    EXPECT_EQ(w.OpenGroup(L"Calibration"), YXLV_E_TYPE);
    ASSERT_EQ(w.OpenGroup(L"Camera"), YXLV_OK);  // an existing group is reopened, not replaced
    EXPECT_EQ(w.AddText(L"Gain", L"3"), YXLV_OK);
    // Groups still open are part of the serialised tree.
    CYxByteArray data;
    ASSERT_EQ(w.GetData(data), YXLV_OK);

    CYxLiteVariantR r(data);
    ASSERT_EQ(r.Status(), YXLV_OK);
    ASSERT_EQ(r.EnterGroup(L""), YXLV_OK);
    const std::vector<CYxStringW> names = r.GetNames();
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[0], L"Objective");
    EXPECT_EQ(names[3], L"New");
    CYxByteArray bytes;
    EXPECT_EQ(r.GetBytes(L"Objective", bytes), YXLV_OK);
    EXPECT_EQ(bytes, Bytes({7, 7}));
    EXPECT_EQ(r.GetBytes(L"Calibration", bytes), YXLV_OK);
    EXPECT_EQ(bytes.GetSize(), 6u);
    ASSERT_EQ(r.EnterGroup(L"Camera"), YXLV_OK);
    EXPECT_EQ(r.GetCount(), 2);
    CYxStringW text;
    EXPECT_EQ(r.GetText(L"Binning", text), YXLV_OK);
    EXPECT_EQ(r.GetText(L"Gain", text), YXLV_OK);
    EXPECT_EQ(text.str(), L"3");

    EXPECT_EQ(w.CloseGroup(), YXLV_OK);
    EXPECT_EQ(w.CloseGroup(), YXLV_OK);
    EXPECT_EQ(w.CloseGroup(), YXLV_E_STATE);
    CYxByteArray closed;
    ASSERT_EQ(w.GetData(closed), YXLV_OK);
    EXPECT_EQ(closed, data);  // closing changes nothing that was serialised
}

TEST(LiteVariant, NestingIsBoundedOnBothSides) {
    CYxLiteVariantW w;
    for (int i = 0; i < YX_LITEVARIANT_MAX_DEPTH; ++i) ASSERT_EQ(w.OpenGroup(L"g"), YXLV_OK) << i;
    EXPECT_EQ(w.OpenGroup(L"g"), YXLV_E_STATE);
    EXPECT_EQ(w.AddText(L"leaf", L"x"), YXLV_OK);
    CYxByteArray data;
    ASSERT_EQ(w.GetData(data), YXLV_OK);
    CYxLiteVariantR r(data);
    ASSERT_EQ(r.Status(), YXLV_OK);
    for (int i = 0; i < YX_LITEVARIANT_MAX_DEPTH; ++i) ASSERT_EQ(r.EnterGroup(L"g"), YXLV_OK) << i;
    EXPECT_TRUE(r.Has(L"leaf"));

    // One level more than a writer can produce is refused on load.
    std::vector<std::uint8_t> deep;
    for (int i = 0; i <= YX_LITEVARIANT_MAX_DEPTH + 1; ++i) {
        deep.push_back(0xA1);  // map of one pair
        deep.push_back(0x61);  // key: text of one byte
        deep.push_back('g');
    }
    deep.push_back(0x60);  // innermost value: empty text
    EXPECT_EQ(CYxLiteVariantR(CYxByteArray(deep)).Status(), YXLV_E_FORMAT);
    // A nesting far too deep for a recursive decoder is refused just as well.
    std::vector<std::uint8_t> abyss;
    for (int i = 0; i < 200000; ++i) abyss.insert(abyss.end(), {0xA1, 0x60});
    abyss.push_back(0x60);
    EXPECT_EQ(CYxLiteVariantR(CYxByteArray(abyss)).Status(), YXLV_E_FORMAT);
}

void ExpectRefused(const CYxByteArray& data, const char* what) {
    CYxLiteVariantR r(data);
    EXPECT_EQ(r.Status(), YXLV_E_FORMAT) << what;
    EXPECT_EQ(r.GetCount(), 0) << what;
    EXPECT_EQ(r.EnterGroup(L""), YXLV_E_NOTFOUND) << what;
    CYxLiteVariantW w;
    EXPECT_EQ(w.Load(data), YXLV_E_FORMAT) << what;
}

TEST(LiteVariant, OtherCborIsRefused) {
    ExpectRefused(Bytes({0x80}), "array at the top");
    ExpectRefused(Bytes({0x01}), "integer at the top");
    ExpectRefused(Bytes({0x60}), "text at the top");
    ExpectRefused(Bytes({0xA1, 0x01, 0x60}), "integer name");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0x01}), "integer value");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0xF6}), "null value");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0x80}), "array value");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0xFB, 0, 0, 0, 0, 0, 0, 0, 0}), "double value");
    ExpectRefused(Bytes({0xBF, 0xFF}), "indefinite map");
    ExpectRefused(Bytes({0xA1, 0x7F, 0x61, 'a', 0xFF, 0x60}), "indefinite name");
    ExpectRefused(Bytes({0xA2, 0x61, 'a', 0x60, 0x61, 'a', 0x60}), "name twice");
    ExpectRefused(Bytes({0xA1, 0x61, 0xFF, 0x60}), "name not UTF-8");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0x62, 0xC3, 0x28}), "text not UTF-8");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0x5B, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), "huge length");
    ExpectRefused(Bytes({0xBB, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), "huge pair count");
    ExpectRefused(Bytes({0xA1, 0x61, 'a', 0x5C}), "reserved length");
    ExpectRefused(Bytes({0xA0, 0x00}), "trailing byte");
    ExpectRefused(Bytes({0xA0, 0xA0}), "two trees");
    CYxLiteVariantR r;
    EXPECT_EQ(r.Load(nullptr, 3), YXLV_E_FORMAT);
}

TEST(LiteVariant, EveryTruncationIsRefused) {
    const CYxByteArray full = SampleTree();
    ASSERT_GT(full.GetSize(), 20u);
    for (std::size_t n = 1; n < full.GetSize(); ++n)
        ExpectRefused(CYxByteArray(full.GetData(), n), ("prefix of " + std::to_string(n)).c_str());
}

// Whatever the bytes, loading ends with a status; a tree that loads also
// serialises and loads again to the same bytes.
void LoadAnything(const std::vector<std::uint8_t>& bytes, int& accepted) {
    CYxLiteVariantR r(bytes.data(), bytes.size());
    ASSERT_TRUE(r.Status() == YXLV_OK || r.Status() == YXLV_E_FORMAT);
    if (r.Status() != YXLV_OK) return;
    ++accepted;
    CYxLiteVariantW w;
    ASSERT_EQ(w.Load(bytes.data(), bytes.size()), YXLV_OK);
    CYxByteArray again;
    ASSERT_EQ(w.GetData(again), YXLV_OK);
    EXPECT_EQ(CYxLiteVariantR(again).Status(), YXLV_OK);
}

TEST(LiteVariant, RandomBytesNeverCrash) {
    std::mt19937 rng(20240517u);
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        std::vector<std::uint8_t> bytes(1 + rng() % 96);
        for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
        // Every few samples start like a map so the decoder gets further in.
        if (i % 3 == 0) bytes[0] = static_cast<std::uint8_t>(0xA0 | (rng() % 4));
        LoadAnything(bytes, accepted);
    }
    // Mutations of a valid tree reach every branch of the decoder.
    const CYxByteArray base = SampleTree();
    for (int i = 0; i < 20000; ++i) {
        std::vector<std::uint8_t> bytes = base.bytes();
        const int flips = 1 + static_cast<int>(rng() % 4);
        for (int f = 0; f < flips; ++f) bytes[rng() % bytes.size()] ^= static_cast<std::uint8_t>(1u << (rng() % 8));
        LoadAnything(bytes, accepted);
    }
    // Some mutations only change a text or a byte value and stay valid trees.
    EXPECT_GT(accepted, 0);
}

}  // namespace
