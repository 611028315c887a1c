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
            RenderLocked(view, true);
        }
        if (m_policy.fast) {
            LoadAheadLocked(visible);
        }
    }
    PostRepaintOfView();
}

void CTerrascope2::RenderLocked(const Viewport& view, bool promote) {
    const auto list = [&](TilePaints& paints, const CPointF& origin) TERRASCOPE_REQUIRES(
                          m_tiles.Lock()) { ListTilesLocked(view, paints, origin, promote); };
    m_picture.Render(view, m_layer.nLayerNumber, IsPanTool() && !IsDragging(), list);
}

// The visible tiles were promoted when they were asked for: a second time would turn their order
// round.
void CTerrascope2::RenderWhatIsDue() {
    if (m_dueView) {
        CSingleLock lock(&m_tiles.Lock(), TRUE);
        RenderLocked(*m_dueView, false);
        m_dueView.reset();
    }
}

// A drag shows more of the bitmap and renders nothing. What was fetched beyond the view may not be
// there: it came from the cache, or during a layer switch, or the bitmap was made anew.
void CTerrascope2::PaintBeyondView() {
    if (!IsPanning() || !KeepsTilesBeyondView()) {
        return;
    }
    const Viewport view = View();
    CSingleLock lock(&m_tiles.Lock(), TRUE);
    m_picture.PaintTile([&](CTileCanvas& canvas, const CPointF& origin)
                            TERRASCOPE_REQUIRES(m_tiles.Lock()) {
                                TilePaints paints;
                                ListTilesLocked(view, paints, origin, false);
                                canvas.Paint(paints);
                            });
}

void CTerrascope2::ListTilesLocked(const Viewport& view, TilePaints& paints, const CPointF& origin,
                                   bool promote) {
    const TileRange visible = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
    if (IsPanning() && KeepsTilesBeyondView()) {
        m_tiles.VisitAll([&](CTile2& tile) {
            const TileIndex index = tile.Index();
            if (tile.HasImage() && !visible.Contains(index.column, index.row)) {
                tile.Draw(paints, origin);
            }
        });
    }
    m_tiles.VisitBackwards(visible, m_layer.nLayerNumber, [&](CTile2& tile) {
        if (promote) {
            tile.Promote();
        }
        tile.Draw(paints, origin);
    });
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
    const CString key = record->strKey;
    const Delivery delivery = GiveToTile(std::move(record), request, decoded);
    // A switch repaints the whole view at its end.
    if (delivery.place && !m_switch.IsRunning()) {
        PostRepaintOfTile(*delivery.place);
    }
    if (delivery.completesView) {
        m_host.Hurry();
    }
    // Last: a thread that hangs in the log is abandoned, and the display is gone when it is back.
    if (delivery.failure != nullptr) {
        LogTileFailure(key, delivery.failure);
    }
}

void CTerrascope2::PostRepaintOfTile(const CRect& place) {
    if (!IsDragging()) {
        m_host.PostRepaint(place);
        return;
    }
    m_host.Withhold(place);
    if (!IsDragging()) {
        m_host.PostWithheld();  // the button came up in between, and found nothing
    }
}

CTerrascope2::Delivery CTerrascope2::GiveToTile(std::unique_ptr<tagTILE_IMAGE> record,
                                                const tagTILE_LOAD_REQUEST* request,
                                                const DecodedImage& decoded) {
    Delivery delivery;
    MapRegion region;
    CSize size;
    CRect painted(0, 0, 0, 0);
    CPointF corner;
    {
        CSingleLock lock(&m_tiles.Lock(), TRUE);
        CTile2* tile = m_tiles.Find(record->strKey);
        if (tile == nullptr || (request != nullptr && m_queue->IsStale(*request))) {
            return delivery;
        }
        if (IsFor(decoded, *tile)) {
            tile->SetDecodedImage(record.release(), decoded);
        } else {
            tile->SetImage(record.release());
        }
        m_picture.PaintTile([&](CTileCanvas& canvas, const CPointF& origin) {
            tile->Draw(canvas, origin);
            painted = tile->PlaceOn(origin);
            corner = origin;
        });
        delivery.failure = tile->TakeFailure();
        delivery.completesView =
            m_policy.fast && request != nullptr && m_queue->NoteDelivered(*request);
        region = tile->GetLogicalRect();
        size = tile->PixelSize();
    }
    const Viewport view = View();
    if (!m_policy.fast) {
        // Where the layer's factor leaves a fraction of a pixel, this is not where it was painted.
        CRect place(MapToDevicePixels(view, {region.left, region.top}),
                    CSize(std::min<int>(size.cx, kFarPixels), std::min<int>(size.cy, kFarPixels)));
        place.InflateRect(kRepaintMargin, kRepaintMargin);
        delivery.place = place;
        return delivery;
    }
    if (painted.IsRectEmpty()) {
        return delivery;
    }
    painted.OffsetRect(MapToDevicePixels(view, {corner.x, corner.y}));
    painted.InflateRect(kRepaintMargin, kRepaintMargin);
    CRect shown;
    if (shown.IntersectRect(painted, CRect(view.origin, view.size))) {
        delivery.place = shown;
    }
    return delivery;
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
