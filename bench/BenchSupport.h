#pragma once
// What the benchmarks share: reading their options, a deterministic generator for the data they
// build, and the median of their runs.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace tpc::bench {

// Walks the command line: `option(name, value)` handles one option and answers false for an
// unknown one; `value()` takes the option's argument. `usage` reports what is wrong and exits.
template <class Usage, class Option>
void readOptions(int argc, char** argv, Usage usage, Option option) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc)
                usage("missing value");
            return argv[++i];
        };
        if (!option(arg, value))
            usage("unknown argument " + arg);
    }
}

// A small deterministic generator, so every run builds the same data.
struct Random {
    std::uint64_t state = 0x9E3779B97F4A7C15ULL;
    std::uint64_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    std::uint64_t below(std::uint64_t n) { return next() % n; }
    std::string word(std::size_t minLength, std::size_t maxLength) {
        std::string text(minLength + below(maxLength - minLength + 1), 'a');
        for (char& ch : text)
            ch = static_cast<char>('a' + below(26));
        return text;
    }
};

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace tpc::bench
