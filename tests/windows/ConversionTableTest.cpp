#include "core/ConversionTable.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "core/NameTemplate.h"
#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

using Texts = std::vector<std::wstring>;

// The table in a list view with a parent window.
class ConversionTableTest : public testing::Test
{
protected:
    ConversionTableTest()
    {
        const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
        ::InitCommonControlsEx(&controls);
        EXPECT_TRUE(m_table.SubclassWindow(
            m_parent.AddControl(WC_LISTVIEWW, IDC_LIST, LVS_REPORT | LVS_SHOWSELALWAYS, {0, 0, 600, 300})));
        for (const int column : {kColumnOriginal, kColumnRenamed, kColumnBomName}) {
            m_table.InsertColumn(column, L"", 175);
        }
    }

    // A row as "ORIGINAL > NEW NAME > BOM NAME". A converted row ends in "(converted)". If the item
    // data and the state image do not match, the row ends in "(bad mark)".
    [[nodiscard]] std::wstring Row(int row) const
    {
        const std::wstring text = m_table.GetItemText(row, 0) + L" > " + m_table.GetItemText(row, 1) +
                                  L" > " + m_table.GetItemText(row, 2);
        const LPARAM data = m_table.GetItemData(row);
        const UINT image = m_table.GetItemState(row, 0xF000);
        if (data == 1 && image == 0x1000) {
            return text;
        }
        return text + (data == 0 && image == 0x2000 ? L" (converted)" : L" (bad mark)");
    }
    [[nodiscard]] Texts Rows() const
    {
        Texts rows;
        for (int row = 0; row < m_table.GetItemCount(); ++row) {
            rows.push_back(Row(row));
        }
        return rows;
    }
    [[nodiscard]] Texts Column(int column) const
    {
        Texts texts;
        for (int row = 0; row < m_table.GetItemCount(); ++row) {
            texts.push_back(m_table.GetItemText(row, column));
        }
        return texts;
    }

    void Add(const Texts& names) { m_table.AddFiles(names); }
    void Apply(int column) { m_table.ApplyTemplate(column); }
    void Select(const std::vector<int>& rows) const
    {
        m_table.SetItemState(-1, 0, LVIS_SELECTED);
        for (const int row : rows) {
            m_table.SetItemState(row, LVIS_SELECTED, LVIS_SELECTED);
        }
    }

    // Fills the table with converted rows of these texts.
    void Fill(std::vector<UTtab_entry> entries)
    {
        CList<UTtab_entry, UTtab_entry&> list;
        for (UTtab_entry& entry : entries) {
            list.AddTail(entry);
        }
        m_table.FillConverted(list);
    }

    // How many notifications of a change the parent got since the last call.
    int TakeChanges() const
    {
        int count = 0;
        MSG message{};
        while (::PeekMessageW(&message, m_parent.m_hWnd, WM_USER, WM_USER + 99, PM_REMOVE) != FALSE) {
            EXPECT_EQ(message.message, static_cast<UINT>(WM_USER + 5));
            EXPECT_EQ(message.wParam, 0U);
            EXPECT_EQ(message.lParam, 0);
            ++count;
        }
        return count;
    }

    // Counts the calls of the fill observer, which must get the rows that the table has.
    void CountFills(int& fills)
    {
        m_table.SetFillObserver([this, &fills](const CConversionTable::FilledRows& filled) {
            Texts rows;
            UTtab_entry entry;
            for (std::size_t row = 0; row < filled.count; ++row) {
                filled.read(row, entry);
                rows.push_back(entry.strOriginal + L" > " + entry.strRenamed + L" > " + entry.strBomName +
                               (filled.pending ? L"" : L" (converted)"));
            }
            EXPECT_EQ(rows, Rows());
            ++fills;
        });
    }

    CUserSettingsScope m_settings;
    CLanguageScope m_language{1};
    CMessageRecorder m_messages;
    CPlainWindow m_parent;
    CConversionTable m_table;
};

LRESULT CALLBACK NoteRedraw(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                            DWORD_PTR redraws)
{
    if (message == WM_SETREDRAW) {
        *reinterpret_cast<bool*>(redraws) = wParam != FALSE;
    }
    return DefSubclassProc(window, message, wParam, lParam);
}

// The table while a message box is open.
class OpenMessageTest : public ConversionTableTest
{
protected:
    struct Moment
    {
        Texts rows;
        bool redraws;  // whether the list view draws changes
        int changes;   // notifications since the previous moment

        bool operator==(const Moment&) const = default;
        friend void PrintTo(const Moment& moment, std::ostream* stream)
        {
            *stream << testing::PrintToString(moment.rows) << (moment.redraws ? "" : ", no redraw, ")
                    << ", told " << moment.changes;
        }
    };

    OpenMessageTest()
    {
        SetWindowSubclass(m_table.m_hWnd, &NoteRedraw, kId, reinterpret_cast<DWORD_PTR>(&m_redraws));
    }
    ~OpenMessageTest() override { RemoveWindowSubclass(m_table.m_hWnd, &NoteRedraw, kId); }

    [[nodiscard]] Moment Now() const { return {Rows(), m_redraws, TakeChanges()}; }

    // The table at each message box of the operation, and at the end. Calls `meanwhile` while each box is
    // open.
    [[nodiscard]] std::vector<Moment> MomentsOf(
        const std::function<void()>& operation, const std::function<void()>& meanwhile = [] {}) const
    {
        std::vector<Moment> moments;
        {
            const CListenerScope listener([&](const MessageRequest&) {
                moments.push_back(Now());
                meanwhile();
                return IDOK;
            });
            operation();
        }
        moments.push_back(Now());
        return moments;
    }

private:
    static constexpr UINT_PTR kId = 98;
    bool m_redraws = true;
};

// Adding files

TEST_F(ConversionTableTest, AnAddedFileGetsItsNamesAndIsPending)
{
    Add({L"N_ISO_4017_M10x50.sldprt"});
    EXPECT_EQ(Rows(), Texts{L"N_ISO_4017_M10x50.sldprt > N_ISO_4017_M10x50.changed.sldprt > Norm 4017 - %2"});
    EXPECT_EQ(m_table.CountPendingRows(), 1);
    EXPECT_TRUE(m_messages.TakeTexts().empty());
    EXPECT_EQ(TakeChanges(), 0);
}

TEST_F(ConversionTableTest, ObservesFillsFromAMapFile)
{
    int fills = 0;
    CountFills(fills);
    Fill({{L"b", L"new b", L"BOM b"}, {L"a", std::wstring(L"new\0a", 5), L""}});
    EXPECT_EQ(fills, 1);
    Fill({{L"c", L"new c", L"BOM c"}});
    EXPECT_EQ(fills, 2);
}

