#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/depth/DepthSmoothing.h"
#include "algorithmVeld/reconstruction/depth/InverseDepths.h"
#include "algorithmVeld/reconstruction/depth/NoiseMeasure.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"
#include "algorithmVeld/reconstruction/depth/StepCells.h"
#include "tests/reconstruction/depth_frames.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

std::vector<RangeData> prepared_frames(std::vector<RangeData> const& frames, DepthFrames depth = {})
{
    std::vector<RangeData> result;
    EXPECT_EQ(depth.prepare(pointers(frames), result), RET_SUCCESS);
    EXPECT_EQ(result.size(), frames.size());
    return result;
}

/// Root mean square of what `off` tells of the global points of all frames.
template <typename Off>
double rms_of(std::vector<RangeData> const& frames, Off const& off)
{
    double sum = 0.0;
    double n = 0.0;
    for (auto const& frame : frames)
    {
        for (std::size_t i = 0; i < frame.get_vn(); ++i)
        {
            Vector3f point;
            frame.get_global_vCoord(i, point);
            sum += std::pow(off(point.cast<double>()), 2);
            n += 1.0;
        }
    }
    return std::sqrt(sum / n);
}

/// Depths of the wall z = 1000 + slope x with noise that is (1 + slant tan^2) times the usual one.
DepthScene noisy_slope(double slope, double slant, std::mt19937& random)
{
    return [=, &random](double x, double y)
    {
        std::normal_distribution<double> normal;
        double const depth = slanted_wall(1000.0, slope)(x, y);
        Vector3d const ray(x, y, 1.0);
        Vector3d const towards(-slope, 0.0, 1.0);
        double const cosine = towards.dot(ray) / (towards.norm() * ray.norm());
        double const times = 1.0 + slant * (1.0 / (cosine * cosine) - 1.0);
        return depth + times * NOISE_SQUARE * depth * depth * normal(random);
    };
}

double measured_slant(double slant)
{
    std::mt19937 random(7);
    std::vector<RangeData> frames;
    for (double const slope : {0.0, 0.5, 1.0, 1.5})
    {
        frames.push_back(depth_frame(noisy_slope(slope, slant, random), 0.0));
    }
    return DepthFrames::measure_noise(pointers(frames)).slant;
}

/// A grid of a frame as the steps of preparing it make one, each pixel a point.
detail::DepthGrid grid_of(RangeData const& frame)
{
    DepthNoise const noise{0.0, 1e-6, 0.0};
    auto const camera = detail::fit_pinhole(frame);
    return detail::make_depth_grid(detail::smooth_depth(frame, *camera, noise, 1), *camera, noise);
}

/// A thing with its rim at x = 0, 1000 mm from cameras along x, and a wall 60 mm behind it.
RangeData frame_of_step(double shift)
{
    auto const scene = [shift](double x, double)
    { return shift + 1000.0 * x > 0.0 ? 1000.0 : 1060.0; };
    return depth_frame(scene, 0.0, 1, shift);
}

std::ptrdiff_t steps_closed(std::vector<detail::DepthGrid> const& grids, double longest)
{
    auto const cells = detail::find_step_cells(grids, 0, longest, 5.0);
    return std::count(cells.begin(), cells.end(), 1);
}

} // namespace

TEST(PinholeGrid, IsThatOfTheCamera)
{
    auto const camera = detail::fit_pinhole(depth_frame(slanted_wall(1000.0, 0.5), NOISE_SQUARE));
    ASSERT_TRUE(camera.has_value());
    EXPECT_NEAR(camera->fx, -FOCAL_LENGTH, 1e-2);
    EXPECT_NEAR(camera->fy, FOCAL_LENGTH, 1e-2);
    EXPECT_NEAR(camera->cx, CENTRE_COLUMN, 1e-2);
    EXPECT_NEAR(camera->cy, CENTRE_ROW, 1e-2);
}

TEST(PinholeGrid, IsNotFoundWhereViewsAreParallel)
{
    RangeData frame = flat_frame(21, 21, 0.5F);
    for (auto& point : frame.vCoord)
    {
        // In front of the origin, and at many depths: x / z is no column.
        point.z() += 100.0F + point.x() * point.x();
    }
    EXPECT_FALSE(detail::fit_pinhole(frame).has_value());
    EXPECT_FALSE(detail::fit_pinhole(RangeData()).has_value());
}

TEST(PinholeGrid, OfBlocksSeesTheirMiddles)
{
    auto const camera = detail::fit_pinhole(depth_frame(depth_wall(1000.0), 0.0));
    ASSERT_TRUE(camera.has_value());
    // The block (2, 5) of 3 x 3 pixels has its middle at pixel (7, 16).
    EXPECT_LT((camera->thinned(3).ray(2, 5) - camera->ray(7, 16)).norm(), 1e-9);
}

