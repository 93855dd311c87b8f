#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/mesh_files/Carried.h"

#include <string>
#include <vector>

namespace veld
{

/// The names of the values of vertices that a mesh carries from file to file.
inline std::vector<std::string> carried_names(OrvaneAlgorithm::TriMesh const& mesh)
{
    namespace detail = OrvaneAlgorithm::detail;
    std::vector<std::string> names;
    for (auto const value : detail::carried_values(mesh))
    {
        names.push_back(detail::name_in_file(mesh, value));
    }
    return names;
}

} // namespace veld
