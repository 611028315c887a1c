#include "terrascope/providers/PluginModule.h"

#include <memory>
#include <sstream>
#include <stdexcept>

#include "terrascope/support/QuietLoading.h"

namespace Terrascope {
namespace {

template <class TEntry>
TEntry FindEntry(HMODULE module, const char* name) {
    return reinterpret_cast<TEntry>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace

PluginModule PluginModule::Open(const CString& path) {
    const QuietLoading quiet;
    PluginModule plugin;
    auto useCount = std::make_unique<std::int32_t>(1);
    plugin.m_module = ::LoadLibraryA(path);
    if (plugin.m_module == nullptr) {
        const DWORD error = ::GetLastError();
        std::ostringstream text;
        text << "Could not load '" << path.GetString() << "', errorCode = " << error;
        throw std::runtime_error(text.str());
    }
    plugin.m_useCount = useCount.release();  // from here on the library is unloaded with it
    plugin.m_engineVersion = FindEntry<EngineVersionEntry>(plugin.m_module, "getEngineVersion");
    plugin.m_register = FindEntry<RegisterEntry>(plugin.m_module, "registerPlugin");
    if (plugin.m_engineVersion == nullptr || plugin.m_register == nullptr) {
        throw std::runtime_error("'" + std::string(path.GetString()) + "' is not a valid plugin");
    }
    return plugin;
}

PluginModule::PluginModule(const PluginModule& other)
    : m_module(other.m_module),
      m_useCount(other.m_useCount),
      m_engineVersion(other.m_engineVersion),
      m_register(other.m_register) {
    if (m_useCount != nullptr) {
        ++*m_useCount;
    }
}

PluginModule& PluginModule::operator=(const PluginModule& other) {
    if (this != &other) {
        if (other.m_useCount != nullptr) {
            ++*other.m_useCount;
        }
        Release();
        m_module = other.m_module;
        m_useCount = other.m_useCount;
        m_engineVersion = other.m_engineVersion;
        m_register = other.m_register;
    }
    return *this;
}

void PluginModule::Release() {
    if (m_useCount != nullptr && --*m_useCount == 0) {
        delete m_useCount;
        ::FreeLibrary(m_module);
    }
    m_useCount = nullptr;
}

void PluginModule::Pin() const {
    ASSERT(m_useCount != nullptr);
    HMODULE pinned = nullptr;
    ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<LPCSTR>(m_module), &pinned);
}

}  // namespace Terrascope
