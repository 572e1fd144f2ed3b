#include "framework/Wnd.h"

#include <comdef.h>

#include <exception>
#include <string_view>
#include <unordered_map>

#include "framework/DataExchange.h"
#include "framework/Exception.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "framework/ScopeExit.h"

namespace {

// What a subclassed window is bound to.
struct Binding
{
    CWnd* object;  // null if the object was unbound while a later subclass procedure was installed over ours
    WNDPROC previous;
};

// Not thread_local: with GCC for Windows each access would be a function call, for every message. All windows
// are on one thread.
std::unordered_map<HWND, Binding>& Bindings()
{
    static std::unordered_map<HWND, Binding> bindings;
    return bindings;
}

WNDPROC ProcedureOf(HWND window)
{
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
}

void SetProcedure(HWND window, WNDPROC procedure)
{
    SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
}

// Decodes what() of an exception: what() may contain the text of a system error in the ANSI code page.
std::wstring DecodeAnsi(std::string_view text)
{
    std::wstring decoded(text.size(), L'\0');  // a byte never decodes to more than one code unit
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                           decoded.data(), static_cast<int>(decoded.size()));
    decoded.resize(static_cast<std::size_t>(length));
    return decoded;
}

void ShowUnexpected(const std::wstring& description)
{
    constexpr Text kUnexpected{L"Unerwarteter Fehler: %1", L"Unexpected error: %1"};
    ShowMessage(FillPlaceholders(kUnexpected.Current(), {description}), MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace

CWnd::~CWnd()
{
    UnsubclassWindow();
}

CWnd* CWnd::FromHandle(HWND window)
{
    const auto found = Bindings().find(window);
    return found != Bindings().end() ? found->second.object : nullptr;
}

bool CWnd::SubclassWindow(HWND window)
{
    if (m_hWnd != nullptr || !IsWindow(window) || FromHandle(window) != nullptr) {
        return false;
    }
    const auto [binding, isNew] = Bindings().try_emplace(window, Binding{this, ProcedureOf(window)});
    binding->second.object = this;  // an existing entry may be left over from an unbound object
    m_hWnd = window;
    m_previousProcedure = binding->second.previous;
    if (isNew) {
        SetProcedure(window, &SubclassProc);
    }
    return true;
}

HWND CWnd::UnsubclassWindow()
{
    const HWND window = m_hWnd;
    if (window != nullptr) {
        const auto binding = Bindings().find(window);
        if (ProcedureOf(window) == &SubclassProc) {
            SetProcedure(window, binding->second.previous);
            Bindings().erase(binding);
        } else {
            binding->second.object = nullptr;
        }
        m_hWnd = nullptr;
    }
    return window;
}

bool CWnd::CreateChild(const wchar_t* windowClass, DWORD style, const RECT& place, const CWnd& parent, int id)
{
    const HWND window = CreateWindowExW(0, windowClass, L"", WS_CHILD | style, place.left, place.top,
                                        place.right - place.left, place.bottom - place.top, parent.m_hWnd,
                                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                        GetModuleHandleW(nullptr), nullptr);
    const CScopeExit destroyUnbound([this, window] {
        if (window != nullptr && m_hWnd == nullptr) {
            ::DestroyWindow(window);
        }
    });
    return SubclassWindow(window);
}

bool CWnd::DestroyWindow()
{
    return m_hWnd != nullptr && ::DestroyWindow(m_hWnd) != FALSE;
}

bool CWnd::PreTranslateMessage(MSG&)
{
    return false;
}

bool CWnd::WalkPreTranslateTree(MSG& message)
{
    for (HWND window = message.hwnd; window != nullptr; window = GetAncestor(window, GA_PARENT)) {
        CWnd* object = FromHandle(window);
        bool handled = false;
        if (object != nullptr) {
            Guard([&] { handled = object->PreTranslateMessage(message); });
        }
        if (handled) {
            return true;
        }
    }
    return false;
}

bool CWnd::UpdateData(bool save)
{
    CDataExchange exchange(m_hWnd, save);
    DoDataExchange(exchange);
    return exchange.Succeeded();
}

RECT CWnd::GetClientRect() const
{
    RECT rect{};
    ::GetClientRect(m_hWnd, &rect);
    return rect;
}

int CWnd::Scaled(int length) const
{
    return MulDiv(length, static_cast<int>(GetDpiForWindow(m_hWnd)), USER_DEFAULT_SCREEN_DPI);
}

const MessageMap* CWnd::GetMessageMap() const
{
    static constexpr MessageMap kMap{nullptr, {}};
    return &kMap;
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_COMMAND) {
        return OnCommand(wParam, lParam) ? 0 : Default();
    }
    if (message == WM_NOTIFY) {
        return OnNotify(wParam, lParam);
    }
    const MessageEntry* entry = GetMessageMap()->Find(MessageEntry::Kind::message, message, 0);
    return entry != nullptr ? entry->handler(*this, wParam, lParam) : Default();
}

bool CWnd::OnCommand(WPARAM wParam, LPARAM lParam)
{
    const MessageEntry* entry =
        GetMessageMap()->Find(MessageEntry::Kind::command, HIWORD(wParam), LOWORD(wParam));
    if (entry == nullptr) {
        return false;
    }
    entry->handler(*this, wParam, lParam);
    return true;
}

LRESULT CWnd::OnNotify(WPARAM wParam, LPARAM lParam)
{
    const NMHDR& header = *reinterpret_cast<const NMHDR*>(lParam);
    CWnd* sender = FromHandle(header.hwndFrom);
    if (sender != nullptr) {
        const MessageEntry* entry =
            sender->GetMessageMap()->Find(MessageEntry::Kind::reflectedNotify, header.code, 0);
        if (entry != nullptr) {
            return entry->handler(*sender, wParam, lParam);
        }
    }
    const MessageEntry* entry = GetMessageMap()->Find(MessageEntry::Kind::notify, header.code, 0);
    return entry != nullptr ? entry->handler(*this, wParam, lParam) : Default();
}

void CWnd::DoDataExchange(CDataExchange&) {}

LRESULT CWnd::Default()
{
    return DefaultWindowProc(m_current.message, m_current.wParam, m_current.lParam);
}

LRESULT CWnd::DefaultWindowProc(UINT message, WPARAM wParam, LPARAM lParam) const
{
    if (m_hWnd == nullptr) {
        return 0;  // a handler destroyed or unbound the window
    }
    return CallWindowProcW(m_previousProcedure, m_hWnd, message, wParam, lParam);
}

std::wstring CWnd::TextOf(HWND window)
{
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)), L'\0');
    // The length may be an overestimate ("GetWindowTextLengthW function").
    const int length = ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

