#pragma once

#include "../Export.h"
#include "../core/Windows.h"

class CString;
class CWnd;

/// One exchange of values between a dialog's members and its controls.
///
/// Borrows: the dialog.
class FRAMEWORK_API CDataExchange {
public:
    CDataExchange(CWnd* dialog, BOOL saveAndValidate)
        : m_bSaveAndValidate(saveAndValidate), m_pDlgWnd(dialog) {}

    BOOL m_bSaveAndValidate;  ///< TRUE: from the controls to the members
    CWnd* m_pDlgWnd;

    /// Names the control that is exchanged next, for Fail. Its window.
    HWND PrepareCtrl(int id);
    HWND PrepareEditCtrl(int id);

    /// Puts the focus into the control, selects the text of an edit control, and throws
    /// CUserException.
    [[noreturn]] void Fail();

private:
    HWND m_lastControl = nullptr;
    bool m_isEdit = false;
};

/// Gives a control's window to its object, the first time.
FRAMEWORK_API void DDX_Control(CDataExchange* exchange, int id, CWnd& control);
/// A control's text. Numbers that cannot be read show a message and fail the exchange.
FRAMEWORK_API void DDX_Text(CDataExchange* exchange, int id, CString& value);
FRAMEWORK_API void DDX_Text(CDataExchange* exchange, int id, double& value);
/// Shows a message and fails the exchange when a value is outside the closed range.
FRAMEWORK_API void DDV_MinMaxDouble(CDataExchange* exchange, const double& value, double least,
                                    double greatest);
