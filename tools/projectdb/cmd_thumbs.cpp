// projectdb thumbs build DB [--run UUID] [--level N] [--plane P] [--quiet]
// projectdb thumbs sheet DB --run UUID -o SHEET.png [--level N] [--columns C] [--plane P] [--quiet]
// projectdb thumbs info DB
// projectdb thumbs prune DB [--budget BYTES]
//
// The thumbnail file beside a jobs database ("demo.gnrdb" ->
// "demo.gnrthumbs"). build renders what is missing or out of date, in one
// transaction of the thumbnail file: a progress bar on a terminal (one line
// per run otherwise), Ctrl-C asks and a yes stores nothing. sheet draws a
// run's frames as a grid of thumbnails with each frame's index under it into
// a PNG file, rendering the thumbnails that are missing. info tells what the
// file holds; prune drops the thumbnails of runs that are gone and the oldest
// ones beyond a byte budget.
#include "thumb_sheet.h"
#include "tool.h"
#include "tool_progress.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/thumbnails.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

// Sheets beyond this many pixels are refused (a 512-level sheet of a few
// thousand frames would be gigabytes).
const long long kMostSheetPixels = 256ll * 1024 * 1024;

// A whole number in [lo, hi] written with digits only.
bool ParseNumber(const std::string& text, long long lo, long long hi, long long* out) {
    if (text.empty() || text.size() > 18) return false;
    long long v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    if (v < lo || v > hi) return false;
    *out = v;
    return true;
}

// "1000", "64K", "10M", "2G" (powers of 1024).
bool ParseBytes(std::string text, long long* out) {
    long long unit = 1;
    if (!text.empty()) {
        switch (text.back()) {
        case 'k': case 'K': unit = 1ll << 10; break;
        case 'm': case 'M': unit = 1ll << 20; break;
        case 'g': case 'G': unit = 1ll << 30; break;
        default: break;
        }
        if (unit != 1) text.pop_back();
    }
    long long v = 0;
    if (!ParseNumber(text, 0, (1ll << 50) / unit, &v)) return false;
    *out = v * unit;
    return true;
}

bool IsUuid(const std::string& s) {
    return s.size() == 32 && std::all_of(s.begin(), s.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
           });
}

std::string Lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

// What one action takes, checked before anything is opened.
struct SArgs {
    std::string action, db, run, out;
    int level = eYxThumbLevel_128;
    int plane = -1;
    int columns = 8;
    long long budget = -1;
    bool quiet = false;
};

int Check(const CYxToolCall& call, SArgs* a) {
    a->action = call.Arg(0);
    a->db = call.Arg(1);
    static const struct {
        const char* action;
        std::set<std::string> options;
    } kActions[] = {{"build", {"run", "level", "plane", "quiet"}},
                    {"sheet", {"run", "o", "level", "columns", "plane", "quiet"}},
                    {"info", {}},
                    {"prune", {"budget"}}};
    const std::set<std::string>* allowed = nullptr;
    for (const auto& k : kActions)
        if (a->action == k.action) allowed = &k.options;
    if (!allowed) return call.Usage("unknown thumbs action '" + a->action + "' (build, sheet, info, prune)");
    for (const char* o : {"run", "o", "level", "columns", "plane", "quiet", "budget"})
        if (call.Flag(o) && !allowed->count(o))
            return call.Usage(std::string(o[1] ? "--" : "-") + o + " does not go with thumbs " + a->action);

    long long v = 0;
    if (call.Flag("level")) {
        if (!ParseNumber(call.Value("level"), 0, 100000, &v) ||
            (v != eYxThumbLevel_128 && v != eYxThumbLevel_256 && v != eYxThumbLevel_512))
            return call.Usage("--level is 128, 256 or 512");
        a->level = static_cast<int>(v);
    }
    if (call.Flag("plane")) {
        if (!ParseNumber(call.Value("plane"), 0, 1000, &v)) return call.Usage("--plane takes a plane number from 0");
        a->plane = static_cast<int>(v);
    }
    if (call.Flag("columns")) {
        if (!ParseNumber(call.Value("columns"), 1, 1000, &v)) return call.Usage("--columns takes a number from 1 to 1000");
        a->columns = static_cast<int>(v);
    }
    if (call.Flag("budget") && !ParseBytes(call.Value("budget"), &a->budget))
        return call.Usage("--budget takes a number of bytes (with K, M or G for KiB, MiB, GiB)");
    if (call.Flag("run")) {
        a->run = Lower(call.Value("run"));
        if (!IsUuid(a->run)) return call.Usage("--run takes a run's uuid (32 hexadecimal digits)");
    }
    a->out = call.Value("o");
    a->quiet = call.Flag("quiet");
    if (a->action == "sheet") {
        if (a->run.empty()) return call.Usage("thumbs sheet needs --run UUID");
        if (a->out.empty()) return call.Usage("thumbs sheet needs -o FILE");
        if (a->plane < 0) a->plane = 0;
    }
    return 0;
}

