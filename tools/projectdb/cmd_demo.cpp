// projectdb demo [DIR]: records one acquisition from end to end, as the host
// application does while a time-lapse job runs - project, job definition,
// program with its task tree and properties, the run with its folder, image
// files with their planes, loops and loop indexes, frames with properties,
// qualifiers, tags and their wells on a 96-well plate, a segmentation layer with objects,
// traces and their properties, the run statistics, and the finished run -
// and prints what was stored. Running it again adds another run to the same
// database. The frames themselves are taken, analysed and written through
// the parallel processing queue (demo_acquisition.cpp); this file records
// what comes before and after them.
#include "demo_acquisition.h"
#include "tool.h"

#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/holders.h"
#include "gnr_projectdb/records_binobj.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobdef.h"
#include "gnr_projectdb/records_jobprogram.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/records_project.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sys.h"

#include <sqlite3.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <list>
#include <string>
#include <vector>

namespace {

using demo::kHeight;
using demo::kObjectsPerFrame;
using demo::kPositions;
using demo::kTimepoints;
using demo::kWidth;
const wchar_t* const kPlaneNames[] = {L"DAPI", L"GFP"};
enum { eLoopTime = 1, eLoopPosition = 2 };

const wchar_t kProjectName[] = L"Demo project";
const wchar_t kJobdefName[] = L"Time-lapse demo";

// Stops the recording at the first failing step with its name and status.
struct SStep {
    int status = 0;
    std::string what;
    bool Check(int rc, const char* name) {
        if (rc != 0 && status == 0) {
            status = rc;
            what = name;
        }
        return status == 0;
    }
};

// Finds a definition row by a condition or inserts the given record.
template <class Row>
std::int64_t FindOrInsert(YxProjectDbHandle h, const wchar_t* where, Row row, SStep& step, const char* name) {
    std::vector<Row> found;
    if (!step.Check(YxProjectDb_Row_GetWhere(h, where, found), name)) return 0;
    if (!found.empty()) return found.front().iKey;
    std::int64_t key = 0;
    step.Check(YxProjectDb_Row_Insert(h, row, &key), name);
    return key;
}

std::int64_t Propdef(YxProjectDbHandle h, const wchar_t* feature, const wchar_t* unit, int entity, SStep& step) {
    SYxProjectDbRow_propdef row;
    row.iType = 1;
    row.wszFeatureName = feature;
    row.wszGroupName = L"Demo";
    row.wszUnit = unit;
    row.iOnEntity = entity;
    return FindOrInsert(h,
                        CYxStringW::Format(L"wszFeatureName='%s' AND wszGroupName='Demo' AND iOnEntity=%d", feature,
                                           entity),
                        row, step, "propdef");
}

std::int64_t Qualdef(YxProjectDbHandle h, const wchar_t* name, int entity, SStep& step) {
    SYxProjectDbRow_qualdef row;
    row.iType = 1;
    row.iOnEntity = entity;
    row.wszGroupName = L"Demo";
    row.wszName = name;
    return FindOrInsert(h, CYxStringW::Format(L"wszGroupName='Demo' AND wszName='%s'", name), row, step, "qualdef");
}

std::int64_t Qualstr(YxProjectDbHandle h, const wchar_t* value, SStep& step) {
    SYxProjectDbRow_qualstr row;
    row.wszName = value;
    return FindOrInsert(h, CYxStringW::Format(L"wszName='%s'", value), row, step, "qualstr");
}

std::string Narrow(const CYxStringW& s) { return YxTool_Narrow(s.str()); }

int Demo(CYxToolCall& call) {
    const auto started = std::chrono::steady_clock::now();
    std::uint32_t seed = 1;
    if (call.Flag("seed")) {
        const std::string text = call.Value("seed");
        char* end = nullptr;
        errno = 0;
        const unsigned long long v = std::strtoull(text.c_str(), &end, 10);
        if (text.empty() || text[0] < '0' || text[0] > '9' || *end != '\0' || errno != 0 || v > 0xFFFFFFFFull)
            return call.Usage("--seed takes a whole number from 0 to 4294967295");
        seed = static_cast<std::uint32_t>(v);
    }
    const std::filesystem::path dir = std::filesystem::u8path(call.ArgCount() == 0 ? "demo-output" : call.Arg(0));
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec || !std::filesystem::is_directory(dir, ec)) return call.FailText(dir.u8string(), "cannot create the folder");
    const std::filesystem::path dbFile = dir / "demo.gnrdb";
    const CYxStringW dbPath = CYxStringW::FromUtf8(dbFile.u8string());

