// Path questions and the application's storage folder.
#include "gnr_projectdb/sys.h"

#include "framework/yxfilesystem.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

bool YxProjectDb_Sys_IsNetworkPath(const wchar_t* path) {
    if (!path || !*path) return false;
    return YxFs_IsNetworkPath(path);
}

int YxProjectDb_Sys_DeleteFolder(const wchar_t* path) {
    // Silent by design: callers clean up best-effort and go on.
    if (path && *path) YxFs_DeleteWithContents(path);
    return 0;
}

namespace {

std::string HomeFolder() {
    const char* home = std::getenv("HOME");
    if (home && *home) return home;
    struct passwd pw {};
    struct passwd* found = nullptr;
    char buf[4096];
    if (getpwuid_r(getuid(), &pw, buf, sizeof(buf), &found) == 0 && found && found->pw_dir) return found->pw_dir;
    return "/tmp";
}

// $XDG_DATA_HOME/gnr, or ~/.local/share/gnr; no trailing '/'.
CYxStringW StoragePath() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    // The base directory rules ignore relative values.
    std::string base = xdg && xdg[0] == '/' ? std::string(xdg) : HomeFolder() + "/.local/share";
    while (base.size() > 1 && base.back() == '/') base.pop_back();
    if (base == "/") base.clear();
    return CYxStringW::FromUtf8(base + "/gnr");
}

}  // namespace

CYxStringW YxProjectDb_Sys_GetDefStoragePath(const wchar_t* subFolder) {
    CYxStringW path = StoragePath();
    path += L"/";
    if (subFolder && *subFolder) {
        path += subFolder;
        if (!path.EndsWith(L"/")) path += L"/";
    }
    return path;
}
