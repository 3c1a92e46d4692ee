// The eras of every jobs table, version 10 to 136, and the columns that are
// no longer part of the current schema.
//
// How to read an era: from version `from` on the table has the columns in
// `columns` (space-separated). "*" stands for every current column in its
// current order, "-name" takes a column out again, any other name is a
// column: a legacy column of this file when one is listed for the table
// under that name (names with a ":variant" suffix are earlier forms of a
// current column), otherwise the current column of that name. A null column
// list means that the table is dropped at `from`. The unique group is the
// current one when `unique` is null and all of its columns exist, none for
// "", otherwise the listed columns. `fresh` marks a table that is dropped and
// created again by the step arriving at `from`.
//
// The eras follow the table of migration steps. Two rules of that table shape
// them: the generic rebuilds 011->012 and 012->013 copy every current column
// from every current table present, so those tables have all of their
// current columns at 10, 11 and 12 and exactly their current definition from
// 13 on until their next rebuild; and the step leaving 14 only writes 16, so
// no column may appear or disappear at 16 (015->016 changes an attribute of
// jobdef and drops jobdefroot, and 017->018 drops jobdefroot again for files
// that skipped it).
#include "gnr_projectdb/upgrades/jobs_history_data.h"

namespace {

#define YX_PK {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr, nullptr, nullptr}
#define YX_COL(type, name) {eYxColPlain, eYxType##type, YX_SQLITE_INDEX_NONE, name, nullptr, nullptr, nullptr, nullptr}
#define YX_NOCASE(name) {eYxColPlain, eYxTypeText, YX_SQLITE_INDEX_NONE, name, nullptr, nullptr, L"NOCASE", nullptr}
#define YX_REF(name, table, action) \
    {eYxColReference, eYxTypeInt64, YX_SQLITE_INDEX_YES, name, table, nullptr, nullptr, action}

const wchar_t* const kCascade = L"ON DELETE CASCADE ON UPDATE CASCADE";
const wchar_t* const kSetNull = L"ON DELETE SET NULL ON UPDATE CASCADE";

}  // namespace

