#include "Interrupt.h"

#include <nanobind/nanobind.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace veld::python
{

namespace
{

namespace nb = nanobind;

// Lock-free, so that a signal handler may touch it.
std::atomic<OrvaneAlgorithm::CancelToken const*> token_of_handler{nullptr};
std::atomic<int> running_handlers{0};

#if !defined(_WIN32)

struct sigaction python_action = {};

extern "C" void cancel_and_note(int number)
{
    ++running_handlers;
    if (auto const* token = token_of_handler.load())
    {
        token->cancel();
    }
    --running_handlers;
    python_action.sa_handler(number);
}

/// Whether signals that come now are Python's, in the thread that runs its handlers.
bool is_main_thread()
{
    nb::module_ const threading = nb::module_::import_("threading");
    return threading.attr("current_thread")().is(threading.attr("main_thread")());
}

/// \return false where nobody handles the signal, or not in the plain way that Python has
bool chain_handler()
{
    struct sigaction before = {};
    if (sigaction(SIGINT, nullptr, &before) != 0 || (before.sa_flags & SA_SIGINFO) != 0 ||
        before.sa_handler == SIG_DFL || before.sa_handler == SIG_IGN)
    {
        return false;
    }
    python_action = before;
    struct sigaction ours = before;
    ours.sa_handler = cancel_and_note;
    return sigaction(SIGINT, &ours, nullptr) == 0;
}

#endif

} // namespace

Interrupt::Interrupt()
{
#if !defined(_WIN32)
    if (!is_main_thread())
    {
        return;
    }
    outer_ = token_of_handler.load();
    is_installed_ = outer_ != nullptr || chain_handler();
    if (is_installed_)
    {
        token_of_handler.store(&token_);
    }
#endif
}

Interrupt::~Interrupt()
{
#if !defined(_WIN32)
    if (is_installed_)
    {
        token_of_handler.store(outer_);
        while (running_handlers > 0) // in another thread, with our token
        {
            std::this_thread::yield();
        }
        if (outer_ == nullptr)
        {
            sigaction(SIGINT, &python_action, nullptr);
        }
    }
#endif
}

void raise_pending_signal()
{
    if (PyErr_CheckSignals() != 0)
    {
        throw nb::python_error();
    }
}

} // namespace veld::python
