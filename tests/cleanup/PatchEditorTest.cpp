#include "algorithmVeld/cleanup/PatchEditor.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "dirty_meshes.h"
#include "reference_cleanup.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/standard_output.h"

#include <gtest/gtest.h>

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

constexpr int HIGHEST = std::numeric_limits<int>::max();
constexpr int LOWEST = std::numeric_limits<int>::min();

int by_face(TriMesh& mesh, int face_thr)
{
    EXPECT_EQ(PatchEditor::remove_small_components_by_face(mesh, face_thr, false), RET_SUCCESS);
    return static_cast<int>(mesh.n_faces());
}

int by_vert(TriMesh& mesh, int vert_thr)
{
    EXPECT_EQ(PatchEditor::remove_small_components_by_vert(mesh, vert_thr, false), RET_SUCCESS);
    return static_cast<int>(mesh.n_vertices());
}

int strong(TriMesh& mesh, int face_thr, int ring_num)
{
    EXPECT_EQ(
        PatchEditor::remove_small_componets_by_face_strong_connection(mesh, face_thr, ring_num),
        RET_SUCCESS);
    return static_cast<int>(mesh.n_faces());
}

/// A grid of 18 faces and 16 vertices, and a strip of 5 faces and 7 vertices far away.
TriMesh grid_and_strip()
{
    TriMesh mesh = grid(3, 3);
    append(mesh, strip(5), Vector3f(50, 0, 0));
    return mesh;
}

/// A grid of 8 faces at whose last corner a triangle hangs by one vertex.
TriMesh grid_with_hanging_triangle()
{
    TriMesh mesh = grid(2, 2);
    auto const a = mesh.add_vertex(Vector3f(3, 2, 0));
    auto const b = mesh.add_vertex(Vector3f(2, 3, 0));
    mesh.add_face(vh(8), a, b);
    return mesh;
}

/// Two spheres of 127 faces, each with one face taken out, and a strip of `faces` faces from an
/// edge of the one opening to an edge of the other. At its ends the strip hangs on faces that have
/// no boundary edge.
TriMesh dumbbell(int faces)
{
    TriMesh const ball = sphere(2);
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    std::array<Triangle, 2> openings{};
    for (std::size_t side = 0; side < 2; ++side)
    {
        int const first = static_cast<int>(points.size());
        for (auto const v : ball.vertices())
        {
            points.push_back(ball.point(v) + Vector3f(5.0F * static_cast<float>(side), 0, 0));
        }
        for (auto const f : ball.faces())
        {
            Triangle corners{};
            std::size_t k = 0;
            for (auto const v : f.vertices())
            {
                corners[k++] = first + v.idx();
            }
            if (f.idx() == 0)
            {
                openings[side] = corners;
            }
            else
            {
                triangles.push_back(corners);
            }
        }
    }
    std::vector<int> rail{openings[0][0], openings[0][1]};
    while (static_cast<int>(rail.size()) < faces)
    {
        rail.push_back(static_cast<int>(points.size()));
        points.emplace_back(2.5F, static_cast<float>(rail.size()), 0.0F);
    }
    bool const odd = faces % 2 == 1;
    rail.push_back(openings[1][odd ? 0 : 1]);
    rail.push_back(openings[1][odd ? 1 : 0]);
    for (std::size_t i = 0; i < static_cast<std::size_t>(faces); ++i)
    {
        triangles.push_back(i % 2 == 0 ? Triangle{rail[i], rail[i + 1], rail[i + 2]}
                                       : Triangle{rail[i + 1], rail[i], rail[i + 2]});
    }
    return make_mesh(points, triangles);
}

} // namespace

// ---------------------------------------------------------------------------------------- by face

TEST(PatchEditor, CountsPiecesThatHangTogetherOverEdges)
{
    EXPECT_EQ(PatchEditor::count_components_by_face(TriMesh()), 0);
    EXPECT_EQ(PatchEditor::count_components_by_face(grid(3, 3)), 1);
    EXPECT_EQ(PatchEditor::count_components_by_face(grid_and_strip()), 2);
    EXPECT_EQ(PatchEditor::count_components_by_face(grid_with_hanging_triangle()), 2);
}

