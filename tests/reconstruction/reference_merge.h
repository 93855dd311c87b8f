#pragma once

#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/cleanup/PostProcessing.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/meshes.h"
#include "tests/support/plain_walks.h"
#include "tests/support/reference_normals.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>
#include <utility>

/// \file
/// Merging once more, as plainly as it can be written: one thread, OpenMesh's own operations, the
/// marks of the stitch as properties of the mesh, each face tested and added before the next. What
/// the library gives has to be the same, to the bit.

namespace veld_test::reference
{

using Eigen::Matrix3f;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::KdTree3f;
using OrvaneAlgorithm::Vector2f;

struct MergeSettings
{
    double point_spacing = 0.12;
    float normal_angle_thr = 30.0F;
    int neighbour_factor = 8;
    double ear_edge_factor = 5.0;
    double stitch_radius = 0.12;
    int max_hole_edges = 10;
    int min_component_size = 5;
    double long_edge_length = 0.5;
};

struct Marks
{
    OpenMesh::VPropHandleT<int> state;
    OpenMesh::VPropHandleT<Vector2f> local;
    OpenMesh::VPropHandleT<float> angle;
};

inline bool can_see(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    float const d = b.x() * a.y() - a.x() * b.y();
    if (std::abs(static_cast<double>(d)) < 1e-5)
    {
        return true;
    }
    float const s = (c.x() * a.y() - c.y() * a.x()) / d;
    if (s <= 0)
    {
        return true;
    }
    float t = 0;
    if (std::abs(static_cast<double>(a.x())) > 1e-5)
    {
        t = (c.x() - b.x() * s) / a.x();
    }
    else if (std::abs(static_cast<double>(a.y())) > 1e-5)
    {
        t = (c.y() - b.y() * s) / a.y();
    }
    else
    {
        return true;
    }
    if (t <= 0)
    {
        return true;
    }
    return s + t < 1;
}

inline bool in_circle(Vector2f const& a, Vector2f const& b, Vector2f const& c, Vector2f const& d)
{
    Eigen::Matrix4d m;
    auto const put = [&](int row, Vector2f const& p)
    {
        float const square = p.x() * p.x() + p.y() * p.y();
        m(row, 0) = 1;
        m(row, 1) = static_cast<double>(p.x());
        m(row, 2) = static_cast<double>(p.y());
        m(row, 3) = static_cast<double>(square);
    };
    put(0, a);
    put(1, b);
    put(2, c);
    put(3, d);
    return m.determinant() <= 0;
}

inline Matrix3f frame_at(TriMesh const& mesh, std::vector<int> const& points, VertexHandle centre)
{
    Vector3f c = Vector3f::Zero();
    for (int const i : points)
    {
        c += mesh.point(vh(i));
    }
    c /= static_cast<float>(points.size());
    Matrix3f sum = Matrix3f::Zero();
    for (int const i : points)
    {
        Vector3f const d = mesh.point(vh(i)) - c;
        sum += d * d.transpose();
    }
    Matrix3f lrf = Eigen::SelfAdjointEigenSolver<Matrix3f>(sum).eigenvectors();
    Vector3f const e0 = lrf.col(0);
    Vector3f const z = e0.dot(mesh.normal(centre)) >= 0 ? e0 : Vector3f(-e0);
    Vector3f const y = lrf.col(1);
    lrf.col(2) = z;
    lrf.col(0) = y.cross(z);
    return lrf;
}

inline float turned(float d)
{
    return d < 0 ? d + 6.2831855F : d;
}

/// How far to look around a vertex: just past its longest edge on a boundary, and not below a
/// start.
inline float reach_at(TriMesh const& mesh, VertexHandle c, float start)
{
    float r = start;
    for (auto it = mesh.cvoh_iter(c); it.is_valid(); ++it)
    {
        float const length = mesh.calc_edge_length(*it);
        if (mesh.is_boundary(mesh.edge_handle(*it)) && length >= r)
        {
            r = static_cast<float>(static_cast<double>(length) + 1e-5);
        }
    }
    return r;
}

class PlainStitch
{
public:
    PlainStitch(TriMesh& mesh, MergeSettings const& settings) : mesh_(mesh), settings_(settings) {}

    /// Slab by slab.
    void run()
    {
        auto const radius = static_cast<float>(settings_.stitch_radius);
        float const largest = static_cast<float>(settings_.neighbour_factor) * radius;
        auto const slabs = divide();
        begin();
        for (std::size_t pass = 0; pass < 2; ++pass)
        {
            for (auto slab = pass; slab < slabs.size(); slab += 2)
            {
                for (auto const c : slabs[slab])
                {
                    stitch(c, 2 * radius, static_cast<double>(largest));
                }
            }
        }
        end();
    }

