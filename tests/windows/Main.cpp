#include <gtest/gtest.h>
#include <ole2.h>

#include "framework/WinApp.h"

namespace {

// The tests' application object: modal loops and message boxes ask for one.
class CTestApp : public CWinApp
{
public:
    CTestApp() : CWinApp(L"Talvenor") {}

protected:
    bool InitInstance() override
    {
        InitializeOle();
        m_nResult = RUN_ALL_TESTS();
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
