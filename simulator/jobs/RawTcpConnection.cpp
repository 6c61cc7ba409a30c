#include "simulator/jobs/RawTcpConnection.h"

#include <algorithm>
#include <string>

#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>

namespace simulator {

namespace {

constexpr uint32_t couldNotReach = ERROR_NOT_FOUND;
constexpr uint32_t broken = ERROR_BUSY;
constexpr uint32_t stalled = ERROR_TIMEOUT;

enum class Wait { readable, writable };

/// @return whether the socket became ready in time. A failed connection counts as ready.
bool waitFor(SOCKET socket, Wait wait, uint32_t timeoutMs) noexcept {
    fd_set ready;
    FD_ZERO(&ready);
    fd_set failed;
    FD_ZERO(&failed);
    ready.fd_array[ready.fd_count++] = socket;
    failed.fd_array[failed.fd_count++] = socket;
    timeval timeout{static_cast<long>(timeoutMs / 1000), static_cast<long>(timeoutMs % 1000 * 1000)};
    return select(0, wait == Wait::readable ? &ready : nullptr, wait == Wait::writable ? &ready : nullptr, &failed,
                  &timeout) > 0;
}

int pendingError(SOCKET socket) noexcept {
    int error = 0;
    int size = sizeof error;
    getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&error), &size);
    return error;
}

bool connectTo(SOCKET socket, const addrinfo &address, uint32_t timeoutMs) noexcept {
    u_long isNonBlocking = 1;
    ioctlsocket(socket, static_cast<long>(FIONBIO), &isNonBlocking);
    if (::connect(socket, address.ai_addr, static_cast<int>(address.ai_addrlen)) == 0) {
        return true;
    }
    return WSAGetLastError() == WSAEWOULDBLOCK && waitFor(socket, Wait::writable, timeoutMs) &&
           pendingError(socket) == 0;
}

} // namespace

uint32_t RawTcpConnection::connect() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        return couldNotReach;
    }
    isStarted_ = true;
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    addrinfo *addresses = nullptr;
    if (getaddrinfo(target_.host.c_str(), std::to_string(target_.port).c_str(), &hints, &addresses) != 0) {
        close();
        return couldNotReach;
    }
    bool isConnected = false;
    for (const auto *address = addresses; address && !isConnected; address = address->ai_next) {
        socket_ = ::socket(address->ai_family, address->ai_socktype, address->ai_protocol);
        isConnected = socket_ != INVALID_SOCKET && connectTo(socket_, *address, target_.connectTimeoutMs);
        if (!isConnected && socket_ != INVALID_SOCKET) {
            closesocket(socket_);
            socket_ = INVALID_SOCKET;
        }
    }
    freeaddrinfo(addresses);
    if (!isConnected) {
        close();
        return couldNotReach;
    }
    return ERROR_SUCCESS;
}

/// Reads and ignores what the printer sends. @return whether the connection is still open.
bool RawTcpConnection::isTaken() const noexcept {
    for (;;) {
        char ignored[512];
        const int received = recv(socket_, ignored, sizeof ignored, 0);
        if (received <= 0) {
            return received < 0 && WSAGetLastError() == WSAEWOULDBLOCK;
        }
    }
}

uint32_t RawTcpConnection::send(const void *data, uint32_t count) noexcept {
    const auto *bytes = static_cast<const char *>(data);
    while (count > 0) {
        if (!isTaken()) {
            return broken;
        }
        constexpr uint32_t largestPiece = 1 << 16;
        const int sent = ::send(socket_, bytes, static_cast<int>(std::min(count, largestPiece)), 0);
        if (sent >= 0) {
            bytes += sent;
            count -= static_cast<uint32_t>(sent);
            continue;
        }
        if (WSAGetLastError() != WSAEWOULDBLOCK) {
            return broken;
        }
        if (!waitFor(socket_, Wait::writable, target_.sendTimeoutMs)) {
            return stalled;
        }
    }
    return ERROR_SUCCESS;
}

uint32_t RawTcpConnection::finish() noexcept {
    if (!isTaken() || shutdown(socket_, SD_SEND) != 0) {
        return broken;
    }
    for (;;) {
        if (!waitFor(socket_, Wait::readable, target_.endTimeoutMs)) {
            return stalled;
        }
        char ignored[512]; // data that the printer sends
        const int received = recv(socket_, ignored, sizeof ignored, 0);
        if (received == 0) {
            close();
            return ERROR_SUCCESS;
        }
        if (received < 0 && WSAGetLastError() != WSAEWOULDBLOCK) {
            return broken;
        }
    }
}

void RawTcpConnection::abort() noexcept {
    if (socket_ != INVALID_SOCKET) {
        const linger breakAtOnce{1, 0};
        setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&breakAtOnce), sizeof breakAtOnce);
    }
    close();
}

void RawTcpConnection::close() noexcept {
    if (socket_ != INVALID_SOCKET) {
        closesocket(socket_);
        socket_ = INVALID_SOCKET;
    }
    if (isStarted_) {
        WSACleanup();
        isStarted_ = false;
    }
}

} // namespace simulator
