#include "plugins/common/TilePathTemplate.h"

#include <charconv>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongestPattern = 1024;
constexpr std::int64_t kLargestOffset = 1'000'000;
constexpr std::int64_t kLargestWidth = 20;

/// The whole text as a number without a sign, if it is one up to `largest`.
std::optional<std::int64_t> ParseCount(std::string_view text, std::int64_t largest) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || text[0] == '-' || error != std::errc() ||
        end != text.data() + text.size() || value > largest) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<TilePathTemplate::Piece> TilePathTemplate::ParseField(std::string_view field) {
    Piece piece;
    if (field == "key" || field == "format") {
        piece.kind = field == "key" ? Kind::Key : Kind::Format;
        return piece;
    }
    const std::size_t colon = field.find(':');
    if (colon != std::string_view::npos) {
        const auto width = ParseCount(field.substr(colon + 1), kLargestWidth);
        if (!width) {
            return std::nullopt;
        }
        piece.width = static_cast<std::size_t>(*width);
        field = field.substr(0, colon);
    }
    constexpr std::string_view kRowFromBottom = "row-from-bottom";
    const std::size_t sign =
        field.find_first_of("+-", field.starts_with(kRowFromBottom) ? kRowFromBottom.size() : 0);
    if (sign != std::string_view::npos) {
        const auto offset = ParseCount(field.substr(sign + 1), kLargestOffset);
        if (!offset) {
            return std::nullopt;
        }
        piece.offset = field[sign] == '-' ? -*offset : *offset;
        field = field.substr(0, sign);
    }
    if (field == "layer") {
        piece.kind = Kind::Layer;
    } else if (field == "column") {
        piece.kind = Kind::Column;
    } else if (field == "row") {
        piece.kind = Kind::Row;
    } else if (field == kRowFromBottom) {
        piece.kind = Kind::RowFromBottom;
    } else {
        return std::nullopt;
    }
    return piece;
}

std::optional<TilePathTemplate> TilePathTemplate::Parse(std::string_view pattern,
                                                        std::string& reason) {
    if (pattern.size() > kLongestPattern) {
        reason = "is longer than 1024 bytes";
        return std::nullopt;
    }
    TilePathTemplate result;
    // By characters, not bytes: a brace may be the second byte of one.
    for (std::size_t begin = 0; begin < pattern.size();) {
        const std::size_t open = std::min(FindCharacter(pattern, '{', begin), pattern.size());
        if (FindCharacter(pattern.substr(0, open), '}', begin) != std::string_view::npos) {
            reason = "has a '}' without a '{'";
            return std::nullopt;
        }
        if (open > begin) {
            result.m_pieces.push_back(
                {Kind::Literal, std::string(pattern.substr(begin, open - begin))});
        }
        if (open == pattern.size()) {
            break;
        }
        const std::size_t close = FindCharacter(pattern, '}', open);
        if (close == std::string_view::npos) {
            reason = "has a '{' without a '}'";
            return std::nullopt;
        }
        const std::string_view field = pattern.substr(open + 1, close - open - 1);
        const std::optional<Piece> piece = ParseField(field);
        if (!piece) {
            reason = "has the unknown field '{" + std::string(field) + "}'";
            return std::nullopt;
        }
        result.m_pieces.push_back(*piece);
        begin = close + 1;
    }
    if (result.m_pieces.empty()) {
        reason = "is empty";
        return std::nullopt;
    }
    return result;
}

std::optional<std::string> TilePathTemplate::Expand(int layer, const PyramidTile& tile,
                                                    std::string_view key,
                                                    std::string_view format) const {
    std::string text;
    for (const Piece& piece : m_pieces) {
        std::int64_t number = piece.offset;
        switch (piece.kind) {
            case Kind::Literal:
                text += piece.literal;
                continue;
            case Kind::Key:
                text += key;
                continue;
            case Kind::Format:
                text += format;
                continue;
            case Kind::Layer:
                number += layer;
                break;
            case Kind::Column:
                number += tile.column;
                break;
            case Kind::Row:
                number += tile.row;
                break;
            case Kind::RowFromBottom:
                number += tile.rowFromBottom;
                break;
        }
        if (number < 0) {
            return std::nullopt;
        }
        const std::string digits = std::to_string(number);
        if (digits.size() < piece.width) {
            text.append(piece.width - digits.size(), '0');
        }
        text += digits;
    }
    return text;
}

}  // namespace Terrascope::Plugins
