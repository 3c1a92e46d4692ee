#include "locale_support.h"

#include <clocale>
#include <cstring>

CYxProcessLocale::CYxProcessLocale(const char* name) {
    const char* current = std::setlocale(LC_ALL, nullptr);
    m_previous = current ? current : "C";
    m_active = std::setlocale(LC_ALL, name) != nullptr;
}

CYxProcessLocale::~CYxProcessLocale() { Restore(); }

void CYxProcessLocale::Restore() {
    if (m_active) std::setlocale(LC_ALL, m_previous.c_str());
    m_active = false;
}

CYxCommaLocale::CYxCommaLocale() : CYxProcessLocale("de_DE.UTF-8") {
    const std::lconv* conv = std::localeconv();
    m_comma = CYxProcessLocale::Active() && conv && std::strcmp(conv->decimal_point, ",") == 0;
    if (!m_comma) Restore();
}
