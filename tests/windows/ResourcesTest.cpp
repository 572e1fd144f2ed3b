#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <cstddef>
#include <cstring>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "framework/ResourceHandle.h"
#include "resources/resource.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// Tests of the two resource libraries, German and English: their dialogs, texts and images, and the format of
// their files.

namespace {

struct Library
{
    const wchar_t* file;
    WORD language;
};

void PrintTo(const Library& library, std::ostream* stream)
{
    *stream << (library.language == MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN) ? "German" : "English");
}

// Other programs find dialogs and controls by these numbers, so resource.h must not change them.
static_assert(IDD_ABOUT == 100 && IDD_TALVENOR == 102 && IDD_TEMPLATE == 136 && IDD_PROGRESS == 17766);
static_assert(IDS_ABOUT == 101 && IDI_TALVENOR == 128 && IDB_STATES == 134);

struct Control
{
    int id;
    int number;
    const wchar_t* windowClass;
};

const std::vector<Control> kMainControls{
    {IDC_LIST, 1002, WC_LISTVIEWW},    {IDC_SOURCE_DIR, 1003, L"Edit"},
    {IDC_BROWSE, 1004, L"Button"},     {IDC_MAPPED_DIR, 1005, L"Edit"},
    {IDC_ADD, 1006, L"Button"},        {IDC_DELETE, 1007, L"Button"},
    {IDC_SELECT_ALL, 1008, L"Button"}, {IDC_SELECT_NONE, 1009, L"Button"},
    {IDC_REMOVE_ALL, 1010, L"Button"}, {IDC_SHOW_MAP, 1011, L"Button"},
    {IDC_START, 1016, L"Button"},      {IDC_STATUS_FRAME, 1018, L"Button"},
    {IDC_COPY_ONLY, 1024, L"Button"},  {IDC_MARK, 1025, L"Button"},
    {IDC_VERSION, 1026, L"ComboBox"},  {IDC_HELP_BUTTON, 28445, L"Button"},
    {IDC_REPORT, 1110, L"Button"},     {IDCANCEL, 2, L"Button"}};
const std::vector<Control> kTemplateControls{{IDC_TEMPLATE_TEXT, 1021, L"Edit"},
                                             {IDC_TEMPLATE_HISTORY, 1056, L"ComboBox"},
                                             {IDC_TEMPLATE_PREVIEW_LABEL, 1030, L"Static"},
                                             {IDC_TEMPLATE_PREVIEW, 1031, L"Edit"},
                                             {IDOK, 1, L"Button"},
                                             {IDCANCEL, 2, L"Button"}};
const std::vector<Control> kProgressControls{
    {IDC_PROGRESS_FIRST, 1012, L"Static"},      {IDC_PROGRESS_SECOND, 1013, L"Static"},
    {IDC_PROGRESS_THIRD, 1014, L"Static"},      {IDC_PROGRESS_OVERALL, 1015, PROGRESS_CLASSW},
    {IDC_PROGRESS_FILE, 1017, PROGRESS_CLASSW}, {IDCANCEL, 2, L"Button"}};

const std::map<int, int> kStateImageWidths{
    {IDB_STATES, 12}, {IDB_STATES_125, 15}, {IDB_STATES_150, 18}, {IDB_STATES_200, 24}, {IDB_STATES_300, 36}};

using UniqueWindow = UniqueOwner<HWND, ::DestroyWindow>;

class ResourcesTest : public testing::TestWithParam<Library>
{
protected:
    [[nodiscard]] HRSRC Find(const wchar_t* type, int id) const
    {
        return FindResourceExW(GetResourceHandle(), type, MAKEINTRESOURCEW(id), GetParam().language);
    }

    [[nodiscard]] static UniqueWindow Make(int dialog)
    {
        return UniqueWindow(
            CreateDialogParamW(GetResourceHandle(), MAKEINTRESOURCEW(dialog), nullptr, &IgnoreMessage, 0));
    }

    static void ExpectControls(int dialog, const std::vector<Control>& controls)
    {
        const UniqueWindow window = Make(dialog);
        ASSERT_NE(window, nullptr) << dialog;
        for (const Control& control : controls) {
            EXPECT_EQ(control.id, control.number);
            const HWND found = GetDlgItem(window.get(), control.id);
            ASSERT_NE(found, nullptr) << control.id;
            EXPECT_EQ(ClassNameOf(found), control.windowClass) << control.id;
        }
    }

    CResourceScope m_resources{GetParam().file};
};

TEST_P(ResourcesTest, HoldsEverythingInItsLanguage)
{
    for (const int dialog : {IDD_TALVENOR, IDD_TEMPLATE, IDD_PROGRESS, IDD_ABOUT}) {
        EXPECT_NE(Find(RT_DIALOG, dialog), nullptr) << dialog;
    }
    EXPECT_NE(Find(RT_STRING, IDS_ABOUT / 16 + 1), nullptr);
    EXPECT_NE(Find(RT_GROUP_ICON, IDI_TALVENOR), nullptr);
    EXPECT_NE(Find(RT_BITMAP, IDB_STATES), nullptr);
    EXPECT_NE(Find(RT_VERSION, 1), nullptr);
}

