#pragma once

#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/common/TriMesh.h"
#include "tests/HoleFilling/reference_smooth.h"
#include "tests/support/plain_walks.h"

#include <Eigen/Dense>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <set>
#include <vector>

/// \file
/// The filling of all holes of a mesh as plainly as it can be written: hole after hole, each on a
/// copy of its surroundings that is merged before the next one begins. What the library gives has
/// to be the same: connectivity to the bit, coordinates to what solvers differ in.

namespace veld_test::reference
{

using OpenMesh::EdgeHandle;
using OpenMesh::FaceHandle;

using Loop = std::vector<HalfedgeHandle>;
using Region = std::vector<FaceHandle>;

struct WholeSettings
{
    int region_process_type = 1; ///< 0 smooth, 1 delete, others neither.
    int weight_type = 1;         ///< 0 uniform, others 1 / length.
    int topology_dis_thr = 10;
    float density_thr = 1.414F;
    float angle_thr = 0.04363323F;
    bool flat_weight = false;
    int triangulation_sample_num = 400;
    int hole_verts_thr = 3000;
    int fairing_verts_thr = 20000;
};

enum class Outcome
{
    NOT_CHOSEN,
    TOO_MANY_EDGES,
    NO_SUB_MESH,       ///< Its region gives no mesh of its own.
    NO_FIRST_HALFEDGE, ///< Its first halfedge is not in that.
    OTHER_BORDER,      ///< The walk from there has another size.
    NOT_TRIANGULATED,  ///< A neighbour is missing, or a fold of 180 degrees cannot be avoided.
    MERGE_STOPPED,     ///< The mesh refused a face: those before it stay.
    FILLED
};

/// What is measured of a mesh before anything is done to it.
struct MeshFigures
{
    double min_edge = 0.0;
    double max_edge = 0.0;
    double avg_edge = 0.0;
    double min_area = 0.0;
    double max_area = 0.0;
    double total_area = 0.0;
    double avg_area = 0.0;
    int min_ring = 0;
    int max_ring = 0;
    double avg_ring = 0.0;
};

inline std::size_t at(FaceHandle f)
{
    return static_cast<std::size_t>(f.idx());
}

inline std::size_t at(HalfedgeHandle h)
{
    return static_cast<std::size_t>(h.idx());
}

inline MeshFigures measure_figures(TriMesh const& mesh)
{
    MeshFigures figures;
    double edge_sum = 0.0;
    for (auto const e : mesh.edges())
    {
        double const length = static_cast<double>(mesh.calc_edge_length(e));
        bool const first = e.idx() == 0;
        figures.min_edge = first ? length : std::min(figures.min_edge, length);
        figures.max_edge = first ? length : std::max(figures.max_edge, length);
        edge_sum += length;
    }
    for (auto const f : mesh.faces())
    {
        std::vector<double> sides;
        for (auto const h : sides_of(mesh, f))
        {
            sides.push_back(static_cast<double>(mesh.calc_edge_length(h)));
        }
        double const s = (sides[0] + sides[1] + sides[2]) * 0.5;
        double const square = s * (s - sides[0]) * (s - sides[1]) * (s - sides[2]);
        double const area = square > 0.0 ? std::sqrt(square) : 0.0;
        bool const first = f.idx() == 0;
        figures.min_area = first ? area : std::min(figures.min_area, area);
        figures.max_area = first ? area : std::max(figures.max_area, area);
        figures.total_area += area;
    }
    int rings = 0;
    for (auto const v : mesh.vertices())
    {
        int const ring = static_cast<int>(mesh.valence(v));
        bool const first = v.idx() == 0;
        figures.min_ring = first ? ring : std::min(figures.min_ring, ring);
        figures.max_ring = first ? ring : std::max(figures.max_ring, ring);
        rings += ring;
    }
    if (mesh.n_edges() > 0)
    {
        figures.avg_edge = edge_sum / static_cast<double>(mesh.n_edges());
    }
    if (mesh.n_faces() > 0)
    {
        figures.avg_area = figures.total_area / static_cast<double>(mesh.n_faces());
    }
    if (mesh.n_vertices() > 0)
    {
        figures.avg_ring = static_cast<double>(rings) / static_cast<double>(mesh.n_vertices());
    }
    return figures;
}

/// All boundary walks, in the order of their lowest halfedges, each from that on.
inline std::vector<Loop> find_loops(TriMesh const& mesh)
{
    std::vector<Loop> loops;
    std::vector<bool> visited(mesh.n_halfedges(), false);
    for (auto const start : mesh.halfedges())
    {
        if (!mesh.is_boundary(start) || visited[at(start)])
        {
            continue;
        }
        Loop loop{start};
        visited[at(start)] = true;
        for (HalfedgeHandle g = mesh.next_halfedge_handle(start); g != start;
             g = mesh.next_halfedge_handle(g))
        {
            loop.push_back(g);
            visited[at(g)] = true;
        }
        loops.push_back(loop);
    }
    return loops;
}

inline double perimeter_of(TriMesh const& mesh, Loop const& loop)
{
    double length = 0.0;
    for (auto const h : loop)
    {
        length += static_cast<double>(mesh.calc_edge_length(h));
    }
    return length;
}

/// The faces around holes, and what the growth leaves for the sub-meshes.
struct Surroundings
{
    std::vector<Region> regions;
    std::vector<bool> face_region;
    std::vector<float> vert_edge_len;
};

class RegionGrowth
{
public:
    RegionGrowth(TriMesh const& mesh, int rings, float distance)
        : mesh_(mesh),
          rings_(rings),
          distance_(distance),
          visited_(mesh.n_faces(), false),
          ring_(mesh.n_faces(), 10000),
          dist_(mesh.n_faces(), 10000.0F),
          centroid_(mesh.n_faces(), Vector3f::Zero())
    {
        for (auto const f : mesh.faces())
        {
            for (auto const v : corners_of(mesh, f))
            {
                centroid_[at(f)] += mesh.point(v);
            }
            centroid_[at(f)] /= 3.0F;
        }
    }

