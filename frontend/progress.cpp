#include "frontend/progress.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t seconds = 0;

void toTerminal(std::string_view text)
{
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(written); // nobody to tell
}

// Runs in the signal: plain arithmetic and write() only.
void onTimer(int)
{
    const int error = errno;
    seconds = seconds + 1;
    constexpr std::string_view head = "\rnimbex : converting, ";
    char text[64];
    std::size_t length = head.copy(text, head.size());
    char digits[12];
    int count = 0;
    for (int rest = seconds; rest > 0 || count == 0; rest /= 10)
        digits[count++] = static_cast<char>('0' + rest % 10);
    while (count > 0)
        text[length++] = digits[--count];
    length += std::string_view(" s ").copy(text + length, 3);
    toTerminal({text, length});
    errno = error;
}

void setTimer(int everySeconds)
{
    itimerval timer{};
    timer.it_interval.tv_sec = everySeconds;
    timer.it_value.tv_sec = everySeconds;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

// A time limit that whoever started the program has set.
bool timerRuns()
{
    itimerval timer{};
    getitimer(ITIMER_REAL, &timer);
    return timer.it_value.tv_sec != 0 || timer.it_value.tv_usec != 0;
}

} // namespace

NbProgressLine::NbProgressLine() : armed_(isatty(STDERR_FILENO) != 0 && !timerRuns())
{
    if (!armed_) return;
    seconds = 0;
    struct sigaction action {};
    action.sa_handler = onTimer;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, nullptr);
    setTimer(1);
}

NbProgressLine::~NbProgressLine()
{
    if (!armed_) return;
    setTimer(0);
    std::signal(SIGALRM, SIG_DFL);
    if (seconds > 0) toTerminal("\r\033[K");
}
