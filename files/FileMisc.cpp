#include "files/FileMisc.h"

#include <direct.h>

#include <array>

#include "core/NameRules.h"
#include "files/Folders.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"
#include "files/Paths.h"
#include "framework/File.h"
#include "framework/FileNames.h"
#include "framework/Handles.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"

namespace {

constexpr UINT kCopyBlockSize = 4096;
constexpr std::size_t kReadBufferSize = 65536;  // the stream's own buffer is far smaller

constexpr Text kFolderNotCreated{L"Verzeichnis '%1' kann nicht angelegt werden.",
                                 L"Cannot create directory '%1'."};
constexpr Text kFolderIsFile{
    L"Verzeichnis '%1' kann nicht angelegt werden.\nEs existiert bereits eine Datei mit dem gleichen Namen.",
    L"Cannot create directory '%1'.\nA file with the same name exists."};

constexpr Text kSourceNotOpened{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
    L"Die Quell-Datei \"%1\" konnte nicht geöffnet werden.\n"
    L"Error: %2.\n"
    L"Möglicherweise ist die Datei derzeit in Verwendung.",
    L"Filecopy failed!\n\n"
    L"The source file \"%1\" could not be opened.\n"
    L"Error: %2.\n"
    L"Maybe the file is already in use."};

// The English text names the source (%2) instead of the target (%1). Kept: users look messages up by their
// text.
constexpr Text kTargetNotOpened{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
    L"Die Ziel-Datei \"%1\" konnte nicht geöffnet werden.\n"
    L"Error: %3.\n"
    L"Möglicherweise ist die Datei derzeit in Verwendung.",
    L"Filecopy failed!\n\n"
    L"The target file \"%2\" could not be opened.\n"
    L"Error: %3.\n"
    L"Maybe the file is already in use."};

// Without a full stop at the end, unlike the two texts above. Kept: users look messages up by their text.
constexpr Text kCopyFailed{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
    L"Schreib-/Lesefehler beim Kopieren von\n"
    L"\"%1\" nach\n"
    L"\"%2\".\n"
    L"Error: %3",
    L"Filecopy failed!\n\n"
    L"Read/write error while copying of\n"
    L"\"%1\" to\n"
    L"\"%2\".\n"
    L"Error: %3"};

constexpr Text kMapFileNotOpened{L"FEHLER: Datei '%1' kann nicht zum Lesen geöffnet werden!",
                                 L"ERROR: File '%1' cannot be opened for read access!"};

// The path is put between lead and tail before the text is formatted, so "%%" in the path becomes "%": see
// FormatSyntaxError.
constexpr Text kSyntaxErrorLead{L"Syntax-Fehler in Zeile %d in\n", L"Syntax-Error in line %d in\n"};
constexpr Text kSyntaxErrorTail{L"\n\nDie Datei konnte nicht vollständig ausgewertet werden.",
                                L"\n\nThe file could not be evaluated completely."};

void CopyBytes(CFile& input, CFile& output)
{
    std::array<char, kCopyBlockSize> block;
    for (UINT count = input.Read(block.data(), kCopyBlockSize); count != 0;
         count = input.Read(block.data(), kCopyBlockSize)) {
        output.Write(block.data(), count);
    }
    input.Close();
    output.Close();
}

// Returns an empty text, or the message about the failure.
std::wstring TryToCopy(CFile& input, CFile& output, const std::wstring& source, const std::wstring& target)
{
    CFileException error;
    if (!input.Open(source, CFile::modeRead | CFile::shareDenyNone, &error)) {
        return FillPlaceholders(kSourceNotOpened.Current(), {source, error.GetErrorMessage()});
    }
    if (!output.Open(target, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive, &error)) {
        return FillPlaceholders(kTargetNotOpened.Current(), {target, source, error.GetErrorMessage()});
    }
    try {
        CopyBytes(input, output);
    } catch (const CFileException& failure) {
        return FillPlaceholders(kCopyFailed.Current(), {source, target, failure.GetErrorMessage()});
    }
    return {};
}

// Returns the error of a search that does not find all names. A folder that is not there has none.
DWORD AppendMatches(const std::wstring& pattern, std::vector<std::wstring>& names)
{
    using Cause = CFileException::Cause;
    WIN32_FIND_DATAW found = {};
    const UniqueFindHandle search(ValidHandle(::FindFirstFileW(pattern.c_str(), &found)));
    if (!search) {
        const DWORD error = ::GetLastError();
        const Cause cause = CFileException::CauseOf(error);
        return cause == Cause::fileNotFound || cause == Cause::badPath ? ERROR_SUCCESS : error;
    }
    do {
        names.emplace_back(found.cFileName);
    } while (::FindNextFileW(search.get(), &found));
    const DWORD error = ::GetLastError();
    return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

std::wstring ChangeReadOnly(const std::wstring& path, bool readOnly)
{
    CFileStatus status;
    if (!CFile::GetStatus(path, status)) {
        return path + L": File does not exist.";
    }
    if (((status.attributes & FILE_ATTRIBUTE_READONLY) != 0) == readOnly) {
        return {};
    }
    status.attributes ^= FILE_ATTRIBUTE_READONLY;
    status.attributes |= FILE_ATTRIBUTE_ARCHIVE;
    ::GetSystemTimeAsFileTime(&status.lastWriteTime);
    try {
        CFile::SetStatus(path, status);
    } catch (const CFileException& error) {
        return error.GetErrorMessage();
    }
    return {};
}

bool Fits(HDC dc, const std::wstring& text, int width)
{
    SIZE extent = {};
    return ::GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &extent) &&
           extent.cx <= width;
}

// The runtime library opens files in a mode in which other programs may read and write them, too.
template <class Stream>
int OpenStream(Stream& stream, const Path8& path8, std::ios::openmode mode, bool text)
{
    if (!path8.representable || IsShare(path8.path)) {
        stream.setstate(std::ios::failbit);
    } else {
        stream.open(path8.path.c_str(), text ? mode : mode | std::ios::binary);
    }
    return stream.fail() ? 1 : 0;
}

}  // namespace

