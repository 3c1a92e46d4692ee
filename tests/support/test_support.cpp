#include "test_support.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

CYxTempDir::CYxTempDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "gnrpdb-XXXXXX").string();
    char* made = mkdtemp(tmpl.data());
    m_path = made ? made : tmpl;
}

CYxTempDir::~CYxTempDir() {
    std::error_code ec;
    // Restore write permission so read-only test files can be removed.
    for (auto it = std::filesystem::recursive_directory_iterator(m_path, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(m_path, ec);
}

CYxStringW CYxTempDir::File(const char* name) const { return CYxStringW::FromUtf8(FileUtf8(name)); }

std::string CYxTempDir::FileUtf8(const char* name) const { return m_path + "/" + name; }

CYxTestProcess::~CYxTestProcess() {
    if (m_pid > 0) {
        Kill();
        Wait();
    }
    if (m_out >= 0) close(m_out);
}

bool CYxTestProcess::Start(const std::string& program, const std::vector<std::string>& args) {
    if (m_pid > 0) {  // a second start ends the first child
        Kill();
        Wait();
    }
    if (m_out >= 0) {
        close(m_out);
        m_out = -1;
    }
    m_buffer.clear();
    int fds[2];
    if (pipe(fds) != 0) return false;
    pid_t pid = fork();
    if (pid < 0) {
        close(fds[0]);
        close(fds[1]);
        return false;
    }
    if (pid == 0) {
        dup2(fds[1], STDOUT_FILENO);
        close(fds[0]);
        close(fds[1]);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(fds[1]);
    m_pid = pid;
    m_out = fds[0];
    return true;
}

bool CYxTestProcess::WaitForLine(const std::string& line, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        std::size_t nl;
        while ((nl = m_buffer.find('\n')) != std::string::npos) {
            std::string got = m_buffer.substr(0, nl);
            m_buffer.erase(0, nl + 1);
            if (got == line) return true;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        if (left <= 0 || m_out < 0) return false;
        pollfd p{m_out, POLLIN, 0};
        if (poll(&p, 1, static_cast<int>(left)) <= 0) return false;
        char buf[256];
        ssize_t n = read(m_out, buf, sizeof buf);
        if (n <= 0) return false;
        m_buffer.append(buf, static_cast<std::size_t>(n));
    }
}

int CYxTestProcess::Wait() {
    if (m_pid <= 0) return -1;
    int status = 0;
    pid_t r = waitpid(m_pid, &status, 0);
    m_pid = -1;
    if (r < 0 || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

void CYxTestProcess::Kill() {
    if (m_pid > 0) kill(m_pid, SIGKILL);
}

int YxTest_RunCommand(const std::string& command, std::string* output) {
    FILE* f = popen((command + " 2>&1").c_str(), "r");
    if (!f) return -1;
    std::string out;
    char buf[4096];
    std::size_t n;
    while ((n = fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
    int status = pclose(f);
    if (output) *output = out;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
