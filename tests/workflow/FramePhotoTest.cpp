#include "workflow/frames/FramePhoto.h"
#include "workflow/frames/PhotoColours.h"

#include "algorithmVeld/common/image_io.h"
#include "tests/support/files.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

using OrvaneAlgorithm::CameraInParam;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;
using testing::HasSubstr;
using veld_test::TempDir;

constexpr int SIDE = 100;
constexpr double FOCAL = 100.0;
Vector3f const RED(1.0F, 0.0F, 0.0F);
Vector3f const GREEN(0.0F, 1.0F, 0.0F);

/// Left half red, right half green.
veld::FramePhoto::Pixels red_and_green()
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
    return image;
}

/// A photograph by a camera that stands `right` of the origin.
veld::FramePhoto photo_from(double right = 0.0, std::string const& file = "")
{
    RigidMatrix from_global;
    from_global.set_translation(Vector3d(-right, 0.0, 0.0));
    return {file, SIDE, SIDE, CameraInParam(FOCAL, FOCAL, 49.5, 49.5), from_global};
}

/// The colour of a place that the photograph shows.
Vector3f colour_in(veld::FramePhoto const& photo, Vector3f const& place)
{
    EXPECT_TRUE(photo.shows(place));
    return photo.colour_of(place, red_and_green());
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
    auto photo = photo_from();
    photo.list_depths(wall_and_thing(), FOCAL);
    EXPECT_EQ(colour_in(photo, Vector3f(-200.0F, 200.0F, 1000.0F)), RED);
    EXPECT_EQ(colour_in(photo, Vector3f(200.0F, 200.0F, 1000.0F)), GREEN);
    EXPECT_EQ(colour_in(photo, Vector3f(100.0F, -100.0F, 500.0F)), GREEN);
}

TEST(FramePhoto, HasNoColourForWhatIsHiddenOrOutside)
{
    auto photo = photo_from();
    EXPECT_FALSE(photo.shows(Vector3f(-200.0F, 200.0F, 1000.0F))); // no depths yet
    photo.list_depths(wall_and_thing(), FOCAL);
    EXPECT_FALSE(photo.shows(Vector3f(200.0F, -200.0F, 1000.0F))); // behind the thing
    EXPECT_FALSE(photo.shows(Vector3f(600.0F, 200.0F, 1000.0F)));
    EXPECT_FALSE(photo.shows(Vector3f(-200.0F, 200.0F, -1000.0F)));
}

TEST(FramePhoto, IsSeenThroughItsOwnCamera)
{
    // From 300 mm to the right the wall at x = 200 is left of the middle.
    auto photo = photo_from(300.0);
    photo.list_depths(wall_and_thing(), FOCAL);
    EXPECT_EQ(colour_in(photo, Vector3f(200.0F, 200.0F, 1000.0F)), RED);
    EXPECT_EQ(colour_in(photo, Vector3f(480.0F, 200.0F, 1000.0F)), GREEN);
}

TEST(FramePhoto, FollowsTheScaleOfTheFrame)
{
    auto photo = photo_from();
    photo.list_depths(wall_and_thing(), FOCAL);
    photo.set_scale(2.0);
    EXPECT_EQ(colour_in(photo, Vector3f(-400.0F, 400.0F, 2000.0F)), RED);
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
        auto photo = photo_from();
        photo.list_depths(frame, FOCAL);
        photo.set_scale(scale);
        photo.follow(before, after);
        auto const s = static_cast<float>(scale);
        EXPECT_EQ(colour_in(photo, after * (back * (s * Vector3f(-200.0F, 200.0F, 1000.0F)))), RED);
        EXPECT_EQ(colour_in(photo, after * (back * (s * Vector3f(200.0F, 200.0F, 1000.0F)))),
                  GREEN);
    }
}

TEST(FramePhoto, HasFewBlocksHoweverLargeItsListSaysThatItIs)
{
    constexpr int LARGEST = 1 << 20;
    veld::FramePhoto photo("", LARGEST, LARGEST, CameraInParam(FOCAL, FOCAL, 49.5, 49.5),
                           RigidMatrix());
    photo.list_depths(wall_and_thing(false), FOCAL);
    EXPECT_TRUE(photo.shows(Vector3f(200.0F, 200.0F, 1000.0F)));
}

