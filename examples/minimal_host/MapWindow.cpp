#include "MapWindow.h"

#include <cmath>

using Terrascope::CMapAssistant;
using Terrascope::CPointF;
using Terrascope::kRepaintMessage;

namespace {

/// The least size in the display's units that it turns back into this many pixels. The conversions
/// truncate: what DPToLP alone gives would leave the last column and row of the window empty.
CSize LogicalSize(CSize pixels) {
    CSize logical = pixels;
    CMapAssistant::DPToLP(logical);
    CSize back = logical;
    CMapAssistant::LPToDP(back);
    logical.cx += back.cx < pixels.cx ? 1 : 0;
    logical.cy += back.cy < pixels.cy ? 1 : 0;
    return logical;
}

CPointF MapPoint(double x, double y) {
    return {static_cast<float>(x), static_cast<float>(y)};
}

}  // namespace

BEGIN_MESSAGE_MAP(CMapWindow, CFrameWnd)
ON_WM_DESTROY()
ON_WM_PAINT()
ON_WM_SIZE()
ON_WM_SETCURSOR()
ON_WM_LBUTTONDOWN()
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONUP()
ON_MESSAGE(kRepaintMessage, &CMapWindow::OnRepaint)
END_MESSAGE_MAP()

bool CMapWindow::Open(const CString& mapName) {
    if (!Create(nullptr, mapName, WS_OVERLAPPEDWINDOW, rectDefault, nullptr, nullptr)) {
        return false;
    }
    CRect client;
    GetClientRect(&client);
    m_size = client.Size();
    m_display.reset(CMapAssistant::GetTerrascope(LogicalSize(m_size), this, 1.0));
    if (m_display == nullptr || !m_display->OpenMap(mapName) ||
        !m_display->SetLayer(static_cast<UINT>(m_display->GetLayerRange().first))) {
        return false;
    }
    double left = 0, top = 0, right = 0, bottom = 0;
    m_display->GetMapExtent(&left, &top, &right, &bottom);
    m_display->SetCenter(MapPoint((left + right) / 2, (top + bottom) / 2));
    return true;
}

void CMapWindow::Paint(CDC& dc) {
    if (m_display == nullptr) {
        return;
    }
    // The display draws in its own units: 1000 of them are this many pixels.
    const int pixels = static_cast<int>(std::lround(CMapAssistant::LPToDP(1000.0F)));
    const int saved = dc.SaveDC();
    dc.SetMapMode(MM_ANISOTROPIC);
    dc.SetWindowExt(1000, 1000);
    dc.SetViewportExt(pixels, pixels);
    m_display->Draw(&dc);
    dc.RestoreDC(saved);
}

void CMapWindow::MapPointAt(CPoint pixel, double& x, double& y) {
    double middleX = pixel.x + 0.5, middleY = pixel.y + 0.5;
    m_display->DeviceToMap(&middleX, &middleY, &x, &y, 0);
}

void CMapWindow::OnDestroy() {
    m_display.reset();
    // No repaint message comes any more; those that wait still own their rectangles.
    MSG message;
    while (PeekMessage(&message, m_hWnd, kRepaintMessage, kRepaintMessage, PM_REMOVE)) {
        delete reinterpret_cast<RECT*>(message.wParam);
    }
    CFrameWnd::OnDestroy();
}

void CMapWindow::OnPaint() {
    CPaintDC dc(this);
    Paint(dc);
}

LRESULT CMapWindow::OnRepaint(WPARAM rect, LPARAM) {
    const std::unique_ptr<RECT> area(reinterpret_cast<RECT*>(rect));
    InvalidateRect(area.get(), FALSE);
    return 0;
}

void CMapWindow::OnSize(UINT type, int cx, int cy) {
    CFrameWnd::OnSize(type, cx, cy);
    if (m_display == nullptr || cx <= 0 || cy <= 0) {
        return;
    }
    // The map point in the middle stays there.
    double x = 0, y = 0, middleX = m_size.cx / 2.0, middleY = m_size.cy / 2.0;
    m_display->DeviceToMap(&middleX, &middleY, &x, &y, 0);
    m_size = CSize(cx, cy);
    m_display->SetViewSize(LogicalSize(m_size));
    m_display->SetCenter(MapPoint(x, y));
}

BOOL CMapWindow::OnSetCursor(CWnd* window, UINT hitTest, UINT message) {
    if (m_display != nullptr && hitTest == HTCLIENT &&
        m_display->OnSetCursor(window, hitTest, message)) {
        return TRUE;
    }
    return CFrameWnd::OnSetCursor(window, hitTest, message);
}

void CMapWindow::OnLButtonDown(UINT flags, CPoint point) {
    if (m_display != nullptr) {
        SetCapture();
        m_display->OnLButtonDown(flags, point);
    }
}

void CMapWindow::OnMouseMove(UINT flags, CPoint point) {
    if (m_display != nullptr) {
        m_display->OnMouseMove(flags, point);
        if ((flags & MK_LBUTTON) != 0) {
            // A drag only moves the display's centre: showing it is the host's part.
            Invalidate(FALSE);
        }
    }
}

void CMapWindow::OnLButtonUp(UINT flags, CPoint point) {
    if (m_display != nullptr) {
        ReleaseCapture();
        m_display->OnLButtonUp(flags, point);
    }
}
