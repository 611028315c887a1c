#include "ListCtrl.h"

#include <vector>

IMPLEMENT_DYNAMIC(CListCtrl, CWnd)

namespace {

/// A position is the row plus one, so that null means none.
POSITION ToPosition(LRESULT row) {
    return reinterpret_cast<POSITION>(row + 1);
}

LPSTR Writable(LPCSTR text) {
    return const_cast<LPSTR>(text);
}  // the control only reads it

}  // namespace

int CListCtrl::InsertColumn(int column, LPCSTR heading, int format, int width) {
    LVCOLUMNA description{};
    description.mask = LVCF_TEXT | LVCF_FMT | (width >= 0 ? LVCF_WIDTH : 0U);
    description.fmt = format;
    description.cx = width;
    description.pszText = Writable(heading);
    return static_cast<int>(SendMessage(LVM_INSERTCOLUMNA, static_cast<WPARAM>(column),
                                        reinterpret_cast<LPARAM>(&description)));
}

int CListCtrl::InsertItem(int row, LPCSTR text) {
    LVITEMA item{};
    item.mask = LVIF_TEXT;
    item.iItem = row;
    item.pszText = Writable(text);
    return static_cast<int>(SendMessage(LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item)));
}

BOOL CListCtrl::SetItemText(int row, int column, LPCSTR text) {
    LVITEMA item{};
    item.iSubItem = column;
    item.pszText = Writable(text);
    return static_cast<BOOL>(
        SendMessage(LVM_SETITEMTEXTA, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item)));
}

CString CListCtrl::GetItemText(int row, int column) const {
    // The control returns how much it copied, not how long the text is: ask until there is room.
    for (std::vector<char> text(256);; text.resize(text.size() * 2)) {
        LVITEMA item{};
        item.iSubItem = column;
        item.pszText = text.data();
        item.cchTextMax = static_cast<int>(text.size());
        const LRESULT copied = SendMessage(LVM_GETITEMTEXTA, static_cast<WPARAM>(row),
                                           reinterpret_cast<LPARAM>(&item));
        if (static_cast<std::size_t>(copied) + 2 < text.size() || text.size() > 1U << 24) {
            return CString(text.data(), static_cast<int>(copied));
        }
    }
}

BOOL CListCtrl::SetItemState(int row, UINT state, UINT mask) {
    LVITEMA item{};
    item.state = state;
    item.stateMask = mask;
    return static_cast<BOOL>(
        SendMessage(LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item)));
}

POSITION CListCtrl::GetFirstSelectedItemPosition() const {
    return ToPosition(SendMessage(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
}

int CListCtrl::GetNextSelectedItem(POSITION& position) const {
    const auto row = reinterpret_cast<LRESULT>(position) - 1;
    position = ToPosition(SendMessage(LVM_GETNEXTITEM, static_cast<WPARAM>(row), LVNI_SELECTED));
    return static_cast<int>(row);
}
