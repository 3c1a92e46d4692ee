// Bulk inserts of frames and frame properties: the library's InsertMany
// against the raw SQLite C API (one prepared statement, one transaction) on
// the same schema and file settings, for 100k and 1M rows.
//
// Each side works on its own database created by YxProjectDb_Db_Jobs_Create;
// the library side is connected with YxProjectDb_Db_Jobs_Connect, the raw
// side opens the same kind of file with the same pragmas. Every iteration
// inserts into a new run on both sides, so the tables grow the same way; the
// side that goes first alternates between iterations.
//
// Counters per side (library_..., raw_...): rows_per_s; peak_rss_MiB (the
// process's peak resident set during an insert, reset before it through
// /proc/self/clear_refs); extra_rss_MiB (that peak minus the resident set
// just before the insert, i.e. what the insert itself needed beyond the
// caller's rows), both the largest over the iterations. rows_MiB: the size
// of the caller's row vector; ratio: library / raw rows per second, also
// printed at the end per table and row count.
#include "framework/yxfilesystem.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "bench_support.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

using namespace gnr_bench;

namespace {

// The parents every row points at, inserted through a library connection.
struct SParents {
    std::int64_t runKey = 0;
    std::int64_t propdefKey = 0;
};

SParents AddParents(YxProjectDbHandle h, int serial) {
    SParents p;
    SYxProjectDbRow_jobrun run;
    run.wszName = CYxStringW::Format(L"bench run %d", serial);
    YxProjectDb_Row_Insert(h, run, &p.runKey);
    SYxProjectDbRow_propdef def;
    def.iType = 1;
    def.wszFeatureName = CYxStringW::Format(L"feature %d", serial);
    def.iOnEntity = 1;
    YxProjectDb_Row_Insert(h, def, &p.propdefKey);
    return p;
}

std::vector<SYxProjectDbRow_frame> MakeFrames(std::int64_t runKey, std::int64_t n) {
    std::vector<SYxProjectDbRow_frame> rows(static_cast<std::size_t>(n));
    for (std::int64_t i = 0; i < n; ++i)
        rows[static_cast<std::size_t>(i)] = {0, runKey, 0, static_cast<std::int32_t>(i), 2460000.5 + i * 1e-6, 0,
                                             static_cast<std::int32_t>(i % 64)};
    return rows;
}

std::vector<SYxProjectDbRow_frameprop> MakeProps(std::int64_t runKey, std::int64_t propdefKey, std::int64_t n) {
    std::vector<SYxProjectDbRow_frameprop> rows(static_cast<std::size_t>(n));
    for (std::int64_t i = 0; i < n; ++i)
        rows[static_cast<std::size_t>(i)] = {0, runKey, 0, propdefKey, static_cast<std::int32_t>(i), 0.5 * i};
    return rows;
}

// ---------------------------------------------------------------- raw side

void BindRef(sqlite3_stmt* s, int pos, std::int64_t key) {
    if (key == 0) sqlite3_bind_null(s, pos);
    else sqlite3_bind_int64(s, pos, key);
}

// One prepared statement, one transaction, one step per row: the hand-written
// loop that the library's many-row insert is measured against.
template <class Row, class Bind>
int RawInsert(sqlite3* db, const char* sql, std::vector<Row>& rows, Bind bind) {
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &s, nullptr);
    sqlite3_exec(db, "BEGIN TRANSACTION;", nullptr, nullptr, nullptr);
    int rc = SQLITE_OK;
    for (auto& r : rows) {
        bind(s, r);
        const int step = sqlite3_step(s);
        r.iKey = step == SQLITE_DONE ? sqlite3_last_insert_rowid(db) : 0;
        if (step != SQLITE_DONE && rc == SQLITE_OK) rc = step;
        sqlite3_reset(s);
    }
    sqlite3_exec(db, "COMMIT TRANSACTION;", nullptr, nullptr, nullptr);
    sqlite3_finalize(s);
    return rc;
}

__attribute__((noinline)) int RawInsertFrames(sqlite3* db, std::vector<SYxProjectDbRow_frame>& rows) {
    return RawInsert(db,
                     "INSERT INTO frame (iJobrunKeyRef, iJobtaskKeyRef, iFrameIndex, dCTime, iFileKeyRef, "
                     "iFileFrameIndex) VALUES (?, ?, ?, ?, ?, ?)",
                     rows, [](sqlite3_stmt* s, const SYxProjectDbRow_frame& r) {
                         BindRef(s, 1, r.iJobrunKeyRef);
                         BindRef(s, 2, r.iJobtaskKeyRef);
                         sqlite3_bind_int(s, 3, r.iFrameIndex);
                         sqlite3_bind_double(s, 4, r.dCTime);
                         BindRef(s, 5, r.iFileKeyRef);
                         sqlite3_bind_int(s, 6, r.iFileFrameIndex);
                     });
}

__attribute__((noinline)) int RawInsertProps(sqlite3* db, std::vector<SYxProjectDbRow_frameprop>& rows) {
    return RawInsert(db,
                     "INSERT INTO frameprop (iJobrunKeyRef, iAssayrunKeyRef, iPropdefKeyRef, iFrameIndex, dValue) "
                     "VALUES (?, ?, ?, ?, ?)",
                     rows, [](sqlite3_stmt* s, const SYxProjectDbRow_frameprop& r) {
                         BindRef(s, 1, r.iJobrunKeyRef);
                         BindRef(s, 2, r.iAssayrunKeyRef);
                         BindRef(s, 3, r.iPropdefKeyRef);
                         sqlite3_bind_int(s, 4, r.iFrameIndex);
                         sqlite3_bind_double(s, 5, r.dValue);
                     });
}

