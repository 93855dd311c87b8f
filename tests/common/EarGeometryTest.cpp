#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "tests/support/ear_meshes.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using detail::CornerStatus;

namespace
{

constexpr float PI = 3.14159265F;

/// The corner of vertex 1 of a square hole in a flat grid, with its neighbours moved at will.
struct SquareHole
{
    TriMesh mesh = grid_without(3, 3, {{1, 1}}); // the hole: 5 6 10 9

    detail::Corner corner(int cur, int prev, int next) const
    {
        return detail::measure_corner(mesh, vh(cur), vh(prev), vh(next));
    }
};

} // namespace

TEST(EarGeometry, RightAngleOfASquareHole)
{
    auto const corner = SquareHole().corner(5, 9, 6);
    EXPECT_EQ(corner.status, CornerStatus::MEASURED);
    EXPECT_FLOAT_EQ(corner.angle, PI / 2);
    EXPECT_FLOAT_EQ(corner.edge_len, std::sqrt(2.0F));
}

TEST(EarGeometry, OuterCornerIsReflexBecauseTheFaceBesideItSaysSo)
{
    TriMesh const mesh = grid(1, 1);
    auto const corner = detail::measure_corner(mesh, vh(1), vh(3), vh(0));
    EXPECT_EQ(corner.status, CornerStatus::MEASURED);
    EXPECT_FLOAT_EQ(corner.angle, 1.5F * PI);
}

TEST(EarGeometry, StraightCornerMeasuresPiExactlyAsFloat)
{
    TriMesh const mesh = grid(2, 1);
    auto const corner = detail::measure_corner(mesh, vh(1), vh(2), vh(0));
    EXPECT_EQ(corner.status, CornerStatus::MEASURED);
    EXPECT_EQ(corner.angle, 3.1415927F);
    EXPECT_EQ(corner.edge_len, 2.0F);
}

TEST(EarGeometry, ProductOfUnitVectorsPastOneIsNoNaN)
{
    // Parallel sides whose unit vectors round to a product above 1 exist for some directions; none
    // of many may give an angle that is no number.
    SquareHole hole;
    std::mt19937 random(1);
    int above_one = 0;
    for (int i = 0; i < 2000; ++i)
    {
        Vector3f const direction = Vector3f::Random();
        hole.mesh.set_point(vh(5), Vector3f(0, 0, 0));
        hole.mesh.set_point(vh(9), direction);
        hole.mesh.set_point(vh(6), direction * 3.0F);
        above_one += direction.normalized().dot((direction * 3.0F).normalized()) > 1.0F ? 1 : 0;
        auto const corner = hole.corner(5, 9, 6);
        if (corner.status == CornerStatus::MEASURED)
        {
            ASSERT_TRUE(std::isfinite(corner.angle));
        }
    }
    EXPECT_GT(above_one, 0);
}

TEST(EarGeometry, CoincidingCornersAreTooShort)
{
    SquareHole hole;
    hole.mesh.set_point(vh(6), hole.mesh.point(vh(5)) + Vector3f(0.9e-5F, 0, 0));
    EXPECT_EQ(hole.corner(5, 9, 6).status, CornerStatus::SHORT_SIDE);
    EXPECT_EQ(hole.corner(6, 5, 10).status, CornerStatus::SHORT_SIDE);
    // 1.0 + 1.1e-5 is 1.1e-5 away from 1.0 but for the rounding of float, which is a hundredth.
    hole.mesh.set_point(vh(6), hole.mesh.point(vh(5)) + Vector3f(1.1e-5F, 0, 0));
    EXPECT_EQ(hole.corner(5, 9, 6).status, CornerStatus::MEASURED);
}

