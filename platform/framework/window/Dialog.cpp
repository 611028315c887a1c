#include "Dialog.h"

#include "../core/Exception.h"
#include "../module/Module.h"
#include "WinApp.h"

IMPLEMENT_DYNAMIC(CDialog, CWnd)

INT_PTR CDialog::DoModal() {
    const char* name = MAKEINTRESOURCEA(m_templateId);
    CWnd* owner = m_parent != nullptr ? m_parent : AfxGetMainWnd();
    const INT_PTR result =
        ::DialogBoxParamA(AfxFindResourceHandle(name, RT_DIALOG), name,
                          owner != nullptr ? owner->GetSafeHwnd() : nullptr,
                          &CDialog::DialogProcedure, reinterpret_cast<LPARAM>(this));
    return result;
}

BOOL CDialog::OnInitDialog() {
    UpdateData(FALSE);
    return TRUE;
}

void CDialog::OnOK() {
    if (UpdateData(TRUE)) {
        EndDialog(IDOK);
    }
}

// A button that the message map does not name still ends the dialog.
BOOL CDialog::OnCommand(WPARAM wParam, LPARAM lParam) {
    if (CWnd::OnCommand(wParam, lParam)) {
        return TRUE;
    }
    if (HIWORD(wParam) != BN_CLICKED) {
        return FALSE;
    }
    if (LOWORD(wParam) == IDOK) {
        OnOK();
    } else if (LOWORD(wParam) == IDCANCEL) {
        OnCancel();
    } else {
        return FALSE;
    }
    return TRUE;
}

INT_PTR CALLBACK CDialog::DialogProcedure(HWND handle, UINT message, WPARAM, LPARAM lParam) {
    if (message != WM_INITDIALOG) {
        return FALSE;
    }
    auto* dialog = reinterpret_cast<CDialog*>(lParam);
    // From here on the messages come to the object first, and from it to the dialog's own
    // procedure.
    dialog->SubclassWindow(handle);
    try {
        return dialog->OnInitDialog();
    } catch (CException* failed) {
        failed->Delete();
    } catch (...) {
        ::EndDialog(handle, -1);
        return TRUE;
    }
    ::EndDialog(handle, -1);
    return TRUE;
}
