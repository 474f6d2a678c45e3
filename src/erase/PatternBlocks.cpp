#include "erase/PatternBlocks.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace tpc::erase {

namespace {

constexpr std::array<int, 7> kPassesOfMethods2To8 = {3, 3, 7, 7, 7, 35, 38};

enum class Pattern { Zero, P55, P56, PAA, PFF, Random };

// Passes 0..34 of the two long methods; 35..37 exist only in method 8.
Pattern longMethodPattern(std::int64_t pass) {
    switch (pass) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 31:
    case 33:
    case 34:
    case 37:
        return Pattern::Random;
    case 32:
        return Pattern::Zero;
    case 35:
        return Pattern::P55;
    case 36:
        return Pattern::PAA;
    default: // 4..30
        return pass % 2 == 0 ? Pattern::Zero : Pattern::PFF;
    }
}

// Methods 4..6: three alternating pairs, then one closing pass.
Pattern sevenPassPattern(Pattern even, Pattern odd, Pattern closing, std::int64_t pass) {
    if (pass == 6)
        return closing;
    return pass % 2 == 0 ? even : odd;
}

Pattern patternFor(std::int64_t method, std::int64_t pass) {
    static constexpr std::array<Pattern, 3> kDoD5220 = {Pattern::P55, Pattern::PAA,
                                                        Pattern::Random};
    static constexpr std::array<Pattern, 3> kNAVSO = {Pattern::Zero, Pattern::PFF, Pattern::Random};
    switch (method) {
    case 0:
        return Pattern::Zero;
    case 1:
        return Pattern::Random;
    case 2:
        return kDoD5220[static_cast<std::size_t>(pass)];
    case 3:
        return kNAVSO[static_cast<std::size_t>(pass)];
    case 4:
        return sevenPassPattern(Pattern::Zero, Pattern::PFF, Pattern::Random, pass);
    case 5:
        return sevenPassPattern(Pattern::Zero, Pattern::PFF, Pattern::PAA, pass);
    case 6:
        return sevenPassPattern(Pattern::P56, Pattern::PAA, Pattern::Random, pass);
    default: // 7, 8
        return longMethodPattern(pass);
    }
}

} // namespace

PatternBlocks::PatternBlocks() {
    b00_.fill(0x00);
    b55_.fill(0x55);
    b56_.fill(0x56);
    bAA_.fill(0xAA);
    bFF_.fill(0xFF);
    for (std::size_t i = 0; i < kBlockSize; i += sizeof(std::uint32_t)) {
        const std::uint32_t word = arc4random();
        std::memcpy(bRND_.data() + i, &word, sizeof word);
    }
}

const std::uint8_t* PatternBlocks::fillBuffer(std::int64_t method, std::int64_t pass) const {
    if (method < 0 || method > 8 || pass < 0 || pass >= passesForMethod(method))
        return nullptr;
    switch (patternFor(method, pass)) {
    case Pattern::Zero:
        return buff00();
    case Pattern::P55:
        return buff55();
    case Pattern::P56:
        return buff56();
    case Pattern::PAA:
        return buffAA();
    case Pattern::PFF:
        return buffFF();
    case Pattern::Random:
        return buffRND();
    }
    return nullptr;
}

const PatternBlocks& PatternBlocks::shared() {
    static const PatternBlocks blocks;
    return blocks;
}

int passesForMethod(std::int64_t method) {
    if (method >= 2 && method <= 8)
        return kPassesOfMethods2To8[static_cast<std::size_t>(method - 2)];
    return 1;
}

} // namespace tpc::erase
