// Tests the stand-in CAD server with a minimal automation client. Versions 25 and 30 are registered once for
// all tests. Each test configures its own script, log and part files.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/cadserver/CallHold.h"
#include "tests/cadserver/ComPointers.h"
#include "tests/cadserver/PartFile.h"
#include "tests/cadserver/ServerFixture.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/Files.h"
#include "tests/support/PartReader.h"
#include "tests/support/TextFile.h"
#include "tests/support/UnderWine.h"

namespace {

using namespace automation;

using Streams = decltype(PartContents::otherStreams);

constexpr DISPID kNoMember = 12;

_variant_t Flag(bool flag)
{
    return _variant_t(flag);
}

_variant_t Number(long number)
{
    return {number, VT_I4};
}

_variant_t Reference(long& number)
{
    _variant_t value;
    value.vt = VT_BYREF | VT_I4;
    value.plVal = &number;
    return value;
}

CallResult Open(IDispatch* application, const std::wstring& path, long& errorCode)
{
    return Invoke(application, kOpenDocument,
                  {path.c_str(), Number(1), Flag(false), Flag(false), Flag(true), Reference(errorCode)});
}

std::vector<std::wstring> TextsOf(const _variant_t& names)
{
    std::vector<std::wstring> texts;
    LONG first = 0;
    LONG last = -1;
    SafeArrayGetLBound(names.parray, 1, &first);
    SafeArrayGetUBound(names.parray, 1, &last);
    for (LONG index = first; index <= last; ++index) {
        BSTR text = nullptr;
        SafeArrayGetElement(names.parray, &index, &text);
        texts.emplace_back(_bstr_t(text, false).GetBSTR());
    }
    return texts;
}

class ServerTest : public CServerFixture
{
protected:
    // Starts a new server with the script and opens the part.
    IDispatchPtr StartAndOpen(const std::string& rules)
    {
        Script(rules);
        EXPECT_EQ(S_OK, Start());
        long errorCode = -1;
        return Application() != nullptr ? Open(Application(), m_part, errorCode).Object() : IDispatchPtr();
    }

