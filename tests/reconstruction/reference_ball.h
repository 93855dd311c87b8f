#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "tests/support/plain_walks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// \file
/// The repair by a rolling ball as plainly as it can be written: every search looks at every point,
/// and every candidate of an edge is judged before the first is taken. What the library gives has
/// to be the same, to the bit.

namespace veld_test::reference
{

using OrvaneAlgorithm::Vector3f;

/// What a tree over the points finds: those nearer than the radius, by squared distance, and
/// equally near ones by index. Squares are added in the order x, y, z. Points, and centres, that
/// are not finite or beyond 1e18 are not found.
inline std::vector<int> points_within(std::vector<Vector3f> const& points, Vector3f const& centre,
                                      float radius)
{
    auto const is_usable = [](Vector3f const& p)
    { return std::abs(p.x()) <= 1e18F && std::abs(p.y()) <= 1e18F && std::abs(p.z()) <= 1e18F; };
    std::vector<std::pair<float, int>> hits;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        Vector3f const d = centre - points[i];
        float const square = (d.x() * d.x() + d.y() * d.y()) + d.z() * d.z();
        if (radius >= 0.0F && is_usable(centre) && is_usable(points[i]) && square < radius * radius)
        {
            hits.emplace_back(square, static_cast<int>(i));
        }
    }
    std::sort(hits.begin(), hits.end());
    std::vector<int> indices;
    for (auto const& hit : hits)
    {
        indices.push_back(hit.second);
    }
    return indices;
}

/// The positions of the vertices that are not deleted.
inline std::vector<Vector3f> positions_of(TriMesh const& mesh)
{
    std::vector<Vector3f> points;
    for (auto const v : mesh.vertices())
    {
        points.push_back(mesh.point(v));
    }
    return points;
}

template <typename... Values>
std::string line(char const* format, Values... values)
{
    std::array<char, 512> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, values...);
    return buffer.data();
}

/// The centre of the ball that lies on three points, on the side to which their triangle looks.
/// Three points in one place have a centre, too: one that is no number.
/// \return false for points on a line, and for a ball that falls through
inline bool find_sphere(Vector3f const& p0, Vector3f const& p1, Vector3f const& p2, float radius,
                        Vector3f& centre)
{
    Vector3f const u = p1 - p0;
    Vector3f const w = p2 - p0;
    Vector3f const m = u.cross(w);
    double const length_u = static_cast<double>(u.norm());
    double const length_w = static_cast<double>(w.norm());
    if (length_w * (length_u * 0.001) > static_cast<double>(m.norm()))
    {
        return false;
    }
    Vector3f const n = m / m.norm();
    float const uu = u.dot(u);
    float const ww = w.dot(w);
    float const uw = u.dot(w);
    float const d = (uu * ww - uw * uw) * 4.0F;
    float const alpha = ((uu * ww - ww * uw) * 2.0F) / d;
    float const beta = ((uu * ww - uw * uu) * 2.0F) / d;
    Vector3f const c = alpha * u + beta * w;
    float const circumradius = c.norm();
    if (circumradius > radius)
    {
        return false;
    }
    float const h = std::sqrt(radius * radius - circumradius * circumradius);
    centre = (c + p0) + h * n;
    return true;
}

/// How far the ball rolls about an edge from one centre to another, from 0 to just under 2 pi, as
/// seen along the edge. Rounding gives a cosine above 1 for centres that are all but one: no number
/// then.
inline float pivot_angle(Vector3f const& from, Vector3f const& to, Vector3f const& start,
                         Vector3f const& end)
{
    Vector3f const mid = (from + to) * 0.5F;
    Vector3f const a = (mid - start).normalized();
    Vector3f const b = (mid - end).normalized();
    float const angle = std::acos(a.dot(b));
    return a.cross(b).dot(to - from) < 0.0F ? 6.2831855F - angle : angle;
}

