#pragma once

#include <afx.h>
#include <windows.h>

#include <cstdint>

namespace Terrascope {

class CTileMapInfoProviderPluginKernel;

/// One loaded plug-in library with its two entry points. Copies share the library; the last one
/// to go unloads it.
///
/// Threads: the counter is not atomic: the thread that loads and unloads the library.
/// Requires: not released, for the entry points and Pin.
class PluginModule {
public:
    /// The exported, unmangled functions that make a DLL a plug-in.
    using EngineVersionEntry = std::int32_t (*)();                      // "getEngineVersion"
    using RegisterEntry = void (*)(CTileMapInfoProviderPluginKernel*);  // "registerPlugin"

    /// Loads the library at a full path.
    /// Errors: throws std::runtime_error with a text for the log when it cannot be loaded or lacks
    ///         an entry point; it is unloaded then.
    static PluginModule Open(const CString& path);

    PluginModule(const PluginModule& other);
    PluginModule& operator=(const PluginModule& other);
    ~PluginModule() { Release(); }

    /// Gives up this copy's share.
    void Release();

    /// Keeps the library in the process for good, whoever releases it.
    void Pin() const;

    EngineVersionEntry GetEngineVersionEntry() const {
        ASSERT(m_useCount != nullptr);
        return m_engineVersion;
    }
    RegisterEntry GetRegisterEntry() const {
        ASSERT(m_useCount != nullptr);
        return m_register;
    }

private:
    PluginModule() = default;

    HMODULE m_module = nullptr;
    std::int32_t* m_useCount = nullptr;  // shared by all copies
    EngineVersionEntry m_engineVersion = nullptr;
    RegisterEntry m_register = nullptr;
};

}  // namespace Terrascope
