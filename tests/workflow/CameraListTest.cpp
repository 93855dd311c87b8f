#include "workflow/photos/Photos.h"

#include "reason_of.h"
#include "tests/support/photos.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <limits>

namespace
{

using namespace veld_test;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

/// What is wrong with a list of one view, as far as a change to it goes.
std::string refusal_of_view(nlohmann::json const& change)
{
    nlohmann::json view = sheet_view("one.png");
    view.update(change);
    PhotoDir const dir(nlohmann::json::array({view}));
    return reason_of([&] { veld::read_camera_list(dir.list()); });
}

std::string refusal_without(std::string const& key)
{
    nlohmann::json view = sheet_view("one.png");
    view.erase(key);
    PhotoDir const dir(nlohmann::json::array({view}));
    return reason_of([&] { veld::read_camera_list(dir.list()); });
}

std::string refusal_of_text(std::string const& text)
{
    TempDir const dir;
    write_file(dir.file("cameras.json"), text);
    return reason_of([&] { veld::read_camera_list(dir.file("cameras.json")); });
}

TEST(CameraJson, AViewIsReadAsItStands)
{
    PhotoDir const dir;
    for (auto const& source : {dir.path().string(), dir.list()})
    {
        auto const views = veld::read_camera_list(source);
        ASSERT_EQ(views.size(), 1U);
        EXPECT_EQ(views[0].image, "one.png");
        EXPECT_EQ(views[0].file, dir.path() / "one.png");
        EXPECT_EQ(views[0].width, PHOTO_SIDE);
        EXPECT_EQ(views[0].height, PHOTO_SIDE);
        EXPECT_EQ(views[0].intrinsics.get_fx(), PHOTO_FOCAL_LENGTH);
        EXPECT_EQ(views[0].intrinsics.get_cy(), PHOTO_CENTRE);
        EXPECT_EQ(views[0].pose.get_rotation()(1, 1), -1.0);
        EXPECT_EQ(views[0].pose.get_translation(),
                  OrvaneAlgorithm::Vector3d(-SHEET_CENTRE, SHEET_CENTRE, CAMERA_HEIGHT));
        EXPECT_THAT(veld::camera_list_files(source),
                    testing::ElementsAre(dir.path() / "cameras.json"));
    }
}

TEST(CameraJson, ViewsOfDepthImagesAreNoPhotographs)
{
    PhotoDir const dir(nlohmann::json::array({{{"depth", "d.png"}}, sheet_view("one.png")}));
    EXPECT_EQ(veld::read_camera_list(dir.list()).size(), 1U);
    PhotoDir const only_depth(nlohmann::json::array({{{"depth", "d.png"}}}));
    EXPECT_THAT(reason_of([&] { veld::read_camera_list(only_depth.list()); }),
                EndsWith("cameras.json: has no view of a photograph"));
}

TEST(CameraJson, WhatIsMissingIsNamedWithItsView)
{
    for (char const* const key : {"width", "height", "fx", "fy", "cx", "cy", "R", "t"})
    {
        EXPECT_THAT(refusal_without(key), EndsWith("cameras.json: view 0 (one.png): '" +
                                                   std::string(key) + "' is missing"));
    }
    EXPECT_THAT(refusal_without("image"), EndsWith("cameras.json: view 0: 'image' is missing"));
}

TEST(CameraJson, ValuesThatFitNoCameraAreRefused)
{
    EXPECT_THAT(refusal_of_view({{"image", ""}}),
                HasSubstr("'image' has to be the name of a file"));
    EXPECT_THAT(refusal_of_view({{"image", 3}}), HasSubstr("view 0: 'image' has to be a text"));
    EXPECT_THAT(refusal_of_view({{"width", 0}}),
                HasSubstr("'width' has to be a whole number from 1"));
    EXPECT_THAT(refusal_of_view({{"height", 7.5}}), HasSubstr("'height' has to be a whole number"));
    EXPECT_THAT(refusal_of_view({{"width", 1e12}}), HasSubstr("'width' has to be a whole number"));
    EXPECT_THAT(refusal_of_view({{"fx", "wide"}}), HasSubstr("'fx' has to be a number"));
    EXPECT_THAT(refusal_of_view({{"fx", 0.0}}),
                HasSubstr("the focal lengths have to be more than 0"));
    EXPECT_THAT(refusal_of_view({{"fy", -5.0}}),
                HasSubstr("the focal lengths have to be more than 0"));
    EXPECT_THAT(refusal_of_view({{"cx", nullptr}}), HasSubstr("'cx' has to be a number"));
    EXPECT_THAT(refusal_of_view({{"t", {1, 2}}}), HasSubstr("'t' has to be a list of 3 numbers"));
    EXPECT_THAT(refusal_of_view({{"R", {{1, 0, 0}, {0, 1, 0}}}}),
                HasSubstr("'R' has to be 3 rows of 3 numbers"));
}

TEST(CameraJson, WhatIsNoRotationIsRefused)
{
    EXPECT_THAT(refusal_of_view({{"R", {{1, 0, 0}, {0, 1, 0}, {0, 0, 2}}}}),
                EndsWith("view 0 (one.png): 'R' is no rotation"));
    EXPECT_THAT(refusal_of_view({{"R", {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}}}}),
                HasSubstr("'R' is no rotation"));
    EXPECT_EQ(refusal_of_view({{"R", {{1, 0.0001, 0}, {-0.0001, 1, 0}, {0, 0, 1}}}}), "no error");
}

