#include "algorithmVeld/HoleFilling/triangulation/HoleTriangulation.h"

#include "algorithmVeld/common/arrays/IndexTable.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/geometry/TriangleGeometry.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/running/Log.h"

#include <omp.h>

#include <algorithm>
#include <utility>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// The corners and edges of the loop that are known so far.
class RimMarks
{
public:
    explicit RimMarks(std::size_t n) : corners_(n), edges_(n) {}

    /// Marks a corner of the loop, and the edge behind it.
    void add(VertexHandle v, OpenMesh::EdgeHandle edge, int place)
    {
        auto const corner = static_cast<std::size_t>(corners_.add(v.idx()));
        if (corner == corners_at_.size())
        {
            corners_at_.push_back({});
        }
        int const count = ++corners_at_[corner].count;
        if (count > 1)
        {
            log_line(gPH.log_enabled, "   @@@complex hole (vert[%d] appear %d times) [%s (%d)]\n",
                     v.idx(), count, __FILE__, __LINE__);
        }
        corners_at_[corner].place = place;
        edges_.add(edge.idx());
    }

    bool is_on_loop(OpenMesh::EdgeHandle edge) const { return edges_.contains(edge.idx()); }

    /// Where a vertex stands in the loop; -1 if it does not.
    int place_of(VertexHandle v) const
    {
        int const corner = corners_.find(v.idx());
        return corner == IndexTable::NONE ? -1
                                          : corners_at_[static_cast<std::size_t>(corner)].place;
    }

private:
    struct Corner
    {
        int count = 0; ///< How often the loop passes it.
        int place = 0; ///< Where it does so for the last time.
    };

    IndexTable corners_;
    std::vector<Corner> corners_at_;
    IndexTable edges_;
};

/// Leaves marks of the loop's first edges on the mesh, where hosts look for them.
bool refuse_rim(TriMesh& mesh, std::vector<HalfedgeHandle> const& loop, std::size_t marked)
{
    log_line(gPH.log_enabled, "  !!!error: invalid face handle [%s (%d)]\n", __FILE__, __LINE__);
    OpenMesh::VPropHandleT<bool> on_hole;
    OpenMesh::VPropHandleT<int> hole_index;
    OpenMesh::VPropHandleT<int> count;
    OpenMesh::EPropHandleT<bool> hole_edge;
    mesh.add_property(on_hole, "<vprop>");
    mesh.add_property(hole_index, "<vprop>");
    mesh.add_property(count, "<vprop>");
    mesh.add_property(hole_edge, "<eprop>");
    auto& places = mesh.property(hole_index).data_vector();
    std::fill(places.begin(), places.end(), -1);
    for (std::size_t k = 0; k < marked; ++k)
    {
        auto const v = mesh.from_vertex_handle(loop[k]);
        mesh.property(on_hole, v) = true;
        mesh.property(hole_index, v) = static_cast<int>(k);
        ++mesh.property(count, v);
        mesh.property(hole_edge, mesh.edge_handle(loop[k])) = true;
    }
    return false;
}

/// Marks the corners and edges of the loop and collects its vertices and outer faces.
bool mark_rim(TriMesh& mesh, std::vector<HalfedgeHandle> const& loop, RimMarks& marks,
              HolePolygon& polygon)
{
    for (auto const h : loop)
    {
        if (!mesh.is_valid_handle(h))
        {
            return refuse_rim(mesh, loop, polygon.verts.size());
        }
        auto const v = mesh.from_vertex_handle(h);
        marks.add(v, mesh.edge_handle(h), static_cast<int>(polygon.verts.size()));
        polygon.verts.push_back(v);
        auto const f = mesh.face_handle(mesh.opposite_halfedge_handle(h));
        if (!f.is_valid())
        {
            return refuse_rim(mesh, loop, polygon.verts.size());
        }
        polygon.faces.push_back(f);
    }
    return true;
}

/// Notes the corners that a face beside the hole joins already.
void find_existing_edges(TriMesh const& mesh, RimMarks const& marks, HolePolygon& polygon)
{
    std::size_t const n = polygon.verts.size();
    polygon.edge_exist.assign(n * n, false);
    for (auto const f : polygon.faces)
    {
        for (auto const h : mesh.fh_range(f))
        {
            int const from = marks.place_of(h.from());
            int const to = marks.place_of(h.to());
            if (from >= 0 && to >= 0 && !marks.is_on_loop(h.edge()))
            {
                auto const a = static_cast<std::size_t>(from);
                auto const b = static_cast<std::size_t>(to);
                polygon.edge_exist[a * n + b] = true;
                polygon.edge_exist[b * n + a] = true;
            }
        }
    }
}

/// Normal of a face, also of a mesh that has not stored any.
Vector3f normal_of(TriMesh const& mesh, FaceHandle f)
{
    return mesh.has_face_normals() ? mesh.normal(f) : mesh.calc_face_normal(f);
}

