#include "util/nbStr.h"

#include "util/nbChar.h"
#include "util/nbUtlMalloc.h"

#include <gtest/gtest.h>
#include <string>

namespace {
// "GEO-5 Himawari (n) 'x' a/b? 0:9" in code page 037, by Python's codec.
constexpr char ebcdic[] = "\xC7\xC5\xD6\x60\xF5\x40\xC8\x89\x94\x81\xA6\x81\x99\x89\x40\x4D\x95"
                          "\x5D\x40\x7D\xA7\x7D\x40\x81\x61\x82\x6F\x40\xF0\x7A\xF9";
const std::string ascii = "GEO-5 Himawari (n) 'x' a/b? 0:9";
} // namespace

TEST(StrEbcdic, TextConvertsBothWays)
{
    std::string text = ebcdic;
    nbStrEbcdicToAscii(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(text, ascii);
    nbStrAsciiToEbcdic(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(text, ebcdic);
}

TEST(StrEbcdic, StopsBehindANulAndAtTheLength)
{
    std::string text("\xC1\xC1\x00\xC1", 4);
    nbStrEbcdicToAscii(text.data(), 1);
    EXPECT_EQ(text, std::string("A\xC1\x00\xC1", 4));
    text[0] = '\xC1';
    nbStrEbcdicToAscii(text.data(), 4);
    EXPECT_EQ(text, std::string("AA\x00\xC1", 4));
    nbStrEbcdicToAscii(text.data(), -1);
    EXPECT_EQ(text, std::string("AA\x00\xC1", 4));
}

TEST(CharEbcdic, CodesWithoutPartner)
{
    EXPECT_EQ(nbCharEbcdicToAscii(0x0A), 0x0A);
    EXPECT_EQ(nbCharEbcdicToAscii(0x92), 'i'); // Deliberate: "k" reads as "i"
    EXPECT_EQ(nbCharAsciiToEbcdic('k'), 0x92);
    EXPECT_EQ(nbCharAsciiToEbcdic('i'), 0x89);
    EXPECT_EQ(nbCharAsciiToEbcdic('|'), 0x6A);
    for (const int c : {0x20, 0x3F, 0x41, 0xFF, -1})
        EXPECT_EQ(nbCharEbcdicToAscii(c), '^') << c;
    std::string blanks;
    for (int c = 0; c < 0x80; ++c)
        if (nbCharAsciiToEbcdic(c) == 0x40) blanks += static_cast<char>(c);
    EXPECT_EQ(blanks, " []^`\x7F");
    for (int c = 0x80; c < 0x100; ++c)
        EXPECT_EQ(nbCharAsciiToEbcdic(c), 0x4A) << c;
}

TEST(Strncpy, AlwaysEndsTheCopy)
{
    std::string dst(6, '?');
    EXPECT_EQ(nbStrncpy(dst.data(), "abc", 5), dst.data());
    EXPECT_EQ(dst, std::string("abc\0??", 6));
    nbStrncpy(dst.data(), "vwxyz", 4);
    EXPECT_EQ(dst, std::string("vwxy\0?", 6));
    nbStrncpy(dst.data(), "abc", 0);
    EXPECT_EQ(dst, std::string("\0wxy\0?", 6));
}

TEST(StrFortran, TrailingBlanksGoAndLeadingOnesStay)
{
    for (const auto& [field, text] : {std::pair{"  A B   ", "  A B"}, std::pair{"    ", ""}}) {
        char* s = nbStrFortranToC(field, static_cast<int>(std::string(field).size()));
        ASSERT_NE(s, nullptr);
        EXPECT_STREQ(s, text);
        nbUtlFree(s);
    }
}

TEST(StrFortran, EmptyFieldMayBeNull)
{
    char* s = nbStrFortranToC(nullptr, 0);
    EXPECT_STREQ(s, "");
    nbUtlFree(s);
    EXPECT_EQ(nbStrCToFortran(nullptr, 0), nullptr);
}

// Deliberate: the NUL stays.
TEST(StrFortran, FieldIsFilledBehindItsNul)
{
    std::string field("AB\0xyz", 6);
    EXPECT_EQ(nbStrCToFortran(field.data(), 5), field.data());
    EXPECT_EQ(field, std::string("AB\0  z", 6));
    std::string full = "ABCDE";
    nbStrCToFortran(full.data(), 5);
    EXPECT_EQ(full, "ABCDE");
}

TEST(Str, CaseAndParts)
{
    std::string text = "Band-08z\xE3";
    EXPECT_STREQ(nbStrToUpper(text.data()), "BAND-08Z\xE3");
    EXPECT_STREQ(nbStrToLower(text.data()), "band-08z\xE3");
    std::string dst(6, '?');
    EXPECT_STREQ(nbStrSubStr("abcdef", 2, 3, dst.data()), "cde");
    nbStrSubStr("abcdef", 5, 4, dst.data());
    EXPECT_EQ(dst, std::string("f\0\0\0\0?", 6));
}
