#include "framework/OleDispatchDriver.h"

#include <gtest/gtest.h>
#include <olectl.h>

#include <cmath>
#include <limits>
#include <memory>

#include "framework/WinApp.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

constexpr DISPID kMember = 4711;

class OleDispatchDriverTest : public testing::Test
{
protected:
    OleDispatchDriverTest() { m_driver.AttachDispatch(m_object.Reference()); }

    // Makes the object's member return a variant that `fill` sets.
    void Answer(std::function<void(VARIANT&)> fill)
    {
        m_object.On(kMember, [fill = std::move(fill)](FakeCall& call) {
            fill(*call.result);
            return S_OK;
        });
    }

    // Calls the member with this type of result. Returns the status of the exception; S_OK if the call throws
    // none.
    template <class Result>
    HRESULT StatusOfCall()
    {
        try {
            static_cast<void>(m_driver.InvokeHelper<Result>(kMember, DISPATCH_METHOD));
        } catch (const COleException& error) {
            return error.m_sc;
        }
        return S_OK;
    }

    COleDispatchException ExceptionOfCall()
    {
        try {
            m_driver.InvokeHelper(kMember, DISPATCH_METHOD);
        } catch (const COleDispatchException& error) {
            return error;
        }
        ADD_FAILURE() << "no exception";
        return {};
    }

    EventLog m_log;
    CFakeDispatch m_object{L"object", m_log};
    COleDispatchDriver m_driver;
};

TEST_F(OleDispatchDriverTest, ArgumentsArriveInOrderWithTheirTypes)
{
    long filled = -7;
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD, std::wstring(L"Größe ☃"), 2L, true, false, -5L, &filled);
    EXPECT_EQ(m_log, EventLog{L"object 4711 method BSTR=Größe ☃ I4=2 BOOL=-1 BOOL=0 I4=-5 &I4=-7"});
}

TEST_F(OleDispatchDriverTest, TextsKeepTheirWholeLength)
{
    const std::wstring withZero(L"a\0b", 3);
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD, std::wstring(), withZero);
    EXPECT_EQ(m_log, EventLog{L"object 4711 method BSTR= BSTR=" + withZero});
}

TEST_F(OleDispatchDriverTest, AnEmptyTextIsAStringAndNoNullPointer)
{
    bool isString = false;
    m_object.On(kMember, [&isString](FakeCall& call) {
        isString = call.Argument(0).bstrVal != nullptr;
        return S_OK;
    });
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD, std::wstring());
    EXPECT_TRUE(isString);
}

TEST_F(OleDispatchDriverTest, APutNamesItsArgument)
{
    m_driver.InvokeHelper(kMember, DISPATCH_PROPERTYPUT, std::wstring(L"name"));
    EXPECT_EQ(m_log, EventLog{L"object 4711 put BSTR=name"});
}

TEST_F(OleDispatchDriverTest, ACallWithoutResultAsksForNone)
{
    bool asked = true;
    m_object.On(kMember, [&asked](FakeCall& call) {
        asked = call.result != nullptr;
        return S_OK;
    });
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD);
    EXPECT_FALSE(asked);
}

TEST_F(OleDispatchDriverTest, TheServerFillsAnIntegerByReference)
{
    m_object.On(kMember, [](FakeCall& call) {
        *call.Argument(0).plVal = 128;
        return S_OK;
    });
    long code = 0;
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD, &code);
    EXPECT_EQ(code, 128);
}

TEST_F(OleDispatchDriverTest, ALongIsWhatTheServerAnswers)
{
    m_object.On(kMember, AnswerLong(-2019250));
    EXPECT_EQ(m_driver.InvokeHelper<long>(kMember, DISPATCH_METHOD), -2019250);
}

TEST_F(OleDispatchDriverTest, OtherAnswersAreCoercedToALong)
{
    Answer([](VARIANT& result) {
        result.vt = VT_I2;
        result.iVal = -3;
    });
    EXPECT_EQ(m_driver.InvokeHelper<long>(kMember, DISPATCH_METHOD), -3);
    Answer([](VARIANT& result) {
        result.vt = VT_BSTR;
        result.bstrVal = SysAllocString(L"42");
    });
    EXPECT_EQ(m_driver.InvokeHelper<long>(kMember, DISPATCH_METHOD), 42);
    Answer([](VARIANT&) {});
    EXPECT_EQ(m_driver.InvokeHelper<long>(kMember, DISPATCH_METHOD), 0);
}