    bool created = false;
    if (!std::filesystem::exists(dbFile, ec)) {
        const int rc = YxProjectDb_Db_Jobs_CreateWithUpgrades(dbPath);
        if (rc != 0) return call.Fail(Narrow(dbPath), "cannot create the database", rc);
        created = true;
    }
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(dbPath);
    if (!h) return call.Fail(Narrow(dbPath), "cannot open the database", YXPDB_E_NOCONNECTION);

    SStep step;
    // ---- project and job definition: reused when the database has them.
    std::int64_t projKey = 0;
    {
        std::vector<SYxProjectDbRow_project> projects;
        step.Check(YxProjectDb_Proj_GetAll(h, projects), "project");
        for (const auto& p : projects)
            if (p.wszName == kProjectName) projKey = p.iKey;
        if (step.status == 0 && projKey == 0)
            step.Check(YxProjectDb_Proj_Insert(h, kProjectName, L"Recorded by projectdb demo", kProjectName, &projKey),
                       "project");
    }
    SYxProjectDbRow_project project;
    if (step.status == 0) step.Check(YxProjectDb_Proj_GetOne(h, projKey, project), "project");

    std::int64_t jobdefKey = 0;
    if (step.status == 0) {
        std::vector<SYxProjectDbRow_jobdef> defs;
        step.Check(YxProjectDb_Jobdef_GetMany(h, projKey, defs), "job definition");
        for (const auto& d : defs)
            if (d.wszName == kJobdefName) jobdefKey = d.iKey;
        if (step.status == 0 && jobdefKey == 0)
            step.Check(YxProjectDb_Jobdef_Insert(h, projKey, 0, 0, kJobdefName,
                                                 L"Four positions, two channels, twelve time points", 1, nullptr,
                                                 &jobdefKey),
                       "job definition");
    }

    // ---- program with its properties and task tree.
    std::int64_t programKey = 0;
    std::int64_t acquireTask = 0;
    std::vector<std::int64_t> taskKeys;
    if (step.status == 0 &&
        step.Check(YxProjectDb_Jobprogram_Insert(h, jobdefKey, L"Time-lapse, 4 positions x 2 channels", &programKey),
                   "job program")) {
        std::vector<SYxProjectDbRow_jobprogram::_property> props(3);
        props[0].name = L"objective";
        props[0].wszValue = L"20x / 0.75";
        props[1].name = L"interval_s";
        props[1].wszValue = L"300";
        props[2].name = L"illumination";
        props[2].bIsBytes = true;
        const std::uint8_t led[] = {0x10, 0x40, 0x00, 0xFF};
        props[2].pValue = CYxByteArray(led, sizeof(led));
        step.Check(YxProjectDb_Jobprogram_InsertOrUpdateProperties(h, programKey, props), "program properties");
        const struct {
            const wchar_t* cls;
            const wchar_t* name;
            int parent;  // index into taskKeys, -1 for the root
        } tasks[] = {{L"CYxTaskTimeLapse", L"Time-lapse", -1},
                     {L"CYxTaskPositions", L"Positions", 0},
                     {L"CYxTaskAcquire", L"Acquire DAPI + GFP", 1},
                     {L"CYxTaskSegment", L"Segment nuclei", 1}};
        for (std::size_t i = 0; i < sizeof(tasks) / sizeof(tasks[0]) && step.status == 0; ++i) {
            SYxProjectDbJobTaskState state(1, 0, tasks[i].name, CYxByteArray(), CYxByteArray(), CYxByteArray());
            std::int64_t key = 0;
            const std::int64_t parent = tasks[i].parent < 0 ? 0 : taskKeys[static_cast<std::size_t>(tasks[i].parent)];
            step.Check(YxProjectDb_Jobtask_Insert(h, programKey, parent, 0, static_cast<std::int64_t>(i), tasks[i].cls,
                                                  state, nullptr, &key),
                       "job task");
            taskKeys.push_back(key);
        }
        if (taskKeys.size() > 2) acquireTask = taskKeys[2];
    }

