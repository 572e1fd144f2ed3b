#include "cad/BomEntryWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

#include "framework/OleException.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/TestScopes.h"

namespace {

using namespace automation;

const std::wstring kPath = L"C:\\lib\\Mapped\\a.sldprt";

// The events of one file

EventLog Opening(const std::wstring& path = kPath, const std::wstring& type = L"1")
{
    return {
        L"application SetDocumentVisibility method BOOL=0 I4=" + type,
        L"application OpenDocument method BSTR=" + path + L" I4=" + type + L" BOOL=0 BOOL=0 BOOL=-1 &I4=0"};
}

const EventLog kReadingNames{L"document GetConfigurationCount method",
                             L"document GetConfigurationNames method", L"read overall bar"};

EventLog Bars(int file, int overall)
{
    return {L"file bar " + std::to_wstring(file), L"overall bar " + std::to_wstring(overall)};
}

// A refresh of the progress dialog
std::wstring Screen(const std::wstring& configuration, const std::wstring& bomName)
{
    return L"screen [][" + expected::kCurrentConfiguration.Current() + configuration + L"][" +
           expected::kNewBomEntry.Current() + bomName + L"]";
}
std::wstring SavingScreen()
{
    return L"screen [][" + expected::kSavingFile.Current() + L"][]";
}

// The events up to the request for the configuration object
EventLog Showing(const std::wstring& name)
{
    return {Screen(name, L"Norm 4017 - " + name), L"document GetConfiguration method BSTR=" + name};
}

EventLog Writing(const std::wstring& name)
{
    return {L"configuration " + name + L" UseAlternativeBomName put BOOL=-1",
            L"configuration " + name + L" AlternativeBomName put BSTR=Norm 4017 - " + name, L"message"};
}

EventLog Saving()
{
    return {L"disable cancel", SavingScreen(), L"document Save method BOOL=-1"};
}

EventLog Closing(const std::wstring& path = kPath, const std::wstring& type = L"1")
{
    return {L"application CloseDocument method BSTR=" + path, L"enable cancel",
            L"application SetDocumentVisibility method BOOL=-1 I4=" + type};
}

// A CAD system with one document. Unless a test says otherwise, opening succeeds with code 0 and the document
// has one configuration, "Default".
class BomEntryWriterTest : public testing::Test
{
protected:
    BomEntryWriterTest()
    {
        m_application.AttachDispatch(m_applicationObject.Reference());
        OpenAnswers(&m_document, 0);
        m_document.On(kGetConfiguration, [this](FakeCall& call) {
            return AnswerObject(Configuration(call.Argument(0).bstrVal))(call);
        });
        m_document.On(kSave, AnswerLong(0));
        HasConfigurations({L"Default"});
    }

    void TearDown() override
    {
        EXPECT_EQ(m_document.References(), 0);
        for (const auto& [name, configuration] : m_configurations) {
            EXPECT_EQ(configuration.References(), 0);
        }
        EXPECT_EQ(m_applicationObject.References(), 1);
    }

    void OpenAnswers(CFakeDispatch* document, long code)
    {
        m_applicationObject.On(kOpenDocument, [document, code](FakeCall& call) {
            *call.Argument(5).plVal = code;
            return AnswerObject(document)(call);
        });
    }

    void HasConfigurations(const std::vector<std::wstring>& names)
    {
        m_document.On(kGetConfigurationCount, AnswerLong(static_cast<long>(names.size())));
        m_document.On(kGetConfigurationNames, AnswerStrings(names));
    }

    // Creates the configuration of this name at the first call. Returns null for m_missingConfiguration.
    CFakeDispatch* Configuration(const std::wstring& name)
    {
        if (name == m_missingConfiguration) {
            return nullptr;
        }
        return &m_configurations.try_emplace(name, L"configuration " + name, m_log).first->second;
    }