TEST(CameraJson, WhatIsNoListIsRefused)
{
    EXPECT_THAT(refusal_of_text("{\"views\": [NaN]}"),
                EndsWith("cameras.json: is no JSON: line 1, column 12"));
    EXPECT_THAT(refusal_of_text("{\n  \"views\": [\n    {,"),
                EndsWith("cameras.json: is no JSON: line 3, column 6"));
    EXPECT_THAT(refusal_of_text("[]"), EndsWith("cameras.json: is no JSON object"));
    EXPECT_THAT(refusal_of_text("{}"), EndsWith("cameras.json: 'views' has to be a list"));
    EXPECT_THAT(refusal_of_text("{\"views\": 3}"), EndsWith("'views' has to be a list"));
    EXPECT_THAT(refusal_of_text("{\"views\": []}"), EndsWith("has no view of a photograph"));
    EXPECT_THAT(refusal_of_text("{\"views\": [7]}"), EndsWith("view 0: is no JSON object"));
    EXPECT_THAT(refusal_of_text("{\"views\": [{\"image\": \"a.png\", \"width\": 1e999}]}"),
                EndsWith("is no JSON that can be read: line 1, column 40: the number 1e999 is too "
                         "large"));
    EXPECT_THAT(refusal_of_text("{\"1e999\":\n[3, 1e999]}"),
                EndsWith("line 2, column 5: the number 1e999 is too large"))
        << "and not the name before it";
}

TEST(CameraJson, WholeNumbersMayHaveADecimalPoint)
{
    PhotoDir const dir;
    std::string text = file_content(dir.list());
    auto const at = text.find("\"width\":100");
    ASSERT_NE(at, std::string::npos);
    write_file(dir.list(), text.replace(at, 11, "\"width\":100.0"));
    EXPECT_EQ(veld::read_camera_list(dir.path())[0].width, 100);
}

