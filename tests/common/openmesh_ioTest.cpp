#include "algorithmVeld/common/mesh_files/openmesh_io.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

using OpenMesh::Vec3f;
using OpenMesh::Vec3uc;
using OpenMesh::Vec3ui;
using OpenMesh::Vec4f;
using OpenMesh::Vec4uc;
using OpenMesh::Vec4ui;

template <typename Target>
Target colour_as(float red, float green, float blue)
{
    return OpenMesh::color_cast<Target>(Eigen::Vector3f(red, green, blue));
}

TEST(ColourCast, OneIsTheBrightestByteAndBetweenThemTheNearestIsTaken)
{
    // 0.2 is 51 of 255, and 0.599 is 152.745.
    EXPECT_EQ(colour_as<Vec3uc>(0.0F, 0.2F, 1.0F), Vec3uc(0, 51, 255));
    EXPECT_EQ(colour_as<Vec3ui>(0.599F, 0.2F, 1.0F), Vec3ui(153, 51, 255));
}

TEST(ColourCast, WhatIsBeyondTheRangeOfAByteIsItsEnd)
{
    float const infinity = std::numeric_limits<float>::infinity();
    float const nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(colour_as<Vec3uc>(-3.0F, 7.0F, nan), Vec3uc(0, 255, 0));
    EXPECT_EQ(colour_as<Vec3ui>(-infinity, infinity, nan), Vec3ui(0, 255, 0));
    EXPECT_EQ(colour_as<Vec4uc>(-3.0F, 7.0F, nan), Vec4uc(0, 255, 0, 255));
    EXPECT_EQ(colour_as<Vec4ui>(-3.0F, 7.0F, nan), Vec4ui(0, 255, 0, 255));
}

TEST(ColourCast, AFourthChannelIsOpaque)
{
    EXPECT_EQ(colour_as<Vec4uc>(0.2F, 0.4F, 0.6F), Vec4uc(51, 102, 153, 255));
    EXPECT_EQ(colour_as<Vec4ui>(0.2F, 0.4F, 0.6F), Vec4ui(51, 102, 153, 255));
    EXPECT_EQ(colour_as<Vec4f>(0.2F, 0.4F, 0.6F), Vec4f(0.2F, 0.4F, 0.6F, 1.0F));
}

TEST(ColourCast, FloatsStayAsTheyAre)
{
    EXPECT_EQ(colour_as<Vec3f>(-3.0F, 0.123456789F, 7.0F), Vec3f(-3.0F, 0.123456789F, 7.0F));
    EXPECT_EQ(colour_as<Vec4f>(-3.0F, 0.0F, 7.0F), Vec4f(-3.0F, 0.0F, 7.0F, 1.0F));
}

} // namespace
