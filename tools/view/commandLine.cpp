#include "tools/view/commandLine.h"

#include "tools/view/gridFile.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace nbView {
namespace {

// "-12.5" and "-.5", in contrast to "-p".
bool isNegativeNumber(const std::string& argument)
{
    return argument.size() > 1 && argument[0] == '-' &&
           (std::isdigit(static_cast<unsigned char>(argument[1])) != 0 || argument[1] == '.');
}

} // namespace

CommandLine::CommandLine(const CommandSpec& spec, std::span<const char* const> arguments)
{
    bool optionsEnd = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string argument = arguments[i];
        if (optionsEnd || argument.size() < 2 || argument[0] != '-' || isNegativeNumber(argument)) {
            positional_.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnd = true;
            continue;
        }
        const std::size_t equals = std::min(argument.find('='), argument.size());
        const std::string name = argument.substr(0, equals);
        const auto found = std::ranges::find_if(
            spec.options, [&](const OptionSpec& option) { return name == option.name; });
        if (found == spec.options.end()) throw UsageError("unknown option " + argument);
        std::string value;
        if (equals < argument.size()) {
            if (found->value == nullptr) throw UsageError(name + " takes no value");
            value = argument.substr(equals + 1);
        } else if (found->value != nullptr) {
            if (++i == arguments.size()) throw UsageError(name + " needs " + found->value);
            value = arguments[i];
        }
        options_[name] = value;
    }
    if (positional_.size() < spec.least || positional_.size() > spec.most)
        throw UsageError(std::string("expected : ") + spec.name + " " + spec.arguments);
}

std::optional<std::string> CommandLine::text(const std::string& name) const
{
    const auto found = options_.find(name);
    if (found == options_.end()) return {};
    return found->second;
}

double CommandLine::number(const std::string& name, double otherwise, double low, double high) const
{
    const auto value = text(name);
    return value ? parseNumber(*value, name, low, high) : otherwise;
}

double parseNumber(const std::string& text, const std::string& what, double low, double high)
{
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || !(value >= low && value <= high))
        throw UsageError(what + " " + text + " : a number from " + nbView::text(low) + " to " +
                         nbView::text(high) + " expected");
    return value;
}

std::string helpText(const CommandSpec& spec)
{
    std::string help = std::string("Usage : nimbex-view ") + spec.name + " [options] " +
                       spec.arguments + "\n" + spec.purpose + "\n";
    for (const OptionSpec& option : spec.options) {
        constexpr std::size_t column = 20; // where the words begin
        std::string line = "  ";
        line += option.name;
        if (option.value != nullptr) {
            line += option.name[1] == '-' ? ' ' : '=';
            line += option.value;
        }
        line.resize(std::max(column, line.size() + 1), ' ');
        for (const char c : std::string_view(option.help)) {
            line += c;
            if (c == '\n') line.append(column, ' ');
        }
        help += line + '\n';
    }
    return help + "  --help            this text\n";
}

} // namespace nbView
