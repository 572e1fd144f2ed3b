#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "resources/resource.h"
#include "tests/acceptance/ExpectedTexts.h"
#include "tests/acceptance/OtherWindows.h"
#include "tests/acceptance/PartReader.h"
#include "tests/acceptance/ProgramUnderTest.h"
#include "tests/acceptance/TestLibrary.h"
#include "tests/acceptance/WaitFor.h"
#include "tests/acceptance/ZelmarRegistry.h"
#include "tests/cadserver/TextFile.h"
#include "tests/faults/FaultBench.h"
#include "tests/faults/FaultTest.h"
#include "tests/faults/ResourceUse.h"

// Long runs: the program holds as much behind them as before, and its window answers all the time.

namespace {

// Asks a window again and again whether it answers, from a thread of its own, and keeps the longest time that
// it took to.
class CAnswerWatch
{
public:
    explicit CAnswerWatch(HWND window) : m_thread([this, window] { Watch(window); }) {}
    CAnswerWatch(const CAnswerWatch&) = delete;
    CAnswerWatch& operator=(const CAnswerWatch&) = delete;
    ~CAnswerWatch() { End(); }

    // Ends the watch and tells the longest time in milliseconds.
    DWORD End()
    {
        m_end = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_longest;
    }
    [[nodiscard]] DWORD Asked() const { return m_asked; }

private:
    void Watch(HWND window)
    {
        constexpr DWORD kPause = 50;  // milliseconds
        constexpr UINT kGiveUp = 60'000;
        while (!m_end) {
            const ULONGLONG begin = GetTickCount64();
            DWORD_PTR answer = 0;
            if (SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, kGiveUp, &answer) == 0) {
                m_longest = kGiveUp;
                return;
            }
            m_longest = std::max(m_longest, static_cast<DWORD>(GetTickCount64() - begin));
            ++m_asked;
            Sleep(kPause);
        }
    }

    std::atomic<bool> m_end = false;
    DWORD m_longest = 0;
    DWORD m_asked = 0;
    std::thread m_thread;
};

// A library of many small parts: of ten, nine have one configuration and the tenth five, and one part has
// many.
class CManyParts
{
public:
    explicit CManyParts(int count) : m_count(count)
    {
        const std::array models = {Model(L"a.sldprt", kFew), Model(L"b.sldprt", kSeveral),
                                   Model(L"c.sldprt", kMany)};
        for (int number = 0; number < count; ++number) {
            const std::wstring& model = models.at(ConfigurationsOf(number) == kFew       ? 0
                                                  : ConfigurationsOf(number) == kSeveral ? 1
                                                                                         : 2);
            EXPECT_NE(FALSE, CopyFileW(model.c_str(), m_library.Part(OriginalOf(number)).c_str(), TRUE));
        }
    }

    [[nodiscard]] const CTestLibrary& Library() const { return m_library; }
    [[nodiscard]] int Count() const { return m_count; }
    [[nodiscard]] int Configurations() const
    {
        int sum = 0;
        for (int number = 0; number < m_count; ++number) {
            sum += ConfigurationsOf(number);
        }
        return sum;
    }

    // Whether every row is recorded once, and some copies, read by the test itself, are as they have to be.
    void ExpectWhole() const
    {
        std::string map = m_library.MapHeader();
        for (int number = 0; number < m_count; ++number) {
            map += ToUtf8(OriginalOf(number) + L" ; " + Digits(number) + L".sldprt ; Norm " + Digits(number) +
                          L" - %2\r\n");
        }
        EXPECT_TRUE(m_library.MapFileBytes() == map) << "the records are not those of all rows";
        constexpr int kStep = 23;
        for (int number = 0; number < m_count; number += kStep) {
            ExpectCopy(number);
        }
        ExpectCopy(kManyAt);
    }

private:
    static constexpr int kFew = 1;
    static constexpr int kSeveral = 5;
    static constexpr int kMany = 200;
    static constexpr int kManyAt = 7;  // the part that has so many

