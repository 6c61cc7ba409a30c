#include "settings/RegistryKey64.h"

#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"
#include "tests/unit/settings/ScratchKey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

using namespace kal;
using namespace kal::test;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

constexpr char file[] = ".\\RegistryKey64";
constexpr REGSAM view64 = 256;

using OpenSignature = LSTATUS(HKEY, LPCSTR, DWORD, REGSAM, PHKEY);
using CreateSignature = LSTATUS(HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD);
using QuerySignature = LSTATUS(HKEY, LPCSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD);
using SetSignature = LSTATUS(HKEY, LPCSTR, DWORD, DWORD, const BYTE *, DWORD);
using EnumKeySignature = LSTATUS(HKEY, DWORD, LPSTR, LPDWORD, LPDWORD, LPSTR, LPDWORD, PFILETIME);
using EnumValueSignature = LSTATUS(HKEY, DWORD, LPSTR, LPDWORD, LPDWORD, LPDWORD, LPBYTE, LPDWORD);
using DeleteKeySignature = LSTATUS(HKEY, LPCSTR);

class RegistryKey : public testing::Test {
  protected:
    RegistryKey() { key.open(scratch.path(), false, HKEY_CURRENT_USER); }

    template <class Value>
    std::optional<Value> read(const std::string &name) {
        Value value{};
        return key.getValue(name, value) ? std::optional<Value>(value) : std::nullopt;
    }
    template <class Value>
    Thrown thrownByRead(const std::string &name) {
        return thrownBy([&] { read<Value>(name); });
    }

    using Bytes = std::vector<uint8_t>;

    ScratchKey scratch;
    RegistryKey64 key{KEY_ALL_ACCESS};
};

/// The masks with which keys are opened and created.
class Masks {
  public:
    std::vector<REGSAM> opened, created;

  private:
    ImportHook<"RegOpenKeyExA", OpenSignature> open_{
        GetModuleHandleA(nullptr), [this](HKEY root, LPCSTR path, DWORD options, REGSAM mask, PHKEY key) {
            opened.push_back(mask);
            return open_.original(root, path, options, mask, key);
        }};
    ImportHook<"RegCreateKeyExA", CreateSignature> create_{
        GetModuleHandleA(nullptr), [this](HKEY root, LPCSTR path, DWORD reserved, LPSTR type, DWORD options,
                                          REGSAM mask, LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition) {
            created.push_back(mask);
            return create_.original(root, path, reserved, type, options, mask, security, key, disposition);
        }};
};

} // namespace

