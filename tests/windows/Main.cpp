#include <gtest/gtest.h>
#include <ole2.h>

#include <cstdlib>
#include <optional>

#include "framework/WinApp.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/KeysAside.h"
#include "tests/support/OwnRegistry.h"
#include "tests/support/TestScopes.h"

namespace {

// The application object, which modal loops and message boxes need.
class CTestApp : public CWinApp
{
public:
    CTestApp() : CWinApp(L"Talvenor") {}

protected:
    bool InitInstance() override
    {
        InitializeOle();
        const bool child = std::getenv(kInOwnProcess) != nullptr;
        if (!child) {
            CScratchClassKey::RemoveLeftovers();
            COwnRegistry::RemoveLeftovers();
        }
        std::optional<CKeysAside> fileDialogs;
        if (!child) {
            CKeysAside::RestoreLeftovers(kFileDialogsKey);
            fileDialogs.emplace(HKEY_CURRENT_USER, 0, kFileDialogsKey);
        }
        m_nResult = RUN_ALL_TESTS();
        // A run whose filter matches no test fails, and so does a child process whose one test did not pass.
        const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
        if (tests.test_to_run_count() == 0 || (child && tests.successful_test_count() != 1)) {
            m_nResult = 1;
        }
        return false;
    }

public:
    int m_nResult = 1;
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    CTestApp app;
    app.Run();
    return app.m_nResult;
}