struct BallSettings
{
    float norm_consistency_thr = static_cast<float>(std::cos(1.0471975333333332));
    bool norm_mode = false;
    bool node_in_sphere_restrain = true;
    bool delete_isolated_faces = false;
};

/// A vertex that the ball may come to lie on.
struct BallCandidate
{
    VertexHandle vertex;
    Vector3f centre = Vector3f::Zero();
    float angle = 0.0F;
    int rank = 0; ///< Among all that the search found, the nearest first.
};

/// By angle, those without one last; equal ones by rank.
inline bool comes_before(BallCandidate const& a, BallCandidate const& b)
{
    if (std::isnan(a.angle) != std::isnan(b.angle))
    {
        return std::isnan(b.angle);
    }
    if (!std::isnan(a.angle) && a.angle != b.angle)
    {
        return a.angle < b.angle;
    }
    return a.rank < b.rank;
}

/// A drawing of what lies around a face that the mesh refused.
struct BallPatch
{
    std::string file_name; ///< Without its folder.
    std::string text;
};

class BallRepair
{
public:
    /// What one pass counts.
    struct Pass
    {
        bool grew = false; ///< False for less than three vertices on boundaries.
        int added_faces = 0;
        int boundary_vertices = 0;
    };

    explicit BallRepair(BallSettings const& settings = {}) : settings_(settings) {}

    /// The points that keep a ball from a place. Without them there are none.
    void set_obstacles(std::vector<Vector3f> const& points) { obstacles_ = points; }

    /// Walks the halfedges of the mesh once, those that come on the way as well.
    Pass pass(TriMesh& mesh, float radius, int level)
    {
        Pass result;
        if (settings_.norm_mode)
        {
            mesh.request_vertex_normals();
            mesh.request_face_normals();
            mesh.update_normals();
        }
        find_border(mesh);
        result.boundary_vertices = static_cast<int>(border_.size());
        if (border_.size() < 3)
        {
            return result;
        }
        result.grew = true;
        for (int i = 0; i < static_cast<int>(mesh.n_halfedges()); ++i)
        {
            if (mesh.is_boundary(HalfedgeHandle(i)) && grow(mesh, HalfedgeHandle(i), radius, level))
            {
                ++result.added_faces;
            }
        }
        if (settings_.norm_mode)
        {
            mesh.release_face_normals();
            mesh.release_vertex_normals();
        }
        return result;
    }

    /// One pass for each radius, or two; for no radii those that the mesh's edges give.
    /// \return false for a mesh with less than three vertices
    bool repair(TriMesh& mesh, std::vector<float> radii)
    {
        if (mesh.n_vertices() < 3)
        {
            printed_ += "Error: Invalid TriMesh.\n";
            return false;
        }
        if (radii.empty())
        {
            radii = radii_of(mesh, 2000, 1.414F);
            report_radii(radii);
        }
        report_size(mesh);
        set_obstacles(positions_of(mesh));
        for (float const radius : radii)
        {
            if (!roll(mesh, radius))
            {
                break;
            }
        }
        return true;
    }

    static std::vector<float> radii_of(TriMesh const& mesh, int sample_faces, float factor)
    {
        std::vector<float> radii;
        if (mesh.n_faces() == 0)
        {
            return radii;
        }
        int const wanted = std::min(static_cast<int>(mesh.n_faces()), sample_faces);
        float sum = 0.0F;
        int faces = 0;
        int count = 0;
        for (auto const f : mesh.faces())
        {
            if (faces == wanted)
            {
                break;
            }
            ++faces;
            for (auto const h : sides_of(mesh, f))
            {
                sum += mesh.calc_edge_length(h);
                ++count;
            }
        }
        float const mean = sum / static_cast<float>(count);
        float s = 0.33333334F;
        do
        {
            radii.push_back(s * mean);
            s = s * factor;
        } while (static_cast<double>(s) < 0.8);
        return radii;
    }

