#include "terrascope/providers/TileMapSelDlg.h"

#include <memory>

#include "terrascope/providers/RecordList.h"
#include "terrascope/providers/ScopeEnd.h"
#include "terrascope/providers/TextPattern.h"
#include "terrascope/support/ui/LanguageManager.h"

namespace Terrascope {
namespace {

enum Column { NUMBER_COLUMN, NAME_COLUMN, LAYER_COUNT_COLUMN };

constexpr long kLongestInfo = 16 * 1024 * 1024;  // characters; the control's own limit is 32767

CString Text(UINT id, std::initializer_list<PatternValue> values = {}) {
    return FillPattern(CLanguageManager::GetInstance()->GetString(id), values);
}

CString Decimal(int number) {
    CString text;
    text.Format("%d", number);
    return text;
}

}  // namespace

IMPLEMENT_DYNAMIC(CTileMapSelDlg, CDialog)

BEGIN_MESSAGE_MAP(CTileMapSelDlg, CDialog)
ON_NOTIFY(LVN_ITEMCHANGED, IDC_MAP_LIST, &CTileMapSelDlg::OnListItemChanged)
ON_BN_CLICKED(IDOK, &CTileMapSelDlg::OnOK)
END_MESSAGE_MAP()

CTileMapSelDlg::CTileMapSelDlg(CWnd* parent) : CDialog(IDD, parent) {
    // Without a provider the dialog shows no maps and can only be cancelled.
    m_provider.SelectProvider();
}

void CTileMapSelDlg::DoDataExchange(CDataExchange* exchange) {
    CDialog::DoDataExchange(exchange);
    DDX_Control(exchange, IDC_MAP_LIST, m_list);
    DDX_Control(exchange, IDC_MAP_INFO, m_info);
    // Not the member itself: it would take a number that is then refused.
    double scale = m_dFirstLayerScale;
    DDX_Text(exchange, IDC_FIRST_LAYER_SCALE, scale);
    DDV_MinMaxDouble(exchange, scale, kSmallestScale, kLargestScale);
    m_dFirstLayerScale = scale;
}

BOOL CTileMapSelDlg::OnInitDialog() {
    CLanguageManager::GetInstance()->TranslateDialog(this, IDD);
    CDialog::OnInitDialog();

    m_list.InsertColumn(NUMBER_COLUMN, Text(IDS_COLUMN_NUMBER), LVCFMT_LEFT, 40);
    m_list.InsertColumn(NAME_COLUMN, Text(IDS_COLUMN_NAME), LVCFMT_LEFT, 100);
    m_list.InsertColumn(LAYER_COUNT_COLUMN, Text(IDS_COLUMN_LAYER_COUNT), LVCFMT_LEFT, 60);
    m_list.SetExtendedStyle(m_list.GetExtendedStyle() | LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT);
    m_info.LimitText(kLongestInfo);

    FillList();
    UpdateData(FALSE);
    return TRUE;
}

void CTileMapSelDlg::FillList() {
    const CString wanted = m_strMapName;
    ShowNoMap();  // until the list is there
    {
        const ScopeEnd filled([this] { m_filling = false; });
        m_filling = true;
        SelectRow(InsertRows(wanted));
    }
    RefreshInfo();
}

/// The row of the wanted map: the last of that name, else the first; -1 when there are no maps.
int CTileMapSelDlg::InsertRows(const CString& wanted) {
    const RecordList maps(m_provider.GetMapList());
    const ScopeEnd shown([this] { m_list.SetRedraw(TRUE); });
    m_list.SetRedraw(FALSE);
    m_list.DeleteAllItems();
    m_list.SetItemCount(static_cast<int>(maps.size()));
    int row = 0;
    int found = 0;
    for (const tagTILE_MAP_INFO* map : maps) {
        if (map == nullptr) {
            continue;
        }
        m_list.InsertItem(row, Decimal(row + 1));
        m_list.SetItemText(row, NAME_COLUMN, map->strName);
        m_list.SetItemText(row, LAYER_COUNT_COLUMN, Decimal(map->nLayerCount));
        if (map->strName.CompareNoCase(wanted) == 0) {
            found = row;
        }
        ++row;
    }
    return row > 0 ? found : -1;
}

void CTileMapSelDlg::SelectRow(int row) {
    if (row >= 0) {
        const UINT state = LVIS_SELECTED | LVIS_FOCUSED;
        m_list.SetItemState(row, state, state);
        m_list.EnsureVisible(row, FALSE);
    }
}

CString CTileMapSelDlg::SelectedName() const {
    POSITION position = m_list.GetFirstSelectedItemPosition();
    return position == nullptr
               ? CString()
               : m_list.GetItemText(m_list.GetNextSelectedItem(position), NAME_COLUMN);
}

void CTileMapSelDlg::OnListItemChanged(NMHDR*, LRESULT* result) {
    *result = 0;
    if (!m_filling) {
        RefreshInfo();
    }
}

void CTileMapSelDlg::RefreshInfo() {
    const CString name = SelectedName();
    const std::unique_ptr<const tagTILE_MAP_INFO> map(name.IsEmpty() ? nullptr
                                                                     : m_provider.GetMapInfo(name));
    if (map == nullptr) {
        ShowNoMap();
        return;
    }
    // Together: a failure must not leave the name of one map with the layer of another.
    m_strMapName = name;
    m_nFirstLayer = map->nFirstLayer;
    const CString description = DescribeMap(*map);
    m_info.SetSel(0, -1);
    m_info.ReplaceSel(description, FALSE);
    // The caret is behind the new text, and the box is scrolled to it.
    m_info.SetSel(0, 0);
    m_info.SendMessage(EM_SCROLLCARET);
    // A factor that was typed but not yet accepted is dropped with the row that it was typed for.
    UpdateData(FALSE);
    GetDlgItem(IDOK)->EnableWindow(TRUE);
}

void CTileMapSelDlg::ShowNoMap() {
    m_info.SetSel(0, -1);
    m_info.ReplaceSel("", FALSE);
    GetDlgItem(IDOK)->EnableWindow(FALSE);
    m_strMapName.Empty();
    m_nFirstLayer = -1;
}

CString CTileMapSelDlg::DescribeMap(const tagTILE_MAP_INFO& map) {
    const SYSTEMTIME& time = map.stUpdateTime;
    CString text = Text(IDS_INFO_HEADING);
    text += Text(IDS_INFO_NAME, {map.strName});
    text += Text(IDS_INFO_UPDATE_TIME, {int{time.wYear}, int{time.wMonth}, int{time.wDay},
                                        int{time.wHour}, int{time.wMinute}, int{time.wSecond}});
    text += Text(IDS_INFO_TILE_FORMAT, {map.strTileFormat});
    text += Text(IDS_INFO_LAYER_COUNT, {map.nLayerCount});
    text += Text(IDS_INFO_FIRST_LAYER, {map.nFirstLayer});
    text += Text(IDS_INFO_LONGITUDE_START, {map.dLongitudeStart});
    text += Text(IDS_INFO_LATITUDE_START, {map.dLatitudeStart});
    text += Text(IDS_INFO_LONGITUDE, {map.dLongitude});
    text += Text(IDS_INFO_LATITUDE, {map.dLatitude});
    text += Text(IDS_INFO_TILE_WIDTH, {map.nTileWidth});
    text += Text(IDS_INFO_TILE_HEIGHT, {map.nTileHeight});
    text += Text(IDS_INFO_REMARK, {map.strRemark});
    text += Text(IDS_LAYERS_HEADING);
    for (const tagTILE_MAP_LAYER_INFO* layer : RecordList(m_provider.GetLayerList(m_strMapName))) {
        if (layer == nullptr) {
            continue;
        }
        // Not in the string table: this line reads the same in every language.
        text.AppendFormat("Layer%d:\n", layer->nLayerNumber);
        text += Text(IDS_LAYER_TILES_X, {layer->nTileCountX});
        text += Text(IDS_LAYER_TILES_Y, {layer->nTileCountY});
    }
    return text;
}

void CTileMapSelDlg::OnOK() {
    // The button is disabled then, but a command can also be sent.
    if (!m_strMapName.IsEmpty()) {
        CDialog::OnOK();
    }
}

}  // namespace Terrascope