    [[nodiscard]] std::vector<PartConfiguration> ConfigurationsOnDisk() const
    {
        std::vector<PartConfiguration> configurations;
        EXPECT_EQ(S_OK, ReadConfigurations(m_part, configurations));
        return configurations;
    }
};

TEST_F(ServerTest, IsRegisteredUnderVersionedProgIds)
{
    CLSID current{};
    ASSERT_EQ(S_OK, CLSIDFromProgID(L"SldWorks.Application", &current));
    LPOLESTR progId = nullptr;
    ASSERT_EQ(S_OK, ProgIDFromCLSID(current, &progId));
    EXPECT_STREQ(L"SldWorks.Application.30", progId);
    CoTaskMemFree(progId);
    CLSID other{};
    EXPECT_EQ(S_OK, CLSIDFromProgID(L"SldWorks.Application.25", &other));
    EXPECT_FALSE(IsEqualGUID(current, other));
    EXPECT_TRUE(FAILED(CLSIDFromProgID(L"SldWorks.Application.26", &other)));
}

TEST_F(ServerTest, ServesEachVersionInItsOwnProcess)
{
    ASSERT_EQ(S_OK, Start(L"SldWorks.Application.25"));
    ASSERT_EQ(S_OK, Start(L"SldWorks.Application"));
    Release();
    WaitForEnds();
    std::vector<std::wstring> starts = LogLines();
    std::erase_if(starts, [](const std::wstring& line) { return !line.starts_with(L"-\tstart"); });
    EXPECT_EQ(
        (std::vector<std::wstring>{L"-\tstart\tprocess=N\tversion=25", L"-\tstart\tprocess=N\tversion=30"}),
        starts);
}

TEST_F(ServerTest, WritesEachConfigurationAndLogsEachCall)
{
    ASSERT_EQ(S_OK, Start());
    CallResult result = Invoke(Application(), kGetDateCode, {});
    EXPECT_EQ(VT_I4, result.value.vt);
    EXPECT_EQ(2019250, result.value.lVal);
    EXPECT_EQ(S_OK, Invoke(Application(), kSetDocumentVisibility, {Flag(false), Number(1)}).status);
    long errorCode = 77;
    IDispatchPtr document = Open(Application(), m_part, errorCode).Object();
    ASSERT_TRUE(document != nullptr);
    EXPECT_EQ(0, errorCode);
    EXPECT_EQ(S_OK, Invoke(document, kCallMethod17, {}).status);
    EXPECT_EQ(3, Invoke(document, kGetConfigurationCount, {}).value.lVal);
    result = Invoke(document, kGetConfigurationNames, {});
    ASSERT_EQ(VT_ARRAY | VT_BSTR, result.value.vt);
    EXPECT_EQ((std::vector<std::wstring>{L"M8x10", L"M8/x 12", L"Größe"}), TextsOf(result.value));
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"Größe"}).Object();
    ASSERT_TRUE(configuration != nullptr);
    EXPECT_EQ(S_OK, Invoke(configuration, kUseAlternativeBomName, {Flag(true)}, DISPATCH_PROPERTYPUT).status);
    EXPECT_EQ(S_OK,
              Invoke(configuration, kAlternativeBomName, {L"Norm 4017 - ß"}, DISPATCH_PROPERTYPUT).status);
    EXPECT_FALSE(ConfigurationsOnDisk()[2].useAlternative);  // only saving changes the file
    EXPECT_EQ(0, Invoke(document, kSave, {Flag(true)}).value.lVal);
    configuration = nullptr;
    document = nullptr;
    EXPECT_EQ(S_OK, Invoke(Application(), kCloseDocument, {m_part.c_str()}).status);
    EXPECT_EQ(S_OK, Invoke(Application(), kExit, {}).status);
    Release();
    WaitForEnds();

    const std::vector<PartConfiguration> expected = {
        {L"M8x10", false, L""}, {L"M8/x 12", false, L""}, {L"Größe", true, L"Norm 4017 - ß"}};
    EXPECT_EQ(expected, ConfigurationsOnDisk());
    const std::wstring name = FileNameOf(m_part);
    const std::vector<std::wstring> lines = {
        L"-\tstart\tprocess=N\tversion=30",
        L"1\tapplication\tGetDateCode\tmethod\tI4=2019250",
        L"2\tapplication\tSetDocumentVisibility\tmethod\tBOOL=0\tI4=1\tok",
        L"3\tapplication\tOpenDocument\tmethod\tBSTR=" + m_part +
            L"\tI4=1\tBOOL=0\tBOOL=0\tBOOL=-1\tI4&=0\tdocument " + name,
        L"4\tdocument " + name + L"\tCallMethod17\tmethod\tok",
        L"5\tdocument " + name + L"\tGetConfigurationCount\tmethod\tI4=3",
        L"6\tdocument " + name + L"\tGetConfigurationNames\tmethod\tBSTR[3]=M8x10|M8/x 12|Größe",
        L"7\tdocument " + name + L"\tGetConfiguration\tmethod\tBSTR=Größe\tconfiguration " + name + L"/Größe",
        L"8\tconfiguration " + name + L"/Größe\tUseAlternativeBomName\tput\tBOOL=-1\tok",
        L"9\tconfiguration " + name + L"/Größe\tAlternativeBomName\tput\tBSTR=Norm 4017 - ß\tok",
        L"10\tdocument " + name + L"\tSave\tmethod\tBOOL=-1\tI4=0",
        L"11\tapplication\tCloseDocument\tmethod\tBSTR=" + m_part + L"\tok",
        L"12\tapplication\tExit\tmethod\tok",
        L"-\tend\tprocess=N\treason=asked\topen=",
    };
    EXPECT_EQ(lines, LogLines());
}

TEST_F(ServerTest, SavingLeavesTheRestOfTheFileUnchanged)
{
    const Streams before = ReadPart(m_part).otherStreams;
    IDispatchPtr document = StartAndOpen("");
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
    // 6000 characters move the configuration out of the mini stream of the compound file, 3 move it back.
    for (const size_t length : {6000U, 3U}) {
        const std::wstring name(length, L'x');
        Invoke(configuration, kAlternativeBomName, {name.c_str()}, DISPATCH_PROPERTYPUT);
        EXPECT_EQ(0, Invoke(document, kSave, {Flag(true)}).value.lVal);
        EXPECT_EQ(name, ConfigurationsOnDisk()[0].alternative);
    }
    EXPECT_FALSE(before.empty());
    EXPECT_EQ(before, ReadPart(m_part).otherStreams);
}

