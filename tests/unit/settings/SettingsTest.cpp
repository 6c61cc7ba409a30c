#include "settings/Settings.h"

#include "platform/Exception.h"
#include "settings/KeyPaths.h"
#include "settings/Localize.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/VirtualTable.h"
#include "tests/unit/settings/ModuleName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace kal;
using namespace kal::test;
using testing::ElementsAre;

namespace {

using OpenSignature = LSTATUS(HKEY, LPCSTR, DWORD, REGSAM, PHKEY);
using EnumKeySignature = LSTATUS(HKEY, DWORD, LPSTR, LPDWORD, LPDWORD, LPSTR, LPDWORD, PFILETIME);

void makeKey(const std::string &path) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | KEY_WOW64_64KEY,
                              nullptr, &key, nullptr),
              0);
    RegCloseKey(key);
}

bool hasKey(const std::string &path) {
    HKEY key = nullptr;
    const bool opened = RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &key) == 0;
    if (opened)
        RegCloseKey(key);
    return opened;
}

Localize localizeOf(const std::string &fileName) {
    ModuleName name("C:\\Product\\" + fileName);
    return Localize(GetModuleHandleA(nullptr));
}

/// The settings of a library with this file name, on the test's private machine.
class SettingsOf {
  public:
    explicit SettingsOf(const std::string &fileName = "kalclient.dll") : localize(localizeOf(fileName)) {}

    std::string local(const std::string &subkey = "") const { return localize.root(0) + subkey; }
    std::string shared(const std::string &subkey = "") const { return localize.root(1) + subkey; }

    Localize localize;
    Settings settings{localize};
};

class ProductSettings : public testing::Test {
  protected:
    PrivateMachine machine;
    SettingsOf own;
    Settings &settings = own.settings;
};

/// The system folder is a folder of the test's.
class SystemFolder {
  public:
    SystemFolder()
        : hook_(GetModuleHandleA(nullptr), [this](LPSTR buffer, UINT size) -> UINT {
              size_ = size;
              const std::string path = folder_.path().string();
              lstrcpynA(buffer, path.c_str(), static_cast<int>(size));
              return static_cast<UINT>(path.size());
          }) {}

    void addFile(const std::string &name) const { folder_.write(name, "driver"); }
    UINT bufferSize() const { return size_; }

  private:
    TemporaryFolder folder_;
    UINT size_ = 0;
    ImportHook<"GetSystemDirectoryA", UINT(LPSTR, UINT)> hook_;
};

} // namespace

TEST_F(ProductSettings, PresentLocalRootIsKeyPresent) {
    EXPECT_TRUE(settings.keyPresent());
}

TEST_F(ProductSettings, LocalRootIsOpenedWithTheMaskOf31And64BitView) {
    std::vector<REGSAM> masks;
    std::vector<std::string> paths;
    ImportHook<"RegOpenKeyExA", OpenSignature> open(GetModuleHandleA(nullptr),
                                                    [&](HKEY root, LPCSTR path, DWORD options, REGSAM mask, PHKEY key) {
                                                        masks.push_back(mask);
                                                        paths.emplace_back(path);
                                                        return open.original(root, path, options, mask, key);
                                                    });
    Settings other(own.localize);
    EXPECT_THAT(masks, ElementsAre(31 | 256));
    EXPECT_THAT(paths, ElementsAre(own.local()));
}

TEST_F(ProductSettings, MissingLocalRootIsNotPresentAndNotMade) {
    machine.removeKey();
    Settings other(own.localize);
    EXPECT_FALSE(other.keyPresent());
    EXPECT_FALSE(hasKey(own.local()));
}

TEST_F(ProductSettings, RefusedLocalRootIsNotPresent) {
    FailingCall<"RegOpenKeyExA", OpenSignature> open(ERROR_ACCESS_DENIED, 99);
    Settings other(own.localize);
    EXPECT_FALSE(other.keyPresent());
}

