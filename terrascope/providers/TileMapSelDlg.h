#pragma once

#include <afxcmn.h>
#include <afxwin.h>

#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

/// The modal dialog in which the user picks a map and the zoom factor of its first layer. It has a
/// provider of its own, made in the constructor.
///
/// The three public members carry the choice: set the name and the factor before DoModal; they
/// and the layer are valid after it has returned IDOK.
/// Threads: the user-interface thread.
class CTileMapSelDlg : public CDialog {
    DECLARE_DYNAMIC(CTileMapSelDlg)

public:
    explicit CTileMapSelDlg(CWnd* parent = nullptr);

    enum { IDD = IDD_TILE_MAP_SEL };

    /// The factors that the user may type, both ends included.
    static constexpr double kSmallestScale = 0.55;
    static constexpr double kLargestScale = 1.9;

private:
    CListCtrl m_list;
    CRichEditCtrl m_info;
    CTileMapInfoProviderWrapper m_provider;

public:
    CString m_strMapName;             ///< the selected map; empty when there is none
    int m_nFirstLayer = -1;           ///< its first layer's number; -1 when there is none
    double m_dFirstLayerScale = 1.0;  ///< the first layer's zoom factor

protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
    void OnOK() override;
    afx_msg void OnListItemChanged(NMHDR* header, LRESULT* result);
    DECLARE_MESSAGE_MAP()

private:
    void FillList();
    CString SelectedName() const;
    int InsertRows(const CString& wanted);
    void SelectRow(int row);
    void RefreshInfo();
    void ShowNoMap();
    CString DescribeMap(const tagTILE_MAP_INFO& map);

    bool m_filling = false;  // the list notifies of every row that is put in
};

}  // namespace Terrascope
