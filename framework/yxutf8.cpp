#include "framework/yxutf8.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void PutUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

}  // namespace

void YxUtf8AppendWide(std::string& out, const wchar_t* s, std::size_t n) {
    if (!s) return;
    out.reserve(out.size() + n);
    for (std::size_t i = 0; i < n; ++i) {
        char32_t c = static_cast<char32_t>(s[i]);
        if (c < 0x80) {  // fast path for ASCII
            out.push_back(static_cast<char>(c));
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF) {
            // A high surrogate combines with a following low surrogate (text
            // that arrived as UTF-16 in wchar_t); alone it is invalid.
            if (i + 1 < n) {
                char32_t d = static_cast<char32_t>(s[i + 1]);
                if (d >= 0xDC00 && d <= 0xDFFF) {
                    PutUtf8(out, 0x10000 + ((c - 0xD800) << 10) + (d - 0xDC00));
                    ++i;
                    continue;
                }
            }
            c = kReplacement;
        } else if ((c >= 0xDC00 && c <= 0xDFFF) || c > 0x10FFFF) {
            c = kReplacement;
        }
        PutUtf8(out, c);
    }
}

std::string YxUtf8FromWide(const wchar_t* s, std::size_t n) {
    std::string out;
    YxUtf8AppendWide(out, s, n);
    return out;
}

std::wstring YxWideFromUtf8(const char* s, std::size_t n) {
    std::wstring out;
    if (!s) return out;
    out.reserve(n);
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    std::size_t i = 0;
    while (i < n) {
        unsigned char b = p[i];
        if (b < 0x80) {
            out.push_back(static_cast<wchar_t>(b));
            ++i;
            continue;
        }
        int len = 0;
        char32_t cp = 0;
        char32_t min = 0;
        if ((b & 0xE0) == 0xC0) { len = 2; cp = b & 0x1F; min = 0x80; }
        else if ((b & 0xF0) == 0xE0) { len = 3; cp = b & 0x0F; min = 0x800; }
        else if ((b & 0xF8) == 0xF0) { len = 4; cp = b & 0x07; min = 0x10000; }
        else {
            out.push_back(static_cast<wchar_t>(kReplacement));
            ++i;
            continue;
        }
        int k = 1;
        for (; k < len && i + k < n; ++k) {
            unsigned char c = p[i + k];
            if ((c & 0xC0) != 0x80) break;
            cp = (cp << 6) | (c & 0x3F);
        }
        if (k < len) {  // truncated or interrupted sequence: skip what was read
            out.push_back(static_cast<wchar_t>(kReplacement));
            i += k;
            continue;
        }
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = kReplacement;
        out.push_back(static_cast<wchar_t>(cp));
        i += len;
    }
    return out;
}
