#include "viewer/AboutDlg.h"

#include <commctrl.h>
#include <shellapi.h>

#include "viewer/LibraryFolder.h"
#include "viewer/resource.h"

namespace Viewer {

BEGIN_MESSAGE_MAP(CAboutDlg, CDialog)
ON_NOTIFY(NM_CLICK, IDC_ABOUT_LOGS, &CAboutDlg::OnLogsClicked)
ON_NOTIFY(NM_RETURN, IDC_ABOUT_LOGS, &CAboutDlg::OnLogsClicked)
END_MESSAGE_MAP()

CAboutDlg::CAboutDlg(CWnd* parent) : CDialog(IDD_ABOUT, parent) {}

BOOL CAboutDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    LOGFONTA font{};
    GetObjectA(reinterpret_cast<HFONT>(SendMessage(WM_GETFONT)), sizeof(font), &font);
    font.lfWeight = FW_BOLD;
    m_bold.CreateFontIndirect(&font);

    CWnd* name = GetDlgItem(IDC_ABOUT_NAME);
    name->SetWindowText("Terrascope Viewer " VIEWER_VERSION);
    name->SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(static_cast<HFONT>(m_bold)));
    GetDlgItem(IDC_ABOUT_LOGS)->SetWindowText("<a>" + BesideLibrary("log") + "</a>");
    return TRUE;
}

void CAboutDlg::OnLogsClicked(NMHDR*, LRESULT* result) {
    ShellExecuteA(m_hWnd, "open", BesideLibrary("log"), nullptr, nullptr, SW_SHOWNORMAL);
    *result = 0;
}

}  // namespace Viewer
