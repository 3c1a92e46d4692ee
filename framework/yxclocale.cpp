#include "framework/yxclocale.h"

#include <cwchar>

locale_t YxCLocale() {
    static const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return c;
}

CYxCLocaleScope::CYxCLocaleScope() {
    if (locale_t c = YxCLocale()) m_previous = uselocale(c);
}

CYxCLocaleScope::~CYxCLocaleScope() {
    if (m_previous) uselocale(m_previous);
}

double YxWcstodC(const wchar_t* text, wchar_t** end) {
    CYxCLocaleScope c;
    return std::wcstod(text ? text : L"", end);
}
