#include "uisupport/yxpath.h"

void YxPath_Split(const wchar_t* path, CYxStringW& folder, CYxStringW& name) {
    const std::wstring p(path ? path : L"");
    // Ignore separators at the very end when looking for the last component.
    std::size_t end = p.size();
    while (end > 0 && (p[end - 1] == L'/' || p[end - 1] == L'\\')) --end;
    const std::size_t sep = end == 0 ? std::wstring::npos : p.find_last_of(L"/\\", end - 1);
    if (sep == std::wstring::npos) {
        folder = CYxStringW();
        name = CYxStringW(p);
        return;
    }
    folder = CYxStringW(p.substr(0, sep + 1));
    name = CYxStringW(p.substr(sep + 1));
}