TEST_F(ConversionTableTest, ObservesFilesAddedToAnEmptyTableOnly)
{
    int fills = 0;
    CountFills(fills);
    Add({L"N_2_b.sldprt", L"N_1_a.sldprt"});
    EXPECT_EQ(fills, 1);
    Add({L"N_3_c.sldprt"});
    EXPECT_EQ(fills, 1);
    m_table.DeleteAllItems();
    // The second file's new name is taken. The message about it interrupts the filling, which is then not
    // observed.
    m_settings.SetTemplate(1, L"%5%3.%6");
    Add({L"N_1_a.sldprt", L"N_1_b.sldprt", L"N_2_c.sldprt"});
    EXPECT_EQ(Column(1), (Texts{L"N_1.sldprt", L"N_2.sldprt"}));
    EXPECT_EQ(m_messages.TakeTexts().size(), 1U);
    EXPECT_EQ(fills, 1);
}

// Lists of files, added one after the other, and the rows of the table afterwards. No message appears.
struct Addition
{
    const char* what;
    std::optional<std::wstring> fileTemplate;  // nullopt: none is stored, and the default is used
    std::vector<Texts> added;
    Texts rows;  // "ORIGINAL > NEW NAME"
};

TEST_F(ConversionTableTest, AddedFilesGetTheirRows)
{
    const std::wstring longSize(400, L'x');
    const Addition additions[] = {
        {"the prefix in capitals, the extension as it is",
         {},
         {{L"n_iso_4017_m8.SLDPRT"}},
         {L"n_iso_4017_m8.SLDPRT > N_ISO_4017_m8.changed.SLDPRT"}},
        {"a file that is in the table, in any case",
         L"%4.%6",
         {{L"N_1_a.sldprt", L"N_1_a.sldprt", L"N_1_A.SLDPRT", L"n_2_b.sldprt"},
          {L"N_1_a.sldprt", L"N_1_A.sldprt", L"N_2_B.sldprt"},
          {L"N_Ä_m8.SldPrt"},
          {L"n_ä_M8.SLDPRT"}},
         {L"N_1_a.sldprt > a.sldprt", L"N_Ä_m8.SldPrt > m8.SldPrt", L"n_2_b.sldprt > b.sldprt"}},
        {"no extension",
         L"%4.%6",
         {{L"N_ISO_4017_M8", L"N_ISO_4017_M8.", L"", L"N_ISO_4017_M10.sldprt"}},
         {L"N_ISO_4017_M10.sldprt > M10.sldprt"}},
        {"an empty new name",
         L"%5%3",
         {{L"Schraube_M8.sldprt", L"N_ISO_4017_M8.sldprt"}},
         {L"N_ISO_4017_M8.sldprt > N_ISO_4017.sldprt"}},
        {"a blank new name", L" \t ", {{L"N_ISO_4018_M8.sldprt"}}, {}},
        {"blanks around the new name, and its missing extension",
         L"  %5%3_%4 ",
         {{L"N_ISO_4017_M8.sldasm", L"N_ISO_4017_M8.prt"}},
         {L"N_ISO_4017_M8.prt > N_ISO_4017_M8.prt", L"N_ISO_4017_M8.sldasm > N_ISO_4017_M8.sldasm"}},
        {"runs of dots",
         L"%5%3_%4...%6",
         {{L"N_ISO_4017_M8.sldprt"}},
         {L"N_ISO_4017_M8.sldprt > N_ISO_4017_M8.sldprt"}},
        {"long names, which are also found again",
         {},
         {{L"N_ISO_4017_" + longSize + L".sldprt"}, {L"N_ISO_4017_" + longSize + L".sldprt"}},
         {L"N_ISO_4017_" + longSize + L".sldprt > N_ISO_4017_" + longSize + L".changed.sldprt"}},
    };
    for (const Addition& addition : additions) {
        SCOPED_TRACE(addition.what);
        m_table.DeleteAllItems();
        m_settings.SetTemplate(1, addition.fileTemplate.value_or(L""));
        m_settings.SetTemplate(2, L"");
        if (!addition.fileTemplate) {
            m_settings.RemoveTemplate(1);
        }
        for (const Texts& names : addition.added) {
            Add(names);
        }
        Texts rows;
        for (int row = 0; row < m_table.GetItemCount(); ++row) {
            rows.push_back(m_table.GetItemText(row, 0) + L" > " + m_table.GetItemText(row, 1));
            EXPECT_TRUE(m_table.IsPending(row));
            EXPECT_EQ(m_table.GetItemText(row, 2), L"");
        }
        EXPECT_EQ(rows, addition.rows);
        EXPECT_EQ(m_settings.Template(1), addition.fileTemplate.value_or(L"%5%3_%4.changed.%6"));
        EXPECT_EQ(m_settings.Template(2), L"");
        EXPECT_EQ(m_messages.TakeTexts(), Texts{});
    }
}

TEST_F(ConversionTableTest, MissingTemplatesAreWrittenBackWithTheirDefaults)
{
    Add({});
    EXPECT_EQ(m_settings.Template(1), L"%5%3_%4.changed.%6");
    EXPECT_EQ(m_settings.Template(2), L"Norm %1 - %2");
}

TEST_F(ConversionTableTest, StoredTemplatesAreUsedAndKept)
{
    m_settings.SetTemplate(1, L"Neu_%3_%4");
    m_settings.SetTemplate(2, L"%1%1 %2");
    Add({L"N_ISO_4017_M8.sldprt"});
    EXPECT_EQ(Rows(), Texts{L"N_ISO_4017_M8.sldprt > Neu_4017_M8.sldprt > 40174017 %2"});
    EXPECT_EQ(m_settings.Template(1), L"Neu_%3_%4");
    EXPECT_EQ(m_settings.Template(2), L"%1%1 %2");
}

TEST_F(ConversionTableTest, ATemplateThatIsNoTextCountsAsMissing)
{
    m_settings.SetTemplateNumber(1, 7);
    m_settings.SetTemplateNumber(2, 8);
    Add({L"N_ISO_4017_M8.sldprt"});
    EXPECT_EQ(Rows(), Texts{L"N_ISO_4017_M8.sldprt > N_ISO_4017_M8.changed.sldprt > Norm 4017 - %2"});
    EXPECT_EQ(m_settings.Template(1), L"%5%3_%4.changed.%6");
    EXPECT_EQ(m_settings.Template(2), L"Norm %1 - %2");
}

