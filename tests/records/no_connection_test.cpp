// Every exported record operation on a handle that names no connection
// returns its listed result and touches nothing: no out-argument, no file.
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/records_project.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <unistd.h>

namespace {

constexpr YxProjectDbHandle kBad = 0x7fff1234;

template <class Row>
Row Sentinel() {
    Row r{};
    r.iKey = 77;
    return r;
}

struct SCase {
    const char* name;
    std::function<bool()> run;  // true when result and out-arguments are as listed
};

// A key out-argument must come back 0; a status -9.
#define KEYCASE(name, call) \
    SCase { name, [] { std::int64_t key = 55; const int rc = call; return rc == -9 && key == 0; } }
#define ROWCASE(name, Row, call) \
    SCase { name, [] { Row row = Sentinel<Row>(); const int rc = call; return rc == -9 && row.iKey == 77; } }
#define SEQCASE(name, Row, call) \
    SCase { name, [] { std::vector<Row> rows(1); const int rc = call; return rc == -9 && rows.size() == 1; } }
#define STCASE(name, call) \
    SCase { name, [] { return (call) == -9; } }

std::vector<SCase> Cases() {
    using P = SYxProjectDbRow_project;
    using D = SYxProjectDbRow_jobdef;
    using G = SYxProjectDbRow_jobprogram;
    using T = SYxProjectDbRow_jobtask;
    using R = SYxProjectDbRow_jobrun;
    static const SYxProjectDbJobTaskState kState;
    return {
        // generic family, one table of each kind
        ROWCASE("Row_GetOne", SYxProjectDbRow_tagdef, YxProjectDb_Row_GetOne(kBad, 1, row)),
        SEQCASE("Row_GetAll", SYxProjectDbRow_qualdef, YxProjectDb_Row_GetAll(kBad, rows)),
        SEQCASE("Row_GetMany", SYxProjectDbRow_framequal, YxProjectDb_Row_GetMany(kBad, L"iJobrunKeyRef", 1, rows)),
        SEQCASE("Row_GetWhere", SYxProjectDbRow_settings, YxProjectDb_Row_GetWhere(kBad, L"1", rows)),
        SCase{"Row_Insert", [] { auto r = Sentinel<SYxProjectDbRow_propdef>(); std::int64_t key = 55;
                                 return YxProjectDb_Row_Insert(kBad, r, &key) == -9 && key == 0; }},
        SCase{"Row_Import", [] { SYxProjectDbRow_assayrecipe r{}; r.wszUuid = L"u"; std::int64_t key = 55;
                                 return YxProjectDb_Row_Import(kBad, r, &key) == -9 && key == 0 && r.wszUuid == L"u"; }},
        SCase{"Row_InsertMany", [] { std::vector<SYxProjectDbRow_qualstr> v(2, Sentinel<SYxProjectDbRow_qualstr>());
                                     return YxProjectDb_Row_InsertMany(kBad, v) == -9 && v[0].iKey == 77; }},
        SCase{"Row_InsertOrReplaceMany", [] { std::vector<SYxProjectDbRow_dbinfo> v(1, Sentinel<SYxProjectDbRow_dbinfo>());
                                              return YxProjectDb_Row_InsertOrReplaceMany(kBad, v) == -9 && v[0].iKey == 77; }},
        SCase{"Row_Update", [] { auto r = Sentinel<SYxProjectDbRow_graphsettings>(); r.dMTime = 5.0;
                                 return YxProjectDb_Row_Update(kBad, r) == -9 && r.dMTime == 5.0; }},
        STCASE("Row_Delete", YxProjectDb_Row_Delete(kBad, 1, static_cast<const SYxProjectDbRow_tagdef*>(nullptr))),
        STCASE("Table_DeleteByParent", YxProjectDb_Table_DeleteByParent(kBad, L"frame", L"iJobrunKeyRef", 1)),
        STCASE("Table_DeleteManyByUuid", YxProjectDb_Table_DeleteManyByUuid(kBad, L"jobdef", nullptr)),
        SCase{"Table_Count", [] { std::int64_t n = 55; return YxProjectDb_Table_Count(kBad, L"frame", nullptr, &n) == -9 && n == 55; }},
        // projects
        KEYCASE("Proj_Insert", YxProjectDb_Proj_Insert(kBad, L"n", L"d", L"folder", &key)),
        KEYCASE("Proj_Insert/import", YxProjectDb_Proj_Insert(kBad, L"u", L"n", L"d", L"folder", 1.0, 2.0, &key)),
        STCASE("Proj_Update5", YxProjectDb_Proj_Update(kBad, 1, L"n", L"d", L"f")),
        STCASE("Proj_Update4", YxProjectDb_Proj_Update(kBad, 1, L"n", L"d")),
        STCASE("Proj_Delete", YxProjectDb_Proj_Delete(kBad, 1)),
        ROWCASE("Proj_GetOne/key", P, YxProjectDb_Proj_GetOne(kBad, std::int64_t{1}, row)),
        ROWCASE("Proj_GetOne/uuid", P, YxProjectDb_Proj_GetOne(kBad, L"u", row)),
        SEQCASE("Proj_GetAll", P, YxProjectDb_Proj_GetAll(kBad, rows)),
        SEQCASE("Proj_GetAllJobruns", R, YxProjectDb_Proj_GetAllJobruns(kBad, 1, rows)),
        SCase{"Proj_GetAllUuuids", [] { std::vector<CYxStringW> v; return YxProjectDb_Proj_GetAllUuuids(kBad, v) == -9 && v.empty(); }},
        SCase{"Proj_getUUIDFromJobDefUUIDs", [] { std::vector<CYxStringW> v;
              return YxProjectDb_Proj_getUUIDFromJobDefUUIDs(kBad, {L"a"}, v) == -9 && v.empty(); }},
        SCase{"Proj_GetCount", [] { return YxProjectDb_Proj_GetCount(kBad) == 0; }},
        SCase{"Proj_GetLatest", [] { return YxProjectDb_Proj_GetLatest(kBad) == 0; }},
        SCase{"Proj_IsExisting", [] { return !YxProjectDb_Proj_IsExisting(kBad, 1); }},
        SCase{"Proj_IsNameUnique", [] { CYxStringW u(L"x"); return YxProjectDb_Proj_IsNameUnique(kBad, L"n", u) && u == L"x"; }},
        KEYCASE("Projtag_Insert", YxProjectDb_Projtag_Insert(kBad, 1, 1, &key)),
        KEYCASE("Projtag_InsertOrIgnore", YxProjectDb_Projtag_InsertOrIgnore(kBad, 1, 1, &key)),
        SEQCASE("Projtag_InsertMany", SYxProjectDbRow_projtag, YxProjectDb_Projtag_InsertMany(kBad, rows)),
        SCase{"Projtag_Exists", [] { bool f = true; return YxProjectDb_Projtag_Exists(kBad, 1, 1, f) == -9 && f; }},
        SEQCASE("Projtag_GetManyTags", SYxProjectDbRow_projtag, YxProjectDb_Projtag_GetManyTags(kBad, 1, rows)),
        SEQCASE("Projtag_GetManyProjs", SYxProjectDbRow_projtag, YxProjectDb_Projtag_GetManyProjs(kBad, 1, rows)),
        STCASE("Projtag_DeleteMany", YxProjectDb_Projtag_DeleteMany(kBad, 1)),
        // job definitions
        ROWCASE("Jobdef_GetOne/key", D, YxProjectDb_Jobdef_GetOne(kBad, std::int64_t{1}, row)),
        ROWCASE("Jobdef_GetOne/uuid", D, YxProjectDb_Jobdef_GetOne(kBad, L"u", row)),
        SEQCASE("Jobdef_GetOneOrMany", D, YxProjectDb_Jobdef_GetOneOrMany(kBad, L"n", rows)),
        SEQCASE("Jobdef_GetMany", D, YxProjectDb_Jobdef_GetMany(kBad, 1, rows)),
        SEQCASE("Jobdef_GetAll", D, YxProjectDb_Jobdef_GetAll(kBad, rows)),
        SEQCASE("Jobdef_GetAllDefType", D, YxProjectDb_Jobdef_GetAllDefType(kBad, 1, rows)),
        SCase{"Jobdef_GetAllUuuids", [] { std::vector<CYxStringW> v; return YxProjectDb_Jobdef_GetAllUuuids(kBad, L"u", v) == -9 && v.empty(); }},
        SCase{"Jobdef_GetLatestJobrun", [] { return YxProjectDb_Jobdef_GetLatestJobrun(kBad, 1, 0, 0) == 0; }},
        SCase{"Jobdef_ExistsInBothDbs", [] { bool f = true; return YxProjectDb_Jobdef_ExistsInBothDbs(kBad, kBad, L"u", f) == -9 && f; }},
        KEYCASE("Jobdef_Insert", YxProjectDb_Jobdef_Insert(kBad, 1, 0, 0, L"n", L"d", 0, nullptr, &key)),
        KEYCASE("Jobdef_Insert/import", YxProjectDb_Jobdef_Insert(kBad, 1, 0, 0, L"u", L"n", L"d", 0, 1.0, 2.0, nullptr, &key)),
        ROWCASE("Jobdef_Import", D, YxProjectDb_Jobdef_Import(kBad, row)),
        SCase{"Jobdef_IsNameUnique", [] { CYxStringW u; return YxProjectDb_Jobdef_IsNameUnique(kBad, L"n", u); }},
        STCASE("Jobdef_Update", YxProjectDb_Jobdef_Update(kBad, 1, 0, 0, L"n", L"d", 0, nullptr)),
        STCASE("Jobdef_UpdateMTime", YxProjectDb_Jobdef_UpdateMTime(kBad, 1)),
        STCASE("Jobdef_UpdateState", YxProjectDb_Jobdef_UpdateState(kBad, 1, 2)),
        STCASE("Jobdef_Delete", YxProjectDb_Jobdef_Delete(kBad, 1)),
        STCASE("Jobdef_DeleteMany", YxProjectDb_Jobdef_DeleteMany(kBad, nullptr)),
        KEYCASE("Jobdeftag_Insert", YxProjectDb_Jobdeftag_Insert(kBad, 1, 1, &key)),
        KEYCASE("Jobdeftag_InsertOrIgnore", YxProjectDb_Jobdeftag_InsertOrIgnore(kBad, 1, 1, &key)),
        SEQCASE("Jobdeftag_InsertMany", SYxProjectDbRow_jobdeftag, YxProjectDb_Jobdeftag_InsertMany(kBad, rows)),
        SEQCASE("Jobdeftag_GetManyTags", SYxProjectDbRow_jobdeftag, YxProjectDb_Jobdeftag_GetManyTags(kBad, 1, rows)),
        SEQCASE("Jobdeftag_GetManyJobdefs", SYxProjectDbRow_jobdeftag, YxProjectDb_Jobdeftag_GetManyJobdefs(kBad, 1, rows)),
        STCASE("Jobdeftag_DeleteMany", YxProjectDb_Jobdeftag_DeleteMany(kBad, 1)),
        KEYCASE("TaskListjobdef_Insert", YxProjectDb_TaskListjobdef_Insert(kBad, 1, &key)),
        SCase{"TaskListjobdef_Exists", [] { return !YxProjectDb_TaskListjobdef_Exists(kBad, 1); }},
        SEQCASE("TaskListjobdef_GetMany", SYxProjectDbRow_taskListjobdef, YxProjectDb_TaskListjobdef_GetManyReferencingJobdef(kBad, 1, rows)),
        STCASE("TaskListjobdef_Delete", YxProjectDb_TaskListjobdef_Delete(kBad, 1)),
        KEYCASE("Toolbarjobdef_Insert", YxProjectDb_Toolbarjobdef_Insert(kBad, 1, &key)),
        SCase{"Toolbarjobdef_Exists", [] { return !YxProjectDb_Toolbarjobdef_Exists(kBad, 1); }},
        SEQCASE("Toolbarjobdef_GetMany", SYxProjectDbRow_toolbarjobdef, YxProjectDb_Toolbarjobdef_GetManyReferencingJobdef(kBad, 1, rows)),
        STCASE("Toolbarjobdef_Delete", YxProjectDb_Toolbarjobdef_Delete(kBad, 1)),
        SCase{"Jobclasslaststate_GetOne", [] { SYxProjectDbJobTaskState s; s.iVersion = 9;
              return YxProjectDb_Jobclasslaststate_GetOne(kBad, L"c", s) == -9 && s.iVersion == 9; }},
        SEQCASE("Jobclasslaststate_GetAll", SYxProjectDbRow_jobclasslaststate, YxProjectDb_Jobclasslaststate_GetAll(kBad, rows)),
        KEYCASE("Jobclasslaststate_InsertOrUpdate", YxProjectDb_Jobclasslaststate_InsertOrUpdate(kBad, L"c", kState, &key)),
        ROWCASE("Jobuser_GetOne/name", SYxProjectDbRow_jobuser, YxProjectDb_Jobuser_GetOne(kBad, L"u", L"p", row)),
        ROWCASE("Jobuser_GetOne/key", SYxProjectDbRow_jobuser, YxProjectDb_Jobuser_GetOne(kBad, std::int64_t{1}, row)),
        KEYCASE("Jobuser_Insert", YxProjectDb_Jobuser_Insert(kBad, L"u", L"p", &key)),
        STCASE("Jobuser_Update", YxProjectDb_Jobuser_Update(kBad, 1, L"u", L"p")),
        SCase{"Jobuser_UpdateOrInsert", [] { SYxProjectDbMap_oldToNew m{3, 4};
              return YxProjectDb_Jobuser_UpdateOrInsert(kBad, L"u", L"p", m) == -9 && m.iOldKey == 3 && m.iNewKey == 4; }},
        // programs and tasks
        KEYCASE("Jobprogram_Insert/1", YxProjectDb_Jobprogram_Insert(kBad, 1, L"s", &key)),
        KEYCASE("Jobprogram_Insert/2", YxProjectDb_Jobprogram_Insert(kBad, 1, L"s", static_cast<const CYxByteArray*>(nullptr), &key)),
        KEYCASE("Jobprogram_Insert/3", YxProjectDb_Jobprogram_Insert(kBad, 1, L"s", nullptr, L"u", &key)),
        KEYCASE("Jobprogram_Insert/4", YxProjectDb_Jobprogram_Insert(kBad, 1, L"s", nullptr, L"u", 1.0, &key)),
        STCASE("Jobprogram_Update", YxProjectDb_Jobprogram_Update(kBad, 1, L"s", nullptr)),
        STCASE("Jobprogram_RemoveOne", YxProjectDb_Jobprogram_RemoveOne(kBad, L"u")),
        ROWCASE("Jobprogram_GetOne/key", G, YxProjectDb_Jobprogram_GetOne(kBad, std::int64_t{1}, row)),
        ROWCASE("Jobprogram_GetOne/uuid", G, YxProjectDb_Jobprogram_GetOne(kBad, L"u", row)),
        SEQCASE("Jobprogram_GetMany", G, YxProjectDb_Jobprogram_GetMany(kBad, 1, rows)),
        ROWCASE("Jobprogram_GetLatest", G, YxProjectDb_Jobprogram_GetLatest(kBad, 1, row)),
        SCase{"Jobprogram_GetLatestTaskStateoOr", [] { int s = 7; return YxProjectDb_Jobprogram_GetLatestTaskStateoOr(kBad, 1, s) == -9 && s == 7; }},
        SCase{"Jobprogram_GetProperty/bytes", [] { CYxByteArray b("x", 1); return YxProjectDb_Jobprogram_GetProperty(kBad, 1, L"n", b) == -9 && b.GetSize() == 1; }},
        SCase{"Jobprogram_GetProperty/text", [] { CYxStringW t(L"x"); return YxProjectDb_Jobprogram_GetProperty(kBad, 1, L"n", t) == -9 && t == L"x"; }},
        STCASE("Jobprogram_InsertOrUpdateProperties/row", YxProjectDb_Jobprogram_InsertOrUpdateProperties(kBad, G{})),
        STCASE("Jobprogram_InsertOrUpdateProperties/list", YxProjectDb_Jobprogram_InsertOrUpdateProperties(kBad, 1, {SYxProjectDbRow_jobprogram::_property{}})),
        KEYCASE("Jobprogram_Duplicate", YxProjectDb_Jobprogram_Duplicate(kBad, 1, &key)),
        KEYCASE("Jobtask_Insert", YxProjectDb_Jobtask_Insert(kBad, 1, 0, 0, 0, L"c", kState, nullptr, &key)),
        KEYCASE("Jobtask_Insert/uuid", YxProjectDb_Jobtask_Insert(kBad, 1, 0, 0, 0, L"c", kState, nullptr, L"u", &key)),
        STCASE("Jobtask_Update", YxProjectDb_Jobtask_Update(kBad, 1, 0, 0, L"c", kState)),
        ROWCASE("Jobtask_GetOne/key", T, YxProjectDb_Jobtask_GetOne(kBad, std::int64_t{1}, row)),
        ROWCASE("Jobtask_GetOne/uuid", T, YxProjectDb_Jobtask_GetOne(kBad, L"u", row)),
        ROWCASE("Jobtask_GetOne/name", T, YxProjectDb_Jobtask_GetOne(kBad, 1, L"n", row)),
        SEQCASE("Jobtask_GetMany", T, YxProjectDb_Jobtask_GetMany(kBad, 0, rows)),
        SEQCASE("Jobtask_GetAllWithClass", T, YxProjectDb_Jobtask_GetAllWithClass(kBad, 1, L"c", rows)),
        SEQCASE("Jobtask_GetAllWithState", T, YxProjectDb_Jobtask_GetAllWithState(kBad, 1, 2, rows)),
        SCase{"Jobtask_GetOldToNewMap", [] { std::map<std::int64_t, std::int64_t> m{{1, 2}};
              return YxProjectDb_Jobtask_GetOldToNewMap(kBad, 1, 2, m) == -9 && m.size() == 1; }},
        SCase{"Jobtask_CreateOldToNewLookupTable", [] { CYxStringW n(L"x");
              return YxProjectDb_Jobtask_CreateOldToNewLookupTable(kBad, 1, 2, n) == -9 && n == L"x"; }},
        STCASE("Jobtask_Delete", YxProjectDb_Jobtask_Delete(kBad, 1)),
        STCASE("Jobtask_DeleteIfNotInJobrun", YxProjectDb_Jobtask_DeleteIfNotInJobrun(kBad, 1)),
        STCASE("Jobtask_DeleteMany", YxProjectDb_Jobtask_DeleteMany(kBad, 1)),
        STCASE("Jobtask_DeleteUnreferenced", YxProjectDb_Jobtask_DeleteUnreferenced(kBad)),
        KEYCASE("Jobpropdef_InsertOrUpdate", YxProjectDb_Jobpropdef_InsertOrUpdate(kBad, 1, L"k", 0.0, 0, 0, {}, 0, nullptr, &key)),
        SCase{"Jobpropdef_SetAll", [] { std::vector<SYxProjectDbJobpropdefValues> d(1); d[0].def.iKey = 77;
              return YxProjectDb_Jobpropdef_SetAll(kBad, 1, d) == -9 && d[0].def.iKey == 77; }},
        SEQCASE("Jobpropdef_GetAll", SYxProjectDbRow_jobpropdef, YxProjectDb_Jobpropdef_GetAll(kBad, 1, rows)),
        ROWCASE("Jobpropdef_GetOne", SYxProjectDbRow_jobpropdef, YxProjectDb_Jobpropdef_GetOne(kBad, 1, L"k", row)),
        SCase{"Jobpropdef_GetIkey", [] { std::int64_t k = 55; return YxProjectDb_Jobpropdef_GetIkey(kBad, 1, L"k", &k) == -9 && k == 55; }},
        STCASE("Jobpropdef_Delete/name", YxProjectDb_Jobpropdef_Delete(kBad, 1, L"k")),
        STCASE("Jobpropdef_Delete/key", YxProjectDb_Jobpropdef_Delete(kBad, 1)),
        SEQCASE("Jobpropenumvalue_GetAll", SYxProjectDbRow_jobpropenumvalue, YxProjectDb_Jobpropenumvalue_GetAll(kBad, 1, rows)),
        KEYCASE("Jobpropenumvalue_InsertOrIgnore", YxProjectDb_Jobpropenumvalue_InsertOrIgnore(kBad, 1, L"v", &key)),
        SEQCASE("Jobpropenumvalue_SetAll", SYxProjectDbRow_jobpropenumvalue, YxProjectDb_Jobpropenumvalue_SetAll(kBad, 1, rows)),
        // runs
        SCase{"Jobrun_Insert/row", [] { R r{}; r.iKey = 77; std::int64_t key = 55;
              return YxProjectDb_Jobrun_Insert(kBad, r, &key) == -9 && key == 0; }},
        SCase{"Jobrun_Insert/values", [] { R out = Sentinel<R>(); CYxStringW p(L"x");
              return YxProjectDb_Jobrun_Insert(kBad, 1, L"proj", 1, 1, 1, L"n", L"d", 2460000.5, &out, &p) == -9 &&
                     out.iKey == 77 && p == L"x"; }},
        SCase{"Jobrun_Insert/now", [] { R out = Sentinel<R>();
              return YxProjectDb_Jobrun_Insert(kBad, 1, L"proj", 1, 1, 1, L"n", L"d", &out, nullptr) == -9 && out.iKey == 77; }},
        ROWCASE("Jobrun_GetOne/key", R, YxProjectDb_Jobrun_GetOne(kBad, std::int64_t{1}, row)),
        ROWCASE("Jobrun_GetOne/uuid", R, YxProjectDb_Jobrun_GetOne(kBad, L"u", row)),
        SEQCASE("Jobrun_GetAll", R, YxProjectDb_Jobrun_GetAll(kBad, rows)),
        SEQCASE("Jobrun_GetMany", R, YxProjectDb_Jobrun_GetMany(kBad, 1, rows)),
        SEQCASE("Jobrun_GetManyReferencingJobdef", R, YxProjectDb_Jobrun_GetManyReferencingJobdef(kBad, 1, rows)),
        SEQCASE("Jobrun_GetManyReferencingJobprogram", R, YxProjectDb_Jobrun_GetManyReferencingJobprogram(kBad, 1, rows)),
        SEQCASE("Jobrun_GetManyWithFinishFlag", R, YxProjectDb_Jobrun_GetManyWithFinishFlag(kBad, 1, 1, 1, rows)),
        ROWCASE("Jobrun_GetLatest", R, YxProjectDb_Jobrun_GetLatest(kBad, 1, row)),
        ROWCASE("Jobrun_GetLatestForJobdef", R, YxProjectDb_Jobrun_GetLatestForJobdef(kBad, 1, row)),
        ROWCASE("Jobrun_GetLastUnfinished", R, YxProjectDb_Jobrun_GetLastUnfinished(kBad, row)),
        SCase{"Jobrun_CountForJobdef", [] { return YxProjectDb_Jobrun_CountForJobdef(kBad, 1) == 0; }},
        SCase{"Jobrun_IsRunning", [] { bool f = true; return YxProjectDb_Jobrun_IsRunning(kBad, L"u", f) == -9 && f; }},
        STCASE("Jobrun_RemoveRunningFlag", YxProjectDb_Jobrun_RemoveRunningFlag(kBad)),
        STCASE("Jobrun_Update", YxProjectDb_Jobrun_Update(kBad, 1, L"n", L"d")),
        STCASE("Jobrun_Rename", YxProjectDb_Jobrun_Rename(kBad, 1, L"n")),
        STCASE("Jobrun_UpdateNotes", YxProjectDb_Jobrun_UpdateNotes(kBad, 1, L"d")),
        STCASE("Jobrun_UpdateFinish", YxProjectDb_Jobrun_UpdateFinish(kBad, 1, 2, 3.0, L"m")),
        STCASE("Jobrun_UpdateJobprogram/2", YxProjectDb_Jobrun_UpdateJobprogram(kBad, 1, 2)),
        STCASE("Jobrun_UpdateJobprogram/3", YxProjectDb_Jobrun_UpdateJobprogram(kBad, 1, 2, 3)),
        STCASE("Jobrun_Delete", YxProjectDb_Jobrun_Delete(kBad, 1)),
        STCASE("Jobrun_DeleteFolder", YxProjectDb_Jobrun_DeleteFolder(kBad, 1)),
        SCase{"Jobrun_MakeAbsPath", [] { return YxProjectDb_Jobrun_MakeAbsPath(kBad, L"p", L"r").IsEmpty(); }},
        SCase{"Jobrun_GetAbsPath", [] { CYxStringW p(L"x"); return YxProjectDb_Jobrun_GetAbsPath(kBad, 1, p) == -9 && p == L"x"; }},
        SCase{"Jobrun_GetImagesSize", [] { std::uint64_t s = 5; return YxProjectDb_Jobrun_GetImagesSize(kBad, 1, s) == -9 && s == 5; }},
        SCase{"Jobrun_GetAllCustomMetadataGroups", [] { std::vector<CYxStringW> v; return YxProjectDb_Jobrun_GetAllCustomMetadataGroups(kBad, 1, 10, v) == -9 && v.empty(); }},
        SCase{"Jobrun_GetAllPlateBarcodes", [] { std::vector<CYxStringW> v; return YxProjectDb_Jobrun_GetAllPlateBarcodes(kBad, 1, 10, v) == -9 && v.empty(); }},
        SCase{"Jobrun_GetAllPlateNames", [] { std::vector<CYxStringW> v; return YxProjectDb_Jobrun_GetAllPlateNames(kBad, 1, 10, v) == -9 && v.empty(); }},
        SCase{"Jobrun_GetAllSlideBarcodes", [] { std::vector<CYxStringW> v; return YxProjectDb_Jobrun_GetAllSlideBarcodes(kBad, 1, 10, v) == -9 && v.empty(); }},
        SCase{"Jobrun_GetAllPropValues", [] { std::vector<double> v; return YxProjectDb_Jobrun_GetAllPropValues(kBad, 1, 1, 10, v) == -9 && v.empty(); }},
        SCase{"Jobrun_GetAllQualValues", [] { std::vector<CYxStringW> v; return YxProjectDb_Jobrun_GetAllQualValues(kBad, 1, 1, 10, v) == -9 && v.empty(); }},
        STCASE("JobrunRTState_InsertOrReplace", YxProjectDb_JobrunRTState_InsertOrReplace(kBad, 1, CYxByteArray(), CYxByteArray())),
        SCase{"JobrunRTState_GetOne_ExecutedPhases", [] { std::vector<CYxStringW> v; return YxProjectDb_JobrunRTState_GetOne_ExecutedPhases(kBad, 1, v) == -9 && v.empty(); }},
        ROWCASE("JobrunRTState_GetOne", SYxProjectDbRow_jobrunrtstate, YxProjectDb_JobrunRTState_GetOne(kBad, 1, row)),
        STCASE("JobrunRTState_Delete", YxProjectDb_JobrunRTState_Delete(kBad, 1)),
        STCASE("JobrunState_CreateTable", YxProjectDb_JobrunState_CreateTable(nullptr)),
        STCASE("JobrunState_SetState", YxProjectDb_JobrunState_SetState(nullptr, 1, L"s")),
        STCASE("Jobrunpropstat_UpdateStats", YxProjectDb_Jobrunpropstat_UpdateStats(kBad, 1, L"1", false, false)),
        STCASE("Jobrunqualstat_UpdateStats", YxProjectDb_Jobrunqualstat_UpdateStats(kBad, 1, L"1", false, false)),
        STCASE("Jobruntagstat_UpdateStats", YxProjectDb_Jobruntagstat_UpdateStats(kBad, L"1", false, false)),
        STCASE("Jobrunpropstat_ResetStats/keys", YxProjectDb_Jobrunpropstat_ResetStats(kBad, L"1")),
        STCASE("Jobrunpropstat_ResetStats/pair", YxProjectDb_Jobrunpropstat_ResetStats(kBad, 1, 1)),
        KEYCASE("Jobrunpropstat_InsertEmpty", YxProjectDb_Jobrunpropstat_InsertEmpty(kBad, 1, 1, 0, 1, &key)),
        SEQCASE("Jobrunpropstat_GetMany", SYxProjectDbRow_jobrunpropstat, YxProjectDb_Jobrunpropstat_GetMany(kBad, 1, rows)),
        SEQCASE("Jobrunpropstat_InsertOrReplaceMany", SYxProjectDbRow_jobrunpropstat, YxProjectDb_Jobrunpropstat_InsertOrReplaceMany(kBad, rows)),
        STCASE("Jobrunqualstat_ResetStats", YxProjectDb_Jobrunqualstat_ResetStats(kBad, 1)),
        STCASE("Jobrunqualstat_ResetMany", YxProjectDb_Jobrunqualstat_ResetMany(kBad, {SYxProjectDbRow_jobrunqualstat{}})),
        STCASE("Jobrunqualstat_RemoveMany", YxProjectDb_Jobrunqualstat_RemoveMany(kBad, 1)),
        SEQCASE("Jobrunqualstat_InsertOrReplaceMany", SYxProjectDbRow_jobrunqualstat, YxProjectDb_Jobrunqualstat_InsertOrReplaceMany(kBad, rows)),
        KEYCASE("Jobrunqualstat_InsertEmpty", YxProjectDb_Jobrunqualstat_InsertEmpty(kBad, 1, 1, 1, &key)),
        SEQCASE("Jobrunqualstat_GetMany", SYxProjectDbRow_jobrunqualstat, YxProjectDb_Jobrunqualstat_GetMany(kBad, 1, rows)),
        SEQCASE("Jobruntagstat_GetMany", SYxProjectDbRow_jobruntagstat, YxProjectDb_Jobruntagstat_GetMany(kBad, 1, rows)),
        SEQCASE("Jobruntagstat_InsertOrReplaceMany", SYxProjectDbRow_jobruntagstat, YxProjectDb_Jobruntagstat_InsertOrReplaceMany(kBad, rows)),
        KEYCASE("Jobrunprop_Insert", YxProjectDb_Jobrunprop_Insert(kBad, 1, 1, 1.0, &key)),
        KEYCASE("Jobrunprop_InsertOrIgnore", YxProjectDb_Jobrunprop_InsertOrIgnore(kBad, 1, 1, 1.0, &key)),
        SEQCASE("Jobrunprop_GetMany", SYxProjectDbRow_jobrunprop, YxProjectDb_Jobrunprop_GetMany(kBad, 1, rows)),
        STCASE("Jobrunprop_DeleteMany", YxProjectDb_Jobrunprop_DeleteMany(kBad, 1)),
        KEYCASE("Jobrunqual_Insert", YxProjectDb_Jobrunqual_Insert(kBad, 1, 1, 1, &key)),
        KEYCASE("Jobrunqual_InsertOrIgnore", YxProjectDb_Jobrunqual_InsertOrIgnore(kBad, 1, 1, 1, &key)),
        SEQCASE("Jobrunqual_GetMany", SYxProjectDbRow_jobrunqual, YxProjectDb_Jobrunqual_GetMany(kBad, 1, rows)),
        STCASE("Jobrunqual_DeleteMany", YxProjectDb_Jobrunqual_DeleteMany(kBad, 1)),
        KEYCASE("Jobruntag_Insert", YxProjectDb_Jobruntag_Insert(kBad, 1, 1, &key)),
        KEYCASE("Jobruntag_InsertOrIgnore", YxProjectDb_Jobruntag_InsertOrIgnore(kBad, 1, 1, &key)),
        SEQCASE("Jobruntag_GetMany", SYxProjectDbRow_jobruntag, YxProjectDb_Jobruntag_GetMany(kBad, 1, rows)),
        STCASE("Jobruntag_DeleteMany", YxProjectDb_Jobruntag_DeleteMany(kBad, 1)),
    };
}

}  // namespace

TEST(RecordsNoConnection, EveryOperationAnswersAsListedAndTouchesNothing) {
    CYxTempDir dir;
    const auto cwd = std::filesystem::current_path();
    // Folder-creating operations would work relative to the current folder.
    std::filesystem::current_path(dir.Path());
    int checked = 0;
    for (const SCase& c : Cases()) {
        EXPECT_TRUE(c.run()) << c.name;
        ++checked;
    }
    std::filesystem::current_path(cwd);
    EXPECT_GT(checked, 150);
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path())) << "a folder or file was created";
}
