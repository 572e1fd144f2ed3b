#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>
#include <shellapi.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>

#include "framework/Language.h"
#include "tests/support/CadServer.h"
#include "tests/support/TextFile.h"

namespace {

// Registers the stand-in server while the tests run.
class CCadServerEnvironment : public testing::Environment
{
public:
    void SetUp() override { RegisterCadServer(); }
    void TearDown() override { UnregisterCadServer(); }
};

// Appends the path DOCUMENT to a file if the command line is --note-document FILE DOCUMENT: the help test
// registers this program for documents.
bool NoteDocument()
{
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count),
                                                              &LocalFree);
    if (count != 4 || std::wstring_view(words.get()[1]) != L"--note-document") {
        return false;
    }
    std::ofstream(std::filesystem::path(words.get()[2]), std::ios::binary | std::ios::app)
        << ToUtf8(words.get()[3]) << '\n';
    return true;
}

}  // namespace

// TALVENOR_TEST_LANGUAGE is the language of the program under test: german (the default) or english.
int main(int argc, char** argv)
{
    if (NoteDocument()) {
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    const char* language = std::getenv("TALVENOR_TEST_LANGUAGE");
    g_nLanguage = language != nullptr && std::string_view(language) == "english" ? 0 : 1;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    testing::AddGlobalTestEnvironment(new CCadServerEnvironment);  // the framework deletes it
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    // If the filter matched nothing, nothing was tested.
    return testing::UnitTest::GetInstance()->test_to_run_count() == 0 ? 1 : result;
}
