#include "framework/AccessibleName.h"

#include <gtest/gtest.h>

#include <initguid.h>  // makes oleacc.h define its GUIDs here

#include <oleacc.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "framework/ComPointers.h"
#include "tests/support/AnnouncementWatch.h"
#include "tests/support/FakeClasses.h"
#include "tests/windows/ConvListScopes.h"

DECLARE_COM_POINTER(IAccessible);
DECLARE_COM_POINTER(IAccPropServer);
DECLARE_COM_POINTER(IAccPropServices);

namespace {

std::wstring AccessibleNameOf(HWND window, long child = CHILDID_SELF)
{
    IAccessiblePtr object;
    if (FAILED(AccessibleObjectFromWindow(window, static_cast<DWORD>(OBJID_CLIENT), IID_IAccessible,
                                          reinterpret_cast<void**>(&object)))) {
        return L"(no object)";
    }
    _bstr_t name;
    object->get_accName(_variant_t(child), name.GetAddress());
    return name.length() == 0 ? std::wstring() : static_cast<const wchar_t*>(name);
}

class AccessibleName : public testing::Test
{
protected:
    void SetUp() override
    {
        IAccPropServicesPtr services;
        services.CreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER);
        ASSERT_NE(services, nullptr);
        const CPlainWindow window;
        const HRESULT status = services->SetHwndPropStr(window.m_hWnd, static_cast<DWORD>(OBJID_CLIENT),
                                                        CHILDID_SELF, PROPID_ACC_NAME, L"x");
        ClearAccessibleName(window.m_hWnd);
        if (status == E_NOTIMPL) {
            GTEST_SKIP() << "skipped: this system ignores accessible names that programs set, as Wine does";
        }
    }

    CPlainWindow m_window;
};

TEST_F(AccessibleName, IsWhatWasSetUntilItIsCleared)
{
    const HWND edit = m_window.AddControl(WC_EDITW, 1, 0, {0, 0, 50, 20});
    SetAccessibleName(edit, L"Größe");
    EXPECT_EQ(AccessibleNameOf(edit), L"Größe");
    ClearAccessibleName(edit);
    EXPECT_EQ(AccessibleNameOf(edit), L"");
}

TEST_F(AccessibleName, OfACellEditorIsColumnHeadingAndPartFile)
{
    CListWindow window;
    LVCOLUMNW header{};
    header.mask = LVCF_TEXT;
    std::wstring text = L"Renamed to...";
    header.pszText = text.data();
    ListView_SetColumn(window.m_list.m_hWnd, 1, &header);
    window.m_list.EditCell(3, 1);
    EXPECT_EQ(AccessibleNameOf(window.Editor()), L"Renamed to... N_3.sldprt");
}

TEST_F(AccessibleName, OfARowIsCurrentAfterRowsWereDeleted)
{
    const CLanguageScope german(1);
    const CListWindow window;
    const HWND list = window.m_list.m_hWnd;
    SetAccessibleRowNames(list, [&window](int row) { return window.m_list.SpokenName(row); });
    constexpr long kSecondRow = 2;  // children are counted from 1
    EXPECT_EQ(AccessibleNameOf(list, kSecondRow), L"N_1.sldprt, umgesetzt");
    window.m_list.DeleteItem(0);
    window.m_list.MarkPending(1);
    EXPECT_EQ(AccessibleNameOf(list, kSecondRow), L"N_2.sldprt, vorgemerkt");
    ClearAccessibleRowNames(list);
    EXPECT_EQ(AccessibleNameOf(list, kSecondRow), L"N_2.sldprt");
}

// Replaces the system's service, because Wine's service ignores names. Keeps the server that supplies the
// names of a list's rows. The identity string of an object is its child number alone.
class CFakePropServices final : public IAccPropServices
{
public:
    CFakePropServices() = default;
    CFakePropServices(const CFakePropServices&) = delete;
    CFakePropServices& operator=(const CFakePropServices&) = delete;