    int Write(const std::wstring& path = kPath, float fileShare = 50.0F, int fileNumber = 1)
    {
        return CBomEntryWriter(m_application, m_progress, path, m_fields, m_template, fileShare, fileNumber)
            .Run();
    }

    [[nodiscard]] EventLog Lines(const std::wstring& beginning) const
    {
        EventLog lines;
        std::ranges::copy_if(m_log, std::back_inserter(lines),
                             [&beginning](const std::wstring& line) { return line.starts_with(beginning); });
        return lines;
    }

    const CLanguageScope m_english{0};
    EventLog m_log;
    CFakeDispatch m_applicationObject{L"application", m_log};
    CFakeDispatch m_document{L"document", m_log};
    std::map<std::wstring, CFakeDispatch> m_configurations;
    std::wstring m_missingConfiguration = L"(missing)";
    CFakeProgress m_progress{m_log};
    CSldWorksApplication m_application;
    PartNameValues m_fields{L"4017", L"4017x", L"M10x50", L"N_ISO_", L"sldprt", L"one", L"two"};
    std::wstring m_template = L"Norm %1 - %2";
};

TEST_F(BomEntryWriterTest, WritesAPartWithOneConfiguration)
{
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(m_log, Opening() + kReadingNames + Bars(0, 0) + Showing(L"Default") + Writing(L"Default") +
                         Bars(100, 50) + Saving() + Closing());
}

TEST_F(BomEntryWriterTest, WritesEveryConfigurationInTheOrderGiven)
{
    HasConfigurations({L"b", L"a", L"ü / @"});
    m_progress.m_overallPosition = 33;
    EXPECT_EQ(Write(kPath, 100.0F / 3.0F, 2), 3);
    EXPECT_EQ(m_log, Opening() + kReadingNames + Bars(0, 33) + Showing(L"b") + Writing(L"b") + Bars(33, 44) +
                         Showing(L"a") + Writing(L"a") + Bars(66, 55) + Showing(L"ü / @") +
                         Writing(L"ü / @") + Bars(100, 66) + Saving() + Closing());
}

TEST_F(BomEntryWriterTest, NothingIsSavedWithoutConfigurationsButTheDocumentIsClosed)
{
    for (const long count : {0L, -3L}) {
        m_log.clear();
        m_document.On(kGetConfigurationCount, AnswerLong(count));
        m_document.On(kGetConfigurationNames, AnswerStrings({L"Default"}));
        EXPECT_EQ(Write(), count);
        EXPECT_EQ(m_log, Opening() + kReadingNames + Closing());
    }
}

TEST_F(BomEntryWriterTest, ShowsItsTextsInGerman)
{
    const CLanguageScope german(1);
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Lines(L"screen"), (EventLog{Screen(L"Default", L"Norm 4017 - Default"), SavingScreen()}));
}

// A path, and the document type that the calls for visibility and opening must get.
struct TypeOfPath
{
    const wchar_t* path;
    long type;
};

TEST_F(BomEntryWriterTest, TheTypeFollowsTheTextAfterTheLastDot)
{
    for (const auto& [path, type] : std::vector<TypeOfPath>{{L"C:\\lib\\x.sldprt", 1},
                                                            {L"C:\\lib\\x.sldasm", 2},
                                                            {L"C:\\lib\\x.SLDASM", 2},
                                                            {L"C:\\lib\\x.sldasmold", 2},
                                                            {L"C:\\lib\\x.sldasm.bak", 1},
                                                            {L"C:\\lib\\x.sldas", 1},
                                                            {L"C:\\lib\\x.asldasm", 1},
                                                            {L"C:\\lib\\x.", 1},
                                                            {L"C:\\lib\\sldasm", 1},
                                                            {L"C:\\lib.sldasm\\x", 2},
                                                            {L"C:\\lib.1\\sldasm", 1}}) {
        m_log.clear();
        Write(path);
        EventLog calls = Opening(path, std::to_wstring(type)) + Closing(path, std::to_wstring(type));
        std::erase(calls, L"enable cancel");
        EXPECT_EQ(Lines(L"application"), calls);
    }
}