TEST(RegistryKeyOpening, KeyWhoseReopeningFailsIsClosedOnce) {
    ScratchKey scratch;
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    {
        RegistryKey64 key(KEY_READ);
        key.open(scratch.path(), false, HKEY_CURRENT_USER);
        EXPECT_EQ(key.tryOpen((scratch.path() + "\\missing").c_str(), HKEY_CURRENT_USER), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(memberAt<HKEY>(key, 8), nullptr);
    }
    EXPECT_EQ(closed.calls(), 1);
}

TEST(RegistryKeyOpening, MembersAreHandleThenMask) {
    RegistryKey64 key(31);
    EXPECT_EQ(memberAt<HKEY>(key, 8), nullptr);
    EXPECT_EQ(memberAt<REGSAM>(key, 16), 31 | view64);
}

TEST(RegistryKeyOpening, SlotsAreSetMaskThenOpen) {
    ScratchKey scratch;
    RegistryKey64 key(KEY_READ);
    operationSlot<void(RegistryKey64 *, REGSAM)>(key, 1)(&key, 31);
    EXPECT_EQ(key.access(), 31 | view64);
    operationSlot<void(RegistryKey64 *, const std::string &, bool, HKEY)>(key, 2)(&key, scratch.path(), false,
                                                                                  HKEY_CURRENT_USER);
    EXPECT_TRUE(key.isOpen());
}

TEST(RegistryKeyOpening, MaskIsThatOfReadingUnlessTold) {
    EXPECT_EQ(RegistryKey64().access(), KEY_READ | view64);
}

TEST(RegistryKeyOpening, MaskGainsThe64BitView) {
    ScratchKey scratch;
    Masks masks;
    RegistryKey64 key(31);
    key.open(scratch.path(), false, HKEY_CURRENT_USER);
    EXPECT_THAT(masks.opened, ElementsAre(31 | view64));
}

TEST(RegistryKeyOpening, MaskSetLaterGainsThe64BitView) {
    ScratchKey scratch;
    Masks masks;
    RegistryKey64 key(31);
    key.setAccess(KEY_READ);
    key.open(scratch.path(), false, HKEY_CURRENT_USER);
    EXPECT_THAT(masks.opened, ElementsAre(KEY_READ | view64));
}

TEST(RegistryKeyOpening, CreationUsesTheSameMask) {
    ScratchKey scratch;
    Masks masks;
    RegistryKey64 key(31);
    key.open(scratch.pathOf("new"), true, HKEY_CURRENT_USER);
    EXPECT_THAT(masks.created, ElementsAre(31 | view64));
}

TEST(RegistryKeyOpening, WhatIsBelowACreatedKeyInheritsItsAccess) {
    ScratchKey scratch;
    BYTE inheritance = 0;
    const ImportHook<"RegCreateKeyExA", CreateSignature> create(
        GetModuleHandleA(nullptr),
        [&](HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES security, PHKEY, LPDWORD) -> LSTATUS {
            BOOL isPresent = FALSE;
            BOOL isDefault = FALSE;
            ACL *entries = nullptr;
            void *entry = nullptr;
            if (GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &isPresent, &entries, &isDefault) != 0 &&
                GetAce(entries, 0, &entry) != 0) {
                inheritance = static_cast<ACE_HEADER *>(entry)->AceFlags;
            }
            return ERROR_ACCESS_DENIED;
        });
    RegistryKey64 key(31);
    EXPECT_THROW(key.open(scratch.pathOf("new"), true, HKEY_CURRENT_USER), Win32Exception);
    EXPECT_EQ(inheritance & CONTAINER_INHERIT_ACE, CONTAINER_INHERIT_ACE);
}

TEST(RegistryKeyOpening, ExistingKeyIsNotCreatedAnew) {
    ScratchKey scratch;
    Masks masks;
    RegistryKey64 key(31);
    key.open(scratch.path(), true, HKEY_CURRENT_USER);
    EXPECT_TRUE(masks.created.empty());
}

TEST(RegistryKeyOpening, MissingKeyWithoutCreationThrows) {
    ScratchKey scratch;
    RegistryKey64 key;
    EXPECT_EQ(thrownBy([&] { key.open(scratch.pathOf("missing"), false, HKEY_CURRENT_USER); }),
              (Thrown{"RegistryKey64::regOpenKeyEx()", 2, file, 566}));
    EXPECT_FALSE(key.isOpen());
}

TEST(RegistryKeyOpening, RefusedKeyWithoutCreationThrows) {
    ScratchKey scratch;
    FailingCall<"RegOpenKeyExA", OpenSignature> open(ERROR_ACCESS_DENIED, 99);
    RegistryKey64 key;
    EXPECT_EQ(thrownBy([&] { key.open(scratch.path(), false, HKEY_CURRENT_USER); }),
              (Thrown{"RegistryKey64::regOpenKeyEx()", 5, file, 566}));
}

TEST(RegistryKeyOpening, MissingKeyWithCreationIsMadeWithItsParents) {
    ScratchKey scratch;
    RegistryKey64 key(31);
    key.open(scratch.pathOf("one\\two\\three"), true, HKEY_CURRENT_USER);
    EXPECT_TRUE(key.isOpen());
    EXPECT_TRUE(scratch.hasKey("one\\two\\three"));
}

TEST(RegistryKeyOpening, AnyFailureToOpenIsAnsweredByCreation) {
    ScratchKey scratch;
    FailingCall<"RegOpenKeyExA", OpenSignature> open(ERROR_ACCESS_DENIED, 0);
    RegistryKey64 key(31);
    EXPECT_NO_THROW(key.open(scratch.path(), true, HKEY_CURRENT_USER));
    EXPECT_TRUE(key.isOpen());
}

