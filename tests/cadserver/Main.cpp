// The stand-in CAD server; see README.md. Test equipment, never part of an installation.
#include <windows.h>

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/cadserver/Registration.h"
#include "tests/cadserver/Script.h"
#include "tests/cadserver/Server.h"
#include "tests/cadserver/Settings.h"
#include "tests/support/TextFile.h"

namespace {

constexpr const char* kUsage =
    "The stand-in CAD application (test equipment).\n"
    "cadserver --register VERSION ... [--current VERSION|none] [--script FILE] [--log FILE]\n"
    "cadserver --configure [--script FILE] [--log FILE]\n"
    "cadserver --unregister\n";

// The parsed command line: the command, its arguments and the options.
struct CommandLine
{
    std::wstring command;
    std::vector<std::wstring> arguments;
    std::wstring current;
    std::wstring script;
    std::wstring log;
};

CommandLine ParseCommandLine(int count, wchar_t** arguments)
{
    CommandLine line;
    line.command = count > 1 ? arguments[1] : L"";
    for (int index = 2; index < count; ++index) {
        const std::wstring word = arguments[index];
        std::wstring* option = word == L"--current"  ? &line.current
                               : word == L"--script" ? &line.script
                               : word == L"--log"    ? &line.log
                                                     : nullptr;
        if (option == nullptr) {
            line.arguments.push_back(word);
        } else if (++index < count) {
            *option = arguments[index];
        } else {
            throw std::runtime_error(ToUtf8(word) + " needs a value");
        }
    }
    return line;
}

int ToVersion(const std::wstring& text)
{
    const int version = _wtoi(text.c_str());
    if (version < kFirstVersion || version > kLastVersion) {
        throw std::runtime_error("not a version from 20 to 45: " + ToUtf8(text));
    }
    return version;
}

void Configure(const CommandLine& line)
{
    if (!line.script.empty()) {
        const CScript checked(line.script);  // reports a wrong script before COM starts the server
    }
    ConfigureServer(line.script, line.log);
}

void Register(const CommandLine& line)
{
    std::vector<int> versions;
    for (const std::wstring& word : line.arguments) {
        versions.push_back(ToVersion(word));
    }
    if (versions.empty()) {
        throw std::runtime_error("no version given");
    }
    std::optional<int> current;
    if (line.current != L"none") {
        current = line.current.empty() ? versions.back() : ToVersion(line.current);
    }
    Configure(line);
    RegisterVersions(versions, current);
}

int Run(const CommandLine& line)
{
    if (line.command == L"--serve" && !line.arguments.empty()) {
        return Serve(ToVersion(line.arguments[0]));
    }
    if (line.command == L"--register") {
        Register(line);
    } else if (line.command == L"--configure") {
        Configure(line);
    } else if (line.command == L"--unregister") {
        UnregisterVersions();
        RemoveSettings();
    } else {
        std::fputs(kUsage, stderr);
        return 2;
    }
    return 0;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, LPWSTR /*commandLine*/, int /*show*/)
{
    try {
        return Run(ParseCommandLine(__argc, __wargv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cadserver: %s\n", error.what());
        return 1;
    }
}
