#include "workflow/repairing/RepairInput.h"

#include "workflow/Error.h"
#include "workflow/repairing/RepairValues.h"
#include "workflow/repairing/Spacing.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace veld
{

using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

namespace
{

/// About as long as the rim of the largest hole that the largest ball reaches across.
constexpr double EAR_PERIMETER_SPACINGS = 25.0;

void check_numbers(RepairSettings const& settings)
{
    auto const is_length = [](double length) { return length >= 0.0 && std::isfinite(length); };
    if (!is_length(settings.spacing))
    {
        throw InputError("the spacing has to be 0 or more millimetres", "spacing");
    }
    if (!std::all_of(settings.radii.begin(), settings.radii.end(),
                     [&](double radius) { return is_length(radius) && radius > 0.0; }))
    {
        throw InputError("a radius has to be more than 0 millimetres", "radii");
    }
    if (!is_length(settings.ear_perimeter.value_or(0.0)))
    {
        throw InputError("the perimeter has to be 0 or more millimetres", "ear_perimeter");
    }
    if (!(settings.normal_angle >= 0.0 && settings.normal_angle <= 180.0))
    {
        throw InputError("the angle of normals has to be from 0 to 180 degrees", "normal_angle");
    }
}

void check_cloud_to_repair(TriMesh const& mesh, RepairSettings const& settings)
{
    if (settings.method == RepairMethod::PROJECT)
    {
        throw InputError("points without faces have no border to project; the ball makes a "
                         "surface of them",
                         "method");
    }
    if (settings.renew_normals)
    {
        throw InputError("points without faces have no other normals than their own",
                         "renew_normals");
    }
    auto const vertices = mesh.vertices();
    if (!mesh.has_vertex_normals() ||
        std::none_of(vertices.begin(), vertices.end(),
                     [&](VertexHandle vertex) { return has_direction(mesh.normal(vertex)); }))
    {
        throw InputError("points without faces need normals, which tell the sides of their "
                         "surface: 'veld normals' estimates them");
    }
}

} // namespace

void check_repair(TriMesh const& mesh, RepairSettings const& settings)
{
    check_numbers(settings);
    if (mesh.n_vertices() < 3)
    {
        throw InputError(fmt::format("a face takes three vertices, and there {} {}",
                                     mesh.n_vertices() == 1 ? "is" : "are", mesh.n_vertices()));
    }
    if (is_cloud_of(mesh))
    {
        check_cloud_to_repair(mesh, settings);
    }
}

RepairSettings complete_settings(RepairSettings settings, TriMesh const& mesh)
{
    if (settings.spacing == 0.0)
    {
        settings.spacing = measure_spacing(mesh);
    }
    if (!(settings.spacing > 0.0) || !std::isfinite(settings.spacing))
    {
        throw InputError("the points tell no spacing, for most of them lie in one place; it has to "
                         "be given",
                         "spacing");
    }
    if (settings.radii.empty())
    {
        settings.radii = repair_radii(settings.method, settings.spacing, is_cloud_of(mesh));
    }
    settings.ear_perimeter =
        settings.ear_perimeter.value_or(EAR_PERIMETER_SPACINGS * settings.spacing);
    return settings;
}

} // namespace veld
