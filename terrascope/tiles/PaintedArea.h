#pragma once

#include <afxwin.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "terrascope/support/Handles.h"
#include "terrascope/tiles/TilePicture.h"

namespace Terrascope {

/// A rectangle of one colour, 0xAARRGGBB.
struct PlainRect {
    CRect rect;
    std::uint32_t colour = 0;
};

/// A picture that a surface shows without having its pixels.
struct PlacedPicture {
    CRect part;     ///< of the surface: where the picture may show; within it
    CPoint corner;  ///< where the picture's first pixel lies
    std::shared_ptr<const CTilePicture> picture;

    const std::uint32_t* Row(int y) const { return picture->Row(y - corner.y); }
};

/// The part of a surface that is opaque: the one place that decides what is, and what still shows
/// the ground. Some of it has no pixels in the surface: what is plain, of one colour, and what is
/// in pictures. Most of what waits for tiles is never seen, and to copy a picture into fresh memory
/// takes a third of its decoding; so pixels are written when there is no other way.
///
/// Units:   pixels of the surface; rectangles are half-open.
/// Owns:    a share of the pictures.
/// Threads: the thread that holds the surface's lock.
/// Errors:  without memory for a region nothing counts as painted.
class CPaintedArea {
public:
    /// Opaque pixels have been written there.
    void Add(const CRect& rect);

    /// It is of this colour from now on.
    void AddPlain(const CRect& rect, std::uint32_t colour);

    /// It shows the picture from now on, over what was there.
    void AddPicture(PlacedPicture picture);

    /// What the other area has in pictures is in pictures here.
    void AddPicturesOf(const CPaintedArea& other);

    void Clear();

    /// Moves the area with the surface's content and cuts off what leaves `bounds`.
    void Move(int dx, int dy, const CRect& bounds);

    /// The smallest rectangle about all that has pixels.
    CRect BoxOfPixels() const;

    /// What of `rect` has pixels, what of it is plain, what of it is in pictures, and what of it is
    /// nothing of these, in rectangles that do not overlap.
    std::vector<CRect> Within(const CRect& rect) const;
    std::vector<PlainRect> PlainWithin(const CRect& rect) const;
    std::vector<CRect> PicturesWithin(const CRect& rect) const;
    std::vector<CRect> Missing(const CRect& rect) const;

    /// All that may show somewhere. Where PicturesWithin has something, the last one there does.
    const std::vector<PlacedPicture>& Pictures() const { return m_pictures; }

    /// What is in pictures there is not painted any more; pictures all of whose part it is go.
    void ForgetPictures(const CRect& rect);

private:
    void DropPicturesUnder(const CRect& rect);
    void DropHiddenPictures();

    struct PlainArea {
        std::uint32_t colour;
        CRegionHandle region;
    };

    CRegionHandle m_region;                 ///< what has pixels
    std::vector<PlainArea> m_plain;         ///< one for each colour
    CRegionHandle m_pictured;               ///< what is in pictures
    std::vector<PlacedPicture> m_pictures;  ///< in the order of painting
    std::size_t m_manyPictures = 64;        ///< as soon as there are so many, some may be hidden
};

}  // namespace Terrascope
