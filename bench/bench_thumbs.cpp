// Thumbnails (--benchmark_filter=Thumb):
//   Thumb/serve/warm, Thumb/serve/cold: 10k thumbnails of level 128 served
//     through CYxThumbnailDb::Get from the thumbnail file, against the same
//     PNG bytes kept one file per thumbnail in one folder, named by a hash of
//     the thumbnail's key (the desktop thumbnail cache's layout). Both sides
//     check the source file's stamp (stat) and return the PNG bytes. Sides
//     alternate in one run; cold drops the files from the page cache
//     (posix_fadvise DONTNEED after fdatasync) before each pass; the
//     database side is opened anew first, outside the timing, since its
//     connection reads the file through a memory map.
//     Counters: db_per_s, dir_per_s, ratio = folder time / database time.
//   Thumb/build/N: Build of 1000 thumbnails of level 256 with N rendering
//     workers (16-bit 400 x 300 pages, 10 multi-page TIFF files).
#include "bench_support.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/thumbnails.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace gnr_bench;

constexpr int kServeFrames = 10000;
constexpr int kBuildFrames = 1000;
constexpr int kPagesPerFile = 100;
const wchar_t* const kServeRun = L"5e7e5e7e5e7e5e7e5e7e5e7e5e7e0001";
const wchar_t* const kBuildRun = L"b0b0b0b0b0b0b0b0b0b0b0b0b0b00002";

void Fail(const char* what) {
    std::fprintf(stderr, "thumbnail benchmark: %s\n", what);
    std::exit(1);
}

// A 16-bit page: smooth background, noise and a few bright spots.
void WriteFile(const std::string& path, int width, int height, int pages, std::uint32_t seed) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif) Fail("cannot write a TIFF file");
    std::mt19937 random(seed);
    std::vector<std::uint16_t> row(static_cast<std::size_t>(width));
    for (int p = 0; p < pages; ++p) {
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16u);
        TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        const int cx = static_cast<int>(random() % width), cy = static_cast<int>(random() % height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const int d2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
                const int spot = d2 < 400 ? 3000 - d2 * 7 : 0;
                row[static_cast<std::size_t>(x)] =
                    static_cast<std::uint16_t>(800 + x + y + spot + static_cast<int>(random() % 60));
            }
            if (TIFFWriteScanline(tif, row.data(), static_cast<std::uint32_t>(y), 0) != 1) Fail("scanline");
        }
        TIFFWriteDirectory(tif);
    }
    TIFFClose(tif);
}

// A run with `frames` frames of one plane in files of 100 pages.
void AddRun(YxProjectDbHandle h, std::int64_t proj, const wchar_t* uuid, const wchar_t* folder, int frames,
            int width, int height) {
    SYxProjectDbRow_jobrun run;
    run.iProjKeyRef = proj;
    run.wszFolderName = folder;
    run.wszUuid = uuid;
    std::int64_t key = 0;
    if (YxProjectDb_Row_Import(h, run, &key) != 0) Fail("run");
    CYxStringW path;
    YxProjectDb_Jobrun_GetAbsPath(h, key, path);
    YxFs_CreateDirectories(path);
    std::vector<SYxProjectDbRow_frame> rows;
    for (int f = 0; f < frames / kPagesPerFile; ++f) {
        const CYxStringW name = CYxStringW::Format(L"img%03d.tif", f);
        WriteFile(YxFs_NativeUtf8(YxFs_AddTrailingSeparator(path) + name), width, height, kPagesPerFile,
                  static_cast<std::uint32_t>(f + 1));
        std::int64_t file = 0;
        if (YxProjectDb_File_Insert(h, key, name, width, height, 1, 1, 16, kPagesPerFile, 0.3, 1, &file) != 0)
            Fail("file");
        for (int i = 0; i < kPagesPerFile; ++i) rows.push_back({0, key, 0, f * kPagesPerFile + i, 0, file, i});
    }
    if (YxProjectDb_Frame_InsertMany(h, rows) != 0) Fail("frames");
}

