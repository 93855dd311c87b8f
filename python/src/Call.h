#pragma once

#include "Interrupt.h"

#include "workflow/Context.h"
#include "workflow/Error.h"

#include <nanobind/nanobind.h>

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace veld::python
{

namespace nb = nanobind;

/// One call of a step: what runs through it, without the interpreter's lock. Warnings are kept for
/// the caller, who gives them on when the step is done.
class Call
{
public:
    /// \param progress gets what is done and the fraction; none for nobody
    /// \param cancel ends the step \param threads 0 leaves it to OpenMP
    Call(nb::object progress, std::optional<OrvaneAlgorithm::CancelToken> const& cancel,
         int threads);

    /// Whether Python may come back while the step runs.
    bool has_listener() const { return !progress_.is_none(); }

    std::vector<Warning> const& warnings() const { return warnings_; }

    /// Runs `work(context)`. Throws what it throws, and what a signal's handler raised where that
    /// ended it.
    template <typename Work>
    auto run(Work const& work)
    {
        Interrupt const interrupt;
        try
        {
            Context context = make_context();
            nb::gil_scoped_release const release;
            OrvaneAlgorithm::RunScope const scope(interrupt.token());
            return work(context);
        }
        catch (OrvaneAlgorithm::Cancelled const&)
        {
            raise_pending_signal();
            throw;
        }
    }

private:
    Context make_context();
    void keep(Warning const& warning);
    void tell(Progress const& progress);

    nb::object progress_;
    OrvaneAlgorithm::CancelToken cancel_;
    int threads_;
    std::mutex mutex_;
    std::vector<Warning> warnings_;
};

void bind_call(nb::module_& module);

} // namespace veld::python
