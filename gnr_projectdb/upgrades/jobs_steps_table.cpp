// The table of the jobs database's migration steps: the step that leaves a
// main version.
#include "gnr_projectdb/upgrades/jobs_steps.h"

#include "gnr_projectdb/upgrade_steps.h"

namespace {

struct SYxJobsStepEntry {
    int iFrom;
    PFYxJobsUpgradeStep pfStep;
};

// Sorted by source version; 49 to 59 and 80 to 99 have no step.
const SYxJobsStepEntry kSteps[] = {
    {10, &YxProjectDb_Db_Upgrade_From_010_To_011},
    {11, &YxProjectDb_Db_Upgrade_From_011_To_012},
    {12, &YxProjectDb_Db_Upgrade_From_012_To_013},
    {13, &YxProjectDb_Db_Upgrade_From_013_To_014},
    {14, &YxProjectDb_Db_Upgrade_From_014_To_015},
    {15, &YxProjectDb_Db_Upgrade_From_015_To_016},
    {16, &YxProjectDb_Db_Upgrade_From_016_To_017},
    {17, &YxProjectDb_Db_Upgrade_From_017_To_018},
    {18, &YxProjectDb_Db_Upgrade_From_018_To_019},
    {19, &YxProjectDb_Db_Upgrade_From_019_To_020},
    {20, &YxProjectDb_Db_Upgrade_From_020_To_021},
    {21, &YxProjectDb_Db_Upgrade_From_021_To_022},
    {22, &YxProjectDb_Db_Upgrade_From_022_To_023},
    {23, &YxProjectDb_Db_Upgrade_From_023_To_024},
    {24, &YxProjectDb_Db_Upgrade_From_024_To_025},
    {25, &YxProjectDb_Db_Upgrade_From_025_To_026},
    {26, &YxProjectDb_Db_Upgrade_From_026_To_027},
    {27, &YxProjectDb_Db_Upgrade_From_027_To_028},
    {28, &YxProjectDb_Db_Upgrade_From_028_To_029},
    {29, &YxProjectDb_Db_Upgrade_From_029_To_030},
    {30, &YxProjectDb_Db_Upgrade_From_030_To_031},
    {31, &YxProjectDb_Db_Upgrade_From_031_To_032},
    {32, &YxProjectDb_Db_Upgrade_From_032_To_033},
    {33, &YxProjectDb_Db_Upgrade_From_033_To_034},
    {34, &YxProjectDb_Db_Upgrade_From_034_To_035},
    {35, &YxProjectDb_Db_Upgrade_From_035_To_036},
    {36, &YxProjectDb_Db_Upgrade_From_036_To_037},
    {37, &YxProjectDb_Db_Upgrade_From_037_To_038},
    {38, &YxProjectDb_Db_Upgrade_From_038_To_039},
    {39, &YxProjectDb_Db_Upgrade_From_039_To_040},
    {40, &YxProjectDb_Db_Upgrade_From_040_To_041},
    {41, &YxProjectDb_Db_Upgrade_From_041_To_042},
    {42, &YxProjectDb_Db_Upgrade_From_042_To_043},
    {43, &YxProjectDb_Db_Upgrade_From_043_To_044},
    {44, &YxProjectDb_Db_Upgrade_From_044_To_045},
    {45, &YxProjectDb_Db_Upgrade_From_045_To_046},
    {46, &YxProjectDb_Db_Upgrade_From_046_To_047},
    {47, &YxProjectDb_Db_Upgrade_From_047_To_048},
    {48, &YxProjectDb_Db_Upgrade_From_048_To_060},
    {60, &YxProjectDb_Db_Upgrade_From_060_To_061},
    {61, &YxProjectDb_Db_Upgrade_From_061_To_062},
    {62, &YxProjectDb_Db_Upgrade_From_062_To_063},
    {63, &YxProjectDb_Db_Upgrade_From_063_To_064},
    {64, &YxProjectDb_Db_Upgrade_From_064_To_065},
    {65, &YxProjectDb_Db_Upgrade_From_065_To_066},
    {66, &YxProjectDb_Db_Upgrade_From_066_To_067},
    {67, &YxProjectDb_Db_Upgrade_From_067_To_068},
    {68, &YxProjectDb_Db_Upgrade_From_068_To_069},
    {69, &YxProjectDb_Db_Upgrade_From_069_To_070},
    {70, &YxProjectDb_Db_Upgrade_From_070_To_071},
    {71, &YxProjectDb_Db_Upgrade_From_071_To_072},
    {72, &YxProjectDb_Db_Upgrade_From_072_To_073},
    {73, &YxProjectDb_Db_Upgrade_From_073_To_074},
    {74, &YxProjectDb_Db_Upgrade_From_074_To_075},
    {75, &YxProjectDb_Db_Upgrade_From_075_To_076},
    {76, &YxProjectDb_Db_Upgrade_From_076_To_077},
    {77, &YxProjectDb_Db_Upgrade_From_077_To_078},
    {78, &YxProjectDb_Db_Upgrade_From_078_To_079},
    {79, &YxProjectDb_Db_Upgrade_From_079_To_100},
    {100, &YxProjectDb_Db_Upgrade_From_100_To_101},
    {101, &YxProjectDb_Db_Upgrade_From_101_To_102},
    {102, &YxProjectDb_Db_Upgrade_From_102_To_103},
    {103, &YxProjectDb_Db_Upgrade_From_103_To_104},
    {104, &YxProjectDb_Db_Upgrade_From_104_To_105},
    {105, &YxProjectDb_Db_Upgrade_From_105_To_106},
    {106, &YxProjectDb_Db_Upgrade_From_106_To_107},
    {107, &YxProjectDb_Db_Upgrade_From_107_To_108},
    {108, &YxProjectDb_Db_Upgrade_From_108_To_109},
    {109, &YxProjectDb_Db_Upgrade_From_109_To_110},
    {110, &YxProjectDb_Db_Upgrade_From_110_To_111},
    {111, &YxProjectDb_Db_Upgrade_From_111_To_112},
    {112, &YxProjectDb_Db_Upgrade_From_112_To_113},
    {113, &YxProjectDb_Db_Upgrade_From_113_To_114},
    {114, &YxProjectDb_Db_Upgrade_From_114_To_115},
    {115, &YxProjectDb_Db_Upgrade_From_115_To_116},
    {116, &YxProjectDb_Db_Upgrade_From_116_To_117},
    {117, &YxProjectDb_Db_Upgrade_From_117_To_118},
    {118, &YxProjectDb_Db_Upgrade_From_118_To_119},
    {119, &YxProjectDb_Db_Upgrade_From_119_To_120},
    {120, &YxProjectDb_Db_Upgrade_From_120_To_121},
    {121, &YxProjectDb_Db_Upgrade_From_121_To_122},
    {122, &YxProjectDb_Db_Upgrade_From_122_To_123},
    {123, &YxProjectDb_Db_Upgrade_From_123_To_124},
    {124, &YxProjectDb_Db_Upgrade_From_124_To_125},
    {125, &YxProjectDb_Db_Upgrade_From_125_To_126},
    {126, &YxProjectDb_Db_Upgrade_From_126_To_127},
    {127, &YxProjectDb_Db_Upgrade_From_127_To_128},
    {128, &YxProjectDb_Db_Upgrade_From_128_To_129},
    {129, &YxProjectDb_Db_Upgrade_From_129_To_130},
    {130, &YxProjectDb_Db_Upgrade_From_130_To_131},
    {131, &YxProjectDb_Db_Upgrade_From_131_To_132},
    {132, &YxProjectDb_Db_Upgrade_From_132_To_133},
    {133, &YxProjectDb_Db_Upgrade_From_133_To_134},
    {134, &YxProjectDb_Db_Upgrade_From_134_To_135},
    {135, &YxProjectDb_Db_Upgrade_From_135_To_136},
};

}  // namespace

PFYxJobsUpgradeStep YxProjectDb_Upgrade_FindJobsStep(std::int64_t from) {
    for (const SYxJobsStepEntry& entry : kSteps)
        if (entry.iFrom == from) return entry.pfStep;
    return nullptr;
}

std::int64_t YxProjectDb_Upgrade_JobsStepTarget(std::int64_t from) {
    if (!YxProjectDb_Upgrade_FindJobsStep(from)) return -1;
    switch (from) {
    case 14: return 16;  // the step named 014 to 015 writes 16
    case 48: return 60;
    case 79: return 100;
    default: return from + 1;
    }
}
