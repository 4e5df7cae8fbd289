/**
 * nimbex: one satellite image, or a list of them, to one map grid.
 */
#include "frontend/options.h"
#include "frontend/recover.h"
#include "frontend/run.h"

#include <span>

int main(int argc, char** argv)
{
    const std::span<const char* const> arguments(argv + 1, argc > 1 ? std::size_t(argc - 1) : 0);
    if (arguments.empty()) {
        printUsage();
        return 0;
    }
    const NbSettings settings = parseCommandLine(arguments);
    const int code = runConversion(settings);
    if (code != NB_RUN_SILENT) recover(code, 0);
    return code;
}