TEST(RegistryKeyOpening, CreationThatFailsThrows) {
    ScratchKey scratch;
    FailingCall<"RegCreateKeyExA", CreateSignature> create(ERROR_ACCESS_DENIED, 99);
    RegistryKey64 key(31);
    EXPECT_EQ(thrownBy([&] { key.open(scratch.pathOf("new"), true, HKEY_CURRENT_USER); }),
              (Thrown{"RegistryKey64::regCreateKeyEx()", 5, file, 591}));
}

TEST(RegistryKeyOpening, HandleIsClosedByTheDestructorOnce) {
    ScratchKey scratch;
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    {
        RegistryKey64 key;
        key.open(scratch.path(), false, HKEY_CURRENT_USER);
    }
    EXPECT_EQ(closed.calls(), 1);
}

TEST(RegistryKeyOpening, KeyNeverOpenedIsNotClosed) {
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    { RegistryKey64 key; }
    EXPECT_EQ(closed.calls(), 0);
}

TEST(RegistryKeyOpening, OpeningAnewClosesTheFormerKey) {
    ScratchKey scratch;
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    {
        RegistryKey64 key;
        key.open(scratch.path(), false, HKEY_CURRENT_USER);
        key.open(scratch.path(), false, HKEY_CURRENT_USER);
    }
    EXPECT_EQ(closed.calls(), 2);
}

TEST(RegistryKeyOpening, TryOpenAnswersTheCodeInsteadOfThrowing) {
    ScratchKey scratch;
    RegistryKey64 key(31);
    EXPECT_EQ(key.tryOpen(scratch.pathOf("missing").c_str(), HKEY_CURRENT_USER), 2);
    EXPECT_FALSE(key.isOpen());
    EXPECT_EQ(key.tryOpen(scratch.path().c_str(), HKEY_CURRENT_USER), 0);
    EXPECT_TRUE(key.isOpen());
}

TEST_F(RegistryKey, NumberIsRead) {
    scratch.setNumber("number", 0xFFFFFFFE);
    EXPECT_EQ(read<uint32_t>("number"), 0xFFFFFFFEu);
}

TEST_F(RegistryKey, MissingNumberIsFalseAndLeavesTheOutput) {
    uint32_t value = 77;
    EXPECT_FALSE(key.getValue("missing", value));
    EXPECT_EQ(value, 77u);
}

TEST_F(RegistryKey, NumberThatCannotBeReadThrows) {
    FailingCall<"RegQueryValueExA", QuerySignature> query(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownByRead<uint32_t>("number"), (Thrown{"RegistryKey64::getValue(ulong)", 5, file, 200}));
}

TEST_F(RegistryKey, NumberStoredAsAShortStringThrowsWithTheQuerysCode) {
    scratch.setText("number", "1");
    EXPECT_EQ(thrownByRead<uint32_t>("number"),
              (Thrown{"RegistryKey64::getValue(ulong) : incorrect value type", 0, file, 200}));
}

TEST_F(RegistryKey, NumberStoredAsFourBytesThrows) {
    scratch.setRaw("number", REG_BINARY, "1234");
    EXPECT_EQ(thrownByRead<uint32_t>("number"),
              (Thrown{"RegistryKey64::getValue(ulong) : incorrect value type", 0, file, 200}));
}

TEST_F(RegistryKey, NumberStoredAsALongStringThrows) {
    scratch.setText("number", "a text longer than a number");
    const Thrown thrown = thrownByRead<uint32_t>("number");
    EXPECT_EQ(thrown.message, "RegistryKey64::getValue(ulong) : incorrect value type");
    EXPECT_EQ(thrown.line, 200u);
}

TEST_F(RegistryKey, NumberOfMoreThanFourBytesThrows) {
    scratch.setRaw("number", REG_DWORD, std::string(8, '\1'));
    const Thrown thrown = thrownByRead<uint32_t>("number");
    EXPECT_EQ(thrown, (Thrown{"RegistryKey64::getValue(ulong)", ERROR_MORE_DATA, file, 200}));
}

