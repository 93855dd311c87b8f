#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"

#include "algorithmVeld/common/TriMesh.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace veld
{

/// The way in which holes are closed.
enum class FillMethod
{
    CLIP, ///< One loop after the other, convex corners only: for flat holes.
    TRIM, ///< All loops in parallel, reflex corners too.
    CORE  ///< Refined and faired together with the surface around: new vertices, and old ones move.
};

/// The methods by their names: "clip", "trim", "core".
VELD_WORKFLOW_API std::map<std::string, FillMethod> const& fill_methods();

/// What a hole has to be like to be closed, and how that is done. 0 takes a limit away.
struct FillSettings
{
    FillMethod method = FillMethod::TRIM;
    int max_edges = 0; ///< Largest hole, in edges.
    /// A hole has to be shorter than this, in millimetres. Nothing: the diagonal of the box around
    /// the mesh. The outer border of an open scan is longer than that, a hole hardly ever.
    std::optional<double> max_perimeter;

    // clip and trim
    double edge_length = 0.0;    ///< Longest new edge, in millimetres.
    double normal_angle = 150.0; ///< Largest turn from old to new faces, in degrees; 180 is any.

    // core
    int min_edges = 0;  ///< Smaller holes are passed over: they are another pass's.
    int rings = 3;      ///< Rings of faces around a hole that may move.
    int smoothness = 2; ///< Continuous in: 0 position, 1 tangent planes, 2 curvature.
    /// Holes of up to so many edges are triangulated with a look at every split, those of up to
    /// twice as many at every second, and so on.
    int exact_edges = 2000;
    /// Vertices of the largest patch (a hole and its rings, or several that meet) that is faired.
    int max_patch = 100'000;
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
    FillMethod method = FillMethod::TRIM;
    std::size_t holes_before = 0;
    std::size_t holes_after = 0;
    std::size_t new_faces = 0;
    std::size_t new_vertices = 0;
};

/// What filling made.
struct FillResult
{
    OrvaneAlgorithm::TriMesh mesh; ///< Old elements keep their numbers, new ones come behind them.
    std::size_t holes_before = 0;
    std::size_t holes_after = 0;
    std::size_t new_faces = 0;
    std::size_t new_vertices = 0;
    double seconds = 0.0;             ///< Of the filling alone.
    std::vector<OpenHoleReport> open; ///< One for each hole that is left.
    std::vector<FillPass> passes;
};

/// Closes the holes of a mesh.
VELD_WORKFLOW_API FillResult fill(OrvaneAlgorithm::TriMesh const& mesh,
                                  FillSettings const& settings, Context& context);

/// The same in several passes. A hole that several of them left open has the last one's reason.
VELD_WORKFLOW_API FillResult fill(OrvaneAlgorithm::TriMesh const& mesh,
                                  std::vector<FillSettings> const& passes, Context& context);

} // namespace veld