// For the file system, .TÉILÄЯ and .téiläя are the same extension.
TEST_F(ConversionTableTest, AnExtensionInAnotherCaseIsNotAddedAgain)
{
    m_settings.SetTemplate(1, L"%4.TÉILÄЯ");
    Add({L"N_1_M8.téiläя"});
    EXPECT_EQ(Column(1), Texts{L"M8.TÉILÄЯ"});
    m_settings.SetTemplate(1, L"x%4.TÉILÄЯ");
    Select({0});
    Apply(1);
    EXPECT_EQ(Column(1), Texts{L"xM8.TÉILÄЯ"});
}

TEST_F(ConversionTableTest, ForbiddenCharactersAreReplacedAndReportedOnce)
{
    m_settings.SetTemplate(1, L"a|b<c>%4:%3\\x");
    m_settings.SetTemplate(2, L"%1/@;=%4");
    const Texts files{L"N_1_M8.sldprt", L"N_2_M8.sldprt", L"N_3_M8.sldprt"};
    Add(files);
    EXPECT_EQ(Column(1), (Texts{L"a_b_c_M8_1_x.sldprt", L"a_b_c_M8_2_x.sldprt", L"a_b_c_M8_3_x.sldprt"}));
    EXPECT_EQ(Column(2), (Texts{L"1/@;=M8", L"2/@;=M8", L"3/@;=M8"}))
        << "generated BOM names are not cleaned";
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::kForbiddenInFileName.Current()});
    const CLanguageScope english(0);
    m_table.DeleteAllItems();
    Add(files);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::kForbiddenInFileName.Current()});
}

TEST_F(ConversionTableTest, AChangedTemplateAppliesToTheNextAddition)
{
    m_settings.SetTemplate(1, L"%3?%4");
    m_settings.SetTemplate(2, L"%4-%3");
    const CMessageRecorder meanwhile([this] {
        m_settings.SetTemplate(1, L"%4%4");
        m_settings.SetTemplate(2, L"other");
        return IDOK;
    });
    Add({L"N_ISO_1_a.sldprt", L"N_ISO_2_b.sldprt", L"N_ISO_3_c.sldprt"});
    EXPECT_EQ(Column(1), (Texts{L"1_a.sldprt", L"2_b.sldprt", L"3_c.sldprt"}));
    EXPECT_EQ(Column(2), (Texts{L"a-1", L"b-2", L"c-3"}));
    Add({L"N_ISO_4_d.sldprt"});
    EXPECT_EQ(Column(1).back(), L"dd.sldprt");
    EXPECT_EQ(Column(2).back(), L"other");
}

TEST_F(OpenMessageTest, FilesBeforeACollisionAreInTheTable)
{
    Fill({{L"N_5.sldprt", L"5.sldprt", L"fünf"}});
    m_settings.SetTemplate(1, L"%3.%6");
    m_settings.SetTemplate(2, L"%4");
    const Texts before{L"N_5.sldprt > 5.sldprt > fünf (converted)", L"N_2_a.sldprt > 2.sldprt > a",
                       L"N_1_a.sldprt > 1.sldprt > a"};
    const Texts after{L"N_0_a.sldprt > 0.sldprt > a", L"N_1_a.sldprt > 1.sldprt > a",
                      L"N_2_a.sldprt > 2.sldprt > a", L"N_5.sldprt > 5.sldprt > fünf (converted)"};
    EXPECT_EQ(MomentsOf([this] {
                  Add({L"N_2_a.sldprt", L"N_1_a.sldprt", L"N_2_b.sldprt", L"N_0_a.sldprt", L"N_0_b.sldprt"});
              }),
              (std::vector<Moment>{{before, true, 0}, {after, true, 0}}));
}

TEST_F(OpenMessageTest, FilesBeforeAForbiddenCharacterAreInTheTable)
{
    m_settings.SetTemplate(1, L"%3_%4.%6");
    m_settings.SetTemplate(2, L"");
    const Texts first{L"N_2_a.sldprt > 2_a.sldprt > ", L"N_1_a.sldprt > 1_a.sldprt > "};
    const Texts second{first[0], first[1], L"N_3_?.sldprt > 3__.sldprt > "};
    const Texts after{first[1], first[0], second[2], L"N_4_*.sldprt > 4__.sldprt > ",
                      L"N_4_a.sldprt > 4_a.sldprt > "};
    EXPECT_EQ(MomentsOf([this] {
                  Add({L"N_2_a.sldprt", L"N_1_a.sldprt", L"N_3_?.sldprt", L"N_3__.sldprt", L"N_4_a.sldprt",
                       L"N_4_*.sldprt"});
              }),
              (std::vector<Moment>{{first, true, 0}, {second, true, 0}, {after, true, 0}}));
}

// Another program may change the list view while the box is open.
TEST_F(OpenMessageTest, ChangesDuringAMessageApplyToTheNextFiles)
{
    m_settings.SetTemplate(1, L"%3.%6");
    m_settings.SetTemplate(2, L"");
    const Texts before{L"N_1_a.sldprt > 1.sldprt > ", L"N_2_a.sldprt > 2.sldprt > "};
    const Texts after{L"N_1_c.sldprt > 1.sldprt > ", L"N_2_a.sldprt > 3.sldprt > ",
                      L"N_2_c.sldprt > 2.sldprt > "};
    EXPECT_EQ(MomentsOf(
                  [this] {
                      Add({L"N_1_a.sldprt", L"N_2_a.sldprt", L"N_2_b.sldprt", L"N_1_c.sldprt",
                           L"N_2_c.sldprt", L"N_3_c.sldprt"});
                  },
                  [this] {
                      m_table.DeleteItem(0);
                      m_table.SetItemText(0, kColumnRenamed, L"3.sldprt");
                  }),
              (std::vector<Moment>{{before, true, 0}, {after, true, 0}}));
}

TEST_F(ConversionTableTest, ACollisionIsReportedOnceByItsFirstFile)
{
    m_settings.SetTemplate(1, L"%5%3.%6");
    Texts files;
    for (int size = 50; size > 0; --size) {
        files.push_back(L"N_ISO_4017_M" + std::to_wstring(size) + L".sldprt");
    }
    Add(files);
    EXPECT_EQ(Rows(), Texts{L"N_ISO_4017_M50.sldprt > N_ISO_4017.sldprt > Norm 4017 - %2"});
    EXPECT_EQ(
        m_messages.TakeTexts(),
        Texts{L"Der angegebene Dateiname in der Spalte 'Umbenannt nach...' ist bereits vorhanden.\nDatei: "
              L"\"N_ISO_4017_M49.sldprt -> N_ISO_4017.sldprt\" wird übergangen.\n\nSind mehrere Dateien "
              L"betroffen, so wird diese Fehlermeldung nicht erneut angezeigt."});
    const CLanguageScope english(0);
    Add(files);
    EXPECT_EQ(m_messages.TakeTexts(),
              Texts{L"The file name in column 'Renamed to...' is not unique.\nFile: "
                    L"\"N_ISO_4017_M49.sldprt -> N_ISO_4017.sldprt\" is skipped.\n\nThis error message will "
                    L"be skipped for all following failures."});
    EXPECT_EQ(m_table.GetItemCount(), 1);
}

