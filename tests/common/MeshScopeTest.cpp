#include "algorithmVeld/common/mesh/MeshScope.h"

#include "algorithmVeld/common/mesh/Compaction.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace OrvaneAlgorithm;
using detail::DeletionScope;
using detail::ScopedProperty;

namespace
{

template <typename Iterator>
long live_properties(Iterator begin, Iterator end)
{
    return std::count_if(begin, end, [](auto const* property) { return property != nullptr; });
}

long vertex_properties(TriMesh const& mesh)
{
    return live_properties(mesh.vprops_begin(), mesh.vprops_end());
}

bool has_all_status(TriMesh const& mesh)
{
    return mesh.has_vertex_status() && mesh.has_halfedge_status() && mesh.has_edge_status() &&
           mesh.has_face_status();
}

bool has_no_status(TriMesh const& mesh)
{
    return !mesh.has_vertex_status() && !mesh.has_halfedge_status() && !mesh.has_edge_status() &&
           !mesh.has_face_status();
}

} // namespace

TEST(IsDeleted, IsNeverTrueWithoutStatus)
{
    TriMesh mesh = veld_test::grid(2, 2);
    OpenMesh::FaceHandle const face(3);
    EXPECT_FALSE(detail::is_deleted(mesh, face));
    EXPECT_FALSE(detail::is_deleted(mesh, veld_test::vh(0)));
    DeletionScope const scope(mesh);
    EXPECT_FALSE(detail::is_deleted(mesh, face));
    mesh.delete_face(face, false);
    mesh.delete_vertex(veld_test::vh(0), false);
    EXPECT_TRUE(detail::is_deleted(mesh, face));
    EXPECT_TRUE(detail::is_deleted(mesh, veld_test::vh(0)));
}

TEST(ScopedProperty, RemovesItselfAlsoWhenAnExceptionLeavesTheScope)
{
    TriMesh mesh = veld_test::grid(2, 2);
    long const before = vertex_properties(mesh);
    try
    {
        ScopedProperty<OpenMesh::VPropHandleT<int>> const property(mesh, "<vprop>");
        EXPECT_EQ(vertex_properties(mesh), before + 1);
        throw std::runtime_error("out");
    }
    catch (std::runtime_error const&)
    {
    }
    EXPECT_EQ(vertex_properties(mesh), before);
}

TEST(ScopedProperty, PropertiesOfOneNameStandSideBySide)
{
    TriMesh mesh = veld_test::grid(2, 2);
    OpenMesh::VPropHandleT<int> host;
    mesh.add_property(host, "<vprop>");
    mesh.property(host, veld_test::vh(3)) = 33;
    {
        ScopedProperty<OpenMesh::VPropHandleT<int>> a(mesh, "<vprop>");
        ScopedProperty<OpenMesh::VPropHandleT<int>> b(mesh, "<vprop>");
        ASSERT_EQ(a.data().size(), mesh.n_vertices());
        a.data()[3] = 1;
        b.data()[3] = 2;
        EXPECT_EQ(mesh.property(a.handle(), veld_test::vh(3)), 1);
        EXPECT_EQ(mesh.property(b.handle(), veld_test::vh(3)), 2);
    }
    EXPECT_EQ(mesh.property(host, veld_test::vh(3)), 33);
}

TEST(ScopedProperty, ServesHalfedgesEdgesAndFaces)
{
    TriMesh mesh = veld_test::grid(2, 2);
    ScopedProperty<OpenMesh::HPropHandleT<int>> h(mesh, "<hprop>");
    ScopedProperty<OpenMesh::EPropHandleT<float>> e(mesh, "<eprop>");
    ScopedProperty<OpenMesh::FPropHandleT<double>> f(mesh, "<fprop>");
    EXPECT_EQ(h.data(), std::vector<int>(mesh.n_halfedges(), 0));
    EXPECT_EQ(e.data(), std::vector<float>(mesh.n_edges(), 0.0F));
    EXPECT_EQ(f.data(), std::vector<double>(mesh.n_faces(), 0.0));
}

