#include "tests/cadserver/CallLog.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "tests/support/TextFile.h"

CCallLog::CCallLog(std::wstring path) : m_path(std::move(path)) {}

void CCallLog::Add(const std::vector<std::wstring>& fields) const
{
    if (m_path.empty()) {
        return;
    }
    std::wstring line;
    const auto isControl = [](wchar_t character) { return character < L' '; };
    for (std::wstring field : fields) {
        std::replace_if(field.begin(), field.end(), isControl, L' ');
        line += (line.empty() ? L"" : L"\t") + field;
    }
    const std::string bytes = ToUtf8(line) + "\n";
    const HANDLE file =
        CreateFileW(m_path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        DWORD written = 0;
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
        CloseHandle(file);
    }
}
