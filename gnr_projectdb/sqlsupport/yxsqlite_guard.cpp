#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"

#include "framework/yxdiag.h"

#include <sqlite3.h>

#include <cwchar>
#include <initializer_list>

namespace {

constexpr std::size_t kMaxIdentifier = 128;

bool IsAsciiLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }
bool IsAsciiDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool EqualsAsciiNoCase(const wchar_t* a, const wchar_t* b) {
    for (;; ++a, ++b) {
        wchar_t x = *a, y = *b;
        if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x - L'A' + L'a');
        if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y - L'A' + L'a');
        if (x != y) return false;
        if (!x) return true;
    }
}

bool InSet(const wchar_t* value, std::initializer_list<const wchar_t*> set) {
    if (!value) return false;
    for (const wchar_t* v : set)
        if (EqualsAsciiNoCase(value, v)) return true;
    return false;
}

bool ArgHolds(const SYxFormatArg& a, wchar_t quote) {
    switch (a.kind) {
    case SYxFormatArg::eWideText:
        return std::wmemchr(a.wtext, quote, a.wlen) != nullptr;
    case SYxFormatArg::eNarrowText:
        for (const char* p = a.ntext; *p; ++p)
            if (static_cast<wchar_t>(*p) == quote) return true;
        return false;
    case SYxFormatArg::eChar:
        return static_cast<wchar_t>(a.v.i) == quote;
    default:
        return false;  // numbers and pointers print no quotes
    }
}

}  // namespace

int YxSqlite_CheckQuotedText(const wchar_t* text) {
    if (text && std::wcschr(text, L'\'')) {
        YX_DIAG_WARN(L"Refused a text holding a single quote: %s", text);
        return SQLITE_ERROR;
    }
    return SQLITE_OK;
}

int YxSqlite_CheckIdentifier(const wchar_t* name) {
    bool ok = name && (IsAsciiLetter(name[0]) || name[0] == L'_');
    std::size_t n = 0;
    for (const wchar_t* p = name; ok && *p; ++p, ++n)
        ok = n < kMaxIdentifier && (IsAsciiLetter(*p) || IsAsciiDigit(*p) || *p == L'_');
    if (!ok) {
        YX_DIAG_WARN(L"Refused a name that is not a plain identifier: %s", name ? name : L"(null)");
        return SQLITE_ERROR;
    }
    return SQLITE_OK;
}

int YxSqlite_CheckColumn(const SYxSqliteTableDef& def, const wchar_t* name) {
    if (YxSqlite_CheckIdentifier(name) != SQLITE_OK) return SQLITE_ERROR;
    for (int i = 0; i < def.nCols; ++i)
        if (std::wcscmp(def.pCols[i].wszName, name) == 0) return SQLITE_OK;
    YX_DIAG_WARN(L"Refused %s: not a column of %s", name, def.wszName);
    return SQLITE_ERROR;
}

bool YxSqlite_IsJournalModeValue(const wchar_t* value) {
    return InSet(value, {L"delete", L"truncate", L"persist", L"memory", L"wal", L"off"});
}

bool YxSqlite_IsSynchronousValue(const wchar_t* value) {
    return InSet(value, {L"off", L"normal", L"full", L"extra", L"0", L"1", L"2", L"3"});
}

namespace yxsqlite_detail {

int CheckSingleStatementTail(sqlite3* db, const char* tail) {
    while (tail && *tail) {
        sqlite3_stmt* extra = nullptr;
        const char* next = nullptr;
        const int rc = sqlite3_prepare_v2(db, tail, -1, &extra, &next);
        if (extra) sqlite3_finalize(extra);
        if (rc != SQLITE_OK || extra) {
            YX_DIAG_WARN(L"Refused a text with more than one statement: %s", CYxStringW::FromUtf8(tail));
            return SQLITE_ERROR;
        }
        if (!next || next == tail) break;
        tail = next;
    }
    return SQLITE_OK;
}

int CheckQuotedArgs(const wchar_t* format, const SYxFormatArg* args, std::size_t count) {
    if (!format) return SQLITE_OK;
    wchar_t quote = 0;  // the quote whose literal the scan is in, or 0
    std::size_t next = 0;
    for (const wchar_t* p = format; *p; ++p) {
        if (*p != L'%') {
            // A doubled quote inside a literal closes and reopens it.
            if (quote == 0 && (*p == L'\'' || *p == L'"')) quote = *p;
            else if (*p == quote) quote = 0;
            continue;
        }
        ++p;
        if (*p == L'%') continue;
        // Skip the conversion's flags, width, precision and length, as the
        // formatter reads them; none of them is a quote.
        while (*p && std::wcschr(L"-+ 0#123456789.", *p)) ++p;
        if (p[0] == L'I' && ((p[1] == L'6' && p[2] == L'4') || (p[1] == L'3' && p[2] == L'2'))) p += 3;
        else if (p[0] == L'l' && p[1] == L'l') p += 2;
        else if (p[0] == L'l' || p[0] == L'h' || p[0] == L'z') ++p;
        if (!*p) break;
        if (quote != 0 && next < count && ArgHolds(args[next], quote)) {
            YX_DIAG_WARN(L"Refused a text holding a quote for \"%s\" (argument %d)", format, static_cast<int>(next) + 1);
            return SQLITE_ERROR;
        }
        ++next;
    }
    return SQLITE_OK;
}

}  // namespace yxsqlite_detail