TEST_F(OleDispatchDriverTest, AnAnswerThatIsNoNumberIsAFailure)
{
    Answer([](VARIANT& result) {
        result.vt = VT_BSTR;
        result.bstrVal = SysAllocString(L"many");
    });
    EXPECT_EQ(StatusOfCall<long>(), DISP_E_TYPEMISMATCH);
    Answer([](VARIANT& result) { result.vt = VT_NULL; });
    EXPECT_EQ(StatusOfCall<long>(), DISP_E_TYPEMISMATCH);
    Answer([](VARIANT& result) {
        result.vt = VT_R8;
        result.dblVal = 1e30;
    });
    EXPECT_EQ(StatusOfCall<long>(), DISP_E_OVERFLOW);
}

TEST_F(OleDispatchDriverTest, AnObjectIsHeldOnceAndReleased)
{
    CFakeDispatch child(L"child", m_log);
    m_object.On(kMember, AnswerObject(&child));
    {
        const auto held = m_driver.InvokeHelper<IDispatchPtr>(kMember, DISPATCH_METHOD);
        EXPECT_EQ(held.GetInterfacePtr(), &child);
        EXPECT_EQ(child.References(), 1);
    }
    EXPECT_EQ(child.References(), 0);
}

TEST_F(OleDispatchDriverTest, NoObjectIsAnEmptyPointer)
{
    m_object.On(kMember, AnswerObject(nullptr));
    EXPECT_FALSE(m_driver.InvokeHelper<IDispatchPtr>(kMember, DISPATCH_METHOD));
    for (const VARTYPE nothing : {VT_EMPTY, VT_NULL}) {
        Answer([nothing](VARIANT& result) { result.vt = nothing; });
        EXPECT_FALSE(m_driver.InvokeHelper<IDispatchPtr>(kMember, DISPATCH_METHOD));
    }
    Answer([](VARIANT& result) {
        result.vt = VT_UNKNOWN;
        result.punkVal = nullptr;
    });
    EXPECT_FALSE(m_driver.InvokeHelper<IDispatchPtr>(kMember, DISPATCH_METHOD));
}

TEST_F(OleDispatchDriverTest, AnUnknownObjectIsAskedForItsAutomationInterface)
{
    CFakeDispatch child(L"child", m_log);
    Answer([&child](VARIANT& result) {
        result.vt = VT_UNKNOWN;
        result.punkVal = child.Reference();
    });
    {
        const auto held = m_driver.InvokeHelper<IDispatchPtr>(kMember, DISPATCH_METHOD);
        EXPECT_EQ(held.GetInterfacePtr(), &child);
        EXPECT_EQ(child.References(), 1);
    }
    child.m_hasDispatch = false;
    EXPECT_EQ(StatusOfCall<IDispatchPtr>(), E_NOINTERFACE);
    EXPECT_EQ(child.References(), 0);
}

TEST_F(OleDispatchDriverTest, AnAnswerThatIsNoObjectIsAFailure)
{
    m_object.On(kMember, AnswerLong(1));
    EXPECT_EQ(StatusOfCall<IDispatchPtr>(), DISP_E_TYPEMISMATCH);
}

TEST_F(OleDispatchDriverTest, AVariantIsReturnedUnchanged)
{
    m_object.On(kMember, AnswerStrings({L"one", L"two"}));
    const auto names = m_driver.InvokeHelper<_variant_t>(kMember, DISPATCH_METHOD);
    ASSERT_EQ(names.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(names.parray->rgsabound[0].cElements, 2U);
    EXPECT_STREQ(static_cast<BSTR*>(names.parray->pvData)[1], L"two");
}

TEST_F(OleDispatchDriverTest, AServerExceptionKeepsItsReport)
{
    m_object.On(kMember, [](FakeCall& call) {
        call.exception->wCode = 1001;
        call.exception->scode = 0;
        return RaiseException(L"Server", L"It went wrong.", L"C:\\server.chm", 77)(call);
    });
    const COleDispatchException error = ExceptionOfCall();
    EXPECT_EQ(error.m_code, 1001);
    EXPECT_EQ(error.m_source, L"Server");
    EXPECT_EQ(error.m_description, L"It went wrong.");
    EXPECT_EQ(error.m_helpFile, L"C:\\server.chm");
    EXPECT_EQ(error.m_helpContext, 77U);
    EXPECT_EQ(error.m_sc, S_OK);
    EXPECT_EQ(error.GetErrorMessage(), L"It went wrong");
}

TEST_F(OleDispatchDriverTest, AServerExceptionMayLackEveryText)
{
    m_object.On(kMember, [](FakeCall& call) {
        call.exception->scode = E_ACCESSDENIED;
        return DISP_E_EXCEPTION;
    });
    const COleDispatchException error = ExceptionOfCall();
    EXPECT_EQ(error.m_source, L"");
    EXPECT_EQ(error.m_description, L"");
    EXPECT_EQ(error.m_helpFile, L"");
    EXPECT_EQ(error.m_helpContext, 0U);
    EXPECT_EQ(error.m_sc, E_ACCESSDENIED);
    EXPECT_EQ(error.GetErrorMessage(), COleException(E_ACCESSDENIED).GetErrorMessage());
}

TEST_F(OleDispatchDriverTest, AnExceptionReportMayBeFilledOnDemand)
{
    m_object.On(kMember, [](FakeCall& call) {
        call.exception->pfnDeferredFillIn = [](EXCEPINFO* info) -> HRESULT {
            info->bstrDescription = SysAllocString(L"late");
            return S_OK;
        };
        return DISP_E_EXCEPTION;
    });
    EXPECT_EQ(ExceptionOfCall().m_description, L"late");
}

TEST_F(OleDispatchDriverTest, EveryOtherFailureCarriesItsStatus)
{
    for (const HRESULT status : {DISP_E_MEMBERNOTFOUND, RPC_E_CALL_REJECTED, RPC_E_DISCONNECTED,
                                 HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)}) {
        m_object.On(kMember, Fail(status));
        EXPECT_EQ(StatusOfCall<void>(), status);
        EXPECT_EQ(StatusOfCall<long>(), status);
    }
}

