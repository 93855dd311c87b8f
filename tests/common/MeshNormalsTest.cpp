#include "algorithmVeld/common/mesh/MeshNormals.h"

#include "algorithmVeld/common/RunScope.h"
#include "tests/support/meshes.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// Every bit of a list of normals; what is no number is one as good as the other.
std::vector<int> bits_of(std::vector<Vector3f> const& normals)
{
    std::vector<int> bits;
    for (Vector3f const& normal : normals)
    {
        for (float const value : {normal.x(), normal.y(), normal.z()})
        {
            float const same = std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : value;
            bits.push_back(0);
            std::memcpy(&bits.back(), &same, sizeof same);
        }
    }
    return bits;
}

/// The normals of faces, vertices and halfedges.
std::vector<std::vector<int>> all_bits(TriMesh const& mesh)
{
    return {bits_of(mesh.property(mesh.face_normals_pph()).data_vector()),
            bits_of(mesh.property(mesh.vertex_normals_pph()).data_vector()),
            bits_of(mesh.property(mesh.halfedge_normals_pph()).data_vector())};
}

void request_all_normals(TriMesh& mesh)
{
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.request_halfedge_normals();
}

void shake(TriMesh& mesh, float reach, std::mt19937& random)
{
    std::uniform_real_distribution<float> step(-reach, reach);
    for (auto const v : mesh.vertices())
    {
        mesh.point(v) += Vector3f(step(random), step(random), step(random));
    }
}

/// Smooth and sharp surfaces, borders, fans that touch, lone vertices, faces without an area.
std::vector<TriMesh> meshes()
{
    std::mt19937 random(3);
    std::vector<TriMesh> list{sphere(5),          grid_with_hole(40), pinched_pair(), bow_tie(),
                              open_cone(7, 0.3F), lone_triangle(),    TriMesh(),      sphere(3)};
    shake(list[1], 0.3F, random);
    shake(list[7], 0.2F, random);
    list[2].add_vertex({7, 7, 7});
    list[2].set_point(vh(3), list[2].point(vh(4)));
    list[4].set_point(vh(2), {std::numeric_limits<float>::quiet_NaN(), 0, 0});
    list[4].set_point(vh(5), {std::numeric_limits<float>::infinity(), 0, 0});
    return list;
}

} // namespace

TEST(MeshNormals, AreThoseOfTheMeshsOwnUpdateForAnyNumberOfThreads)
{
    for (TriMesh const& mesh : meshes())
    {
        TriMesh expected = mesh;
        request_all_normals(expected);
        expected.update_normals();
        for (int const n : {1, 2, 8})
        {
            Threads const threads(n);
            TriMesh own = mesh;
            request_all_normals(own);
            detail::renew_normals(own);
            EXPECT_EQ(all_bits(own), all_bits(expected)) << mesh.n_faces() << " faces";
        }
    }
}

TEST(MeshNormals, OldOnesOfHalfedgesAreRenewedToo)
{
    TriMesh mesh = grid(3, 3);
    request_all_normals(mesh);
    mesh.update_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.point(v) = Vector3f(mesh.point(v).z(), mesh.point(v).x(), mesh.point(v).y());
    }
    detail::renew_normals(mesh);
    for (auto const h : mesh.halfedges())
    {
        Vector3f const expected = mesh.is_boundary(h) ? Vector3f(0, 0, 0) : Vector3f(1, 0, 0);
        EXPECT_EQ(mesh.normal(h), expected);
    }
}

TEST(MeshNormals, HiddenElementsHaveThemAndDeletedOnesKeepTheirOld)
{
    TriMesh mesh = grid(3, 1);
    request_all_normals(mesh);
    mesh.request_face_status();
    mesh.request_vertex_status();
    mesh.request_edge_status();
    Vector3f const old(5, 5, 5);
    for (auto const f : mesh.faces())
    {
        mesh.set_normal(f, old);
    }
    mesh.status(OpenMesh::FaceHandle(0)).set_hidden(true);
    mesh.status(OpenMesh::FaceHandle(1)).set_deleted(true);
    detail::renew_normals(mesh);
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(0)), Vector3f(0, 0, 1));
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(1)), old);
}

TEST(MeshNormals, ThatAMeshLacksAreProvidedAndThoseThatItHasStay)
{
    TriMesh mesh = grid(2, 2);
    mesh.request_face_normals();
    detail::provide_normals(mesh);
    ASSERT_TRUE(mesh.has_vertex_normals());
    for (auto const f : mesh.faces())
    {
        EXPECT_EQ(mesh.normal(f), Vector3f(0, 0, 1));
    }
    mesh.set_normal(vh(0), Vector3f(1, 0, 0));
    detail::provide_normals(mesh);
    EXPECT_EQ(mesh.normal(vh(0)), Vector3f(1, 0, 0));
}

TEST(MeshNormals, ThatWereRequestedForNothingGoWhenTheRunIsEnded)
{
    CancelToken const token;
    token.cancel();
    RunScope const scope(token);
    TriMesh mesh = grid(2, 2);
    mesh.request_vertex_normals();
    EXPECT_THROW(detail::renew_normals(mesh), Cancelled);
    EXPECT_FALSE(mesh.has_face_normals());
    EXPECT_TRUE(mesh.has_vertex_normals());
    EXPECT_THROW(detail::provide_normals(mesh), Cancelled);
    EXPECT_FALSE(mesh.has_face_normals());
    EXPECT_TRUE(mesh.has_vertex_normals());
}