TEST_F(ProductSettings, WithoutLocalRootReadsFindNothing) {
    machine.removeKey();
    Settings other(own.localize);
    uint32_t value = 77;
    EXPECT_FALSE(other.read("Settings\\", "Inbox", value, localRoot));
    EXPECT_EQ(value, 77u);
}

TEST_F(ProductSettings, ReopenSeesAKeyThatWasMadeMeanwhile) {
    machine.removeKey();
    Settings other(own.localize);
    makeKey(own.local());
    other.reopen();
    EXPECT_TRUE(other.keyPresent());
}

TEST_F(ProductSettings, ReopenSeesAKeyThatWasRemovedMeanwhile) {
    machine.removeKey();
    settings.reopen();
    EXPECT_FALSE(settings.keyPresent());
}

TEST_F(ProductSettings, KeyIsClosedAtTheEnd) {
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    { Settings other(own.localize); }
    EXPECT_EQ(closed.calls(), 1);
}

TEST_F(ProductSettings, SelectorNamesTheRoot) {
    EXPECT_EQ(settings.keyPath("Settings\\", 0), own.local("Settings\\"));
    EXPECT_EQ(settings.keyPath("PrinterStore", 1), own.shared("PrinterStore"));
    EXPECT_TRUE(settings.keyPath("", 2).starts_with("Software\\VeltroTemp\\temp"));
    EXPECT_TRUE(settings.keyPath("", 0xFFFFFFFF).starts_with("Software\\VeltroTemp\\temp"));
}

TEST_F(ProductSettings, WrittenValueLiesUnderItsRoot) {
    settings.write("Settings\\", "Inbox", 1u, sharedRoot);
    DWORD value = 0, size = sizeof value;
    EXPECT_EQ(RegGetValueA(HKEY_LOCAL_MACHINE, own.shared("Settings").c_str(), "Inbox", RRF_RT_REG_DWORD, nullptr,
                           &value, &size),
              0);
    EXPECT_EQ(value, 1u);
}

TEST_F(ProductSettings, OwnBrandIsRecognised) {
    EXPECT_TRUE(settings.isBrandRecognised());
}

TEST_F(ProductSettings, BrandOfNobodyIsNotRecognised) {
    EXPECT_FALSE(SettingsOf("zz.dll").settings.isBrandRecognised());
}

TEST_F(ProductSettings, UpperCaseFileNameHasTheSameKeys) {
    EXPECT_TRUE(SettingsOf("KALCLIENT.DLL").settings.keyPresent());
}

TEST_F(ProductSettings, LibraryOfNobodyKeepsItsSettingsUnderTheFallback) {
    makeKey("Software\\Veltro Tools\\Orx\\Local\\zz.d");
    EXPECT_TRUE(SettingsOf("zz.dll").settings.keyPresent());
}

TEST_F(ProductSettings, InboxIsOffByDefault) {
    EXPECT_FALSE(settings.isInbox());
}

TEST_F(ProductSettings, InboxIsOnAboveZero) {
    settings.write("Settings\\", "Inbox", 1u, localRoot);
    EXPECT_TRUE(settings.isInbox());
}

TEST_F(ProductSettings, InboxOfTheHighestNumberIsOn) {
    settings.write("Settings\\", "Inbox", 0xFFFFFFFFu, localRoot);
    EXPECT_TRUE(settings.isInbox());
}

TEST_F(ProductSettings, InboxIsOffAtZero) {
    settings.write("Settings\\", "Inbox", 0u, localRoot);
    EXPECT_FALSE(settings.isInbox());
}

TEST_F(ProductSettings, StoresAreRemovedWhenAskedFor) {
    makeKey(own.shared("PrinterStore\\device\\deep"));
    makeKey(own.shared("ScannerStore\\device"));
    makeKey(own.shared("Other"));
    settings.write("Settings\\", "DeleteStoreOnUninstall", 1u, localRoot);
    EXPECT_TRUE(settings.removeStores());
    EXPECT_FALSE(hasKey(own.shared("PrinterStore")));
    EXPECT_FALSE(hasKey(own.shared("ScannerStore")));
    EXPECT_TRUE(hasKey(own.shared("Other")));
}

