#pragma once

#include <afxwin.h>

namespace Viewer {

/// Version, and where the library writes its log.
class CAboutDlg : public CDialog {
public:
    explicit CAboutDlg(CWnd* parent);

protected:
    BOOL OnInitDialog() override;
    afx_msg void OnLogsClicked(NMHDR* header, LRESULT* result);
    DECLARE_MESSAGE_MAP()

private:
    CFont m_bold;
};

}  // namespace Viewer