CFileMisc::CFileMisc(int nLanguage) : m_nLanguage(nLanguage) {}

int CFileMisc::CreateFolder(const std::wstring& path)
{
    const bool canExist = !IsComputer(path);
    const DWORD attributes = canExist ? ::GetFileAttributesW(path.c_str()) : INVALID_FILE_ATTRIBUTES;
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists ? (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 : canExist && ::_wmkdir(path.c_str()) == 0) {
        return 0;
    }
    ShowMessage(FillPlaceholders((exists ? kFolderIsFile : kFolderNotCreated).Current(), {path}));
    return 1;
}

int CFileMisc::CopyPartFile(const std::wstring& source, const std::wstring& target, std::wstring* message)
{
    CFile input;
    CFile output;
    const std::wstring failure = TryToCopy(input, output, source, target);
    if (failure.empty()) {
        return 0;
    }
    ShowMessage(failure);
    if (message != nullptr) {
        *message = failure;
    }
    return 1;
}

void CFileMisc::ScanPartFiles(const std::wstring& folder, std::vector<std::wstring>& names)
{
    DWORD error = AppendMatches(folder + L"\\*.sldprt", names);
    if (error == ERROR_SUCCESS) {
        error = AppendMatches(folder + L"\\*.prt", names);
    }
    if (error != ERROR_SUCCESS) {
        ShowMessage(CFileException(error, folder).GetErrorMessage());
    }
}

std::wstring CFileMisc::SetReadOnly(const std::wstring& path)
{
    return ChangeReadOnly(path, true);
}

std::wstring CFileMisc::ClearReadOnly(const std::wstring& path)
{
    return ChangeReadOnly(path, false);
}

std::wstring CFileMisc::FitPathToWidth(HDC dc, const std::wstring& prefix, const std::wstring& path,
                                       int width)
{
    const std::wstring whole = prefix + path;
    if (whole.empty() || Fits(dc, whole, width)) {
        return whole;
    }
    const std::wstring lead = prefix + L"...";
    for (std::size_t i = path.find(L'\\'); i != std::wstring::npos; i = path.find(L'\\', i + 1)) {
        const std::wstring text = lead + path.substr(i);
        if (Fits(dc, text, width)) {
            return text;
        }
    }
    for (std::size_t i = 1; i < path.size(); ++i) {
        // A backslash was tried above. Half of a character would be shown as a box.
        if (path[i] == L'\\' || IS_SURROGATE_PAIR(path[i - 1], path[i])) {
            continue;
        }
        const std::wstring text = lead + path.substr(i);
        if (Fits(dc, text, width)) {
            return text;
        }
    }
    return lead;
}

CFileMisc::MapFileState CFileMisc::ReadMapFile(const std::wstring& path)
{
    m_lstEntries.RemoveAll();
    if (IsShare(path) || !PathExists(path)) {
        return {false, false};
    }
    std::vector<char> buffer(kReadBufferSize);
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    const Language language = LanguageOf(m_nLanguage);
    const UINT codePage = MapCodePage();
    if (OpenInputFile(stream, PathToBytes(path, codePage), true) != 0) {
        ShowMessage(FillPlaceholders(kMapFileNotOpened.In(language), {path}));
        return {true, true};
    }
    if (const std::optional<int> badLine = ReadMapLines(stream, MapDecoderOf(codePage), m_lstEntries)) {
        const std::wstring format = kSyntaxErrorLead.In(language) + path + kSyntaxErrorTail.In(language);
        ShowMessage(FormatSyntaxError(format, *badLine));
    }
    return {true, false};
}

Path8 CFileMisc::PathToBytes(const std::wstring& path, UINT codePage)
{
    const MapEncoder encoder = MapEncoderOf(codePage);
    return {EncodeMapText(path, encoder), path, HasMapBytes(path, encoder)};
}

int CFileMisc::OpenInputFile(std::ifstream& stream, const Path8& path8, bool text)
{
    return OpenStream(stream, path8, std::ios::in, text);
}

int CFileMisc::OpenOutputFile(std::ofstream& stream, const Path8& path8, bool text)
{
    return OpenStream(stream, path8, std::ios::out | std::ios::trunc, text);
}

bool CFileMisc::EnsureExtension(std::wstring& name, std::wstring_view extension)
{
    return ::EnsureExtension(name, extension, EqualFileNames);
}

int CFileMisc::SanitizeFileName(std::wstring& name)
{
    return ::SanitizeFileName(name);
}
