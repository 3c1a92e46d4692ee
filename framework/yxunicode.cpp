#include "framework/yxunicode.h"

#include <QChar>

namespace yx {
namespace {
// Code points beyond Unicode (wchar_t may hold any 32-bit value) and
// surrogates have no case and are no letters.
bool IsScalar(wchar_t c) {
    const auto u = static_cast<unsigned long>(c);
    return u <= 0x10FFFFul && (u < 0xD800ul || u > 0xDFFFul);
}
}  // namespace

wchar_t ToLower(wchar_t c) {
    if (c < 0x80) return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
    return IsScalar(c) ? static_cast<wchar_t>(QChar::toLower(static_cast<uint>(c))) : c;
}

wchar_t ToUpper(wchar_t c) {
    if (c < 0x80) return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - (L'a' - L'A')) : c;
    return IsScalar(c) ? static_cast<wchar_t>(QChar::toUpper(static_cast<uint>(c))) : c;
}

wchar_t FoldCase(wchar_t c) {
    if (c < 0x80) return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
    return IsScalar(c) ? static_cast<wchar_t>(QChar::toCaseFolded(static_cast<uint>(c))) : c;
}

bool IsWordCharacter(wchar_t c) {
    if (c < 0x80) return (c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
    if (!IsScalar(c)) return false;
    const uint u = static_cast<uint>(c);
    return QChar::isLetter(u) || QChar::category(u) == QChar::Number_DecimalDigit || QChar::isMark(u);
}

}  // namespace yx