    // ---- the run and its folder.
    SYxProjectDbRow_jobrun run;
    CYxStringW runPath;
    if (step.status == 0) {
        const CYxStringW projFolder = YxProjectDb_Proj_MakeAbsPath(h, project.wszFolderName);
        step.Check(YxProjectDb_Jobrun_Insert(h, projKey, projFolder, jobdefKey, programKey, YX_JOBRUN_FLAG_RUNNING,
                                             L"Demo run", L"Recorded by projectdb demo", &run, &runPath),
                   "job run");
    }
    const std::int64_t runKey = run.iKey;

    // ---- image files, one per position, with their shared planes: a
    // multi-page 16-bit TIFF that the camera fills with the frames of its
    // position, both planes of a frame one after the other.
    std::vector<std::int64_t> fileKeys;
    std::vector<std::string> imagePaths;
    for (int p = 0; p < kPositions && step.status == 0; ++p) {
        const CYxStringW name = CYxStringW::Format(L"pos%02d.tif", p + 1);
        imagePaths.push_back((runPath + name).ToUtf8());
        std::int64_t fileKey = 0;
        if (!step.Check(YxProjectDb_File_Insert(h, runKey, name, kWidth, kHeight, demo::kPlanes, 1, 16, 0, 0.325, 1.0,
                                                &fileKey),
                        "file"))
            break;
        fileKeys.push_back(fileKey);
        for (int c = 0; c < 2 && step.status == 0; ++c) {
            const std::string desc = "{\"emission_nm\":" + std::to_string(c ? 525 : 461) + "}";
            SYxProjectDbRow_planeinfo plane{0, kPlaneNames[c], 1, CYxByteArray(desc.data(), desc.size())};
            step.Check(YxProjectDb_PlaneInfo_InsertOrReplace(h, fileKey, plane, c), "plane");
        }
    }

    // ---- loops: positions first, then the time loop put outside them.
    std::int64_t positionLoop = 0, timeLoop = 0;
    if (step.status == 0 &&
        step.Check(YxProjectDb_Runloop_GetOrInsert(h, runKey, taskKeys[1], 0, 0, eLoopPosition, &positionLoop),
                   "position loop") &&
        step.Check(YxProjectDb_Runloop_UpdateIncOrder(h, runKey), "loop order"))
        step.Check(YxProjectDb_Runloop_Insert(h, runKey, taskKeys[0], 0, 0, eLoopTime, &timeLoop), "time loop");

