#include "settings/BasicSettings64.h"

#include "platform/Data.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"
#include "tests/unit/settings/ScratchKey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace kal;
using namespace kal::test;
using testing::ElementsAre;

namespace {

using Bytes = std::vector<uint8_t>;
using OpenSignature = LSTATUS(HKEY, LPCSTR, DWORD, REGSAM, PHKEY);
using SetSignature = LSTATUS(HKEY, LPCSTR, DWORD, DWORD, const BYTE *, DWORD);

const std::string subkeyPath = "Sub\\";
const std::string valueName = "Name";

class BasicSettings : public testing::Test {
  protected:
    BasicSettings() { scratch.makeKey("Base"); }

    ScratchKey::Value stored(const std::string &value = valueName) const { return scratch.value(value, "Base\\Sub"); }
    void makeSubkey() const { scratch.makeKey("Base\\Sub"); }

    ScratchKey scratch;
    std::string basePath = scratch.pathOf("Base\\");
    BasicSettings64 settings{HKEY_CURRENT_USER, basePath, "kalx", 31};
};

std::string bytesOf(uint32_t number) {
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

Data dataOf(const std::string &bytes) {
    Data data;
    data.append(reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    return data;
}

} // namespace

TEST_F(BasicSettings, KeyPathIsTheBaseAndTheSubkeyWhateverTheSelector) {
    EXPECT_EQ(settings.keyPath("Sub\\", 0), basePath + "Sub\\");
    EXPECT_EQ(settings.keyPath("", 7), basePath);
}

TEST_F(BasicSettings, WrittenNumberIsStoredBelowTheBase) {
    settings.write(subkeyPath, valueName, 5u, 0);
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_DWORD, bytesOf(5)}));
}

TEST_F(BasicSettings, WrittenStringIsStoredBelowTheBase) {
    settings.write(subkeyPath, valueName, std::string("text"), 0);
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_SZ, std::string("text\0", 5)}));
}

TEST_F(BasicSettings, WritingMakesParentsThatAreMissing) {
    settings.write("one\\two\\three\\", valueName, 5u, 0);
    EXPECT_TRUE(scratch.hasKey("Base\\one\\two\\three"));
}

TEST_F(BasicSettings, NumberIsReadBack) {
    settings.write(subkeyPath, valueName, 5u, 0);
    uint32_t value = 0;
    EXPECT_TRUE(settings.read(subkeyPath, valueName, value, 0));
    EXPECT_EQ(value, 5u);
}

TEST_F(BasicSettings, StringIsReadBack) {
    settings.write(subkeyPath, valueName, std::string("text"), 0);
    std::string value;
    EXPECT_TRUE(settings.read(subkeyPath, valueName, value, 0));
    EXPECT_EQ(value, "text");
}

TEST_F(BasicSettings, ReadOfAMissingValueLeavesTheOutput) {
    makeSubkey();
    uint32_t value = 77;
    EXPECT_FALSE(settings.read(subkeyPath, valueName, value, 0));
    EXPECT_EQ(value, 77u);
}

TEST_F(BasicSettings, ReadOfAMissingSubkeyFindsNothingAndMakesNothing) {
    uint32_t number = 77;
    std::string text = "before";
    Bytes bytes{1};
    EXPECT_FALSE(settings.read(subkeyPath, valueName, number, 0));
    EXPECT_FALSE(settings.read(subkeyPath, valueName, text, 0));
    EXPECT_FALSE(settings.read(subkeyPath, valueName, bytes, 0));
    EXPECT_EQ(number, 77u);
    EXPECT_EQ(text, "before");
    EXPECT_EQ(bytes, Bytes{1});
    EXPECT_FALSE(scratch.hasKey("Base\\Sub"));
}

TEST_F(BasicSettings, ReadOfAnotherTypeThrows) {
    settings.write(subkeyPath, valueName, std::string("1"), 0);
    uint32_t value = 0;
    EXPECT_EQ(thrownBy([&] { static_cast<void>(settings.read(subkeyPath, valueName, value, 0)); }).message,
              "RegistryKey64::getValue(ulong) : incorrect value type");
}

TEST_F(BasicSettings, ReadsOpenWithTheReadMask) {
    makeSubkey();
    std::vector<REGSAM> masks;
    ImportHook<"RegOpenKeyExA", OpenSignature> open(GetModuleHandleA(nullptr),
                                                    [&](HKEY root, LPCSTR path, DWORD options, REGSAM mask, PHKEY key) {
                                                        masks.push_back(mask);
                                                        return open.original(root, path, options, mask, key);
                                                    });
    uint32_t value = 0;
    EXPECT_FALSE(settings.read(subkeyPath, valueName, value, 0));
    EXPECT_THAT(masks, ElementsAre(0x20019 | 256));
}

