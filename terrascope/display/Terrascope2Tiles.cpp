// Which tiles exist about the view, and how they come into the picture and onto the screen.
#include <algorithm>
#include <utility>

#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/Terrascope2.h"
#include "terrascope/display/ViewPainter.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {

namespace {

constexpr int kRepaintMargin = 3;  // pixels about a tile that arrived

/// Whether an image was decoded for a tile of this size. (It is not where the layer's zoom factor
/// has changed since the tile was asked for.)
bool IsFor(const DecodedImage& decoded, const CTile2& tile) {
    return decoded.failure != nullptr ||
           (decoded.picture != nullptr && decoded.picture->Size() == tile.PixelSize());
}

}  // namespace

void CTerrascope2::RefreshTiles() {
    m_host.Refresh();
    const Viewport view = View();
    const TileRange range = TileRangeOf(view, RegionAround(view, kLoadRegionFactor));
    const TileRange visible = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
    LogRefusal(range);
    const CTileLoadQueue2::CHold hold(*m_queue);
    {
        CSingleLock lock(&m_tiles.Lock(), TRUE);
        m_tiles.Refresh(m_map, m_layer, range, m_queue.get());
        if (m_switch.IsRunning()) {
            // The former view is shown: the picture is made when it is wanted, at the first paint
            // after the switch. Until then most tiles have come, and need no waiting picture.
            m_tiles.VisitBackwards(visible, m_layer.nLayerNumber, [](CTile2& tile) {
                tile.Promote();
                tile.RequestLoad();
            });
            m_picture.Clear();
            m_dueView = view;
        } else {
            m_dueView.reset();
            RenderLocked(view);
        }
        if (m_policy.fast) {
            LoadAheadLocked(visible);
        }
    }
    PostRepaintOfView();
}

void CTerrascope2::RenderLocked(const Viewport& view) {
    const TileRange visible = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
    const auto listVisible = [&](TilePaints& paints,
                                 const CPointF& origin) TERRASCOPE_REQUIRES(m_tiles.Lock()) {
        m_tiles.VisitBackwards(visible, m_layer.nLayerNumber, [&](CTile2& tile) {
            tile.Promote();
            tile.Draw(paints, origin);
        });
    };
    m_picture.Render(view, m_layer.nLayerNumber, IsPanTool() && !IsDragging(), listVisible);
}

void CTerrascope2::RenderWhatIsDue() {
    if (m_dueView) {
        CSingleLock lock(&m_tiles.Lock(), TRUE);
        RenderLocked(*m_dueView);
        m_dueView.reset();
    }
}

// Once the view is complete, the rest of the load region is fetched, the nearest tiles first; what
// has left the region is not fetched any more.
void CTerrascope2::LoadAheadLocked(const TileRange& visible) {
    const CPointF center = Center();
    CTileLoadQueue2::Ranks ranks;
    m_tiles.VisitAll([&](CTile2& tile) {
        if (tile.HasImage()) {
            return;
        }
        const TileIndex index = tile.Index();
        const CPointF middle = tile.TopLeft() + tile.HalfSize();
        const double x = (middle.x - center.x) / m_layer.dUnitsPerPixelX;
        const double y = (middle.y - center.y) / m_layer.dUnitsPerPixelY;
        const TileRank rank{visible.Contains(index.column, index.row), x * x + y * y};
        ranks[tile.Key()] = rank;
        if (!rank.visible) {
            tile.RequestLoad(true);
        }
    });
    m_queue->Arrange(ranks);
}

void CTerrascope2::LogRefusal(const TileRange& range) {
    if (range.refused && !m_refusalLogged) {
        m_refusalLogged = true;
        LogLine("map '%s', layer %d: its tiles of %d x %d pixels are too many about this view",
                m_map.strName.GetString(), m_layer.nLayerNumber, m_layer.nTileWidth,
                m_layer.nTileHeight);
    }
}

void CTerrascope2::OnTileLoaded(tagTILE_IMAGE* image) {
    Deliver(std::unique_ptr<tagTILE_IMAGE>(image), nullptr, {});
}

void CTerrascope2::OnTileFetched(tagTILE_IMAGE* image, const tagTILE_LOAD_REQUEST& request,
                                 const DecodedImage& decoded) {
    Deliver(std::unique_ptr<tagTILE_IMAGE>(image), &request, decoded);
}

void CTerrascope2::Deliver(std::unique_ptr<tagTILE_IMAGE> record,
                           const tagTILE_LOAD_REQUEST* request, const DecodedImage& decoded) {
    if (record == nullptr) {
        return;
    }
    std::optional<CRect> place = GiveToTile(std::move(record), request, decoded);
    if (!place || m_switch.IsRunning()) {
        return;  // a switch repaints the whole view at its end
    }
    place->InflateRect(kRepaintMargin, kRepaintMargin);
    if (IsDragging()) {
        m_host.Withhold(*place);
    } else {
        m_host.PostRepaint(*place);
    }
}

std::optional<CRect> CTerrascope2::GiveToTile(std::unique_ptr<tagTILE_IMAGE> record,
                                              const tagTILE_LOAD_REQUEST* request,
                                              const DecodedImage& decoded) {
    const CString key = record->strKey;
    MapRegion region;
    CSize size;
    const char* failure = nullptr;
    {
        CSingleLock lock(&m_tiles.Lock(), TRUE);
        CTile2* tile = m_tiles.Find(key);
        if (tile == nullptr || (request != nullptr && m_queue->IsStale(*request))) {
            return std::nullopt;
        }
        if (IsFor(decoded, *tile)) {
            tile->SetDecodedImage(record.release(), decoded);
        } else {
            tile->SetImage(record.release());
        }
        m_picture.PaintTile(
            [&](CTileCanvas& canvas, const CPointF& origin) { tile->Draw(canvas, origin); });
        failure = tile->TakeFailure();
        region = tile->GetLogicalRect();
        size = tile->PixelSize();
    }
    if (failure != nullptr) {
        LogTileFailure(key, failure);
    }
    const CPoint corner = MapToDevicePixels(View(), {region.left, region.top});
    return CRect(corner,
                 CSize(std::min<int>(size.cx, kFarPixels), std::min<int>(size.cy, kFarPixels)));
}

void CTerrascope2::Draw(CDC* dc) {
    if (dc == nullptr || dc->GetSafeHdc() == nullptr) {
        return;
    }
    m_host.Refresh();
    const Viewport view = View();
    const auto paint = [&](CMapBitmap& bitmap, const PaintMoment& moment) {
        const CRect source = SourceRectangle(moment, view.size);
        if (!source.IsRectEmpty()) {
            PaintView(*dc, bitmap, source, view.size, ScreenDeviceFactor(), m_strip);
        }
    };
    if (!m_switch.Draw(view.center, paint)) {
        RenderWhatIsDue();
        m_picture.Draw(view, paint);
    }
    m_host.OnPainted();
}

}  // namespace Terrascope
