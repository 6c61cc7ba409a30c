#include "platform/SecurityEveryone.h"

#include "platform/Exception.h"

#include <cstdint>
#include <span>

namespace kal {

namespace {

enum ThrowSite : uint32_t {
    initializeDescriptorFailed = 60,
    allocateSidFailed = 79,
    getAceFailed = 92,
    sidInvalid = 115,
    initializeAclFailed = 137,
    addAceFailed = 143,
    setDaclFailed = 149
};

static_assert(sizeof(SECURITY_DESCRIPTOR) == 40 && sizeof(SECURITY_ATTRIBUTES) == 24);

constexpr const char *file = ".\\SecurityEveryone";
// Deliberate: five calls that can fail share one message and differ in the line number, which support staff know.
constexpr const char *descriptorFailed = "SecurityEveryone::SecurityEveryone() InitializeSecurityDescriptor failed";

/// Size of an access list with one access-allowed entry per SID.
uint32_t accessListSize(std::span<PSID const> sids) {
    uint32_t size = sizeof(ACL);
    for (PSID const sid : sids) {
        if (!IsValidSid(sid)) {
            throwLastError("SecurityEveryone::SecurityEveryone() IsValidSid failed", file, sidInvalid);
        }
        size += static_cast<uint32_t>(sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + GetLengthSid(sid));
    }
    return size;
}

} // namespace

SecurityEveryone::SecurityEveryone(bool inheritable) {
    if (enabled_) {
        makeDescriptor();
        makeSid();
        makeAccessList();
        if (inheritable) {
            makeInheritable();
        }
    }
    attributes_.lpSecurityDescriptor = descriptor_.get();
}

void SecurityEveryone::makeDescriptor() {
    descriptor_ = std::make_unique<SECURITY_DESCRIPTOR>();
    if (!InitializeSecurityDescriptor(descriptor_.get(), SECURITY_DESCRIPTOR_REVISION)) {
        throwLastError(descriptorFailed, file, initializeDescriptorFailed);
    }
}

void SecurityEveryone::makeSid() {
    SID_IDENTIFIER_AUTHORITY world = {{0, 0, 0, 0, 0, 1}};
    PSID sid = nullptr;
    if (!AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &sid)) {
        throwLastError("SecurityEveryone::setSecurityIdEveryone() AllocateAndInitializeSid failed", file,
                       allocateSidFailed);
    }
    sid_.reset(sid);
}

void SecurityEveryone::makeAccessList() {
    PSID const sids[] = {sid_.get()};
    const uint32_t size = accessListSize(sids);
    acl_ = std::make_unique<std::byte[]>(size);
    ACL *const list = reinterpret_cast<ACL *>(acl_.get());
    if (!InitializeAcl(list, size, ACL_REVISION)) {
        throwLastError(descriptorFailed, file, initializeAclFailed);
    }
    if (!AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, sid_.get())) {
        throwLastError(descriptorFailed, file, addAceFailed);
    }
    if (!SetSecurityDescriptorDacl(descriptor_.get(), TRUE, list, FALSE)) {
        throwLastError(descriptorFailed, file, setDaclFailed);
    }
}

void SecurityEveryone::makeInheritable() {
    void *entry = nullptr;
    if (!GetAce(reinterpret_cast<ACL *>(acl_.get()), 0, &entry)) {
        throwLastError(descriptorFailed, file, getAceFailed);
    }
    ACE_HEADER &header = *static_cast<ACE_HEADER *>(entry);
    header.AceFlags = static_cast<BYTE>(header.AceFlags | CONTAINER_INHERIT_ACE);
}

} // namespace kal
