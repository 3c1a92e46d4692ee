// Single-row operations: the library against raw SQLite statements that are
// prepared once and kept across calls, on the same file (WAL, synchronous
// normal), alternating in one run.
//
//   Reads/GetOneFrame    YxProjectDb_Row_GetOne of a frame by key
//   Reads/GetOneJobrun   YxProjectDb_Jobrun_GetOne by key (texts read too)
//   Reads/UpdateRow      YxProjectDb_Row_Update of one frame (one commit each)
//   Reads/InsertRow      YxProjectDb_Frame_Insert of one frame (one commit each)
//
// Each repetition makes kCalls calls per side, in blocks of kBlock that
// alternate between the sides (the side that starts alternates too), and
// reports microseconds per call for each side (library_us, raw_us) and their
// ratio. Run with --benchmark_repetitions=5 or more and read the medians.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobrun.h"
#include "bench_support.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

using namespace gnr_bench;

namespace {

constexpr int kCalls = 20000;
constexpr int kBlock = 500;
constexpr int kFrames = 10000;
constexpr int kRuns = 1000;

using Clock = std::chrono::steady_clock;

// One file, a library handle and a raw connection on it, and rows to read.
struct SFixture {
    CYxStringW path;
    YxProjectDbHandle h = 0;
    sqlite3* raw = nullptr;
    std::vector<std::int64_t> frames;
    std::vector<std::int64_t> runs;
    std::int64_t libRun = 0;  // runs the inserts of each side go to
    std::int64_t rawRun = 0;
    int libIndex = 0;
    int rawIndex = 0;

    SFixture() {
        path = NewDatabase("reads");
        h = YxProjectDb_Db_Jobs_Connect(path);
        for (int i = 0; i < kRuns; ++i) {
            SYxProjectDbRow_jobrun run;
            run.iFinishFlags = i;
            run.wszName = CYxStringW::Format(L"bench run %d", i);
            run.wszDesc = L"a run of the single-row benchmark";
            run.wszFolderName = CYxStringW::Format(L"2026-11-23_run_%d", i);
            std::int64_t key = 0;
            YxProjectDb_Row_Insert(h, run, &key);
            runs.push_back(key);
        }
        std::vector<SYxProjectDbRow_frame> rows;
        for (int i = 0; i < kFrames; ++i)
            rows.push_back({0, runs[0], 0, i, 2460000.5 + i * 1e-6, 0, i % 64});
        YxProjectDb_Row_InsertMany(h, rows);
        for (const auto& r : rows) frames.push_back(r.iKey);
        libRun = runs[1];
        rawRun = runs[2];
        raw = OpenRaw(path);
    }
    ~SFixture() {
        sqlite3_close(raw);
        YxProjectDb_Db_Disconnect(h);
    }
};

SFixture& Fixture() {
    static SFixture f;
    return f;
}

// A raw statement kept across calls.
struct SRawStmt {
    sqlite3_stmt* s = nullptr;
    SRawStmt(sqlite3* db, const char* sql) {
        if (sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr) != SQLITE_OK) {
            std::fprintf(stderr, "prepare: %s\n", sqlite3_errmsg(db));
            std::exit(1);
        }
    }
    ~SRawStmt() { sqlite3_finalize(s); }
};

struct SRawFrame {
    std::int64_t key, run, task;
    int index;
    double cTime;
    std::int64_t file;
    int fileIndex;
};

struct SRawRun {
    std::int64_t key, proj, def, program, flags;
    double cTime, mTime, fTime;
    std::string uuid, name, desc, folder, message;
};

std::string Text(sqlite3_stmt* s, int col) {
    const auto* t = reinterpret_cast<const char*>(sqlite3_column_text(s, col));
    return t ? std::string(t, static_cast<std::size_t>(sqlite3_column_bytes(s, col))) : std::string();
}

