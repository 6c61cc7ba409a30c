#include "platform/SecurityEveryone.h"

#include "platform/Mutex.h"
#include "platform/OsVersion.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gtest/gtest.h>

#include <aclapi.h>

#include <memory>

using namespace kal;
using namespace kal::test;

namespace {

/// While it lives, the running system belongs to another platform family.
class OtherPlatform {
  public:
    OtherPlatform() { record().dwPlatformId = VER_PLATFORM_WIN32_WINDOWS; }
    ~OtherPlatform() { record().dwPlatformId = VER_PLATFORM_WIN32_NT; }
    OtherPlatform(const OtherPlatform &) = delete;
    OtherPlatform &operator=(const OtherPlatform &) = delete;

  private:
    static OSVERSIONINFOEXA &record() { return const_cast<OSVERSIONINFOEXA &>(OsVersion::instance().record()); }
};

using SetKernelSecurity =
    ImportHook<"SetKernelObjectSecurity", BOOL(HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR)>;
using SetInfoSignature = DWORD(HANDLE, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID, PSID, PACL, PACL);
using AllocateSidSignature = BOOL(PSID_IDENTIFIER_AUTHORITY, BYTE, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD,
                                  DWORD, PSID *);
using GetDaclSignature = BOOL(PSECURITY_DESCRIPTOR, LPBOOL, PACL *, LPBOOL);

const HANDLE someHandle = reinterpret_cast<HANDLE>(0x1234);
const HKEY someKey = reinterpret_cast<HKEY>(0x5678);

constexpr char reusedMessage[] = "SecurityEveryone::SecurityEveryone() InitializeSecurityDescriptor failed";

Thrown thrownByConstruction(bool inheritable = false) {
    return thrownBy([=] { SecurityEveryone security(inheritable); });
}

const ACL *listOf(SecurityEveryone &security) {
    BOOL present = FALSE, defaulted = TRUE;
    ACL *list = nullptr;
    GetSecurityDescriptorDacl(security.securityAttributes()->lpSecurityDescriptor, &present, &list, &defaulted);
    EXPECT_TRUE(present);
    EXPECT_FALSE(defaulted);
    return list;
}

ACCESS_ALLOWED_ACE *onlyEntryOf(SecurityEveryone &security) {
    void *entry = nullptr;
    GetAce(const_cast<ACL *>(listOf(security)), 0, &entry);
    return static_cast<ACCESS_ALLOWED_ACE *>(entry);
}

} // namespace

TEST(Security, AttributesHaveNoDescriptorAndAreInherited) {
    Security security;
    const SECURITY_ATTRIBUTES *attributes = security.securityAttributes();
    EXPECT_EQ(attributes->nLength, 24u);
    EXPECT_EQ(attributes->lpSecurityDescriptor, nullptr);
    EXPECT_EQ(attributes->bInheritHandle, TRUE);
}

TEST(Security, MembersAreAttributesThenFlag) {
    Security security;
    EXPECT_EQ(memberAt<DWORD>(security, 8), 24u);
    EXPECT_TRUE(memberAt<bool>(security, 32));
    EXPECT_EQ(sizeof(Security), 40u);
}

TEST(SecurityEveryone, MembersAreDescriptorListSid) {
    SecurityEveryone security(false);
    EXPECT_EQ(memberAt<void *>(security, 40), security.securityAttributes()->lpSecurityDescriptor);
    EXPECT_EQ(memberAt<const void *>(security, 48), security.accessList());
    EXPECT_TRUE(IsValidSid(memberAt<PSID>(security, 56)));
}

TEST(Security, SlotsAreAttributesKernelObjectRegistryKey) {
    SecurityEveryone security(false);
    Security &base = security;
    EXPECT_EQ(operationSlot<SECURITY_ATTRIBUTES *(Security *)>(base, 1)(&base), security.securityAttributes());
    {
        SetKernelSecurity set(GetModuleHandleA(nullptr),
                              [](HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR) { return TRUE; });
        operationSlot<void(Security *, HANDLE)>(base, 2)(&base, someHandle);
        EXPECT_EQ(set.calls(), 1);
    }
    FailingCall<"SetSecurityInfo", SetInfoSignature> set(0, 0);
    operationSlot<void(Security *, HKEY)>(base, 3)(&base, someKey);
    EXPECT_EQ(set.calls(), 1);
}

TEST(SecurityEveryone, OverridesTheDestructorOnly) {
    Security base;
    SecurityEveryone derived(false);
    const auto slot = [](const Security &object, size_t operation) {
        return reinterpret_cast<void *>(operationSlot<void()>(object, operation));
    };
    for (size_t operation = 1; operation <= 3; ++operation)
        EXPECT_EQ(slot(base, operation), slot(derived, operation)) << operation;
}