TEST_F(ServerTest, ClosingWithoutSavingDiscardsChanges)
{
    IDispatchPtr document = StartAndOpen("");
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
    Invoke(configuration, kUseAlternativeBomName, {Flag(true)}, DISPATCH_PROPERTYPUT);
    std::wstring upper = m_part;
    CharUpperW(upper.data());
    EXPECT_EQ(S_OK, Invoke(Application(), kCloseDocument, {upper.c_str()}).status);
    EXPECT_EQ(RPC_E_DISCONNECTED, Invoke(document, kSave, {Flag(true)}).status);
    EXPECT_EQ(RPC_E_DISCONNECTED,
              Invoke(configuration, kUseAlternativeBomName, {Flag(true)}, DISPATCH_PROPERTYPUT).status);
    EXPECT_FALSE(ConfigurationsOnDisk()[0].useAlternative);
    EXPECT_EQ(S_OK, Invoke(Application(), kCloseDocument, {upper.c_str()}).status);
    EXPECT_TRUE(LogLines().back().ends_with(L"\tnot open"));
}

TEST_F(ServerTest, ADocumentStaysOpenUntilItIsClosed)
{
    IDispatchPtr document = StartAndOpen("");
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
    Invoke(configuration, kAlternativeBomName, {L"kept"}, DISPATCH_PROPERTYPUT);
    configuration = nullptr;
    document = nullptr;
    EXPECT_STREQ(L"N_ISO_4017_M8.sldprt", Invoke(Application(), kOpenDocumentNames, {}).value.bstrVal);
    long errorCode = -1;
    document = Open(Application(), m_part, errorCode).Object();
    Invoke(document, kSave, {Flag(true)});
    EXPECT_EQ(L"kept", ConfigurationsOnDisk()[0].alternative);
    document = nullptr;
    Release();
    WaitForEnds();
    EXPECT_EQ(L"-\tend\tprocess=N\treason=released\topen=N_ISO_4017_M8.sldprt", LogLines().back());
}

TEST_F(ServerTest, RefusesToOpenReadOnlyMissingAndOtherFiles)
{
    ASSERT_EQ(S_OK, Start());
    long errorCode = 0;
    MakeReadOnly(m_part);
    CallResult result = Open(Application(), m_part, errorCode);
    EXPECT_EQ(S_OK, result.status);
    EXPECT_EQ(VT_DISPATCH, result.value.vt);
    EXPECT_TRUE(result.Object() == nullptr);
    EXPECT_EQ(3, errorCode);
    SetFileAttributesW(m_part.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(Open(Application(), m_folder / L"none.sldprt", errorCode).Object() == nullptr);
    EXPECT_EQ(2, errorCode);
    EXPECT_TRUE(Open(Application(), m_folder / L"script", errorCode).Object() == nullptr);
    EXPECT_EQ(1, errorCode);
}

TEST_F(ServerTest, RejectsWrongArguments)
{
    IDispatchPtr document = StartAndOpen("");
    EXPECT_EQ(DISP_E_BADPARAMCOUNT, Invoke(Application(), kSetDocumentVisibility, {Flag(true)}).status);
    EXPECT_EQ(DISP_E_BADPARAMCOUNT, Invoke(Application(), kGetDateCode, {Number(1)}).status);
    _variant_t one;
    one.vt = VT_BOOL;
    one.boolVal = 1;
    const CallResult raw = Invoke(Application(), kSetDocumentVisibility, {one, Number(1)});
    EXPECT_EQ(DISP_E_TYPEMISMATCH, raw.status);
    EXPECT_EQ(1U, raw.wrongArgument);  // DISPPARAMS::rgvarg holds the arguments in reverse order
    EXPECT_TRUE(LogLines().back().ends_with(L"\tBOOL=1\tI4=1\t0x80020005"));
    EXPECT_EQ(DISP_E_TYPEMISMATCH,
              Invoke(Application(), kSetDocumentVisibility, {Flag(true), _variant_t(short{1})}).status);
    EXPECT_EQ(DISP_E_TYPEMISMATCH,
              Invoke(Application(), kSetDocumentVisibility, {Number(1), Number(1)}).status);
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Invoke(document, kGetConfiguration, {Number(1)}).status);
    EXPECT_EQ(DISP_E_TYPEMISMATCH,
              Invoke(Application(), kOpenDocument,
                     {m_part.c_str(), Number(1), Flag(false), Flag(false), Flag(true), Number(0)})
                  .status);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Invoke(Application(), kNoMember, {}).status);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Invoke(Application(), kGetDateCode, {}, DISPATCH_PROPERTYGET).status);
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Invoke(configuration, kAlternativeBomName, {L"x"}).status);
}

