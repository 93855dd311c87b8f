#include "workflow/steps/ClosingRecord.h"

#include "workflow/steps/FindHoles.h"

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

using Edge = std::pair<int, int>;
using Edges = std::vector<Edge>;

/// The halfedge of an edge; none if the mesh lacks it, or one of the vertices.
OpenMesh::HalfedgeHandle halfedge(TriMesh const& mesh, Edge edge)
{
    auto const n = static_cast<int>(mesh.n_vertices());
    return edge.first < n && edge.second < n
               ? mesh.find_halfedge(OpenMesh::VertexHandle(edge.first),
                                    OpenMesh::VertexHandle(edge.second))
               : OpenMesh::HalfedgeHandle();
}

bool is_open(TriMesh const& mesh, Edge edge)
{
    auto const h = halfedge(mesh, edge);
    return h.is_valid() && mesh.is_boundary(h);
}

Edge edge_of(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    return {mesh.from_vertex_handle(h).idx(), mesh.to_vertex_handle(h).idx()};
}

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

    /// What is open of the region at an edge of a hole's rim.
    Edges open_at(Edge rim) const
    {
        auto const h = halfedge(before_, rim);
        if (!h.is_valid() || before_.is_boundary(before_.opposite_halfedge_handle(h)))
        {
            return {};
        }
        auto const face = before_.face_handle(before_.opposite_halfedge_handle(h)).idx();
        auto const found = cut_.count(face) > 0 ? open_.find(sets_.root(face)) : open_.end();
        return found == open_.end() ? Edges() : found->second;
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
            Edge const edge = edge_of(after, h);
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
    mutable OrvaneAlgorithm::detail::DisjointSets sets_; ///< Looking up shortens its paths.
    std::map<int, Edges> open_;
};

} // namespace

ClosingRecord::ClosingRecord(TriMesh const& mesh, OrvaneAlgorithm::Holes const& holes)
{
    for (auto const& hole : holes)
    {
        Entry entry;
        entry.report = {holes_.size(), hole.size(), hole_perimeter(mesh, hole), FillMethod::TRIM};
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            entry.open.emplace_back(hole[i].idx(), hole[(i + 1) % hole.size()].idx());
        }
        holes_.push_back(std::move(entry));
    }
}

void ClosingRecord::note(FillMethod method, TriMesh const& after, TriMesh const* before)
{
    std::optional<CutRegions> cut;
    if (before != nullptr)
    {
        cut.emplace(*before, after);
    }
    for (auto& hole : holes_)
    {
        std::set<Edge> open;
        for (auto const& edge : hole.open)
        {
            if (is_open(after, edge))
            {
                open.insert(edge);
            }
            else if (cut)
            {
                Edges const more = cut->open_at(edge);
                open.insert(more.begin(), more.end());
            }
        }
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
