#include "framework/yxstring.h"

#include "framework/yxclocale.h"
#include "framework/yxdiag.h"
#include "framework/yxunicode.h"
#include "framework/yxutf8.h"

#include <cwchar>
#include <cstdio>

namespace yxformat_detail {

SYxFormatArg ArgFromWide(const wchar_t* s, std::size_t n) {
    SYxFormatArg a{};
    a.kind = SYxFormatArg::eWideText;
    a.wtext = s ? s : L"";
    a.wlen = !s ? 0 : (n == static_cast<std::size_t>(-1) ? std::char_traits<wchar_t>::length(s) : n);
    return a;
}

SYxFormatArg ArgFromNarrow(const char* s) {
    SYxFormatArg a{};
    a.kind = SYxFormatArg::eNarrowText;
    a.ntext = s ? s : "";
    return a;
}

namespace {

// The largest width or precision a format may ask for; a larger one is a
// format error, so that no field can overflow the parser or the memory.
constexpr int kMaxFieldSize = 4096;

struct Spec {
    std::string flags;
    int width = -1;
    int precision = -1;
    int lengthBits = 0;  // 0: default, 32: I32, 64: I64/ll, -1: l, -2: h
    wchar_t conv = 0;
    bool oversized = false;  // a width or precision beyond kMaxFieldSize
};

// Reads the run of digits at `p` (all of it) into `value`; false when the
// number exceeds kMaxFieldSize, in which case `value` is left as it is.
bool ReadFieldSize(const wchar_t*& p, int& value) {
    int v = 0;
    bool fits = true;
    for (; *p >= L'0' && *p <= L'9'; ++p) {
        if (fits) v = v * 10 + (*p - L'0');
        if (v > kMaxFieldSize) fits = false;
    }
    if (fits) value = v;
    return fits;
}

void Pad(std::wstring& out, const std::wstring& body, const Spec& s) {
    const bool left = s.flags.find('-') != std::string::npos;
    std::size_t w = s.width > 0 ? static_cast<std::size_t>(s.width) : 0;
    if (!left && body.size() < w) out.append(w - body.size(), L' ');
    out += body;
    if (left && body.size() < w) out.append(w - body.size(), L' ');
}

std::string NarrowSpec(const Spec& s, const char* length, char conv) {
    std::string f = "%" + s.flags;
    if (s.width >= 0) f += std::to_string(s.width);
    if (s.precision >= 0) f += "." + std::to_string(s.precision);
    f += length;
    f += conv;
    return f;
}

// The field's length is bounded (kMaxFieldSize plus the digits of a
// double), so the text is measured first and then written in full. Numbers
// end up in SQL text: they are written in the "C" locale, with a decimal
// point whatever LC_NUMERIC says.
template <class T>
void PrintNumber(std::wstring& out, const std::string& fmt, T value) {
    const CYxCLocaleScope cLocale;
    char small[128];
    const int n = std::snprintf(small, sizeof small, fmt.c_str(), value);
    if (n < 0) return;
    const std::size_t len = static_cast<std::size_t>(n);
    std::string large;
    const char* text = small;
    if (len >= sizeof small) {
        large.resize(len + 1);
        std::snprintf(large.data(), large.size(), fmt.c_str(), value);
        text = large.c_str();
    }
    for (std::size_t i = 0; i < len; ++i) out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(text[i])));
}

bool FormatOne(std::wstring& out, const Spec& s, const SYxFormatArg& a) {
    switch (s.conv) {
    case L'd':
    case L'i':
    case L'u':
    case L'x':
    case L'X':
    case L'o': {
        if (a.kind != SYxFormatArg::eSigned && a.kind != SYxFormatArg::eUnsigned &&
            a.kind != SYxFormatArg::eChar)
            return false;
        // A 64-bit argument needs an explicit 64-bit conversion (%I64d, %lld);
        // a plain %d of a 64-bit value would print garbage on the original
        // platform, so it is refused here.
        const bool wide = s.lengthBits == 64 || s.lengthBits == -1;
        if (a.size == 8 && !wide) return false;
        const char conv = static_cast<char>(s.conv);
        const bool isSignedConv = conv == 'd' || conv == 'i';
        if (isSignedConv) {
            long long v = a.kind == SYxFormatArg::eUnsigned ? static_cast<long long>(a.v.u) : a.v.i;
            if (!wide) v = static_cast<int>(v);
            PrintNumber(out, NarrowSpec(s, "ll", conv), v);
        } else {
            unsigned long long v = a.kind == SYxFormatArg::eUnsigned ? a.v.u : static_cast<unsigned long long>(a.v.i);
            if (!wide) v = static_cast<unsigned int>(v);
            PrintNumber(out, NarrowSpec(s, "ll", conv), v);
        }
        return true;
    }
    case L'f':
    case L'F':
    case L'e':
    case L'E':
    case L'g':
    case L'G': {
        if (a.kind != SYxFormatArg::eDouble) return false;
        PrintNumber(out, NarrowSpec(s, "", static_cast<char>(s.conv)), a.v.d);
        return true;
    }
    case L's':
    case L'S': {
        std::wstring body;
        if (a.kind == SYxFormatArg::eWideText) body.assign(a.wtext, a.wlen);
        else if (a.kind == SYxFormatArg::eNarrowText) body = YxWideFromUtf8(a.ntext, std::char_traits<char>::length(a.ntext));
        else return false;
        if (s.precision >= 0 && body.size() > static_cast<std::size_t>(s.precision)) body.resize(static_cast<std::size_t>(s.precision));
        Pad(out, body, s);
        return true;
    }
    case L'c': {
        if (a.kind != SYxFormatArg::eChar && a.kind != SYxFormatArg::eSigned && a.kind != SYxFormatArg::eUnsigned)
            return false;
        Pad(out, std::wstring(1, static_cast<wchar_t>(a.v.i)), s);
        return true;
    }
    case L'p': {
        if (a.kind != SYxFormatArg::ePointer) return false;
        PrintNumber(out, "%p", a.v.p);
        return true;
    }
    default:
        return false;
    }
}

}  // namespace