TEST_F(ServerTest, FindsOperationsByName)
{
    ASSERT_EQ(S_OK, Start());
    wchar_t name[] = L"getDATECODE";
    wchar_t* names = name;
    DISPID dispid = 0;
    EXPECT_EQ(S_OK, Application()->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &dispid));
    EXPECT_EQ(kGetDateCode, dispid);
    wchar_t unknown[] = L"none";
    names = unknown;
    EXPECT_EQ(DISP_E_UNKNOWNNAME,
              Application()->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &dispid));
}

TEST_F(ServerTest, TheScriptSetsTheDateCode)
{
    Script("datecode 1999249  # one below the oldest supported release\n");
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(1999249, Invoke(Application(), kGetDateCode, {}).value.lVal);
}

TEST_F(ServerTest, TheDateCodeCanChangeWithALaterStart)
{
    Script("datecode 7 from=2\ndatecode 5\n");
    for (const long dateCode : {5, 7, 7}) {
        ASSERT_EQ(S_OK, Start());
        EXPECT_EQ(dateCode, Invoke(Application(), kGetDateCode, {}).value.lVal);
        EXPECT_EQ(S_OK, Invoke(Application(), kExit, {}).status);
    }
}

TEST_F(ServerTest, TheScriptSetsTheResultOfOpening)
{
    struct Case
    {
        const char* rule;
        bool document;
        long code;
    };
    const std::wstring other = m_folder / L"other name.sldprt";
    ASSERT_EQ(S_OK, CreatePartFile(other, {L"a"}));
    for (const Case& expected :
         {Case{"null", false, 0}, Case{"null code=5", false, 5}, Case{"code=128", true, 128},
          Case{"code=-2", true, -2}, Case{"code=1", true, 1}}) {
        SCOPED_TRACE(expected.rule);
        Script("open \"OTHER name.sldprt\" " + std::string(expected.rule) + "\n");
        ASSERT_EQ(S_OK, Start());
        long errorCode = 99;
        EXPECT_EQ(expected.document, Open(Application(), other, errorCode).Object() != nullptr);
        EXPECT_EQ(expected.code, errorCode);
        EXPECT_TRUE(Open(Application(), m_part, errorCode).Object() != nullptr);
        EXPECT_EQ(0, errorCode);
        Release();
        WaitForEnds();
    }
}

TEST_F(ServerTest, TheScriptSetsTheTypeOfTheNames)
{
    struct Case
    {
        const char* rules;
        VARTYPE type;
        const wchar_t* logged;
    };
    const Case cases[] = {
        {"names * variants\n", VT_ARRAY | VT_VARIANT, L"VARIANT[3]=M8x10|M8/x 12|Größe"},
        {"names * single\n", VT_BSTR, L"BSTR=M8x10"},
        {"names * empty\n", VT_EMPTY, L"EMPTY"},
        {"names * integers\n", VT_ARRAY | VT_I4, L"I4[3]=1|2|3"},
        {"names * from-one\n", VT_ARRAY | VT_BSTR, L"BSTR[1..3]=M8x10|M8/x 12|Größe"},
        {"names * first=2\n", VT_ARRAY | VT_BSTR, L"BSTR[2]=M8x10|M8/x 12"},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.rules);
        IDispatchPtr document = StartAndOpen(expected.rules);
        ASSERT_TRUE(document != nullptr);
        EXPECT_EQ(3, Invoke(document, kGetConfigurationCount, {}).value.lVal);
        EXPECT_EQ(expected.type, Invoke(document, kGetConfigurationNames, {}).value.vt);
        EXPECT_TRUE(LogLines().back().ends_with(std::wstring(L"\t") + expected.logged))
            << ToUtf8(LogLines().back());
        document = nullptr;
        Release();
        WaitForEnds();
    }
}

