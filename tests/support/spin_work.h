// Work that takes a given time on the CPU without sleeping, for tests and
// benchmarks of threaded code. Safe from any thread; the calibration runs
// once, on the first call.
#pragma once

#include <chrono>
#include <cstdint>

namespace gnr_spin {

// n steps of arithmetic that cannot be optimised away.
inline std::uint64_t Spin(std::uint64_t n) {
    std::uint64_t x = 1;
    for (std::uint64_t i = 0; i < n; ++i)
        x = x * 6364136223846793005ULL + 1442695040888963407ULL;
    asm volatile("" : : "r"(x));
    return x;
}

// Spin steps per microsecond on this machine and build: the fastest of
// several rounds, so that a round the scheduler interrupted does not make
// every later Burn too short.
inline double IterationsPerUs() {
    static const double perUs = [] {
        volatile std::uint64_t steps = 200000;  // not a constant to the optimiser
        double best = 0;
        for (int round = 0; round < 20; ++round) {
            const auto start = std::chrono::steady_clock::now();
            Spin(steps);
            const double us =
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
            if (us > 0 && steps / us > best)
                best = steps / us;
        }
        return best > 0 ? best : 1000.0;
    }();
    return perUs;
}

// Computes for about `us` microseconds (never sleeps).
inline std::uint64_t Burn(double us) {
    return Spin(static_cast<std::uint64_t>(us * IterationsPerUs()));
}

}  // namespace gnr_spin
