// Logs the windows of a program: windowwatch LOG PROGRAM.exe
//
// Appends lines to the file LOG whenever a visible window of PROGRAM.exe appears, changes or disappears,
// until the file LOG.stop exists. A line is UTF-8 with fields separated by tabs:
//
//   TIME  window   HANDLE  LEFT,TOP,RIGHT,BOTTOM  enabled|disabled  CLASS  TITLE
//   TIME  control  HANDLE  LEFT,TOP,RIGHT,BOTTOM  enabled|disabled  CLASS  TEXT  ID
//   TIME  gone     HANDLE
//
// Lines "control" follow the line of their window. TIME is in milliseconds since 1970 (UTC), rectangles are
// in screen pixels. Line feeds, tabs and backslashes in texts are written as \n, \t and \\. Texts are read
// without sending messages, so the program is not disturbed.
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>

namespace {

constexpr DWORD kPollMilliseconds = 50;

std::string ToUtf8(const std::wstring& text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                         nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), size, nullptr,
                        nullptr);
    return bytes;
}

std::string OneLine(const std::wstring& text)
{
    std::wstring line;
    for (const wchar_t character : text) {
        switch (character) {
            case L'\n':
                line += L"\\n";
                break;
            case L'\t':
                line += L"\\t";
                break;
            case L'\\':
                line += L"\\\\";
                break;
            case L'\r':
                break;
            default:
                line += character;
        }
    }
    return ToUtf8(line);
}

std::string TextOf(HWND window)
{
    wchar_t text[2048];
    const int length = InternalGetWindowText(window, text, static_cast<int>(std::size(text)));
    return OneLine(std::wstring(text, static_cast<std::size_t>(length)));
}

std::string ClassOf(HWND window)
{
    wchar_t name[256];
    const int length = GetClassNameW(window, name, static_cast<int>(std::size(name)));
    return OneLine(std::wstring(name, static_cast<std::size_t>(length)));
}

// The rectangle, state, class and text of a window as fields of a line.
std::string Describe(HWND window)
{
    RECT rect{};
    GetWindowRect(window, &rect);
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + "," + std::to_string(rect.right) +
           "," + std::to_string(rect.bottom) + (IsWindowEnabled(window) ? "\tenabled\t" : "\tdisabled\t") +
           ClassOf(window) + "\t" + TextOf(window);
}

std::wstring ProgramOf(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const std::unique_ptr<void, decltype(&CloseHandle)> handle(
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process), CloseHandle);
    wchar_t path[MAX_PATH];
    DWORD size = MAX_PATH;
    if (!handle || !QueryFullProcessImageNameW(handle.get(), 0, path, &size)) {
        return {};
    }
    return std::filesystem::path(path, path + size).filename().wstring();
}

class WindowWatch
{
public:
    WindowWatch(const std::filesystem::path& log, std::wstring program)
        : m_log(log, std::ios::app | std::ios::binary), m_program(std::move(program))
    {
    }

    // Logs all changes since the last call.
    void Update()
    {
        m_now.clear();
        EnumWindows(OnWindow, reinterpret_cast<LPARAM>(this));
        for (const auto& [window, description] : m_now) {
            const auto before = m_before.find(window);
            if (before == m_before.end() || before->second != description) {
                Write("window", window, description);
                EnumChildWindows(window, OnControl, reinterpret_cast<LPARAM>(this));
            }
        }
        for (const auto& [window, description] : m_before) {
            if (!m_now.contains(window)) {
                Write("gone", window, "");
            }
        }
        m_before.swap(m_now);
        m_log.flush();
    }

private:
    static BOOL CALLBACK OnWindow(HWND window, LPARAM self)
    {
        auto& watch = *reinterpret_cast<WindowWatch*>(self);
        if (IsWindowVisible(window) && ProgramOf(window) == watch.m_program) {
            watch.m_now[window] = Describe(window);
        }
        return TRUE;
    }

    static BOOL CALLBACK OnControl(HWND control, LPARAM self)
    {
        const std::string number = std::to_string(GetDlgCtrlID(control));
        reinterpret_cast<WindowWatch*>(self)->Write("control", control, Describe(control) + "\t" + number);
        return TRUE;
    }

    void Write(const char* what, HWND window, const std::string& description)
    {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        m_log << std::chrono::duration_cast<std::chrono::milliseconds>(now).count() << '\t' << what << '\t'
              << reinterpret_cast<std::uintptr_t>(window) << '\t' << description << '\n';
    }

    std::ofstream m_log;
    std::wstring m_program;
    std::map<HWND, std::string> m_before;
    std::map<HWND, std::string> m_now;
};

}  // namespace

int wmain(int count, wchar_t* arguments[])
{
    if (count != 3) {
        std::fputs("windowwatch LOG PROGRAM.exe\n", stderr);
        return 2;
    }
    // Gets rectangles in physical pixels: a program that is not DPI-aware gets scaled rectangles.
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    const std::filesystem::path log = arguments[1];
    const std::filesystem::path stop = log.wstring() + L".stop";
    WindowWatch watch(log, arguments[2]);
    while (!std::filesystem::exists(stop)) {
        watch.Update();
        Sleep(kPollMilliseconds);
    }
    return 0;
}