    /// Vertex by vertex; the spacing takes the place of the radius. \return how many faces the mesh
    /// refused
    int run_in_turn()
    {
        begin();
        for (auto const c : mesh_.vertices())
        {
            stitch(c, static_cast<float>(settings_.point_spacing * 2.0),
                   settings_.neighbour_factor * settings_.point_spacing);
        }
        end();
        return refused_;
    }

private:
    void begin()
    {
        tree_.set_sorted(false);
        tree_.build_kdtree(
            std::vector<Vector3f>(mesh_.points(), mesh_.points() + mesh_.n_vertices()));
        mesh_.add_property(marks_.state);
        mesh_.add_property(marks_.local);
        mesh_.add_property(marks_.angle);
        for (auto const v : mesh_.vertices())
        {
            mesh_.property(marks_.state, v) = -1;
        }
    }

    void end()
    {
        mesh_.remove_property(marks_.state);
        mesh_.remove_property(marks_.local);
        mesh_.remove_property(marks_.angle);
    }

    std::vector<std::vector<VertexHandle>> divide() const
    {
        Vector3f min;
        Vector3f max;
        mesh_.get_boundBox(min, max);
        Vector3f const extent = max - min;
        int axis = 1;
        if (extent.x() > extent.y())
        {
            axis = 0;
        }
        if (extent.z() > extent[axis])
        {
            axis = 2;
        }
        auto const width = static_cast<float>(
            static_cast<double>(static_cast<float>(settings_.neighbour_factor) * 5.0F) *
            settings_.point_spacing);
        std::vector<std::vector<VertexHandle>> slabs;
        for (auto const v : mesh_.vertices())
        {
            auto const slab = static_cast<std::size_t>((mesh_.point(v)[axis] - min[axis]) / width);
            slabs.resize(std::max(slabs.size(), slab + 1));
            if (mesh_.is_boundary(v))
            {
                slabs[slab].push_back(v);
            }
        }
        return slabs;
    }

    void stitch(VertexHandle c, float start, double largest)
    {
        if (!mesh_.is_boundary(c))
        {
            return;
        }
        float const r = reach_at(mesh_, c, start);
        if (static_cast<double>(r) > largest)
        {
            return;
        }
        std::vector<int> found;
        std::vector<float> distances;
        tree_.radius_search(mesh_.point(c), r, found, distances, 0);
        Matrix3f const lrf = frame_at(mesh_, found, c);
        std::vector<VertexHandle> border;
        std::vector<VertexHandle> inner;
        for (int const i : found)
        {
            if (i != c.idx())
            {
                Vector3f const local = lrf.transpose() * (mesh_.point(vh(i)) - mesh_.point(c));
                mesh_.property(marks_.local, vh(i)) = local.head<2>();
                mesh_.property(marks_.state, vh(i)) = -2;
                (mesh_.is_boundary(vh(i)) ? border : inner).push_back(vh(i));
                mesh_.property(marks_.angle, vh(i)) = std::atan2(local.y(), local.x());
            }
        }
        if (border.size() >= 2)
        {
            fan(c, border, inner, lrf);
        }
        for (int const i : found)
        {
            mesh_.property(marks_.state, vh(i)) = -1;
        }
    }

    void hide(VertexHandle c, VertexHandle b, std::vector<VertexHandle> const& border,
              Matrix3f const& lrf, std::vector<bool>& seen) const
    {
        for (auto it = mesh_.cvoh_iter(b); it.is_valid(); ++it)
        {
            VertexHandle const u = mesh_.to_vertex_handle(*it);
            if (u == c || (mesh_.property(marks_.state, u) == -2 && u.idx() > b.idx()))
            {
                continue;
            }
            Vector2f end = mesh_.property(marks_.local, u);
            if (mesh_.property(marks_.state, u) != -2)
            {
                Vector3f const local = lrf.transpose() * (mesh_.point(u) - mesh_.point(c));
                end = local.head<2>();
            }
            for (std::size_t w = 0; w < border.size(); ++w)
            {
                if (border[w] != b && border[w] != u && seen[w] &&
                    !can_see(mesh_.property(marks_.local, b), end,
                             mesh_.property(marks_.local, border[w])))
                {
                    seen[w] = false;
                }
            }
        }
    }

