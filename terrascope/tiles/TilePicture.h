#pragma once

#include <afxwin.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "terrascope/support/LiveCount.h"
#include "terrascope/tiles/PixelStore.h"

namespace Terrascope {

/// What a tile shows while it has nothing better, 0xAARRGGBB.
inline constexpr std::uint32_t kWaitingGrey = 0xFFC8C8C8;

/// The pixels of one tile, 0xAARRGGBB, rows from the top without gaps.
///
/// Threads: filled by one; then shared, and read only.
class CTilePicture : public CLiveCount<CTilePicture> {
public:
    /// Pixels that are yet to be written. Null when the size is not that of a picture (IsSafeSize)
    /// or memory is short.
    static std::shared_ptr<CTilePicture> Create(CSize size);

    CTilePicture(const CTilePicture&) = delete;
    CTilePicture& operator=(const CTilePicture&) = delete;
    ~CTilePicture();

    int Width() const { return m_size.cx; }
    int Height() const { return m_size.cy; }
    CSize Size() const { return m_size; }
    std::size_t PixelCount() const {
        return static_cast<std::size_t>(m_size.cx) * static_cast<std::size_t>(m_size.cy);
    }

    /// Requires: 0 <= y < Height().
    std::uint32_t* Row(int y) { return m_pixels.get() + Offset(y); }
    const std::uint32_t* Row(int y) const { return m_pixels.get() + Offset(y); }

    void Fill(std::uint32_t colour);

private:
    CTilePicture(CSize size, std::shared_ptr<CPixelStore> store, CPixelStore::Pixels pixels);
    std::size_t Offset(int y) const {
        ASSERT(y >= 0 && y < m_size.cy);
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.cx);
    }

    const CSize m_size;
    const std::shared_ptr<CPixelStore> m_store;
    CPixelStore::Pixels m_pixels;  ///< not null until the end
};

/// A picture that is made when it is first painted: grey, or grey with parts of other pictures on
/// it, scaled. Most tiles that a zoom prepares are never seen.
///
/// Units:   pixels. Owns: a share of its sources, until it is made.
/// Threads: one at a time; the tiles that share it are under the display's tile lock.
class CWaitingPicture {
public:
    explicit CWaitingPicture(CSize size) : m_size(size) {}
    /// Requires: `made` is not null.
    explicit CWaitingPicture(std::shared_ptr<const CTilePicture> made);

    CSize Size() const { return m_size; }

    /// Has a rectangle of the source scaled into a rectangle, each pixel from the nearest one. What
    /// lies outside either picture stays as it is.
    void AddPart(std::shared_ptr<CWaitingPicture> source, const CRect& to, const CRect& from);

    /// Nothing but grey: there is nothing to make.
    bool IsGrey() const { return m_made == nullptr && m_parts.empty(); }

    /// The pixels; null when it is grey, or memory is short.
    const std::shared_ptr<const CTilePicture>& Make();

private:
    struct Part {
        std::shared_ptr<CWaitingPicture> source;
        CRect to;
        CRect from;
    };

    CSize m_size;
    std::shared_ptr<const CTilePicture> m_made;
    std::vector<Part> m_parts;
};

}  // namespace Terrascope