std::string KeyFileName(const std::string& folder, int frame) {
    // Two FNV-1a hashes of the key text: a 32-digit name as an MD5 would give.
    const std::string key = CYxStringW(kServeRun).ToUtf8() + "/" + std::to_string(frame) + "/0/128";
    std::uint64_t a = 1469598103934665603ull, b = 1099511628211ull * 31;
    for (unsigned char c : key) {
        a = (a ^ c) * 1099511628211ull;
        b = (b ^ c) * 1099511628211ull + 0x9E37;
    }
    char name[40];
    std::snprintf(name, sizeof name, "%016llx%016llx", static_cast<unsigned long long>(a),
                  static_cast<unsigned long long>(b));
    return folder + "/" + name + ".png";
}

struct SFixture {
    CYxStringW jobs;
    std::string thumbFile, cacheFolder;
    std::unique_ptr<CYxThumbnailDb> thumbs;
    std::vector<int> order;   // frames in the order both sides serve them
};

SFixture& Fixture() {
    static SFixture* fixture = [] {
        auto* f = new SFixture;
        f->jobs = NewDatabase("thumbs");
        const YxProjectDbHandle h = YxProjectDb_Db_Jobs_Connect(f->jobs);
        SYxProjectDbRow_project proj;
        proj.wszName = L"P";
        proj.wszFolderName = L"P";
        std::int64_t projKey = 0;
        if (YxProjectDb_Row_Insert(h, proj, &projKey) != 0) Fail("project");
        AddRun(h, projKey, kServeRun, L"serve", kServeFrames, 200, 150);
        AddRun(h, projKey, kBuildRun, L"build", kBuildFrames, 400, 300);
        YxProjectDb_Db_Disconnect(h);
        if (CYxThumbnailDb::Open(f->jobs, &f->thumbs) != 0) Fail("open");
        SYxThumbBuildOptions options;
        options.wszRunUuid = kServeRun;
        options.iWorkers = 2;
        SYxThumbBuildReport report;
        if (f->thumbs->Build(options, &report) != 0 || report.iMade != kServeFrames) Fail("build");
        f->thumbFile = f->thumbs->GetFileName().ToUtf8();
        f->cacheFolder = TempFolder() + "/thumbcache";
        mkdir(f->cacheFolder.c_str(), 0755);
        for (int i = 0; i < kServeFrames; ++i) {
            SYxThumbnail t;
            if (f->thumbs->Get(kServeRun, i, 0, 128, &t) != 0) Fail("get");
            FILE* out = std::fopen(KeyFileName(f->cacheFolder, i).c_str(), "wb");
            if (!out || std::fwrite(t.png.data(), 1, t.png.size(), out) != t.png.size()) Fail("cache file");
            std::fclose(out);
        }
        for (int i = 0; i < kServeFrames; ++i) f->order.push_back(i);
        std::shuffle(f->order.begin(), f->order.end(), std::mt19937(7));
        return f;
    }();
    return *fixture;
}

void DropFromPageCache(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY);
    if (fd < 0) return;
    fdatasync(fd);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}

