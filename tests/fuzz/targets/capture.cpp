// Calls of every entry point with any words and any memory behind them, as the spy records them.
#include "recording/Capture.h"
#include "tests/fuzz/Input.h"

#include <map>
#include <memory>

namespace {

constexpr uint64_t callbackAddress = 0xF00;

/// Count and sum of the bytes: enough to see that all of them passed.
class CountingDigest : public recording::Digest {
  public:
    void add(const void *bytes, size_t count) override {
        for (size_t index = 0; index < count; ++index) {
            sum_ += static_cast<const uint8_t *>(bytes)[index];
        }
        count_ += count;
    }
    std::string finish() override {
        const uint64_t both[] = {count_, sum_};
        return recording::hexadecimal(both, sizeof both);
    }

  private:
    uint64_t count_ = 0;
    uint64_t sum_ = 0;
};

/// The caller's memory: blocks of exactly their size, and nothing else can be read.
class Memory {
  public:
    uint64_t add(std::vector<uint8_t> block) {
        blocks_.push_back(std::move(block));
        return address(blocks_.back());
    }
    [[nodiscard]] size_t readable(const void *place, size_t wanted) const {
        const auto begin = reinterpret_cast<uintptr_t>(place);
        for (const auto &block : blocks_) {
            if (begin >= address(block) && begin < address(block) + block.size()) {
                return std::min<size_t>(wanted, address(block) + block.size() - begin);
            }
        }
        return 0;
    }
    /// What a service may do between the call's beginning and its end.
    void change(fuzz::Input &input) {
        for (auto &block : blocks_) {
            const auto bytes = input.bytes();
            std::copy_n(bytes.begin(), std::min(bytes.size(), block.size()), block.begin());
        }
    }

  private:
    static uintptr_t address(const std::vector<uint8_t> &block) { return reinterpret_cast<uintptr_t>(block.data()); }

    std::vector<std::vector<uint8_t>> blocks_;
};

recording::Words anyWords(fuzz::Input &input, Memory &memory) {
    recording::Words words{};
    uint64_t latestAddress = 0;
    uint64_t latestSize = 0;
    for (auto &word : words) {
        switch (input.number<uint8_t>() % 8) {
        case 0:
            word = 0;
            break;
        case 1:
            word = input.number<uint64_t>();
            break;
        case 2:
            word = latestSize;
            break;
        case 3:
            word = latestAddress;
            break;
        case 4:
            word = callbackAddress;
            break;
        case 5: { // more than fits into one line
            const auto value = input.number<uint8_t>();
            latestSize = recording::mostInlineBytes + input.number<uint16_t>();
            word = latestAddress = memory.add(std::vector<uint8_t>(latestSize, value));
            break;
        }
        default: {
            auto block = input.bytes();
            latestSize = block.size();
            word = latestAddress = memory.add(std::move(block));
            break;
        }
        }
    }
    return words;
}

/// The bytes of large buffers by the argument's name, as they arrive.
using Pieces = std::map<std::string, std::string, std::less<>>;

recording::PieceSink sinkTo(Pieces &pieces) {
    return [&pieces](std::string_view name, uint64_t offset, const std::string &hex) {
        std::string &bytes = pieces[std::string(name)];
        fuzz::require(offset == bytes.size(), "no byte is missing between pieces, or comes twice");
        bytes += recording::bytesOf(hex);
    };
}

void checkValues(const recording::Json &values, const Pieces &pieces) {
    for (const auto &[name, value] : values.items()) {
        const auto found = pieces.find(name);
        fuzz::require(value.contains("pieces") == (found != pieces.end()), "pieces are announced, and come");
        if (value.contains("hex")) {
            fuzz::require(recording::bytesOf(value.at("hex").get<std::string>()).size() == value.at("length"),
                          "the length is that of the bytes");
        }
        if (found != pieces.end()) {
            CountingDigest digest;
            digest.add(found->second.data(), found->second.size());
            fuzz::require(value.at("length") == found->second.size() && value.at("sha256") == digest.finish(),
                          "pieces are all of the buffer");
        }
    }
}

/// What was captured must be a line that the tool and the simulator can read.
void checkLine(recording::EventKind kind, const std::string &entryPoint, const std::string &callbackKind,
               const recording::Json &values) {
    recording::RecordEvent event;
    event.kind = kind;
    event.number = 1;
    event.entryPoint = entryPoint;
    event.callback = kind == recording::EventKind::callback ? 1 : 0;
    event.callbackKind = callbackKind;
    event.values = values;
    fuzz::require(recording::parseLine(recording::composeLine(event)).values == values, "values survive being written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const auto choice = input.number<uint8_t>();
    const auto flags = input.number<uint8_t>();
    Memory memory;
    const recording::CaptureHost host{
        [&](const void *address, size_t wanted) { return memory.readable(address, wanted); },
        [] { return std::make_unique<CountingDigest>(); },
        [](uint64_t address, comc::ArgumentKind) { return address == callbackAddress ? 1u : 0u; },
    };
    const bool redacts = (flags & 1) != 0;
    const recording::Capture capture(host, redacts);
    const auto words = anyWords(input, memory);

    Pieces pieces;
    if (choice >= comc::entryPoints().size()) {
        constexpr comc::ArgumentKind kinds[] = {comc::ArgumentKind::enumCallback, comc::ArgumentKind::alertCallback,
                                                comc::ArgumentKind::notificationCallback};
        const auto kind = kinds[choice % std::size(kinds)];
        const auto values = capture.callbackArguments(kind, words, sinkTo(pieces));
        checkValues(values, pieces);
        checkLine(recording::EventKind::callback, "", std::string(comc::callbackName(kind)), values);
        return 0;
    }
    const comc::EntryPoint &entryPoint = comc::entryPoints()[choice];
    const auto arguments = capture.arguments(entryPoint, words, sinkTo(pieces));
    fuzz::require(arguments.size() == entryPoint.arguments().size(), "each argument is recorded");
    checkValues(arguments, pieces);
    checkLine(recording::EventKind::call, std::string(entryPoint.name), "", arguments);

    const recording::Capture::Before before(capture, entryPoint, words);
    memory.change(input);
    Pieces answered;
    const auto outputs = capture.outputs(entryPoint, words, before, (flags & 2) != 0, sinkTo(answered));
    checkValues(outputs, answered);
    checkLine(recording::EventKind::callReturn, std::string(entryPoint.name), "", outputs);
    for (const comc::Argument &argument : entryPoint.arguments()) {
        if (redacts && argument.isDocument) {
            for (const auto *const values : {&arguments, &outputs}) {
                fuzz::require(!values->contains(argument.name) || !values->at(argument.name).contains("hex"),
                              "a redacted document is not recorded");
            }
            fuzz::require(!pieces.contains(argument.name) && !answered.contains(argument.name), "nor are its pieces");
        }
    }
    return 0;
}
