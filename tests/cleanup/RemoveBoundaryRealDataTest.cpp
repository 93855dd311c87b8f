#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/markers.h"
#include "tests/support/real_data.h"
#include "tests/support/standard_output.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <map>
#include <numeric>
#include <set>

/// \file
/// Markers on real scans, against plain counting: every marker against every vertex, pieces by a
/// union-find, rings by a search from all boundary edges.

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

constexpr int MARKERS = 25;
constexpr double AGREEMENT = 0.5;

/// A scan with normals and a colour that tells where each vertex comes from.
TriMesh read_scan(std::string const& file)
{
    TriMesh mesh;
    MeshReadReport report;
    EXPECT_TRUE(read_mesh(real_data("meshes_holes/" + file), mesh, report)) << report.error;
    if (!mesh.has_vertex_colors())
    {
        mesh.request_vertex_colors();
    }
    for (auto const v : mesh.vertices())
    {
        int const i = v.idx();
        mesh.set_color(v, Vector3f(static_cast<float>(i % 251), static_cast<float>(i / 251 % 251),
                                   static_cast<float>(i / 251 / 251)));
    }
    if (!mesh.has_face_normals())
    {
        mesh.request_face_normals();
    }
    if (!mesh.has_vertex_normals())
    {
        mesh.request_vertex_normals();
    }
    mesh.update_normals();
    return mesh;
}

/// The vertex of the scan that a vertex was, told by its colour.
int origin(Vector3f const& color)
{
    return static_cast<int>(color[0]) + 251 * static_cast<int>(color[1]) +
           251 * 251 * static_cast<int>(color[2]);
}

using Corners = std::array<int, 3>;

/// Beginning with the lowest corner, so that it does not matter where the mesh begins.
Corners canonical(Corners corners)
{
    std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    return corners;
}

std::vector<Corners> all_corners(TriMesh const& mesh)
{
    std::vector<Corners> list;
    for (auto const face : mesh.faces())
    {
        Corners corners{};
        std::size_t n = 0;
        for (auto const v : mesh.fv_range(face))
        {
            corners[n++] = origin(mesh.color(v));
        }
        list.push_back(canonical(corners));
    }
    return list;
}

std::vector<Corners> all_corners(BaseTriMesh const& mesh)
{
    std::vector<Corners> list;
    for (auto const& face : mesh.faces)
    {
        Corners corners{};
        for (std::size_t k = 0; k < 3; ++k)
        {
            corners[k] = origin(mesh.vColor[static_cast<std::size_t>(face[k])]);
        }
        list.push_back(canonical(corners));
    }
    return list;
}

std::vector<Corners> sorted(std::vector<Corners> list)
{
    std::sort(list.begin(), list.end());
    return list;
}

/// The vertices nearer to a marker than the radius, by looking at all of them.
std::vector<bool> near_vertices(TriMesh const& mesh, Vector3f const& marker, double radius)
{
    float const limit = static_cast<float>(radius) * static_cast<float>(radius);
    std::vector<bool> near;
    for (auto const v : mesh.vertices())
    {
        near.push_back((mesh.point(v) - marker).squaredNorm() < limit);
    }
    return near;
}

/// Components of faces, joined by the keys that they share.
class UnionFind
{
public:
    explicit UnionFind(std::size_t n) : parent_(n) { std::iota(parent_.begin(), parent_.end(), 0); }
    std::size_t root(std::size_t i)
    {
        while (parent_[i] != i)
        {
            i = parent_[i] = parent_[parent_[i]];
        }
        return i;
    }
    void join(std::size_t a, std::size_t b) { parent_[root(a)] = root(b); }

private:
    std::vector<std::size_t> parent_;
};

enum class Joint
{
    VERTEX,
    EDGE
};