TEST_F(BomEntryWriterTest, ADocumentThatDoesNotOpenEndsItWithVisibilityOff)
{
    const EventLog expected = Opening();
    for (const long code : {0L, 1L, 128L, -1L}) {
        m_log.clear();
        OpenAnswers(nullptr, code);
        EXPECT_EQ(Write(), 0);
        EXPECT_EQ(m_log, expected);
    }
    for (const long code : {1L, 2L, 127L, 129L, 256L, 384L, 2147483647L}) {
        m_log.clear();
        OpenAnswers(&m_document, code);
        EXPECT_EQ(Write(), 0);
        EXPECT_EQ(m_log, expected);
        EXPECT_EQ(m_document.References(), 0);
    }
}

TEST_F(BomEntryWriterTest, Method17IsCalledWhenTheCodeHasBit128)
{
    struct Case
    {
        long code;
        bool called;
    };
    // In two's complement, -1 has every bit set. -128 and -100 (…1001'1100) have bit 128 set, -129
    // (…0111'1111) does not.
    for (const auto& [code, called] : {Case{0, false}, Case{128, true}, Case{-1, true}, Case{-128, true},
                                       Case{-100, true}, Case{-129, false}}) {
        m_log.clear();
        OpenAnswers(&m_document, code);
        EXPECT_EQ(Write(), 1) << code;
        EventLog expected{L"document GetConfigurationCount method", L"document GetConfigurationNames method",
                          L"document GetConfiguration method BSTR=Default", L"document Save method BOOL=-1"};
        if (called) {
            expected.insert(expected.begin(), L"document CallMethod17 method");
        }
        EXPECT_EQ(Lines(L"document"), expected) << code;
    }
}

TEST_F(BomEntryWriterTest, TheDocumentIsHeldTwiceAndReleasedBeforeItIsClosed)
{
    int heldWhileSaving = 0;
    int heldWhileClosing = -1;
    m_document.On(kSave, [&](FakeCall& call) {
        heldWhileSaving = m_document.References();
        return AnswerLong(0)(call);
    });
    m_applicationObject.On(kCloseDocument, [&](FakeCall&) {
        heldWhileClosing = m_document.References();
        return S_OK;
    });
    Write();
    EXPECT_EQ(heldWhileSaving, 2);
    EXPECT_EQ(heldWhileClosing, 0);
}

TEST_F(BomEntryWriterTest, AConfigurationIsHeldUntilTheMessageIsHandled)
{
    int held = 0;
    m_progress.m_onMessage = [&] { held = Configuration(L"Default")->References(); };
    Write();
    EXPECT_EQ(held, 1);
}

TEST_F(BomEntryWriterTest, AMissingConfigurationEndsItWithTheDocumentOpenAndUnsaved)
{
    HasConfigurations({L"a", L"b", L"c"});
    m_missingConfiguration = L"b";
    EXPECT_EQ(Write(), 0);
    EXPECT_EQ(m_log, Opening() + kReadingNames + Bars(0, 0) + Showing(L"a") + Writing(L"a") + Bars(33, 16) +
                         Showing(L"b"));
}

// The notes for the record of the run. Steps are numbered from 0: opening, reading, writing, saving, closing.

TEST_F(BomEntryWriterTest, NotesEachStepAndItsResult)
{
    HasConfigurations({L"a", L"b"});
    OpenAnswers(&m_document, 128);
    m_document.On(kSave, AnswerLong(5));
    Write();
    EXPECT_EQ(m_progress.m_notes,
              (EventLog{L"step 0", L"opened 128", L"step 1", L"configurations 2", L"a", L"b", L"step 2",
                        L"written", L"written", L"step 3", L"saved 5", L"step 4"}));
}

