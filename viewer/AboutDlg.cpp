#include "viewer/AboutDlg.h"

#include "viewer/resource.h"

namespace Viewer {
namespace {

constexpr COLORREF kLinkColor = RGB(0, 0x40, 0xC0);

/// The folder in which the library keeps the logs of its modules.
CString LogFolder() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(GetModuleHandleA("Terrascope.dll"), path, MAX_PATH - 1);
    CString folder = path;
    return folder.Left(folder.ReverseFind('\\') + 1) + "log";
}

}  // namespace

CAboutDlg::CAboutDlg(CWnd* parent) : CDialog(IDD_ABOUT, parent) {}

BOOL CAboutDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    m_name.SubclassDlgItem(IDC_ABOUT_NAME, this);
    m_line.SubclassDlgItem(IDC_ABOUT_LINE, this);
    m_text.SubclassDlgItem(IDC_ABOUT_TEXT, this);
    m_logs.SubclassDlgItem(IDC_ABOUT_LOGS, this);

    m_name.SetWindowText("Terrascope Viewer " VIEWER_VERSION);
    m_name.SetFontBold(true);
    m_line.SetEtched(true);
    m_text.SetTransparent(true);
    m_logs.SetLink(LogFolder());
    m_logs.SetTextColor(kLinkColor);
    m_logs.SetFontUnderline(true);
    m_logs.SetLinkCursor(::LoadCursor(nullptr, IDC_HAND));
    m_logs.SetNotify(true);
    return TRUE;
}

}  // namespace Viewer
