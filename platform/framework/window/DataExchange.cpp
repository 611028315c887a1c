#include "DataExchange.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>

#include "../core/Exception.h"
#include "WinApp.h"
#include "Wnd.h"

HWND CDataExchange::PrepareCtrl(int id) {
    m_lastControl = ::GetDlgItem(m_pDlgWnd->m_hWnd, id);
    m_isEdit = false;
    if (m_lastControl == nullptr) {
        AfxThrowNotSupportedException();
    }
    return m_lastControl;
}

HWND CDataExchange::PrepareEditCtrl(int id) {
    PrepareCtrl(id);
    m_isEdit = true;
    return m_lastControl;
}

void CDataExchange::Fail() {
    if (m_bSaveAndValidate && m_lastControl != nullptr) {
        ::SetFocus(m_lastControl);
        if (m_isEdit) {
            ::SendMessageA(m_lastControl, EM_SETSEL, 0, -1);
        }
    }
    AfxThrowUserException();
}

void DDX_Control(CDataExchange* exchange, int id, CWnd& control) {
    if (control.m_hWnd != nullptr) {
        return;
    }
    if (!control.SubclassWindow(exchange->PrepareCtrl(id))) {
        AfxThrowNotSupportedException();
    }
}

void DDX_Text(CDataExchange* exchange, int id, CString& value) {
    CWnd* control = CWnd::FromHandle(exchange->PrepareEditCtrl(id));
    if (exchange->m_bSaveAndValidate) {
        control->GetWindowText(value);
    } else {
        control->SetWindowText(value);
    }
}

void DDX_Text(CDataExchange* exchange, int id, double& value) {
    CWnd* control = CWnd::FromHandle(exchange->PrepareEditCtrl(id));
    CString text;
    if (!exchange->m_bSaveAndValidate) {
        text.Format("%.*g", DBL_DIG, value);
        control->SetWindowText(text);
        return;
    }
    control->GetWindowText(text);
    text.Trim();
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    if (text.IsEmpty() || *end != '\0' || !std::isfinite(number)) {
        AfxMessageBox("Please enter a number.", MB_OK | MB_ICONEXCLAMATION);
        exchange->Fail();
    }
    value = number;
}

void DDV_MinMaxDouble(CDataExchange* exchange, const double& value, double least, double greatest) {
    if (value >= least && value <= greatest) {
        return;
    }
    if (!exchange->m_bSaveAndValidate) {
        return;  // a value that the program set is shown as it is
    }
    CString text;
    text.Format("Please enter a number between %.*g and %.*g.", DBL_DIG, least, DBL_DIG, greatest);
    AfxMessageBox(text, MB_OK | MB_ICONEXCLAMATION);
    exchange->Fail();
}
