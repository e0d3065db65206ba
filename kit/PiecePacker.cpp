#include "kit/PiecePacker.h"

#include <zlib.h>

#include <algorithm>
#include <new>
#include <utility>

namespace {

constexpr unsigned mostWorkers = 16;

/// Level 6: level 9 takes twice as long for half a per cent.
bool Deflate(Piece& piece) {
    z_stream stream = {};
    if (deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        return false;
    }
    if (!piece.before.empty()) {
        deflateSetDictionary(&stream, reinterpret_cast<const Bytef*>(piece.before.data()),
                             static_cast<uInt>(piece.before.size()));
    }
    // What a flush adds is not in the bound.
    piece.packed.resize(deflateBound(&stream, static_cast<uLong>(piece.plain.size())) + 16);
    stream.next_in = reinterpret_cast<Bytef*>(piece.plain.data());
    stream.avail_in = static_cast<uInt>(piece.plain.size());
    stream.next_out = reinterpret_cast<Bytef*>(piece.packed.data());
    stream.avail_out = static_cast<uInt>(piece.packed.size());
    const int result = deflate(&stream, piece.isLast ? Z_FINISH : Z_SYNC_FLUSH);
    piece.packed.resize(stream.total_out);
    deflateEnd(&stream);
    return result == (piece.isLast ? Z_STREAM_END : Z_OK);
}

void Pack(Piece& piece) {
    piece.length = piece.plain.size();
    piece.crc = crc32(0, reinterpret_cast<const Bytef*>(piece.plain.data()),
                      static_cast<uInt>(piece.plain.size()));
    if (piece.isStored) {
        piece.packed = std::move(piece.plain);
        return;
    }
    try {
        piece.failed = !Deflate(piece);
    } catch (const std::bad_alloc&) {
        piece.failed = true;
    }
    piece.plain = {};
}

}  // namespace

PiecePacker::PiecePacker() {
    const unsigned count = std::clamp(std::thread::hardware_concurrency(), 1u, mostWorkers);
    for (unsigned i = 0; i < count; ++i) {
        workers.emplace_back([this] { Work(); });
    }
}

PiecePacker::~PiecePacker() {
    {
        const std::lock_guard lock(mutex);
        ending = true;
    }
    arrived.notify_all();
    for (std::thread& worker : workers) {
        worker.join();
    }
}

void PiecePacker::Submit(std::unique_ptr<Piece> piece) {
    {
        const std::lock_guard lock(mutex);
        pieces.push_back(std::move(piece));
    }
    arrived.notify_one();
}

std::unique_ptr<Piece> PiecePacker::Take() {
    std::unique_lock lock(mutex);
    finished.wait(lock, [this] { return pieces.front()->done; });
    std::unique_ptr<Piece> piece = std::move(pieces.front());
    pieces.pop_front();
    --nextToStart;
    return piece;
}

// Only the caller adds and takes, so the length does not change under its feet.
bool PiecePacker::IsEmpty() const {
    return pieces.empty();
}

bool PiecePacker::IsFull() const {
    return pieces.size() >= workers.size() * 4;
}

void PiecePacker::Work() {
    std::unique_lock lock(mutex);
    for (;;) {
        arrived.wait(lock, [this] { return ending || nextToStart < pieces.size(); });
        if (ending) {
            return;
        }
        Piece& piece = *pieces[nextToStart++];
        lock.unlock();
        Pack(piece);
        lock.lock();
        piece.done = true;
        finished.notify_one();
    }
}
