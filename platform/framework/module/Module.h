#pragma once

#include <vector>

#include "../Export.h"
#include "../core/Object.h"

/// The framework's record of one extension DLL; a static object of that DLL.
struct AFX_EXTENSION_MODULE {
    BOOL bInitialized = FALSE;
    HMODULE hModule = nullptr;
    HMODULE hResource = nullptr;
};

/// One module in the list that resources are looked for in. Made with `new` in the entry point of
/// an extension DLL; owned by the list from then on.
///
/// Threads: modules come and go under the loader lock; lookups may run beside them.
class FRAMEWORK_API CDynLinkLibrary : public CObject {
public:
    explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& state);
    ~CDynLinkLibrary() override;

    HMODULE m_hModule;
    HMODULE m_hResource;

    /// The object of a module; null when it has none in the list.
    static CDynLinkLibrary* Find(HMODULE module);
    /// Where resources are looked for, the module loaded last first.
    static std::vector<HMODULE> ResourceModules();

private:
    CDynLinkLibrary* m_pNextDL = nullptr;  ///< loaded before this one
};

/// Prepares an extension DLL; FALSE makes its load fail.
FRAMEWORK_API BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE module);
/// Takes the module out of the list and deletes its CDynLinkLibrary.
FRAMEWORK_API void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL all = FALSE);

/// The application's module, and the one that its resources are in (the same, unless set).
FRAMEWORK_API HINSTANCE AfxGetInstanceHandle();
FRAMEWORK_API HINSTANCE AfxGetResourceHandle();
FRAMEWORK_API void AfxSetResourceHandle(HINSTANCE module);

/// The module that holds a resource: the application first, then the extension modules, the one
/// loaded last first. The application's when none does.
FRAMEWORK_API HINSTANCE AfxFindResourceHandle(LPCSTR name, LPCSTR type);

/// Registers the rich edit control of version 2.
FRAMEWORK_API BOOL AfxInitRichEdit2();
