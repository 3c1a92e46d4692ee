// projectdb upgrade | silent-upgrade | cleanup | app-upgrade | app-downgrade FILE [--quiet]
//
// The jobs upgrade and clean-up show a progress line on stderr (phase text
// and a moving bar). Ctrl-C asks "Are you sure to abort the process?" on the
// terminal; a yes cancels the run, which rolls back. --quiet runs without the
// progress line (and without cancellation).
#include "tool.h"

#include "gnr_projectdb/upgrade.h"
#include "uisupport/yxprogressdialog.h"
#include "uisupport/yxquestionbox.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

namespace {
volatile std::sig_atomic_t g_interrupted = 0;

void OnSigint(int) { g_interrupted = 1; }

// Reads the answer from the terminal (stdin when there is none).
int TerminalQuestion(void*, const wchar_t* text, const wchar_t* title, unsigned) {
    std::FILE* in = std::fopen("/dev/tty", "r");
    const bool own = in != nullptr;
    if (!in) in = stdin;
    std::fprintf(stderr, "\n%s: %s [y/N] ", YxTool_Narrow(title ? title : L"").c_str(),
                 YxTool_Narrow(text ? text : L"").c_str());
    std::fflush(stderr);
    char line[64] = {0};
    const bool got = std::fgets(line, sizeof line, in) != nullptr;
    if (own) std::fclose(in);
    return got && (line[0] == 'y' || line[0] == 'Y') ? YX_IDYES : YX_IDNO;
}

class CTerminalProgress : public CYxProgressDialog {
public:
    void SetRange(int minimum, int maximum) override {
        m_min = minimum;
        m_max = maximum > minimum ? maximum : minimum + 1;
    }
    void SetPos(int position) override {
        m_pos = position;
        Draw();
    }
    void ProcessMessages() override {
        if (g_interrupted) {
            g_interrupted = 0;
            RequestCancel();
            Draw();
        }
    }
    void SetText(const wchar_t* text) override {
        m_text = YxTool_Narrow(text ? text : L"");
        Draw();
    }
    void* GetWindow() override { return nullptr; }
    void Done() {
        if (m_drawn) std::fputc('\n', stderr);
    }

private:
    void Draw() {
        const int width = 30;
        int filled = (m_pos - m_min) * width / (m_max - m_min);
        if (filled < 0) filled = 0;
        if (filled > width) filled = width;
        std::fprintf(stderr, "\r[%s%s] %s\033[K", std::string(static_cast<std::size_t>(filled), '#').c_str(),
                     std::string(static_cast<std::size_t>(width - filled), '.').c_str(), m_text.c_str());
        std::fflush(stderr);
        m_drawn = true;
    }
    int m_min = 0, m_max = 100, m_pos = 0;
    std::string m_text;
    bool m_drawn = false;
};

enum EKind { eUpgrade, eSilent, eCleanup, eAppUpgrade, eAppDowngrade };

int Run(EKind kind, CYxToolCall& call) {
    const bool quiet = call.Flag("quiet");
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);

    CTerminalProgress progress;
    CYxProgressDialog* dialog = quiet ? nullptr : &progress;
    void (*previous)(int) = SIG_DFL;
    PFYxQuestionBox previousBox = nullptr;
    const bool cancellable = !quiet && (kind == eUpgrade || kind == eCleanup);
    if (cancellable) {
        previousBox = YxUi_SetQuestionBox(&TerminalQuestion);
        previous = std::signal(SIGINT, &OnSigint);
    }

    int status = 0;
    const char* what = "";
    switch (kind) {
    case eUpgrade: status = YxProjectDb_Db_Jobs_Upgrade(path.c_str(), dialog); what = "upgrade"; break;
    case eSilent: status = YxProjectDb_Db_Jobs_Silent_Upgrade(path.c_str()); what = "silent upgrade"; break;
    case eCleanup: status = YxProjectDb_Db_Jobs_Cleanup(path.c_str(), dialog); what = "clean-up"; break;
    case eAppUpgrade: status = YxProjectDb_Db_Vasq_Upgrade(path.c_str(), dialog); what = "upgrade"; break;
    case eAppDowngrade: status = YxProjectDb_Db_Vasq_Downgrade(path.c_str(), dialog); what = "downgrade"; break;
    }
    progress.Done();
    if (cancellable) {
        std::signal(SIGINT, previous);
        YxUi_SetQuestionBox(previousBox);
    }
    if (status != 0) return call.Fail(file, std::string(what) + " failed", status);
    if (!quiet) std::printf("%s of '%s' done\n", what, file.c_str());
    return 0;
}

int RunUpgrade(CYxToolCall& c) { return Run(eUpgrade, c); }
int RunSilent(CYxToolCall& c) { return Run(eSilent, c); }
int RunCleanup(CYxToolCall& c) { return Run(eCleanup, c); }
int RunAppUpgrade(CYxToolCall& c) { return Run(eAppUpgrade, c); }
int RunAppDowngrade(CYxToolCall& c) { return Run(eAppDowngrade, c); }

void Declare(CYxToolSyntax& s) {
    s.Argument("FILE", "the database file");
    s.Flag("quiet", "no progress output and no cancellation");
}
}  // namespace

YX_TOOL_COMMAND("upgrade", 30, "upgrade a jobs database to the current version (Ctrl-C cancels)", &Declare,
                &RunUpgrade);
YX_TOOL_COMMAND("silent-upgrade", 31, "run only the silent upgrade step of a jobs database", &Declare, &RunSilent);
YX_TOOL_COMMAND("cleanup", 32, "delete obsolete records of a jobs database, compact and analyse", &Declare,
                &RunCleanup);
YX_TOOL_COMMAND("app-upgrade", 42, "upgrade an application database to version 7", &Declare, &RunAppUpgrade);
YX_TOOL_COMMAND("app-downgrade", 43, "take an application database from version 5 down to 4", &Declare,
                &RunAppDowngrade);