const SYxJobsLegacyColumn g_yxJobsLegacyColumns[] = {
    // Columns of current tables that later went away again.
    {L"project", L"wszOwner", YX_COL(Text, L"wszOwner")},
    {L"jobdef", L"wszSummary", YX_COL(Text, L"wszSummary")},
    {L"jobdef", L"wszSummary:nocase", YX_NOCASE(L"wszSummary")},
    {L"jobdef", L"wszRootFolder", YX_COL(Text, L"wszRootFolder")},
    {L"jobdef", L"iFlags", YX_COL(Int32, L"iFlags")},
    {L"jobtask", L"iProgress", YX_COL(Int32, L"iProgress")},
    {L"jobtask", L"pResult", YX_COL(Blob, L"pResult")},
    {L"jobtask", L"wszIcon", YX_COL(Text, L"wszIcon")},
    {L"jobtask", L"pProperties", YX_COL(Blob, L"pProperties")},
    {L"jobtask", L"iFlags", YX_COL(Int32, L"iFlags")},
    {L"jobrun", L"iState", YX_COL(Int32, L"iState")},
    {L"jobrun", L"wszUser", YX_COL(Text, L"wszUser")},
    {L"runloop", L"iFrameCount", YX_COL(Int32, L"iFrameCount")},
    {L"file", L"wszFormat", YX_COL(Text, L"wszFormat")},
    {L"frame", L"iPlateinfoKeyRef", YX_REF(L"iPlateinfoKeyRef", L"plateinfo", kSetNull)},
    // 019 to 021: the loop reference without its foreign key.
    {L"loopindex", L"iRunloopKeyRef:plain", YX_COL(Int64, L"iRunloopKeyRef")},
    {L"propdef", L"wszSetName", YX_NOCASE(L"wszSetName")},
    {L"propdef", L"iPrecision", YX_COL(Int32, L"iPrecision")},
    {L"propdef", L"pDisplay", YX_COL(Blob, L"pDisplay")},
    {L"assayrun", L"iAssaydefKeyRef", YX_REF(L"iAssaydefKeyRef", L"assaydef", kSetNull)},
    {L"assayrun", L"wszModule", YX_COL(Text, L"wszModule")},
    {L"frameprop", L"iFrameKeyRef", YX_REF(L"iFrameKeyRef", L"frame", kCascade)},
    {L"tagdef", L"iPropsetKeyRef", YX_REF(L"iPropsetKeyRef", L"propset", kSetNull)},
    {L"wellplatename", L"wszDesc", YX_COL(Text, L"wszDesc")},
    {L"binlayer", L"iAssaydefKeyRef", YX_REF(L"iAssaydefKeyRef", L"assaydef", kSetNull)},
    {L"binlayer", L"wszAssayName", YX_NOCASE(L"wszAssayName")},
    {L"jobclasslaststate", L"wszClassName", YX_COL(Text, L"wszClassName")},
    {L"binobj", L"iBinframeKeyRef", YX_REF(L"iBinframeKeyRef", L"binframe", kCascade)},
    {L"binobjprop", L"iBinlayerKeyRef", YX_REF(L"iBinlayerKeyRef", L"binlayer", kCascade)},
    {L"jobpropdef", L"iJobdefKeyRef", YX_REF(L"iJobdefKeyRef", L"jobdef", kCascade)},
    {L"jobuser", L"wszEmail", YX_COL(Text, L"wszEmail")},
    {L"toupload", L"iGroupKeyRef", YX_REF(L"iGroupKeyRef", L"project_user_grouping", kSetNull)},
    // 076 to 099: traces were not yet tied to their run by a foreign key.
    {L"trace", L"iJobrunKeyRef:plain", YX_COL(Int64, L"iJobrunKeyRef")},
    {L"tracequal", L"iTraceId", YX_COL(Int32, L"iTraceId")},

    // The retired tables.
    {L"assaydef", L"iJobdefKeyRef", YX_REF(L"iJobdefKeyRef", L"jobdef", kCascade)},
    {L"assaydef", L"iState", YX_COL(Int32, L"iState")},
    {L"assaydef", L"wszUuid", YX_COL(Text, L"wszUuid")},
    {L"assaydef", L"wszName", YX_COL(Text, L"wszName")},
    {L"assaydef", L"wszName:nocase", YX_NOCASE(L"wszName")},
    {L"assaydef", L"wszDesc", YX_COL(Text, L"wszDesc")},
    {L"assaydef", L"wszModule", YX_COL(Text, L"wszModule")},
    {L"assaydef", L"dCTime", YX_COL(Double, L"dCTime")},
    {L"assaydef", L"dMTime", YX_COL(Double, L"dMTime")},
    {L"assaydef", L"pData", YX_COL(Blob, L"pData")},
    {L"assaydef", L"iVersion", YX_COL(Int32, L"iVersion")},
    {L"assaydef", L"wszClassName", YX_COL(Text, L"wszClassName")},
    {L"assaydef", L"pUsability", YX_COL(Blob, L"pUsability")},

    {L"jobdefroot", L"iJobdefKeyRef", YX_REF(L"iJobdefKeyRef", L"jobdef", kCascade)},
    {L"jobdefroot", L"wszRootFolder", YX_COL(Text, L"wszRootFolder")},

    {L"binframe", L"iJobrunKeyRef", YX_REF(L"iJobrunKeyRef", L"jobrun", kCascade)},
    {L"binframe", L"iFrameIndex", YX_COL(Int32, L"iFrameIndex")},
    {L"binframe", L"iBinlayerKeyRef", YX_REF(L"iBinlayerKeyRef", L"binlayer", kCascade)},
    {L"binframe", L"iBinId", YX_COL(Int32, L"iBinId")},

    {L"propset", L"wszName", YX_COL(Text, L"wszName")},
    {L"propset", L"wszName:nocase", YX_NOCASE(L"wszName")},
    {L"propset", L"iPropdefKeyRef", YX_REF(L"iPropdefKeyRef", L"propdef", kCascade)},
    {L"propset", L"iOrder", YX_COL(Int32, L"iOrder")},

    {L"wellplatedef", L"wszUuid", YX_COL(Text, L"wszUuid")},
    {L"wellplatedef", L"wszName", YX_NOCASE(L"wszName")},
    {L"wellplatedef", L"iRowCount", YX_COL(Int32, L"iRowCount")},
    {L"wellplatedef", L"iColCount", YX_COL(Int32, L"iColCount")},
    {L"wellplatedef", L"pData", YX_COL(Blob, L"pData")},

    {L"jobtaskprop", L"iJobtaskKeyRef", YX_REF(L"iJobtaskKeyRef", L"jobtask", kCascade)},
    {L"jobtaskprop", L"wszPropkey", YX_COL(Text, L"wszPropkey")},
    {L"jobtaskprop", L"pData", YX_COL(Blob, L"pData")},
    {L"jobtaskprop", L"iJobpropdefKeyRef", YX_REF(L"iJobpropdefKeyRef", L"jobpropdef", kCascade)},
    {L"jobtaskprop", L"dValue", YX_COL(Double, L"dValue")},

    {L"jobdefprop", L"iJobdefKeyRef", YX_REF(L"iJobdefKeyRef", L"jobdef", kCascade)},
    {L"jobdefprop", L"wszPropkey", YX_COL(Text, L"wszPropkey")},
    {L"jobdefprop", L"dValue", YX_COL(Double, L"dValue")},

    {L"jobprogramprop", L"iJobprogramKeyRef", YX_REF(L"iJobprogramKeyRef", L"jobprogram", kCascade)},
    {L"jobprogramprop", L"pData", YX_COL(Blob, L"pData")},

    {L"project_user_grouping", L"iProjKeyRef", YX_REF(L"iProjKeyRef", L"project", kCascade)},
    {L"project_user_grouping", L"iJobuserKeyRef", YX_REF(L"iJobuserKeyRef", L"jobuser", kCascade)},

    {L"tagcolor", L"iTagdefKeyRef", YX_REF(L"iTagdefKeyRef", L"tagdef", kCascade)},
    {L"tagcolor", L"iColor", YX_COL(Int32, L"iColor")},
};
const int g_yxJobsLegacyColumnCount = static_cast<int>(sizeof(g_yxJobsLegacyColumns) / sizeof(g_yxJobsLegacyColumns[0]));

