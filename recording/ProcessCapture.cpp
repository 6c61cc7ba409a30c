#include "recording/ProcessCapture.h"

#include <algorithm>

// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

namespace recording {

namespace {

class Sha256 : public Digest {
  public:
    Sha256() {
        if (algorithm() == nullptr || BCryptCreateHash(algorithm(), &hash_, nullptr, 0, nullptr, 0, 0) != 0) {
            hash_ = nullptr;
        }
    }
    ~Sha256() override {
        if (hash_ != nullptr) {
            BCryptDestroyHash(hash_);
        }
    }
    Sha256(const Sha256 &) = delete;
    Sha256 &operator=(const Sha256 &) = delete;

    void add(const void *bytes, size_t count) override {
        if (hash_ != nullptr) {
            BCryptHashData(hash_, static_cast<PUCHAR>(const_cast<void *>(bytes)), static_cast<ULONG>(count), 0);
        }
    }

    std::string finish() override {
        unsigned char sum[32];
        const bool isWhole = hash_ != nullptr && BCryptFinishHash(hash_, sum, sizeof sum, 0) == 0;
        return isWhole ? hexadecimal(sum, sizeof sum) : std::string();
    }

  private:
    /// Opened once and never closed: opening it takes far longer than computing a hash.
    static BCRYPT_ALG_HANDLE algorithm() {
        static const BCRYPT_ALG_HANDLE opened = [] {
            BCRYPT_ALG_HANDLE handle = nullptr;
            return BCryptOpenAlgorithmProvider(&handle, BCRYPT_SHA256_ALGORITHM, nullptr, 0) == 0 ? handle : nullptr;
        }();
        return opened;
    }

    BCRYPT_HASH_HANDLE hash_ = nullptr;
};

} // namespace

size_t readableBytes(const void *address, size_t wanted) noexcept {
    const auto *const begin = static_cast<const char *>(address);
    const char *end = begin;
    while (end < begin + wanted) {
        MEMORY_BASIC_INFORMATION region = {};
        if (VirtualQuery(end, &region, sizeof region) == 0 || region.State != MEM_COMMIT ||
            (region.Protect & (PAGE_NOACCESS | PAGE_GUARD | PAGE_EXECUTE)) != 0) {
            break;
        }
        end = static_cast<const char *>(region.BaseAddress) + region.RegionSize;
    }
    return std::min(wanted, static_cast<size_t>(end - begin));
}

bool isExecutable(const void *address) noexcept {
    constexpr DWORD executable = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MEMORY_BASIC_INFORMATION region = {};
    return VirtualQuery(address, &region, sizeof region) != 0 && region.State == MEM_COMMIT &&
           (region.Protect & executable) != 0;
}

std::unique_ptr<Digest> newSha256() {
    return std::make_unique<Sha256>();
}

} // namespace recording