    /// \param chosen the holes that get a region
    Surroundings grow(std::vector<Loop> const& holes, std::vector<bool> const& chosen)
    {
        result_.face_region.assign(mesh_.n_faces(), false);
        for (auto const v : mesh_.vertices())
        {
            result_.vert_edge_len.push_back(mean_edge_at(v));
        }
        result_.regions.resize(holes.size());
        for (std::size_t i = 0; i < holes.size(); ++i)
        {
            if (chosen[i])
            {
                result_.regions[i] = grow_one(holes[i]);
            }
        }
        return result_;
    }

private:
    float mean_edge_at(VertexHandle v) const
    {
        float sum = 0.0F;
        int count = 0;
        for (auto it = mesh_.cve_iter(v); it.is_valid(); ++it)
        {
            sum += mesh_.calc_edge_length(*it);
            ++count;
        }
        return count > 0 ? sum / static_cast<float>(count) : 0.0F;
    }

    void push(Region& front, FaceHandle f)
    {
        front.push_back(f);
        result_.face_region[at(f)] = true;
        visited_[at(f)] = true;
    }

    /// What earlier holes left in `ring_` and `dist_` stays, and counts.
    Region grow_one(Loop const& hole)
    {
        Region front;
        std::set<FaceHandle> seeds;
        for (auto const h : hole)
        {
            auto const f = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
            if (f.is_valid() && seeds.insert(f).second)
            {
                push(front, f);
                ring_[at(f)] = 0;
                dist_[at(f)] = 0.0F;
            }
        }
        for (std::size_t k = 0; k < front.size(); ++k)
        {
            auto const f = front[k];
            int const r = ring_[at(f)];
            float const d = dist_[at(f)];
            for (auto it = mesh_.cff_iter(f); it.is_valid(); ++it)
            {
                FaceHandle const g = *it;
                float const l = (centroid_[at(f)] - centroid_[at(g)]).norm();
                if (r + 1 < ring_[at(g)])
                {
                    ring_[at(g)] = r + 1;
                }
                if (l + d < dist_[at(g)])
                {
                    dist_[at(g)] = l + d;
                }
                if (!visited_[at(g)] && ring_[at(g)] < rings_ && dist_[at(g)] < distance_)
                {
                    push(front, g);
                }
            }
        }
        for (auto const f : front)
        {
            visited_[at(f)] = false;
        }
        return front;
    }

    TriMesh const& mesh_;
    int rings_;
    float distance_;
    std::vector<bool> visited_;
    std::vector<int> ring_;
    std::vector<float> dist_;
    std::vector<Vector3f> centroid_;
    Surroundings result_;
};

inline float calc_angle(Vector3f u, Vector3f v)
{
    u.normalize();
    v.normalize();
    float const x = u.dot(v);
    if (-0.7 < x && x < 0.7)
    {
        return std::acos(x);
    }
    float const s = u.cross(v).norm();
    float angle = std::asin(s);
    if (x <= 0.0F)
    {
        angle = static_cast<float>(3.141592653589793 - static_cast<double>(angle));
    }
    if (x < -0.98)
    {
        angle = 3.1415927F;
    }
    return angle;
}

inline float calc_area(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    float const ab = (b - a).norm();
    float const bc = (c - b).norm();
    float const ca = (a - c).norm();
    float const s = (ab + bc + ca) * 0.5F;
    float const radicand = s * (s - ab) * (s - bc) * (s - ca);
    return radicand < 0.0F ? 0.0F : std::sqrt(radicand);
}

/// The negative of the usual normal.
inline Vector3f calc_tri_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f normal = -((b - a).cross(c - a));
    normal.normalize();
    return normal;
}

inline void calc_max_min_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                   float& largest, float& smallest)
{
    Vector3f const ab = (b - a).normalized();
    Vector3f const ac = (c - a).normalized();
    Vector3f const bc = (c - b).normalized();
    float const first = calc_angle(ab, ac);
    float const second = calc_angle(-ab, bc);
    float const third = static_cast<float>(3.141592653589793 - static_cast<double>(first) -
                                           static_cast<double>(second));
    largest = std::max(std::max(first, second), third);
    smallest = std::min(std::min(first, second), third);
}

inline float calc_min_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    float largest = 0.0F;
    float smallest = 0.0F;
    calc_max_min_tri_angle(a, b, c, largest, smallest);
    return smallest;
}