    /// Deletes the smaller fans around the corners of faces that the mesh refused.
    bool delete_isolated_faces(TriMesh& mesh)
    {
        if (!settings_.delete_isolated_faces)
        {
            return false;
        }
        printed_ += "\n'delete_isolated_faces()' start ..\n";
        report(line("  fail to add [%d] faces.\n", static_cast<int>(refused_.size())));
        request_status(mesh);
        std::set<int> seen;
        for (auto const& [h, c] : refused_)
        {
            auto const a = mesh.from_vertex_handle(h);
            auto const b = mesh.to_vertex_handle(h);
            printed_ += line("analysis triangle (%d,%d,%d)\n", a.idx(), b.idx(), c.idx());
            for (auto const u : {VertexHandle(a), VertexHandle(b), c})
            {
                delete_small_fans(mesh, u, seen);
            }
        }
        collect_garbage(mesh);
        printed_ += "'delete_ioslated_faces()' done.\n\n";
        // All that were looked at, also those that stay.
        logged_ += line("-->delete [%d] triangles.\n", static_cast<int>(seen.size()));
        return true;
    }

    /// What goes to standard output, and what to the log.
    std::string const& printed() const { return printed_; }
    std::string const& logged() const { return logged_; }
    std::vector<BallPatch> const& patches() const { return patches_; }

    /// The faces that the mesh refused: a boundary halfedge and the third corner. Kept only where
    /// isolated faces are deleted.
    std::vector<std::pair<HalfedgeHandle, VertexHandle>> const& refused() const { return refused_; }
    int deleted_faces() const { return deleted_faces_; }
    int opposite_halfedge_errors() const { return opposite_halfedge_errors_; }
    int triangle_vertices_errors() const { return triangle_vertices_errors_; }
    int original_sphere_errors() const { return original_sphere_errors_; }

private:
    void report(std::string const& text)
    {
        printed_ += text;
        logged_ += text;
    }

    void report_radii(std::vector<float> const& radii)
    {
        std::string text = "\n--------------------------------\nradius of ball:\n";
        for (std::size_t i = 0; i < radii.size(); ++i)
        {
            text +=
                line("  radius [%d] = %f\n", static_cast<int>(i), static_cast<double>(radii[i]));
        }
        report(text + "--------------------------------\n\n");
    }

    void report_size(TriMesh const& mesh)
    {
        report("\n--------------------------------\nMesh info:\n" +
               line("  Vertex: \t %d\n", static_cast<int>(mesh.n_vertices())) +
               line("  Face: \t %d\n", static_cast<int>(mesh.n_faces())) +
               line("  HalfEdge: \t %d\n", static_cast<int>(mesh.n_halfedges())) +
               line("  Edge: \t %d\n", static_cast<int>(mesh.n_edges())) +
               "--------------------------------\n\n");
        logged_ += line("\nUse OpenMesh norm: %d\n\n", static_cast<int>(settings_.norm_mode));
    }

    void report_pass(float radius, Pass const& pass)
    {
        report(line("ball of radius [%f] add [%d] triangles.\n", static_cast<double>(radius),
                    pass.added_faces) +
               line("  [Data Error - opposite halfedge.  ]:  %d\n", opposite_halfedge_errors_) +
               line("  [Data Error - triangle vertices.  ]:  %d\n", triangle_vertices_errors_) +
               line("  [Data Error - find origial sphere.]:  %d\n", original_sphere_errors_));
    }

