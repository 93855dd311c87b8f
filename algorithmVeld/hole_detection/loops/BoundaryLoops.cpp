#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// What the mesh knows about a boundary halfedge.
struct Link
{
    HalfedgeHandle halfedge;
    HalfedgeHandle next;
    VertexHandle from;
    VertexHandle to;
};

Link link_of(TriMesh const& mesh, HalfedgeHandle h)
{
    return {h, mesh.next_halfedge_handle(h), mesh.from_vertex_handle(h), mesh.to_vertex_handle(h)};
}

/// Halfedges that are looked at together: one branch for all of them keeps the pass over a whole
/// mesh as fast as memory is.
constexpr int GROUP = 8;

bool has_boundary(TriMesh const& mesh, int first_of_group)
{
    int faces = 0;
    for (int i = first_of_group; i < first_of_group + GROUP; ++i)
    {
        faces |= mesh.face_handle(HalfedgeHandle(i)).idx();
    }
    return faces < 0;
}

/// The links of all boundary halfedges, by index.
std::vector<Link> boundary_links(TriMesh const& mesh)
{
    std::vector<Link> links;
    int const n = static_cast<int>(mesh.n_halfedges());
    LoopProgress progress(mesh.n_halfedges() / GROUP);
    for (int first = 0; first < n; first += GROUP)
    {
        progress.next();
        int const end = std::min(n - first, GROUP) + first;
        if (end - first == GROUP && !has_boundary(mesh, first))
        {
            continue;
        }
        for (int i = first; i < end; ++i)
        {
            if (mesh.is_boundary(HalfedgeHandle(i)))
            {
                links.push_back(link_of(mesh, HalfedgeHandle(i)));
            }
        }
    }
    return links;
}

/// Whether a walk can go from one halfedge to the other; only damaged links forbid it.
bool are_joined(TriMesh const& mesh, Link const& link, Link const& next)
{
    return link.to == next.from && mesh.is_valid_handle(link.to);
}

/// The boundary halfedges of a mesh and how they are linked.
///
/// The boundary is a small part of a mesh, but it is scattered over all of its memory. So one pass
/// copies it out, and the walks stay within this copy, which fits the cache.
class BoundaryLinks
{
public:
    explicit BoundaryLinks(TriMesh const& mesh)
        : links_(boundary_links(mesh)), block_start_(mesh.n_halfedges() / BLOCK + 2)
    {
        for (auto const& link : links_)
        {
            ++block_start_[static_cast<std::size_t>(link.halfedge.idx()) / BLOCK + 1];
        }
        std::partial_sum(block_start_.begin(), block_start_.end(), block_start_.begin());
    }

    std::vector<Link> const& all() const { return links_; }

    /// The link of a halfedge; null if it is no boundary halfedge.
    Link const* find(HalfedgeHandle h) const
    {
        auto const block = static_cast<std::size_t>(h.idx()) / BLOCK;
        if (!h.is_valid() || block + 1 >= block_start_.size())
        {
            return nullptr;
        }
        auto const* link = links_.data() + block_start_[block];
        auto const* const end = links_.data() + block_start_[block + 1];
        while (link != end && link->halfedge != h)
        {
            ++link;
        }
        return link == end ? nullptr : link;
    }

private:
    static constexpr std::size_t BLOCK = 64;

    std::vector<Link> links_;
    std::vector<unsigned> block_start_; ///< where the links of each block of halfedges begin
};

bool is_skipped(TriMesh const& mesh, HalfedgeHandle h, HiddenHalfedges hidden)
{
    return is_deleted(mesh, h) || (hidden == HiddenHalfedges::SKIPPED &&
                                   mesh.has_halfedge_status() && mesh.status(h).hidden());
}

/// Follows the boundary from `start` into `walk` and marks what it passes. A marked halfedge that
/// is not the start is met on damaged links only, so no halfedge is passed twice.
/// \return whether the walk came back to its start
bool walk_and_mark(TriMesh const& mesh, BoundaryLinks const& links, Link const& start,
                   std::vector<bool>& visited, std::vector<Link>& walk)
{
    walk.clear();
    Link const* link = &start;
    do
    {
        auto const i = static_cast<std::size_t>(link->halfedge.idx());
        Link const* const next = links.find(link->next);
        if (visited[i] || next == nullptr || !are_joined(mesh, *link, *next))
        {
            return false;
        }
        visited[i] = true;
        walk.push_back(*link);
        link = next;
    } while (link != &start);
    return true;
}

/// One member of each of a walk's links.
template <typename Handle>
std::vector<Handle> collect(std::vector<Link> const& walk, Handle Link::*member)
{
    std::vector<Handle> handles(walk.size());
    std::transform(walk.begin(), walk.end(), handles.begin(),
                   [member](Link const& link) { return link.*member; });
    return handles;
}

