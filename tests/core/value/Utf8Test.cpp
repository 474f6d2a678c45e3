#include "core/Utf8.h"

#include <gtest/gtest.h>

#include <string>

using tpc::core::displayText;
using tpc::core::isValidUtf8;

TEST(Utf8Test, AcceptsWellFormedText) {
    EXPECT_TRUE(isValidUtf8(""));
    EXPECT_TRUE(isValidUtf8("/home/ann/plain.txt"));
    EXPECT_TRUE(isValidUtf8("caf\xC3\xA9"));          // U+00E9
    EXPECT_TRUE(isValidUtf8("\xE2\x82\xAC"));         // U+20AC
    EXPECT_TRUE(isValidUtf8("\xED\x9F\xBF"));         // U+D7FF, just below surrogates
    EXPECT_TRUE(isValidUtf8("\xF0\x9F\x98\x80"));     // U+1F600
    EXPECT_TRUE(isValidUtf8("\xF4\x8F\xBF\xBF"));     // U+10FFFF
    EXPECT_TRUE(isValidUtf8(std::string("a\0b", 3))); // NUL is the caller's concern
}

TEST(Utf8Test, RefusesEveryMalformedShape) {
    for (const char* bad : {
             "a\xFF"
             "b",                // never valid
             "c\xC3(d",          // lead byte without its continuation
             "g\xC0\xAFh",       // overlong "/"
             "\xE0\x80\xAF",     // overlong three-byte "/"
             "\xF0\x80\x80\xAF", // overlong four-byte "/"
             "\xED\xA0\x80",     // a surrogate
             "\xF4\x90\x80\x80", // above U+10FFFF
             "\x80",             // stray continuation
             "\xE2\x82",         // truncated at the end
         })
        EXPECT_FALSE(isValidUtf8(bad)) << displayText(bad);
}

TEST(Utf8Test, DisplayTextShowsInvalidBytesAndKeepsTheRest) {
    EXPECT_EQ(displayText("/home/a\xFF"
                          "b/caf\xC3\xA9"),
              "/home/a\\xFFb/caf\xC3\xA9");
    EXPECT_EQ(displayText("g\xC0\xAFh"), "g\\xC0\\xAFh");
}