// ---------------------------------------------------------------- benchmarks

std::map<std::string, double> g_rates;  // "<table>/<rows>/<side>" -> rows per second

enum ESide { eLibrary = 0, eRaw = 1 };
enum ETable { eFrame, eFrameprop };
const char* const kSideNames[2] = {"library", "raw"};

// One side: its own database file, the library's connection (which also
// writes the parent rows) and, for the raw side, a raw connection.
struct SSide {
    CYxStringW path;
    YxProjectDbHandle h = 0;
    sqlite3* raw = nullptr;
    int serial = 0;
    double seconds = 0.0;
    std::int64_t rows = 0;
    SMemory mem;
};

// One insert of n rows into a new run; false on failure.
bool RunOnce(SSide& side, ESide which, ETable table, std::int64_t n) {
    const SParents parents = AddParents(side.h, ++side.serial);
    std::vector<SYxProjectDbRow_frame> frames;
    std::vector<SYxProjectDbRow_frameprop> props;
    if (table == eFrame) frames = MakeFrames(parents.runKey, n);
    else props = MakeProps(parents.runKey, parents.propdefKey, n);
    side.mem.Start();
    const auto t0 = std::chrono::steady_clock::now();
    int rc;
    if (table == eFrame)
        rc = which == eLibrary ? YxProjectDb_Frame_InsertMany(side.h, frames) : RawInsertFrames(side.raw, frames);
    else
        rc = which == eLibrary ? YxProjectDb_Frameprop_InsertMany(side.h, props) : RawInsertProps(side.raw, props);
    side.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    side.mem.Stop();
    side.rows += n;
    const std::int64_t lastKey = table == eFrame ? frames.back().iKey : props.back().iKey;
    return rc == 0 && lastKey != 0;
}

// Both sides in one benchmark, taking turns at going first so that neither
// profits from running after the other. The benchmark's time is the sum of
// both sides' insert times; the counters give each side's rate and memory.
void BM_InsertPair(benchmark::State& state, ETable table) {
    const std::int64_t n = state.range(0);
    SSide sides[2];
    for (int s = 0; s < 2; ++s) {
        sides[s].path = NewDatabase(kSideNames[s]);
        sides[s].h = YxProjectDb_Db_Jobs_Connect(sides[s].path);
        if (s == eRaw) sides[s].raw = OpenRaw(sides[s].path);
    }
    int turn = 0;
    for (auto _ : state) {
        const double before = sides[0].seconds + sides[1].seconds;
        const int first = turn++ % 2;
        bool ok = RunOnce(sides[first], static_cast<ESide>(first), table, n);
        ok = RunOnce(sides[1 - first], static_cast<ESide>(1 - first), table, n) && ok;
        state.SetIterationTime(sides[0].seconds + sides[1].seconds - before);
        if (!ok) state.SkipWithError("insert failed");
    }
    const std::string base = std::string(table == eFrame ? "frame" : "frameprop") + "/" + std::to_string(n) + "/";
    const double inputBytes =
        static_cast<double>(n) * (table == eFrame ? sizeof(SYxProjectDbRow_frame) : sizeof(SYxProjectDbRow_frameprop));
    state.counters["rows_MiB"] = inputBytes / (1024.0 * 1024.0);
    for (int s = 0; s < 2; ++s) {
        const double rate = sides[s].seconds > 0 ? sides[s].rows / sides[s].seconds : 0.0;
        g_rates[base + kSideNames[s]] = rate;
        const std::string name = kSideNames[s];
        state.counters[name + "_rows_per_s"] = rate;
        state.counters[name + "_peak_rss_MiB"] = sides[s].mem.peakKb / 1024.0;
        state.counters[name + "_extra_rss_MiB"] = sides[s].mem.extraKb / 1024.0;
    }
    if (g_rates[base + "raw"] > 0) state.counters["ratio"] = g_rates[base + "library"] / g_rates[base + "raw"];
    for (SSide& side : sides) {
        if (side.raw) sqlite3_close(side.raw);
        YxProjectDb_Db_Disconnect(side.h);
        const std::string file = side.path.ToUtf8();
        std::remove(file.c_str());
        std::remove((file + "-wal").c_str());
        std::remove((file + "-shm").c_str());
    }
}

void Register() {
    for (std::int64_t n : {std::int64_t(100000), std::int64_t(1000000)}) {
        benchmark::RegisterBenchmark("Frame_InsertMany/library_vs_raw", BM_InsertPair, eFrame)
            ->Arg(n)
            ->Iterations(n >= 1000000 ? 2 : 6)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime();
        benchmark::RegisterBenchmark("Frameprop_InsertMany/library_vs_raw", BM_InsertPair, eFrameprop)
            ->Arg(n)
            ->Iterations(n >= 1000000 ? 2 : 6)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime();
    }
}

void PrintRatios() {
    std::printf("\nlibrary / raw (rows per second):\n");
    for (const char* table : {"frame", "frameprop"})
        for (const char* n : {"100000", "1000000"}) {
            const std::string base = std::string(table) + "/" + n + "/";
            const auto lib = g_rates.find(base + "library");
            const auto raw = g_rates.find(base + "raw");
            if (lib == g_rates.end() || raw == g_rates.end() || raw->second <= 0) continue;
            std::printf("  %-10s %8s rows: library %10.0f/s  raw %10.0f/s  ratio %.3f\n", table, n, lib->second,
                        raw->second, lib->second / raw->second);
        }
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("process peak RSS (getrusage): %.1f MiB\n", usage.ru_maxrss / 1024.0);
}

}  // namespace

int main(int argc, char** argv) {
    Register();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    PrintRatios();
    return 0;
}