std::vector<std::pair<int, int>> joints(Corners const& face, Joint joint)
{
    std::vector<std::pair<int, int>> keys;
    for (std::size_t k = 0; k < 3; ++k)
    {
        int const a = face[k];
        int const b = joint == Joint::VERTEX ? a : face[(k + 1) % 3];
        keys.emplace_back(std::min(a, b), std::max(a, b));
    }
    return keys;
}

/// The faces that stay, by their corners in the order of the scan. \param close_calls how many
/// pieces agree so nearly as much as the limit that rounding decides
std::vector<Corners> faces_that_stay(TriMesh const& mesh, Markers const& markers, double radius,
                                     Joint joint, int& close_calls)
{
    std::vector<Corners> const faces = all_corners(mesh);
    std::vector<bool> judged(faces.size(), false);
    std::vector<bool> gone(faces.size(), false);
    for (std::size_t m = 0; m < markers.points.size(); ++m)
    {
        auto const near = near_vertices(mesh, markers.points[m], radius);
        UnionFind pieces(faces.size());
        std::map<std::pair<int, int>, std::size_t> first_with;
        std::vector<std::size_t> candidates;
        for (std::size_t f = 0; f < faces.size(); ++f)
        {
            bool const is_near =
                std::any_of(faces[f].begin(), faces[f].end(),
                            [&](int v) { return near[static_cast<std::size_t>(v)]; });
            if (judged[f] || !is_near)
            {
                continue;
            }
            judged[f] = true;
            candidates.push_back(f);
            for (auto const& key : joints(faces[f], joint))
            {
                pieces.join(f, first_with.emplace(key, f).first->second);
            }
        }
        std::map<std::size_t, Vector3d> sums;
        for (std::size_t const f : candidates)
        {
            auto const normal = mesh.normal(OpenMesh::FaceHandle(static_cast<int>(f)));
            auto const sum = sums.emplace(pieces.root(f), Vector3d::Zero()).first;
            sum->second += normal.cast<double>();
        }
        for (std::size_t const f : candidates)
        {
            double const dot =
                sums.at(pieces.root(f)).normalized().dot(markers.normals[m].cast<double>());
            gone[f] = dot > AGREEMENT;
            close_calls += std::abs(dot - AGREEMENT) < 1e-4 ? 1 : 0;
        }
    }
    std::vector<Corners> left;
    for (std::size_t f = 0; f < faces.size(); ++f)
    {
        if (!gone[f])
        {
            left.push_back(faces[f]);
        }
    }
    return left;
}

void expect_same_attributes(TriMesh const& scan, TriMesh const& left)
{
    for (auto const v : left.vertices())
    {
        OpenMesh::VertexHandle const was(origin(left.color(v)));
        ASSERT_EQ(left.point(v), scan.point(was));
        ASSERT_EQ(left.normal(v), scan.normal(was));
    }
}

void expect_same_attributes(TriMesh const& scan, Cloud const& left)
{
    int last = -1;
    for (std::size_t i = 0; i < left.get_vn(); ++i)
    {
        int const was = origin(left.vColor[i]);
        ASSERT_LT(last, was) << "the order changed";
        last = was;
        ASSERT_EQ(left.vCoord[i], scan.point(OpenMesh::VertexHandle(was)));
        ASSERT_EQ(left.vNrv[i], scan.normal(OpenMesh::VertexHandle(was)));
    }
}

std::vector<std::string> const SCANS{"bun_zipper_res2.ply", "diana.ply", "face_holes.ply",
                                     "lion_head.ply", "mech_holes_shark.ply"};

} // namespace

class MarkersRealData : public OnRealData<testing::TestWithParam<std::string>>
{
protected:
    /// Puts markers on the scan.
    void SetUp() override
    {
        OnRealData::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        scan = read_scan(GetParam());
        markers = markers_on(scan, MARKERS);
        radius = 0.05 * diagonal(scan);
        near.assign(scan.n_vertices(), false);
        for (auto const& marker : markers.points)
        {
            auto const here = near_vertices(scan, marker, radius);
            std::transform(near.begin(), near.end(), here.begin(), near.begin(),
                           std::logical_or<>());
        }
        TriMesh_convert_to_BaseTriMesh(scan, array);
    }

