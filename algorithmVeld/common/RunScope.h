#pragma once

#include "algorithmVeld/common/export.h"

#include <atomic>
#include <exception>
#include <functional>
#include <memory>

namespace OrvaneAlgorithm
{

/// Leaves an operation whose run was cancelled. What the operation had changed stays changed: a
/// mesh is as far as the operation got, valid, and can be used again. Files that were being written
/// are not finished.
class ALGORITHMVELD_API Cancelled : public std::exception
{
public:
    Cancelled() noexcept;
    Cancelled(Cancelled const&) noexcept;
    Cancelled& operator=(Cancelled const&) noexcept;
    ~Cancelled() override;

    /// \return "cancelled"
    char const* what() const noexcept override;
};

/// Asks runs to end. Copies share one state, and what is cancelled stays so: the next run takes a
/// new token. May be called from any thread, and from a signal handler.
class ALGORITHMVELD_API CancelToken
{
public:
    CancelToken();

    /// Asks every run with this token to end, those that have not begun as well.
    void cancel() const noexcept;
    /// Whether somebody has asked to end.
    bool is_cancelled() const noexcept;

private:
    std::shared_ptr<std::atomic<bool>> state_;
};

/// While it lives, the operations that its thread calls tell how far they are and end when the
/// token says so, by throwing Cancelled. Other threads are not concerned, but for those that such
/// an operation itself uses.
///
/// One scope is for one operation: what runs after it in the same scope can still be cancelled, but
/// the progress has reached its end. A token may serve several scopes, one after the other and at
/// the same time.
///
/// Scopes nest. An inner scope on the same thread obeys the tokens of both; progress goes to its
/// own sink only. Scopes end on the thread that made them, the inner one first.
class ALGORITHMVELD_API RunScope
{
public:
    /// Is told fractions from 0 to 1, about a thousand at most. They only grow, and the last one of
    /// an operation that ran to its end is 1. It is called by one thread at a time, by any thread
    /// that works for the operation, and waited for. It may cancel. What it throws leaves the
    /// operation just as Cancelled does. Operations that it calls are not part of the run.
    using ProgressSink = std::function<void(double fraction)>;

    /// \param token ends the run when it is cancelled
    /// \param progress is told how far the operation is; may be empty
    explicit RunScope(CancelToken token, ProgressSink progress = {});
    ~RunScope();
    RunScope(RunScope const&) = delete;
    RunScope& operator=(RunScope const&) = delete;

    /// Throws Cancelled if a token of the calling thread's run was cancelled; nothing without a
    /// scope. For what a host itself does between operations.
    static void poll();

    /// \name For loops that tell progress or take a run to other threads
    /// Hosts need none of it.
    /// @{

    /// What all threads of a run share.
    class Run;

    /// What one thread knows: its run, and which fractions of it the thread is at.
    struct Context
    {
        Run* run = nullptr; ///< None if no scope lives.
        double begin = 0.0; ///< Where the part that the thread works on begins.
        double end = 1.0;   ///< Where it ends.
        bool tells = false; ///< Whether the thread tells progress; otherwise somebody else does.
    };

    /// What the calling thread knows.
    static Context context() noexcept;

    /// Sets what the calling thread knows. \return what it knew before
    static Context exchange_context(Context const& context) noexcept;

    /// Whether a run was asked to end.
    static bool is_cancelled(Run const& run) noexcept;

    /// Hands a fraction to the sink if it is past the last one by a permille, or the end.
    static void tell(Run& run, double fraction);

    /// @}

private:
    std::unique_ptr<Run> run_;
    Context before_;
};

} // namespace OrvaneAlgorithm
