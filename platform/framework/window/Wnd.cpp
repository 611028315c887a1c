#include "Wnd.h"

#include <algorithm>
#include <exception>
#include <map>
#include <memory>

#include "../core/Diagnostics.h"
#include "../core/Exception.h"
#include "../module/Module.h"
#include "DataExchange.h"

IMPLEMENT_DYNAMIC(CWnd, CObject)

namespace {

/// One thread's windows and the message that it handles.
struct WindowThread {
    std::map<HWND, CWnd*> permanent;
    std::map<HWND, std::unique_ptr<CWnd>> temporary;
    CWnd* creating = nullptr;
    MSG current{};
    int depth = 0;
};

WindowThread& ThisThread() {
    thread_local WindowThread state;
    return state;
}

/// The class's own procedure of a window that was created through CreateEx.
LRESULT CALLBACK CreationHook(int code, WPARAM wParam, LPARAM lParam) {
    WindowThread& thread = ThisThread();
    if (code == HCBT_CREATEWND && thread.creating != nullptr) {
        CWnd* window = thread.creating;
        thread.creating = nullptr;
        window->SubclassWindow(reinterpret_cast<HWND>(wParam));
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

/// Makes `window` the object of the window that this thread creates next, until the end of the
/// scope.
class CreationScope {
public:
    explicit CreationScope(CWnd* window)
        : m_hook(::SetWindowsHookExA(WH_CBT, &CreationHook, nullptr, ::GetCurrentThreadId())) {
        ThisThread().creating = window;
    }
    ~CreationScope() {
        ThisThread().creating = nullptr;
        ::UnhookWindowsHookEx(m_hook);
    }
    CreationScope(const CreationScope&) = delete;
    CreationScope& operator=(const CreationScope&) = delete;

private:
    const HHOOK m_hook;
};

/// What a message answers whose handler threw.
LRESULT AfterException(HWND window, UINT message, LPCSTR what) {
    AfxTrace("the handler of message %u was left by %s\n", message, what);
    if (message == WM_PAINT) {
        ::ValidateRect(window, nullptr);  // else it would be asked to paint for ever
    }
    return message == WM_CREATE ? -1 : 0;
}

}  // namespace

CWnd* FrameworkMessages::WindowOf(HWND handle) {
    return CWnd::FromHandle(handle);
}

CWnd::~CWnd() {
    if (m_hWnd != nullptr && FromHandlePermanent(m_hWnd) == this) {
        DestroyWindow();
    }
}

CWnd* CWnd::FromHandle(HWND window) {
    if (window == nullptr) {
        return nullptr;
    }
    if (CWnd* permanent = FromHandlePermanent(window)) {
        return permanent;
    }
    auto& temporary = ThisThread().temporary[window];
    if (temporary == nullptr) {
        temporary = std::make_unique<CWnd>();
        temporary->m_hWnd = window;
    }
    return temporary.get();
}

CWnd* CWnd::FromHandlePermanent(HWND window) {
    const auto& known = ThisThread().permanent;
    const auto found = known.find(window);
    return found != known.end() ? found->second : nullptr;
}

BOOL CWnd::Attach(HWND window) {
    if (window == nullptr) {
        return FALSE;
    }
    m_hWnd = window;
    ThisThread().permanent[window] = this;
    return TRUE;
}

HWND CWnd::Detach() {
    const HWND window = m_hWnd;
    if (window != nullptr) {
        ThisThread().permanent.erase(window);
    }
    m_hWnd = nullptr;
    return window;
}

BOOL CWnd::SubclassWindow(HWND window) {
    if (!Attach(window)) {
        return FALSE;
    }
    PreSubclassWindow();
    m_former = reinterpret_cast<WNDPROC>(
        ::SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&CWnd::Procedure)));
    return m_former != nullptr;
}

BOOL CWnd::SubclassDlgItem(UINT id, CWnd* parent) {
    return SubclassWindow(::GetDlgItem(parent->m_hWnd, static_cast<int>(id)));
}

