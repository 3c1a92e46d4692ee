// The projectdb command-line tool.
//
// Adding a sub-command: one source file per command, in this shape
//
//   #include "tool.h"
//   namespace {
//   void Declare(CYxToolSyntax& s) {
//       s.Argument("FILE", "the jobs database");          // required, in order
//       s.OptionalArgument("DIR", "where to write");      // optional, after the required ones
//       s.Flag("json", "print JSON");                     // --json
//       s.Value("run", "UUID", "the run to look at");     // --run UUID
//   }
//   int Run(CYxToolCall& call) {
//       const std::string& file = call.Arg(0);
//       if (call.Flag("json")) ...
//       if (rc != 0) return call.Fail(file, "cannot read the runs", rc);
//       return 0;
//   }
//   }  // namespace
//   YX_TOOL_COMMAND("name", 25, "one line for the command list", &Declare, &Run);
//
// The number orders the command list of `projectdb --help`:
//   10-19 create and inspect, 20-29 query, 30-39 upgrade and maintenance,
//   40-49 the application database, 50 and above everything else.
//
// The dispatcher adds -h/--help, --version and -v/--verbose to every command,
// checks the number of arguments, and answers wrong use with one line on
// stderr that names the problem and the usage, exit status 2. A command
// returns 0 when it did what it says, 1 (through Fail) otherwise. Library
// diagnostics reach stderr only with -v.
#pragma once

#include <string>
#include <vector>

class QCommandLineParser;

// The arguments and options of one sub-command, declared before parsing.
class CYxToolSyntax {
public:
    struct SItem {
        std::string name;         // option name without dashes, or argument name
        std::string valueName;    // options with a value; empty for flags
        std::string description;
        bool optional = false;    // arguments only
        bool repeated = false;    // arguments only: takes all remaining ones
    };

    void Argument(const char* name, const char* description);
    void OptionalArgument(const char* name, const char* description);
    // Any number (zero or more) of further arguments.
    void MoreArguments(const char* name, const char* description);
    void Flag(const char* name, const char* description);
    void Value(const char* name, const char* valueName, const char* description);

    const std::vector<SItem>& Arguments() const { return m_arguments; }
    const std::vector<SItem>& Options() const { return m_options; }
    // "[--json] [--run UUID] FILE [DIR]"
    std::string Synopsis() const;

private:
    std::vector<SItem> m_arguments;
    std::vector<SItem> m_options;
};

// What a sub-command receives: its parsed arguments and the failure helpers.
class CYxToolCall {
public:
    CYxToolCall(const char* command, const QCommandLineParser& parser, std::vector<std::string> arguments,
                const CYxToolSyntax& syntax);

    const char* Command() const { return m_command; }
    std::size_t ArgCount() const { return m_arguments.size(); }
    // The i-th positional argument (UTF-8); empty when not given.
    const std::string& Arg(std::size_t i) const;
    std::wstring WideArg(std::size_t i) const;
    bool Flag(const char* name) const;
    // The value of an option that takes one; empty when not given.
    std::string Value(const char* name) const;
    bool Verbose() const { return m_verbose; }

    // Prints "projectdb: <command>: <file>: <what> (<name> <code>)" to stderr
    // (without "<file>: " when file is empty) and returns 1.
    int Fail(const std::string& file, const std::string& what, int status) const;
    // Prints "projectdb: <command>: <file>: <what>" to stderr and returns 1,
    // for failures that are not a status of the library or of SQLite.
    int FailText(const std::string& file, const std::string& what) const;
    // Wrong use found by the command itself: one line with the usage, returns 2.
    int Usage(const std::string& what) const;

private:
    const char* m_command;
    const QCommandLineParser& m_parser;
    std::vector<std::string> m_arguments;
    const CYxToolSyntax& m_syntax;
    bool m_verbose = false;
};

struct SYxToolCommand {
    const char* name;
    int rank;              // position in the command list, see above
    const char* summary;   // one line
    void (*declare)(CYxToolSyntax& syntax);
    int (*run)(CYxToolCall& call);
};

int YxTool_Register(const SYxToolCommand& command);
const std::vector<SYxToolCommand>& YxTool_Commands();

// For failures that belong to no one file: prints "projectdb: <command>:
// <message> (<name> <code>)" to stderr, with the running command, and
// returns 1. Prefer CYxToolCall::Fail, which names the file.
int YxTool_Fail(const std::string& message, int status);

// "projectdb 1.0.0 (jobs schema 136, application schema 7)"
const char* YxTool_VersionLine();

// Wide/narrow helpers for paths and texts given on the command line (UTF-8,
// whatever the locale).
std::wstring YxTool_Wide(const std::string& s);
std::string YxTool_Narrow(const std::wstring& s);

#define YX_TOOL_CONCAT2(a, b) a##b
#define YX_TOOL_CONCAT(a, b) YX_TOOL_CONCAT2(a, b)
#define YX_TOOL_COMMAND(...) \
    static const int YX_TOOL_CONCAT(s_toolCommand_, __LINE__) = YxTool_Register(SYxToolCommand{__VA_ARGS__})

struct SYxProjectDbFileInfo;
// Why GetInfo refused a file, from its status and the fields it filled:
// "no such file", "the file is read-only", "version 140 is newer than this
// tool (newest 136)", ... `newest` is the newest main version of the flavour.
std::string YxTool_InfoFailure(const SYxProjectDbFileInfo& info, int status, long long newest);

// Why a file cannot be opened for reading, as SQLite sees it (SQLITE_CANTOPEN,
// SQLITE_NOTADB, ...), for commands whose connect returned no handle.
int YxTool_OpenFailure(const std::string& file);
