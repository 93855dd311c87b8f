#pragma once

#include "Json.h"

#include "algorithmVeld/common/TriMesh.h"

#include <map>
#include <string>
#include <vector>

namespace veld
{

/// The way in which holes are closed.
enum class FillMethod
{
    clip, ///< One loop after the other, convex corners only: for flat holes.
    trim, ///< All loops in parallel, reflex corners too.
    core  ///< Refined and faired together with the surface around: new vertices, and old ones move.
};

/// The methods by their names on the command line.
std::map<std::string, FillMethod> const& fill_methods();

/// What a hole has to be like to be closed, and how that is done. 0 takes a limit away.
struct FillSettings
{
    FillMethod method = FillMethod::trim;
    int max_edges = 0;          ///< Largest hole, in edges.
    double max_perimeter = 0.0; ///< A hole has to be shorter than this, in millimetres.

    // clip and trim
    double edge_length = 0.0;    ///< Longest new edge, in millimetres.
    double normal_angle = 150.0; ///< Largest turn from old to new faces, in degrees; 180 is any.

    // core
    int min_edges = 0;  ///< Smaller holes are passed over: they are another pass's.
    int rings = 3;      ///< Rings of faces around a hole that may move.
    int smoothness = 1; ///< Continuous in: 0 position, 1 tangent planes, 2 curvature.
};

/// A hole that stayed open.
struct OpenHoleReport
{
    std::size_t hole = 0; ///< Its number in the list of the filled mesh's holes.
    std::size_t edges = 0;
    double perimeter = 0.0; ///< Millimetres.
    std::string reason;
};

/// What one pass did.
struct FillPass
{
    FillMethod method = FillMethod::trim;
    std::size_t holes_before = 0;
    std::size_t holes_after = 0;
    std::size_t new_faces = 0;
    std::size_t new_vertices = 0;
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
    std::vector<FillPass> passes;
};

/// Closes the holes of a mesh in one or more passes. Elements keep their numbers, new ones come
/// behind them. A hole that several passes left open has the last one's reason.
FillResult fill_mesh(OrvaneAlgorithm::TriMesh& mesh, std::vector<FillSettings> const& passes);

Json to_json(FillResult const& result);
Json to_json(FillPass const& pass);

/// "40 faces", "40 faces and 9 vertices".
std::string added(std::size_t faces, std::size_t vertices);

/// Lines for people: what was done, and each hole left open with its reason.
std::string to_text(std::string const& path, FillResult const& result);

} // namespace veld
