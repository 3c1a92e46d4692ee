// Merging a whole jobs database into an empty one: the library's merge
// against raw SQLite doing the same copy by hand (ATTACH, one transaction,
// INSERT ... SELECT of the same rows with the same re-keying through key
// maps), for a source of N frames with N frame properties.
//
// The source holds one project, job definition, program with four tasks and
// run, five property definitions, N frames and N frame properties; it is
// built once per N. Every iteration merges into two new empty targets, one
// per side; the side that goes first alternates. Counters: rows_per_s of
// each side (frames + properties per second), ratio (library time / raw
// time), peak and extra resident memory of each side.
#include "bench_support.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/merge.h"
#include "gnr_projectdb/schema.h"

#include <chrono>
#include <map>

using namespace gnr_bench;

namespace {

std::string MakeSource(std::int64_t n) {
    static std::map<std::int64_t, std::string> made;
    auto it = made.find(n);
    if (it != made.end()) return it->second;
    const CYxStringW path = NewDatabase("merge_source");
    sqlite3* db = OpenRaw(path);
    Exec(db, "BEGIN");
    Exec(db, "INSERT INTO project(dCTime, dMTime, wszUuid, wszName, wszFolderName) VALUES (2460000.5, 2460000.5, "
             "lower(hex(randomblob(16))), 'bench', 'bench')");
    Exec(db, "INSERT INTO jobdef(iProjKeyRef, wszUuid, wszName) VALUES (1, lower(hex(randomblob(16))), 'def')");
    Exec(db, "INSERT INTO jobprogram(iJobdefKeyRef, wszUuid) VALUES (1, lower(hex(randomblob(16))))");
    for (int t = 0; t < 4; ++t)
        Exec(db, "INSERT INTO jobtask(iJobprogramKeyRef, iOrder, wszName, wszUuid) VALUES (1, " + std::to_string(t) +
                     ", 'task', lower(hex(randomblob(16))))");
    Exec(db, "INSERT INTO jobrun(iProjKeyRef, iJobdefKeyRef, iJobprogramKeyRef, wszUuid, wszName) VALUES (1, 1, 1, "
             "lower(hex(randomblob(16))), 'run')");
    for (int p = 0; p < 5; ++p)
        Exec(db, "INSERT INTO propdef(iType, wszFeatureName, iOnEntity) VALUES (1, 'feature " + std::to_string(p) +
                     "', 1)");
    Exec(db, "WITH RECURSIVE c(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM c WHERE i + 1 < " + std::to_string(n) +
                 ") INSERT INTO frame(iJobrunKeyRef, iJobtaskKeyRef, iFrameIndex, dCTime, iFileFrameIndex) "
                 "SELECT 1, 1 + i % 4, i, 2460000.5 + i * 1e-6, i % 64 FROM c");
    Exec(db, "WITH RECURSIVE c(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM c WHERE i + 1 < " + std::to_string(n) +
                 ") INSERT INTO frameprop(iJobrunKeyRef, iPropdefKeyRef, iFrameIndex, dValue) "
                 "SELECT 1, 1 + i % 5, i, 0.5 * i FROM c");
    Exec(db, "COMMIT");
    sqlite3_close(db);
    return made[n] = path.ToUtf8();
}

// The raw copy: key maps for the parent tables, then every row with its
// references looked up in the maps; column lists from the table definitions.
std::string Columns(const SYxSqliteTableDef& d, const char* prefix, bool withKey) {
    std::string out;
    for (int c = 0; c < d.nCols; ++c) {
        if (!withKey && d.pCols[c].eRole == eYxColPrimaryKey) continue;
        if (!out.empty()) out += ", ";
        out += prefix + CYxStringW(d.pCols[c].wszName).ToUtf8();
    }
    return out;
}

std::string Values(const SYxSqliteTableDef& d, bool mapped) {
    std::string out = mapped ? "m.new" : "";
    for (int c = 0; c < d.nCols; ++c) {
        const SYxSqliteColDef& col = d.pCols[c];
        if (col.eRole == eYxColPrimaryKey) continue;
        if (!out.empty()) out += ", ";
        const std::string name = CYxStringW(col.wszName).ToUtf8();
        if (col.eRole == eYxColReference && col.wszRefTable)
            out += "(SELECT x.new FROM temp.map_" + CYxStringW(col.wszRefTable).ToUtf8() + " x WHERE x.old = s." + name + ")";
        else
            out += "s." + name;
    }
    return out;
}

int RawMerge(const std::string& source, const CYxStringW& target) {
    sqlite3* db = OpenRaw(target);
    Exec(db, "ATTACH DATABASE '" + source + "' AS src");
    Exec(db, "BEGIN IMMEDIATE");
    for (const char* t : {"project", "jobdef", "jobprogram", "jobtask", "jobrun", "propdef", "file", "assayrun"}) {
        const SYxSqliteTableDef& d = *YxProjectDb_Schema_FindJobsTable(CYxStringW::FromUtf8(t));
        const std::string name = t;
        Exec(db, "CREATE TEMP TABLE map_" + name + "(old INTEGER PRIMARY KEY, new INTEGER)");
        Exec(db, "INSERT INTO temp.map_" + name + " SELECT iKey, (SELECT ifnull(max(iKey), 0) FROM main." + name +
                     ") + row_number() OVER (ORDER BY iKey) FROM src." + name);
        Exec(db, "INSERT INTO main." + name + "(" + Columns(d, "", true) + ") SELECT " + Values(d, true) + " FROM src." +
                     name + " s JOIN temp.map_" + name + " m ON m.old = s.iKey");
    }
    for (const char* t : {"frame", "frameprop"}) {
        const SYxSqliteTableDef& d = *YxProjectDb_Schema_FindJobsTable(CYxStringW::FromUtf8(t));
        Exec(db, "INSERT INTO main." + std::string(t) + "(" + Columns(d, "", false) + ") SELECT " + Values(d, false) +
                     " FROM src." + t + " s");
    }
    Exec(db, "COMMIT");
    Exec(db, "DETACH DATABASE src");
    sqlite3_close(db);
    return 0;
}

int LibraryMerge(const std::string& source, const CYxStringW& target) {
    SYxProjectDbMerge_DuplicateOptions o;
    o.hSource = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(source));
    o.hTarget = YxProjectDb_Db_Jobs_Connect(target);
    o.bCopyFolders = false;
    const int rc = YxProjectDb_Merge_Run(o, {}, nullptr);
    YxProjectDb_Db_Disconnect(o.hSource);
    YxProjectDb_Db_Disconnect(o.hTarget);
    return rc;
}

