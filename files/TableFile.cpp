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
    CFile file = Open(path, CFile::modeWrite | CFile::modeCreate | CFile::shareExclusive);
    file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    file.Close();
}
