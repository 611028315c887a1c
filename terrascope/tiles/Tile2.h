#pragma once

#include <afx.h>

#include <memory>
#include <utility>
#include <vector>

#include "terrascope/providers/TileMapRecords.h"
#include "terrascope/support/LiveCount.h"
#include "terrascope/support/PointF.h"
#include "terrascope/tiles/ImageDecoding.h"
#include "terrascope/tiles/MapRegion.h"
#include "terrascope/tiles/PictureCache.h"
#include "terrascope/tiles/TileCanvas.h"
#include "terrascope/tiles/TileLayer2.h"

namespace Terrascope {

class CTileLoadQueue2;

/// One tile: its place, its picture (first grey or a piece of a neighbouring layer, then the real
/// image), and the request for that image.
///
/// Units:   map units with y upwards; pixels of the layer.
/// Owns:    a share of its picture, and the delivered record. Borrows: the load queue.
/// Threads: takes no lock; every call is made under the display's tile lock.
/// Errors:  an image that is refused leaves the picture; a tile of more than kMaxImagePixels has
///          none and paints nothing.
class CTile2 : public CLiveCount<CTile2> {
public:
    /// A grey tile. An undecodable key leaves it at (0, 0).
    CTile2(const tagTILE_MAP_INFO& map, const CTileLayer2& layer, const CString& key,
           CTileLoadQueue2* queue);

    /// The tile of `layer` above four children, which it shows at half their size; the children
    /// are in the order of their digits.
    CTile2(const CTile2& child0, const CTile2& child1, const CTile2& child2, const CTile2& child3,
           const CTileLayer2& layer);

    CTile2(const CTile2&) = delete;
    CTile2& operator=(const CTile2&) = delete;
    virtual ~CTile2() = default;

    /// Its four children in the next finer layer, each showing its quarter; in the order of their
    /// digits, owned by the caller. Throws std::logic_error on the map's finest layer.
    std::vector<CTile2*> Split(const CTileLayer2& childLayer) const;

    /// Decodes a delivered image, paints the picture where it belongs on a canvas whose (0, 0)
    /// shows `viewTopLeft`, and asks for the image if it was never asked for.
    void Draw(CTileCanvas& canvas, const CPointF& viewTopLeft);

    /// The same, but adds what is to be painted to a list.
    void Draw(TilePaints& paints, const CPointF& viewTopLeft);

    /// Where Draw paints on such a canvas.
    CRect PlaceOn(const CPointF& viewTopLeft) const;

    /// What was wrong with the image that was decoded last; null after the first question, and when
    /// nothing was. Decoding happens under locks, so the tile does not log it.
    const char* TakeFailure() { return std::exchange(m_failure, nullptr); }

    /// The tile's rectangle in map units; all zero when its key cannot be decoded.
    MapRegion GetLogicalRect() const;

    /// Queues the tile unless its image is there or was asked for before; `ahead`: it is not in
    /// view yet.
    void RequestLoad(bool ahead = false);

    /// Makes a queued tile the next to be fetched, if its image is still wanted.
    void Promote();

    /// Takes the delivered record over; it is decoded at the next Draw.
    void SetImage(tagTILE_IMAGE* image) { m_image.reset(image); }

    /// The same for an image that was decoded already.
    /// Requires: `image` is not null; a decoded picture has this tile's size.
    void SetDecodedImage(tagTILE_IMAGE* image, const DecodedImage& decoded);

    void SetLoadQueue(CTileLoadQueue2* queue) { m_queue = queue; }

    const CString& Key() const { return m_key; }
    TileIndex Index() const;
    CPointF TopLeft() const { return {m_left, m_top}; }
    /// From its top-left corner to its middle, in map units; y is negative.
    CPointF HalfSize() const;
    CSize PixelSize() const { return {m_layer.nTileWidth, m_layer.nTileHeight}; }
    /// A tile out of sight, as the cache keeps it; empty while its image is not there.
    CachedTile Cached() const;

    /// Takes such a tile's picture; nothing is asked for any more.
    /// Requires: the tile has a picture.
    void SetCached(CachedTile tile);

    /// What it shows now; null when it is grey, or has no picture.
    const CTilePicture* Picture() const;
    bool HasImage() const { return m_image != nullptr; }

private:
    void SetPosition();
    void DecodeDelivered();
    void TakeDecoded(const DecodedImage& decoded);

    CString m_key;
    std::unique_ptr<tagTILE_IMAGE> m_image;
    float m_left = 0.0F;
    float m_top = 0.0F;
    tagTILE_MAP_INFO m_map;
    CTileLayer2 m_layer;
    std::shared_ptr<CWaitingPicture> m_picture;  ///< null for a size that no picture may have
    CTileLoadQueue2* m_queue;
    bool m_requested = false;
    bool m_hasOwnPicture = false;  ///< its image's, not grey and not inherited
    const char* m_failure = nullptr;
};

}  // namespace Terrascope
