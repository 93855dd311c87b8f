#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "dirty_meshes.h"
#include "reference_cleanup.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"
#include "tests/support/standard_output.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

/// \file
/// What goes and what stays near markers and along boundaries, on small input worked out by hand.

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ElementsAre;

namespace
{

Vector3f const UP(0, 0, 1);
Vector3f const DOWN(0, 0, -1);

Cloud cloud_of(std::vector<Vector3f> const& points)
{
    Cloud cloud;
    cloud.set_vCoords(points);
    return cloud;
}

/// Points on the x axis at 0, 1, 2, ...
Cloud row_of_points(int n)
{
    Cloud cloud;
    for (int i = 0; i < n; ++i)
    {
        cloud.add_vCoord({static_cast<float>(i), 0, 0});
    }
    return cloud;
}

/// The x coordinates of a cloud's points.
std::vector<float> xs(Cloud const& cloud)
{
    std::vector<float> values;
    for (auto const& p : cloud.vCoord)
    {
        values.push_back(p.x());
    }
    return values;
}

RetVal remove_from(Cloud& cloud, std::vector<Vector3f> const& markers, double radius)
{
    return RemoveBoundary::remove_marker_cloud(cloud, markers, {}, radius, false, 0.0, false);
}

BaseTriMesh array_of(TriMesh const& mesh)
{
    BaseTriMesh array;
    TriMesh_convert_to_BaseTriMesh(mesh, array);
    return array;
}

/// The careful form on an array mesh; what its search prints is not the test's.
RetVal remove_pieces(BaseTriMesh& mesh, std::vector<Vector3f> const& points,
                     std::vector<Vector3f> const& normals, double radius, double thr)
{
    RetVal result = RET_FAILED;
    output_of(
        [&] {
            result =
                RemoveBoundary::remove_marker_mesh_ex(mesh, points, normals, radius, thr, false);
        });
    return result;
}

RetVal remove_pieces(TriMesh& mesh, std::vector<Vector3f> const& points,
                     std::vector<Vector3f> const& normals, double radius, double thr)
{
    return RemoveBoundary::remove_marker_mesh_ex(mesh, points, normals, radius, thr, false);
}

/// The faces of a mesh as triples of points, to be found again after renumbering.
using PointFace = std::vector<std::vector<float>>;

std::vector<PointFace> faces_by_points(TriMesh const& mesh)
{
    std::vector<PointFace> faces;
    for (auto const face : mesh.faces())
    {
        PointFace corners;
        for (auto const v : mesh.fv_range(face))
        {
            Vector3f const p = mesh.point(v);
            corners.push_back({p.x(), p.y(), p.z()});
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        faces.push_back(corners);
    }
    std::sort(faces.begin(), faces.end());
    return faces;
}

/// Two triangles that share vertex 0 only. The first looks up, the second along x.
TriMesh bent_bow_tie()
{
    return make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, -1}},
                     {{0, 1, 2}, {0, 4, 3}});
}

/// A row of six cells along x, two faces each, bent down behind cell 3: cells 4 and 5 look along x.
TriMesh bent_row()
{
    TriMesh mesh = grid(6, 1);
    for (auto const v : mesh.vertices())
    {
        Vector3f const p = mesh.point(v);
        float const beyond = std::max(p.x() - 4.0F, 0.0F);
        mesh.set_point(v, p - Vector3f(beyond, 0, beyond));
    }
    return mesh;
}

/// A mesh that looks at its channels at the moment in which it is squeezed.
class WatchedMesh : public BaseTriMesh
{
public:
    void squeeze() override
    {
        ++squeezed;
        normals_then = has_vNormal || has_fNormal;
        vertex_flags_then = has_vFlag;
        face_flags_then = has_fFlag;
        BaseTriMesh::squeeze();
    }

    int squeezed = 0;
    bool normals_then = false;
    bool vertex_flags_then = false;
    bool face_flags_then = false;
};

WatchedMesh watched(TriMesh const& mesh)
{
    WatchedMesh watched;
    TriMesh_convert_to_BaseTriMesh(mesh, watched);
    return watched;
}

/// Three faces around vertex 0, side by side, with normals that the host says.
TriMesh fan_with_normals(std::array<Vector3f, 3> const& normals)
{
    TriMesh mesh = make_mesh({{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {-2, 2, 0}},
                             {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}});
    mesh.request_vertex_normals();
    mesh.request_face_normals();
    mesh.update_vertex_normals();
    for (auto const face : mesh.faces())
    {
        mesh.set_normal(face, normals[static_cast<std::size_t>(face.idx())]);
    }
    return mesh;
}

/// A tube of three sides that is open below and has a lid on top: three faces with their edge below
/// and three with their edge above for each of its stories.
TriMesh tube(int stories)
{
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (int z = 0; z <= stories; ++z)
    {
        points.emplace_back(0.0F, 0.0F, static_cast<float>(z));
        points.emplace_back(1.0F, 0.0F, static_cast<float>(z));
        points.emplace_back(0.0F, 1.0F, static_cast<float>(z));
    }
    for (int a = 0; a < 3 * stories; a += 3)
    {
        for (int i = 0; i < 3; ++i)
        {
            int const j = (i + 1) % 3;
            triangles.push_back({a + i, a + j, a + 3 + j});
            triangles.push_back({a + i, a + 3 + j, a + 3 + i});
        }
    }
    triangles.push_back({3 * stories, 3 * stories + 1, 3 * stories + 2});
    return make_mesh(points, triangles);
}

