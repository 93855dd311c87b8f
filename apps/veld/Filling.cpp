#include "Filling.h"

#include "HoleSummary.h"
#include "Session.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"

#include <fmt/format.h>

#include <chrono>
#include <map>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::OpenHole;
using OrvaneAlgorithm::TriMesh;

namespace
{

/// Sets both ear methods up, which name their settings alike.
template <typename Ears>
void set_limits(Ears& ears, FillSettings const& settings)
{
    ears.set_node_num_constraint(settings.max_edges > 0);
    ears.set_node_num_thr(settings.max_edges);
    ears.set_edge_length_constraint(settings.edge_length > 0.0);
    ears.set_edge_length_thr(settings.edge_length);
    ears.set_norm_constraint(settings.normal_angle < 180.0);
    ears.set_max_perimeter(settings.max_perimeter);
}

std::vector<OpenHole> clip(TriMesh& mesh, FillSettings const& settings)
{
    OrvaneAlgorithm::EarClipping ears;
    set_limits(ears, settings);
    ears.set_angle_thr(settings.normal_angle);
    ears.fill_hole(mesh);
    return ears.open_holes();
}

std::vector<OpenHole> trim(TriMesh& mesh, FillSettings const& settings)
{
    OrvaneAlgorithm::EarTrimming ears;
    set_limits(ears, settings);
    ears.set_norm_thr(settings.normal_angle);
    ears.ear_trimming(mesh);
    return ears.open_holes();
}

/// Finds why a hole stayed open. The loops of a run may touch themselves where the holes of a
/// search are simple, so the two are matched by their rims' edges: each has one open side only.
class ReasonFinder
{
public:
    explicit ReasonFinder(std::vector<OpenHole> const& open_holes)
    {
        for (auto const& open : open_holes)
        {
            for (std::size_t i = 0; i < open.corners.size(); ++i)
            {
                auto const next = open.corners[(i + 1) % open.corners.size()];
                reasons_.emplace(Edge(open.corners[i].idx(), next.idx()), open.reason);
            }
        }
    }

    std::string reason(Hole const& hole) const
    {
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            auto const found =
                reasons_.find(Edge(hole[i].idx(), hole[(i + 1) % hole.size()].idx()));
            if (found != reasons_.end())
            {
                return to_string(found->second);
            }
        }
        return "left between filled holes that touch";
    }

private:
    using Edge = std::pair<int, int>;
    std::map<Edge, OrvaneAlgorithm::OpenReason> reasons_;
};

std::vector<OpenHoleReport> report_open_holes(TriMesh& mesh,
                                              std::vector<OpenHole> const& open_holes)
{
    ReasonFinder const finder(open_holes);
    std::vector<OpenHoleReport> reports;
    for (auto const& hole : all_holes(mesh))
    {
        reports.push_back(
            {reports.size(), hole.size(), hole_perimeter(mesh, hole), finder.reason(hole)});
    }
    return reports;
}

} // namespace

FillResult fill_mesh(TriMesh& mesh, FillSettings const& settings)
{
    FillResult result;
    result.holes_before = all_holes(mesh).size();
    std::size_t const vertices = mesh.n_vertices();
    std::size_t const faces = mesh.n_faces();

    auto const start = std::chrono::steady_clock::now();
    auto const open_holes =
        settings.method == FillMethod::clip ? clip(mesh, settings) : trim(mesh, settings);
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    result.new_vertices = mesh.n_vertices() - vertices;
    result.new_faces = mesh.n_faces() - faces;
    result.open = report_open_holes(mesh, open_holes);
    result.holes_after = result.open.size();
    return result;
}

Json to_json(FillResult const& result)
{
    Json json;
    json["holes_before"] = result.holes_before;
    json["holes_after"] = result.holes_after;
    json["new_faces"] = result.new_faces;
    json["new_vertices"] = result.new_vertices;
    json["seconds"] = result.seconds;
    json["open"] = Json::array();
    for (auto const& open : result.open)
    {
        json["open"].push_back({{"hole", open.hole},
                                {"edges", open.edges},
                                {"perimeter", open.perimeter},
                                {"reason", open.reason}});
    }
    return json;
}

std::string to_text(std::string const& path, FillResult const& result)
{
    std::string text = fmt::format("{}: {} before, {} after, {} added in {:.3g} s\n", path,
                                   counted(result.holes_before, "hole"), result.holes_after,
                                   counted(result.new_faces, "face"), result.seconds);
    for (auto const& open : result.open)
    {
        text += fmt::format("  hole {} stays open ({}, {:.6g} mm): {}\n", open.hole,
                            counted(open.edges, "edge"), open.perimeter, open.reason);
    }
    return text;
}

} // namespace veld
