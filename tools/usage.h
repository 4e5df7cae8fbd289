#pragma once
/**
 * Command lines that cannot be meant.
 */
#include <filesystem>
#include <initializer_list>
#include <stdexcept>
#include <string>

// Status 2 in the programs that tell it from other failures.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Refuses to write over what is read. An input without a name is none.
inline void requireOther(const std::string& output, std::initializer_list<std::string> inputs)
{
    std::error_code none;
    for (const std::string& input : inputs)
        if (std::filesystem::equivalent(output, input, none))
            throw UsageError(output + " : is an input file");
}