void Remove(const CYxStringW& path) {
    const std::string f = path.ToUtf8();
    std::remove(f.c_str());
    std::remove((f + "-wal").c_str());
    std::remove((f + "-shm").c_str());
}

void BM_MergePair(benchmark::State& state) {
    const std::int64_t n = state.range(0);
    const std::string source = MakeSource(n);
    double seconds[2] = {0, 0};
    SMemory mem[2];
    AlternateSides(state, seconds, [&](int side) {
        const CYxStringW target = NewDatabase(side == 0 ? "merge_library" : "merge_raw");
        mem[side].Start();
        const auto t0 = std::chrono::steady_clock::now();
        const int rc = side == 0 ? LibraryMerge(source, target) : RawMerge(source, target);
        const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        mem[side].Stop();
        if (rc != 0) state.SkipWithError("merge failed");
        Remove(target);
        return s;
    });
    const double rows = 2.0 * n * static_cast<double>(state.iterations());
    const char* names[2] = {"library", "raw"};
    for (int s = 0; s < 2; ++s) {
        state.counters[std::string(names[s]) + "_rows_per_s"] = seconds[s] > 0 ? rows / seconds[s] : 0;
        state.counters[std::string(names[s]) + "_peak_rss_MiB"] = mem[s].peakKb / 1024.0;
        state.counters[std::string(names[s]) + "_extra_rss_MiB"] = mem[s].extraKb / 1024.0;
    }
    if (seconds[1] > 0) state.counters["ratio"] = seconds[0] / seconds[1];
}

const bool kRegistered = [] {
    for (std::int64_t n : {std::int64_t(100000), std::int64_t(1000000)})
        benchmark::RegisterBenchmark("Merge/library_vs_raw", BM_MergePair)
            ->Arg(n)
            ->Iterations(n >= 1000000 ? 2 : 4)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime();
    return true;
}();

}  // namespace
