#include "Module.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace {

/// The modules in the order of their loading. The lock is never held while calling out, so it may
/// be taken under the loader lock.
struct ModuleList {
    std::mutex lock;
    std::vector<CDynLinkLibrary*> modules;
    HINSTANCE applicationResources = nullptr;
};

ModuleList& Modules() {
    // Never destroyed: extension DLLs are unloaded after the framework's static objects.
    static auto* list = new ModuleList;
    return *list;
}

bool Holds(HMODULE module, LPCSTR name, LPCSTR type) {
    return module && ::FindResourceA(module, name, type) != nullptr;
}

}  // namespace

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state)
    : m_hModule(state.hModule), m_hResource(state.hResource) {
    ModuleList& list = Modules();
    const std::lock_guard guard(list.lock);
    list.modules.push_back(this);
}

CDynLinkLibrary::~CDynLinkLibrary() {
    ModuleList& list = Modules();
    const std::lock_guard guard(list.lock);
    std::erase(list.modules, this);
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE module) {
    if (!module)
        return FALSE;
    state.bInitialized = TRUE;
    state.hModule = module;
    if (!state.hResource)
        state.hResource = module;
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL) {
    if (!state.bInitialized)
        return;
    for (;;) {
        CDynLinkLibrary* found = nullptr;
        {
            ModuleList& list = Modules();
            const std::lock_guard guard(list.lock);
            const auto at = std::find_if(
                list.modules.begin(), list.modules.end(),
                [&](const CDynLinkLibrary* m) { return m->m_hModule == state.hModule; });
            if (at != list.modules.end())
                found = *at;
        }
        if (!found)
            break;
        delete found;
    }
    state.bInitialized = FALSE;
}

HINSTANCE AfxGetInstanceHandle() {
    return ::GetModuleHandleA(nullptr);
}

HINSTANCE AfxGetResourceHandle() {
    ModuleList& list = Modules();
    const std::lock_guard guard(list.lock);
    return list.applicationResources ? list.applicationResources : AfxGetInstanceHandle();
}

void AfxSetResourceHandle(HINSTANCE module) {
    ModuleList& list = Modules();
    const std::lock_guard guard(list.lock);
    list.applicationResources = module;
}

HINSTANCE AfxFindResourceHandle(LPCSTR name, LPCSTR type) {
    const HINSTANCE application = AfxGetResourceHandle();
    if (Holds(application, name, type))
        return application;
    std::vector<HMODULE> modules;
    {
        ModuleList& list = Modules();
        const std::lock_guard guard(list.lock);
        for (const CDynLinkLibrary* module : list.modules)
            modules.push_back(module->m_hResource);
    }
    const auto found = std::find_if(modules.rbegin(), modules.rend(),
                                    [&](HMODULE module) { return Holds(module, name, type); });
    return found != modules.rend() ? *found : application;
}

BOOL AfxInitRichEdit2() {
    static const HMODULE library = ::LoadLibraryA("riched20.dll");
    return library != nullptr;
}
