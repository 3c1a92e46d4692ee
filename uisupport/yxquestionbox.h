// The Yes/No question box. The library asks through YxUi_QuestionBox; a
// user interface installs its own implementation with YxUi_SetQuestionBox.
// With none installed every question is answered No.
//
// Installing is not synchronised with asking: install before the operations
// that may ask start, and keep the function valid while they run.
#pragma once

#include "framework/yxexport.h"

enum { YX_IDYES = 6, YX_IDNO = 7 };
// Style of a question with Yes and No buttons and the question icon.
enum { YX_MB_YESNO_QUESTION = 36 };

// (owner window, text, title, style) -> YX_IDYES or YX_IDNO.
typedef int (*PFYxQuestionBox)(void* owner, const wchar_t* text, const wchar_t* title, unsigned style);

// Installs an implementation; null restores the default (always No).
// Returns the one that was installed before.
GNR_API PFYxQuestionBox YxUi_SetQuestionBox(PFYxQuestionBox box);
GNR_API int YxUi_QuestionBox(void* owner, const wchar_t* text, const wchar_t* title, unsigned style);
