#include <gtest/gtest.h>

#include <ole2.h>

#include "framework/WinApp.h"
#include "tests/faults/FaultBench.h"
#include "tests/support/SharedMachine.h"

namespace {

// The application object, which message boxes and message loops of a run need.
class CFaultTestApp : public CWinApp
{
public:
    CFaultTestApp() : CWinApp(L"Talvenor") {}
    int m_nResult = 1;

protected:
    bool InitInstance() override
    {
        InitializeOle();
        GetMessageFilter().SetBusyDelay(kBusyDelay);
        m_nResult = RunTestsOnSharedMachine();
        return false;
    }
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new CServerEnvironment);  // the framework deletes it
    CFaultTestApp app;
    app.Run();
    return app.m_nResult;
}