TEST_F(BomEntryWriterTest, NotesWhatEndsIt)
{
    for (const long code : {0L, 3L}) {
        m_progress.m_notes.clear();
        OpenAnswers(nullptr, code);
        Write();
        EXPECT_EQ(m_progress.m_notes, (EventLog{L"step 0", L"not opened " + std::to_wstring(code)}));
    }
    m_progress.m_notes.clear();
    OpenAnswers(&m_document, 129);
    Write();
    EXPECT_EQ(m_progress.m_notes, (EventLog{L"step 0", L"not opened 129"}))
        << "although the call returned a document";
    m_progress.m_notes.clear();
    OpenAnswers(&m_document, 0);
    HasConfigurations({L"a", L"b"});
    m_missingConfiguration = L"b";
    Write();
    EXPECT_EQ(m_progress.m_notes, (EventLog{L"step 0", L"opened 0", L"step 1", L"configurations 2", L"a",
                                            L"b", L"step 2", L"written"}));
}

TEST_F(BomEntryWriterTest, NotesNoSaveWithoutConfigurations)
{
    HasConfigurations({});
    Write();
    EXPECT_EQ(m_progress.m_notes,
              (EventLog{L"step 0", L"opened 0", L"step 1", L"configurations 0", L"step 2", L"step 4"}));
}

TEST_F(BomEntryWriterTest, EveryFillInButFiveAndSixIsFilled)
{
    m_template = L"%1|%2|%3|%4|%5|%6|%7|%8|%9|%1";
    Write();
    EXPECT_EQ(Lines(L"configuration Default AlternativeBomName"),
              EventLog{L"configuration Default AlternativeBomName put "
                       L"BSTR=4017|Default|4017x|M10x50|%5|%6|one|two|%9|4017"});
}

TEST_F(BomEntryWriterTest, AFilledTextIsFilledAgainByLaterFillIns)
{
    HasConfigurations({L"M8 %4"});
    m_fields.strSize = L"%8%1";
    Write();
    EXPECT_EQ(Lines(L"configuration M8 %4 AlternativeBomName"),
              EventLog{L"configuration M8 %4 AlternativeBomName put BSTR=Norm 4017 - M8 two%1"});
}

TEST_F(BomEntryWriterTest, WhiteSpaceAroundTheNameIsTrimmed)
{
    m_template = L" \t %1 - %2 \r\n";
    HasConfigurations({L"a "});
    Write();
    EXPECT_EQ(Lines(L"configuration"), (EventLog{L"configuration a  UseAlternativeBomName put BOOL=-1",
                                                 L"configuration a  AlternativeBomName put BSTR=4017 - a"}));
}

TEST_F(BomEntryWriterTest, AnEmptyNameTurnsTheAlternativeNameOffAndShowsTheFileName)
{
    HasConfigurations({L"a", L"b"});
    for (const wchar_t* const empty : {L"", L" \t ", L"%7"}) {
        m_log.clear();
        m_fields.strExtra1.clear();
        m_template = empty;
        EXPECT_EQ(Write(), 2);
        EXPECT_EQ(Lines(L"configuration"), (EventLog{L"configuration a UseAlternativeBomName put BOOL=0",
                                                     L"configuration b UseAlternativeBomName put BOOL=0"}));
        EXPECT_EQ(Lines(L"screen"),
                  (EventLog{Screen(L"a", L"a.sldprt"), Screen(L"b", L"a.sldprt"), SavingScreen()}));
    }
}

TEST_F(BomEntryWriterTest, APathWithoutBackslashIsShownWhole)
{
    m_template.clear();
    Write(L"a/b.sldprt");
    EXPECT_EQ(Lines(L"screen").front(), Screen(L"Default", L"a/b.sldprt"));
}

