#include "files/TableFile.h"

#include <optional>
#include <string>

#include "core/TableText.h"
#include "files/MapCodePage.h"
#include "framework/File.h"

namespace {

CFile Open(const std::wstring& path, UINT flags)
{
    CFile file;
    CFileException error;
    if (!file.Open(path, flags, &error)) {
        throw error;
    }
    return file;
}

// Throws if the file exists but cannot be replaced. MoveFileExW would fail, too, but with "access denied" for
// a file that another program has open.
void RequireReplaceable(const std::wstring& path)
{
    CFile file;
    CFileException error;
    if (!file.Open(path, CFile::modeWrite | CFile::shareExclusive, &error) &&
        error.m_osError != ERROR_FILE_NOT_FOUND) {
        throw error;
    }
}

// Creates a temporary file in the folder of `path`. Sets `created` to its path.
CFile CreateBeside(const std::wstring& path, std::wstring& created)
{
    CFile file;
    CFileException error;
    for (int number = 1;; ++number) {
        const std::wstring name = path + L"." + std::to_wstring(number) + L".tmp";
        if (file.Open(name, CFile::modeWrite | CFile::modeCreateNew | CFile::shareExclusive, &error)) {
            created = name;
            return file;
        }
        if (error.m_osError != ERROR_FILE_EXISTS) {
            throw error;
        }
    }
}

// Flushes the file to disk: a network drive may report only then that it could not store the bytes.
void WriteAll(CFile& file, const std::string& bytes)
{
    file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    if (!file.Flush()) {
        throw CFileException(GetLastError(), {});
    }
}

}  // namespace

std::wstring ReadTableFile(const std::wstring& path)
{
    constexpr UINT kBlock = 1U << 20U;  // bytes
    CFile file = Open(path, CFile::modeRead | CFile::shareDenyNone);
    std::string bytes;
    std::size_t length = 0;
    for (UINT read = kBlock; read > 0; length += read) {
        bytes.resize(length + kBlock);
        read = file.Read(bytes.data() + length, kBlock);
    }
    bytes.resize(length);
    if (std::optional<std::wstring> text = DecodeUnicode(bytes)) {
        return *std::move(text);
    }
    std::wstring text;
    DecodeMapText(bytes, MapCodePage(), text);
    return text;
}

void WriteTableFile(const std::wstring& path, std::wstring_view text)
{
    const std::string bytes = EncodeUtf8WithMark(text);
    RequireReplaceable(path);
    std::wstring temporary;
    try {
        CFile file = CreateBeside(path, temporary);
        WriteAll(file, bytes);
        file.Close();
        if (!MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
            throw CFileException(GetLastError(), path);
        }
    } catch (const CFileException& error) {
        DeleteFileW(temporary.c_str());
        throw CFileException(error.m_osError, path);  // the user does not know the temporary file
    }
}