TEST_F(OleDispatchDriverTest, AResultThatCameWithAFailureIsReleased)
{
    CFakeDispatch child(L"child", m_log);
    m_object.On(kMember, [&child](FakeCall& call) {
        AnswerObject (&child)(call);
        return E_FAIL;
    });
    EXPECT_EQ(StatusOfCall<IDispatchPtr>(), E_FAIL);
    EXPECT_EQ(child.References(), 0);
}

TEST_F(OleDispatchDriverTest, ACallWithoutAnObjectIsAFailure)
{
    m_driver.ReleaseDispatch();
    EXPECT_EQ(StatusOfCall<void>(), E_POINTER);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(OleDispatchDriverTest, EachDriverReleasesItsOwnReference)
{
    EXPECT_EQ(m_object.References(), 1);
    {
        COleDispatchDriver second = m_driver;
        EXPECT_EQ(m_object.References(), 2);
        m_driver.ReleaseDispatch();
        EXPECT_FALSE(m_driver.IsAttached());
        EXPECT_TRUE(second.IsAttached());
        EXPECT_EQ(m_object.References(), 1);
        m_driver.ReleaseDispatch();
        EXPECT_EQ(m_object.References(), 1);
    }
    EXPECT_EQ(m_object.References(), 0);
}

TEST_F(OleDispatchDriverTest, AttachingReleasesTheObjectBefore)
{
    CFakeDispatch other(L"other", m_log);
    m_driver.AttachDispatch(other.Reference());
    EXPECT_EQ(m_object.References(), 0);
    EXPECT_EQ(other.References(), 1);
    m_driver.AttachDispatch(nullptr);
    EXPECT_FALSE(m_driver.IsAttached());
    EXPECT_EQ(other.References(), 0);
}

TEST_F(OleDispatchDriverTest, CreatingAnUnknownClassFailsAndReleasesTheOldObject)
{
    COleException error;
    EXPECT_FALSE(m_driver.CreateDispatch(L"Talvenor.NoSuchClass", &error));
    EXPECT_EQ(error.m_sc, CO_E_CLASSSTRING);
    EXPECT_FALSE(m_driver.IsAttached());
    EXPECT_EQ(m_object.References(), 0);
    EXPECT_FALSE(m_driver.CreateDispatch(L"Talvenor.NoSuchClass"));
}

struct VirtualFreeDeleter
{
    void operator()(wchar_t* memory) const { VirtualFree(memory, 0, MEM_RELEASE); }
};

// Makes the message filter give up on the server, which lives on. A run gives up in the same way on a server
// that it did not start.
class CGivenUpServer : public CStalledCallHandler
{
public:
    CGivenUpServer()
    {
        Filter().SetStalledCallHandler(this);
        Filter().SetBusyDelay(0);
        const CMessageRecorder user([] { return IDYES; });
        PostThreadMessageW(GetCurrentThreadId(), WM_KEYDOWN, VK_SPACE, 0);
        // However slow the machine is, the call began long before the press.
        constexpr DWORD kLongAgo = 10'000;
        Filter().MessagePending(nullptr, kLongAgo, PENDINGTYPE_TOPLEVEL);
        EXPECT_EQ(Filter().MessagePending(nullptr, kLongAgo, PENDINGTYPE_TOPLEVEL),
                  DWORD{PENDINGMSG_CANCELCALL});
        DrainMessages();
    }
    CGivenUpServer(const CGivenUpServer&) = delete;
    CGivenUpServer& operator=(const CGivenUpServer&) = delete;
    ~CGivenUpServer() override
    {
        Filter().SetStalledCallHandler(nullptr);
        Filter().SetBusyDelay(5'000);
    }

private:
    static COleMessageFilter& Filter() { return CWinApp::Get()->GetMessageFilter(); }
    [[nodiscard]] std::wstring Question() const override { return L"?"; }
    [[nodiscard]] bool GiveUp() override { return false; }
};

// Takes all messages of this thread. Returns whether there was one: any message makes COM ask the filter.
bool TakeWakeUp()
{
    MSG message{};
    const bool found = PeekMessageW(&message, nullptr, WM_NULL, WM_NULL, PM_REMOVE) != FALSE;
    DrainMessages();
    return found;
}

// Counts the releases that happen while a message is in the queue. Such a message would make COM ask the
// filter during the release.
class CWakeUpCheck : public CFakeDispatch
{
public:
    using CFakeDispatch::CFakeDispatch;

    int m_releasesAwake = 0;

    ULONG STDMETHODCALLTYPE Release() override
    {
        m_releasesAwake += TakeWakeUp() ? 1 : 0;
        return CFakeDispatch::Release();
    }
};

TEST_F(OleDispatchDriverTest, EachCallOfAGivenUpServerIsCancelled)
{
    DrainMessages();  // any message makes COM ask the filter
    bool awake = true;
    m_object.On(kMember, [&awake](FakeCall&) {
        awake = TakeWakeUp();
        return S_OK;
    });
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD);
    EXPECT_FALSE(awake) << "the server is not given up yet";
    const CGivenUpServer givenUp;
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD);
    EXPECT_TRUE(awake);
    m_driver.InvokeHelper(kMember, DISPATCH_METHOD);
    EXPECT_TRUE(awake);
}

