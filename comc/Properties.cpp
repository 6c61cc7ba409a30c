#include "comc/Properties.h"

#include <utility>

namespace comc {

namespace {

std::optional<std::string> element(std::string_view text, const std::string &tag) {
    const auto opening = "<" + tag + ">";
    const auto start = text.find(opening);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    const auto content = text.substr(start + opening.size());
    const auto end = content.find("</" + tag + ">");
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(content.substr(0, end));
}

} // namespace

std::optional<PropertyDescriptor> readDescriptor(std::string_view text) {
    auto name = element(text, "Name");
    if (!name || name->empty()) {
        return std::nullopt;
    }
    return PropertyDescriptor{std::move(*name), element(text, "Type").value_or(""),
                              element(text, "Access").value_or("")};
}

} // namespace comc