TEST(DepthNoiseMeasure, GrowsWithTheSquareOfTheDepth)
{
    std::vector<RangeData> frames;
    for (double const depth : {600.0, 1000.0, 1500.0, 2500.0})
    {
        frames.push_back(depth_frame(slanted_wall(depth, 0.4), NOISE_SQUARE));
    }
    DepthNoise const noise = DepthFrames::measure_noise(pointers(frames));
    EXPECT_NEAR(noise.at(700.0), NOISE_SQUARE * 700.0 * 700.0, 0.3);
    EXPECT_NEAR(noise.at(2500.0), NOISE_SQUARE * 2500.0 * 2500.0, 2.0);
}

TEST(DepthNoiseMeasure, GrowsWithTheSlant)
{
    EXPECT_NEAR(measured_slant(0.5), 0.5, 0.15);
    EXPECT_NEAR(measured_slant(0.0), 0.0, 0.05);
    // tan^2 of 60 degrees is 3.
    EXPECT_NEAR((DepthNoise{1.0, 1e-6, 0.5}).at(1000.0, 0.5), 2.0 * 2.5, 1e-9);
}

TEST(DepthNoiseMeasure, OfNothingIsZero)
{
    EXPECT_EQ(detail::fit_noise({}, true).at(1000.0), 0.0);
    EXPECT_EQ(DepthFrames::measure_noise({}).at(1000.0), 0.0);
}

TEST(DepthNoiseMeasure, OfFewPlacesIsZero)
{
    // Frames of a few pixels would be taken for noisy, and smoothed until nothing is left of them.
    std::vector<detail::NoiseSample> samples(99, {1000.0, 2.0});
    EXPECT_EQ(detail::fit_noise(samples, false).at(1000.0), 0.0);
    samples.push_back({1000.0, 2.0});
    EXPECT_EQ(detail::fit_noise(samples, false).at(1000.0), 2.0);
}

TEST(InversePlane, LiesOnASlantedPlaneAndNotAcrossAJump)
{
    // Left of the middle a slanted wall, right of it another one a metre behind.
    RangeData const frame = depth_frame(
        [](double x, double) { return x > 0.0 ? 1000.0 / (1.0 - 0.8 * x) : 2000.0; }, 0.0);
    auto const image = detail::inverse_depths(frame);
    int const column = 77; // x > 0: on the slanted wall, two pixels from its rim
    double const x = (CENTRE_COLUMN - column) / FOCAL_LENGTH;
    double const inverse = (1.0 - 0.8 * x) / 1000.0;
    auto const plane = detail::fit_inverse_plane(image, 60, column, 5, inverse, 1e-5);
    EXPECT_NEAR(plane.value, inverse, 1e-8);
    EXPECT_NEAR(plane.by_row, 0.0, 1e-8);
    EXPECT_NEAR(plane.by_column, 0.8 / FOCAL_LENGTH / 1000.0, 1e-8);
    // Of eleven columns eight are on the wall.
    EXPECT_NEAR(plane.support, 8.0 / 11.0, 0.05);
}

TEST(DepthFrames, LeaveLittleOfTheNoise)
{
    double const noise = NOISE_SQUARE * 1000.0 * 1000.0;
    std::vector<RangeData> const frames = {depth_frame(depth_wall(1000.0), NOISE_SQUARE, 1),
                                           depth_frame(depth_wall(1000.0), NOISE_SQUARE, 2, 10.0),
                                           depth_frame(depth_wall(1000.0), NOISE_SQUARE, 3, 20.0)};
    auto const off = [](Vector3d const& p) { return p.z() - 1000.0; };
    EXPECT_GT(rms_of(frames, off), 0.9 * noise);
    EXPECT_LT(rms_of(prepared_frames(frames), off), 0.25 * noise);
}

TEST(DepthFrames, LeaveAPlaceToOneOfTheFramesThatSawIt)
{
    std::vector<RangeData> const frames(4, depth_frame(depth_wall(1000.0), NOISE_SQUARE));
    DepthFrames depth;
    std::vector<RangeData> const result = prepared_frames(frames, depth);
    EXPECT_GT(result[0].get_vn(), 0U);
    EXPECT_EQ(result[1].get_vn() + result[2].get_vn() + result[3].get_vn(), 0U);
}

