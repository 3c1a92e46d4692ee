// Migration steps of the jobs database from version 60 to version 100.
#include "gnr_projectdb/upgrade_steps.h"
#include "gnr_projectdb/upgrades/jobs_history_script.h"

#include "gnr_projectdb/upgrades/jobs_history.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

namespace {
// Class name of the capture-lambda assay task, the task whose captured data
// an assay run analyses.
#define YX_CAPTURE_LAMBDA_ASSAY_CLASS L"CYxCaptureLambdaAssay"
}  // namespace

// Task properties move into the task row.
int YxProjectDb_Db_Upgrade_From_060_To_061(sqlite3* db) {
    return CYxJobsStepScript(db, 60)
        .Rebuild(L"jobpropdef")
        .Rebuild(L"jobtask", {{L"pProperties", L"(SELECT jobtaskprop.pData FROM jobtaskprop WHERE "
                                               L"jobtaskprop.iJobtaskKeyRef=jobtask_old.iKey ORDER BY "
                                               L"jobtaskprop.iKey DESC LIMIT 1)"}})
        .Drop(L"jobtaskprop")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_061_To_062(sqlite3* db) {
    return CYxJobsStepScript(db, 61).Create(L"tasklistjobdef").Run();
}

int YxProjectDb_Db_Upgrade_From_062_To_063(sqlite3* db) { return CYxJobsStepScript(db, 62).Rebuild(L"jobtask").Run(); }

int YxProjectDb_Db_Upgrade_From_063_To_064(sqlite3* db) {
    return CYxJobsStepScript(db, 63).Rebuild(L"jobpropdef").Run();
}

// The property definitions start afresh; the application writes them again
// from the programs.
int YxProjectDb_Db_Upgrade_From_064_To_065(sqlite3* db) {
    return CYxJobsStepScript(db, 64).Drop(L"jobpropdef").Create(L"jobpropdef").Run();
}

int YxProjectDb_Db_Upgrade_From_065_To_066(sqlite3* db) {
    return CYxJobsStepScript(db, 65).Rebuild(L"assayrun").Run();
}

// Object properties carry the frame and layer of their object.
int YxProjectDb_Db_Upgrade_From_066_To_067(sqlite3* db) {
    return CYxJobsStepScript(db, 66)
        .Rebuild(L"binobjprop",
                 {{L"iJobrunKeyRef", L"(SELECT f.iJobrunKeyRef FROM binobj o JOIN binframe f ON "
                                     L"(o.iBinframeKeyRef=f.iKey) WHERE o.iKey=binobjprop_old.iBinobjKeyRef)"},
                  {L"iFrameIndex", L"(SELECT f.iFrameIndex FROM binobj o JOIN binframe f ON "
                                   L"(o.iBinframeKeyRef=f.iKey) WHERE o.iKey=binobjprop_old.iBinobjKeyRef)"},
                  {L"iBinlayerKeyRef", L"(SELECT f.iBinlayerKeyRef FROM binobj o JOIN binframe f ON "
                                       L"(o.iBinframeKeyRef=f.iKey) WHERE o.iKey=binobjprop_old.iBinobjKeyRef)"}})
        .Run();
}

// Property sets are retired; a definition keeps the name of its set.
int YxProjectDb_Db_Upgrade_From_067_To_068(sqlite3* db) {
    return CYxJobsStepScript(db, 67)
        .Rebuild(L"propdef", {{L"wszSetName", L"(SELECT propset.wszName FROM propset WHERE "
                                              L"propset.iPropdefKeyRef=propdef_old.iKey ORDER BY propset.iKey LIMIT 1)"}})
        .Rebuild(L"tagdef")
        .Drop(L"propset")
        .Run();
}

// An assay run without captured data gets the capture task that precedes
// its own task in the same program, parent task and block.
int YxProjectDb_Db_Upgrade_From_068_To_069(sqlite3* db) {
    return CYxJobsStepScript(db, 68)
        .Sql(L"UPDATE assayrun SET iCapturedDataKeyRef=(SELECT c.iKey FROM jobtask a, jobtask c WHERE "
             L"a.iKey=assayrun.iJobtaskKeyRef AND c.iJobprogramKeyRef=a.iJobprogramKeyRef AND "
             L"c.iJobtaskKeyRef IS a.iJobtaskKeyRef AND c.iBlockNumber IS a.iBlockNumber AND a.iOrder > c.iOrder "
             L"AND c.wszClassName='" YX_CAPTURE_LAMBDA_ASSAY_CLASS L"' LIMIT 1) WHERE iCapturedDataKeyRef IS NULL;\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_069_To_070(sqlite3* db) {
    return CYxJobsStepScript(db, 69).Rebuild(L"wellplatename").Run();
}

int YxProjectDb_Db_Upgrade_From_070_To_071(sqlite3* db) {
    return CYxJobsStepScript(db, 70).Create(L"jobrunpropstat").Run();
}

int YxProjectDb_Db_Upgrade_From_071_To_072(sqlite3* db) {
    return CYxJobsStepScript(db, 71).Rebuild(L"jobpropdef").Create(L"jobpropenumvalue").Run();
}

int YxProjectDb_Db_Upgrade_From_072_To_073(sqlite3* db) {
    return CYxJobsStepScript(db, 72).Create(L"jobprogramprop").Run();
}

int YxProjectDb_Db_Upgrade_From_073_To_074(sqlite3* db) {
    return CYxJobsStepScript(db, 73)
        .Create(L"jobuser")
        .Create(L"toupload")
        .Create(L"dbinfo")
        .Create(L"project_user_grouping")
        .Run();
}

// Program properties move into the program row.
int YxProjectDb_Db_Upgrade_From_074_To_075(sqlite3* db) {
    return CYxJobsStepScript(db, 74)
        .Rebuild(L"jobprogram", {{L"pProperties", L"(SELECT jobprogramprop.pData FROM jobprogramprop WHERE "
                                                  L"jobprogramprop.iJobprogramKeyRef=jobprogram_old.iKey ORDER BY "
                                                  L"jobprogramprop.iKey DESC LIMIT 1)"}})
        .Drop(L"jobprogramprop")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_075_To_076(sqlite3* db) {
    return CYxJobsStepScript(db, 75).Rebuild(L"binobj").Create(L"trace").Run();
}

int YxProjectDb_Db_Upgrade_From_076_To_077(sqlite3* db) {
    return CYxJobsStepScript(db, 76).Rebuild(L"toupload").Run();
}

int YxProjectDb_Db_Upgrade_From_077_To_078(sqlite3* db) { return CYxJobsStepScript(db, 77).Rebuild(L"jobtask").Run(); }

// Frame properties are dropped; they return empty at 101.
int YxProjectDb_Db_Upgrade_From_078_To_079(sqlite3* db) { return CYxJobsStepScript(db, 78).Drop(L"frameprop").Run(); }

// Binary objects take over the frame address of their binary frame, and the
// binary frames go. Objects without any property are not kept.
int YxProjectDb_Db_Upgrade_From_079_To_100(sqlite3* db) {
    CYxJobsStepScript step(db, 79);
    const SYxSqliteTableDef* trace = step.TargetDef(L"trace");
    const SYxSqliteTableDef* binobj = step.TargetDef(L"binobj");
    if (!trace || !binobj) return 1;
    return step
        .Sql(L"CREATE TABLE _ref_object(iKey INTEGER PRIMARY KEY);\n"
             L"INSERT INTO _ref_object(iKey) SELECT DISTINCT binobjprop.iBinobjKeyRef FROM binobjprop;\n"
             L"DELETE FROM binobj WHERE binobj.iKey NOT IN (SELECT _ref_object.iKey FROM _ref_object);\n"
             L"DROP TABLE _ref_object;\n")
        .Sql(YxSqlite_CreateTableExSqlCommand(*trace, L"trace_new"))
        .Sql(L"INSERT INTO trace_new SELECT * FROM trace;\nDROP TABLE trace;\nALTER TABLE trace_new RENAME TO trace; \n")
        .Sql(YxSqlite_CreateTableExSqlCommand(*binobj, L"binobj_new"))
        .Sql(L"INSERT INTO binobj_new (iKey, iJobrunKeyRef, iFrameIndex, iBinLayerKeyRef, iBinObjId, iTraceKeyRef, "
             L"iBBoxL, iBBoxT, iBBoxR, iBBoxB, iPixelCount) \n"
             L"  SELECT o.iKey, f.iJobrunKeyRef, f.iFrameIndex, f.iBinlayerKeyRef, o.iBinObjId, o.iTraceKeyRef, "
             L"o.iBBoxL, o.iBBoxT, o.iBBoxR, o.iBBoxB, o.iPixelCount \n"
             L"  FROM binobj o JOIN binframe f ON (o.iBinframeKeyRef = f.iKey); \n"
             L"DROP TABLE binobj; \nDROP TABLE binframe; \nALTER TABLE binobj_new RENAME TO binobj; \n")
        .Run();
}
