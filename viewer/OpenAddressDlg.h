#pragma once

#include <afxwin.h>

namespace Viewer {

/// Asks for the address of a map on a web server.
class COpenAddressDlg : public CDialog {
public:
    /// Offers the address of the last time; an empty one is that of the user's settings. These take
    /// none with a query or a password, where keys are most often.
    COpenAddressDlg(CWnd* parent, const CString& last);

    /// As it was typed; not empty after IDOK.
    const CString& Address() const { return m_address; }

protected:
    BOOL OnInitDialog() override;
    void OnOK() override;

private:
    CString m_address;
};

}  // namespace Viewer
