#include "cad/BomEntryWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

#include "framework/OleException.h"
#include "tests/support/FakeAutomation.h"

namespace {

constexpr DISPID kClose = 7;
constexpr DISPID kVisibility = 24;
constexpr DISPID kOpen = 99;
constexpr DISPID kCount = 65971;
constexpr DISPID kNames = 65972;
constexpr DISPID kSave = 66019;
constexpr DISPID kConfiguration = 66048;
constexpr DISPID kPutName = 5;

const std::wstring kPath = L"C:\\lib\\Mapped\\a.sldprt";

// A CAD system with one document. Unless a test says otherwise, opening succeeds with code 0 and the document
// has one configuration, "Default".
class BomEntryWriterTest : public testing::Test
{
protected:
    BomEntryWriterTest()
    {
        m_application.AttachDispatch(m_applicationObject.Reference());
        OpenAnswers(&m_document, 0);
        m_document.On(kConfiguration, [this](FakeCall& call) {
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
        m_applicationObject.On(kOpen, [document, code](FakeCall& call) {
            *call.Argument(5).plVal = code;
            return AnswerObject(document)(call);
        });
    }

    void HasConfigurations(const std::vector<std::wstring>& names)
    {
        m_document.On(kCount, AnswerLong(static_cast<long>(names.size())));
        m_document.On(kNames, AnswerStrings(names));
    }

    // The configuration of a name, made at its first use; null for the name that the document lacks.
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

    // The logged lines that begin so.
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
    EXPECT_EQ(m_log,
              (EventLog{
                  L"application 24 method BOOL=0 I4=1",
                  L"application 99 method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                  L"document 65971 method",
                  L"document 65972 method",
                  L"read overall bar",
                  L"file bar 0",
                  L"overall bar 0",
                  L"screen [][Current Configuration:  Default][Set new BOM entry:  Norm 4017 - Default]",
                  L"document 66048 method BSTR=Default",
                  L"configuration Default 6 put BOOL=-1",
                  L"configuration Default 5 put BSTR=Norm 4017 - Default",
                  L"message",
                  L"file bar 100",
                  L"overall bar 50",
                  L"disable cancel",
                  L"screen [][Saving file...][]",
                  L"document 66019 method BOOL=-1",
                  L"application 7 method BSTR=C:\\lib\\Mapped\\a.sldprt",
                  L"enable cancel",
                  L"application 24 method BOOL=-1 I4=1",
              }));
}

TEST_F(BomEntryWriterTest, WritesEveryConfigurationInTheOrderGiven)
{
    HasConfigurations({L"b", L"a", L"ü / @"});
    m_progress.m_overallPosition = 33;
    EXPECT_EQ(Write(kPath, 100.0F / 3.0F, 2), 3);
    EXPECT_EQ(m_log,
              (EventLog{
                  L"application 24 method BOOL=0 I4=1",
                  L"application 99 method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                  L"document 65971 method",
                  L"document 65972 method",
                  L"read overall bar",
                  L"file bar 0",
                  L"overall bar 33",
                  L"screen [][Current Configuration:  b][Set new BOM entry:  Norm 4017 - b]",
                  L"document 66048 method BSTR=b",
                  L"configuration b 6 put BOOL=-1",
                  L"configuration b 5 put BSTR=Norm 4017 - b",
                  L"message",
                  L"file bar 33",
                  L"overall bar 44",
                  L"screen [][Current Configuration:  a][Set new BOM entry:  Norm 4017 - a]",
                  L"document 66048 method BSTR=a",
                  L"configuration a 6 put BOOL=-1",
                  L"configuration a 5 put BSTR=Norm 4017 - a",
                  L"message",
                  L"file bar 66",
                  L"overall bar 55",
                  L"screen [][Current Configuration:  ü / @][Set new BOM entry:  Norm 4017 - ü / @]",
                  L"document 66048 method BSTR=ü / @",
                  L"configuration ü / @ 6 put BOOL=-1",
                  L"configuration ü / @ 5 put BSTR=Norm 4017 - ü / @",
                  L"message",
                  L"file bar 100",
                  L"overall bar 66",
                  L"disable cancel",
                  L"screen [][Saving file...][]",
                  L"document 66019 method BOOL=-1",
                  L"application 7 method BSTR=C:\\lib\\Mapped\\a.sldprt",
                  L"enable cancel",
                  L"application 24 method BOOL=-1 I4=1",
              }));
}

TEST_F(BomEntryWriterTest, NothingIsSavedWithoutConfigurationsButTheDocumentIsClosed)
{
    for (const long count : {0L, -3L}) {
        m_log.clear();
        m_document.On(kCount, AnswerLong(count));
        m_document.On(kNames, AnswerStrings({L"Default"}));
        EXPECT_EQ(Write(), count);
        EXPECT_EQ(
            m_log,
            (EventLog{
                L"application 24 method BOOL=0 I4=1",
                L"application 99 method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                L"document 65971 method",
                L"document 65972 method",
                L"read overall bar",
                L"application 7 method BSTR=C:\\lib\\Mapped\\a.sldprt",
                L"enable cancel",
                L"application 24 method BOOL=-1 I4=1",
            }));
    }
}

TEST_F(BomEntryWriterTest, ShowsItsTextsInGerman)
{
    const CLanguageScope german(1);
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(
        Lines(L"screen"),
        (EventLog{
            L"screen [][Aktuelle Konfiguration:  Default][Setze neuen Stückl.-Eintrag:  Norm 4017 - Default]",
            L"screen [][Schreibe Datei...][]"}));
}

// The type that the visibility and open calls get for a path.
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
        const std::wstring typeText = std::to_wstring(type);
        EXPECT_EQ(Lines(L"application"), (EventLog{
                                             L"application 24 method BOOL=0 I4=" + typeText,
                                             L"application 99 method BSTR=" + std::wstring(path) + L" I4=" +
                                                 typeText + L" BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                                             L"application 7 method BSTR=" + std::wstring(path),
                                             L"application 24 method BOOL=-1 I4=" + typeText,
                                         }));
    }
}

TEST_F(BomEntryWriterTest, ADocumentThatDoesNotOpenEndsItWithVisibilityOff)
{
    const EventLog expected{
        L"application 24 method BOOL=0 I4=1",
        L"application 99 method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
    };
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
    // -1 has every bit, -128 and -100 (…1001'1100 in two's complement) have bit 128, -129 (…0111'1111) has
    // not.
    for (const auto& [code, called] : {Case{0, false}, Case{128, true}, Case{-1, true}, Case{-128, true},
                                       Case{-100, true}, Case{-129, false}}) {
        m_log.clear();
        OpenAnswers(&m_document, code);
        EXPECT_EQ(Write(), 1) << code;
        EventLog expected{L"document 65971 method", L"document 65972 method",
                          L"document 66048 method BSTR=Default", L"document 66019 method BOOL=-1"};
        if (called) {
            expected.insert(expected.begin(), L"document 17 method");
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
    m_applicationObject.On(kClose, [&](FakeCall&) {
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
    EXPECT_EQ(m_log,
              (EventLog{
                  L"application 24 method BOOL=0 I4=1",
                  L"application 99 method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                  L"document 65971 method",
                  L"document 65972 method",
                  L"read overall bar",
                  L"file bar 0",
                  L"overall bar 0",
                  L"screen [][Current Configuration:  a][Set new BOM entry:  Norm 4017 - a]",
                  L"document 66048 method BSTR=a",
                  L"configuration a 6 put BOOL=-1",
                  L"configuration a 5 put BSTR=Norm 4017 - a",
                  L"message",
                  L"file bar 33",
                  L"overall bar 16",
                  L"screen [][Current Configuration:  b][Set new BOM entry:  Norm 4017 - b]",
                  L"document 66048 method BSTR=b",
              }));
}

TEST_F(BomEntryWriterTest, EveryFillInButFiveAndSixIsFilled)
{
    m_template = L"%1|%2|%3|%4|%5|%6|%7|%8|%9|%1";
    Write();
    EXPECT_EQ(Lines(L"configuration Default 5"),
              EventLog{L"configuration Default 5 put BSTR=4017|Default|4017x|M10x50|%5|%6|one|two|%9|4017"});
}

TEST_F(BomEntryWriterTest, AFilledTextIsFilledAgainByLaterFillIns)
{
    HasConfigurations({L"M8 %4"});
    m_fields.strSize = L"%8%1";
    Write();
    EXPECT_EQ(Lines(L"configuration M8 %4 5"),
              EventLog{L"configuration M8 %4 5 put BSTR=Norm 4017 - M8 two%1"});
}

TEST_F(BomEntryWriterTest, WhiteSpaceAroundTheNameIsCut)
{
    m_template = L" \t %1 - %2 \r\n";
    HasConfigurations({L"a "});
    Write();
    EXPECT_EQ(Lines(L"configuration"),
              (EventLog{L"configuration a  6 put BOOL=-1", L"configuration a  5 put BSTR=4017 - a"}));
}

TEST_F(BomEntryWriterTest, AnEmptyNameTurnsTheAlternativeNameOffAndShowsTheFileName)
{
    HasConfigurations({L"a", L"b"});
    for (const wchar_t* const empty : {L"", L" \t ", L"%7"}) {
        m_log.clear();
        m_fields.strExtra1.clear();
        m_template = empty;
        EXPECT_EQ(Write(), 2);
        EXPECT_EQ(Lines(L"configuration"),
                  (EventLog{L"configuration a 6 put BOOL=0", L"configuration b 6 put BOOL=0"}));
        EXPECT_EQ(Lines(L"screen"),
                  (EventLog{L"screen [][Current Configuration:  a][Set new BOM entry:  a.sldprt]",
                            L"screen [][Current Configuration:  b][Set new BOM entry:  a.sldprt]",
                            L"screen [][Saving file...][]"}));
    }
}

TEST_F(BomEntryWriterTest, APathWithoutBackslashIsShownWhole)
{
    m_template.clear();
    Write(L"a/b.sldprt");
    EXPECT_EQ(Lines(L"screen").front(),
              L"screen [][Current Configuration:  Default][Set new BOM entry:  a/b.sldprt]");
}

TEST_F(BomEntryWriterTest, TheFileBarIsReckonedInSinglePrecision)
{
    m_document.On(kCount, AnswerLong(100));
    m_document.On(kNames, AnswerStrings(std::vector<std::wstring>(100, L"c")));
    EXPECT_EQ(Write(), 100);
    const EventLog bars = Lines(L"file bar");
    ASSERT_EQ(bars.size(), 101U);
    // The float next to 0.29 is 0.28999999, its product with 100 rounds to 29 (in double it stays below).
    EXPECT_EQ(bars[29], L"file bar 29");
    // The float next to 0.53 is 0.52999997; its product with 100 stays below 53.
    EXPECT_EQ(bars[53], L"file bar 52");
    EXPECT_EQ(bars[99], L"file bar 99");
    EXPECT_EQ(bars[100], L"file bar 100");
}

TEST_F(BomEntryWriterTest, TheOverallBarIsReckonedInSinglePrecision)
{
    HasConfigurations({L"a", L"b", L"c", L"d"});
    Write(kPath, 100.0F / 3.0F, 1);
    // 3 × 33.333332 lies half-way below 100 and rounds to it, so a quarter of it is 25 (in double 24.99…).
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

TEST_F(BomEntryWriterTest, OnlyAsManyNamesAsCountedAreTaken)
{
    m_document.On(kCount, AnswerLong(2));
    m_document.On(kNames, AnswerStrings({L"a", L"b", L"c"}));
    EXPECT_EQ(Write(), 2);
    EXPECT_EQ(Lines(L"document 66048"),
              (EventLog{L"document 66048 method BSTR=a", L"document 66048 method BSTR=b"}));
}

TEST_F(BomEntryWriterTest, FewerNamesThanCountedAreAllTakenAndTheCountIsAnswered)
{
    m_document.On(kCount, AnswerLong(4));
    m_document.On(kNames, AnswerStrings({L"a", L"b"}));
    EXPECT_EQ(Write(kPath, 100.0F, 1), 4);
    EXPECT_EQ(Lines(L"document 66048"),
              (EventLog{L"document 66048 method BSTR=a", L"document 66048 method BSTR=b"}));
    EXPECT_EQ(Lines(L"file bar"), (EventLog{L"file bar 0", L"file bar 25", L"file bar 100"}));
    EXPECT_EQ(Lines(L"document 66019").size(), 1U);
}

TEST_F(BomEntryWriterTest, TheLowerBoundOfTheNamesDoesNotMatter)
{
    for (const LONG lowerBound : {1L, -5L, 2147483646L}) {
        m_log.clear();
        m_document.On(kCount, AnswerLong(2));
        m_document.On(kNames, AnswerStrings({L"a", L"b"}, lowerBound));
        EXPECT_EQ(Write(), 2);
        EXPECT_EQ(Lines(L"document 66048"),
                  (EventLog{L"document 66048 method BSTR=a", L"document 66048 method BSTR=b"}));
    }
}

TEST_F(BomEntryWriterTest, ANullElementIsAnEmptyName)
{
    m_document.On(kNames, [](FakeCall& call) {
        AnswerStrings({L"gone"})(call);
        SysFreeString(std::exchange(static_cast<BSTR*>(call.result->parray->pvData)[0], nullptr));
        return S_OK;
    });
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Lines(L"document 66048"), EventLog{L"document 66048 method BSTR="});
}

// An array of one element type under the variant type of another.
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
        m_document.On(kNames, answers[index]);
        EXPECT_EQ(Write(), 1) << index;
        EXPECT_EQ(Lines(L"document"), (EventLog{L"document 65971 method", L"document 65972 method",
                                                L"document 66019 method BOOL=-1"}))
            << index;
        EXPECT_EQ(Lines(L"application 7").size(), 1U) << index;
    }
}

TEST_F(BomEntryWriterTest, NamesByReferenceAreRead)
{
    VARIANT held{};
    const DISPPARAMS none{};
    FakeCall holding{none, &held, nullptr};
    AnswerStrings({L"a", L"b"}, 7)(holding);
    m_document.On(kCount, AnswerLong(2));
    m_document.On(kNames, [&held](FakeCall& call) {
        call.result->vt = VT_BYREF | VT_ARRAY | VT_BSTR;
        call.result->pparray = &held.parray;
        return S_OK;
    });
    for (int time = 0; time < 2; ++time) {  // the array is its owner's and stays
        m_log.clear();
        EXPECT_EQ(Write(), 2);
        EXPECT_EQ(Lines(L"document 66048"),
                  (EventLog{L"document 66048 method BSTR=a", L"document 66048 method BSTR=b"}));
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
        EXPECT_EQ(Lines(L"application 7").size(), 1U) << index;
        EXPECT_EQ(m_log.back(), L"application 24 method BOOL=-1 I4=1") << index;
        EXPECT_EQ(m_document.References(), 0) << index;
    }
}

// What the user does at each message that is taken, and answers to each question.
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

    int m_firstPress = 1;  // from this message on the cancel button is pressed each time
    int m_messages = 0;
    std::deque<int> m_answers;
    CFakeUser m_user{[this] {
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
    EXPECT_EQ(Lines(L"document 66048").size(), 4U);
    EXPECT_EQ(Lines(L"document 66019").size(), 1U);
    EXPECT_EQ(Lines(L"clear cancel").size(), 0U);
    EXPECT_EQ(m_log.back(), L"application 24 method BOOL=-1 I4=1");
}

TEST_F(BomEntryWriterCancelTest, NoClearsTheFlagAndTheNextPressAsksAgain)
{
    m_firstPress = 3;
    m_answers = {IDNO, IDYES};
    EXPECT_EQ(Write(), 4);
    EXPECT_TRUE(m_progress.m_cancelled);
    EXPECT_EQ(m_user.m_boxes.size(), 2U);
    EXPECT_EQ(Lines(L"clear cancel").size(), 1U);
    EXPECT_EQ(Lines(L"document 66048").size(), 4U);
}

TEST_F(BomEntryWriterCancelTest, NoAtTheLastConfigurationLeavesNoFlag)
{
    m_firstPress = 4;
    m_answers = {IDNO};
    EXPECT_EQ(Write(), 4);
    EXPECT_FALSE(m_progress.m_cancelled);
    EXPECT_EQ(Lines(L"document 66019").size(), 1U);
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
    EXPECT_EQ(*(question - 2), L"configuration a 5 put BSTR=Norm 4017 - a");
    EXPECT_EQ(*(question + 1), L"file bar 25");
}

TEST_F(BomEntryWriterCancelTest, TheQuestionIsAskedInBothLanguages)
{
    m_answers = {IDYES, IDYES};
    Write();
    const CLanguageScope german(1);
    Write();
    ASSERT_EQ(m_user.m_boxes.size(), 2U);
    EXPECT_EQ(m_user.m_boxes[0].text,
              L"Do you really want to cancel?\n"
              L"(The BOM entries of these configurations are still changed and saved).");
    EXPECT_EQ(
        m_user.m_boxes[1].text,
        L"Wirklich abbrechen?\n(Die Stücklisteneinträge der Konfigurationen des aktuellen Normteils werden "
        L"noch zu Ende geschrieben).");
    for (const MessageRequest& box : m_user.m_boxes) {
        EXPECT_EQ(box.type, UINT{MB_YESNO | MB_ICONQUESTION});
    }
}

// Every call is made to fail in turn: the failure reaches the caller, no call follows and nothing stays held.
TEST_F(BomEntryWriterTest, AFailingCallEndsItAtOnceWithEverythingReleased)
{
    struct Case
    {
        CFakeDispatch* object;
        DISPID member;
        const wchar_t* lastCall;
    };
    const std::vector<Case> cases{
        {&m_applicationObject, kVisibility, L"application 24 method BOOL=0 I4=1"},
        {&m_applicationObject, kOpen,
         L"application 99 method BSTR=C:\\lib\\Mapped\\a.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 &I4=0"},
        {&m_document, 17, L"document 17 method"},
        {&m_document, kCount, L"document 65971 method"},
        {&m_document, kNames, L"document 65972 method"},
        {&m_document, kConfiguration, L"document 66048 method BSTR=Default"},
        {Configuration(L"Default"), 6, L"configuration Default 6 put BOOL=-1"},
        {Configuration(L"Default"), kPutName, L"configuration Default 5 put BSTR=Norm 4017 - Default"},
        {&m_document, kSave, L"document 66019 method BOOL=-1"},
        {&m_applicationObject, kClose, L"application 7 method BSTR=C:\\lib\\Mapped\\a.sldprt"},
    };
    for (const Case& failing : cases) {
        OpenAnswers(&m_document, 128);
        HasConfigurations({L"Default"});
        m_document.On(kConfiguration, AnswerObject(Configuration(L"Default")));
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
