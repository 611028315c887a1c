#include "terrascope/support/ui/CustomStatic.h"

#include <shellapi.h>

namespace Terrascope {

namespace {

constexpr UINT kRedrawNow = RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW;

CString WindowText(const CWnd& window) {
    CString text;
    window.GetWindowText(text);
    return text;
}

HFONT WindowFont(const CWnd& window) {
    return reinterpret_cast<HFONT>(::SendMessageA(window.GetSafeHwnd(), WM_GETFONT, 0, 0));
}

/// Gives a window another font, without a redraw, until the end of the scope.
class BorrowedWindowFont {
public:
    BorrowedWindowFont(const CWnd& window, HFONT font)
        : m_hWnd(window.GetSafeHwnd()), m_hBefore(WindowFont(window)) {
        Set(font);
    }
    ~BorrowedWindowFont() { Set(m_hBefore); }
    BorrowedWindowFont(const BorrowedWindowFont&) = delete;
    BorrowedWindowFont& operator=(const BorrowedWindowFont&) = delete;

private:
    void Set(HFONT font) {
        ::SendMessageA(m_hWnd, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    }

    const HWND m_hWnd;
    const HFONT m_hBefore;
};

}  // namespace

BEGIN_MESSAGE_MAP(CCustomStatic, CStatic)
ON_WM_CREATE()
ON_WM_CTLCOLOR_REFLECT()
ON_WM_SETCURSOR()
ON_WM_LBUTTONDOWN()
ON_WM_PAINT()
END_MESSAGE_MAP()

CCustomStatic::CCustomStatic()
    : m_clrText(::GetSysColor(COLOR_WINDOWTEXT)),
      m_background(::CreateSolidBrush(::GetSysColor(COLOR_BTNFACE))),
      m_spare(::CreateSolidBrush(::GetSysColor(COLOR_BTNFACE))) {
    ::GetObjectA(::GetStockObject(DEFAULT_GUI_FONT), sizeof(m_logFont), &m_logFont);
    m_font.CreateFontIndirect(&m_logFont);
}

CCustomStatic::~CCustomStatic() = default;

void CCustomStatic::Redraw() {
    if (GetSafeHwnd() != nullptr) {
        RedrawWindow(nullptr, nullptr, kRedrawNow);
    }
}

void CCustomStatic::RecreateFont() {
    m_font.DeleteObject();
    m_font.CreateFontIndirect(&m_logFont);
    Redraw();
}

void CCustomStatic::SetTextColor(COLORREF colour) {
    m_clrText = colour;
    Redraw();
}

void CCustomStatic::SetBkColor(COLORREF colour) {
    m_background = CBrushHandle(::CreateSolidBrush(colour));
}

void CCustomStatic::SetFontBold(bool bold) {
    m_logFont.lfWeight = bold ? FW_BOLD : FW_NORMAL;
    RecreateFont();
}

void CCustomStatic::SetFontItalic(bool italic) {
    m_logFont.lfItalic = italic ? TRUE : FALSE;
    RecreateFont();
}

void CCustomStatic::SetFontUnderline(bool underline) {
    m_logFont.lfUnderline = underline ? TRUE : FALSE;
    RecreateFont();
}

void CCustomStatic::SetFontName(const CString& name) {
    ::lstrcpynA(m_logFont.lfFaceName, name, LF_FACESIZE);
    RecreateFont();
}

void CCustomStatic::SetFontSize(int size) {
    m_logFont.lfHeight = -size;
    RecreateFont();
}

void CCustomStatic::ChangeStyle(int which, DWORD flag, bool set) {
    StyleChange& all = which == GWL_EXSTYLE ? m_exStyle : m_style;
    all.added = set ? all.added | flag : all.added & ~flag;
    all.removed = set ? all.removed & ~flag : all.removed | flag;
    ApplyStyle(which, {set ? 0 : flag, set ? flag : 0});
}

void CCustomStatic::ApplyStyle(int which, StyleChange change) {
    if (GetSafeHwnd() == nullptr) {
        return;
    }
    if (which == GWL_EXSTYLE) {
        ModifyStyleEx(change.removed, change.added, SWP_FRAMECHANGED);
    } else {
        const bool frame = ((change.removed | change.added) & WS_BORDER) != 0;
        ModifyStyle(change.removed, change.added, frame ? SWP_FRAMECHANGED : 0);
    }
}

void CCustomStatic::ApplyLink() {
    if (GetSafeHwnd() != nullptr && m_bLinkSet) {
        SetWindowText(m_strLink);
    }
}

void CCustomStatic::TakeWindow() {
    ApplyStyle(GWL_STYLE, m_style);
    ApplyStyle(GWL_EXSTYLE, m_exStyle);
    ApplyLink();
}

// For a window that is there already, as in a dialog. One that is being created gets its text and
// its styles after this, and has OnCreate.
void CCustomStatic::PreSubclassWindow() {
    CStatic::PreSubclassWindow();
    TakeWindow();
}

int CCustomStatic::OnCreate(LPCREATESTRUCT create) {
    const int result = CStatic::OnCreate(create);
    TakeWindow();
    return result;
}

void CCustomStatic::SetBorder(bool border) {
    ChangeStyle(GWL_STYLE, WS_BORDER, border);
}

void CCustomStatic::SetSunken(bool sunken) {
    ChangeStyle(GWL_EXSTYLE, WS_EX_STATICEDGE, sunken);
}

void CCustomStatic::SetNotify(bool notify) {
    m_bNotify = notify ? TRUE : FALSE;
    ChangeStyle(GWL_STYLE, SS_NOTIFY, notify);
}

void CCustomStatic::SetLinkCursor(HCURSOR cursor) {
    m_hCursor = cursor;
}

void CCustomStatic::SetLink(const CString& text) {
    m_strLink = text;
    m_bLinkSet = true;
    ApplyLink();
}

void CCustomStatic::SetEtched(bool etched) {
    m_bEtched = etched;
}

void CCustomStatic::SetTransparent(bool transparent) {
    m_bTransparent = transparent;
}

HBRUSH CCustomStatic::CtlColor(CDC* pDC, UINT nCtlColor) {
    if (nCtlColor == CTLCOLOR_STATIC) {
        pDC->SelectObject(&m_font);
        pDC->SetTextColor(m_clrText);
        pDC->SetBkMode(TRANSPARENT);
    }
    return m_background.Get();
}

BOOL CCustomStatic::OnSetCursor(CWnd* pWnd, UINT nHitTest, UINT message) {
    if (m_hCursor != nullptr) {
        ::SetCursor(m_hCursor);
        return TRUE;
    }
    return CStatic::OnSetCursor(pWnd, nHitTest, message);
}

void CCustomStatic::OnLButtonDown(UINT nFlags, CPoint point) {
    // The shell decides whether the text is an address; a failure is nobody's concern.
    ::ShellExecuteA(GetSafeHwnd(), "open", WindowText(*this), nullptr, nullptr, SW_SHOWNORMAL);
    CStatic::OnLButtonDown(nFlags, point);
}

void CCustomStatic::OnPaint() {
    if (m_bEtched) {
        PaintEtched();
    } else if (m_bTransparent) {
        PaintTransparent();
    } else {
        // Wine's control selects its window font after it has asked for the colours, over the font
        // that CtlColor selected. Only borrowed: the other two ways of painting use the window
        // font.
        const BorrowedWindowFont font(*this, static_cast<HFONT>(m_font.GetSafeHandle()));
        CStatic::OnPaint();
    }
}

void CCustomStatic::PaintEtched() {
    CPaintDC dc(this);
    RECT window{};
    ::GetWindowRect(GetSafeHwnd(), &window);
    const int width = window.right - window.left;
    const int height = window.bottom - window.top;
    const COLORREF shadow = ::GetSysColor(COLOR_BTNSHADOW);
    const COLORREF highlight = ::GetSysColor(COLOR_BTNHIGHLIGHT);
    if (height > width) {
        dc.Draw3dRect(width / 2, 0, 2, height, shadow, highlight);
        return;
    }
    dc.Draw3dRect(0, height / 2, width, 2, shadow, highlight);

    CString text = WindowText(*this);
    if (text.IsEmpty()) {
        return;
    }
    const DWORD style = GetStyle();
    UINT format = DT_LEFT;
    if ((style & SS_CENTER) != 0) {
        text = "  " + text + "  ";
        format = DT_CENTER;
    } else if ((style & SS_RIGHT) != 0) {
        text = "  " + text;
        format = DT_RIGHT;
    } else {
        text += "  ";
    }
    if ((style & SS_NOPREFIX) != 0) {
        format |= DT_NOPREFIX;
    }
    RECT client{};
    ::GetClientRect(GetSafeHwnd(), &client);
    const CSelectedObject font(dc.GetSafeHdc(), WindowFont(*this));
    dc.SetBkColor(::GetSysColor(COLOR_BTNFACE));  // blanks the line out behind the text
    ::DrawTextA(dc.GetSafeHdc(), text, text.GetLength(), &client, format);
}

void CCustomStatic::PaintTransparent() {
    CPaintDC dc(this);
    RECT client{};
    ::GetClientRect(GetSafeHwnd(), &client);
    const CString text = WindowText(*this);
    const CSelectedObject font(dc.GetSafeHdc(), WindowFont(*this));
    const int before = dc.SetBkMode(TRANSPARENT);
    ::TextOutA(dc.GetSafeHdc(), client.left, client.top, text, text.GetLength());
    dc.SetBkMode(before);
}

}  // namespace Terrascope
