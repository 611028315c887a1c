#include "terrascope/tiles/ImageDecoding.h"

#include <emmintrin.h>
#include <shlwapi.h>

#include <algorithm>

#include "terrascope/support/ComRef.h"
#include "terrascope/support/GdiPlus.h"
#include "terrascope/tiles/ImageDecoders.h"
#include "terrascope/tiles/ImageHeader.h"

namespace Terrascope {

namespace {

bool IsOpaque(const CTilePicture& picture) {
    // Four pixels at a time: with a fast decoder this is felt.
    constexpr std::size_t kStep = 4;
    const std::uint32_t* pixel = picture.Row(0);
    const std::uint32_t* end = pixel + picture.PixelCount();
    __m128i common = _mm_set1_epi8(-1);
    for (; static_cast<std::size_t>(end - pixel) >= kStep; pixel += kStep) {
        common = _mm_and_si128(common, _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixel)));
    }
    const __m128i colours = _mm_set1_epi32(0x00FFFFFF);
    const __m128i opaque = _mm_cmpeq_epi8(_mm_or_si128(common, colours), _mm_set1_epi8(-1));
    return _mm_movemask_epi8(opaque) == 0xFFFF &&
           std::all_of(pixel, end, [](std::uint32_t each) { return each >= 0xFF000000; });
}

/// Copies the pixels of an image of the picture's size.
bool CopyPixels(Gdiplus::Bitmap& image, CTilePicture& picture) {
    Gdiplus::BitmapData data{};
    data.Width = static_cast<UINT>(picture.Width());
    data.Height = static_cast<UINT>(picture.Height());
    data.Stride = picture.Width() * 4;
    data.PixelFormat = PixelFormat32bppARGB;
    data.Scan0 = picture.Row(0);
    const Gdiplus::Rect whole(0, 0, picture.Width(), picture.Height());
    if (image.LockBits(&whole, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf,
                       PixelFormat32bppARGB, &data) != Gdiplus::Ok) {
        return false;
    }
    return image.UnlockBits(&data) == Gdiplus::Ok;
}

/// Draws an image over a picture, stretched to one pixel more where the sizes differ.
bool Draw(Gdiplus::Bitmap& image, CTilePicture& picture) {
    const int width = static_cast<int>(image.GetWidth());
    const int height = static_cast<int>(image.GetHeight());
    Gdiplus::Bitmap surface(picture.Width(), picture.Height(), picture.Width() * 4,
                            PixelFormat32bppARGB, reinterpret_cast<BYTE*>(picture.Row(0)));
    Gdiplus::Graphics graphics(&surface);
    const Gdiplus::Rect to(0, 0, picture.Width() + (width != picture.Width() ? 1 : 0),
                           picture.Height() + (height != picture.Height() ? 1 : 0));
    return graphics.DrawImage(&image, to, 0, 0, width, height, Gdiplus::UnitPixel) == Gdiplus::Ok;
}

/// The image over nothing.
bool DrawAlone(Gdiplus::Bitmap& image, CTilePicture& picture) {
    if (static_cast<int>(image.GetWidth()) == picture.Width() &&
        static_cast<int>(image.GetHeight()) == picture.Height()) {
        return CopyPixels(image, picture);
    }
    picture.Fill(0);
    return Draw(image, picture);
}

std::uint32_t Over(std::uint32_t top, std::uint32_t ground) {
    const std::uint32_t alpha = top >> 24;
    std::uint32_t result = 0xFF000000;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t part =
            ((top >> shift & 0xFF) * alpha + (ground >> shift & 0xFF) * (255 - alpha)) / 255;
        result |= part << shift;
    }
    return result;
}

DecodedImage NoMemory() {
    return {.failure = "there is no memory for its image"};
}

/// An image with its pixels alone, which it shares or which were drawn from it.
DecodedImage Composed(Gdiplus::Bitmap& image, const std::shared_ptr<CTilePicture>& alone) {
    const auto overGrey = CTilePicture::Create(alone->Size());
    if (overGrey == nullptr) {
        return NoMemory();
    }
    overGrey->Fill(kWaitingGrey);
    if (!Draw(image, *overGrey)) {
        return {.failure = "its image is broken"};
    }
    return {.picture = overGrey, .translucent = alone};
}

DecodedImage Drawn(Gdiplus::Bitmap& image, CSize tileSize) {
    const auto picture = CTilePicture::Create(tileSize);
    if (picture == nullptr) {
        return NoMemory();
    }
    if (!DrawAlone(image, *picture)) {
        return {.failure = "its image is broken"};
    }
    if (IsOpaque(*picture)) {
        return {.picture = picture};
    }
    return Composed(image, picture);
}

/// What a plug-in has decoded: most often it is the tile's picture as it is.
DecodedImage FromPixels(const std::shared_ptr<CTilePicture>& decoded, CSize tileSize) {
    const bool fits = decoded->Size() == tileSize;
    if (fits && IsOpaque(*decoded)) {
        return {.picture = decoded};
    }
    Gdiplus::Bitmap image(decoded->Width(), decoded->Height(), decoded->Width() * 4,
                          PixelFormat32bppARGB, reinterpret_cast<BYTE*>(decoded->Row(0)));
    return fits ? Composed(image, decoded) : Drawn(image, tileSize);
}

}  // namespace

DecodedImage DecodeImage(std::span<const std::uint8_t> file, CSize tileSize,
                         const CImageDecoders* decoders) {
    // The bytes are hostile until their header has been read: the decoders trust it.
    const ImageHeader header = ReadImageHeader(file);
    if (file.size() > kMaxImageBytes) {
        return {.failure = "its image is too large"};
    }
    if (decoders != nullptr && IsSafeToPlugIn(header)) {
        if (const auto decoded = decoders->Decode(file, header)) {
            return FromPixels(decoded, tileSize);
        }
    }
    if (!IsSafeToDecode(header)) {
        return {.failure = "its image has no known format or is too large"};
    }
    // A stream that ends: one over global memory, once sought past its end, reads on beyond its
    // block, and a damaged image makes decoders seek there.
    const CComRef<IStream> stream(::SHCreateMemStream(file.data(), static_cast<UINT>(file.size())));
    if (!stream) {
        return NoMemory();
    }
    Gdiplus::Bitmap image(stream.Get());
    if (image.GetLastStatus() != Gdiplus::Ok) {
        return {.failure = "its image is broken"};
    }
    return Drawn(image, tileSize);
}

std::shared_ptr<const CTilePicture> DrawOver(const DecodedImage& image,
                                             const CTilePicture* ground) {
    if (image.translucent == nullptr || ground == nullptr ||
        ground->Size() != image.picture->Size()) {
        return image.picture;
    }
    auto result = CTilePicture::Create(ground->Size());
    if (result == nullptr) {
        return image.picture;
    }
    std::transform(image.translucent->Row(0), image.translucent->Row(0) + result->PixelCount(),
                   ground->Row(0), result->Row(0), &Over);
    return result;
}

}  // namespace Terrascope
