// Aggregates of spread: variance, stdev, stderror_of_mean and coeff_of_var.
// One step, Welford's running algorithm, keeps mean, the sum of squared
// deviations (M2) and the count; it stays accurate for values with a large
// common offset, where summing squares would cancel. NULL values are
// skipped; other values are read as doubles.
//
// Final steps, n the count: no value gives NULL, one value 0.0, otherwise
//   variance         = M2 / (n - 1)      (sample variance)
//   stdev            = sqrt(variance)
//   stderror_of_mean = stdev / sqrt(n)
//   coeff_of_var     = stdev / mean, and 1.0 when the mean is exactly 0.
// The 1.0 for a zero mean is what stored analyses expect; keep it.
#include "sqlfunctions_internal.h"

#include <sqlite3.h>

#include <cassert>
#include <cmath>
#include <cstdint>

namespace {

struct SWelfordState {
    double mean;
    double m2;
    std::int64_t n;
};

void WelfordStep(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc < 1 || sqlite3_value_type(argv[0]) == SQLITE_NULL) return;
    auto* s = static_cast<SWelfordState*>(sqlite3_aggregate_context(ctx, sizeof(SWelfordState)));
    if (!s) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    const double x = sqlite3_value_double(argv[0]);
    ++s->n;
    const double delta = x - s->mean;
    s->mean += delta / static_cast<double>(s->n);
    s->m2 += (x - s->mean) * delta;
}

// The state of a group with at least one value, or null after setting the
// result for the groups of no value (NULL) and of one value (0.0).
const SWelfordState* StateOfTwoOrMore(sqlite3_context* ctx) {
    const auto* s = static_cast<SWelfordState*>(sqlite3_aggregate_context(ctx, 0));
    if (!s || s->n == 0) {
        sqlite3_result_null(ctx);
        return nullptr;
    }
    if (s->n == 1) {
        sqlite3_result_double(ctx, 0.0);
        return nullptr;
    }
    assert(s->n >= 2);
    return s;
}

double SampleVariance(const SWelfordState& s) { return s.m2 / static_cast<double>(s.n - 1); }

void VarianceFinal(sqlite3_context* ctx) {
    if (const SWelfordState* s = StateOfTwoOrMore(ctx)) sqlite3_result_double(ctx, SampleVariance(*s));
}

void StdevFinal(sqlite3_context* ctx) {
    if (const SWelfordState* s = StateOfTwoOrMore(ctx)) sqlite3_result_double(ctx, std::sqrt(SampleVariance(*s)));
}

void StdErrorFinal(sqlite3_context* ctx) {
    if (const SWelfordState* s = StateOfTwoOrMore(ctx))
        sqlite3_result_double(ctx, std::sqrt(SampleVariance(*s)) / std::sqrt(static_cast<double>(s->n)));
}

void CoeffOfVarFinal(sqlite3_context* ctx) {
    if (const SWelfordState* s = StateOfTwoOrMore(ctx))
        sqlite3_result_double(ctx, s->mean == 0.0 ? 1.0 : std::sqrt(SampleVariance(*s)) / s->mean);
}

void Register(sqlite3* db, const char* name, void (*final)(sqlite3_context*)) {
    sqlite3_create_function_v2(db, name, 1, SQLITE_ANY, nullptr, nullptr, WelfordStep, final, nullptr);
}

}  // namespace

void YxSqlFn_RegisterSpreadAggregates(sqlite3* db) {
    Register(db, "stdev", StdevFinal);
    Register(db, "variance", VarianceFinal);
    Register(db, "stderror_of_mean", StdErrorFinal);
    Register(db, "coeff_of_var", CoeffOfVarFinal);
}
