#include "framework/MessageMap.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "framework/Wnd.h"
#include "resources/resource.h"

namespace {

using Kind = MessageEntry::Kind;

// A window with handlers of different signatures. Some handlers record their call in m_called.
class CHandlers : public CWnd
{
public:
    void OnPlain() { m_called = "plain"; }
    LRESULT OnFull(WPARAM wParam, LPARAM lParam)
    {
        m_called = "full " + std::to_string(wParam) + " " + std::to_string(lParam);
        return 17;
    }
    void OnSize(UINT type, SIZE client)
    {
        m_called = "size " + std::to_string(type) + " " + std::to_string(client.cx) + " " +
                   std::to_string(client.cy);
    }
    void OnLimits(MINMAXINFO& limits) { limits.ptMinTrackSize = {320, 200}; }
    HICON OnIcon() { return reinterpret_cast<HICON>(static_cast<INT_PTR>(0x1234)); }
    LRESULT OnEndLabelEdit(NMHDR& header)
    {
        header.code = 5;
        return -3;
    }
    void OnOther() { m_called = "other"; }

    std::string m_called;
};

TEST(MessageMap, ARowMatchesByKindCodeAndNumber)
{
    static constexpr std::array kEntries{
        OnMessage<&CHandlers::OnPlain>(WM_PAINT),
        OnCommand<&CHandlers::OnPlain>(IDC_ADD),
        OnCommand<&CHandlers::OnPlain>(IDC_SOURCE_DIR, EN_KILLFOCUS),
        OnReflectedNotify<&CHandlers::OnEndLabelEdit>(LVN_ENDLABELEDITW),
        OnNotify<&CHandlers::OnEndLabelEdit>(HDN_ITEMCHANGINGW),
    };
    const MessageMap map{nullptr, kEntries};
    EXPECT_EQ(map.Find(Kind::message, WM_PAINT, 0), &kEntries[0]);
    EXPECT_EQ(map.Find(Kind::command, BN_CLICKED, IDC_ADD), &kEntries[1]);
    EXPECT_EQ(map.Find(Kind::command, EN_KILLFOCUS, IDC_SOURCE_DIR), &kEntries[2]);
    EXPECT_EQ(map.Find(Kind::reflectedNotify, LVN_ENDLABELEDITW, 0), &kEntries[3]);
    EXPECT_EQ(map.Find(Kind::notify, HDN_ITEMCHANGINGW, 0), &kEntries[4]);

    EXPECT_EQ(map.Find(Kind::message, WM_SIZE, 0), nullptr);
    EXPECT_EQ(map.Find(Kind::command, WM_PAINT, 0), nullptr);
    EXPECT_EQ(map.Find(Kind::command, BN_CLICKED, IDC_SOURCE_DIR), nullptr);
    EXPECT_EQ(map.Find(Kind::command, EN_KILLFOCUS, IDC_ADD), nullptr);
    EXPECT_EQ(map.Find(Kind::message, LVN_ENDLABELEDITW, 0), nullptr);
    EXPECT_EQ(map.Find(Kind::reflectedNotify, LVN_ENDLABELEDITA, 0), nullptr);
    EXPECT_EQ(map.Find(Kind::notify, LVN_ENDLABELEDITW, 0), nullptr);
    EXPECT_EQ(map.Find(Kind::reflectedNotify, HDN_ITEMCHANGINGW, 0), nullptr);
}

TEST(MessageMap, AnEmptyMapHoldsNothing)
{
    const MessageMap map{nullptr, {}};
    EXPECT_EQ(map.Find(Kind::message, WM_NULL, 0), nullptr);
}

TEST(MessageMap, TheDerivedClassComesBeforeItsBases)
{
    static constexpr std::array kRoot{OnMessage<&CHandlers::OnPlain>(WM_PAINT),
                                      OnMessage<&CHandlers::OnPlain>(WM_CLOSE)};
    static constexpr std::array kDerived{OnMessage<&CHandlers::OnOther>(WM_PAINT),
                                         OnMessage<&CHandlers::OnPlain>(WM_PAINT)};
    const MessageMap root{nullptr, kRoot};
    const MessageMap middle{&root, {}};
    const MessageMap derived{&middle, kDerived};
    EXPECT_EQ(derived.Find(Kind::message, WM_PAINT, 0), &kDerived[0]);
    EXPECT_EQ(derived.Find(Kind::message, WM_CLOSE, 0), &kRoot[1]);
    EXPECT_EQ(middle.Find(Kind::message, WM_PAINT, 0), &kRoot[0]);
    EXPECT_EQ(root.Find(Kind::message, WM_PAINT, 0), &kRoot[0]);
}

TEST(MessageMap, AHandlerGetsWhatItsSignatureAsksFor)
{
    CHandlers window;
    EXPECT_EQ(OnMessage<&CHandlers::OnPlain>(WM_PAINT).handler(window, 1, 2), 0);
    EXPECT_EQ(window.m_called, "plain");
    EXPECT_EQ(OnMessage<&CHandlers::OnFull>(WM_USER).handler(window, 4, -5), 17);
    EXPECT_EQ(window.m_called, "full 4 -5");
    EXPECT_EQ(OnMessage<&CHandlers::OnSize>(WM_SIZE).handler(window, SIZE_MAXIMIZED, MAKELPARAM(1920, 40000)),
              0);
    EXPECT_EQ(window.m_called, "size 2 1920 40000");
    MINMAXINFO limits{};
    EXPECT_EQ(OnMessage<&CHandlers::OnLimits>(WM_GETMINMAXINFO)
                  .handler(window, 0, reinterpret_cast<LPARAM>(&limits)),
              0);
    EXPECT_EQ(limits.ptMinTrackSize.x, 320);
    EXPECT_EQ(limits.ptMinTrackSize.y, 200);
    EXPECT_EQ(OnMessage<&CHandlers::OnIcon>(WM_QUERYDRAGICON).handler(window, 0, 0), 0x1234);
    NMHDR header{};
    EXPECT_EQ(OnReflectedNotify<&CHandlers::OnEndLabelEdit>(LVN_ENDLABELEDITW)
                  .handler(window, 0, reinterpret_cast<LPARAM>(&header)),
              -3);
    EXPECT_EQ(header.code, 5U);
    header.code = 4;
    EXPECT_EQ(OnNotify<&CHandlers::OnEndLabelEdit>(HDN_ITEMCHANGINGW)
                  .handler(window, 0, reinterpret_cast<LPARAM>(&header)),
              -3);
    EXPECT_EQ(header.code, 5U);
    EXPECT_EQ(OnCommand<&CHandlers::OnOther>(7).handler(window, 0, 0), 0);
    EXPECT_EQ(window.m_called, "other");
}

}  // namespace
