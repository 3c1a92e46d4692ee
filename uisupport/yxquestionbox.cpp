#include "uisupport/yxquestionbox.h"

#include <atomic>

namespace {
std::atomic<PFYxQuestionBox> g_box{nullptr};
}

PFYxQuestionBox YxUi_SetQuestionBox(PFYxQuestionBox box) { return g_box.exchange(box); }

int YxUi_QuestionBox(void* owner, const wchar_t* text, const wchar_t* title, unsigned style) {
    PFYxQuestionBox box = g_box.load();
    return box ? box(owner, text, title, style) : YX_IDNO;
}
