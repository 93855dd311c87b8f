#include "workflow/run/one_step/RunLines.h"

#include "workflow/words.h"

#include <fmt/format.h>

namespace veld
{

std::string line_of(MergeResult const& result)
{
    return fmt::format("{} of {}, {:.4g} mm apart, became {}, {}", counted(result.frames, "frame"),
                       counted(result.points, "point"), result.settings.spacing,
                       counted(result.mesh.n_faces(), "face"), counted(result.holes, "hole"));
}

std::string line_of(NormalsResult const& result)
{
    return fmt::format("{} of {} got a normal by {} neighbours", result.normals,
                       counted(result.cloud.n_vertices(), "point"), result.settings.neighbours);
}

std::string line_of(CleanResult const& result)
{
    auto const faces = result.before.faces - result.after.faces;
    auto const vertices = result.before.vertices - result.after.vertices;
    std::string const removed =
        faces + vertices == 0
            ? "nothing to take out"
            : fmt::format("{} and {} taken out", counted(faces, "face"),
                          vertices == 1 ? "1 vertex" : fmt::format("{} vertices", vertices));
    return result.after.faces == 0 ? removed
                                   : fmt::format("{}, {} and {} left", removed,
                                                 counted(result.after.components, "piece"),
                                                 counted(result.after.holes, "hole"));
}

std::string line_of(RepairResult const& result)
{
    std::string const begin = result.before.faces == 0
                                  ? counted(result.before.vertices, "point") + " connected by " +
                                        counted(result.new_faces, "face")
                                  : counted(result.before.components, "piece") + " tied by " +
                                        counted(result.new_faces, "face");
    return fmt::format("{}, {} and {} left", begin, counted(result.after.components, "piece"),
                       counted(result.after.holes, "hole"));
}

std::string line_of(FillResult const& result)
{
    if (result.holes_before == 0)
    {
        return "nothing to fill: the mesh is closed";
    }
    return fmt::format("{} of {} closed with {}, {}", result.closed.size(),
                       counted(result.holes_before, "hole"), counted(result.new_faces, "face"),
                       result.holes_after == 0 ? "the mesh is closed"
                                               : fmt::format("{} left open", result.holes_after));
}

std::string line_of(TextureResult const& result)
{
    return fmt::format("{} on {} of {}, {} x {} pixels", counted(result.photographs, "photograph"),
                       result.textured_faces, counted(result.textured.mesh.n_faces(), "face"),
                       result.textured.image.width(), result.textured.image.height());
}

} // namespace veld
