#include "platform/FolderLock.h"

#include <array>
#include <cstdint>
#include <cwchar>
#include <utility>

#include "framework/FileNames.h"

namespace {

// A mutex's name has at most MAX_PATH characters and no backslash after "Global\", so it cannot contain a
// path. It contains the hash of the text (FNV-1a), which every build of the program computes alike.
std::wstring MutexName(const std::wstring& text)
{
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const wchar_t character : text) {
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
    Lock(FoldFileName(FinalPath(folder)));
    if (const std::wstring number = FileNumber(folder); !number.empty()) {
        Lock(number);
    }
    if (m_taken) {
        m_mutexes.clear();
    }
}

void CFolderLock::Lock(const std::wstring& name)
{
    SetLastError(ERROR_SUCCESS);  // not every success sets it
    UniqueHandle mutex(CreateMutexW(nullptr, FALSE, MutexName(name).c_str()));
    // If another user's mutex has the name, access may be denied ("CreateMutexW function").
    m_taken = m_taken || GetLastError() == ERROR_ALREADY_EXISTS ||
              (mutex == nullptr && GetLastError() == ERROR_ACCESS_DENIED);
    m_mutexes.push_back(std::move(mutex));
}