TEST_P(ResourcesTest, TheMainDialogHasItsControls)
{
    ExpectControls(IDD_TALVENOR, kMainControls);
    const UniqueWindow window = Make(IDD_TALVENOR);
    const HWND list = GetDlgItem(window.get(), IDC_LIST);
    EXPECT_EQ(GetWindowLongW(list, GWL_STYLE) & LVS_TYPEMASK, LVS_REPORT);
    EXPECT_EQ(GetWindowLongW(list, GWL_STYLE) & (LVS_SORTASCENDING | LVS_SORTDESCENDING), 0)
        << "the program sorts the rows itself";
    EXPECT_EQ(GetWindowLongW(GetDlgItem(window.get(), IDC_STATUS_FRAME), GWL_STYLE) & BS_TYPEMASK,
              BS_GROUPBOX);
    EXPECT_EQ(GetWindowLongW(GetDlgItem(window.get(), IDC_COPY_ONLY), GWL_STYLE) & BS_TYPEMASK,
              BS_AUTOCHECKBOX);
    EXPECT_NE(GetWindowLongW(GetDlgItem(window.get(), IDC_MAPPED_DIR), GWL_STYLE) & ES_READONLY, 0);
    EXPECT_EQ(GetWindowLongW(GetDlgItem(window.get(), IDC_VERSION), GWL_STYLE) & CBS_DROPDOWNLIST,
              CBS_DROPDOWNLIST);
}

TEST_P(ResourcesTest, TheTemplateDialogHasItsControls)
{
    ExpectControls(IDD_TEMPLATE, kTemplateControls);
}

TEST_P(ResourcesTest, TheProgressDialogHasItsControls)
{
    ExpectControls(IDD_PROGRESS, kProgressControls);
    const UniqueWindow window = Make(IDD_PROGRESS);
    for (const int id : {IDC_PROGRESS_FIRST, IDC_PROGRESS_SECOND, IDC_PROGRESS_THIRD}) {
        EXPECT_NE(GetWindowLongW(GetDlgItem(window.get(), id), GWL_STYLE) & SS_NOPREFIX, 0)
            << "an ampersand in a path would vanish";
    }
}

TEST_P(ResourcesTest, TheAboutBoxCanBeClosed)
{
    ExpectControls(IDD_ABOUT, {{IDOK, 1, L"Button"}});
}

TEST_P(ResourcesTest, TheSystemMenusCommandHasItsText)
{
    EXPECT_NE(LoadResourceString(IDS_ABOUT).find(L"Talvenor"), std::wstring::npos);
    EXPECT_EQ(LoadResourceString(IDS_ABOUT + 1), L"");
}

TEST_P(ResourcesTest, TheStateImagesAreTwoForEachScaling)
{
    for (const auto& [id, width] : kStateImageWidths) {
        const UniqueGdiObject<HBITMAP> bitmap(static_cast<HBITMAP>(
            LoadImageW(GetResourceHandle(), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION)));
        ASSERT_NE(bitmap, nullptr) << id;
        BITMAP size{};
        ASSERT_NE(GetObjectW(bitmap.get(), sizeof size, &size), 0);
        EXPECT_EQ(size.bmWidth, 2 * width) << id;
        EXPECT_EQ(size.bmHeight, width) << id;
    }
}

// A colour close to the mask colour would show as a red fringe.
TEST_P(ResourcesTest, TheStateImagesHaveNoFringe)
{
    for (const auto& [id, width] : kStateImageWidths) {
        const UniqueGdiObject<HBITMAP> bitmap(static_cast<HBITMAP>(
            LoadImageW(GetResourceHandle(), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION)));
        BITMAP size{};
        ASSERT_NE(GetObjectW(bitmap.get(), sizeof size, &size), 0) << id;
        const HDC dc = CreateCompatibleDC(nullptr);
        const HGDIOBJ before = SelectObject(dc, bitmap.get());
        std::set<COLORREF> colours;
        for (int x = 0; x < size.bmWidth; ++x) {
            for (int y = 0; y < size.bmHeight; ++y) {
                colours.insert(GetPixel(dc, x, y));
            }
        }
        SelectObject(dc, before);
        DeleteDC(dc);
        const std::set<COLORREF> expected{RGB(0xFF, 0, 0), RGB(0xFF, 0xFF, 0xFF), RGB(0x0B, 0x5C, 0xAD),
                                          RGB(0x10, 0x7C, 0x10)};
        EXPECT_EQ(colours, expected) << id;
    }
}

TEST_P(ResourcesTest, TheIconHasTheSizesOfTheShell)
{
    for (const int size : {16, 20, 24, 32, 40, 48, 64, 256}) {
        const auto icon = static_cast<HICON>(
            LoadImageW(GetResourceHandle(), MAKEINTRESOURCEW(IDI_TALVENOR), IMAGE_ICON, size, size, 0));
        EXPECT_NE(icon, nullptr) << size;
        DestroyIcon(icon);
    }
}

