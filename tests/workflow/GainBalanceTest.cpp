#include "workflow/photos/GainBalance.h"

#include "workflow/Error.h"

#include "tests/support/meshes.h"
#include "tests/support/threads.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Vector3d;
using testing::ElementsAre;
using veld::ColourGain;
using veld::PhotoView;
using Photo = OrvaneAlgorithm::Image<3, unsigned char>;

constexpr ColourGain NEUTRAL{1.0, 1.0, 1.0};
constexpr double TOLERANCE = 0.5; // of depths
constexpr int PIXELS = 240;       // across and down

/// A roof above the ground, from x = 10 on.
constexpr double ROOF_HEIGHT = 20.0;
constexpr double ROOF_BEGIN = 10.0;
ColourGain const ROOF_COLOUR{200.0, 90.0, 60.0};

/// The ground, 40 wide and high: between 60 and 160 in every channel.
ColourGain ground_colour(double x, double y)
{
    return {110.0 + 50.0 * std::sin(0.9 * x), 110.0 + 50.0 * std::cos(0.7 * y),
            110.0 + 50.0 * std::sin(0.5 * (x + y))};
}

/// A camera that looks straight down. At a height of 60 it sees all of the ground.
struct Eye
{
    Vector3d place{20.0, 20.0, 60.0};
    ColourGain gain = NEUTRAL;
};

PhotoView view_of(Eye const& eye, double scale = 1.0)
{
    PhotoView view;
    view.width = PIXELS;
    view.height = PIXELS;
    double const focal = 1.4 * PIXELS;
    view.intrinsics = {focal, focal, 0.5 * (PIXELS - 1), 0.5 * (PIXELS - 1)};
    OrvaneAlgorithm::Matrix3d down;
    down << 1, 0, 0, 0, -1, 0, 0, 0, -1;
    view.pose.set_rotation(down);
    view.pose.set_translation(-(down * eye.place) * scale);
    return view;
}

unsigned char byte_of(double value)
{
    return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
}

Photo photo_of(Eye const& eye, bool has_roof = false)
{
    PhotoView const view = view_of(eye);
    Photo photo(view.width, view.height);
    for (int row = 0; row < view.height; ++row)
    {
        for (int column = 0; column < view.width; ++column)
        {
            double const right = (column - view.intrinsics.get_cx()) / view.intrinsics.get_fx();
            double const down = (row - view.intrinsics.get_cy()) / view.intrinsics.get_fy();
            auto const x_at = [&](double z) { return eye.place.x() + right * (eye.place.z() - z); };
            bool const is_roof =
                has_roof && eye.place.z() > ROOF_HEIGHT && x_at(ROOF_HEIGHT) >= ROOF_BEGIN;
            ColourGain const colour =
                is_roof ? ROOF_COLOUR
                        : ground_colour(x_at(0.0), eye.place.y() - down * eye.place.z());
            for (std::size_t channel = 0; channel < 3; ++channel)
            {
                photo.pixel(column, row)[channel] = byte_of(colour[channel] * eye.gain[channel]);
            }
        }
    }
    return photo;
}

struct Scene
{
    TriMesh mesh = grid(40, 40);
    std::vector<PhotoView> views;
    std::vector<Photo> photos;

    explicit Scene(std::vector<Eye> const& eyes, bool has_roof = false)
    {
        for (auto const& eye : eyes)
        {
            views.push_back(view_of(eye));
            photos.push_back(photo_of(eye, has_roof));
        }
    }

    std::vector<ColourGain> gains(double tolerance = TOLERANCE) const
    {
        return veld::balance_gains(mesh, views, photos, tolerance);
    }
};

/// From four places, so that none sees the ground on the same pixels.
std::vector<Eye> four_eyes()
{
    return {{{20.0, 20.0, 60.0}, {0.8, 0.85, 0.9}},
            {{17.0, 23.0, 58.0}, {1.2, 1.1, 1.05}},
            {{24.0, 18.0, 65.0}, {1.0, 0.95, 1.1}},
            {{15.0, 15.0, 70.0}, {0.7, 1.3, 0.75}}};
}

/// What takes the eyes' own gains away and has the mean 1.
std::vector<ColourGain> undone(std::vector<Eye> const& eyes)
{
    ColourGain sum{};
    for (auto const& eye : eyes)
    {
        for (std::size_t channel = 0; channel < 3; ++channel)
        {
            sum[channel] += 1.0 / eye.gain[channel] / static_cast<double>(eyes.size());
        }
    }
    std::vector<ColourGain> gains;
    for (auto const& eye : eyes)
    {
        gains.push_back(
            {1.0 / eye.gain[0] / sum[0], 1.0 / eye.gain[1] / sum[1], 1.0 / eye.gain[2] / sum[2]});
    }
    return gains;
}