TEST(EarGeometry, ShortestSideIsComparedInDouble)
{
    // The float nearest to 1e-5 lies below it: a comparison in float would let it pass.
    constexpr float LIMIT = 1e-5F;
    static_assert(static_cast<double>(LIMIT) < 1e-5, "the other way round nothing is tested");
    SquareHole hole;
    for (int const moved : {6, 9})
    {
        SquareHole around_origin;
        around_origin.mesh.set_point(vh(5), Vector3f(0, 0, 0));
        around_origin.mesh.set_point(vh(moved), Vector3f(0, LIMIT, 0));
        EXPECT_EQ(around_origin.corner(5, 9, 6).status, CornerStatus::SHORT_SIDE);
        around_origin.mesh.set_point(vh(moved), Vector3f(0, std::nextafter(LIMIT, 1.0F), 0));
        EXPECT_EQ(around_origin.corner(5, 9, 6).status, CornerStatus::MEASURED);
    }
    // The face beside 9 -> 5 is (4, 5, 9); its middle corner is compared with both others.
    hole.mesh.set_point(vh(4), Vector3f(0, 0, 0));
    hole.mesh.set_point(vh(5), Vector3f(0, LIMIT, 0));
    EXPECT_EQ(hole.corner(5, 9, 6).status, CornerStatus::SHORT_FACE_SIDE);
    hole.mesh.set_point(vh(5), Vector3f(0, std::nextafter(LIMIT, 1.0F), 0));
    EXPECT_EQ(hole.corner(5, 9, 6).status, CornerStatus::MEASURED);
}

TEST(EarGeometry, EachFailureHasItsLine)
{
    EXPECT_EQ(detail::corner_message(CornerStatus::SHORT_SIDE, "a/b.cpp", 12),
              "wrong edge length [a/b.cpp (12)]\n");
    EXPECT_EQ(detail::corner_message(CornerStatus::NO_HALFEDGE, "a/b.cpp", 12),
              "unmatched halfedge [a/b.cpp (12)]\n");
    EXPECT_EQ(detail::corner_message(CornerStatus::NOT_A_TRIANGLE, "a/b.cpp", 12),
              "unexpected ploygon [a/b.cpp (12)]\n");
    // This one has never told its place.
    EXPECT_EQ(detail::corner_message(CornerStatus::SHORT_FACE_SIDE, "a/b.cpp", 12),
              "wrong edge length.\n");
    EXPECT_EQ(detail::corner_message(CornerStatus::MEASURED, "a/b.cpp", 12), "");
}

TEST(EarGeometry, CornersWithoutAnEdgeBetweenThemAreRefused)
{
    EXPECT_EQ(SquareHole().corner(5, 10, 6).status, CornerStatus::NO_HALFEDGE);
}

TEST(EarGeometry, VerticesThatAreNotThereAreRefused)
{
    SquareHole const hole;
    EXPECT_EQ(hole.corner(5, -1, 6).status, CornerStatus::NO_HALFEDGE);
    EXPECT_EQ(hole.corner(99, 9, 6).status, CornerStatus::NO_HALFEDGE);
}

TEST(EarGeometry, HalfedgeWithTheHoleAcrossHasNoTriangle)
{
    // 5 -> 9 against the hole: what lies across is the hole itself.
    EXPECT_EQ(SquareHole().corner(9, 5, 10).status, CornerStatus::NOT_A_TRIANGLE);
}

TEST(EarGeometry, CoincidingCornersOfTheFaceBesideAreReported)
{
    // The face beside 9 -> 5 is (4, 5, 9); 4 goes to where 5 is.
    SquareHole hole;
    hole.mesh.set_point(vh(4), hole.mesh.point(vh(5)));
    EXPECT_EQ(hole.corner(5, 9, 6).status, CornerStatus::SHORT_FACE_SIDE);
}

TEST(EarGeometry, CosineIsKeptInFloat)
{
    EXPECT_EQ(detail::cosine_of_degrees(180.0), -1.0F);
    EXPECT_EQ(detail::cosine_of_degrees(0.0), 1.0F);
    EXPECT_FLOAT_EQ(detail::cosine_of_degrees(60.0), 0.5F);
    EXPECT_FLOAT_EQ(detail::cosine_of_degrees(150.0), -std::sqrt(3.0F) / 2);
}

namespace
{

/// A flat triangle, normal up, and two vertices that lie so that (0, 3, 4) has a normal tilted by
/// some degrees.
TriMesh triangle_and_tilted_candidate(double degrees)
{
    TriMesh mesh = lone_triangle();
    auto const t = static_cast<float>(degrees * 3.141592653589793 / 180.0);
    mesh.add_vertex(Vector3f(1, 0, 0));
    mesh.add_vertex(Vector3f(0, std::cos(t), std::sin(t)));
    return mesh;
}

bool agrees(TriMesh const& mesh, double degrees)
{
    return detail::consistency_normal(mesh, vh(0), vh(3), vh(4),
                                      detail::cosine_of_degrees(degrees));
}

} // namespace

