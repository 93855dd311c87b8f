#pragma once

#include "Json.h"

#include "algorithmVeld/common/TriMesh.h"

#include <string>
#include <vector>

namespace veld
{

/// Where sticks stand and how large they are.
struct StickSeeds
{
    OrvaneAlgorithm::Verts points;                ///< A point on each stick.
    std::vector<OrvaneAlgorithm::Vector2f> sizes; ///< Diameter and height.
};

/// Which way the tips of sticks lie.
enum class StickTips
{
    up,  ///< Towards +z.
    down ///< Towards -z.
};

/// Reads a seed file: one stick a line, `x y z diameter height`, `#` begins a comment.
StickSeeds read_seeds(std::string const& path);

/// Cuts sticks out of a mesh, which stays as it is.
/// \param path the mesh's file, for an error
/// \return one mesh for each seed; empty where no face is within reach
std::vector<OrvaneAlgorithm::TriMesh> cut_sticks(OrvaneAlgorithm::TriMesh& mesh,
                                                 std::string const& path, StickSeeds const& seeds,
                                                 StickTips tips);

/// \name A stick in its file
/// @{
Json to_json(std::string const& path, OrvaneAlgorithm::TriMesh const& stick);
std::string to_text(std::string const& path, OrvaneAlgorithm::TriMesh const& stick);
/// @}

} // namespace veld