/// The triangulation of one loop with the smallest worst dihedral angle, and the smallest area
/// among equal ones.
class WholeTriangulation
{
public:
    /// \param penalty area that a bad triangle costs
    WholeTriangulation(TriMesh& mesh, Loop const& loop, OpenMesh::FPropHandleT<bool> face_new,
                       float penalty, bool flat_weight, int sample_num)
        : mesh_(mesh),
          loop_(loop),
          face_new_(face_new),
          penalty_(penalty),
          flat_weight_(flat_weight),
          sample_num_(sample_num),
          n_(static_cast<int>(loop.size())),
          weight_angle(loop.size() * loop.size(), 0.0F),
          weight_area(loop.size() * loop.size(), 0.0F),
          lambda(loop.size() * loop.size(), -1),
          edge_exist(loop.size() * loop.size(), false)
    {
    }

    bool run()
    {
        if (n_ < 3 || !collect_rim())
        {
            return false;
        }
        mark_existing_edges();
        for (int i = 0; i + 2 < n_; ++i)
        {
            calc_weight(i, i + 1, i + 2, weight_angle[cell(i, i + 2)], weight_area[cell(i, i + 2)]);
        }
        int const stride = n_ / sample_num_ + 1;
        for (int gap = 3; gap < n_; ++gap)
        {
            for (int i = 0; i + gap < n_; ++i)
            {
                choose_split(i, i + gap, stride);
            }
        }
        if (weight_angle[cell(0, n_ - 1)] > 179.5F)
        {
            return false;
        }
        add_best(0, n_ - 1);
        return true;
    }

private:
    std::size_t cell(int i, int j) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(n_) +
               static_cast<std::size_t>(j);
    }

    Vector3f const& point(int i) const { return mesh_.point(verts_[static_cast<std::size_t>(i)]); }
    Vector3f const& stored_normal(int i) const
    {
        return mesh_.normal(faces_[static_cast<std::size_t>(i)]);
    }

    bool collect_rim()
    {
        for (int k = 0; k < n_; ++k)
        {
            auto const h = loop_[static_cast<std::size_t>(k)];
            verts_.push_back(mesh_.from_vertex_handle(h));
            faces_.push_back(mesh_.face_handle(mesh_.opposite_halfedge_handle(h)));
            hole_index_[verts_.back()] = k; // of a vertex that stands twice: the later place
            hole_edges_.insert(mesh_.edge_handle(h));
            if (!faces_.back().is_valid())
            {
                return false;
            }
        }
        return true;
    }

    void mark_existing_edges()
    {
        for (auto const f : faces_)
        {
            for (auto const h : sides_of(mesh_, f))
            {
                auto const from = hole_index_.find(mesh_.from_vertex_handle(h));
                auto const to = hole_index_.find(mesh_.to_vertex_handle(h));
                if (hole_edges_.count(mesh_.edge_handle(h)) == 0 && from != hole_index_.end() &&
                    to != hole_index_.end())
                {
                    edge_exist[cell(from->second, to->second)] = true;
                    edge_exist[cell(to->second, from->second)] = true;
                }
            }
        }
    }

    /// The normal of triangle a, m, b as it would be added.
    Vector3f normal_of(int a, int m, int b) const
    {
        return calc_tri_normal(point(b), point(m), point(a));
    }

    /// The cost of triangle i, m, j.
    void calc_weight(int i, int m, int j, float& angle, float& area) const
    {
        area = calc_area(point(i), point(m), point(j));
        angle = 0.0F;
        float largest = 0.0F;
        float smallest = 0.0F;
        calc_max_min_tri_angle(point(i), point(m), point(j), largest, smallest);
        if (largest > 3.132866F || smallest < 0.017453292F)
        {
            area += penalty_;
        }
        Vector3f n = (point(i) - point(j)).cross(point(m) - point(j));
        n.normalize();
        auto const compare_with = [&](Vector3f const& q)
        {
            float const between = calc_angle(n, q);
            if (between > angle)
            {
                angle = between;
            }
        };
        if (m == i + 1)
        {
            compare_with(stored_normal(i));
        }
        if (m == i + 2)
        {
            compare_with(normal_of(i, i + 1, m));
        }
        if (m > i + 2)
        {
            compare_with(normal_of(i, lambda[cell(i, m)], m));
        }
        if (j == m + 1)
        {
            compare_with(stored_normal(m));
        }
        if (j == m + 2)
        {
            compare_with(normal_of(m, m + 1, j));
        }
        if (j > m + 2)
        {
            compare_with(normal_of(m, lambda[cell(m, j)], j));
        }
        if (i == 0 && j == n_ - 1)
        {
            compare_with(stored_normal(j));
        }
        if (flat_weight_ && angle < 3.132866F)
        {
            angle = 0.0F;
        }
        if (edge_exist[cell(i, j)])
        {
            angle += 6.2831855F;
        }
        if (edge_exist[cell(m, j)])
        {
            angle += 6.2831855F;
        }
        angle = static_cast<float>(static_cast<double>(angle) * 180.0 / 3.141592653589793);
        if (angle > 179.5F)
        {
            area += penalty_;
        }
    }

    void choose_split(int i, int j, int stride)
    {
        float best_angle = 0.0F;
        float best_area = 0.0F;
        int best = -1;
        for (int m = i + 1; m < j; m += stride)
        {
            float a = 0.0F;
            float r = 0.0F;
            calc_weight(i, m, j, a, r);
            float const angle =
                std::max(std::max(weight_angle[cell(i, m)], weight_angle[cell(m, j)]), a);
            float const area = r + weight_area[cell(i, m)] + weight_area[cell(m, j)];
            if (best < 0 || angle < best_angle ||
                (std::fabs(angle - best_angle) < 1e-5 && area < best_area))
            {
                best_angle = angle;
                best_area = area;
                best = m;
            }
        }
        weight_angle[cell(i, j)] = best_angle;
        weight_area[cell(i, j)] = best_area;
        lambda[cell(i, j)] = best;
    }

    void add_new(int i, int m, int j)
    {
        auto const face =
            add_triangle(mesh_, verts_[static_cast<std::size_t>(i)],
                         verts_[static_cast<std::size_t>(m)], verts_[static_cast<std::size_t>(j)]);
        if (face.is_valid())
        {
            mesh_.property(face_new_, face) = true;
        }
    }

    void add_best(int i, int j)
    {
        if (i + 2 == j)
        {
            add_new(i, i + 1, j);
            return;
        }
        int const m = lambda[cell(i, j)];
        if (m != i + 1)
        {
            add_best(i, m);
        }
        add_new(i, m, j);
        if (m != j - 1)
        {
            add_best(m, j);
        }
    }

    TriMesh& mesh_;
    Loop const& loop_;
    OpenMesh::FPropHandleT<bool> face_new_;
    float penalty_;
    bool flat_weight_;
    int sample_num_;
    int n_;
    std::vector<VertexHandle> verts_;
    std::vector<FaceHandle> faces_;
    std::map<VertexHandle, int> hole_index_;
    std::set<EdgeHandle> hole_edges_;