TEST(SecurityEveryone, ListHasOneEntryThatAllowsEveryoneEverything) {
    SecurityEveryone security(false);
    ASSERT_EQ(listOf(security)->AceCount, 1);
    const auto *entry = onlyEntryOf(security);
    EXPECT_EQ(entry->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
    EXPECT_EQ(entry->Header.AceFlags, 0);
    EXPECT_EQ(entry->Mask, 0x10000000u);
    SID world = {SID_REVISION, 1, {SECURITY_WORLD_SID_AUTHORITY}, {SECURITY_WORLD_RID}};
    EXPECT_TRUE(EqualSid(&world, const_cast<DWORD *>(&entry->SidStart)));
}

TEST(SecurityEveryone, ListIsAsLargeAsItsOneEntry) {
    SecurityEveryone security(false);
    EXPECT_EQ(listOf(security)->AclRevision, ACL_REVISION);
    EXPECT_EQ(listOf(security)->AclSize, 8 + 8 + 12); // header, entry header with mask, SID of one sub-authority
}

TEST(SecurityEveryone, InheritableEntryIsInheritedByContainers) {
    SecurityEveryone security(true);
    EXPECT_EQ(onlyEntryOf(security)->Header.AceFlags & CONTAINER_INHERIT_ACE, CONTAINER_INHERIT_ACE);
}

TEST(SecurityEveryone, DescriptorIsAbsoluteAndValid) {
    SecurityEveryone security(false);
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    auto *descriptor = security.securityAttributes()->lpSecurityDescriptor;
    ASSERT_TRUE(IsValidSecurityDescriptor(descriptor));
    ASSERT_TRUE(GetSecurityDescriptorControl(descriptor, &control, &revision));
    EXPECT_EQ(control & SE_SELF_RELATIVE, 0);
    EXPECT_EQ(revision, 1u);
}

TEST(SecurityEveryone, OutsideTheNtFamilyThereIsNoDescriptor) {
    OtherPlatform platform;
    CountedCall<"FreeSid", PVOID(PSID)> freed;
    {
        SecurityEveryone security(true);
        EXPECT_EQ(security.securityAttributes()->lpSecurityDescriptor, nullptr);
        EXPECT_EQ(security.securityAttributes()->bInheritHandle, TRUE);
    }
    EXPECT_EQ(freed.calls(), 0);
}

TEST(SecurityEveryone, OutsideTheNtFamilyNothingIsApplied) {
    OtherPlatform platform;
    SecurityEveryone security(false);
    FailingCall<"SetKernelObjectSecurity", BOOL(HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR)> kernel(FALSE, 5);
    FailingCall<"SetSecurityInfo", SetInfoSignature> info(5, 5);
    EXPECT_NO_THROW(security.doApply(someHandle));
    EXPECT_NO_THROW(security.doApply(someKey));
    EXPECT_EQ(kernel.calls() + info.calls(), 0);
}

TEST(SecurityEveryone, StaysInertWhenThePlatformIsReadAnewLater) {
    std::unique_ptr<SecurityEveryone> security;
    {
        OtherPlatform platform;
        security = std::make_unique<SecurityEveryone>(false);
    }
    EXPECT_NO_THROW(security->doApply(someHandle));
}

TEST(SecurityEveryone, SidIsFreedOnce) {
    CountedCall<"FreeSid", PVOID(PSID)> freed;
    { SecurityEveryone security(false); }
    EXPECT_EQ(freed.calls(), 1);
}

TEST(SecurityEveryone, DescriptorThatCannotBeInitialisedThrows) {
    FailingCall<"InitializeSecurityDescriptor", BOOL(PSECURITY_DESCRIPTOR, DWORD)> call(FALSE, 1305);
    EXPECT_EQ(thrownByConstruction(), (Thrown{reusedMessage, 1305, ".\\SecurityEveryone", 60}));
}

TEST(SecurityEveryone, SidThatCannotBeMadeThrows) {
    FailingCall<"AllocateAndInitializeSid", AllocateSidSignature> call(FALSE, 1337);
    EXPECT_EQ(thrownByConstruction(),
              (Thrown{"SecurityEveryone::setSecurityIdEveryone() AllocateAndInitializeSid failed", 1337,
                      ".\\SecurityEveryone", 79}));
}

TEST(SecurityEveryone, EntryThatCannotBeReadThrows) {
    FailingCall<"GetAce", BOOL(PACL, DWORD, LPVOID *)> call(FALSE, 87);
    EXPECT_EQ(thrownByConstruction(true), (Thrown{reusedMessage, 87, ".\\SecurityEveryone", 92}));
}

TEST(SecurityEveryone, EntryIsNotReadWhenNotInheritable) {
    CountedCall<"GetAce", BOOL(PACL, DWORD, LPVOID *)> call;
    SecurityEveryone security(false);
    EXPECT_EQ(call.calls(), 0);
}

TEST(SecurityEveryone, InvalidSidThrows) {
    FailingCall<"IsValidSid", BOOL(PSID)> call(FALSE, 1337);
    EXPECT_EQ(thrownByConstruction(),
              (Thrown{"SecurityEveryone::SecurityEveryone() IsValidSid failed", 1337, ".\\SecurityEveryone", 115}));
}

TEST(SecurityEveryone, ListThatCannotBeInitialisedThrows) {
    FailingCall<"InitializeAcl", BOOL(PACL, DWORD, DWORD)> call(FALSE, 87);
    EXPECT_EQ(thrownByConstruction(), (Thrown{reusedMessage, 87, ".\\SecurityEveryone", 137}));
}

TEST(SecurityEveryone, EntryThatCannotBeAddedThrows) {
    FailingCall<"AddAccessAllowedAce", BOOL(PACL, DWORD, DWORD, PSID)> call(FALSE, 1344);
    EXPECT_EQ(thrownByConstruction(), (Thrown{reusedMessage, 1344, ".\\SecurityEveryone", 143}));
}

TEST(SecurityEveryone, ListThatCannotBeSetThrows) {
    FailingCall<"SetSecurityDescriptorDacl", BOOL(PSECURITY_DESCRIPTOR, BOOL, PACL, BOOL)> call(FALSE, 1338);
    EXPECT_EQ(thrownByConstruction(), (Thrown{reusedMessage, 1338, ".\\SecurityEveryone", 149}));
}

TEST(SecurityEveryone, SidIsFreedWhenConstructionFailsBehindIt) {
    FailingCall<"SetSecurityDescriptorDacl", BOOL(PSECURITY_DESCRIPTOR, BOOL, PACL, BOOL)> call(FALSE, 1338);
    CountedCall<"FreeSid", PVOID(PSID)> freed;
    EXPECT_THROW(SecurityEveryone security(false), Win32Exception);
    EXPECT_EQ(freed.calls(), 1);
}

TEST(Security, KernelObjectThatCannotBeSecuredThrows) {
    SecurityEveryone security(false);
    FailingCall<"SetKernelObjectSecurity", BOOL(HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR)> call(FALSE, 5);
    EXPECT_EQ(thrownBy([&] { security.doApply(someHandle); }),
              (Thrown{"Security::doApply() SetKernelObjectSecurity failed ", 5, ".\\Security", 102}));
}

TEST(Security, KernelObjectGetsTheWholeDescriptor) {
    SecurityEveryone security(false);
    HANDLE object = nullptr;
    SECURITY_INFORMATION information = 0;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    SetKernelSecurity set(GetModuleHandleA(nullptr),
                          [&](HANDLE given, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR with) {
                              object = given;
                              information = what;
                              descriptor = with;
                              return TRUE;
                          });
    security.doApply(someHandle);
    EXPECT_EQ(object, someHandle);
    EXPECT_EQ(information, 4u);
    EXPECT_EQ(descriptor, security.securityAttributes()->lpSecurityDescriptor);
}

TEST(Security, RegistryKeyWithoutReadableListThrows) {
    SecurityEveryone security(false);
    FailingCall<"GetSecurityDescriptorDacl", GetDaclSignature> call(FALSE, 1338);
    EXPECT_EQ(thrownBy([&] { security.doApply(someKey); }),
              (Thrown{"Security::doApply() GetSecurityDescriptorDacl failed ", 1338, ".\\Security", 66}));
}

TEST(Security, RegistryKeyThatCannotBeSecuredThrowsTheResultNotTheLastError) {
    SecurityEveryone security(false);
    FailingCall<"SetSecurityInfo", SetInfoSignature> call(1307, 99);
    EXPECT_EQ(thrownBy([&] { security.doApply(someKey); }),
              (Thrown{"Security::doApply() SetSecurityInfo failed ", 1307, ".\\Security", 84}));
}

TEST(Security, RegistryKeyGetsTheListAlone) {
    SecurityEveryone security(true);
    HANDLE object = nullptr;
    SE_OBJECT_TYPE objectType = SE_UNKNOWN_OBJECT_TYPE;
    SECURITY_INFORMATION information = 0;
    PSID owner = &object, group = &object;
    PACL list = nullptr, audit = reinterpret_cast<PACL>(&object);
    ImportHook<"SetSecurityInfo", SetInfoSignature> set(
        GetModuleHandleA(nullptr), [&](HANDLE given, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID givenOwner,
                                       PSID givenGroup, PACL givenList, PACL givenAudit) {
            object = given;
            objectType = type;
            information = what;
            owner = givenOwner;
            group = givenGroup;
            list = givenList;
            audit = givenAudit;
            return DWORD{0};
        });
    security.doApply(someKey);
    EXPECT_EQ(object, someKey);
    EXPECT_EQ(objectType, SE_REGISTRY_KEY);
    EXPECT_EQ(information, 4u);
    EXPECT_EQ(owner, nullptr);
    EXPECT_EQ(group, nullptr);
    EXPECT_EQ(list, security.accessList());
    EXPECT_EQ(audit, nullptr);
}

TEST(Security, RealMutexTakesTheDescriptor) {
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
    SecurityEveryone security(false);
    EXPECT_NO_THROW(security.doApply(mutex));
    CloseHandle(mutex);
}

TEST(Security, RealRegistryKeyTakesTheList) {
    const std::string name = "Software\\KalTests\\security-" + std::to_string(GetCurrentProcessId());
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, name.c_str(), &key), 0);
    SecurityEveryone security(true);
    EXPECT_NO_THROW(security.doApply(key));
    RegCloseKey(key);
    RegDeleteKeyA(HKEY_CURRENT_USER, name.c_str());
}