TEST_F(BomEntryWriterTest, TheFileBarIsComputedInSinglePrecision)
{
    m_document.On(kGetConfigurationCount, AnswerLong(100));
    m_document.On(kGetConfigurationNames, AnswerStrings(std::vector<std::wstring>(100, L"c")));
    EXPECT_EQ(Write(), 100);
    const EventLog bars = Lines(L"file bar");
    ASSERT_EQ(bars.size(), 101U);
    // The float nearest to 0.29 is 0.28999999. Its product with 100 rounds to 29. In double precision, the
    // product would stay below 29.
    EXPECT_EQ(bars[29], L"file bar 29");
    // The float nearest to 0.53 is 0.52999997. Its product with 100 stays below 53.
    EXPECT_EQ(bars[53], L"file bar 52");
    EXPECT_EQ(bars[99], L"file bar 99");
    EXPECT_EQ(bars[100], L"file bar 100");
}

TEST_F(BomEntryWriterTest, TheOverallBarIsComputedInSinglePrecision)
{
    HasConfigurations({L"a", L"b", L"c", L"d"});
    Write(kPath, 100.0F / 3.0F, 1);
    // 3 × 33.333332 lies half-way between 100 and the float below 100, and rounds to 100. A quarter of 100 is
    // 25. In double precision, the result would be 24.99…
    EXPECT_EQ(Lines(L"overall bar"), (EventLog{L"overall bar 0", L"overall bar 8", L"overall bar 16",
                                               L"overall bar 25", L"overall bar 33"}));
}

TEST_F(BomEntryWriterTest, TheOverallBarIsReadOnlyOnce)
{
    HasConfigurations({L"a", L"b"});
    m_progress.m_overallPosition = 10;
    Write(kPath, 20.0F, 3);
    EXPECT_EQ(Lines(L"read overall bar").size(), 1U);
    EXPECT_EQ(Lines(L"overall bar"), (EventLog{L"overall bar 10", L"overall bar 20", L"overall bar 60"}));
}

TEST_F(BomEntryWriterTest, NoMoreNamesThanCountedAreUsed)
{
    m_document.On(kGetConfigurationCount, AnswerLong(2));
    m_document.On(kGetConfigurationNames, AnswerStrings({L"a", L"b", L"c"}));
    EXPECT_EQ(Write(), 2);
    EXPECT_EQ(Lines(L"document GetConfiguration "), (EventLog{L"document GetConfiguration method BSTR=a",
                                                              L"document GetConfiguration method BSTR=b"}));
}

TEST_F(BomEntryWriterTest, FewerNamesThanCountedAreAllUsedAndTheCountIsReturned)
{
    m_document.On(kGetConfigurationCount, AnswerLong(4));
    m_document.On(kGetConfigurationNames, AnswerStrings({L"a", L"b"}));
    EXPECT_EQ(Write(kPath, 100.0F, 1), 4);
    EXPECT_EQ(Lines(L"document GetConfiguration "), (EventLog{L"document GetConfiguration method BSTR=a",
                                                              L"document GetConfiguration method BSTR=b"}));
    EXPECT_EQ(Lines(L"file bar"), (EventLog{L"file bar 0", L"file bar 25", L"file bar 100"}));
    EXPECT_EQ(Lines(L"document Save").size(), 1U);
}

TEST_F(BomEntryWriterTest, TheLowerBoundOfTheNamesDoesNotMatter)
{
    for (const LONG lowerBound : {1L, -5L, 2147483646L}) {
        m_log.clear();
        m_document.On(kGetConfigurationCount, AnswerLong(2));
        m_document.On(kGetConfigurationNames, AnswerStrings({L"a", L"b"}, lowerBound));
        EXPECT_EQ(Write(), 2);
        EXPECT_EQ(Lines(L"document GetConfiguration "),
                  (EventLog{L"document GetConfiguration method BSTR=a",
                            L"document GetConfiguration method BSTR=b"}));
    }
}

