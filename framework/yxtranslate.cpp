#include "framework/yxtranslate.h"

#include "framework/yxutf8.h"

#include <QCoreApplication>
#include <QString>

CYxStringW YX_GetTranslation(const char* context, const wchar_t* text) {
    if (!text) return CYxStringW();
    const std::string utf8 = YxUtf8FromWide(std::wstring_view(text));
    const QString out = QCoreApplication::translate(context ? context : "", utf8.c_str());
    return CYxStringW(out.toStdWString());
}
