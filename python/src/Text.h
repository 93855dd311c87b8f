#pragma once

#include <nanobind/nanobind.h>

#include <string>

namespace veld::python
{

namespace nb = nanobind;

/// What the library says, as Python takes it. Names of files in it may be of any bytes: those that
/// are no UTF-8 become what `os.fsencode` makes bytes again.
inline nb::str text_of(std::string const& text)
{
    return nb::steal<nb::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape"));
}

/// The other way.
inline std::string bytes_of(nb::handle text)
{
    nb::object const bytes =
        nb::steal(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!bytes.is_valid())
    {
        throw nb::python_error();
    }
    auto const* const first = PyBytes_AS_STRING(bytes.ptr());
    return {first, static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr()))};
}

} // namespace veld::python