TEST_F(BasicSettings, WritesOpenWithTheObjectsMask) {
    makeSubkey();
    std::vector<REGSAM> masks;
    ImportHook<"RegOpenKeyExA", OpenSignature> open(GetModuleHandleA(nullptr),
                                                    [&](HKEY root, LPCSTR path, DWORD options, REGSAM mask, PHKEY key) {
                                                        masks.push_back(mask);
                                                        return open.original(root, path, options, mask, key);
                                                    });
    settings.write(subkeyPath, valueName, 1u, 0);
    EXPECT_THAT(masks, ElementsAre(31 | 256));
}

TEST_F(BasicSettings, EachOperationClosesWhatItOpened) {
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    settings.write(subkeyPath, valueName, 1u, 0);
    const int afterWriting = closed.calls();
    uint32_t value = 0;
    EXPECT_TRUE(settings.read(subkeyPath, valueName, value, 0));
    EXPECT_EQ(afterWriting, 1);
    EXPECT_EQ(closed.calls(), 2);
}

TEST_F(BasicSettings, ReadOrCreateOfAPresentNumberLeavesIt) {
    settings.write(subkeyPath, valueName, 5u, 0);
    uint32_t value = 0;
    EXPECT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, 9, 0));
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_DWORD, bytesOf(5)}));
}

TEST_F(BasicSettings, ReadOrCreateOfAMissingNumberStoresTheDefault) {
    uint32_t value = 0;
    EXPECT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, 9, 0));
    EXPECT_EQ(value, 9u);
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_DWORD, bytesOf(9)}));
}

TEST_F(BasicSettings, ReadOrCreateOfAMissingStringStoresTheDefault) {
    std::string value;
    EXPECT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, std::string("default"), 0));
    EXPECT_EQ(value, "default");
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_SZ, std::string("default\0", 8)}));
}

TEST_F(BasicSettings, ReadOrCreateOfMissingBytesStoresTheUnreadOnesOfTheDefault) {
    Data data = dataOf("read, unread");
    data.skip(6, false);
    Bytes value;
    EXPECT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, data, 0));
    EXPECT_EQ(std::string(value.begin(), value.end()), "unread");
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_BINARY, "unread"}));
}

TEST_F(BasicSettings, ReadOrCreateOfPresentBytesLeavesThem) {
    makeSubkey();
    Bytes value;
    ASSERT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, dataOf("first"), 0));
    ASSERT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, dataOf("second"), 0));
    EXPECT_EQ(std::string(value.begin(), value.end()), "first");
}

TEST_F(BasicSettings, ReadOrCreateWithAnEmptyDefaultStoresNoBytes) {
    Bytes value{1};
    EXPECT_TRUE(settings.readOrCreate(subkeyPath, valueName, value, Data(), 0));
    EXPECT_TRUE(value.empty());
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_BINARY, ""}));
}

TEST_F(BasicSettings, ReadOrCreateWithoutBaseKeyWritesNothing) {
    const std::string missing = scratch.pathOf("Missing\\");
    BasicSettings64 elsewhere(HKEY_CURRENT_USER, missing, "kalx", 31);
    uint32_t value = 77;
    EXPECT_FALSE(elsewhere.readOrCreate(subkeyPath, valueName, value, 9, 0));
    EXPECT_EQ(value, 77u);
    EXPECT_FALSE(scratch.hasKey("Missing"));
}

TEST_F(BasicSettings, ReadOrCreateThatCannotWriteIsFalseWithTheCodeAsLastError) {
    FailingCall<"RegSetValueExA", SetSignature> set(ERROR_WRITE_PROTECT, 99);
    SetLastError(0);
    uint32_t value = 0;
    EXPECT_FALSE(settings.readOrCreate(subkeyPath, valueName, value, 9, 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_PROTECT));
}

TEST_F(BasicSettings, ReadOrCreateOfAStringThatCannotWriteIsFalseWithTheCodeAsLastError) {
    FailingCall<"RegSetValueExA", SetSignature> set(ERROR_WRITE_PROTECT, 99);
    std::string value;
    EXPECT_FALSE(settings.readOrCreate(subkeyPath, valueName, value, std::string("x"), 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_PROTECT));
}

TEST_F(BasicSettings, ReadOrCreateOfBytesThatCannotWriteIsFalseWithTheCodeAsLastError) {
    FailingCall<"RegSetValueExA", SetSignature> set(ERROR_WRITE_PROTECT, 99);
    Bytes value;
    EXPECT_FALSE(settings.readOrCreate(subkeyPath, valueName, value, dataOf("x"), 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_PROTECT));
}

TEST_F(BasicSettings, ReadOrCreateOfAnotherTypeIsFalse) {
    settings.write(subkeyPath, valueName, std::string("1"), 0);
    uint32_t value = 77;
    EXPECT_FALSE(settings.readOrCreate(subkeyPath, valueName, value, 9, 0));
    EXPECT_EQ(stored(), (ScratchKey::Value{REG_SZ, std::string("1\0", 2)}));
}

