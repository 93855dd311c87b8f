#include "Call.h"

#include "Text.h"
#include "WarningNames.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

namespace veld::python
{

using OrvaneAlgorithm::CancelToken;

Call::Call(nb::object progress, std::optional<CancelToken> const& cancel, int threads)
    : progress_(std::move(progress)), cancel_(cancel.value_or(CancelToken())), threads_(threads)
{
    if (threads < 0)
    {
        throw InputError("'threads' has to be a whole number of 0 or more");
    }
}

Context Call::make_context()
{
    Context context;
    context.cancel = cancel_;
    context.threads = threads_;
    context.warn = [this](Warning const& warning) { keep(warning); };
    if (has_listener())
    {
        context.progress = [this](Progress const& progress) { tell(progress); };
    }
    return context;
}

void Call::keep(Warning const& warning)
{
    std::lock_guard<std::mutex> const lock(mutex_);
    warnings_.push_back(warning);
}

void Call::tell(Progress const& progress)
{
    nb::gil_scoped_acquire const acquire;
    progress_(text_of(progress.step), progress.fraction);
}

void bind_call(nb::module_& module)
{
    nb::class_<CancelToken>(module, "Cancel",
                            "Ends steps that got it, from any thread. What is cancelled stays so: "
                            "the next step takes a new one.")
        .def(nb::init<>())
        .def("cancel", &CancelToken::cancel, "Asks every step with this token to end.")
        .def_prop_ro("cancelled", &CancelToken::is_cancelled, "Whether somebody has asked to end.");
    nb::class_<Warning>(module, "RawWarning")
        .def_prop_ro("code", [](Warning const& warning) { return name_of(warning.code); })
        .def_prop_ro("about", [](Warning const& warning) { return text_of(warning.about); })
        .def_prop_ro("text", [](Warning const& warning) { return text_of(warning.text); })
        .def_ro("setting", &Warning::setting);
    nb::class_<Call>(module, "Call", "One call of a step.")
        .def(nb::init<nb::object, std::optional<CancelToken> const&, int>(),
             nb::arg("progress").none(), nb::arg("cancel").none(), nb::arg("threads"))
        .def_prop_ro("warnings", &Call::warnings, "What the step warned of.");
}

} // namespace veld::python
