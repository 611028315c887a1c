#include "terrascope/tiles/Tile2.h"

#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

#include "terrascope/support/ComRef.h"
#include "terrascope/tiles/ImageHeader.h"
#include "terrascope/support/Truncate.h"
#include "terrascope/tiles/PictureScaling.h"
#include "terrascope/tiles/TileKey.h"
#include "terrascope/tiles/TileLoadQueue2.h"

namespace Terrascope {

namespace {

constexpr std::uint32_t kWaitingGrey = 0xFFC8C8C8;

/// Draws part of a picture, measured in pixels, into a rectangle; a failure leaves the target.
void DrawPart(Gdiplus::Bitmap& target, Gdiplus::Bitmap& source, const Gdiplus::Rect& to,
              const Gdiplus::Rect& from) {
    Gdiplus::Graphics graphics(&target);
    graphics.DrawImage(&source, to, from.X, from.Y, from.Width, from.Height, Gdiplus::UnitPixel);
}

/// A pixel position that can be added to another without overflow.
int ClampPlace(double position) {
    constexpr double kFar = 1 << 29;
    return TruncateToInt(std::clamp(position, -kFar, kFar));
}

/// The column and row of a key; of one that cannot be decoded, those of its valid part.
TileIndex IndexOf(const tagTILE_IMAGE* image, const CString& key) {
    if (image)
        return {image->nColumn, image->nRow};
    TileIndex index;
    DecodeTileKey(key, index);
    return index;
}

}  // namespace

CTile2::CTile2(const tagTILE_MAP_INFO& map, const CTileLayer2& layer, const CString& key,
               CTileLoadQueue2* queue)
    : m_key(key), m_map(map), m_layer(layer), m_queue(queue) {
    SetPosition();
    MakeGreyPicture();
}

CTile2::CTile2(const CTile2& child0, const CTile2& child1, const CTile2& child2,
               const CTile2& child3, const CTileLayer2& layer)
    : m_key(child0.m_key.Left(child0.m_key.GetLength() - 1)),
      m_map(child0.m_map),
      m_layer(layer),
      m_queue(child0.m_queue) {
    SetPosition();
    MakeGreyPicture();
    if (!m_bitmap)
        return;

    const int width = m_layer.nTileWidth;
    const int height = m_layer.nTileHeight;
    const std::array children{&child0, &child1, &child2, &child3};
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
        const CTile2& child = *children[static_cast<std::size_t>(quadrant)];
        if (!child.m_bitmap)
            continue;
        ScalePart(*m_bitmap,
                  {quadrant % 2 * (width / 2), quadrant / 2 * (height / 2),
                   TruncateToInt(child.m_layer.nTileWidth * 0.5),
                   TruncateToInt(child.m_layer.nTileHeight * 0.5)},
                  *child.m_bitmap, {0, 0, width, height});
    }
}

std::vector<CTile2*> CTile2::Split(const CTileLayer2& childLayer) const {
    if (m_layer.nLayerNumber >= std::int64_t{m_map.nLayerCount} - 1 + m_map.nFirstLayer)
        throw std::logic_error("layerNumber out of range");

    const int width = m_layer.nTileWidth;
    const int height = m_layer.nTileHeight;
    std::array<std::unique_ptr<CTile2>, 4> children;
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
        CString key;
        key.Format("%s%d", m_key.GetString(), quadrant);
        auto child = std::make_unique<CTile2>(m_map, childLayer, key, m_queue);
        if (m_bitmap && child->m_bitmap) {
            // The quarter is stretched to one pixel more than the child.
            ScalePart(*child->m_bitmap,
                      {0, 0, childLayer.nTileWidth + 1, childLayer.nTileHeight + 1}, *m_bitmap,
                      {quadrant % 2 * width / 2, quadrant / 2 * height / 2, width / 2, height / 2});
        }
        children[static_cast<std::size_t>(quadrant)] = std::move(child);
    }

    std::vector<CTile2*> result;
    result.reserve(children.size());
    for (auto& child : children)
        result.push_back(child.release());
    return result;
}

void CTile2::Draw(CTileCanvas& canvas, const CPointF& viewTopLeft) {
    DecodeImage();
    if (m_bitmap != nullptr) {
        const CRect place = PlaceOn(viewTopLeft);
        canvas.Paint(*m_bitmap, place.TopLeft(), place.Size());
    }
    RequestLoad();
}

