#include "framework/AccessibleName.h"

#include <gtest/gtest.h>

#include <initguid.h>  // makes oleacc.h define its GUIDs here

#include <oleacc.h>

#include <string>

#include "framework/ComPointers.h"
#include "tests/windows/ConvListScopes.h"

DECLARE_COM_POINTER(IAccessible);
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
