// Unicode character rules for wide text: case mapping, case folding and
// letter/digit classes from the Unicode tables, never from the process's
// character locale (a program started under the C locale sorts, compares and
// classifies "Äpfel", "Б10" or "Größe" exactly as one under de_DE.UTF-8).
// wchar_t holds one code point (UTF-32). Pure functions, safe from any thread.
#pragma once

namespace yx {

// Simple (one to one) case mappings; characters without one come back as they are.
wchar_t ToLower(wchar_t c);
wchar_t ToUpper(wchar_t c);
// Case folding for caseless comparison ("ß" stays "ß"; "Σ", "σ" and "ς" fold alike).
wchar_t FoldCase(wchar_t c);
// Letters (any script), decimal digits and combining marks: the characters
// that make up a word.
bool IsWordCharacter(wchar_t c);

}  // namespace yx
