#include "algorithmVeld/common/RangeData.h"

#include "swap_support.h"
#include "tests/support/files.h"
#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// A frame with a vertex at every cell, at (column * step, row * step, 0), so that normals point to
/// +z. Every cell with four corners is flagged.
RangeData full_frame(int rows, int cols, float step = 1.0F)
{
    RangeData frame;
    frame.set_grid_size(rows, cols);
    for (int r = 0; r < rows; ++r)
    {
        for (int c = 0; c < cols; ++c)
        {
            size_t const v = frame.add_vCoord_and_vUV(
                {static_cast<float>(c) * step, static_cast<float>(r) * step, 0}, {r, c});
            frame.set_cellFlag(v, r + 1 < rows && c + 1 < cols ? 1 : 0);
        }
    }
    return frame;
}

std::vector<std::vector<int>> quads_of(RangeData const& frame)
{
    MatrixXi map;
    std::vector<std::vector<int>> quads{{7, 7, 7, 7}};
    frame.create_vertices_index_map(map);
    frame.convert_to_quad(map, quads);
    return quads;
}

using Quads = std::vector<std::vector<int>>;

RigidMatrix quarter_turn_about_z(Vector3d const& translation)
{
    RigidMatrix motion;
    Matrix3d rotation;
    rotation << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    motion.set_rotation(rotation);
    motion.set_translation(translation);
    return motion;
}

} // namespace

TEST(RangeData, WithoutAValidVertexItHasNoQuads)
{
    RangeData frame;
    frame.set_grid_size(3, 4);
    EXPECT_EQ(frame.get_vn(), 0U);
    EXPECT_TRUE(quads_of(frame).empty());
    EXPECT_TRUE(frame.is_legal());
    MatrixXi map;
    frame.create_vertices_index_map(map);
    ASSERT_EQ(map.rows(), 3);
    ASSERT_EQ(map.cols(), 4);
    EXPECT_EQ(map.maxCoeff(), -1);
}

TEST(RangeData, WithoutAGridTheMapIsEmpty)
{
    RangeData frame;
    frame.add_vCoord_and_vUV({1, 2, 3}, {0, 0});
    frame.set_cellFlag(0, 1);
    frame.grid_rows = -5;
    MatrixXi map(2, 2);
    frame.create_vertices_index_map(map);
    EXPECT_EQ(map.size(), 0);
    EXPECT_TRUE(quads_of(frame).empty());
}

TEST(RangeData, MapHoldsVerticesByRowAndColumn)
{
    RangeData frame;
    frame.set_grid_size(2, 3);
    EXPECT_EQ(frame.add_vCoord_and_vUV({0, 0, 0}, {1, 2}), 0U);
    EXPECT_EQ(frame.add_vCoord_and_vUV({0, 0, 0}, {0, 1}), 1U);
    frame.add_vCoord_and_vUV({0, 0, 0}, {2, 0});  // below the grid
    frame.add_vCoord_and_vUV({0, 0, 0}, {-1, 0}); // above it
    frame.add_vCoord_and_vUV({0, 0, 0}, {0, 1});  // a second one in its cell
    frame.add_vCoord({0, 0, 0});                  // without a cell
    MatrixXi map;
    frame.create_vertices_index_map(map);
    MatrixXi expected(2, 3);
    expected << -1, 4, -1, -1, -1, 0;
    EXPECT_EQ(map, expected);
}

TEST(RangeData, QuadsAreInCyclicOrderAndAgainstTheClockAboutTheNormal)
{
    RangeData frame = full_frame(2, 2);
    EXPECT_EQ(quads_of(frame), (Quads{{0, 1, 3, 2}}));
    auto const q = quads_of(frame).front();
    Vector3f const& a = frame.vCoord[static_cast<size_t>(q[0])];
    Vector3f const& b = frame.vCoord[static_cast<size_t>(q[1])];
    Vector3f const& c = frame.vCoord[static_cast<size_t>(q[2])];
    frame.update_vNrv_from_grid();
    EXPECT_EQ((b - a).cross(c - a).dot(frame.get_vNrv(0)), 1.0F);
    EXPECT_EQ(frame.get_vNrv(0), Vector3f(0, 0, 1)) << "along the row cross down the column";
}