    static int ConfigurationsOf(int number)
    {
        return number == kManyAt ? kMany : number % 10 == 0 ? kSeveral : kFew;
    }
    static std::wstring Digits(int number) { return std::to_wstring(10'000 + number); }
    static std::wstring OriginalOf(int number) { return L"N_ISO_" + Digits(number) + L"_M8.sldprt"; }

    [[nodiscard]] std::wstring Model(const std::wstring& name, int configurations) const
    {
        std::vector<std::wstring> names;
        for (int number = 1; number <= configurations; ++number) {
            names.push_back(L"M8x" + std::to_wstring(number));
        }
        EXPECT_EQ(S_OK, CreatePartFile(m_models / name, names));
        return m_models / name;
    }

    void ExpectCopy(int number) const
    {
        const std::wstring path = m_library.Copy(Digits(number) + L".sldprt");
        std::vector<BomEntry> entries;
        for (int configuration = 1; configuration <= ConfigurationsOf(number); ++configuration) {
            const std::wstring name = L"M8x" + std::to_wstring(configuration);
            entries.push_back({name, true, L"Norm " + Digits(number) + L" - " + name});
        }
        EXPECT_EQ(entries, ReadPart(path).bomEntries) << ToUtf8(path);
        EXPECT_TRUE(IsReadOnly(path)) << ToUtf8(path);
    }

    const int m_count;
    CTempFolder m_models;
    CTestLibrary m_library;
};

// The program in its window, taken from one library to another and through its runs by messages.
class CLongRunner
{
public:
    explicit CLongRunner(const CTestLibrary& library) : m_library(&library)
    {
        m_registry.SetPartsFolder(library.Path());
        m_registry.SetTemplate(1, L"%3");
        m_registry.SetTemplate(2, L"Norm %3 - %2");
        m_program.emplace();
    }

    // What the program holds once nothing comes or goes any more.
    [[nodiscard]] ResourceUse Use() const
    {
        constexpr DWORD kPause = 300;  // milliseconds
        ResourceUse use = UseOf(m_program->Process());
        EXPECT_TRUE(WaitFor(
            [&] {
                const ResourceUse before = std::exchange(use, UseOf(m_program->Process()));
                return before.windows == use.windows && before.handles == use.handles;
            },
            kPatience, kPause));
        return use;
    }
    [[nodiscard]] HWND Window() const { return m_program->MainWindow(); }

    // Fills the table from another library's folder, as if it had been typed.
    void Fill(const CManyParts& parts)
    {
        m_library = &parts.Library();
        const HWND edit = m_program->Control(IDC_SOURCE_DIR);
        const std::wstring folder = m_library->Path();
        Ask(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(folder.c_str()));
        PostMessageW(Window(), WM_COMMAND, MAKEWPARAM(IDC_SOURCE_DIR, EN_KILLFOCUS),
                     reinterpret_cast<LPARAM>(edit));
        CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), expected::kChangeFolder.Current())
            .Press(IDYES);
        const HWND list = m_program->Control(IDC_LIST);
        EXPECT_TRUE(WaitFor([&] { return Ask(list, LVM_GETITEMCOUNT) == parts.Count(); }));
    }

    // A run of all that is in the table. Returns how long the window took at most to answer, in milliseconds,
    // from when the server is connected: what starts a server is the system's own waiting.
    DWORD Run()
    {
        constexpr DWORD kPatienceOfARun = 3'600'000;  // milliseconds
        constexpr DWORD kPause = 250;                 // as looking for windows takes its own time
        const CCadServer& server = CServerEnvironment::Server();
        // A server that ends with the run, as the CAD system does: to one that stays, Wine keeps every
        // connection that it opened while the machine was busy.
        server.StartOver("");
        m_program->Press(IDC_START);
        EXPECT_TRUE(WaitFor([&] { return server.WasAsked(kFirstCall); }));
        CAnswerWatch watch(Window());
        WaitFor([&] { return CMessageBoxOnScreen::Find(m_program->ProcessId()).has_value(); },
                kPatienceOfARun, kPause);
        CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), expected::kFinished.Current()).Press(IDOK);
        m_program->WaitForRest();
        // The server is let go behind the message.
        EXPECT_TRUE(WaitFor([&] { return server.WasAsked("reason=asked"); }, kPatience, kPause));
        const DWORD longest = watch.End();
        EXPECT_GT(watch.Asked(), 0U);
        return longest;
    }

private:
    static constexpr const char* kFirstCall =
        "application 11";  // the release, asked for behind the connection

    const CTestLibrary* m_library;
    CZelmarRegistry m_registry;
    std::optional<CProgramUnderTest> m_program;
};

template <class Number>
using Figure = Number ResourceUse::*;

// The table is filled anew for each run.
struct Measured
{
    ResourceUse before;
    ResourceUse behind;
    DWORD longestSilence = 0;  // milliseconds
};

constexpr std::size_t kRuns = 5;
using FiveRuns = std::array<Measured, kRuns>;
using State = ResourceUse Measured::*;

// By how much a figure grows from run to run: the median of the slopes between any two of them, which a
// single step, as of a heap that takes its next block, does not move.
std::int64_t Growth(const std::array<std::int64_t, kRuns>& figures)
{
    std::vector<std::int64_t> slopes;
    for (std::size_t first = 0; first < kRuns; ++first) {
        for (std::size_t second = first + 1; second < kRuns; ++second) {
            slopes.push_back((figures.at(second) - figures.at(first)) /
                             static_cast<std::int64_t>(second - first));
        }
    }
    std::ranges::sort(slopes);
    return slopes[slopes.size() / 2];
}

// A line of the table of long runs: how much there was in each run, and by how much it may grow. Growth is
// held against its limit behind the runs: while the table is filled, caches of the system come and go.
class LongRunTest : public testing::Test
{
protected:
    // Memory may not grow by more than that from run to run.
    void CompareMemory(const std::string& what, const FiveRuns& runs, Figure<std::size_t> bytes,
                       std::int64_t mayGrow)
    {
        constexpr std::size_t kKilobyte = 1024;
        for (const auto& [state, words] : kStates) {
            const std::array<std::int64_t, kRuns> figures = Figures(runs, state, bytes, kKilobyte);
            const std::int64_t growth = Growth(figures);
            TellFigures(what + " (KB), " + words, figures,
                        std::to_string(growth) + " of at most " + std::to_string(mayGrow) + " KB a run");
            EXPECT_LE(state == &Measured::behind ? growth : 0, mayGrow) << what << ", " << words;
        }
    }

