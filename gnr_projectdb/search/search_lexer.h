// The tokens of a search expression. The lexer reads the whole text at once
// into a token list ending with eEnd; characters that start no token become
// eBad tokens, and the parser reports them where it meets them. Pure
// functions; no state, no locale.
#pragma once

#include <string>
#include <vector>

namespace yxsearch {

enum ETokenKind {
    eWord,      // bare word: name, keyword or text
    eQuoted,    // '...' or "...", text holds the content without the quotes
    eNumber,    // decimal number, number holds its value
    eOperator,  // = == != <> < <= > >=, text holds the spelling
    eLParen,
    eRParen,
    eComma,
    eDot,
    eBad,       // a character that starts no token, or an unterminated quote
    eEnd,
};

struct SToken {
    ETokenKind kind = eEnd;
    std::wstring text;    // content (words, quoted texts, operators) or the source spelling
    std::wstring source;  // the characters of the expression that make up the token
    double number = 0;
    int position = 0;     // offset of the first character
    bool unterminated = false;  // eBad: a quote without its closing quote
};

std::vector<SToken> Tokenize(const std::wstring& expression);

// Whether a bare word is the keyword, without regard to ASCII case.
bool IsKeyword(const SToken& token, const wchar_t* keyword);

}  // namespace yxsearch
