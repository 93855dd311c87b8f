#include "shell/Texts.h"

#include "shell/Console.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace veld::cli
{

namespace
{

/// A line for each reason, the most frequent one first.
std::string open_holes_by_reason(std::vector<OpenHoleReport> const& open_holes)
{
    struct Group
    {
        std::string reason;
        std::size_t holes = 0;
        std::size_t fewest_edges = 0;
        std::size_t most_edges = 0;
    };
    std::vector<Group> groups;
    for (auto const& open : open_holes)
    {
        auto group =
            std::find_if(groups.begin(), groups.end(),
                         [&open](Group const& other) { return other.reason == open.reason; });
        if (group == groups.end())
        {
            group = groups.insert(group, {open.reason, 0, open.edges, open.edges});
        }
        ++group->holes;
        group->fewest_edges = std::min(group->fewest_edges, open.edges);
        group->most_edges = std::max(group->most_edges, open.edges);
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](Group const& a, Group const& b) { return a.holes > b.holes; });
    std::string text;
    for (auto const& group : groups)
    {
        std::string const edges = group.fewest_edges == group.most_edges
                                      ? std::string()
                                      : fmt::format("{} to ", group.fewest_edges);
        text += fmt::format("  {} {} open ({}{}): {}\n", counted(group.holes, "hole"),
                            group.holes == 1 ? "stays" : "stay", edges,
                            counted(group.most_edges, "edge"), group.reason);
    }
    return text + "  --verbose lists them one by one\n";
}

} // namespace

std::string added(std::size_t faces, std::size_t vertices)
{
    std::string const text = counted(faces, "face");
    return vertices == 0 ? text : text + " and " + counted(vertices, "vertex");
}

namespace
{

/// What is in the file as it is, and what had to be done with it: zeros are left out.
std::string file_lines(OrvaneAlgorithm::MeshFileContents const& contents)
{
    std::string text = "  in the file\n";
    auto const add = [&text](std::string const& name, std::size_t count)
    { text += count == 0 ? std::string() : fmt::format("    {:<22}{:>12}\n", name, count); };
    auto const list = [&text](char const* name, std::vector<std::string> const& items)
    {
        if (!items.empty())
        {
            text +=
                fmt::format("    {:<22}{:>12}\n", name, fmt::format("{}", fmt::join(items, ", ")));
        }
    };
    add("vertices", contents.vertices);
    for (auto const& [corners, count] : contents.faces)
    {
        add(corners == 3   ? "triangles"
            : corners == 4 ? "quads"
                           : "faces of " + counted(corners, "corner"),
            count);
    }
    add("vertices not finite", contents.vertices_not_finite);
    add("their faces", contents.not_finite.count);
    add("degenerate faces", contents.degenerate.count);
    add("faces too large", contents.too_large.count);
    add("repeated faces", contents.repeated.count);
    add("faces turned over", contents.turned_faces);
    add("crowded edges", contents.crowded_edges);
    add("vertices added", contents.added_vertices);
    add("faces left out there", contents.unheld.count);
    list("kept", contents.kept);
    list("not kept", contents.dropped);
    return text;
}

/// Which method closed how many of the holes, where there were several, and what was cut away.
std::string ways(FillResult const& result)
{
    std::map<FillMethod, std::size_t> closed;
    for (auto const& hole : result.closed)
    {
        ++closed[hole.method];
    }
    std::string text;
    for (auto const& pass : result.passes)
    {
        auto const count = std::exchange(closed[pass.method], 0);
        if (result.passes.size() > 1 && count > 0)
        {
            text += fmt::format("  {} closed {}\n", to_string(pass.method), counted(count, "hole"));
        }
    }
    if (result.cut_faces > 0)
    {
        text +=
            fmt::format("  {} around holes cut away first\n", counted(result.cut_faces, "face"));
    }
    return text;
}

} // namespace

std::string to_text(std::string const& path, MeshHealth const& health,
                    OrvaneAlgorithm::MeshFileContents const& contents)
{
    std::string text = path + (health.closed ? ": closed\n" : ": open\n");
    auto const add = [&text](char const* name, std::size_t count)
    { text += fmt::format("  {:<24}{:>12}\n", name, count); };
    add("vertices", health.vertices);
    add("faces", health.faces);
    add("edges", health.edges);
    add("boundary edges", health.boundary_edges);
    add("holes", health.holes);
    add("components", health.components);
    add("non-manifold vertices", health.non_manifold_vertices);
    add("isolated vertices", health.isolated_vertices);
    add("faces left out", contents.faces_left_out());
    text +=
        fmt::format("  {:<24}{:>12.6g} mm\n", "average edge length", health.average_edge_length);
    auto const size = (health.box_max.cast<double>() - health.box_min.cast<double>()).eval();
    text += fmt::format("  {:<24}{:>12.6g} x {:.6g} x {:.6g} mm\n", "bounding box", size.x(),
                        size.y(), size.z());
    return text + file_lines(contents);
}

