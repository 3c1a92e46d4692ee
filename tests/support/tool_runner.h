// Runs the projectdb tool as a child process with separate standard output
// and standard error, optionally feeding text on standard input.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct SToolResult {
    int exitCode = -1;  // -1 when the tool did not exit normally
    std::string out;
    std::string err;
    // The lines of err (without their newlines).
    std::vector<std::string> ErrLines() const;
};

// The child has no controlling terminal (it cannot open /dev/tty).
SToolResult RunTool(const std::vector<std::string>& args, const std::string& input = std::string());

// Runs the tool on a new pseudo terminal: its standard input, output and
// error and its controlling terminal. Everything it writes lands in `out`
// (with the terminal's "\r\n" line ends); `err` stays empty. After each read,
// and every 100 ms, `respond` gets all output so far and returns text to
// type ("\x03" is Ctrl-C, "y\n" an answer), or "" for nothing. A tool still
// running after `timeoutMs` is killed (exitCode -1).
using PFToolResponder = std::function<std::string(const std::string& outputSoFar)>;
SToolResult RunToolOnTerminal(const std::vector<std::string>& args, const PFToolResponder& respond,
                              int timeoutMs = 120000);

// The bytes of a file; empty when it cannot be read.
std::string ReadFileBytes(const std::string& path);