// The thumbnail file of the jobs database, open.
int OpenThumbs(const CYxToolCall& call, const SArgs& a, std::unique_ptr<CYxThumbnailDb>* thumbs) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(std::filesystem::u8path(a.db), ec))
        return call.FailText(a.db, "no such jobs database");
    const std::wstring path = YxTool_Wide(a.db);
    const int rc = CYxThumbnailDb::Open(path.c_str(), thumbs);
    if (rc == 0) return 0;
    if (rc == YXPDB_E_READONLY) return call.Fail(a.db, "cannot make or write the thumbnail file", rc);
    return call.Fail(a.db, "cannot open the thumbnail file", rc);
}

// Progress of a build: a bar on a terminal, lines otherwise; Ctrl-C and a
// yes set the cancel flag that the build polls.
class CThumbProgress {
public:
    explicit CThumbProgress(bool quiet) : m_progress(quiet, &m_interrupt) {}
    void Report(const std::string& phase, std::int64_t done, std::int64_t total) {
        m_progress.Phase(phase);
        if (total > 0) m_progress.Rows(done, total);
        if (!m_cancel && m_interrupt.AbortRequested()) m_cancel = true;
    }
    void Finish() { m_progress.Finish(); }
    bool TooLate() const { return m_interrupt.Confirmed(); }
    const std::atomic<bool>* Flag() const { return &m_cancel; }

private:
    CYxToolInterrupt m_interrupt;
    CYxToolProgress m_progress;
    std::atomic<bool> m_cancel{false};
};

// Renders what is missing or out of date at a's level (of a's run, or of
// every run; of a's plane, or of every plane), with progress and Ctrl-C.
// The build's status, after reporting a failure.
int RunBuild(const CYxToolCall& call, const SArgs& a, CYxThumbnailDb& thumbs, SYxThumbBuildReport* report,
             bool* tooLate) {
    CThumbProgress progress(a.quiet);
    const std::string level = std::to_string(a.level);
    SYxThumbBuildOptions options;
    options.wszRunUuid = YxTool_Wide(a.run);
    options.iLevel = a.level;
    options.iPlane = a.plane;
    options.pCancel = progress.Flag();
    options.fnProgress = [&](const SYxThumbBuildProgress& p) {
        const std::string run = YxTool_Narrow(p.wszRunUuid ? p.wszRunUuid : L"");
        progress.Report("level " + level + " thumbnails" + (run.empty() ? std::string() : " of run " + run), p.iDone,
                        p.iTotal);
    };
    const int rc = thumbs.Build(options, report);
    progress.Finish();
    *tooLate = rc == 0 && progress.TooLate();
    if (rc == YXPDB_E_NOTFOUND) call.Fail(a.db, "no run " + a.run, rc);
    else if (rc == YXPDB_E_CANCELLED) call.Fail(a.db, "cancelled; no thumbnails were stored", rc);
    else if (rc != 0) call.Fail(a.db, "cannot build the thumbnails", rc);
    return rc;
}

