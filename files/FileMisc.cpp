#include "files/FileMisc.h"

#include <direct.h>

#include <array>
#include <initializer_list>

#include "core/NameRules.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"
#include "files/Paths.h"
#include "framework/File.h"
#include "framework/Handles.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "platform/FileNames.h"

namespace {

constexpr UINT kCopyBlockSize = 4096;
constexpr std::size_t kReadBufferSize = 65536;

// The pattern with its "%s" replaced by the values, one after the other.
std::wstring FillIn(const std::wstring& pattern, std::initializer_list<std::wstring> values)
{
    std::wstring text;
    std::size_t from = 0;
    for (const std::wstring& value : values) {
        const std::size_t place = pattern.find(L"%s", from);
        text += pattern.substr(from, place - from) + value;
        from = place + 2;
    }
    return text + pattern.substr(from);
}

void ReportCannotMakeFolder(const std::wstring& path, const Text& reason)
{
    const Text before{L"Verzeichnis '", L"Cannot create directory '"};
    const Text after{L"' kann nicht angelegt werden.", L"'."};
    ShowMessage(before.Current() + path + after.Current() + reason.Current());
}

bool OpenSource(CFile& file, const std::wstring& source)
{
    CFileException error;
    if (file.Open(source, CFile::modeRead | CFile::shareDenyNone | CFile::typeBinary, &error)) {
        return true;
    }
    const Text message{
        L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
        L"Die Quell-Datei \"%s\" konnte nicht geöffnet werden.\n"
        L"Error: %s.\n"
        L"Möglicherweise ist die Datei derzeit in Verwendung.",
        L"Filecopy failed!\n\n"
        L"The source file \"%s\" could not be opened.\n"
        L"Error: %s.\n"
        L"Maybe the file is already in use."};
    ShowMessage(FillIn(message.Current(), {source, error.GetErrorMessage()}));
    return false;
}

bool OpenTarget(CFile& file, const std::wstring& source, const std::wstring& target)
{
    CFileException error;
    if (file.Open(target, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive | CFile::typeBinary,
                  &error)) {
        return true;
    }
    const Text message{
        L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
        L"Die Ziel-Datei \"%s\" konnte nicht geöffnet werden.\n"
        L"Error: %s.\n"
        L"Möglicherweise ist die Datei derzeit in Verwendung.",
        L"Filecopy failed!\n\n"
        L"The target file \"%s\" could not be opened.\n"
        L"Error: %s.\n"
        L"Maybe the file is already in use."};
    // Meant so: the German message names the target, the English one the source.
    const Text path{target.c_str(), source.c_str()};
    ShowMessage(FillIn(message.Current(), {path.Current(), error.GetErrorMessage()}));
    return false;
}

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

void ReportCopyError(const std::wstring& source, const std::wstring& target, const CFileException& error)
{
    // Meant so: unlike the messages about opening, no full stop at the end.
    const Text message{
        L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
        L"Schreib-/Lesefehler beim Kopieren von\n"
        L"\"%s\" nach\n"
        L"\"%s\".\n"
        L"Error: %s",
        L"Filecopy failed!\n\n"
        L"Read/write error while copying of\n"
        L"\"%s\" to\n"
        L"\"%s\".\n"
        L"Error: %s"};
    ShowMessage(FillIn(message.Current(), {source, target, error.GetErrorMessage()}));
}

void AppendMatches(const std::wstring& pattern, std::vector<std::wstring>& names)
{
    WIN32_FIND_DATAW found = {};
    const UniqueFindHandle search(ValidHandle(::FindFirstFileW(pattern.c_str(), &found)));
    if (!search) {
        return;
    }
    do {
        names.emplace_back(found.cFileName);
    } while (::FindNextFileW(search.get(), &found));
}

std::wstring ChangeReadOnly(const std::wstring& path, bool readOnly)
{
    CFileStatus status;
    if (!CFile::GetStatus(path, status)) {
        return path + L": File does not exist.";  // in English only: no caller shows it
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

// The runtime library opens files so that others may read and write them meanwhile.
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
    const bool canBe = !IsComputer(path);
    const DWORD attributes = canBe ? ::GetFileAttributesW(path.c_str()) : INVALID_FILE_ATTRIBUTES;
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            return 0;
        }
        ReportCannotMakeFolder(path, {L"\nEs existiert bereits eine Datei mit dem gleichen Namen.",
                                      L"\nA file with the same name exists."});
        return 1;
    }
    if (!canBe || ::_wmkdir(path.c_str()) != 0) {
        ReportCannotMakeFolder(path, {L"", L""});
        return 1;
    }
    return 0;
}

int CFileMisc::CopyPartFile(const std::wstring& source, const std::wstring& target)
{
    CFile input;
    CFile output;
    if (!OpenSource(input, source) || !OpenTarget(output, source, target)) {
        return 1;
    }
    try {
        CopyBytes(input, output);
    } catch (const CFileException& error) {
        ReportCopyError(source, target, error);
        return 1;
    }
    return 0;
}

void CFileMisc::ScanPartFiles(const std::wstring& folder, std::vector<std::wstring>& names)
{
    AppendMatches(folder + L"\\*.sldprt", names);
    AppendMatches(folder + L"\\*.prt", names);
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
        if (path[i] == L'\\') {
            continue;  // tried above
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
    if (IsShare(path) || ::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return {false, false};
    }
    std::vector<char> buffer(kReadBufferSize);  // the stream's own is a fraction of it
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    const UINT codePage = MapCodePage();
    if (OpenInputFile(stream, PathToBytes(path, codePage), true) != 0) {
        const Text before{L"FEHLER: Datei '", L"ERROR: File '"};
        const Text after{L"' kann nicht zum Lesen geöffnet werden!", L"' cannot be opened for read access!"};
        ShowMessage(before.In(LanguageOf(m_nLanguage)) + path + after.In(LanguageOf(m_nLanguage)));
        return {true, true};
    }
    const MapReadResult result = ReadMapLines(stream, MapDecoderOf(codePage), m_lstEntries);
    if (result.syntaxError) {
        const Text before{L"Syntax-Fehler in Zeile %d in\n", L"Syntax-Error in line %d in\n"};
        const Text after{L"\n\nDie Datei konnte nicht vollständig ausgewertet werden.",
                         L"\n\nThe file could not be evaluated completely."};
        ShowMessage(FormatSyntaxError(
            before.In(LanguageOf(m_nLanguage)) + path + after.In(LanguageOf(m_nLanguage)), result.badLine));
    }
    return {true, false};
}

Path8 CFileMisc::PathToBytes(const std::wstring& path, UINT codePage)
{
    const MapByteRule byteFor = MapByteRuleOf(codePage);
    return {EncodeMapText(path, byteFor), path, HasMapBytes(path, byteFor)};
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
