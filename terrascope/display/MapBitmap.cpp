#include "terrascope/display/MapBitmap.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace Terrascope {

namespace {

constexpr std::uint32_t kPanGrey = 0xFF808080;

}  // namespace

std::unique_ptr<CMapBitmap> CMapBitmap::Create(CSize size, CSize slack) {
    if (size.cx <= 0 || size.cy <= 0) {
        return nullptr;
    }
    const std::int64_t width = std::int64_t{size.cx} + std::max(slack.cx, 0L);
    const std::int64_t height = std::int64_t{size.cy} + std::max(slack.cy, 0L);
    auto dib = CDibSection::Create(width, height);
    return dib != nullptr ? std::unique_ptr<CMapBitmap>(new CMapBitmap(std::move(dib), size))
                          : nullptr;
}

CMapBitmap::CMapBitmap(std::unique_ptr<CDibSection> dib, CSize size)
    : m_dib(std::move(dib)), m_size(size) {}

bool CMapBitmap::Scroll(int dx, int dy, CSize newSize) {
    if (newSize.cx <= 0 || newSize.cy <= 0 || newSize.cx > m_dib->Width() ||
        newSize.cy > m_dib->Height()) {
        return false;
    }

    // What of the old content is still in the bitmap, at its new place.
    const auto within = [](std::int64_t value, std::int64_t least, std::int64_t most) {
        return static_cast<LONG>(std::clamp(value, least, most));
    };
    CRect kept;
    kept.left = within(-std::int64_t{dx}, 0, newSize.cx);
    kept.top = within(-std::int64_t{dy}, 0, newSize.cy);
    kept.right = within(std::int64_t{m_size.cx} - dx, kept.left, newSize.cx);
    kept.bottom = within(std::int64_t{m_size.cy} - dy, kept.top, newSize.cy);

    // Grey that was never written stays so: a fresh bitmap has no memory yet where it is.
    CRect pixels = m_painted.BoxOfPixels();
    pixels.OffsetRect(-dx, -dy);
    CRect moved;
    moved.IntersectRect(&kept, &pixels);
    const auto moveRow = [&](int y) {
        std::uint32_t* to = m_dib->Row(y) + moved.left;
        const std::uint32_t* from = m_dib->Row(y + dy) + moved.left + dx;
        std::memmove(to, from, static_cast<std::size_t>(moved.Width()) * sizeof(std::uint32_t));
    };
    if (dy >= 0) {
        for (int y = moved.top; y < moved.bottom; ++y) {
            moveRow(y);
        }
    } else {
        for (int y = moved.bottom - 1; y >= moved.top; --y) {
            moveRow(y);
        }
    }

    m_size = newSize;
    // The ground is grey from here on, as if the old picture were drawn on a grey one.
    m_painted.Move(-dx, -dy, kept);
    for (const CRect& bare : m_painted.Missing(Bounds())) {
        m_painted.AddPlain(bare, kPanGrey);
    }
    return true;
}

std::unique_ptr<CMapBitmap> CMapBitmap::CopyWithSize(CSize size, CSize slack) const {
    const CSize whole(std::max(size.cx, m_size.cx), std::max(size.cy, m_size.cy));
    auto copy = Create(whole, slack);
    if (copy == nullptr) {
        return nullptr;
    }
    CRect pixels;
    pixels.IntersectRect(m_painted.BoxOfPixels(), Bounds());
    for (int y = pixels.top; y < pixels.bottom; ++y) {
        std::memcpy(copy->m_dib->Row(y) + pixels.left, m_dib->Row(y) + pixels.left,
                    static_cast<std::size_t>(pixels.Width()) * sizeof(std::uint32_t));
    }
    copy->m_size = m_size;
    for (const CRect& part : m_painted.Within(Bounds())) {
        copy->m_painted.Add(part);
    }
    for (const PlainRect& part : m_painted.PlainWithin(Bounds())) {
        copy->m_painted.AddPlain(part.rect, part.colour);
    }
    copy->m_painted.AddPicturesOf(m_painted);
    return copy;
}

CTileCanvas CMapBitmap::Canvas() {
    return {{m_dib->Row(0), m_size.cx, m_size.cy, m_dib->Width()}, m_painted};
}

void CMapBitmap::CopyTo(CDC& dc, CPoint to, const CRect& from, CDibSection& strip) {
    CRect part;
    if (!part.IntersectRect(&from, Bounds())) {
        return;
    }
    const auto copy = [&](const CRect& rect, HDC source, CPoint at) {
        ::BitBlt(dc.GetSafeHdc(), to.x + rect.left - from.left, to.y + rect.top - from.top,
                 rect.Width(), rect.Height(), source, at.x, at.y, SRCCOPY);
    };
    for (const CRect& opaque : m_painted.Within(part)) {
        copy(opaque, m_dib->Dc(), opaque.TopLeft());
    }
    // What has no pixels here comes from the strip: to write it here would cost fresh memory, and a
    // brush would leave the target without alpha.
    const auto copyStrips = [&](const CRect& rect, const auto& fill) {
        for (int top = rect.top; top < rect.bottom; top += strip.Height()) {
            const CRect rows(rect.left, top, rect.right,
                             std::min<int>(top + strip.Height(), rect.bottom));
            fill(rows);
            copy(rows, strip.Dc(), {0, 0});
        }
    };
    std::uint32_t colour = 0;
    for (const PlainRect& plain : m_painted.PlainWithin(part)) {
        if (std::exchange(colour, plain.colour) != plain.colour) {
            ::GdiFlush();
            std::fill_n(strip.Row(0), strip.Width() * strip.Height(), plain.colour);
        }
        copyStrips(plain.rect, [](const CRect&) {});
    }
    for (const CRect& pictured : m_painted.PicturesWithin(part)) {
        copyStrips(pictured, [&](const CRect& rows) {
            ::GdiFlush();
            CopyPictures(m_painted, rows, strip.Pixels(), rows.TopLeft());
        });
    }
    // Windows collects GDI calls; the bits may be written as soon as the caller's lock is free.
    ::GdiFlush();
}

