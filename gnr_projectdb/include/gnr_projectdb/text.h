/// \file
/// CYxStringW: the library's wide string, a small value class over
/// std::wstring (UTF-32 on Linux), and its type-safe printf-style formatter.
/// Every text that the public functions take or return is one.
///
/// Thread safety: a string is a plain value; distinct objects may be used from
/// different threads, one object must not be written by two threads at once.
///
/// Text is stored in SQLite as UTF-8; FromUtf8 and ToUtf8 convert with the
/// same functions that the library uses at that boundary (invalid input
/// becomes U+FFFD).
#pragma once

#include "gnr_projectdb/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

class CYxStringW;

/// One argument of a format call, type-erased but tagged, so that the
/// formatter can refuse a conversion that does not fit the argument.
struct SYxFormatArg {
    enum EKind { eSigned, eUnsigned, eDouble, eWideText, eNarrowText, eChar, ePointer };
    EKind kind;
    int size;  ///< byte width of integer arguments (4 or 8), 0 otherwise
    union {
        long long i;
        unsigned long long u;
        double d;
        const void* p;
    } v;
    const wchar_t* wtext;
    std::size_t wlen;
    const char* ntext;
};

namespace yxformat_detail {

template <class T>
SYxFormatArg MakeArg(const T& value);

/// n of (size_t)-1 means: a zero-terminated text (or null).
GNR_API SYxFormatArg ArgFromWide(const wchar_t* s, std::size_t n);
GNR_API SYxFormatArg ArgFromNarrow(const char* s);

template <class T>
SYxFormatArg MakeArg(const T& value) {
    using U = std::decay_t<T>;
    SYxFormatArg a{};
    if constexpr (std::is_same_v<U, bool>) {
        a.kind = SYxFormatArg::eSigned;
        a.size = 4;
        a.v.i = value ? 1 : 0;
    } else if constexpr (std::is_same_v<U, wchar_t>) {
        a.kind = SYxFormatArg::eChar;
        a.v.i = static_cast<long long>(value);
    } else if constexpr (std::is_enum_v<U>) {
        using B = std::underlying_type_t<U>;
        a = MakeArg<B>(static_cast<B>(value));
    } else if constexpr (std::is_integral_v<U>) {
        a.size = static_cast<int>(sizeof(U) < 4 ? 4 : sizeof(U));
        if constexpr (std::is_signed_v<U>) {
            a.kind = SYxFormatArg::eSigned;
            a.v.i = static_cast<long long>(value);
        } else {
            a.kind = SYxFormatArg::eUnsigned;
            a.v.u = static_cast<unsigned long long>(value);
        }
    } else if constexpr (std::is_floating_point_v<U>) {
        a.kind = SYxFormatArg::eDouble;
        a.v.d = static_cast<double>(value);
    } else if constexpr (std::is_same_v<U, const wchar_t*> || std::is_same_v<U, wchar_t*>) {
        a = ArgFromWide(value, static_cast<std::size_t>(-1));  ///< length measured inside
    } else if constexpr (std::is_same_v<U, std::wstring> || std::is_same_v<U, std::wstring_view>) {
        a = ArgFromWide(value.data(), value.size());
    } else if constexpr (std::is_same_v<U, CYxStringW>) {
        a = ArgFromWide(value.c_str(), value.GetLength());
    } else if constexpr (std::is_same_v<U, const char*> || std::is_same_v<U, char*>) {
        a = ArgFromNarrow(value);
    } else if constexpr (std::is_pointer_v<U>) {
        a.kind = SYxFormatArg::ePointer;
        a.v.p = static_cast<const void*>(value);
    } else {
        static_assert(sizeof(U) == 0, "type cannot be formatted");
    }
    return a;
}

/// Interprets a format against the arguments. A conversion whose argument
/// has the wrong type (or a missing argument) does not read anything: the
/// output receives "<format error>" at that place and a diagnostic is written.
/// The same holds for a width or precision above 4096: numbers in a format are
/// read without overflow, and no field grows beyond that bound.
GNR_API std::wstring FormatArgs(const wchar_t* format, const SYxFormatArg* args, std::size_t count);

}  // namespace yxformat_detail

