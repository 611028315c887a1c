#pragma once

#include <afxwin.h>

#include "terrascope/support/Handles.h"

namespace Terrascope {

/// A static text with colours and a font of its own, as a link, as an etched separator, or as plain
/// text over what lies behind it. A click hands the control's text to the shell, whatever the text
/// is. The library's dialogs do not use it; it is for its users.
///
/// Units:   font sizes are heights in the device's units.
/// Owns:    its brushes and its font.  Borrows: the link cursor.
/// Threads: the thread of its window.
/// Errors:  none are reported. Setters without a window take effect when there is one; what no
///          setter was called for stays as the window has it.
class CCustomStatic : public CStatic {
public:
    CCustomStatic();
    ~CCustomStatic() override;
    CCustomStatic(const CCustomStatic&) = delete;
    CCustomStatic& operator=(const CCustomStatic&) = delete;

    void SetTextColor(COLORREF colour);
    /// Shown from the next painting on.
    void SetBkColor(COLORREF colour);
    void SetFontBold(bool bold);
    void SetFontItalic(bool italic);
    void SetFontUnderline(bool underline);
    /// At most 31 bytes of the name count.
    void SetFontName(const CString& name);
    void SetFontSize(int size);
    void SetBorder(bool border);
    void SetSunken(bool sunken);
    /// Whether the parent is notified of clicks. A click goes to the shell in either case.
    void SetNotify(bool notify);
    void SetLinkCursor(HCURSOR cursor);
    void SetLink(const CString& text);
    /// A line across the control, with the text set into it; upright, and without the text, in a
    /// control that is taller than wide.
    void SetEtched(bool etched);
    /// The text in the control's corner, with nothing painted behind it.
    void SetTransparent(bool transparent);

protected:
    void PreSubclassWindow() override;
    afx_msg int OnCreate(LPCREATESTRUCT create);
    afx_msg HBRUSH CtlColor(CDC* pDC, UINT nCtlColor);
    afx_msg BOOL OnSetCursor(CWnd* pWnd, UINT nHitTest, UINT message);
    afx_msg void OnLButtonDown(UINT nFlags, CPoint point);
    afx_msg void OnPaint();

    DECLARE_MESSAGE_MAP()

private:
    struct StyleChange {
        DWORD removed = 0;
        DWORD added = 0;
    };

    void Redraw();
    void RecreateFont();
    void ChangeStyle(int which, DWORD flag, bool set);
    void ApplyStyle(int which, StyleChange change);
    void ApplyLink();
    void TakeWindow();
    void PaintEtched();
    void PaintTransparent();

    COLORREF m_clrText;
    CBrushHandle m_background;
    CBrushHandle m_spare;  ///< unused; kept for classes derived from this one
    LOGFONTA m_logFont{};
    CFont m_font;
    CString m_strLink;
    int m_bNotify = TRUE;
    HCURSOR m_hCursor = nullptr;
    bool m_bEtched = false;
    bool m_bTransparent = false;
    // What the setters have asked for, for a window that comes later.
    bool m_bLinkSet = false;
    StyleChange m_style;
    StyleChange m_exStyle;
};

}  // namespace Terrascope
