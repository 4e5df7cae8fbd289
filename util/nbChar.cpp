#include "util/nbChar.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {
struct Run {
    std::uint8_t ebcdic; // code of the first character
    std::string_view ascii;
};

constexpr Run runs[] = {
    {0x40, " "},         {0x4B, ".<(+"},       {0x50, "&"},         {0x5A, "!$*);"},
    {0x60, "-/"},        {0x6A, "|,%_>?"},     {0x7A, ":#@'=\""},   {0x81, "abcdefghi"},
    {0x91, "jklmnopqr"}, {0xA1, "~"},          {0xA2, "stuvwxyz"},  {0xC0, "{"},
    {0xC1, "ABCDEFGHI"}, {0xD0, "}"},          {0xD1, "JKLMNOPQR"}, {0xE0, "\\"},
    {0xE2, "STUVWXYZ"},  {0xF0, "0123456789"},
};

using Table = std::array<std::uint8_t, 256>;

constexpr Table makeEbcdicToAscii()
{
    Table table{};
    table.fill('^');
    for (std::size_t c = 0; c < 0x20; ++c)
        table[c] = static_cast<std::uint8_t>(c);
    for (const Run& run : runs)
        for (std::size_t i = 0; i < run.ascii.size(); ++i)
            table[run.ebcdic + i] = static_cast<std::uint8_t>(run.ascii[i]);
    // Deliberate: EBCDIC "k" reads as "i". Archived headers were read so and names compared with
    // the outcome; mended, those comparisons fail. The way back is right.
    table[0x92] = 'i';
    return table;
}

constexpr Table makeAsciiToEbcdic()
{
    Table table{};
    for (std::size_t c = 0; c < 256; ++c)
        table[c] = c < 0x20 ? static_cast<std::uint8_t>(c) : c < 0x80 ? 0x40 : 0x4A;
    for (const Run& run : runs)
        for (std::size_t i = 0; i < run.ascii.size(); ++i)
            table[static_cast<std::uint8_t>(run.ascii[i])] =
                static_cast<std::uint8_t>(run.ebcdic + i);
    return table;
}

constexpr Table ebcdicToAscii = makeEbcdicToAscii();
constexpr Table asciiToEbcdic = makeAsciiToEbcdic();
} // namespace

int nbCharEbcdicToAscii(int c)
{
    return ebcdicToAscii[static_cast<std::uint8_t>(c)];
}

int nbCharAsciiToEbcdic(int c)
{
    return asciiToEbcdic[static_cast<std::uint8_t>(c)];
}
