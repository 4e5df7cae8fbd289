#pragma once
/**
 * Element names of the drivers whose channels are known by three letters: "B13" and its other
 * names "IR1", "10.4", each alone (counts) or with a suffix behind "_" ("IR1_T", temperature).
 */
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

// A name taken apart.
struct NbElemName {
    std::string_view channel; // what stands before "_"
    bool counts = false;      // there is no "_": the counts themselves
    char suffix = '\0';       // the letter behind "_", NUL when there is none
};

// Another name of a channel and what it becomes.
struct NbElemAlias {
    std::string_view alias;
    std::string_view channel;
};

// One channel as drivers show it. The lists are separated by commas; the first name is the
// channel's own.
struct NbElemRow {
    const char* names;
    const char* suffixes;   // "_A,_R": letters at index 1 and 4
    const char* text;       // wavelength, shown behind names and suffixes
    const char* resolution; // not shown; "" where it is part of the text
};

/**
 * Takes a name apart; nothing when it is null, empty or malformed.
 *
 * @param longest  most characters of a name without "_"
 * @param kept     how many of them count
 */
std::optional<NbElemName> nbpElemSplit(const char* name, std::size_t longest, std::size_t kept);

// The channel behind another name: each rule is applied to the result of the one before.
std::string_view nbpElemResolve(std::string_view channel, std::span<const NbElemAlias> rules);

// Index of the first row whose first three letters are those of the channel; -1 for none.
int nbpElemFindRow(std::string_view channel, std::span<const NbElemRow> rows);
