#pragma once

#include <afxwin.h>

#include <list>

#include "terrascope/api/ITerrascope.h"
#include "terrascope/display/Export.h"
#include "terrascope/providers/TileMapRecords.h"
#include "terrascope/support/PointF.h"

namespace Terrascope {

/// The library's entrance: makes displays, lets the user pick a map, chooses the providers, and
/// converts between device pixels (DP) and the library's logical units (LP).
///
/// Units:   LP = DP x 1000 / D, where D = MulDiv(100, dpi x 8450, 254000) for the screen's
///          horizontal dots per inch (319 at 96 dpi), asked afresh at each conversion.
///          The forms with whole numbers truncate toward zero, so there and back may lose one.
/// Threads: the host's user-interface thread.
/// Errors:  shown by results; GetTerrascope may throw the framework's resource exception when the
///          system has no room for another lock.
class TERRASCOPE_API CMapAssistant : public CObject {
public:
    CMapAssistant() = default;
    ~CMapAssistant() override;

    /// A new display in `window`, with a view of `viewSize` logical units; `scale` is the zoom
    /// factor of each opened map's first layer (1.0: tiles in their own size).
    /// The caller deletes it. Null when memory is short.
    static ITerrascope* GetTerrascope(CSize viewSize, CWnd* window, double scale);

    /// Runs the map selection dialog. On OK (result 1) the three arguments receive the choice (the
    /// number is that of the map's first layer); on any other end they are left alone and the
    /// result is 0. `mapName` preselects a map.
    static int SelectMap(CString& mapName, int& layerNumber, double& scale);

    /// Chooses the provider for a role ("LOCAL" or "REMOTE", case ignored) with its data path, for
    /// displays and dialogs made from then on. Terrascope.ini wins over it. Other roles are
    /// ignored.
    static void SetTileMapInfoProvider(const CString& type, const CString& name,
                                       const CString& dataPath);

    /// The maps that the configured provider offers, in its order: what the dialog of SelectMap
    /// lists. The caller deletes the records.
    static std::list<tagTILE_MAP_INFO*> GetMapList();

    /// Has the configured provider refresh its library of maps; the provider's answer, false
    /// without a provider.
    static bool UpdateMapLib(bool flag);

    /// Does nothing; kept for hosts that call it.
    static void FreeResource();

    static float DPToLP(float value);
    static void DPToLP(CPoint& point);
    static void DPToLP(CPointF& point);
    static void DPToLP(CSize& size);

    static float LPToDP(float value);
    static void LPToDP(CPoint& point);
    static void LPToDP(CPointF& point);
    static void LPToDP(CSize& size);
};

}  // namespace Terrascope
