// projectdb: create, inspect, query, upgrade and clean project databases.
#include "tool.h"

#include "framework/yxutf8.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace {
std::vector<SYxToolCommand>& Registry() {
    static std::vector<SYxToolCommand> commands;
    return commands;
}

// Help lists the commands in the order people meet them, whatever order the
// linker registered them in.
int HelpRank(const char* name) {
    static const char* const kOrder[] = {"demo",    "create",         "info",    "sql",        "tree",
                                         "schema",  "upgrade",        "silent-upgrade", "cleanup",
                                         "app-create", "app-info",    "app-upgrade", "app-downgrade"};
    for (int i = 0; i < static_cast<int>(sizeof kOrder / sizeof kOrder[0]); ++i)
        if (!std::strcmp(kOrder[i], name)) return i;
    return 1000;
}

void PrintHelp() {
    std::printf("usage: projectdb <command> [arguments]\n\ncommands:\n");
    std::vector<SYxToolCommand> commands = YxTool_Commands();
    std::stable_sort(commands.begin(), commands.end(),
                     [](const SYxToolCommand& a, const SYxToolCommand& b) { return HelpRank(a.name) < HelpRank(b.name); });
    for (const auto& c : commands) std::printf("  %-16s %s\n      %s\n", c.name, c.usage, c.summary);
    std::printf("\n  --help           this text\n  --version        the tool's and the schema's version\n");
}
}  // namespace

int YxTool_Register(const SYxToolCommand& command) {
    Registry().push_back(command);
    return static_cast<int>(Registry().size());
}

const std::vector<SYxToolCommand>& YxTool_Commands() { return Registry(); }

int YxTool_Fail(const std::string& message, int status) {
    std::fprintf(stderr, "projectdb: %s (status %d)\n", message.c_str(), status);
    return 1;
}

std::wstring YxTool_Wide(const std::string& s) { return YxWideFromUtf8(s); }
std::string YxTool_Narrow(const std::wstring& s) { return YxUtf8FromWide(s); }

bool YxTool_TakeFlag(std::vector<std::string>& args, const char* flag) {
    for (auto it = args.begin(); it != args.end(); ++it) {
        if (*it == flag) {
            args.erase(it);
            return true;
        }
    }
    return false;
}

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        PrintHelp();
        return argc < 2 ? 2 : 0;
    }
    if (!std::strcmp(argv[1], "--version")) {
        std::printf("projectdb 1.0.0 (jobs schema 136)\n");
        return 0;
    }
    for (const auto& c : YxTool_Commands()) {
        if (c.name == std::string(argv[1])) {
            std::vector<std::string> args(argv + 2, argv + argc);
            if (YxTool_TakeFlag(args, "--help")) {
                std::printf("usage: projectdb %s %s\n  %s\n", c.name, c.usage, c.summary);
                return 0;
            }
            return c.run(args);
        }
    }
    std::fprintf(stderr, "projectdb: unknown command '%s' (see projectdb --help)\n", argv[1]);
    return 2;
}