/// Runs the careful form on both kinds of mesh. \return the numbers of faces that are left, of the
/// half-edge mesh first
std::pair<std::size_t, std::size_t> faces_left_near(TriMesh mesh, Vector3f const& marker_normal,
                                                    double thr)
{
    BaseTriMesh array = array_of(mesh);
    remove_pieces(mesh, {{0, 0, 0}}, {marker_normal}, 0.5, thr);
    remove_pieces(array, {{0, 0, 0}}, {marker_normal}, 0.5, thr);
    return {mesh.n_faces(), array.get_fn()};
}

int faces_left(int rings, int cells = 6)
{
    TriMesh mesh = grid(cells, cells);
    EXPECT_EQ(RemoveBoundary::remove_n_rings(mesh, rings, false), RET_SUCCESS);
    return static_cast<int>(mesh.n_faces());
}

} // namespace

// Clouds

TEST(RemoveMarkerCloud, RemovesWhatIsNearerThanTheRadius)
{
    // The limit itself is not near: points 1 and 3 lie at exactly 1.
    Cloud cloud = row_of_points(6);
    EXPECT_EQ(remove_from(cloud, {{2, 0, 0}}, 1.0), RET_SUCCESS);
    EXPECT_THAT(xs(cloud), ElementsAre(0, 1, 3, 4, 5));
    EXPECT_EQ(remove_from(cloud, {{2, 0, 0}}, 1.0001), RET_SUCCESS);
    EXPECT_THAT(xs(cloud), ElementsAre(0, 4, 5));
}

TEST(RemoveMarkerCloud, KeepsTheOrderAndTheChannels)
{
    Cloud cloud = row_of_points(6);
    cloud.enable_vNormal();
    cloud.enable_vColor();
    for (std::size_t i = 0; i < 6; ++i)
    {
        cloud.vNrv[i] = Vector3f(static_cast<float>(i), 0, 1);
        cloud.vColor[i] = Vector3f(0, static_cast<float>(i), 0);
    }
    remove_from(cloud, {{4, 0, 0}, {1, 0, 0}}, 0.5);
    EXPECT_THAT(xs(cloud), ElementsAre(0, 2, 3, 5));
    EXPECT_THAT(cloud.vNrv, ElementsAre(Vector3f(0, 0, 1), Vector3f(2, 0, 1), Vector3f(3, 0, 1),
                                        Vector3f(5, 0, 1)));
    EXPECT_THAT(cloud.vColor, ElementsAre(Vector3f(0, 0, 0), Vector3f(0, 2, 0), Vector3f(0, 3, 0),
                                          Vector3f(0, 5, 0)));
    EXPECT_FALSE(cloud.has_vFlag);
    EXPECT_TRUE(cloud.vFlag.empty());
}

TEST(RemoveMarkerCloud, NormalsHaveToAgreeMoreThanTheThreshold)
{
    Cloud cloud = row_of_points(4);
    cloud.enable_vNormal();
    cloud.vNrv = {Vector3f(0, 0, 1), Vector3f(0.75F, 0, 0.5F), Vector3f(0, 0, -1),
                  Vector3f(0, 0, 0.625F)};
    // A dot product of exactly the threshold is not enough: point 1 stays.
    EXPECT_EQ(RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP}, 10.0, true, 0.5, false),
              RET_SUCCESS);
    EXPECT_THAT(xs(cloud), ElementsAre(1, 2));
}

// In `float` the product of the two normals is 1, in `double` it would be 1 + 2^-24.
TEST(RemoveMarkerCloud, TheDotProductIsSingleAndTheThresholdIsDouble)
{
    for (double const thr : {1.0, std::nextafter(1.0, 0.0)})
    {
        Cloud cloud = row_of_points(1);
        cloud.enable_vNormal();
        cloud.vNrv = {Vector3f(1, std::ldexp(1.0F, -24), 0)};
        RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {{1, 1, 0}}, 1.0, true, thr, false);
        EXPECT_EQ(cloud.get_vn(), thr == 1.0 ? 1U : 0U);
    }
}

TEST(RemoveMarkerCloud, AMeshThatIsHandedInAsACloudLosesItsFacesToo)
{
    // What is squeezed is the object that the cloud is, with its own way of doing it.
    WatchedMesh mesh = watched(grid(2, 2));
    remove_from(mesh, {{1, 1, 0}}, 0.5);
    EXPECT_EQ(mesh.squeezed, 1);
    EXPECT_EQ(mesh.get_vn(), 8U);
    EXPECT_EQ(mesh.get_fn(), 2U);
}

TEST(RemoveMarkerCloud, EachMarkerHasItsOwnNormal)
{
    Cloud cloud = row_of_points(4);
    cloud.enable_vNormal();
    cloud.vNrv.assign(4, UP);
    RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}, {3, 0, 0}}, {UP, DOWN}, 1.5, true, 0.5,
                                        false);
    EXPECT_THAT(xs(cloud), ElementsAre(2, 3));
}

TEST(RemoveMarkerCloud, RefusesListsOfDifferentLengthsAndACloudWithoutNormals)
{
    Cloud cloud = row_of_points(3);
    LogCapture const log;
    EXPECT_EQ(RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {}, 5.0, true, 0.5, true),
              RET_INVALID_INPUT);
    EXPECT_EQ(log.text(), "remove_marker_cloud() ..\n"
                          "\n==========< initial Cloud info >==========\n"
                          "  verts:            3\n"
                          "  !!!error: unmatched vert and norm size.\n");
    LogCapture const second;
    EXPECT_EQ(RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP}, 5.0, true, 0.5, true),
              RET_INVALID_INPUT);
    EXPECT_EQ(second.text(), "remove_marker_cloud() ..\n"
                             "\n==========< initial Cloud info >==========\n"
                             "  verts:            3\n"
                             "  !!!error: missing cloud vertex normal.\n");
    EXPECT_EQ(cloud.get_vn(), 3U);
    EXPECT_FALSE(cloud.has_vFlag);
}