    bool is_near(int v) const { return near[static_cast<std::size_t>(v)]; }

    /// The faces without a vertex near a marker.
    std::vector<Corners> far_faces() const
    {
        std::vector<Corners> left;
        for (auto const& face : all_corners(scan))
        {
            if (std::none_of(face.begin(), face.end(), [&](int v) { return is_near(v); }))
            {
                left.push_back(face);
            }
        }
        return left;
    }

    TriMesh scan;
    BaseTriMesh array;
    Markers markers;
    double radius = 0.0;
    std::vector<bool> near; ///< whether a vertex is near any marker
};

TEST_P(MarkersRealData, ACloudLosesThePointsThatAreNear)
{
    Cloud cloud = array;
    RemoveBoundary::remove_marker_cloud(cloud, markers.points, {}, radius, false, 0.0, false);
    EXPECT_EQ(cloud.get_vn(),
              static_cast<std::size_t>(std::count(near.begin(), near.end(), false)));
    EXPECT_LT(cloud.get_vn(), array.get_vn());
    for (auto const& color : cloud.vColor)
    {
        ASSERT_FALSE(is_near(origin(color)));
    }
    expect_same_attributes(scan, cloud);
}

TEST_P(MarkersRealData, ACloudLosesThePointsThatAreNearAndLookTheSameWay)
{
    std::set<int> gone;
    for (std::size_t m = 0; m < markers.points.size(); ++m)
    {
        auto const here = near_vertices(scan, markers.points[m], radius);
        for (int v = 0; v < static_cast<int>(here.size()); ++v)
        {
            float const dot = markers.normals[m].dot(scan.normal(OpenMesh::VertexHandle(v)));
            if (here[static_cast<std::size_t>(v)] && static_cast<double>(dot) > AGREEMENT)
            {
                gone.insert(v);
            }
        }
    }
    Cloud cloud = array;
    RemoveBoundary::remove_marker_cloud(cloud, markers.points, markers.normals, radius, true,
                                        AGREEMENT, false);
    EXPECT_EQ(cloud.get_vn(), array.get_vn() - gone.size());
    for (auto const& color : cloud.vColor)
    {
        ASSERT_EQ(gone.count(origin(color)), 0U);
    }
    expect_same_attributes(scan, cloud);
}

TEST_P(MarkersRealData, AMeshLosesTheFacesWithAVertexThatIsNear)
{
    auto const expected = far_faces();
    BaseTriMesh left = array;
    RemoveBoundary::remove_marker_mesh(left, markers.points, radius, false);
    EXPECT_EQ(all_corners(left), expected);
    expect_same_attributes(scan, left);

    TriMesh half_edge = scan;
    RemoveBoundary::remove_marker_mesh(half_edge, markers.points, radius, false);
    EXPECT_EQ(sorted(all_corners(half_edge)), sorted(expected));
    EXPECT_TRUE(half_edge.is_legal());
    expect_same_attributes(scan, half_edge);
    // Here a vertex goes with its last face; one that never had any stays unless it is near.
    std::set<int> used;
    for (auto const& face : expected)
    {
        used.insert(face.begin(), face.end());
    }
    std::size_t lonely = 0;
    for (auto const v : scan.vertices())
    {
        lonely += scan.is_isolated(v) && !is_near(v.idx()) ? 1U : 0U;
    }
    EXPECT_EQ(half_edge.n_vertices(), used.size() + lonely);
}

