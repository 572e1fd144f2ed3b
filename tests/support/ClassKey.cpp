#include "tests/support/ClassKey.h"

#include <objbase.h>

#include <array>

#include "framework/Handles.h"
#include "tests/support/Problem.h"
#include "tests/support/TestMark.h"
#include "tests/support/TextFile.h"

namespace {

constexpr wchar_t kClasses[] = L"Software\\Classes\\";
constexpr char kNotOurs[] = " has values that no test has written, and is left as it is";

UniqueKey Open(HKEY root, const std::wstring& path, REGSAM access = KEY_READ)
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(root, path.c_str(), 0, access, &key);
    return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
}

std::string TitleOf(HKEY root, const std::wstring& path)
{
    return "the registry key " + std::string(root == HKEY_LOCAL_MACHINE ? "HKLM\\" : "HKCU\\") + ToUtf8(path);
}

bool HasOthersValues(HKEY key)
{
    const std::optional<KeyContents> foreign = ForeignContents(key);
    return !IsMarked(key) || !foreign || !foreign->empty();
}

// Both count, because a user's key would hide the machine's.
bool IsOfOtherProgram(const std::wstring& path)
{
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        const UniqueKey key = Open(root, path);
        if (key && HasOthersValues(key.get())) {
            return true;
        }
    }
    return false;
}

// Returns what is left and why.
std::optional<std::string> RemoveKey(HKEY root, const std::wstring& path)
{
    if (const UniqueKey key = Open(root, path); key && HasOthersValues(key.get())) {
        return TitleOf(root, path) + kNotOurs;
    }
    return DeleteKey(root, path) ? std::nullopt
                                 : std::optional(TitleOf(root, path) + " of a test cannot be removed");
}

std::vector<std::wstring> MarkedBelow(HKEY root, const std::wstring& path)
{
    std::vector<std::wstring> marked;
    const UniqueKey classes = Open(root, path);
    std::array<wchar_t, MAX_PATH> name{};
    for (DWORD at = 0; RegEnumKeyW(classes.get(), at, name.data(), MAX_PATH) == ERROR_SUCCESS; ++at) {
        if (RegGetValueW(classes.get(), name.data(), kTestMark, RRF_RT_ANY, nullptr, nullptr, nullptr) ==
            ERROR_SUCCESS) {
            marked.push_back(path + name.data());
        }
    }
    return marked;
}

}  // namespace

CScratchClassKey::CScratchClassKey(HKEY root, const std::wstring& top, const std::wstring& path,
                                   const std::wstring& value)
    : m_root(root), m_top(top)
{
    if (IsOfOtherProgram(kClasses + top)) {
        m_top.clear();
        ReportProblem("a key of another program: " + ToUtf8(top));
        return;
    }
    HKEY key = nullptr;
    RegCreateKeyExW(root, (kClasses + top).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    const UniqueKey owner(key);
    if (key != nullptr && MarkKey(key)) {
        Write(root, top, path, nullptr, REG_SZ, value);
    }
}

CScratchClassKey::~CScratchClassKey()
{
    if (m_top.empty()) {
        return;
    }
    if (const std::optional<std::string> problem = RemoveKey(m_root, kClasses + m_top)) {
        ReportProblem(*problem);
    }
}

bool CScratchClassKey::Write(HKEY root, const std::wstring& top, const std::wstring& path,
                             const wchar_t* name, DWORD type, const std::wstring& value)
{
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    const UniqueKey key = Open(root, kClasses + top, KEY_ALL_ACCESS);
    const std::wstring below = path == top ? L"" : path.substr(top.size() + 1);
    return key && NoteTestValue(key.get(), below, name == nullptr ? L"" : name, type, value.c_str(), size) &&
           RegSetKeyValueW(root, (kClasses + path).c_str(), name, type, value.c_str(), size) == ERROR_SUCCESS;
}

std::optional<HKEY> CScratchClassKey::Root()
{
    static const std::optional<HKEY> root = []() -> std::optional<HKEY> {
        for (const HKEY candidate : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            const std::wstring progId = L"Talvenor.Test.Probe";
            const CScratchClassKey probe(candidate, progId, progId + L"\\CLSID", TextOfClass(NewClassId()));
            CLSID found{};
            if (SUCCEEDED(CLSIDFromProgID(progId.c_str(), &found))) {
                return candidate;
            }
        }
        return std::nullopt;
    }();
    return root;
}

std::vector<std::string> CScratchClassKey::RestoreLeftovers()
{
    std::vector<std::string> problems;
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const std::wstring& below : {std::wstring(kClasses), kClasses + std::wstring(L"CLSID\\")}) {
            for (const std::wstring& key : MarkedBelow(root, below)) {
                if (const std::optional<std::string> problem = RemoveKey(root, key)) {
                    problems.push_back(*problem);
                }
            }
        }
    }
    return problems;
}

std::wstring TextOfClass(const CLSID& classId)
{
    std::array<wchar_t, 40> text{};
    StringFromGUID2(classId, text.data(), static_cast<int>(text.size()));
    return text.data();
}

CLSID NewClassId()
{
    CLSID classId{};
    CoCreateGuid(&classId);
    return classId;
}