TEST(RangeData, QuadsFollowTheOrderOfTheVerticesAndTheirFlags)
{
    RangeData frame = full_frame(3, 3);
    EXPECT_EQ(quads_of(frame), (Quads{{0, 1, 4, 3}, {1, 2, 5, 4}, {3, 4, 7, 6}, {4, 5, 8, 7}}));
    frame.set_cellFlag(1, 0);
    frame.set_cellFlag(3, 2);
    EXPECT_EQ(quads_of(frame), (Quads{{0, 1, 4, 3}, {4, 5, 8, 7}}));
}

TEST(RangeData, FlaggedCellWithoutACornerIsLeftOut)
{
    RangeData frame = full_frame(2, 2);
    frame.set_cellFlag(1, 1);
    frame.set_cellFlag(3, 1);
    EXPECT_EQ(quads_of(frame).size(), 1U) << "cells at the right and lower rim have no corners";
    frame.vUV[3] = {5, 5};
    EXPECT_TRUE(quads_of(frame).empty());
}

TEST(RangeData, MapOfAnotherSizeOrWithWrongIndicesDoesNoHarm)
{
    RangeData const frame = full_frame(3, 3);
    Quads quads;
    frame.convert_to_quad(MatrixXi(), quads);
    EXPECT_TRUE(quads.empty());
    MatrixXi const wrong = MatrixXi::Constant(3, 3, 1000);
    frame.convert_to_quad(wrong, quads);
    EXPECT_TRUE(quads.empty());
}

TEST(RangeData, PoseGivesGlobalPointsAndNormals)
{
    RangeData frame = full_frame(2, 2);
    frame.enable_vNormal();
    frame.vNrv[1] = {0, 1, 0};
    frame.set_rigidMatrix(quarter_turn_about_z({10, 20, 30}));
    Vector3f point;
    frame.get_global_vCoord(1, point);
    EXPECT_EQ(point, Vector3f(10, 21, 30));
    EXPECT_EQ(frame.get_global_vNrv(1), Vector3f(-1, 0, 0));
    EXPECT_EQ(frame.vCoord[1], Vector3f(1, 0, 0)) << "the frame's own coordinates stay";
    EXPECT_THROW(frame.get_global_vCoord(4, point), std::out_of_range);
    EXPECT_THROW(frame.get_global_vNrv(4), std::out_of_range);
    EXPECT_THROW(frame.set_cellFlag(4, 1), std::out_of_range);
}

TEST(RangeData, RigidTransformationMovesThePoseAndNotThePoints)
{
    RangeData frame = full_frame(2, 2);
    frame.set_rigidMatrix(quarter_turn_about_z({10, 20, 30}));
    Vector3f before;
    frame.get_global_vCoord(3, before);
    RigidMatrix const motion = quarter_turn_about_z({1, 2, 3});
    static_cast<Cloud&>(frame).rigid_transformation(motion);
    Vector3f after;
    frame.get_global_vCoord(3, after);
    EXPECT_EQ(after, motion * before);
    EXPECT_EQ(frame.vCoord[3], Vector3f(1, 1, 0));
    Vector3f const centre = motion * (quarter_turn_about_z({10, 20, 30}) * Vector3f(0.5F, 0.5F, 0));
    EXPECT_EQ(frame.get_barycenter(), centre);
    EXPECT_EQ(RangeData().get_barycenter(), Vector3f(0, 0, 0));
}

TEST(RangeData, ItsOwnChannelsFollowTheVertices)
{
    RangeData frame = full_frame(2, 2);
    frame.resize_vn(6);
    EXPECT_EQ(frame.vUV.size(), 6U);
    EXPECT_EQ(frame.cellFlag.size(), 6U);
    EXPECT_EQ(frame.vUV[5].row, -1);
    EXPECT_TRUE(frame.is_legal());
    frame.set_vCoords({{1, 1, 1}});
    EXPECT_EQ(frame.vUV.size(), 1U);
    EXPECT_EQ(frame.add_vCoord({2, 2, 2}), 1U);
    EXPECT_EQ(frame.cellFlag.size(), 2U);
    frame.reserve_vn(100);
    EXPECT_GE(frame.vUV.capacity(), 100U);
}

