#include "workflow/photos/TextureJudge.h"

#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Vector2f;
using OrvaneAlgorithm::Vector3d;
using veld::ColourError;
using veld::SeamStep;
using veld::TrueColour;
using Picture = OrvaneAlgorithm::Image<3, unsigned char>;

Picture painted(int width, int height, std::function<int(int, int)> const& grey)
{
    Picture picture(width, height);
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            std::fill_n(picture.pixel(x, y), 3, static_cast<unsigned char>(grey(x, y)));
        }
    }
    return picture;
}

/// A picture whose left half is darker than its right one.
Picture two_halves(int left, int right)
{
    return painted(40, 20, [=](int x, int /*y*/) { return x < 20 ? left : right; });
}

/// Gives each corner of each face its texture coordinate by the face's number and the place.
void map(TriMesh& mesh, std::function<Vector2f(int, Vector3f const&)> const& coordinate)
{
    mesh.request_halfedge_texcoords2D();
    for (auto const face : mesh.faces())
    {
        for (auto const halfedge : mesh.fh_range(face))
        {
            mesh.set_texcoord2D(halfedge, coordinate(face.idx(), mesh.point(halfedge.to())));
        }
    }
}

/// The left cell in the picture's left half, the right one in its right half, each well inside.
TriMesh two_cells()
{
    TriMesh mesh = grid(2, 1);
    map(mesh,
        [](int face, Vector3f const& p)
        {
            float const first = face < 2 ? 0.1F : 0.6F;
            float const left = face < 2 ? 0.0F : 1.0F;
            return Vector2f(first + 0.3F * (p.x() - left), 0.1F + 0.8F * p.y());
        });
    return mesh;
}

TrueColour grey(double level)
{
    return [level](Vector3d const& /*place*/)
    { return Vector3d(Vector3d::Constant(level / 255.0)); };
}

TEST(ColourError, IsNothingWhereATextureShowsTheTruth)
{
    TriMesh mesh = grid(8, 4);
    // A ramp of the picture along x: pixel i has the value 40 + 2 i, its middle is at i + 0.5.
    Picture const picture = painted(80, 40, [](int x, int /*y*/) { return 40 + 2 * x; });
    map(mesh, [](int /*face*/, Vector3f const& p)
        { return Vector2f((0.5F + 9.875F * p.x()) / 80.0F, 0.25F * p.y()); });
    ColourError const error = veld::measure_colour_error(
        {mesh, picture}, [](Vector3d const& place)
        { return Vector3d(Vector3d::Constant((40.0 + 2.0 * 9.875 * place.x()) / 255.0)); });
    EXPECT_NEAR(error.mean, 0.0, 1e-4);
    EXPECT_NEAR(error.percentile_95, 0.0, 1e-4);
    EXPECT_EQ(error.blank, 0.0);
}

TEST(ColourError, OneFactorOfAllColoursIsNoError)
{
    TriMesh const mesh = two_cells();
    ColourError const error = veld::measure_colour_error(
        {mesh, two_halves(50, 80)}, [](Vector3d const& place)
        { return Vector3d(Vector3d::Constant((place.x() < 1.0 ? 75.0 : 120.0) / 255.0)); });
    EXPECT_NEAR(error.mean, 0.0, 1e-9);
    for (double const gain : error.gain)
    {
        EXPECT_NEAR(gain, 1.5, 1e-9);
    }
}

TEST(ColourError, IsTheMeanOverTheSurface)
{
    TriMesh const mesh = two_cells();
    ColourError const error = veld::measure_colour_error({mesh, two_halves(90, 110)}, grey(100.0));
    // The best factor is 100 * 100 / ((90 * 90 + 110 * 110) / 2).
    double const factor = 10000.0 / 10100.0;
    EXPECT_NEAR(error.gain[1], factor, 1e-9);
    double const dark = 100.0 - 90.0 * factor;
    double const bright = 110.0 * factor - 100.0;
    EXPECT_NEAR(error.mean, 0.5 * (dark + bright), 1e-9);
    EXPECT_NEAR(error.percentile_95, dark, 1e-9);
}

