#include "terrascope/tiles/PictureScaling.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Terrascope {

namespace {

/// The pixels of a whole picture for as long as it lives.
class LockedPixels {
public:
    LockedPixels(Gdiplus::Bitmap& picture, UINT mode) : m_picture(picture) {
        m_locked = picture.LockBits(nullptr, mode, PixelFormat32bppARGB, &m_data) == Gdiplus::Ok;
    }
    LockedPixels(const LockedPixels&) = delete;
    LockedPixels& operator=(const LockedPixels&) = delete;
    ~LockedPixels() {
        if (m_locked) {
            m_picture.UnlockBits(&m_data);
        }
    }

    bool IsLocked() const { return m_locked; }
    int Width() const { return static_cast<int>(m_data.Width); }
    int Height() const { return static_cast<int>(m_data.Height); }
    std::uint32_t* Row(int y) const {
        return reinterpret_cast<std::uint32_t*>(static_cast<std::byte*>(m_data.Scan0) +
                                                std::ptrdiff_t{y} * m_data.Stride);
    }

private:
    Gdiplus::Bitmap& m_picture;
    Gdiplus::BitmapData m_data{};
    bool m_locked;
};

/// The places of a target from `first` to `end` (exclusive) that lie in the target and whose
/// nearest place lies in the source, and that nearest place of each.
struct Nearest {
    Nearest(int toStart, int toSize, int targetSize, int fromStart, int fromSize, int sourceSize) {
        for (int i = std::max(0, -toStart); i < std::min(toSize, targetSize - toStart); ++i) {
            const std::int64_t place = fromStart + std::int64_t{i} * fromSize / toSize;
            if (place >= 0 && place < sourceSize) {
                first = places.empty() ? toStart + i : first;
                places.push_back(static_cast<int>(place));
            }
        }
    }

    int first = 0;
    std::vector<int> places;
};

}  // namespace

void ScalePart(Gdiplus::Bitmap& target, const Gdiplus::Rect& to, Gdiplus::Bitmap& source,
               const Gdiplus::Rect& from) {
    if (to.Width <= 0 || to.Height <= 0 || from.Width <= 0 || from.Height <= 0) {
        return;
    }
    const LockedPixels read(source, Gdiplus::ImageLockModeRead);
    const LockedPixels written(target, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeWrite);
    if (!read.IsLocked() || !written.IsLocked()) {
        return;
    }

    const Nearest columns(to.X, to.Width, written.Width(), from.X, from.Width, read.Width());
    const Nearest rows(to.Y, to.Height, written.Height(), from.Y, from.Height, read.Height());
    int y = rows.first;
    for (const int fromRow : rows.places) {
        const std::uint32_t* line = read.Row(fromRow);
        std::uint32_t* place = written.Row(y++) + columns.first;
        for (const int fromColumn : columns.places) {
            *place++ = line[fromColumn];
        }
    }
}

}  // namespace Terrascope
