#include "util/nbHeldSignals.h"

#include <algorithm>
#include <iterator>

NbHeldSignals::NbHeldSignals()
{
    sigemptyset(&held_);
    sigemptyset(&before_);
    for (const int signal : nbpEndings) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
            sigaddset(&held_, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held_, &before_);
}

bool NbHeldSignals::cameAny() const
{
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    return std::any_of(std::begin(nbpEndings), std::end(nbpEndings), [&](int signal) {
        return sigismember(&held_, signal) == 1 && sigismember(&pending, signal) == 1;
    });
}
