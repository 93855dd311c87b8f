#pragma once

#include <nanobind/nanobind.h>

#include <filesystem>
#include <string>
#include <vector>

namespace veld::python
{

namespace nb = nanobind;

/// The path that a text or a path object names, in the encoding of the system's files.
inline std::filesystem::path path_of(nb::handle object)
{
    PyObject* bytes = nullptr;
    if (PyUnicode_FSConverter(object.ptr(), &bytes) == 0)
    {
        throw nb::python_error();
    }
    auto const owner = nb::steal<nb::bytes>(bytes);
#if defined(_WIN32)
    return std::filesystem::u8path(std::string(owner.c_str(), owner.size()));
#else
    return std::filesystem::path(std::string(owner.c_str(), owner.size()));
#endif
}

/// The other way.
inline nb::object object_of(std::filesystem::path const& path)
{
#if defined(_WIN32)
    std::string const text = path.u8string();
    return nb::steal(
        PyUnicode_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size())));
#else
    std::string const& text = path.native();
    return nb::steal(
        PyUnicode_DecodeFSDefaultAndSize(text.data(), static_cast<Py_ssize_t>(text.size())));
#endif
}

using Paths = nb::typed<nb::list, nb::str>;

inline Paths objects_of(std::vector<std::filesystem::path> const& paths)
{
    nb::list objects;
    for (auto const& path : paths)
    {
        objects.append(object_of(path));
    }
    return objects;
}

} // namespace veld::python