TEST_F(ConversionTableTest, AFileThatCollidedMayBeAddedAgain)
{
    m_settings.SetTemplate(1, L"%5%3.%6");
    Add({L"N_1_a.sldprt", L"N_1_b.sldprt"});
    m_settings.SetTemplate(1, L"%5%3_%4.%6");
    Add({L"N_1_b.sldprt"});
    EXPECT_EQ(Column(1), (Texts{L"N_1.sldprt", L"N_1_b.sldprt"}));
}

// The file that collided has no row, so a later file is no duplicate of that file.
TEST_F(ConversionTableTest, AFileThatCollidedDoesNotBlockAnother)
{
    m_settings.SetTemplate(1, L"%4.%6");
    Add({L"N_1_a.sldprt", L"N_2_a.sldprt", L"n_2_A.sldprt"});
    EXPECT_EQ(Column(0), (Texts{L"N_1_a.sldprt", L"n_2_A.sldprt"}));
    EXPECT_EQ(Column(1), (Texts{L"a.sldprt", L"A.sldprt"}));
}

TEST_F(ConversionTableTest, NewNamesCollideByTheirExactSpelling)
{
    m_settings.SetTemplate(1, L"%4.%6");
    Add({L"N_1_m8.sldprt", L"N_2_M8.sldprt"});
    EXPECT_EQ(Column(1), (Texts{L"m8.sldprt", L"M8.sldprt"}));
    EXPECT_TRUE(m_messages.TakeTexts().empty());
    EXPECT_TRUE(m_table.IsNewNameTaken(L"m8.sldprt"));
    EXPECT_TRUE(m_table.IsNewNameTaken(L"M8.sldprt"));
    EXPECT_FALSE(m_table.IsNewNameTaken(L"M8.SLDPRT"));
    EXPECT_FALSE(m_table.IsNewNameTaken(L"M8"));
    EXPECT_FALSE(m_table.IsNewNameTaken(L"N_1_m8.sldprt"));
}

TEST_F(ConversionTableTest, SanitisedNamesCollide)
{
    m_settings.SetTemplate(1, L"%3%4.%6");
    Add({L"N_1_M8.sldprt"});
    m_settings.SetTemplate(1, L"1?M8.%6");
    Add({L"N_2_M8.sldprt"});
    m_settings.SetTemplate(1, L"1*M8.%6");
    Add({L"N_3_M8.sldprt"});
    EXPECT_EQ(Column(1), (Texts{L"1M8.sldprt", L"1_M8.sldprt"}));
    const Texts messages = m_messages.TakeTexts();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[1], expected::kForbiddenInFileName.Current());
    EXPECT_NE(messages[2].find(L"\"N_3_M8.sldprt -> 1_M8.sldprt\""), std::wstring::npos);
}

TEST_F(ConversionTableTest, AddedRowsAreSortedByCharacterCodes)
{
    m_settings.SetTemplate(1, L"%4.%6");
    Add({L"a_1.sldprt", L"Ä_2.sldprt", L"Z_3.sldprt", L"_4.sldprt"});
    EXPECT_EQ(Column(0), (Texts{L"Z_3.sldprt", L"_4.sldprt", L"a_1.sldprt", L"Ä_2.sldprt"}));
    Add({L"A_5.sldprt", L"b_6.sldprt", L"10_7.sldprt", L"9_8.sldprt"});
    EXPECT_EQ(Column(0), (Texts{L"10_7.sldprt", L"9_8.sldprt", L"A_5.sldprt", L"Z_3.sldprt", L"_4.sldprt",
                                L"a_1.sldprt", L"b_6.sldprt", L"Ä_2.sldprt"}));
    EXPECT_EQ(Column(1), (Texts{L"7.sldprt", L"8.sldprt", L"5.sldprt", L"3.sldprt", L"4.sldprt", L"1.sldprt",
                                L"6.sldprt", L"2.sldprt"}));
}

TEST_F(ConversionTableTest, MarksAndSelectionStayWithTheirRowsWhenFilesAreAdded)
{
    Fill({{L"N_2.sldprt", L"two", L"zwei"}, {L"N_4.sldprt", L"four", L"vier"}});
    m_table.SetItemState(0, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    Add({L"N_1_x.sldprt", L"N_3_x.sldprt"});
    EXPECT_EQ(Rows(), (Texts{L"N_1_x.sldprt > N_1_x.changed.sldprt > Norm 1 - %2",
                             L"N_2.sldprt > two > zwei (converted)",
                             L"N_3_x.sldprt > N_3_x.changed.sldprt > Norm 3 - %2",
                             L"N_4.sldprt > four > vier (converted)"}));
    EXPECT_EQ(m_table.GetNextItem(-1, LVNI_SELECTED), 1);
    EXPECT_EQ(m_table.GetNextItem(1, LVNI_SELECTED), -1);
    EXPECT_EQ(m_table.GetNextItem(-1, LVNI_FOCUSED), 1);
    EXPECT_EQ(m_table.CountPendingRows(), 2);
}

TEST_F(ConversionTableTest, DuplicatesAreExactlyTheNamesThatTheListViewFinds)
{
    const Texts pieces{L"a",      L"A",    L"ä",        L"Ä",        L"a\u0308", L"ß",       L"ss", L"SS",
                       L"\u1E9E", L"i",    L"I",        L"ı",        L"İ",       L"ﬁ",       L"fi", L"æ",
                       L"ae",     L"coop", L"co-op",    L"CO-OP",    L"co'op",   L"coo-p",   L"1",  L"01",
                       L"１",     L"é",    L"e",        L"é\u0301",  L"ø",       L"o",       L"œ",  L"oe",
                       L"½",      L"1 2",  L"12",       L"1\u00AD2", L"σ",       L"ς",       L"Σ",  L"щ",
                       L"Щ",      L"x y",  L"x\u00A0y", L"xy",       L"Z",       L"z\u200D", L"ｚ", L"ア",
                       L"ｱ",      L"あ"};
    for (const std::wstring& first : pieces) {
        m_table.DeleteAllItems();
        Add({L"N_" + first + L"_1.sldprt"});
        ASSERT_EQ(m_table.GetItemCount(), 1);
        for (const std::wstring& second : pieces) {
            const std::wstring name = L"N_" + second + L"_1.sldprt";
            LVFINDINFOW find{};
            find.flags = LVFI_STRING;
            find.psz = name.c_str();
            const bool found = m_table.SendMessage(LVM_FINDITEMW, static_cast<WPARAM>(-1),
                                                   reinterpret_cast<LPARAM>(&find)) == 0;
            Add({name});
            EXPECT_EQ(m_table.GetItemCount(), found ? 1 : 2)
                << testing::PrintToString(first) << " and " << testing::PrintToString(second);
            if (m_table.GetItemCount() == 2) {
                m_table.DeleteItem(m_table.GetItemText(0, 0) == name ? 0 : 1);
            }
        }
    }
    EXPECT_TRUE(m_messages.TakeTexts().empty());
}

LRESULT CALLBACK CountMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                              DWORD_PTR count)
{
    ++*reinterpret_cast<int*>(count);
    return DefSubclassProc(window, message, wParam, lParam);
}

