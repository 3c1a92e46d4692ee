// Diagnostic output of the framework: formatted lines with source file and
// line, sent to the Qt logging category "gnr.projectdb" (warnings are shown
// by default, informational lines when QT_LOGGING_RULES enables
// "gnr.projectdb.debug=true"). Thread-safe: Qt's message handler serialises.
#pragma once

#include "framework/yxstring.h"

enum EYxDiagLevel { eYxDiagInfo = 0, eYxDiagWarning = 1 };

void YxDiag_Write(const char* file, int line, EYxDiagLevel level, const wchar_t* text);

#define YX_DIAG_INFO(...) \
    YxDiag_Write(__FILE__, __LINE__, eYxDiagInfo, CYxStringW::Format(__VA_ARGS__).c_str())
#define YX_DIAG_WARN(...) \
    YxDiag_Write(__FILE__, __LINE__, eYxDiagWarning, CYxStringW::Format(__VA_ARGS__).c_str())
