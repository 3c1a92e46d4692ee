// Rows of SQLite statements as the sql and tables commands print them.
//
// Three formats:
//   list  the sqlite3 shell's default: values separated by '|', one row a
//         line, NULL as nothing, no header;
//   csv   RFC 4180: a header line with the column names, then the rows;
//         lines end with CRLF, fields holding a comma, a quote, CR or LF
//         are quoted (quotes doubled), NULL is an empty field and the empty
//         text a quoted "";
//   json  one array of objects (column name: value) per statement that
//         returns columns, as `sqlite3 -json` writes them.
// In every format a real prints as the sqlite3 shell prints it (15
// significant digits, more only when 15 do not give back the same double),
// and a blob as its SQL literal X'0A1B...'.
//
// Threads: a CYxSqlOutput writes to one stream from one thread.
#pragma once

#include <cstdio>
#include <string>

struct sqlite3_stmt;

enum EYxSqlFormat { eYxSqlList, eYxSqlCsv, eYxSqlJson };

class CYxSqlOutput {
public:
    CYxSqlOutput(EYxSqlFormat format, std::FILE* out) : m_format(format), m_out(out) {}

    // Steps the prepared statement to its end, printing every row. Returns
    // SQLITE_DONE, or the status of the step that failed (the rows before
    // it are printed, a JSON array is closed).
    int Print(sqlite3_stmt* statement);

    // "0.1", "1.0", "1.0e+300", "0.33333333333333331" (needs 17), "Inf".
    static std::string RealText(double value);
    // "X'00FF'".
    static std::string BlobText(const void* data, int bytes);
    // A JSON string literal, quotes included; invalid UTF-8 becomes U+FFFD.
    static std::string JsonString(const std::string& text);
    // One CSV field (quoted only when it must be).
    static std::string CsvField(const std::string& text);

private:
    std::string Value(sqlite3_stmt* statement, int column) const;

    EYxSqlFormat m_format;
    std::FILE* m_out;
};