TEST(CameraJson, CamerasThatCannotBeAreRefusedByTheirKey)
{
    EXPECT_THAT(refusal_of_view({{"fx", 1e300}}), HasSubstr("view 0 (one.png): the focal lengths "
                                                            "have to be more than 0 and at most"));
    EXPECT_THAT(refusal_of_view({{"cy", -1e7}}),
                HasSubstr("view 0 (one.png): the principal point has to lie within"));
    EXPECT_THAT(refusal_of_view({{"t", {0, 1e13, 0}}}),
                HasSubstr("view 0 (one.png): the translation t is 1e+13 long"));
    EXPECT_EQ(refusal_of_view({{"fx", 1e7}, {"cx", 1e6}, {"t", {0, 1e12, 0}}}), "no error");
    EXPECT_THAT(refusal_of_view({{"image", std::string("a\0b.png", 7)}}),
                HasSubstr("'image' has to be the name of a file"));
}

TEST(CameraList, AFolderWithoutAListIsRefused)
{
    TempDir const dir;
    EXPECT_THAT(
        reason_of([&] { veld::read_camera_list(dir.path()); }),
        AllOf(StartsWith(dir.path().string()),
              EndsWith("has neither cameras.json nor cameras.txt and images.txt of COLMAP")));
    EXPECT_THAT(reason_of([&] { veld::read_camera_list(dir.path() / "none.json"); }),
                EndsWith("none.json: no such file"));
    write_file(dir.file("images.txt"), "");
    EXPECT_THAT(reason_of([&] { veld::read_camera_list(dir.path()); }),
                EndsWith("cameras.txt: is missing beside images.txt"));
    std::filesystem::rename(dir.path() / "images.txt", dir.path() / "cameras.txt");
    EXPECT_THAT(reason_of([&] { veld::read_camera_list(dir.path()); }),
                EndsWith("images.txt: is missing beside cameras.txt"));
    std::filesystem::remove(dir.path() / "cameras.txt");
    write_file(dir.file("cameras.bin"), "x");
    EXPECT_THAT(reason_of([&] { veld::read_camera_list(dir.path()); }),
                HasSubstr("cameras.bin: is a binary model; write it as text"));
}

constexpr char const* COLMAP_CAMERAS = "# Camera list with one line of data per camera:\n"
                                       "#   CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n"
                                       "1 PINHOLE 640 480 500 510 320 240\n"
                                       "\n"
                                       "7 SIMPLE_PINHOLE 100 50 90 50.5 25\n"
                                       "8 SIMPLE_RADIAL 640 480 500 320 240 0.01\n";

/// A COLMAP model of some lines for `images.txt`.
class Colmap : public TempDir
{
public:
    explicit Colmap(std::string const& images, std::string const& cameras = COLMAP_CAMERAS)
    {
        write_file(file("cameras.txt"), cameras);
        write_file(file("images.txt"), images);
    }
    std::vector<veld::PhotoView> read() const { return veld::read_camera_list(path()); }
    std::string refusal() const
    {
        return reason_of([this] { read(); });
    }
};

TEST(ColmapModel, PosesAndCamerasAreReadAsTheyStand)
{
    // A quarter turn around z, of a quaternion that is twice as long as it has to be.
    Colmap const model("# Image list with two lines of data per image:\r\n"
                       "#   IMAGE_ID, QW, QX, QY, QZ, TX, TY, TZ, CAMERA_ID, NAME\r\n"
                       "2 1.4142135623730951 0 0 1.4142135623730951 1 2 3 1 sub/a photo.jpg\r\n"
                       "10.5 20.25 -1 3 4 12\r\n"
                       "1 1 0 0 0 0.5 0 -4 7 b.png\r\n"
                       "\r\n");
    auto const views = model.read();
    ASSERT_EQ(views.size(), 2U);
    EXPECT_EQ(views[0].image, "sub/a photo.jpg");
    EXPECT_EQ(views[0].width, 640);
    EXPECT_EQ(views[0].height, 480);
    EXPECT_EQ(views[0].intrinsics.get_fx(), 500.0);
    EXPECT_EQ(views[0].intrinsics.get_fy(), 510.0);
    OrvaneAlgorithm::Matrix3d quarter;
    quarter << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    EXPECT_TRUE(views[0].pose.get_rotation().isApprox(quarter, 1e-12));
    EXPECT_EQ(views[0].pose.get_translation(), OrvaneAlgorithm::Vector3d(1, 2, 3));
    EXPECT_EQ(views[1].image, "b.png");
    EXPECT_EQ(views[1].intrinsics.get_fx(), 90.0);
    EXPECT_EQ(views[1].intrinsics.get_fy(), 90.0);
}

