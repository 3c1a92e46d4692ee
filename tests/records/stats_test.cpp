// Run statistics computed by the scripts equal a direct computation over the
// source rows, for frames, objects and traces; the only-null and
// delete-empty flags.
#include "records_fixture.h"

#include "gnr_projectdb/records_jobrun.h"

#include <cmath>
#include <map>
#include <set>

namespace {

struct SExpected {
    std::int64_t count = 0, distinct = 0;
    double min = 0, max = 0, sum = 0, sq = 0, dec = 0;
};

SExpected Compute(const std::vector<double>& values) {
    SExpected e;
    std::set<double> d(values.begin(), values.end());
    e.count = static_cast<std::int64_t>(values.size());
    e.distinct = static_cast<std::int64_t>(d.size());
    if (!values.empty()) {
        e.min = *d.begin();
        e.max = *d.rbegin();
    }
    for (double v : values) {
        e.sum += v;
        e.sq += v * v;
        e.dec += v - std::trunc(v);
    }
    return e;
}

class CYxStatsTest : public CYxRecordsTest {
protected:
    std::int64_t AddPropdef(const wchar_t* feature, int entity) {
        SYxProjectDbRow_propdef p{};
        p.wszFeatureName = feature;
        p.iOnEntity = entity;
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Insert(m_h, p, &key));
        return key;
    }
    // Values with repeats, negatives (truncation toward zero) and fractions.
    std::vector<double> Values(int seed, int n) {
        std::vector<double> v;
        for (int i = 0; i < n; ++i) v.push_back(((i * 37 + seed * 11) % 23) * 0.75 - 5.3);
        return v;
    }
    void ExpectRow(const SYxProjectDbRow_jobrunpropstat& s, const SExpected& e) {
        EXPECT_EQ(e.count, s.iCount);
        EXPECT_EQ(e.distinct, s.iDistinctCount);
        EXPECT_NEAR(e.min, s.dStatMin, 1e-9);
        EXPECT_NEAR(e.max, s.dStatMax, 1e-9);
        EXPECT_NEAR(e.sum, s.dStatSum, 1e-9);
        EXPECT_NEAR(e.sq, s.dStatSqSum, 1e-9);
        EXPECT_NEAR(e.dec, s.dStatDecSum, 1e-9);
    }
    const SYxProjectDbRow_jobrunpropstat* Find(const std::vector<SYxProjectDbRow_jobrunpropstat>& rows,
                                               std::int64_t propdef) {
        for (const auto& r : rows)
            if (r.iPropdefKeyRef == propdef) return &r;
        return nullptr;
    }
};

}  // namespace

TEST_F(CYxStatsTest, PropertyStatisticsMatchDirectComputationForEveryEntity) {
    const std::int64_t run = AddRun();
    const std::int64_t other = AddRun();
    const std::int64_t pFrame = AddPropdef(L"area", 1), pObj = AddPropdef(L"size", 2), pTrace = AddPropdef(L"speed", 3);

    // frames: frameprop rows of two runs (the other run must not count)
    const std::vector<double> fv = Values(1, 40);
    std::vector<SYxProjectDbRow_frameprop> fp;
    for (int i = 0; i < static_cast<int>(fv.size()); ++i) {
        fp.push_back(SYxProjectDbRow_frameprop{0, run, 0, pFrame, i, fv[i]});
        fp.push_back(SYxProjectDbRow_frameprop{0, other, 0, pFrame, i, 1000.0 + i});
    }
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, fp));

    // objects: binobjprop rows hanging from binary objects of a layer
    SYxProjectDbRow_binlayer layer{};
    layer.iJobrunKeyRef = run;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, layer, nullptr));
    const std::vector<double> ov = Values(2, 25);
    std::vector<SYxProjectDbRow_binobj> objs;
    for (int i = 0; i < static_cast<int>(ov.size()); ++i) {
        SYxProjectDbRow_binobj o{};
        o.iJobrunKeyRef = run;
        o.iBinlayerKeyRef = layer.iKey;
        o.iBinObjId = i;
        objs.push_back(o);
    }
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, objs));
    std::vector<SYxProjectDbRow_binobjprop> op;
    for (std::size_t i = 0; i < ov.size(); ++i)
        op.push_back(SYxProjectDbRow_binobjprop{0, objs[i].iKey, pObj, run, 0, ov[i]});
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, op));

    // traces
    const std::vector<double> tv = Values(3, 17);
    std::vector<SYxProjectDbRow_traceprop> tp;
    for (int i = 0; i < static_cast<int>(tv.size()); ++i) tp.push_back(SYxProjectDbRow_traceprop{0, run, i, pTrace, 0, tv[i]});
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, tp));

    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_InsertEmpty(m_h, run, pFrame, 0, 1));
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_InsertEmpty(m_h, run, pObj, 0, 2));
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_InsertEmpty(m_h, run, pTrace, 0, 3));
    const CYxStringW cond = CYxStringW::Format(L"iJobrunKeyRef=%I64d", run);
    for (int entity = 1; entity <= 3; ++entity)
        ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_UpdateStats(m_h, entity, cond, false, false)) << entity;
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Jobrunpropstat_UpdateStats(m_h, 4, cond, false, false));

    std::vector<SYxProjectDbRow_jobrunpropstat> stats;
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_GetMany(m_h, run, stats));
    ASSERT_EQ(3u, stats.size());
    ASSERT_TRUE(Find(stats, pFrame) && Find(stats, pObj) && Find(stats, pTrace));
    ExpectRow(*Find(stats, pFrame), Compute(fv));
    ExpectRow(*Find(stats, pObj), Compute(ov));
    ExpectRow(*Find(stats, pTrace), Compute(tv));
}

