#include "terrascope/tiles/ImageDecoders.h"

#include <mutex>
#include <utility>

#include "terrascope/support/Handles.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/QuietLoading.h"
#include "terrascope/support/files/Paths.h"

namespace Terrascope {

namespace {

std::mutex theLock;  // of the next line
/// To load them takes longer than some tiles, so they stay for the next display.
std::shared_ptr<const CImageDecoders> theDecoders;

template <class Entry>
void Find(HMODULE module, const char* name, Entry& entry) {
    entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

/// A plug-in's answer; 0 when it throws.
template <class Call>
std::int32_t AnswerOf(const Call& call) noexcept {
    try {
        return call();
    } catch (...) {
        return 0;
    }
}

}  // namespace

struct CImageDecoders::Decoder {
    CUniqueHandle<HMODULE, &::FreeLibrary> library;
    TerrascopeDecoderVersionFunction version = nullptr;
    TerrascopeDescribeImageFunction describe = nullptr;
    TerrascopeDecodeImageFunction decode = nullptr;

    /// Why the library at the path is of no use; null when it is loaded.
    const char* Load(const CString& path) {
        const QuietLoading quiet;
        // Found beside it: a plug-in may bring libraries of its own.
        library = CUniqueHandle<HMODULE, &::FreeLibrary>(
            ::LoadLibraryExA(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
        if (!library) {
            return "it cannot be loaded";
        }
        Find(library.Get(), "TerrascopeDecoderVersion", version);
        Find(library.Get(), "TerrascopeDescribeImage", describe);
        Find(library.Get(), "TerrascopeDecodeImage", decode);
        if (version == nullptr || describe == nullptr || decode == nullptr) {
            return "it lacks a function";
        }
        return AnswerOf(version) == TERRASCOPE_IMAGE_DECODER_VERSION
                   ? nullptr
                   : "it was built for another version";
    }
};

std::shared_ptr<const CImageDecoders> CImageDecoders::Installed() {
    const std::lock_guard guard(theLock);
    if (theDecoders != nullptr) {
        return theDecoders;
    }
    auto decoders = std::make_shared<const CImageDecoders>(GetModuleFolderPath("Terrascope.dll") +
                                                           "\\Plugins\\Quillmont\\ImageDecoder");
    // What is missing or locked now may be there for the next display.
    if (decoders->m_isComplete) {
        theDecoders = decoders;
    }
    return decoders;
}

void CImageDecoders::ReleaseInstalled() {
    std::shared_ptr<const CImageDecoders> last;
    // At the end of the process a thread may have been killed while it held the lock.
    if (const std::unique_lock guard(theLock, std::try_to_lock); guard.owns_lock()) {
        last.swap(theDecoders);
    }
}

CImageDecoders::CImageDecoders(const CString& folder) {
    WIN32_FIND_DATAA entry{};
    const CFindHandle search(::FindFirstFileA(folder + "\\*.dll", &entry));
    if (search) {
        do {
            const CString path = folder + "\\" + entry.cFileName;
            Decoder decoder;
            if (const char* reason = decoder.Load(path)) {
                m_isComplete = m_isComplete && decoder.library;
                LogLine("image decoder refused: '%s': %s", path.GetString(), reason);
            } else {
                LogLine("image decoder loaded: %s", path.GetString());
                m_decoders.push_back(std::move(decoder));
            }
        } while (::FindNextFileA(search.Get(), &entry) != 0);
    }
    if (m_decoders.empty()) {
        m_isComplete = false;
        LogLine("no image decoder in '%s': GDI+ decodes", folder.GetString());
    }
}

CImageDecoders::~CImageDecoders() = default;

std::shared_ptr<CTilePicture> CImageDecoders::Decode(std::span<const std::uint8_t> file,
                                                     const ImageHeader& header) const {
    for (const Decoder& decoder : m_decoders) {
        TerrascopeImageSize size{};
        const auto describe = [&] { return decoder.describe(file.data(), file.size(), &size); };
        if (AnswerOf(describe) == 0 || !IsSafeSize(size.width, size.height) ||
            (header.width != 0 && (header.width != size.width || header.height != size.height))) {
            continue;
        }
        auto picture = CTilePicture::Create(
            CSize(static_cast<int>(size.width), static_cast<int>(size.height)));
        if (picture == nullptr) {
            return nullptr;
        }
        const TerrascopeImageRows rows{reinterpret_cast<std::uint8_t*>(picture->Row(0)),
                                       picture->PixelCount() * sizeof(std::uint32_t),
                                       size.width * sizeof(std::uint32_t), size.width, size.height};
        if (AnswerOf([&] { return decoder.decode(file.data(), file.size(), &rows); }) != 0) {
            return picture;
        }
    }
    return nullptr;
}

}  // namespace Terrascope