// Counts the messages that reach the list view's own procedure.
class CMessageCount
{
public:
    explicit CMessageCount(CWnd& object) : m_object(object), m_window(object.UnsubclassWindow())
    {
        SetWindowSubclass(m_window, &CountMessage, kId, reinterpret_cast<DWORD_PTR>(&m_count));
        m_object.SubclassWindow(m_window);
    }
    CMessageCount(const CMessageCount&) = delete;
    CMessageCount& operator=(const CMessageCount&) = delete;
    ~CMessageCount()
    {
        m_object.UnsubclassWindow();
        RemoveWindowSubclass(m_window, &CountMessage, kId);
        m_object.SubclassWindow(m_window);
    }
    [[nodiscard]] int Count() const { return m_count; }

private:
    static constexpr UINT_PTR kId = 99;
    CWnd& m_object;
    HWND m_window;
    int m_count = 0;
};

class ConversionTableEffortTest : public ConversionTableTest
{
protected:
    // The number of messages to the list view for an operation on n files, half of which are in the table.
    int MessagesFor(int n, const std::function<void(const Texts& files)>& operation)
    {
        m_table.DeleteAllItems();
        Texts files;
        for (int i = 0; i < n; ++i) {
            files.push_back(L"N_ISO_" + std::to_wstring(9000 - i) + L"_M8.sldprt");
        }
        Texts first(files.begin(), files.begin() + n / 2);
        Add(first);
        const CMessageCount messages(m_table);
        operation(files);
        return messages.Count();
    }

    // Twice the rows take about twice the messages, not four times as many.
    void ExpectLinear(const std::function<void(const Texts& files)>& operation)
    {
        const int once = MessagesFor(400, operation);
        const int twice = MessagesFor(800, operation);
        EXPECT_GT(once, 400);
        EXPECT_LT(twice, once * 2 + once / 4) << once << " messages for 400 rows";
    }
};

TEST_F(ConversionTableEffortTest, AddingFilesIsLinear)
{
    ExpectLinear([this](const Texts& files) {
        Add(files);
        EXPECT_EQ(m_table.GetItemCount(), static_cast<int>(files.size()));
    });
}

TEST_F(ConversionTableEffortTest, AddingFilesThatAreThereIsLinear)
{
    ExpectLinear([this](const Texts& files) {
        Add(Texts(files.begin(), files.begin() + static_cast<std::ptrdiff_t>(files.size() / 2)));
        EXPECT_EQ(m_table.GetItemCount(), static_cast<int>(files.size() / 2));
    });
}

TEST_F(ConversionTableEffortTest, ApplyingATemplateIsLinear)
{
    m_settings.SetTemplate(1, L"%3.%6");
    ExpectLinear([this](const Texts&) {
        m_settings.SetTemplate(1, L"%3_%4.%6");
        m_table.SetItemState(-1, LVIS_SELECTED, LVIS_SELECTED);
        Apply(1);
        EXPECT_EQ(m_table.GetItemText(0, 1).substr(4), L"_M8.sldprt");
        m_settings.SetTemplate(1, L"%3.%6");
    });
}

// Sorting

TEST_F(ConversionTableTest, SortsByAnyColumnInBothDirectionsAndPartially)
{
    Fill({{L"c", L"1", L"x"}, {L"a", L"3", L"y"}, {L"d", L"2", L"z"}, {L"b", L"4", L"w"}});
    m_table.MarkPending(2);
    m_table.SortTextItems(1, false, 0, -1);
    EXPECT_EQ(Rows(), (Texts{L"b > 4 > w (converted)", L"a > 3 > y (converted)", L"d > 2 > z",
                             L"c > 1 > x (converted)"}));
    m_table.SortTextItems(0, true, 1, 3);
    EXPECT_EQ(Column(0), (Texts{L"b", L"a", L"c", L"d"}));
    m_table.SortTextItems(0, true, 0, 1);
    EXPECT_EQ(Column(0), (Texts{L"a", L"b", L"c", L"d"}));
    EXPECT_EQ(Row(3), L"d > 2 > z");
    m_table.DeleteAllItems();
    m_table.SortTextItems(0, true, 0, -1);
    EXPECT_EQ(m_table.GetItemCount(), 0);
}

// Marks

TEST_F(ConversionTableTest, MarksAreItemDataAndStateImage)
{
    Fill({{L"a", L"b", L"c"}, {L"d", L"e", L"f"}});
    EXPECT_EQ(m_table.GetItemData(0), 0);
    EXPECT_EQ(m_table.GetItemState(0, 0xF000), 0x2000U);
    EXPECT_FALSE(m_table.IsPending(0));
    EXPECT_EQ(m_table.CountPendingRows(), 0);
    m_table.MarkPending(1);
    EXPECT_EQ(m_table.GetItemData(1), 1);
    EXPECT_EQ(m_table.GetItemState(1, 0xF000), 0x1000U);
    EXPECT_TRUE(m_table.IsPending(1));
    EXPECT_EQ(m_table.CountPendingRows(), 1);
    m_table.MarkConverted(1);
    EXPECT_EQ(m_table.GetItemState(1, 0xF000), 0x2000U);
    EXPECT_EQ(m_table.CountPendingRows(), 0);
    EXPECT_EQ(m_table.GetRow(1), (UTtab_entry{L"d", L"e", L"f"}));
}

TEST_F(ConversionTableTest, MapFileEntriesReplaceAllRowsInTheirOrder)
{
    Add({L"N_1_a.sldprt"});
    Fill({{L"z", L"Z", L""}, {L"a", L"A", L"a;b"}, {L"z", L"Z", L""}});
    EXPECT_EQ(Rows(), (Texts{L"z > Z >  (converted)", L"a > A > a;b (converted)", L"z > Z >  (converted)"}));
    Fill({});
    EXPECT_EQ(m_table.GetItemCount(), 0);
}

