#include "viewer/script/TourScript.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Viewer {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr int kDefaultMoves = 10;

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view WithoutComment(std::string_view line) {
    for (size_t at = line.find('#'); at != std::string_view::npos; at = line.find('#', at + 1)) {
        // A # inside a word belongs to a file name.
        if (at == 0 || kBlanks.find(line[at - 1]) != std::string_view::npos) {
            return line.substr(0, at);
        }
    }
    return line;
}

/// Takes the first word off `rest`.
std::string_view NextWord(std::string_view& rest) {
    rest = Trim(rest);
    const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
    rest = Trim(rest.substr(word.size()));
    return word;
}

template <typename Step, typename Value>
std::optional<TourAction> StepOf(const std::optional<Value>& value) {
    if (!value) {
        return std::nullopt;
    }
    return Step{*value};
}

std::optional<TourAction> ParseTool(std::string_view rest) {
    using Terrascope::MapToolKind;
    static constexpr std::array<std::pair<std::string_view, MapToolKind>, 4> names = {{
        {"arrow", MapToolKind::Arrow},
        {"zoomin", MapToolKind::ZoomIn},
        {"zoomout", MapToolKind::ZoomOut},
        {"pan", MapToolKind::Pan},
    }};
    for (const auto& [name, tool] : names) {
        if (rest == name) {
            return ToolStep{tool};
        }
    }
    return std::nullopt;
}

std::optional<TourAction> ParseDrag(std::string_view rest) {
    const auto from = ParsePixelPoint(NextWord(rest));
    const auto to = ParsePixelPoint(NextWord(rest));
    const auto moves = rest.empty() ? kDefaultMoves : ParseInt(rest, 1, 10000);
    if (!from || !to || !moves) {
        return std::nullopt;
    }
    return DragStep{*from, *to, *moves};
}

std::optional<TourAction> ParseWheel(std::string_view rest) {
    const auto notches = ParseInt(NextWord(rest), -100, 100);
    const auto at = ParsePixelPoint(rest);
    if (!notches || *notches == 0 || !at) {
        return std::nullopt;
    }
    return WheelStep{*notches, *at};
}

std::optional<TourAction> ParseKey(std::string_view rest) {
    static constexpr std::array<std::pair<std::string_view, unsigned>, 11> names = {{
        {"left", VK_LEFT},
        {"right", VK_RIGHT},
        {"up", VK_UP},
        {"down", VK_DOWN},
        {"home", VK_HOME},
        {"+", VK_ADD},
        {"-", VK_SUBTRACT},
        {"1", '1'},
        {"2", '2'},
        {"3", '3'},
        {"4", '4'},
    }};
    for (const auto& [name, key] : names) {
        if (rest == name) {
            return KeyStep{key};
        }
    }
    return std::nullopt;
}

struct Verb {
    std::string_view name;
    std::string_view form;
    std::optional<TourAction> (*parse)(std::string_view rest);
};

using Text = std::string_view;
using Action = std::optional<TourAction>;

constexpr std::array<Verb, 12> kVerbs = {{
    {"tool", "tool arrow|zoomin|zoomout|pan", ParseTool},
    {"drag", "drag X1,Y1 X2,Y2 [moves]", ParseDrag},
    {"click", "click X,Y", [](Text rest) { return StepOf<ClickStep>(ParsePixelPoint(rest)); }},
    {"wheel", "wheel NOTCHES X,Y", ParseWheel},
    {"key", "key left|right|up|down|home|+|-|1|2|3|4", ParseKey},
    {"layer", "layer N", [](Text rest) { return StepOf<LayerStep>(ParseInt(rest, 0, 1000)); }},
    {"center", "center X,Y", [](Text rest) { return StepOf<CenterStep>(ParseMapPoint(rest)); }},
    {"size", "size WIDTHxHEIGHT", [](Text rest) { return StepOf<SizeStep>(ParsePixelSize(rest)); }},
    {"wait", "wait", [](Text rest) { return rest.empty() ? Action(WaitStep{}) : Action(); }},
    {"frames", "frames N", [](Text rest) { return StepOf<FramesStep>(ParseInt(rest, 1, 100000)); }},
    {"snapshot", "snapshot FILE",
     [](Text rest) { return rest.empty() ? Action() : Action(SnapshotStep{std::string(rest)}); }},
    {"drop", "drop FILE",
     [](Text rest) { return rest.empty() ? Action() : Action(DropStep{std::string(rest)}); }},
}};

std::optional<TourAction> ParseStep(std::string_view text, std::string& expected) {
    std::string_view rest = text;
    const std::string_view word = NextWord(rest);
    const auto verb = std::find_if(kVerbs.begin(), kVerbs.end(), [word](const Verb& candidate) {
        return candidate.name == word;
    });
    if (verb == kVerbs.end()) {
        for (const Verb& known : kVerbs) {
            expected += (expected.empty() ? "one of " : ", ") + std::string(known.name);
        }
        return std::nullopt;
    }
    expected = "\"" + std::string(verb->form) + "\"";
    return verb->parse(rest);
}

}  // namespace

std::optional<std::vector<TourStep>> ParseTour(std::string_view script, std::string& error) {
    std::vector<TourStep> steps;
    for (int line = 1; !script.empty(); ++line) {
        const size_t end = std::min(script.find('\n'), script.size());
        const std::string_view text = Trim(WithoutComment(script.substr(0, end)));
        script.remove_prefix(std::min(end + 1, script.size()));
        if (text.empty()) {
            continue;
        }
        std::string expected;
        auto action = ParseStep(text, expected);
        if (!action) {
            error = "tour line " + std::to_string(line) + ": expected " + expected + ", not \"" +
                    std::string(text) + "\"";
            return std::nullopt;
        }
        steps.push_back(TourStep{line, std::string(text), std::move(*action)});
    }
    return steps;
}

}  // namespace Viewer
