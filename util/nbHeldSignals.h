#pragma once
/**
 * Signals that end a program, held back from a thread while it makes something on a disk that must
 * not stay behind.
 */
#include <csignal>

// What ends a batch by the wish of the user or the system; timers are often set for a program by
// what starts it, and some batch systems warn with the last two.
inline constexpr int nbpEndings[] = {SIGHUP,  SIGINT,    SIGQUIT, SIGTERM, SIGXCPU,
                                     SIGALRM, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2};

// From construction to the end of its scope the thread gets none of the endings that would end the
// program at once; one that came has its effect then. Those that the program catches or ignores
// are let alone.
class NbHeldSignals {
public:
    NbHeldSignals();
    ~NbHeldSignals() { release(); }
    NbHeldSignals(const NbHeldSignals&) = delete;
    NbHeldSignals& operator=(const NbHeldSignals&) = delete;

    // Whether the program is to end.
    bool cameAny() const;
    // For a child between fork and exec too.
    void release() const { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t held_;
    sigset_t before_;
};