    // ---- definitions of what the analysis measures.
    const std::int64_t focus = Propdef(h, L"Focus score", L"", YX_STAT_ENTITY_FRAMES, step);
    const std::int64_t temperature = Propdef(h, L"Temperature", L"C", YX_STAT_ENTITY_FRAMES, step);
    const std::int64_t exposure = Propdef(h, L"Exposure", L"ms", YX_STAT_ENTITY_FRAMES, step);
    const std::int64_t area = Propdef(h, L"Area", L"px", YX_STAT_ENTITY_OBJECTS, step);
    const std::int64_t intensity = Propdef(h, L"Mean intensity", L"", YX_STAT_ENTITY_OBJECTS, step);
    const std::int64_t speed = Propdef(h, L"Speed", L"px/frame", YX_STAT_ENTITY_TRACES, step);
    const std::int64_t wellQual = Qualdef(h, L"Well", YX_STAT_ENTITY_FRAMES, step);
    const std::int64_t phaseQual = Qualdef(h, L"Cell phase", YX_STAT_ENTITY_OBJECTS, step);
    const std::int64_t fateQual = Qualdef(h, L"Track fate", YX_STAT_ENTITY_TRACES, step);
    const std::int64_t wells[] = {Qualstr(h, L"B2", step), Qualstr(h, L"B3", step), Qualstr(h, L"C2", step),
                                  Qualstr(h, L"C3", step)};
    const std::int64_t phases[] = {Qualstr(h, L"interphase", step), Qualstr(h, L"mitosis", step)};
    const std::int64_t fates[] = {Qualstr(h, L"divides", step), Qualstr(h, L"persists", step)};
    SYxProjectDbRow_tagdef tagRow;
    tagRow.iType = 1;
    tagRow.wszName = L"Reviewed";
    const std::int64_t reviewed = FindOrInsert(h, L"iType=1 AND wszName='Reviewed'", tagRow, step, "tagdef");
    if (step.status == 0) step.Check(YxProjectDb_Frameprop_CreateNullConstraintTrigger(h), "frameprop trigger");

    // ---- the plate: the catalog's 96-well plate, aligned to the stage
    // (turned a little, offset). Each position is a stage point near the
    // centre of its well; the well is found from the stage point, as the
    // acquisition does, and recorded with the plate (plateinfo, wellinfo);
    // every frame is linked to its plate and well as it is written.
    std::int64_t plateKey = 0;
    std::vector<std::int64_t> wellKeys;
    if (step.status == 0) {
        SYxHolderEntry plate;
        const SYxHolderAlignment stage = YxHolder_MakeAlignment(0.4, 1.0, 12.5, 7.25);
        step.Check(YxProjectDb_Holder_UpdateCatalogs(h), "holder catalog");  // files made before the catalog
        if (step.status == 0) step.Check(YxProjectDb_Holder_Find(h, L"96", plate), "plate type");
        std::vector<int> wellOfPosition;
        for (int p = 0; p < kPositions && step.status == 0; ++p) {
            const int target = YxHolder_ElementIndex(plate.layout, CYxStringW::Format(L"%s%d", p < 2 ? L"B" : L"C", 2 + p % 2));
            const SYxHolderPoint c = plate.layout.elements[static_cast<std::size_t>(target < 0 ? 0 : target)].center;
            const SYxHolderPoint at = YxHolder_HolderToStage(stage, c.x + 0.4, c.y - 0.3);
            SYxHolderPoint onPlate;
            step.Check(YxHolder_StageToHolder(stage, at.x, at.y, &onPlate), "stage position");
            const int well = YxHolder_FindElement(plate.layout, onPlate.x, onPlate.y);
            if (well < 0) step.Check(YXPDB_E_NOTFOUND, "well of a stage position");
            wellOfPosition.push_back(well);
        }
        if (step.status == 0)
            step.Check(YxProjectDb_Holder_AddRunPlate(h, runKey, plate, L"Demo plate", L"DEMO-0001", stage, wellOfPosition,
                                                      &plateKey, &wellKeys),
                       "plate and wells");
    }