std::string to_text(std::string const& path, FindHolesResult const& result)
{
    auto const& holes = result.summaries;
    std::string text = fmt::format("{}: {}\n", path, counted(holes.size(), "hole"));
    if (!holes.empty())
    {
        text += "  hole   edges  perimeter (mm)  centre (mm)\n";
    }
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        auto const& hole = holes[i];
        text += fmt::format("{:>6}{:>8}{:>16.6g}  {:.6g}, {:.6g}, {:.6g}\n", i, hole.edges,
                            hole.perimeter, hole.centre.x(), hole.centre.y(), hole.centre.z());
    }
    return text;
}

std::string to_text(std::string const& path, FillResult const& result, bool all)
{
    constexpr std::size_t MOST_LISTED = 10;
    std::string text = fmt::format("{}: {} before, {} after, {} added in {:.3g} s\n", path,
                                   counted(result.holes_before, "hole"), result.holes_after,
                                   added(result.new_faces, result.new_vertices), result.seconds);
    text += ways(result);
    for (std::size_t i = 0; all && result.passes.size() > 1 && i < result.closed.size(); ++i)
    {
        auto const& hole = result.closed[i];
        text += fmt::format("  {} closed hole {} of the input ({}, {:.6g} mm)\n",
                            to_string(hole.method), hole.hole, counted(hole.edges, "edge"),
                            hole.perimeter);
    }
    if (!all && result.open.size() > MOST_LISTED)
    {
        return text + open_holes_by_reason(result.open);
    }
    for (auto const& open : result.open)
    {
        text += fmt::format("  hole {} stays open ({}, {:.6g} mm): {}\n", open.hole,
                            counted(open.edges, "edge"), open.perimeter, open.reason);
    }
    return text;
}

std::string to_text(std::string const& path, CleanResult const& result)
{
    std::string text = fmt::format("{}: cleaned in {:.3g} s\n", path, result.seconds);
    for (auto const& step : result.steps)
    {
        text += fmt::format("  {} took {}\n", step.name,
                            added(step.removed_faces, step.removed_vertices));
    }
    text += fmt::format("  {:<24}{:>12}{:>12}\n", "", "before", "after");
    auto const add = [&](char const* name, std::size_t MeshHealth::*count) {
        text +=
            fmt::format("  {:<24}{:>12}{:>12}\n", name, result.before.*count, result.after.*count);
    };
    add("vertices", &MeshHealth::vertices);
    add("faces", &MeshHealth::faces);
    add("holes", &MeshHealth::holes);
    add("components", &MeshHealth::components);
    add("non-manifold vertices", &MeshHealth::non_manifold_vertices);
    add("isolated vertices", &MeshHealth::isolated_vertices);
    return text;
}

std::string to_text(std::string const& path, TextureResult const& result)
{
    std::size_t const faces = result.textured.mesh.n_faces();
    return fmt::format(
        "{}: {} on {} of {}, {}, {} x {} pixels, in {:.3g} s\n"
        "  depth tolerance {:.4g} mm\n"
        "  seen by none: {}, in small regions: {}, {} without a colour\n",
        path, counted(result.photographs, "photograph"), result.textured_faces,
        counted(faces, "face"),
        result.patches == 1 ? "1 patch" : fmt::format("{} patches", result.patches),
        result.textured.image.width(), result.textured.image.height(), result.seconds,
        result.settings.depth_tolerance.value_or(0.0), counted(faces - result.seen_faces, "face"),
        counted(result.seen_faces - result.textured_faces, "face"), result.colourless_faces);
}

std::string to_text(FrameNoise const& noise)
{
    std::string text =
        fmt::format("{:.3g} mm at a depth of {:.4g} mm", noise.in_the_middle(), noise.depth);
    if (noise.noise.slant > 0.0)
    {
        text += fmt::format(", {:.2g} times of it at a slant of 60 degrees", noise.times_aslant());
    }
    return text;
}

namespace
{

/// Noise, and what was done about it.
std::string noise_of(MergeResult const& result)
{
    if (!(result.noise.in_the_middle() > 0.0))
    {
        return {};
    }
    std::string const text = "  noise: " + to_text(result.noise);
    return result.prepared
               ? text + fmt::format("; smoothed and thinned to {}, layers up to {:.3g} mm apart "
                                    "taken for one\n",
                                    counted(result.smooth, "point"), result.tolerance)
               : text + '\n';
}

} // namespace

std::string to_text(std::size_t tile, TileResult const& result)
{
    return fmt::format("tile {}: {}, {} of its own, {} over seams, {:.1f} s\n", tile,
                       counted(result.thin.points, "sample"), counted(result.merge.faces, "face"),
                       result.merge.crossing, result.thin.seconds + result.merge.seconds);
}

std::string to_text(std::string const& path, TiledMergeResult const& result)
{
    JoinTilesResult const& join = result.join;
    return fmt::format(
        "{}: {} of {} in {}, spacing {:.6g} mm\n"
        "  seams: {} as both sides have them, {} left out, {} stitched\n"
        "  {} and {}, in {:.3f} s\n",
        path, counted(result.plan.frames, "frame"), counted(result.plan.points, "sample"),
        counted(result.plan.tiles.size(), "tile"), result.plan.settings.spacing,
        counted(join.crossing, "face"), join.refused, join.stitched,
        counted(join.vertices, "point"), counted(join.faces, "face"), result.seconds);
}

std::string to_text(std::string const& path, MergeResult const& result)
{
    MergeSettings const& settings = result.settings;
    std::string text =
        fmt::format("{}: {} of {}, spacing {:.6g} mm", path, counted(result.frames, "frame"),
                    counted(result.points, "point"), settings.spacing);
    if (settings.method == MergeMethod::STITCH)
    {
        text += fmt::format(", stitch radius {:.6g} mm", settings.stitch_radius);
    }
    if (settings.cut_long_edges)
    {
        text += fmt::format(", edges up to {:.6g} mm", settings.long_edge);
    }
    text += '\n';
    text += noise_of(result);
    if (settings.layers != Layers::ALL)
    {
        text += fmt::format(
            "  overlap: {} taken out{}\n", counted(result.removed, "point"),
            settings.layers == Layers::MEAN ? ", the others moved to the mean of the layers" : "");
    }
    if (settings.method == MergeMethod::OUTLIER && settings.outlier_factor > 0.0)
    {
        text += fmt::format("  outliers: {} off the surface taken out\n",
                            counted(result.outliers, "loose point"));
    }
    return text + fmt::format("  {} and {}, {} left open, in {:.3f} s\n",
                              counted(result.mesh.n_vertices(), "point"),
                              counted(result.mesh.n_faces(), "face"), counted(result.holes, "hole"),
                              result.seconds);
}

namespace
{

/// The lengths that were taken.
std::string lengths_of(RepairSettings const& settings)
{
    std::string text = fmt::format("spacing {:.6g} mm, {} of ", settings.spacing,
                                   settings.method == RepairMethod::BALL ? "balls" : "searches");
    for (std::size_t i = 0; i < settings.radii.size(); ++i)
    {
        text += fmt::format("{}{:.4g}", i > 0 ? ", " : "", settings.radii[i]);
    }
    text += " mm";
    return *settings.ear_perimeter > 0.0
               ? text + fmt::format(", holes up to {:.4g} mm", *settings.ear_perimeter)
               : text;
}

/// What became of faces that did not stay.
std::string lost_faces(RepairResult const& result)
{
    std::string text;
    auto const add = [&text](std::size_t count, char const* what) {
        text += count == 0 ? std::string() : fmt::format("  {} {}\n", counted(count, "face"), what);
    };
    add(result.refused_faces, "refused, for the mesh had no room for them");
    add(result.dropped_faces, "dropped again, for they lay askew or made vertices non-manifold");
    add(result.lost_faces, "of smaller fans taken away");
    return text;
}

} // namespace

std::string to_text(std::string const& path, RepairResult const& result)
{
    std::string text = fmt::format("{}: {} before, {} after, {} added in {:.3g} s\n  {}: {}\n",
                                   path, counted(result.before.holes, "hole"), result.after.holes,
                                   counted(result.new_faces, "face"), result.seconds,
                                   to_string(result.settings.method), lengths_of(result.settings));
    text += lost_faces(result);
    text += fmt::format("  {:<24}{:>12}{:>12}\n", "", "before", "after");
    auto const add = [&](char const* name, std::size_t MeshHealth::*count) {
        text +=
            fmt::format("  {:<24}{:>12}{:>12}\n", name, result.before.*count, result.after.*count);
    };
    add("faces", &MeshHealth::faces);
    add("boundary edges", &MeshHealth::boundary_edges);
    add("components", &MeshHealth::components);
    add("non-manifold vertices", &MeshHealth::non_manifold_vertices);
    add("isolated vertices", &MeshHealth::isolated_vertices);
    return text;
}

std::string to_text(std::string const& path, NormalsResult const& result)
{
    std::string text =
        fmt::format("{}: {}, {} by {} neighbours in {:.3g} s\n", path,
                    counted(result.cloud.n_vertices(), "point"), counted(result.normals, "normal"),
                    result.settings.neighbours, result.seconds);
    switch (result.sense)
    {
    case NormalSense::SENSOR:
        return text + "  turned to the sensor\n";
    case NormalSense::FRAMES:
        return text + "  turned to the sensors of the frames\n";
    case NormalSense::NEIGHBOURS:
        break;
    }
    return text + fmt::format("  turned outwards in {}\n", counted(result.pieces, "piece"));
}

std::string to_text(KeyframesResult const& result)
{
    std::string text;
    for (std::size_t i = 0; i < result.views.size(); ++i)
    {
        std::string const image = result.images.empty() ? "" : " " + one_line(result.images[i]);
        text += std::to_string(result.views[i]) + image + "\n";
    }
    return text;
}

std::string to_text(std::string const& path, OrvaneAlgorithm::TriMesh const& stick)
{
    return fmt::format("{}: a stick of {} and {} vertices\n", path,
                       counted(stick.n_faces(), "face"), stick.n_vertices());
}

} // namespace veld::cli
