#include "tools/spy/SpyDiff.h"

#include "comc/EntryPoints.h"
#include "tools/spy/SpyView.h"
#include "tools/text/JsonText.h"

#include <algorithm>
#include <functional>
#include <map>

namespace tool {

namespace {

using recording::Json;

/// Removes values that differ in every run.
class Normaliser {
  public:
    Json operator()(const Json &values) {
        Json result = values;
        for (const auto &item : values.items()) {
            auto &value = result[item.key()];
            if (value.is_object() && value.contains("address")) {
                value["address"] = "any";
            } else if (item.key() == "clientId" && value.is_number_unsigned()) {
                value = clients_.try_emplace(value.get<uint64_t>(), clients_.size() + 1).first->second;
            }
        }
        return result;
    }

  private:
    std::map<uint64_t, size_t> clients_;
};

template <class Exchange>
void addAnswer(Json &content, const Exchange &exchange) {
    if (!exchange.end) {
        content["unfinished"] = true;
    } else if (exchange.end->raised) {
        content["raised"] = true;
    } else {
        content["result"] = exchange.end->result;
    }
}

Json contentOf(const recording::RecordedCallback &callback, Normaliser &normalise) {
    Json content{{"callback", callback.begin.callbackKind}, {"arguments", normalise(callback.begin.values)}};
    addAnswer(content, callback);
    return content;
}

/// Calls in order, each with the callbacks made during it; then the unsolicited callbacks, in order per kind and
/// device, because their position among the calls is random.
std::vector<ComparedItem> itemsOf(const recording::Recording &recording) {
    Normaliser normalise;
    std::multimap<uint64_t, const recording::RecordedCallback *> within;
    std::map<std::string, std::vector<const recording::RecordedCallback *>> byThemselves;
    for (const auto &callback : recording.callbacks) {
        if (callback.begin.within) {
            within.emplace(*callback.begin.within, &callback);
        } else {
            byThemselves[callback.begin.callbackKind + " " + callback.begin.values.value("handle", Json()).dump()]
                .push_back(&callback);
        }
    }
    std::vector<ComparedItem> items;
    for (const auto &call : recording.calls) {
        Json content{{"arguments", normalise(call.begin.values)}};
        addAnswer(content, call);
        if (call.end) {
            if (call.end->lastError) {
                content["lastError"] = *call.end->lastError;
            }
            content["outputs"] = normalise(call.end->values);
        }
        const auto [first, last] = within.equal_range(call.begin.number);
        for (auto callback = first; callback != last; ++callback) {
            content["callbacks"].push_back(contentOf(*callback->second, normalise));
        }
        items.push_back({call.begin.entryPoint, std::move(content), call.begin.number});
    }
    for (const auto &[device, callbacks] : byThemselves) {
        for (const auto *callback : callbacks) {
            items.push_back(
                {callback->begin.callbackKind + " callback", contentOf(*callback, normalise), callback->begin.number});
        }
    }
    return items;
}

using Match = std::pair<size_t, size_t>;

/// The longest common subsequence, by dynamic programming, without the equal beginning and end. If the table would be
/// too large, elements at equal positions are compared.
std::vector<Match> matchesOf(const std::vector<size_t> &left, const std::vector<size_t> &right) {
    constexpr size_t largestTable = size_t{64} * 1024 * 1024;
    std::vector<Match> matches;
    size_t begin = 0;
    while (begin < std::min(left.size(), right.size()) && left[begin] == right[begin]) {
        matches.emplace_back(begin, begin);
        ++begin;
    }
    size_t tail = 0;
    while (tail < std::min(left.size(), right.size()) - begin &&
           left[left.size() - 1 - tail] == right[right.size() - 1 - tail]) {
        ++tail;
    }
    const auto rows = left.size() - tail - begin;
    const auto columns = right.size() - tail - begin;
    if (rows * columns > largestTable) {
        for (size_t place = 0; place < std::min(rows, columns); ++place) {
            if (left[begin + place] == right[begin + place]) {
                matches.emplace_back(begin + place, begin + place);
            }
        }
    } else {
        std::vector<uint32_t> lengths((rows + 1) * (columns + 1), 0);
        const auto length = [&](size_t row, size_t column) -> uint32_t & {
            return lengths[row * (columns + 1) + column];
        };
        for (auto row = rows; row-- > 0;) {
            for (auto column = columns; column-- > 0;) {
                length(row, column) = left[begin + row] == right[begin + column]
                                          ? length(row + 1, column + 1) + 1
                                          : std::max(length(row + 1, column), length(row, column + 1));
            }
        }
        for (size_t row = 0, column = 0; row < rows && column < columns;) {
            if (left[begin + row] == right[begin + column]) {
                matches.emplace_back(begin + row++, begin + column++);
            } else if (length(row + 1, column) >= length(row, column + 1)) {
                ++row;
            } else {
                ++column;
            }
        }
    }
    for (; tail > 0; --tail) {
        matches.emplace_back(left.size() - tail, right.size() - tail);
    }
    return matches;
}

std::vector<size_t> hashesOf(const std::vector<ComparedItem> &items) {
    std::vector<size_t> hashes;
    hashes.reserve(items.size());
    for (const auto &item : items) {
        hashes.push_back(std::hash<std::string>{}(item.name + jsonLine(item.content)));
    }
    return hashes;
}

std::string lineOf(const char *sign, const ComparedItem &item) {
    auto line = std::string(sign) + " " + std::to_string(item.number) + "  " + item.name + "(" +
                describeValues(item.content["arguments"]) + ")";
    if (item.content.contains("result")) {
        line += " = " + item.content["result"].dump();
    } else {
        line += item.content.contains("raised") ? " left by an exception" : " never ended";
    }
    if (item.content.contains("outputs") && !item.content["outputs"].empty()) {
        line += "  " + describeValues(item.content["outputs"]);
    }
    if (item.content.contains("lastError")) {
        line += ", last error " + item.content["lastError"].dump();
    }
    if (item.content.contains("callbacks")) {
        for (const auto &callback : item.content["callbacks"]) {
            line += "\n" + std::string(sign) + "     callback " + callback["callback"].get<std::string>() + "(" +
                    describeValues(callback["arguments"]) + ")" +
                    (callback.contains("result") ? " = " + callback["result"].dump() : "");
        }
    }
    return line + "\n";
}

} // namespace

SpyDiff::SpyDiff(const recording::Recording &left, const recording::Recording &right)
    : left_(itemsOf(left)), right_(itemsOf(right)) {
    auto matches = matchesOf(hashesOf(left_), hashesOf(right_));
    matches.emplace_back(left_.size(), right_.size());
    size_t leftPlace = 0;
    size_t rightPlace = 0;
    for (const auto &[leftMatch, rightMatch] : matches) {
        // Between two matches, calls with the same name are reported as one changed call.
        while (leftPlace < leftMatch || rightPlace < rightMatch) {
            const bool isPair =
                leftPlace < leftMatch && rightPlace < rightMatch && left_[leftPlace].name == right_[rightPlace].name;
            const bool takesLeft = isPair || leftPlace < leftMatch;
            const bool takesRight = isPair || !takesLeft;
            differences_.push_back(
                {takesLeft ? &left_[leftPlace++] : nullptr, takesRight ? &right_[rightPlace++] : nullptr});
        }
        leftPlace = leftMatch + 1;
        rightPlace = rightMatch + 1;
    }
}

std::string SpyDiff::describe(const SpyDifference &difference) {
    return (difference.left == nullptr ? "" : lineOf("-", *difference.left)) +
           (difference.right == nullptr ? "" : lineOf("+", *difference.right));
}

Json SpyDiff::object(const SpyDifference &difference) {
    const auto sideOf = [](const ComparedItem *item) -> Json {
        if (item == nullptr) {
            return nullptr;
        }
        Json side{{"number", item->number}, {"name", item->name}};
        side.update(item->content);
        return side;
    };
    return {{"left", sideOf(difference.left)}, {"right", sideOf(difference.right)}};
}

} // namespace tool
