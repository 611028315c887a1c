#include "terrascope/tiles/Tile2.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "terrascope/support/Truncate.h"
#include "terrascope/tiles/ImageHeader.h"
#include "terrascope/tiles/TileKey.h"
#include "terrascope/tiles/TileLoadQueue2.h"

namespace Terrascope {

namespace {

/// A pixel position that can be added to another without overflow.
int ClampPlace(double position) {
    constexpr double kFar = 1 << 29;
    return TruncateToInt(std::clamp(position, -kFar, kFar));
}

std::shared_ptr<CWaitingPicture> GreyPicture(CSize size) {
    return IsSafeSize(size.cx, size.cy) ? std::make_shared<CWaitingPicture>(size) : nullptr;
}

/// The column and row of a key; of one that cannot be decoded, those of its valid part.
TileIndex IndexOf(const tagTILE_IMAGE* image, const CString& key) {
    if (image != nullptr) {
        return {image->nColumn, image->nRow};
    }
    TileIndex index;
    DecodeTileKey(key, index);
    return index;
}

}  // namespace

CTile2::CTile2(const tagTILE_MAP_INFO& map, const CTileLayer2& layer, const CString& key,
               CTileLoadQueue2* queue)
    : m_key(key), m_map(map), m_layer(layer), m_picture(GreyPicture(PixelSize())), m_queue(queue) {
    SetPosition();
}

CTile2::CTile2(const CTile2& child0, const CTile2& child1, const CTile2& child2,
               const CTile2& child3, const CTileLayer2& layer)
    : CTile2(child0.m_map, layer, child0.m_key.Left(child0.m_key.GetLength() - 1), child0.m_queue) {
    if (m_picture == nullptr) {
        return;
    }
    const CSize size = PixelSize();
    const std::array children{&child0, &child1, &child2, &child3};
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
        const CTile2& child = *children[static_cast<std::size_t>(quadrant)];
        const CPoint corner(quadrant % 2 * (size.cx / 2), quadrant / 2 * (size.cy / 2));
        const CSize half(child.m_layer.nTileWidth / 2, child.m_layer.nTileHeight / 2);
        // The source is as large as this tile, also where the child is smaller: grey stays there.
        m_picture->AddPart(child.m_picture, CRect(corner, half), CRect(CPoint(0, 0), size));
    }
}

std::vector<CTile2*> CTile2::Split(const CTileLayer2& childLayer) const {
    if (m_layer.nLayerNumber >= std::int64_t{m_map.nLayerCount} - 1 + m_map.nFirstLayer) {
        throw std::logic_error("layerNumber out of range");
    }
    const int width = m_layer.nTileWidth;
    const int height = m_layer.nTileHeight;
    std::array<std::unique_ptr<CTile2>, 4> children;
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
        CString key;
        key.Format("%s%d", m_key.GetString(), quadrant);
        auto child = std::make_unique<CTile2>(m_map, childLayer, key, m_queue);
        if (child->m_picture != nullptr) {
            // The quarter is stretched to one pixel more than the child.
            child->m_picture->AddPart(
                m_picture, CRect(0, 0, childLayer.nTileWidth + 1, childLayer.nTileHeight + 1),
                CRect(CPoint(quadrant % 2 * width / 2, quadrant / 2 * height / 2),
                      CSize(width / 2, height / 2)));
        }
        children[static_cast<std::size_t>(quadrant)] = std::move(child);
    }

    std::vector<CTile2*> result;
    result.reserve(children.size());
    for (auto& child : children) {
        result.push_back(child.release());
    }
    return result;
}

void CTile2::Draw(CTileCanvas& canvas, const CPointF& viewTopLeft) {
    TilePaints paints;
    Draw(paints, viewTopLeft);
    canvas.Paint(paints);
}

void CTile2::Draw(TilePaints& paints, const CPointF& viewTopLeft) {
    DecodeDelivered();
    if (m_picture != nullptr) {
        paints.push_back({PlaceOn(viewTopLeft), m_picture->Make()});
    }
    RequestLoad();
}

TileIndex CTile2::Index() const {
    return IndexOf(m_image.get(), m_key);
}

CPointF CTile2::HalfSize() const {
    return {static_cast<float>(m_layer.nTileWidth * m_layer.dUnitsPerPixelX / 2),
            static_cast<float>(-m_layer.nTileHeight * m_layer.dUnitsPerPixelY / 2)};
}

const CTilePicture* CTile2::Picture() const {
    return m_picture != nullptr ? m_picture->Make().get() : nullptr;
}

