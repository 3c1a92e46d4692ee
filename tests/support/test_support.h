// Shared fixtures of the test suites: temporary folders and a real second
// process.
#pragma once

#include "framework/yxstring.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/types.h>
#include <vector>

// A fresh temporary folder per test, removed afterwards.
class CYxTempDir {
public:
    CYxTempDir();
    ~CYxTempDir();
    const std::string& Path() const { return m_path; }
    // Path of a file inside the folder, as a wide string.
    CYxStringW File(const char* name) const;
    std::string FileUtf8(const char* name) const;

private:
    std::string m_path;
};

// A child process with its standard output read through a pipe.
class CYxTestProcess {
public:
    CYxTestProcess() = default;
    ~CYxTestProcess();
    // Starts the program with the arguments; false on failure.
    bool Start(const std::string& program, const std::vector<std::string>& args);
    // Reads standard output until a line equal to `line` arrives (true) or
    // the pipe closes or the time runs out (false).
    bool WaitForLine(const std::string& line, int timeoutMs = 20000);
    // Waits for the exit; returns the exit status, or -1 when killed/failed.
    int Wait();
    void Kill();
    pid_t Pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
    int m_out = -1;
    std::string m_buffer;
};

// Runs a command line through the shell and returns its exit status; the
// output goes to *output when given.
int YxTest_RunCommand(const std::string& command, std::string* output = nullptr);

// Path of the helper process binary and of the projectdb tool.
inline const char* YxTest_HelperPath() { return GNR_TEST_HELPER; }
inline const char* YxTest_ToolPath() { return GNR_PROJECTDB_TOOL; }
