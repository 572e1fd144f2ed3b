#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <shobjidl.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/ImportTable.h"

// A fake taskbar, and a watch on windows that flash. Wine has no taskbar, so no test has been run with a real
// taskbar button yet.

// Notes the calls about progress. Deletes itself with its last reference.
class CFakeTaskbar final : public ITaskbarList3
{
public:
    explicit CFakeTaskbar(std::vector<std::string>& calls) : m_calls(calls) {}

    HWND m_window = nullptr;  // the window that the calls must name

    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override
    {
        const bool known =
            IsEqualIID(interfaceId, IID_IUnknown) || IsEqualIID(interfaceId, IID_ITaskbarList3);
        *object = known ? this : nullptr;
        m_references += known ? 1 : 0;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP HrInit() override { return S_OK; }
    STDMETHODIMP AddTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP ActivateTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP SetActiveAlt(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP MarkFullscreenWindow(HWND, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP SetProgressValue(HWND window, ULONGLONG done, ULONGLONG total) override
    {
        EXPECT_EQ(window, m_window);
        m_calls.push_back(std::to_string(done) + "/" + std::to_string(total));
        return S_OK;
    }
    STDMETHODIMP SetProgressState(HWND window, TBPFLAG state) override
    {
        EXPECT_EQ(window, m_window);
        m_calls.push_back(NameOf(state));
        return S_OK;
    }
    STDMETHODIMP RegisterTab(HWND, HWND) override { return E_NOTIMPL; }
    STDMETHODIMP UnregisterTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP SetTabOrder(HWND, HWND) override { return E_NOTIMPL; }
    STDMETHODIMP SetTabActive(HWND, HWND, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP ThumbBarAddButtons(HWND, UINT, LPTHUMBBUTTON) override { return E_NOTIMPL; }
    STDMETHODIMP ThumbBarUpdateButtons(HWND, UINT, LPTHUMBBUTTON) override { return E_NOTIMPL; }
    STDMETHODIMP ThumbBarSetImageList(HWND, HIMAGELIST) override { return E_NOTIMPL; }
    STDMETHODIMP SetOverlayIcon(HWND, HICON, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetThumbnailTooltip(HWND, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetThumbnailClip(HWND, RECT*) override { return E_NOTIMPL; }

private:
    ~CFakeTaskbar() = default;

    static std::string NameOf(TBPFLAG state)
    {
        switch (state) {
            case TBPF_NOPROGRESS:
                return "none";
            case TBPF_NORMAL:
                return "normal";
            case TBPF_PAUSED:
                return "paused";
            case TBPF_ERROR:
                return "error";
            default:
                return "?";
        }
    }

    ULONG m_references = 1;
    std::vector<std::string>& m_calls;
};

// While the watch exists, FlashWindowEx calls the function of the test instead of flashing a window, and
// GetForegroundWindow returns m_inFront.
class CFlashWatch
{
public:
    using OnFlash = std::function<void(const FLASHWINFO&)>;

    explicit CFlashWatch(OnFlash onFlash) : m_onFlash(std::move(onFlash))
    {
        static const bool redirected = RedirectImport("FlashWindowEx", &Flash, &s_flash) &&
                                       RedirectImport("GetForegroundWindow", &WindowInFront, &s_inFront);
        EXPECT_TRUE(redirected);
        s_watch = this;
    }
    CFlashWatch(const CFlashWatch&) = delete;
    CFlashWatch& operator=(const CFlashWatch&) = delete;
    ~CFlashWatch() { s_watch = nullptr; }

    HWND m_inFront = GetDesktopWindow();  // belongs to another process

private:
    static BOOL WINAPI Flash(PFLASHWINFO flash)
    {
        if (s_watch == nullptr) {
            return s_flash(flash);
        }
        s_watch->m_onFlash(*flash);
        return FALSE;
    }
    static HWND WINAPI WindowInFront() { return s_watch != nullptr ? s_watch->m_inFront : s_inFront(); }

    static inline decltype(&::FlashWindowEx) s_flash = nullptr;
    static inline decltype(&::GetForegroundWindow) s_inFront = nullptr;
    static inline CFlashWatch* s_watch = nullptr;

    OnFlash m_onFlash;
};