void CMapBitmap::ScaleTo(CDC& dc, const CRect& to, const CRect& from, CDibSection& strip) {
    const NearestPlaces columns(0, to.Width(), strip.Width(), from.left, from.Width(), m_size.cx);
    const NearestPlaces rows(0, to.Height(), to.Height(), from.top, from.Height(), m_size.cy);
    CRect shown;
    shown.IntersectRect(&from, Bounds());
    const std::vector<ScaledPart> parts = PartsWithin(shown, columns);
    // The places that show something painted.
    std::vector<CRect> opaque;
    const auto addOpaque = [&](const CRect& part) {
        const auto [left, right] = columns.From(part.left, part.right);
        const auto [top, bottom] = rows.From(part.top, part.bottom);
        opaque.emplace_back(left, top, right, bottom);
    };
    for (const CRect& part : m_painted.Within(shown)) {
        addOpaque(part);
    }
    for (const PlainRect& part : m_painted.PlainWithin(shown)) {
        addOpaque(part.rect);
    }
    for (const CRect& part : m_painted.PicturesWithin(shown)) {
        addOpaque(part);
    }
    const int end = rows.first + static_cast<int>(rows.places.size());
    for (int top = rows.first; top < end; top += strip.Height()) {
        const CRect now(0, top, strip.Width(), std::min(top + strip.Height(), end));
        const int* places = rows.places.data() + (top - rows.first);
        for (int y = 0; y < now.Height(); ++y) {
            std::uint32_t* row = strip.Row(y);
            if (y > 0 && places[y] == places[y - 1]) {
                std::memcpy(row + columns.first, strip.Row(y - 1) + columns.first,
                            columns.places.size() * sizeof(std::uint32_t));
            } else {
                ScaleRow(row, parts, columns, places[y]);
            }
        }
        for (const CRect& each : opaque) {
            CRect part;
            if (part.IntersectRect(&each, &now)) {
                ::BitBlt(dc.GetSafeHdc(), to.left + part.left, to.top + part.top, part.Width(),
                         part.Height(), strip.Dc(), part.left, part.top - top, SRCCOPY);
            }
        }
        ::GdiFlush();
    }
}

std::vector<CMapBitmap::ScaledPart> CMapBitmap::PartsWithin(const CRect& shown,
                                                            const NearestPlaces& columns) const {
    std::vector<ScaledPart> parts;
    const auto add = [&](const CRect& place, std::uint32_t colour, const PlacedPicture* picture) {
        CRect part;
        if (part.IntersectRect(&place, &shown)) {
            const auto [first, end] = columns.From(part.left, part.right);
            parts.push_back({part, first, end, colour, picture});
        }
    };
    // A picture may reach under what came later: that follows it.
    for (const PlacedPicture& picture : m_painted.Pictures()) {
        add(picture.part, 0, &picture);
    }
    for (const CRect& part : m_painted.Within(shown)) {
        add(part, 0, nullptr);
    }
    for (const PlainRect& part : m_painted.PlainWithin(shown)) {
        add(part.rect, part.colour, nullptr);
    }
    return parts;
}

void CMapBitmap::ScaleRow(std::uint32_t* row, const std::vector<ScaledPart>& parts,
                          const NearestPlaces& columns, int y) const {
    const int* nearest = columns.places.data() - columns.first;
    for (const ScaledPart& part : parts) {
        if (y < part.rect.top || y >= part.rect.bottom) {
            continue;
        }
        if (part.colour != 0) {
            std::fill(row + part.first, row + part.end, part.colour);
            continue;
        }
        const int left = part.picture != nullptr ? part.picture->corner.x : 0;
        const std::uint32_t* line = part.picture != nullptr ? part.picture->Row(y) : m_dib->Row(y);
        for (int x = part.first; x < part.end; ++x) {
            row[x] = line[nearest[x] - left];
        }
    }
}

void CMapBitmap::DrawTo(CDC& dc, const Gdiplus::Rect& to, const CRect& from) {
    Canvas().Settle(Bounds());
    Gdiplus::Bitmap bitmap(m_size.cx, m_size.cy, m_dib->Width() * 4, PixelFormat32bppARGB,
                           reinterpret_cast<BYTE*>(m_dib->Row(0)));
    Gdiplus::Graphics graphics(dc.GetSafeHdc());
    // Smooth scaling would blend the outermost pixels with nothing: the picture would get a rim. It
    // also takes twice as long, and the picture is in motion.
    graphics.SetInterpolationMode(Gdiplus::InterpolationModeNearestNeighbor);
    graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
    graphics.DrawImage(&bitmap, to, from.left, from.top, from.Width(), from.Height(),
                       Gdiplus::UnitPixel);
    graphics.Flush(Gdiplus::FlushIntentionSync);
}

}  // namespace Terrascope
