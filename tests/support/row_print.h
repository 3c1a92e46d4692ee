// GoogleTest support for row records: failure messages print a record with
// the library's printer, and records compare field by field, so
// EXPECT_EQ(expected, row) works on any table's record.
#pragma once

#include "gnr_projectdb/printers.h"

#include <ostream>
#include <tuple>
#include <vector>

namespace yxtest_detail {
template <class Row>
bool RowsEqual(const Row& a, const Row& b) {
    bool equal = true;
    std::vector<const void*> fields;
    a.VisitFields([&](const auto& f) { fields.push_back(&f); });
    std::size_t i = 0;
    b.VisitFields([&](const auto& f) {
        using T = std::decay_t<decltype(f)>;
        if (!(*static_cast<const T*>(fields[i++]) == f)) equal = false;
    });
    return equal;
}
}  // namespace yxtest_detail

#define YX_TEST_ROW_SUPPORT(t)                                                                  \
    inline void PrintTo(const YX_ROW_TYPE(t)& row, std::ostream* os) {                     \
        *os << YxProjectDb_Row_ToText(row).ToUtf8();                                            \
    }                                                                                           \
    inline bool operator==(const YX_ROW_TYPE(t)& a, const YX_ROW_TYPE(t)& b) {        \
        return yxtest_detail::RowsEqual(a, b);                                                  \
    }                                                                                           \
    inline bool operator!=(const YX_ROW_TYPE(t)& a, const YX_ROW_TYPE(t)& b) { return !(a == b); }
YX_JOBS_TABLE_LIST(YX_TEST_ROW_SUPPORT)
#undef YX_TEST_ROW_SUPPORT