// Reads a structure at an offset in the file's bytes. Fails the test if the structure does not lie within the
// bytes.
template <class Structure>
Structure At(const std::string& bytes, std::size_t offset)
{
    Structure structure{};
    EXPECT_LE(offset + sizeof structure, bytes.size());
    if (offset + sizeof structure <= bytes.size()) {
        std::memcpy(&structure, bytes.data() + offset, sizeof structure);
    }
    return structure;
}

// The headers and sections of a library's file.
class CPortableExecutable
{
public:
    explicit CPortableExecutable(std::string bytes) : m_bytes(std::move(bytes))
    {
        const auto start = static_cast<std::size_t>(At<IMAGE_DOS_HEADER>(m_bytes, 0).e_lfanew);
        m_header = At<IMAGE_NT_HEADERS64>(m_bytes, start);
        const std::size_t table =
            start + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + m_header.FileHeader.SizeOfOptionalHeader;
        for (std::size_t i = 0; i < m_header.FileHeader.NumberOfSections; ++i) {
            m_sections.push_back(At<IMAGE_SECTION_HEADER>(m_bytes, table + i * sizeof(IMAGE_SECTION_HEADER)));
        }
    }

    [[nodiscard]] DWORD DirectorySize(int directory) const { return Directory(directory).Size; }

    // Whether the library has no import table or an empty one.
    [[nodiscard]] bool ImportsNothing() const
    {
        const IMAGE_DATA_DIRECTORY imports = Directory(IMAGE_DIRECTORY_ENTRY_IMPORT);
        if (imports.Size == 0) {
            return true;
        }
        for (const IMAGE_SECTION_HEADER& section : m_sections) {
            const DWORD offset = imports.VirtualAddress - section.VirtualAddress;
            if (imports.VirtualAddress >= section.VirtualAddress && offset < section.SizeOfRawData) {
                return At<IMAGE_IMPORT_DESCRIPTOR>(m_bytes, section.PointerToRawData + offset).Name == 0;
            }
        }
        return false;
    }

    // The bytes of all sections that hold code or may be executed.
    [[nodiscard]] std::string ExecutableBytes() const
    {
        std::string code;
        for (const IMAGE_SECTION_HEADER& section : m_sections) {
            if ((section.Characteristics & (IMAGE_SCN_CNT_CODE | IMAGE_SCN_MEM_EXECUTE)) != 0) {
                code += m_bytes.substr(section.PointerToRawData, section.SizeOfRawData);
            }
        }
        return code;
    }

    IMAGE_NT_HEADERS64 m_header{};

private:
    [[nodiscard]] IMAGE_DATA_DIRECTORY Directory(int directory) const
    {
        return m_header.OptionalHeader.DataDirectory[directory];
    }

    std::string m_bytes;
    std::vector<IMAGE_SECTION_HEADER> m_sections;
};

TEST_P(ResourcesTest, TheLibraryHoldsNoCodeAndImportsNothing)
{
    const CPortableExecutable library(ReadBytes(GetParam().file));
    ASSERT_EQ(library.m_header.Signature, static_cast<DWORD>(IMAGE_NT_SIGNATURE));
    EXPECT_EQ(library.m_header.FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_NE(library.m_header.FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
    EXPECT_GT(library.m_header.FileHeader.NumberOfSections, 0);
    EXPECT_EQ(library.m_header.OptionalHeader.AddressOfEntryPoint, 0U);
    EXPECT_EQ(library.m_header.OptionalHeader.SizeOfCode, 0U);
    EXPECT_TRUE(library.ImportsNothing());
    EXPECT_EQ(library.DirectorySize(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT), 0U);
    EXPECT_EQ(library.DirectorySize(IMAGE_DIRECTORY_ENTRY_TLS), 0U);
    EXPECT_NE(library.DirectorySize(IMAGE_DIRECTORY_ENTRY_RESOURCE), 0U);
    // The linker puts an empty list of constructors and an empty list of destructors into such a section.
    // Their bytes are 00 and FF.
    EXPECT_EQ(library.ExecutableBytes().find_first_not_of(std::string("\0\xFF", 2)), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Libraries, ResourcesTest,
    testing::Values(Library{kGermanLibrary, MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN)},
                    Library{kEnglishLibrary, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)}),
    [](const testing::TestParamInfo<Library>& library) { return library.index == 0 ? "German" : "English"; });

TEST(ResourceHandle, IsTheExecutableUntilALibraryIsSet)
{
    EXPECT_EQ(GetResourceHandle(), GetModuleHandleW(nullptr));
    {
        const CResourceScope resources;
        EXPECT_NE(GetResourceHandle(), GetModuleHandleW(nullptr));
    }
    EXPECT_EQ(GetResourceHandle(), GetModuleHandleW(nullptr));
    EXPECT_EQ(LoadResourceString(IDS_ABOUT), L"");
}

}  // namespace
