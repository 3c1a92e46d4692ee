#include "gnr_projectdb/thumbnails/thumb_sources.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_jobrun.h"

CYxThumbSources::CYxThumbSources(YxProjectDbHandle jobs) : m_jobs(jobs) {}

CYxThumbSources::~CYxThumbSources() {
    if (m_jobs != 0) YxProjectDb_Db_Disconnect(m_jobs);
}

int CYxThumbSources::LoadLocked(const CYxStringW& runUuid, SRun** out) {
    // The record layer refuses a quote in a text it compares with; no run
    // has such a uuid.
    if (runUuid.str().find(L'\'') != std::wstring::npos) return YXPDB_E_NOTFOUND;
    SYxProjectDbRow_jobrun run;
    int rc = YxProjectDb_Jobrun_GetOne(m_jobs, runUuid.c_str(), run);
    if (rc != 0) return rc;
    if (run.iKey == 0) {
        m_runs.erase(runUuid.str());
        return YXPDB_E_NOTFOUND;
    }
    SRun loaded;
    rc = YxProjectDb_Jobrun_GetAbsPath(m_jobs, run.iKey, loaded.wszFolder);
    if (rc != 0) return rc;
    loaded.wszFolder = YxFs_AddTrailingSeparator(loaded.wszFolder);
    std::vector<SYxProjectDbRow_file> files;
    rc = YxProjectDb_File_GetMany(m_jobs, run.iKey, files);
    if (rc != 0) return rc;
    std::vector<SYxProjectDbRow_frame> frames;
    rc = YxProjectDb_Frame_GetMany(m_jobs, run.iKey, frames);
    if (rc != 0) return rc;
    for (const SYxProjectDbRow_file& f : files) {
        SFile& file = loaded.files[f.iKey];
        file.wszPath = YxFs_Native(loaded.wszFolder + f.wszFileName);
        file.pathUtf8 = file.wszPath.ToUtf8();
        file.iPlanes = f.iPlanes > 0 ? f.iPlanes : 1;
    }
    for (const SYxProjectDbRow_frame& f : frames)
        loaded.frames[f.iFrameIndex] = SFrame{f.iFileKeyRef, f.iFileFrameIndex};
    SRun& slot = m_runs[runUuid.str()];
    slot = std::move(loaded);
    *out = &slot;
    return 0;
}

int CYxThumbSources::Resolve(const CYxStringW& runUuid, int frameIndex, int plane, SYxThumbSource* out) {
    std::lock_guard<std::mutex> lock(m_lock);
    auto it = m_runs.find(runUuid.str());
    SRun* run = it == m_runs.end() ? nullptr : &it->second;
    if (!run || run->frames.find(frameIndex) == run->frames.end()) {
        const int rc = LoadLocked(runUuid, &run);
        if (rc != 0) return rc;
    }
    const auto frame = run->frames.find(frameIndex);
    if (frame == run->frames.end()) return YXPDB_E_NOTFOUND;
    auto file = run->files.find(frame->second.iFileKey);
    if (file == run->files.end() && frame->second.iFileKey != 0) {
        // A file row newer than the cached run.
        const int rc = LoadLocked(runUuid, &run);
        if (rc != 0) return rc;
        file = run->files.find(frame->second.iFileKey);
    }
    if (file == run->files.end() || plane >= file->second.iPlanes) return YXPDB_E_NOTFOUND;
    out->wszPath = file->second.wszPath;
    out->pathUtf8 = file->second.pathUtf8;
    out->iPage = frame->second.iFileFrameIndex * file->second.iPlanes + plane;
    return 0;
}

int CYxThumbSources::Frames(const CYxStringW& runUuid, std::vector<SYxThumbFrameEntry>* out) {
    std::lock_guard<std::mutex> lock(m_lock);
    SRun* run = nullptr;
    const int rc = LoadLocked(runUuid, &run);
    if (rc != 0) return rc;
    out->clear();
    for (const auto& [index, frame] : run->frames) {
        const auto file = run->files.find(frame.iFileKey);
        out->push_back({index, file == run->files.end() ? 0 : file->second.iPlanes});
    }
    std::sort(out->begin(), out->end(),
              [](const SYxThumbFrameEntry& a, const SYxThumbFrameEntry& b) { return a.iFrameIndex < b.iFrameIndex; });
    return 0;
}

int CYxThumbSources::RunUuids(std::vector<CYxStringW>* out) {
    std::lock_guard<std::mutex> lock(m_lock);
    std::vector<SYxProjectDbRow_jobrun> runs;
    const int rc = YxProjectDb_Jobrun_GetAll(m_jobs, runs);
    if (rc != 0) return rc;
    out->clear();
    for (const SYxProjectDbRow_jobrun& r : runs) out->push_back(r.wszUuid);
    return 0;
}