public:
    std::vector<float> weight_angle;
    std::vector<float> weight_area;
    std::vector<int> lambda;
    std::vector<bool> edge_exist;
};

/// A hole with its surroundings in a mesh of its own.
struct HoleCopy
{
    TriMesh mesh;
    OpenMesh::FPropHandleT<bool> face_new;
    OpenMesh::VPropHandleT<bool> vert_new;
    OpenMesh::VPropHandleT<bool> vert_boundary;
    OpenMesh::VPropHandleT<float> vert_edge_len;
    OpenMesh::VPropHandleT<VertexHandle> vert_origin;

    void add_properties()
    {
        mesh.add_property(face_new);
        mesh.add_property(vert_new);
        mesh.add_property(vert_boundary);
        mesh.add_property(vert_edge_len);
        mesh.add_property(vert_origin);
    }

    std::vector<bool> inner() const
    {
        std::vector<bool> flags;
        for (auto const v : mesh.vertices())
        {
            flags.push_back(mesh.property(vert_new, v));
        }
        return flags;
    }
};

/// New vertices in the middle of new faces, by the scale of the mesh around, until none is missing.
class WholeRefinement
{
public:
    static constexpr int MAX_ROUNDS = 100;

    WholeRefinement(HoleCopy& hole, float density_thr, float angle_thr)
        : hole_(hole), mesh_(hole.mesh), density_thr_(density_thr), angle_thr_(angle_thr)
    {
    }

    void run()
    {
        request_status(mesh_);
        for (int round = 0; round < MAX_ROUNDS; ++round)
        {
            if (split_pass() == 0)
            {
                break;
            }
            relax();
        }
        collect_garbage(mesh_);
    }

private:
    int split_pass()
    {
        int splits = 0;
        int const count = static_cast<int>(mesh_.n_faces());
        for (int i = 0; i < count; ++i)
        {
            FaceHandle const f(i);
            if (mesh_.property(hole_.face_new, f) && !mesh_.status(f).deleted() && split(f))
            {
                ++splits;
            }
        }
        return splits;
    }

    /// The corners in the order of the halfedges that leave them.
    bool split(FaceHandle f)
    {
        std::vector<VertexHandle> v;
        std::vector<HalfedgeHandle> opp;
        for (auto const h : sides_of(mesh_, f))
        {
            v.push_back(mesh_.from_vertex_handle(h));
            opp.push_back(mesh_.opposite_halfedge_handle(h));
        }
        Vector3f const c = (mesh_.point(v[0]) + mesh_.point(v[1]) + mesh_.point(v[2])) / 3.0F;
        float const s_c = (scale(v[0]) + scale(v[1]) + scale(v[2])) / 3.0F;
        if (calc_min_tri_angle(mesh_.point(v[0]), mesh_.point(v[1]), mesh_.point(v[2])) <
            angle_thr_)
        {
            return false;
        }
        int far_corners = 0;
        for (auto const corner : v)
        {
            float const distance = (c - mesh_.point(corner)).norm();
            if (density_thr_ * scale(corner) < distance && density_thr_ * s_c < distance)
            {
                ++far_corners;
            }
        }
        if (far_corners < 1)
        {
            return false;
        }
        mesh_.delete_face(f, false);
        auto const w = mesh_.add_vertex(c);
        mesh_.property(hole_.vert_new, w) = true;
        mesh_.property(hole_.vert_boundary, w) = false;
        mesh_.property(hole_.vert_edge_len, w) = s_c;
        for (std::size_t k = 0; k < 3; ++k)
        {
            auto const a = v[k];
            auto const b = v[(k + 1) % 3];
            auto const g = add_triangle(mesh_, a, b, w);
            if (g.is_valid())
            {
                mesh_.property(hole_.face_new, g) = true;
                swap_edge(g, opp[k], a, b, w, nullptr);
            }
        }
        return true;
    }