TEST_F(RegistryKey, NumberOfNoBytesIsZero) {
    scratch.setRaw("number", REG_DWORD, "");
    EXPECT_EQ(read<uint32_t>("number"), 0u);
}

TEST_F(RegistryKey, NumberOfTwoBytesHasNoOthers) {
    scratch.setRaw("number", REG_DWORD, std::string("\x34\x12"));
    EXPECT_EQ(read<uint32_t>("number"), 0x1234u);
}

TEST_F(RegistryKey, StringIsRead) {
    scratch.setText("text", "words with blanks");
    EXPECT_EQ(read<std::string>("text"), "words with blanks");
}

TEST_F(RegistryKey, ExpandableStringIsReadAsItStands) {
    scratch.setRaw("text", REG_EXPAND_SZ, std::string("%TEMP%\\file") + '\0');
    EXPECT_EQ(read<std::string>("text"), "%TEMP%\\file");
}

TEST_F(RegistryKey, MissingStringIsFalseAndLeavesTheOutput) {
    std::string value = "before";
    EXPECT_FALSE(key.getValue("missing", value));
    EXPECT_EQ(value, "before");
}

TEST_F(RegistryKey, EmptyStringIsFoundEmpty) {
    scratch.setText("text", "");
    EXPECT_EQ(read<std::string>("text"), "");
}

TEST_F(RegistryKey, StringOfNoBytesIsFoundEmpty) {
    scratch.setRaw("text", REG_SZ, "");
    EXPECT_EQ(read<std::string>("text"), "");
}

TEST_F(RegistryKey, StringWithoutTerminatorIsReadWhole) {
    scratch.setRaw(L"text", REG_SZ, std::wstring(L"open end"));
    EXPECT_EQ(read<std::string>("text"), "open end");
}

TEST_F(RegistryKey, StringEndsAtItsFirstZero) {
    scratch.setRaw("text", REG_SZ, std::string("first\0second", 13));
    EXPECT_EQ(read<std::string>("text"), "first");
}

TEST_F(RegistryKey, LongStringIsReadWhole) {
    const std::string text(20000, 'x');
    scratch.setText("text", text);
    EXPECT_EQ(read<std::string>("text"), text);
}

TEST_F(RegistryKey, StringWhoseSizeCannotBeReadThrows) {
    FailingCall<"RegQueryValueExA", QuerySignature> query(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownByRead<std::string>("text"), (Thrown{"RegistryKey64::getValue() ", 5, file, 234}));
}

TEST_F(RegistryKey, StringWhoseDataCannotBeReadThrows) {
    scratch.setText("text", "words");
    FailingCall<"RegQueryValueExA", QuerySignature> query(ERROR_MORE_DATA, 99, 2);
    EXPECT_EQ(thrownByRead<std::string>("text"),
              (Thrown{"RegistryKey64::getValue(string) ", ERROR_MORE_DATA, file, 251}));
}

TEST_F(RegistryKey, StringDeletedBetweenItsSizeAndItsDataIsMissing) {
    key.setValue("text", std::string("value"));
    FailingCall<"RegQueryValueExA", QuerySignature> query(ERROR_FILE_NOT_FOUND, 0, 2);
    EXPECT_EQ(read<std::string>("text"), std::nullopt);
    EXPECT_EQ(query.calls(), 2);
}

TEST_F(RegistryKey, StringThatShrankBetweenItsSizeAndItsDataIsReadAsItIs) {
    key.setValue("text", std::string("a long value"));
    ImportHook<"RegQueryValueExA", QuerySignature> query(
        GetModuleHandleA(nullptr),
        [&](HKEY handle, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
            if (query.calls() == 2)
                key.setValue("text", std::string("short"));
            return query.original(handle, name, reserved, type, data, size);
        });
    EXPECT_EQ(read<std::string>("text"), "short");
}

TEST_F(RegistryKey, StringStoredAsANumberThrowsWithTheQuerysCode) {
    scratch.setNumber("text", 1);
    const Thrown thrown = thrownByRead<std::string>("text");
    EXPECT_TRUE(thrown.message.starts_with("RegistryKey64::getValue(") &&
                thrown.message.ends_with(" : incorrect value type"))
        << thrown.message;
    EXPECT_EQ(thrown.code, 0u);
    EXPECT_EQ(thrown.file, file);
}

