#pragma once

#include "Json.h"

#include "algorithmVeld/common/TriMesh.h"

#include <string>
#include <vector>

namespace veld
{

/// The way in which holes are closed.
enum class FillMethod
{
    clip, ///< One loop after the other, convex corners only: for flat holes.
    trim  ///< All loops in parallel, reflex corners too.
};

/// What a hole has to be like to be closed. 0 takes a limit away.
struct FillSettings
{
    FillMethod method = FillMethod::trim;
    int max_edges = 0;          ///< Largest hole, in edges.
    double max_perimeter = 0.0; ///< A hole has to be shorter than this, in millimetres.
    double edge_length = 0.0;   ///< Longest new edge, in millimetres.
    double normal_angle =
        150.0; ///< Largest turn between new and old faces, in degrees; 180 is any.
};

/// A hole that stayed open.
struct OpenHoleReport
{
    std::size_t hole = 0; ///< Its number in the list of the filled mesh's holes.
    std::size_t edges = 0;
    double perimeter = 0.0; ///< Millimetres.
    std::string reason;
};

/// What filling did.
struct FillResult
{
    std::size_t holes_before = 0;
    std::size_t holes_after = 0;
    std::size_t new_faces = 0;
    std::size_t new_vertices = 0;
    double seconds = 0.0;             ///< Of the filling alone.
    std::vector<OpenHoleReport> open; ///< One for each hole that is left.
};

/// Closes the holes of a mesh. Old vertices and faces stay as they are.
FillResult fill_mesh(OrvaneAlgorithm::TriMesh& mesh, FillSettings const& settings);

Json to_json(FillResult const& result);

/// Lines for people: what was done, and each hole left open with its reason.
std::string to_text(std::string const& path, FillResult const& result);

} // namespace veld
