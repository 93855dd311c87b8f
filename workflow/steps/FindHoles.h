#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/MarkerFile.h"

#include "algorithmVeld/common/TriMesh.h"

#include <optional>
#include <vector>

namespace veld
{

/// Only the hole nearest to a place.
struct HoleNearPlace
{
    OrvaneAlgorithm::Vector3f place = OrvaneAlgorithm::Vector3f::Zero(); ///< Millimetres.
    double distance = 0.0; ///< Its rim has to be nearer than this, in millimetres.
};

/// Only holes that markers left.
struct HolesOfMarkers
{
    Markers markers;    ///< The markers themselves.
    double match = 0.0; ///< A hole's centre has to be nearer to a marker than this, in millimetres.
    double radius =
        0.0; ///< Of a marker in millimetres: a longer rim than its circle is none of it.
    bool use_normals = false; ///< A hole has to face like its marker.
    double normal_dot = 0.5;  ///< With normals: the dot product has to exceed this.
};

/// Which holes are looked for.
struct FindHolesSettings
{
    double max_perimeter = 0.0; ///< Only holes shorter than this in millimetres; 0: any.
    std::optional<HoleNearPlace> nearest_to;  ///< Only the hole nearest to a place.
    std::optional<HolesOfMarkers> of_markers; ///< Not together with the others.
};

/// What a hole is told by.
struct HoleSummary
{
    std::size_t vertices = 0;                                             ///< Of the rim.
    std::size_t edges = 0;                                                ///< Of the rim.
    double perimeter = 0.0;                                               ///< Millimetres.
    OrvaneAlgorithm::Vector3d centre = OrvaneAlgorithm::Vector3d::Zero(); ///< Mean of the corners.
};

/// The holes that were found.
struct FindHolesResult
{
    OrvaneAlgorithm::Holes holes;       ///< Their vertices, each hole in the order of its boundary.
    std::vector<HoleSummary> summaries; ///< One for each of them.
};

/// Finds holes, in the order of the library.
/// \param mesh not changed, but for a temporary property of the search
VELD_WORKFLOW_API FindHolesResult find_holes(OrvaneAlgorithm::TriMesh& mesh,
                                             FindHolesSettings const& settings, Context& context);

/// Diagonal of the box around all vertices, in millimetres.
VELD_WORKFLOW_API double box_diagonal(OrvaneAlgorithm::TriMesh const& mesh);

} // namespace veld
