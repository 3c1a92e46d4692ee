// Scalar SQL functions: uuid(), jdnnow(), printjdn(jdn, format),
// bitwiseand(a, b), bitsetmasked(value, bits, mask).
//
// printjdn, bitwiseand and bitsetmasked are registered twice: with their own
// argument count, and for any other count (-1), so that a call with a wrong
// count reaches the function and fails with "Wrong parameter count" instead
// of SQLite's generic message.
#include "gnr_projectdb/sys.h"
#include "sqlfunctions_internal.h"

#include "framework/yxutf8.h"

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace {

void SqlUuid(sqlite3_context* ctx, int, sqlite3_value**) {
    const std::string text = YxProjectDb_Sys_UuidAsText().ToUtf8();
    sqlite3_result_text(ctx, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

void SqlJdnNow(sqlite3_context* ctx, int, sqlite3_value**) { sqlite3_result_double(ctx, YxProjectDb_Sys_JdnNow()); }

// printjdn(jdn, format): "%D" long date, "%d" short date, "%T" time, "%t"
// short time, all in local time and the user's locale; any other "%x" pair
// is dropped, as is a lone '%' at the end; other characters are copied.
// A NULL jdn or format gives NULL.
void SqlPrintJdn(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc != 2) {
        sqlite3_result_error(ctx, YX_SQLFN_ERR_COUNT, -1);
        return;
    }
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const double jdn = sqlite3_value_double(argv[0]);
    const char* fmt = reinterpret_cast<const char*>(sqlite3_value_text(argv[1]));
    const std::wstring format = YxWideFromUtf8(fmt ? fmt : "", static_cast<std::size_t>(sqlite3_value_bytes(argv[1])));
    std::wstring out;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != L'%') {
            out += format[i];
            continue;
        }
        if (++i == format.size()) break;
        switch (format[i]) {
        case L'D': out += YxProjectDb_Sys_JdnFormatDateLong(jdn).str(); break;
        case L'd': out += YxProjectDb_Sys_JdnFormatDateShort(jdn).str(); break;
        case L'T': out += YxProjectDb_Sys_JdnFormatTimeLong(jdn).str(); break;
        case L't': out += YxProjectDb_Sys_JdnFormatTimeShort(jdn).str(); break;
        default: break;
        }
    }
    const std::string text = YxUtf8FromWide(out);
    sqlite3_result_text(ctx, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

// bitwiseand(a, b): NULL unless both are integers.
void SqlBitwiseAnd(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc != 2) {
        sqlite3_result_error(ctx, YX_SQLFN_ERR_COUNT, -1);
        return;
    }
    if (sqlite3_value_type(argv[0]) != SQLITE_INTEGER || sqlite3_value_type(argv[1]) != SQLITE_INTEGER) {
        sqlite3_result_null(ctx);
        return;
    }
    sqlite3_result_int64(ctx, sqlite3_value_int64(argv[0]) & sqlite3_value_int64(argv[1]));
}

// bitsetmasked(value, bits, mask): the value with the mask's bits replaced
// by those of `bits`.
void SqlBitSetMasked(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (argc != 3) {
        sqlite3_result_error(ctx, YX_SQLFN_ERR_COUNT, -1);
        return;
    }
    for (int i = 0; i < 3; ++i) {
        if (sqlite3_value_type(argv[i]) != SQLITE_INTEGER) {
            sqlite3_result_error(ctx, YX_SQLFN_ERR_TYPE, -1);
            return;
        }
    }
    const std::uint64_t value = static_cast<std::uint64_t>(sqlite3_value_int64(argv[0]));
    const std::uint64_t bits = static_cast<std::uint64_t>(sqlite3_value_int64(argv[1]));
    const std::uint64_t mask = static_cast<std::uint64_t>(sqlite3_value_int64(argv[2]));
    sqlite3_result_int64(ctx, static_cast<sqlite3_int64>((value & ~mask) | (bits & mask)));
}

void Register(sqlite3* db, const char* name, int nArg, void (*fn)(sqlite3_context*, int, sqlite3_value**)) {
    sqlite3_create_function_v2(db, name, nArg, SQLITE_ANY, nullptr, fn, nullptr, nullptr, nullptr);
}

}  // namespace

void YxSqlFn_RegisterScalars(sqlite3* db) {
    Register(db, "uuid", 0, SqlUuid);
    Register(db, "jdnnow", 0, SqlJdnNow);
    Register(db, "printjdn", 2, SqlPrintJdn);
    Register(db, "printjdn", -1, SqlPrintJdn);
    Register(db, "bitwiseand", 2, SqlBitwiseAnd);
    Register(db, "bitwiseand", -1, SqlBitwiseAnd);
    Register(db, "bitsetmasked", 3, SqlBitSetMasked);
    Register(db, "bitsetmasked", -1, SqlBitSetMasked);
}
