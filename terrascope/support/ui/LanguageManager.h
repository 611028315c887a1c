#pragma once

#include <afxwin.h>

#include <string>

#include "terrascope/support/ini/MemIniFile.h"

namespace Terrascope {

/// Puts translated texts into the library's dialogs and menus and hands out its strings. What the
/// language file lacks stays as the resources have it; an entry with an empty value makes a window
/// or menu text empty.
///
/// The file is "language\Terrascope.lang" in the library's folder, in the form of CMemIniFile, case
/// included: [DIALOG_<dialog>] with -1 for the caption and each control's id; [MENU_<menu>] with
/// each command's id, each popup's ordinal ("0", and "0_1" below it; popups only, counted in each
/// menu); [STRINGTABLE] with each string's id. \n, \r and \t are read in menus and strings, not in
/// dialogs.
///
/// Threads: the user-interface thread only.
/// Errors:  silent; a missing file leaves everything as it is, and is not looked for again.
class CLanguageManager {
public:
    CLanguageManager();
    virtual ~CLanguageManager() = default;
    CLanguageManager(const CLanguageManager&) = delete;
    CLanguageManager& operator=(const CLanguageManager&) = delete;

    /// The process's one manager; the first call makes it and loads the library's language file.
    static CLanguageManager* GetInstance();
    static void ReleaseInstance();

    /// "Terrascope", whatever program hosts the library.
    static CString GetModuleName();
    /// The library's folder, not the host's.
    static CString GetModuleFolder();

    /// The file of that name, without folder and extension. False when it does not exist.
    bool LoadLanguage(const CString& name);
    bool LoadLanguageFile(const CString& path);

    /// The window's caption and the texts of its direct children.
    void TranslateDialog(CWnd* pDialog, UINT dialogId);
    /// False, and nothing changed, when the file has no such entry.
    bool TranslateWindowText(CWnd* pWindow, const CString& section, const CString& key);

    /// The texts of a menu and of the menus below it. `parentKey` is the key of the popup that
    /// holds the menu, empty at the top. Grayed entries stay grayed; check marks are lost.
    /// The library does not call it; it is for its users.
    void TranslateMenu(CMenu* pMenu, UINT menuId, const CString& parentKey = CString());

    /// The text in the language file or else the library's string resource (up to 255 bytes),
    /// with \n, \r and \t read in either; empty without both.
    CString GetString(UINT id) const;
    /// The same; the library does not call it, it is for its users.
    std::string GetStdString(UINT id) const;

    CString ReadText(const CString& section, const CString& key) const;
    bool HasText(const CString& section, const CString& key) const;

private:
    void TranslateEntry(HMENU menu, UINT position, const CString& section, const CString& key);
    void TranslateMenuLevel(HMENU menu, const CString& section, const CString& parentKey);

    mutable CMemIniFile m_translations;  // reads fill its lookup tables
};

}  // namespace Terrascope