TEST(RemoveMarkerCloud, DoesNotLookAtNormalsThatItDoesNotUse)
{
    Cloud cloud = row_of_points(3);
    EXPECT_EQ(RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP, UP, UP}, 0.5, false, 0.5,
                                                  false),
              RET_SUCCESS);
    EXPECT_THAT(xs(cloud), ElementsAre(1, 2));
}

TEST(RemoveMarkerCloud, TakesWhatTheHostHasFlaggedAndLeavesItsFlagsOn)
{
    Cloud cloud = row_of_points(5);
    cloud.enable_vFlag();
    cloud.set_vDeleted(4, true);
    cloud.vFlag[2] = 8;
    remove_from(cloud, {{0, 0, 0}}, 0.5);
    EXPECT_THAT(xs(cloud), ElementsAre(1, 2, 3));
    EXPECT_TRUE(cloud.has_vFlag);
    EXPECT_THAT(cloud.vFlag, ElementsAre(0, 8, 0));
}

TEST(RemoveMarkerCloud, WithoutMarkersNothingHappens)
{
    Cloud cloud = row_of_points(3);
    LogCapture const log;
    EXPECT_EQ(RemoveBoundary::remove_marker_cloud(cloud, {}, {}, 5.0, false, 0.0, true),
              RET_SUCCESS);
    EXPECT_THAT(xs(cloud), ElementsAre(0, 1, 2));
    EXPECT_EQ(log.text(), "remove_marker_cloud() ..\n"
                          "\n==========< initial Cloud info >==========\n"
                          "  verts:            3\n"
                          "\n==========< final Cloud info >==========\n"
                          "  verts:            3\n");
}

TEST(RemoveMarkerCloud, BearsWhatIsNoNumberAndWhatIsHuge)
{
    Cloud empty;
    EXPECT_EQ(remove_from(empty, {{0, 0, 0}}, 1.0), RET_SUCCESS);

    Cloud cloud = cloud_of({{0, 0, 0}, {NOT_A_NUMBER, 0, 0}, {1, 0, 0}, {0, INFINITE, 0}});
    for (double const radius : {-1.0, 0.0, static_cast<double>(NOT_A_NUMBER)})
    {
        EXPECT_EQ(remove_from(cloud, {{0, 0, 0}}, radius), RET_SUCCESS);
    }
    EXPECT_EQ(remove_from(cloud, {{NOT_A_NUMBER, 0, 0}, {INFINITE, 0, 0}}, 10.0), RET_SUCCESS);
    EXPECT_EQ(cloud.get_vn(), 4U);
    for (double const radius : {1e30, 1e300, static_cast<double>(INFINITE)})
    {
        // What is not finite is near nothing, however large the radius.
        Cloud copy = cloud;
        EXPECT_EQ(remove_from(copy, {{5, 5, 5}}, radius), RET_SUCCESS);
        EXPECT_EQ(copy.get_vn(), 2U);
    }
    cloud.enable_vNormal();
    cloud.vNrv[0] = Vector3f(NOT_A_NUMBER, 0, 0);
    cloud.vNrv[2] = UP;
    RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP}, 5.0, true, -2.0, false);
    EXPECT_EQ(cloud.get_vn(), 3U);
    EXPECT_TRUE(std::isnan(cloud.vNrv[0].x()));
}

TEST(RemoveMarkerCloud, ThrowsForAChannelThatIsTooShortAndSwitchesItsFlagsOff)
{
    Cloud cloud = row_of_points(3);
    cloud.has_vNormal = true;
    EXPECT_THROW(
        RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP}, 5.0, true, 0.5, false),
        std::out_of_range);
    EXPECT_FALSE(cloud.has_vFlag);
    EXPECT_EQ(cloud.get_vn(), 3U);
}

// Array meshes, by distance

TEST(RemoveMarkerMesh, FacesOfAnArrayMeshGoWithTheirVertices)
{
    // Vertex 4 is the middle of the grid: its six faces go, two corners lose their last face.
    BaseTriMesh mesh = array_of(grid(2, 2));
    mesh.update_VNrv();
    LogCapture const log;
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh(mesh, {{1, 1, 0}}, 0.5, true), RET_SUCCESS);
    EXPECT_EQ(log.text(), "remove_marker_mesh() ..\n"
                          "\n==========< initial BaseTriMesh info >==========\n"
                          "  verts:            9\n  faces:            8\n"
                          "\n==========< final BaseTriMesh info >==========\n"
                          "  verts:            8\n  faces:            2\n");
    // What stays keeps its order; the faces that stay are those at the corners 2 and 6.
    std::vector<std::array<int, 3>> faces;
    for (auto const& face : mesh.faces)
    {
        std::array<int, 3> sorted = face.v;
        std::sort(sorted.begin(), sorted.end());
        faces.push_back(sorted);
    }
    using F = std::array<int, 3>;
    EXPECT_THAT(faces, ElementsAre(F{1, 2, 4}, F{3, 5, 6}));
    EXPECT_EQ(mesh.vNrv.size(), 8U);
    EXPECT_FALSE(mesh.has_vFlag);
}

TEST(RemoveMarkerMesh, SqueezesTheArrayMeshWithItsFlagsOn)
{
    WatchedMesh mesh = watched(grid(2, 2));
    RemoveBoundary::remove_marker_mesh(mesh, {{1, 1, 0}}, 0.5, false);
    EXPECT_EQ(mesh.squeezed, 1);
    EXPECT_TRUE(mesh.vertex_flags_then);
    EXPECT_FALSE(mesh.face_flags_then);
    EXPECT_FALSE(mesh.has_vFlag);
}