TEST_F(RegistryKey, BytesAreRead) {
    scratch.setRaw("bytes", REG_BINARY, std::string("\0\xFF\0", 3));
    EXPECT_EQ(read<Bytes>("bytes"), (Bytes{0, 0xFF, 0}));
}

TEST_F(RegistryKey, NoBytesAreFoundEmpty) {
    scratch.setRaw("bytes", REG_BINARY, "");
    EXPECT_EQ(read<Bytes>("bytes"), Bytes{});
}

TEST_F(RegistryKey, MissingBytesAreFalseAndLeaveTheOutput) {
    Bytes value{1, 2};
    EXPECT_FALSE(key.getValue("missing", value));
    EXPECT_EQ(value, (Bytes{1, 2}));
}

TEST_F(RegistryKey, BytesWhoseSizeCannotBeReadThrow) {
    FailingCall<"RegQueryValueExA", QuerySignature> query(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownByRead<Bytes>("bytes"), (Thrown{"RegistryKey64::getValue(binary)", 5, file, 484}));
}

TEST_F(RegistryKey, BytesWhoseDataCannotBeReadThrow) {
    scratch.setRaw("bytes", REG_BINARY, "words");
    FailingCall<"RegQueryValueExA", QuerySignature> query(ERROR_MORE_DATA, 99, 2);
    EXPECT_EQ(thrownByRead<Bytes>("bytes"), (Thrown{"RegistryKey64::getValue(binary)", ERROR_MORE_DATA, file, 484}));
}

TEST_F(RegistryKey, BytesThatShrankBetweenTheirSizeAndTheirDataAreReadAsTheyAre) {
    scratch.setRaw("bytes", REG_BINARY, "a long value");
    ImportHook<"RegQueryValueExA", QuerySignature> query(
        GetModuleHandleA(nullptr),
        [&](HKEY handle, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
            if (query.calls() == 2)
                scratch.setRaw("bytes", REG_BINARY, "ab");
            return query.original(handle, name, reserved, type, data, size);
        });
    EXPECT_EQ(read<Bytes>("bytes"), (Bytes{'a', 'b'}));
}

TEST_F(RegistryKey, BytesStoredAsAStringThrow) {
    scratch.setText("bytes", "1");
    EXPECT_EQ(thrownByRead<Bytes>("bytes"),
              (Thrown{"RegistryKey64::getValue(binary) : incorrect value type", 0, file, 484}));
}

TEST_F(RegistryKey, ValueOfALongNameIsRead) {
    const std::string name(255, 'n');
    scratch.setNumber(name, 4);
    EXPECT_EQ(read<uint32_t>(name), 4u);
}

TEST_F(RegistryKey, NumberIsWritten) {
    key.setValue("number", 0x01020304u);
    EXPECT_EQ(scratch.value("number"), (ScratchKey::Value{REG_DWORD, "\4\3\2\1"}));
}

TEST_F(RegistryKey, StringIsWrittenWithItsTerminator) {
    key.setValue("text", std::string("words"));
    EXPECT_EQ(scratch.value("text"), (ScratchKey::Value{REG_SZ, std::string("words\0", 6)}));
}

TEST_F(RegistryKey, BytesAreWritten) {
    const uint8_t bytes[] = {0, 9, 0};
    key.setValue("bytes", bytes, 3);
    EXPECT_EQ(scratch.value("bytes"), (ScratchKey::Value{REG_BINARY, std::string("\0\t\0", 3)}));
}

TEST_F(RegistryKey, NumberThatCannotBeWrittenThrows) {
    FailingCall<"RegSetValueExA", SetSignature> set(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownBy([&] { key.setValue("number", 1u); }),
              (Thrown{"RegistryKey64::setValue(ulong): Unable to set ", 5, file, 276}));
}

