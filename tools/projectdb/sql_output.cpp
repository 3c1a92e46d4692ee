#include "sql_output.h"

#include "tool.h"

#include <sqlite3.h>

#include <cmath>
#include <cstdlib>

std::string CYxSqlOutput::RealText(double value) {
    char text[64];
    // The shell's "%!.15g" ("!" keeps a ".0" on whole numbers), widened only
    // as far as reading the text back gives the same double.
    for (int digits = 15; digits <= 17; ++digits) {
        sqlite3_snprintf(sizeof text, text, "%!.*g", digits, value);
        if (!std::isfinite(value) || std::strtod(text, nullptr) == value) break;
    }
    return text;
}

std::string CYxSqlOutput::BlobText(const void* data, int bytes) {
    static const char kHex[] = "0123456789ABCDEF";
    const auto* p = static_cast<const unsigned char*>(data);
    std::string text = "X'";
    for (int i = 0; i < bytes; ++i) {
        text += kHex[p[i] >> 4];
        text += kHex[p[i] & 15];
    }
    return text + "'";
}

std::string CYxSqlOutput::JsonString(const std::string& raw) {
    const std::string text = YxTool_Narrow(YxTool_Wide(raw));
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
                out += escape;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::string CYxSqlOutput::CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + "\"";
}

std::string CYxSqlOutput::Value(sqlite3_stmt* statement, int column) const {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL: return m_format == eYxSqlJson ? "null" : "";
    case SQLITE_INTEGER: return std::to_string(sqlite3_column_int64(statement, column));
    case SQLITE_FLOAT: {
        const double value = sqlite3_column_double(statement, column);
        // JSON has no infinity; like the shell, a number too large for a double.
        if (m_format == eYxSqlJson && std::isinf(value)) return value > 0 ? "9.0e+999" : "-9.0e+999";
        return RealText(value);
    }
    case SQLITE_BLOB: {
        const void* data = sqlite3_column_blob(statement, column);
        const std::string literal = BlobText(data, sqlite3_column_bytes(statement, column));
        return m_format == eYxSqlJson ? JsonString(literal) : literal;
    }
    default: {
        const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
        const std::string text(data ? data : "", static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
        if (m_format == eYxSqlJson) return JsonString(text);
        if (m_format == eYxSqlCsv) return text.empty() ? "\"\"" : CsvField(text);
        return text;
    }
    }
}

int CYxSqlOutput::Print(sqlite3_stmt* statement) {
    const int columns = sqlite3_column_count(statement);
    if (m_format == eYxSqlCsv && columns > 0) {
        for (int i = 0; i < columns; ++i) {
            const char* name = sqlite3_column_name(statement, i);
            std::fprintf(m_out, "%s%s", i ? "," : "", CsvField(name ? name : "").c_str());
        }
        std::fputs("\r\n", m_out);
    }
    if (m_format == eYxSqlJson && columns > 0) std::fputc('[', m_out);
    int rc = SQLITE_ROW;
    bool first = true;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
        if (m_format == eYxSqlJson) {
            std::fputs(first ? "{" : ",\n{", m_out);
            for (int i = 0; i < columns; ++i) {
                const char* name = sqlite3_column_name(statement, i);
                std::fprintf(m_out, "%s%s:%s", i ? "," : "", JsonString(name ? name : "").c_str(),
                             Value(statement, i).c_str());
            }
            std::fputc('}', m_out);
        } else {
            const char* separator = m_format == eYxSqlCsv ? "," : "|";
            for (int i = 0; i < columns; ++i) {
                if (i) std::fputs(separator, m_out);
                const std::string value = Value(statement, i);
                std::fwrite(value.data(), 1, value.size(), m_out);
            }
            std::fputs(m_format == eYxSqlCsv ? "\r\n" : "\n", m_out);
        }
        first = false;
    }
    if (m_format == eYxSqlJson && columns > 0) std::fputs("]\n", m_out);
    return rc;
}