// Half-edge meshes, by distance

TEST(RemoveMarkerMesh, FacesOfAHalfEdgeMeshGoWithTheirVertices)
{
    // The same grid: here the corners that lose their last face go as well, all but two.
    TriMesh mesh = grid(2, 2);
    LogCapture const log;
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh(mesh, {{1, 1, 0}}, 0.5, true), RET_SUCCESS);
    EXPECT_EQ(log.text(), "remove_marker_mesh() ..\n"
                          "\n==========< initial TriMesh info >==========\n"
                          "  verts:            9\n  faces:            8\n"
                          "\n==========< final TriMesh info >==========\n"
                          "  verts:            6\n  faces:            2\n");
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_face_status() || mesh.has_edge_status() ||
                 mesh.has_halfedge_status());
}

TEST(RemoveMarkerMesh, MarkersMayHitTheSameVertices)
{
    TriMesh mesh = grid(4, 4);
    RemoveBoundary::remove_marker_mesh(mesh, {{1, 1, 0}, {1, 1, 0}, {2, 1, 0}}, 1.5, false);
    TriMesh twice = grid(4, 4);
    RemoveBoundary::remove_marker_mesh(twice, {{2, 1, 0}, {1, 1, 0}}, 1.5, false);
    EXPECT_EQ(faces_by_points(mesh), faces_by_points(twice));
    EXPECT_TRUE(mesh.is_legal());
}

TEST(RemoveMarkerMesh, AVertexWithoutFacesGoesIfItIsNearOnly)
{
    TriMesh mesh = lone_triangle();
    mesh.add_vertex({5, 0, 0});
    mesh.add_vertex({9, 0, 0});
    RemoveBoundary::remove_marker_mesh(mesh, {{5, 0, 0}}, 1.0, false);
    EXPECT_EQ(mesh.n_vertices(), 4U);
    EXPECT_EQ(mesh.n_faces(), 1U);
}

TEST(RemoveMarkerMesh, LeavesWhatTheHostHasRequestedAndTakesWhatItHasDeleted)
{
    TriMesh mesh = grid(3, 3);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(0), true);
    RemoveBoundary::remove_marker_mesh(mesh, {{0, 0, 0}, {3, 3, 0}}, 0.5, false);
    EXPECT_EQ(mesh.n_vertices(), 14U);
    EXPECT_EQ(mesh.n_faces(), 14U);
    EXPECT_TRUE(mesh.has_vertex_status() && mesh.has_face_status() && mesh.has_edge_status());
    EXPECT_FALSE(mesh.has_halfedge_status());
}

TEST(RemoveMarkerMesh, BearsEmptyMeshesAndMarkersThatAreNoNumbers)
{
    TriMesh empty;
    BaseTriMesh empty_array;
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh(empty, {{0, 0, 0}}, 1.0, false), RET_SUCCESS);
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh(empty_array, {{0, 0, 0}}, 1.0, false),
              RET_SUCCESS);
    EXPECT_EQ(remove_pieces(empty, {{0, 0, 0}}, {UP}, 1.0, 0.5), RET_SUCCESS);
    EXPECT_EQ(remove_pieces(empty_array, {{0, 0, 0}}, {UP}, 1.0, 0.5), RET_SUCCESS);

    TriMesh mesh = grid(2, 2);
    BaseTriMesh array = array_of(mesh);
    std::vector<Vector3f> const nowhere{{NOT_A_NUMBER, 0, 0}, {0, INFINITE, 0}};
    RemoveBoundary::remove_marker_mesh(mesh, nowhere, 5.0, false);
    RemoveBoundary::remove_marker_mesh(array, nowhere, 5.0, false);
    Vector3f const no_direction(NOT_A_NUMBER, 0, 1);
    remove_pieces(mesh, {{0, 0, 0}}, {no_direction}, 5.0, -2.0);
    remove_pieces(array, {{0, 0, 0}}, {no_direction}, 5.0, -2.0);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(array.get_fn(), 8U);
    RemoveBoundary::remove_marker_mesh(mesh, {{0, 0, 0}}, 1e300, false);
    RemoveBoundary::remove_marker_mesh(array, {{0, 0, 0}}, 1e300, false);
    EXPECT_EQ(mesh.n_vertices() + array.get_vn(), 0U);
}

TEST(RemoveMarkerMesh, WithoutMarkersNothingHappens)
{
    TriMesh mesh = grid(2, 2);
    BaseTriMesh array = array_of(mesh);
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh(mesh, {}, 5.0, false), RET_SUCCESS);
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh(array, {}, 5.0, false), RET_SUCCESS);
    EXPECT_EQ(remove_pieces(mesh, {}, {}, 5.0, 0.5), RET_SUCCESS);
    EXPECT_EQ(remove_pieces(array, {}, {}, 5.0, 0.5), RET_SUCCESS);
    EXPECT_EQ(mesh.n_vertices(), 9U);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(array.get_vn(), 9U);
    EXPECT_EQ(array.get_fn(), 8U);
}

// Pieces