TEST_F(OleDispatchDriverTest, EachReleaseOfAGivenUpServerIsCancelled)
{
    DrainMessages();
    CWakeUpCheck object(L"object", m_log);
    COleDispatchDriver driver;
    driver.AttachDispatch(object.Reference());
    driver.ReleaseDispatch();
    EXPECT_EQ(object.m_releasesAwake, 0) << "the server is not given up yet";
    const CGivenUpServer givenUp;
    driver.AttachDispatch(object.Reference());
    driver.ReleaseDispatch();
    EXPECT_EQ(object.m_releasesAwake, 1);
    driver.AttachDispatch(object.Reference());
    driver = COleDispatchDriver();
    EXPECT_EQ(object.m_releasesAwake, 2) << "an assignment releases the object";
    {
        COleDispatchDriver other;
        other.AttachDispatch(object.Reference());
    }
    EXPECT_EQ(object.m_releasesAwake, 3) << "the destructor releases the object";
    EXPECT_EQ(object.References(), 0);
}

TEST(MakeAutomationString, ReportsTheLackOfMemory)
{
    // The text is reserved address space without memory: the call must fail before it reads the text.
    for (const std::size_t length : {std::size_t{0x80000000U}, std::size_t{0x100000002U}}) {
        const std::unique_ptr<wchar_t, VirtualFreeDeleter> space(static_cast<wchar_t*>(
            VirtualAlloc(nullptr, length * sizeof(wchar_t), MEM_RESERVE, PAGE_NOACCESS)));
        if (space == nullptr) {
            GTEST_SKIP() << "skipped: no address space for a text of " << length << " characters";
        }
        try {
            static_cast<void>(MakeAutomationString({space.get(), length}));
            ADD_FAILURE() << "no exception for a text of " << length << " characters";
        } catch (const COleException& error) {
            EXPECT_EQ(error.m_sc, E_OUTOFMEMORY);
        }
    }
}

TEST(OleException, MessageIsTheSystemTextWithoutFullStop)
{
    const std::wstring text = COleException(E_ACCESSDENIED).GetErrorMessage();
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(std::wstring(L".\r\n ").find(text.back()), std::wstring::npos);
    EXPECT_EQ(text.find(L"80070005"), std::wstring::npos);
}

TEST(OleException, AnUnknownStatusIsShownAsItsNumber)
{
    {
        const CLanguageScope german(1);
        EXPECT_EQ(COleException(static_cast<HRESULT>(0xA0049999U)).GetErrorMessage(), L"Fehler 0xA0049999");
    }
    const CLanguageScope english(0);
    EXPECT_EQ(COleException(static_cast<HRESULT>(0xA0049999U)).GetErrorMessage(), L"Error 0xA0049999");
}

TEST(OleDispatchException, ADescriptionOfBlanksIsNone)
{
    COleDispatchException error;
    error.m_description = L" .\r\n";
    error.m_sc = E_ACCESSDENIED;
    EXPECT_EQ(error.GetErrorMessage(), COleException(E_ACCESSDENIED).GetErrorMessage());
    error.m_sc = S_OK;
    EXPECT_EQ(error.GetErrorMessage(), COleException(DISP_E_EXCEPTION).GetErrorMessage());
}

}  // namespace
