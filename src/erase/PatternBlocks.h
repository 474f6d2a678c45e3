#pragma once
// The six 32 KiB pattern blocks the erase methods write, made once and shared read-only, and the
// method table: which block each pass of each method writes.

#include <array>
#include <cstddef>
#include <cstdint>

namespace tpc::erase {

inline constexpr std::size_t kBlockSize = 32768;

class PatternBlocks {
public:
    // Fills the five constant blocks and the random block (one random 32-bit word per 4 bytes,
    // drawn once).
    PatternBlocks();

    const std::uint8_t* buff00() const { return b00_.data(); }
    const std::uint8_t* buff55() const { return b55_.data(); }
    const std::uint8_t* buff56() const { return b56_.data(); }
    const std::uint8_t* buffAA() const { return bAA_.data(); }
    const std::uint8_t* buffFF() const { return bFF_.data(); }
    const std::uint8_t* buffRND() const { return bRND_.data(); }

    // The block for pass `pass` of method `method`, or nullptr for a method outside 0..8 or a
    // pass the method does not have.
    const std::uint8_t* fillBuffer(std::int64_t method, std::int64_t pass) const;

    // The process-wide blocks, made on first use.
    static const PatternBlocks& shared();

private:
    using Block = std::array<std::uint8_t, kBlockSize>;
    Block b00_, b55_, b56_, bAA_, bFF_, bRND_;
};

// Passes of a method: 3, 3, 7, 7, 7, 35, 38 for methods 2..8; 1 for anything else.
int passesForMethod(std::int64_t method);

} // namespace tpc::erase