    float scale(VertexHandle v) const { return mesh_.property(hole_.vert_edge_len, v); }

    /// Flips until nothing moves. An edge whose two states are as good as each other is flipped
    /// once at most, or four corners on a circle would go on for ever.
    void relax()
    {
        std::set<EdgeHandle> flipped_on_tie;
        std::size_t const max_flips = 4 * mesh_.n_edges();
        std::size_t flips = 0;
        bool any = true;
        while (any)
        {
            any = false;
            for (int i = 0; i < static_cast<int>(mesh_.n_edges()); ++i)
            {
                if (relax_edge(EdgeHandle(i), flipped_on_tie))
                {
                    any = true;
                    if (++flips >= max_flips)
                    {
                        return;
                    }
                }
            }
        }
    }

    bool relax_edge(EdgeHandle e, std::set<EdgeHandle>& flipped_on_tie)
    {
        if (mesh_.status(e).deleted())
        {
            return false;
        }
        auto const h0 = mesh_.halfedge_handle(e, 0);
        auto const h1 = mesh_.halfedge_handle(e, 1);
        if (!is_new(mesh_.face_handle(h0)) || !is_new(mesh_.face_handle(h1)))
        {
            return false;
        }
        auto const a = mesh_.from_vertex_handle(h0);
        auto const b = mesh_.to_vertex_handle(h0);
        auto const c = third_corner(mesh_.face_handle(h0), a, b);
        return swap_edge(mesh_.face_handle(h0), h1, a, b, c, &flipped_on_tie);
    }

    bool is_new(FaceHandle f) const
    {
        return f.is_valid() && !mesh_.status(f).deleted() && mesh_.property(hole_.face_new, f);
    }

    VertexHandle third_corner(FaceHandle f, VertexHandle a, VertexHandle b) const
    {
        for (auto const v : corners_of(mesh_, f))
        {
            if (v != a && v != b)
            {
                return v;
            }
        }
        return VertexHandle();
    }

    bool swap_edge(FaceHandle f, HalfedgeHandle h, VertexHandle a, VertexHandle b, VertexHandle c,
                   std::set<EdgeHandle>* flipped_on_tie)
    {
        auto const g = mesh_.face_handle(h);
        if (!is_new(g) || !is_new(f))
        {
            return false;
        }
        auto const d = third_corner(g, a, b);
        if (!d.is_valid())
        {
            return false;
        }
        auto const edge = mesh_.edge_handle(h);
        if (!mesh_.is_flip_ok(edge))
        {
            return false;
        }
        Vector3f const ac = (mesh_.point(c) - mesh_.point(a)).normalized();
        Vector3f const ad = (mesh_.point(d) - mesh_.point(a)).normalized();
        Vector3f const bc = (mesh_.point(c) - mesh_.point(b)).normalized();
        Vector3f const bd = (mesh_.point(d) - mesh_.point(b)).normalized();
        float const angle_c = std::acos(ac.dot(bc));
        float const angle_d = std::acos(ad.dot(bd));
        float const angle_a = std::acos(ac.dot(ad));
        float const angle_b = std::acos(bc.dot(bd));
        float const at_edge = angle_a + angle_b;
        float const across = angle_c + angle_d;
        if (at_edge > across)
        {
            return false;
        }
        // Corners in one line may have no angle: that is as good as any, too.
        bool const tie = !(std::fabs(at_edge - across) > 1e-5);
        if (tie && flipped_on_tie != nullptr && !flipped_on_tie->insert(edge).second)
        {
            return false;
        }
        mesh_.flip(edge);
        return true;
    }

    HoleCopy& hole_;
    TriMesh& mesh_;
    float density_thr_;
    float angle_thr_;
};

/// 1, or the inverse length of the edge between two vertices.
inline float laplace_weight(TriMesh const& mesh, VertexHandle v, VertexHandle u, int weight_type)
{
    if (weight_type == 0)
    {
        return 1.0F;
    }
    float const length = (mesh.point(v) - mesh.point(u)).norm();
    return length > 1e-5 ? 1.0F / length : length;
}

/// The system (E - I)^order x = 0 for the inner vertices, E being the weighted mean of the
/// neighbours and all other vertices fixed. One row a vertex: the three coordinates have the same.
class FairingSystem
{
public:
    FairingSystem(TriMesh const& mesh, std::vector<bool> const& inner, int weight_type, int order)
        : mesh_(mesh), weight_type_(weight_type), order_(order), number_(mesh.n_vertices(), -1)
    {
        for (auto const v : mesh.vertices())
        {
            if (inner[at(v)])
            {
                number_[at(v)] = static_cast<int>(unknowns.size());
                unknowns.push_back(v);
            }
        }
        right = Eigen::MatrixXd::Zero(static_cast<Eigen::Index>(unknowns.size()), 3);
        for (auto const v : unknowns)
        {
            add_row(v);
        }
    }

