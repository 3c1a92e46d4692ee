#include "tool_progress.h"

#include "tool.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>

namespace {
volatile std::sig_atomic_t g_interrupted = 0;
std::atomic<bool> g_confirmed{false};

void OnSigint(int) { g_interrupted = 1; }

const char* const kAbortQuestion = "Are you sure to abort the process?";

// Asks on the terminal; a process without one cannot be asked, and a SIGINT
// that reached it came from someone who wants it to stop.
bool AskOnTerminal(const std::string& title, const std::string& text) {
    std::FILE* tty = std::fopen("/dev/tty", "r+");
    if (!tty) return true;
    std::fprintf(tty, "\n%s%s%s [y/N] ", title.c_str(), title.empty() ? "" : ": ", text.c_str());
    std::fflush(tty);
    char line[64] = {0};
    const bool got = std::fgets(line, sizeof line, tty) != nullptr;
    std::fclose(tty);
    return got && (line[0] == 'y' || line[0] == 'Y');
}

int TerminalQuestionBox(void*, const wchar_t* text, const wchar_t* title, unsigned) {
    const bool yes = AskOnTerminal(YxTool_Narrow(title ? title : L""), YxTool_Narrow(text ? text : L""));
    if (yes) g_confirmed = true;
    return yes ? YX_IDYES : YX_IDNO;
}

// Redraws of the bar at most this often while counts stream in.
constexpr std::chrono::milliseconds kRedrawInterval(100);
constexpr int kBarWidth = 30;
}  // namespace

// ---------------------------------------------------------------------------

CYxToolInterrupt::CYxToolInterrupt() {
    g_interrupted = 0;
    g_confirmed = false;
    m_previousHandler = std::signal(SIGINT, &OnSigint);
    m_previousBox = YxUi_SetQuestionBox(&TerminalQuestionBox);
}

CYxToolInterrupt::~CYxToolInterrupt() {
    YxUi_SetQuestionBox(m_previousBox);
    std::signal(SIGINT, m_previousHandler == SIG_ERR ? SIG_DFL : m_previousHandler);
}

bool CYxToolInterrupt::TakePending() {
    if (!g_interrupted) return false;
    g_interrupted = 0;
    return true;
}

bool CYxToolInterrupt::AbortRequested() {
    if (!TakePending()) return false;
    if (!AskAbort()) return false;
    g_confirmed = true;
    return true;
}

bool CYxToolInterrupt::Confirmed() const { return g_confirmed; }

bool CYxToolInterrupt::AskAbort() { return AskOnTerminal("Warning", kAbortQuestion); }

// ---------------------------------------------------------------------------

CYxToolProgress::CYxToolProgress(bool quiet, CYxToolInterrupt* interrupt)
    : m_bar(stderr), m_lines(stdout), m_terminal(isatty(fileno(stderr)) == 1), m_quiet(quiet),
      m_interrupt(interrupt) {}

CYxToolProgress::CYxToolProgress(std::FILE* bar, std::FILE* lines, bool terminal)
    : m_bar(bar), m_lines(lines), m_terminal(terminal), m_quiet(false), m_interrupt(nullptr) {}

CYxToolProgress::~CYxToolProgress() { Finish(); }

void CYxToolProgress::Phase(const std::string& text) {
    if (text != m_text) {
        m_text = text;
        m_rateStarted = false;
        m_rowsDrawn = false;
        m_total = 0;
        m_secondsLeft = -1;
    }
    if (m_quiet) return;
    if (m_terminal) {
        Draw();
    } else if (!text.empty() && (!m_lineWritten || text != m_lastLine)) {
        std::fprintf(m_lines, "%s\n", text.c_str());
        std::fflush(m_lines);
        m_lastLine = text;
        m_lineWritten = true;
    }
}

void CYxToolProgress::Rows(std::int64_t done, std::int64_t total, double secondsLeft) {
    const auto now = std::chrono::steady_clock::now();
    if (!m_rateStarted) {
        m_rateStarted = true;
        m_rateStart = now;
        m_rateStartDone = done;
    }
    m_done = done;
    m_total = total;
    m_secondsLeft = secondsLeft;
    if (secondsLeft < 0 && total > 0 && done > m_rateStartDone) {
        const double elapsed = std::chrono::duration<double>(now - m_rateStart).count();
        // Too early an estimate jumps about; wait for a second of history.
        if (elapsed >= 1.0)
            m_secondsLeft = elapsed * static_cast<double>(total - done) / static_cast<double>(done - m_rateStartDone);
    }
    if (m_quiet || !m_terminal) return;
    // Counts may arrive thousands of times a second: redraw for the first
    // counts of a phase, the last ones, and otherwise now and then.
    if (m_rowsDrawn && done < total && now - m_lastRowsDraw < kRedrawInterval) return;
    Draw();
    m_rowsDrawn = true;
    m_lastRowsDraw = now;
}

void CYxToolProgress::Finish() {
    if (!m_drawn) return;
    std::fputs("\r\033[K", m_bar);
    std::fflush(m_bar);
    m_drawn = false;
}

void CYxToolProgress::SetRange(int minimum, int maximum) {
    m_min = minimum;
    m_max = maximum > minimum ? maximum : minimum + 1;
}

void CYxToolProgress::SetPos(int position) {
    m_pos = position;
    if (!m_quiet && m_terminal) Draw();
}

void CYxToolProgress::ProcessMessages() {
    if (m_interrupt && m_interrupt->TakePending()) {
        // The question that follows goes to the terminal: make room for it.
        Finish();
        RequestCancel();
        if (!m_quiet && m_terminal) Draw();
    }
}

void CYxToolProgress::SetText(const wchar_t* text) { Phase(YxTool_Narrow(text ? text : L"")); }

void CYxToolProgress::Draw() {
    double fraction = 0;
    if (m_total > 0)
        fraction = static_cast<double>(m_done) / static_cast<double>(m_total);
    else
        fraction = static_cast<double>(m_pos - m_min) / static_cast<double>(m_max - m_min);
    const std::string line = BarLine(m_text, fraction, m_done, m_total, m_secondsLeft);
    std::fprintf(m_bar, "\r%s\033[K", line.c_str());
    std::fflush(m_bar);
    m_drawn = true;
}

std::string CYxToolProgress::BarLine(const std::string& text, double fraction, std::int64_t done,
                                     std::int64_t total, double secondsLeft) {
    if (!(fraction >= 0)) fraction = 0;  // also NaN
    if (fraction > 1) fraction = 1;
    const int filled = static_cast<int>(fraction * kBarWidth);
    std::string line = "[" + std::string(static_cast<std::size_t>(filled), '#') +
                       std::string(static_cast<std::size_t>(kBarWidth - filled), '.') + "] " + text;
    if (total > 0) {
        line += "  rows " + std::to_string(done) + "/" + std::to_string(total);
        if (secondsLeft >= 0) line += ", " + Duration(secondsLeft) + " left";
    }
    return line;
}

std::string CYxToolProgress::Duration(double seconds) {
    if (!(seconds >= 0)) seconds = 0;
    const long long total = static_cast<long long>(std::llround(std::min(seconds, 1e9)));
    const long long h = total / 3600, m = total / 60 % 60, s = total % 60;
    char text[48];
    if (h > 0)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", h, m, s);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", m, s);
    return text;
}