int Build(const CYxToolCall& call, const SArgs& a) {
    std::unique_ptr<CYxThumbnailDb> thumbs;
    if (OpenThumbs(call, a, &thumbs) != 0) return 1;
    SYxThumbBuildReport report;
    bool tooLate = false;
    if (RunBuild(call, a, *thumbs, &report, &tooLate) != 0) return 1;
    std::printf("level %d: %lld made, %lld current, %lld failed, %lld frames without an image (%.2f s)\n", a.level,
                static_cast<long long>(report.iMade), static_cast<long long>(report.iCurrent),
                static_cast<long long>(report.iFailed), static_cast<long long>(report.iNoImage), report.dSeconds);
    std::printf("thumbnails: %s\n", YxTool_Narrow(thumbs->GetFileName().str()).c_str());
    if (tooLate) std::printf("the cancel came too late: the thumbnails were stored\n");
    return 0;
}

// A thumbnail of the sheet, decoded.
struct SCell {
    int frameIndex = 0;
    bool present = false;
    std::vector<std::uint8_t> grey;
    int width = 0, height = 0;
};

// The run's frame indexes, ascending; 1 after reporting when the run is
// not there or cannot be read.
int RunFrames(const CYxToolCall& call, const SArgs& a, std::vector<int>* frames) {
    const std::wstring path = YxTool_Wide(a.db);
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!h) return call.Fail(a.db, "cannot open the database", YXPDB_E_NOCONNECTION);
    SYxProjectDbRow_jobrun run;
    const std::wstring uuid = YxTool_Wide(a.run);
    int rc = YxProjectDb_Jobrun_GetOne(h, uuid.c_str(), run);
    std::vector<SYxProjectDbRow_frame> rows;
    if (rc == 0 && run.iKey != 0) rc = YxProjectDb_Frame_GetMany(h, run.iKey, rows);
    YxProjectDb_Db_Disconnect(h);
    if (rc != 0) return call.Fail(a.db, "cannot read the run's frames", rc);
    if (run.iKey == 0) return call.Fail(a.db, "no run " + a.run, YXPDB_E_NOTFOUND);
    for (const auto& f : rows) frames->push_back(f.iFrameIndex);
    std::sort(frames->begin(), frames->end());
    if (frames->empty()) return call.FailText(a.db, "run " + a.run + " has no frames");
    return 0;
}

int Sheet(const CYxToolCall& call, const SArgs& a) {
    std::vector<int> frames;
    if (RunFrames(call, a, &frames) != 0) return 1;
    std::unique_ptr<CYxThumbnailDb> thumbs;
    if (OpenThumbs(call, a, &thumbs) != 0) return 1;

    // The run's missing thumbnails of the plane are rendered first, in
    // parallel and in one transaction; then every frame's is read.
    SYxThumbBuildReport report;
    bool tooLate = false;
    if (RunBuild(call, a, *thumbs, &report, &tooLate) != 0) return 1;
    const std::wstring uuid = YxTool_Wide(a.run);
    std::vector<SCell> cells(frames.size());
    int width = 0, height = 0, missing = 0, firstFailure = 0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        SCell& c = cells[i];
        c.frameIndex = frames[i];
        SYxThumbnail t;
        int rc = thumbs->Get(uuid.c_str(), c.frameIndex, a.plane, a.level, &t);
        if (rc == 0) rc = YxProjectDb_Thumb_DecodePng(t.png.data(), t.png.size(), &c.grey, &c.width, &c.height);
        if (rc != 0) {
            ++missing;
            if (firstFailure == 0) firstFailure = rc;
            continue;
        }
        c.present = true;
        width = std::max(width, c.width);
        height = std::max(height, c.height);
    }
    thumbs.reset();
    if (missing == static_cast<int>(frames.size()))
        return call.Fail(a.db, "no frame of run " + a.run + " has a thumbnail of plane " + std::to_string(a.plane),
                         firstFailure);

    const SYxSheetLayout layout = SYxSheetLayout::Make(static_cast<int>(cells.size()), a.columns, width, height);
    if (static_cast<long long>(layout.width) * layout.height > kMostSheetPixels)
        return call.FailText(a.out, "the sheet would be " + std::to_string(layout.width) + " x " +
                                        std::to_string(layout.height) + " pixels; take a smaller --level");
    CYxContactSheet sheet(layout);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const int cell = static_cast<int>(i);
        if (cells[i].present) sheet.Place(cell, cells[i].grey, cells[i].width, cells[i].height);
        else sheet.MarkMissing(cell);
        sheet.Label(cell, std::to_string(cells[i].frameIndex));
    }
    const std::wstring out = YxTool_Wide(a.out);
    const int rc = YxProjectDb_Thumb_WritePng(out.c_str(), sheet.Pixels().data(), sheet.Pixels().size(), layout.width,
                                              layout.height);
    if (rc != 0) return call.Fail(a.out, "cannot write the sheet", rc);
    std::printf("%s: %zu frames of run %s, plane %d, level %d: %d columns x %d rows, %d x %d pixels\n", a.out.c_str(),
                frames.size(), a.run.c_str(), a.plane, a.level, layout.columns, layout.rows, layout.width,
                layout.height);
    if (missing > 0)
        std::printf("%d frames without a thumbnail (crossed out; first failure %s %d)\n", missing,
                    YxProjectDb_StatusName(firstFailure), firstFailure);
    return 0;
}

