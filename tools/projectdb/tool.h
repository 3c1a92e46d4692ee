// The projectdb command-line tool: sub-commands register themselves with
// YX_TOOL_COMMAND in their own source files; main.cpp dispatches.
#pragma once

#include <string>
#include <vector>

struct SYxToolCommand {
    const char* name;
    const char* usage;    // arguments, for --help
    const char* summary;  // one line
    int (*run)(const std::vector<std::string>& args);  // args after the command name
};

int YxTool_Register(const SYxToolCommand& command);
const std::vector<SYxToolCommand>& YxTool_Commands();

// Prints "projectdb: <message> (status <status>)" to stderr and returns 1.
int YxTool_Fail(const std::string& message, int status);
// Wide/narrow helpers for paths and texts given on the command line.
std::wstring YxTool_Wide(const std::string& s);
std::string YxTool_Narrow(const std::wstring& s);
// True when the flag is among the arguments; removes it.
bool YxTool_TakeFlag(std::vector<std::string>& args, const char* flag);

#define YX_TOOL_CONCAT2(a, b) a##b
#define YX_TOOL_CONCAT(a, b) YX_TOOL_CONCAT2(a, b)
#define YX_TOOL_COMMAND(...) \
    static const int YX_TOOL_CONCAT(s_toolCommand_, __LINE__) = YxTool_Register(SYxToolCommand{__VA_ARGS__})
