#include "terrascope/support/ui/LanguageManager.h"

#include <shlwapi.h>

#include "terrascope/support/files/Paths.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

namespace {

constexpr const char* kLibraryFile = "Terrascope.dll";
constexpr const char* kCaptionKey = "-1";
constexpr UINT kPopupId = 0xFFFFFFFFU;  // what the system reports in place of a popup's id

CLanguageManager* g_instance = nullptr;

CString FormatNumber(const char* format, UINT number) {
    CString text;
    text.Format(format, static_cast<int>(number));
    return text;
}

CString TextBeforeLastStop(const CString& name) {
    const std::size_t stop = ViewOf(name).rfind('.');
    return stop == std::string_view::npos ? name : ToCString(ViewOf(name).substr(0, stop));
}

HMODULE LibraryModule() {
    HMODULE module = ::GetModuleHandleA(CLanguageManager::GetModuleName());
    return module != nullptr ? module : OwnModule();
}

}  // namespace

CLanguageManager::CLanguageManager() : m_translations("", true) {}

CLanguageManager* CLanguageManager::GetInstance() {
    if (g_instance == nullptr) {
        g_instance = new CLanguageManager;
        g_instance->LoadLanguage(GetModuleName());
    }
    return g_instance;
}

void CLanguageManager::ReleaseInstance() {
    delete g_instance;
    g_instance = nullptr;
}

CString CLanguageManager::GetModuleName() {
    return TextBeforeLastStop(kLibraryFile);
}

CString CLanguageManager::GetModuleFolder() {
    return ModuleFolder(LibraryModule());
}

bool CLanguageManager::LoadLanguage(const CString& name) {
    return LoadLanguageFile(WithoutTrailingBackslash(GetModuleFolder()) + "\\language\\" + name +
                            ".lang");
}

bool CLanguageManager::LoadLanguageFile(const CString& path) {
    if (!::PathFileExistsA(path)) {
        return false;
    }
    m_translations.SetFileName(path);
    return true;
}

CString CLanguageManager::ReadText(const CString& section, const CString& key) const {
    return m_translations.ReadString(section, key, "");
}

bool CLanguageManager::HasText(const CString& section, const CString& key) const {
    return m_translations.ValueExists(section, key);
}

void CLanguageManager::TranslateDialog(CWnd* pDialog, UINT dialogId) {
    if (pDialog == nullptr) {
        return;
    }
    const CString section = FormatNumber("DIALOG_%d", dialogId);
    TranslateWindowText(pDialog, section, kCaptionKey);
    for (HWND child = ::GetWindow(pDialog->GetSafeHwnd(), GW_CHILD); child != nullptr;
         child = ::GetWindow(child, GW_HWNDNEXT)) {
        // A control without an id of its own has -1 and shares the caption's text.
        const CString key = FormatNumber("%d", static_cast<UINT>(::GetDlgCtrlID(child)));
        TranslateWindowText(CWnd::FromHandle(child), section, key);
    }
}

bool CLanguageManager::TranslateWindowText(CWnd* pWindow, const CString& section,
                                           const CString& key) {
    if (pWindow == nullptr || !HasText(section, key)) {
        return false;
    }
    ::SetWindowTextA(pWindow->GetSafeHwnd(), ReadText(section, key));
    return true;
}

void CLanguageManager::TranslateMenu(CMenu* pMenu, UINT menuId, const CString& parentKey) {
    if (pMenu != nullptr) {
        TranslateMenuLevel(pMenu->GetSafeHmenu(), FormatNumber("MENU_%d", menuId), parentKey);
    }
}

void CLanguageManager::TranslateMenuLevel(HMENU menu, const CString& section,
                                          const CString& parentKey) {
    if (menu == nullptr) {
        return;
    }
    const CString prefix = parentKey.IsEmpty() ? parentKey : parentKey + "_";
    UINT ordinal = 0;
    const int count = ::GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position) {
        const UINT id = ::GetMenuItemID(menu, position);
        if (id == 0) {
            continue;
        }
        if (id != kPopupId) {
            TranslateEntry(menu, static_cast<UINT>(position), section, FormatNumber("%d", id));
            continue;
        }
        const CString key = prefix + FormatNumber("%d", ordinal);
        ++ordinal;
        TranslateEntry(menu, static_cast<UINT>(position), section, key);
        // After the change on purpose: a popup whose own caption was translated has lost its menu
        // where the system replaces entries, and there what is below it stays as it is.
        TranslateMenuLevel(::GetSubMenu(menu, position), section, key);
    }
}

void CLanguageManager::TranslateEntry(HMENU menu, UINT position, const CString& section,
                                      const CString& key) {
    if (!HasText(section, key)) {
        return;
    }
    const bool grayed = (::GetMenuState(menu, position, MF_BYPOSITION) & MF_GRAYED) != 0;
    const UINT flags = grayed ? MF_BYPOSITION | MF_GRAYED | MF_DISABLED : MF_BYPOSITION;
    ::ModifyMenuA(menu, position, flags, ::GetMenuItemID(menu, static_cast<int>(position)),
                  ReplaceEscapes(ReadText(section, key)));
}

CString CLanguageManager::GetString(UINT id) const {
    CString text = ReadText("STRINGTABLE", FormatNumber("%d", id));
    if (text.IsEmpty()) {
        char buffer[256] = "";
        ::LoadStringA(LibraryModule(), id, buffer, sizeof(buffer));
        text = buffer;
    }
    return ReplaceEscapes(text);
}

std::string CLanguageManager::GetStdString(UINT id) const {
    return GetString(id).GetString();
}

}  // namespace Terrascope