    // ---- segmentation: a nuclei layer and one trace per nucleus and
    // position; the objects, one per nucleus and frame, come with the frames.
    std::int64_t layerKey = 0;
    if (step.status == 0)
        step.Check(YxProjectDb_Binlayer_Insert(h, runKey, 0, YxProjectDb_Sys_UuidAsText(), L"Nuclei", L"DAPI",
                                               L"nuclei", 0x3080FF, 0, &layerKey),
                   "binary layer");
    std::list<SYxProjectDbRow_trace> traces;
    for (int p = 0; p < kPositions; ++p)
        for (int k = 0; k < kObjectsPerFrame; ++k)
            traces.push_back({0, runKey, 0, p * kObjectsPerFrame + k + 1, p, kTimepoints});
    if (step.status == 0) step.Check(YxProjectDb_Trace_InsertMany(h, traces), "traces");

    // ---- the frames with their place in the loops, properties, qualifiers,
    // tags, wells and objects, as the acquisition delivers them.
    demo::SAcquisitionResult recorded;
    if (step.status == 0) {
        demo::SAcquisitionSetup acq;
        acq.handle = h;
        acq.runKey = runKey;
        acq.acquireTask = acquireTask;
        acq.t0 = YxProjectDb_Sys_JdnNow();
        acq.fileKeys = fileKeys;
        acq.imagePaths = imagePaths;
        acq.seed = seed;
        acq.timeLoop = timeLoop;
        acq.positionLoop = positionLoop;
        acq.focus = focus;
        acq.temperature = temperature;
        acq.area = area;
        acq.intensity = intensity;
        acq.wellQual = wellQual;
        acq.phaseQual = phaseQual;
        acq.wellNames.assign(std::begin(wells), std::end(wells));
        acq.interphase = phases[0];
        acq.mitosis = phases[1];
        acq.reviewed = reviewed;
        acq.plateKey = plateKey;
        acq.wellKeys = wellKeys;
        acq.layerKey = layerKey;
        for (const auto& tr : traces) acq.traceKeys.push_back(tr.iKey);
        const int rc = demo::DemoAcquire(acq, &recorded);
        step.Check(rc, recorded.failedStep.c_str());
    }
    for (std::int64_t k : fileKeys)
        if (step.status == 0) step.Check(YxProjectDb_File_Update(h, k, kTimepoints), "file frame count");
    if (step.status == 0) step.Check(YxProjectDb_Frameprop_InsertManySame(h, runKey, exposure, 120.0), "exposure");
    std::vector<SYxProjectDbRow_traceprop> traceProps;
    std::vector<SYxProjectDbRow_tracequal> traceQuals;
    for (const auto& tr : traces) {
        traceProps.push_back({0, runKey, tr.iTraceId, speed, 0, 1.0 + 0.1 * (tr.iTraceId % 4)});
        traceQuals.push_back({0, runKey, tr.iKey, fateQual, fates[tr.iTraceId % 3 == 0 ? 0 : 1]});
    }
    if (step.status == 0) step.Check(YxProjectDb_Traceprop_InsertMany(h, traceProps), "trace properties");
    if (step.status == 0) step.Check(YxProjectDb_Tracequal_InsertOrReplaceMany(h, traceQuals), "trace qualifiers");