    /// \return whether there is a boundary left to go on with
    bool roll(TriMesh& mesh, float radius)
    {
        if (settings_.delete_isolated_faces)
        {
            refused_.clear();
            refused_set_.clear();
        }
        opposite_halfedge_errors_ = 0;
        triangle_vertices_errors_ = 0;
        original_sphere_errors_ = 0;
        Pass last = pass(mesh, radius, 0);
        if (settings_.delete_isolated_faces)
        {
            printed_ += line("\nmEnableDeleteIsolatedFaces = %d\n", 1);
            if (!refused_.empty())
            {
                report_pass(radius, last);
            }
            if (last.boundary_vertices < 3)
            {
                printed_ += line("isolated vertices: %d\n", last.boundary_vertices);
                return false;
            }
            delete_isolated_faces(mesh);
            set_obstacles(positions_of(mesh));
            last = pass(mesh, radius, 1);
        }
        report_pass(radius, last);
        if (last.boundary_vertices < 3)
        {
            printed_ += line("isolated vertices: %d\n", last.boundary_vertices);
            return false;
        }
        return true;
    }

    void find_border(TriMesh const& mesh)
    {
        border_.clear();
        border_points_.clear();
        for (auto const v : mesh.vertices())
        {
            if (mesh.is_boundary(v))
            {
                border_.push_back(v);
                border_points_.push_back(mesh.point(v));
            }
        }
    }

    /// \return whether the mesh has a face more
    bool grow(TriMesh& mesh, HalfedgeHandle h, float radius, int level)
    {
        Vector3f start;
        if (!find_start(mesh, h, radius, start))
        {
            return false;
        }
        auto candidates = find_candidates(mesh, h, radius, start);
        std::sort(candidates.begin(), candidates.end(), comes_before);
        for (auto const& candidate : candidates)
        {
            if (!settings_.node_in_sphere_restrain || is_empty(candidate.centre, radius))
            {
                return add(mesh, h, candidate.vertex, radius, level);
            }
        }
        return false;
    }

    /// The ball on the face next to the edge. A larger one is taken where it would fall through.
    bool find_start(TriMesh const& mesh, HalfedgeHandle h, float radius, Vector3f& start)
    {
        auto const f = mesh.face_handle(mesh.opposite_halfedge_handle(h));
        if (!f.is_valid())
        {
            printed_ += "Data Error - opposite halfedge.\n";
            ++opposite_halfedge_errors_;
            return false;
        }
        auto const corners = corners_of(mesh, f);
        if (corners.size() < 3)
        {
            printed_ += "Data Error - triangle vertices.\n";
            ++triangle_vertices_errors_;
            return false;
        }
        float larger = radius;
        for (int i = 0; i <= 5; ++i)
        {
            if (find_sphere(mesh.point(corners[0]), mesh.point(corners[1]), mesh.point(corners[2]),
                            larger, start))
            {
                return true;
            }
            larger *= 2.0F;
        }
        printed_ += "Data Error - find origial sphere.\n";
        ++original_sphere_errors_;
        return false;
    }

    std::vector<BallCandidate> find_candidates(TriMesh const& mesh, HalfedgeHandle h, float radius,
                                               Vector3f const& start) const
    {
        auto const from = mesh.from_vertex_handle(h);
        auto const to = mesh.to_vertex_handle(h);
        Vector3f const mid = (mesh.point(from) + mesh.point(to)) * 0.5F;
        std::vector<BallCandidate> candidates;
        int rank = 0;
        for (int const hit : points_within(border_points_, mid, 2.0F * radius))
        {
            BallCandidate candidate;
            candidate.vertex = border_[static_cast<std::size_t>(hit)];
            candidate.rank = rank++;
            if (is_free(mesh, from, to, candidate.vertex) &&
                find_sphere(mesh.point(from), mesh.point(to), mesh.point(candidate.vertex), radius,
                            candidate.centre) &&
                fits(mesh, from, to, candidate.vertex))
            {
                candidate.angle =
                    pivot_angle(mesh.point(from), mesh.point(to), start, candidate.centre);
                candidates.push_back(candidate);
            }
        }
        return candidates;
    }

    static bool has_face(TriMesh const& mesh, VertexHandle from, VertexHandle to)
    {
        auto const h = halfedge_to(mesh, from, to);
        return h.is_valid() && mesh.face_handle(h).is_valid();
    }