/// Normal of the triangle that lies on the side a-b of its neighbour: the face beyond the rim, or
/// the triangle that the split of a..b has chosen.
Vector3f neighbour_normal(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                          std::vector<FaceHandle> const& faces, std::vector<int> const& lambda,
                          std::size_t a, std::size_t b)
{
    if (b == a + 1)
    {
        return normal_of(mesh, at(faces, a));
    }
    std::size_t const split =
        b == a + 2 ? a + 1 : static_cast<std::size_t>(at(lambda, a * verts.size() + b));
    return reversed_normal(mesh.point(at(verts, b)), mesh.point(at(verts, split)),
                           mesh.point(at(verts, a)));
}

/// What the search needs of the polygon; the table of edges moves over.
PolygonRim take_rim(TriMesh const& mesh, HolePolygon& polygon)
{
    PolygonRim rim;
    rim.edge_exist = std::move(polygon.edge_exist);
    for (std::size_t k = 0; k < polygon.verts.size(); ++k)
    {
        rim.points.push_back(mesh.point(polygon.verts[k]));
        rim.normals.push_back(normal_of(mesh, polygon.faces[k]));
    }
    return rim;
}

} // namespace

bool find_hole_polygon(TriMesh& mesh, std::vector<HalfedgeHandle> const& loop, HolePolygon& polygon)
{
    polygon = {};
    RimMarks marks(loop.size());
    if (!mark_rim(mesh, loop, marks, polygon))
    {
        return false;
    }
    find_existing_edges(mesh, marks, polygon);
    return true;
}

SplitCost split_cost(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                     std::vector<FaceHandle> const& faces, std::vector<int> const& lambda,
                     std::size_t i, std::size_t m, std::size_t j,
                     std::vector<bool> const& edge_exist, TriangulationRule const& rule)
{
    std::size_t const n = verts.size();
    NeighbourNormals neighbours;
    neighbours.add(neighbour_normal(mesh, verts, faces, lambda, i, m));
    neighbours.add(neighbour_normal(mesh, verts, faces, lambda, m, j));
    if (i == 0 && j + 1 == n)
    {
        neighbours.add(normal_of(mesh, at(faces, j)));
    }
    int const existing = (at(edge_exist, i * n + j) ? 1 : 0) + (at(edge_exist, m * n + j) ? 1 : 0);
    return triangle_cost(mesh.point(at(verts, i)), mesh.point(at(verts, m)),
                         mesh.point(at(verts, j)), neighbours, existing, rule);
}

std::vector<PolygonTriangle> chosen_triangles(std::vector<int> const& lambda, std::size_t n,
                                              std::size_t i, std::size_t j)
{
    std::vector<PolygonTriangle> triangles;
    visit_triangles(
        i, j, [&](std::size_t a, std::size_t b) { return at(lambda, a * n + b); },
        [&](std::size_t a, std::size_t m, std::size_t b) {
            triangles.push_back({static_cast<int>(a), static_cast<int>(m), static_cast<int>(b)});
        });
    return triangles;
}

void add_polygon_triangles(TriMesh& mesh, std::vector<VertexHandle> const& verts,
                           std::vector<PolygonTriangle> const& triangles,
                           OpenMesh::FPropHandleT<bool> face_new, RefusedTriangle const& refused)
{
    for (auto const& [i, m, j] : triangles)
    {
        auto const a = at(verts, static_cast<std::size_t>(i));
        auto const b = at(verts, static_cast<std::size_t>(m));
        auto const c = at(verts, static_cast<std::size_t>(j));
        auto const f = add_face_checked(mesh, a, b, c);
        if (f.is_valid())
        {
            mesh.property(face_new, f) = true;
        }
        else if (refused)
        {
            refused(a, b, c);
        }
    }
}

std::optional<OpenReason> triangulate_hole(TriMesh& mesh, std::vector<HalfedgeHandle> const& loop,
                                           OpenMesh::FPropHandleT<bool> face_new,
                                           TriangulationRule const& rule,
                                           RefusedTriangle const& refused, HoleTurn const* turn)
{
    int const n = static_cast<int>(loop.size());
    log_line(gPH.log_enabled, "hole_triangulation() for hole with ( %d ) vertices ..\n", n);
    HolePolygon polygon;
    if (!find_hole_polygon(mesh, loop, polygon))
    {
        return OpenReason::NOT_A_BOUNDARY;
    }
    int const threads = omp_in_parallel() != 0 ? 1 : omp_get_max_threads();
    auto const fill = best_polygon_fill(take_rim(mesh, polygon), rule, threads, turn);
    log_line(gPH.log_enabled,
             "    Best weight (angle / area) of hole with ( %d ) vertices:    %f / %f\n", n,
             static_cast<double>(fill.cost.angle), static_cast<double>(fill.cost.area));
    if (fill.cost.angle > FOLD_ANGLE)
    {
        log_line(gPH.log_enabled,
                 "    !!!skip hole with ( %d ) vertices, dihedral angle = %12.6f  [%s (%d)]\n", n,
                 static_cast<double>(fill.cost.angle), __FILE__, __LINE__);
        return OpenReason::FOLDS_TOO_SHARPLY;
    }
    add_polygon_triangles(mesh, polygon.verts, fill.triangles, face_new, refused);
    return std::nullopt;
}

} // namespace OrvaneAlgorithm::detail