TEST(PatchEditor, TellsTheFacesOfTheLargestPiece)
{
    EXPECT_EQ(PatchEditor::largest_component_by_face(TriMesh()), 0);
    EXPECT_EQ(PatchEditor::largest_component_by_face(grid(3, 3)), 18);
    EXPECT_EQ(PatchEditor::largest_component_by_face(grid_with_hanging_triangle()),
              static_cast<int>(grid_with_hanging_triangle().n_faces()) - 1);
}

TEST(PatchEditor, FacesThatAreMarkedDeletedBelongToNoPiece)
{
    // Of a strip of five faces the middle one goes, and two pieces are left.
    TriMesh mesh = strip(5);
    detail::DeletionScope const status(mesh);
    mesh.delete_face(OpenMesh::FaceHandle(2), false);
    EXPECT_EQ(PatchEditor::count_components_by_face(mesh), 2);
    EXPECT_EQ(PatchEditor::largest_component_by_face(mesh), 2);
}

TEST(SmallComponentsByFace, LimitZeroOrBelowRemovesNothing)
{
    for (int const thr : {0, -1, LOWEST})
    {
        TriMesh mesh = grid_and_strip();
        auto const before = fingerprint(mesh);
        by_face(mesh, thr);
        EXPECT_EQ(fingerprint(mesh), before);
    }
}

// The limit is included here, while the strong variant excludes it.
TEST(SmallComponentsByFace, AComponentOfExactlyTheLimitGoes)
{
    TriMesh mesh = grid_and_strip();
    EXPECT_EQ(by_face(mesh, 4), 23);
    EXPECT_EQ(by_face(mesh, 5), 18);
    EXPECT_EQ(mesh.n_vertices(), 16U);
    EXPECT_EQ(by_face(mesh, 17), 18);
    EXPECT_EQ(by_face(mesh, 18), 0);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    EXPECT_EQ(mesh.n_edges(), 0U);
}

TEST(SmallComponentsByFace, ASharedVertexJoinsNothingAndStaysWithItsOtherFaces)
{
    TriMesh mesh = grid_with_hanging_triangle();
    EXPECT_EQ(by_face(mesh, 1), 8);
    EXPECT_EQ(mesh.n_vertices(), 9U);
    EXPECT_EQ(mesh.n_edges(), 16U);
    EXPECT_EQ(count_pinched(mesh), 0);
    EXPECT_TRUE(mesh.is_legal());
}

// Only what the removal itself isolates goes; `PostProcessing` differs.
TEST(SmallComponentsByFace, VerticesThatHadNoFaceBeforeStay)
{
    TriMesh mesh = grid_and_strip();
    mesh.add_vertex(Vector3f(7, 7, 7));
    by_face(mesh, 5);
    EXPECT_EQ(mesh.n_vertices(), 17U);
    by_face(mesh, HIGHEST);
    ASSERT_EQ(mesh.n_vertices(), 1U);
    EXPECT_EQ(mesh.point(vh(0)), Vector3f(7, 7, 7));
}

TEST(SmallComponentsByFace, NothingMovesButWhatFillsGapsFromTheEnd)
{
    // The strip comes first: its seven vertices give their places to the last seven of the grid.
    TriMesh mesh = strip(5);
    append(mesh, grid(3, 3), Vector3f(50, 0, 0));
    TriMesh const before = mesh;
    by_face(mesh, 5);
    for (int i = 0; i < 16; ++i)
    {
        EXPECT_EQ(mesh.point(vh(i)), before.point(vh(i < 7 ? 22 - i : i)));
    }
}

TEST(SmallComponentsByFace, LogsTheCountsBeforeAndAfter)
{
    LogCapture const log(false);
    TriMesh mesh = grid_with_hanging_triangle();
    PatchEditor::remove_small_components_by_face(mesh, 1, true);
    EXPECT_EQ(log.text(), "remove_patch_by_face() with thr = 1 ..\n"
                          "  # initital mesh info:\n"
                          "    # verts:               11\n"
                          "    # faces:                9\n"
                          "  ==========< patch info >==========\n"
                          "    # face patch:                 2\n"
                          "  # processed mesh info:\n"
                          "    # verts:                9\n"
                          "    # faces:                8\n");
    EXPECT_FALSE(gPH.log_enabled);
}

// ---------------------------------------------------------------------------------------- by vert

