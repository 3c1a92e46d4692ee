// The processing queue against oneTBB's parallel_pipeline on the same
// three-stage pipeline: a serial in-order input that makes the items, a
// parallel stage that computes on each for a fixed time, and a serial
// in-order output that consumes them (it checks the order and sums the
// results). Both sides allocate one item per element and let at most
// kTokens items be in flight (the queue's capacity, the pipeline's token
// limit).
//
// Threads: the queue runs its one ProcessTransportInOrder stage on N worker
// threads, fed by the benchmark thread; the pipeline runs in a task arena of
// N threads, which serve the input filter too. N is 1 or 2; the work per
// item is 1, 10 or 100 us of computation. Every iteration runs both sides,
// the side that goes first alternating. Counters: items_per_s of each side
// and ratio (queue throughput / pipeline throughput).
#include "bench_support.h"
#include "gnr_projectdb/queue.h"
#include "spin_work.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace {

const int kTokens = 16;

// The output stage: items must arrive as 0, 1, 2, ...
struct SSink {
    std::uint64_t next = 0;
    std::uint64_t misplaced = 0;
    std::uint64_t sum = 0;
    void Take(std::uint64_t sequence, std::uint64_t value) {
        misplaced += sequence != next;
        ++next;
        sum += value;
    }
};

class CBenchItem : public IYxQueueItem {
public:
    CBenchItem(double us, SSink& sink) : m_us(us), m_sink(sink) {}
    int Process(int) override {
        m_value = gnr_spin::Burn(m_us);
        return 0;
    }
    int Transport(int) override {
        m_sink.Take(GetSequence(), m_value);
        return 0;
    }

private:
    double m_us;
    SSink& m_sink;
    std::uint64_t m_value = 0;
};

struct STbbItem {
    double us;
    std::uint64_t sequence;
    std::uint64_t value;
};

// Seconds for n items; negative when a side fails.
double RunQueue(int threads, double us, std::int64_t n, SSink& sink) {
    SYxQueueOptions options;
    options.iCapacity = kTokens;
    SYxQueueStage stage;
    stage.eKind = eYxQueueWorker_ProcessTransportInOrder;
    stage.iThreads = threads;
    options.stages = {stage};
    std::unique_ptr<CYxQueueMaster> queue;
    if (CYxQueueMaster::Create(options, &queue) != 0 || queue->Start() != 0) return -1;
    const auto t0 = std::chrono::steady_clock::now();
    for (std::int64_t i = 0; i < n; ++i)
        if (queue->Push(std::make_unique<CBenchItem>(us, sink)) != 0) return -1;
    if (queue->Wait() != 0) return -1;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double RunPipeline(oneapi::tbb::task_arena& arena, double us, std::int64_t n, SSink& sink) {
    namespace tbb = oneapi::tbb;
    const auto t0 = std::chrono::steady_clock::now();
    arena.execute([&] {
        std::int64_t made = 0;
        tbb::parallel_pipeline(
            kTokens,
            tbb::make_filter<void, STbbItem*>(tbb::filter_mode::serial_in_order,
                                              [&](tbb::flow_control& fc) -> STbbItem* {
                                                  if (made == n) {
                                                      fc.stop();
                                                      return nullptr;
                                                  }
                                                  return new STbbItem{us, static_cast<std::uint64_t>(made++), 0};
                                              }) &
                tbb::make_filter<STbbItem*, STbbItem*>(tbb::filter_mode::parallel,
                                                       [](STbbItem* item) {
                                                           item->value = gnr_spin::Burn(item->us);
                                                           return item;
                                                       }) &
                tbb::make_filter<STbbItem*, void>(tbb::filter_mode::serial_in_order, [&](STbbItem* item) {
                    sink.Take(item->sequence, item->value);
                    delete item;
                }));
    });
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// range(0): microseconds per item; range(1): threads.
void BM_QueueVsPipeline(benchmark::State& state) {
    const double us = static_cast<double>(state.range(0));
    const int threads = static_cast<int>(state.range(1));
    // About 20 ms of work per side and iteration on one thread.
    const std::int64_t n = std::max<std::int64_t>(200, static_cast<std::int64_t>(20000 / us));
    gnr_spin::IterationsPerUs();
    oneapi::tbb::task_arena arena(threads);
    arena.initialize();
    double seconds[2] = {0, 0};
    gnr_bench::AlternateSides(state, seconds, [&](int side) {
        SSink sink;
        const double s = side == 0 ? RunQueue(threads, us, n, sink) : RunPipeline(arena, us, n, sink);
        if (s < 0 || sink.next != static_cast<std::uint64_t>(n) || sink.misplaced != 0)
            state.SkipWithError(side == 0 ? "queue run failed" : "pipeline run failed");
        return s < 0 ? 0 : s;
    });
    const double items = static_cast<double>(n) * static_cast<double>(state.iterations());
    state.counters["queue_items_per_s"] = seconds[0] > 0 ? items / seconds[0] : 0;
    state.counters["tbb_items_per_s"] = seconds[1] > 0 ? items / seconds[1] : 0;
    if (seconds[0] > 0) state.counters["ratio"] = seconds[1] / seconds[0];
}

const bool kRegistered = [] {
    for (std::int64_t us : {1, 10, 100})
        for (std::int64_t threads : {1, 2})
            benchmark::RegisterBenchmark("Queue/queue_vs_tbb_pipeline", BM_QueueVsPipeline)
                ->Args({us, threads})
                ->ArgNames({"us", "threads"})
                ->Iterations(40)
                ->Unit(benchmark::kMillisecond)
                ->UseManualTime();
    return true;
}();

}  // namespace