BOOL CWnd::Create(LPCSTR className, LPCSTR title, DWORD style, const RECT& rect, CWnd* parent,
                  UINT id) {
    return CreateEx(0, className, title, style | WS_CHILD, rect, parent, id);
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCSTR className, LPCSTR title, DWORD style, const RECT& rect,
                    CWnd* parent, UINT id) {
    const CreationScope creation(this);
    const bool placed = rect.left != CW_USEDEFAULT;
    const HWND window = ::CreateWindowExA(exStyle, className, title, style, rect.left, rect.top,
                                          placed ? rect.right - rect.left : CW_USEDEFAULT,
                                          placed ? rect.bottom - rect.top : CW_USEDEFAULT,
                                          parent != nullptr ? parent->m_hWnd : nullptr,
                                          reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)),
                                          AfxGetInstanceHandle(), nullptr);
    return window != nullptr;
}

BOOL CWnd::DestroyWindow() {
    if (m_hWnd == nullptr) {
        return FALSE;
    }
    const HWND window = m_hWnd;
    const BOOL destroyed = ::DestroyWindow(window);
    // A window that was attached only sends no last message here. Where one came, the object has
    // let go, and may have deleted itself.
    if (CWnd* attached = FromHandlePermanent(window)) {
        attached->Detach();
    }
    return destroyed;
}

void CWnd::GetWindowText(CString& text) const {
    const int length = ::GetWindowTextLengthA(m_hWnd);
    ::GetWindowTextA(m_hWnd, text.GetBuffer(length), length + 1);
    text.ReleaseBuffer();
}

static BOOL ModifyWindowLong(HWND window, int index, DWORD remove, DWORD add, UINT flags) {
    const auto style = static_cast<DWORD>(::GetWindowLongA(window, index));
    const DWORD wanted = (style & ~remove) | add;
    if (wanted == style) {
        return FALSE;
    }
    ::SetWindowLongA(window, index, static_cast<LONG>(wanted));
    if (flags != 0) {
        ::SetWindowPos(window, nullptr, 0, 0, 0, 0,
                       SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | flags);
    }
    return TRUE;
}

BOOL CWnd::ModifyStyle(DWORD remove, DWORD add, UINT positionFlags) {
    return ModifyWindowLong(m_hWnd, GWL_STYLE, remove, add, positionFlags);
}

BOOL CWnd::ModifyStyleEx(DWORD remove, DWORD add, UINT positionFlags) {
    return ModifyWindowLong(m_hWnd, GWL_EXSTYLE, remove, add, positionFlags);
}

BOOL CWnd::UpdateData(BOOL saveAndValidate) {
    CDataExchange exchange(this, saveAndValidate);
    try {
        DoDataExchange(&exchange);
        return TRUE;
    } catch (CUserException* refused) {
        refused->Delete();  // the user has seen the message
    } catch (CException* failed) {
        failed->Delete();
    }
    return FALSE;
}

BOOL CWnd::PreTranslateMessage(MSG*) {
    return FALSE;
}

const MessageMap* CWnd::GetMessageMap() const {
    return GetThisMessageMap();
}

const MessageMap* CWnd::GetThisMessageMap() {
    static const MessageEntry entries[] = {{0, 0, 0, 0, nullptr, nullptr}};
    static const MessageMap map = {nullptr, entries};
    return &map;
}

bool CWnd::Dispatch(UINT wanted, UINT code, UINT id, UINT message, WPARAM wParam, LPARAM lParam,
                    LRESULT* result) {
    for (const MessageMap* map = GetMessageMap(); map != nullptr;
         map = map->base != nullptr ? map->base() : nullptr) {
        for (const MessageEntry* entry = map->entries; entry->call != nullptr; ++entry) {
            if (entry->message == wanted && entry->code == code && id >= entry->firstId &&
                id <= entry->lastId) {
                return entry->call(this, entry->handler, message, wParam, lParam, result);
            }
        }
    }
    return false;
}

