// Sample holders: stage point -> element on the 1536-well plate (stage to
// holder through the inverse alignment, then the grid search), and the time
// to install the built-in catalog into a new jobs database.
//
// Lookups: 1M stage points spread over the plate and a few millimetres
// around it, through an alignment turned by 1.3 degrees, scaled by 1.004 and
// offset; the counter lookups_per_s counts points, hits the share that
// landed in a well.
#include "framework/yxfilesystem.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/holders.h"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <unistd.h>

namespace {

const SYxHolderEntry& Plate1536() {
    for (const SYxHolderEntry& e : YxHolder_Catalog())
        if (e.wszType == L"1536-well plate") return e;
    return YxHolder_Catalog().front();
}

void BM_StagePointToElement1536(benchmark::State& state) {
    const SYxHolderLayout& layout = Plate1536().layout;
    const SYxHolderAlignment m = YxHolder_MakeAlignment(1.3, 1.004, 41250.5, -18020.25);
    SYxHolderAlignment inv;
    if (YxHolder_InvertAlignment(m, &inv) != 0) {
        state.SkipWithError("alignment");
        return;
    }
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> ux(-3, layout.dWidth + 3), uy(-3, layout.dHeight + 3);
    std::vector<SYxHolderPoint> stage(1 << 20);
    for (SYxHolderPoint& p : stage) p = YxHolder_HolderToStage(m, ux(rng), uy(rng));
    std::int64_t hits = 0;
    for (auto _ : state) {
        for (const SYxHolderPoint& s : stage) {
            const SYxHolderPoint h = YxHolder_HolderToStage(inv, s.x, s.y);
            hits += YxHolder_FindElement(layout, h.x, h.y) >= 0;
        }
        benchmark::ClobberMemory();
    }
    const double lookups = static_cast<double>(state.iterations()) * static_cast<double>(stage.size());
    state.counters["lookups_per_s"] = benchmark::Counter(lookups, benchmark::Counter::kIsRate);
    state.counters["hits"] = static_cast<double>(hits) / lookups;
}
BENCHMARK(BM_StagePointToElement1536)->Unit(benchmark::kMillisecond);

// CreateWithUpgrades (schema + catalog) against Create (schema alone): the
// difference is the catalog's installation.
void BM_CreateFile(benchmark::State& state) {
    const bool withCatalog = state.range(0) != 0;
    char dirTemplate[] = "/tmp/gnr_bench_holders_XXXXXX";
    const char* dir = mkdtemp(dirTemplate);
    if (!dir) {
        state.SkipWithError("mkdtemp");
        return;
    }
    int n = 0;
    for (auto _ : state) {
        const CYxStringW path = CYxStringW::FromUtf8(std::string(dir) + "/f" + std::to_string(n++) + ".db");
        const int rc = withCatalog ? YxProjectDb_Db_Jobs_CreateWithUpgrades(path) : YxProjectDb_Db_Jobs_Create(path);
        if (rc != 0) state.SkipWithError("create failed");
    }
    YxFs_DeleteWithContents(CYxStringW::FromUtf8(dir));
    state.SetLabel(withCatalog ? "CreateWithUpgrades (schema + catalog)" : "Create (schema only)");
}
BENCHMARK(BM_CreateFile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace
