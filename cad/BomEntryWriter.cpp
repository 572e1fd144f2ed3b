#include "cad/BomEntryWriter.h"

#include <algorithm>
#include <string_view>

#include "core/NameTemplate.h"
#include "core/TextTools.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/ScopeExit.h"

namespace {

constexpr Text kCurrentConfiguration{L"Aktuelle Konfiguration:  ", L"Current Configuration:  "};
constexpr Text kSetNewEntry{L"Setze neuen Stückl.-Eintrag:  ", L"Set new BOM entry:  "};
constexpr Text kSavingFile{L"Schreibe Datei...", L"Saving file..."};
// Only the German text mentions the current standard part. Kept: users look messages up by their text.
constexpr Text kReallyCancel{
    L"Wirklich abbrechen?\n"
    L"(Die Stücklisteneinträge der Konfigurationen des aktuellen Normteils "
    L"werden noch zu Ende geschrieben).",
    L"Do you really want to cancel?\n"
    L"(The BOM entries of these configurations are still changed and saved)."};

constexpr int kBarEnd = 100;
constexpr long kUsableErrorCode = 128;  // the only positive code that comes with a usable document

// Returns kAssembly if the text after the last dot begins with "sldasm", in any letter case; otherwise kPart.
long DocumentType(std::wstring_view path)
{
    constexpr std::wstring_view kAssemblyExtension = L"sldasm";
    const std::size_t dot = path.rfind(L'.');
    if (dot == std::wstring_view::npos) {
        return CSldWorksApplication::kPart;
    }
    const bool isAssembly =
        EqualIgnoringCase(path.substr(dot + 1, kAssemblyExtension.size()), kAssemblyExtension);
    return isAssembly ? CSldWorksApplication::kAssembly : CSldWorksApplication::kPart;
}

std::wstring FileNameOf(const std::wstring& path)
{
    const std::size_t backslash = path.rfind(L'\\');
    return backslash == std::wstring::npos ? path : path.substr(backslash + 1);
}

// The array of strings in a result, by value or by reference; null for any other type.
SAFEARRAY* ArrayOf(const VARIANT& result)
{
    switch (result.vt) {
        case VT_ARRAY | VT_BSTR:
            return result.parray;
        case VT_BYREF | VT_ARRAY | VT_BSTR:
            return result.pparray == nullptr ? nullptr : *result.pparray;
        default:
            return nullptr;
    }
}

// Returns the first strings of a one-dimensional array of BSTR, at most `maximum`; none for any other array.
std::vector<std::wstring> StringsOf(SAFEARRAY* array, long maximum)
{
    std::vector<std::wstring> strings;
    VARTYPE type = VT_EMPTY;
    void* data = nullptr;
    if (array == nullptr || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &type)) ||
        type != VT_BSTR || FAILED(SafeArrayAccessData(array, &data))) {
        return strings;
    }
    const CScopeExit unlock([array] { SafeArrayUnaccessData(array); });
    if (data == nullptr) {
        return strings;
    }
    const auto* const elements = static_cast<const BSTR*>(data);
    const ULONG count = std::min(array->rgsabound[0].cElements, static_cast<ULONG>(std::max(maximum, 0L)));
    for (ULONG index = 0; index < count; ++index) {
        const BSTR element = elements[index];
        strings.emplace_back(element == nullptr ? L"" : element, SysStringLen(element));
    }
    return strings;
}

}  // namespace

CBomEntryWriter::CBomEntryWriter(CSldWorksApplication& application, CProgressView& progress,
                                 const std::wstring& filePath, const PartNameValues& fields,
                                 const std::wstring& bomNameTemplate, float fileShare, int fileNumber)
    : m_application(application)
    , m_progress(progress)
    , m_filePath(filePath)
    , m_fields(fields)
    , m_bomNameTemplate(bomNameTemplate)
    , m_fileShare(fileShare)
    , m_fileNumber(fileNumber)
    , m_documentType(DocumentType(filePath))
{
}

int CBomEntryWriter::Run()
{
    m_progress.NoteStep(CadStep::opening);
    m_application.SetDocumentVisibility(false, m_documentType);
    // After an early return the visibility stays off, and the document may stay open: after such a failure
    // the program makes no more calls for this file.
    if (!OpenDocument()) {
        return 0;
    }
    ReadConfigurations();
    if (!WriteConfigurations()) {
        return 0;
    }
    SaveDocument();
    m_progress.NoteStep(CadStep::closing);
    ReleaseDocument();
    m_application.CloseDocument(m_filePath);
    m_progress.EnableCancel(true);
    m_application.SetDocumentVisibility(true, m_documentType);
    return m_configurationCount;
}