TEST(ColmapModel, ThePrincipalPointCountsFromTheCentreOfTheFirstPixel)
{
    Colmap const model("1 1 0 0 0 0 0 0 7 b.png\n\n");
    EXPECT_EQ(model.read()[0].intrinsics.get_cx(), 50.0);
    EXPECT_EQ(model.read()[0].intrinsics.get_cy(), 24.5);
}

TEST(ColmapModel, TheLastLineOfPointsMayBeMissing)
{
    EXPECT_EQ(Colmap("1 1 0 0 0 0 0 0 7 b.png").read().size(), 1U);
}

TEST(ColmapModel, PhotographsAreFoundWhereColmapHasThem)
{
    TempDir const dir;
    fs::create_directories(dir.path() / "sparse" / "0");
    fs::create_directories(dir.path() / "images");
    write_file(dir.path() / "sparse" / "0" / "cameras.txt", COLMAP_CAMERAS);
    write_file(dir.path() / "sparse" / "0" / "images.txt", "1 1 0 0 0 0 0 0 7 b.png\n\n");
    write_file(dir.path() / "images" / "b.png", "");
    auto const views = veld::read_camera_list(dir.path());
    ASSERT_EQ(views.size(), 1U);
    EXPECT_TRUE(fs::equivalent(views[0].file, dir.path() / "images" / "b.png"));
    EXPECT_EQ(veld::camera_list_files(dir.path()).size(), 2U);
    EXPECT_EQ(veld::read_camera_list(dir.path() / "sparse" / "0" / "images.txt").size(), 1U);
}

TEST(ColmapModel, AnyPhotographTellsTheFolder)
{
    Colmap const model("1 1 0 0 0 0 0 0 7 a.png\n\n2 1 0 0 0 0 0 0 7 b.png\n\n");
    fs::create_directories(model.path() / "images");
    write_file(model.path() / "images" / "b.png", "");
    for (auto const& view : model.read())
    {
        EXPECT_EQ(view.file, model.path() / "images" / view.image);
    }
}

TEST(ColmapModel, APhotographThatIsThereTwiceIsRefused)
{
    EXPECT_THAT(Colmap("1 1 0 0 0 0 0 0 7 a.png\n\n1 1 0 0 0 0 0 0 7 b.png\n\n").refusal(),
                EndsWith("images.txt: line 3: photograph 1 is there twice"));
}

TEST(CameraList, ThePhotographsAreAmongTheFilesThatAreRead)
{
    PhotoDir const dir;
    EXPECT_THAT(veld::photo_source_files(dir.path()),
                testing::ElementsAre(dir.path() / "cameras.json", dir.path() / "one.png"));
}

TEST(ColmapModel, DistortionIsRefusedWithWhatToDo)
{
    EXPECT_THAT(
        Colmap("1 1 0 0 0 0 0 0 8 b.png\n\n").refusal(),
        AllOf(HasSubstr("images.txt: line 1: b.png: its camera has the model SIMPLE_RADIAL"),
              HasSubstr("undistort the photographs first (colmap image_undistorter)")));
}

TEST(ColmapModel, AQuaternionThatIsNoRotationIsRefused)
{
    for (char const* const quaternion : {"0 0 0 0", "1e400 0 0 0", "nan 0 0 0", "inf 0 0 0"})
    {
        std::string const line = std::string("1 ") + quaternion + " 0 0 0 7 b.png\n\n";
        EXPECT_THAT(Colmap(line).refusal(), HasSubstr("images.txt: line 1: ")) << quaternion;
    }
    EXPECT_THAT(Colmap("1 0 0 0 0 0 0 0 7 b.png\n\n").refusal(),
                EndsWith("its quaternion is no rotation"));
    // As long as numbers get: the direction is what counts.
    auto const views = Colmap("1 1e300 0 0 1e300 0 0 0 7 b.png\n\n").read();
    EXPECT_NEAR(views[0].pose.get_rotation()(1, 0), 1.0, 1e-12);
}