CRect CTile2::PlaceOn(const CPointF& viewTopLeft) const {
    const TileIndex index = Index();
    // The map's tile size times the factor, not the layer's truncated size: with a factor such as
    // 0.7 the tiles keep their true places and the odd pixel between two stays open.
    const double x =
        std::trunc(static_cast<double>(m_map.nTileWidth) * index.column) * m_layer.dZoomFactor -
        (viewTopLeft.x - m_map.dLongitudeStart) / m_layer.dUnitsPerPixelX;
    const double y =
        std::trunc(static_cast<double>(m_map.nTileHeight) * index.row) * m_layer.dZoomFactor -
        ((m_map.dLatitudeStart + m_map.dLatitude) - viewTopLeft.y) / m_layer.dUnitsPerPixelY;
    const int left = ClampPlace(x);
    const int top = ClampPlace(y);
    return CRect(left, top, left + ClampPlace(m_layer.nTileWidth),
                 top + ClampPlace(m_layer.nTileHeight));
}

MapRegion CTile2::GetLogicalRect() const {
    TileIndex index;
    if (m_image != nullptr) {
        index = {m_image->nColumn, m_image->nRow};
    } else if (!DecodeTileKey(m_key, index)) {
        return {};
    }
    const double width = m_layer.nTileWidth * m_layer.dUnitsPerPixelX;
    const double height = m_layer.nTileHeight * m_layer.dUnitsPerPixelY;
    return {static_cast<float>(m_map.dLongitudeStart + index.column * width),
            static_cast<float>(m_map.dLatitudeStart + m_map.dLatitude - index.row * height),
            static_cast<float>(width), static_cast<float>(-height)};
}

void CTile2::RequestLoad(bool ahead) {
    if (m_image == nullptr && !m_requested && m_queue != nullptr) {
        m_requested = m_queue->Push(m_map.strName, m_layer.nLayerNumber, m_key, PixelSize(), ahead);
    }
}

void CTile2::Promote() {
    if (m_image == nullptr && m_queue != nullptr) {
        m_queue->MoveToFront(m_key);
    }
}

void CTile2::SetPosition() {
    TileIndex index;
    if (!DecodeTileKey(m_key, index)) {
        return;
    }
    const double x = static_cast<double>(m_layer.nTileWidth) * index.column;
    const double y = static_cast<double>(m_layer.nTileHeight) * index.row;
    m_left = static_cast<float>(x * m_layer.dUnitsPerPixelX + m_map.dLongitudeStart);
    m_top =
        static_cast<float>((m_map.dLatitudeStart + m_map.dLatitude) - y * m_layer.dUnitsPerPixelY);
}

void CTile2::SetDecodedImage(tagTILE_IMAGE* image, const DecodedImage& decoded) {
    ASSERT(image != nullptr);
    ASSERT(decoded.picture == nullptr || decoded.picture->Size() == PixelSize());
    m_image.reset(image);
    TakeDecoded(decoded);
}

CachedTile CTile2::Cached() const {
    return m_hasOwnPicture ? CachedTile{m_picture->Make(), Index()} : CachedTile();
}

void CTile2::SetCached(CachedTile tile) {
    ASSERT(tile.picture != nullptr);
    m_image = std::make_unique<tagTILE_IMAGE>();
    m_image->nColumn = tile.place.column;
    m_image->nRow = tile.place.row;
    m_image->strKey = m_key;
    m_picture = std::make_shared<CWaitingPicture>(std::move(tile.picture));
    m_hasOwnPicture = true;
}

void CTile2::DecodeDelivered() {
    if (m_image != nullptr && m_image->stream.GetLength() != 0) {
        TakeDecoded(DecodeImage(m_image->stream.Bytes(), PixelSize(),
                                m_queue != nullptr ? m_queue->Decoders().get() : nullptr));
    }
}

void CTile2::TakeDecoded(const DecodedImage& decoded) {
    m_failure = decoded.failure;
    if (decoded.picture != nullptr && m_picture != nullptr) {
        m_picture = std::make_shared<CWaitingPicture>(DrawOver(decoded, Picture()));
        m_hasOwnPicture = true;
    }
    // The picture is the tile's own now: a fresh record keeps its place and no bytes.
    auto place = std::make_unique<tagTILE_IMAGE>();
    place->nColumn = m_image->nColumn;
    place->nRow = m_image->nRow;
    place->strKey = m_image->strKey;
    m_image = std::move(place);
}

}  // namespace Terrascope
