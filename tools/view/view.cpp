/**
 * nimbex-view: looks at the files that nimbex writes.
 */
#include "tools/view/commands.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <string_view>

namespace nbView {
namespace {

const std::array commands = {&infoCommand, &pngCommand, &vrtCommand, &csvCommand, &diffCommand};

std::string help()
{
    std::string text = "Usage : nimbex-view COMMAND [options] FILE ...\n"
                       "Looks at files that nimbex wrote, SZDD-compressed ones too.\n";
    for (const CommandSpec* command : commands) {
        std::string line = std::string("  ") + command->name + " " + command->arguments;
        line.resize(std::max<std::size_t>(26, line.size() + 1), ' ');
        const std::string purpose = command->purpose;
        text += line + purpose.substr(0, purpose.find_first_of(".:\n")) + "\n";
    }
    return text + "nimbex-view COMMAND --help tells the options of each.\n"
                  "Exit status 0: done, 1: failed, 2: wrong usage; diff has its own.\n";
}

bool asksForHelp(std::span<const char* const> arguments)
{
    return std::ranges::any_of(arguments, [](std::string_view argument) {
        return argument == "--help" || argument == "-h";
    });
}

int complain(const std::string& text, int status)
{
    std::fprintf(stderr, "nimbex-view : %s\n", text.c_str());
    return status;
}

int run(std::span<const char* const> arguments)
{
    if (arguments.empty()) return std::fputs(help().c_str(), stderr), 2;
    const std::string word = arguments[0];
    if (word == "--help" || word == "-h" || word == "help")
        return std::fputs(help().c_str(), stdout), 0;
    const auto found = std::ranges::find_if(
        commands, [&](const CommandSpec* command) { return word == command->name; });
    if (found == commands.end())
        return complain("unknown command " + word + "; see nimbex-view --help", 2);
    const CommandSpec& command = **found;
    arguments = arguments.subspan(1);
    if (asksForHelp(arguments)) return std::fputs(helpText(command).c_str(), stdout), 0;

    const int failed = &command == &diffCommand ? 2 : 1; // 1 means different there
    try {
        const int status = command.run(CommandLine(command, arguments));
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            return complain("standard output cannot be written", failed);
        return status;
    } catch (const UsageError& e) {
        return complain(std::string(e.what()) + "; see nimbex-view " + command.name + " --help", 2);
    } catch (const std::bad_alloc&) {
        return complain("out of memory", failed);
    } catch (const std::exception& e) {
        return complain(e.what(), failed);
    }
}

} // namespace
} // namespace nbView

int main(int argc, char** argv)
{
    return nbView::run({argv + 1, static_cast<std::size_t>(std::max(argc, 1) - 1)});
}
