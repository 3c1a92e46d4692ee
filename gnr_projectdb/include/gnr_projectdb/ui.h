/// \file
/// The user interface hooks of long operations: the progress dialog that they
/// drive and the Yes/No question box that they ask through.
///
/// CYxProgressDialog: the progress dialog interface that long operations
/// drive (upgrades, clean-up). Implementations show it however they like: the
/// projectdb tool draws it on the terminal, tests record the calls.
///
/// The virtual operations, in slot order: set the range, set the position,
/// process pending messages, set the text line, the owner window. Calls come
/// from the thread that runs the operation's watcher; the cancel callback is
/// invoked by the implementation from the same thread (for example from
/// ProcessMessages when the user asked to cancel).
#pragma once

#include "gnr_projectdb/export.h"

/// Returns 0 to go on; the value is the operation's own business.
typedef int (*PFYxProgressCancelCallback)(void* context);

class GNR_API CYxProgressDialog {
public:
    virtual ~CYxProgressDialog() = default;

    virtual void SetRange(int minimum, int maximum) = 0;
    virtual void SetPos(int position) = 0;
    virtual void ProcessMessages() = 0;
    virtual void SetText(const wchar_t* text) = 0;
    /// The window that owns message boxes shown during the operation (may be
    /// null, as it is for terminal dialogs).
    virtual void* GetWindow() = 0;

    /// The callback to call when the user asks to cancel; replaces any
    /// earlier one.
    void RegisterCancelCallback(PFYxProgressCancelCallback callback, void* context) {
        m_cancel = callback;
        m_cancelContext = context;
    }
    /// Calls the registered cancel callback; 0 when none is registered.
    int RequestCancel() { return m_cancel ? m_cancel(m_cancelContext) : 0; }
    bool HasCancelCallback() const { return m_cancel != nullptr; }

private:
    PFYxProgressCancelCallback m_cancel = nullptr;
    void* m_cancelContext = nullptr;
};

// ---- The Yes/No question box. The library asks through YxUi_QuestionBox; a
// user interface installs its own implementation with YxUi_SetQuestionBox.
// With none installed every question is answered No.
//
// Installing is not synchronised with asking: install before the operations
// that may ask start, and keep the function valid while they run.

enum { YX_IDYES = 6, YX_IDNO = 7 };
/// Style of a question with Yes and No buttons and the question icon.
enum { YX_MB_YESNO_QUESTION = 36 };

/// (owner window, text, title, style) -> YX_IDYES or YX_IDNO.
typedef int (*PFYxQuestionBox)(void* owner, const wchar_t* text, const wchar_t* title, unsigned style);

/// Installs an implementation; null restores the default (always No).
/// Returns the one that was installed before.
GNR_API PFYxQuestionBox YxUi_SetQuestionBox(PFYxQuestionBox box);
GNR_API int YxUi_QuestionBox(void* owner, const wchar_t* text, const wchar_t* title, unsigned style);
