#include "terrascope/providers/LoadCancelling.h"

#include <windows.h>

#include "terrascope/providers/FailureOf.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {
namespace {

using CancelEntry = void (*)(ITileMapInfoProvider*);  // "cancelLoads"

/// Null when the provider's plug-in has no such entry. Looked up, and not kept beside the two
/// other entries: neither the kernel nor the factories can grow without a new engine version.
CancelEntry FindEntry(const ITileMapInfoProvider& provider) {
    const void* table = *reinterpret_cast<const void* const*>(&provider);
    HMODULE module = nullptr;
    if (!::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            static_cast<LPCWSTR>(table), &module)) {
        return nullptr;
    }
    return reinterpret_cast<CancelEntry>(
        reinterpret_cast<void*>(::GetProcAddress(module, "cancelLoads")));
}

void CancelOne(ITileMapInfoProvider& provider) {
    if (const CancelEntry entry = FindEntry(provider); entry != nullptr) {
        if (const auto failure = FailureOf([&] { entry(&provider); })) {
            LogLine("a plug-in failed to cancel loads: %s", failure->c_str());
        }
    }
}

}  // namespace

void CancelLoads(ITileMapInfoProvider& provider) {
    CancelOne(provider);
    if (provider.m_pRemoteProvider != nullptr) {
        CancelOne(*provider.m_pRemoteProvider);
    }
}

}  // namespace Terrascope
