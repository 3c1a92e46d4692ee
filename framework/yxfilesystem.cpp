#include "framework/yxfilesystem.h"

#include "framework/yxutf8.h"

#include <sys/stat.h>
#include <sys/statfs.h>

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

fs::path ToPath(const wchar_t* path) { return fs::u8path(YxFs_NativeUtf8(path)); }

// statfs magic numbers of network file systems.
bool IsNetworkMagic(unsigned long magic) {
    switch (magic) {
    case 0x6969UL:       // NFS
    case 0x517BUL:       // SMB
    case 0xFF534D42UL:   // CIFS
    case 0xFE534D42UL:   // SMB2
    case 0x5346414FUL:   // AFS
    case 0x73757245UL:   // Coda
    case 0x01021997UL:   // 9P (v9fs)
    case 0x00C36400UL:   // Ceph
        return true;
    default:
        return false;
    }
}

}  // namespace

CYxStringW YxFs_Native(const wchar_t* path) {
    CYxStringW p(path);
    for (auto& c : p.str())
        if (c == L'\\') c = L'/';
    return p;
}

std::string YxFs_NativeUtf8(const wchar_t* path) { return YxFs_Native(path).ToUtf8(); }

bool YxFs_Exists(const wchar_t* path) {
    if (!path || !*path) return false;
    struct stat st;
    return ::stat(YxFs_NativeUtf8(path).c_str(), &st) == 0;
}

bool YxFs_IsDirectory(const wchar_t* path) {
    if (!path || !*path) return false;
    struct stat st;
    return ::stat(YxFs_NativeUtf8(path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool YxFs_IsDirectoryEmpty(const wchar_t* path) {
    if (!YxFs_IsDirectory(path)) return false;
    std::error_code ec;
    return fs::is_empty(ToPath(path), ec) && !ec;
}

bool YxFs_IsReadOnly(const wchar_t* path) {
    if (!path || !*path) return false;
    struct stat st;
    if (::stat(YxFs_NativeUtf8(path).c_str(), &st) != 0) return false;
    return (st.st_mode & 0222) == 0;
}

bool YxFs_IsNetworkPath(const wchar_t* path) {
    if (!path || !*path) return false;
    std::error_code ec;
    fs::path p = fs::absolute(ToPath(path), ec);
    if (ec) return false;
    // The file may not exist yet (create): ask its nearest existing parent.
    while (!p.empty() && !fs::exists(p, ec)) {
        fs::path parent = p.parent_path();
        if (parent == p) break;
        p = parent;
    }
    struct statfs sf;
    if (::statfs(p.c_str(), &sf) != 0) return false;
    return IsNetworkMagic(static_cast<unsigned long>(sf.f_type));
}

int YxFs_CreateDirectories(const wchar_t* path) {
    if (!path || !*path) return -1;
    std::error_code ec;
    fs::path p = ToPath(path);
    fs::create_directories(p, ec);
    if (ec) return -1;
    return fs::is_directory(p, ec) ? 0 : -1;
}

std::uint64_t YX_GetFileSizeFromName(const wchar_t* path) {
    if (!path || !*path) return 0;
    struct stat st;
    if (::stat(YxFs_NativeUtf8(path).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return 0;
    return static_cast<std::uint64_t>(st.st_size);
}

bool YxFs_FreeSiblingName(const wchar_t* path, CYxStringW& freePath) {
    CYxStringW base = YxFs_Native(path);
    base.TrimRight(L"/");
    if (base.IsEmpty()) return false;
    if (!YxFs_Exists(base)) {
        freePath = base;
        return true;
    }
    for (int n = 2; n < 100000; ++n) {
        CYxStringW candidate = CYxStringW::Format(L"%s (%d)", base, n);
        if (!YxFs_Exists(candidate)) {
            freePath = candidate;
            return true;
        }
    }
    return false;
}

int YxFs_DeleteWithContents(const wchar_t* path) {
    if (!path || !*path) return -1;
    std::error_code ec;
    fs::remove_all(ToPath(path), ec);
    return ec ? -1 : 0;
}

CYxStringW YxFs_AddTrailingSeparator(const wchar_t* path) {
    CYxStringW p(path);
    if (p.IsEmpty()) return p;
    wchar_t last = p[p.GetLength() - 1];
    if (last != L'/' && last != L'\\') p += L'/';
    return p;
}

int YxFs_CopyTree(const wchar_t* src, const wchar_t* dst) {
    if (!src || !*src || !dst || !*dst) return -1;
    std::error_code ec;
    const fs::path from = ToPath(src), to = ToPath(dst);
    if (!fs::is_directory(from, ec) || fs::exists(to, ec)) return -1;
    fs::copy(from, to, fs::copy_options::recursive, ec);
    return ec ? -1 : 0;
}
