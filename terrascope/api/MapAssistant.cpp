#include "terrascope/api/MapAssistant.h"

#include <new>

#include "terrascope/api/ModuleLog.h"
#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/Terrascope2.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/providers/TileMapSelDlg.h"
#include "terrascope/tiles/PictureCache.h"

namespace Terrascope {

CMapAssistant::~CMapAssistant() {}

ITerrascope* CMapAssistant::GetTerrascope(CSize viewSize, CWnd* window, double scale) {
    SetUpModuleLog();
    try {
        return new CTerrascope2(viewSize, window, scale);
    } catch (const std::bad_alloc&) {
        return nullptr;
    } catch (CMemoryException* failed) {
        failed->Delete();
        return nullptr;
    }
}

int CMapAssistant::SelectMap(CString& mapName, int& layerNumber, double& scale) {
    SetUpModuleLog();
    CTileMapSelDlg dialog;
    dialog.m_strMapName = mapName;
    dialog.m_dFirstLayerScale = scale;
    if (dialog.DoModal() != IDOK) {
        return FALSE;
    }
    mapName = dialog.m_strMapName;
    layerNumber = dialog.m_nFirstLayer;
    scale = dialog.m_dFirstLayerScale;
    return TRUE;
}

void CMapAssistant::SetTileMapInfoProvider(const CString& type, const CString& name,
                                           const CString& dataPath) {
    CTileMapInfoProviderPluginKernel::GetInstance().SetProvider(type, name, dataPath);
}

std::list<tagTILE_MAP_INFO*> CMapAssistant::GetMapList() {
    SetUpModuleLog();
    CTileMapInfoProviderWrapper wrapper;
    wrapper.SelectProvider();
    return wrapper.GetMapList();
}

bool CMapAssistant::UpdateMapLib(bool flag) {
    SetUpModuleLog();
    CTileMapInfoProviderWrapper wrapper;
    wrapper.SelectProvider();
    const bool updated = wrapper.UpdateMapLib(flag);
    CPictureCache::ForgetAll();
    return updated;
}

void CMapAssistant::FreeResource() {}

float CMapAssistant::DPToLP(float value) {
    return DeviceToLogical(value, ScreenDeviceFactor());
}

void CMapAssistant::DPToLP(CPoint& point) {
    const float factor = ScreenDeviceFactor();
    point.x = DeviceToLogical(static_cast<int>(point.x), factor);
    point.y = DeviceToLogical(static_cast<int>(point.y), factor);
}

void CMapAssistant::DPToLP(CPointF& point) {
    const float factor = ScreenDeviceFactor();
    point.x = DeviceToLogical(point.x, factor);
    point.y = DeviceToLogical(point.y, factor);
}

void CMapAssistant::DPToLP(CSize& size) {
    const float factor = ScreenDeviceFactor();
    size.cx = DeviceToLogical(static_cast<int>(size.cx), factor);
    size.cy = DeviceToLogical(static_cast<int>(size.cy), factor);
}

float CMapAssistant::LPToDP(float value) {
    return LogicalToDevice(value, ScreenDeviceFactor());
}

void CMapAssistant::LPToDP(CPoint& point) {
    const float factor = ScreenDeviceFactor();
    point.x = LogicalToDevice(static_cast<int>(point.x), factor);
    point.y = LogicalToDevice(static_cast<int>(point.y), factor);
}

void CMapAssistant::LPToDP(CPointF& point) {
    const float factor = ScreenDeviceFactor();
    point.x = LogicalToDevice(point.x, factor);
    point.y = LogicalToDevice(point.y, factor);
}

void CMapAssistant::LPToDP(CSize& size) {
    const float factor = ScreenDeviceFactor();
    size.cx = LogicalToDevice(static_cast<int>(size.cx), factor);
    size.cy = LogicalToDevice(static_cast<int>(size.cy), factor);
}

}  // namespace Terrascope