void BM_ThumbServe(benchmark::State& state) {
    SFixture& f = Fixture();
    const bool cold = state.range(0) != 0;
    // Source paths of the serving run, for the folder side's stat.
    static std::vector<std::string> sources;
    if (sources.empty()) {
        const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(f.jobs);
        SYxProjectDbRow_jobrun run;
        YxProjectDb_Jobrun_GetOne(h, kServeRun, run);
        CYxStringW folder;
        YxProjectDb_Jobrun_GetAbsPath(h, run.iKey, folder);
        for (int i = 0; i < kServeFrames / kPagesPerFile; ++i)
            sources.push_back(YxFs_NativeUtf8(YxFs_AddTrailingSeparator(folder) + CYxStringW::Format(L"img%03d.tif", i)));
        YxProjectDb_Db_Disconnect(h);
    }
    std::vector<std::string> names;
    for (int i = 0; i < kServeFrames; ++i) names.push_back(KeyFileName(f.cacheFolder, i));
    double seconds[2] = {0, 0};
    std::uint64_t bytes[2] = {0, 0};
    AlternateSides(state, seconds, [&](int side) {
        if (cold) {
            if (side == 0) {
                // A new object, so that no connection has the file mapped yet
                // (dropping evicts no page that is mapped).
                f.thumbs.reset();
                if (CYxThumbnailDb::Open(f.jobs, &f.thumbs) != 0) Fail("reopen");
                for (const char* suffix : {"", "-wal"}) DropFromPageCache(f.thumbFile + suffix);
            } else {
                for (const std::string& n : names) DropFromPageCache(n);
            }
        }
        const auto t0 = std::chrono::steady_clock::now();
        if (side == 0) {
            SYxThumbnail t;
            for (int frame : f.order) {
                if (f.thumbs->Get(kServeRun, frame, 0, 128, &t) != 0) state.SkipWithError("get failed");
                bytes[0] += t.png.size();
            }
        } else {
            std::vector<std::uint8_t> png;
            for (int frame : f.order) {
                struct stat st;
                if (::stat(sources[static_cast<std::size_t>(frame / kPagesPerFile)].c_str(), &st) != 0)
                    state.SkipWithError("stat failed");
                const int fd = open(names[static_cast<std::size_t>(frame)].c_str(), O_RDONLY);
                struct stat pst;
                if (fd < 0 || fstat(fd, &pst) != 0) state.SkipWithError("open failed");
                png.resize(static_cast<std::size_t>(pst.st_size));
                if (read(fd, png.data(), png.size()) != static_cast<ssize_t>(png.size())) state.SkipWithError("read");
                close(fd);
                bytes[1] += png.size();
            }
        }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    });
    const double n = static_cast<double>(kServeFrames) * static_cast<double>(state.iterations());
    state.counters["db_per_s"] = seconds[0] > 0 ? n / seconds[0] : 0;
    state.counters["dir_per_s"] = seconds[1] > 0 ? n / seconds[1] : 0;
    state.counters["ratio"] = seconds[0] > 0 ? seconds[1] / seconds[0] : 0;
    state.counters["png_KiB"] = static_cast<double>(bytes[0]) / n / 1024.0;
    if (bytes[0] != bytes[1]) state.SkipWithError("the sides served different bytes");
}

void BM_ThumbBuild(benchmark::State& state) {
    SFixture& f = Fixture();
    const int workers = static_cast<int>(state.range(0));
    sqlite3* raw = nullptr;
    if (sqlite3_open_v2(f.thumbFile.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) Fail("raw open");
    sqlite3_busy_timeout(raw, 60000);
    double total = 0;
    for (auto _ : state) {
        Exec(raw, "DELETE FROM thumb WHERE iLevel=256");
        SYxThumbBuildOptions options;
        options.wszRunUuid = kBuildRun;
        options.iLevel = 256;
        options.iWorkers = workers;
        SYxThumbBuildReport report;
        const auto t0 = std::chrono::steady_clock::now();
        if (f.thumbs->Build(options, &report) != 0 || report.iMade != kBuildFrames) state.SkipWithError("build");
        const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        state.SetIterationTime(s);
        total += s;
    }
    sqlite3_close(raw);
    state.counters["thumbs_per_s"] = total > 0 ? kBuildFrames * static_cast<double>(state.iterations()) / total : 0;
}

const bool kRegistered = [] {
    benchmark::RegisterBenchmark("Thumb/serve/warm", BM_ThumbServe)->Arg(0)->Iterations(10)->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Thumb/serve/cold", BM_ThumbServe)->Arg(1)->Iterations(6)->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    for (int workers : {1, 2})
        benchmark::RegisterBenchmark("Thumb/build", BM_ThumbBuild)->Arg(workers)->Iterations(3)->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    return true;
}();

}  // namespace
