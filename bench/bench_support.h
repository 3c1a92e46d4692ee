// Shared pieces of the benchmark suites: the process's resident memory,
// a temporary folder, new jobs databases and raw connections with the
// library's pragmas. Used by the benchmark thread only.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/db.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace gnr_bench {

// ---------------------------------------------------------------- memory

inline long ReadStatusKb(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    const std::string key = std::string(field) + ":";
    while (std::getline(in, line))
        if (line.compare(0, key.size(), key) == 0) return std::atol(line.c_str() + key.size());
    return 0;
}

// Resets the peak resident set (VmHWM) to the current one.
inline void ResetPeakRss() {
    std::ofstream out("/proc/self/clear_refs");
    out << "5";
}

// Peak and extra resident set, the largest over the iterations.
struct SMemory {
    long beforeKb = 0;
    long peakKb = 0;
    long extraKb = 0;
    void Start() {
        ResetPeakRss();
        beforeKb = ReadStatusKb("VmRSS");
    }
    void Stop() {
        const long peak = ReadStatusKb("VmHWM");
        if (peak > peakKb) peakKb = peak;
        if (peak - beforeKb > extraKb) extraKb = peak - beforeKb;
    }
    void Report(benchmark::State& state, double inputBytes) const {
        state.counters["peak_rss_MiB"] = peakKb / 1024.0;
        state.counters["extra_rss_MiB"] = extraKb / 1024.0;
        state.counters["rows_MiB"] = inputBytes / (1024.0 * 1024.0);
    }
};

// ---------------------------------------------------------------- comparisons

// Runs both sides of a comparison in every iteration, the side that goes
// first alternating, so that both see the same machine. side(i) runs side
// i (0 or 1) once and returns its seconds, which are added to seconds[i];
// the iteration's time is both together.
template <class Side>
void AlternateSides(benchmark::State& state, double (&seconds)[2], Side&& side) {
    int turn = 0;
    for (auto _ : state) {
        const int first = turn++ % 2;
        double both = 0;
        for (int k = 0; k < 2; ++k) {
            const int which = k == 0 ? first : 1 - first;
            const double s = side(which);
            seconds[which] += s;
            both += s;
        }
        state.SetIterationTime(both);
    }
}

inline std::string TempFolder() {
    static std::string folder = [] {
        char templ[] = "/tmp/gnr_bench_XXXXXX";
        const char* made = mkdtemp(templ);
        return std::string(made ? made : "/tmp");
    }();
    return folder;
}

inline CYxStringW NewDatabase(const char* tag) {
    static int counter = 0;
    const std::string path = TempFolder() + "/" + tag + std::to_string(++counter) + ".gnrdb";
    const CYxStringW wide = CYxStringW::FromUtf8(path);
    if (YxProjectDb_Db_Jobs_Create(wide) != 0) {
        std::fprintf(stderr, "cannot create %s\n", path.c_str());
        std::exit(1);
    }
    return wide;
}

// Runs SQL on a raw connection; a failure ends the benchmark process.
inline void Exec(sqlite3* db, const std::string& sql) {
    char* err = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
        std::fprintf(stderr, "%s\n  in %s\n", err ? err : "?", sql.c_str());
        std::exit(1);
    }
}

// The pragmas of a read-write connection of the library.
inline sqlite3* OpenRaw(const CYxStringW& path) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.ToUtf8().c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_PRIVATECACHE, nullptr) !=
        SQLITE_OK) {
        std::fprintf(stderr, "cannot open %s\n", path.ToUtf8().c_str());
        std::exit(1);
    }
    sqlite3_busy_timeout(db, 60000);
    sqlite3_exec(db,
                 "PRAGMA legacy_file_format=0;PRAGMA recursive_triggers=1;PRAGMA foreign_keys=1;"
                 "PRAGMA journal_mode=wal;PRAGMA synchronous=normal;",
                 nullptr, nullptr, nullptr);
    return db;
}

}  // namespace gnr_bench