    // ---- run statistics, then the run is finished.
    if (step.status == 0) {
        const struct {
            std::int64_t propdef;
            int entity;
        } stats[] = {{focus, YX_STAT_ENTITY_FRAMES},     {temperature, YX_STAT_ENTITY_FRAMES},
                     {exposure, YX_STAT_ENTITY_FRAMES},  {area, YX_STAT_ENTITY_OBJECTS},
                     {intensity, YX_STAT_ENTITY_OBJECTS}, {speed, YX_STAT_ENTITY_TRACES}};
        for (const auto& s : stats)
            step.Check(YxProjectDb_Jobrunpropstat_InsertEmpty(h, runKey, s.propdef, 0, s.entity), "property statistics");
        step.Check(YxProjectDb_Jobrunqualstat_InsertEmpty(h, runKey, wellQual, YX_STAT_ENTITY_FRAMES), "qualifier statistics");
        step.Check(YxProjectDb_Jobrunqualstat_InsertEmpty(h, runKey, phaseQual, YX_STAT_ENTITY_OBJECTS), "qualifier statistics");
        step.Check(YxProjectDb_Jobrunqualstat_InsertEmpty(h, runKey, fateQual, YX_STAT_ENTITY_TRACES), "qualifier statistics");
        std::vector<SYxProjectDbRow_jobruntagstat> tagStats{{0, runKey, reviewed, 0}};
        step.Check(YxProjectDb_Jobruntagstat_InsertOrReplaceMany(h, tagStats), "tag statistics");
        const CYxStringW cond = CYxStringW::Format(L"iJobrunKeyRef=%I64d", runKey);
        // The rows were inserted empty: each entity fills its own.
        for (int entity = YX_STAT_ENTITY_FRAMES; entity <= YX_STAT_ENTITY_TRACES; ++entity) {
            step.Check(YxProjectDb_Jobrunpropstat_UpdateStats(h, entity, cond, true, false), "property statistics");
            step.Check(YxProjectDb_Jobrunqualstat_UpdateStats(h, entity, cond, true, false), "qualifier statistics");
        }
        step.Check(YxProjectDb_Jobruntagstat_UpdateStats(h, cond, false, false), "tag statistics");
    }
    if (step.status == 0)
        step.Check(YxProjectDb_Jobrun_UpdateFinish(h, runKey, 0, YxProjectDb_Sys_JdnNow(), L"Finished"), "finish");

    if (step.status != 0) {
        YxProjectDb_Db_Disconnect(h);
        return call.Fail(Narrow(dbPath), "recording failed at: " + step.what, step.status);
    }

    // ---- summary.
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("database:   %s (%s)\n", Narrow(dbPath).c_str(), created ? "created" : "reused");
    std::printf("project:    %s (key %lld)\n", Narrow(project.wszName).c_str(), static_cast<long long>(projKey));
    std::printf("definition: %s (key %lld), program key %lld, %zu tasks\n", Narrow(CYxStringW(kJobdefName)).c_str(),
                static_cast<long long>(jobdefKey), static_cast<long long>(programKey), taskKeys.size());
    std::printf("run:        key %lld, uuid %s\n", static_cast<long long>(runKey), Narrow(run.wszUuid).c_str());
    std::printf("run folder: %s\n", Narrow(runPath).c_str());
    std::printf("images:     %d x %d, 16-bit grey, %d planes, seed %lu\n", kWidth, kHeight, demo::kPlanes,
                static_cast<unsigned long>(seed));
    std::printf("recorded:   %d positions x %d time points = %zu frames, %zu files (%llu bytes), %zu objects, "
                "%zu traces\n",
                kPositions, kTimepoints, recorded.frames, fileKeys.size(),
                static_cast<unsigned long long>(YxProjectDb_File_GetManyFilesSize(h, runKey)), recorded.objects,
                traces.size());
    std::printf("rows per table (whole database):\n");
    int count = 0;
    const SYxSqliteTableDef* const* tables = YxProjectDb_Schema_GetJobsTables(&count);
    for (int i = 0; i < count; ++i) {
        std::int64_t n = 0;
        if (YxProjectDb_Table_Count(h, tables[i]->wszName, nullptr, &n) == 0 && n > 0)
            std::printf("  %-16s %lld\n", Narrow(CYxStringW(tables[i]->wszName)).c_str(), static_cast<long long>(n));
    }
    std::printf("time:       %.3f s\n", seconds);
    YxProjectDb_Db_Disconnect(h);
    return 0;
}

void Declare(CYxToolSyntax& s) {
    s.OptionalArgument("DIR", "the folder of the demo database (default: demo-output)");
    s.Value("seed", "N", "seed of the synthetic cell images (default 1): the same seed gives the same pixels");
}
}  // namespace

YX_TOOL_COMMAND("demo", 10,
                "record one demo acquisition into DIR/demo.gnrdb (default DIR: demo-output) and print a summary",
                &Declare, &Demo);
