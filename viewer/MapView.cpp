#include "viewer/MapView.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "terrascope/api/MapAssistant.h"
#include "viewer/ScopeEnd.h"

namespace Viewer {
namespace {

using Terrascope::CMapAssistant;
using Terrascope::CPointF;
using Terrascope::MapToolKind;

constexpr COLORREF kBackground = RGB(0xD8, 0xDE, 0xE4);
constexpr COLORREF kAttributionPlate = RGB(0xF4, 0xF4, 0xF4);
constexpr COLORREF kAttributionText = RGB(0x30, 0x30, 0x30);

LONGLONG Now() {
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

double MillisecondsSince(LONGLONG start) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(Now() - start) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

/// The least logical size that the display turns back into this many pixels. Both conversions
/// truncate: the size that DPToLP alone gives would leave out the last column and row.
CSize LogicalSize(CSize pixels) {
    CSize logical = pixels;
    CMapAssistant::DPToLP(logical);
    CSize back = logical;
    CMapAssistant::LPToDP(back);
    if (back.cx < pixels.cx) {
        ++logical.cx;
    }
    if (back.cy < pixels.cy) {
        ++logical.cy;
    }
    return logical;
}

}  // namespace

BEGIN_MESSAGE_MAP(CMapView, CWnd)
ON_WM_CREATE()
ON_WM_DESTROY()
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_WM_SIZE()
ON_WM_SETCURSOR()
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_MOUSEWHEEL()
ON_WM_CAPTURECHANGED()
ON_WM_KEYDOWN()
ON_MESSAGE(Terrascope::kRepaintMessage, &CMapView::OnRepaint)
END_MESSAGE_MAP()

CMapView::CMapView() {
    ResetStatistics();
}

CMapView::~CMapView() {
    DestroyWindow();
}

bool CMapView::MakeWindow(CWnd* parent, UINT id) {
    const CString windowClass = AfxRegisterWndClass(CS_DBLCLKS, nullptr, nullptr, nullptr);
    return CWnd::Create(windowClass, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 0, 0), parent, id) !=
           FALSE;
}

bool CMapView::OpenMap(const CString& name, double firstLayerScale) {
    CRect client;
    GetClientRect(&client);
    std::unique_ptr<Terrascope::ITerrascope> display(
        CMapAssistant::GetTerrascope(LogicalSize(client.Size()), this, firstLayerScale));
    if (display == nullptr || !display->OpenMap(name)) {
        return false;
    }
    EndPress();
    m_display = std::move(display);
    m_display->SetViewOrigin(CPoint(0, 0));
    SelectTool(m_tool);
    Invalidate(FALSE);
    return true;
}

bool CMapView::ShowLayer(int layer) {
    if (m_display == nullptr || layer < 0 || !m_display->SetLayer(static_cast<UINT>(layer))) {
        return false;
    }
    // SetLayer puts the middle of the view right only where the map's west and south edges have
    // the same number.
    double left = 0, top = 0, right = 0, bottom = 0;
    m_display->GetMapExtent(&left, &top, &right, &bottom);
    ShowCenter({(left + right) / 2, (top + bottom) / 2});
    return true;
}

void CMapView::ShowCenter(MapPoint center) {
    if (m_display != nullptr) {
        m_display->SetCenter(CPointF(static_cast<float>(center.x), static_cast<float>(center.y)));
        // New tiles wait behind those of the former place, until they are wanted a second time.
        Refresh();
    }
}

void CMapView::Refresh() {
    if (m_display != nullptr && m_display->GetLayer() >= 0 && !m_display->IsSwitchingLayer()) {
        const MapPoint center = Center();
        m_display->SetCenter(CPointF(static_cast<float>(center.x), static_cast<float>(center.y)));
        NoteChange();
    }
}

void CMapView::ShowWholeMap() {
    if (m_display != nullptr && !m_display->IsSwitchingLayer()) {
        ShowLayer(m_display->GetLayerRange().first);
    }
}

void CMapView::SelectTool(MapToolKind tool) {
    EndPress();
    m_tool = tool;
    if (m_display != nullptr) {
        m_display->SetTool(static_cast<UINT>(tool));
    }
    NoteChange();
}

void CMapView::StepLayer(int direction, CPoint at) {
    if (m_display == nullptr || m_pressed || direction == 0) {
        return;
    }
    const MapToolKind zoom = direction > 0 ? MapToolKind::ZoomIn : MapToolKind::ZoomOut;
    {
        // At once: the display looks at the zoom tool's kind only while it is clicked.
        const ScopeEnd clicked([this] { m_display->SetTool(static_cast<UINT>(m_tool)); });
        m_display->SetTool(static_cast<UINT>(zoom));
        m_display->OnLButtonDown(MK_LBUTTON, at);
        m_display->OnLButtonUp(0, at);
    }
    NoteChange();
}

void CMapView::MoveByTenths(int x, int y) {
    if (m_display == nullptr || m_pressed || m_display->IsSwitchingLayer()) {
        return;
    }
    CRect client;
    GetClientRect(&client);
    double left = 0, top = 0, right = 0, bottom = 0;
    m_display->DeviceRectToMap(client, &left, &top, &right, &bottom);
    const MapPoint center = Center();
    ShowCenter({center.x + (right - left) * x / 10, center.y + (top - bottom) * y / 10});
}

MapPoint CMapView::Center() {
    const CSize size = m_frame.Size();
    int x = size.cx / 2, y = size.cy / 2;  // whole pixels: the display halves the same way
    MapPoint center;
    m_display->DeviceToMapInt(&x, &y, &center.x, &center.y, 0);
    return center;
}

bool CMapView::PointUnderMouse(MapPoint& point) {
    CRect client;
    GetClientRect(&client);
    CPoint mouse;
    GetCursorPos(&mouse);
    ScreenToClient(&mouse);
    if (m_display == nullptr || !client.PtInRect(mouse)) {
        return false;
    }
    double x = mouse.x, y = mouse.y;
    m_display->DeviceToMap(&x, &y, &point.x, &point.y, 0);
    return true;
}

bool CMapView::IsQuiet() {
    return (!GetUpdateRect(nullptr, FALSE) || IsCovered()) &&
           MillisecondsSince(m_changeTime) >= m_quietMs &&
           (m_display == nullptr || !m_display->IsSwitchingLayer());
}

void CMapView::AwaitServers(bool isServer) {
    m_quietMs = isServer ? 2000 : 700;
}

void CMapView::ResetStatistics() {
    m_statistics = {};
    m_resetTime = Now();
    m_changeTime = m_resetTime;
}

void CMapView::NoteChange() {
    m_changeTime = Now();
    if (m_listener) {
        m_listener();
    }
}

void CMapView::OnDestroy() {
    m_display.reset();
    // No message can come any more; those that wait still own their rectangles.
    MSG message;
    while (PeekMessage(&message, m_hWnd, Terrascope::kRepaintMessage, Terrascope::kRepaintMessage,
                       PM_REMOVE)) {
        delete reinterpret_cast<RECT*>(message.wParam);
    }
    CWnd::OnDestroy();
}

LRESULT CMapView::OnRepaint(WPARAM rect, LPARAM) {
    const std::unique_ptr<RECT> area(reinterpret_cast<RECT*>(rect));
    if (area != nullptr) {
        InvalidateRect(area.get(), FALSE);
        // A window behind others gets no WM_PAINT, and an animation waits for each of its paints.
        if (IsCovered()) {
            Paint(*area);
        }
    }
    ++m_statistics.repaints;
    m_statistics.lastRepaintMs = MillisecondsSince(m_resetTime);
    NoteChange();
    return 0;
}

void CMapView::OnPaint() {
    const LONGLONG start = Now();
    CPaintDC dc(this);
    const CRect area(dc.m_ps.rcPaint);
    if (m_frame.IsEmpty() || area.IsRectEmpty()) {
        return;
    }
    Paint(area);
    dc.BitBlt(area.left, area.top, area.Width(), area.Height(), &m_frame.Dc(), area.left, area.top,
              SRCCOPY);
    ++m_statistics.frames;
    m_statistics.longestFrameMs = std::max(m_statistics.longestFrameMs, MillisecondsSince(start));
}

void CMapView::Paint(const CRect& area) {
    CDC& dc = m_frame.Dc();
    const int saved = dc.SaveDC();
    const ScopeEnd painted([&dc, saved] { dc.RestoreDC(saved); });
    dc.IntersectClipRect(&area);
    // The map is transparent where it has no tiles.
    dc.FillSolidRect(&area, kBackground);
    if (m_display == nullptr) {
        return;
    }
    {
        // The display draws in its logical units: 1000 of them are this many pixels.
        const int unscaled = dc.SaveDC();
        const ScopeEnd drawn([&dc, unscaled] { dc.RestoreDC(unscaled); });
        const int pixels = static_cast<int>(std::lround(CMapAssistant::LPToDP(1000.0F)));
        dc.SetMapMode(MM_ANISOTROPIC);
        dc.SetWindowExt(1000, 1000);
        dc.SetViewportExt(pixels, pixels);
        m_display->Draw(&dc);
    }
    PaintAttribution(dc);
}

void CMapView::SetAttribution(const std::string& text) {
    m_attribution = text;
    Invalidate(FALSE);
}

void CMapView::PaintAttribution(CDC& dc) {
    if (m_attribution.empty()) {
        return;
    }
    constexpr int kMargin = 4;  // pixels
    constexpr UINT kFormat = DT_SINGLELINE | DT_NOPREFIX;
    ::SelectObject(dc.GetSafeHdc(), ::GetStockObject(DEFAULT_GUI_FONT));
    const auto length = static_cast<int>(m_attribution.size());
    const CSize view = m_frame.Size();
    CRect text(0, 0, 0, 0);
    ::DrawTextA(dc.GetSafeHdc(), m_attribution.c_str(), length, &text, kFormat | DT_CALCRECT);
    const int width = std::min(static_cast<int>(view.cx), text.Width() + 2 * kMargin);
    const CRect plate(view.cx - width, view.cy - text.Height() - kMargin, view.cx, view.cy);
    dc.FillSolidRect(&plate, kAttributionPlate);
    dc.SetTextColor(kAttributionText);
    text =
        CRect(plate.left + kMargin, plate.top + kMargin / 2, plate.right - kMargin, plate.bottom);
    ::DrawTextA(dc.GetSafeHdc(), m_attribution.c_str(), length, &text, kFormat | DT_END_ELLIPSIS);
}

bool CMapView::SavePicture(const CString& file) {
    // All of it anew: the parts of a window that lie off the screen are never asked for.
    Paint(CRect(CPoint(0, 0), m_frame.Size()));
    return m_frame.SavePng(file);
}

bool CMapView::IsCovered() {
    CClientDC dc(this);
    CRect visible;
    return ::GetClipBox(dc.GetSafeHdc(), &visible) == NULLREGION;
}

BOOL CMapView::OnEraseBkgnd(CDC*) {
    return TRUE;  // OnPaint covers every pixel; erasing first would flicker
}

void CMapView::OnSize(UINT type, int cx, int cy) {
    CWnd::OnSize(type, cx, cy);
    const bool hasPicture = m_display != nullptr && m_display->GetLayer() >= 0;
    const MapPoint center = hasPicture ? Center() : MapPoint{};
    if (cx <= 0 || cy <= 0 || !m_frame.Resize(CSize(cx, cy))) {
        return;
    }
    if (m_display != nullptr) {
        m_display->SetViewSize(LogicalSize(CSize(cx, cy)));
    }
    if (hasPicture) {
        ShowCenter(center);
    }
    Invalidate(FALSE);
}

BOOL CMapView::OnSetCursor(CWnd* window, UINT hitTest, UINT message) {
    if (m_display != nullptr && hitTest == HTCLIENT &&
        m_display->OnSetCursor(window, hitTest, message)) {
        return TRUE;
    }
    return CWnd::OnSetCursor(window, hitTest, message);
}

void CMapView::OnMouseMove(UINT flags, CPoint point) {
    m_lastPoint = point;
    if (m_display != nullptr) {
        m_display->OnMouseMove(flags, point);
        if (m_pressed && m_tool == MapToolKind::Pan) {
            // A drag only moves the display's centre: showing it is the host's part.
            Invalidate(FALSE);
            UpdateWindow();
        }
    }
    if (m_listener) {
        m_listener();
    }
}

void CMapView::OnLButtonDown(UINT flags, CPoint point) {
    SetFocus();
    m_lastPoint = point;
    if (m_display != nullptr) {
        m_pressed = true;
        SetCapture();
        m_display->OnLButtonDown(flags, point);
        NoteChange();
    }
}

void CMapView::OnLButtonUp(UINT, CPoint point) {
    m_lastPoint = point;
    EndPress();
}

void CMapView::OnCaptureChanged(CWnd* window) {
    CWnd::OnCaptureChanged(window);
    EndPress();
}

void CMapView::EndPress() {
    if (!m_pressed) {
        return;
    }
    m_pressed = false;  // first: releasing the capture comes back here
    if (GetCapture() == this) {
        ReleaseCapture();
    }
    if (m_display != nullptr) {
        m_display->OnLButtonUp(0, m_lastPoint);
        NoteChange();
    }
}

BOOL CMapView::OnMouseWheel(UINT, short delta, CPoint screenPoint) {
    m_wheel += delta;
    if (std::abs(m_wheel) >= WHEEL_DELTA) {
        ScreenToClient(&screenPoint);
        StepLayer(m_wheel, screenPoint);
        // One notch a step; what came beyond it would be refused while the step is animated.
        m_wheel = 0;
    }
    return TRUE;
}

void CMapView::OnKeyDown(UINT key, UINT repeat, UINT flags) {
    CPoint mouse;
    CRect client;
    GetCursorPos(&mouse);
    ScreenToClient(&mouse);
    GetClientRect(&client);
    const CPoint at = client.PtInRect(mouse) ? mouse : client.CenterPoint();
    switch (key) {
        case VK_ADD:
        case VK_OEM_PLUS:
            return StepLayer(1, at);
        case VK_SUBTRACT:
        case VK_OEM_MINUS:
            return StepLayer(-1, at);
        case VK_LEFT:
            return MoveByTenths(-1, 0);
        case VK_RIGHT:
            return MoveByTenths(1, 0);
        case VK_UP:
            return MoveByTenths(0, 1);
        case VK_DOWN:
            return MoveByTenths(0, -1);
        case VK_HOME:
            return ShowWholeMap();
        case '1':
        case '2':
        case '3':
        case '4':
            return SelectTool(static_cast<MapToolKind>(key - '1'));
        default:
            CWnd::OnKeyDown(key, repeat, flags);
    }
}

}  // namespace Viewer
