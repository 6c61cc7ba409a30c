#include "tests/contract/binding/BindingFixture.h"

#include <algorithm>
#include <ostream>

namespace kal::test {

namespace {

#ifdef _MSC_VER
constexpr int destructorSlots = 1;
#else
constexpr int destructorSlots = 2; // complete and deleting destructor
#endif

} // namespace

void PrintTo(const Operation &operation, std::ostream *stream) {
    *stream << operation.name;
}

const std::vector<Operation> &allOperations() {
    static const std::vector<Operation> all = {
#define OPERATION(slot, name, pattern, kinds) {slot, #name, pattern, kinds},
#include "tests/contract/binding/Operations.inc"
#undef OPERATION
    };
    return all;
}

std::vector<Operation> operationsOf(const std::string &patterns) {
    std::vector<Operation> found;
    std::ranges::copy_if(allOperations(), std::back_inserter(found), [&](const Operation &operation) {
        return patterns.find(operation.pattern) != std::string::npos;
    });
    return found;
}

uint32_t callSlot(OrxClient &client, int slot, const SlotArguments &arguments) {
    using Slot = uint32_t(OrxClient *, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);
    void *const *table = *reinterpret_cast<void *const *const *>(&client);
    auto *function = reinterpret_cast<Slot *>(table[slot - 1 + destructorSlots]);
    return function(&client, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5],
                    arguments[6]);
}

SlotArguments distinctArguments(const std::string &kinds, uint32_t handle) {
    SlotArguments words = {};
    for (size_t index = 0; index < kinds.size(); ++index) {
        if (kinds[index] == 'P')
            words[index] = 0x0000'5A5A'0000'1000 + index * 0x0101'0000'0000;
        else if (kinds[index] == 'N')
            words[index] = 0xDEAD'BEEF'9000'0001 + index;
        else
            words[index] = 0xFEED'0000'0000'0000 + handle;
    }
    return words;
}

void Binding::removeComc() {
    folder = std::make_unique<TemporaryFolder>();
    std::filesystem::copy_file(programFolder() / "comc.dll", *folder / "anchor.dll");
    const auto anchor = (*folder / "anchor.dll").string();
    HMODULE module = LoadLibraryExA(anchor.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    ASSERT_NE(module, nullptr);
    client = std::make_unique<OrxClient>(module, "", false);
    FreeLibrary(module);
}

void Binding::expectIdle() {
    EXPECT_FALSE(service.isLoaded());
    service.forgetCalls();
    const int loads = service.loads();
    ASSERT_EQ(client->acquireBinding(), 0u);
    EXPECT_EQ(service.loads(), loads + 1);
    EXPECT_EQ(service.count("OrxGetClientId"), 1u);
    client->releaseBinding();
    EXPECT_FALSE(service.isLoaded());
}

void Binding::expectReferences(int count) {
    service.forgetCalls();
    for (int left = count; left > 0; --left) {
        EXPECT_TRUE(service.isLoaded()) << left << " references should be left";
        ASSERT_EQ(client->acquireBinding(), 0u);
        EXPECT_EQ(service.count("OrxGetClientId"), 0u) << left << " references should be left";
        client->releaseBinding();
        client->releaseBinding();
    }
    expectIdle();
}

} // namespace kal::test