TEST(SmallComponentsByVert, NoCountIsBelowZeroSoNegativeLimitsRemoveNothing)
{
    for (int const thr : {0, -1, LOWEST})
    {
        TriMesh mesh = grid_and_strip();
        mesh.add_vertex(Vector3f(7, 7, 7));
        auto const before = fingerprint(mesh);
        by_vert(mesh, thr);
        EXPECT_EQ(fingerprint(mesh), before);
    }
}

TEST(SmallComponentsByVert, AComponentOfExactlyTheLimitGoes)
{
    TriMesh mesh = grid_and_strip();
    EXPECT_EQ(by_vert(mesh, 6), 23);
    EXPECT_EQ(by_vert(mesh, 7), 16);
    EXPECT_EQ(mesh.n_faces(), 18U);
    EXPECT_EQ(by_vert(mesh, 15), 16);
    EXPECT_EQ(by_vert(mesh, 16), 0);
    EXPECT_EQ(mesh.n_faces() + mesh.n_edges(), 0U);
}

TEST(SmallComponentsByVert, AnIsolatedVertexIsAComponentOfOne)
{
    TriMesh mesh = grid_and_strip();
    mesh.add_vertex(Vector3f(7, 7, 7));
    EXPECT_EQ(by_vert(mesh, 1), 23);
    EXPECT_EQ(mesh.n_faces(), 23U);
}

TEST(SmallComponentsByVert, PiecesThatShareAVertexAreOneComponent)
{
    TriMesh mesh = grid_with_hanging_triangle();
    EXPECT_EQ(by_vert(mesh, 10), 11);
    EXPECT_EQ(by_vert(mesh, 11), 0);
}

TEST(SmallComponentsByVert, AnEdgeWithoutFacesJoinsItsVertices)
{
    TriMesh mesh;
    add_lone_edge(mesh, {5, 0, 0}, {6, 0, 0});
    EXPECT_EQ(by_vert(mesh, 1), 2);
}

TEST(SmallComponentsByVert, AnEdgeWithoutFacesGoesWithItsVertices)
{
    TriMesh mesh = grid(3, 3);
    add_lone_edge(mesh, {5, 0, 0}, {6, 0, 0});
    EXPECT_EQ(by_vert(mesh, 2), 16);
    EXPECT_EQ(mesh.n_edges(), 33U);
    EXPECT_TRUE(mesh.is_legal());
}

// Of a row of three cells the middle one is marked deleted. Its edges join nothing any more.
TEST(SmallComponents, WhatIsMarkedDeletedJoinsNothingAndIsNoComponent)
{
    TriMesh row = grid(3, 1);
    detail::DeletionScope const status(row);
    row.delete_face(OpenMesh::FaceHandle(2), true);
    row.delete_face(OpenMesh::FaceHandle(3), true);
    LogCapture const log(false);
    TriMesh mesh = row;
    PatchEditor::remove_small_components_by_vert(mesh, 4, true);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    EXPECT_EQ(log.count("    # vert patch:                 2\n"), 1);
    mesh = row;
    PatchEditor::remove_small_components_by_face(mesh, 2, true);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    EXPECT_EQ(log.count("    # face patch:                 2\n"), 1);
}

TEST(SmallComponentsByVert, LogsTheCountsBeforeAndAfter)
{
    LogCapture const log(false);
    TriMesh mesh = grid_and_strip();
    mesh.add_vertex(Vector3f(7, 7, 7));
    PatchEditor::remove_small_components_by_vert(mesh, 7, true);
    EXPECT_EQ(log.text(), "remove_patch_by_vert() with thr = 7 ..\n"
                          "  # initital mesh info:\n"
                          "    # verts:               24\n"
                          "    # faces:               23\n"
                          "  ==========< patch info >==========\n"
                          "    # vert patch:                 3\n"
                          "  # processed mesh info:\n"
                          "    # verts:               16\n"
                          "    # faces:               18\n");
}

// ----------------------------------------------------------------------------- strong connection

TEST(StrongConnection, NumbersBelowOneAreRefusedAndTheMeshIsNotTouched)
{
    for (auto const& [face_thr, ring_num] : {std::pair{0, 1}, {1, 0}, {0, 0}, {-5, 3}, {3, LOWEST}})
    {
        TriMesh mesh = grid(3, 3);
        detail::DeletionScope const status(mesh);
        mesh.delete_face(OpenMesh::FaceHandle(0), true);
        auto const before = fingerprint(mesh);
        EXPECT_EQ(
            PatchEditor::remove_small_componets_by_face_strong_connection(mesh, face_thr, ring_num),
            RET_INVALID_INPUT);
        EXPECT_EQ(fingerprint(mesh), before); // what is marked deleted is there as well
    }
}