// Hand edits

class HandEditTest : public ConversionTableTest
{
protected:
    HandEditTest() { FillThree(); }

    void FillThree()
    {
        Fill({{L"N_1.sldprt", L"M6.sldprt", L"Norm 1"},
              {L"N_2.sldasm", L"M8.sldprt", L"Norm 2"},
              {L"N_3.sldprt", L"M10.sldprt", L"Norm 3"}});
    }

    void Edit(int row, int column, const wchar_t* text)
    {
        EXPECT_EQ(m_table.OnEndLabelEdit(row, column, text), 0);
    }

    void ExpectUnchanged() const
    {
        EXPECT_EQ(Rows(), (Texts{L"N_1.sldprt > M6.sldprt > Norm 1 (converted)",
                                 L"N_2.sldasm > M8.sldprt > Norm 2 (converted)",
                                 L"N_3.sldprt > M10.sldprt > Norm 3 (converted)"}));
        EXPECT_EQ(TakeChanges(), 0);
    }
};

TEST_F(HandEditTest, ACancelledEditChangesNothing)
{
    for (const int column : {0, 1, 2}) {
        Edit(1, column, nullptr);
    }
    ExpectUnchanged();
}

// A cell of row 1, what is typed over the cell, and the cell afterwards.
struct HandEdit
{
    int column;
    const wchar_t* before;
    const wchar_t* typed;
    const wchar_t* after;
    const Text* message = nullptr;
};

constexpr HandEdit kHandEdits[] = {
    // A file name is trimmed and gets the extension sldprt unless it ends in these letters.
    {1, L"M8.sldprt", L" \t Frame  ", L"Frame.sldprt"},
    {1, L"M8.sldprt", L"ABCsldprt", L"ABCsldprt"},
    {1, L"M8.sldprt", L"Frame.SLDPRT", L"Frame.SLDPRT"},
    {1, L"M8.sldprt", L"Frame.sldasm", L"Frame.sldasm.sldprt"},
    {1, L"M8.sldprt", L"part...sldprt", L"part.sldprt"},
    // An empty file name or the same file name changes nothing.
    {1, L"M8.sldprt", L"", L"M8.sldprt"},
    {1, L"M8.sldprt", L" \t ", L"M8.sldprt"},
    {1, L"M8.sldprt", L"M8", L"M8.sldprt"},
    {1, L"M8.sldprt", L"M8.sldprt", L"M8.sldprt"},
    {1, L"M8.sldprt", L"M8..sldprt", L"M8.sldprt"},
    // Another row's file name is refused. A name in another case is a different name.
    {1, L"M8.sldprt", L"M10", L"M8.sldprt", &expected::kNameTaken},
    {1, L"M8.sldprt", L"M6.sldprt", L"M8.sldprt", &expected::kNameTaken},
    {1, L"M8.sldprt", L"m8.sldprt", L"m8.sldprt"},
    {1, L"M8.sldprt", L"m10", L"m10.sldprt"},
    {1, L"M8.sldprt", L"M10.SLDPRT", L"M10.SLDPRT"},
    // Forbidden characters are replaced and reported, even if the result changes nothing.
    {1, L"M8.sldprt", L"a|b<c>", L"a_b_c_.sldprt", &expected::kForbiddenInFileName},
    {1, L"M8.sldprt", L"/\\*:\"?;=", L"________.sldprt", &expected::kForbiddenInFileName},
    {1, L"a_b.sldprt", L"a:b", L"a_b.sldprt", &expected::kForbiddenInFileName},
    {2, L"Norm 2", L"x/y@z;=", L"x_y_z__", &expected::kForbiddenInBomName},
    {2, L"a_b", L"a;b", L"a_b", &expected::kForbiddenInBomName},
    // Other BOM names are accepted as typed.
    {2, L"Norm 2", L"Norm 2", L"Norm 2"},
    {2, L"Norm 2", L"a:b", L"a:b"},
    {2, L"Norm 2", L" blanks stay ", L" blanks stay "},
    {2, L"Norm 2", L"%2 | * ? < >", L"%2 | * ? < >"},
    {2, L"Norm 2", L"norm 2", L"norm 2"},
    {2, L"Norm 2", L"Norm 3", L"Norm 3"},
    {2, L"Norm 2", L"", L""},
};

TEST_F(HandEditTest, ACellFollowsTheNameRules)
{
    for (const int language : {1, 0}) {
        const CLanguageScope scope(language);
        for (const HandEdit& edit : kHandEdits) {
            SCOPED_TRACE(testing::PrintToString(edit.before) + " -> " + testing::PrintToString(edit.typed));
            FillThree();
            m_table.SetItemText(1, edit.column, edit.before);
            Edit(1, edit.column, edit.typed);
            EXPECT_EQ(m_table.GetItemText(1, edit.column), edit.after);
            const bool changed = std::wstring(edit.before) != edit.after;
            EXPECT_EQ(m_table.IsPending(1), changed);
            EXPECT_EQ(m_table.GetItemState(1, 0xF000), changed ? 0x1000U : 0x2000U);
            EXPECT_EQ(m_table.CountPendingRows(), changed ? 1 : 0) << "another row is pending";
            EXPECT_EQ(TakeChanges(), changed ? 1 : 0);
            EXPECT_EQ(m_messages.TakeTexts(),
                      edit.message != nullptr ? Texts{edit.message->Current()} : Texts{});
        }
    }
}

TEST_F(HandEditTest, AnOriginalNameIsKeptAsTypedAndSortedIn)
{
    m_table.MarkPending(2);
    Select({0});
    m_table.SetItemState(0, LVIS_FOCUSED, LVIS_FOCUSED);
    Edit(0, 0, L"a|b ");
    EXPECT_EQ(Rows(), (Texts{L"N_2.sldasm > M8.sldprt > Norm 2 (converted)",
                             L"N_3.sldprt > M10.sldprt > Norm 3", L"a|b  > M6.sldprt > Norm 1"}));
    EXPECT_EQ(m_table.GetNextItem(-1, LVNI_SELECTED), 2);
    EXPECT_EQ(m_table.GetNextItem(-1, LVNI_FOCUSED), 2);
    EXPECT_EQ(TakeChanges(), 1);
    EXPECT_TRUE(m_messages.TakeTexts().empty());
}

TEST_F(HandEditTest, OtherColumnsAreNotSorted)
{
    Edit(0, 1, L"Z9");
    Edit(0, 2, L"zz");
    EXPECT_EQ(Column(0), (Texts{L"N_1.sldprt", L"N_2.sldasm", L"N_3.sldprt"}));
    EXPECT_EQ(m_table.GetItemText(0, 1), L"Z9.sldprt");
}

