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
        if (m_locked)
            m_picture.UnlockBits(&m_data);
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

/// For each place of the target, the nearest place of the source.
std::vector<int> Nearest(int toSize, int fromStart, int fromSize, int sourceSize) {
    std::vector<int> places(static_cast<std::size_t>(toSize));
    for (int i = 0; i < toSize; ++i) {
        const std::int64_t place = fromStart + std::int64_t{i} * fromSize / toSize;
        places[static_cast<std::size_t>(i)] =
            static_cast<int>(std::clamp<std::int64_t>(place, 0, sourceSize - 1));
    }
    return places;
}

}  // namespace

void ScalePart(Gdiplus::Bitmap& target, const Gdiplus::Rect& to, Gdiplus::Bitmap& source,
               const Gdiplus::Rect& from) {
    if (to.Width <= 0 || to.Height <= 0 || from.Width <= 0 || from.Height <= 0)
        return;
    const LockedPixels read(source, Gdiplus::ImageLockModeRead);
    const LockedPixels written(target, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeWrite);
    if (!read.IsLocked() || !written.IsLocked())
        return;

    const std::vector<int> columns = Nearest(to.Width, from.X, from.Width, read.Width());
    const std::vector<int> rows = Nearest(to.Height, from.Y, from.Height, read.Height());
    const int left = std::max(0, -to.X);
    const int right = std::min(to.Width, written.Width() - to.X);
    for (int y = std::max(0, -to.Y); y < std::min(to.Height, written.Height() - to.Y); ++y) {
        const std::uint32_t* line = read.Row(rows[static_cast<std::size_t>(y)]);
        std::uint32_t* place = written.Row(to.Y + y) + to.X;
        for (int x = left; x < right; ++x)
            place[x] = line[columns[static_cast<std::size_t>(x)]];
    }
}

}  // namespace Terrascope