TEST_P(MarkersRealData, AMeshLosesThePiecesThatLookTheSameWay)
{
    int close_calls = 0;
    auto const by_vertex = faces_that_stay(scan, markers, radius, Joint::VERTEX, close_calls);
    auto const by_edge = faces_that_stay(scan, markers, radius, Joint::EDGE, close_calls);
    ASSERT_EQ(close_calls, 0) << "rounding would decide: choose another limit";
    EXPECT_LT(by_edge.size(), scan.n_faces());

    BaseTriMesh left = array;
    output_of(
        [&]
        {
            RemoveBoundary::remove_marker_mesh_ex(left, markers.points, markers.normals, radius,
                                                  AGREEMENT, false);
        });
    EXPECT_EQ(all_corners(left), by_vertex);
    EXPECT_EQ(left.get_vn(), array.get_vn());
    expect_same_attributes(scan, left);

    TriMesh half_edge = scan;
    RemoveBoundary::remove_marker_mesh_ex(half_edge, markers.points, markers.normals, radius,
                                          AGREEMENT, false);
    EXPECT_EQ(sorted(all_corners(half_edge)), sorted(by_edge));
    EXPECT_EQ(half_edge.n_vertices(), scan.n_vertices());
    EXPECT_TRUE(half_edge.is_legal());
    expect_same_attributes(scan, half_edge);
}

TEST_P(MarkersRealData, ScalingByAPowerOfTwoChangesNothing)
{
    TriMesh large = scan;
    for (auto const v : large.vertices())
    {
        large.set_point(v, 1024.0F * large.point(v));
    }
    std::vector<Vector3f> far_markers = markers.points;
    for (auto& marker : far_markers)
    {
        marker *= 1024.0F;
    }
    TriMesh small = scan;
    RemoveBoundary::remove_marker_mesh(small, markers.points, radius, false);
    RemoveBoundary::remove_marker_mesh(large, far_markers, 1024.0 * radius, false);
    EXPECT_EQ(all_corners(small), all_corners(large));
}

TEST_P(MarkersRealData, RingsAreThoseOfASearchFromAllBoundaryEdges)
{
    std::map<std::pair<int, int>, std::vector<int>> faces_at;
    auto const faces = all_corners(scan);
    for (int f = 0; f < static_cast<int>(faces.size()); ++f)
    {
        for (auto const& edge : joints(faces[static_cast<std::size_t>(f)], Joint::EDGE))
        {
            faces_at[edge].push_back(f);
        }
    }
    std::vector<int> ring(faces.size(), -1);
    std::deque<int> queue;
    for (auto const& entry : faces_at)
    {
        int const f = entry.second.front();
        if (entry.second.size() == 1 && ring[static_cast<std::size_t>(f)] < 0)
        {
            ring[static_cast<std::size_t>(f)] = 0;
            queue.push_back(f);
        }
    }
    for (; !queue.empty(); queue.pop_front())
    {
        auto const f = static_cast<std::size_t>(queue.front());
        for (auto const& edge : joints(faces[f], Joint::EDGE))
        {
            for (int const g : faces_at[edge])
            {
                if (ring[static_cast<std::size_t>(g)] < 0)
                {
                    ring[static_cast<std::size_t>(g)] = ring[f] + 1;
                    queue.push_back(g);
                }
            }
        }
    }
    for (int const rings : {0, 1, 4, 30})
    {
        std::vector<Corners> expected;
        for (std::size_t f = 0; f < faces.size(); ++f)
        {
            if (ring[f] < 0 || ring[f] > rings)
            {
                expected.push_back(faces[f]);
            }
        }
        TriMesh left = scan;
        RemoveBoundary::remove_n_rings(left, rings, false);
        EXPECT_EQ(sorted(all_corners(left)), sorted(expected)) << rings;
        expect_same_attributes(scan, left);
    }
}

INSTANTIATE_TEST_SUITE_P(Scans, MarkersRealData, testing::ValuesIn(SCANS),
                         [](testing::TestParamInfo<std::string> const& scan)
                         { return scan.param.substr(0, scan.param.size() - 4); });
