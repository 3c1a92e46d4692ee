// A three-term search expression over a run of 1M frames with five
// properties each (5M frameprop rows): the library's compiled statement
// (YxProjectDb_Search_Frames, parse and compile included) against a
// hand-written SQL join over the same file and the same indexes.
//
// The file is built once. Every iteration runs both sides; the side that
// goes first alternates. Both sides must find the same frames. Counters:
// each side's milliseconds per query, ratio (library time / hand-written
// time), the number of frames found.
#include "bench_support.h"
#include "gnr_projectdb/search.h"

#include <chrono>
#include <vector>

using namespace gnr_bench;

namespace {

const std::int64_t kFrames = 1000000;

// One run of kFrames frames; property p of frame i has a value in 0..999
// from a multiplicative hash with a factor of its own per property, so that
// the terms select independently of each other.
CYxStringW MakeRun() {
    static const CYxStringW path = [] {
        const CYxStringW p = NewDatabase("search");
        sqlite3* db = OpenRaw(p);
        Exec(db, "BEGIN");
        Exec(db, "INSERT INTO project(wszUuid, wszName, wszFolderName) VALUES (lower(hex(randomblob(16))), 'b', 'b')");
        Exec(db, "INSERT INTO jobdef(iProjKeyRef, wszUuid, wszName) VALUES (1, lower(hex(randomblob(16))), 'def')");
        Exec(db, "INSERT INTO jobprogram(iJobdefKeyRef, wszUuid) VALUES (1, lower(hex(randomblob(16))))");
        Exec(db, "INSERT INTO jobrun(iProjKeyRef, iJobdefKeyRef, iJobprogramKeyRef, wszUuid, wszName) VALUES (1, 1, 1, "
                 "lower(hex(randomblob(16))), 'run')");
        for (int f = 0; f < 5; ++f)
            Exec(db, "INSERT INTO propdef(iType, wszFeatureName, wszGroupName, iOnEntity) VALUES (1, 'feature " +
                         std::to_string(f) + "', 'bench', 1)");
        const std::string n = std::to_string(kFrames);
        Exec(db, "WITH RECURSIVE c(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM c WHERE i + 1 < " + n +
                     ") INSERT INTO frame(iJobrunKeyRef, iFrameIndex, dCTime) SELECT 1, i, 2460000.5 + i * 1e-6 FROM c");
        Exec(db, "WITH RECURSIVE c(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM c WHERE i + 1 < " + n +
                     ") INSERT INTO frameprop(iJobrunKeyRef, iPropdefKeyRef, iFrameIndex, dValue) "
                     "SELECT 1, p.iKey, c.i, ((c.i * 2654435761) % 1000003 * (p.iKey * 7919 + 13)) % 1000003 % 1000 "
                     "FROM c, propdef p");
        Exec(db, "COMMIT");
        Exec(db, "PRAGMA wal_checkpoint(TRUNCATE)");
        sqlite3_close(db);
        return p;
    }();
    return path;
}

const wchar_t* kExpression = L"\"feature 0\" > 600 and bench.\"feature 1\" < 300 and \"feature 2\" between 100 and 500";

// The same question as a person would write it, knowing the property keys:
// one range of the (iJobrunKeyRef, iPropdefKeyRef, dValue) index per term,
// intersected. (The three-way self-join of frameprop on the frame index is
// no competitor: without ANALYZE statistics SQLite nests the three range
// scans inside each other.)
const char* kHandWritten =
    "SELECT iFrameIndex FROM frameprop WHERE iJobrunKeyRef=1 AND iPropdefKeyRef=1 AND dValue>600 "
    "INTERSECT SELECT iFrameIndex FROM frameprop WHERE iJobrunKeyRef=1 AND iPropdefKeyRef=2 AND dValue<300 "
    "INTERSECT SELECT iFrameIndex FROM frameprop WHERE iJobrunKeyRef=1 AND iPropdefKeyRef=3 "
    "AND dValue BETWEEN 100 AND 500 "
    "ORDER BY 1";

int HandWritten(sqlite3* db, std::vector<std::int32_t>& out) {
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db, kHandWritten, -1, &s, nullptr) != SQLITE_OK) return 1;
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW) out.push_back(sqlite3_column_int(s, 0));
    sqlite3_finalize(s);
    return rc == SQLITE_DONE ? 0 : rc;
}

void PrintPlan(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db, ("EXPLAIN QUERY PLAN " + sql).c_str(), -1, &s, nullptr) != SQLITE_OK) return;
    while (sqlite3_step(s) == SQLITE_ROW)
        std::fprintf(stderr, "    %s\n", reinterpret_cast<const char*>(sqlite3_column_text(s, 3)));
    sqlite3_finalize(s);
}

void BM_SearchThreeTerms(benchmark::State& state) {
    const CYxStringW path = MakeRun();
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(path);
    sqlite3* raw = OpenRaw(path);
    if (!h) {
        state.SkipWithError("cannot connect");
        return;
    }
    static bool planned = false;
    if (!planned) {
        planned = true;
        CYxStringW sql;
        YxProjectDb_Search_Explain(kExpression, false, &sql);
        std::fprintf(stderr, "  compiled:\n");
        PrintPlan(raw, sql.ToUtf8());
        std::fprintf(stderr, "  hand-written:\n");
        PrintPlan(raw, kHandWritten);
    }
    double seconds[2] = {0, 0};
    std::size_t found = 0;
    int turn = 0;
    for (auto _ : state) {
        const int first = turn++ % 2;
        std::vector<std::int32_t> result[2];
        double both = 0;
        for (int k = 0; k < 2; ++k) {
            const int side = k == 0 ? first : 1 - first;
            const auto t0 = std::chrono::steady_clock::now();
            const int rc = side == 0 ? YxProjectDb_Search_Frames(h, 1, kExpression, result[0])
                                     : HandWritten(raw, result[1]);
            const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
            if (rc != 0) state.SkipWithError("query failed");
            seconds[side] += s;
            both += s;
        }
        if (result[0] != result[1]) state.SkipWithError("the two sides found different frames");
        found = result[0].size();
        state.SetIterationTime(both);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["library_ms"] = 1000 * seconds[0] / n;
    state.counters["handwritten_ms"] = 1000 * seconds[1] / n;
    if (seconds[1] > 0) state.counters["ratio"] = seconds[0] / seconds[1];
    state.counters["frames_found"] = static_cast<double>(found);
    sqlite3_close(raw);
    YxProjectDb_Db_Disconnect(h);
}

BENCHMARK(BM_SearchThreeTerms)->Iterations(6)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace
