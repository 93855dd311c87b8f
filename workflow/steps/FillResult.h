#pragma once

#include "workflow/steps/FillSettings.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// A hole that stayed open.
struct OpenHoleReport
{
    std::size_t hole = 0;   ///< Its number in the list of the filled mesh's holes.
    std::size_t edges = 0;  ///< Of its rim.
    double perimeter = 0.0; ///< Millimetres.
    std::string reason;     ///< A sentence without a full stop.
};

/// What one pass did.
struct FillPass
{
    FillMethod method = FillMethod::TRIM; ///< What filled.
    std::size_t holes_before = 0;         ///< Holes before it.
    std::size_t holes_after = 0;          ///< Holes behind it.
    std::size_t new_faces = 0;            ///< Faces that were added.
    std::size_t new_vertices = 0;         ///< Vertices that were added.
    std::size_t cut_faces = 0;            ///< Old faces that were cut away.
};

/// A hole that was closed.
struct ClosedHoleReport
{
    std::size_t hole = 0;                 ///< Its number in the list of the holes that there were.
    std::size_t edges = 0;                ///< Of its rim.
    double perimeter = 0.0;               ///< Millimetres.
    FillMethod method = FillMethod::TRIM; ///< What filled.
};

/// What filling made.
struct FillResult
{
    /// Old elements keep their numbers, new ones come behind them. Where faces were cut away the
    /// others are numbered anew, and vertices that lost their last face are gone.
    OrvaneAlgorithm::TriMesh mesh;
    std::size_t holes_before = 0;         ///< Holes before it.
    std::size_t holes_after = 0;          ///< Holes behind it.
    std::size_t new_faces = 0;            ///< Faces that were added.
    std::size_t new_vertices = 0;         ///< Vertices that were added.
    std::size_t cut_faces = 0;            ///< Old faces that were cut away.
    std::size_t markers_without_hole = 0; ///< Of those that were given.
    double seconds = 0.0;                 ///< Of the filling alone.
    std::vector<OpenHoleReport> open;     ///< One for each hole that is left.
    std::vector<ClosedHoleReport> closed; ///< The holes that are closed now, in their order.
    std::vector<FillPass> passes;         ///< In the order in which they ran.
    /// Of each face the number of the pass that made it, from 1 on; 0: it was there before.
    std::vector<int> made_by;
};

} // namespace veld
