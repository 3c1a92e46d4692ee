// Aggregates of order: mode, median, lower_quartile and upper_quartile.
//
// One step collects the non-NULL values of the group. The first value
// decides the kind of the whole group: an integer makes an integer group, a
// text a text group, anything else (real, blob) a floating-point group;
// later values are read as that kind. The final step sorts the list and
// picks a value. The result is an integer for an integer group and a double
// otherwise; a text group yields the picked text's numeric value as SQLite
// reads it ('2.5' -> 2.5, 'abc' -> 0.0). An empty group yields NULL.
//
// Sorting: numbers ascending; texts by the natural comparison of
// wcs_collation (so '9' sorts before '10'), equal ones by their code points.
//
// Picking (nearest-rank, no interpolation, so an integer group stays exact):
// the p-quantile is the value at 1-based rank ceil(p * n), that is the
// smallest value with at least p of the group at or below it. For an even
// group the median is therefore the lower of the two middle values:
//   {1,2,3,4}: lower_quartile 1, median 2, upper_quartile 3.
// mode: the value that occurs most often; among equally frequent values the
// smallest in sort order wins ({3,1,3,1,2} -> 1).
#include "sqlfunctions_internal.h"

#include "framework/yxnaturalcompare.h"
#include "framework/yxutf8.h"

#include <sqlite3.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

enum EOrderKind { eOrderInt, eOrderText, eOrderReal };

struct STextValue {
    std::wstring text;
    double value;  // SQLite's numeric reading of the text
};

bool TextLess(const STextValue& a, const STextValue& b) {
    const int c = YxNaturalCompareN(a.text.data(), a.text.size(), b.text.data(), b.text.size());
    return c != 0 ? c < 0 : a.text < b.text;
}

struct COrderList {
    EOrderKind kind = eOrderReal;
    std::vector<std::int64_t> ints;
    std::vector<double> reals;
    std::vector<STextValue> texts;

    std::size_t Size() const {
        switch (kind) {
        case eOrderInt: return ints.size();
        case eOrderText: return texts.size();
        case eOrderReal: return reals.size();
        }
        return 0;
    }

    void Sort() {
        std::sort(ints.begin(), ints.end());
        std::sort(reals.begin(), reals.end());
        std::sort(texts.begin(), texts.end(), TextLess);
    }

    bool SameAt(std::size_t i, std::size_t j) const {
        switch (kind) {
        case eOrderInt: return ints[i] == ints[j];
        case eOrderText: return texts[i].text == texts[j].text;
        case eOrderReal: return reals[i] == reals[j];
        }
        return false;
    }

    // The value at position i of the sorted list as the result.
    void ResultAt(sqlite3_context* ctx, std::size_t i) const {
        assert(i < Size());
        switch (kind) {
        case eOrderInt: sqlite3_result_int64(ctx, ints[i]); break;
        case eOrderText: sqlite3_result_double(ctx, texts[i].value); break;
        case eOrderReal: sqlite3_result_double(ctx, reals[i]); break;
        }
    }
};

// The aggregate context holds only a pointer to the list; SQLite zero-fills
// it, and the final step (which SQLite runs exactly once per group, also
// when a statement is abandoned) takes the list back and frees it.
struct SOrderState {
    COrderList* list;
};

void OrderStep(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc < 1) return;
    sqlite3_value* v = argv[0];
    const int type = sqlite3_value_type(v);
    if (type == SQLITE_NULL) return;
    auto* s = static_cast<SOrderState*>(sqlite3_aggregate_context(ctx, sizeof(SOrderState)));
    if (!s) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    try {
        if (!s->list) {
            s->list = new COrderList;
            s->list->kind = type == SQLITE_INTEGER ? eOrderInt : type == SQLITE_TEXT ? eOrderText : eOrderReal;
        }
        COrderList& list = *s->list;
        switch (list.kind) {
        case eOrderInt: list.ints.push_back(sqlite3_value_int64(v)); break;
        case eOrderText: {
            const char* text = reinterpret_cast<const char*>(sqlite3_value_text(v));
            const int bytes = sqlite3_value_bytes(v);
            list.texts.push_back({YxWideFromUtf8(text ? text : "", text ? static_cast<std::size_t>(bytes) : 0),
                                  sqlite3_value_double(v)});
            break;
        }
        case eOrderReal: {
            const double d = sqlite3_value_double(v);
            if (!std::isnan(d)) list.reals.push_back(d);  // NaN has no place in an order
            break;
        }
        }
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(ctx);
    }
}

// Takes the sorted list of the group, or null (result NULL set) when empty.
std::unique_ptr<COrderList> TakeSortedList(sqlite3_context* ctx) {
    auto* s = static_cast<SOrderState*>(sqlite3_aggregate_context(ctx, 0));
    std::unique_ptr<COrderList> list(s ? s->list : nullptr);
    if (s) s->list = nullptr;
    if (!list || list->Size() == 0) {
        sqlite3_result_null(ctx);
        return nullptr;
    }
    list->Sort();
    return list;
}

// 0-based position of the nearest-rank quantile num/den in n sorted values.
std::size_t RankIndex(std::size_t n, std::size_t num, std::size_t den) {
    assert(n > 0 && num > 0 && num <= den);
    return (num * n + den - 1) / den - 1;
}

void QuantileFinal(sqlite3_context* ctx, std::size_t num, std::size_t den) {
    if (auto list = TakeSortedList(ctx)) list->ResultAt(ctx, RankIndex(list->Size(), num, den));
}

void MedianFinal(sqlite3_context* ctx) { QuantileFinal(ctx, 1, 2); }
void LowerQuartileFinal(sqlite3_context* ctx) { QuantileFinal(ctx, 1, 4); }
void UpperQuartileFinal(sqlite3_context* ctx) { QuantileFinal(ctx, 3, 4); }

void ModeFinal(sqlite3_context* ctx) {
    auto list = TakeSortedList(ctx);
    if (!list) return;
    const std::size_t n = list->Size();
    std::size_t best = 0, bestCount = 0;
    for (std::size_t start = 0; start < n;) {
        std::size_t end = start + 1;
        while (end < n && list->SameAt(start, end)) ++end;
        if (end - start > bestCount) {  // strictly more: ties keep the smaller value
            best = start;
            bestCount = end - start;
        }
        start = end;
    }
    list->ResultAt(ctx, best);
}

void Register(sqlite3* db, const char* name, void (*final)(sqlite3_context*)) {
    sqlite3_create_function_v2(db, name, 1, SQLITE_ANY, nullptr, nullptr, OrderStep, final, nullptr);
}

}  // namespace

void YxSqlFn_RegisterOrderAggregates(sqlite3* db) {
    Register(db, "mode", ModeFinal);
    Register(db, "median", MedianFinal);
    Register(db, "lower_quartile", LowerQuartileFinal);
    Register(db, "upper_quartile", UpperQuartileFinal);
}
