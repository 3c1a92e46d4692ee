/// \file
/// The migration steps of the jobs database, one exported function per step.
///
/// Each step takes a connection prepared for upgrades (foreign keys off,
/// legacy ALTER TABLE, the `version` bridge; see the upgrade driver) inside the
/// driver's transaction, runs one script that moves the file from its source
/// version to its target version, and returns 0 or the SQLite status of the
/// statement that failed. Steps neither begin nor end transactions; callers
/// normally reach them through YxProjectDb_Db_Jobs_Upgrade, which runs them
/// in order from the file's version on.
///
/// Two steps do not advance by one: 048 goes to 060 and 079 to 100. The step
/// named 014 to 015 writes version 16.
#pragma once

#include "gnr_projectdb/export.h"

struct sqlite3;

GNR_API int YxProjectDb_Db_Upgrade_From_010_To_011(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_011_To_012(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_012_To_013(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_013_To_014(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_014_To_015(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_015_To_016(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_016_To_017(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_017_To_018(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_018_To_019(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_019_To_020(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_020_To_021(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_021_To_022(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_022_To_023(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_023_To_024(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_024_To_025(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_025_To_026(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_026_To_027(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_027_To_028(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_028_To_029(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_029_To_030(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_030_To_031(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_031_To_032(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_032_To_033(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_033_To_034(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_034_To_035(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_035_To_036(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_036_To_037(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_037_To_038(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_038_To_039(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_039_To_040(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_040_To_041(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_041_To_042(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_042_To_043(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_043_To_044(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_044_To_045(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_045_To_046(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_046_To_047(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_047_To_048(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_048_To_060(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_060_To_061(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_061_To_062(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_062_To_063(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_063_To_064(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_064_To_065(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_065_To_066(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_066_To_067(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_067_To_068(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_068_To_069(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_069_To_070(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_070_To_071(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_071_To_072(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_072_To_073(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_073_To_074(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_074_To_075(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_075_To_076(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_076_To_077(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_077_To_078(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_078_To_079(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_079_To_100(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_100_To_101(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_101_To_102(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_102_To_103(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_103_To_104(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_104_To_105(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_105_To_106(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_106_To_107(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_107_To_108(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_108_To_109(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_109_To_110(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_110_To_111(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_111_To_112(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_112_To_113(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_113_To_114(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_114_To_115(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_115_To_116(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_116_To_117(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_117_To_118(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_118_To_119(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_119_To_120(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_120_To_121(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_121_To_122(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_122_To_123(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_123_To_124(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_124_To_125(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_125_To_126(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_126_To_127(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_127_To_128(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_128_To_129(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_129_To_130(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_130_To_131(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_131_To_132(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_132_To_133(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_133_To_134(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_134_To_135(sqlite3* db);
GNR_API int YxProjectDb_Db_Upgrade_From_135_To_136(sqlite3* db);
