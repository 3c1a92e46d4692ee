// The declared syntax of a sub-command and the parsed call it receives.
#include "tool.h"

#include "gnr_projectdb/status.h"
#include "gnr_projectdb/text.h"

#include <QCommandLineParser>

#include <cstdio>

void CYxToolSyntax::Argument(const char* name, const char* description) {
    m_arguments.push_back({name, "", description, false, false});
}

void CYxToolSyntax::OptionalArgument(const char* name, const char* description) {
    m_arguments.push_back({name, "", description, true, false});
}

void CYxToolSyntax::MoreArguments(const char* name, const char* description) {
    m_arguments.push_back({name, "", description, true, true});
}

void CYxToolSyntax::Flag(const char* name, const char* description) {
    m_options.push_back({name, "", description, false, false});
}

void CYxToolSyntax::Value(const char* name, const char* valueName, const char* description) {
    m_options.push_back({name, valueName, description, false, false});
}

std::string CYxToolSyntax::Synopsis() const {
    std::string s;
    for (const SItem& o : m_options) {
        if (!s.empty()) s += ' ';
        s += "[" + std::string(o.name.size() == 1 ? "-" : "--") + o.name + (o.valueName.empty() ? "" : " " + o.valueName) + "]";
    }
    for (const SItem& a : m_arguments) {
        if (!s.empty()) s += ' ';
        if (a.repeated) s += "[" + a.name + "...]";
        else if (a.optional) s += "[" + a.name + "]";
        else s += a.name;
    }
    return s;
}

CYxToolCall::CYxToolCall(const char* command, const QCommandLineParser& parser, std::vector<std::string> arguments,
                         const CYxToolSyntax& syntax)
    : m_command(command), m_parser(parser), m_arguments(std::move(arguments)), m_syntax(syntax) {
    m_verbose = parser.isSet(QStringLiteral("verbose"));
}

const std::string& CYxToolCall::Arg(std::size_t i) const {
    static const std::string kEmpty;
    return i < m_arguments.size() ? m_arguments[i] : kEmpty;
}

std::wstring CYxToolCall::WideArg(std::size_t i) const { return YxTool_Wide(Arg(i)); }

bool CYxToolCall::Flag(const char* name) const { return m_parser.isSet(QString::fromUtf8(name)); }

std::string CYxToolCall::Value(const char* name) const {
    return m_parser.value(QString::fromUtf8(name)).toUtf8().toStdString();
}

int CYxToolCall::Fail(const std::string& file, const std::string& what, int status) const {
    std::fprintf(stderr, "projectdb: %s: %s%s%s (%s %d)\n", m_command, file.c_str(), file.empty() ? "" : ": ",
                 what.c_str(), YxProjectDb_StatusName(status), status);
    return 1;
}

int CYxToolCall::FailText(const std::string& file, const std::string& what) const {
    std::fprintf(stderr, "projectdb: %s: %s%s%s\n", m_command, file.c_str(), file.empty() ? "" : ": ", what.c_str());
    return 1;
}

int CYxToolCall::Usage(const std::string& what) const {
    std::fprintf(stderr, "projectdb: %s: %s; usage: projectdb %s %s\n", m_command, what.c_str(), m_command,
                 m_syntax.Synopsis().c_str());
    return 2;
}

std::wstring YxTool_Wide(const std::string& s) { return CYxStringW::FromUtf8(s).str(); }
std::string YxTool_Narrow(const std::wstring& s) { return CYxStringW(s).ToUtf8(); }
