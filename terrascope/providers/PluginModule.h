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

    /// Gives up this copy's share; the entry points must not be called afterwards.
    void Release();

    /// Keeps the library in the process for good, whoever releases it.
    void Pin() const;

    EngineVersionEntry GetEngineVersionEntry() const { return m_engineVersion; }
    RegisterEntry GetRegisterEntry() const { return m_register; }

private:
    PluginModule() = default;

    HMODULE m_module = nullptr;
    std::int32_t* m_useCount = nullptr;  // shared by all copies
    EngineVersionEntry m_engineVersion = nullptr;
    RegisterEntry m_register = nullptr;
};

}  // namespace Terrascope
