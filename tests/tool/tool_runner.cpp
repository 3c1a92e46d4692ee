#include "tool_runner.h"

#include "test_support.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>

std::vector<std::string> SToolResult::ErrLines() const {
    std::vector<std::string> lines;
    std::istringstream in(err);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::string ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

SToolResult RunTool(const std::vector<std::string>& args, const std::string& input) {
    CYxTempDir io;
    const std::string inPath = io.FileUtf8("in"), outPath = io.FileUtf8("out"), errPath = io.FileUtf8("err");
    std::ofstream(inPath, std::ios::binary) << input;

    std::vector<std::string> argv{YxTest_ToolPath()};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (auto& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);

    SToolResult r;
    const pid_t pid = fork();
    if (pid == 0) {
        const int in = open(inPath.c_str(), O_RDONLY);
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || out < 0 || err < 0) _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        execv(cargv[0], cargv.data());
        _exit(127);
    }
    if (pid < 0) return r;
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) r.exitCode = WEXITSTATUS(status);
    r.out = ReadFileBytes(outPath);
    r.err = ReadFileBytes(errPath);
    return r;
}
