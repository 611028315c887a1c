#include "terrascope/tiles/TilePicture.h"

#include <algorithm>
#include <utility>

#include "terrascope/tiles/ImageHeader.h"
#include "terrascope/tiles/PictureScaling.h"

namespace Terrascope {

std::shared_ptr<CTilePicture> CTilePicture::Create(CSize size) {
    if (!IsSafeSize(size.cx, size.cy)) {
        return nullptr;
    }
    const std::size_t count = static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy);
    auto store = CPixelStore::Shared();
    auto pixels = store->Take(count);
    if (pixels == nullptr) {
        return nullptr;
    }
    return std::shared_ptr<CTilePicture>(
        new CTilePicture(size, std::move(store), std::move(pixels)));
}

CTilePicture::CTilePicture(CSize size, std::shared_ptr<CPixelStore> store,
                           CPixelStore::Pixels pixels)
    : m_size(size), m_store(std::move(store)), m_pixels(std::move(pixels)) {}

CTilePicture::~CTilePicture() {
    m_store->Put(std::move(m_pixels), PixelCount());
}

void CTilePicture::Fill(std::uint32_t colour) {
    std::fill_n(m_pixels.get(), PixelCount(), colour);
}

CWaitingPicture::CWaitingPicture(std::shared_ptr<const CTilePicture> made)
    : m_size(made->Size()), m_made(std::move(made)) {
    ASSERT(m_made != nullptr);
}

void CWaitingPicture::AddPart(std::shared_ptr<CWaitingPicture> source, const CRect& to,
                              const CRect& from) {
    if (source != nullptr && !source->IsGrey()) {
        m_parts.push_back({std::move(source), to, from});
    }
}

const std::shared_ptr<const CTilePicture>& CWaitingPicture::Make() {
    if (m_made == nullptr && !m_parts.empty()) {
        if (auto picture = CTilePicture::Create(m_size)) {
            picture->Fill(kWaitingGrey);
            for (const Part& part : m_parts) {
                if (const auto& source = part.source->Make()) {
                    ScalePart(*picture, part.to, *source, part.from);
                }
            }
            m_made = std::move(picture);
            m_parts.clear();
        }
    }
    return m_made;
}

}  // namespace Terrascope