void expect_within_a_hundredth(std::vector<ColourGain> const& gains,
                               std::vector<ColourGain> const& expected)
{
    ASSERT_EQ(gains.size(), expected.size());
    for (std::size_t i = 0; i < gains.size(); ++i)
    {
        for (std::size_t channel = 0; channel < 3; ++channel)
        {
            EXPECT_NEAR(gains[i][channel] / expected[i][channel], 1.0, 0.01)
                << "view " << i << ", channel " << channel;
        }
    }
}

double mean_of(std::vector<ColourGain> const& gains, std::vector<std::size_t> const& views,
               std::size_t channel)
{
    double sum = 0.0;
    for (auto const view : views)
    {
        sum += gains[view][channel] / static_cast<double>(views.size());
    }
    return sum;
}

void paint(Photo& photo, int first_row, int end_row, std::array<unsigned char, 3> const& colour)
{
    for (int row = first_row; row < end_row; ++row)
    {
        for (int column = 0; column < photo.width(); ++column)
        {
            std::copy(colour.begin(), colour.end(), photo.pixel(column, row));
        }
    }
}

TEST(GainBalance, KnownGainsAreTakenAway)
{
    auto const eyes = four_eyes();
    auto const gains = Scene(eyes).gains();
    expect_within_a_hundredth(gains, undone(eyes));
    for (std::size_t channel = 0; channel < 3; ++channel)
    {
        EXPECT_NEAR(mean_of(gains, {0, 1, 2, 3}, channel), 1.0, 1e-12);
    }
}

TEST(GainBalance, PhotographsThatAgreeStayAsTheyAre)
{
    auto eyes = four_eyes();
    for (auto& eye : eyes)
    {
        eye.gain = NEUTRAL;
    }
    expect_within_a_hundredth(Scene(eyes).gains(), std::vector<ColourGain>(4, NEUTRAL));
}

TEST(GainBalance, WhatStandsBeforeAThirdOfAPhotographDoesNotCount)
{
    auto const eyes = four_eyes();
    Scene scene(eyes);
    paint(scene.photos[1], 0, PIXELS / 3, {180, 40, 120});
    expect_within_a_hundredth(scene.gains(), undone(eyes));
}

TEST(GainBalance, WhatWasCutOffDoesNotCount)
{
    auto eyes = four_eyes();
    // The brightest of the ground is beyond a byte there: 160 * 2.2 = 352.
    eyes[1].gain = {2.2, 2.2, 2.2};
    expect_within_a_hundredth(Scene(eyes).gains(), undone(eyes));
}

TEST(GainBalance, HiddenPlacesDoNotCount)
{
    // From above the roof hides seven eighths of the ground; below it there is nothing to hide it.
    std::vector<Eye> const eyes{{{20.0, 20.0, 60.0}, {1.2, 1.1, 0.9}},
                                {{6.0, 20.0, 18.0}, {0.9, 1.0, 1.1}}};
    Scene scene(eyes, true);
    TriMesh const roof = grid(30, 40);
    std::vector<Vector3f> points;
    auto triangles = corners_of(scene.mesh);
    for (auto const vertex : scene.mesh.vertices())
    {
        points.push_back(scene.mesh.point(vertex));
    }
    auto const first = static_cast<int>(points.size());
    for (auto const vertex : roof.vertices())
    {
        points.emplace_back(roof.point(vertex) + Vector3f(static_cast<float>(ROOF_BEGIN), 0.0F,
                                                          static_cast<float>(ROOF_HEIGHT)));
    }
    for (auto const& [a, b, c] : corners_of(roof))
    {
        triangles.push_back({a + first, b + first, c + first});
    }
    scene.mesh = make_mesh(points, triangles);
    expect_within_a_hundredth(scene.gains(), undone(eyes));
    // With a tolerance above the roof's height nothing is hidden, and the roof counts as ground.
    EXPECT_GT(std::abs(scene.gains(2.0 * ROOF_HEIGHT)[0][0] / undone(eyes)[0][0] - 1.0), 0.1);
}

TEST(GainBalance, GroupsWithoutCommonPlacesHaveAMeanOfOneEach)
{
    // Near the ground a photograph shows 13 of it.
    std::vector<Eye> const left{{{8.0, 20.0, 18.0}, {0.5, 0.6, 0.7}},
                                {{10.0, 21.0, 18.0}, {1.0, 1.0, 1.0}}};
    std::vector<Eye> const right{{{31.0, 20.0, 18.0}, {1.2, 0.8, 1.4}},
                                 {{32.0, 19.0, 18.0}, {0.9, 0.9, 0.9}},
                                 {{30.0, 22.0, 18.0}, {0.8, 1.0, 1.2}}};
    // Their members take turns.
    auto const gains = Scene({right[0], left[0], right[1], left[1], right[2]}).gains();
    expect_within_a_hundredth({gains[1], gains[3]}, undone(left));
    expect_within_a_hundredth({gains[0], gains[2], gains[4]}, undone(right));
}