void BindRef(sqlite3_stmt* s, int pos, std::int64_t key) {
    if (key == 0) sqlite3_bind_null(s, pos);
    else sqlite3_bind_int64(s, pos, key);
}

// Binds the six non-key columns of a frame to positions 1 to 6.
void BindRawFrame(sqlite3_stmt* s, std::int64_t run, int index, int fileIndex) {
    BindRef(s, 1, run);
    BindRef(s, 2, 0);
    sqlite3_bind_int(s, 3, index);
    sqlite3_bind_double(s, 4, 2460000.5 + index * 1e-6);
    BindRef(s, 5, 0);
    sqlite3_bind_int(s, 6, fileIndex);
}

// Runs kCalls calls per side in alternating blocks; libCall(i) and rawCall(i)
// make call number i of their side.
template <class L, class R>
void Alternate(benchmark::State& state, L&& libCall, R&& rawCall) {
    static int round = 0;
    for (auto _ : state) {
        double libSec = 0, rawSec = 0;
        const bool libFirst = (round++ % 2) == 0;
        for (int block = 0; block < kCalls / kBlock; ++block) {
            for (int side = 0; side < 2; ++side) {
                const bool lib = (side == 0) == libFirst;
                const auto t0 = Clock::now();
                for (int i = block * kBlock; i < (block + 1) * kBlock; ++i) {
                    if (lib) libCall(i);
                    else rawCall(i);
                }
                const double sec = std::chrono::duration<double>(Clock::now() - t0).count();
                (lib ? libSec : rawSec) += sec;
            }
        }
        state.counters["library_us"] = libSec * 1e6 / kCalls;
        state.counters["raw_us"] = rawSec * 1e6 / kCalls;
        state.counters["ratio"] = libSec / rawSec;
    }
}

// Reads rows by key, spread over the keys: libRead(key) through the library,
// rawRead(stmt) from the stepped raw statement; both return a value to sum.
template <class L, class R>
void ReadByKey(benchmark::State& state, const char* sql, const std::vector<std::int64_t>& keys, L&& libRead,
               R&& rawRead) {
    SRawStmt sel(Fixture().raw, sql);
    const std::size_t n = keys.size();
    std::int64_t sum = 0;
    Alternate(
        state, [&](int i) { sum += libRead(keys[(static_cast<std::size_t>(i) * 7919) % n]); },
        [&](int i) {
            sqlite3_bind_int64(sel.s, 1, keys[(static_cast<std::size_t>(i) * 7919) % n]);
            if (sqlite3_step(sel.s) == SQLITE_ROW) sum += rawRead(sel.s);
            sqlite3_reset(sel.s);
        });
    benchmark::DoNotOptimize(sum);
}

void GetOneFrame(benchmark::State& state) {
    SFixture& f = Fixture();
    ReadByKey(
        state,
        "SELECT iKey, iJobrunKeyRef, iJobtaskKeyRef, iFrameIndex, dCTime, iFileKeyRef, iFileFrameIndex "
        "FROM frame WHERE iKey=?",
        f.frames,
        [&](std::int64_t key) {
            SYxProjectDbRow_frame row;
            YxProjectDb_Row_GetOne(f.h, key, row);
            return row.iFrameIndex;
        },
        [](sqlite3_stmt* s) {
            const SRawFrame row = {sqlite3_column_int64(s, 0), sqlite3_column_int64(s, 1), sqlite3_column_int64(s, 2),
                                   sqlite3_column_int(s, 3),   sqlite3_column_double(s, 4), sqlite3_column_int64(s, 5),
                                   sqlite3_column_int(s, 6)};
            return row.index;
        });
}

