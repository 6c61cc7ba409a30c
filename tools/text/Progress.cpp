#include "tools/text/Progress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace tool {

namespace {

constexpr size_t barWidth = 30;

std::string fixedText(double number, int digits) {
    std::array<char, 64> buffer{};
    const int length = std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, number);
    return length < 0 ? std::string() : std::string(buffer.data());
}

std::string groupedText(uint64_t number) {
    const std::string digits = std::to_string(number);
    std::string text;
    for (size_t at = 0; at < digits.size(); ++at) {
        if (at > 0 && (digits.size() - at) % 3 == 0) {
            text += ',';
        }
        text += digits[at];
    }
    return text;
}

} // namespace

std::string byteText(uint64_t bytes) {
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    double amount = static_cast<double>(bytes) / 1024;
    std::string_view unit = "KiB";
    for (const std::string_view larger : {std::string_view("MiB"), std::string_view("GiB"), std::string_view("TiB")}) {
        if (amount < 1024) {
            break;
        }
        amount /= 1024;
        unit = larger;
    }
    return fixedText(amount, 1) + " " + std::string(unit);
}

std::string rateText(uint64_t bytes, double seconds) {
    if (!(seconds > 0)) {
        return "-";
    }
    return byteText(static_cast<uint64_t>(static_cast<double>(bytes) / seconds)) + "/s";
}

std::string progressLine(uint64_t sent, uint64_t total, double seconds) {
    const double part = total == 0 ? 1.0 : std::min(1.0, static_cast<double>(sent) / static_cast<double>(total));
    const auto filled = static_cast<size_t>(part * static_cast<double>(barWidth));
    const std::string percent = std::to_string(static_cast<int>(part * 100)) + "%";
    std::string line = "[";
    line.append(filled, '#').append(barWidth - filled, '.').append("] ");
    line.append(4 - std::min<size_t>(4, percent.size()), ' ').append(percent).append("  ");
    line.append(byteText(sent)).append(" of ").append(byteText(total)).append("  ").append(rateText(sent, seconds));
    return line;
}

std::string summaryLine(std::string_view name, uint64_t bytes, double seconds) {
    return std::string(name) + ": " + groupedText(bytes) + (bytes == 1 ? " byte in " : " bytes in ") +
           fixedText(seconds, 2) + " s (" + rateText(bytes, seconds) + ")";
}

} // namespace tool