BOOL CWnd::OnCommand(WPARAM wParam, LPARAM lParam) {
    LRESULT result = 0;
    const UINT code = lParam != 0 ? HIWORD(wParam) : 0;
    return Dispatch(WM_COMMAND, code, LOWORD(wParam), WM_COMMAND, wParam, lParam, &result);
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    LRESULT result = 0;
    if (message == WM_COMMAND) {
        if (OnCommand(wParam, lParam)) {
            return 0;
        }
    } else if (message == WM_NOTIFY) {
        const auto* header = reinterpret_cast<const NMHDR*>(lParam);
        if (Dispatch(WM_NOTIFY, header->code, static_cast<UINT>(header->idFrom), message, wParam,
                     lParam, &result)) {
            return result;
        }
    } else if (message >= WM_CTLCOLORMSGBOX && message <= WM_CTLCOLORSTATIC) {
        // The control is asked first.
        CWnd* control = FromHandlePermanent(reinterpret_cast<HWND>(lParam));
        if (control != nullptr &&
            control->Dispatch(kReflectedCtlColor, 0, 0, message, wParam, lParam, &result)) {
            return result;
        }
    } else if (Dispatch(message, 0, 0, message, wParam, lParam, &result)) {
        return result;
    }
    return DefWindowProc(message, wParam, lParam);
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (m_former != nullptr) {
        return ::CallWindowProcA(m_former, m_hWnd, message, wParam, lParam);
    }
    return ::DefWindowProcA(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::Default() {
    const MSG& current = ThisThread().current;
    return DefWindowProc(current.message, current.wParam, current.lParam);
}

LRESULT CALLBACK CWnd::Procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    CWnd* window = FromHandlePermanent(handle);
    if (window == nullptr) {
        return ::DefWindowProcA(handle, message, wParam, lParam);
    }

    WindowThread& thread = ThisThread();
    const MSG former = thread.current;
    thread.current = MSG{handle, message, wParam, lParam, 0, {}};
    ++thread.depth;
    LRESULT result = 0;
    try {
        result = window->WindowProc(message, wParam, lParam);
    } catch (CException* failed) {
        failed->Delete();
        result = AfterException(handle, message, "a framework exception");
    } catch (const std::exception& failed) {
        result = AfterException(handle, message, failed.what());
    } catch (...) {
        result = AfterException(handle, message, "an unknown exception");
    }
    thread.current = former;
    // Only those of windows that are gone: a caller below may hold another.
    if (--thread.depth == 0) {
        std::erase_if(thread.temporary, [](const auto& known) { return !::IsWindow(known.first); });
    }

    if (message == WM_NCDESTROY && FromHandlePermanent(handle) == window) {
        if (window->m_former != nullptr) {
            ::SetWindowLongPtrA(handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(window->m_former));
        }
        window->m_former = nullptr;
        window->Detach();
        window->PostNcDestroy();
    }
    return result;
}

LPCSTR AfxRegisterWndClass(UINT style, HCURSOR cursor, HBRUSH background, HICON icon) {
    static std::map<std::string, bool> registered;
    CString name;
    name.Format("Afx:%x:%p:%p:%p", style, static_cast<void*>(cursor),
                static_cast<void*>(background), static_cast<void*>(icon));
    const auto [place, isNew] = registered.try_emplace(name.GetString());
    if (isNew) {
        WNDCLASSA description{};
        description.style = style;
        description.lpfnWndProc = ::DefWindowProcA;
        description.hInstance = AfxGetInstanceHandle();
        description.hCursor = cursor;
        description.hbrBackground = background;
        description.hIcon = icon;
        description.lpszClassName = place->first.c_str();
        if (!::RegisterClassA(&description)) {
            AfxThrowResourceException();
        }
    }
    return place->first.c_str();
}
