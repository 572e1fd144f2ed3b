// The main dialog: its commands except the conversion run, its help, and its size.
#include <windows.h>

#include <filesystem>
#include <map>
#include <set>

#include "tests/acceptance/AcceptanceTest.h"
#include "tests/support/DocumentViewer.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/Rects.h"

namespace {

class MainDialogTest : public AcceptanceTest
{
protected:
    // Closes the message about a missing folder. Expects that the folder field has the focus and that its
    // text is selected.
    static void ExpectFolderRefused(const CProgramUnderTest& program, const std::wstring& text)
    {
        ExpectMessage(program, expected::kNoSuchFolder.Current());
        const HWND field = program.Control(IDC_SOURCE_DIR);
        EXPECT_TRUE(WaitFor([&] { return FocusOf(field) == field; }));
        ExpectSelectedText(field, text);
    }
};
using MainDialogInBothLanguages = MainDialogTest;

TEST_F(MainDialogInBothLanguages, StartsNoRunWhileTheFieldShowsAMissingFolder)
{
    AddThreeParts();
    const CProgramUnderTest program;
    const std::wstring missing = m_library.Path() + L"\\keiner";
    program.Click(IDC_COPY_ONLY);
    program.TypeInto(IDC_SOURCE_DIR, missing);
    program.PressByKey(IDC_START);
    ExpectFolderRefused(program, missing);
    TypeText(m_library.Path());
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    // The folder now exists, so leaving the field brings up no message before the button's own.
    program.Click(IDC_SHOW_MAP);
    ExpectMessage(program, expected::MapMissing(m_library.MapPath()));
    program.WaitForRest();
    EXPECT_FALSE(FileExists(m_library.MappedPath()));
}

TEST_F(MainDialogTest, ClosesWithoutAMessageAboutAMissingFolder)
{
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, m_library.Path() + L"\\keiner");
    program.Click(IDCANCEL);
    EXPECT_EQ(0U, program.WaitForEnd());
}

TEST_F(MainDialogTest, KeepsEnterAndEscapeInTheFolderEdit)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.Focus(IDC_SOURCE_DIR);
    PressKeys({VK_END});
    PressKeys({VK_RETURN});
    PressKeys({VK_ESCAPE});
    TypeText(L"x");
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path() + L"x");
    EXPECT_TRUE(program.IsAtRest());
    EXPECT_FALSE(FileExists(m_library.MappedPath()));
}

class HelpInBothLanguages : public MainDialogInBothLanguages
{
protected:
    // A portable copy of the program in this folder keeps its manuals.
    ~HelpInBothLanguages() override
    {
        if (!m_hadManuals) {
            std::filesystem::remove_all(Manuals());
        }
    }

    void SetUp() override
    {
        MainDialogInBothLanguages::SetUp();
        if (m_hadManuals) {
            GTEST_SKIP() << "skipped: this folder has manuals that are not the test's";
        }
        if (CDocumentViewer::IsOverruled(L".pdf")) {
            GTEST_SKIP() << "skipped: the user has chosen a program for documents of this kind";
        }
    }

    static std::wstring Manuals() { return OwnFolder() + L"\\Manuals"; }

    const bool m_hadManuals = FileExists(Manuals());

    static std::filesystem::path DocumentBelow(const std::filesystem::path& folder)
    {
        return folder /
               Text{L"Manuals\\ger\\Zelmar_Talvenor_Hilfe.pdf", L"Manuals\\us\\Zelmar_Talvenor_Hilfe.pdf"}
                   .Current();
    }
    static void Write(const std::filesystem::path& document)
    {
        std::filesystem::create_directories(document.parent_path());
        WriteBytes(document, "help");
    }

    // Presses the help button and then F1, and expects that each opens the document.
    void ExpectOpened(const std::wstring& document) const
    {
        const CDocumentViewer viewer(L".pdf", m_temp / L"opened.txt");
        const CProgramUnderTest program;
        program.WaitForKeyboard();
        program.PressByKey(IDC_HELP_BUTTON);
        WaitFor([&] { return viewer.Opened().size() == 1; });
        EXPECT_EQ((std::vector{document}), viewer.Opened());
        program.WaitForKeyboard();  // the viewer may have had the focus
        PressKeys({VK_F1});
        WaitFor([&] { return viewer.Opened().size() == 2; });
        EXPECT_EQ((std::vector{document, document}), viewer.Opened());
    }

    const std::filesystem::path m_ownManual = DocumentBelow(OwnFolder());
    const std::filesystem::path m_libraryManual = DocumentBelow(m_temp.Path());
};