// Of the 72 faces of a grid of 6 x 6 cells 22 have a boundary edge. The rest is a core of 48 faces
// and, in the two corners that the diagonals cut off, two cores of one face. The face in such a
// corner grows back from nothing else.
TEST(StrongConnection, ACoreOfExactlyTheLimitStays)
{
    struct Case
    {
        int face_thr, faces;
    };
    // The limit is excluded here, unlike in the two other operations.
    for (auto const& c : {Case{1, 72}, Case{2, 68}, Case{48, 68}, Case{49, 0}, Case{HIGHEST, 0}})
    {
        TriMesh mesh = grid(6, 6);
        EXPECT_EQ(strong(mesh, c.face_thr, 1), c.faces) << c.face_thr;
        EXPECT_TRUE(mesh.is_legal());
    }
}

TEST(StrongConnection, AClosedMeshHasNoLayersAndGoesOnlyBelowTheLimit)
{
    for (int const ring_num : {1, 100, HIGHEST})
    {
        TriMesh mesh = tetrahedron();
        auto const before = fingerprint(mesh);
        strong(mesh, 4, ring_num);
        EXPECT_EQ(fingerprint(mesh), before);
        EXPECT_EQ(strong(mesh, 5, ring_num), 0);
        EXPECT_EQ(mesh.n_vertices(), 0U);
    }
}

TEST(StrongConnection, APieceWithoutACoreGoesWhateverItsSize)
{
    TriMesh mesh = strip(1000);
    EXPECT_EQ(strong(mesh, 1, 1), 0);
    // Eleven layers are enough for every face of a grid of 20 x 20 cells, fewer are not.
    mesh = grid(20, 20);
    append(mesh, sphere(1), Vector3f(50, 0, 0));
    TriMesh deeper = mesh;
    EXPECT_GT(strong(mesh, 1, 5), 32);
    EXPECT_EQ(strong(deeper, 1, 40), 32);
}

// Only boundary edges make layers: the grid's faces that touch the boundary with a vertex alone are
// the core's rim already.
TEST(StrongConnection, ABoundaryVertexAloneDoesNotCount)
{
    TriMesh mesh = grid(2, 2); // 6 of 8 faces have a boundary edge
    append(mesh, grid(2, 2), Vector3f(50, 0, 0));
    EXPECT_EQ(strong(mesh, 1, 1), 16);
    EXPECT_EQ(strong(mesh, 2, 1), 0);
}

TEST(StrongConnection, AStripComesBackAsFarAsBothEndsGrow)
{
    // One ring: the strip's faces alone are peeled, so two of them come back, and of three the
    // middle one is lost.
    TriMesh mesh = dumbbell(2);
    EXPECT_EQ(strong(mesh, 100, 1), 256);
    EXPECT_EQ(face_component_sizes(mesh), std::vector<int>{256});
    mesh = dumbbell(3);
    EXPECT_EQ(strong(mesh, 100, 1), 256);
    EXPECT_EQ(face_component_sizes(mesh), (std::vector<int>{128, 128}));

    // Two rings peel the two faces at the ends of the strip as well: with them it is four faces
    // from core to core that come back.
    mesh = dumbbell(2);
    EXPECT_EQ(strong(mesh, 100, 2), 256);
    EXPECT_EQ(face_component_sizes(mesh), std::vector<int>{256});
    mesh = dumbbell(3);
    EXPECT_EQ(strong(mesh, 100, 2), 256);
    EXPECT_EQ(face_component_sizes(mesh), (std::vector<int>{128, 128}));
}

