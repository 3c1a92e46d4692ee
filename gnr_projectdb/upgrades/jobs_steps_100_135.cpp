// Migration steps of the jobs database from version 100 to version 136.
#include "gnr_projectdb/upgrade_steps.h"
#include "gnr_projectdb/upgrades/jobs_history_script.h"

// Options come back into the database; frame properties return, with the
// run and trace properties and run tags.
int YxProjectDb_Db_Upgrade_From_100_To_101(sqlite3* db) {
    return CYxJobsStepScript(db, 100)
        .Create(L"settings")
        .Create(L"frameprop")
        .Create(L"traceprop")
        .Create(L"jobrunprop")
        .Create(L"jobruntag")
        .Run();
}

// Tag colours move to tagcolor (one row per coloured tag).
int YxProjectDb_Db_Upgrade_From_101_To_102(sqlite3* db) {
    return CYxJobsStepScript(db, 101)
        .Rebuild(L"jobrunpropstat")
        .Rebuild(L"propdef")
        .Create(L"tagcolor")
        .RenameForRebuild(L"tagdef")
        .CreateTable(L"tagdef")
        .CopyBack(L"tagdef")
        .Sql(L"INSERT INTO tagcolor (iTagdefKeyRef, iColor) SELECT iKey, iColor FROM tagdef_old WHERE iColor IS NOT "
             L"NULL;\n")
        .DropOld(L"tagdef")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_102_To_103(sqlite3* db) {
    return CYxJobsStepScript(db, 102)
        .Create(L"qualdef")
        .Create(L"qualstr")
        .Create(L"jobrunqual")
        .Create(L"framequal")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_103_To_104(sqlite3* db) {
    return CYxJobsStepScript(db, 103).Create(L"binobjqual").Create(L"tracequal").Run();
}

int YxProjectDb_Db_Upgrade_From_104_To_105(sqlite3* db) {
    return CYxJobsStepScript(db, 104).Rebuild(L"binobjprop").Rebuild(L"trace").Run();
}

// Programs get a uuid of their own.
int YxProjectDb_Db_Upgrade_From_105_To_106(sqlite3* db) {
    return CYxJobsStepScript(db, 105)
        .Rebuild(L"jobprogram", {{L"wszUuid", L"lower(hex(randomblob(16)))"}})
        .Rebuild(L"jobclasslaststate")
        .Rebuild(L"jobtask")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_106_To_107(sqlite3* db) {
    return CYxJobsStepScript(db, 106).Create(L"jobrunrtstate").Run();
}

int YxProjectDb_Db_Upgrade_From_107_To_108(sqlite3* db) {
    return CYxJobsStepScript(db, 107).Create(L"graphsettings").Run();
}

int YxProjectDb_Db_Upgrade_From_108_To_109(sqlite3* db) {
    return CYxJobsStepScript(db, 108).Create(L"planeinfo").Create(L"fileplaneinfo").Run();
}

// Plate descriptions return.
int YxProjectDb_Db_Upgrade_From_109_To_110(sqlite3* db) {
    return CYxJobsStepScript(db, 109).Create(L"plateinfo").Run();
}

int YxProjectDb_Db_Upgrade_From_110_To_111(sqlite3* db) { return CYxJobsStepScript(db, 110).Rebuild(L"propdef").Run(); }

int YxProjectDb_Db_Upgrade_From_111_To_112(sqlite3* db) {
    return CYxJobsStepScript(db, 111).Create(L"jobruntagstat").Create(L"jobrunqualstat").Run();
}

int YxProjectDb_Db_Upgrade_From_112_To_113(sqlite3* db) {
    return CYxJobsStepScript(db, 112).Rebuild(L"jobrunrtstate").Run();
}

int YxProjectDb_Db_Upgrade_From_113_To_114(sqlite3* db) { return CYxJobsStepScript(db, 113).Rebuild(L"qualdef").Run(); }

int YxProjectDb_Db_Upgrade_From_114_To_115(sqlite3* db) {
    return CYxJobsStepScript(db, 114).AddColumn(L"jobrunqualstat", L"iDistinctCount").Run();
}

int YxProjectDb_Db_Upgrade_From_115_To_116(sqlite3* db) { return CYxJobsStepScript(db, 115).Rebuild(L"propdef").Run(); }

// User groups per project are retired.
int YxProjectDb_Db_Upgrade_From_116_To_117(sqlite3* db) {
    return CYxJobsStepScript(db, 116)
        .Rebuild(L"toupload")
        .Rebuild(L"jobuser")
        .Drop(L"project_user_grouping")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_117_To_118(sqlite3* db) {
    return CYxJobsStepScript(db, 117).Rebuild(L"propdef").Rebuild(L"qualdef").Run();
}

int YxProjectDb_Db_Upgrade_From_118_To_119(sqlite3* db) { return CYxJobsStepScript(db, 118).Rebuild(L"file").Run(); }

// Tag colours fold back into tagdef; of several colours of one tag the one
// with the highest key wins.
int YxProjectDb_Db_Upgrade_From_119_To_120(sqlite3* db) {
    return CYxJobsStepScript(db, 119)
        .Sql(L"DROP TABLE IF EXISTS tagdef_old;\n")
        .RenameForRebuild(L"tagdef")
        .CreateTable(L"tagdef")
        .Sql(L"INSERT INTO tagdef (iKey, iType, iColor, wszName, wszDesc)   SELECT iKey, iType, (SELECT "
             L"tagcolor.iColor FROM tagcolor WHERE tagcolor.iTagdefKeyRef=tagdef_old.iKey ORDER BY tagcolor.iKey "
             L"DESC LIMIT 1), wszName, wszDesc FROM tagdef_old;\nDROP TABLE tagdef_old;\n")
        .Sql(L"DROP TABLE tagcolor;\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_120_To_121(sqlite3* db) {
    return CYxJobsStepScript(db, 120).AddColumn(L"graphsettings", L"pData").Run();
}

int YxProjectDb_Db_Upgrade_From_121_To_122(sqlite3* db) { return CYxJobsStepScript(db, 121).Rebuild(L"jobdef").Run(); }

int YxProjectDb_Db_Upgrade_From_122_To_123(sqlite3* db) {
    return CYxJobsStepScript(db, 122).Rebuild(L"planeinfo", {{L"iComponents", L"1"}}).Run();
}

// Aggregation and ordering of property definitions are never left empty.
int YxProjectDb_Db_Upgrade_From_123_To_124(sqlite3* db) {
    return CYxJobsStepScript(db, 123)
        .Sql(L"UPDATE propdef SET iAggregation=0 WHERE iAggregation IS NULL;\n"
             L"UPDATE propdef SET iGroupOrder=0 WHERE iGroupOrder IS NULL;\n"
             L"UPDATE propdef SET iFeatureOrder=0 WHERE iFeatureOrder IS NULL;\n")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_124_To_125(sqlite3* db) {
    return CYxJobsStepScript(db, 124).Rebuild(L"fileplaneinfo").Run();
}

int YxProjectDb_Db_Upgrade_From_125_To_126(sqlite3* db) {
    return CYxJobsStepScript(db, 125).Rebuild(L"assayrecipe").Run();
}

int YxProjectDb_Db_Upgrade_From_126_To_127(sqlite3* db) {
    return CYxJobsStepScript(db, 126).Rebuild(L"planeinfo").Run();
}

int YxProjectDb_Db_Upgrade_From_127_To_128(sqlite3* db) {
    return CYxJobsStepScript(db, 127)
        .Rebuild(L"slidedef", {{L"iNumCrosses", L"0"}})
        .Rebuild(L"slideinfo")
        .Rebuild(L"plateinfo")
        .Run();
}

int YxProjectDb_Db_Upgrade_From_128_To_129(sqlite3* db) {
    return CYxJobsStepScript(db, 128).Rebuild(L"binlayer").Run();
}

int YxProjectDb_Db_Upgrade_From_129_To_130(sqlite3* db) {
    return CYxJobsStepScript(db, 129).Rebuild(L"qualdef").Rebuild(L"qualstr").Rebuild(L"propdef").Run();
}

int YxProjectDb_Db_Upgrade_From_130_To_131(sqlite3* db) { return CYxJobsStepScript(db, 130).Rebuild(L"file").Run(); }

// Trace qualifiers refer to their trace by key instead of by id.
int YxProjectDb_Db_Upgrade_From_131_To_132(sqlite3* db) {
    return CYxJobsStepScript(db, 131)
        .Rebuild(L"tracequal", {{L"iTraceKeyRef", L"(SELECT trace.iKey FROM trace WHERE "
                                                  L"trace.iJobrunKeyRef=tracequal_old.iJobrunKeyRef AND "
                                                  L"trace.iTraceId=tracequal_old.iTraceId ORDER BY trace.iKey LIMIT 1)"}})
        .Run();
}

int YxProjectDb_Db_Upgrade_From_132_To_133(sqlite3* db) {
    return CYxJobsStepScript(db, 132).AddColumn(L"toupload", L"wszRunState").Run();
}

int YxProjectDb_Db_Upgrade_From_133_To_134(sqlite3* db) {
    return CYxJobsStepScript(db, 133).AddColumn(L"jobprogram", L"dMTime").Run();
}

int YxProjectDb_Db_Upgrade_From_134_To_135(sqlite3* db) { return CYxJobsStepScript(db, 134).Rebuild(L"qualdef").Run(); }

// A program without a modification time takes the one of its definition.
int YxProjectDb_Db_Upgrade_From_135_To_136(sqlite3* db) {
    return CYxJobsStepScript(db, 135)
        .Sql(L"UPDATE jobprogram SET dMTime=(SELECT jobdef.dMTime FROM jobdef WHERE "
             L"jobdef.iKey=jobprogram.iJobdefKeyRef) WHERE dMTime IS NULL;\n")
        .Run();
}
