#include "Errors.h"

#include "Text.h"

#include "workflow/Error.h"

#include "algorithmVeld/common/RunScope.h"

#include <nanobind/nanobind.h>

#include <exception>

namespace veld::python
{

namespace
{

namespace nb = nanobind;

void raise(char const* type, Error const& error)
{
    try
    {
        nb::object const kind = nb::module_::import_("algorithmveld._errors").attr(type);
        nb::object const exception = kind(text_of(error.what()), error.setting());
        PyErr_SetObject(kind.ptr(), exception.ptr());
    }
    catch (nb::python_error& other)
    {
        other.restore();
    }
}

void raise_cancelled(OrvaneAlgorithm::Cancelled const& error)
{
    try
    {
        nb::object const kind = nb::module_::import_("algorithmveld._errors").attr("Cancelled");
        PyErr_SetObject(kind.ptr(), text_of(error.what()).ptr());
    }
    catch (nb::python_error& other)
    {
        other.restore();
    }
}

void translate(std::exception_ptr const& exception, void* /*payload*/)
{
    try
    {
        std::rethrow_exception(exception);
    }
    catch (InputError const& error)
    {
        raise("InputError", error);
    }
    catch (Error const& error)
    {
        raise("OperationError", error);
    }
    catch (OrvaneAlgorithm::Cancelled const& error)
    {
        raise_cancelled(error);
    }
}

} // namespace

void register_errors()
{
    nb::register_exception_translator(translate);
}

} // namespace veld::python
