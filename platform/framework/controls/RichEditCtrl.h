#pragma once

#include "../window/Wnd.h"

/// A rich edit control.
class FRAMEWORK_API CRichEditCtrl : public CWnd {
    DECLARE_DYNAMIC(CRichEditCtrl)
public:
    /// From the first to beyond the last character; (0, -1) is everything.
    void SetSel(LONG first, LONG end) { SendMessage(EM_SETSEL, static_cast<WPARAM>(first), end); }
    void ReplaceSel(LPCSTR text, BOOL canUndo = FALSE) {
        SendMessage(EM_REPLACESEL, static_cast<WPARAM>(canUndo), reinterpret_cast<LPARAM>(text));
    }
    void LimitText(LONG bytes);
};
