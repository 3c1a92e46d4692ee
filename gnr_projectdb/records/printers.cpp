// The generic row printer (printers.h): one template over the columns of a
// table definition and the fields of its record.
#include "gnr_projectdb/printers.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <type_traits>

CYxStringW YxProjectDb_Print_Text(const wchar_t* text) {
    CYxStringW out(L"\"");
    for (const wchar_t* p = text ? text : L""; *p; ++p) {
        const wchar_t c = *p;
        switch (c) {
            case L'"': out += L"\\\""; break;
            case L'\\': out += L"\\\\"; break;
            case L'\n': out += L"\\n"; break;
            case L'\r': out += L"\\r"; break;
            case L'\t': out += L"\\t"; break;
            default:
                if (static_cast<std::uint32_t>(c) < 0x20 || c == 0x7f) out.AppendFormat(L"\\u{%04x}", static_cast<int>(c));
                else out += c;
        }
    }
    out += L'"';
    return out;
}

CYxStringW YxProjectDb_Print_Double(double value) {
    if (std::isnan(value)) return CYxStringW(L"nan");
    if (std::isinf(value)) return CYxStringW(value < 0 ? L"-inf" : L"inf");
    char buf[64];
    const auto res = std::to_chars(buf, buf + sizeof buf, value);
    return CYxStringW::FromUtf8(std::string_view(buf, static_cast<std::size_t>(res.ptr - buf)));
}

CYxStringW YxProjectDb_Print_Bytes(const CYxByteArray& bytes) {
    const std::size_t n = bytes.GetSize();
    CYxStringW out = CYxStringW::Format(L"<%I64d bytes", static_cast<std::int64_t>(n));
    if (n) out += L": ";
    for (std::size_t i = 0; i < n && i < 16; ++i) out.AppendFormat(L"%02x", static_cast<int>(bytes.GetData()[i]));
    if (n > 16) out += L"...";
    out += L'>';
    return out;
}

namespace {
template <class T>
CYxStringW Value(const T& v) {
    if constexpr (std::is_same_v<T, CYxStringW>) return YxProjectDb_Print_Text(v.c_str());
    else if constexpr (std::is_same_v<T, CYxByteArray>) return YxProjectDb_Print_Bytes(v);
    else if constexpr (std::is_same_v<T, double>) return YxProjectDb_Print_Double(v);
    else return CYxStringW::Format(L"%I64d", static_cast<std::int64_t>(v));
}

template <class Row>
CYxStringW Print(const Row& row, int flags) {
    const SYxSqliteTableDef& def = Row::Def();
    const bool multi = (flags & eYxPrintMultiLine) != 0;
    CYxStringW out(def.wszName);
    out += multi ? L"\n" : L"{";
    int i = 0;
    row.VisitFields([&](const auto& field) {
        const wchar_t* name = def.pCols[i].wszName;
        if (multi) out.AppendFormat(L"  %s = %s\n", name, Value(field));
        else out.AppendFormat(L"%s%s=%s", i ? L", " : L"", name, Value(field));
        ++i;
    });
    if (!multi) out += L"}";
    return out;
}
}  // namespace

#define YX_DEFINE_ROW_PRINT(t) \
    CYxStringW YxProjectDb_Row_ToText(const YX_ROW_TYPE(t)& row, int flags) { return Print(row, flags); }
YX_JOBS_TABLE_LIST(YX_DEFINE_ROW_PRINT)
#undef YX_DEFINE_ROW_PRINT
