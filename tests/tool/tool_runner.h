// Runs the projectdb tool as a child process with separate standard output
// and standard error, optionally feeding text on standard input.
#pragma once

#include <string>
#include <vector>

struct SToolResult {
    int exitCode = -1;  // -1 when the tool did not exit normally
    std::string out;
    std::string err;
    // The lines of err (without their newlines).
    std::vector<std::string> ErrLines() const;
};

SToolResult RunTool(const std::vector<std::string>& args, const std::string& input = std::string());

// The bytes of a file; empty when it cannot be read.
std::string ReadFileBytes(const std::string& path);
