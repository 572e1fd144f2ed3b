#include "platform/FolderLock.h"

#include <array>
#include <cstdint>
#include <cwchar>

#include "framework/FileNames.h"

namespace {

// A mutex's name has at most MAX_PATH characters and no backslash after "Global\", so it cannot contain the
// path. It contains the path's hash (FNV-1a), which every build of the program computes alike.
std::wstring MutexName(std::wstring path)
{
    CharUpperBuffW(path.data(), static_cast<DWORD>(path.size()));
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const wchar_t character : path) {
        hash = (hash ^ character) * 0x100000001B3;
    }
    std::array<wchar_t, 60> name{};
    std::swprintf(name.data(), name.size(), L"Global\\Talvenor-folder-%016llx",
                  static_cast<unsigned long long>(hash));
    return name.data();
}

}  // namespace

CFolderLock::CFolderLock(const std::wstring& folder)
{
    const std::wstring name = MutexName(FinalPath(folder));
    m_mutex.reset(CreateMutexW(nullptr, FALSE, name.c_str()));
    // If another user's mutex has the name, access may be denied ("CreateMutexW function").
    m_taken = GetLastError() == ERROR_ALREADY_EXISTS ||
              (m_mutex == nullptr && GetLastError() == ERROR_ACCESS_DENIED);
    if (m_taken) {
        m_mutex.reset();
    }
}
