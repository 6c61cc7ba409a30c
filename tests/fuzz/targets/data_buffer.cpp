// A byte buffer under any sequence of operations, compared with a plain model of it.
#include "platform/Data.h"
#include "tests/fuzz/Input.h"

namespace {

/// What the buffer holds, in two strings: what was read and what was not.
struct Model {
    std::vector<uint8_t> read;
    std::vector<uint8_t> unread;

    void skip(size_t count) {
        if (count <= unread.size()) {
            const auto end = unread.begin() + static_cast<ptrdiff_t>(count);
            read.insert(read.end(), unread.begin(), end);
            unread.erase(unread.begin(), end);
        }
    }
};

void apply(fuzz::Input &input, kal::Data &buffer, Model &model) {
    switch (input.number<uint8_t>() % 6) {
    case 0: {
        const std::vector<uint8_t> bytes = input.bytes();
        buffer.append(bytes.data(), static_cast<uint32_t>(bytes.size()));
        model.unread.insert(model.unread.end(), bytes.begin(), bytes.end());
        break;
    }
    case 1: {
        const bool compact = input.number<uint8_t>() % 2 != 0;
        const uint32_t count = input.number<uint16_t>();
        buffer.skip(count, compact);
        model.skip(count);
        if (compact) {
            model.read.clear();
        }
        break;
    }
    case 2: {
        const std::vector<uint8_t> bytes = input.bytes();
        const bool fits = bytes.size() <= model.unread.size();
        fuzz::require(buffer.overwriteTail(bytes.data(), static_cast<uint32_t>(bytes.size())) == fits,
                      "a tail is overwritten when there is one as long");
        if (fits) {
            model.skip(model.unread.size() - bytes.size());
            model.unread = bytes;
        }
        break;
    }
    case 3:
        if (model.read.size() + model.unread.size() < 4096) {
            const std::vector<uint8_t> again = model.unread;
            buffer.append(buffer);
            model.unread.insert(model.unread.end(), again.begin(), again.end());
        }
        break;
    case 4:
        buffer.reset();
        model.unread.insert(model.unread.begin(), model.read.begin(), model.read.end());
        model.read.clear();
        break;
    default:
        buffer.clear();
        model = {};
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    kal::Data buffer;
    Model model;
    while (!input.isEmpty()) {
        apply(input, buffer, model);
        fuzz::require(buffer.remaining() == model.unread.size(), "unread bytes are counted");
        fuzz::require(std::equal(model.unread.begin(), model.unread.end(), buffer.current()), "and are those");
    }
    return 0;
}