    // Things that are counted may never be more than in the first run by more than that, and behind a run not
    // grow from run to run.
    void CompareCount(const std::string& what, const FiveRuns& runs, Figure<DWORD> count,
                      std::int64_t mayGrow)
    {
        for (const auto& [state, words] : kStates) {
            const std::array<std::int64_t, kRuns> figures = Figures(runs, state, count, DWORD{1});
            TellFigures(what + ", " + words, figures, "at most " + std::to_string(mayGrow) + " more");
            const auto first = static_cast<std::int64_t>(runs[0].before.*count);
            EXPECT_LE(*std::ranges::max_element(figures), first + mayGrow) << what << ", " << words;
            EXPECT_LE(state == &Measured::behind ? Growth(figures) : 0, 0) << what << ", " << words;
        }
    }

    void CompareSilence(const FiveRuns& runs, DWORD longest)
    {
        std::array<std::int64_t, kRuns> figures{};
        std::ranges::transform(runs, figures.begin(), &Measured::longestSilence);
        TellFigures("longest time without an answer (ms)", figures, "below " + std::to_string(longest));
        EXPECT_LT(*std::ranges::max_element(figures), std::int64_t{longest});
    }

    void Tell(const std::string& line)
    {
        std::cout << line << "\n";
        RecordProperty("long_" + std::to_string(++m_lines), line);
    }

private:
    static constexpr std::array<std::pair<State, const char*>, 2> kStates{
        {{&Measured::before, "table filled"}, {&Measured::behind, "behind the run"}}};

    template <class Number>
    static std::array<std::int64_t, kRuns> Figures(const FiveRuns& runs, State state, Figure<Number> number,
                                                   Number unit)
    {
        std::array<std::int64_t, kRuns> figures{};
        std::ranges::transform(runs, figures.begin(), [&](const Measured& run) {
            return static_cast<std::int64_t>(run.*state.*number / unit);
        });
        EXPECT_GT(*std::ranges::min_element(figures), 0) << "the system does not tell";
        return figures;
    }

    void TellFigures(const std::string& what, const std::array<std::int64_t, kRuns>& figures,
                     const std::string& limit)
    {
        std::string line = what;
        for (const std::int64_t figure : figures) {
            line += " | " + std::to_string(figure);
        }
        Tell(line + " | " + limit);
    }

    int m_lines = 0;
};

// One run of many parts, with what the program holds before and behind it.
Measured MeasureRun(CLongRunner& runner, const CManyParts& many)
{
    Measured run;
    many.Library().RemoveMapped();
    runner.Fill(many);
    run.before = runner.Use();
    run.longestSilence = runner.Run();
    run.behind = runner.Use();
    many.ExpectWhole();
    return run;
}

// Runs of this many rows, behind one that loads all that a run takes.
FiveRuns MeasureRuns(const CManyParts& many)
{
    const CManyParts few(10);
    CLongRunner runner(few.Library());
    runner.Run();
    few.ExpectWhole();
    FiveRuns runs;
    for (Measured& run : runs) {
        run = MeasureRun(runner, many);
        runner.Fill(few);
    }
    return runs;
}

// One thing left behind by each row would be a
// hundred even in the short run; the system's caches come and go.
constexpr std::int64_t kKept = 4;

}  // namespace

TEST_F(LongRunTest, LeavesNothingBehindAndTheConnectedWindowAnswers)
{
    constexpr DWORD kLongestSilence = 500;  // milliseconds; a person takes a window for hung soon after
    constexpr std::int64_t kMayGrow = 64;   // KB a run
    const CManyParts many(EveryFault() ? 10'000 : 100);
    const FiveRuns runs = MeasureRuns(many);
    RecordProperty("long_rows", std::to_string(many.Count()));
    RecordProperty("long_configurations", std::to_string(many.Configurations()));
    CompareMemory("private memory", runs, &ResourceUse::privateBytes, kMayGrow);
    CompareMemory("working set", runs, &ResourceUse::workingSet, kMayGrow);
    constexpr std::int64_t kKeptGdiObjects = 8;  // Wine 10's caches of brushes and fonts hold five
    CompareCount("open handles", runs, &ResourceUse::handles, kKept);
    CompareCount("GDI objects", runs, &ResourceUse::gdiObjects, kKeptGdiObjects);
    CompareCount("windows", runs, &ResourceUse::windows, 0);
    CompareSilence(runs, kLongestSilence);
}

TEST_F(LongRunTest, LeavesNoUserObjectsBehind)
{
    if (UseOf(GetCurrentProcess()).userObjects == 0) {
        GTEST_SKIP() << "skipped: this system does not count USER objects, as Wine does not";
    }
    CompareCount("USER objects", MeasureRuns(CManyParts(100)), &ResourceUse::userObjects, kKept);
}