    /// \return false if it has no solution that could be found
    bool solve(Eigen::MatrixXd& solution) const
    {
        auto const n = static_cast<Eigen::Index>(unknowns.size());
        Eigen::SparseMatrix<double> matrix(n, n);
        matrix.setFromTriplets(entries.begin(), entries.end());
        matrix.makeCompressed();
        Eigen::SparseLU<Eigen::SparseMatrix<double>> solver;
        solver.compute(matrix);
        if (solver.info() != Eigen::Success)
        {
            return false;
        }
        solution = solver.solve(right);
        return solver.info() == Eigen::Success;
    }

    std::vector<VertexHandle> unknowns;
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::MatrixXd right;

private:
    /// Coefficient of a path of some edges, before its weights.
    double sign_and_count(int edges) const
    {
        static constexpr std::array<std::array<double, 4>, 4> COUNTS{
            {{0, 0, 0, 0}, {-1, 1, 0, 0}, {1, -2, 1, 0}, {-1, 3, -3, 1}}};
        return COUNTS.at(static_cast<std::size_t>(order_)).at(static_cast<std::size_t>(edges));
    }

    struct Step
    {
        VertexHandle to;
        float weight;
    };

    std::vector<Step> steps_from(VertexHandle v) const
    {
        std::vector<Step> steps;
        for (auto it = mesh_.cvoh_iter(v); it.is_valid(); ++it)
        {
            auto const u = mesh_.to_vertex_handle(*it);
            steps.push_back({u, laplace_weight(mesh_, v, u, weight_type_)});
        }
        return steps;
    }

    static float sum_of(std::vector<Step> const& steps)
    {
        float sum = 0.0F;
        for (auto const& step : steps)
        {
            sum += step.weight;
        }
        return sum;
    }

    void add_row(VertexHandle v)
    {
        int const row = number_[at(v)];
        entries.emplace_back(row, row, sign_and_count(0));
        add_paths(row, v, 1, 1.0, 1.0);
    }

    /// All paths of `length` edges whose last edge leaves v, and the longer ones.
    /// Weights are `float`; what is made of them is not, so that the system is as exact as its
    /// solution is compared.
    /// \param weights product of the weights before
    /// \param sums product of the sums of weights before
    void add_paths(int row, VertexHandle v, int length, double weights, double sums)
    {
        auto const steps = steps_from(v);
        if (steps.empty())
        {
            return;
        }
        double const all_sums = sums * sum_of(steps);
        double const count = sign_and_count(length);
        Eigen::Vector3d fixed = Eigen::Vector3d::Zero();
        for (auto const& step : steps)
        {
            int const column = number_[at(step.to)];
            double const all_weights = weights * static_cast<double>(step.weight);
            if (column >= 0)
            {
                entries.emplace_back(row, column, count * all_weights / all_sums);
            }
            else
            {
                fixed += all_weights * mesh_.point(step.to).cast<double>();
            }
        }
        right.row(row) -= (count * fixed / all_sums).transpose();
        if (length < order_)
        {
            for (auto const& step : steps)
            {
                add_paths(row, step.to, length + 1, weights * static_cast<double>(step.weight),
                          all_sums);
            }
        }
    }

    TriMesh const& mesh_;
    int weight_type_;
    int order_;
    std::vector<int> number_;
};

/// Moves the inner vertices to the solution; they stay where there is none, or too many of them.
/// \param order 1, 2 or 3 for a patch that continues in position, slope or curvature
inline void fair(TriMesh& mesh, std::vector<bool> const& inner, int weight_type, int order,
                 int verts_thr)
{
    FairingSystem const system(mesh, inner, weight_type, order);
    Eigen::MatrixXd solution;
    if (system.unknowns.empty() || static_cast<int>(system.unknowns.size()) > verts_thr ||
        !system.solve(solution))
    {
        return;
    }
    for (std::size_t k = 0; k < system.unknowns.size(); ++k)
    {
        Vector3f const point = solution.row(static_cast<Eigen::Index>(k)).transpose().cast<float>();
        mesh.set_point(system.unknowns[k], point);
    }
}

/// One pass, in place: each inner vertex moves to the mean of its neighbours, the near ones
/// counting more.
inline void fairing_plane(TriMesh& mesh, std::vector<bool> const& inner)
{
    for (auto const v : mesh.vertices())
    {
        if (!inner[at(v)])
        {
            continue;
        }
        Vector3f sum = Vector3f::Zero();
        float weights = 0.0F;
        for (auto it = mesh.cvv_iter(v); it.is_valid(); ++it)
        {
            float const w = laplace_weight(mesh, v, *it, 1);
            sum += w * mesh.point(*it);
            weights += w;
        }
        if (!(weights < 1e-5))
        {
            mesh.set_point(v, sum / weights);
        }
    }
}

