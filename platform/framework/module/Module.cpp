#include "Module.h"

#include <algorithm>
#include <utility>

namespace {

// Without a destructor and without memory of their own: extension DLLs are unloaded after the
// framework's static objects, and a framework that is unloaded leaves nothing behind. The lock is
// never held while calling out, so it may be taken under the loader lock.
SRWLOCK g_lock = SRWLOCK_INIT;
CDynLinkLibrary* g_newest = nullptr;         // guarded by g_lock
HINSTANCE g_applicationResources = nullptr;  // guarded by g_lock

class ListLock {
public:
    ListLock() { ::AcquireSRWLockExclusive(&g_lock); }
    ~ListLock() { ::ReleaseSRWLockExclusive(&g_lock); }
    ListLock(const ListLock&) = delete;
    ListLock& operator=(const ListLock&) = delete;
};

bool Holds(HMODULE module, LPCSTR name, LPCSTR type) {
    return module != nullptr && ::FindResourceA(module, name, type) != nullptr;
}

}  // namespace

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state)
    : m_hModule(state.hModule), m_hResource(state.hResource) {
    const ListLock lock;
    m_pNextDL = std::exchange(g_newest, this);
}

CDynLinkLibrary::~CDynLinkLibrary() {
    const ListLock lock;
    for (CDynLinkLibrary** at = &g_newest; *at != nullptr; at = &(*at)->m_pNextDL) {
        if (*at == this) {
            *at = m_pNextDL;
            break;
        }
    }
}

CDynLinkLibrary* CDynLinkLibrary::Find(HMODULE module) {
    const ListLock lock;
    CDynLinkLibrary* found = g_newest;
    while (found != nullptr && found->m_hModule != module) {
        found = found->m_pNextDL;
    }
    return found;
}

std::vector<HMODULE> CDynLinkLibrary::ResourceModules() {
    const ListLock lock;
    std::vector<HMODULE> modules;
    for (const CDynLinkLibrary* at = g_newest; at != nullptr; at = at->m_pNextDL) {
        modules.push_back(at->m_hResource);
    }
    return modules;
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE module) {
    if (module == nullptr) {
        return FALSE;
    }
    state.bInitialized = TRUE;
    state.hModule = module;
    if (state.hResource == nullptr) {
        state.hResource = module;
    }
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL) {
    if (!state.bInitialized) {
        return;
    }
    while (CDynLinkLibrary* found = CDynLinkLibrary::Find(state.hModule)) {
        delete found;
    }
    state.bInitialized = FALSE;
}

HINSTANCE AfxGetInstanceHandle() {
    return ::GetModuleHandleA(nullptr);
}

HINSTANCE AfxGetResourceHandle() {
    const ListLock lock;
    return g_applicationResources != nullptr ? g_applicationResources : AfxGetInstanceHandle();
}

void AfxSetResourceHandle(HINSTANCE module) {
    const ListLock lock;
    g_applicationResources = module;
}

HINSTANCE AfxFindResourceHandle(LPCSTR name, LPCSTR type) {
    const HINSTANCE application = AfxGetResourceHandle();
    if (Holds(application, name, type)) {
        return application;
    }
    const std::vector<HMODULE> modules = CDynLinkLibrary::ResourceModules();
    const auto found = std::find_if(modules.begin(), modules.end(),
                                    [&](HMODULE module) { return Holds(module, name, type); });
    return found != modules.end() ? *found : application;
}

BOOL AfxInitRichEdit2() {
    static const HMODULE library = ::LoadLibraryA("riched20.dll");
    return library != nullptr;
}
