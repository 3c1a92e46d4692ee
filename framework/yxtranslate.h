// User-visible texts pass through YX_GetTranslation, backed by Qt's
// translation machinery (QCoreApplication::translate). Without an installed
// translator (or without a QCoreApplication) the source text is returned.
#pragma once

#include "framework/yxstring.h"

CYxStringW YX_GetTranslation(const char* context, const wchar_t* text);
