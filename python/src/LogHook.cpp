#include "LogHook.h"

#include "Text.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <nanobind/stl/string.h>

#include <memory>
#include <string>

namespace veld::python
{

namespace
{

using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::gPH;

void ignore(std::string const&) {}

/// A function of Python that goes where the last sink goes, whoever holds the lock then.
std::shared_ptr<nb::object> shared(nb::object function)
{
    auto const forget = [](nb::object* object)
    {
        nb::gil_scoped_acquire const acquire;
        delete object;
    };
    return {new nb::object(std::move(function)), forget};
}

/// \param write gets pieces of the log as they come, from any thread; none switches it off
void set_log(nb::object write)
{
    bool const is_on = !write.is_none();
    auto const function = shared(std::move(write));
    auto const sink = [function](std::string const& text)
    {
        nb::gil_scoped_acquire const acquire;
        (*function)(text_of(text));
    };
    // Whoever logs holds the log's own lock and waits for the interpreter's.
    nb::gil_scoped_release const release;
    gPH.log_enabled = is_on;
    if (is_on)
    {
        gLH.set_sink(sink);
    }
    else
    {
        gLH.set_sink(ignore);
    }
}

} // namespace

void bind_log(nb::module_& module)
{
    gPH.log_enabled = false;
    gLH.set_sink(ignore);
    gLH.set_print_sink(ignore);
    module.def("set_log", &set_log, nb::arg("write").none());
}

} // namespace veld::python