TEST_F(ProductSettings, StoresStayWhenNotAskedFor) {
    makeKey(own.shared("PrinterStore\\device"));
    EXPECT_FALSE(settings.removeStores());
    EXPECT_TRUE(hasKey(own.shared("PrinterStore\\device")));
}

TEST_F(ProductSettings, StoresStayAtZero) {
    makeKey(own.shared("PrinterStore\\device"));
    settings.write("Settings\\", "DeleteStoreOnUninstall", 0u, localRoot);
    EXPECT_FALSE(settings.removeStores());
    EXPECT_TRUE(hasKey(own.shared("PrinterStore\\device")));
}

TEST_F(ProductSettings, MissingStoresAreRemovedQuietly) {
    settings.write("Settings\\", "DeleteStoreOnUninstall", 1u, localRoot);
    EXPECT_NO_THROW(EXPECT_TRUE(settings.removeStores()));
}

TEST_F(ProductSettings, OfTheNetworkPrintersAHundredAreListedBeforeStoresAreRemoved) {
    for (int number = 0; number < 103; ++number)
        makeKey(own.shared("Ip1\\Settings\\" + std::to_string(number)));
    settings.write("Settings\\", "DeleteStoreOnUninstall", 1u, localRoot);
    int listed = 0;
    const ImportHook<"RegEnumKeyExA", EnumKeySignature> list(
        GetModuleHandleA(nullptr), [&](HKEY key, DWORD index, char *name, DWORD *size, DWORD *reserved, char *kind,
                                       DWORD *kindSize, FILETIME *time) {
            ++listed;
            return list.original(key, index, name, size, reserved, kind, kindSize, time);
        });
    EXPECT_TRUE(settings.removeStores());
    EXPECT_EQ(listed, 100);
}

TEST_F(ProductSettings, StoresAreNotRemovedFromARegistryThatCannotBeListed) {
    makeKey(own.shared("Ip1\\Settings"));
    settings.write("Settings\\", "DeleteStoreOnUninstall", 1u, localRoot);
    const FailingCall<"RegEnumKeyExA", EnumKeySignature> list(ERROR_ACCESS_DENIED, 99);
    EXPECT_THROW(settings.removeStores(), Win32Exception);
}

TEST_F(ProductSettings, HbnTransportWithoutEntryIsNotUsable) {
    SystemFolder system;
    system.addFile("kalchbn3.dll");
    EXPECT_FALSE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, HbnTransportWithoutDriverIsNotUsable) {
    makeKey(own.local("Transports\\Network\\HBN3"));
    SystemFolder system;
    EXPECT_FALSE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, HbnTransportWithEntryAndDriverIsUsable) {
    makeKey(own.local("Transports\\Network\\HBN3"));
    SystemFolder system;
    system.addFile("kalchbn3.dll");
    EXPECT_TRUE(settings.isHbnTransportUsable());
    EXPECT_EQ(system.bufferSize(), 261u);
}