// Left 6 x 6 cells with a core of 49 faces, right 4 x 6 cells with one of 29, joined by the two
// faces of one cell. Two corners of each body are cut off by diagonals: there a core of one face
// goes, and the corner that hangs on it.
TEST(StrongConnection, ASmallBodyOnAThinStripGoes)
{
    TriMesh const bodies = grid_without(11, 6, {{6, 0}, {6, 1}, {6, 3}, {6, 4}, {6, 5}});
    EXPECT_EQ(face_component_sizes(bodies), std::vector<int>{122});
    TriMesh mesh = bodies;
    EXPECT_EQ(strong(mesh, 29, 1), 122 - 4 - 4);
    mesh = bodies;
    // The left body grows back over its own half of the strip.
    EXPECT_EQ(strong(mesh, 30, 1), 72 - 4 + 1);
    mesh = bodies;
    EXPECT_EQ(strong(mesh, 50, 1), 0);
}

TEST(StrongConnection, LogsNothing)
{
    LogCapture const log(true);
    TriMesh mesh = dumbbell(3);
    strong(mesh, 5, 1);
    EXPECT_EQ(log.text(), "");
}

// ------------------------------------------------------------------------------------ all of them

namespace
{

using Operation = void (*)(TriMesh&);

constexpr std::array<Operation, 3> OPERATIONS{
    [](TriMesh& mesh) { PatchEditor::remove_small_components_by_face(mesh, 6, false); },
    [](TriMesh& mesh) { PatchEditor::remove_small_components_by_vert(mesh, 6, false); },
    [](TriMesh& mesh)
    { PatchEditor::remove_small_componets_by_face_strong_connection(mesh, 3, 1); }};

} // namespace

TEST(PatchEditor, AnEmptyMeshAndOneOfPointsAloneAreFine)
{
    for (auto const operation : OPERATIONS)
    {
        TriMesh mesh;
        operation(mesh);
        EXPECT_EQ(mesh.n_vertices(), 0U);
        EXPECT_TRUE(has_no_status(mesh));
    }
    TriMesh points;
    points.add_vertex(Vector3f(0, 0, 0));
    points.add_vertex(Vector3f(1, 0, 0));
    by_face(points, 10);
    strong(points, 10, 2);
    EXPECT_EQ(points.n_vertices(), 2U);
    EXPECT_EQ(by_vert(points, 1), 0);
}

TEST(PatchEditor, CoordinatesThatAreNoNumbersMakeNoDifference)
{
    for (auto const operation : OPERATIONS)
    {
        TriMesh plain = ragged_sphere(2, 7, 0.4);
        TriMesh strange = plain;
        for (auto const v : strange.vertices())
        {
            float const nan = std::numeric_limits<float>::quiet_NaN();
            float const inf = std::numeric_limits<float>::infinity();
            strange.set_point(v,
                              v.idx() % 2 == 0 ? Vector3f(nan, nan, nan) : Vector3f(inf, -inf, 0));
        }
        operation(plain);
        operation(strange);
        EXPECT_EQ(strange.n_vertices(), plain.n_vertices());
        EXPECT_EQ(strange.n_faces(), plain.n_faces());
    }
}

TEST(PatchEditor, WhatWasMarkedDeletedGoesTooAndBelongsToNoComponent)
{
    for (auto const operation : OPERATIONS)
    {
        // The bridge between two squares is marked deleted: they are two components.
        TriMesh mesh = grid(9, 1);
        {
            detail::DeletionScope const status(mesh);
            for (int const f : {8, 9})
            {
                mesh.delete_face(OpenMesh::FaceHandle(f), true);
            }
            TriMesh clean = mesh;
            clean.garbage_collection();
            operation(mesh);
            operation(clean);
            EXPECT_EQ(triangles_of(mesh), triangles_of(clean));
            EXPECT_EQ(mesh.n_vertices(), clean.n_vertices());
        }
        EXPECT_TRUE(has_no_status(mesh));
        EXPECT_TRUE(mesh.is_legal());
    }
}

// OpenMesh ends the process when such a face is deleted. Two of the five faces of the strip are
// marked: they go, and the grid stays as it is without a strip.
TEST(PatchEditor, AFaceThatIsMarkedDeletedButLinkedStopsNothing)
{
    for (auto const operation : OPERATIONS)
    {
        TriMesh mesh = grid_and_strip();
        TriMesh alone = grid(3, 3);
        {
            detail::DeletionScope const status(mesh);
            mesh.status(OpenMesh::FaceHandle(20)).set_deleted(true);
            mesh.status(OpenMesh::FaceHandle(22)).set_deleted(true);
            operation(mesh);
        }
        operation(alone);
        auto const left = triangles_of(mesh);
        auto const of_grid = triangles_of(alone);
        EXPECT_TRUE(std::includes(left.begin(), left.end(), of_grid.begin(), of_grid.end()));
        EXPECT_LE(mesh.n_faces(), alone.n_faces() + 3);
        EXPECT_TRUE(has_no_status(mesh));
    }
}

