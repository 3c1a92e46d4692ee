// Migration steps of the jobs database from version 10 to version 60.
#include "gnr_projectdb/upgrade_steps.h"
#include "gnr_projectdb/upgrades/jobs_history_script.h"

namespace {
// A runloop of this type steps through the wells of a plate; its loop index
// is the well index.
#define YX_WELL_LOOP_TYPE L"2"
}  // namespace

int YxProjectDb_Db_Upgrade_From_010_To_011(sqlite3* db) {
    return CYxJobsStepScript(db, 10)
        .RenameForRebuild(L"assaydef")
        .CreateTable(L"assaydef")
        .Sql(L"INSERT INTO assaydef (iKey, iJobdefKeyRef, iState, wszUuid, wszName, wszDesc, wszModule, dCTime, "
             L"dMTime, pData)  SELECT iKey, iJobdefKeyRef, iState, wszUuid, wszName, wszDesc, wszModule, dCTime, "
             L"dMTime, pData FROM assaydef_old;\nDROP TABLE assaydef_old;\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_011_To_012(sqlite3* db) { return YxJobsStep_RebuildCurrentTables(db, 12); }

int YxProjectDb_Db_Upgrade_From_012_To_013(sqlite3* db) { return YxJobsStep_RebuildCurrentTables(db, 13); }

int YxProjectDb_Db_Upgrade_From_013_To_014(sqlite3* db) {
    return CYxJobsStepScript(db, 13).Rebuild(L"jobdef").Create(L"jobclasslaststate").Run();
}

// The bump alone, and it writes 16: files at 14 never pass through 15.
int YxProjectDb_Db_Upgrade_From_014_To_015(sqlite3* db) { return CYxJobsStepScript(db, 14).Run(); }

int YxProjectDb_Db_Upgrade_From_015_To_016(sqlite3* db) {
    return CYxJobsStepScript(db, 15).Rebuild(L"jobdef").Sql(L"DROP TABLE jobdefroot;\n").Run();
}

int YxProjectDb_Db_Upgrade_From_016_To_017(sqlite3* db) {
    return CYxJobsStepScript(db, 16)
        .Rebuild(L"frame")
        .Rebuild(L"frameprop", {{L"iFrameKeyRef",
                                 L"(SELECT frame.iKey FROM frame WHERE frame.iJobrunKeyRef=frameprop_old.iJobrunKeyRef "
                                 L"AND frame.iFrameIndex=frameprop_old.iFrameIndex)"}})
        .Rebuild(L"frametag")
        .Rebuild(L"binframe")
        .Rebuild(L"runloop")
        .Run();
}

// Job programs are split off the definitions: one program per definition,
// carrying its summary.
int YxProjectDb_Db_Upgrade_From_017_To_018(sqlite3* db) {
    return CYxJobsStepScript(db, 17)
        .RenameForRebuild(L"jobdef")
        .CreateTable(L"jobdef")
        .CopyBack(L"jobdef")
        .Create(L"jobprogram")
        .Sql(L"INSERT INTO jobprogram (iJobdefKeyRef, wszSummary) SELECT iKey, wszSummary FROM jobdef_old;\n")
        .DropOld(L"jobdef")
        // Files that were at 14 skipped 015->016 and still carry the roots.
        .Sql(L"DROP TABLE IF EXISTS jobdefroot;\n")
        .Rebuild(L"jobrun")
        .Rebuild(L"jobtask")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_018_To_019(sqlite3* db) {
    return CYxJobsStepScript(db, 18)
        .RenameForRebuild(L"loopindex")
        .CreateTable(L"loopindex")
        .Sql(L"INSERT INTO loopindex SELECT * FROM loopindex_old;\nDROP TABLE loopindex_old;\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_019_To_020(sqlite3* db) {
    return CYxJobsStepScript(db, 19).Rebuild(L"jobtask").Rebuild(L"jobclasslaststate").Run();
}

int YxProjectDb_Db_Upgrade_From_020_To_021(sqlite3* db) { return CYxJobsStepScript(db, 20).Rebuild(L"jobtask").Run(); }

// The plate of a frame moves from the frame row to frameplateinfo; the well
// of a frame is read from its well loop.
int YxProjectDb_Db_Upgrade_From_021_To_022(sqlite3* db) {
    return CYxJobsStepScript(db, 21)
        .Rebuild(L"loopindex")
        .Create(L"frameplateinfo")
        .Create(L"framewellinfo")
        .Sql(L"INSERT INTO frameplateinfo (iJobrunKeyRef, iPlateinfoKeyRef, iFrameIndex) SELECT iJobrunKeyRef, "
             L"iPlateinfoKeyRef, iFrameIndex FROM frame WHERE iPlateinfoKeyRef IS NOT NULL;\n")
        .Sql(L"INSERT INTO framewellinfo (iJobrunKeyRef, iWellinfoKeyRef, iFrameIndex) SELECT DISTINCT "
             L"l.iJobrunKeyRef, w.iKey, l.iFrameIndex FROM loopindex l JOIN runloop r ON (r.iKey=l.iRunloopKeyRef) "
             L"JOIN wellinfo w ON (w.iJobrunKeyRef=l.iJobrunKeyRef AND w.iWellIndex=l.iLoopIndex) "
             L"WHERE r.iLoopType=" YX_WELL_LOOP_TYPE L";\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_022_To_023(sqlite3* db) {
    return CYxJobsStepScript(db, 22)
        .Rebuild(L"jobtask")
        .Rebuild(L"runloop")
        .Rebuild(L"frame")
        .Rebuild(L"propset")
        .Rebuild(L"assaydef")
        .Rebuild(L"tagdef")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_023_To_024(sqlite3* db) { return CYxJobsStepScript(db, 23).Rebuild(L"project").Run(); }

int YxProjectDb_Db_Upgrade_From_024_To_025(sqlite3* db) {
    return CYxJobsStepScript(db, 24)
        .Rebuild(L"project")
        .Rebuild(L"jobdef")
        .Rebuild(L"jobrun")
        .Rebuild(L"assaydef")
        .Rebuild(L"assayrun", {{L"iAssaydefKeyRef", L"(SELECT assaydef.iKey FROM assaydef WHERE "
                                                    L"assaydef.wszName=assayrun_old.wszName ORDER BY assaydef.iKey "
                                                    L"LIMIT 1)"}})
        .Rebuild(L"wellplatedef")
        .Rebuild(L"jobclasslaststate")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_025_To_026(sqlite3* db) { return CYxJobsStepScript(db, 25).Run(); }

int YxProjectDb_Db_Upgrade_From_026_To_027(sqlite3* db) { return CYxJobsStepScript(db, 26).Drop(L"settings").Run(); }

int YxProjectDb_Db_Upgrade_From_027_To_028(sqlite3* db) {
    return CYxJobsStepScript(db, 27).Create(L"assayrecipe").Create(L"binobj").Create(L"binobjprop").Run();
}

// Plates are described by their holder names from now on; the frames lose
// their plate links until plateinfo returns.
int YxProjectDb_Db_Upgrade_From_028_To_029(sqlite3* db) {
    return CYxJobsStepScript(db, 28)
        .Sql(L"UPDATE frameplateinfo SET iPlateinfoKeyRef=NULL;\n")
        .Drop(L"plateinfo")
        .Drop(L"wellplatedef")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_029_To_030(sqlite3* db) {
    return CYxJobsStepScript(db, 29).Rebuild(L"wellplatename").Run();
}

int YxProjectDb_Db_Upgrade_From_030_To_031(sqlite3* db) {
    return CYxJobsStepScript(db, 30).Create(L"dishconfiguration").Create(L"dishname").Create(L"slidedef").Run();
}

int YxProjectDb_Db_Upgrade_From_031_To_032(sqlite3* db) { return CYxJobsStepScript(db, 31).Rebuild(L"jobtask").Run(); }

int YxProjectDb_Db_Upgrade_From_032_To_033(sqlite3* db) { return CYxJobsStepScript(db, 32).Create(L"deposit").Run(); }

int YxProjectDb_Db_Upgrade_From_033_To_034(sqlite3* db) { return CYxJobsStepScript(db, 33).Run(); }

int YxProjectDb_Db_Upgrade_From_034_To_035(sqlite3* db) {
    return CYxJobsStepScript(db, 34).Rebuild(L"assaydef").Run();
}

int YxProjectDb_Db_Upgrade_From_035_To_036(sqlite3* db) { return CYxJobsStepScript(db, 35).Run(); }

// Removes property rows whose definition or object is gone.
int YxProjectDb_Db_Upgrade_From_036_To_037(sqlite3* db) {
    return CYxJobsStepScript(db, 36)
        .Rebuild(L"jobrun")
        .Sql(L"UPDATE propdef SET iOnEntity=0 WHERE iOnEntity IS NULL;\n"
             L"DELETE FROM binobjprop WHERE iBinobjKeyRef NOT IN (SELECT iKey FROM binobj);\n"
             L"DELETE FROM binobjprop WHERE iPropdefKeyRef NOT IN (SELECT iKey FROM propdef);\n"
             L"DELETE FROM propset WHERE iPropdefKeyRef NOT IN (SELECT iKey FROM propdef);\n"
             L"DELETE FROM frameprop WHERE iPropdefKeyRef NOT IN (SELECT iKey FROM propdef);\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_037_To_038(sqlite3* db) {
    return CYxJobsStepScript(db, 37).Rebuild(L"jobrun").Rebuild(L"assaydef").Run();
}

int YxProjectDb_Db_Upgrade_From_038_To_039(sqlite3* db) {
    return CYxJobsStepScript(db, 38)
        .Rebuild(L"assayrun", {{L"wszModule", L"(SELECT assaydef.wszModule FROM assaydef WHERE "
                                              L"assaydef.iKey=assayrun_old.iAssaydefKeyRef)"}})
        .Run();
}

int YxProjectDb_Db_Upgrade_From_039_To_040(sqlite3* db) {
    return CYxJobsStepScript(db, 39)
        .Rebuild(L"binlayer", {{L"iAssaydefKeyRef", L"(SELECT assayrun.iAssaydefKeyRef FROM assayrun WHERE "
                                                    L"assayrun.iKey=binlayer_old.iAssayrunKeyRef)"}})
        .Run();
}

int YxProjectDb_Db_Upgrade_From_040_To_041(sqlite3* db) {
    return CYxJobsStepScript(db, 40).Create(L"toolbarjobdef").Run();
}

int YxProjectDb_Db_Upgrade_From_041_To_042(sqlite3* db) {
    return CYxJobsStepScript(db, 41).Create(L"slideinfo").Create(L"frameslideinfo").Run();
}

int YxProjectDb_Db_Upgrade_From_042_To_043(sqlite3* db) {
    return CYxJobsStepScript(db, 42).Create(L"jobtaskprop").Run();
}

int YxProjectDb_Db_Upgrade_From_043_To_044(sqlite3* db) {
    return CYxJobsStepScript(db, 43).Create(L"jobdefprop").Run();
}

// Property definitions replace the definition properties; task properties
// start over against them.
int YxProjectDb_Db_Upgrade_From_044_To_045(sqlite3* db) {
    return CYxJobsStepScript(db, 44)
        .Create(L"jobpropdef")
        .Sql(L"INSERT OR IGNORE INTO jobpropdef (iJobdefKeyRef, wszPropkey, dPropdefvalue) SELECT iJobdefKeyRef, "
             L"wszPropkey, dValue FROM jobdefprop;\n")
        .Drop(L"jobdefprop")
        .Drop(L"jobtaskprop")
        .Create(L"jobtaskprop")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_045_To_046(sqlite3* db) {
    return CYxJobsStepScript(db, 45).Rebuild(L"jobpropdef").Run();
}

int YxProjectDb_Db_Upgrade_From_046_To_047(sqlite3* db) { return CYxJobsStepScript(db, 46).Rebuild(L"jobdef").Run(); }

// Property definitions belong to the program of their definition.
int YxProjectDb_Db_Upgrade_From_047_To_048(sqlite3* db) {
    return CYxJobsStepScript(db, 47)
        .Rebuild(L"jobpropdef", {{L"iJobprogramKeyRef", L"(SELECT jobprogram.iKey FROM jobprogram WHERE "
                                                       L"jobprogram.iJobdefKeyRef=jobpropdef_old.iJobdefKeyRef ORDER "
                                                       L"BY jobprogram.iKey LIMIT 1)"}})
        .Rebuild(L"jobtaskprop")
        .Run();
}

// Assay definitions are retired; what the runs and layers need of them is
// kept by name.
int YxProjectDb_Db_Upgrade_From_048_To_060(sqlite3* db) {
    return CYxJobsStepScript(db, 48)
        .Rebuild(L"binlayer", {{L"wszAssayName", L"(SELECT assaydef.wszName FROM assaydef WHERE "
                                                 L"assaydef.iKey=binlayer_old.iAssaydefKeyRef)"}})
        .Rebuild(L"assayrun")
        .Drop(L"assaydef")
        .Run();
}
