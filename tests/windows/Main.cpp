#include <gtest/gtest.h>
#include <ole2.h>

#include <cstdlib>

#include "framework/WinApp.h"
#include "tests/support/SharedMachine.h"
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
        m_nResult = std::getenv(kInOwnProcess) != nullptr ? RunTestInOwnProcess() : RunTestsInOneProcess();
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