TEST(RangeData, SqueezeKeepsCellsWithTheirVerticesAndUnflagsBrokenCells)
{
    RangeData frame = full_frame(3, 3);
    frame.enable_vFlag();
    frame.set_vDeleted(8, true);
    static_cast<BaseData&>(frame).squeeze();
    EXPECT_EQ(frame.get_vn(), 8U);
    EXPECT_EQ(frame.cellFlag, (std::vector<char>{1, 1, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(quads_of(frame), (Quads{{0, 1, 4, 3}, {1, 2, 5, 4}, {3, 4, 7, 6}}));
    EXPECT_TRUE(frame.is_legal());
    frame.set_vDeleted(0, true);
    frame.squeeze();
    EXPECT_EQ(frame.vUV[0].row, 0);
    EXPECT_EQ(frame.vUV[0].col, 1);
}

TEST(RangeData, NormalsOfAPlaneAreItsNormalEverywhere)
{
    RangeData frame;
    frame.set_grid_size(4, 5);
    Vector3f const normal = Vector3f(-0.3F, -0.2F, 1).normalized();
    for (int r = 0; r < 4; ++r)
    {
        for (int c = 0; c < 5; ++c)
        {
            auto const x = static_cast<float>(c);
            auto const y = static_cast<float>(r);
            frame.add_vCoord_and_vUV({x, y, 0.3F * x + 0.2F * y}, {r, c});
        }
    }
    frame.update_vNrv_from_grid();
    ASSERT_TRUE(frame.has_vNormal);
    for (size_t i = 0; i < frame.get_vn(); ++i)
    {
        EXPECT_LT((frame.get_vNrv(i) - normal).norm(), 1e-6F) << i;
    }
}

TEST(RangeData, VertexWithoutANeighbourOnAnAxisHasNoNormal)
{
    RangeData frame;
    frame.set_grid_size(5, 5);
    frame.add_vCoord_and_vUV({0, 0, 0}, {0, 0}); // with a neighbour to the right only
    frame.add_vCoord_and_vUV({1, 0, 0}, {0, 1}); // with one to the left and one below
    frame.add_vCoord_and_vUV({1, 1, 0}, {1, 1}); // with one above only
    frame.add_vCoord_and_vUV({4, 4, 0}, {4, 4}); // alone
    frame.add_vCoord({9, 9, 9});                 // without a cell
    frame.update_vNrv_from_grid();
    EXPECT_EQ(frame.vNrv,
              (std::vector<Vector3f>{{0, 0, 0}, {0, 0, 1}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
}

TEST(RangeData, MeanDistanceIsTakenToTheRightAndBelow)
{
    RangeData frame;
    frame.set_grid_size(2, 2);
    frame.add_vCoord_and_vUV({0, 0, 0}, {0, 0});
    frame.add_vCoord_and_vUV({3, 0, 0}, {0, 1});
    frame.add_vCoord_and_vUV({0, 5, 0}, {1, 0});
    MatrixXi map;
    frame.create_vertices_index_map(map);
    double mean = -1.0;
    EXPECT_EQ(RangeData_compute_mean_distance(frame, map, mean, 2000), 0);
    EXPECT_DOUBLE_EQ(mean, 4.0); // 3 and 5; the diagonal does not count
}

TEST(RangeData, MeanDistanceOfASampleIsSpreadOverTheFrame)
{
    // One row: short steps in the first half, long ones in the second.
    RangeData frame;
    frame.set_grid_size(1, 4000);
    float x = 0.0F;
    for (int c = 0; c < 4000; ++c)
    {
        frame.add_vCoord_and_vUV({x, 0, 0}, {0, c});
        x += c < 2000 ? 1.0F : 3.0F;
    }
    MatrixXi map;
    frame.create_vertices_index_map(map);
    double mean = 0.0;
    EXPECT_EQ(RangeData_compute_mean_distance(frame, map, mean, 100), 0);
    EXPECT_NEAR(mean, 2.0, 0.05);
    double again = 0.0;
    RangeData_compute_mean_distance(frame, map, again, 100);
    EXPECT_EQ(mean, again);
}

TEST(RangeData, MeanDistanceWithoutNeighboursIsAnErrorAndZero)
{
    RangeData frame;
    frame.set_grid_size(3, 3);
    frame.add_vCoord_and_vUV({0, 0, 0}, {0, 0});
    frame.add_vCoord_and_vUV({0, 0, 0}, {2, 2});
    MatrixXi map;
    frame.create_vertices_index_map(map);
    double mean = 5.0;
    EXPECT_NE(RangeData_compute_mean_distance(frame, map, mean, 2000), 0);
    EXPECT_EQ(mean, 0.0);
    EXPECT_NE(RangeData_compute_mean_distance(full_frame(2, 2), MatrixXi(), mean, 2000), 0);
    EXPECT_NE(RangeData_compute_mean_distance(full_frame(2, 2), map, mean, 0), 0);
    EXPECT_NE(RangeData_compute_mean_distance(full_frame(2, 2), map, mean, -1), 0);
    EXPECT_NE(RangeData_compute_mean_distance(RangeData(), map, mean, 2000), 0);
}

TEST(RangeData, MeanDistanceFindsTheOnlyNeighboursBesideTheSample)
{
    RangeData frame;
    frame.set_grid_size(100, 1000);
    for (int i = 0; i < 100; ++i)
    {
        frame.add_vCoord_and_vUV({static_cast<float>(i) * 50, 0, 0}, {i, i * 2});
    }
    frame.add_vCoord_and_vUV({99 * 50 + 7, 0, 0}, {99, 199});
    MatrixXi map;
    frame.create_vertices_index_map(map);
    double mean = 0.0;
    EXPECT_EQ(RangeData_compute_mean_distance(frame, map, mean, 1), 0);
    EXPECT_DOUBLE_EQ(mean, 7.0);
}

/// Four corners of a cell and a lone vertex, at the ends of the largest grid there is.
RangeData frame_on_the_largest_grid()
{
    int const most = std::numeric_limits<int>::max();
    RangeData frame;
    frame.set_grid_size(most, most);
    frame.add_vCoord_and_vUV({9, 9, 0}, {0, 0});
    for (int i = 0; i < 4; ++i)
    {
        frame.add_vCoord_and_vUV({static_cast<float>(i % 2), 2.0F * static_cast<float>(i / 2), 0},
                                 {most - 2 + i / 2, most - 2 + i % 2});
    }
    frame.set_cellFlag(1, 1);
    return frame;
}

TEST(RangeData, LargestGridTakesMemoryForItsVerticesOnly)
{
    RangeData frame = frame_on_the_largest_grid();
    EXPECT_TRUE(frame.is_legal());
    Quads quads;
    frame.convert_to_quad(quads);
    EXPECT_EQ(quads, (Quads{{1, 2, 4, 3}}));
    double mean = 0.0;
    EXPECT_EQ(RangeData_compute_mean_distance(frame, mean, 2000), 0);
    EXPECT_DOUBLE_EQ(mean, 1.5); // 1 and 2, twice each
    frame.update_vNrv_from_grid();
    EXPECT_EQ(frame.vNrv[0], Vector3f(0, 0, 0));
    EXPECT_EQ(frame.vNrv[4], Vector3f(0, 0, 1));
    frame.set_cellFlag(0, 1); // has no other corner
    EXPECT_FALSE(frame.is_legal());
    frame.repair_illegal();
    EXPECT_TRUE(frame.is_legal());
    frame.enable_vFlag();
    frame.set_vDeleted(2, true);
    frame.squeeze();
    EXPECT_EQ(frame.cellFlag, (std::vector<char>{0, 0, 0, 0}));
}

TEST(RangeData, QuadsAndMeanDistanceAreTheSameWithoutAMap)
{
    RangeData frame = full_frame(5, 7);
    frame.enable_vFlag();
    for (size_t const gone : {3U, 17U, 18U, 30U})
    {
        frame.set_vDeleted(gone, true);
    }
    frame.squeeze();
    MatrixXi map;
    frame.create_vertices_index_map(map);
    Quads quads{{1, 2, 3, 4}}; // replaced
    frame.convert_to_quad(quads);
    EXPECT_EQ(quads, quads_of(frame));
    for (int const samples : {-1, 0, 1, 4, 2000})
    {
        double with_map = 7.0;
        double without = 8.0;
        EXPECT_EQ(RangeData_compute_mean_distance(frame, map, with_map, samples),
                  RangeData_compute_mean_distance(frame, without, samples));
        EXPECT_EQ(with_map, without);
    }
}

TEST(RangeData, EveryInconsistencyIsIllegalAndRepaired)
{
    auto const expect_repaired = [](RangeData frame, size_t n)
    {
        EXPECT_FALSE(frame.is_legal());
        static_cast<BaseData&>(frame).repair_illegal();
        EXPECT_TRUE(frame.is_legal());
        EXPECT_EQ(frame.get_vn(), n);
    };
    RangeData frame = full_frame(3, 3);
    EXPECT_TRUE(frame.is_legal());
    frame.vUV.pop_back();
    expect_repaired(frame, 9);
    frame = full_frame(3, 3);
    frame.cellFlag.resize(20);
    expect_repaired(frame, 9);
    frame = full_frame(3, 3);
    frame.vUV[4] = {1, 3};
    expect_repaired(frame, 9);
    frame = full_frame(3, 3);
    frame.set_cellFlag(8, 1);
    expect_repaired(frame, 9);
    frame = full_frame(3, 3);
    frame.grid_rows = -1;
    expect_repaired(frame, 9);
    frame = full_frame(3, 3);
    frame.vCoord[4].x() = NOT_A_NUMBER;
    expect_repaired(frame, 8);
    frame = full_frame(3, 3);
    frame.pose.set_translation({0, static_cast<double>(NOT_A_NUMBER), 0});
    expect_repaired(frame, 9);
}

TEST(RangeData, CopiesAreDeep)
{
    std::vector<RangeData> frames(2, full_frame(2, 2));
    frames[0].vCoord[0].x() = 77;
    frames.emplace_back(frames[0]);
    EXPECT_EQ(frames[1].vCoord[0].x(), 0.0F);
    EXPECT_EQ(frames[2].vCoord[0].x(), 77.0F);
    EXPECT_EQ(quads_of(frames[2]), (Quads{{0, 1, 3, 2}}));
}

TEST(RangeData, SwappingBringsGridFlagsAndPoseBack)
{
    RangeData frame = full_frame(3, 4);
    frame.update_vNrv_from_grid();
    frame.set_rigidMatrix(quarter_turn_about_z({0.1, 0.2, 0.3}));
    RangeData const before = frame;
    ASSERT_EQ(frame.swap_out_data(), 0);
    EXPECT_EQ(frame.get_vn(), 0U);
    EXPECT_EQ(frame.vUV.capacity() + frame.cellFlag.capacity(), 0U);
    ASSERT_EQ(frame.swap_in_data(), 0);
    EXPECT_EQ(frame.grid_rows, 3);
    EXPECT_EQ(frame.grid_cols, 4);
    EXPECT_EQ(frame.vCoord, before.vCoord);
    EXPECT_EQ(frame.vNrv, before.vNrv);
    EXPECT_EQ(frame.cellFlag, before.cellFlag);
    EXPECT_EQ(quads_of(frame), quads_of(before));
    EXPECT_EQ(frame.pose.get_rotation(), before.pose.get_rotation());
    EXPECT_EQ(frame.pose.get_translation(), before.pose.get_translation());
    EXPECT_FALSE(has_leftover(swap_path(frame)));

    ASSERT_EQ(frame.swap_out_data(), 0);
    write_file(swap_path(frame), "no frame");
    EXPECT_NE(frame.swap_in_data(), 0);
    EXPECT_EQ(frame.get_vn(), 0U);
    EXPECT_EQ(frame.grid_rows, 0);
    EXPECT_EQ(frame.pose.get_rotation(), Matrix3d(Matrix3d::Identity()));
}