TEST_F(BomEntryWriterTest, ANullElementIsAnEmptyName)
{
    m_document.On(kGetConfigurationNames, [](FakeCall& call) {
        AnswerStrings({L"gone"})(call);
        SysFreeString(std::exchange(static_cast<BSTR*>(call.result->parray->pvData)[0], nullptr));
        return S_OK;
    });
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Lines(L"document GetConfiguration "), EventLog{L"document GetConfiguration method BSTR="});
}

// Returns an array of `held` elements in a variant that claims to hold `claimed` elements.
CFakeDispatch::Handler AnswerArray(VARTYPE claimed, VARTYPE held, UINT dimensions)
{
    return [=](FakeCall& call) {
        std::vector<SAFEARRAYBOUND> bounds(dimensions, SAFEARRAYBOUND{2, 0});
        call.result->vt = static_cast<VARTYPE>(VT_ARRAY | claimed);
        call.result->parray = SafeArrayCreate(held, dimensions, bounds.data());
        return S_OK;
    };
}

CFakeDispatch::Handler AnswerVariantOfType(VARTYPE type)
{
    return [type](FakeCall& call) {
        call.result->vt = type;
        return S_OK;
    };
}

TEST_F(BomEntryWriterTest, NamesThatAreNoArrayOfStringsAreNoneButTheDocumentIsSaved)
{
    const std::vector<CFakeDispatch::Handler> answers{
        AnswerVariantOfType(VT_EMPTY),
        AnswerVariantOfType(VT_NULL),
        AnswerVariantOfType(VT_BSTR),                        // a null string
        AnswerVariantOfType(VT_ARRAY | VT_BSTR),             // a null array
        AnswerVariantOfType(VT_BYREF | VT_ARRAY | VT_BSTR),  // a null reference
        [](FakeCall& call) {
            static SAFEARRAY* noArray = nullptr;
            call.result->vt = VT_BYREF | VT_ARRAY | VT_BSTR;
            call.result->pparray = &noArray;
            return S_OK;
        },
        [](FakeCall& call) {
            call.result->vt = VT_BSTR;
            call.result->bstrVal = SysAllocString(L"Default");
            return S_OK;
        },
        AnswerLong(1),
        AnswerArray(VT_VARIANT, VT_VARIANT, 1),
        AnswerArray(VT_I4, VT_I4, 1),
        AnswerArray(VT_BSTR, VT_BSTR, 2),
        AnswerArray(VT_BSTR, VT_I4, 1),
    };
    for (std::size_t index = 0; index < answers.size(); ++index) {
        m_log.clear();
        m_document.On(kGetConfigurationNames, answers[index]);
        EXPECT_EQ(Write(), 1) << index;
        EXPECT_EQ(Lines(L"document"),
                  (EventLog{L"document GetConfigurationCount method",
                            L"document GetConfigurationNames method", L"document Save method BOOL=-1"}))
            << index;
        EXPECT_EQ(Lines(L"application CloseDocument").size(), 1U) << index;
    }
}

TEST_F(BomEntryWriterTest, NamesByReferenceAreRead)
{
    VARIANT held{};
    const DISPPARAMS none{};
    FakeCall holding{none, &held, nullptr};
    AnswerStrings({L"a", L"b"}, 7)(holding);
    m_document.On(kGetConfigurationCount, AnswerLong(2));
    m_document.On(kGetConfigurationNames, [&held](FakeCall& call) {
        call.result->vt = VT_BYREF | VT_ARRAY | VT_BSTR;
        call.result->pparray = &held.parray;
        return S_OK;
    });
    for (int time = 0; time < 2; ++time) {  // the first pass must not free the array
        m_log.clear();
        EXPECT_EQ(Write(), 2);
        EXPECT_EQ(Lines(L"document GetConfiguration "),
                  (EventLog{L"document GetConfiguration method BSTR=a",
                            L"document GetConfiguration method BSTR=b"}));
    }
    EXPECT_EQ(VariantClear(&held), S_OK);
}

