#include "shell/Signals.h"

#include <atomic>
#include <csignal>

namespace veld::cli
{

namespace
{

// Both are lock-free, so that a signal handler may touch them.
std::atomic<OrvaneAlgorithm::CancelToken const*> token_of_handler{nullptr};
std::atomic<int> first_signal{0};

extern "C" void cancel_on_signal(int number)
{
    int none = 0;
    first_signal.compare_exchange_strong(none, number);
    if (auto const* token = token_of_handler.load())
    {
        token->cancel();
    }
}

void handle(int number, void (*handler)(int))
{
#if defined(_WIN32)
    std::signal(number, handler);
#else
    // Without SA_RESTART: a program that waits for a full pipe to be read wakes up.
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
#endif
}

#if !defined(_WIN32)
/// What `nohup`, or a program that starts this one, has switched off stays off.
void handle_unless_ignored(int number, void (*handler)(int))
{
    struct sigaction before = {};
    if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
    {
        handle(number, handler);
    }
}
#endif

} // namespace

Signals::Signals(OrvaneAlgorithm::CancelToken const& token)
{
    token_of_handler = new OrvaneAlgorithm::CancelToken(token);
    handle(SIGINT, cancel_on_signal);
    handle(SIGTERM, cancel_on_signal);
#if !defined(_WIN32)
    handle_unless_ignored(SIGHUP, cancel_on_signal);
    handle_unless_ignored(SIGPIPE, cancel_on_signal);
    handle(SIGXFSZ, SIG_IGN); // to write too much is an error like a full disk
#endif
}

Signals::~Signals()
{
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
#if !defined(_WIN32)
    handle_unless_ignored(SIGHUP, SIG_DFL);
    handle_unless_ignored(SIGPIPE, SIG_DFL);
    handle(SIGXFSZ, SIG_DFL);
#endif
    delete token_of_handler.exchange(nullptr);
}

int Signals::received()
{
    return first_signal;
}

} // namespace veld::cli