TEST_F(ServerTest, TheScriptSetsTheCountAndHidesAConfiguration)
{
    IDispatchPtr document =
        StartAndOpen("count N_iso_4017_m8.sldprt -1\nmissing N_ISO_4017_M8.sldprt \"M8/x 12\"\n");
    EXPECT_EQ(-1, Invoke(document, kGetConfigurationCount, {}).value.lVal);
    EXPECT_EQ(3U, TextsOf(Invoke(document, kGetConfigurationNames, {}).value).size());
    const CallResult missing = Invoke(document, kGetConfiguration, {L"M8/x 12"});
    EXPECT_EQ(S_OK, missing.status);
    EXPECT_TRUE(missing.Object() == nullptr);
    EXPECT_TRUE(Invoke(document, kGetConfiguration, {L"M8x10"}).Object() != nullptr);
}

TEST_F(ServerTest, TheScriptSetsTheValueOfASaveThatWritesNothing)
{
    for (const char* rule : {"save N_iso_4017_m8.sldprt value=17\n", "save * value=17\n"}) {
        IDispatchPtr document = StartAndOpen(rule);
        IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
        Invoke(configuration, kUseAlternativeBomName, {Flag(true)}, DISPATCH_PROPERTYPUT);
        const CallResult saved = Invoke(document, kSave, {Flag(true)});
        EXPECT_EQ(S_OK, saved.status);
        EXPECT_EQ(VT_I4, saved.value.vt);
        EXPECT_EQ(17, saved.value.lVal);
        EXPECT_TRUE(LogLines().back().ends_with(L"\tSave\tmethod\tBOOL=-1\tI4=17"));
        EXPECT_FALSE(ConfigurationsOnDisk()[0].useAlternative);
        configuration = nullptr;
        document = nullptr;
        Release();
        WaitForEnds();
    }
}

TEST_F(ServerTest, AFaultRaisesAnException)
{
    Script(
        "fault nth=2 exception code=1001 source=\"CAD system\" description=\"Schlüssel fehlt\" "
        "help=C:\\h.chm "
        "context=7\n"
        "fault nth=3 exception scode=0x8004ABCD\n");
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
    CallResult result = Invoke(Application(), kGetDateCode, {});
    EXPECT_EQ(DISP_E_EXCEPTION, result.status);
    EXPECT_EQ(1001, result.exception.wCode);
    EXPECT_EQ(0, result.exception.scode);
    EXPECT_STREQ(L"CAD system", _bstr_t(result.exception.bstrSource, false));
    EXPECT_STREQ(L"Schlüssel fehlt", _bstr_t(result.exception.bstrDescription, false));
    EXPECT_STREQ(L"C:\\h.chm", _bstr_t(result.exception.bstrHelpFile, false));
    EXPECT_EQ(7U, result.exception.dwHelpContext);
    EXPECT_EQ(L"2\tapplication\tGetDateCode\tmethod\t0x80020009", LogLines().back());
    result = Invoke(Application(), kGetDateCode, {});
    EXPECT_EQ(DISP_E_EXCEPTION, result.status);
    EXPECT_EQ(0, result.exception.wCode);
    EXPECT_EQ(static_cast<HRESULT>(0x8004ABCD), result.exception.scode);
    EXPECT_TRUE(result.exception.bstrSource == nullptr);
    EXPECT_TRUE(result.exception.bstrDescription == nullptr);
    EXPECT_TRUE(result.exception.bstrHelpFile == nullptr);
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
}

TEST_F(ServerTest, AFaultIsFilteredByCallAndFile)
{
    const std::wstring other = m_folder / L"other.sldprt";
    ASSERT_EQ(S_OK, CreatePartFile(other, {L"a"}));
    Script(
        "fault call=SetDocumentVisibility nth=2 fail 0x80004005\n"
        "fault file=OTHER.sldprt nth=2 lasting fail 0x8000FFFF\n");
    ASSERT_EQ(S_OK, Start());
    const auto show = [this] {
        return Invoke(Application(), kSetDocumentVisibility, {Flag(true), Number(1)}).status;
    };
    EXPECT_EQ(S_OK, show());
    EXPECT_EQ(E_FAIL, show());
    EXPECT_EQ(S_OK, show());
    long errorCode = -1;
    IDispatchPtr document = Open(Application(), other, errorCode).Object();
    ASSERT_TRUE(document != nullptr);
    IDispatchPtr untouched = Open(Application(), m_part, errorCode).Object();
    EXPECT_EQ(S_OK, Invoke(untouched, kGetConfigurationCount, {}).status);
    EXPECT_EQ(E_UNEXPECTED, Invoke(document, kGetConfigurationCount, {}).status);
    EXPECT_EQ(E_UNEXPECTED, Invoke(document, kGetConfigurationCount, {}).status);
    EXPECT_EQ(E_UNEXPECTED, Invoke(Application(), kCloseDocument, {other.c_str()}).status);
    EXPECT_EQ(S_OK, Invoke(Application(), kCloseDocument, {m_part.c_str()}).status);
}

