/// \file
/// Row records of the jobs database: `SYxProjectDbRow_<table>`, one plain value
/// type per table with one field per column in the table's order, expanded
/// from the same list as the table definitions (jobs_schema.inc), so the two
/// can never disagree.
///
/// Field types: keys and references std::int64_t; other integers std::int32_t
/// or std::int64_t as the schema gives; doubles; CYxStringW for text;
/// CYxByteArray for blobs. A default-constructed record holds zeros and empty
/// values; iKey 0 means "no row". Records are aggregates, so a record can be
/// written with all its values in column order: SYxProjectDbRow_tagdef{0, ...}.
/// Exceptions: the task-list table's record is SYxProjectDbRow_taskListjobdef;
/// the job definition has a value constructor (see below); the job program
/// record carries the nested SYxProjectDbRow_jobprogram::_property.
///
/// VisitFields(f) calls f(field) for every field in column order; generic
/// record operations use it to bind and read whole rows.
///
/// Records are plain values: thread safety as for any value.
#pragma once

#include "gnr_projectdb/bytes.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/schema.h"

#include <cstdint>
#include <utility>
#include <vector>

#define YX_ROWFIELD_Int32 std::int32_t
#define YX_ROWFIELD_Int64 std::int64_t
#define YX_ROWFIELD_Double double
#define YX_ROWFIELD_Text CYxStringW
#define YX_ROWFIELD_Blob CYxByteArray

/// Record names and members that differ from the plain pattern. A table whose
/// `YX_ROWNAME_<table>` / `YX_ROWEXTRA_<table>` is defined as `~, <x>` gets `<x>`;
/// every other table gets `SYxProjectDbRow_<table>` and no extra members.
#define YX_ROW_PP_SECOND_(a, b, ...) b
#define YX_ROW_PP_SECOND(...) YX_ROW_PP_SECOND_(__VA_ARGS__)
#define YX_ROW_PP_NOTHING()

#define YX_ROWNAME_tasklistjobdef ~, SYxProjectDbRow_taskListjobdef
#define YX_ROWEXTRA_jobdef ~, YX_ROW_EXTRA_JOBDEF
#define YX_ROWEXTRA_jobprogram ~, YX_ROW_EXTRA_JOBPROGRAM

/// The record type of a table, for the expansions over the table list.
#define YX_ROW_TYPE(t) YX_ROW_PP_SECOND(YX_ROWNAME_##t, SYxProjectDbRow_##t, ~)

/// The job definition has a value constructor whose argument order is not the
/// field order: key, project key, state, progress, creation and modification
/// time, uuid, name, description, then definition type and usability bytes.
#define YX_ROW_EXTRA_JOBDEF()                                                                               \
    SYxProjectDbRow_jobdef() = default;                                                                     \
    SYxProjectDbRow_jobdef(std::int64_t key, std::int64_t projKeyRef, std::int32_t state,                   \
                           std::int32_t progress, double cTime, double mTime, CYxStringW uuid,              \
                           CYxStringW name, CYxStringW desc, std::int32_t defType, CYxByteArray usability)  \
        : iKey(key), iProjKeyRef(projKeyRef), iDefType(defType), iState(state), iProgress(progress),        \
          dCTime(cTime), dMTime(mTime), wszUuid(std::move(uuid)), wszName(std::move(name)),                 \
          wszDesc(std::move(desc)), pUsability(std::move(usability)) {}

/// A job program stores a list of named properties in its property tree: one
/// entry is bytes when bIsBytes, text otherwise.
#define YX_ROW_EXTRA_JOBPROGRAM()  \
    struct _property {             \
        CYxStringW name;           \
        bool bIsBytes = false;     \
        CYxStringW wszValue;       \
        CYxByteArray pValue;       \
    };

#define YX_ROW_FIELD(t, role, type, name, ...) YX_ROWFIELD_##type name{};
#define YX_ROW_VISIT(t, role, type, name, ...) f(name);

#define YX_DEFINE_ROW(t)                                                      \
    struct YX_ROW_TYPE(t) {                                                   \
        YX_COLS_##t(YX_ROW_FIELD)                                             \
        YX_ROW_PP_SECOND(YX_ROWEXTRA_##t, YX_ROW_PP_NOTHING, ~)()             \
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
    using CYxProjectDbRows_##t = std::vector<YX_ROW_TYPE(t)>;

YX_JOBS_TABLE_LIST(YX_DEFINE_ROW)

#undef YX_DEFINE_ROW
#undef YX_ROW_FIELD
#undef YX_ROW_VISIT