LRESULT CALLBACK CWnd::SubclassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto found = Bindings().find(window);
    if (found == Bindings().end()) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const Binding binding = found->second;
    if (message == WM_NCDESTROY) {
        if (binding.object != nullptr) {
            binding.object->UnsubclassWindow();
        }
        Bindings().erase(window);
        const LRESULT result = CallWindowProcW(binding.previous, window, message, wParam, lParam);
        if (binding.object != nullptr) {
            Guard([&binding] { binding.object->PostNcDestroy(); });
        }
        return result;
    }
    return binding.object != nullptr ? binding.object->Dispatch(message, wParam, lParam)
                                     : CallWindowProcW(binding.previous, window, message, wParam, lParam);
}

LRESULT CWnd::Dispatch(UINT message, WPARAM wParam, LPARAM lParam)
{
    const HWND window = m_hWnd;
    const CurrentMessage outer = m_current;
    m_current = {message, wParam, lParam};
    LRESULT result = 0;
    Guard([&] { result = WindowProc(message, wParam, lParam); });
    // By now a handler may have destroyed the window, and PostNcDestroy may have deleted this object.
    if (FromHandle(window) == this) {
        m_current = outer;
    }
    return result;
}

void CWnd::ReportException() noexcept
{
    try {
        throw;
    } catch (const CException& exception) {
        ShowMessage(exception.GetErrorMessage(), MB_OK | MB_ICONEXCLAMATION);
    } catch (const std::exception& exception) {
        ShowUnexpected(DecodeAnsi(exception.what()));
    } catch (const _com_error& error) {
        ShowUnexpected(error.ErrorMessage());
    }
}