TEST(DeletionScope, RequestsTheFourStatusesAndReleasesThem)
{
    TriMesh mesh = veld_test::grid(2, 2);
    {
        DeletionScope const scope(mesh);
        EXPECT_TRUE(has_all_status(mesh));
        mesh.delete_face(OpenMesh::FaceHandle(0), false);
        mesh.garbage_collection(true, true, true);
    }
    EXPECT_TRUE(has_no_status(mesh));
    EXPECT_EQ(mesh.n_faces(), 7U);
}

TEST(DeletionScope, StatusesOfTheHostStay)
{
    TriMesh mesh = veld_test::grid(2, 2);
    mesh.request_vertex_status();
    mesh.status(veld_test::vh(4)).set_selected(true);
    {
        DeletionScope const outer(mesh);
        DeletionScope const inner(mesh);
    }
    ASSERT_TRUE(mesh.has_vertex_status());
    EXPECT_FALSE(mesh.has_face_status());
    EXPECT_TRUE(mesh.status(veld_test::vh(4)).selected());
    mesh.release_vertex_status();
    EXPECT_TRUE(has_no_status(mesh));
}

TEST(DeletionScope, LeavesTheStatusOfHalfedgesOutWhereItIsToldTo)
{
    TriMesh mesh = veld_test::grid(2, 2);
    {
        DeletionScope const scope(mesh, detail::HalfedgeStatus::LEFT_OUT);
        EXPECT_FALSE(mesh.has_halfedge_status());
        EXPECT_TRUE(mesh.has_vertex_status() && mesh.has_edge_status() && mesh.has_face_status());
    }
    EXPECT_TRUE(has_no_status(mesh));
}

TEST(AddFilledProperty, GivesEveryElementTheValue)
{
    TriMesh mesh = veld_test::grid(2, 2);
    OpenMesh::VPropHandleT<bool> flag;
    OpenMesh::EPropHandleT<Vector3f> vector;
    detail::add_filled_property(mesh, flag, "<vprop>", true);
    detail::add_filled_property(mesh, vector, "<eprop>", Vector3f(1, 2, 3), 500);
    EXPECT_EQ(mesh.property(flag).data_vector(), std::vector<bool>(mesh.n_vertices(), true));
    EXPECT_EQ(mesh.property(vector).data_vector(),
              std::vector<Vector3f>(mesh.n_edges(), Vector3f(1, 2, 3)));
    EXPECT_GE(mesh.property(vector).data_vector().capacity(), 500U);
    EXPECT_EQ(mesh.property(vector).name(), "<eprop>");
}

// OpenMesh ends the process when a face is deleted twice.
TEST(CheckedDeletion, ASecondDeletionAndWrongHandlesDoNoHarm)
{
    TriMesh mesh = veld_test::grid(2, 2);
    DeletionScope const scope(mesh);
    for (int turn = 0; turn < 2; ++turn)
    {
        detail::delete_face_checked(mesh, OpenMesh::FaceHandle(0),
                                    detail::IsolatedVertices::DELETED);
        detail::delete_vertex_checked(mesh, veld_test::vh(0), detail::IsolatedVertices::DELETED);
    }
    for (int const wrong : {-1, 99})
    {
        detail::delete_face_checked(mesh, OpenMesh::FaceHandle(wrong),
                                    detail::IsolatedVertices::DELETED);
        detail::delete_vertex_checked(mesh, veld_test::vh(wrong),
                                      detail::IsolatedVertices::DELETED);
    }
    // A face that was only marked, with all its links, is met round its corners.
    mesh.status(OpenMesh::FaceHandle(7)).set_deleted(true);
    detail::delete_vertex_checked(mesh, veld_test::vh(8), detail::IsolatedVertices::DELETED);
    EXPECT_TRUE(mesh.status(veld_test::vh(8)).deleted());
}

