#include "cad/SldWorks.h"

#include <algorithm>
#include <new>

#include "cad/BomEntryWriter.h"
#include "cad/CadVersion.h"
#include "core/NameRules.h"
#include "framework/WaitCursor.h"
#include "platform/Registry.h"

namespace {

constexpr int kFirstVersion = 20;
constexpr int kLastVersion = 39;
constexpr long kFirstSupportedDateCode = 1999250;

struct CoTaskMemDeleter
{
    void operator()(wchar_t* text) const { CoTaskMemFree(text); }
};

// Returns the major version number that the registry gives as the current one; empty if there is none.
std::wstring CurrentVersion()
{
    CLSID classId{};
    if (FAILED(CLSIDFromProgID(kCurrentCadProgId, &classId)) || IsEqualCLSID(classId, CLSID_NULL)) {
        return {};
    }
    LPOLESTR raw = nullptr;
    const HRESULT status = ProgIDFromCLSID(classId, &raw);
    const std::unique_ptr<wchar_t, CoTaskMemDeleter> progId(raw);
    if (FAILED(status) || progId == nullptr) {
        return {};
    }
    const std::wstring text = progId.get();
    const std::size_t dot = text.rfind(L'.');
    return dot == std::wstring::npos ? std::wstring() : text.substr(dot + 1);
}

bool IsInstalled(const CCadVersion& version)
{
    std::wstring classId;
    return CRegistry(HKEY_CLASSES_ROOT).ReadString(version.ProgId() + L"\\CLSID", L"", classId);
}

}  // namespace

// Does not throw when memory is short: the program can do without the connect error.
CSldWorks::CSldWorks() : m_connectError(new (std::nothrow) COleException) {}

CSldWorks::~CSldWorks() = default;

int CSldWorks::GetInstalledVersions(std::vector<std::wstring>& versions)
{
    versions.clear();
    const std::wstring current = CurrentVersion();
    for (int number = kFirstVersion; number <= kLastVersion; ++number) {
        if (IsInstalled(CCadVersion(number))) {
            versions.push_back(std::to_wstring(number));
        }
    }
    const auto found = std::ranges::find(versions, current);
    return found == versions.end() ? 0 : static_cast<int>(found - versions.begin());
}

int CSldWorks::Connect(const std::wstring& progId)
{
    if (m_connected != 0) {
        return m_connected;
    }
    const CWaitCursor wait;
    const _bstr_t automationText = MakeAutomationString(progId);
    // The result is not used: CreateDispatch looks the class up itself. The call makes the ProgID readable in
    // a trace of COM calls.
    CLSID classId{};
    CLSIDFromProgID(automationText, &classId);
    if (m_application.CreateDispatch(progId, m_connectError.get())) {
        m_connected = 1;
    }
    return m_connected;
}

HRESULT CSldWorks::GetConnectStatus() const
{
    return m_connectError == nullptr ? E_OUTOFMEMORY : m_connectError->m_sc;
}

bool CSldWorks::IsVersionSupported()
{
    return m_application.GetDateCode() >= kFirstSupportedDateCode;
}

int CSldWorks::Disconnect()
{
    if (m_connected != 0) {
        // The connection is released before the call, because the call throws when the server is gone. The
        // copy keeps a reference for the call.
        CSldWorksApplication application = m_application;
        Leave();
        application.Exit();
    }
    return 0;
}

void CSldWorks::Leave()
{
    m_application.ReleaseDispatch();
    m_connected = 0;
}

int CSldWorks::WriteBomEntries(CProgressView& progress, const std::wstring& filePath,
                               const PartNameValues& fields, const std::wstring& bomNameTemplate,
                               float fileShare, int fileNumber)
{
    return CBomEntryWriter(m_application, progress, filePath, fields, bomNameTemplate, fileShare, fileNumber)
        .Run();
}

int CSldWorks::SanitizeFeatureName(std::wstring& name)
{
    return ::SanitizeFeatureName(name);
}
