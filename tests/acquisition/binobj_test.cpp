// Binary layers, objects, traces and their properties and qualifiers.
#include "acq_fixture.h"

#include "gnr_projectdb/records_binobj.h"

#include <list>

class Binobj : public AcqDbTest {
protected:
    void SetUp() override {
        AcqDbTest::SetUp();
        ASSERT_EQ(0, YxProjectDb_Binlayer_Insert(h, runKey, 0, L"layer-uuid", L"Nuclei", L"DAPI", L"n", 7, 1, &layer));
        SYxProjectDbRow_qualdef qd;
        qd.wszName = L"phase";
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, qd, &qualdef));
        for (const wchar_t* v : {L"G1", L"M"}) {
            SYxProjectDbRow_qualstr qs;
            qs.wszName = v;
            ASSERT_EQ(0, YxProjectDb_Row_Insert(h, qs, &qualstr[v[0] == L'M']));
        }
        propdef = AddPropdef(L"area", 2);
    }
    std::int64_t layer = 0, qualdef = 0, qualstr[2] = {}, propdef = 0;
};

TEST_F(Binobj, LayersByNameAndUuid) {
    SYxProjectDbRow_binlayer row;
    ASSERT_EQ(0, YxProjectDb_Binlayer_Find(h, runKey, L"Nuclei", L"DAPI", row));
    EXPECT_EQ(layer, row.iKey);
    EXPECT_EQ(L"n", row.wszFileTag);
    // The assay-run form compares iAssayrunKeyRef with '=': a layer stored
    // without assay run (NULL) is not found by it.
    SYxProjectDbRow_binlayer byAssay;
    ASSERT_EQ(0, YxProjectDb_Binlayer_Find(h, runKey, 0, L"Nuclei", L"DAPI", byAssay));
    EXPECT_EQ(0, byAssay.iKey);
    std::int64_t key = -1;
    ASSERT_EQ(0, YxProjectDb_Binlayer_GetIKey(h, L"layer-uuid", key));
    EXPECT_EQ(layer, key);
    ASSERT_EQ(0, YxProjectDb_Binlayer_GetIKey(h, L"other", key));
    EXPECT_EQ(0, key);
    // Quotes are spliced in as they stand: the statement fails.
    SYxProjectDbRow_binlayer untouched;
    EXPECT_NE(0, YxProjectDb_Binlayer_Find(h, runKey, L"Nuc'lei", L"DAPI", untouched));
    EXPECT_EQ(0, untouched.iKey);
    EXPECT_NE(0, YxProjectDb_Binlayer_GetIKey(h, L"it's", key));

    std::vector<SYxProjectDbRow_binlayer> more{{0, runKey, 0, L"u2", L"Cells", L"GFP", L"c", 1, 0}};
    ASSERT_EQ(0, YxProjectDb_Binlayer_InsertMany(h, more));
    std::vector<SYxProjectDbRow_binlayer> all;
    ASSERT_EQ(0, YxProjectDb_Binlayer_GetMany(h, runKey, all));
    EXPECT_EQ(2u, all.size());
}

