#include "framework/OleMessageFilter.h"

#include <gtest/gtest.h>

#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestScopes.h"

namespace {

// Calls the filter as COM does on Windows. Wine 8 serves a call despite "retry later" and never calls the
// client's filter.
constexpr DWORD kCancelled = static_cast<DWORD>(-1);

// The filter that COM has for this thread.
IMessageFilterPtr FilterInPlace()
{
    IMessageFilterPtr current;
    CoRegisterMessageFilter(nullptr, &current);
    IMessageFilterPtr none;
    CoRegisterMessageFilter(current, &none);
    return current;
}

// A result that makes COM retry after a short wait.
bool IsRetryAfterShortWait(DWORD answer)
{
    return answer >= 100 && answer <= 1000;
}

TEST(OleMessageFilter, AcceptsIncomingCallsAndKeepsWaitingForPendingOnes)
{
    CMessageRecorder user([] { return IDCANCEL; });
    COleMessageFilter filter;
    EXPECT_EQ(filter.HandleInComingCall(CALLTYPE_TOPLEVEL, nullptr, 0, nullptr), DWORD{SERVERCALL_ISHANDLED});
    EXPECT_EQ(filter.MessagePending(nullptr, 0, PENDINGTYPE_TOPLEVEL), DWORD{PENDINGMSG_WAITDEFPROCESS});
    EXPECT_EQ(filter.MessagePending(nullptr, 600000, PENDINGTYPE_NESTED), DWORD{PENDINGMSG_WAITDEFPROCESS});
    EXPECT_TRUE(user.m_boxes.empty());
}

TEST(OleMessageFilter, TriesABusyServerAgainUntilTheDelayHasPassed)
{
    CMessageRecorder user([] { return IDCANCEL; });
    COleMessageFilter filter;
    for (const DWORD rejectType : {SERVERCALL_RETRYLATER, SERVERCALL_REJECTED}) {
        EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 0, rejectType)));
        EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 4999, rejectType)));
    }
    EXPECT_TRUE(user.m_boxes.empty());
    EXPECT_EQ(filter.RetryRejectedCall(nullptr, 5000, SERVERCALL_RETRYLATER), kCancelled);
    EXPECT_EQ(user.m_boxes.size(), 1U);
}

TEST(OleMessageFilter, TheDelayCanBeSet)
{
    CMessageRecorder user([] { return IDCANCEL; });
    COleMessageFilter filter;
    filter.SetBusyDelay(60000);
    // No call can have waited longer than the machine runs.
    if (GetTickCount64() < 60000) {
        GTEST_SKIP() << "skipped: the machine runs for less than a minute";
    }
    EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 59999, SERVERCALL_RETRYLATER)));
    EXPECT_TRUE(user.m_boxes.empty());
    EXPECT_EQ(filter.RetryRejectedCall(nullptr, 60000, SERVERCALL_RETRYLATER), kCancelled);
}

TEST(OleMessageFilter, AsksInBothLanguages)
{
    CMessageRecorder user([] { return IDCANCEL; });
    COleMessageFilter filter;
    filter.SetBusyDelay(0);
    {
        const CLanguageScope german(1);
        filter.RetryRejectedCall(nullptr, 0, SERVERCALL_RETRYLATER);
    }
    const CLanguageScope english(0);
    filter.RetryRejectedCall(nullptr, 0, SERVERCALL_RETRYLATER);
    ASSERT_EQ(user.m_boxes.size(), 2U);
    EXPECT_EQ(user.m_boxes[0].type, UINT{MB_RETRYCANCEL | MB_ICONEXCLAMATION});
    EXPECT_EQ(user.m_boxes[0].text, expected::kBusy.german);
    EXPECT_EQ(user.m_boxes[1].text, expected::kBusy.english);
}

TEST(OleMessageFilter, RetryWaitsForAnotherDelay)
{
    CMessageRecorder user([] { return IDRETRY; });
    COleMessageFilter filter;
    filter.SetBusyDelay(300);
    EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 300, SERVERCALL_RETRYLATER)));
    EXPECT_EQ(user.m_boxes.size(), 1U);
    EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 5000, SERVERCALL_RETRYLATER)));
    EXPECT_EQ(user.m_boxes.size(), 1U);
    Sleep(350);
    EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 5350, SERVERCALL_RETRYLATER)));
    EXPECT_EQ(user.m_boxes.size(), 2U);
}

TEST(OleMessageFilter, DoesNotAskWhileItAsks)
{
    COleMessageFilter filter;
    filter.SetBusyDelay(0);
    DWORD nested = 0;
    CMessageRecorder user([&filter, &nested] {
        nested = filter.RetryRejectedCall(nullptr, 100000, SERVERCALL_RETRYLATER);
        return IDCANCEL;
    });
    EXPECT_EQ(filter.RetryRejectedCall(nullptr, 100000, SERVERCALL_RETRYLATER), kCancelled);
    EXPECT_TRUE(IsRetryAfterShortWait(nested));
    EXPECT_EQ(user.m_boxes.size(), 1U);
}

TEST(OleMessageFilter, IsInPlaceBetweenRegisterAndRevoke)
{
    const IMessageFilterPtr before = FilterInPlace();
    COleMessageFilter filter;
    EXPECT_TRUE(filter.Register());
    EXPECT_TRUE(filter.Register());
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), &filter);
    filter.Revoke();
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), before.GetInterfacePtr());
    filter.Revoke();
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), before.GetInterfacePtr());
}

TEST(OleMessageFilter, PutsTheFilterBeforeBackAndLeavesNoReference)
{
    COleMessageFilter outer;
    ASSERT_TRUE(outer.Register());
    {
        COleMessageFilter inner;
        ASSERT_TRUE(inner.Register());
        EXPECT_EQ(FilterInPlace().GetInterfacePtr(), &inner);
    }
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), &outer);
    outer.Revoke();
    EXPECT_EQ(outer.AddRef(), 2U);
}

TEST(OleMessageFilter, IsNothingButAMessageFilter)
{
    COleMessageFilter filter;
    IMessageFilterPtr asFilter;
    EXPECT_EQ(filter.QueryInterface(IID_IMessageFilter, reinterpret_cast<void**>(&asFilter)), S_OK);
    EXPECT_EQ(asFilter.GetInterfacePtr(), &filter);
    void* other = &filter;
    EXPECT_EQ(filter.QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(filter.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
