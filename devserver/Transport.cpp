#include "Transport.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(5);
constexpr auto kDrainTime = std::chrono::seconds(1);
constexpr short kClientLeft = POLLRDHUP;

int MillisecondsUntil(Clock::time_point due) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, 60'000));
}

}  // namespace

StopSignal::StopSignal() : handle_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (handle_ < 0) {
        std::abort();
    }
}

StopSignal::~StopSignal() {
    close(handle_);
}

void StopSignal::Set() {
    eventfd_write(handle_, 1);
}

bool StopSignal::IsSet() const {
    pollfd wait{handle_, POLLIN, 0};
    return poll(&wait, 1, 0) > 0;
}

Transport::Transport(int socket, const StopSignal& stop) : socket_(socket), stop_(stop) {
    fcntl(socket_, F_SETFL, fcntl(socket_, F_GETFL) | O_NONBLOCK);
    // The last bytes of an answer are sent on their own and must not wait for an acknowledgement.
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Transport::~Transport() {
    SSL_free(tls_);
    close(socket_);
}

/// True when one of `events`, an error or the other side's end is there; false at the time limit
/// and when the server stops.
bool Transport::Wait(short events, Clock::time_point due, bool forEver) {
    for (;;) {
        pollfd waits[] = {{socket_, events, 0}, {stop_.Handle(), POLLIN, 0}};
        const int ready = poll(waits, 2, forEver ? -1 : MillisecondsUntil(due));
        if (ready < 0 && errno != EINTR) {
            return false;
        }
        if (ready <= 0) {
            if (!forEver && Clock::now() >= due) {
                return false;
            }
            continue;
        }
        return waits[1].revents == 0;
    }
}

/// Waits for what the TLS library asked for; false when it asked for nothing.
bool Transport::WaitAfter(int tlsResult) {
    const int wanted = SSL_get_error(tls_, tlsResult);
    if (wanted != SSL_ERROR_WANT_READ && wanted != SSL_ERROR_WANT_WRITE) {
        return false;
    }
    return Wait(wanted == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT, Clock::now() + kPatience);
}

int Transport::PeekFirstByte() {
    unsigned char first = 0;
    if (!Wait(POLLIN, Clock::now() + kPatience)) {
        return -1;
    }
    return recv(socket_, &first, 1, MSG_PEEK) == 1 ? first : -1;
}

bool Transport::StartTls(SSL_CTX* context) {
    tls_ = SSL_new(context);
    if (tls_ == nullptr || SSL_set_fd(tls_, socket_) != 1) {
        return false;
    }
    for (;;) {
        ERR_clear_error();
        const int result = SSL_accept(tls_);
        if (result == 1) {
            return true;
        }
        if (!WaitAfter(result)) {
            return false;
        }
    }
}

ssize_t Transport::Read(char* data, size_t size) {
    for (;;) {
        if (tls_ != nullptr) {
            ERR_clear_error();
            const int got = SSL_read(tls_, data, static_cast<int>(std::min<size_t>(size, 1 << 30)));
            if (got > 0) {
                return got;
            }
            if (SSL_get_error(tls_, got) == SSL_ERROR_ZERO_RETURN) {
                return 0;
            }
            if (!WaitAfter(got)) {
                return -1;
            }
        } else {
            const ssize_t got = recv(socket_, data, size, 0);
            if (got >= 0) {
                return got;
            }
            if (errno != EAGAIN && errno != EINTR) {
                return -1;
            }
            if (!Wait(POLLIN, Clock::now() + kPatience)) {
                return -1;
            }
        }
    }
}

bool Transport::WriteAll(const char* data, size_t size) {
    while (size > 0) {
        ssize_t sent = 0;
        if (tls_ != nullptr) {
            ERR_clear_error();
            sent = SSL_write(tls_, data, static_cast<int>(std::min<size_t>(size, 1 << 30)));
            if (sent <= 0 && !WaitAfter(static_cast<int>(sent))) {
                return false;
            }
        } else {
            sent = send(socket_, data, size, MSG_NOSIGNAL);
            if (sent < 0 && errno != EAGAIN && errno != EINTR) {
                return false;
            }
            if (sent < 0 && !Wait(POLLOUT, Clock::now() + kPatience)) {
                return false;
            }
        }
        if (sent > 0) {
            data += sent;
            size -= static_cast<size_t>(sent);
        }
    }
    return true;
}

bool Transport::PauseUntil(Clock::time_point due) {
    return !Wait(kClientLeft, due) && !stop_.IsSet();
}

void Transport::WaitForClientToLeave() {
    Wait(kClientLeft, {}, true);
}

void Transport::EndStream(bool notifyTls) {
    if (tls_ != nullptr && notifyTls) {
        ERR_clear_error();
        SSL_shutdown(tls_);
    }
    shutdown(socket_, SHUT_WR);
    const auto due = Clock::now() + kDrainTime;
    char rest[16384];
    for (;;) {
        const ssize_t got = recv(socket_, rest, sizeof rest, 0);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            return;
        }
        if (got < 0 ? !Wait(POLLIN, due) : Clock::now() >= due) {
            return;
        }
    }
}

void Transport::ResetOnClose() {
    const linger abortive{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
}
