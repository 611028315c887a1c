#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"

#include <windows.h>

#include <list>
#include <memory>

#include "terrascope/support/Handles.h"
#include "terrascope/support/files/Paths.h"

namespace Terrascope {
namespace {

std::unique_ptr<CTileMapInfoProviderPluginKernel> g_kernel;

bool HasDllExtension(const CString& fileName) {
    const int dot = fileName.ReverseFind('.');
    return dot >= 0 && fileName.Mid(dot + 1).CompareNoCase("dll") == 0;
}

/// Not the shared file search: that one descends into sub-folders and changes the process's
/// current directory, which is not ours to do while a host is being started.
std::list<CString> FindPluginFiles(const CString& folder) {
    std::list<CString> files;
    WIN32_FIND_DATAA entry{};
    const CFindHandle search(::FindFirstFileA(folder + "\\*", &entry));
    if (!search) {
        return files;
    }
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
            HasDllExtension(entry.cFileName)) {
            files.push_back(folder + "\\" + entry.cFileName);
        }
    } while (::FindNextFileA(search.Get(), &entry) != 0);
    return files;
}

}  // namespace

CTileMapInfoProviderPluginKernel& CTileMapInfoProviderPluginKernel::GetInstance() {
    if (g_kernel == nullptr) {
        g_kernel = std::make_unique<CTileMapInfoProviderPluginKernel>();
    }
    return *g_kernel;
}

void CTileMapInfoProviderPluginKernel::ReleaseInstance() {
    g_kernel.reset();
}

CTileMapInfoProviderPluginKernel::~CTileMapInfoProviderPluginKernel() = default;

std::int32_t CTileMapInfoProviderPluginKernel::GetEngineVersion() {
    return 1;
}

bool CTileMapInfoProviderPluginKernel::LoadPlugins(const CString& moduleFileName) {
    CString folder;
    folder.Format("%s\\Plugins\\Quillmont\\TileMapInfoProvider",
                  GetModuleFolderPath(moduleFileName).GetString());
    return LoadPluginFolder(folder);
}

bool CTileMapInfoProviderPluginKernel::LoadPluginFolder(const CString& folder) {
    bool allLoaded = true;
    for (const CString& path : FindPluginFiles(folder)) {
        allLoaded = LoadPlugin(path) && allLoaded;
    }
    return allLoaded;
}

}  // namespace Terrascope