TEST(RemoveMarkerPieces, APieceThatLooksAwayStaysHoweverNearItIs)
{
    // Two sheets, one over the other: the lower one looks down.
    TriMesh mesh = grid(2, 2);
    std::vector<OpenMesh::VertexHandle> lower;
    for (int i = 0; i < 9; ++i)
    {
        lower.push_back(mesh.add_vertex(mesh.point(vh(i)) - Vector3f(0, 0, 0.125F)));
    }
    auto const at = [&](int x, int y) { return lower[static_cast<std::size_t>(3 * y + x)]; };
    for (int i = 0; i < 4; ++i)
    {
        mesh.add_face(at(i % 2, i / 2), at(i % 2 + 1, i / 2 + 1), at(i % 2 + 1, i / 2));
        mesh.add_face(at(i % 2, i / 2), at(i % 2, i / 2 + 1), at(i % 2 + 1, i / 2 + 1));
    }
    BaseTriMesh array = array_of(mesh);
    EXPECT_EQ(remove_pieces(mesh, {{1, 1, 0}}, {UP}, 50.0, 0.5), RET_SUCCESS);
    EXPECT_EQ(remove_pieces(array, {{1, 1, 0}}, {UP}, 50.0, 0.5), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(array.get_fn(), 8U);
    // Vertices stay in both, also without faces.
    EXPECT_EQ(mesh.n_vertices(), 18U);
    EXPECT_EQ(array.get_vn(), 18U);
    for (auto const& face : faces_by_points(mesh))
    {
        EXPECT_EQ(face[0][2], -0.125F);
    }
}

TEST(RemoveMarkerPieces, AreJoinedByVerticesInAnArrayMeshAndByEdgesInAHalfEdgeMesh)
{
    // The wanted difference of the two forms. Together the two triangles look half way up, which is
    // 0.7 of the way; each for itself, one looks up and the other does not.
    TriMesh mesh = bent_bow_tie();
    BaseTriMesh array = array_of(mesh);
    remove_pieces(mesh, {{0, 0, 0}}, {UP}, 5.0, 0.6);
    remove_pieces(array, {{0, 0, 0}}, {UP}, 5.0, 0.6);
    EXPECT_EQ(mesh.n_faces(), 1U);
    EXPECT_EQ(array.get_fn(), 0U);
    TriMesh again = bent_bow_tie();
    array = array_of(again);
    remove_pieces(again, {{0, 0, 0}}, {UP}, 5.0, 0.8);
    remove_pieces(array, {{0, 0, 0}}, {UP}, 5.0, 0.8);
    EXPECT_EQ(again.n_faces(), 1U);
    EXPECT_EQ(array.get_fn(), 2U);
}

TEST(RemoveMarkerPieces, APieceThatAgreesExactlyAsMuchAsTheThresholdStays)
{
    for (double const thr : {1.0, std::nextafter(1.0, 0.0)})
    {
        std::size_t const left = thr == 1.0 ? 8 : 0;
        TriMesh mesh = grid(2, 2);
        BaseTriMesh array = array_of(mesh);
        remove_pieces(mesh, {{1, 1, 0}}, {UP}, 50.0, thr);
        remove_pieces(array, {{1, 1, 0}}, {UP}, 50.0, thr);
        EXPECT_EQ(mesh.n_faces(), left);
        EXPECT_EQ(array.get_fn(), left);
    }
}

// 2^24 + 1 is 2^24 in `float`, so the sum points exactly along (1, 1) whatever it begins with, and
// is no nearer to one axis. In `double` it would be.
TEST(RemoveMarkerPieces, NormalsAreSummedInSingle)
{
    float const large = std::ldexp(1.0F, 24);
    auto const left = std::pair<std::size_t, std::size_t>(3, 3);
    Vector3f const x(1, 0, 0);
    EXPECT_EQ(faces_left_near(fan_with_normals({x, {large, large, 0}, x}), {1, -1, 0}, 0.0), left);
    // The faces of an array mesh are summed in rising order here: the large one first.
    BaseTriMesh array = array_of(fan_with_normals({Vector3f(large, large, 0), x, x}));
    remove_pieces(array, {{0, 0, 0}}, {{1, -1, 0}}, 0.5, 0.0);
    EXPECT_EQ(array.get_fn(), 3U);
}

// In `float` the product is 1, in `double` it would be 1 + 2^-24.
TEST(RemoveMarkerPieces, TheDotProductIsSingle)
{
    Vector3f const normal(1, std::ldexp(1.0F, -24), 0);
    TriMesh const fan = fan_with_normals({normal, Vector3f::Zero(), Vector3f::Zero()});
    EXPECT_EQ(faces_left_near(fan, {1, 1, 0}, 1.0), (std::pair<std::size_t, std::size_t>(3, 3)));
    EXPECT_EQ(faces_left_near(fan, {1, 1, 0}, std::nextafter(1.0, 0.0)),
              (std::pair<std::size_t, std::size_t>(0, 0)));
}

TEST(RemoveMarkerPieces, NormalsThatCancelOutHaveAProductOfZero)
{
    TriMesh const fan = fan_with_normals({UP, Vector3f::Zero(), DOWN});
    EXPECT_EQ(faces_left_near(fan, UP, 0.0), (std::pair<std::size_t, std::size_t>(3, 3)));
    EXPECT_EQ(faces_left_near(fan, UP, -0.5), (std::pair<std::size_t, std::size_t>(0, 0)));
}

TEST(RemoveMarkerPieces, HoldTheFacesWithAVertexNearerThanTheRadius)
{
    // Of a row of four cells (0, 0) and (1, 0) are near; (2, 0) lies at exactly the radius. One
    // near vertex is enough for a face: cells 0 and 1.
    TriMesh mesh = grid(4, 1);
    BaseTriMesh array = array_of(mesh);
    remove_pieces(mesh, {{-1, -4, 0}}, {UP}, 5.0, 0.5);
    remove_pieces(array, {{-1, -4, 0}}, {UP}, 5.0, 0.5);
    EXPECT_EQ(mesh.n_faces(), 4U);
    EXPECT_EQ(array.get_fn(), 4U);
}

TEST(RemoveMarkerPieces, AFaceIsJudgedOnceWhateverTheOutcome)
{
    // The first marker looks down: the piece stays, and the second marker, which would take it, has
    // nothing left to judge.
    std::vector<Vector3f> const here(2, Vector3f(1, 1, 0));
    TriMesh mesh = grid(2, 2);
    BaseTriMesh array = array_of(mesh);
    remove_pieces(mesh, here, {DOWN, UP}, 50.0, 0.5);
    remove_pieces(array, here, {DOWN, UP}, 50.0, 0.5);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(array.get_fn(), 8U);
    remove_pieces(mesh, here, {UP, DOWN}, 50.0, 0.5);
    remove_pieces(array, here, {UP, DOWN}, 50.0, 0.5);
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(array.get_fn(), 0U);
}

TEST(RemoveMarkerPieces, WhatWasJudgedDoesNotJoinPiecesOfALaterMarker)
{
    // The later marker is near to cells 1 to 5. Alone it finds one piece of them, which looks up
    // enough, and takes it. But the marker before it, which looks down and floats so high that it
    // is near to cells 2 and 3 only, has judged and left these. What remains are two pieces: cell 1
    // looks up and goes, cells 4 and 5 do not and stay.
    Vector3f const on_surface(3, 0.5F, 0);
    Vector3f const above(3, 0.5F, 1.9F);
    TriMesh mesh = bent_row();
    BaseTriMesh array = array_of(mesh);
    remove_pieces(mesh, {on_surface}, {UP}, 2.0, 0.3);
    remove_pieces(array, {on_surface}, {UP}, 2.0, 0.3);
    EXPECT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(array.get_fn(), 2U);
    mesh = bent_row();
    array = array_of(mesh);
    remove_pieces(mesh, {above, on_surface}, {DOWN, UP}, 2.0, 0.3);
    remove_pieces(array, {above, on_surface}, {DOWN, UP}, 2.0, 0.3);
    EXPECT_EQ(mesh.n_faces(), 10U);
    EXPECT_EQ(array.get_fn(), 10U);
}

TEST(RemoveMarkerPieces, AHalfEdgeMeshKeepsTheNormalsThatItGot)
{
    TriMesh mesh = grid(2, 2);
    remove_pieces(mesh, {{9, 9, 9}}, {UP}, 1.0, 0.5);
    EXPECT_TRUE(mesh.has_face_normals());
    EXPECT_TRUE(mesh.has_vertex_normals());
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(0)), UP);
    EXPECT_EQ(mesh.normal(vh(4)), UP);
    EXPECT_FALSE(mesh.has_face_status());
}

