// Process locales for the tests that check that numbers in SQL text, stored
// values and text rules do not follow the locale.
#pragma once

#include <string>

// Switches the process (setlocale LC_ALL) to the named locale for the
// object's lifetime and back afterwards. Active() is false when the system
// lacks that locale. Not for use while other threads run.
class CYxProcessLocale {
public:
    explicit CYxProcessLocale(const char* name);
    ~CYxProcessLocale();
    CYxProcessLocale(const CYxProcessLocale&) = delete;
    CYxProcessLocale& operator=(const CYxProcessLocale&) = delete;
    bool Active() const { return m_active; }

protected:
    void Restore();

private:
    std::string m_previous;
    bool m_active = false;
};

// A comma-decimal UTF-8 locale, de_DE.UTF-8; inactive when the system lacks
// it or its decimal separator is not a comma. Tests then skip with
// YX_REQUIRE_COMMA_LOCALE.
class CYxCommaLocale : public CYxProcessLocale {
public:
    CYxCommaLocale();
    bool Active() const { return m_comma; }

private:
    bool m_comma = false;
};

#define YX_REQUIRE_COMMA_LOCALE(scope) \
    if (!(scope).Active()) GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed (localedef -i de_DE -f UTF-8 de_DE.UTF-8)"
