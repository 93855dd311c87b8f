#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <limits>
#include <string>
#include <vector>

/// \file
/// What meshes carry from file to file without the library making use of it. Values of vertices are
/// float properties named "file:" and the name in the file; texture coordinates are OpenMesh's own
/// of halfedges. Both stay with their elements, whatever is deleted.

namespace OrvaneAlgorithm::detail
{

constexpr char const* CARRIED_PREFIX = "file:";

using CarriedValue = OpenMesh::VPropHandleT<float>;

/// Adds a value, or finds the one that is there. New vertices have 0.
inline CarriedValue add_carried_value(TriMesh& mesh, std::string const& name)
{
    CarriedValue value;
    if (!mesh.get_property_handle(value, CARRIED_PREFIX + name))
    {
        mesh.add_property(value, CARRIED_PREFIX + name);
    }
    return value;
}

/// The name of a carried value in files.
inline std::string name_in_file(TriMesh const& mesh, CarriedValue value)
{
    return mesh.property(value).name().substr(std::string(CARRIED_PREFIX).size());
}

/// All values that a mesh carries, in the order in which they were added.
inline std::vector<CarriedValue> carried_values(TriMesh const& mesh)
{
    std::vector<CarriedValue> values;
    for (auto property = mesh.vprops_begin(); property != mesh.vprops_end(); ++property)
    {
        CarriedValue value;
        if (*property != nullptr && (*property)->name().rfind(CARRIED_PREFIX, 0) == 0 &&
            mesh.get_property_handle(value, (*property)->name()))
        {
            values.push_back(value);
        }
    }
    return values;
}

/// Stands where a corner has no texture coordinates.
inline Vector2f no_texcoord()
{
    return Vector2f::Constant(std::numeric_limits<float>::quiet_NaN());
}

/// Whether any face may have texture coordinates.
inline bool carries_texcoords(TriMesh const& mesh)
{
    return mesh.has_halfedge_texcoords2D();
}

/// Whether a face has them at all its corners.
inline bool has_texcoords(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    for (auto const h : mesh.fh_range(face))
    {
        if (!mesh.texcoord2D(h).allFinite())
        {
            return false;
        }
    }
    return true;
}

} // namespace OrvaneAlgorithm::detail
