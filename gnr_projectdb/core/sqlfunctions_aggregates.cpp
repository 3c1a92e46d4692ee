// Aggregates that count and sum: bitwiseor, count_ret_null, count_str and
// double_sum. Their states are plain records in SQLite's aggregate context,
// which SQLite hands out zero-filled; a group without rows has no state.
#include "sqlfunctions_internal.h"

#include <sqlite3.h>

#include <cstdint>

namespace {

// ---- bitwiseor: OR of the integer values; other values are skipped.

struct SBitOrState {
    std::uint64_t acc;
};

void BitOrStep(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc < 1 || sqlite3_value_type(argv[0]) != SQLITE_INTEGER) return;
    auto* s = static_cast<SBitOrState*>(sqlite3_aggregate_context(ctx, sizeof(SBitOrState)));
    if (!s) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    s->acc |= static_cast<std::uint64_t>(sqlite3_value_int64(argv[0]));
}

void BitOrFinal(sqlite3_context* ctx) {
    const auto* s = static_cast<SBitOrState*>(sqlite3_aggregate_context(ctx, 0));
    sqlite3_result_int64(ctx, s ? static_cast<sqlite3_int64>(s->acc) : 0);
}

// ---- count_ret_null / count_str: rows whose value is neither NULL nor an
// empty text; called without argument (count_str()), every row counts.

struct SCountState {
    std::int64_t n;
};

void CountStep(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc >= 1) {
        const int type = sqlite3_value_type(argv[0]);
        if (type == SQLITE_NULL) return;
        if (type == SQLITE_TEXT && sqlite3_value_bytes(argv[0]) == 0) return;
    }
    auto* s = static_cast<SCountState*>(sqlite3_aggregate_context(ctx, sizeof(SCountState)));
    if (!s) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    ++s->n;
}

std::int64_t CountOf(sqlite3_context* ctx) {
    const auto* s = static_cast<SCountState*>(sqlite3_aggregate_context(ctx, 0));
    return s ? s->n : 0;
}

void CountRetNullFinal(sqlite3_context* ctx) {
    const std::int64_t n = CountOf(ctx);
    if (n == 0)
        sqlite3_result_null(ctx);
    else
        sqlite3_result_int64(ctx, n);
}

void CountStrFinal(sqlite3_context* ctx) { sqlite3_result_int64(ctx, CountOf(ctx)); }

// ---- double_sum: the sum as a double; NULL when no value was added.

struct SSumState {
    double sum;
    std::int64_t n;
};

void DoubleSumStep(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc < 1) return;
    const int type = sqlite3_value_type(argv[0]);
    if (type == SQLITE_NULL) return;
    auto* s = static_cast<SSumState*>(sqlite3_aggregate_context(ctx, sizeof(SSumState)));
    if (!s) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    s->sum += type == SQLITE_INTEGER ? static_cast<double>(sqlite3_value_int64(argv[0])) : sqlite3_value_double(argv[0]);
    ++s->n;
}

void DoubleSumFinal(sqlite3_context* ctx) {
    const auto* s = static_cast<SSumState*>(sqlite3_aggregate_context(ctx, 0));
    if (!s || s->n == 0)
        sqlite3_result_null(ctx);
    else
        sqlite3_result_double(ctx, s->sum);
}

void Register(sqlite3* db, const char* name, int nArg, void (*step)(sqlite3_context*, int, sqlite3_value**),
              void (*final)(sqlite3_context*)) {
    sqlite3_create_function_v2(db, name, nArg, SQLITE_ANY, nullptr, nullptr, step, final, nullptr);
}

}  // namespace

void YxSqlFn_RegisterCountAggregates(sqlite3* db) {
    Register(db, "bitwiseor", 1, BitOrStep, BitOrFinal);
    Register(db, "count_ret_null", 1, CountStep, CountRetNullFinal);
    Register(db, "count_ret_null", 0, CountStep, CountRetNullFinal);
    Register(db, "count_str", 1, CountStep, CountStrFinal);
    Register(db, "count_str", 0, CountStep, CountStrFinal);
    Register(db, "double_sum", 1, DoubleSumStep, DoubleSumFinal);
}
