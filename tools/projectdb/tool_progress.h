// Progress and Ctrl-C for the long commands of projectdb (upgrade, clean-up,
// merge, ...).
//
// CYxToolProgress shows what a command is doing. When stderr is a terminal
// it draws one bar line there, redrawn in place: the phase text, the bar,
// and with row counts "rows 1200/5000, 0:42 left". When stderr is not a
// terminal (a pipe, a log file) it writes no bar, no carriage returns and no
// escape codes: one plain line per phase on stdout, each phase once. The bar
// is removed again by Finish() (and by the destructor), so that what follows
// on stderr, such as an error line, starts on a clean line.
//
//   CYxToolInterrupt interrupt;                 // Ctrl-C now sets a flag
//   CYxToolProgress progress(quiet, &interrupt);
//   progress.Phase("Copying runs");
//   progress.Rows(done, total);                 // estimate from the rate
//   progress.Rows(done, total, secondsLeft);    // or the caller's estimate
//   if (interrupt.AbortRequested()) ...         // Ctrl-C and a "y": stop
//   progress.Finish();
//
// CYxToolProgress is also a CYxProgressDialog, to be handed to the library's
// dialog-driven runs (upgrade, clean-up): SetText is a phase, SetRange and
// SetPos move the bar, and ProcessMessages turns a pending Ctrl-C into the
// dialog's cancel request (the library then asks its question through the
// question box that CYxToolInterrupt installed).
//
// CYxToolInterrupt, while it lives, catches SIGINT (the handler only sets a
// flag) and installs a question box that asks on the terminal. The question
// "Are you sure to abort the process?" is written to and answered on
// /dev/tty, so it works while stdin and stdout are redirected; a process
// without a terminal cannot be asked and takes a SIGINT as a yes.
//
// Threads: both classes belong to the thread that runs the command; only
// the SIGINT flag is touched by the signal handler. One CYxToolInterrupt at
// a time.
#pragma once

#include "gnr_projectdb/ui.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

class CYxToolInterrupt {
public:
    CYxToolInterrupt();
    ~CYxToolInterrupt();
    CYxToolInterrupt(const CYxToolInterrupt&) = delete;
    CYxToolInterrupt& operator=(const CYxToolInterrupt&) = delete;

    // True once for each Ctrl-C since the last call (clears the flag).
    bool TakePending();
    // Takes a pending Ctrl-C and asks whether to abort; true when the
    // answer was yes. False at once when no Ctrl-C is pending.
    bool AbortRequested();
    // Whether any question asked while this object lived (by
    // AbortRequested or by the library through the question box) was
    // answered yes. A command whose operation succeeded anyway uses it to
    // say that the cancel came too late.
    bool Confirmed() const;

    // Asks "Are you sure to abort the process?" on /dev/tty; true for yes.
    // Without a terminal: true.
    static bool AskAbort();

private:
    void (*m_previousHandler)(int);
    PFYxQuestionBox m_previousBox;
};

class CYxToolProgress : public CYxProgressDialog {
public:
    // quiet: no output at all. interrupt (optional): ProcessMessages turns
    // its pending Ctrl-C into RequestCancel().
    explicit CYxToolProgress(bool quiet = false, CYxToolInterrupt* interrupt = nullptr);
    // For tests: writes the bar to `bar` (as if it were a terminal when
    // `terminal`) and phase lines to `lines`.
    CYxToolProgress(std::FILE* bar, std::FILE* lines, bool terminal);
    ~CYxToolProgress() override;
    CYxToolProgress(const CYxToolProgress&) = delete;
    CYxToolProgress& operator=(const CYxToolProgress&) = delete;

    // Starts a phase: the bar shows `text`; without a terminal the text is
    // written as a line unless it equals the previous phase's.
    void Phase(const std::string& text);
    // Rows done of total (total > 0). secondsLeft < 0: estimated from the
    // rate since the first call of this phase.
    void Rows(std::int64_t done, std::int64_t total, double secondsLeft = -1);
    // Removes the bar line from the terminal. Safe to call more than once;
    // a later call of Phase or Rows draws again.
    void Finish();
    bool OnTerminal() const { return m_terminal; }

    // CYxProgressDialog
    void SetRange(int minimum, int maximum) override;
    void SetPos(int position) override;
    void ProcessMessages() override;
    void SetText(const wchar_t* text) override;
    void* GetWindow() override { return nullptr; }

    // The bar line as drawn (without "\r" and escape codes), for tests:
    // "[#####.....] text" or "[#####.....] text  rows 5/10, 0:03 left".
    // fraction is clamped to [0, 1]; total <= 0 leaves out the counts,
    // secondsLeft < 0 the time left.
    static std::string BarLine(const std::string& text, double fraction, std::int64_t done, std::int64_t total,
                               double secondsLeft);
    // "0:07", "12:34", "1:02:03".
    static std::string Duration(double seconds);

private:
    void Draw();

    std::FILE* m_bar;
    std::FILE* m_lines;
    bool m_terminal;
    bool m_quiet;
    CYxToolInterrupt* m_interrupt;
    bool m_drawn = false;
    std::string m_text;
    std::string m_lastLine;
    bool m_lineWritten = false;
    int m_min = 0, m_max = 100, m_pos = 0;
    std::int64_t m_done = 0, m_total = 0;
    std::int64_t m_rateStartDone = 0;
    double m_secondsLeft = -1;
    bool m_rateStarted = false;
    bool m_rowsDrawn = false;
    std::chrono::steady_clock::time_point m_rateStart;
    std::chrono::steady_clock::time_point m_lastRowsDraw;
};
