// The dialog-driven run of an upgrade or clean-up: the worker runs on a
// thread of its own; the calling thread polls it every 100 ms, shows the
// worker's phase, keeps a liveness bar moving and lets the dialog process
// its messages, through which the user can ask to cancel.
#include "gnr_projectdb/upgrades/upgrade_driver.h"

#include "framework/yxdatetime.h"
#include "framework/yxtranslate.h"
#include "gnr_projectdb/status.h"
#include "uisupport/yxquestionbox.h"

#include <chrono>
#include <exception>
#include <future>
#include <system_error>
#include <thread>

namespace {
const char* const kContext = "gnr_projectdb/cyxprojectdb_upgrades";

CYxStringW Tr(const wchar_t* text) { return YX_GetTranslation(kContext, text); }

const wchar_t* const kUpgradePhases[] = {
    L"Upgrading tables (may take a long time)...",
    L"Indexing tables (may take a long time)...",
    L"Optimizing database file (may take a long time)...",
    L"Analyzing database file for better efficiency...",
};
const wchar_t* const kCleanupPhases[] = {
    L"Deleting obsolete records (may take a long time)...",
    L"Optimizing database file (may take a long time)...",
    L"Analyzing database file for better efficiency...",
};

const wchar_t* PhaseText(EYxUpgradeRunKind kind, int phase) {
    if (phase < 0) return nullptr;
    if (kind == eYxUpgradeRunUpgrade)
        return phase < 4 ? kUpgradePhases[phase] : nullptr;
    return phase < 3 ? kCleanupPhases[phase] : nullptr;
}

void ShowCancelled(CYxProgressDialog* dialog, EYxUpgradeRunKind kind) {
    dialog->SetText(Tr(kind == eYxUpgradeRunUpgrade ? L"Upgrade was Canceled! Rolling back..."
                                                    : L"Cleanup was Canceled! Rolling back..."));
}

// Registered on the dialog with the dialog itself as context. Asks once; a
// Yes sets the abort flag, which the worker's progress handler turns into
// an interrupt of the running statement.
int CancelCallback(void* context) {
    std::atomic<int>& abort = YxProjectDb_Upgrade_AbortFlag();
    if (abort.load() != 0) return YXPDB_E_NOCONNECTION;
    auto* dialog = static_cast<CYxProgressDialog*>(context);
    const CYxStringW text = Tr(L"Are you sure to abort the process?");
    const CYxStringW title = Tr(L"Warning");
    const int answer = YxUi_QuestionBox(dialog ? dialog->GetWindow() : nullptr, text, title, YX_MB_YESNO_QUESTION);
    if (answer == YX_IDYES) abort.fetch_add(1);
    return YXPDB_E_NOCONNECTION;
}
}  // namespace

int YxProjectDb_Upgrade_RunWithDialog(const wchar_t* path, CYxProgressDialog* dialog, PFYxUpgradeWorker worker,
                                      EYxUpgradeRunKind kind) {
    if (!path || !*path) return YXPDB_E_PATH;
    if (!dialog) return worker(path);

    std::atomic<int>& phase = YxProjectDb_Upgrade_PhaseCounter();
    std::atomic<int>& abort = YxProjectDb_Upgrade_AbortFlag();
    phase.store(0);
    abort.store(0);
    dialog->RegisterCancelCallback(&CancelCallback, dialog);
    dialog->SetText(Tr(PhaseText(kind, 0)));
    dialog->SetRange(0, 30);
    dialog->SetPos(0);

    const CYxStringW pathCopy(path);
    std::packaged_task<int()> task([worker, pathCopy]() { return worker(pathCopy.c_str()); });
    std::future<int> result = task.get_future();
    std::thread thread;
    try {
        thread = std::thread(std::move(task));
    } catch (const std::system_error&) {
        dialog->RegisterCancelCallback(nullptr, nullptr);
        return YXPDB_E_THREAD;
    }

    const double start = YX_GetTimeCounter();
    int shownPhase = 0;
    bool cancelShown = false;
    while (result.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout) {
        if (abort.load() == 0) {
            const int current = phase.load();
            if (current != shownPhase) {
                if (const wchar_t* text = PhaseText(kind, current)) dialog->SetText(Tr(text));
                shownPhase = current;
            }
        } else if (!cancelShown) {
            ShowCancelled(dialog, kind);
            cancelShown = true;
        }
        dialog->ProcessMessages();
        dialog->SetPos(static_cast<int>(YX_GetTimeCounter() - start) % 30);
    }
    thread.join();
    // A rollback that ended before the next poll still tells the user once.
    if (abort.load() != 0 && !cancelShown) ShowCancelled(dialog, kind);

    // The run is over: later cancel requests must not reach the next run.
    dialog->RegisterCancelCallback(nullptr, nullptr);
    abort.store(0);
    try {
        return result.get();
    } catch (const std::exception&) {
        return YXPDB_E_THREAD;
    }
}
