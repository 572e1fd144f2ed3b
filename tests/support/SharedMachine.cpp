#include "tests/support/SharedMachine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

#include "tests/cadserver/ClassFamily.h"
#include "tests/support/DocumentViewer.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/KeysAside.h"
#include "tests/support/TextFile.h"

namespace {

void RequireNoCadSystem()
{
    if (const std::optional<std::wstring> other = OtherCadSystem()) {
        throw std::runtime_error("a CAD system is registered on this machine as " + ToUtf8(*other));
    }
}

void RequireNoLibrary()
{
    for (const REGSAM view : {REGSAM{KEY_WOW64_64KEY}, REGSAM{KEY_WOW64_32KEY}}) {
        if (CKeysAside::HasRealKeys(HKEY_LOCAL_MACHINE, view)) {
            throw std::runtime_error("a library is registered on this machine (HKLM\\SOFTWARE\\Zelmar)");
        }
    }
}

}  // namespace

CSharedMachine::CSharedMachine() : m_only(CreateMutexW(nullptr, TRUE, L"TalvenorTestsOnSharedMachine"))
{
    if (m_only == nullptr || GetLastError() == ERROR_ALREADY_EXISTS) {
        throw std::runtime_error("another test program is running");
    }
    CScratchClassKey::RemoveLeftovers();
    CDocumentViewer::RestoreLeftovers();
    CKeysAside::RestoreLeftovers();
    CKeysAside::RestoreLeftovers(kFileDialogsKey);
    RequireNoCadSystem();
    RequireNoLibrary();
    m_fileDialogs.emplace(HKEY_CURRENT_USER, 0, kFileDialogsKey);
}

int RunTestsOnSharedMachine()
{
    std::optional<CSharedMachine> machine;
    try {
        machine.emplace();
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "refused: %s\n", error.what());
        return kRefused;
    }
    const int result = RUN_ALL_TESTS();
    // If the filter matched nothing, nothing was tested.
    return testing::UnitTest::GetInstance()->test_to_run_count() == 0 ? 1 : result;
}