/// Whether more than nine of ten old triangles look the same way, slivers aside.
inline bool is_flat_hole(TriMesh const& mesh, std::vector<bool> const& face_new)
{
    std::vector<FaceHandle> border;
    Vector3f sum = Vector3f::Zero();
    for (auto const f : mesh.faces())
    {
        auto const v = corners_of(mesh, f);
        if (!face_new[at(f)] &&
            calc_min_tri_angle(mesh.point(v[0]), mesh.point(v[1]), mesh.point(v[2])) >= 0.17453292F)
        {
            border.push_back(f);
            sum += mesh.normal(f);
        }
    }
    sum.normalize();
    int even = 0;
    for (auto const f : border)
    {
        even += calc_angle(mesh.normal(f), sum) < 0.17453292F ? 1 : 0;
    }
    return !border.empty() && static_cast<float>(even) / static_cast<float>(border.size()) > 0.9F;
}

/// The elements whose stored normal is not one: a coordinate is no finite number.
struct InvalidNormals
{
    std::vector<int> verts;
    std::vector<int> faces;
};

inline InvalidNormals verify_mesh(TriMesh const& mesh)
{
    InvalidNormals invalid;
    if (mesh.has_vertex_normals())
    {
        for (auto const v : mesh.vertices())
        {
            if (!mesh.normal(v).allFinite())
            {
                invalid.verts.push_back(v.idx());
            }
        }
    }
    if (mesh.has_face_normals())
    {
        for (auto const f : mesh.faces())
        {
            if (!mesh.normal(f).allFinite())
            {
                invalid.faces.push_back(f.idx());
            }
        }
    }
    return invalid;
}

/// What a run leaves besides the mesh. Holes, regions and outcomes belong to the last search: after
/// a cut, to the holes that it made.
class WholeFilling
{
public:
    explicit WholeFilling(WholeSettings const& settings) : settings_(settings) {}
    virtual ~WholeFilling() = default;
    WholeFilling(WholeFilling const&) = default;
    WholeFilling& operator=(WholeFilling const&) = default;

    void holes_filling(TriMesh& mesh)
    {
        mesh_ = mesh;
        preprocessing();
        fill_tiny_holes();
        find_holes();
        expand_holes(std::vector<bool>(holes.size(), true));
        if (settings_.region_process_type == 0)
        {
            smooth_holes_region();
        }
        else if (settings_.region_process_type == 1)
        {
            delete_region();
            find_holes();
            expand_holes(std::vector<bool>(holes.size(), true));
        }
        process_holes(std::vector<bool>(holes.size(), true));
        mesh = mesh_;
    }

    MeshFigures figures;
    std::vector<Loop> holes;
    std::vector<double> hole_lengths;
    Surroundings around;
    std::vector<Outcome> outcomes;

protected:
    void preprocessing()
    {
        mesh_.request_vertex_normals();
        mesh_.request_face_normals();
        mesh_.update_normals();
        figures = measure_figures(mesh_);
        dijkstra_dis_thr_ = static_cast<float>(10.0 * figures.avg_edge);
    }

    void fill_tiny_holes()
    {
        OrvaneAlgorithm::EarTrimming ears;
        ears.ear_trimming(mesh_, true, true, true, 5, 2.0 * figures.avg_edge, 150.0);
        mesh_.update_normals();
    }

    void find_holes()
    {
        holes = find_loops(mesh_);
        hole_lengths.clear();
        for (auto const& hole : holes)
        {
            hole_lengths.push_back(perimeter_of(mesh_, hole));
        }
    }

    void expand_holes(std::vector<bool> const& chosen)
    {
        RegionGrowth growth(mesh_, settings_.topology_dis_thr, dijkstra_dis_thr_);
        around = growth.grow(holes, chosen);
    }

    std::vector<bool> region_verts() const
    {
        std::vector<bool> marked(mesh_.n_vertices(), false);
        for (auto const& region : around.regions)
        {
            for (auto const f : region)
            {
                for (auto const v : corners_of(mesh_, f))
                {
                    marked[at(v)] = true;
                }
            }
        }
        return marked;
    }

    static Vector3f mean_of_neighbours(TriMesh const& mesh, VertexHandle v)
    {
        Vector3f sum = Vector3f::Zero();
        int count = 0;
        for (auto it = mesh.cvv_iter(v); it.is_valid(); ++it)
        {
            sum += mesh.point(*it);
            ++count;
        }
        return sum / static_cast<float>(count);
    }

    /// Later vertices see the earlier ones moved.
    void smooth_holes_region()
    {
        auto const marked = region_verts();
        for (auto const v : mesh_.vertices())
        {
            if (marked[at(v)] && !mesh_.is_isolated(v))
            {
                mesh_.set_point(v, mean_of_neighbours(mesh_, v));
            }
        }
    }

    void delete_region()
    {
        request_status(mesh_);
        for (int i = 0; i < static_cast<int>(around.face_region.size()); ++i)
        {
            if (around.face_region[static_cast<std::size_t>(i)])
            {
                mesh_.delete_face(FaceHandle(i), false);
            }
        }
        collect_garbage(mesh_);
    }

    void process_holes(std::vector<bool> const& chosen)
    {
        outcomes.assign(holes.size(), Outcome::NOT_CHOSEN);
        for (std::size_t i = 0; i < holes.size(); ++i)
        {
            if (chosen[i])
            {
                outcomes[i] = hole_filling(i);
            }
        }
    }

