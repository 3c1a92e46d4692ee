// The guards for text that is spliced into SQL.
//
// Two kinds of text reach a statement's text instead of being bound:
//  - values placed between quotes ('%s' in a format): they must not hold the
//    quote that encloses them, or they could end the literal and go on as SQL;
//  - names placed bare (table, column, savepoint names): they must be plain
//    identifiers, and where a column of a table is meant, one of its columns.
// Every statement that carries such text is built through YxSqlite_Format
// (which applies the quote guard to every argument that the format puts
// between quotes) or checks its names with YxSqlite_CheckIdentifier /
// YxSqlite_CheckColumn first. A refused text makes the operation fail with
// SQLITE_ERROR (1) before any statement runs.
//
// Statements built this way run through YxSqlite_ExecuteSingle or a
// CYxSqliteCmd, both of which refuse a text that holds more than one
// statement.
//
// All functions are stateless and thread-safe.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <cstddef>

struct sqlite3;

// 0 when the text may stand between single quotes (it holds no "'"), else
// SQLITE_ERROR (1) with a diagnostic line. A null text counts as empty.
int YxSqlite_CheckQuotedText(const wchar_t* text);

// 0 when the name is a plain identifier: an ASCII letter or "_", then ASCII
// letters, digits and "_", at most 128 characters. Else SQLITE_ERROR (1)
// with a diagnostic line. Null or empty names are refused.
int YxSqlite_CheckIdentifier(const wchar_t* name);

// 0 when the name is a column of the table definition (exact spelling), else
// SQLITE_ERROR (1) with a diagnostic line.
int YxSqlite_CheckColumn(const SYxSqliteTableDef& def, const wchar_t* name);

// Whether a value is one that SQLite takes for "PRAGMA journal_mode=" (delete,
// truncate, persist, memory, wal, off) or "PRAGMA synchronous=" (off, normal,
// full, extra, 0 to 3), case-insensitively. Values read from a file are
// checked with these before they reach a pragma.
bool YxSqlite_IsJournalModeValue(const wchar_t* value);
bool YxSqlite_IsSynchronousValue(const wchar_t* value);

namespace yxsqlite_detail {
// What may follow the one statement of a text: 0 when the tail (the rest of
// the text after sqlite3_prepare_v2) holds only blanks, comments and
// semicolons; SQLITE_ERROR when it holds anything else (a further statement,
// or text that does not prepare). Nothing in the tail is run.
int CheckSingleStatementTail(sqlite3* db, const char* tail);

// The guard over a formatted argument list: 0, or SQLITE_ERROR when an
// argument that the format places inside '...' holds a "'" (or inside "..."
// holds a '"').
int CheckQuotedArgs(const wchar_t* format, const SYxFormatArg* args, std::size_t count);
}  // namespace yxsqlite_detail

// CYxStringW::Format for SQL texts: the same format language, and every
// argument that the format places between quotes passes the quote guard.
// Returns 0 with the text in out, or SQLITE_ERROR (1) with out emptied and
// nothing formatted.
//
//   CYxStringW sql;
//   if (int rc = YxSqlite_Format(sql, L"SELECT %s FROM %s WHERE %s='%s'", col, table, col, text)) return rc;
template <class... A>
int YxSqlite_Format(CYxStringW& out, const wchar_t* format, const A&... args) {
    out.Empty();
    if constexpr (sizeof...(A) == 0) {
        out = CYxStringW::Format(format);
        return 0;
    } else {
        const SYxFormatArg list[] = {yxformat_detail::MakeArg(args)...};
        if (const int rc = yxsqlite_detail::CheckQuotedArgs(format, list, sizeof...(A))) return rc;
        out = CYxStringW(yxformat_detail::FormatArgs(format, list, sizeof...(A)));
        return 0;
    }
}

// As YxSqlite_Format, appending to out; on failure out is left as it was.
template <class... A>
int YxSqlite_AppendFormat(CYxStringW& out, const wchar_t* format, const A&... args) {
    CYxStringW part;
    if (const int rc = YxSqlite_Format(part, format, args...)) return rc;
    out += part;
    return 0;
}