TEST_F(RegistryKey, StringThatCannotBeWrittenThrows) {
    FailingCall<"RegSetValueExA", SetSignature> set(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownBy([&] { key.setValue("text", std::string("x")); }),
              (Thrown{"RegistryKey64::setValue(string): Unable to set ", 5, file, 298}));
}

TEST_F(RegistryKey, BytesThatCannotBeWrittenThrowTheStringsMessage) {
    FailingCall<"RegSetValueExA", SetSignature> set(ERROR_ACCESS_DENIED, 99);
    const uint8_t byte = 1;
    EXPECT_EQ(thrownBy([&] { key.setValue("bytes", &byte, 1); }),
              (Thrown{"RegistryKey64::setValue(string): Unable to set ", 5, file, 513}));
}

TEST_F(RegistryKey, ValueIsDeleted) {
    scratch.setNumber("number", 1);
    key.deleteValue("number");
    EXPECT_EQ(scratch.value("number").type, static_cast<DWORD>(REG_NONE));
}

TEST_F(RegistryKey, ValueThatCannotBeDeletedThrows) {
    FailingCall<"RegDeleteValueA", LSTATUS(HKEY, LPCSTR)> deletion(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownBy([&] { key.deleteValue("number"); }), (Thrown{"RegistryKey64::deleteValue()", 5, file, 147}));
}

TEST_F(RegistryKey, MissingValueCannotBeDeleted) {
    EXPECT_EQ(thrownBy([&] { key.deleteValue("missing"); }), (Thrown{"RegistryKey64::deleteValue()", 2, file, 147}));
}

TEST_F(RegistryKey, ChildrenAreNamed) {
    scratch.makeKey("b");
    scratch.makeKey("a\\below");
    EXPECT_THAT(key.getChildrenNames(), UnorderedElementsAre("a", "b"));
}

TEST_F(RegistryKey, NoChildrenAreNoNames) {
    scratch.setNumber("value", 1);
    EXPECT_TRUE(key.getChildrenNames().empty());
}

TEST_F(RegistryKey, LongestChildNameIsNamedWhole) {
    const std::string name(255, 'k');
    scratch.makeKey(name);
    EXPECT_THAT(key.getChildrenNames(), ElementsAre(name));
}

TEST_F(RegistryKey, ChildrenAreNamedUpToTheLimit) {
    for (const char *name : {"a", "b", "c"})
        scratch.makeKey(name);
    EXPECT_EQ(key.getChildrenNames(2).size(), 2u);
}

TEST_F(RegistryKey, ChildrenAreAskedForByRisingIndexWithAFreshSize) {
    scratch.makeKey("first");
    scratch.makeKey("second");
    std::vector<DWORD> indices, sizes;
    ImportHook<"RegEnumKeyExA", EnumKeySignature> enumeration(
        GetModuleHandleA(nullptr), [&](HKEY parent, DWORD index, LPSTR name, LPDWORD size, LPDWORD reserved, LPSTR type,
                                       LPDWORD typeSize, PFILETIME time) {
            indices.push_back(index);
            sizes.push_back(*size);
            return enumeration.original(parent, index, name, size, reserved, type, typeSize, time);
        });
    static_cast<void>(key.getChildrenNames());
    EXPECT_THAT(indices, ElementsAre(0, 1, 2));
    EXPECT_THAT(sizes, ElementsAre(260, 260, 260));
}

TEST_F(RegistryKey, ChildrenWhoseEnumerationFailsMidwayThrow) {
    scratch.makeKey("a");
    scratch.makeKey("b");
    FailingCall<"RegEnumKeyExA", EnumKeySignature> enumeration(ERROR_ACCESS_DENIED, 99, 2);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(key.getChildrenNames()); }),
              (Thrown{"RegistryKey64::getChildrenNames()", 5, file, 98}));
}

TEST_F(RegistryKey, ValuesAreNamed) {
    scratch.setNumber("number", 1);
    scratch.setText("text", "x");
    scratch.makeKey("key");
    EXPECT_THAT(key.getValueNames(), UnorderedElementsAre("number", "text"));
}

TEST_F(RegistryKey, ValueNameOf255CharactersIsNamedWhole) {
    const std::string name(255, 'v');
    scratch.setNumber(name, 1);
    EXPECT_THAT(key.getValueNames(), ElementsAre(name));
}

