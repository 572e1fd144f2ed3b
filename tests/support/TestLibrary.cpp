#include "tests/support/TestLibrary.h"

#include "tests/cadserver/PartFile.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TextFile.h"

CTestLibrary::CTestLibrary()
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
    return expected::OverwriteMap(MappedPath());
}