std::wstring FormatArgs(const wchar_t* format, const SYxFormatArg* args, std::size_t count) {
    std::wstring out;
    if (!format) return out;
    std::size_t next = 0;
    bool failed = false;
    for (const wchar_t* p = format; *p; ++p) {
        if (*p != L'%') {
            out.push_back(*p);
            continue;
        }
        ++p;
        if (*p == L'%') {
            out.push_back(L'%');
            continue;
        }
        Spec s;
        while (*p && std::wcschr(L"-+ 0#", *p)) s.flags.push_back(static_cast<char>(*p++));
        if (*p >= L'0' && *p <= L'9' && !ReadFieldSize(p, s.width)) s.oversized = true;
        if (*p == L'.') {
            ++p;
            s.precision = 0;
            if (!ReadFieldSize(p, s.precision)) s.oversized = true;
        }
        if (p[0] == L'I' && p[1] == L'6' && p[2] == L'4') { s.lengthBits = 64; p += 3; }
        else if (p[0] == L'I' && p[1] == L'3' && p[2] == L'2') { s.lengthBits = 32; p += 3; }
        else if (p[0] == L'l' && p[1] == L'l') { s.lengthBits = 64; p += 2; }
        else if (p[0] == L'l') { s.lengthBits = -1; ++p; }
        else if (p[0] == L'h') { s.lengthBits = -2; ++p; }
        else if (p[0] == L'z') { s.lengthBits = 64; ++p; }
        if (!*p) {
            failed = true;
            out += L"<format error>";
            break;
        }
        s.conv = *p;
        if (next >= count || s.oversized || !FormatOne(out, s, args[next])) {
            failed = true;
            out += L"<format error>";
        }
        ++next;
    }
    if (failed || next != count) {
        YX_DIAG_WARN(L"format mismatch in \"%s\": %d arguments given", format, static_cast<int>(count));
    }
    return out;
}

}  // namespace yxformat_detail

CYxStringW CYxStringW::FromUtf8(std::string_view utf8) { return CYxStringW(YxWideFromUtf8(utf8)); }

std::string CYxStringW::ToUtf8() const { return YxUtf8FromWide(m_s.data(), m_s.size()); }

int CYxStringW::Compare(const wchar_t* other) const {
    int c = m_s.compare(other ? other : L"");
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

int CYxStringW::CompareNoCase(const wchar_t* other) const {
    const wchar_t* a = m_s.c_str();
    const wchar_t* b = other ? other : L"";
    for (;; ++a, ++b) {
        const wchar_t x = yx::FoldCase(*a);
        const wchar_t y = yx::FoldCase(*b);
        if (x != y) return x < y ? -1 : 1;
        if (!*a) return 0;
    }
}

CYxStringW& CYxStringW::MakeLower() {
    for (auto& c : m_s) c = yx::ToLower(c);
    return *this;
}

CYxStringW& CYxStringW::MakeUpper() {
    for (auto& c : m_s) c = yx::ToUpper(c);
    return *this;
}

CYxStringW& CYxStringW::TrimLeft(const wchar_t* chars) {
    std::size_t i = m_s.find_first_not_of(chars ? chars : L"");
    m_s.erase(0, i == std::wstring::npos ? m_s.size() : i);
    return *this;
}

CYxStringW& CYxStringW::TrimRight(const wchar_t* chars) {
    std::size_t i = m_s.find_last_not_of(chars ? chars : L"");
    m_s.erase(i == std::wstring::npos ? 0 : i + 1);
    return *this;
}

CYxStringW& CYxStringW::Trim(const wchar_t* chars) {
    TrimRight(chars);
    return TrimLeft(chars);
}

int CYxStringW::Replace(const wchar_t* from, const wchar_t* to) {
    if (!from || !*from) return 0;
    std::wstring f(from), t(to ? to : L"");
    int n = 0;
    for (std::size_t pos = 0; (pos = m_s.find(f, pos)) != std::wstring::npos; pos += t.size(), ++n)
        m_s.replace(pos, f.size(), t);
    return n;
}

CYxStringW CYxStringW::Mid(std::size_t pos, std::size_t n) const {
    if (pos >= m_s.size()) return CYxStringW();
    return CYxStringW(m_s.substr(pos, n));
}

CYxStringW CYxStringW::Right(std::size_t n) const {
    if (n >= m_s.size()) return *this;
    return CYxStringW(m_s.substr(m_s.size() - n));
}

long long CYxStringW::Find(const wchar_t* what, std::size_t from) const {
    std::size_t i = m_s.find(what ? what : L"", from);
    return i == std::wstring::npos ? -1 : static_cast<long long>(i);
}

long long CYxStringW::ReverseFind(wchar_t ch) const {
    std::size_t i = m_s.rfind(ch);
    return i == std::wstring::npos ? -1 : static_cast<long long>(i);
}

bool CYxStringW::StartsWith(const wchar_t* prefix) const {
    std::wstring_view p(prefix ? prefix : L"");
    return m_s.size() >= p.size() && std::wstring_view(m_s).substr(0, p.size()) == p;
}

bool CYxStringW::EndsWith(const wchar_t* suffix) const {
    std::wstring_view p(suffix ? suffix : L"");
    return m_s.size() >= p.size() && std::wstring_view(m_s).substr(m_s.size() - p.size()) == p;
}
