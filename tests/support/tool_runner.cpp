#include "tool_runner.h"

#include "test_support.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
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

namespace {
std::vector<char*> ToolArgv(std::vector<std::string>& argv) {
    std::vector<char*> cargv;
    for (auto& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);
    return cargv;
}
}  // namespace

SToolResult RunTool(const std::vector<std::string>& args, const std::string& input) {
    CYxTempDir io;
    const std::string inPath = io.FileUtf8("in"), outPath = io.FileUtf8("out"), errPath = io.FileUtf8("err");
    std::ofstream(inPath, std::ios::binary) << input;

    std::vector<std::string> argv{YxTest_ToolPath()};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv = ToolArgv(argv);

    SToolResult r;
    const pid_t pid = fork();
    if (pid == 0) {
        setsid();  // no controlling terminal: nothing can be asked on /dev/tty
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

SToolResult RunToolOnTerminal(const std::vector<std::string>& args, const PFToolResponder& respond, int timeoutMs) {
    std::vector<std::string> argv{YxTest_ToolPath()};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv = ToolArgv(argv);

    SToolResult r;
    int master = -1;
    const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0) {
        execv(cargv[0], cargv.data());
        _exit(127);
    }
    if (pid < 0) return r;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    bool killed = false;
    for (;;) {
        pollfd p{master, POLLIN, 0};
        const int ready = poll(&p, 1, 100);
        if (ready > 0) {
            char buffer[4096];
            const ssize_t n = read(master, buffer, sizeof buffer);
            if (n > 0) {
                r.out.append(buffer, static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                break;  // EIO: every holder of the terminal's slave side is gone
            }
        }
        if (respond) {
            const std::string typed = respond(r.out);
            if (!typed.empty() && write(master, typed.data(), typed.size()) < 0) break;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            killed = true;
            break;
        }
    }
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status) && !killed) r.exitCode = WEXITSTATUS(status);
    close(master);
    return r;
}