TEST(RemoveMarkerPieces, NormalsThatAreThereAreUsedAsTheyAre)
{
    // The host says that the sheet looks down.
    TriMesh mesh = grid(2, 2);
    mesh.request_vertex_normals();
    mesh.request_face_normals();
    mesh.update_vertex_normals();
    for (auto const face : mesh.faces())
    {
        mesh.set_normal(face, DOWN);
    }
    BaseTriMesh array = array_of(mesh);
    remove_pieces(mesh, {{1, 1, 0}}, {UP}, 50.0, 0.5);
    remove_pieces(array, {{1, 1, 0}}, {UP}, 50.0, 0.5);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(array.get_fn(), 8U);
    EXPECT_TRUE(array.has_fNormal);
    remove_pieces(mesh, {{1, 1, 0}}, {DOWN}, 50.0, 0.5);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(RemoveMarkerPieces, BothKindsOfNormalsAreComputedWhereOneIsMissing)
{
    // So that they agree, whichever kind the host brought.
    TriMesh mesh = grid(2, 2);
    mesh.request_face_normals();
    for (auto const face : mesh.faces())
    {
        mesh.set_normal(face, DOWN);
    }
    remove_pieces(mesh, {{1, 1, 0}}, {DOWN}, 50.0, 0.5);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(0)), UP);
    EXPECT_EQ(mesh.normal(OpenMesh::VertexHandle(0)), UP);
}

// Unlike in a half-edge mesh, one kind does not bring the other along.
TEST(RemoveMarkerPieces, AnArrayMeshComputesEachKindOfNormalsOnlyWhereItIsMissing)
{
    BaseTriMesh array = array_of(grid(2, 2));
    array.update_FNrv();
    array.fNrv.assign(8, DOWN);
    remove_pieces(array, {{1, 1, 0}}, {UP}, 50.0, 0.5);
    EXPECT_EQ(array.get_fn(), 8U);
    EXPECT_TRUE(array.has_fNormal);
    EXPECT_FALSE(array.has_vNormal);
    remove_pieces(array, {{1, 1, 0}}, {DOWN}, 50.0, 0.5);
    EXPECT_EQ(array.get_fn(), 0U);
}

TEST(RemoveMarkerPieces, AnArrayMeshLosesItsNormalsBeforeItIsSqueezedAndItsFlagsAfterwards)
{
    WatchedMesh mesh = watched(grid(2, 2));
    remove_pieces(mesh, {{0, 0, 0}}, {UP}, 0.5, 0.5);
    EXPECT_EQ(mesh.squeezed, 1);
    EXPECT_EQ(mesh.get_fn(), 6U);
    EXPECT_FALSE(mesh.normals_then);
    EXPECT_TRUE(mesh.vertex_flags_then);
    EXPECT_TRUE(mesh.face_flags_then);
    EXPECT_FALSE(mesh.has_vNormal || mesh.has_fNormal || mesh.has_vFlag || mesh.has_fFlag);

    WatchedMesh full = watched(grid(2, 2));
    full.update_VNrv();
    full.update_FNrv();
    full.enable_vFlag();
    full.enable_fFlag();
    full.set_fDeleted(7, true);
    remove_pieces(full, {{0, 0, 0}}, {UP}, 0.5, 0.5);
    EXPECT_TRUE(full.normals_then);
    EXPECT_TRUE(full.has_vNormal && full.has_fNormal && full.has_vFlag && full.has_fFlag);
    EXPECT_EQ(full.get_fn(), 5U);
    EXPECT_EQ(full.fNrv.size(), 5U);
}