    void fan(VertexHandle c, std::vector<VertexHandle> const& border,
             std::vector<VertexHandle> const& inner, Matrix3f const& lrf)
    {
        std::vector<bool> seen(border.size(), true);
        for (auto const b : border)
        {
            hide(c, b, border, lrf, seen);
        }
        for (auto const g : inner)
        {
            hide(c, g, border, lrf, seen);
        }
        visible_.clear();
        for (std::size_t w = 0; w < border.size(); ++w)
        {
            if (seen[w])
            {
                visible_.emplace_back(border[w], mesh_.property(marks_.angle, border[w]));
            }
        }
        std::stable_sort(visible_.begin(), visible_.end(),
                         [](auto const& a, auto const& b) { return a.second < b.second; });
        if (visible_.empty())
        {
            return;
        }
        for (std::size_t i = 0; i < visible_.size(); ++i)
        {
            mesh_.property(marks_.state, visible_[i].first) = static_cast<int>(i);
        }
        for (auto const& [from, to] : gaps(c))
        {
            fill(c, from, to);
        }
    }

    std::vector<std::pair<int, int>> gaps(VertexHandle c) const
    {
        std::vector<std::pair<int, bool>> marks;
        if (mesh_.is_isolated(c))
        {
            auto const distance = [&](auto const& v)
            {
                Vector2f const& p = mesh_.property(marks_.local, v.first);
                return std::sqrt(p.x() * p.x() + p.y() * p.y());
            };
            auto const nearest = std::min_element(visible_.begin(), visible_.end(),
                                                  [&](auto const& a, auto const& b)
                                                  { return distance(a) < distance(b); });
            int const rank = static_cast<int>(nearest - visible_.begin());
            return {{rank, rank}};
        }
        for (auto it = mesh_.cvoh_iter(c); it.is_valid(); ++it)
        {
            int const rank = mesh_.property(marks_.state, mesh_.to_vertex_handle(*it));
            if (mesh_.is_boundary(*it))
            {
                marks.emplace_back(rank, true);
            }
            else if (mesh_.is_boundary(mesh_.opposite_halfedge_handle(*it)))
            {
                marks.emplace_back(rank, false);
            }
        }
        std::sort(marks.begin(), marks.end());
        for (std::size_t i = 0; i < marks.size(); ++i)
        {
            if (marks[i].first < 0 || (i > 0 && marks[i].second == marks[i - 1].second))
            {
                return {};
            }
        }
        if (!marks.front().second)
        {
            std::rotate(marks.begin(), marks.begin() + 1, marks.end());
        }
        std::vector<std::pair<int, int>> result;
        for (std::size_t i = 0; i + 1 < marks.size(); i += 2)
        {
            result.emplace_back(marks[i].first, marks[i + 1].first);
        }
        return result;
    }

    float angle(int rank) const { return visible_[static_cast<std::size_t>(rank)].second; }
    VertexHandle vertex(int rank) const { return visible_[static_cast<std::size_t>(rank)].first; }
    Vector2f const& local(int rank) const { return mesh_.property(marks_.local, vertex(rank)); }

    void fill(VertexHandle c, int from, int to)
    {
        int const n = static_cast<int>(visible_.size());
        constexpr double PI = 3.141592653589793;
        std::vector<int> stack{from};
        for (int k = (from + 1) % n;; k = (k + 1) % n)
        {
            float const d = turned(angle(k) - angle(stack.back()));
            if (static_cast<double>(d) < PI)
            {
                while (stack.size() >= 2)
                {
                    int const below = stack[stack.size() - 2];
                    float const a = turned(angle(k) - angle(below));
                    if (static_cast<double>(a) >= PI ||
                        !in_circle(Vector2f::Zero(), local(below), local(stack.back()), local(k)))
                    {
                        break;
                    }
                    stack.pop_back();
                }
            }
            stack.push_back(k);
            if (k == to)
            {
                break;
            }
        }
        for (std::size_t q = 1; q < stack.size(); ++q)
        {
            add(c, stack[q - 1], stack[q]);
        }
    }

    void add(VertexHandle c, int rank_a, int rank_b)
    {
        auto corner = static_cast<double>(angle(rank_b) - angle(rank_a));
        if (corner < 0)
        {
            corner += 2 * 3.141592653589793;
        }
        if (corner <= 0.3141592653589793 || corner >= 2.5132741228718345)
        {
            return;
        }
        auto const a = vertex(rank_a);
        auto const b = vertex(rank_b);
        Vector3f const e1 = mesh_.point(a) - mesh_.point(c);
        Vector3f const e2 = mesh_.point(b) - mesh_.point(c);
        Vector3f n = e1.cross(e2);
        if (static_cast<double>((mesh_.point(a) - mesh_.point(b)).norm()) >
                settings_.neighbour_factor * settings_.point_spacing ||
            static_cast<double>(e1.norm()) * 0.001 * static_cast<double>(e2.norm()) >
                static_cast<double>(n.norm()))
        {
            return;
        }
        n.normalize();
        if (n.dot(mesh_.normal(c)) < 0 || n.dot(mesh_.normal(a)) < 0 ||
            n.dot(mesh_.normal(b)) < 0 ||
            !consistent(mesh_, c, a, b, static_cast<double>(settings_.normal_angle_thr)))
        {
            return;
        }
        omerr().disable();
        refused_ += mesh_.add_face(c, a, b).is_valid() ? 0 : 1;
        omerr().enable();
    }

