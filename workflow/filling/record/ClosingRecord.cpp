#include "workflow/filling/record/ClosingRecord.h"

#include "workflow/filling/HoleList.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

/// The connected regions that a pass cut away, and what is open where they were.
class CutRegions
{
public:
    CutRegions(TriMesh const& before, TriMesh const& after)
        : before_(before), sets_(before.n_faces())
    {
        for (auto const face : before.faces())
        {
            if (!is_there(after, face))
            {
                cut_.insert(face.idx());
            }
        }
        join_neighbours();
        find_open_edges(after);
    }

    /// What is open of a hole: those of its edges that are still there, and what is open of the
    /// regions that lay at the others.
    std::set<RimEdge> open_edges_of(std::vector<RimEdge> const& rim, TriMesh const& after)
    {
        std::set<RimEdge> open;
        std::set<int> regions;
        for (auto const& edge : rim)
        {
            auto const now = halfedge(after, edge);
            auto const h = halfedge(before_, edge);
            if (now.is_valid() && after.is_boundary(now))
            {
                open.insert(edge);
            }
            else if (h.is_valid() && !before_.is_boundary(before_.opposite_halfedge_handle(h)))
            {
                int const face = before_.face_handle(before_.opposite_halfedge_handle(h)).idx();
                if (cut_.count(face) > 0)
                {
                    regions.insert(sets_.root(face));
                }
            }
        }
        for (int const region : regions)
        {
            auto const found = open_.find(region);
            if (found != open_.end())
            {
                open.insert(found->second.begin(), found->second.end());
            }
        }
        return open;
    }

private:
    bool is_there(TriMesh const& after, OpenMesh::FaceHandle face) const
    {
        auto const h = before_.halfedge_handle(face);
        auto const same = halfedge(after, edge_of(before_, h));
        return same.is_valid() && !after.is_boundary(same) &&
               after.to_vertex_handle(after.next_halfedge_handle(same)) ==
                   before_.to_vertex_handle(before_.next_halfedge_handle(h));
    }

    void join_neighbours()
    {
        for (int const face : cut_)
        {
            for (auto const neighbour : before_.ff_range(OpenMesh::FaceHandle(face)))
            {
                if (cut_.count(neighbour.idx()) > 0)
                {
                    sets_.join(face, neighbour.idx());
                }
            }
        }
    }

    void find_open_edges(TriMesh const& after)
    {
        for (auto const h : after.halfedges())
        {
            RimEdge const edge = edge_of(after, h);
            auto const old =
                after.is_boundary(h) ? halfedge(before_, edge) : OpenMesh::HalfedgeHandle();
            if (old.is_valid() && !before_.is_boundary(old))
            {
                open_[sets_.root(before_.face_handle(old).idx())].push_back(edge);
            }
        }
    }

    TriMesh const& before_;
    std::set<int> cut_;
    OrvaneAlgorithm::detail::DisjointSets sets_;
    std::map<int, std::vector<RimEdge>> open_;
};

} // namespace

ClosingRecord::ClosingRecord(TriMesh const& mesh, OrvaneAlgorithm::Holes const& holes)
{
    for (auto const& hole : holes)
    {
        Entry entry;
        entry.report = {holes_.size(), hole.size(), hole_perimeter(mesh, hole), FillMethod::TRIM};
        entry.open = edges_of(hole);
        holes_.push_back(std::move(entry));
    }
}

void ClosingRecord::note(FillMethod method, TriMesh const& after, TriMesh const* before,
                         std::function<bool(OpenMesh::FaceHandle)> const& is_new)
{
    std::optional<CutRegions> cut;
    if (before != nullptr)
    {
        cut.emplace(*before, after);
    }
    for (auto& hole : holes_)
    {
        std::set<RimEdge> const open =
            cut ? cut->open_edges_of(hole.open, after) : open_edges_of(hole.open, after, is_new);
        hole.open.assign(open.begin(), open.end());
        if (hole.open.empty() && !hole.is_closed)
        {
            hole.is_closed = true;
            hole.report.method = method;
        }
    }
}

std::vector<ClosedHoleReport> ClosingRecord::closed() const
{
    std::vector<ClosedHoleReport> reports;
    for (auto const& hole : holes_)
    {
        if (hole.is_closed)
        {
            reports.push_back(hole.report);
        }
    }
    return reports;
}

} // namespace veld
