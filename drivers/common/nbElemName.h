#pragma once
/**
 * Element names: a channel by one of its names, "B13", "IR1" or "10.4", alone (counts) or with a
 * suffix behind "_" ("IR1_T", temperature). Some drivers know their channels by three letters,
 * others by the words of a list.
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

// True when a word stands in a list, both separated by commas. A word with commas of its own is
// found where its parts follow each other. Throws when memory is out.
bool nbpElemIsListed(std::string_view list, std::string_view word);
