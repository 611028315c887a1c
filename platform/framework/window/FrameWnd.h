#pragma once

#include "Wnd.h"

/// A program's top window, with a menu from the resources.
class FRAMEWORK_API CFrameWnd : public CWnd {
    DECLARE_DYNAMIC(CFrameWnd)
public:
    using CWnd::Create;
    /// A null class name means a plain window with an arrow cursor.
    BOOL Create(LPCSTR className, LPCSTR title, DWORD style, const RECT& rect, CWnd* parent,
                LPCSTR menuName, DWORD exStyle = 0);

    /// Lets the system choose place and size.
    static const CRect rectDefault;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
    /// A frame is made with `new` and ends with its window.
    void PostNcDestroy() override { delete this; }
};