TEST_F(ProductSettings, OlderHbnTransportIsUsableToo) {
    makeKey(own.local("Transports\\Network\\HBN1"));
    SystemFolder system;
    system.addFile("kalchbn1.dll");
    EXPECT_TRUE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, DriverOfTheOtherHbnTransportDoesNotCount) {
    makeKey(own.local("Transports\\Network\\HBN1"));
    SystemFolder system;
    system.addFile("kalchbn3.dll");
    EXPECT_FALSE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, HbnEntryIsComparedOnFourCharacters) {
    makeKey(own.local("Transports\\Network\\HBN3 second"));
    SystemFolder system;
    system.addFile("kalchbn3.dll");
    EXPECT_TRUE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, NewerHbnTransportIsTheOneLookedAt) {
    makeKey(own.local("Transports\\Network\\HBN1"));
    makeKey(own.local("Transports\\Network\\HBN3"));
    SystemFolder system;
    system.addFile("kalchbn1.dll");
    EXPECT_FALSE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, HbnDriverThatCannotBeOpenedForReadingDoesNotCount) {
    makeKey(own.local("Transports\\Network\\HBN3"));
    SystemFolder system;
    system.addFile("kalchbn3.dll");
    FailingCall<"CreateFileA", HANDLE(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)> open(
        INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(settings.isHbnTransportUsable());
    EXPECT_EQ(open.calls(), 1);
}

TEST_F(ProductSettings, HbnDriverIsOpenedForReadingWithOtherReaders) {
    makeKey(own.local("Transports\\Network\\HBN3"));
    DWORD asked[4] = {};
    ImportHook<"CreateFileA", HANDLE(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)> open(
        GetModuleHandleA(nullptr),
        [&](LPCSTR, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD attributes, HANDLE) {
            asked[0] = access;
            asked[1] = share;
            asked[2] = disposition;
            asked[3] = attributes;
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_FALSE(settings.isHbnTransportUsable());
    EXPECT_THAT(asked, ElementsAre(GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
}

TEST_F(ProductSettings, HbnDriverWithoutASystemFolderIsLookedForInTheDrivesRoot) {
    makeKey(own.local("Transports\\Network\\HBN3"));
    FailingCall<"GetSystemDirectoryA", UINT(LPSTR, UINT)> system(0, ERROR_NOT_ENOUGH_MEMORY);
    std::vector<std::string> lookedFor;
    ImportHook<"CreateFileA", HANDLE(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)> open(
        GetModuleHandleA(nullptr), [&](LPCSTR path, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
            lookedFor.emplace_back(path);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_FALSE(settings.isHbnTransportUsable());
    EXPECT_EQ(system.calls(), 1);
    EXPECT_THAT(lookedFor, ElementsAre("\\kalchbn3.dll"));
}

TEST_F(ProductSettings, DriverOfAnotherBrandDoesNotCount) {
    makeKey(own.local("Transports\\Network\\HBN3"));
    SystemFolder system;
    system.addFile("kalxhbn3.dll");
    EXPECT_FALSE(settings.isHbnTransportUsable());
}

TEST_F(ProductSettings, UnknownDeviceIsNotFound) {
    EXPECT_EQ(settings.findSupportedDevice("Printer 1"), 1168u);
}

TEST_F(ProductSettings, ListedDeviceIsFound) {
    settings.write("Runtime\\SupportedDevices\\", "Printer 1", 0u, localRoot);
    EXPECT_EQ(settings.findSupportedDevice("Printer 1"), 0u);
    EXPECT_EQ(settings.findSupportedDevice("Printer 2"), 1168u);
}

TEST_F(ProductSettings, SlotsBehindTheInheritedOnes) {
    using Self = Settings;
    settings.write("Settings\\", "Inbox", 1u, localRoot);
    EXPECT_FALSE(operationSlot<bool(Self *)>(settings, 12)(&settings));
    EXPECT_EQ((operationSlot<std::string(const Self *, const std::string &, uint32_t)>(settings, 13)(&settings, "", 1)),
              own.shared());
    EXPECT_TRUE(operationSlot<bool(const Self *)>(settings, 14)(&settings));
    machine.removeKey();
    operationSlot<void(Self *)>(settings, 15)(&settings);
    EXPECT_FALSE(operationSlot<bool(const Self *)>(settings, 14)(&settings));
    EXPECT_TRUE(operationSlot<bool(const Self *)>(settings, 16)(&settings));
    EXPECT_FALSE(operationSlot<bool(const Self *)>(settings, 17)(&settings));
    settings.write("Settings\\", "Inbox", 1u, localRoot);
    EXPECT_TRUE(operationSlot<bool(const Self *)>(settings, 17)(&settings));
    EXPECT_FALSE(operationSlot<bool(const Self *)>(settings, 18)(&settings));
    EXPECT_EQ((operationSlot<uint32_t(const Self *, const std::string &)>(settings, 19)(&settings, "none")), 1168u);
}