TEST_F(BomEntryWriterTest, WhateverSavingReturnsTheDocumentIsClosed)
{
    const std::vector<CFakeDispatch::Handler> answers{
        AnswerLong(-1),
        AnswerVariantOfType(VT_EMPTY),
        AnswerVariantOfType(VT_NULL),
        AnswerVariantOfType(VT_ERROR),
        AnswerVariantOfType(VT_DISPATCH),  // no object
        AnswerObject(&m_document),
        AnswerStrings({L"saved"}),
        [](FakeCall& call) {
            call.result->vt = VT_BSTR;
            call.result->bstrVal = SysAllocString(L"saved");
            return S_OK;
        },
    };
    for (std::size_t index = 0; index < answers.size(); ++index) {
        m_log.clear();
        m_document.On(kSave, answers[index]);
        EXPECT_EQ(Write(), 1) << index;
        EXPECT_EQ(Lines(L"application CloseDocument").size(), 1U) << index;
        EXPECT_EQ(m_log.back(), L"application SetDocumentVisibility method BOOL=-1 I4=1") << index;
        EXPECT_EQ(m_document.References(), 0) << index;
    }
}

// A user who presses Cancel and answers the questions.
class BomEntryWriterCancelTest : public BomEntryWriterTest
{
protected:
    BomEntryWriterCancelTest()
    {
        HasConfigurations({L"a", L"b", L"c", L"d"});
        m_progress.m_onMessage = [this] {
            if (++m_messages >= m_firstPress) {
                m_progress.m_cancelled = true;
            }
        };
    }

    int m_firstPress = 1;  // the user presses Cancel at this message (from 1) and at each later message
    int m_messages = 0;
    std::deque<int> m_answers;
    CMessageRecorder m_user{[this] {
        m_log.emplace_back(L"question");
        const int answer = m_answers.empty() ? IDNO : m_answers.front();
        if (!m_answers.empty()) {
            m_answers.pop_front();
        }
        return answer;
    }};
};

TEST_F(BomEntryWriterCancelTest, YesFinishesTheFileKeepsTheFlagAndAsksNoMore)
{
    m_firstPress = 2;
    m_answers = {IDYES};
    EXPECT_EQ(Write(), 4);
    EXPECT_TRUE(m_progress.m_cancelled);
    EXPECT_EQ(m_user.m_boxes.size(), 1U);
    EXPECT_EQ(Lines(L"document GetConfiguration ").size(), 4U);
    EXPECT_EQ(Lines(L"document Save").size(), 1U);
    EXPECT_EQ(Lines(L"clear cancel").size(), 0U);
    EXPECT_EQ(m_log.back(), L"application SetDocumentVisibility method BOOL=-1 I4=1");
}

TEST_F(BomEntryWriterCancelTest, NothingIsAskedWhenTheSessionEnds)
{
    m_progress.m_sessionEnding = true;
    EXPECT_EQ(Write(), 4);
    EXPECT_TRUE(m_user.m_boxes.empty());
    EXPECT_EQ(Lines(L"document Save").size(), 1U) << "the file is finished";
}

TEST_F(BomEntryWriterCancelTest, NoClearsTheFlagAndTheNextPressAsksAgain)
{
    m_firstPress = 3;
    m_answers = {IDNO, IDYES};
    EXPECT_EQ(Write(), 4);
    EXPECT_TRUE(m_progress.m_cancelled);
    EXPECT_EQ(m_user.m_boxes.size(), 2U);
    EXPECT_EQ(Lines(L"clear cancel").size(), 1U);
    EXPECT_EQ(Lines(L"document GetConfiguration ").size(), 4U);
}

TEST_F(BomEntryWriterCancelTest, NoAtTheLastConfigurationLeavesNoFlag)
{
    m_firstPress = 4;
    m_answers = {IDNO};
    EXPECT_EQ(Write(), 4);
    EXPECT_FALSE(m_progress.m_cancelled);
    EXPECT_EQ(Lines(L"document Save").size(), 1U);
}

