#include "viewer/OpenAddressDlg.h"

#include "viewer/MapAddress.h"
#include "viewer/Settings.h"
#include "viewer/resource.h"

namespace Viewer {

COpenAddressDlg::COpenAddressDlg(CWnd* parent, const CString& last)
    : CDialog(IDD_OPEN_ADDRESS, parent), m_address(last.IsEmpty() ? LoadLastAddress() : last) {}

BOOL COpenAddressDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    CWnd* edit = GetDlgItem(IDC_ADDRESS);
    edit->SetWindowText(m_address);
    edit->SendMessage(EM_SETSEL, 0, -1);
    return TRUE;
}

void COpenAddressDlg::OnOK() {
    GetDlgItem(IDC_ADDRESS)->GetWindowText(m_address);
    if (m_address.IsEmpty()) {
        return;
    }
    std::string ignored;
    const auto address = ReadAddress(m_address.GetString(), ignored);
    if (address && WithoutSecrets(*address) == *address) {
        SaveLastAddress(address->c_str());
    }
    EndDialog(IDOK);
}

}  // namespace Viewer
