#pragma once

#include "DataExchange.h"
#include "Wnd.h"

/// A modal dialog from a template in the resources.
class FRAMEWORK_API CDialog : public CWnd {
    DECLARE_DYNAMIC(CDialog)
public:
    explicit CDialog(UINT templateId, CWnd* parent = nullptr)
        : m_templateId(templateId), m_parent(parent) {}

    /// Shows the dialog and returns the value of EndDialog; -1 when it cannot be made. Without a
    /// parent the program's main window is the owner.
    virtual INT_PTR DoModal();
    void EndDialog(int result) { ::EndDialog(m_hWnd, result); }

protected:
    /// Shows the members in the controls. FALSE keeps the focus where the override has put it.
    virtual BOOL OnInitDialog();
    /// Reads the controls into the members, and ends with IDOK if none is refused.
    virtual void OnOK();
    virtual void OnCancel() { EndDialog(IDCANCEL); }

    BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;

private:
    static INT_PTR CALLBACK DialogProcedure(HWND dialog, UINT message, WPARAM wParam,
                                            LPARAM lParam);

    UINT m_templateId;
    CWnd* m_parent;
};