TEST(FramePhoto, IsReadWhenItsPixelsAreWantedAndSaysWhatIsWrong)
{
    TempDir const dir;
    veld::FramePhoto::Pixels pixels;
    auto const photo = photo_from(0.0, dir.file("photo.png"));
    EXPECT_THAT(photo.read(pixels), HasSubstr("photo.png cannot be read: no colours"));
    ASSERT_EQ(OrvaneAlgorithm::write_rgb_image(dir.file("photo.png"),
                                               veld::FramePhoto::Pixels(SIDE, SIDE + 1)),
              0);
    EXPECT_THAT(photo.read(pixels), HasSubstr("photo.png has 100 x 101 pixels"));
    ASSERT_EQ(OrvaneAlgorithm::write_rgb_image(dir.file("photo.png"), red_and_green()), 0);
    EXPECT_EQ(photo.read(pixels), "");
    EXPECT_EQ(pixels.width(), SIDE);
}

/// Three places of a wall, as one face, and two photographs of it.
class PhotoColours : public testing::Test
{
protected:
    PhotoColours()
    {
        auto const a = mesh_.add_vertex(Vector3f(-200.0F, 200.0F, 1000.0F));
        auto const b = mesh_.add_vertex(Vector3f(450.0F, -300.0F, 1000.0F));
        auto const c = mesh_.add_vertex(Vector3f(0.0F, 9000.0F, 1000.0F));
        mesh_.add_face(a, b, c);
        own_.list_depths(wall_and_thing(), FOCAL);
        beside_.list_depths(wall_and_thing(false), FOCAL);
        for (auto const& file : {"own.png", "beside.png"})
        {
            EXPECT_EQ(OrvaneAlgorithm::write_rgb_image(dir_.file(file), red_and_green()), 0);
        }
    }
    std::vector<veld::PhotoProblem> colour()
    {
        return veld::colour_from_photos({&own_, &beside_}, {0, 0, 0}, mesh_);
    }
    Vector3f colour_at(int vertex) { return mesh_.color(OpenMesh::VertexHandle(vertex)); }

    TempDir dir_;
    TriMesh mesh_;
    veld::FramePhoto own_ = photo_from(0.0, dir_.file("own.png"));
    veld::FramePhoto beside_ = photo_from(300.0, dir_.file("beside.png"));
};

TEST_F(PhotoColours, ComeFromAFrameThatSawAVertexAndElseFromAround)
{
    EXPECT_TRUE(colour().empty());
    ASSERT_TRUE(mesh_.has_vertex_colors());
    EXPECT_EQ(colour_at(0), RED);
    EXPECT_EQ(colour_at(1), GREEN);                      // hidden in its own
    EXPECT_EQ(colour_at(2), Vector3f(0.5F, 0.5F, 0.0F)); // in no picture
}

TEST_F(PhotoColours, OfAPhotographThatCannotBeReadComeFromTheNextOne)
{
    veld_test::write_file(dir_.file("own.png"), "no picture");
    auto const problems = colour();
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].photo, 0U);
    EXPECT_THAT(problems[0].reason, HasSubstr("own.png cannot be read: no colours"));
    ASSERT_TRUE(mesh_.has_vertex_colors());
    // Only the second vertex is in the other picture.
    EXPECT_EQ(colour_at(1), GREEN);
    EXPECT_EQ(colour_at(0), GREEN);
    EXPECT_EQ(colour_at(2), GREEN);
}

TEST_F(PhotoColours, AreNoneWhereNoPhotographCanBeRead)
{
    veld_test::write_file(dir_.file("own.png"), "no picture");
    veld_test::write_file(dir_.file("beside.png"), "no picture");
    EXPECT_EQ(colour().size(), 2U);
    EXPECT_FALSE(mesh_.has_vertex_colors());
}

TEST_F(PhotoColours, AreNoneWithoutPhotographs)
{
    veld::colour_from_photos({nullptr}, {0, 0, 0}, mesh_);
    EXPECT_FALSE(mesh_.has_vertex_colors());
}