    TriMesh& mesh_;
    MergeSettings settings_;
    KdTree3f tree_;
    Marks marks_;
    std::vector<std::pair<VertexHandle, float>> visible_;
    int refused_ = 0;
};

/// All frames, vertex by vertex and face by face.
inline void convert(std::vector<RangeData> const& frames, OpenMesh::VPropHandleT<int> frame_of,
                    TriMesh& mesh)
{
    mesh.request_vertex_normals();
    int first = 0;
    for (std::size_t r = 0; r < frames.size(); ++r)
    {
        for (std::size_t i = 0; i < frames[r].get_vn(); ++i)
        {
            Vector3f p;
            frames[r].get_global_vCoord(i, p);
            auto const v = mesh.add_vertex(p);
            mesh.set_normal(v, frames[r].get_global_vNrv(i));
            mesh.property(frame_of, v) = static_cast<int>(r);
        }
        OrvaneAlgorithm::MatrixXi map;
        std::vector<std::vector<int>> quads;
        frames[r].create_vertices_index_map(map);
        frames[r].convert_to_quad(map, quads);
        for (auto const& quad : quads)
        {
            std::vector<VertexHandle> q;
            for (int const i : quad)
            {
                q.push_back(vh(first + i));
            }
            float const d02 = (mesh.point(q[0]) - mesh.point(q[2])).norm();
            float const d13 = (mesh.point(q[1]) - mesh.point(q[3])).norm();
            omerr().disable();
            if (d13 > d02)
            {
                mesh.add_face(q[0], q[1], q[2]);
                mesh.add_face(q[2], q[3], q[0]);
            }
            else
            {
                mesh.add_face(q[0], q[1], q[3]);
                mesh.add_face(q[1], q[2], q[3]);
            }
            omerr().enable();
        }
        first += static_cast<int>(frames[r].get_vn());
    }
}

inline void delete_long_edges(TriMesh& mesh, float length)
{
    request_status(mesh);
    for (auto it = mesh.edges_begin(); it != mesh.edges_end(); ++it)
    {
        if (mesh.is_boundary(*it) && mesh.calc_edge_length(*it) > length)
        {
            mesh.delete_edge(*it, false);
        }
    }
    collect_garbage(mesh);
}

inline void filter(TriMesh& mesh)
{
    request_status(mesh);
    std::vector<int> neighbours;
    for (auto const v : mesh.vertices())
    {
        neighbours.push_back(static_cast<int>(mesh.valence(v)));
    }
    for (auto const v : mesh.vertices())
    {
        if (mesh.is_boundary(v) && neighbours[static_cast<std::size_t>(v.idx())] < 3)
        {
            mesh.delete_vertex(v, false);
        }
    }
    for (auto const f : mesh.faces())
    {
        if (mesh.is_boundary(f) && !mesh.cff_iter(f).is_valid())
        {
            mesh.delete_face(f, false);
        }
    }
    collect_garbage(mesh);
}

inline void mesh_merge(std::vector<RangeData> const& frames, MergeSettings const& settings,
                       TriMesh& mesh, std::vector<int>& vertex_frames)
{
    OpenMesh::VPropHandleT<int> frame_of;
    mesh.add_property(frame_of);
    convert(frames, frame_of, mesh);
    delete_long_edges(mesh, static_cast<float>(settings.long_edge_length));
    PlainStitch(mesh, settings).run();
    filter(mesh);
    OrvaneAlgorithm::EarTrimming trimming;
    trimming.ear_trimming(mesh, false, true, true, settings.max_hole_edges,
                          settings.ear_edge_factor * settings.point_spacing, 150.0);
    OrvaneAlgorithm::PostProcessing().remove_small_objects(mesh, settings.min_component_size);
    trimming.ear_trimming(mesh, true, false, false, settings.max_hole_edges,
                          settings.ear_edge_factor * settings.point_spacing, 150.0);
    vertex_frames.clear();
    for (auto const v : mesh.vertices())
    {
        vertex_frames.push_back(mesh.property(frame_of, v));
    }
    mesh.remove_property(frame_of);
}

} // namespace veld_test::reference
