#include "platform/Security.h"

#include "platform/Exception.h"
#include "platform/OsVersion.h"

#include <aclapi.h>

namespace kal {

namespace {

enum ThrowSite : uint32_t { getDaclFailed = 66, setSecurityInfoFailed = 84, setObjectSecurityFailed = 102 };

} // namespace

Security::Security()
    : attributes_{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}, enabled_(OsVersion::instance().isNtPlatform()) {}

void Security::doApply(HANDLE kernelObject) {
    if (!enabled_) {
        return;
    }
    if (!SetKernelObjectSecurity(kernelObject, DACL_SECURITY_INFORMATION, attributes_.lpSecurityDescriptor)) {
        throwLastError("Security::doApply() SetKernelObjectSecurity failed ", ".\\Security", setObjectSecurityFailed);
    }
}

void Security::doApply(HKEY registryKey) {
    if (!enabled_) {
        return;
    }
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL *list = nullptr;
    if (!GetSecurityDescriptorDacl(attributes_.lpSecurityDescriptor, &present, &list, &defaulted)) {
        throwLastError("Security::doApply() GetSecurityDescriptorDacl failed ", ".\\Security", getDaclFailed);
    }
    const DWORD result =
        SetSecurityInfo(registryKey, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, list, nullptr);
    if (result != ERROR_SUCCESS) {
        throw Win32Exception("Security::doApply() SetSecurityInfo failed ", result, ".\\Security",
                             setSecurityInfoFailed);
    }
}

} // namespace kal