class GNR_API CYxStringW {
public:
    CYxStringW() = default;
    CYxStringW(const wchar_t* s) : m_s(s ? s : L"") {}
    CYxStringW(const wchar_t* s, std::size_t n) : m_s(s ? std::wstring(s, n) : std::wstring()) {}
    CYxStringW(std::wstring s) : m_s(std::move(s)) {}
    CYxStringW(std::wstring_view s) : m_s(s) {}
    CYxStringW(std::size_t count, wchar_t ch) : m_s(count, ch) {}

    /// Format: "%s" takes a wide string, "%d"/"%I32d" a 32-bit integer, "%I64d"
    /// a 64-bit integer, "%lf"/"%f"/"%g" a double, "%x" and widths as usual.
    template <class... A>
    static CYxStringW Format(const wchar_t* format, const A&... args) {
        if constexpr (sizeof...(A) == 0) {
            return CYxStringW(yxformat_detail::FormatArgs(format, nullptr, 0));
        } else {
            const SYxFormatArg list[] = {yxformat_detail::MakeArg(args)...};
            return CYxStringW(yxformat_detail::FormatArgs(format, list, sizeof...(A)));
        }
    }
    template <class... A>
    CYxStringW& AppendFormat(const wchar_t* format, const A&... args) {
        m_s += Format(format, args...).m_s;
        return *this;
    }

    /// UTF-8 conversion (invalid input becomes U+FFFD).
    static CYxStringW FromUtf8(std::string_view utf8);
    std::string ToUtf8() const;

    const wchar_t* c_str() const { return m_s.c_str(); }
    operator const wchar_t*() const { return m_s.c_str(); }
    const std::wstring& str() const { return m_s; }
    std::wstring& str() { return m_s; }
    std::size_t GetLength() const { return m_s.size(); }
    bool IsEmpty() const { return m_s.empty(); }
    void Empty() { m_s.clear(); }
    wchar_t operator[](std::size_t i) const { return m_s[i]; }

    int Compare(const wchar_t* other) const;        ///< <0, 0, >0
    int CompareNoCase(const wchar_t* other) const;  ///< simple case folding
    bool EqualsNoCase(const wchar_t* other) const { return CompareNoCase(other) == 0; }

    CYxStringW& MakeLower();
    CYxStringW& MakeUpper();
    CYxStringW& Trim(const wchar_t* chars = L" \t\r\n\f\v");
    CYxStringW& TrimLeft(const wchar_t* chars = L" \t\r\n\f\v");
    CYxStringW& TrimRight(const wchar_t* chars = L" \t\r\n\f\v");
    int Replace(const wchar_t* from, const wchar_t* to);  ///< returns the count replaced
    CYxStringW Left(std::size_t n) const { return CYxStringW(m_s.substr(0, n)); }
    CYxStringW Mid(std::size_t pos, std::size_t n = std::wstring::npos) const;
    CYxStringW Right(std::size_t n) const;
    long long Find(const wchar_t* what, std::size_t from = 0) const;  ///< -1 when absent
    long long ReverseFind(wchar_t ch) const;                           ///< -1 when absent
    bool StartsWith(const wchar_t* prefix) const;
    bool EndsWith(const wchar_t* suffix) const;

    CYxStringW& operator+=(const CYxStringW& o) { m_s += o.m_s; return *this; }
    CYxStringW& operator+=(const wchar_t* o) { if (o) m_s += o; return *this; }
    CYxStringW& operator+=(wchar_t c) { m_s += c; return *this; }

    friend CYxStringW operator+(CYxStringW a, const CYxStringW& b) { a += b; return a; }
    friend CYxStringW operator+(CYxStringW a, const wchar_t* b) { a += b; return a; }
    friend CYxStringW operator+(const wchar_t* a, const CYxStringW& b) { CYxStringW r(a); r += b; return r; }
    friend bool operator==(const CYxStringW& a, const CYxStringW& b) { return a.m_s == b.m_s; }
    friend bool operator==(const CYxStringW& a, const wchar_t* b) { return a.m_s == (b ? b : L""); }
    friend bool operator==(const wchar_t* a, const CYxStringW& b) { return b == a; }
    friend bool operator!=(const CYxStringW& a, const CYxStringW& b) { return !(a == b); }
    friend bool operator!=(const CYxStringW& a, const wchar_t* b) { return !(a == b); }
    friend bool operator!=(const wchar_t* a, const CYxStringW& b) { return !(b == a); }
    friend bool operator<(const CYxStringW& a, const CYxStringW& b) { return a.m_s < b.m_s; }

private:
    std::wstring m_s;
};
