/// \file
/// Readable text of the row records of every table, for people: the tool's
/// output, diagnostics and test failure messages. One generic printer walks
/// the columns of the schema list, so every table prints the same way:
///
///   frame{iKey=3, iJobrunKeyRef=1, iJobtaskKeyRef=0, iFrameIndex=2, dCTime=2461000.5, ...}
///
/// Integers print in decimal; doubles in the shortest form that reads back to
/// the same value ("nan", "inf", "-inf" where they occur); texts between double
/// quotes, a double quote, backslash, line feed, carriage return and tab
/// written as backslash-quote, two backslashes, \\n, \\r, \\t, and other
/// control characters as \\u{XXXX};
/// byte arrays as `<N bytes: 0a1b2c...>`, at most 16 bytes shown, then "...".
/// The text does not depend on the process locale.
///
/// Threads: pure functions, callable from any thread.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/rows.h"

enum EYxProjectDbPrintFlags {
    /// table{col=value, ...} on one line.
    eYxPrintOneLine = 0,
    /// The table name on the first line, then one "  col = value" line per
    /// column; every line ends with '\n'.
    eYxPrintMultiLine = 1,
};

#define YX_DECLARE_ROW_PRINT(t) \
    GNR_API CYxStringW YxProjectDb_Row_ToText(const YX_ROW_TYPE(t)& row, int flags = eYxPrintOneLine);
YX_JOBS_TABLE_LIST(YX_DECLARE_ROW_PRINT)
#undef YX_DECLARE_ROW_PRINT

/// The pieces the printer is made of, for callers that print values read
/// from elsewhere in the same form.
GNR_API CYxStringW YxProjectDb_Print_Text(const wchar_t* text);
GNR_API CYxStringW YxProjectDb_Print_Double(double value);
GNR_API CYxStringW YxProjectDb_Print_Bytes(const CYxByteArray& bytes);
