#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <optional>

namespace veld
{

/// \name Bounds of NormalsSettings::neighbours
/// @{
constexpr int FEWEST_NEIGHBOURS = 2;
constexpr int MOST_NEIGHBOURS = 1000;
/// @}

/// How the normals of a cloud are estimated.
struct NormalsSettings
{
    /// So many nearest points beside a point itself make its plane, 2 to 1000.
    int neighbours = 16;
    /// Where the points were seen from, in millimetres: normals look there.
    std::optional<OrvaneAlgorithm::Vector3f> sensor;
};

/// Which way normals were turned.
enum class NormalSense
{
    SENSOR,    ///< Towards the sensor of the settings.
    FRAMES,    ///< Towards the sensor of each frame, or as its normals where that is not known.
    NEIGHBOURS ///< As those of the neighbours, and outwards where a piece ends.
};

/// A cloud with normals, and how they came about.
struct NormalsResult
{
    OrvaneAlgorithm::TriMesh cloud;              ///< All points in their order, with what they had.
    NormalsSettings settings;                    ///< As they were taken.
    NormalSense sense = NormalSense::NEIGHBOURS; ///< Which way they were turned.
    std::size_t normals = 0; ///< Points that have one; the others have the zero vector.

    /// \name Points without a normal, and why
    /// @{
    std::size_t few_points = 0; ///< Fewer than three different points are there.
    std::size_t on_a_line = 0;  ///< The points around lie on a line.
    std::size_t unplaced = 0;   ///< Coordinates that are not finite, or beyond 1e18.
    /// @}

    std::size_t repeated = 0; ///< Points at the place of one before; they have its plane.
    /// Pieces of neighbours whose normals tell of each other; with a sensor nobody asks, and it
    /// is 0.
    std::size_t pieces = 0;
    double seconds = 0.0; ///< Of the estimation alone.
};

/// Estimates a unit normal for each point of a cloud, from a plane through its neighbours, and
/// turns them to the sensor if there is one, otherwise so that neighbours agree. What normals there
/// were are replaced. The same bytes for any number of threads; the order of the points does not
/// matter either.
///
/// Warns, once, of points without a normal; throws `OperationError` if there are no others. Throws
/// `InputError` where there are no points, or a setting is none.
/// \param cloud its points count and its faces do not, nor has the result any
VELD_WORKFLOW_API NormalsResult estimate_normals(OrvaneAlgorithm::TriMesh const& cloud,
                                                 NormalsSettings const& settings, Context& context);

/// The same for the points of all frames together, in global coordinates, frame after frame. They
/// have colours if all frames do.
VELD_WORKFLOW_API NormalsResult estimate_normals(FrameSet const& frames,
                                                 NormalsSettings const& settings, Context& context);

} // namespace veld
