// projectdb: create, inspect, query, upgrade and clean project databases.
//
// main() finds the sub-command, parses its arguments with QCommandLineParser
// against the syntax the command declared, and runs it. Exit status: 0 done,
// 1 failed, 2 wrong use.
#include "tool.h"

#include "gnr_projectdb/status.h"

#include <QCommandLineParser>
#include <QLoggingCategory>
#include <QStringList>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>

#ifndef GNR_PROJECTDB_VERSION
#define GNR_PROJECTDB_VERSION "unknown"
#endif

namespace {
std::vector<SYxToolCommand>& Registry() {
    static std::vector<SYxToolCommand> commands;
    return commands;
}

bool g_verbose = false;
const char* g_command = "";

// Library diagnostics (Qt logging) reach stderr only with -v.
void MessageHandler(QtMsgType, const QMessageLogContext& context, const QString& message) {
    if (!g_verbose) return;
    if (context.file)
        std::fprintf(stderr, "%s:%d: %s\n", context.file, context.line, message.toUtf8().constData());
    else
        std::fprintf(stderr, "%s\n", message.toUtf8().constData());
}

void PrintToolHelp() {
    std::printf("usage: projectdb <command> [options] [arguments]\n\ncommands:\n");
    std::vector<SYxToolCommand> commands = YxTool_Commands();
    std::stable_sort(commands.begin(), commands.end(), [](const SYxToolCommand& a, const SYxToolCommand& b) {
        return a.rank != b.rank ? a.rank < b.rank : std::strcmp(a.name, b.name) < 0;
    });
    for (const auto& c : commands) {
        CYxToolSyntax syntax;
        c.declare(syntax);
        std::printf("  %s %s\n      %s\n", c.name, syntax.Synopsis().c_str(), c.summary);
    }
    std::printf("\noptions of every command:\n"
                "  -h, --help       the command's arguments and options\n"
                "  --version        the tool's and the schemas' versions\n"
                "  -v, --verbose    the library's diagnostics on stderr\n"
                "\nexit status: 0 done, 1 failed, 2 wrong use\n");
}

void PrintCommandHelp(const SYxToolCommand& c, const CYxToolSyntax& syntax) {
    std::printf("usage: projectdb %s %s\n  %s\n", c.name, syntax.Synopsis().c_str(), c.summary);
    if (!syntax.Arguments().empty()) std::printf("\narguments:\n");
    for (const auto& a : syntax.Arguments()) std::printf("  %-18s %s\n", a.name.c_str(), a.description.c_str());
    std::printf("\noptions:\n");
    for (const auto& o : syntax.Options()) {
        // A one-letter option is written with one dash, as the parser takes it.
        const std::string left =
            (o.name.size() == 1 ? "-" : "--") + o.name + (o.valueName.empty() ? "" : " " + o.valueName);
        std::printf("  %-18s %s\n", left.c_str(), o.description.c_str());
    }
    std::printf("  %-18s %s\n  %-18s %s\n  %-18s %s\n", "-h, --help", "this text", "--version",
                "the tool's and the schemas' versions", "-v, --verbose", "the library's diagnostics on stderr");
}

int RunCommand(const SYxToolCommand& c, int argc, char** argv) {
    CYxToolSyntax syntax;
    c.declare(syntax);
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
    parser.addOption(QCommandLineOption(QStringList{QStringLiteral("h"), QStringLiteral("help")}));
    parser.addOption(QCommandLineOption(QStringLiteral("version")));
    parser.addOption(QCommandLineOption(QStringList{QStringLiteral("v"), QStringLiteral("verbose")}));
    for (const auto& o : syntax.Options()) {
        QCommandLineOption option(QString::fromStdString(o.name), QString::fromStdString(o.description));
        if (!o.valueName.empty()) option.setValueName(QString::fromStdString(o.valueName));
        parser.addOption(option);
    }
    // Arguments are UTF-8 whatever the locale; the first entry stands for
    // the program and is skipped by the parser.
    QStringList args{QStringLiteral("projectdb")};
    for (int i = 2; i < argc; ++i) args << QString::fromUtf8(argv[i]);

    CYxToolCall usage(c.name, parser, {}, syntax);
    if (!parser.parse(args)) {
        // Qt's "Unknown option 'x'." as one clause of our line.
        QString what = parser.errorText().trimmed();
        if (what.endsWith(QLatin1Char('.'))) what.chop(1);
        if (!what.isEmpty()) what[0] = what[0].toLower();
        return usage.Usage(what.toUtf8().toStdString());
    }
    if (parser.isSet(QStringLiteral("help"))) {
        PrintCommandHelp(c, syntax);
        return 0;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        std::printf("%s\n", YxTool_VersionLine());
        return 0;
    }
    std::vector<std::string> positional;
    for (const QString& p : parser.positionalArguments()) positional.push_back(p.toUtf8().toStdString());

    std::size_t required = 0, allowed = 0;
    bool unbounded = false;
    for (const auto& a : syntax.Arguments()) {
        if (!a.optional) ++required;
        ++allowed;
        unbounded = unbounded || a.repeated;
    }
    if (positional.size() < required) return usage.Usage("missing argument " + syntax.Arguments()[positional.size()].name);
    if (!unbounded && positional.size() > allowed) return usage.Usage("unexpected argument '" + positional[allowed] + "'");

    g_command = c.name;
    CYxToolCall call(c.name, parser, std::move(positional), syntax);
    g_verbose = call.Verbose();
    if (g_verbose) QLoggingCategory::setFilterRules(QStringLiteral("gnr.projectdb.debug=true"));
    return c.run(call);
}
}  // namespace

int YxTool_Register(const SYxToolCommand& command) {
    Registry().push_back(command);
    return static_cast<int>(Registry().size());
}

const std::vector<SYxToolCommand>& YxTool_Commands() { return Registry(); }

int YxTool_Fail(const std::string& message, int status) {
    std::fprintf(stderr, "projectdb: %s: %s (%s %d)\n", g_command, message.c_str(), YxProjectDb_StatusName(status),
                 status);
    return 1;
}

const char* YxTool_VersionLine() {
    return "projectdb " GNR_PROJECTDB_VERSION " (jobs schema 136, application schema 7)";
}

int main(int argc, char** argv) {
    // Messages and dates follow the user's locale; numbers written into SQL
    // and printed results never go through it (LC_NUMERIC stays "C").
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");
    qInstallMessageHandler(&MessageHandler);

    if (argc < 2) {
        std::fprintf(stderr, "projectdb: missing command; usage: projectdb <command> [options] [arguments] "
                             "(projectdb --help lists the commands)\n");
        return 2;
    }
    const std::string first = argv[1];
    if (first == "--help" || first == "-h" || first == "help") {
        PrintToolHelp();
        return 0;
    }
    if (first == "--version") {
        std::printf("%s\n", YxTool_VersionLine());
        return 0;
    }
    for (const auto& c : YxTool_Commands())
        if (first == c.name) return RunCommand(c, argc, argv);
    std::fprintf(stderr, "projectdb: unknown command '%s'; usage: projectdb <command> [options] [arguments] "
                         "(projectdb --help lists the commands)\n",
                 first.c_str());
    return 2;
}
