// Where the picture of a frame comes from: the run's folder, the file row of
// the frame, and the page of the frame's plane in that file. Read from the
// jobs database through the library's record operations on one read-only
// connection, and kept per run; a frame that the cache does not know makes
// it read the run again (an acquisition keeps adding frames).
//
// Every member function may be called from any thread; the jobs connection
// is used under the object's lock.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

struct SYxThumbSource {
    CYxStringW wszPath;       // absolute path of the image file
    std::string pathUtf8;     // the same for system calls
    int iPage = 0;            // page of the frame's plane in the file
};

// One frame of a run with its planes (0 when it has no image file).
struct SYxThumbFrameEntry {
    int iFrameIndex = 0;
    int iPlanes = 0;
};

class CYxThumbSources {
public:
    // Takes ownership of a read connection to the jobs database.
    explicit CYxThumbSources(YxProjectDbHandle jobs);
    ~CYxThumbSources();
    CYxThumbSources(const CYxThumbSources&) = delete;
    CYxThumbSources& operator=(const CYxThumbSources&) = delete;

    // The source of (run, frame, plane). 0; YXPDB_E_NOTFOUND for an unknown
    // run or frame, a frame without an image file, or a plane beyond the
    // file's planes; otherwise the status of the record operation.
    int Resolve(const CYxStringW& runUuid, int frameIndex, int plane, SYxThumbSource* out);
    // The frames of a run as the jobs database has them now, by frame index.
    // 0 or YXPDB_E_NOTFOUND / the record status.
    int Frames(const CYxStringW& runUuid, std::vector<SYxThumbFrameEntry>* out);
    // The uuids of every run of the jobs database.
    int RunUuids(std::vector<CYxStringW>* out);

private:
    struct SFrame {
        std::int64_t iFileKey = 0;
        int iFileFrameIndex = 0;
    };
    struct SFile {
        CYxStringW wszPath;       // absolute, native separators
        std::string pathUtf8;
        int iPlanes = 1;
    };
    struct SRun {
        CYxStringW wszFolder;
        std::unordered_map<int, SFrame> frames;
        std::unordered_map<std::int64_t, SFile> files;
    };
    int LoadLocked(const CYxStringW& runUuid, SRun** out);

    std::mutex m_lock;
    YxProjectDbHandle m_jobs;
    std::map<std::wstring, SRun> m_runs;
};
