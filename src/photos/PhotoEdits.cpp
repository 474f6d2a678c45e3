#include "photos/PhotoEdits.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace tpc::photos {

namespace {

// The text read as a number the forgiving way (leading blanks, a sign, digits, a fraction),
// truncated towards zero; text without a number reads as 0.
long long truncatedAdjIndex(const std::string& text) {
    const double value = std::strtod(text.c_str(), nullptr);
    if (!std::isfinite(value) || std::fabs(value) > 9.0e18)
        return 0;
    return static_cast<long long>(value);
}

bool lessIgnoringCase(const std::string& a, const std::string& b) {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](unsigned char x, unsigned char y) { return std::tolower(x) < std::tolower(y); });
}

} // namespace

std::string getOpNameForAdjIndex(const std::string& adjIndex) {
    switch (truncatedAdjIndex(adjIndex)) {
    case 2100000:
        return kFixedRedEye;
    case 6000000:
    case 7000000:
        return kCropped;
    default:
        return kEnhanced;
    }
}

std::string getCategoryName(const std::string& edits) {
    std::vector<std::string> names;
    std::size_t start = 0;
    while (start <= edits.size()) {
        const std::size_t end = std::min(edits.find(';', start), edits.size());
        std::string part = edits.substr(start, end - start);
        if (!part.empty() && std::find(names.begin(), names.end(), part) == names.end())
            names.push_back(std::move(part));
        start = end + 1;
    }
    std::stable_sort(names.begin(), names.end(), lessIgnoringCase);
    std::string category;
    for (const auto& name : names)
        category += (category.empty() ? "" : ", ") + name;
    return category;
}

} // namespace tpc::photos