void GetOneJobrun(benchmark::State& state) {
    SFixture& f = Fixture();
    ReadByKey(
        state,
        "SELECT iKey, iProjKeyRef, iJobdefKeyRef, iJobprogramKeyRef, iFinishFlags, dCTime, dMTime, dFTime, "
        "wszUuid, wszName, wszDesc, wszFolderName, wszFinishMessage FROM jobrun WHERE iKey=?",
        f.runs,
        [&](std::int64_t key) {
            SYxProjectDbRow_jobrun row;
            YxProjectDb_Jobrun_GetOne(f.h, key, row);
            return static_cast<std::int64_t>(row.wszName.GetLength());
        },
        [](sqlite3_stmt* s) {
            SRawRun row{};
            row.key = sqlite3_column_int64(s, 0);
            row.proj = sqlite3_column_int64(s, 1);
            row.def = sqlite3_column_int64(s, 2);
            row.program = sqlite3_column_int64(s, 3);
            row.flags = sqlite3_column_int64(s, 4);
            row.cTime = sqlite3_column_double(s, 5);
            row.mTime = sqlite3_column_double(s, 6);
            row.fTime = sqlite3_column_double(s, 7);
            row.uuid = Text(s, 8);
            row.name = Text(s, 9);
            row.desc = Text(s, 10);
            row.folder = Text(s, 11);
            row.message = Text(s, 12);
            return static_cast<std::int64_t>(row.name.size());
        });
}

void UpdateRow(benchmark::State& state) {
    SFixture& f = Fixture();
    SRawStmt upd(f.raw,
                 "UPDATE frame SET iJobrunKeyRef=?, iJobtaskKeyRef=?, iFrameIndex=?, dCTime=?, iFileKeyRef=?, "
                 "iFileFrameIndex=? WHERE iKey=?");
    // Each side writes its own half of the frames.
    Alternate(
        state,
        [&](int i) {
            const int n = (i * 2) % kFrames;
            SYxProjectDbRow_frame row{f.frames[n], f.runs[0], 0, n, 2460000.5 + n * 1e-6, 0, i % 64};
            YxProjectDb_Row_Update(f.h, row);
        },
        [&](int i) {
            const int n = (i * 2 + 1) % kFrames;
            sqlite3_stmt* s = upd.s;
            BindRawFrame(s, f.runs[0], n, i % 64);
            sqlite3_bind_int64(s, 7, f.frames[n]);
            sqlite3_step(s);
            sqlite3_reset(s);
        });
}

void InsertRow(benchmark::State& state) {
    SFixture& f = Fixture();
    SRawStmt ins(f.raw,
                 "INSERT INTO frame (iJobrunKeyRef, iJobtaskKeyRef, iFrameIndex, dCTime, iFileKeyRef, "
                 "iFileFrameIndex) VALUES (?, ?, ?, ?, ?, ?)");
    std::int64_t keys = 0;
    Alternate(
        state,
        [&](int) {
            std::int64_t key = 0;
            const int n = f.libIndex++;
            YxProjectDb_Frame_Insert(f.h, f.libRun, 0, n, 2460000.5 + n * 1e-6, 0, n % 64, &key);
            keys += key;
        },
        [&](int) {
            const int n = f.rawIndex++;
            sqlite3_stmt* s = ins.s;
            BindRawFrame(s, f.rawRun, n, n % 64);
            if (sqlite3_step(s) == SQLITE_DONE) keys += sqlite3_last_insert_rowid(f.raw);
            sqlite3_reset(s);
        });
    benchmark::DoNotOptimize(keys);
}

}  // namespace

BENCHMARK(GetOneFrame)->Name("Reads/GetOneFrame")->Iterations(1)->Repetitions(5)->Unit(benchmark::kMillisecond);
BENCHMARK(GetOneJobrun)->Name("Reads/GetOneJobrun")->Iterations(1)->Repetitions(5)->Unit(benchmark::kMillisecond);
BENCHMARK(UpdateRow)->Name("Reads/UpdateRow")->Iterations(1)->Repetitions(5)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertRow)->Name("Reads/InsertRow")->Iterations(1)->Repetitions(5)->Unit(benchmark::kMillisecond);
