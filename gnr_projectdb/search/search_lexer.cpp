// The lexer of search expressions: words, quoted texts, numbers and the
// punctuation of the language.
#include "gnr_projectdb/search/search_lexer.h"

#include <charconv>
#include <string>

namespace yxsearch {
namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
// Letters of a bare word: ASCII letters, "_" and every non-ASCII character
// other than the blanks that separate words.
bool IsWordStart(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' ||
           (c > 0x7f && c != 0xa0 && c != 0x3000 && c != 0xfeff);
}
bool IsWordChar(wchar_t c) { return IsWordStart(c) || IsDigit(c); }
bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n' || c == L'\f' || c == L'\v' || c == 0xa0; }

// Length of the number at s[i] ([+-] digits [. digits] [e [+-] digits], or
// with the digits only after the point), 0 when there is none.
std::size_t NumberLength(const std::wstring& s, std::size_t i) {
    std::size_t j = i;
    if (j < s.size() && (s[j] == L'+' || s[j] == L'-')) ++j;
    std::size_t digits = 0;
    while (j < s.size() && IsDigit(s[j])) ++j, ++digits;
    if (j < s.size() && s[j] == L'.' && j + 1 < s.size() && IsDigit(s[j + 1])) {
        ++j;
        while (j < s.size() && IsDigit(s[j])) ++j, ++digits;
    }
    if (digits == 0) return 0;
    if (j < s.size() && (s[j] == L'e' || s[j] == L'E')) {
        std::size_t k = j + 1;
        if (k < s.size() && (s[k] == L'+' || s[k] == L'-')) ++k;
        if (k < s.size() && IsDigit(s[k])) {
            while (k < s.size() && IsDigit(s[k])) ++k;
            j = k;
        }
    }
    return j - i;
}

}  // namespace

bool IsKeyword(const SToken& token, const wchar_t* keyword) {
    if (token.kind != eWord) return false;
    std::size_t i = 0;
    for (; keyword[i]; ++i) {
        if (i >= token.text.size()) return false;
        wchar_t c = token.text[i];
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
        if (c != keyword[i]) return false;
    }
    return i == token.text.size();
}

std::vector<SToken> Tokenize(const std::wstring& s) {
    std::vector<SToken> out;
    std::size_t i = 0;
    while (true) {
        while (i < s.size() && IsBlank(s[i])) ++i;
        SToken t;
        t.position = static_cast<int>(i);
        if (i >= s.size()) {
            t.kind = eEnd;
            out.push_back(std::move(t));
            return out;
        }
        const wchar_t c = s[i];
        std::size_t len = 1;
        if (IsWordStart(c)) {
            while (i + len < s.size() && IsWordChar(s[i + len])) ++len;
            t.kind = eWord;
            t.text = s.substr(i, len);
        } else if (c == L'\'' || c == L'"') {
            // A doubled quote inside stands for the quote.
            std::size_t j = i + 1;
            bool closed = false;
            while (j < s.size()) {
                if (s[j] == c) {
                    if (j + 1 < s.size() && s[j + 1] == c) {
                        t.text += c;
                        j += 2;
                        continue;
                    }
                    closed = true;
                    ++j;
                    break;
                }
                t.text += s[j++];
            }
            len = j - i;
            t.kind = closed ? eQuoted : eBad;
            t.unterminated = !closed;
            if (!closed) t.text = std::wstring(1, c);
        } else if (const std::size_t n = NumberLength(s, i)) {
            len = n;
            std::string ascii(n, '\0');
            for (std::size_t k = 0; k < n; ++k) ascii[k] = static_cast<char>(s[i + k]);
            const char* first = ascii.c_str() + (ascii[0] == '+' ? 1 : 0);
            const auto r = std::from_chars(first, ascii.c_str() + ascii.size(), t.number);
            // Out of range (1e999) is not a number this language can compare.
            t.kind = (r.ec == std::errc() && r.ptr == ascii.c_str() + ascii.size()) ? eNumber : eBad;
            t.text = s.substr(i, n);
        } else if (c == L'=' || c == L'!' || c == L'<' || c == L'>') {
            const wchar_t d = i + 1 < s.size() ? s[i + 1] : 0;
            if ((c == L'=' && d == L'=') || (c == L'!' && d == L'=') || (c == L'<' && (d == L'=' || d == L'>')) ||
                (c == L'>' && d == L'='))
                len = 2;
            t.kind = (c == L'!' && len == 1) ? eBad : eOperator;
            t.text = s.substr(i, len);
        } else if (c == L'(') {
            t.kind = eLParen;
        } else if (c == L')') {
            t.kind = eRParen;
        } else if (c == L',') {
            t.kind = eComma;
        } else if (c == L'.') {
            t.kind = eDot;
        } else {
            t.kind = eBad;
        }
        t.source = s.substr(i, len);
        if (t.text.empty() && t.kind != eQuoted) t.text = t.source;
        out.push_back(std::move(t));
        i += len;
    }
}

}  // namespace yxsearch