TEST_F(ServerTest, AFaultEndsTheServerBeforeTheCall)
{
    IDispatchPtr document = StartAndOpen("fault call=Save end-before\n");
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
    Invoke(configuration, kUseAlternativeBomName, {Flag(true)}, DISPATCH_PROPERTYPUT);
    EXPECT_EQ(kServerDied, Invoke(document, kSave, {Flag(true)}).status);
    EXPECT_EQ(kServerGone, Invoke(document, kGetConfigurationCount, {}).status);
    EXPECT_FALSE(ConfigurationsOnDisk()[0].useAlternative);
    const std::vector<std::wstring> lines = LogLines();
    EXPECT_EQ(L"4\tdocument N_ISO_4017_M8.sldprt\tSave\tmethod\tBOOL=-1\tnot served",
              lines.at(lines.size() - 2));
    EXPECT_EQ(L"-\tend\tprocess=N\treason=fault\topen=N_ISO_4017_M8.sldprt", lines.back());
    EXPECT_EQ(S_OK, Start());  // a new server starts
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
}

TEST_F(ServerTest, AFaultEndsTheServerAfterTheCall)
{
    IDispatchPtr document = StartAndOpen("fault call=Save end-after\n");
    IDispatchPtr configuration = Invoke(document, kGetConfiguration, {L"M8x10"}).Object();
    Invoke(configuration, kUseAlternativeBomName, {Flag(true)}, DISPATCH_PROPERTYPUT);
    EXPECT_EQ(kServerDied, Invoke(document, kSave, {Flag(true)}).status);
    EXPECT_TRUE(ConfigurationsOnDisk()[0].useAlternative);
    EXPECT_EQ(S_OK, Start());
}

TEST_F(ServerTest, AFaultDelaysACall)
{
    Script("fault nth=1 slow 400\n");
    ASSERT_EQ(S_OK, Start());
    ULONGLONG begin = GetTickCount64();
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_GE(GetTickCount64() - begin + 20, 400U);
    begin = GetTickCount64();
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_LT(GetTickCount64() - begin, 400U);
}