// Tables in the order in which they were introduced; each table's eras in
// version order.
const SYxJobsEra g_yxJobsEras[] = {
    {L"vesion", 10, L"*"},

    {L"settings", 10, L"*"},
    {L"settings", 27, nullptr},  // options moved to the application database
    {L"settings", 101, L"*"},    // and back into every jobs database

    {L"project", 10, L"*"},
    {L"project", 24, L"* wszOwner"},
    {L"project", 25, L"*"},

    {L"jobdef", 10, L"*"},
    {L"jobdef", 14, L"* wszSummary"},
    {L"jobdef", 16, L"* wszSummary:nocase"},
    {L"jobdef", 18, L"*"},  // the summary moves to the new jobprogram
    {L"jobdef", 25, L"* wszRootFolder"},
    {L"jobdef", 47, L"* iFlags"},
    {L"jobdef", 122, L"*"},

    {L"jobdefroot", 10, L"iKey iJobdefKeyRef wszRootFolder", L"iJobdefKeyRef"},
    {L"jobdefroot", 16, nullptr},

    {L"assaydef", 10, L"iKey iJobdefKeyRef iState wszUuid wszName wszDesc wszModule dCTime dMTime pData iVersion", L""},
    {L"assaydef", 11, L"iKey iJobdefKeyRef iState wszUuid wszName wszDesc wszModule dCTime dMTime pData", L"wszUuid"},
    {L"assaydef", 23, L"iKey iJobdefKeyRef iState wszUuid wszName wszDesc wszModule dCTime dMTime pData wszClassName",
     L"wszUuid"},
    {L"assaydef", 25,
     L"iKey iJobdefKeyRef iState wszUuid wszName wszDesc wszModule dCTime dMTime pData wszClassName pUsability",
     L"wszUuid"},
    {L"assaydef", 35,
     L"iKey iJobdefKeyRef iState wszUuid wszName:nocase wszDesc wszModule dCTime dMTime pData wszClassName pUsability",
     L"wszUuid"},
    {L"assaydef", 38,
     L"iKey iJobdefKeyRef iState wszUuid wszName:nocase wszDesc wszModule dCTime dMTime pData wszClassName",
     L"wszUuid"},
    {L"assaydef", 60, nullptr},

    {L"jobprogram", 18, L"iKey iJobdefKeyRef wszSummary"},
    {L"jobprogram", 75, L"iKey iJobdefKeyRef wszSummary pProperties"},  // from jobprogramprop
    {L"jobprogram", 106, L"* -dMTime"},
    {L"jobprogram", 134, L"*"},  // column added by 133->134

    {L"jobprogramprop", 73, L"iKey iJobprogramKeyRef pData", L"iJobprogramKeyRef"},
    {L"jobprogramprop", 75, nullptr},

    {L"jobtask", 10, L"*"},
    {L"jobtask", 18, L"* iProgress"},
    {L"jobtask", 20, L"*"},
    {L"jobtask", 21, L"* pResult"},
    {L"jobtask", 23, L"*"},
    {L"jobtask", 32, L"* wszIcon"},
    {L"jobtask", 61, L"* pProperties"},  // from jobtaskprop
    {L"jobtask", 63, L"*"},
    {L"jobtask", 78, L"* iFlags"},
    {L"jobtask", 106, L"*"},

    {L"jobrun", 10, L"*"},
    {L"jobrun", 18, L"* iState"},
    {L"jobrun", 25, L"*"},
    {L"jobrun", 37, L"* wszUser"},
    {L"jobrun", 38, L"*"},

    {L"runloop", 10, L"*"},
    {L"runloop", 17, L"* iFrameCount"},
    {L"runloop", 23, L"*"},

    {L"file", 10, L"*"},
    {L"file", 119, L"* wszFormat"},
    {L"file", 131, L"*"},

    {L"frame", 10, L"*"},
    {L"frame", 17, L"* iPlateinfoKeyRef"},
    {L"frame", 23, L"*"},  // the plate link moved to frameplateinfo at 22

    {L"loopindex", 10, L"*"},
    {L"loopindex", 19, L"iKey iJobrunKeyRef iFrameIndex iRunloopKeyRef:plain iLoopIndex"},
    {L"loopindex", 22, L"*"},

    {L"propdef", 10, L"*"},
    {L"propdef", 68, L"* wszSetName"},  // from propset
    {L"propdef", 102, L"*"},
    {L"propdef", 111, L"* iPrecision"},
    {L"propdef", 116, L"*"},
    {L"propdef", 118, L"* pDisplay"},
    {L"propdef", 130, L"*"},

    {L"propset", 10, L"iKey wszName iPropdefKeyRef", L"wszName iPropdefKeyRef"},
    {L"propset", 23, L"iKey wszName:nocase iPropdefKeyRef iOrder", L"wszName iPropdefKeyRef"},
    {L"propset", 68, nullptr},

    {L"assayrun", 10, L"*"},
    {L"assayrun", 25, L"* iAssaydefKeyRef"},
    {L"assayrun", 39, L"* iAssaydefKeyRef wszModule"},
    {L"assayrun", 60, L"* wszModule"},  // assaydef is gone
    {L"assayrun", 66, L"*"},

    {L"frameprop", 10, L"*"},
    {L"frameprop", 17, L"* iFrameKeyRef"},
    {L"frameprop", 79, nullptr},
    {L"frameprop", 101, L"*"},

    {L"tagdef", 10, L"*"},
    {L"tagdef", 23, L"* iPropsetKeyRef"},
    {L"tagdef", 68, L"*"},
    {L"tagdef", 102, L"* -iColor"},  // colours kept in tagcolor until 120
    {L"tagdef", 120, L"*"},

    {L"tagcolor", 102, L"iKey iTagdefKeyRef iColor", L""},
    {L"tagcolor", 120, nullptr},

    {L"projtag", 10, L"*"},
    {L"jobdeftag", 10, L"*"},
    {L"frametag", 10, L"*"},
    {L"frametag", 17, L"*"},  // rebuilt with the other frame tables, unchanged

    {L"wellplateconfiguration", 10, L"*"},

    {L"wellplatename", 10, L"*"},
    {L"wellplatename", 30, L"* wszDesc"},
    {L"wellplatename", 70, L"*"},

    {L"wellplatedef", 10, L"iKey wszUuid wszName iRowCount iColCount", L"wszUuid"},
    {L"wellplatedef", 25, L"iKey wszUuid wszName iRowCount iColCount pData", L"wszUuid"},
    {L"wellplatedef", 29, nullptr},

    {L"dishconfiguration", 31, L"*"},
    {L"dishname", 31, L"*"},

    {L"slidedef", 31, L"* -iNumCrosses -crossesL -crossesT -crossesR -crossesB"},
    {L"slidedef", 128, L"*"},

    // The alignment matrix is added by the silent step, never by the main
    // chain; only the generic rebuilds of 011->012 and 012->013 carry it.
    {L"plateinfo", 10, L"*"},
    {L"plateinfo", 29, nullptr},
    {L"plateinfo", 110, L"* -iMicroscopeOrientation -pAlignmentMatrix"},
    {L"plateinfo", 128, L"* -pAlignmentMatrix"},

    {L"wellinfo", 10, L"*"},

    {L"binlayer", 10, L"*"},
    {L"binlayer", 40, L"* iAssaydefKeyRef"},
    {L"binlayer", 60, L"* wszAssayName"},  // assaydef is gone
    {L"binlayer", 129, L"*"},

    {L"binframe", 10, L"iKey iJobrunKeyRef iFrameIndex iBinlayerKeyRef iBinId",
     L"iJobrunKeyRef iFrameIndex iBinlayerKeyRef"},
    {L"binframe", 17, L"iKey iJobrunKeyRef iFrameIndex iBinlayerKeyRef", L"iJobrunKeyRef iFrameIndex iBinlayerKeyRef"},
    {L"binframe", 100, nullptr},

    {L"jobclasslaststate", 14, L"iKey wszUniqueName iVersion wszName"},
    {L"jobclasslaststate", 20, L"iKey wszUniqueName iVersion iState wszName"},
    {L"jobclasslaststate", 25, L"iKey wszUniqueName iVersion iState wszName pData wszClassName"},
    {L"jobclasslaststate", 106, L"*"},

    {L"frameplateinfo", 22, L"*"},
    {L"framewellinfo", 22, L"*"},

    {L"assayrecipe", 28, L"* -wszModule"},
    {L"assayrecipe", 126, L"*"},

    {L"binobj", 28, L"iKey iBinframeKeyRef iBinObjId iBBoxL iBBoxT iBBoxR iBBoxB iPixelCount",
     L"iBinframeKeyRef iBinObjId"},
    {L"binobj", 76, L"iKey iBinframeKeyRef iBinObjId iTraceKeyRef iBBoxL iBBoxT iBBoxR iBBoxB iPixelCount",
     L"iBinframeKeyRef iBinObjId"},
    {L"binobj", 100, L"*"},  // binframe is gone

    {L"binobjprop", 28, L"iKey iBinobjKeyRef iPropdefKeyRef dValue"},
    {L"binobjprop", 67, L"iKey iBinobjKeyRef iPropdefKeyRef iJobrunKeyRef iFrameIndex iBinlayerKeyRef dValue"},
    {L"binobjprop", 105, L"*"},

    {L"deposit", 33, L"*"},
    {L"toolbarjobdef", 41, L"*"},

    {L"slideinfo", 42, L"* -iMicroscopeOrientation -pAlignmentMatrix"},
    {L"slideinfo", 128, L"* -pAlignmentMatrix"},

    {L"frameslideinfo", 42, L"*"},

    {L"jobpropdef", 45, L"iKey iJobdefKeyRef wszPropkey dPropdefvalue", L"iJobdefKeyRef wszPropkey"},
    {L"jobpropdef", 46, L"iKey iJobdefKeyRef wszPropkey dPropdefvalue iPropdeftype", L"iJobdefKeyRef wszPropkey"},
    {L"jobpropdef", 48, L"iKey iJobprogramKeyRef wszPropkey dPropdefvalue iPropdeftype"},
    {L"jobpropdef", 61, L"iKey iJobprogramKeyRef wszPropkey dPropdefvalue iPropdeftype iPropdefvisibility"},
    {L"jobpropdef", 64, L"* -pDependencyExpression"},
    {L"jobpropdef", 65, L"* -pDependencyExpression", nullptr, true},  // started afresh
    {L"jobpropdef", 72, L"*"},

    {L"jobtaskprop", 43, L"iKey iJobtaskKeyRef wszPropkey pData", L"iJobtaskKeyRef wszPropkey"},
    {L"jobtaskprop", 45, L"iKey iJobtaskKeyRef iJobpropdefKeyRef dValue", L"iJobtaskKeyRef iJobpropdefKeyRef", true},
    {L"jobtaskprop", 48, L"iKey iJobtaskKeyRef iJobpropdefKeyRef dValue pData", L"iJobtaskKeyRef iJobpropdefKeyRef"},
    {L"jobtaskprop", 61, nullptr},

    {L"jobdefprop", 44, L"iKey iJobdefKeyRef wszPropkey dValue", L"iJobdefKeyRef wszPropkey"},
    {L"jobdefprop", 45, nullptr},

    {L"tasklistjobdef", 62, L"*"},

    {L"jobuser", 74, L"* wszEmail"},
    {L"jobuser", 117, L"*"},

    {L"project_user_grouping", 74, L"iKey iProjKeyRef iJobuserKeyRef", L"iProjKeyRef iJobuserKeyRef"},
    {L"project_user_grouping", 117, nullptr},

    {L"toupload", 74, L"iKey wszUuidRef wszTablename iUserKeyRef iUploadState"},
    {L"toupload", 77, L"iKey wszUuidRef wszTablename iUserKeyRef iUploadState wszCloudUrl iGroupKeyRef"},
    {L"toupload", 117, L"* -wszRunState"},
    {L"toupload", 133, L"*"},  // column added by 132->133

    {L"dbinfo", 74, L"*"},

    {L"jobrunpropstat", 71, L"* -dStatSqSum -dStatDecSum"},
    {L"jobrunpropstat", 102, L"*"},

    {L"jobpropenumvalue", 72, L"*"},

    {L"trace", 76, L"iKey iJobrunKeyRef:plain iTraceId iFrameIndex iFrameCount", L"iJobrunKeyRef iTraceId"},
    {L"trace", 100, L"iKey iJobrunKeyRef iTraceId iFrameIndex iFrameCount", L"iJobrunKeyRef iTraceId"},
    {L"trace", 105, L"*"},

    {L"traceprop", 101, L"*"},
    {L"jobrunprop", 101, L"*"},
    {L"jobruntag", 101, L"*"},

    {L"qualdef", 103, L"iKey iType wszGroupName wszName"},
    {L"qualdef", 114, L"iKey iType iOnEntity wszGroupName wszName"},
    {L"qualdef", 118, L"iKey iType iOnEntity wszGroupName wszName wszDesc"},
    {L"qualdef", 130, L"iKey iType iOnEntity wszGroupName wszName wszDesc iFeatureOrder"},
    {L"qualdef", 135, L"*"},

    {L"qualstr", 103, L"*", L""},
    {L"qualstr", 130, L"*"},  // names made unique

    {L"jobrunqual", 103, L"*"},
    {L"framequal", 103, L"*"},

    {L"jobrunrtstate", 107, L"* -pExecutedPhases"},
    {L"jobrunrtstate", 113, L"*"},

    {L"binobjqual", 104, L"*"},

    {L"tracequal", 104, L"iKey iJobrunKeyRef iTraceId iQualdefKeyRef iQualstrKeyRef",
     L"iJobrunKeyRef iTraceId iQualdefKeyRef"},
    {L"tracequal", 132, L"*"},  // trace ids become trace keys

    {L"graphsettings", 108, L"* -pData"},
    {L"graphsettings", 121, L"*"},  // column added by 120->121

    {L"planeinfo", 109, L"iKey wszPlaneName", L"wszPlaneName"},
    {L"planeinfo", 123, L"* -pData"},
    {L"planeinfo", 127, L"*"},

    {L"fileplaneinfo", 109, L"* -iPosition"},
    {L"fileplaneinfo", 125, L"*"},

    {L"jobruntagstat", 112, L"*"},

    {L"jobrunqualstat", 112, L"* -iDistinctCount"},
    {L"jobrunqualstat", 115, L"*"},  // column added by 114->115
};
const int g_yxJobsEraCount = static_cast<int>(sizeof(g_yxJobsEras) / sizeof(g_yxJobsEras[0]));

// Values that a step overwrites: 028->029 drops plateinfo and clears the
// frames' links to it.
const SYxJobsValueReset g_yxJobsValueResets[] = {
    {L"frameplateinfo", L"iPlateinfoKeyRef", 29},
};
const int g_yxJobsValueResetCount = static_cast<int>(sizeof(g_yxJobsValueResets) / sizeof(g_yxJobsValueResets[0]));