    /// Whether the mesh has room for a face at an edge. The border was listed before the pass.
    static bool is_free(TriMesh const& mesh, VertexHandle from, VertexHandle to, VertexHandle c)
    {
        return c != to && c != from && mesh.is_boundary(c) && !has_face(mesh, c, from) &&
               !has_face(mesh, to, c);
    }

    /// Whether a face is no sliver, and looks the way of the vertices' normals.
    bool fits(TriMesh const& mesh, VertexHandle from, VertexHandle to, VertexHandle c) const
    {
        Vector3f const e1 = mesh.point(to) - mesh.point(from);
        Vector3f const e2 = mesh.point(c) - mesh.point(to);
        Vector3f const m = e1.cross(e2);
        if (e1.norm() * 0.001F * e2.norm() > m.norm())
        {
            return false;
        }
        if (!mesh.has_vertex_normals())
        {
            return true;
        }
        Vector3f const n = m / m.norm();
        for (auto const v : {from, to, c})
        {
            Vector3f const normal = mesh.normal(v);
            bool const is_zero = std::abs(static_cast<double>(normal.x())) < 1e-5 &&
                                 std::abs(static_cast<double>(normal.y())) < 1e-5 &&
                                 std::abs(static_cast<double>(normal.z())) < 1e-5;
            if (!is_zero && n.dot(normal) < settings_.norm_consistency_thr)
            {
                return false;
            }
        }
        return true;
    }

    /// The corners are kept out by the margin alone, whatever the size of the mesh.
    bool is_empty(Vector3f const& centre, float radius) const
    {
        auto const inner = static_cast<float>(static_cast<double>(radius) - 0.001);
        return points_within(obstacles_, centre, inner).empty();
    }

    bool add(TriMesh& mesh, HalfedgeHandle h, VertexHandle c, float radius, int level)
    {
        auto const from = mesh.from_vertex_handle(h);
        auto const to = mesh.to_vertex_handle(h);
        if (add_triangle(mesh, from, to, c).is_valid())
        {
            return true;
        }
        draw(mesh, {from, to, c}, radius, level, false);
        draw(mesh, {from, to, c}, radius, level, true);
        if (settings_.delete_isolated_faces && refused_set_.emplace(h.idx(), c.idx()).second)
        {
            refused_.emplace_back(h, c);
        }
        return false;
    }

    void draw(TriMesh const& mesh, std::array<VertexHandle, 3> const& v, float radius, int level,
              bool with_failed_face)
    {
        Vector3f const pa = mesh.point(v[0]);
        Vector3f const pb = mesh.point(v[1]);
        Vector3f const pc = mesh.point(v[2]);
        auto const wide = [](float x) { return static_cast<double>(x); };
        printed_ += "\ninvalid face:\n  [vertex idx:]";
        printed_ += line("    %d %d %d\n", v[0].idx(), v[1].idx(), v[2].idx());
        printed_ += "  [vertex pos:]";
        printed_ += line("    (%f,%f,%f) (%f,%f,%f) (%f,%f,%f)\n", wide(pa.x()), wide(pa.y()),
                         wide(pa.z()), wide(pb.x()), wide(pb.y()), wide(pb.z()), wide(pc.x()),
                         wide(pc.y()), wide(pc.z()));
        std::vector<VertexHandle> vertices;
        std::map<VertexHandle, int> number;
        auto const enter = [&](VertexHandle u)
        {
            if (number.emplace(u, static_cast<int>(vertices.size()) + 1).second)
            {
                vertices.push_back(u);
            }
        };
        std::for_each(v.begin(), v.end(), enter);
        std::vector<FaceHandle> faces;
        for (auto const u : v)
        {
            printed_ += line("Faces around vertex [%d]:\n", u.idx());
            for (auto it = mesh.cvf_iter(u); it.is_valid(); ++it)
            {
                if (std::find(faces.begin(), faces.end(), *it) == faces.end())
                {
                    faces.push_back(*it);
                    for (auto const corner : corners_of(mesh, *it))
                    {
                        printed_ += line("  %d", corner.idx());
                        enter(corner);
                    }
                    printed_ += "\n";
                }
            }
        }
        BallPatch patch;
        patch.file_name =
            line("patch_radius-%f_[%d-%d-%d]_level-%d%s.obj", wide(radius), v[0].idx(), v[1].idx(),
                 v[2].idx(), level, with_failed_face ? "_with-failed-face" : "");
        for (auto const u : vertices)
        {
            Vector3f const p = mesh.point(u);
            patch.text += line("v %f %f %f\n", wide(p.x()), wide(p.y()), wide(p.z()));
        }
        patch.text += with_failed_face ? "f 1 2 3\n" : "";
        for (auto const f : faces)
        {
            patch.text += "f";
            for (auto const corner : corners_of(mesh, f))
            {
                patch.text += line(" %d", number.at(corner));
            }
            patch.text += "\n";
        }
        patches_.push_back(patch);
    }

