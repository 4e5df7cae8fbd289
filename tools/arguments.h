#pragma once
/**
 * Arguments of the tools: --name=value, --name, and positional ones.
 */
#include "tools/usage.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string>
#include <vector>

class Arguments {
public:
    // Throws UsageError for an option that is not among the names.
    Arguments(int argc, char** argv, const std::vector<std::string>& names)
    {
        for (int i = 1; i < argc; ++i) {
            const std::string argument = argv[i];
            if (!argument.starts_with("--")) {
                positional_.push_back(argument);
                continue;
            }
            const std::size_t equals = std::min(argument.find('='), argument.size());
            const std::string name = argument.substr(2, equals - 2);
            if (std::ranges::find(names, name) == names.end())
                throw UsageError("unknown option " + argument);
            options_[name] = equals < argument.size() ? argument.substr(equals + 1) : "";
        }
    }

    const std::vector<std::string>& positional() const { return positional_; }
    bool has(const std::string& name) const { return options_.contains(name); }

    std::string text(const std::string& name, const std::string& otherwise) const
    {
        const auto found = options_.find(name);
        return found != options_.end() ? found->second : otherwise;
    }

    // A number between two ends, both included.
    template <class T>
    T number(const std::string& name, T otherwise, T low, T high) const
    {
        const auto found = options_.find(name);
        if (found == options_.end()) return otherwise;
        const std::string& word = found->second;
        T value{};
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc{} || end != word.data() + word.size() ||
            !(value >= low && value <= high))
            throw UsageError("--" + name + "=" + word + " : a number from " + std::to_string(low) +
                             " to " + std::to_string(high) + " expected");
        return value;
    }

private:
    std::map<std::string, std::string> options_;
    std::vector<std::string> positional_;
};
