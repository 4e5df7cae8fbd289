#pragma once
/**
 * The sub-commands. Each gives its exit status, or throws.
 */
#include "tools/view/commandLine.h"

#include <filesystem>

namespace nbView {

extern const CommandSpec infoCommand;
extern const CommandSpec pngCommand;
extern const CommandSpec vrtCommand;
extern const CommandSpec csvCommand;
extern const CommandSpec diffCommand;

// Options of every command that needs places on earth.
inline constexpr OptionSpec projectionOption{
    "-p", "WORD",
    "projection that the conversion had: ps, disk, grid, merc, lamb;\n"
    "a latitude-longitude grid needs none"};
inline constexpr OptionSpec setupOption{"--setup", "FILE", "setup file of the conversion"};

// Refuses to write over what is read.
inline void requireOther(const std::string& output, const std::string& input)
{
    std::error_code none;
    if (std::filesystem::equivalent(output, input, none))
        throw UsageError(output + " : is the input file itself");
}

} // namespace nbView