TEST_F(BasicSettings, ValueNamesAreThoseOfTheSubkey) {
    settings.write(subkeyPath, "one", 1u, 0);
    EXPECT_THAT(settings.valueNames(subkeyPath, 0), ElementsAre("one"));
}

TEST_F(BasicSettings, SubkeyIsDeletedWithEverythingBelow) {
    scratch.makeKey("Base\\Sub\\deep");
    settings.deleteKey("Sub", 0);
    EXPECT_FALSE(scratch.hasKey("Base\\Sub"));
    EXPECT_TRUE(scratch.hasKey("Base"));
}

TEST_F(BasicSettings, DeletingAMissingSubkeyIsQuiet) {
    EXPECT_NO_THROW(settings.deleteKey("Sub", 0));
}

TEST_F(BasicSettings, ValueIsDeleted) {
    settings.write(subkeyPath, valueName, 1u, 0);
    settings.deleteValue(subkeyPath, valueName, 0);
    EXPECT_EQ(stored().type, static_cast<DWORD>(REG_NONE));
}

TEST_F(BasicSettings, DeletingAValueOfAMissingSubkeyIsQuietAndMakesNone) {
    EXPECT_NO_THROW(settings.deleteValue("Missing", valueName, 0));
    EXPECT_FALSE(scratch.hasKey("Base\\Missing"));
}

TEST_F(BasicSettings, StoreRemovalDeletesEveryKeyBelowTheBase) {
    scratch.makeKey("Base\\one\\deep");
    scratch.makeKey("Base\\two");
    settings.removeStores();
    EXPECT_FALSE(scratch.hasKey("Base\\one"));
    EXPECT_FALSE(scratch.hasKey("Base\\two"));
}

TEST_F(BasicSettings, SlotsReadAndCreateFirst) {
    using Self = BasicSettings64;
    using Text = const std::string &;
    Bytes bytes;
    uint32_t number = 0;
    std::string text;
    EXPECT_TRUE((operationSlot<bool(Self *, Text, Text, Bytes &, const Data &, uint32_t)>(settings, 1)(
        &settings, subkeyPath, "bytes", bytes, dataOf("ab"), 0)));
    EXPECT_TRUE((operationSlot<bool(const Self *, Text, Text, Bytes &, uint32_t)>(settings, 2)(&settings, subkeyPath,
                                                                                               "bytes", bytes, 0)));
    EXPECT_EQ(bytes, (Bytes{'a', 'b'}));
    EXPECT_TRUE((operationSlot<bool(Self *, Text, Text, uint32_t &, uint32_t, uint32_t)>(settings, 3)(
        &settings, subkeyPath, "number", number, 3, 0)));
    EXPECT_TRUE((operationSlot<bool(const Self *, Text, Text, uint32_t &, uint32_t)>(settings, 4)(
        &settings, subkeyPath, "number", number, 0)));
    EXPECT_EQ(number, 3u);
    EXPECT_TRUE((operationSlot<bool(Self *, Text, Text, std::string &, Text, uint32_t)>(settings, 5)(
        &settings, subkeyPath, "text", text, "five", 0)));
    EXPECT_TRUE((operationSlot<bool(const Self *, Text, Text, std::string &, uint32_t)>(settings, 6)(
        &settings, subkeyPath, "text", text, 0)));
    EXPECT_EQ(text, "five");
}

TEST_F(BasicSettings, SlotsWriteListAndDeleteLast) {
    using Self = BasicSettings64;
    using Text = const std::string &;
    operationSlot<void(Self *, Text, Text, Text, uint32_t)>(settings, 7)(&settings, subkeyPath, "text", "seven", 0);
    EXPECT_EQ(stored("text").bytes, std::string("seven\0", 6));
    operationSlot<void(Self *, Text, Text, uint32_t, uint32_t)>(settings, 8)(&settings, subkeyPath, "number", 8, 0);
    EXPECT_EQ(stored("number").bytes, bytesOf(8));
    EXPECT_EQ(
        (operationSlot<std::vector<std::string>(const Self *, Text, uint32_t)>(settings, 9)(&settings, subkeyPath, 0)
             .size()),
        2u);
    operationSlot<void(Self *, Text, Text, uint32_t)>(settings, 11)(&settings, subkeyPath, "text", 0);
    EXPECT_EQ(stored("text").type, static_cast<DWORD>(REG_NONE));
    operationSlot<void(Self *, Text, uint32_t)>(settings, 10)(&settings, "Sub", 0);
    EXPECT_FALSE(scratch.hasKey("Base\\Sub"));
    scratch.makeKey("Base\\Other");
    operationSlot<bool(Self *)>(settings, 12)(&settings);
    EXPECT_FALSE(scratch.hasKey("Base\\Other"));
    EXPECT_EQ((operationSlot<std::string(const Self *, Text, uint32_t)>(settings, 13)(&settings, "path", 0)),
              basePath + "path");
}
