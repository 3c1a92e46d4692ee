// Writes the in-memory run of search_model.h into the database.
#include "search_model.h"

#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/sys.h"

namespace {
bool Chance(std::mt19937& rng, double p) { return std::uniform_real_distribution<double>(0, 1)(rng) < p; }
template <class T>
const T& Pick(std::mt19937& rng, const std::vector<T>& v) {
    return v[std::uniform_int_distribution<std::size_t>(0, v.size() - 1)(rng)];
}
}  // namespace

void SearchDbTest::Fill(int frameCount, unsigned seed) {
    propdefs = {{L"", L"Area"},         {L"Nuclei", L"Mean Intensity"}, {L"Cells", L"Mean Intensity"},
                {L"Form", L"Größe"},     {L"x", L"t"},                   {L"Q", L"it's; -- x"}};
    qualdefs = {{L"Cycle", L"Phase"}, {L"", L"Shape"}};
    qualTexts = {L"G1", L"S", L"it's", L"a;b", L"x -- y", L"Ünïcode", L"1"};
    tagNames = {L"mitosis", L"Apoptosis", L"o'clock", L"Ärger", L"drop table frame"};
    wellNames = {L"A1", L"A2", L"B1", L"B2", L"C12"};
    layerNames = {L"nuclei", L"cells'"};
    numbers = {-1.5, 0, 1, 2.5, 3, 7, 10, 1200};

    for (SSearchPropdef& d : propdefs) {
        SYxProjectDbRow_propdef row;
        row.iType = 1;
        row.iOnEntity = 1;
        row.wszGroupName = d.group;
        row.wszFeatureName = d.name;
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &d.key));
    }
    for (SSearchPropdef& d : qualdefs) {
        SYxProjectDbRow_qualdef row;
        row.iOnEntity = 1;
        row.wszGroupName = d.group;
        row.wszName = d.name;
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &d.key));
    }
    for (const std::wstring& t : qualTexts) {
        SYxProjectDbRow_qualstr row;
        row.wszName = t;
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &m_qualstr[t]));
    }
    for (const std::wstring& t : tagNames) {
        SYxProjectDbRow_tagdef row;
        row.wszName = t;
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &m_tagdef[t]));
    }
    SYxProjectDbRow_assayrun assay;
    assay.iJobrunKeyRef = runKey;
    assay.wszUuid = L"0123456789abcdef0123456789abcdef";
    ASSERT_EQ(0, YxProjectDb_Row_Insert(h, assay, &m_assayrun));

    std::mt19937 rng(seed);
    FillRun(runKey, frameCount, rng, true);
    FillRun(runKey2, frameCount / 2, rng, false);
}

