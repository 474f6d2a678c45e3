#pragma once
// File names that are not valid UTF-8, each of which a lossy conversion turns into another path:
// a stray byte, a truncated sequence, and an overlong "/" ("g" C0 AF "h" read leniently is "g/h").

#include <string>
#include <vector>

namespace tpc::test {

inline const std::vector<std::string> kOddNames{"a\xff"
                                                "b",
                                                "c\xc3(d",
                                                "g\xc0\xaf"
                                                "h"};

} // namespace tpc::test
