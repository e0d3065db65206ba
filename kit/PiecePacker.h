#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A piece of a stream that is packed for itself, so that several can be packed at the same time.
struct Piece {
    std::size_t stream = 0;  // the caller's mark
    std::string plain;
    std::string before;      // up to 32 KiB that stand in front of it in the same stream
    bool isLast = true;      // nothing follows it in its stream
    bool isStored = false;   // stays as it is
    std::string packed;      // raw deflate (RFC 1951), or the plain bytes of a stored piece
    std::uint32_t crc = 0;   // CRC-32 of the plain bytes
    std::size_t length = 0;  // of the plain bytes, which are gone when the piece comes back
    bool failed = false;     // out of memory
    bool done = false;
};

/// Packs pieces on all processors and gives them back in the order in which they came. The packed
/// pieces of one stream, put behind each other, are the stream packed. The result depends on the
/// pieces alone, not on the number of processors. For one caller at a time.
class PiecePacker {
  public:
    PiecePacker();
    /// Drops what was not taken.
    ~PiecePacker();
    PiecePacker(const PiecePacker&) = delete;
    PiecePacker& operator=(const PiecePacker&) = delete;

    void Submit(std::unique_ptr<Piece> piece);

    /// Waits for the oldest piece. There must be one.
    std::unique_ptr<Piece> Take();

    bool IsEmpty() const;
    /// Whether more pieces would only lie about in memory.
    bool IsFull() const;

  private:
    void Work();

    std::mutex mutex;
    std::condition_variable arrived, finished;
    std::deque<std::unique_ptr<Piece>> pieces;  // in the order they came
    std::size_t nextToStart = 0;                // index into `pieces`
    bool ending = false;
    std::vector<std::thread> workers;
};