bool CBomEntryWriter::OpenDocument()
{
    long errorCode = 0;
    m_document = m_application.OpenDocument(m_filePath, m_documentType, false, false, true, errorCode);
    const bool opened = m_document.IsAttached() && (errorCode < 1 || errorCode == kUsableErrorCode);
    m_progress.NoteOpened(opened, errorCode);
    if (!opened) {
        return false;
    }
    m_openedDocument = m_document;
    // A bit test, not a comparison: negative codes may have this bit set as well.
    if ((errorCode & kUsableErrorCode) != 0) {
        m_openedDocument.CallMethod17();
    }
    return true;
}

void CBomEntryWriter::ReadConfigurations()
{
    m_progress.NoteStep(CadStep::reading);
    m_configurationCount = m_document.GetConfigurationCount();
    const _variant_t names = m_document.GetConfigurationNames();
    m_configurationNames = StringsOf(ArrayOf(names), m_configurationCount);
    m_progress.NoteConfigurations(m_configurationCount, m_configurationNames);
}

bool CBomEntryWriter::WriteConfigurations()
{
    m_progress.NoteStep(CadStep::writing);
    m_overallStart = static_cast<float>(m_progress.GetOverallPosition());
    return std::ranges::all_of(m_configurationNames,
                               [this](const std::wstring& name) { return WriteConfiguration(name); });
}

bool CBomEntryWriter::WriteConfiguration(const std::wstring& name)
{
    const std::wstring bomName = FillBomName(name);
    ShowConfiguration(name, bomName);
    ++m_handled;
    CSldWorksConfiguration configuration = m_document.GetConfiguration(name);
    if (!configuration.IsAttached()) {
        ReleaseDocument();
        return false;
    }
    PutBomName(configuration, bomName);
    m_progress.NoteConfigurationWritten();
    m_progress.PumpOneMessage();
    HandleCancel();
    return true;
}

std::wstring CBomEntryWriter::FillBomName(const std::wstring& configurationName) const
{
    return Trim(ExpandConfigurationName(m_bomNameTemplate, m_fields, configurationName));
}

void CBomEntryWriter::ShowConfiguration(const std::wstring& name, const std::wstring& bomName)
{
    m_progress.SetSecondText(kCurrentConfiguration.Current() + name);
    m_progress.SetThirdText(kSetNewEntry.Current() + (bomName.empty() ? FileNameOf(m_filePath) : bomName));

    const auto handled = static_cast<float>(m_handled);
    const auto count = static_cast<float>(m_configurationCount);
    m_progress.SetFilePosition(static_cast<int>(handled / count * static_cast<float>(kBarEnd)));
    m_progress.SetOverallPosition(static_cast<int>(handled * m_fileShare / count + m_overallStart));
    m_progress.Refresh();
}

void CBomEntryWriter::PutBomName(CSldWorksConfiguration& configuration, const std::wstring& bomName)
{
    configuration.PutUseAlternativeBomName(!bomName.empty());
    if (!bomName.empty()) {
        configuration.PutAlternativeBomName(bomName);
    }
}

// If the user confirms, the rest of this file is still written. The cancel flag then stays set and ends the
// run after this file.
void CBomEntryWriter::HandleCancel()
{
    if (!m_progress.IsCancelled() || m_cancelConfirmed || m_progress.IsSessionEnding()) {
        return;
    }
    if (ShowMessage(kReallyCancel.Current(), MB_YESNO | MB_ICONQUESTION) == IDYES) {
        m_cancelConfirmed = true;
    } else {
        m_progress.ClearCancelled();
    }
}

void CBomEntryWriter::SaveDocument()
{
    // The count decides, not the names: a document is saved even when the names of its configurations could
    // not be read.
    if (m_configurationCount <= 0) {
        return;
    }
    m_progress.SetSecondText(kSavingFile.Current());
    m_progress.SetThirdText(L"");
    m_progress.SetFilePosition(kBarEnd);
    m_progress.SetOverallPosition(static_cast<int>(static_cast<float>(m_fileNumber) * m_fileShare));
    m_progress.EnableCancel(false);
    m_progress.Refresh();
    m_progress.NoteStep(CadStep::saving);
    m_progress.NoteSaved(m_document.Save(true));
}

void CBomEntryWriter::ReleaseDocument()
{
    m_document.ReleaseDispatch();
    m_openedDocument.ReleaseDispatch();
}