TEST_F(RegistryKey, ValueNameLongerThanTheBufferThrows) {
    scratch.setNumber(std::string(300, 'v'), 1);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(key.getValueNames()); }),
              (Thrown{"RegistryKey64:getValueNames()", ERROR_MORE_DATA, file, 131}));
}

TEST_F(RegistryKey, ValuesWhoseEnumerationFailsMidwayThrow) {
    scratch.setNumber("a", 1);
    scratch.setNumber("b", 1);
    FailingCall<"RegEnumValueA", EnumValueSignature> enumeration(ERROR_ACCESS_DENIED, 99, 2);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(key.getValueNames()); }),
              (Thrown{"RegistryKey64:getValueNames()", 5, file, 131}));
}

TEST(RecursiveDeletion, TakesTheKeyWithEverythingBelow) {
    ScratchKey scratch;
    scratch.makeKey("top\\one\\deep\\deeper");
    scratch.makeKey("top\\two");
    scratch.makeKey("beside");
    RegistryKey64::recurseDeleteKey("top", scratch.key());
    EXPECT_FALSE(scratch.hasKey("top"));
    EXPECT_TRUE(scratch.hasKey("beside"));
}

TEST(RecursiveDeletion, MissingKeyIsNoFailure) {
    ScratchKey scratch;
    EXPECT_NO_THROW(RegistryKey64::recurseDeleteKey("missing", scratch.key()));
}

TEST(RecursiveDeletion, OpensWithItsMaskAsItStands) {
    ScratchKey scratch;
    scratch.makeKey("top\\below");
    Masks masks;
    RegistryKey64::recurseDeleteKey("top", scratch.key());
    EXPECT_THAT(masks.opened, ElementsAre(31, 31));
}

TEST(RecursiveDeletion, ChildOfALongNameIsDeleted) {
    ScratchKey scratch;
    scratch.makeKey("top\\" + std::string(255, 'k'));
    RegistryKey64::recurseDeleteKey("top", scratch.key());
    EXPECT_FALSE(scratch.hasKey("top"));
}

TEST(RecursiveDeletion, RefusedKeyThrows) {
    ScratchKey scratch;
    FailingCall<"RegOpenKeyExA", OpenSignature> open(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownBy([&] { RegistryKey64::recurseDeleteKey("top", scratch.key()); }),
              (Thrown{"RegistryKey64::recurseDeleteKey() RegOpenKey()", 5, file, 323}));
}

TEST(RecursiveDeletion, KeyThatCannotBeDeletedThrows) {
    ScratchKey scratch;
    scratch.makeKey("top");
    FailingCall<"RegDeleteKeyA", DeleteKeySignature> deletion(ERROR_ACCESS_DENIED, 99);
    EXPECT_EQ(thrownBy([&] { RegistryKey64::recurseDeleteKey("top", scratch.key()); }),
              (Thrown{"RegistryKey64::recurseDeleteKey() RegDeleteKey()", 5, file, 347}));
}

TEST(RecursiveDeletion, ChildThatCannotBeDeletedStopsItAndClosesAllKeys) {
    ScratchKey scratch;
    scratch.makeKey("top\\below");
    CountedCall<"RegOpenKeyExA", OpenSignature> opened;
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    FailingCall<"RegDeleteKeyA", DeleteKeySignature> deletion(ERROR_ACCESS_DENIED, 99);
    EXPECT_THROW(RegistryKey64::recurseDeleteKey("top", scratch.key()), Win32Exception);
    EXPECT_EQ(deletion.calls(), 1);
    EXPECT_EQ(opened.calls(), closed.calls());
}

TEST(RecursiveDeletion, EnumerationThatFailsEndsTheChildrenOnly) {
    ScratchKey scratch;
    scratch.makeKey("top");
    FailingCall<"RegEnumKeyExA", EnumKeySignature> enumeration(ERROR_ACCESS_DENIED, 99);
    RegistryKey64::recurseDeleteKey("top", scratch.key());
    EXPECT_FALSE(scratch.hasKey("top"));
}