TEST(EarGeometry, NormalMayDifferByTheAngleFromEveryFaceAround)
{
    TriMesh const mesh = triangle_and_tilted_candidate(60.0);
    EXPECT_TRUE(agrees(mesh, 61.0));
    EXPECT_FALSE(agrees(mesh, 59.0));
    TriMesh const folded = triangle_and_tilted_candidate(149.0);
    EXPECT_TRUE(agrees(folded, 150.0));
    EXPECT_FALSE(agrees(folded, 148.0));
}

TEST(EarGeometry, NormalOnTheLimitAgrees)
{
    TriMesh parallel = lone_triangle();
    parallel.add_vertex(Vector3f(2, 0, 0));
    parallel.add_vertex(Vector3f(0, 2, 0));
    EXPECT_TRUE(agrees(parallel, 0.0));
    TriMesh opposite = lone_triangle();
    opposite.add_vertex(Vector3f(0, 2, 0));
    opposite.add_vertex(Vector3f(2, 0, 0));
    EXPECT_TRUE(agrees(opposite, 180.0));
    EXPECT_FALSE(agrees(opposite, 179.0));
}

TEST(EarGeometry, FacesAroundAllThreeCornersCount)
{
    TriMesh const mesh = lone_triangle();
    auto const limit = detail::cosine_of_degrees(90.0);
    TriMesh more = mesh;
    more.add_vertex(Vector3f(0, 2, 0));
    more.add_vertex(Vector3f(2, 0, 0));
    // The candidate 3 4 x faces down; x is a corner of the face, in each place.
    EXPECT_FALSE(detail::consistency_normal(more, vh(0), vh(3), vh(4), limit));
    EXPECT_FALSE(detail::consistency_normal(more, vh(4), vh(0), vh(3), limit));
    EXPECT_FALSE(detail::consistency_normal(more, vh(3), vh(4), vh(0), limit));
}

TEST(EarGeometry, SliverIsRefusedAtASineOfOneThousandth)
{
    TriMesh mesh = lone_triangle();
    mesh.add_vertex(Vector3f(1, 0, 0));
    mesh.add_vertex(Vector3f(1, 0.0011F, 0));
    EXPECT_TRUE(agrees(mesh, 180.0));
    mesh.set_point(vh(4), Vector3f(1, 0.0009F, 0));
    EXPECT_FALSE(agrees(mesh, 180.0));
}

TEST(EarGeometry, SineOfASliverIsComparedInDouble)
{
    // The float nearest to 0.001 lies above it, so that a limit in float would refuse some
    // triangles that are none. Of many nearly right lengths some tell the two apart.
    TriMesh mesh = lone_triangle();
    mesh.add_vertex(Vector3f(1, 0, 0));
    mesh.add_vertex(Vector3f(0, 0, 0));
    int told_apart = 0;
    for (int i = 0; i < 2000; ++i)
    {
        float const length = 1.0F + static_cast<float>(i) / 2048.0F;
        float const in_float = 0.001F * Vector3f(length, 0.001F * length, 0).norm();
        for (float const height :
             {std::nextafter(in_float, 0.0F), in_float, std::nextafter(in_float, 1.0F)})
        {
            // Twice its area is its height, for the side along the axis is 1 long.
            mesh.set_point(vh(4), Vector3f(length, height, 0));
            float const side = mesh.point(vh(4)).norm();
            bool const sliver = 0.001 * static_cast<double>(side) > static_cast<double>(height);
            EXPECT_EQ(agrees(mesh, 180.0), !sliver) << length << " " << height;
            told_apart += sliver != (0.001F * side > height) ? 1 : 0;
        }
    }
    EXPECT_GT(told_apart, 0);
}

TEST(EarGeometry, NormalOfVerticesThatAreNotThereAgreesWithNothing)
{
    EXPECT_FALSE(detail::consistency_normal(lone_triangle(), vh(0), vh(1), vh(7), -1.0F));
}
