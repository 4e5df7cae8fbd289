/**
 * nimbex: one satellite image, or a list of them, to one map grid.
 */
#include "frontend/options.h"
#include "frontend/recover.h"
#include "frontend/run.h"
#include "util/nbGuard.h"

#include <fcntl.h>
#include <span>

namespace {

// A standard stream that is closed would be the next file opened: the messages would go into the
// output.
void holdStandardStreams()
{
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0) static_cast<void>(open("/dev/null", O_RDWR));
}

} // namespace

int main(int argc, char** argv)
{
    holdStandardStreams();
    const std::span<const char* const> arguments(argv + 1, argc > 1 ? std::size_t(argc - 1) : 0);
    if (arguments.empty()) {
        printUsage();
        return 0;
    }
    const int code = nbpGuard("nimbex", int{NB_RUN_NO_MEMORY},
                              [&] { return runConversion(parseCommandLine(arguments)); });
    if (code != NB_RUN_SILENT) recover(code, 0);
    return code;
}
