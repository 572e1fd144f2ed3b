#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

#include <cstdlib>
#include <string_view>

#include "framework/Language.h"
#include "tests/support/CadServer.h"
#include "tests/support/SharedMachine.h"

namespace {

// Registers the stand-in CAD server while the tests run.
class CCadServerEnvironment : public testing::Environment
{
public:
    void SetUp() override { RegisterCadServer(); }
    void TearDown() override { UnregisterCadServer(); }
};

}  // namespace

// TALVENOR_TEST_LANGUAGE is the language of the program under test: german (the default) or english.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const char* language = std::getenv("TALVENOR_TEST_LANGUAGE");
    g_nLanguage = language != nullptr && std::string_view(language) == "english" ? 0 : 1;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    testing::AddGlobalTestEnvironment(new CCadServerEnvironment);  // GoogleTest deletes it
    const int result = RunTestsOnSharedMachine();
    CoUninitialize();
    return result;
}
