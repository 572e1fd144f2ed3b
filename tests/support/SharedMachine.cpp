#include "tests/support/SharedMachine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/cadserver/ClassFamily.h"
#include "tests/support/Leftovers.h"
#include "tests/support/OwnRegistry.h"
#include "tests/support/Problem.h"
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

class CMachineOfProcess
{
    const CTestMachine m_machine;
    const CKeysAside m_fileDialogs{HKEY_CURRENT_USER, 0, kFileDialogsKey};
    const COwnRegistry m_registry;
};

void FailTest(const std::string& problem)
{
    ADD_FAILURE() << problem;
}

// The end of the machine may report a failure. By then the exit status of the tests is known, so GoogleTest
// is asked again: it counts such a failure against the whole run.
template <class Machine>
int RunTestsOn()
{
    std::optional<Machine> machine;
    try {
        machine.emplace();
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "refused: %s\n", error.what());
        return kRefused;
    }
    SetProblemHandler(&FailTest);
    const int result = RUN_ALL_TESTS();
    machine.reset();
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    // If the filter matched nothing, nothing was tested.
    return tests.test_to_run_count() == 0 || tests.Failed() ? 1 : result;
}

}  // namespace

CTestMachine::CTestMachine()
{
    std::string all;
    for (const std::string& problem : RestoreLeftovers()) {
        all += (all.empty() ? "" : "\n") + problem;
    }
    if (!all.empty()) {
        throw std::runtime_error(all);
    }
}

CSharedMachine::CSharedMachine()
{
    RequireNoCadSystem();
    RequireNoLibrary();
    m_fileDialogs.emplace(HKEY_CURRENT_USER, 0, kFileDialogsKey);
}

int RunTestsOnSharedMachine()
{
    return RunTestsOn<CSharedMachine>();
}

int RunTestsInOneProcess()
{
    return RunTestsOn<CMachineOfProcess>();
}

int RunTestInOwnProcess()
{
    const COwnRegistry registry;
    SetProblemHandler(&FailTest);
    const int result = RUN_ALL_TESTS();
    // It must have passed, not been skipped.
    return testing::UnitTest::GetInstance()->successful_test_count() == 1 ? result : 1;
}