TEST(RemoveMarkerPieces, RefusesListsOfDifferentLengths)
{
    TriMesh mesh = grid(2, 2);
    BaseTriMesh array = array_of(mesh);
    LogCapture const log;
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh_ex(mesh, {{1, 1, 0}}, {}, 9.0, 0.5, true),
              RET_INVALID_INPUT);
    EXPECT_EQ(log.text(), "remove_marker_mesh_ex() ..\n"
                          "\n==========< initial TriMesh info >==========\n"
                          "  verts:            9\n  faces:            8\n"
                          "  !!!error: unmatched vert and norm size.\n");
    LogCapture const second;
    EXPECT_EQ(RemoveBoundary::remove_marker_mesh_ex(array, {}, {UP}, 9.0, 0.5, true),
              RET_INVALID_INPUT);
    EXPECT_EQ(second.text(), "remove_marker_mesh_ex( BaseTriMesh ) ..\n"
                             "\n==========< initial BaseTriMesh info >==========\n"
                             "  verts:            9\n  faces:            8\n"
                             "  !!!error: unmatched vert and norm size.\n");
    EXPECT_FALSE(mesh.has_face_normals());
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(array.get_fn(), 8U);
}

TEST(RemoveMarkerPieces, LogsTheSizesBeforeAndAfter)
{
    TriMesh mesh = grid(2, 2);
    BaseTriMesh array = array_of(mesh);
    std::string const sizes_half_edge = "\n==========< initial TriMesh info >==========\n"
                                        "  verts:            9\n  faces:            8\n"
                                        "\n==========< final TriMesh info >==========\n"
                                        "  verts:            9\n  faces:            6\n";
    std::string const sizes_array = "\n==========< initial BaseTriMesh info >==========\n"
                                    "  verts:            9\n  faces:            8\n"
                                    "\n==========< final BaseTriMesh info >==========\n"
                                    "  verts:            9\n  faces:            6\n";
    LogCapture const log(false);
    RemoveBoundary::remove_marker_mesh_ex(mesh, {{0, 0, 0}}, {UP}, 0.5, 0.5, true);
    EXPECT_EQ(log.text(), "remove_marker_mesh_ex() ..\n" + sizes_half_edge);
    LogCapture const second(false);
    output_of(
        [&] {
            RemoveBoundary::remove_marker_mesh_ex(array, {{0, 0, 0}}, {UP}, 0.5, 0.5, true);
        });
    EXPECT_EQ(second.text(), "remove_marker_mesh_ex( BaseTriMesh ) ..\n" + sizes_array);
}

TEST(RemoveMarkerPieces, AFaceWithAVertexThatIsNotThereIsAnExceptionAndChangesNothing)
{
    BaseTriMesh array = array_of(grid(2, 2));
    array.faces[3][1] = 99;
    output_of(
        [&]
        {
            EXPECT_THROW(
                RemoveBoundary::remove_marker_mesh_ex(array, {{0, 0, 0}}, {UP}, 0.5, 0.5, false),
                std::out_of_range);
        });
    EXPECT_EQ(array.get_fn(), 8U);
    EXPECT_FALSE(array.has_vNormal || array.has_fNormal || array.has_vFlag || array.has_fFlag);
}

// Rings

TEST(RemoveNRings, TakesOneRingMoreThanTheNumberSays)
{
    // 6 x 6 cells. Ring 0: the 22 faces with an edge on the border. Behind it lie the faces across
    // their other edges, and so on.
    EXPECT_EQ(faces_left(0), 50);
    EXPECT_EQ(faces_left(1), 32);
    EXPECT_EQ(faces_left(2), 18);
}

TEST(RemoveNRings, ANegativeNumberStillTakesTheBorderAndALargeOneTakesAll)
{
    EXPECT_EQ(faces_left(-5), 50);
    EXPECT_EQ(faces_left(std::numeric_limits<int>::min()), 50);
    EXPECT_EQ(faces_left(100), 0);
    EXPECT_EQ(faces_left(std::numeric_limits<int>::max()), 0);
}