/// All walks, of each the list of one member of its links.
template <typename Handle>
std::vector<std::vector<Handle>> all_walks(TriMesh& mesh, Handle Link::*member,
                                           HiddenHalfedges hidden)
{
    ScopedProperty<OpenMesh::HPropHandleT<bool>> mark(mesh, "<hprop>");
    std::vector<bool>& visited = mark.data();
    Stages stages({9, 1});
    stages.next();
    BoundaryLinks const links(mesh);
    std::vector<std::vector<Handle>> walks;
    std::vector<Link> walk;
    stages.next();
    LoopProgress progress(links.all().size());
    for (auto const& link : links.all())
    {
        progress.next();
        if (!visited[static_cast<std::size_t>(link.halfedge.idx())] &&
            !is_skipped(mesh, link.halfedge, hidden) &&
            walk_and_mark(mesh, links, link, visited, walk))
        {
            walks.push_back(collect(walk, member));
        }
    }
    return walks;
}

/// Cuts walks with a mark for each vertex on the path: linear however often a vertex comes back.
class WalkSplitter
{
public:
    explicit WalkSplitter(std::size_t n_vertices) : on_path_(n_vertices) {}

    /// Appends the loops of a walk to `loops`.
    void split(std::vector<VertexHandle> const& walk, Holes& loops)
    {
        std::vector<VertexHandle> path;
        path.reserve(walk.size());
        for (auto const v : walk)
        {
            if (on_path_[index(v)])
            {
                auto const first = std::find(path.rbegin(), path.rend(), v).base() - 1;
                loops.emplace_back(first, path.end());
                take_back(path, first);
            }
            on_path_[index(v)] = true;
            path.push_back(v);
        }
        loops.push_back(path);
        take_back(path, path.begin());
    }

private:
    using Path = std::vector<VertexHandle>;

    static std::size_t index(VertexHandle v) { return static_cast<std::size_t>(v.idx()); }

    void take_back(Path& path, Path::const_iterator first)
    {
        std::for_each(first, path.cend(), [this](VertexHandle v) { on_path_[index(v)] = false; });
        path.erase(first, path.cend());
    }

    std::vector<bool> on_path_; ///< all false between two walks
};

} // namespace

std::vector<BoundaryLoop> boundary_walks(TriMesh& mesh, HiddenHalfedges hidden)
{
    return all_walks(mesh, &Link::halfedge, hidden);
}

Holes boundary_walks_by_vertex(TriMesh& mesh)
{
    return all_walks(mesh, &Link::from, HiddenHalfedges::SKIPPED);
}

BoundaryLoop boundary_walk(TriMesh const& mesh, HalfedgeHandle start)
{
    BoundaryLoop walk;
    auto h = start;
    do
    {
        if (!mesh.is_valid_handle(h) || !mesh.is_boundary(h) || walk.size() >= mesh.n_halfedges())
        {
            return {};
        }
        auto const link = link_of(mesh, h);
        if (!mesh.is_valid_handle(link.next) || !are_joined(mesh, link, link_of(mesh, link.next)))
        {
            return {};
        }
        walk.push_back(h);
        h = link.next;
    } while (h != start);
    return walk;
}

std::vector<VertexHandle> from_vertices(TriMesh const& mesh, BoundaryLoop const& walk)
{
    std::vector<VertexHandle> vertices(walk.size());
    std::transform(walk.begin(), walk.end(), vertices.begin(),
                   [&](HalfedgeHandle h) { return mesh.from_vertex_handle(h); });
    return vertices;
}

void log_loop_counts(std::vector<BoundaryLoop> const& walks)
{
    auto const count = static_cast<int>(walks.size());
    log("  total holes:          %8d\n", count);
    if (walks.empty())
    {
        return;
    }
    auto const [shortest, longest] =
        std::minmax_element(walks.begin(), walks.end(),
                            [](auto const& a, auto const& b) { return a.size() < b.size(); });
    auto const total =
        std::accumulate(walks.begin(), walks.end(), std::size_t{0},
                        [](std::size_t sum, auto const& hole) { return sum + hole.size(); });
    log("  hole edge max num:    %8d\n", static_cast<int>(longest->size()));
    log("  hole edge min num:    %8d\n", static_cast<int>(shortest->size()));
    log("  hole edge total num:  %8d\n", static_cast<int>(total));
    log("  hole edge avg num:    %15.6f\n",
        static_cast<double>(static_cast<float>(total) / static_cast<float>(count)));
}

Holes split_into_simple_holes(TriMesh const& mesh, Holes const& walks)
{
    Holes holes;
    holes.reserve(walks.size());
    WalkSplitter splitter(mesh.n_vertices());
    CancelPoll poll;
    for (auto const& walk : walks)
    {
        poll.next();
        splitter.split(walk, holes);
    }
    return holes;
}

double perimeter(TriMesh const& mesh, std::vector<VertexHandle> const& hole)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < hole.size(); ++i)
    {
        auto const next = hole[i + 1 < hole.size() ? i + 1 : 0];
        sum += (mesh.point(next) - mesh.point(hole[i])).norm();
    }
    return sum;
}

bool is_beyond_perimeter(TriMesh const& mesh, BoundaryLoop const& walk, double limit)
{
    return limit > 0.0 && !(perimeter(mesh, from_vertices(mesh, walk)) < limit);
}

} // namespace OrvaneAlgorithm::detail
