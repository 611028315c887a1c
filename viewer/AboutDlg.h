#pragma once

#include <afxwin.h>

#include "terrascope/support/CustomStatic.h"

namespace Viewer {

/// Version, where the library writes its log, and how it is seen.
class CAboutDlg : public CDialog {
public:
    explicit CAboutDlg(CWnd* parent);

protected:
    BOOL OnInitDialog() override;

private:
    Terrascope::CCustomStatic m_name;
    Terrascope::CCustomStatic m_line;
    Terrascope::CCustomStatic m_text;
    Terrascope::CCustomStatic m_logs;
};

}  // namespace Viewer