TEST_F(ServerTest, AFaultHoldsACallBeforeOrAfterServingIt)
{
    const std::wstring served = L"\tapplication\tGetDateCode\tmethod\tI4=2019250";
    const CCallHold hold;
    Script("fault nth=1 hold-before\nfault nth=2 hold-after\n");
    ASSERT_EQ(S_OK, Start());
    std::vector<std::wstring> whileHeld;
    std::thread test([&] {
        for (int call = 1; call <= 2; ++call) {
            EXPECT_TRUE(hold.WaitUntilHeld(10'000));
            whileHeld.push_back(LogLines().back());
            hold.LetGo();
        }
    });
    for (int call = 1; call <= 2; ++call) {
        EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
        EXPECT_EQ(std::to_wstring(call) + served, LogLines().back());
    }
    test.join();
    EXPECT_EQ((std::vector<std::wstring>{L"-\tstart\tprocess=N\tversion=30", L"2" + served}), whileHeld);
}

TEST_F(ServerTest, CallsAreHeldOnlyForAWaitingTest)
{
    Script("fault nth=1 hold-before\n");
    ASSERT_EQ(S_OK, Start());
    const ULONGLONG begin = GetTickCount64();
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_LT(GetTickCount64() - begin, 5'000U);
}

// The client has no message filter, so COM does not retry the call.
TEST_F(ServerTest, AFaultRejectsCallsForAWhile)
{
    Script("fault nth=2 reject 500\n");
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_EQ(RPC_E_CALL_REJECTED, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_EQ(L"-\trejected", LogLines().back());
    EXPECT_EQ(RPC_E_CALL_REJECTED, Invoke(Application(), kGetDateCode, {}).status);
    Sleep(600);
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_EQ(L"2\tapplication\tGetDateCode\tmethod\tI4=2019250", LogLines().back());
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
}

TEST_F(ServerTest, AFaultRejectsCallsForever)
{
    Script("fault nth=1 lasting reject forever\n");
    ASSERT_EQ(S_OK, Start());
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_EQ(RPC_E_CALL_REJECTED, Invoke(Application(), kGetDateCode, {}).status);
    }
}

TEST_F(ServerTest, AFaultAsksToRetryLater)
{
    if (UnderWine()) {
        GTEST_SKIP()
            << "skipped: Wine serves a call that the server's message filter asks to try again later";
    }
    Script("fault nth=1 busy 500\n");
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(RPC_E_SERVERCALL_RETRYLATER, Invoke(Application(), kGetDateCode, {}).status);
    EXPECT_EQ(L"-\tbusy", LogLines().back());
    Sleep(600);
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
}

TEST_F(ServerTest, AFaultCountsPerStartOrAcrossStarts)
{
    Script("fault nth=2 fail 0x80004005\nfault nth=3 across fail 0x8000FFFF\n");
    const auto call = [this] { return Invoke(Application(), kGetDateCode, {}).status; };
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(S_OK, call());
    EXPECT_EQ(E_FAIL, call());
    Release();
    WaitForEnds();
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(E_UNEXPECTED, call());
    EXPECT_EQ(E_FAIL, call());
    EXPECT_EQ(S_OK, call());
}

TEST_F(ServerTest, TheScriptCanRefuseAStart)
{
    Script("start-refuse from=2\n");
    ASSERT_EQ(S_OK, Start());
    Release();
    WaitForEnds();
    const ULONGLONG begin = GetTickCount64();
    EXPECT_TRUE(FAILED(Start()));
    EXPECT_LT(GetTickCount64() - begin, 60'000U);
    EXPECT_EQ(L"-\trefused\tprocess=N\tversion=30", LogLines().back());
}

TEST_F(ServerTest, TheNextClientAfterExitGetsANewProcess)
{
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(S_OK, Start());
        EXPECT_EQ(S_OK, Invoke(Application(), kExit, {}).status);
    }
    Release();
    WaitForEnds();
    const std::vector<std::wstring> lines = LogLines();
    EXPECT_EQ(9U, lines.size());
}

// TearDown starts a session whose script has no "stay", so the process ends with that session.
class StayTest : public ServerTest
{
protected:
    void TearDown() override
    {
        Script("");
        EXPECT_EQ(S_OK, Start());
        ServerTest::TearDown();
    }

    [[nodiscard]] static std::wstring ProcessOf(const std::wstring& line)
    {
        const size_t at = line.find(L"process=");
        return line.substr(at, line.find(L'\t', at) - at);
    }
};

TEST_F(StayTest, EachSessionStartsLikeANewProcess)
{
    IDispatchPtr document = StartAndOpen("stay\nfault nth=2 fail 0x80004005\n");
    EXPECT_EQ(E_FAIL, Invoke(Application(), kExit, {}).status);
    EXPECT_EQ(S_OK, Invoke(Application(), kExit, {}).status);
    EXPECT_EQ(kServerGone, Invoke(document, kGetConfigurationCount, {}).status);
    EXPECT_EQ(kServerGone, Invoke(Application(), kGetDateCode, {}).status);
    WriteBytes(m_script, "stay\ndatecode 1\n");
    Release();
    ASSERT_EQ(S_OK, Start());
    EXPECT_EQ(1, Invoke(Application(), kGetDateCode, {}).value.lVal);
    EXPECT_STREQ(L"", Invoke(Application(), kOpenDocumentNames, {}).value.bstrVal);
    document = nullptr;
    Release();
    ASSERT_EQ(S_OK, Start());

    const std::vector<std::wstring> lines = RawLogLines();
    EXPECT_EQ(3, std::ranges::count(lines, ProcessOf(lines.at(0)), [](const std::wstring& line) {
                  return line.starts_with(L"-\tstart") ? ProcessOf(line) : L"";
              }));
    const std::vector<std::wstring> logged = LogLines();
    const std::wstring start = L"-\tstart\tprocess=N\tversion=30";
    EXPECT_EQ(start, logged.at(0));
    EXPECT_EQ(1, std::ranges::count(logged, L"-\tend\tprocess=N\treason=asked\topen=N_ISO_4017_M8.sldprt"));
    EXPECT_EQ(1, std::ranges::count(
                     logged, L"-\tdocument N_ISO_4017_M8.sldprt\tGetConfigurationCount\tmethod\tgone"));
    EXPECT_EQ(1, std::ranges::count(logged, start + L"\tleft=1")) << "the document was still held";
    EXPECT_EQ(1, std::ranges::count(logged, L"1\tapplication\tGetDateCode\tmethod\tI4=1"));
    EXPECT_EQ(1, std::ranges::count(logged, L"-\tend\tprocess=N\treason=released\topen="));
    EXPECT_EQ(start + L"\tleft=0", logged.back());
}

TEST_F(StayTest, RefusesASessionAndServesTheNextOne)
{
    Script("stay\nstart-refuse from=2\n");
    ASSERT_EQ(S_OK, Start());
    Release();
    EXPECT_TRUE(FAILED(Start()));
    EXPECT_EQ(L"-\trefused\tprocess=N\tversion=30", LogLines().back());
    Script("stay\n");
    EXPECT_EQ(S_OK, Start());
    EXPECT_EQ(S_OK, Invoke(Application(), kGetDateCode, {}).status);
}

TEST_F(ServerTest, RefusesAWrongScriptWhenConfigured)
{
    for (const char* rule :
         {"nonsense", "open x", "names * what", "fault nth=0 fail 1", "fault file=x busy 5",
          "fault call=save fail 1", "datecode 12a", "datecode 1 to=2", "save x", "save x 2", "save x value=y",
          "fault description=\"x fail 1", "fault slow"}) {
        ExpectWrong(rule);
    }
    EXPECT_EQ(1U, RunServerProgram(L"--register 19"));
    EXPECT_EQ(2U, RunServerProgram(L"--what"));
}

// A CAD system of any version prevents the registration. Otherwise users could get the stand-in server
// instead of their CAD system.
TEST_F(ServerTest, RegistersNothingBesideARealCadSystemAndLeavesItUnchanged)
{
    const wchar_t* key = L"Software\\Classes\\SldWorks.Application.31\\CLSID";
    const std::wstring other = L"{00000000-1111-2222-3333-444444444444}";
    EXPECT_EQ(0U, RunServerProgram(L"--unregister"));
    {
        const CScratchClassKey real(HKEY_LOCAL_MACHINE, L"SldWorks.Application.31",
                                    L"SldWorks.Application.31\\CLSID", other);
        EXPECT_EQ(1U, RunServerProgram(L"--register 30 31"));
        EXPECT_EQ(1U, RunServerProgram(L"--register 30"));
        EXPECT_EQ(0U, RunServerProgram(L"--unregister"));
        wchar_t text[64] = L"";
        DWORD bytes = sizeof text;
        RegGetValueW(HKEY_LOCAL_MACHINE, key, nullptr, RRF_RT_REG_SZ, nullptr, text, &bytes);
        EXPECT_EQ(other, text);
    }
    CLSID identifier{};
    EXPECT_TRUE(FAILED(CLSIDFromProgID(L"SldWorks.Application.30", &identifier)));
    EXPECT_EQ(0U, RunServerProgram(L"--register 25 30 --current none"));
    EXPECT_TRUE(FAILED(CLSIDFromProgID(L"SldWorks.Application", &identifier)));
    EXPECT_EQ(S_OK, CLSIDFromProgID(L"SldWorks.Application.30", &identifier));
    EXPECT_EQ(0U, RunServerProgram(L"--register 25 30 --current 30"));
}

// The streams of a new part file, other than those of its configurations.
Streams StreamsOfNewPart(const wchar_t* name)
{
    const CTempFolder folder;
    EXPECT_EQ(S_OK, CreatePartFile(folder / name, {L"a", L"b"}));
    return ReadPart(folder / name).otherStreams;
}

TEST(PartFileTest, SizeAndContentsDependOnTheName)
{
    const Streams streams = StreamsOfNewPart(L"a.sldprt");
    EXPECT_LE(20'500U, streams.at(L"Body").size());
    EXPECT_EQ(streams, StreamsOfNewPart(L"A.SLDPRT"));
    EXPECT_NE(streams, StreamsOfNewPart(L"b.sldprt"));
}

}  // namespace