TEST(ColmapModel, LinesThatDoNotFitAreRefusedByTheirNumber)
{
    EXPECT_THAT(Colmap("\n# nothing\n").refusal(), EndsWith("images.txt: has no photograph"));
    EXPECT_THAT(Colmap("1 1 0 0 0 0 0 7 b.png\n\n").refusal(),
                EndsWith("images.txt: line 1: the number of the camera has to be a whole number"));
    EXPECT_THAT(Colmap("1 1 0 0 0 0 0 0 7\n\n").refusal(),
                EndsWith("line 1: the name of the photograph is missing"));
    EXPECT_THAT(Colmap("x 1 0 0 0 0 0 0 7 b.png\n\n").refusal(),
                EndsWith("line 1: the number of the photograph has to be a whole number"));
    EXPECT_THAT(Colmap("1 1 0 0 0 0 0 0 9 b.png\n\n").refusal(),
                EndsWith("line 1: b.png: camera 9 is not in cameras.txt"));
    EXPECT_THAT(Colmap("1 1 0 0 0 0 0 0 7 a.png\n2 1 0 0 0 0 0 0 7 b.png\n").refusal(),
                HasSubstr("line 2: is no line of points"));
    EXPECT_THAT(Colmap("1 1 0 0 0 0 0 0 7 a.png\n1 2 3 4\n").refusal(),
                HasSubstr("line 2: is no line of points"));
}

TEST(ColmapModel, CamerasThatDoNotFitAreRefusedByTheirNumber)
{
    std::string const image = "1 1 0 0 0 0 0 0 1 b.png\n\n";
    EXPECT_THAT(Colmap(image, "1 PINHOLE 0 480 500 500 320 240\n").refusal(),
                HasSubstr("cameras.txt: line 1: the width has to be a whole number from 1"));
    EXPECT_THAT(Colmap(image, "1 PINHOLE 640 480 500 wide 320 240\n").refusal(),
                HasSubstr("line 1: each parameter has to be a number"));
    EXPECT_THAT(Colmap(image, "1 PINHOLE 640 480 500 320 240\n").refusal(),
                HasSubstr("b.png: its camera needs 4 parameters for the model PINHOLE and has 3"));
    EXPECT_THAT(Colmap(image, "1 SIMPLE_PINHOLE 640 480\n").refusal(),
                HasSubstr("needs 3 parameters for the model SIMPLE_PINHOLE and has 0"));
    EXPECT_THAT(Colmap(image, "1 PINHOLE 640 480 -1 500 320 240\n").refusal(),
                HasSubstr("the focal lengths have to be more than 0"));
    EXPECT_THAT(Colmap(image, "1 PINHOLE 6 4 5 5 3 2\n1 PINHOLE 6 4 5 5 3 2\n").refusal(),
                EndsWith("cameras.txt: line 2: camera 1 is there twice"));
    EXPECT_THAT(Colmap(image, "").refusal(), HasSubstr("camera 1 is not in cameras.txt"));
}

using CameraListRealData = RealData;

TEST_F(CameraListRealData, AllListsAreRead)
{
    EXPECT_EQ(veld::read_camera_list(real_data("photos_castle")).size(), 10U);
    EXPECT_EQ(veld::read_camera_list(real_data("photos_carton")).size(), 24U);
    EXPECT_EQ(veld::read_camera_list(real_data("photos_temple_ring")).size(), 16U);
    EXPECT_FALSE(veld::read_camera_list(real_data("rgbd_room")).empty());
}

} // namespace
