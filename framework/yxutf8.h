// The one pair of text conversions between the library's wide strings and the
// UTF-8 that SQLite, Qt and the operating system are given.
//
// Invalid input never truncates or fails: unpaired surrogates, code points
// beyond U+10FFFF and malformed UTF-8 sequences each become U+FFFD.
// Both functions are pure and thread-safe.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

std::string YxUtf8FromWide(const wchar_t* s, std::size_t n);
std::wstring YxWideFromUtf8(const char* s, std::size_t n);

// Appends instead of returning, so a caller can reuse one buffer per row.
void YxUtf8AppendWide(std::string& out, const wchar_t* s, std::size_t n);

inline std::string YxUtf8FromWide(std::wstring_view s) { return YxUtf8FromWide(s.data(), s.size()); }
inline std::wstring YxWideFromUtf8(std::string_view s) { return YxWideFromUtf8(s.data(), s.size()); }