TEST_F(HelpInBothLanguages, OpensTheDocumentOfTheLibrary)
{
    Write(m_libraryManual);
    Write(m_ownManual);
    m_registry.SetProgramFolder(m_temp.Path());
    ExpectOpened(m_libraryManual);
}

TEST_F(HelpInBothLanguages, OpensTheProgramsOwnManualWhereTheLibraryHasNone)
{
    Write(m_ownManual);
    m_registry.SetProgramFolder(m_temp.Path());
    ExpectOpened(m_ownManual);
}

// The library's key exists in the 64-bit view of the registry, so the program does not look in the 32-bit
// view. Only the 32-bit view holds the program folder.
TEST_F(HelpInBothLanguages, OpensTheProgramsOwnManualWithoutAProgramFolder)
{
    Write(m_libraryManual);
    Write(m_ownManual);
    m_registry.SetProgramFolder(m_temp.Path(), KEY_WOW64_32KEY);
    ExpectOpened(m_ownManual);
}

// ---- Size

// How far each edge of a control has moved, relative to the client area.
Edges Moved(const RECT& before, const RECT& after)
{
    return {after.left - before.left, after.top - before.top, after.right - before.right,
            after.bottom - before.bottom};
}

// The number of colours on the screen along the horizontal centre line of a rectangle.
std::size_t ColoursOn(const RECT& rect)
{
    const HDC screen = GetDC(nullptr);
    std::set<COLORREF> colours;
    for (LONG x = rect.left; x < rect.right; ++x) {
        colours.insert(GetPixel(screen, x, MiddleOf(rect).y));
    }
    ReleaseDC(nullptr, screen);
    return colours.size();
}

class WindowSizeInBothLanguages : public AcceptanceTest
{
protected:
    // The rectangles of some controls, in client coordinates of the main dialog.
    static std::map<int, RECT> Rects(const CProgramUnderTest& program)
    {
        std::map<int, RECT> rects;
        for (const int id :
             {IDC_SOURCE_DIR, IDC_BROWSE, IDC_LIST, IDC_ADD, IDC_MARK, IDC_VERSION, IDC_START}) {
            rects[id] = RectIn(program.MainWindow(), program.Control(id));
        }
        return rects;
    }
    static void Resize(const CProgramUnderTest& program, LONG width, LONG height)
    {
        SetWindowPos(program.MainWindow(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER);
    }
    // Waits until the start button is `right` pixels to the right of its place in `before`.
    static void WaitForStartAt(const CProgramUnderTest& program, const std::map<int, RECT>& before,
                               LONG right)
    {
        WaitFor([&] { return Rects(program).at(IDC_START).left == before.at(IDC_START).left + right; }, 5000);
    }
};

TEST_F(WindowSizeInBothLanguages, GrowsWithTheListAndNeverShrinksBelowItsFirstSize)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    const RECT window = RectOf(program.MainWindow());
    const LONG width = window.right - window.left;
    const LONG height = window.bottom - window.top;
    const std::map<int, RECT> before = Rects(program);
    Resize(program, width + 200, height + 100);
    const std::map<int, Edges> expected{{IDC_SOURCE_DIR, {0, 0, 200, 0}}, {IDC_BROWSE, {200, 0, 200, 0}},
                                        {IDC_LIST, {0, 0, 200, 100}},     {IDC_ADD, {0, 100, 0, 100}},
                                        {IDC_MARK, {0, 100, 0, 100}},     {IDC_VERSION, {0, 100, 0, 100}},
                                        {IDC_START, {200, 100, 200, 100}}};
    WaitForStartAt(program, before, 200);
    for (const auto& [id, rect] : Rects(program)) {
        EXPECT_EQ(expected.at(id), Moved(before.at(id), rect)) << id;
    }
    Resize(program, 200, 100);
    WaitForStartAt(program, before, 0);
    const RECT smallest = RectOf(program.MainWindow());
    EXPECT_EQ(width, smallest.right - smallest.left);
    EXPECT_EQ(height, smallest.bottom - smallest.top);
}

TEST_F(WindowSizeInBothLanguages, ShowsItsButtonsWhenMaximised)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    const RECT before = RectOf(program.Control(IDC_START));
    ShowWindow(program.MainWindow(), SW_MAXIMIZE);
    ASSERT_TRUE(WaitFor([&] { return RectOf(program.Control(IDC_START)).left > before.left; }));
    for (const int id : {IDC_BROWSE, IDC_ADD, IDC_DELETE, IDC_MARK, IDC_COPY_ONLY, IDC_START, IDCANCEL}) {
        const HWND control = program.Control(id);
        EXPECT_TRUE(WaitFor([&] { return ColoursOn(RectOf(control)) > 2; }, 5000)) << id;
    }
}

}  // namespace
