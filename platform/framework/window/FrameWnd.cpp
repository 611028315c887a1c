#include "FrameWnd.h"

#include "../module/Module.h"
#include "WinApp.h"

IMPLEMENT_DYNAMIC(CFrameWnd, CWnd)

const CRect CFrameWnd::rectDefault(CW_USEDEFAULT, CW_USEDEFAULT, 0, 0);

BOOL CFrameWnd::Create(LPCSTR className, LPCSTR title, DWORD style, const RECT& rect, CWnd* parent,
                       LPCSTR menuName, DWORD exStyle) {
    if (className == nullptr) {
        className = AfxRegisterWndClass(CS_HREDRAW | CS_VREDRAW, ::LoadCursorA(nullptr, IDC_ARROW),
                                        ::GetSysColorBrush(COLOR_WINDOW),
                                        ::LoadIconA(nullptr, IDI_APPLICATION));
    }
    if (!CreateEx(exStyle, className, title, style, rect, parent, 0)) {
        return FALSE;
    }
    if (menuName != nullptr) {
        const HINSTANCE module = AfxFindResourceHandle(menuName, RT_MENU);
        ::SetMenu(m_hWnd, ::LoadMenuA(module, menuName));
    }
    return TRUE;
}

LRESULT CFrameWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCDESTROY && AfxGetMainWnd() == this) {
        AfxGetApp()->m_pMainWnd = nullptr;
        ::PostQuitMessage(0);
    }
    return CWnd::WindowProc(message, wParam, lParam);
}
