#pragma once

#include "../window/Wnd.h"

#include <commctrl.h>

/// A list view.
class FRAMEWORK_API CListCtrl : public CWnd {
    DECLARE_DYNAMIC(CListCtrl)
public:
    int InsertColumn(int column, LPCSTR heading, int format = LVCFMT_LEFT, int width = -1);
    int InsertItem(int row, LPCSTR text);
    BOOL SetItemText(int row, int column, LPCSTR text);
    CString GetItemText(int row, int column) const;
    int GetItemCount() const { return static_cast<int>(SendMessage(LVM_GETITEMCOUNT)); }
    void SetItemCount(int count) { SendMessage(LVM_SETITEMCOUNT, static_cast<WPARAM>(count)); }
    BOOL DeleteAllItems() { return static_cast<BOOL>(SendMessage(LVM_DELETEALLITEMS)); }
    BOOL EnsureVisible(int row, BOOL partial) {
        return static_cast<BOOL>(SendMessage(LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), partial));
    }
    DWORD GetExtendedStyle() const {
        return static_cast<DWORD>(SendMessage(LVM_GETEXTENDEDLISTVIEWSTYLE));
    }
    DWORD SetExtendedStyle(DWORD style) {
        return static_cast<DWORD>(
            SendMessage(LVM_SETEXTENDEDLISTVIEWSTYLE, 0, static_cast<LPARAM>(style)));
    }
    BOOL SetItemState(int row, UINT state, UINT mask);
    void SetRedraw(BOOL redraw = TRUE) { SendMessage(WM_SETREDRAW, static_cast<WPARAM>(redraw)); }

    /// The next row after `row` (-1: from the first) with these LVNI_ flags; -1 when there is none.
    int GetNextItem(int row, int flags) const {
        return static_cast<int>(SendMessage(LVM_GETNEXTITEM, static_cast<WPARAM>(row), flags));
    }
    /// A walk over the selected rows: null when there is none (left).
    POSITION GetFirstSelectedItemPosition() const;
    int GetNextSelectedItem(POSITION& position) const;
};
