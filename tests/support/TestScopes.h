#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "framework/Exception.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"

// The variable that tells a process of these tests that it runs for one test of another one.
inline constexpr char kInOwnProcess[] = "TALVENOR_TEST_IN_OWN_PROCESS";

// Sets the language of the process (non-zero: German) until the end of the scope.
class CLanguageScope
{
public:
    explicit CLanguageScope(int language) : m_before(g_nLanguage) { g_nLanguage = language; }
    ~CLanguageScope() { g_nLanguage = m_before; }
    CLanguageScope(const CLanguageScope&) = delete;
    CLanguageScope& operator=(const CLanguageScope&) = delete;

private:
    int m_before;
};

// Answers every message box with OK until the end of the scope, and keeps what it asked for.
class CMessageRecorder
{
public:
    CMessageRecorder()
        : m_before(SetMessageListener([this](const MessageRequest& request) -> std::optional<int> {
            m_requests.push_back(request);
            return IDOK;
        }))
    {
    }
    ~CMessageRecorder() { SetMessageListener(std::move(m_before)); }
    CMessageRecorder(const CMessageRecorder&) = delete;
    CMessageRecorder& operator=(const CMessageRecorder&) = delete;

    // The texts since the last call. A box that is not a plain one with an OK button is marked.
    [[nodiscard]] std::vector<std::wstring> TakeTexts()
    {
        std::vector<std::wstring> texts;
        for (const MessageRequest& request : std::exchange(m_requests, {})) {
            texts.push_back(request.type == MB_OK ? request.text : L"(not plain) " + request.text);
        }
        return texts;
    }

private:
    std::vector<MessageRequest> m_requests;
    MessageListener m_before;
};

// An error of the program that no handler expects.
class CTestException : public CException
{
public:
    [[nodiscard]] std::wstring GetErrorMessage() const override { return L"Etwas ging schief"; }
};

// An empty folder of a test's own below the user's temporary folder; it goes with the object, whatever is in
// it. What an earlier process of the same number left there, having crashed, goes first.
class CTempFolder
{
public:
    CTempFolder()
    {
        static int made = 0;
        m_path = std::filesystem::temp_directory_path() /
                 (L"talvenor-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++made));
        Remove();
        EXPECT_TRUE(std::filesystem::create_directory(m_path));
    }
    ~CTempFolder() { Remove(); }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    // The folder, without a backslash at its end.
    [[nodiscard]] std::wstring Path() const { return m_path.wstring(); }

    // The path of something in the folder.
    [[nodiscard]] std::wstring operator/(const std::wstring& name) const { return (m_path / name).wstring(); }

private:
    void Remove() const
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path, ignored)) {
            ::SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        std::filesystem::remove_all(m_path, ignored);
    }

    std::filesystem::path m_path;
};

// Makes a folder the working folder until the end of the scope.
class CWorkingFolderScope
{
public:
    explicit CWorkingFolderScope(const std::wstring& folder) : m_before(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder);
    }
    ~CWorkingFolderScope() { std::filesystem::current_path(m_before); }
    CWorkingFolderScope(const CWorkingFolderScope&) = delete;
    CWorkingFolderScope& operator=(const CWorkingFolderScope&) = delete;

private:
    std::filesystem::path m_before;
};

// Makes or overwrites a file with these bytes.
inline void WriteBytes(const std::wstring& path, const std::string& bytes)
{
    std::ofstream file(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    file << bytes;
    ASSERT_TRUE(file.flush().good());
}

// All bytes of a file.
inline std::string ReadBytes(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    EXPECT_TRUE(file.is_open());
    return {std::istreambuf_iterator<char>(file), {}};
}

// Whether the system keeps the user from writing to a read-only file. Windows does; Wine leaves it to the
// file permissions of its host, which do not bind root.
inline bool ReadOnlyFilesDenyWriting()
{
    const CTempFolder folder;
    const std::wstring path = folder / L"read-only";
    WriteBytes(path, "");
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    return !std::ofstream(std::filesystem::path(path)).is_open();
}