void SearchDbTest::FillRun(std::int64_t run, int frameCount, std::mt19937& rng, bool keep) {
    std::map<std::wstring, std::int64_t> wellKey;
    for (const std::wstring& w : wellNames) {
        SYxProjectDbRow_wellinfo row;
        row.iJobrunKeyRef = run;
        row.wszName = w;
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &wellKey[w]));
    }
    std::map<int, std::int64_t> loopKey;
    const int loopTypes[] = {1, 2, 7};
    for (int order = 0; order < 3; ++order) {
        SYxProjectDbRow_runloop row;
        row.iJobrunKeyRef = run;
        row.iOrder = order;
        row.iNestLevel = order;
        row.iLoopType = loopTypes[order];
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &loopKey[loopTypes[order]]));
    }
    std::map<std::wstring, std::int64_t> layerKey;
    for (const std::wstring& l : layerNames) {
        SYxProjectDbRow_binlayer row;
        row.iJobrunKeyRef = run;
        row.wszName = l;
        row.wszUuid = YxProjectDb_Sys_UuidAsText();
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &layerKey[l]));
    }

    std::vector<SYxProjectDbRow_frame> frameRows;
    std::vector<SYxProjectDbRow_frameprop> propRows;
    std::vector<SYxProjectDbRow_framequal> qualRows;
    std::vector<SYxProjectDbRow_frametag> tagRows;
    std::vector<SYxProjectDbRow_framewellinfo> wellRows;
    std::vector<SYxProjectDbRow_loopindex> loopRows;
    std::vector<SSearchItem> items;
    for (int i = 0; i < frameCount; ++i) {
        SSearchItem f;
        f.frameIndex = i;
        f.inFrameTable = !Chance(rng, 0.05);
        for (int d = 0; d < static_cast<int>(propdefs.size()); ++d) {
            if (!Chance(rng, 0.7)) continue;
            f.props.push_back({d, Pick(rng, numbers)});
            propRows.push_back({0, run, 0, propdefs[d].key, i, f.props.back().value});
            if (run == runKey && Chance(rng, 0.2)) {
                // An assay run's value of the same property.
                f.props.push_back({d, Pick(rng, numbers)});
                propRows.push_back({0, run, m_assayrun, propdefs[d].key, i, f.props.back().value});
            }
        }
        for (int d = 0; d < static_cast<int>(qualdefs.size()); ++d) {
            if (!Chance(rng, 0.6)) continue;
            f.quals.push_back({d, Pick(rng, qualTexts)});
            qualRows.push_back({0, run, i, qualdefs[d].key, m_qualstr[f.quals.back().text]});
        }
        for (const std::wstring& t : tagNames)
            if (Chance(rng, 0.3)) {
                f.tags.push_back(t);
                tagRows.push_back({0, run, m_tagdef[t], i});
            }
        if (Chance(rng, 0.9)) {
            f.wells.push_back(Pick(rng, wellNames));
            wellRows.push_back({0, run, wellKey[f.wells.back()], i});
        }
        const int loopRange[] = {6, 4, 3};
        for (int l = 0; l < 3; ++l) {
            if (!Chance(rng, l == 2 ? 0.3 : 0.9)) continue;
            const int index = std::uniform_int_distribution<int>(0, loopRange[l] - 1)(rng);
            f.loops[loopTypes[l]].push_back(index);
            loopRows.push_back({0, run, i, loopKey[loopTypes[l]], index});
        }
        if (f.inFrameTable) frameRows.push_back({0, run, 0, i, 2460000.0 + i, 0, 0});
        items.push_back(f);
    }
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, frameRows));
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, propRows));
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, qualRows));
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, tagRows));
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, wellRows));
    ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, loopRows));

    // Objects on the frames of the frame table, with their own properties
    // and qualifiers.
    std::vector<SSearchItem> objs;
    for (const SSearchItem& f : items) {
        if (!f.inFrameTable) continue;
        const int n = std::uniform_int_distribution<int>(0, 3)(rng);
        for (int k = 0; k < n; ++k) {
            SSearchItem o;
            o.frameIndex = f.frameIndex;
            o.layer = Pick(rng, layerNames);
            SYxProjectDbRow_binobj row;
            row.iJobrunKeyRef = run;
            row.iFrameIndex = f.frameIndex;
            row.iBinlayerKeyRef = layerKey[o.layer];
            row.iBinObjId = k;
            ASSERT_EQ(0, YxProjectDb_Row_Insert(h, row, &o.key));
            std::vector<SYxProjectDbRow_binobjprop> props;
            for (int d : {0, 3, 5})
                if (Chance(rng, 0.7)) {
                    o.props.push_back({d, Pick(rng, numbers)});
                    props.push_back({0, o.key, propdefs[d].key, run, f.frameIndex, o.props.back().value});
                }
            std::vector<SYxProjectDbRow_binobjqual> quals;
            for (int d = 0; d < static_cast<int>(qualdefs.size()); ++d)
                if (Chance(rng, 0.6)) {
                    o.quals.push_back({d, Pick(rng, qualTexts)});
                    quals.push_back({0, o.key, qualdefs[d].key, run, f.frameIndex, m_qualstr[o.quals.back().text]});
                }
            ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, props));
            ASSERT_EQ(0, YxProjectDb_Row_InsertMany(h, quals));
            objs.push_back(o);
        }
    }
    if (keep) {
        frames = items;
        objects = objs;
    }
}

const SSearchItem* SearchDbTest::FrameAt(int index) const {
    for (const SSearchItem& f : frames)
        if (f.frameIndex == index) return &f;
    return nullptr;
}