/// Ends an enumeration that would never end.
class BoundedEnumeration {
  public:
    static constexpr int bound = 1000;
    [[nodiscard]] int calls() const { return enumeration_.calls(); }

  private:
    ImportHook<"RegEnumKeyExA", EnumKeySignature> enumeration_{
        GetModuleHandleA(nullptr),
        [this](HKEY parent, DWORD index, LPSTR name, LPDWORD size, LPDWORD reserved, LPSTR type, LPDWORD typeSize,
               PFILETIME time) -> LSTATUS {
            if (calls() > bound)
                return ERROR_NO_MORE_ITEMS;
            return enumeration_.original(parent, index, name, size, reserved, type, typeSize, time);
        }};
};

/// No code page for narrow names has these letters, so their names cannot be given back to the system.
TEST(RecursiveDeletion, ChildrenThatCannotBeNamedAreLeftAndTheOthersGo) {
    ScratchKey scratch;
    scratch.makeKey("top\\after\\deep");
    scratch.makeKey("top\\!before");
    for (const wchar_t *name : {L"top\\\u1200", L"top\\\u1201"}) {
        HKEY child = nullptr;
        ASSERT_EQ(RegCreateKeyW(scratch.key(), name, &child), ERROR_SUCCESS);
        RegCloseKey(child);
    }
    const BoundedEnumeration enumeration;
    EXPECT_EQ(thrownBy([&] { RegistryKey64::recurseDeleteKey("top", scratch.key()); }),
              (Thrown{"RegistryKey64::recurseDeleteKey() RegDeleteKey()", 5, file, 347}));
    EXPECT_LT(enumeration.calls(), 100);
    EXPECT_FALSE(scratch.hasKey("top\\!before"));
    EXPECT_FALSE(scratch.hasKey("top\\after"));
    DWORD left = 0;
    HKEY top = nullptr;
    ASSERT_EQ(RegOpenKeyA(scratch.key(), "top", &top), ERROR_SUCCESS);
    RegQueryInfoKeyA(top, nullptr, nullptr, nullptr, &left, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr);
    RegCloseKey(top);
    EXPECT_EQ(left, 2u);
    for (const wchar_t *name : {L"top\\\u1200", L"top\\\u1201"})
        RegDeleteKeyW(scratch.key(), name);
}

class RecursiveDeletionOfSoftware : public testing::TestWithParam<const char *> {};

TEST_P(RecursiveDeletionOfSoftware, LosesItsChildrenButStays) {
    ScratchKey scratch;
    scratch.makeKey(std::string(GetParam()) + "\\one\\deep");
    RegistryKey64::recurseDeleteKey(GetParam(), scratch.key());
    EXPECT_TRUE(scratch.hasKey(GetParam()));
    EXPECT_FALSE(scratch.hasKey(std::string(GetParam()) + "\\one"));
}

TEST_P(RecursiveDeletionOfSoftware, BelowAnotherKeyDoesNotKeepTheDeletionRunning) {
    ScratchKey scratch;
    scratch.makeKey("top\\" + std::string(GetParam()) + "\\deep");
    const BoundedEnumeration enumeration;
    try {
        RegistryKey64::recurseDeleteKey("top", scratch.key());
    } catch (const Win32Exception &) {
        // a parent that still has a child may refuse to go
    }
    EXPECT_LT(enumeration.calls(), 100);
    EXPECT_TRUE(scratch.hasKey("top\\" + std::string(GetParam())));
    EXPECT_FALSE(scratch.hasKey("top\\" + std::string(GetParam()) + "\\deep"));
}

INSTANTIATE_TEST_SUITE_P(AnyCase, RecursiveDeletionOfSoftware, testing::Values("SOFTWARE", "Software", "sOfTwArE"));

TEST(RecursiveDeletion, NameThatOnlyBeginsLikeSoftwareGoes) {
    ScratchKey scratch;
    scratch.makeKey("Software2");
    RegistryKey64::recurseDeleteKey("Software2", scratch.key());
    EXPECT_FALSE(scratch.hasKey("Software2"));
}
