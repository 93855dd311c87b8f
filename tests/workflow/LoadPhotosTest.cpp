#include "workflow/steps/LoadPhotos.h"

#include "reason_of.h"
#include "tests/support/photos.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>

#include <cstring>

namespace
{

using namespace veld_test;
using testing::EndsWith;

std::string load_reason(std::filesystem::path const& source)
{
    return reason_of(
        [&]
        {
            veld::Context context;
            veld::load_photos(source, context);
        });
}

TEST(LoadPhotos, PhotographsComeInTheOrderOfTheList)
{
    PhotoDir const dir(nlohmann::json::array({sheet_view("b.png"), sheet_view("a.jpg")}));
    veld::Context context;
    auto const set = veld::load_photos(dir.path(), context);
    ASSERT_EQ(set.images.size(), 2U);
    EXPECT_EQ(set.views[1].image, "a.jpg");
    EXPECT_THAT(set.files, testing::ElementsAre(dir.path() / "cameras.json", dir.path() / "b.png",
                                                dir.path() / "a.jpg"));
    auto const wanted = sheet_photo();
    EXPECT_EQ(std::memcmp(set.images[0].data(), wanted.data(), 3 * PHOTO_SIDE * PHOTO_SIDE), 0);
}

TEST(LoadPhotos, APhotographThatIsMissingIsNamedWithItsView)
{
    PhotoDir const dir(nlohmann::json::array({sheet_view("a.png"), sheet_view("b.png")}));
    std::filesystem::remove(dir.path() / "b.png");
    EXPECT_THAT(load_reason(dir.path()), EndsWith("b.png: no such file, the photograph of view 1"));
    std::filesystem::create_directory(dir.path() / "b.png");
    EXPECT_THAT(load_reason(dir.path()),
                EndsWith("b.png: is a directory, the photograph of view 1"));
}

TEST(LoadPhotos, APhotographOfAnotherSizeIsRefused)
{
    PhotoDir const dir(nlohmann::json::array({sheet_view("a.png"), sheet_view("b.png")}));
    ASSERT_EQ(OrvaneAlgorithm::write_rgb_image(dir.file("b.png"), sheet_photo(40, 30)), 0);
    EXPECT_THAT(load_reason(dir.path()),
                EndsWith("b.png: has 40 x 30 pixels, and view 1 says 100 x 100"));
}

TEST(LoadPhotos, WhatIsNoPhotographIsRefused)
{
    PhotoDir const dir;
    std::string const png = file_content(dir.path() / "one.png");
    write_file(dir.path() / "one.png", "something else");
    EXPECT_THAT(load_reason(dir.path()), EndsWith("one.png: is neither JPEG nor PNG"));
    write_file(dir.path() / "one.png", png.substr(0, png.size() / 2));
    EXPECT_THAT(load_reason(dir.path()), EndsWith("one.png: is damaged or cut off"));
    std::string large = png;
    large.replace(16, 8, std::string("\0\x01\0\0\0\x01\0\0", 8));
    write_file(dir.path() / "one.png", large);
    EXPECT_THAT(load_reason(dir.path()),
                EndsWith("one.png: its header says 65536 x 65536 pixels, more than are taken"));
    // A marker, a segment to pass over, and the header of a frame of 2 x 3 pixels and 4 channels.
    write_file(dir.path() / "one.png",
               std::string("\xFF\xD8\xFF\xE0\0\x04xx\xFF\xC0\0\x14\x08\0\x03\0\x02\x04"
                           "\x01\x11\0\x02\x11\0\x03\x11\0\x04\x11\0",
                           30));
    EXPECT_THAT(load_reason(dir.path()),
                EndsWith("one.png: has colours for print (CMYK): convert it to RGB"));
}

TEST(LoadPhotos, OnePhotographForAllViewsIsWarnedOf)
{
    PhotoDir const dir(nlohmann::json::array({sheet_view("a.png"), sheet_view("a.png")}));
    std::vector<veld::Warning> warnings;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
    veld::load_photos(dir.path(), context);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].code, veld::WarningCode::PHOTOS_REPEATED);
    EXPECT_THAT(warnings[0].text, testing::StartsWith("all 2 views name one photograph"));
}

/// A view of a sheet as a host has it in memory.
veld::PhotoView view_in_memory()
{
    veld::PhotoView view;
    view.image = "left";
    view.width = 40;
    view.height = 30;
    view.intrinsics = veld::CameraInParam(50.0, 50.0, 20.0, 15.0);
    return view;
}

std::string prepare_reason(veld::PhotoView const& view, std::size_t images = 1)
{
    return reason_of(
        [&]
        {
            veld::Context context;
            veld::prepare_photos("host", {view}, {images, sheet_photo(40, 30)}, context);
        });
}

TEST(PreparePhotos, PhotographsInMemoryAreCheckedLikeThoseOfFiles)
{
    auto view = view_in_memory();
    EXPECT_EQ(prepare_reason(view), "no error");
    EXPECT_EQ(prepare_reason(view, 2), "host: has 1 view for 2 photographs");
    view.height = 31;
    EXPECT_EQ(prepare_reason(view), "left: has 40 x 30 pixels, and view 0 says 40 x 31");
    view = view_in_memory();
    view.intrinsics = veld::CameraInParam(0.0, 50.0, 20.0, 15.0);
    EXPECT_THAT(prepare_reason(view), testing::StartsWith("host: view 0 (left): the focal length"));
    view = view_in_memory();
    view.pose.set_rotation(2.0 * OrvaneAlgorithm::Matrix3d::Identity());
    EXPECT_EQ(prepare_reason(view), "host: view 0 (left): 'R' is no rotation");
}

TEST(LoadPhotos, OfSeveralErrorsTheFirstOneIsTold)
{
    nlohmann::json views;
    for (int i = 0; i < 20; ++i)
    {
        views.push_back(sheet_view(std::to_string(i) + ".png"));
    }
    PhotoDir const dir(views);
    for (int i = 7; i < 20; ++i)
    {
        std::filesystem::remove(dir.path() / (std::to_string(i) + ".png"));
    }
    EXPECT_THAT(load_reason(dir.path()), EndsWith("7.png: no such file, the photograph of view 7"));
}

using LoadPhotosRealData = RealData;

TEST_F(LoadPhotosRealData, AllPhotographsAreLoaded)
{
    veld::Context context;
    EXPECT_EQ(veld::load_photos(real_data("photos_castle"), context).images.size(), 10U);
    EXPECT_EQ(veld::load_photos(real_data("photos_temple_ring"), context).images.size(), 16U);
}

} // namespace
