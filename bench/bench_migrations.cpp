// The whole upgrade of a jobs database from version 10 to 136 through the
// driver (every migration step, the silent step, the index check, VACUUM and
// ANALYZE), on a file of 100k frames: 100k rows each in frame, loopindex,
// frameprop and frametag, a few rows in every other table. The file is built
// once from the schema history and copied before every iteration (copying is
// not timed).
#include "gnr_projectdb/upgrade.h"

// The file builder of the migration tests, compiled into the benchmark.
#include "tests/support/migration_fixture.cpp"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

const std::string& TemplateFile() {
    static const std::string path = [] {
        const std::string file =
            (std::filesystem::temp_directory_path() / ("gnr_bench_migrations_" + std::to_string(getpid()) + ".db"))
                .string();
        SYxMigrationRows rows;
        for (const wchar_t* table : {L"frame", L"loopindex", L"frameprop", L"frametag"})
            rows.perTable[table] = 100000;
        std::string error;
        if (YxMigrationFixture_CreateFile(file, 10, rows, &error) != 0) {
            std::fprintf(stderr, "cannot build the version-10 file: %s\n", error.c_str());
            std::abort();
        }
        return file;
    }();
    return path;
}

void BM_UpgradeChainFrom10(benchmark::State& state) {
    const std::string source = TemplateFile();
    const std::string work = source + ".work";
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::copy_file(source, work, std::filesystem::copy_options::overwrite_existing);
        state.ResumeTiming();
        const int rc = YxProjectDb_Db_Jobs_Upgrade(CYxStringW::FromUtf8(work), nullptr);
        if (rc != 0) state.SkipWithError("upgrade failed");
    }
    std::filesystem::remove(work);
    state.counters["frames"] = 100000;
}
BENCHMARK(BM_UpgradeChainFrom10)->Unit(benchmark::kMillisecond)->Iterations(3);

// Removes the template file when the benchmark program ends.
struct SYxTemplateCleanup {
    ~SYxTemplateCleanup() {
        const std::string prefix = "gnr_bench_migrations_" + std::to_string(getpid());
        std::error_code ec;
        std::filesystem::remove(std::filesystem::temp_directory_path() / (prefix + ".db"), ec);
    }
} g_templateCleanup;

}  // namespace
