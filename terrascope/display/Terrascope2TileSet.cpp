// Which tiles exist about the view, and how they come into the off-screen bitmap.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "terrascope/display/Terrascope2.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/tiles/TileKey.h"

namespace Terrascope {

namespace {

constexpr int kRepaintMargin = 3;  // pixels about a tile that arrived
constexpr int kFar = 1 << 28;      // pixels; two of these can be added

int Times(int size, int count) {
    return static_cast<int>(std::min<std::int64_t>(std::int64_t{size} * count, kFar));
}

}  // namespace

CString CTerrascope2::KeyOf(int column, int row, int layerNumber) {
    return MakeTileKey(static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(row),
                       layerNumber);
}

void CTerrascope2::RefreshTiles() {
    NoteHostWindow();
    const Viewport view = View();
    const TileRange range = TileRangeOf(view, RegionAround(view, kLoadRegionFactor));

    CSingleLock lock(&m_tileLock);
    if (!lock.Lock())
        return;
    TakePreparedTilesLocked(m_zoomInTiles);
    TakePreparedTilesLocked(m_zoomOutTiles);

    TileMap wanted;
    for (int column = range.firstColumn; column < range.EndColumn(); ++column) {
        for (int row = range.firstRow; row < range.EndRow(); ++row) {
            const CString key = KeyOf(column, row, m_layer.nLayerNumber);
            if (key.IsEmpty())
                continue;
            if (auto kept = m_tiles.extract(key))
                wanted.insert(std::move(kept));
            else
                wanted.emplace(key, std::make_unique<CTile2>(m_map, m_layer, key, m_queue.get()));
        }
    }
    m_tiles = std::move(wanted);
    RenderLocked();
}

// Keys say nothing of the map: the tiles of the former one must not be taken for the new one's.
void CTerrascope2::ForgetFormerMap() {
    CSingleLock tiles(&m_tileLock, TRUE);
    m_tiles.clear();
    m_queue->Clear();
    CSingleLock bitmap(&m_bitmapLock, TRUE);
    m_bitmapLayer = CTileLayer2();  // what it shows is not to be reused
    CSingleLock switchLock(&m_switch.lock, TRUE);
    FinishSwitchLocked();  // its picture is of the former map
}

// A tile that is there already stays; the prepared one is then dropped.
void CTerrascope2::TakePreparedTilesLocked(TileMap& prepared) {
    m_tiles.merge(prepared);
    prepared.clear();
}

void CTerrascope2::RenderLocked() {
    const Viewport view = View();
    {
        CSingleLock lock(&m_bitmapLock);
        if (!lock.Lock())
            return;
        const MapRegion region = RegionAround(view, kLoadRegionFactor);
        PrepareBitmapLocked(view, TileRangeOf(view, region), {region.left, region.top});
        if (m_bitmap)
            PaintVisibleTilesLocked(view);
    }
    PostRepaint({0, 0, view.size.cx, view.size.cy}, true);
}

// While panning, the bitmap is moved, not made anew. That needs a bitmap of this very layer: one of
// another layer, or of another size about the same corner, is replaced.
void CTerrascope2::PrepareBitmapLocked(const Viewport& view, const TileRange& range,
                                       const CPointF& origin) {
    const CSize size = range.IsEmpty() ? CSize(0, 0)
                                       : CSize(Times(view.tileSize.cx, range.columnCount),
                                               Times(view.tileSize.cy, range.rowCount));
    const bool sameLayer = m_bitmapLayer.nLayerNumber == m_layer.nLayerNumber &&
                           m_bitmapLayer.dUnitsPerPixelX == m_layer.dUnitsPerPixelX &&
                           m_bitmapLayer.dUnitsPerPixelY == m_layer.dUnitsPerPixelY;
    const bool reuse = m_bitmap && sameLayer && IsPanTool() && !IsDragging();
    const CSize slack(view.tileSize.cx, view.tileSize.cy);
    const bool sameOrigin = origin == m_bitmapOrigin;

    const bool kept =
        reuse && (sameOrigin ? m_bitmap->Size() == size : ScrollBitmapLocked(size, slack, origin));
    if (!kept) {
        m_bitmap.reset();
        m_bitmap = CMapBitmap::Create(size, slack);
    }
    m_bitmapOrigin = origin;
    m_bitmapLayer = m_layer;
}

bool CTerrascope2::ScrollBitmapLocked(CSize size, CSize slack, const CPointF& origin) {
    const CPoint from = MapToDevicePixels(m_bitmapOrigin.x, m_bitmapOrigin.y);
    const CPoint to = MapToDevicePixels(origin.x, origin.y);
    if (!m_bitmap->Scroll(to.x - from.x, to.y - from.y, size)) {
        auto larger = m_bitmap->CopyWithSize(size, slack);
        if (!larger || !larger->Scroll(to.x - from.x, to.y - from.y, size))
            return false;
        m_bitmap = std::move(larger);
    }
    // A tile that is now partly outside has lost those pixels, should it come back.
    const CTileCanvas canvas = m_bitmap->Canvas();
    for (const auto& [key, tile] : m_tiles) {
        if (!canvas.Holds(tile->PlaceOn(origin)))
            tile->ForgetPlace();
    }
    return true;
}

void CTerrascope2::PaintVisibleTilesLocked(const Viewport& view) {
    const TileRange range = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
    CTileCanvas canvas = m_bitmap->Canvas();
    // The picture is opaque only where each tile was painted and reaches its neighbours: with an
    // odd factor, pixels between two tiles stay open.
    constexpr LONG kNone = std::numeric_limits<LONG>::min();
    bool whole = true;
    CRect covered(0, 0, 0, 0);
    LONG leftOfNextColumn = kNone;
    for (int column = range.EndColumn() - 1; column >= range.firstColumn; --column) {
        LONG topOfNextRow = kNone;
        LONG left = kNone;
        for (int row = range.EndRow() - 1; row >= range.firstRow; --row) {
            const auto found = m_tiles.find(KeyOf(column, row, m_layer.nLayerNumber));
            if (found == m_tiles.end()) {
                whole = false;
                continue;
            }
            CTile2& tile = *found->second;
            tile.Promote();
            const bool shown = tile.Draw(canvas, m_bitmapOrigin);
            const CRect place = tile.PlaceOn(m_bitmapOrigin);
            whole =
                whole && shown && place.right >= leftOfNextColumn && place.bottom >= topOfNextRow;
            covered.UnionRect(&covered, &place);
            topOfNextRow = place.top;
            left = place.left;
        }
        leftOfNextColumn = left;
    }
    if (whole)
        m_bitmap->AddOpaque(covered);
}

void CTerrascope2::OnTileLoaded(tagTILE_IMAGE* image) {
    std::unique_ptr<tagTILE_IMAGE> record(image);
    if (!record)
        return;

    PointD corner;
    CSize size;
    const char* failure = nullptr;
    const CString key = record->strKey;
    {
        CSingleLock tiles(&m_tileLock);
        if (!tiles.Lock())
            return;
        const auto found = m_tiles.find(key);
        if (found == m_tiles.end() || m_queue->IsStale())
            return;
        CTile2& tile = *found->second;
        tile.SetImage(record.release());
        {
            CSingleLock bitmap(&m_bitmapLock);
            if (!bitmap.Lock())
                return;
            if (m_bitmap) {
                CTileCanvas canvas = m_bitmap->Canvas();
                tile.Draw(canvas, m_bitmapOrigin);
            }
        }
        failure = tile.TakeFailure();
        const MapRectF rect = tile.GetLogicalRect();
        corner = {rect.x, rect.y};
        size = tile.PixelSize();
    }
    if (failure)
        LogTileFailure(key, failure);
    if (m_switch.switching || IsDragging())
        return;
    const CPoint place = MapToDevicePixels(corner.x, corner.y);
    CRect rect(place, CSize(std::min<LONG>(size.cx, kFar), std::min<LONG>(size.cy, kFar)));
    rect.InflateRect(kRepaintMargin, kRepaintMargin);
    PostRepaint(rect, false);
}

}  // namespace Terrascope