TEST_F(HandEditTest, TheChangeIsPostedNotSent)
{
    Edit(1, 2, L"x");
    MSG message{};
    EXPECT_TRUE(PeekMessageW(&message, m_parent.m_hWnd, WM_USER + 5, WM_USER + 5, PM_NOREMOVE));
    EXPECT_EQ(TakeChanges(), 1);
}

// Applying a template

class ApplyTemplateTest : public ConversionTableTest
{
protected:
    ApplyTemplateTest()
    {
        Fill({{L"N_ISO_1_a.sldprt", L"1.sldprt", L"eins"},
              {L"N_ISO_2_b.sldprt", L"2.sldprt", L"zwei"},
              {L"N_ISO_3_c.sldprt", L"3.sldprt", L"drei"}});
    }
};

TEST_F(ApplyTemplateTest, ChangesTheSelectedRowsOnly)
{
    m_settings.SetTemplate(1, L"%5%3%4");
    Select({0, 2});
    Apply(1);
    EXPECT_EQ(Rows(), (Texts{L"N_ISO_1_a.sldprt > N_ISO_1a.sldprt > eins",
                             L"N_ISO_2_b.sldprt > 2.sldprt > zwei (converted)",
                             L"N_ISO_3_c.sldprt > N_ISO_3c.sldprt > drei"}));
    EXPECT_GE(TakeChanges(), 1);
    EXPECT_EQ(m_table.GetNextItem(0, LVNI_SELECTED), 2);
    EXPECT_TRUE(m_messages.TakeTexts().empty());
}

TEST_F(ApplyTemplateTest, FillsTheBomNamesAsTheyAre)
{
    m_settings.SetTemplate(2, L"%5@%1/%2;%6");
    Select({1});
    Apply(2);
    EXPECT_EQ(m_table.GetItemText(1, 2), L"N_ISO_@2/%2;sldprt");
    EXPECT_TRUE(m_table.IsPending(1));
    EXPECT_EQ(m_table.CountPendingRows(), 1);
    EXPECT_GE(TakeChanges(), 1);
    EXPECT_TRUE(m_messages.TakeTexts().empty());
    m_settings.SetTemplate(2, L"");
    Apply(2);
    EXPECT_EQ(m_table.GetItemText(1, 2), L"");
}

TEST_F(ApplyTemplateTest, AMissingTemplateEndsItSilentlyAndStaysMissing)
{
    Select({0, 1, 2});
    Apply(1);
    Apply(2);
    m_settings.SetTemplateNumber(1, 3);
    Apply(1);
    EXPECT_EQ(m_table.CountPendingRows(), 0);
    EXPECT_EQ(Column(1), (Texts{L"1.sldprt", L"2.sldprt", L"3.sldprt"}));
    EXPECT_EQ(TakeChanges(), 0);
    EXPECT_EQ(m_settings.Template(1), L"(none)");
    EXPECT_EQ(m_settings.Template(2), L"(none)");
    EXPECT_TRUE(m_messages.TakeTexts().empty());
}

TEST_F(ApplyTemplateTest, ATemplateRemovedDuringAMessageKeepsTheRowsDone)
{
    m_settings.SetTemplate(1, L"%3?%4");
    Select({0, 1, 2});
    const CMessageRecorder meanwhile([this] {
        m_settings.RemoveTemplate(1);
        return IDOK;
    });
    Apply(1);
    EXPECT_EQ(Column(1), (Texts{L"1_a.sldprt", L"2.sldprt", L"3.sldprt"}));
    EXPECT_EQ(m_table.CountPendingRows(), 1);
    EXPECT_GE(TakeChanges(), 1);
}

TEST_F(ApplyTemplateTest, ATemplateChangedDuringAMessageAppliesToTheNextRow)
{
    m_settings.SetTemplate(1, L"%3?%4");
    Select({0, 1, 2});
    const CMessageRecorder meanwhile([this] {
        m_settings.SetTemplate(1, L"%4%4");
        return IDOK;
    });
    Apply(1);
    EXPECT_EQ(Column(1), (Texts{L"1_a.sldprt", L"bb.sldprt", L"cc.sldprt"}));
}

// A file-name template, rows {original name, new name}, the rows that are selected, and the new names after
// the template is applied. No message appears.
struct Application
{
    const char* what;
    const wchar_t* fileTemplate;
    std::vector<std::pair<std::wstring, std::wstring>> rows;
    std::vector<int> selected;
    Texts newNames;
};

TEST_F(ApplyTemplateTest, RowsGetTheirFileNames)
{
    const Application applications[] = {
        {"no selection", L"%5%3%4", {{L"N_ISO_1_a.sldprt", L"1.sldprt"}}, {}, {L"1.sldprt"}},
        {"ends at an empty file name",
         L"%5%3",
         {{L"N_ISO_1_a.sldprt", L"1"}, {L"Schraube.sldprt", L"2"}, {L"N_ISO_3_c.sldprt", L"3"}},
         {0, 1, 2},
         {L"N_ISO_1.sldprt", L"2", L"3"}},
        {"ends at an original without extension",
         L"%5%3",
         {{L"N_ISO_1_a", L"1"}, {L"N_ISO_3_c.sldprt", L"3"}},
         {0, 1},
         {L"1", L"3"}},
        {"a name that an earlier row gave up",
         L"%4",
         {{L"N_ISO_1_a.sldprt", L"b.sldprt"}, {L"N_ISO_2_b.sldprt", L"2.sldprt"}},
         {0, 1},
         {L"a.sldprt", L"b.sldprt"}},
        {"the row's own name in another case",
         L"%4.%6",
         {{L"N_ISO_1_a.sldprt", L"A.SLDPRT"}, {L"N_ISO_2_Ö.sldprt", L"ö.sldprt"}},
         {0, 1},
         {L"A.SLDPRT", L"ö.sldprt"}},
        {"another row's name in another case",
         L"%4.%6",
         {{L"N_ISO_1_A.sldprt", L"1.sldprt"}, {L"N_ISO_2_b.sldprt", L"a.sldprt"}},
         {0},
         {L"A.sldprt", L"a.sldprt"}},
        {"%2 stays", L"%5%3_%2.%6", {{L"N_ISO_1_a.sldprt", L"1.sldprt"}}, {0}, {L"N_ISO_1_%2.sldprt"}},
        {"an assembly's extension", L"Frame", {{L"N_ISO_1_a.sldasm", L"1.sldprt"}}, {0}, {L"Frame.sldasm"}},
    };
    for (const Application& application : applications) {
        SCOPED_TRACE(application.what);
        std::vector<UTtab_entry> entries;
        for (const auto& [original, renamed] : application.rows) {
            entries.push_back({original, renamed, L"BOM"});
        }
        Fill(entries);
        m_settings.SetTemplate(1, application.fileTemplate);
        Select(application.selected);
        Apply(1);
        EXPECT_EQ(Column(1), application.newNames);
        int changed = 0;
        for (std::size_t row = 0; row < entries.size(); ++row) {
            const bool pending = entries[row].strRenamed != application.newNames[row];
            EXPECT_EQ(m_table.IsPending(static_cast<int>(row)), pending) << row;
            changed += pending ? 1 : 0;
        }
        EXPECT_EQ(TakeChanges() > 0, changed > 0);
        EXPECT_EQ(m_messages.TakeTexts(), Texts{});
    }
}