    IAccPropServerPtr m_server;
    long m_liveSetting = 0;

    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override
    {
        const bool known = interfaceId == IID_IUnknown || interfaceId == IID_IAccPropServices;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP SetHwndPropServer(HWND, DWORD object, DWORD child, const MSAAPROPID* properties, int count,
                                   IAccPropServer* server, AnnoScope scope) override
    {
        const bool namesRows = object == static_cast<DWORD>(OBJID_CLIENT) && child == CHILDID_SELF &&
                               count == 1 && *properties == PROPID_ACC_NAME && scope == ANNO_CONTAINER;
        m_server = namesRows ? server : nullptr;
        return S_OK;
    }
    STDMETHODIMP ClearHwndProps(HWND, DWORD, DWORD, const MSAAPROPID*, int) override
    {
        m_server = nullptr;
        m_liveSetting = 0;
        return S_OK;
    }
    STDMETHODIMP SetHwndProp(HWND, DWORD object, DWORD child, MSAAPROPID property, VARIANT value) override
    {
        // The live setting of a text ("Control Pattern and Property Identifiers").
        constexpr GUID kLive{0xC12BCD8E, 0x2A8E, 0x4950, {0x8A, 0xE7, 0x36, 0x25, 0x11, 0x1D, 0x58, 0xEB}};
        const bool isLive = object == static_cast<DWORD>(OBJID_CLIENT) && child == CHILDID_SELF &&
                            property == kLive && value.vt == VT_I4;
        m_liveSetting = isLive ? value.lVal : 0;
        return S_OK;
    }
    STDMETHODIMP DecomposeHwndIdentityString(const BYTE* identity, DWORD length, HWND*, DWORD* object,
                                             DWORD* child) override
    {
        if (length != sizeof *child) {
            return E_INVALIDARG;
        }
        *object = static_cast<DWORD>(OBJID_CLIENT);
        std::memcpy(child, identity, length);
        return S_OK;
    }

    // The program calls none of these.
    STDMETHODIMP SetPropValue(const BYTE*, DWORD, MSAAPROPID, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP SetPropServer(const BYTE*, DWORD, const MSAAPROPID*, int, IAccPropServer*,
                               AnnoScope) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP ClearProps(const BYTE*, DWORD, const MSAAPROPID*, int) override { return E_NOTIMPL; }
    STDMETHODIMP SetHwndPropStr(HWND, DWORD, DWORD, MSAAPROPID, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP ComposeHwndIdentityString(HWND, DWORD, DWORD, BYTE**, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP SetHmenuProp(HMENU, DWORD, MSAAPROPID, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP SetHmenuPropStr(HMENU, DWORD, MSAAPROPID, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetHmenuPropServer(HMENU, DWORD, const MSAAPROPID*, int, IAccPropServer*, AnnoScope) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP ClearHmenuProps(HMENU, DWORD, const MSAAPROPID*, int) override { return E_NOTIMPL; }
    STDMETHODIMP ComposeHmenuIdentityString(HMENU, DWORD, BYTE**, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP DecomposeHmenuIdentityString(const BYTE*, DWORD, HMENU*, DWORD*) override
    {
        return E_NOTIMPL;
    }
};

class AccessibleRowNames : public testing::Test
{
protected:
    void SetNames(RowName nameOf) const { SetAccessibleRowNames(m_window.m_hWnd, std::move(nameOf)); }

    // The name that the server supplies; "(own)" if the server leaves the name to the list view.
    [[nodiscard]] std::wstring NameOf(DWORD child, DWORD identityLength = sizeof(DWORD)) const
    {
        if (m_services.m_server == nullptr) {
            return L"(no server)";
        }
        _variant_t name;
        BOOL hasName = TRUE;
        EXPECT_EQ(m_services.m_server->GetPropValue(reinterpret_cast<const BYTE*>(&child), identityLength,
                                                    PROPID_ACC_NAME, &name, &hasName),
                  S_OK);
        EXPECT_EQ(name.vt, hasName != FALSE ? VT_BSTR : VT_EMPTY);
        return name.vt == VT_BSTR ? name.bstrVal : L"(own)";
    }

    CFakePropServices m_services;
    CFakeClass m_class{CLSID_AccPropServices, m_services};
    CPlainWindow m_window;
};

TEST_F(AccessibleRowNames, AreRequestedByRowNumbersFrom0)
{
    SetNames([](int row) { return L"row " + std::to_wstring(row); });
    EXPECT_EQ(NameOf(1), L"row 0");
    EXPECT_EQ(NameOf(3), L"row 2");
}

TEST_F(AccessibleRowNames, AreForRowsOnly)
{
    SetNames([](int row) { return L"row " + std::to_wstring(row); });
    EXPECT_EQ(NameOf(CHILDID_SELF), L"(own)");
    EXPECT_EQ(NameOf(1, 0), L"(own)") << "an identity that the service cannot read";
}

TEST_F(AccessibleRowNames, AreTheListsOwnInsteadOfAnEmptyName)
{
    SetNames([](int) { return std::wstring(); });
    EXPECT_EQ(NameOf(1), L"(own)");
}

TEST_F(AccessibleRowNames, AreTheListsOwnWhenTheFunctionThrows)
{
    SetNames([](int) -> std::wstring { throw std::runtime_error("x"); });
    EXPECT_EQ(NameOf(1), L"(own)");
}

TEST_F(AccessibleRowNames, AreFreedOnceCleared)
{
    const auto name = std::make_shared<std::wstring>(L"x");
    SetNames([name](int) { return *name; });
    EXPECT_EQ(NameOf(1), L"x");
    ClearAccessibleRowNames(m_window.m_hWnd);
    EXPECT_EQ(NameOf(1), L"(no server)");
    EXPECT_EQ(name.use_count(), 1);
}

class Announcement : public AccessibleRowNames
{
};

TEST_F(Announcement, InterruptsAndTellsOfTheChange)
{
    constexpr long kAssertive = 2;
    const CAnnouncementWatch watch;
    Announce(m_window.m_hWnd);
    DrainMessages();
    EXPECT_EQ(m_services.m_liveSetting, kAssertive);
    EXPECT_EQ(watch.Take(), std::vector<HWND>{m_window.m_hWnd});
    ClearAnnouncement(m_window.m_hWnd);
    EXPECT_EQ(m_services.m_liveSetting, 0);
}

TEST(ConvListSpokenName, IsThePartFileAndItsMark)
{
    const CListWindow window;
    window.m_list.MarkPending(1);
    {
        const CLanguageScope german(1);
        EXPECT_EQ(window.m_list.SpokenName(0), L"N_0.sldprt, umgesetzt");
        EXPECT_EQ(window.m_list.SpokenName(1), L"N_1.sldprt, vorgemerkt");
    }
    EXPECT_EQ(window.m_list.SpokenName(5), L"");
    EXPECT_EQ(window.m_list.SpokenName(-1), L"");
    const CLanguageScope english(0);
    EXPECT_EQ(window.m_list.SpokenName(0), L"N_0.sldprt, converted");
    EXPECT_EQ(window.m_list.SpokenName(1), L"N_1.sldprt, marked for conversion");
}

}  // namespace
