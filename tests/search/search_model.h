// A run's frames and objects with their properties, qualifiers, tags, wells,
// loop indexes and layers, kept in memory and written to a jobs database, so
// that searches can be checked against a brute-force evaluation over the
// same rows.
#pragma once

#include "acquisition/acq_fixture.h"

#include <map>
#include <random>
#include <string>
#include <vector>

struct SSearchPropdef {
    std::wstring group, name;
    std::int64_t key = 0;
};
struct SSearchValue {
    int def;  // index into the definition list
    double value;
};
struct SSearchQual {
    int def;
    std::wstring text;
};

// One frame or one object with everything a search can ask about.
struct SSearchItem {
    std::int64_t key = 0;   // object key (objects)
    int frameIndex = 0;
    bool inFrameTable = true;  // frames only: attribute rows without a frame row exist too
    std::vector<SSearchValue> props;
    std::vector<SSearchQual> quals;
    std::vector<std::wstring> tags;  // frames
    std::vector<std::wstring> wells;  // frames
    std::map<int, std::vector<int>> loops;  // loop type -> indexes
    std::wstring layer;  // objects
};

class SearchDbTest : public AcqDbTest {
protected:
    // Fills the run (and, as noise, the second run) with `frames` frames and
    // about two objects per frame.
    void Fill(int frames, unsigned seed);

    // The frame (object) with that index (key), or null.
    const SSearchItem* FrameAt(int index) const;

    std::vector<SSearchPropdef> propdefs;  // the property definitions
    std::vector<SSearchPropdef> qualdefs;  // the qualifier definitions
    std::vector<std::wstring> qualTexts, tagNames, wellNames, layerNames;
    std::vector<double> numbers;  // the values properties take
    std::vector<SSearchItem> frames, objects;

private:
    void FillRun(std::int64_t run, int frames, std::mt19937& rng, bool keep);
    std::map<std::wstring, std::int64_t> m_qualstr, m_tagdef;
    std::int64_t m_assayrun = 0;
};