TEST_F(Binobj, ObjectsTracesAndTheirAttributes) {
    std::list<SYxProjectDbRow_trace> traces{{0, runKey, 0, 1, 0, 3}, {0, runKey, 0, 2, 1, 2}};
    ASSERT_EQ(0, YxProjectDb_Trace_InsertMany(h, traces));
    for (const auto& t : traces) EXPECT_NE(0, t.iKey);
    const std::int64_t trace1 = traces.front().iKey;

    std::vector<SYxProjectDbRow_binobj> objs;
    for (int f = 0; f < 3; ++f) objs.push_back({0, runKey, f, layer, 1, trace1, 1, 2, 3, 4, 10 + f});
    objs.push_back({0, runKey, 0, layer, 2, 0, 5, 6, 7, 8, 50});  // not on a trace
    ASSERT_EQ(0, YxProjectDb_Binobj_InsertMany(h, objs));
    EXPECT_EQ(1, Count("binobj", "iTraceKeyRef IS NULL"));
    std::int64_t key = -1;
    EXPECT_EQ(0, YxProjectDb_Binobj_InsertOrIgnore(h, runKey, 0, layer, 1, 0, 0, 0, 0, 0, 0, &key));
    EXPECT_EQ(0, key);
    SYxProjectDbRow_binobj one;
    ASSERT_EQ(0, YxProjectDb_binobj_getOne(h, runKey, 2, layer, 1, one));
    EXPECT_EQ(objs[2].iKey, one.iKey);
    EXPECT_EQ(12, one.iPixelCount);

    std::vector<SYxProjectDbRow_binobjprop> props;
    for (const auto& o : objs) props.push_back({0, o.iKey, propdef, runKey, o.iFrameIndex, o.iPixelCount * 1.5});
    ASSERT_EQ(0, YxProjectDb_Binobjprop_InsertMany(h, props));
    EXPECT_NE(0, YxProjectDb_Binobjprop_Insert(h, objs[0].iKey, propdef, runKey, 0, 1.0));
    ASSERT_EQ(0, YxProjectDb_Binobjprop_InsertOrReplace(h, objs[0].iKey, propdef, runKey, 0, 99.0));
    EXPECT_EQ("99.0", AcqOne(h, "SELECT dValue FROM binobjprop WHERE iBinobjKeyRef=" + std::to_string(objs[0].iKey)));
    ASSERT_EQ(0, YxProjectDb_Binobjprop_RemoveMany(h, {props[1], props[2]}));
    std::vector<SYxProjectDbRow_binobjprop> left;
    ASSERT_EQ(0, YxProjectDb_Binobjprop_GetMany(h, runKey, left));
    EXPECT_EQ(2u, left.size());

    std::vector<SYxProjectDbRow_binobjqual> quals;
    for (const auto& o : objs) quals.push_back({0, o.iKey, qualdef, runKey, o.iFrameIndex, qualstr[0]});
    ASSERT_EQ(0, YxProjectDb_Binobjqual_InsertMany(h, quals));
    quals[0].iQualstrKeyRef = qualstr[1];
    std::vector<SYxProjectDbRow_binobjqual> change{quals[0]};
    ASSERT_EQ(0, YxProjectDb_Binobjqual_InsertOrReplaceMany(h, change));
    EXPECT_EQ(1, Count("binobjqual", "iQualstrKeyRef=" + std::to_string(qualstr[1])));
    EXPECT_EQ(4, Count("binobjqual"));
    ASSERT_EQ(0, YxProjectDb_Binobjqual_RemoveMany(h, {quals[3]}));
    std::vector<SYxProjectDbRow_binobjqual> readQuals;
    ASSERT_EQ(0, YxProjectDb_Binobjqual_GetManyReferencingJobrun(h, runKey, readQuals));
    EXPECT_EQ(3u, readQuals.size());
    ASSERT_EQ(0, YxProjectDb_Binobjqual_RemoveMany(h, runKey));
    EXPECT_EQ(0, Count("binobjqual"));

    std::vector<SYxProjectDbRow_traceprop> tprops{{0, runKey, 1, propdef, 0, 3.0}, {0, runKey, 2, propdef, 0, 4.0}};
    ASSERT_EQ(0, YxProjectDb_Traceprop_InsertMany(h, tprops));
    ASSERT_EQ(0, YxProjectDb_Traceprop_InsertOrIgnore(h, runKey, 3, propdef, 0, 5.0, &key));
    EXPECT_NE(0, key);
    ASSERT_EQ(0, YxProjectDb_Traceprop_RemoveMany(h, {tprops[0]}));
    std::vector<SYxProjectDbRow_traceprop> readTprops;
    ASSERT_EQ(0, YxProjectDb_Traceprop_GetMany(h, runKey, readTprops));
    EXPECT_EQ(2u, readTprops.size());

    std::vector<SYxProjectDbRow_tracequal> tquals{{0, runKey, trace1, qualdef, qualstr[0]}};
    ASSERT_EQ(0, YxProjectDb_Tracequal_InsertOrReplaceMany(h, tquals));
    tquals[0].iQualstrKeyRef = qualstr[1];
    ASSERT_EQ(0, YxProjectDb_Tracequal_InsertOrReplaceMany(h, tquals));
    EXPECT_EQ(std::to_string(qualstr[1]), AcqOne(h, "SELECT group_concat(iQualstrKeyRef) FROM tracequal"));
    std::vector<SYxProjectDbRow_tracequal> readTquals;
    ASSERT_EQ(0, YxProjectDb_Tracequal_GetManyReferencingJobrun(h, runKey, readTquals));
    EXPECT_EQ(1u, readTquals.size());
    ASSERT_EQ(0, YxProjectDb_Tracequal_RemoveMany(h, readTquals));
    EXPECT_EQ(0, Count("tracequal"));

    std::list<SYxProjectDbRow_trace> read{{}};
    ASSERT_EQ(0, YxProjectDb_Trace_GetMany(h, runKey, read));
    EXPECT_EQ(3u, read.size());  // appended after the one already there
    // A trace without assay run is stored with NULL, which '=' never matches.
    ASSERT_EQ(0, YxProjectDb_Trace_GetIKey(h, runKey, 0, 1, key));
    EXPECT_EQ(0, key);
    SYxProjectDbRow_assayrun assay;
    assay.iJobrunKeyRef = runKey;
    std::int64_t assayKey = 0;
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, assay, &assayKey));
    std::int64_t assayTrace = 0;
    ASSERT_EQ(0, YxProjectDb_Trace_Insert(h, runKey, assayKey, 1, 0, 3, &assayTrace));
    ASSERT_EQ(0, YxProjectDb_Trace_GetIKey(h, runKey, assayKey, 1, key));
    EXPECT_EQ(assayTrace, key);

    // Deleting the trace keeps its objects and clears their link.
    AcqQuery(h, "DELETE FROM trace WHERE iKey=" + std::to_string(trace1));
    EXPECT_EQ(4, Count("binobj", "iTraceKeyRef IS NULL"));
}
