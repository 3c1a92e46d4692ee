// Row records of the jobs database: SYxProjectDbRow_<table>, one plain value
// type per table with one field per column in the table's order, expanded
// from the same list as the table definitions (jobs_schema.inc), so the two
// can never disagree.
//
// Field types: keys and references std::int64_t; other integers std::int32_t
// or std::int64_t as the schema gives; doubles; CYxStringW for text;
// CYxByteArray for blobs. A default-constructed record holds zeros and empty
// values; iKey 0 means "no row". Records are aggregates, so a record can be
// written with all its values in column order: SYxProjectDbRow_tagdef{0, ...}.
//
// VisitFields(f) calls f(field) for every field in column order; generic
// record operations use it to bind and read whole rows.
//
// Records are plain values: thread safety as for any value.
#pragma once

#include "framework/yxbytearray.h"
#include "framework/yxstring.h"
#include "gnr_projectdb/schema.h"

#include <cstdint>
#include <vector>

#define YX_ROWFIELD_Int32 std::int32_t
#define YX_ROWFIELD_Int64 std::int64_t
#define YX_ROWFIELD_Double double
#define YX_ROWFIELD_Text CYxStringW
#define YX_ROWFIELD_Blob CYxByteArray

#define YX_ROW_FIELD(t, role, type, name, ...) YX_ROWFIELD_##type name{};
#define YX_ROW_VISIT(t, role, type, name, ...) f(name);

#define YX_DEFINE_ROW(t)                                                      \
    struct SYxProjectDbRow_##t {                                              \
        YX_COLS_##t(YX_ROW_FIELD)                                             \
        static const SYxSqliteTableDef& Def() { return YxJobsDef_##t; }       \
        template <class F>                                                    \
        void VisitFields(F&& f) {                                             \
            YX_COLS_##t(YX_ROW_VISIT)                                         \
        }                                                                     \
        template <class F>                                                    \
        void VisitFields(F&& f) const {                                       \
            YX_COLS_##t(YX_ROW_VISIT)                                         \
        }                                                                     \
    };                                                                        \
    using CYxProjectDbRows_##t = std::vector<SYxProjectDbRow_##t>;

YX_JOBS_TABLE_LIST(YX_DEFINE_ROW)

#undef YX_DEFINE_ROW
#undef YX_ROW_FIELD
#undef YX_ROW_VISIT
