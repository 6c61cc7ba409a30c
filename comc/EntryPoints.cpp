#include "comc/EntryPoints.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace spy {

namespace {

struct Declaration {
    bool hasClient;
    std::string_view parameters; // "(uint32_t handle, const void *data)"
    std::string_view arguments;  // "(\"OrxSend\", handle, data)"
};

constexpr bool withClient = true;
constexpr bool withoutClient = false;

constexpr Declaration declarations[] = {
#define ORX_ENTRY_POINT(name, client, parameters, arguments) {client, #parameters, #arguments},
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT
};
static_assert(std::size(declarations) == entryPointCount);

/// What people print and scan, and not what is said about it.
constexpr std::pair<std::string_view, std::string_view> documents[] = {
    {"OrxWritePrinter", "data"},
    {"OrxExchangeDataScanner", "request"},
    {"OrxExchangeDataScanner", "response"},
};

/// The pieces between the parentheses and commas, without blanks around them.
std::vector<std::string_view> split(std::string_view list) {
    std::vector<std::string_view> pieces;
    list = list.substr(1, list.size() - 2);
    while (!list.empty()) {
        const auto comma = std::min(list.find(','), list.size());
        auto piece = list.substr(0, comma);
        piece.remove_prefix(std::min(piece.find_first_not_of(' '), piece.size()));
        pieces.push_back(piece);
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return pieces;
}

/// A parameter's type, without the name behind it.
std::string_view typeOf(std::string_view name, const std::vector<std::string_view> &parameters) {
    for (const auto parameter : parameters) {
        if (parameter.ends_with(name) && parameter.size() > name.size() &&
            std::string_view(" *").find(parameter[parameter.size() - name.size() - 1]) != std::string_view::npos) {
            auto type = parameter.substr(0, parameter.size() - name.size());
            while (type.ends_with(' ')) {
                type.remove_suffix(1);
            }
            return type;
        }
    }
    return {};
}

/// Whether a number says how many bytes the pointer before it has.
bool isByteCount(std::string_view type, std::string_view name) {
    constexpr std::string_view endings[] = {"length", "Length", "size", "Size", "Count"};
    return type == "uint32_t" && std::any_of(std::begin(endings), std::end(endings),
                                             [name](std::string_view ending) { return name.ends_with(ending); });
}

ArgumentKind kindOf(std::string_view type, bool isCounted) {
    if (type == "uint32_t") {
        return ArgumentKind::number;
    }
    if (type == "OrxEnumCallback") {
        return ArgumentKind::enumCallback;
    }
    if (type == "OrxAlertCallback") {
        return ArgumentKind::alertCallback;
    }
    if (type == "OrxNotificationCallback") {
        return ArgumentKind::notificationCallback;
    }
    if (type == "uint32_t *") {
        return ArgumentKind::outputNumber;
    }
    if (isCounted) {
        return type.starts_with("const ") ? ArgumentKind::inputBytes : ArgumentKind::outputBytes;
    }
    if (type == "const char *") {
        return ArgumentKind::text;
    }
    return type == "const wchar_t *" ? ArgumentKind::wideText : ArgumentKind::opaque;
}

EntryPoint read(const Declaration &declaration) {
    const auto parameters = split(declaration.parameters);
    auto names = split(declaration.arguments);
    EntryPoint entryPoint;
    entryPoint.name = names.front().substr(1, names.front().size() - 2);
    // What else stands in quotes is a name that the pattern needs, not an argument.
    std::erase_if(names, [](std::string_view name) { return name.starts_with('"'); });
    if (declaration.hasClient) {
        entryPoint.arguments.push_back({"clientId", ArgumentKind::number});
    }
    for (size_t index = 0; index < names.size(); ++index) {
        const auto name = names[index];
        const auto next = index + 1 < names.size() ? names[index + 1] : std::string_view();
        const auto kind = kindOf(typeOf(name, parameters), isByteCount(typeOf(next, parameters), next));
        const std::pair<std::string_view, std::string_view> place(entryPoint.name, name);
        const bool isDocument = std::find(std::begin(documents), std::end(documents), place) != std::end(documents);
        entryPoint.arguments.push_back({std::string(name), kind, isDocument});
    }
    return entryPoint;
}

} // namespace

std::string_view callbackName(ArgumentKind kind) noexcept {
    switch (kind) {
    case ArgumentKind::enumCallback:
        return "enum";
    case ArgumentKind::alertCallback:
        return "alert";
    case ArgumentKind::notificationCallback:
        return "notification";
    default:
        return {};
    }
}

const std::vector<EntryPoint> &entryPoints() {
    // Never destroyed: at the end of a process the service may be called when this library's destructors have run.
    static const auto &all = *new std::vector<EntryPoint>([] {
        std::vector<EntryPoint> table;
        std::transform(std::begin(declarations), std::end(declarations), std::back_inserter(table), read);
        return table;
    }());
    return all;
}

const EntryPoint *findEntryPoint(std::string_view name) {
    const auto &all = entryPoints();
    const auto found = std::find_if(all.begin(), all.end(), [name](const auto &each) { return each.name == name; });
    return found == all.end() ? nullptr : &*found;
}

} // namespace spy