TEST(DepthFrames, MeetInTheMiddleOfLayersThatAreApart)
{
    // As a pose that is off leaves them.
    std::vector<RangeData> const frames = {depth_frame(depth_wall(1000.0), NOISE_SQUARE, 1),
                                           depth_frame(depth_wall(1008.0), NOISE_SQUARE, 2)};
    auto const result = prepared_frames(frames);
    EXPECT_LT(rms_of(result, [](Vector3d const& p) { return p.z() - 1004.0; }), 1.0);
}

/// Noise three times as far away is nine times as large, and so is what may lie between layers.
TEST(DepthFrames, TakeLayersThatAreFarAwayForOneByTheNoiseThere)
{
    auto const scene = [](double apart)
    { return [=](double x, double) { return x > 0.2 ? 3000.0 + apart : 1000.0; }; };
    DepthFrames depth;
    depth.set_noise({0.0, NOISE_SQUARE, 0.0});
    auto const far_points = [&](double apart)
    {
        std::size_t n = 0;
        for (auto const& frame : prepared_frames({depth_frame(scene(0.0), NOISE_SQUARE, 1),
                                                  depth_frame(scene(apart), NOISE_SQUARE, 2)},
                                                 depth))
        {
            n += static_cast<std::size_t>(std::count_if(frame.vCoord.begin(), frame.vCoord.end(),
                                                        [](Vector3f const& p)
                                                        { return p.z() > 2000.0F; }));
        }
        return static_cast<double>(n);
    };
    double const single = far_points(0.0);
    EXPECT_GT(single, 100.0);
    EXPECT_LT(far_points(60.0), 1.3 * single);
    EXPECT_GT(far_points(400.0), 1.7 * single);
}

TEST(DepthFrames, DropWhatFliesBetweenAThingAndWhatIsBehind)
{
    // A strip one pixel wide half way between a thing and the wall.
    auto const scene = [](double x, double) {
        return x > 0.0 ? 1000.0 : x > -0.005 ? 1400.0 : 2000.0;
    };
    auto const result = prepared_frames({depth_frame(scene, 1e-6)});
    for (std::size_t i = 0; i < result[0].get_vn(); ++i)
    {
        EXPECT_GT(std::abs(result[0].vCoord[i].z() - 1400.0F), 100.0F);
    }
    EXPECT_GT(result[0].get_vn(), 0U);
}

TEST(DepthFrames, KeepABlockWhoseMiddleIsMissing)
{
    RangeData frame = depth_frame(depth_wall(1000.0), NOISE_SQUARE);
    frame.enable_vFlag();
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        frame.set_vDeleted(i, frame.vUV[i].row % 3 == 1 && frame.vUV[i].col % 3 == 1);
    }
    frame.squeeze();
    auto const camera = detail::fit_pinhole(frame);
    ASSERT_TRUE(camera.has_value());
    DepthNoise const noise{0.0, NOISE_SQUARE, 0.0};
    auto const smooth = detail::smooth_depth(frame, *camera, noise, 3);
    auto const blocks = static_cast<std::size_t>(IMAGE_ROWS / 3) * (IMAGE_COLUMNS / 3);
    EXPECT_EQ(smooth.get_vn(), blocks);
}

TEST(StepCells, CloseASmallStepAllAlong)
{
    std::vector<detail::DepthGrid> const grids = {grid_of(frame_of_step(0.0))};
    // A cell for each two rows; the step is 60 mm long.
    EXPECT_EQ(steps_closed(grids, 80.0), IMAGE_ROWS - 1);
    EXPECT_EQ(steps_closed(grids, 50.0), 0);
}

TEST(StepCells, LeaveOpenWhatAnotherFrameLookedThrough)
{
    // From 200 mm beside the rim, the wall is seen up to 12 mm behind it.
    std::vector<detail::DepthGrid> const grids = {grid_of(frame_of_step(0.0)),
                                                  grid_of(frame_of_step(-200.0))};
    EXPECT_EQ(steps_closed(grids, 80.0), 0);
    // From the other side it is hidden.
    std::vector<detail::DepthGrid> const hidden = {grid_of(frame_of_step(0.0)),
                                                   grid_of(frame_of_step(200.0))};
    EXPECT_EQ(steps_closed(hidden, 80.0), IMAGE_ROWS - 1);
}

TEST(DepthFrames, HaveNoCellAcrossAJump)
{
    auto const scene = [](double x, double) { return x > 0.0 ? 1000.0 : 1200.0; };
    auto const result = prepared_frames({depth_frame(scene, NOISE_SQUARE)});
    std::vector<std::vector<int>> cells;
    result[0].convert_to_quad(cells);
    EXPECT_FALSE(cells.empty());
    for (auto const& cell : cells)
    {
        float const a = result[0].vCoord[static_cast<std::size_t>(cell[0])].z();
        float const b = result[0].vCoord[static_cast<std::size_t>(cell[2])].z();
        EXPECT_LT(std::abs(a - b), 100.0F);
    }
}