int Info(const CYxToolCall& call, const SArgs& a) {
    std::unique_ptr<CYxThumbnailDb> thumbs;
    if (OpenThumbs(call, a, &thumbs) != 0) return 1;
    SYxThumbInfo info;
    if (int rc = thumbs->GetInfo(&info)) return call.Fail(a.db, "cannot read the thumbnail file", rc);
    std::printf("file:       %s\n", YxTool_Narrow(info.wszFileName.str()).c_str());
    std::printf("version:    %d\n", info.iVersion);
    std::printf("file size:  %lld bytes\n", static_cast<long long>(info.iFileBytes));
    std::printf("thumbnails: %lld (%lld PNG bytes)\n", static_cast<long long>(info.iThumbnails),
                static_cast<long long>(info.iImageBytes));
    for (const SYxThumbLevelInfo& l : info.levels)
        std::printf("  level %d: %lld (%lld PNG bytes)\n", l.iLevel, static_cast<long long>(l.iCount),
                    static_cast<long long>(l.iBytes));
    std::printf("failures:   %lld\n", static_cast<long long>(info.iFailures));
    return 0;
}

int Prune(const CYxToolCall& call, const SArgs& a) {
    std::unique_ptr<CYxThumbnailDb> thumbs;
    if (OpenThumbs(call, a, &thumbs) != 0) return 1;
    SYxThumbPruneReport report;
    if (int rc = thumbs->Prune(a.budget, &report)) return call.Fail(a.db, "cannot prune the thumbnail file", rc);
    std::printf("removed %lld thumbnails of runs that are gone, %lld beyond the budget, %lld failure rows\n",
                static_cast<long long>(report.iRemovedOrphans), static_cast<long long>(report.iRemovedBudget),
                static_cast<long long>(report.iFailuresRemoved));
    std::printf("PNG bytes: %lld -> %lld\n", static_cast<long long>(report.iImageBytesBefore),
                static_cast<long long>(report.iImageBytesAfter));
    return 0;
}

int Thumbs(CYxToolCall& call) {
    SArgs a;
    if (int rc = Check(call, &a)) return rc;
    if (a.action == "build") return Build(call, a);
    if (a.action == "sheet") return Sheet(call, a);
    if (a.action == "info") return Info(call, a);
    return Prune(call, a);
}

void Declare(CYxToolSyntax& s) {
    s.Argument("ACTION", "build, sheet, info or prune");
    s.Argument("DB", "the jobs database (its thumbnails are in the .gnrthumbs file beside it)");
    s.Value("run", "UUID", "build: only this run; sheet: the run to draw (required)");
    s.Value("level", "N", "build, sheet: thumbnail size 128, 256 or 512 (default 128)");
    s.Value("plane", "P", "build: only this plane (default all); sheet: the plane to draw (default 0)");
    s.Value("columns", "C", "sheet: thumbnails per row (default 8)");
    s.Value("o", "FILE", "sheet: the PNG file to write (required)");
    s.Value("budget", "BYTES", "prune: keep at most this many PNG bytes (K, M, G for KiB, MiB, GiB)");
    s.Flag("quiet", "build, sheet: no progress output");
}
}  // namespace

YX_TOOL_COMMAND("thumbs", 35,
                "thumbnails of a jobs database: build them, draw a run's contact sheet, info, prune (Ctrl-C cancels)",
                &Declare, &Thumbs);