TEST(GainBalance, PhotographsThatShareNothingKeepTheirColours)
{
    EXPECT_THAT(
        Scene({{{8.0, 20.0, 18.0}, {0.5, 0.6, 0.7}}, {{31.0, 20.0, 18.0}, NEUTRAL}}).gains(),
        ElementsAre(NEUTRAL, NEUTRAL));
}

TEST(GainBalance, OnePhotographKeepsItsColoursAndNoneIsNoError)
{
    EXPECT_THAT(Scene({{{20.0, 20.0, 60.0}, {0.5, 0.6, 0.7}}}).gains(), ElementsAre(NEUTRAL));
    EXPECT_TRUE(Scene({}).gains().empty());
}

TEST(GainBalance, WhatShowsNothingKeepsItsColoursAndChangesNoOther)
{
    auto const eyes = four_eyes();
    auto const expected = Scene(eyes).gains();
    constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
    Scene scene(eyes);
    // Black, white, without pixels, without a place, without a focal length, below the ground.
    for (int i = 0; i < 6; ++i)
    {
        scene.views.push_back(view_of(eyes[0]));
        scene.photos.push_back(photo_of(eyes[0]));
    }
    paint(scene.photos[4], 0, PIXELS, {0, 0, 0});
    paint(scene.photos[5], 0, PIXELS, {255, 255, 255});
    scene.photos[6] = Photo();
    scene.views[7].pose.set_translation({0.0, NAN_VALUE, 0.0});
    scene.views[8].intrinsics = {NAN_VALUE, 1.0, 1.0, 1.0};
    scene.views[9] = view_of({{20.0, 20.0, -60.0}, NEUTRAL});
    auto const gains = scene.gains();
    ASSERT_EQ(gains.size(), 10U);
    EXPECT_THAT(std::vector<ColourGain>(gains.begin(), gains.begin() + 4),
                testing::ElementsAreArray(expected));
    EXPECT_THAT(std::vector<ColourGain>(gains.begin() + 4, gains.end()), testing::Each(NEUTRAL));
}

TEST(GainBalance, MeshWithoutFacesOrWithPlacesThatAreNoNumbersIsNoError)
{
    auto const eyes = four_eyes();
    Scene scene(eyes);
    TriMesh const whole = scene.mesh;
    for (int i = 0; i < 200; ++i)
    {
        scene.mesh.point(vh(8 * i)).x() = std::numeric_limits<float>::quiet_NaN();
    }
    expect_within_a_hundredth(scene.gains(), undone(eyes));
    scene.mesh = TriMesh();
    EXPECT_THAT(scene.gains(), testing::Each(NEUTRAL));
}

TEST(GainBalance, UnitsDoNotMatter)
{
    auto const eyes = four_eyes();
    Scene scene(eyes);
    auto const expected = scene.gains();
    constexpr float SCALE = 1024.0F;
    for (auto const vertex : scene.mesh.vertices())
    {
        scene.mesh.point(vertex) *= SCALE;
    }
    for (std::size_t i = 0; i < eyes.size(); ++i)
    {
        scene.views[i] = view_of(eyes[i], static_cast<double>(SCALE));
    }
    EXPECT_EQ(scene.gains(TOLERANCE * static_cast<double>(SCALE)), expected);
}

TEST(GainBalance, ThreadsChangeNoBit)
{
    Scene const scene(four_eyes());
    std::vector<std::vector<ColourGain>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        results.push_back(scene.gains());
    }
    EXPECT_EQ(results[1], results[0]);
    EXPECT_EQ(results[2], results[0]);
}

TEST(GainBalance, AsManyPhotographsAsViewsAreNeeded)
{
    Scene scene(four_eyes());
    scene.photos.pop_back();
    EXPECT_EQ(reason_of([&] { scene.gains(); }), "there are not as many photographs as views");
}

TEST(ApplyGain, RoundsToTheNearestAndCutsOffAboveAByte)
{
    Photo photo(3, 2);
    std::array<std::array<unsigned char, 3>, 2> const pixels{{{100, 101, 255}, {0, 200, 3}}};
    std::copy(pixels[0].begin(), pixels[0].end(), photo.pixel(0, 0));
    std::copy(pixels[1].begin(), pixels[1].end(), photo.pixel(2, 1));
    veld::apply_gain(photo, {1.006, 0.5, 1.5});
    // 100.6, 50.5, 382.5; 0, 100, 4.5
    EXPECT_THAT(std::vector<int>(photo.pixel(0, 0), photo.pixel(0, 0) + 3),
                ElementsAre(101, 51, 255));
    EXPECT_THAT(std::vector<int>(photo.pixel(2, 1), photo.pixel(2, 1) + 3), ElementsAre(0, 100, 5));
    EXPECT_THAT(std::vector<int>(photo.pixel(1, 1), photo.pixel(1, 1) + 3), ElementsAre(0, 0, 0));
}

} // namespace
