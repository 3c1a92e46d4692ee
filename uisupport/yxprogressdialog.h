// CYxProgressDialog: the progress dialog interface that long operations
// drive (upgrades, clean-up). Implementations show it however they like: the
// projectdb tool draws it on the terminal, tests record the calls.
//
// The virtual operations, in slot order: set the range, set the position,
// process pending messages, set the text line, the owner window. Calls come
// from the thread that runs the operation's watcher; the cancel callback is
// invoked by the implementation from the same thread (for example from
// ProcessMessages when the user asked to cancel).
#pragma once

#include "framework/yxexport.h"

// Returns 0 to go on; the value is the operation's own business.
typedef int (*PFYxProgressCancelCallback)(void* context);

class GNR_API CYxProgressDialog {
public:
    virtual ~CYxProgressDialog() = default;

    virtual void SetRange(int minimum, int maximum) = 0;
    virtual void SetPos(int position) = 0;
    virtual void ProcessMessages() = 0;
    virtual void SetText(const wchar_t* text) = 0;
    // The window that owns message boxes shown during the operation (may be
    // null, as it is for terminal dialogs).
    virtual void* GetWindow() = 0;

    // The callback to call when the user asks to cancel; replaces any
    // earlier one.
    void RegisterCancelCallback(PFYxProgressCancelCallback callback, void* context) {
        m_cancel = callback;
        m_cancelContext = context;
    }
    // Calls the registered cancel callback; 0 when none is registered.
    int RequestCancel() { return m_cancel ? m_cancel(m_cancelContext) : 0; }
    bool HasCancelCallback() const { return m_cancel != nullptr; }

private:
    PFYxProgressCancelCallback m_cancel = nullptr;
    void* m_cancelContext = nullptr;
};
