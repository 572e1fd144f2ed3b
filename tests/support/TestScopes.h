#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "framework/Exception.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "tests/support/Files.h"
#include "tests/support/RefusedCalls.h"

// Name of the environment variable that a test sets when it starts itself in a second process.
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

// Has a function answer the message boxes until the end of the scope.
class CListenerScope
{
public:
    explicit CListenerScope(MessageListener listener) : m_before(SetMessageListener(std::move(listener))) {}
    ~CListenerScope() { SetMessageListener(std::move(m_before)); }
    CListenerScope(const CListenerScope&) = delete;
    CListenerScope& operator=(const CListenerScope&) = delete;

private:
    MessageListener m_before;
};

// Records the message boxes until the end of the scope, and answers them, by default with OK.
class CMessageRecorder
{
public:
    explicit CMessageRecorder(const std::function<int()>& answer = [] { return IDOK; })
        : m_scope([this, answer](const MessageRequest& request) {
            const CUncountedCalls uncounted;
            m_boxes.push_back(request);
            return answer();
        })
    {
    }

    // The texts since the last call; "(not plain)" precedes the text of a box whose type is not MB_OK.
    [[nodiscard]] std::vector<std::wstring> TakeTexts()
    {
        std::vector<std::wstring> texts;
        for (const MessageRequest& box : std::exchange(m_boxes, {})) {
            texts.push_back(box.type == MB_OK ? box.text : L"(not plain) " + box.text);
        }
        return texts;
    }

    std::vector<MessageRequest> m_boxes;

private:
    CListenerScope m_scope;
};

// Makes this folder the one for temporary files (environment variable TMP) until the end of the scope.
class CTemporaryFolderScope
{
public:
    explicit CTemporaryFolderScope(const std::wstring& folder)
    {
        std::wstring before(32'768, L'\0');
        before.resize(GetEnvironmentVariableW(L"TMP", before.data(), static_cast<DWORD>(before.size())));
        m_before = before;
        SetEnvironmentVariableW(L"TMP", folder.c_str());
    }
    ~CTemporaryFolderScope()
    {
        SetEnvironmentVariableW(L"TMP", m_before.empty() ? nullptr : m_before.c_str());
    }
    CTemporaryFolderScope(const CTemporaryFolderScope&) = delete;
    CTemporaryFolderScope& operator=(const CTemporaryFolderScope&) = delete;

private:
    std::wstring m_before;
};

// An exception that no handler expects.
class CTestException : public CException
{
public:
    [[nodiscard]] std::wstring GetErrorMessage() const override { return L"Etwas ging schief"; }
};
