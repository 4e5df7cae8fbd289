#pragma once
/**
 * The sub-commands. Each gives its exit status, or throws.
 */
#include "tools/view/commandLine.h"

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

} // namespace nbView
