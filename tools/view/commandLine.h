#pragma once
/**
 * The command line of a sub-command, from one table that is also its help.
 */
#include "tools/usage.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace nbView {

struct OptionSpec {
    const char* name;  // "--range", "-p"
    const char* value; // "LO,HI"; null for a flag
    const char* help;  // lines after the first are set under it
};

class CommandLine;

struct CommandSpec {
    const char* name;
    const char* arguments; // "FILE OUT.png"
    const char* purpose;
    std::span<const OptionSpec> options;
    std::size_t least, most; // positional arguments
    int (*run)(const CommandLine& line);
};

// "--name VALUE", "--name=VALUE", flags, and positional arguments, among them negative numbers.
class CommandLine {
public:
    // Throws UsageError for an option that the command does not have, and for too few or too many
    // arguments.
    CommandLine(const CommandSpec& spec, std::span<const char* const> arguments);

    const std::vector<std::string>& positional() const { return positional_; }
    bool has(const std::string& name) const { return options_.contains(name); }
    std::optional<std::string> text(const std::string& name) const;
    // A number from `low` to `high`, or `otherwise` when the option is missing.
    double number(const std::string& name, double otherwise, double low, double high) const;

private:
    std::vector<std::string> positional_;
    std::map<std::string, std::string> options_;
};

// The whole text as a number. Throws UsageError, with `what`, when it is none or out of range.
double parseNumber(const std::string& text, const std::string& what, double low, double high);

// The command's help, ready to print.
std::string helpText(const CommandSpec& spec);

} // namespace nbView
