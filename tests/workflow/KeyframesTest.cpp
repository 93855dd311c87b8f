#include "workflow/workflow.h"

#include "tests/TextureFusion/scenes.h"
#include "tests/workflow/reason_of.h"
#include "workflow/steps/StepJson.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using veld::KeyframesMethod;
using veld::KeyframesSettings;
using veld::PhotoView;

/// Photographs from places along x, all in one direction.
std::vector<PhotoView> photos_at(std::vector<double> const& places)
{
    std::vector<PhotoView> views;
    for (double const x : places)
    {
        PhotoView view;
        view.image = "at " + std::to_string(static_cast<int>(10.0 * x)) + ".jpg";
        view.pose.set_translation(Vector3d(-x, 0.0, 0.0));
        views.push_back(view);
    }
    return views;
}

std::vector<RigidMatrix> poses_of(std::vector<PhotoView> const& views)
{
    std::vector<RigidMatrix> poses;
    for (auto const& view : views)
    {
        poses.push_back(view.pose);
    }
    return poses;
}

TEST(Keyframes, AreTheViewsOfTheCellsWithTheirPhotographs)
{
    // Cells of 1: 0 and 0.75 share the first one, and 0.75 is nearer to its end.
    auto const views = photos_at({0.0, 0.75, 5.0, 2.0});
    veld::Context context;
    auto const result = veld::choose_keyframes(views, {}, context);
    EXPECT_THAT(result.views, ElementsAre(1, 2, 3));
    EXPECT_THAT(result.images, ElementsAre("at 7.jpg", "at 50.jpg", "at 20.jpg"));
    EXPECT_EQ(result.all_views, 4U);
    EXPECT_EQ(to_json(result).dump(),
              R"({"frames":[{"view":1,"image":"at 7.jpg"},{"view":2,"image":"at 50.jpg"},)"
              R"({"view":3,"image":"at 20.jpg"}],"views":4})");
}

TEST(Keyframes, AnOrderHasAllViewsAndCoversTheSpaceFirst)
{
    auto const views = photos_at({0.0, 0.75, 5.0, 2.0});
    KeyframesSettings settings;
    settings.method = KeyframesMethod::SORT;
    veld::Context context;
    auto const result = veld::choose_keyframes(views, settings, context);
    // Both of the first cell look the same way across the line, so that the first stays first.
    EXPECT_THAT(result.views, ElementsAre(0, 2, 3, 1));
    EXPECT_THAT(result.images, ElementsAre("at 0.jpg", "at 50.jpg", "at 20.jpg", "at 7.jpg"));
}

TEST(Keyframes, FewerCellsGiveFewerViews)
{
    auto const views = photos_at({0.0, 0.75, 5.0, 2.0});
    KeyframesSettings settings;
    settings.cells = 1;
    veld::Context context;
    EXPECT_THAT(veld::choose_keyframes(views, settings, context).views, ElementsAre(2, 3));
}

TEST(Keyframes, PosesAloneHaveNoPhotographs)
{
    veld::Context context;
    auto const result = veld::choose_keyframes(poses_of(photos_at({0.0, 0.75, 5.0})), {}, context);
    EXPECT_THAT(result.views, ElementsAre(1, 2));
    EXPECT_TRUE(result.images.empty());
    EXPECT_EQ(to_json(result).dump(), R"({"frames":[{"view":1},{"view":2}],"views":3})");
}

TEST(Keyframes, WhatCannotBeChosenFromIsRefused)
{
    veld::Context context;
    auto const reason = [&](std::vector<PhotoView> const& views, KeyframesSettings const& settings)
    { return reason_of([&] { veld::choose_keyframes(views, settings, context); }); };
    EXPECT_EQ(reason({}, {}), "there are no views");
    auto views = photos_at({0.0, 1.0, 2.0});
    for (int const cells : {0, -1, veld::MOST_KEYFRAME_CELLS + 1})
    {
        KeyframesSettings settings;
        settings.cells = cells;
        EXPECT_EQ(reason(views, settings),
                  "the space of the cameras is divided into 1 to 1048576 cells, not " +
                      std::to_string(cells));
    }
    for (double const wrong : {std::numeric_limits<double>::quiet_NaN(), 1e200})
    {
        views[1].pose.set_translation(Vector3d(wrong, 0.0, 0.0));
        EXPECT_EQ(reason(views, {}), "view 1: the place of the camera is not finite");
    }
}

} // namespace
