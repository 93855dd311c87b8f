#include "algorithmVeld/TextureFusion/projection/SmoothNormals.h"

#include "tests/support/meshes.h"

#include <gtest/gtest.h>

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::vh;

TEST(SmoothNormals, AVertexSeesTheNewNormalsOfThoseBeforeIt)
{
    TriMesh mesh = veld_test::lone_triangle();
    mesh.request_vertex_normals();
    Vector3f const x = Vector3f::UnitX();
    Vector3f const y = Vector3f::UnitY();
    Vector3f const z = Vector3f::UnitZ();
    mesh.set_normal(vh(0), x);
    mesh.set_normal(vh(1), y);
    mesh.set_normal(vh(2), z);
    detail::smooth_vertex_normals(mesh);
    Vector3f const first = (x + y + z).normalized();
    Vector3f const second = (first + y + z).normalized();
    Vector3f const third = (first + second + z).normalized();
    EXPECT_TRUE(mesh.normal(vh(0)).isApprox(first, 1e-6F));
    EXPECT_TRUE(mesh.normal(vh(1)).isApprox(second, 1e-6F));
    EXPECT_TRUE(mesh.normal(vh(2)).isApprox(third, 1e-6F));
}

TEST(SmoothNormals, AVertexAloneKeepsItsDirection)
{
    TriMesh mesh;
    mesh.add_vertex({0, 0, 0});
    mesh.add_vertex({1, 0, 0});
    mesh.request_vertex_normals();
    mesh.set_normal(vh(0), Vector3f(0, 0, 2));
    mesh.set_normal(vh(1), Vector3f(0, 0, 0));
    detail::smooth_vertex_normals(mesh);
    EXPECT_EQ(mesh.normal(vh(0)), Vector3f(0, 0, 1));
    EXPECT_EQ(mesh.normal(vh(1)), Vector3f(0, 0, 0));
}

} // namespace
