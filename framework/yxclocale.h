// The "C" locale as a locale object, for the number conversions whose text is
// data (SQL text, stored values, file names): they write and read a decimal
// point whatever the process locale (LC_NUMERIC) says.
//
// Thread safety: the locale object is created once and never changed; a
// scope switches only the calling thread (uselocale), so other threads keep
// their locale.
#pragma once

#include <clocale>
#include <locale.h>

// The process-wide "C" locale object; (locale_t)0 when it could not be made.
locale_t YxCLocale();

// Switches the calling thread to the "C" locale for the scope's lifetime and
// back to the thread's previous locale afterwards.
class CYxCLocaleScope {
public:
    CYxCLocaleScope();
    ~CYxCLocaleScope();
    CYxCLocaleScope(const CYxCLocaleScope&) = delete;
    CYxCLocaleScope& operator=(const CYxCLocaleScope&) = delete;

private:
    locale_t m_previous = nullptr;
};

// wcstod as in the "C" locale: "2.5" is 2.5 under any locale.
double YxWcstodC(const wchar_t* text, wchar_t** end = nullptr);
