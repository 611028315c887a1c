#include "plugins/web/TileAddressTemplate.h"

#include <algorithm>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongestPattern = 2048;
constexpr std::size_t kLongestEnding = 4;

/// Which of `count` servers has a tile: neighbours are spread, and each tile always has the same.
std::size_t ServerOf(const PyramidTile& tile, std::size_t count) {
    constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15;  // 2^64 over the golden ratio
    const std::uint64_t mixed = ((std::uint64_t{tile.column} << 32) | tile.row) * kMix;
    return static_cast<std::size_t>((mixed >> 32) % count);
}

std::string Absolute(std::string_view pattern, const HttpAddress* base) {
    if (base == nullptr || pattern.find("://") < pattern.find('{')) {
        return std::string(pattern);
    }
    if (pattern.starts_with("//")) {
        return (base->isSecure ? "https:" : "http:") + std::string(pattern);
    }
    const std::string path = base->target.substr(0, base->target.find('?'));
    return base->Origin() + (pattern.starts_with('/') ? "" : path.substr(0, path.rfind('/') + 1)) +
           std::string(pattern);
}

}  // namespace

std::string QuadKey(int zoom, const PyramidTile& tile) {
    std::string key;
    for (int bit = zoom - 1; bit >= 0; --bit) {
        key += static_cast<char>('0' + ((tile.column >> bit) & 1) + 2 * ((tile.row >> bit) & 1));
    }
    return key;
}

std::optional<TileAddressTemplate::Piece> TileAddressTemplate::ParseField(std::string_view field) {
    constexpr std::pair<std::string_view, Kind> kFields[] = {
        {"z", Kind::Zoom}, {"x", Kind::Column},        {"y", Kind::Row},
        {"q", Kind::Key},  {"-y", Kind::RowFromSouth}, {"r", Kind::Literal}};
    for (const auto& [name, kind] : kFields) {
        if (field == name) {
            return Piece{kind};
        }
    }
    if (field == "s") {
        return Piece{Kind::Letter, "abc"};
    }
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    if (field.size() == 3 && field[1] == '-' && isLetter(field[0]) && isLetter(field[2]) &&
        field[0] <= field[2] && field[2] - field[0] < 26) {
        Piece piece{Kind::Letter};
        for (char c = field[0]; c <= field[2]; ++c) {
            piece.text += c;
        }
        return piece;
    }
    return std::nullopt;
}

std::optional<TileAddressTemplate> TileAddressTemplate::Parse(std::string_view pattern,
                                                              const HttpAddress* base,
                                                              std::string& reason) {
    const std::string absolute = Absolute(pattern, base);
    const std::string_view text = absolute;
    if (text.size() > kLongestPattern) {
        reason = "is longer than 2048 bytes";
        return std::nullopt;
    }
    TileAddressTemplate result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t open = std::min(text.find('{', begin), text.size());
        result.m_pieces.push_back({Kind::Literal, absolute.substr(begin, open - begin)});
        if (open == text.size()) {
            break;
        }
        const std::size_t close = text.find('}', open);
        const auto piece = close != std::string_view::npos
                               ? ParseField(text.substr(open + 1, close - open - 1))
                               : std::nullopt;
        if (!piece) {
            // What stands behind a question mark may be a key.
            reason = close == std::string_view::npos ? "has a '{' without a '}'"
                     : text.find('?') < close        ? "has an unknown field"
                                                     : "has the unknown field '" +
                                                    absolute.substr(open, close - open + 1) + "'";
            return std::nullopt;
        }
        result.m_pieces.push_back(*piece);
        begin = close + 1;
    }
    const auto has = [&](Kind kind) {
        return std::any_of(result.m_pieces.begin(), result.m_pieces.end(),
                           [&](const Piece& piece) { return piece.kind == kind; });
    };
    const bool namesTiles = has(Kind::Key) || (has(Kind::Zoom) && has(Kind::Column) &&
                                               (has(Kind::Row) || has(Kind::RowFromSouth)));
    if (!namesTiles) {
        reason = "does not name each tile: {z}, {x} and {y} (or {q}) are needed";
        return std::nullopt;
    }
    if (!result.Expand(1, {})) {
        reason = "is no address of http or https";
        return std::nullopt;
    }
    return result;
}

std::optional<HttpAddress> TileAddressTemplate::Expand(int zoom, const PyramidTile& tile) const {
    std::string text;
    for (const Piece& piece : m_pieces) {
        switch (piece.kind) {
            case Kind::Literal:
                text += piece.text;
                break;
            case Kind::Zoom:
                text += std::to_string(zoom);
                break;
            case Kind::Column:
                text += std::to_string(tile.column);
                break;
            case Kind::Row:
                text += std::to_string(tile.row);
                break;
            case Kind::RowFromSouth:
                text += std::to_string(tile.rowFromBottom);
                break;
            case Kind::Key:
                text += QuadKey(zoom, tile);
                break;
            case Kind::Letter:
                text += piece.text[ServerOf(tile, piece.text.size())];
                break;
        }
    }
    return HttpAddress::Parse(text);
}

std::string TileAddressTemplate::Ending() const {
    const auto address = Expand(1, {});
    const std::string path =
        address ? address->target.substr(0, address->target.find('?')) : std::string();
    const std::size_t dot = path.find_last_of("./");
    if (dot == std::string::npos || path[dot] == '/' || path.size() - dot - 1 > kLongestEnding) {
        return {};
    }
    return path.substr(dot + 1);
}

std::string TileAddressTemplate::Host() const {
    const auto address = Expand(1, {});
    return address ? address->host : std::string();
}

}  // namespace Terrascope::Plugins
