#include "algorithmVeld/common/types.h"

#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/arrays/checked.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

using namespace OrvaneAlgorithm;

static_assert(std::is_same_v<TriMesh::Point, Vector3f>);
static_assert(std::is_same_v<TriMesh::Normal, Vector3f>);
static_assert(std::is_same_v<TriMesh::Color, Vector3f>);
static_assert(std::is_same_v<TriMesh::TexCoord2D, Vector2f>);
static_assert(std::is_base_of_v<BaseData, TriMesh>);
static_assert(std::is_same_v<Holes, std::vector<std::vector<OpenMesh::VertexHandle>>>);
static_assert(std::is_same_v<Verts, std::vector<Vector3f>>);

TEST(RetVal, ValuesAreFixed)
{
    EXPECT_EQ(RET_SUCCESS, 0);
    EXPECT_EQ(RET_INVALID_INPUT, 1);
    EXPECT_EQ(RET_FAILED, 2);
}

TEST(RigidMatrix, NewOneMovesNothing)
{
    RigidMatrix const identity;
    EXPECT_EQ(identity * Vector3f(1, 2, 3), Vector3f(1, 2, 3));
    EXPECT_EQ(identity.get_rotation(), Matrix3d(Matrix3d::Identity()));
}

TEST(RigidMatrix, RotatesPointsBeforeItMovesThemAndOnlyRotatesNormals)
{
    RigidMatrix motion;
    Matrix3d quarter_turn;
    quarter_turn << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    motion.set_rotation(quarter_turn);
    motion.set_translation({10, 20, 30});
    EXPECT_EQ(motion * Vector3f(1, 2, 3), Vector3f(8, 21, 33));
    EXPECT_EQ(motion.transform_normal(Vector3f(1, 0, 0)), Vector3f(0, 1, 0));
    EXPECT_EQ(motion.transform_normal(Vector3d(0, 1, 0)), Vector3d(-1, 0, 0));
    EXPECT_EQ(motion.inverse() * Vector3f(8, 21, 33), Vector3f(1, 2, 3));
    EXPECT_EQ(sizeof(RigidMatrix), 12 * sizeof(double));
}

TEST(CameraInParam, HoldsItsFourNumbersInOrder)
{
    CameraInParam const camera(1, 2, 3, 4);
    EXPECT_EQ(camera.get_fx(), 1);
    EXPECT_EQ(camera.get_fy(), 2);
    EXPECT_EQ(camera.get_cx(), 3);
    EXPECT_EQ(camera.get_cy(), 4);
    EXPECT_EQ(CameraInParam().get_fx(), 0);
}

TEST(Image, PixelBeginsAtItsRowAndColumn)
{
    Image<3, unsigned char> image(4, 3);
    EXPECT_EQ(image.pixel(2, 1) - image.data(), (4 * 1 + 2) * 3);
    EXPECT_EQ(image.pixel(3, 2)[2], 0);
    image.pixel(3, 2)[2] = 9;
    Image<3, unsigned char> copy = image;
    copy.pixel(3, 2)[2] = 1;
    EXPECT_EQ(image.pixel(3, 2)[2], 9);
    copy = image;
    EXPECT_EQ(copy.pixel(3, 2)[2], 9);
    Image<3, unsigned char> const moved = std::move(copy);
    EXPECT_EQ(moved.width(), 4);
}

TEST(Image, SizeThatIsNotPositiveHasNoPixels)
{
    EXPECT_TRUE((Image<3, unsigned char>().empty()));
    EXPECT_TRUE((Image<3, unsigned char>(0, 5).empty()));
    Image<3, unsigned char> const image(-4, 5);
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
    Image<3, unsigned char> const copy = image;
    EXPECT_EQ(copy.data(), nullptr);
}

TEST(CheckedAccess, ThrowsWithTheTextThatHostsKnow)
{
    std::vector<int> values{1, 2};
    detail::at(values, 1) = 5;
    EXPECT_EQ(values[1], 5);
    std::vector<int> const& constant = values;
    EXPECT_EQ(detail::at(constant, 0), 1);
    auto const text_of = [](auto const& list)
    {
        try
        {
            detail::at(list, 2);
        }
        catch (std::out_of_range const& error)
        {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(text_of(values), "invalid vector<T> subscript");
    EXPECT_EQ(text_of(std::vector<bool>(2)), "invalid vector<bool> subscript");
}