TEST_F(ApplyTemplateTest, APendingRowStaysPending)
{
    m_table.MarkPending(1);
    m_settings.SetTemplate(1, L"2.%6");
    Select({1});
    Apply(1);
    EXPECT_TRUE(m_table.IsPending(1));
    EXPECT_EQ(TakeChanges(), 0);
}

TEST_F(ApplyTemplateTest, ForbiddenCharactersAreReportedOnce)
{
    m_settings.SetTemplate(1, L"%3*%4");
    Select({0, 1, 2});
    Apply(1);
    EXPECT_EQ(Column(1), (Texts{L"1_a.sldprt", L"2_b.sldprt", L"3_c.sldprt"}));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::kForbiddenInFileName.Current()});
    const CLanguageScope english(0);
    Apply(1);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::kForbiddenInFileName.Current()})
        << "reported although no name changes";
}

TEST_F(ApplyTemplateTest, ATakenNameIsNotUsedAndReportedOnce)
{
    m_settings.SetTemplate(1, L"2.%6");
    Select({0, 1, 2});
    Apply(1);
    EXPECT_EQ(Column(1), (Texts{L"1.sldprt", L"2.sldprt", L"3.sldprt"}));
    EXPECT_EQ(m_table.CountPendingRows(), 0);
    EXPECT_EQ(TakeChanges(), 0);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::kGeneratedNameTaken.Current()});
    const CLanguageScope english(0);
    Apply(1);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::kGeneratedNameTaken.Current()});
}

TEST_F(ApplyTemplateTest, NamesMadeInTheSameOperationCollideToo)
{
    m_settings.SetTemplate(1, L"same");
    Select({0, 1, 2});
    Apply(1);
    EXPECT_EQ(Column(1), (Texts{L"same.sldprt", L"2.sldprt", L"3.sldprt"}));
    EXPECT_EQ(m_messages.TakeTexts().size(), 1U);
}

class OpenTemplateMessageTest : public OpenMessageTest
{
protected:
    OpenTemplateMessageTest()
    {
        Fill({{L"N_1_a.sldprt", L"1.sldprt", L""},
              {L"N_2_?.sldprt", L"2.sldprt", L""},
              {L"N_3_c.sldprt", L"3.sldprt", L""},
              {L"N_4_d.sldprt", L"4.sldprt", L""}});
        Select({0, 1, 2});
    }
};

TEST_F(OpenTemplateMessageTest, RowsBeforeACollisionHaveTheirNewNameAndTheParentIsNotified)
{
    m_settings.SetTemplate(1, L"fest.%6");
    const Texts rows{L"N_1_a.sldprt > fest.sldprt > ", L"N_2_?.sldprt > 2.sldprt >  (converted)",
                     L"N_3_c.sldprt > 3.sldprt >  (converted)", L"N_4_d.sldprt > 4.sldprt >  (converted)"};
    EXPECT_EQ(MomentsOf([this] { Apply(1); }), (std::vector<Moment>{{rows, true, 1}, {rows, true, 0}}));
}

TEST_F(OpenTemplateMessageTest, RowsBeforeAForbiddenCharacterHaveTheirNewNameAndTheParentIsNotified)
{
    m_settings.SetTemplate(1, L"%3-%4");
    const Texts before{L"N_1_a.sldprt > 1-a.sldprt > ", L"N_2_?.sldprt > 2.sldprt >  (converted)",
                       L"N_3_c.sldprt > 3.sldprt >  (converted)", L"N_4_d.sldprt > 4.sldprt >  (converted)"};
    const Texts after{before[0], L"N_2_?.sldprt > 2-_.sldprt > ", L"N_3_c.sldprt > 3-c.sldprt > ", before[3]};
    EXPECT_EQ(MomentsOf([this] { Apply(1); }), (std::vector<Moment>{{before, true, 1}, {after, true, 1}}));
}

TEST_F(OpenTemplateMessageTest, DuringAMessageAboutTheFirstRowTheTableIsUnchanged)
{
    m_settings.SetTemplate(1, L"%3*");
    const Texts before = Rows();
    const Texts after{L"N_1_a.sldprt > 1_.sldprt > ", L"N_2_?.sldprt > 2_.sldprt > ",
                      L"N_3_c.sldprt > 3_.sldprt > ", before[3]};
    EXPECT_EQ(MomentsOf([this] { Apply(1); }), (std::vector<Moment>{{before, true, 0}, {after, true, 1}}));
}

// Another program may change the list view while the box is open.
TEST_F(OpenTemplateMessageTest, ChangesDuringAMessageApplyToTheNextRows)
{
    m_settings.SetTemplate(1, L"%3-%4");
    const Texts before{L"N_1_a.sldprt > 1-a.sldprt > ", L"N_2_?.sldprt > 2.sldprt >  (converted)",
                       L"N_3_c.sldprt > 3.sldprt >  (converted)", L"N_4_d.sldprt > 4.sldprt >  (converted)"};
    const Texts meanwhile{before[0], L"N_2_?.sldprt > 2-_.sldprt > ", before[2],
                          L"N_4_d.sldprt > 3-c.sldprt >  (converted)"};
    EXPECT_EQ(
        MomentsOf([this] { Apply(1); }, [this] { m_table.SetItemText(3, kColumnRenamed, L"3-c.sldprt"); }),
        (std::vector<Moment>{{before, true, 1}, {meanwhile, true, 1}, {meanwhile, true, 0}}));
}

TEST_F(ApplyTemplateTest, AChangeOfCaseAloneIsAppliedToABomName)
{
    m_settings.SetTemplate(2, L"EINS");
    Select({0});
    Apply(2);
    EXPECT_EQ(m_table.GetItemText(0, 2), L"EINS");
    EXPECT_TRUE(m_table.IsPending(0));
    m_table.MarkConverted(0);
    TakeChanges();
    Apply(2);
    EXPECT_FALSE(m_table.IsPending(0));
    EXPECT_EQ(TakeChanges(), 0);
}

}  // namespace