CRect CTile2::PlaceOn(const CPointF& viewTopLeft) const {
    const TileIndex index = IndexOf(m_image.get(), m_key);
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
    if (m_image)
        index = {m_image->nColumn, m_image->nRow};
    else if (!DecodeTileKey(m_key, index))
        return {};
    const double width = m_layer.nTileWidth * m_layer.dUnitsPerPixelX;
    const double height = m_layer.nTileHeight * m_layer.dUnitsPerPixelY;
    return {static_cast<float>(m_map.dLongitudeStart + index.column * width),
            static_cast<float>(m_map.dLatitudeStart + m_map.dLatitude - index.row * height),
            static_cast<float>(width), static_cast<float>(-height)};
}

void CTile2::RequestLoad() {
    if (!m_image && !m_requested && m_queue)
        m_requested = m_queue->Push(m_map.strName, m_layer.nLayerNumber, m_key);
}

void CTile2::Promote() {
    if (!m_image && m_queue)
        m_queue->MoveToFront(m_key);
}

void CTile2::SetPosition() {
    TileIndex index;
    if (!DecodeTileKey(m_key, index))
        return;
    const double x = static_cast<double>(m_layer.nTileWidth) * index.column;
    const double y = static_cast<double>(m_layer.nTileHeight) * index.row;
    m_left = static_cast<float>(x * m_layer.dUnitsPerPixelX + m_map.dLongitudeStart);
    m_top =
        static_cast<float>((m_map.dLatitudeStart + m_map.dLatitude) - y * m_layer.dUnitsPerPixelY);
}

void CTile2::MakeGreyPicture() {
    if (!IsSafeSize(m_layer.nTileWidth, m_layer.nTileHeight)) {
        return;
    }
    auto bitmap = std::make_unique<Gdiplus::Bitmap>(m_layer.nTileWidth, m_layer.nTileHeight,
                                                    PixelFormat32bppARGB);
    // Filled by hand: a pan makes a column of tiles at once, and GDI+ takes ten times as long.
    Gdiplus::BitmapData data{};
    if (bitmap->LockBits(nullptr, Gdiplus::ImageLockModeWrite, PixelFormat32bppARGB, &data) !=
        Gdiplus::Ok)
        return;
    auto* row = static_cast<std::byte*>(data.Scan0);
    for (UINT y = 0; y < data.Height; ++y, row += data.Stride)
        std::fill_n(reinterpret_cast<std::uint32_t*>(row), data.Width, kWaitingGrey);
    bitmap->UnlockBits(&data);
    m_bitmap = std::move(bitmap);
}

void CTile2::DecodeImage() {
    if (!m_image || m_image->stream.GetLength() == 0)
        return;

    // The bytes are hostile until their header has been read: the decoder trusts it.
    const std::span<const std::uint8_t> bytes = m_image->stream.Bytes();
    const bool safe = IsSafeToDecode(ReadImageHeader(bytes));
    // Not the record's own stream: one over global memory, once sought past its end, reads on
    // beyond its block, and a damaged image makes decoders seek there.
    const CComRef<IStream> stream(
        safe && m_bitmap != nullptr
            ? ::SHCreateMemStream(bytes.data(), static_cast<UINT>(bytes.size()))
            : nullptr);
    if (stream) {
        Gdiplus::Bitmap decoded(stream.Get());
        const int imageWidth = static_cast<int>(decoded.GetWidth());
        const int imageHeight = static_cast<int>(decoded.GetHeight());
        if (decoded.GetLastStatus() == Gdiplus::Ok) {
            DrawPart(*m_bitmap, decoded,
                     {0, 0, m_layer.nTileWidth + (imageWidth != m_layer.nTileWidth ? 1 : 0),
                      m_layer.nTileHeight + (imageHeight != m_layer.nTileHeight ? 1 : 0)},
                     {0, 0, imageWidth, imageHeight});
        } else {
            m_failure = "its image is broken";
        }
    } else {
        m_failure = safe ? "there is no memory for its image"
                         : "its image has no known format or is too large";
    }
    // The picture is in the tile's own bitmap now: a fresh record keeps its place and no bytes.
    auto place = std::make_unique<tagTILE_IMAGE>();
    place->nColumn = m_image->nColumn;
    place->nRow = m_image->nRow;
    place->strKey = m_image->strKey;
    m_image = std::move(place);
}

}  // namespace Terrascope
