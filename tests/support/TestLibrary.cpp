#include "tests/support/TestLibrary.h"

#include <algorithm>

#include "tests/cadserver/PartFile.h"
#include "tests/support/ExpectedTexts.h"

namespace {

// The text in the 8-bit form of the map file: every character as the byte of its code.
std::string ByCode(const std::wstring& text)
{
    std::string bytes;
    for (const wchar_t character : text) {
        bytes += static_cast<char>(static_cast<unsigned char>(character));
    }
    return bytes;
}

}  // namespace

CTestLibrary::CTestLibrary(const std::wstring& name) : m_path(m_temp / name)
{
    std::filesystem::create_directory(m_path);
}

void CTestLibrary::AddPart(const std::wstring& name, const std::vector<std::wstring>& configurations) const
{
    ASSERT_EQ(S_OK, CreatePartFile(Part(name), configurations));
}

void CTestLibrary::WriteMapFile(const std::string& bytes) const
{
    std::filesystem::create_directory(MappedPath());
    WriteBytes(MapPath(), bytes);
}

void CTestLibrary::RemoveMapped() const
{
    for (const std::wstring& name : NamesIn(MappedPath())) {
        SetFileAttributesW(Copy(name).c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    std::filesystem::remove_all(MappedPath());
}

std::string CTestLibrary::MapHeader() const
{
    return "; Datei: " + ByCode(MapPath()) +
           "\r\n; Automatisch generierte Datei, manuelle \xC4nderungen k\xF6nnen verloren gehen.\r\n"
           "; (c) Talvenor\r\n\r\n";
}

std::wstring CTestLibrary::OverwriteQuestion() const
{
    return expected::kOverwriteLead.Current() + MappedPath() + expected::kOverwriteEnd.Current();
}

std::vector<std::wstring> NamesIn(const std::wstring& folder)
{
    std::vector<std::wstring> names;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
        names.push_back(entry.path().filename().wstring());
    }
    std::ranges::sort(names);
    return names;
}

bool PathExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsReadOnly(const std::wstring& path)
{
    return PathExists(path) && (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
}

UniqueHandle LockFile(const std::wstring& path)
{
    UniqueHandle file(ValidHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)));
    EXPECT_NE(nullptr, file);
    return file;
}