TEST(ColourError, LargeFacesCountMoreThanSmallOnes)
{
    TriMesh mesh = two_cells();
    for (auto const vertex : mesh.vertices())
    {
        if (mesh.point(vertex).x() > 1.5F)
        {
            mesh.point(vertex).x() = 4.0F; // the right cell is three times the left one now
        }
    }
    ColourError const error = veld::measure_colour_error({mesh, two_halves(90, 110)}, grey(100.0));
    EXPECT_NEAR(error.gain[0], 100.0 * (90.0 + 3.0 * 110.0) / (90.0 * 90.0 + 3.0 * 110.0 * 110.0),
                1e-9);
}

TEST(ColourError, FacesWithoutColourAreBlackAndBlank)
{
    TriMesh mesh = two_cells();
    float const no_number = std::numeric_limits<float>::quiet_NaN();
    auto const right = *(mesh.faces_begin() + 2);
    for (auto const halfedge : mesh.fh_range(right))
    {
        mesh.set_texcoord2D(halfedge, Vector2f(no_number, no_number));
    }
    for (auto const halfedge : mesh.fh_range(*(mesh.faces_begin() + 3)))
    {
        mesh.set_texcoord2D(halfedge, Vector2f(0.9F, 0.9F));
    }
    ColourError const error = veld::measure_colour_error({mesh, two_halves(100, 100)}, grey(100.0));
    EXPECT_NEAR(error.blank, 0.5, 1e-5);
    EXPECT_NEAR(error.mean, 50.0, 1e-3);
    EXPECT_NEAR(error.gain[2], 1.0, 1e-9);
}

TEST(ColourError, EmptyMeshHasNone)
{
    TriMesh mesh;
    mesh.request_halfedge_texcoords2D();
    ColourError const error = veld::measure_colour_error({mesh, two_halves(1, 2)}, grey(100.0));
    EXPECT_EQ(error.mean, 0.0);
    EXPECT_EQ(error.blank, 0.0);
    EXPECT_EQ(veld::measure_seam_step({mesh, two_halves(1, 2)}).edges, 0U);
}

TEST(SeamStep, IsTheDifferenceAcrossEdgesOfTwoPatches)
{
    TriMesh const mesh = two_cells();
    SeamStep const step = veld::measure_seam_step({mesh, two_halves(100, 130)});
    EXPECT_EQ(step.edges, 1U);
    EXPECT_NEAR(step.mean, 30.0, 1e-9);
    EXPECT_NEAR(step.percentile_95, 30.0, 1e-9);
}

TEST(SeamStep, ComparesBothSidesAtTheSamePlaces)
{
    // A ramp that both patches follow along the edge between them, each in its own part.
    Picture const picture = painted(40, 40, [](int /*x*/, int y) { return 40 + 5 * y; });
    SeamStep const step = veld::measure_seam_step({two_cells(), picture});
    EXPECT_EQ(step.edges, 1U);
    EXPECT_NEAR(step.mean, 0.0, 1e-4);
}

TEST(SeamStep, EdgesWithinAPatchAndAtFacesWithoutColourAreNoSeams)
{
    TriMesh mesh = two_cells();
    for (auto const face : mesh.faces())
    {
        for (auto const halfedge : mesh.fh_range(face))
        {
            if (face.idx() >= 2)
            {
                mesh.set_texcoord2D(halfedge, Vector2f(0.5F, 0.5F));
            }
        }
    }
    EXPECT_EQ(veld::measure_seam_step({mesh, two_halves(100, 130)}).edges, 0U);
}

TEST(SeamStep, PixelsMayHaveTheirMiddleAtTheirCorner)
{
    // Between pixel 19 and pixel 20 lies the step of the picture.
    TriMesh mesh = grid(2, 1);
    map(mesh, [](int face, Vector3f const& p)
        { return Vector2f(face < 2 ? 20.0F / 40.0F : 0.1F, 0.1F + 0.8F * p.y() + 0.01F * p.x()); });
    Picture const picture = two_halves(100, 130);
    EXPECT_NEAR(veld::measure_seam_step({mesh, picture}).mean, 15.0, 1e-4);
    EXPECT_NEAR(veld::measure_seam_step({mesh, picture, 0.0}).mean, 30.0, 1e-4);
}

} // namespace