TEST(DepthFrames, AreTheSameForAnyNumberOfThreads)
{
    std::vector<RangeData> const frames = {
        depth_frame(slanted_wall(1000.0, 0.3), NOISE_SQUARE, 1),
        depth_frame(slanted_wall(1000.0, 0.3), NOISE_SQUARE, 2, 0.0),
        depth_frame(slanted_wall(1003.0, 0.3), NOISE_SQUARE, 3, 0.0)};
    std::vector<RangeData> first;
    for_thread_counts(
        [&]
        {
            auto const result = prepared_frames(frames);
            first = first.empty() ? result : first;
            for (std::size_t f = 0; f < frames.size(); ++f)
            {
                EXPECT_EQ(result[f].vCoord, first[f].vCoord);
            }
        });
}

TEST(DepthFrames, RefuseFramesOfNoCamera)
{
    std::vector<RangeData> const frames = {flat_frame(21, 21, 0.5F)};
    std::vector<RangeData> result(3);
    EXPECT_EQ(DepthFrames().prepare(pointers(frames), result), RET_INVALID_INPUT);
    EXPECT_TRUE(result.empty());
    EXPECT_EQ(DepthFrames().prepare({}, result), RET_INVALID_INPUT);
    EXPECT_EQ(DepthFrames().prepare({nullptr}, result), RET_INVALID_INPUT);
}

TEST(DepthFrames, AreLeftOutWhereEnoughOthersShowTheSame)
{
    // One in four is so near, and the others are 6, 12 and 18 mm behind it.
    std::array<RangeData, 4> const layers = {{depth_frame(depth_wall(1000.0), NOISE_SQUARE, 1),
                                              depth_frame(depth_wall(1006.0), NOISE_SQUARE, 2),
                                              depth_frame(depth_wall(1012.0), NOISE_SQUARE, 3),
                                              depth_frame(depth_wall(1018.0), NOISE_SQUARE, 4)}};
    std::vector<RangeData const*> frames;
    for (std::size_t f = 0; f < 100; ++f)
    {
        frames.push_back(&layers[f / 4 % 4]);
    }
    DepthFrames depth;
    std::vector<RangeData> result;
    std::vector<std::atomic<int>> released(frames.size());
    ASSERT_EQ(depth.prepare(frames, result, [&](std::size_t f) { ++released[f]; }), RET_SUCCESS);
    std::size_t taken = 0;
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        auto const& counts = depth.frame_counts()[f];
        EXPECT_EQ(counts.points, frames[f]->get_vn());
        EXPECT_EQ(counts.kept, result[f].get_vn());
        EXPECT_EQ(released[f], 1);
        if (counts.smooth == 0)
        {
            EXPECT_EQ(counts.disagreement, 0.0);
            EXPECT_EQ(counts.kept, 0U);
            continue;
        }
        ++taken;
    }
    EXPECT_EQ(taken, 24U);
    // Most of what a frame sees of the others is of another layer.
    EXPECT_GT(depth.used_disagreement(), 2.0);
}

TEST(DepthFrames, PointsThatAreNoNumbersHaveNoDepth)
{
    constexpr float NONE = std::numeric_limits<float>::quiet_NaN();
    RangeData frame;
    for (float const depth :
         {30.0F, NONE, 10.0F, NONE, NONE, -20.0F, NONE, std::numeric_limits<float>::infinity()})
    {
        frame.add_vCoord_and_vUV({0.0F, 0.0F, depth}, {0, 0});
    }
    EXPECT_EQ(DepthFrames::median_depth({&frame}), 20.0);
    EXPECT_EQ(DepthFrames::median_depth({}), 0.0);
}

TEST(DepthFrames, ChannelsThatAreTooShortAreReported)
{
    DepthFrames depth;
    depth.set_noise({0.0, NOISE_SQUARE, 0.0});
    RangeData const frame = depth_frame(depth_wall(1000.0), NOISE_SQUARE);
    RangeData without_cell = frame;
    without_cell.vUV.pop_back();
    RangeData without_colour = frame;
    without_colour.enable_vColor();
    without_colour.vColor.resize(frame.get_vn() / 2);
    std::vector<RangeData> result;
    EXPECT_THROW(depth.prepare({&without_cell}, result), std::out_of_range);
    EXPECT_THROW(depth.prepare({&without_colour}, result), std::out_of_range);
    EXPECT_TRUE(result.empty());
}