    /// Goes round a vertex from face to face as long as they are among those of the map.
    /// \param towards the halfedge to go on with in a face
    template <typename Towards>
    static void walk(TriMesh const& mesh, HalfedgeHandle side, std::map<int, int> const& fan,
                     std::size_t limit, int& count, Towards const& towards)
    {
        auto e = mesh.opposite_halfedge_handle(side);
        while (mesh.face_handle(e).is_valid() && fan.count(mesh.face_handle(e).idx()) > 0)
        {
            ++count;
            if (count > static_cast<int>(limit))
            {
                break;
            }
            e = mesh.opposite_halfedge_handle(towards(e));
        }
    }

    /// How many faces can be reached around a vertex from one of them.
    static int count_reached(TriMesh const& mesh, VertexHandle u, FaceHandle face,
                             std::map<int, int> const& fan, std::size_t limit)
    {
        int count = 0;
        for (auto const e : sides_of(mesh, face))
        {
            if (mesh.from_vertex_handle(e) == u)
            {
                walk(mesh, e, fan, limit, count,
                     [&](HalfedgeHandle g) { return mesh.next_halfedge_handle(g); });
            }
            else if (mesh.to_vertex_handle(e) == u)
            {
                walk(mesh, e, fan, limit, count,
                     [&](HalfedgeHandle g) { return mesh.prev_halfedge_handle(g); });
            }
        }
        return count;
    }

    void delete_small_fans(TriMesh& mesh, VertexHandle u, std::set<int>& seen)
    {
        std::vector<FaceHandle> faces;
        std::map<int, int> reached; // By number of the face.
        for (auto it = mesh.cvf_iter(u); it.is_valid(); ++it)
        {
            if (!mesh.status(*it).deleted())
            {
                faces.push_back(*it);
                reached[it->idx()] = 0;
            }
        }
        if (faces.size() != reached.size())
        {
            printed_ += line("-->Error in faces around vertex [%d].\n", u.idx());
        }
        for (auto const f : faces)
        {
            reached[f.idx()] = count_reached(mesh, u, f, reached, faces.size());
        }
        for (auto const& [face, count] : reached)
        {
            if (count < static_cast<int>(faces.size()) / 2)
            {
                mesh.delete_face(FaceHandle(face), false);
                ++deleted_faces_;
            }
            seen.insert(face);
        }
    }

    BallSettings settings_;
    std::vector<Vector3f> obstacles_;
    std::vector<VertexHandle> border_;
    std::vector<Vector3f> border_points_;
    std::vector<std::pair<HalfedgeHandle, VertexHandle>> refused_;
    std::set<std::pair<int, int>> refused_set_;
    int deleted_faces_ = 0;
    int opposite_halfedge_errors_ = 0;
    int triangle_vertices_errors_ = 0;
    int original_sphere_errors_ = 0;
    std::string printed_;
    std::string logged_;
    std::vector<BallPatch> patches_;
};

} // namespace veld_test::reference
