#include "DeviceContext.h"

#include "../core/Exception.h"
#include "Wnd.h"

BOOL CDC::CreateCompatibleDC(CDC* like) {
    return Attach(::CreateCompatibleDC(like != nullptr ? like->m_hDC : nullptr));
}

CSize CDC::SetWindowExt(int cx, int cy) {
    CSize former;
    ::SetWindowExtEx(m_hDC, cx, cy, &former);
    return former;
}

CSize CDC::SetViewportExt(int cx, int cy) {
    CSize former;
    ::SetViewportExtEx(m_hDC, cx, cy, &former);
    return former;
}

void CDC::FillSolidRect(LPCRECT rect, COLORREF colour) {
    ::SetBkColor(m_hDC, colour);
    ::ExtTextOutA(m_hDC, 0, 0, ETO_OPAQUE, rect, nullptr, 0, nullptr);
}

void CDC::Draw3dRect(int x, int y, int width, int height, COLORREF topLeft, COLORREF bottomRight) {
    const auto fill = [&](int left, int top, int w, int h, COLORREF colour) {
        const CRect rect(left, top, left + w, top + h);
        FillSolidRect(&rect, colour);
    };
    fill(x, y, width - 1, 1, topLeft);
    fill(x, y, 1, height - 1, topLeft);
    fill(x + width, y, -1, height, bottomRight);
    fill(x, y + height, width, -1, bottomRight);
}

CPaintDC::CPaintDC(CWnd* window) : m_window(window->m_hWnd) {
    if (!Attach(::BeginPaint(m_window, &m_ps))) {
        AfxThrowResourceException();
    }
}

CPaintDC::~CPaintDC() {
    Detach();
    ::EndPaint(m_window, &m_ps);
}

CClientDC::CClientDC(CWnd* window) : m_window(window->GetSafeHwnd()) {
    if (!Attach(::GetDC(m_window))) {
        AfxThrowResourceException();
    }
}

CClientDC::~CClientDC() {
    ::ReleaseDC(m_window, Detach());
}