    Outcome hole_filling(std::size_t i)
    {
        if (static_cast<int>(holes[i].size()) > settings_.hole_verts_thr)
        {
            return Outcome::TOO_MANY_EDGES;
        }
        HoleCopy hole;
        std::map<VertexHandle, VertexHandle> copy_of;
        if (!create_sub_mesh(around.regions[i], hole, copy_of))
        {
            return Outcome::NO_SUB_MESH;
        }
        auto const first = first_halfedge(holes[i], hole.mesh, copy_of);
        if (!first.is_valid())
        {
            return Outcome::NO_FIRST_HALFEDGE;
        }
        Loop const loop = walk_border(hole, first);
        if (loop.size() != holes[i].size())
        {
            return Outcome::OTHER_BORDER;
        }
        WholeTriangulation triangulation(hole.mesh, loop, hole.face_new,
                                         static_cast<float>(figures.avg_area * 1000.0),
                                         settings_.flat_weight, settings_.triangulation_sample_num);
        if (!triangulation.run())
        {
            return Outcome::NOT_TRIANGULATED;
        }
        WholeRefinement(hole, settings_.density_thr, settings_.angle_thr).run();
        smooth_inner_patch(hole);
        fair(hole.mesh, hole.inner(), settings_.weight_type, 2, settings_.fairing_verts_thr);
        return merge(hole);
    }

    bool create_sub_mesh(Region const& region, HoleCopy& hole,
                         std::map<VertexHandle, VertexHandle>& copy_of) const
    {
        std::vector<VertexHandle> originals;
        for (auto const f : region)
        {
            for (auto const v : corners_of(mesh_, f))
            {
                if (copy_of.emplace(v, VertexHandle(static_cast<int>(originals.size()))).second)
                {
                    originals.push_back(v);
                }
            }
        }
        if (originals.size() < 3)
        {
            return false;
        }
        hole.mesh.request_vertex_normals();
        hole.mesh.request_face_normals();
        hole.add_properties();
        for (auto const v : originals)
        {
            auto const copy = hole.mesh.add_vertex(mesh_.point(v));
            hole.mesh.set_normal(copy, mesh_.normal(v));
            hole.mesh.property(hole.vert_origin, copy) = v;
            hole.mesh.property(hole.vert_new, copy) = false;
            hole.mesh.property(hole.vert_boundary, copy) = false;
            hole.mesh.property(hole.vert_edge_len, copy) = around.vert_edge_len[at(v)];
        }
        bool usable = true;
        for (auto const f : region)
        {
            auto const v = corners_of(mesh_, f);
            auto const copy =
                add_triangle(hole.mesh, copy_of.at(v[0]), copy_of.at(v[1]), copy_of.at(v[2]));
            if (!copy.is_valid())
            {
                usable = false;
                continue;
            }
            hole.mesh.set_normal(copy, mesh_.normal(f));
            hole.mesh.property(hole.face_new, copy) = false;
        }
        return usable;
    }

    HalfedgeHandle first_halfedge(Loop const& loop, TriMesh const& sub_mesh,
                                  std::map<VertexHandle, VertexHandle> const& copy_of) const
    {
        auto const from = copy_of.find(mesh_.from_vertex_handle(loop.front()));
        auto const to = copy_of.find(mesh_.to_vertex_handle(loop.front()));
        if (from == copy_of.end() || to == copy_of.end())
        {
            return HalfedgeHandle();
        }
        return halfedge_to(sub_mesh, from->second, to->second);
    }

    static Loop walk_border(HoleCopy& hole, HalfedgeHandle first)
    {
        Loop loop;
        auto h = first;
        do
        {
            loop.push_back(h);
            hole.mesh.property(hole.vert_boundary, hole.mesh.from_vertex_handle(h)) = true;
            h = hole.mesh.next_halfedge_handle(h);
        } while (h != first);
        return loop;
    }

    static void smooth_inner_patch(HoleCopy& hole)
    {
        auto const points =
            smooth(hole.mesh, hole.inner(), Component::TANGENTIAL, Continuity::C1, 100);
        for (auto const v : hole.mesh.vertices())
        {
            hole.mesh.set_point(v, points[at(v)]);
        }
    }

    Outcome merge(HoleCopy& hole)
    {
        TriMesh& sub_mesh = hole.mesh;
        for (auto const v : sub_mesh.vertices())
        {
            if (sub_mesh.property(hole.vert_new, v))
            {
                sub_mesh.property(hole.vert_origin, v) = mesh_.add_vertex(sub_mesh.point(v));
            }
        }
        for (auto const f : sub_mesh.faces())
        {
            if (!sub_mesh.property(hole.face_new, f))
            {
                continue;
            }
            auto const v = corners_of(sub_mesh, f);
            if (!add_triangle(mesh_, sub_mesh.property(hole.vert_origin, v[0]),
                              sub_mesh.property(hole.vert_origin, v[1]),
                              sub_mesh.property(hole.vert_origin, v[2]))
                     .is_valid())
            {
                return Outcome::MERGE_STOPPED;
            }
        }
        return Outcome::FILLED;
    }

    WholeSettings settings_;
    TriMesh mesh_;
    float dijkstra_dis_thr_ = 0.0F;
};

} // namespace veld_test::reference
