#include "terrascope/support/text/MultibyteText.h"

#include <mbstring.h>

#include <algorithm>

namespace Terrascope {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

/// The small letter of a two-byte character; the character itself when the code page has none.
void FoldPair(char* pair) {
    const unsigned capital = static_cast<BYTE>(pair[0]) * 256U + static_cast<BYTE>(pair[1]);
    const unsigned small = _mbctolower(capital);
    // Damaged pairs, and letters whose small one is missing, come back as question marks.
    if (::IsDBCSLeadByte(static_cast<BYTE>(small / 256))) {
        pair[0] = static_cast<char>(small / 256);
        pair[1] = static_cast<char>(small % 256);
    }
}

}  // namespace

std::size_t CharacterBytes(std::string_view text, std::size_t offset) {
    ASSERT(offset < text.size());
    const auto byte = static_cast<BYTE>(text[offset]);
    const bool pair = byte >= 0x80 && ::IsDBCSLeadByte(byte) && offset + 1 < text.size();
    return pair ? 2 : 1;
}

std::size_t FindCharacter(std::string_view text, char wanted, std::size_t from) {
    for (std::size_t at = from; at < text.size(); at += CharacterBytes(text, at)) {
        if (text[at] == wanted) {
            return at;
        }
    }
    return std::string_view::npos;
}

std::size_t FindLastCharacter(std::string_view text, char wanted) {
    std::size_t last = std::string_view::npos;
    for (std::size_t at = FindCharacter(text, wanted); at != std::string_view::npos;
         at = FindCharacter(text, wanted, at + 1)) {
        last = at;
    }
    return last;
}

bool IsCharacterStart(std::string_view text, std::size_t offset) {
    std::size_t at = 0;
    while (at < offset && at < text.size()) {
        at += CharacterBytes(text, at);
    }
    return at == offset;
}

bool EndsWithCharacter(std::string_view text, char wanted) {
    return !text.empty() && text.back() == wanted && IsCharacterStart(text, text.size() - 1);
}

std::string_view TrimmedRight(std::string_view text) {
    const std::size_t last = text.find_last_not_of(kWhiteSpace);
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::string_view Trimmed(std::string_view text) {
    text = TrimmedRight(text);
    return text.substr(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

std::string FoldCase(std::string_view text) {
    std::string folded(text);
    // Character by character: _mbslwr and its like have no length, and step over the terminator of
    // a text that ends within a character; CharLowerBuff makes damaged characters equal, and
    // letters that CompareNoCase distinguishes.
    for (std::size_t at = 0; at < folded.size(); at += CharacterBytes(folded, at)) {
        if (CharacterBytes(folded, at) == 2) {
            FoldPair(&folded[at]);
        } else if (folded[at] >= 'A' && folded[at] <= 'Z') {
            folded[at] = static_cast<char>(folded[at] - 'A' + 'a');
        }
    }
    return folded;
}

CString ReplaceEscapes(const CString& text) {
    constexpr std::string_view kLetters = "nrt";
    constexpr std::string_view kControls = "\n\r\t";
    const std::string_view source = ViewOf(text);
    std::string result;
    result.reserve(source.size());
    for (std::size_t at = 0; at < source.size();) {
        const std::size_t which = source[at] == '\\' && at + 1 < source.size()
                                      ? kLetters.find(source[at + 1])
                                      : std::string_view::npos;
        if (which != std::string_view::npos) {
            result += kControls[which];
            at += 2;
        } else {
            const std::size_t count = CharacterBytes(source, at);
            result.append(source.substr(at, count));
            at += count;
        }
    }
    return ToCString(result);
}

}  // namespace Terrascope
