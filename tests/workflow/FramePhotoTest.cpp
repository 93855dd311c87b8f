#include "workflow/frames/FramePhoto.h"
#include "workflow/frames/PhotoColours.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace
{

using OrvaneAlgorithm::CameraInParam;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

constexpr int SIDE = 100;
constexpr double FOCAL = 100.0;
Vector3f const RED(1.0F, 0.0F, 0.0F);
Vector3f const GREEN(0.0F, 1.0F, 0.0F);

/// Left half red, right half green, from a camera that stands `right` of the origin.
veld::FramePhoto red_and_green(double right = 0.0)
{
    veld::FramePhoto::Pixels image(SIDE, SIDE);
    for (int y = 0; y < SIDE; ++y)
    {
        for (int x = 0; x < SIDE; ++x)
        {
            std::fill_n(image.pixel(x, y), 3, static_cast<unsigned char>(0));
            image.pixel(x, y)[x < SIDE / 2 ? 2 : 1] = 255; // blue, green, red
        }
    }
    RigidMatrix from_global;
    from_global.set_translation(Vector3d(-right, 0.0, 0.0));
    return {std::move(image), CameraInParam(FOCAL, FOCAL, 49.5, 49.5), from_global};
}

/// What a depth camera in the origin sees of a wall 1000 mm off, with a thing before its right
/// half at 500 mm, above the middle.
RangeData wall_and_thing(bool has_thing = true)
{
    RangeData frame;
    frame.set_grid_size(SIDE, SIDE);
    for (int row = 0; row < SIDE; ++row)
    {
        for (int column = 0; column < SIDE; ++column)
        {
            bool const is_thing = has_thing && column >= SIDE / 2 && row < SIDE / 2;
            float const depth = is_thing ? 500.0F : 1000.0F;
            Vector3f const ray((static_cast<float>(column) - 49.5F) / 100.0F,
                               (static_cast<float>(row) - 49.5F) / 100.0F, 1.0F);
            frame.add_vCoord_and_vUV(depth * ray, {row, column});
        }
    }
    return frame;
}

} // namespace

TEST(FramePhoto, GivesTheColourOfThePixelThatAPlaceIsIn)
{
    auto photo = red_and_green();
    photo.list_depths(wall_and_thing(), FOCAL);
    EXPECT_EQ(photo.colour_of(Vector3f(-200.0F, 200.0F, 1000.0F)), RED);
    EXPECT_EQ(photo.colour_of(Vector3f(200.0F, 200.0F, 1000.0F)), GREEN);
    EXPECT_EQ(photo.colour_of(Vector3f(100.0F, -100.0F, 500.0F)), GREEN);
}

TEST(FramePhoto, HasNoColourForWhatIsHiddenOrOutside)
{
    auto photo = red_and_green();
    EXPECT_FALSE(photo.colour_of(Vector3f(-200.0F, 200.0F, 1000.0F))); // no depths yet
    photo.list_depths(wall_and_thing(), FOCAL);
    EXPECT_FALSE(photo.colour_of(Vector3f(200.0F, -200.0F, 1000.0F))); // behind the thing
    EXPECT_FALSE(photo.colour_of(Vector3f(600.0F, 200.0F, 1000.0F)));
    EXPECT_FALSE(photo.colour_of(Vector3f(-200.0F, 200.0F, -1000.0F)));
}

TEST(FramePhoto, IsSeenThroughItsOwnCamera)
{
    // From 300 mm to the right the wall at x = 200 is left of the middle.
    auto photo = red_and_green(300.0);
    photo.list_depths(wall_and_thing(), FOCAL);
    EXPECT_EQ(photo.colour_of(Vector3f(200.0F, 200.0F, 1000.0F)), RED);
    EXPECT_EQ(photo.colour_of(Vector3f(480.0F, 200.0F, 1000.0F)), GREEN);
}

TEST(FramePhoto, FollowsTheScaleOfTheFrame)
{
    auto photo = red_and_green();
    photo.list_depths(wall_and_thing(), FOCAL);
    photo.set_scale(2.0);
    EXPECT_EQ(photo.colour_of(Vector3f(-400.0F, 400.0F, 2000.0F)), RED);
}

TEST(FramePhoto, GoesWithItsFrameToAnotherPose)
{
    // A quarter turn about y and a shift, from a pose that is none either.
    RigidMatrix before;
    before.set_translation(Vector3d(0.0, 0.0, 10.0));
    RigidMatrix after;
    OrvaneAlgorithm::Matrix3d turn;
    turn << 0, 0, 1, 0, 1, 0, -1, 0, 0;
    after.set_rotation(turn);
    after.set_translation(Vector3d(5.0, -7.0, 20.0));
    RigidMatrix const back = before.inverse();
    for (double const scale : {1.0, 2.0})
    {
        auto frame = wall_and_thing(false);
        auto photo = red_and_green();
        photo.list_depths(frame, FOCAL);
        photo.set_scale(scale);
        photo.follow(before, after);
        auto const s = static_cast<float>(scale);
        EXPECT_EQ(photo.colour_of(after * (back * (s * Vector3f(-200.0F, 200.0F, 1000.0F)))), RED);
        EXPECT_EQ(photo.colour_of(after * (back * (s * Vector3f(200.0F, 200.0F, 1000.0F)))), GREEN);
    }
}

TEST(PhotoColours, ComeFromAFrameThatSawAVertexAndElseFromAround)
{
    auto own = red_and_green();
    own.list_depths(wall_and_thing(), FOCAL);
    auto beside = red_and_green(300.0);
    beside.list_depths(wall_and_thing(false), FOCAL);
    TriMesh mesh;
    auto const a = mesh.add_vertex(Vector3f(-200.0F, 200.0F, 1000.0F)); // red in its own
    auto const b = mesh.add_vertex(Vector3f(450.0F, -300.0F, 1000.0F)); // hidden in its own
    auto const c = mesh.add_vertex(Vector3f(0.0F, 9000.0F, 1000.0F));   // in no picture
    mesh.add_face(a, b, c);
    veld::colour_from_photos({&own, &beside}, {0, 0, 0}, mesh);
    ASSERT_TRUE(mesh.has_vertex_colors());
    EXPECT_EQ(mesh.color(a), RED);
    EXPECT_EQ(mesh.color(b), GREEN);
    EXPECT_EQ(mesh.color(c), Vector3f(0.5F, 0.5F, 0.0F));
}

TEST(PhotoColours, AreNoneWithoutPhotographs)
{
    TriMesh mesh;
    mesh.add_vertex(Vector3f::Zero());
    veld::colour_from_photos({nullptr}, {0}, mesh);
    EXPECT_FALSE(mesh.has_vertex_colors());
}
