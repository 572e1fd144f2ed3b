#include "cad/SldWorks.h"

#include <algorithm>
#include <new>

#include "cad/BomEntryWriter.h"
#include "core/NameRules.h"
#include "platform/Registry.h"

namespace {

// The ProgID of the current version; the ProgID of a certain version has "." and its number behind it.
constexpr const wchar_t* kCurrentProgId = L"SldWorks.Application";

constexpr int kFirstVersion = 20;
constexpr int kLastVersion = 39;
constexpr long kFirstSupportedDateCode = 1999250;

struct CoTaskMemDeleter
{
    void operator()(wchar_t* text) const { CoTaskMemFree(text); }
};

// Shows the wait cursor as long as it lives.
class CWaitCursor
{
public:
    CWaitCursor() : m_previous(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;
    ~CWaitCursor() { SetCursor(m_previous); }

private:
    HCURSOR m_previous;
};

// The major version number of the current installation, as registered; empty when there is none.
std::wstring CurrentVersion()
{
    CLSID classId{};
    if (FAILED(CLSIDFromProgID(kCurrentProgId, &classId)) || IsEqualCLSID(classId, CLSID_NULL)) {
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

bool IsInstalled(const std::wstring& version)
{
    std::wstring classId;
    return CRegistry(HKEY_CLASSES_ROOT)
        .ReadString(std::wstring(kCurrentProgId) + L"." + version + L"\\CLSID", L"", classId);
}

}  // namespace

// The connect error does without memory for itself, hence the new that does not throw.
CSldWorks::CSldWorks() : m_connectError(new (std::nothrow) COleException) {}

CSldWorks::~CSldWorks() = default;

int CSldWorks::GetInstalledVersions(std::vector<std::wstring>& versions)
{
    versions.clear();
    const std::wstring current = CurrentVersion();
    for (int number = kFirstVersion; number <= kLastVersion; ++number) {
        if (std::wstring version = std::to_wstring(number); IsInstalled(version)) {
            versions.push_back(std::move(version));
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
    const CWaitCursor waitCursor;
    const _bstr_t automationText = MakeAutomationString(progId);
    // Kept, though nothing uses the result: the driver looks the class up itself.
    CLSID classId{};
    CLSIDFromProgID(automationText, &classId);
    if (m_application.CreateDispatch(progId, m_connectError.get())) {
        m_connected = 1;
    }
    return m_connected;
}

bool CSldWorks::IsVersionSupported()
{
    return m_application.GetDateCode() >= kFirstSupportedDateCode;
}

int CSldWorks::Disconnect()
{
    if (m_connected != 0) {
        // The connection is given up before the call: a server that is gone fails the call, and then there
        // must be none left either. The copy holds the application until the call is over.
        CSldWorksApplication application = m_application;
        m_application.ReleaseDispatch();
        m_connected = 0;
        application.Exit();
    }
    return 0;
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
