#include "Connection.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr size_t kInputSize = 16 * 1024;
constexpr size_t kHoldBack = 64 * 1024;
// A paced answer moves on so many times a second.
constexpr uint64_t kSlowSteps = 20;

thread_local Connection* currentConnection = nullptr;

}  // namespace

Connection::Connection(Transport& transport, RequestLog& log, const std::string& scheme)
    : transport_(transport), log_(log) {
    entry.time = CurrentTimeText();
    entry.scheme = scheme;
    currentConnection = this;
}

Connection::~Connection() {
    currentConnection = nullptr;
}

Connection& Connection::Current() {
    return *currentConnection;
}

void Connection::Log(const std::string& fault) {
    if (logged) {
        return;
    }
    logged = true;
    entry.fault = fault;
    log_.Add(entry);
}

void Connection::Refuse() {
    entry.status = 0;
    Log(FaultName(FaultKind::refuse));
    closed_ = true;
    graceful_ = false;
    transport_.ResetOnClose();
}

void Connection::Finish() {
    if (!closed_) {
        entry.bytes += heldBody_;
        // A cut or stall whose point lay behind the answer's end did not happen.
        const bool happened =
            fault && fault->kind != FaultKind::cut && fault->kind != FaultKind::stall;
        Log(happened ? FaultName(fault->kind) : "");
        SendHeld();
    }
    Log(transport_.Stopping() ? "stopped" : "client-left");
    if (graceful_) {
        transport_.EndStream(true);
    }
}

ssize_t Connection::read(char* data, size_t size) {
    // The library asks for the head one byte at a time.
    if (inputAt_ == input_.size()) {
        input_.resize(kInputSize);
        inputAt_ = 0;
        const ssize_t got = transport_.Read(input_.data(), kInputSize);
        input_.resize(got > 0 ? static_cast<size_t>(got) : 0);
        if (got <= 0) {
            return got;
        }
    }
    const size_t taken = input_.copy(data, size, inputAt_);
    inputAt_ += taken;
    return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* data, size_t size) {
    std::string_view rest(data, size);
    if (closed_) {
        return -1;
    }
    if (!headDone_ && !WriteHead(rest)) {
        return -1;
    }
    if (!rest.empty() && !WriteBody(rest)) {
        return -1;
    }
    return static_cast<ssize_t>(size);
}

/// Takes the head off `data`; afterwards `data` is what belongs to the body.
bool Connection::WriteHead(std::string_view& data) {
    constexpr std::string_view kEnd = "\r\n\r\n";
    const size_t before = head_.size();
    head_ += data;
    const size_t end = head_.find(kEnd);
    if (end == std::string::npos) {
        data = {};
        return true;
    }
    data.remove_prefix(end + kEnd.size() - before);
    head_.resize(end + kEnd.size());
    // An interim answer the client waits for before it sends its body.
    if (head_.starts_with("HTTP/1.1 100 ")) {
        closed_ = !transport_.WriteAll(head_.data(), head_.size());
        head_.clear();
        return !closed_;
    }
    headDone_ = true;
    held_ = head_;
    return true;
}

bool Connection::WriteBody(std::string_view data) {
    if (!fault) {
        return Push(data, kHoldBack);
    }
    if (fault->kind == FaultKind::slow) {
        return WriteSlowly(data);
    }
    if (fault->kind != FaultKind::cut && fault->kind != FaultKind::stall) {
        return Push(data, kHoldBack);
    }
    const uint64_t allowed = fault->after - std::min(fault->after, body_);
    if (allowed >= data.size()) {
        return Push(data, kHoldBack);
    }
    return Push(data.substr(0, allowed), kHoldBack) && BreakOff();
}

bool Connection::BreakOff() {
    const FaultKind kind = fault->kind;
    entry.bytes += heldBody_;
    heldBody_ = 0;
    Log(FaultName(kind));
    SendHeld();
    closed_ = true;
    if (kind == FaultKind::stall) {
        transport_.WaitForClientToLeave();
    }
    graceful_ = false;
    transport_.EndStream(false);
    return false;
}

bool Connection::WriteSlowly(std::string_view data) {
    using std::chrono::microseconds;
    if (body_ == 0) {
        slowStart_ = std::chrono::steady_clock::now();
    }
    const uint64_t step = std::max<uint64_t>(1, fault->bytesPerSecond / kSlowSteps);
    while (!data.empty()) {
        const std::string_view piece = data.substr(0, step);
        data.remove_prefix(piece.size());
        if (!Push(piece, 0)) {
            return false;
        }
        const double seconds =
            static_cast<double>(body_) / static_cast<double>(fault->bytesPerSecond);
        const auto due = microseconds(static_cast<int64_t>(seconds * 1e6));
        if (!transport_.PauseUntil(slowStart_ + due)) {
            closed_ = true;
            return false;
        }
    }
    return true;
}

/// Holds `data`, and sends what was held before when it would become more than `holdBack`.
bool Connection::Push(std::string_view data, size_t holdBack) {
    if (held_.size() + data.size() > holdBack && !SendHeld()) {
        return false;
    }
    held_ += data;
    heldBody_ += data.size();
    body_ += data.size();
    return true;
}

bool Connection::SendHeld() {
    if (transport_.WriteAll(held_.data(), held_.size())) {
        entry.bytes += heldBody_;
    } else {
        closed_ = true;
    }
    held_.clear();
    heldBody_ = 0;
    return !closed_;
}

bool Connection::is_readable() const {
    return true;
}

bool Connection::is_writable() const {
    return !closed_;
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
    ip = "127.0.0.1";
    port = 0;
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
    ip = "127.0.0.1";
    port = 0;
}

socket_t Connection::socket() const {
    return transport_.Socket();
}
