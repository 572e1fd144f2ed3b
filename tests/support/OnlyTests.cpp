#include "tests/support/OnlyTests.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace {

constexpr const wchar_t* kName = L"TalvenorTestsOnSharedMachine";

// A mutex that other users may wait for, too. Asks for no more than the right to wait: an elevated
// process's mutex refuses more to processes that are not elevated ("Mandatory Integrity Control").
UniqueHandle MakeMutex(const std::wstring& name)
{
    SECURITY_DESCRIPTOR everyone{};
    InitializeSecurityDescriptor(&everyone, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&everyone, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &everyone, FALSE};
    return UniqueHandle(CreateMutexExW(&attributes, name.c_str(), 0, SYNCHRONIZE));
}

// The mutex for all sessions or, where a sandbox refuses such names, for this session. Returns no handle if
// there is a mutex for all sessions that this process may not use: it is somebody else's.
UniqueHandle OpenMutexOfMachine()
{
    const std::wstring ofMachine = std::wstring(L"Global\\") + kName;
    if (UniqueHandle mutex = MakeMutex(ofMachine)) {
        return mutex;
    }
    const UniqueHandle existing(OpenMutexW(SYNCHRONIZE, FALSE, ofMachine.c_str()));
    return !existing && GetLastError() == ERROR_FILE_NOT_FOUND ? MakeMutex(kName) : nullptr;
}

}  // namespace

COnlyTests::COnlyTests() : m_mutex(OpenMutexOfMachine())
{
    const DWORD waited = m_mutex ? WaitForSingleObject(m_mutex.get(), 0) : WAIT_FAILED;
    if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
        throw std::runtime_error("another test program is running");
    }
}

COnlyTests::~COnlyTests()
{
    ReleaseMutex(m_mutex.get());
}