TEST_F(BomEntryWriterCancelTest, TheNextFileAsksAnew)
{
    m_answers = {IDYES, IDYES};
    Write();
    Write();
    EXPECT_EQ(m_user.m_boxes.size(), 2U);
}

TEST_F(BomEntryWriterCancelTest, TheQuestionComesAfterTheMessageAndBeforeTheNextConfiguration)
{
    m_answers = {IDYES};
    Write();
    const auto question = std::ranges::find(m_log, L"question");
    ASSERT_NE(question, m_log.end());
    EXPECT_EQ(*(question - 1), L"message");
    EXPECT_EQ(*(question - 2), L"configuration a AlternativeBomName put BSTR=Norm 4017 - a");
    EXPECT_EQ(*(question + 1), L"file bar 25");
}

TEST_F(BomEntryWriterCancelTest, TheQuestionIsAskedInBothLanguages)
{
    m_answers = {IDYES, IDYES};
    Write();
    const CLanguageScope german(1);
    Write();
    ASSERT_EQ(m_user.m_boxes.size(), 2U);
    EXPECT_EQ(m_user.m_boxes[0].text, expected::kReallyCancel.english);
    EXPECT_EQ(m_user.m_boxes[1].text, expected::kReallyCancel.german);
    for (const MessageRequest& box : m_user.m_boxes) {
        EXPECT_EQ(box.type, UINT{MB_YESNO | MB_ICONQUESTION});
    }
}

// Every call fails in turn: the failure reaches the caller, no call follows, and every reference is released.
TEST_F(BomEntryWriterTest, AFailingCallEndsItWithEverythingReleased)
{
    struct Case
    {
        CFakeDispatch* object;
        DISPID member;
        const wchar_t* lastCall;
    };
    const std::vector<Case> cases{
        {&m_applicationObject, kSetDocumentVisibility,
         L"application SetDocumentVisibility method BOOL=0 I4=1"},
        {&m_applicationObject, kOpenDocument,
         L"application OpenDocument method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0"},
        {&m_document, kCallMethod17, L"document CallMethod17 method"},
        {&m_document, kGetConfigurationCount, L"document GetConfigurationCount method"},
        {&m_document, kGetConfigurationNames, L"document GetConfigurationNames method"},
        {&m_document, kGetConfiguration, L"document GetConfiguration method BSTR=Default"},
        {Configuration(L"Default"), kUseAlternativeBomName,
         L"configuration Default UseAlternativeBomName put BOOL=-1"},
        {Configuration(L"Default"), kAlternativeBomName,
         L"configuration Default AlternativeBomName put BSTR=Norm 4017 - Default"},
        {&m_document, kSave, L"document Save method BOOL=-1"},
        {&m_applicationObject, kCloseDocument,
         L"application CloseDocument method BSTR=C:\\lib\\Mapped\\a.sldprt"},
    };
    for (const Case& failing : cases) {
        OpenAnswers(&m_document, 128);
        HasConfigurations({L"Default"});
        m_document.On(kGetConfiguration, AnswerObject(Configuration(L"Default")));
        for (const bool isException : {true, false}) {
            m_log.clear();
            failing.object->On(failing.member, isException ? RaiseException(L"Server", L"Broken", nullptr, 0)
                                                           : Fail(RPC_E_DISCONNECTED));
            if (isException) {
                EXPECT_THROW(Write(), COleDispatchException) << failing.member;
            } else {
                EXPECT_THROW(Write(), COleException) << failing.member;
            }
            EXPECT_EQ(m_log.back(), failing.lastCall);
            EXPECT_EQ(m_document.References(), 0) << failing.member;
            EXPECT_EQ(Configuration(L"Default")->References(), 0) << failing.member;
        }
        failing.object->On(
            failing.member, failing.member == kSave ? AnswerLong(0) : [](FakeCall&) { return S_OK; });
    }
}

}  // namespace
