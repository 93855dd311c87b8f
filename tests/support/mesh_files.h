#pragma once

#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/files.h"
#include "tests/support/temp_dir.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// \file
/// Mesh files written by hand.

namespace veld_test
{

/// The bytes of a number, lowest first, whatever machine runs the tests.
template <typename Number>
std::string bytes(Number number)
{
    using Bits = std::conditional_t<sizeof(Number) == 8, std::uint64_t, std::uint32_t>;
    Bits bits = 0;
    if constexpr (std::is_integral_v<Number>)
    {
        bits = static_cast<Bits>(number);
    }
    else
    {
        std::memcpy(&bits, &number, sizeof(number));
    }
    std::string text;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
    {
        text += static_cast<char>(bits >> (8 * i) & 0xFFU);
    }
    return text;
}

template <typename Number>
std::string big_endian_bytes(Number number)
{
    auto const text = bytes(number);
    return {text.rbegin(), text.rend()};
}

/// What reading a file of the given content gives.
struct ReadResult
{
    bool ok = false;
    OrvaneAlgorithm::TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    std::string error; ///< the report's error without the directory in front
};

inline ReadResult read_path(std::string const& path, std::string const& directory = {})
{
    ReadResult result;
    result.ok = OrvaneAlgorithm::read_mesh(path, result.mesh, result.report);
    result.error = result.report.error;
    if (!directory.empty() && result.error.rfind(directory + "/", 0) == 0)
    {
        result.error.erase(0, directory.size() + 1);
    }
    return result;
}

inline ReadResult read_content(std::string const& name, std::string const& content)
{
    TempDir const directory;
    write_file(directory.file(name), content);
    return read_path(directory.file(name), directory.path().string());
}

} // namespace veld_test