// From the opening of the tube on, the faces of story k lie in the rings 2 k and 2 k + 1, and the
// lid in ring 10 002. Rings are counted up to 10 000 only: what lies farther has this number too.
TEST(RemoveNRings, BeyondTenThousandRingsNobodyCounts)
{
    TriMesh mesh = tube(5001);
    RemoveBoundary::remove_n_rings(mesh, 9999, false);
    EXPECT_EQ(mesh.n_faces(), 7U); // the last story and the lid
    mesh = tube(5001);
    RemoveBoundary::remove_n_rings(mesh, 10000, false);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(RemoveNRings, ABoundaryThatIsHiddenAltogetherIsPassedOver)
{
    TriMesh mesh = grid(6, 6);
    mesh.request_halfedge_status();
    std::vector<OpenMesh::HalfedgeHandle> boundary;
    for (auto const h : mesh.halfedges())
    {
        if (mesh.is_boundary(h))
        {
            boundary.push_back(h);
        }
    }
    for (auto const h : boundary)
    {
        mesh.status(h).set_hidden(true);
    }
    RemoveBoundary::remove_n_rings(mesh, 1, false);
    EXPECT_EQ(mesh.n_faces(), 72U);
    // One halfedge that is not hidden leads round all the others.
    mesh.status(boundary.back()).set_hidden(false);
    RemoveBoundary::remove_n_rings(mesh, 1, false);
    EXPECT_EQ(mesh.n_faces(), 32U);
}

TEST(RemoveNRings, LeavesAClosedMeshAlone)
{
    TriMesh mesh = sphere(2);
    EXPECT_EQ(RemoveBoundary::remove_n_rings(mesh, 3, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 128U);
    TriMesh empty;
    EXPECT_EQ(RemoveBoundary::remove_n_rings(empty, 3, false), RET_SUCCESS);
}

TEST(RemoveNRings, KeepsVerticesThatLoseTheirFaces)
{
    TriMesh mesh = grid(6, 6);
    RemoveBoundary::remove_n_rings(mesh, 100, false);
    EXPECT_EQ(mesh.n_vertices(), 49U);
    EXPECT_EQ(mesh.n_edges(), 0U);
    EXPECT_FALSE(mesh.has_face_status());
}

TEST(RemoveNRings, CountsFromTheNearestOfSeveralBoundaries)
{
    TriMesh mesh = grid_without(9, 9, {{4, 4}});
    TriMesh const before = mesh;
    RemoveBoundary::remove_n_rings(mesh, 1, false);
    // The same with distances that are improved until nothing changes any more.
    std::vector<int> ring(before.n_faces(), 1000);
    for (bool changed = true; changed;)
    {
        changed = false;
        for (auto const face : before.faces())
        {
            int nearest = before.is_boundary(face) ? 0 : 1000;
            for (auto const other : before.ff_range(face))
            {
                nearest = std::min(nearest, ring[static_cast<std::size_t>(other.idx())] + 1);
            }
            int& here = ring[static_cast<std::size_t>(face.idx())];
            changed = changed || nearest < here;
            here = std::min(here, nearest);
        }
    }
    EXPECT_EQ(mesh.n_faces(), static_cast<std::size_t>(std::count_if(ring.begin(), ring.end(),
                                                                     [](int r) { return r > 1; })));
}

TEST(RemoveNRings, PassesOverEdgesWithoutFaces)
{
    // Two vertices joined by an edge that has lost both of its faces: a boundary of two halfedges
    // with nothing across.
    TriMesh mesh = tetrahedron();
    add_lone_edge(mesh, {5, 0, 0}, {6, 0, 0});
    EXPECT_EQ(RemoveBoundary::remove_n_rings(mesh, 2, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 4U);
    EXPECT_EQ(mesh.n_edges(), 7U);
}

TEST(RemoveNRings, LogsOneLine)
{
    LogCapture const log(false);
    TriMesh mesh = grid(6, 6);
    RemoveBoundary::remove_n_rings(mesh, 2, true);
    EXPECT_EQ(log.text(), "remove_n_rings( 2-rings ) ..\n");
}

// Faces are deleted in the order of their indices: from which halfedge on a vertex with several
// fans is walked round afterwards depends on it.
TEST(RemoveBoundary, EveryLinkIsThatOfThePlainWay)
{
    for (unsigned seed = 0; seed < 200; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh const ragged = ragged_sphere(seed % 4 == 0 ? 3 : 2, seed, 0.02 + seed % 10 * 0.04);
        TriMesh mesh = ragged;
        TriMesh expected = ragged;
        int const rings = static_cast<int>(seed % 3);
        RemoveBoundary::remove_n_rings(mesh, rings, false);
        reference::n_rings(expected, rings);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));

        mesh = ragged;
        detail::provide_normals(mesh);
        expected = mesh;
        std::vector<Vector3f> const points{{1, 0, 0}, {0.6F, 0.6F, 0.5F}, {0, -0.3F, 0.9F}};
        std::vector<Vector3f> const normals{{1, 0, 0}, {0.6F, 0.6F, 0.5F}, {0, 0, 1}};
        remove_pieces(mesh, points, normals, 0.77, 0.613);
        reference::marker_pieces(expected, points, normals, 0.77F, 0.613);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
    }
}

TEST(RemoveBoundary, PrintsNothingUnlessVerboseAndLeavesTheLogSwitchAlone)
{
    LogCapture const log(true);
    std::string const printed = output_of(
        []
        {
            Cloud cloud = row_of_points(3);
            TriMesh mesh = grid(3, 3);
            BaseTriMesh array = array_of(mesh);
            RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {}, 1, true, 0, false);
            RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP}, 1, true, 0, false);
            RemoveBoundary::remove_marker_cloud(cloud, {{0, 0, 0}}, {UP}, 1, false, 0, false);
            RemoveBoundary::remove_marker_mesh(mesh, {{0, 0, 0}}, 1, false);
            RemoveBoundary::remove_marker_mesh(array, {{0, 0, 0}}, 1, false);
            RemoveBoundary::remove_marker_mesh_ex(mesh, {{0, 0, 0}}, {}, 1, 0, false);
            RemoveBoundary::remove_marker_mesh_ex(mesh, {{3, 3, 0}}, {UP}, 1, 0, false);
            RemoveBoundary::remove_n_rings(mesh, 0, false);
        });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(gPH.log_enabled);
    // How long the search of an array mesh took is no log line: it is printed all the same.
    BaseTriMesh array = array_of(grid(3, 3));
    EXPECT_NE(output_of(
                  [&] {
                      RemoveBoundary::remove_marker_mesh_ex(array, {{3, 3, 0}}, {UP}, 1, 0, false);
                  }),
              "");
    EXPECT_EQ(log.text(), "");
}
