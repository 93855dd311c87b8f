#pragma once

#include "workflow/export.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace veld
{

/// The way in which a torn surface is repaired. No vertex is made or moved by either.
enum class RepairMethod
{
    BALL,   ///< A ball rolls around the borders and connects what it touches.
    PROJECT ///< Around each border vertex, those nearby are connected in its tangent plane.
};

/// "ball", "project".
VELD_WORKFLOW_API std::map<std::string, RepairMethod> const& repair_methods();
VELD_WORKFLOW_API std::string to_string(RepairMethod method);

/// How a surface is repaired.
struct RepairSettings
{
    RepairMethod method = RepairMethod::BALL; ///< How gaps are closed.
    /// Millimetres between neighbouring vertices, which the lengths below follow; 0: measured.
    double spacing = 0.0;
    /// A pass each, in millimetres: of the balls, which close gaps of up to twice their radius, or
    /// of the search around a border vertex. Empty: as `repair_radii` has them.
    std::vector<double> radii;
    /// Largest angle in degrees between a new face and the normal of each of its corners; 180 is
    /// any. It keeps the far side of a thin part away.
    double normal_angle = 60.0;
    /// Holes that are left and are shorter than this in millimetres are closed with ears, which
    /// bring no vertices: mostly corners that no empty ball fits. 0: none. Nothing: 25 spacings.
    std::optional<double> ear_perimeter;
    /// Whether of several fans of faces at a vertex only one stays, those of new faces alone going
    /// first, and new faces do not lie at the back of others.
    bool manifold = true;

    // ball
    bool empty_ball = true; ///< Otherwise what the ball meets first is connected.
    /// Whether the normals are those of the faces that a pass finds. Otherwise loose points keep
    /// theirs.
    bool renew_normals = false;
    /// Whether the smaller fans of faces go around the corners of a face that the mesh refused, and
    /// the pass runs again.
    bool delete_fans = false;
    /// Folder for the surroundings of refused faces, as OBJ files; empty: none are written.
    std::filesystem::path refused_faces;

    // project
    /// Cosine of the tilt against z up to which a tangent plane is taken as it lies.
    double normal_z = 0.95;
};

/// The radii of a method for a spacing. \param on_points whether there are no faces yet
VELD_WORKFLOW_API std::vector<double> repair_radii(RepairMethod method, double spacing,
                                                   bool on_points);

} // namespace veld
