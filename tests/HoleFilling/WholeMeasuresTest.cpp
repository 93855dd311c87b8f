#include "algorithmVeld/HoleFilling/markers/HoleMeasures.h"
#include "algorithmVeld/HoleFilling/whole/BorderFairing.h"
#include "algorithmVeld/HoleFilling/whole/MeshMeasures.h"

#include "hole_meshes.h"
#include "random_hole_meshes.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::LogCapture;
using veld_test::Lot;
using veld_test::vh;

/// Triangles by themselves whose corners lie on a line, as well as floats can.
TriMesh triangles_without_area(int n)
{
    TriMesh mesh;
    Lot lot(9);
    for (int i = 0; i < n; ++i)
    {
        Vector3f const start = lot.vector();
        Vector3f const way = lot.vector();
        auto const a = mesh.add_vertex(start);
        auto const b = mesh.add_vertex(start + lot.unit() * way);
        mesh.add_face(a, b, mesh.add_vertex(start + way));
    }
    return mesh;
}

TEST(MeshMeasures, AFaceWithoutAnAreaIsLoggedAndCountsAsNone)
{
    TriMesh const mesh = triangles_without_area(100);
    int negative = 0;
    for (auto const f : mesh.faces())
    {
        auto const length = [&](int k)
        {
            Vector3f const way =
                mesh.point(vh(3 * f.idx() + (k + 1) % 3)) - mesh.point(vh(3 * f.idx() + k));
            return static_cast<double>(way.norm());
        };
        double const half = (length(0) + length(1) + length(2)) / 2.0;
        double const square = half * (half - length(0)) * (half - length(1)) * (half - length(2));
        negative += square < 0.0 ? 1 : 0;
    }
    EXPECT_GT(negative, 10);
    LogCapture const log;
    auto const areas = detail::face_areas(mesh);
    EXPECT_EQ(log.count("  !!!invlid face area square:  "), negative);
    EXPECT_EQ(areas.count, 100U);
    EXPECT_EQ(areas.min, 0.0);
    EXPECT_LT(areas.total, 0.1);
}

/// A fill of nine cells amid old faces.
struct FillAmidGrid : veld_test::HoleMesh
{
    FillAmidGrid()
    {
        mesh = veld_test::grid(5, 5);
        add_flags();
        for (auto const f : mesh.faces())
        {
            Vector3f const centre = mesh.calc_face_centroid(f);
            mesh.property(face_new, f) =
                (centre - Vector3f(2.5F, 2.5F, 0.0F)).cwiseAbs().maxCoeff() < 1.5F;
        }
        for (auto const v : mesh.vertices())
        {
            float const off = (mesh.point(v) - Vector3f(2.5F, 2.5F, 0.0F)).cwiseAbs().maxCoeff();
            mesh.property(vert_new, v) = off < 1.0F;
            mesh.property(vert_boundary, v) = off > 1.0F && off < 2.0F;
        }
        mesh.set_point(vh(2 * 6 + 2), Vector3f(2.0F, 2.0F, 1.0F));
    }

    bool fair() { return detail::fair_with_border(mesh, face_new, vert_new, vert_boundary, 1.0); }
};

TEST(BorderFairing, EdgesOfOldFacesDoNotCount)
{
    FillAmidGrid fill;
    LogCapture const log;
    EXPECT_TRUE(fill.fair());
    EXPECT_EQ(log.count("abnormal"), 0);
    EXPECT_NEAR(fill.mesh.point(vh(2 * 6 + 2)).z(), 0.0F, 1e-6F);
}

TEST(BorderFairing, ABorderVertexAwayFromTheFillIsLogged)
{
    FillAmidGrid fill;
    fill.mesh.property(fill.vert_boundary, vh(0)) = true;
    LogCapture const log;
    EXPECT_TRUE(fill.fair());
    EXPECT_EQ(log.count("   !!!abnormal border vert id ["), 1);
    EXPECT_EQ(fill.mesh.point(vh(0)), Vector3f(0, 0, 0));
}

TEST(BorderFairing, ABorderThatIsNoNumberMovesNothing)
{
    FillAmidGrid fill;
    fill.mesh.set_point(vh(1 * 6 + 2), Vector3f(2.0F, veld_test::NOT_A_NUMBER, 0.0F));
    std::vector<Vector3f> before;
    for (auto const v : fill.mesh.vertices())
    {
        before.push_back(fill.mesh.point(v));
    }
    EXPECT_FALSE(fill.fair());
    for (int const v : {14, 15, 20, 21})
    {
        EXPECT_EQ(fill.mesh.point(vh(v)), before[static_cast<std::size_t>(v)]);
    }
}

// To the bit: whether a marker is near enough may depend on it.
TEST(HoleMeasures, ACentreIsTheSumOfBothEndsOfAllEdgesOverTwiceTheirNumber)
{
    int halved = 0;
    for (unsigned seed = 0; seed < 20; ++seed)
    {
        TriMesh const mesh = veld_test::random_hole_mesh(seed);
        for (auto const& loop : veld_test::plain_walks(mesh))
        {
            Vector3f sum = Vector3f::Zero();
            Vector3f from = Vector3f::Zero();
            for (auto const h : loop)
            {
                sum +=
                    mesh.point(mesh.from_vertex_handle(h)) + mesh.point(mesh.to_vertex_handle(h));
                from += mesh.point(mesh.from_vertex_handle(h));
            }
            Vector3f const centre = sum / static_cast<float>(2 * loop.size());
            EXPECT_EQ(detail::hole_centre(mesh, loop), centre);
            halved += centre != Vector3f(from / static_cast<float>(loop.size())) ? 1 : 0;
        }
    }
    EXPECT_GT(halved, 0); // rounding tells them apart
}

} // namespace
