#pragma once

#include "Json.h"
#include "MarkerFile.h"
#include "MeshHealth.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace veld
{

/// One clean-up, ready to run.
struct CleanUp
{
    using Work = std::function<void(OrvaneAlgorithm::TriMesh&)>;

    std::string name; ///< Its option without the dashes.
    Work on_mesh;
    Work on_cloud; ///< On points without faces; empty if it works on faces only.
};

/// What goes with markers.
struct MarkerSettings
{
    double radius = 0.0; ///< Millimetres. What is nearer than this to a marker is near.
    bool use_normals = false;
    double normal_dot = 0.5; ///< With normals: the dot product has to exceed this.
};

/// \name The clean-ups
/// Each changes the mesh in place and leaves the normals and colours of what stays as they were.
/// @{
CleanUp small_pieces_by_faces(int faces);
CleanUp small_pieces_by_vertices(int vertices);
CleanUp small_bodies_on_strips(int faces, int rings);
CleanUp non_manifold_vertices();
CleanUp rims(int rings);
CleanUp surface_near_markers(Markers const& markers, MarkerSettings const& settings);
/// @}

/// What one clean-up took away.
struct CleanStep
{
    std::string name;
    std::size_t removed_vertices = 0;
    std::size_t removed_faces = 0;
};

/// What cleaning did.
struct CleanResult
{
    MeshHealth before;
    MeshHealth after;
    std::vector<CleanStep> steps;
    double seconds = 0.0; ///< Of the clean-ups alone.
};

/// Runs clean-ups one after the other.
/// \param way which of its two ways each takes; it must have that one
CleanResult clean(OrvaneAlgorithm::TriMesh& mesh, std::vector<CleanUp> const& clean_ups,
                  CleanUp::Work CleanUp::*way);

Json to_json(CleanResult const& result);

/// Lines for people: the counts before and after, and what each clean-up took.
std::string to_text(std::string const& path, CleanResult const& result);

} // namespace veld