TEST(CheckedDeletion, LinksAreThoseOfTheMeshsOwnDeletion)
{
    for (int v = 0; v < 25; ++v)
    {
        for (bool const isolated : {false, true})
        {
            TriMesh a = veld_test::pinched_pair();
            DeletionScope const scope_a(a);
            TriMesh b = veld_test::pinched_pair();
            DeletionScope const scope_b(b);
            auto const kind =
                isolated ? detail::IsolatedVertices::DELETED : detail::IsolatedVertices::KEPT;
            for (int const vertex : {v, 12, 24 - v})
            {
                detail::delete_vertex_checked(a, veld_test::vh(vertex), kind);
                b.delete_vertex(veld_test::vh(vertex), isolated);
            }
            EXPECT_EQ(veld_test::fingerprint(a), veld_test::fingerprint(b));
            for (auto const w : a.all_vertices())
            {
                EXPECT_EQ(a.status(w).deleted(), b.status(w).deleted());
            }
        }
    }
}

// An edge between two vertices and nothing else, beside a sheet that stays.
TEST(CheckedDeletion, AnEdgeWithoutFacesGoesWithItsVertex)
{
    TriMesh mesh = veld_test::grid(1, 1);
    veld_test::add_lone_edge(mesh, {5, 0, 0}, {6, 0, 0});
    {
        DeletionScope const scope(mesh);
        detail::delete_vertex_checked(mesh, veld_test::vh(4), detail::IsolatedVertices::DELETED);
        EXPECT_FALSE(mesh.status(veld_test::vh(5)).deleted());
        detail::compact(mesh);
    }
    EXPECT_EQ(mesh.n_vertices(), 5U);
    EXPECT_EQ(mesh.n_edges(), 5U);
    EXPECT_TRUE(mesh.is_isolated(veld_test::vh(4)));
    EXPECT_TRUE(mesh.is_legal());
}

// Two edges without faces in a row: the one that stays is a boundary of its own.
TEST(CheckedDeletion, OfARowOfEdgesWithoutFacesTheOthersStayLinked)
{
    TriMesh mesh;
    veld_test::add_lone_edge(mesh, {0, 0, 0}, {1, 0, 0});
    auto const end = mesh.add_vertex({2, 0, 0});
    auto const there = mesh.new_edge(veld_test::vh(1), end);
    auto const back = mesh.opposite_halfedge_handle(there);
    mesh.set_next_halfedge_handle(OpenMesh::HalfedgeHandle(0), there);
    mesh.set_next_halfedge_handle(there, back);
    mesh.set_next_halfedge_handle(back, OpenMesh::HalfedgeHandle(1));
    mesh.set_halfedge_handle(end, back);
    {
        DeletionScope const scope(mesh);
        detail::delete_vertex_checked(mesh, veld_test::vh(0), detail::IsolatedVertices::KEPT);
        detail::compact(mesh);
    }
    EXPECT_EQ(mesh.n_edges(), 1U);
    OpenMesh::HalfedgeHandle const left(0);
    EXPECT_EQ(mesh.next_halfedge_handle(left), mesh.opposite_halfedge_handle(left));
    EXPECT_TRUE(mesh.is_legal());
}

// Its links are those of a face that is there: nothing is known of the edges around it.
TEST(CheckedDeletion, EdgesOfAFaceThatIsOnlyMarkedStayLinked)
{
    TriMesh mesh = veld_test::lone_triangle();
    DeletionScope const scope(mesh);
    mesh.status(OpenMesh::FaceHandle(0)).set_deleted(true);
    detail::delete_vertex_checked(mesh, veld_test::vh(0), detail::IsolatedVertices::DELETED);
    for (auto const edge : mesh.all_edges())
    {
        EXPECT_FALSE(mesh.status(edge).deleted());
    }
    EXPECT_TRUE(mesh.halfedge_handle(veld_test::vh(0)).is_valid());
}