TEST_F(CYxStatsTest, OnlyNullRecomputesPendingRowsAndDeleteEmptyRemovesZeroCounts) {
    const std::int64_t run = AddRun();
    const std::int64_t a = AddPropdef(L"a", 1), b = AddPropdef(L"b", 1), empty = AddPropdef(L"c", 1);
    std::vector<SYxProjectDbRow_frameprop> rows = {{0, run, 0, a, 0, 1.5}, {0, run, 0, b, 0, 2.5}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, rows));
    for (std::int64_t p : {a, b, empty}) ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_InsertEmpty(m_h, run, p, 0, 1));
    const CYxStringW cond = CYxStringW::Format(L"iJobrunKeyRef=%I64d", run);
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_UpdateStats(m_h, 1, cond, true, false));
    EXPECT_EQ(1, Count(L"jobrunpropstat", L"iCount=0"));

    // More values for both; only b is reset, so only b is recomputed.
    std::vector<SYxProjectDbRow_frameprop> more = {{0, run, 0, a, 1, 4.0}, {0, run, 0, b, 1, 4.0}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, more));
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_ResetStats(m_h, run, b));
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_UpdateStats(m_h, 1, cond, true, true));
    std::vector<SYxProjectDbRow_jobrunpropstat> stats;
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_GetMany(m_h, run, stats));
    ASSERT_EQ(2u, stats.size()) << "the row with count 0 is deleted";
    EXPECT_EQ(1, Find(stats, a)->iCount);
    EXPECT_EQ(2, Find(stats, b)->iCount);
    EXPECT_NEAR(6.5, Find(stats, b)->dStatSum, 1e-12);

    // Resetting a pair without row inserts it pending, entity from propdef.
    const std::int64_t d = AddPropdef(L"d", 3);
    ASSERT_EQ(0, YxProjectDb_Jobrunpropstat_ResetStats(m_h, run, d));
    EXPECT_EQ(1, Count(L"jobrunpropstat", CYxStringW::Format(L"iPropdefKeyRef=%I64d AND iOnEntity=3 AND iCount IS NULL", d)));
}

TEST_F(CYxStatsTest, QualifierAndTagStatistics) {
    const std::int64_t run = AddRun();
    SYxProjectDbRow_qualdef q1{}, q2{};
    q1.wszName = L"q1";
    q2.wszName = L"q2";
    q2.iOnEntity = 2;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, q1, nullptr));
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, q2, nullptr));
    std::vector<SYxProjectDbRow_qualstr> strs = {{0, L"x"}, {0, L"y"}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, strs));
    std::vector<SYxProjectDbRow_framequal> fq;
    for (int i = 0; i < 5; ++i) fq.push_back({0, run, i, q1.iKey, strs[i % 2].iKey});
    for (int i = 0; i < 3; ++i) fq.push_back({0, run, i, q2.iKey, strs[0].iKey});
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, fq));

    std::vector<SYxProjectDbRow_jobrunqualstat> qs = {{0, run, q1.iKey, 1, -1, -1}, {0, run, q2.iKey, 2, -1, -1}};
    ASSERT_EQ(0, YxProjectDb_Jobrunqualstat_InsertOrReplaceMany(m_h, qs));
    EXPECT_EQ(2, Count(L"jobrunqualstat", L"iCount IS NULL AND iDistinctCount IS NULL"));
    const CYxStringW cond = CYxStringW::Format(L"iJobrunKeyRef=%I64d", run);

    // With only-null the entity filters: the objects row stays pending.
    ASSERT_EQ(0, YxProjectDb_Jobrunqualstat_UpdateStats(m_h, 1, cond, true, false));
    std::vector<SYxProjectDbRow_jobrunqualstat> got;
    ASSERT_EQ(0, YxProjectDb_Jobrunqualstat_GetMany(m_h, run, got));
    ASSERT_EQ(2u, got.size());
    EXPECT_EQ(5, got[0].iCount);
    EXPECT_EQ(2, got[0].iDistinctCount);
    EXPECT_EQ(1, Count(L"jobrunqualstat", L"iOnEntity=2 AND iCount IS NULL"));
    // Without it the entity does not filter: the objects row is computed
    // from the frame qualifiers as well.
    ASSERT_EQ(0, YxProjectDb_Jobrunqualstat_UpdateStats(m_h, 1, cond, false, false));
    EXPECT_EQ(1, Count(L"jobrunqualstat", L"iOnEntity=2 AND iCount=3 AND iDistinctCount=1"));

    // Tags.
    SYxProjectDbRow_tagdef t1{0, 0, 0, L"t1", L""}, t2{0, 0, 0, L"t2", L""};
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, t1, nullptr));
    ASSERT_EQ(0, YxProjectDb_Row_Insert(m_h, t2, nullptr));
    std::vector<SYxProjectDbRow_frametag> ft = {{0, run, t1.iKey, 0}, {0, run, t1.iKey, 1}, {0, run, t1.iKey, 2}};
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(m_h, ft));
    std::vector<SYxProjectDbRow_jobruntagstat> ts = {{0, run, t1.iKey, 0}, {0, run, t2.iKey, 0}};
    ASSERT_EQ(0, YxProjectDb_Jobruntagstat_InsertOrReplaceMany(m_h, ts));
    ASSERT_EQ(0, YxProjectDb_Jobruntagstat_UpdateStats(m_h, cond, false, true));
    std::vector<SYxProjectDbRow_jobruntagstat> tgot;
    ASSERT_EQ(0, YxProjectDb_Jobruntagstat_GetMany(m_h, run, tgot));
    ASSERT_EQ(1u, tgot.size());
    EXPECT_EQ(t1.iKey, tgot[0].iTagdefKeyRef);
    EXPECT_EQ(3, tgot[0].iCount);
}
