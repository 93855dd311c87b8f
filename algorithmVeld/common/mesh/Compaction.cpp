#include "algorithmVeld/common/mesh/Compaction.h"

#include <utility>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::EdgeHandle;
using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// Where the elements of one kind go: the gaps are filled in rising order with the last elements in
/// falling order, as OpenMesh does it. Only elements behind `kept` move, so that a handle is
/// compared with one number in nearly all cases and nothing is looked up.
class Moves
{
public:
    template <typename IsDeleted>
    Moves(int n, IsDeleted const& is_deleted)
    {
        int low = 0;
        int high = n;
        while (true)
        {
            while (low < high && !is_deleted(low))
            {
                ++low;
            }
            while (low < high && is_deleted(high - 1))
            {
                --high;
            }
            if (low == high)
            {
                break;
            }
            moves_.emplace_back(--high, low++);
        }
        kept_ = low;
        target_.assign(static_cast<std::size_t>(n - kept_), -1);
        for (auto const& [from, to] : moves_)
        {
            target_[static_cast<std::size_t>(from - kept_)] = to;
        }
    }

    int kept() const { return kept_; }
    bool empty() const { return target_.empty(); }

    /// Pairs of the old and the new place.
    std::vector<std::pair<int, int>> const& list() const { return moves_; }

    bool affect(int i) const { return i >= kept_; }

    /// New place of an element that is affected; -1 for one that is deleted or was never there.
    int target(int i) const
    {
        auto const place = static_cast<std::size_t>(i - kept_);
        return place < target_.size() ? target_[place] : -1;
    }

private:
    int kept_ = 0;
    std::vector<std::pair<int, int>> moves_;
    std::vector<int> target_;
};

template <typename Properties>
void move_properties(Properties begin, Properties end, Moves const& moves, std::size_t elements,
                     std::size_t offset)
{
    for (auto property = begin; property != end; ++property)
    {
        if (*property == nullptr)
        {
            continue;
        }
        auto const place = [&](int entry)
        { return static_cast<std::size_t>(entry) * elements + offset; };
        for (auto const& [from, to] : moves.list())
        {
            (*property)->swap(place(from), place(to));
        }
    }
}

struct Plan
{
    explicit Plan(TriMesh const& mesh)
        : vertices(static_cast<int>(mesh.n_vertices()), [&](int i)
                   { return mesh.has_vertex_status() && mesh.status(VertexHandle(i)).deleted(); }),
          edges(static_cast<int>(mesh.n_edges()), [&](int i)
                { return mesh.has_edge_status() && mesh.status(EdgeHandle(i)).deleted(); }),
          faces(static_cast<int>(mesh.n_faces()), [&](int i)
                { return mesh.has_face_status() && mesh.status(FaceHandle(i)).deleted(); })
    {
    }

    Moves vertices;
    Moves edges;
    Moves faces;

    bool affects(HalfedgeHandle h) const { return edges.affect(h.idx() >> 1); }

    /// New place of an affected halfedge, invalid if it is deleted.
    HalfedgeHandle target(HalfedgeHandle h) const
    {
        int const edge = edges.target(h.idx() >> 1);
        return HalfedgeHandle(edge < 0 ? -1 : 2 * edge + (h.idx() & 1));
    }
};

void move_elements(TriMesh& mesh, Plan const& plan)
{
    for (auto const& [from, to] : plan.vertices.list())
    {
        std::swap(mesh.vertex(VertexHandle(from)), mesh.vertex(VertexHandle(to)));
    }
    for (auto const& [from, to] : plan.edges.list())
    {
        std::swap(mesh.edge(EdgeHandle(from)), mesh.edge(EdgeHandle(to)));
    }
    for (auto const& [from, to] : plan.faces.list())
    {
        std::swap(mesh.face(FaceHandle(from)), mesh.face(FaceHandle(to)));
    }
    move_properties(mesh.vprops_begin(), mesh.vprops_end(), plan.vertices, 1, 0);
    move_properties(mesh.eprops_begin(), mesh.eprops_end(), plan.edges, 1, 0);
    move_properties(mesh.hprops_begin(), mesh.hprops_end(), plan.edges, 2, 0);
    move_properties(mesh.hprops_begin(), mesh.hprops_end(), plan.edges, 2, 1);
    move_properties(mesh.fprops_begin(), mesh.fprops_end(), plan.faces, 1, 0);
}

void relink(TriMesh& mesh, Plan const& plan, HalfedgeHandle h)
{
    auto const vertex = mesh.to_vertex_handle(h);
    if (plan.vertices.affect(vertex.idx()))
    {
        mesh.set_vertex_handle(h, VertexHandle(plan.vertices.target(vertex.idx())));
    }
    auto const face = mesh.face_handle(h);
    if (plan.faces.affect(face.idx()))
    {
        mesh.set_face_handle(h, FaceHandle(plan.faces.target(face.idx())));
    }
    auto const next = mesh.next_halfedge_handle(h);
    if (plan.affects(next) && plan.target(next).is_valid())
    {
        mesh.set_next_halfedge_handle(h, plan.target(next));
    }
    auto const prev = mesh.prev_halfedge_handle(h);
    if (plan.affects(prev) && plan.target(prev).is_valid())
    {
        mesh.set_prev_halfedge_handle(h, plan.target(prev));
    }
}

template <typename Handle>
void relink_first_halfedges(TriMesh& mesh, Plan const& plan, int n)
{
    for (int i = 0; i < n; ++i)
    {
        auto const h = mesh.halfedge_handle(Handle(i));
        if (plan.affects(h))
        {
            mesh.set_halfedge_handle(Handle(i), plan.target(h));
        }
    }
}

} // namespace

void compact(TriMesh& mesh)
{
    // Asks nobody whether to go on: half moved, a mesh is none.
    Plan const plan(mesh);
    if (plan.vertices.empty() && plan.edges.empty() && plan.faces.empty())
    {
        return;
    }
    move_elements(mesh, plan);
    mesh.resize(static_cast<std::size_t>(plan.vertices.kept()),
                static_cast<std::size_t>(plan.edges.kept()),
                static_cast<std::size_t>(plan.faces.kept()));
    for (int i = 0; i < 2 * plan.edges.kept(); ++i)
    {
        relink(mesh, plan, HalfedgeHandle(i));
    }
    relink_first_halfedges<VertexHandle>(mesh, plan, plan.vertices.kept());
    relink_first_halfedges<FaceHandle>(mesh, plan, plan.faces.kept());
}

} // namespace OrvaneAlgorithm::detail