TEST(PatchEditor, PropertiesStepsAndRequestedStatusesAreAsBefore)
{
    for (auto const operation : OPERATIONS)
    {
        gLH.clear_steps();
        LogCapture const log(true);
        TriMesh mesh = ragged_sphere(2, 3, 0.4);
        int const properties = count_properties(mesh);
        std::string const printed = output_of([&] { operation(mesh); });
        EXPECT_EQ(count_properties(mesh), properties);
        EXPECT_TRUE(has_no_status(mesh));
        EXPECT_EQ(log.text() + printed, "");
        EXPECT_EQ(gLH.steps_as_json(), "[]");
        mesh.request_face_status();
        operation(mesh);
        EXPECT_TRUE(mesh.has_face_status());
        EXPECT_FALSE(mesh.has_vertex_status());
    }
}

TEST(PatchEditor, NormalsAndColoursOfWhatStaysAreThoseItHad)
{
    for (auto const operation : OPERATIONS)
    {
        TriMesh mesh = strip(3);
        append(mesh, ragged_sphere(3, 11, 0.42), Vector3f(50, 0, 0));
        mark_vertices(mesh);
        TriMesh const before = mesh;
        operation(mesh);
        EXPECT_LT(mesh.n_vertices(), before.n_vertices());
        EXPECT_GT(mesh.n_vertices(), 0U);
        EXPECT_TRUE(kept_its_marks(before, mesh));
    }
}

TEST(PatchEditor, EveryLinkIsThatOfThePlainWay)
{
    for (unsigned seed = 0; seed < 400; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh const ragged = ragged_sphere(seed % 4 == 0 ? 3 : 2, seed, 0.05 + seed % 10 * 0.06);
        int const thr = static_cast<int>(seed % 13);
        TriMesh mesh = ragged;
        TriMesh expected = ragged;
        by_face(mesh, thr);
        reference::by_face(expected, thr);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));

        mesh = ragged;
        expected = ragged;
        by_vert(mesh, thr);
        reference::by_vert(expected, thr);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));

        mesh = ragged;
        expected = ragged;
        int const rings = 1 + static_cast<int>(seed % 3);
        strong(mesh, thr + 1, rings);
        reference::strong_connection(expected, thr + 1, rings);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
        EXPECT_TRUE(mesh.is_legal());
    }
}

TEST(PatchEditor, TheSameSurfaceStaysHoweverTheMeshIsNumbered)
{
    for (unsigned seed = 0; seed < 30; ++seed)
    {
        TriMesh const ragged = ragged_sphere(2, seed, 0.4);
        std::vector<int> order;
        std::vector<OpenMesh::FaceHandle> faces;
        for (auto const f : ragged.faces())
        {
            faces.push_back(f);
        }
        std::shuffle(faces.begin(), faces.end(), std::mt19937(seed));
        TriMesh renumbered;
        std::map<int, OpenMesh::VertexHandle> vertex;
        for (auto const f : faces)
        {
            std::vector<OpenMesh::VertexHandle> corners;
            for (auto const v : ragged.fv_range(f))
            {
                auto const [entry, fresh] = vertex.emplace(v.idx(), OpenMesh::VertexHandle());
                if (fresh)
                {
                    entry->second = renumbered.add_vertex(ragged.point(v));
                }
                corners.push_back(entry->second);
            }
            renumbered.add_face(corners);
        }
        ASSERT_EQ(renumbered.n_faces(), ragged.n_faces());
        for (auto const operation : OPERATIONS)
        {
            TriMesh a = ragged;
            TriMesh b = renumbered;
            operation(a);
            operation(b);
            EXPECT_EQ(triangles_of(a), triangles_of(b));
        }
    }
}

TEST(PatchEditor, CopiesAndAssignmentsCopyNothing)
{
    PatchEditor a;
    PatchEditor b(a);
    b = a;
    TriMesh mesh = lone_triangle();
    EXPECT_EQ(b.remove_small_components_by_face(mesh, 1, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 0U);
}
