#pragma once

#include "workflow/export.h"
#include "workflow/files/MarkerFile.h"

#include <map>
#include <optional>
#include <string>

namespace veld
{

/// The way in which holes are closed.
enum class FillMethod
{
    CLIP, ///< One loop after the other, convex corners only: for flat holes.
    TRIM, ///< All loops in parallel, reflex corners too.
    CORE, ///< Refined and faired together with the surface around: new vertices, and old ones move.
    WHOLE,   ///< Refined and faired by itself, to the density of the surface around each hole.
    MARKERS, ///< The same for the holes at markers, and no others.
    AUTO     ///< Each hole in the way that suits it: none of these cuts what was scanned.
};

/// The methods by their names: "clip", "trim", "core", "whole", "markers", "auto".
VELD_WORKFLOW_API std::map<std::string, FillMethod> const& fill_methods();
VELD_WORKFLOW_API std::string to_string(FillMethod method);

/// What happens to the faces around a hole before it is filled.
enum class RegionHandling
{
    DELETE, ///< They are cut away: a scan is worst along its holes. A small piece may vanish.
    SMOOTH, ///< Their vertices move to the means of their neighbours.
    NONE    ///< All that was scanned stays.
};

/// "delete", "smooth", "none".
VELD_WORKFLOW_API std::map<std::string, RegionHandling> const& region_handlings();

/// How the neighbours of a new vertex weigh in the fairing.
enum class FillWeights
{
    UNIFORM,
    LENGTH ///< One over the length of the edge to them.
};

/// "uniform", "length".
VELD_WORKFLOW_API std::map<std::string, FillWeights> const& fill_weights();

/// What a hole has to be like to be closed, and how that is done. 0 takes a limit away.
struct FillSettings
{
    FillMethod method = FillMethod::AUTO; ///< How holes are closed.
    int max_edges = 0;                    ///< Largest hole, in edges.
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

    // whole and markers
    RegionHandling region = RegionHandling::NONE; ///< Of `AUTO` it is none.
    int region_rings = 10; ///< Width of the region around a hole, in rings of faces.
    FillWeights weights = FillWeights::LENGTH; ///< `WHOLE` and `MARKERS`: of the fairing.

    // markers and auto
    Markers markers;            ///< Their normals are not looked at.
    double marker_radius = 1.0; ///< A hole's centre has to be nearer than this, in mm.

    // auto
    int small_edges = 12; ///< Holes of up to so many edges are closed with flat triangles.
};

} // namespace veld
