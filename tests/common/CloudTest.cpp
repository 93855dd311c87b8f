#include "algorithmVeld/common/Cloud.h"

#include "swap_support.h"
#include "tests/support/files.h"
#include "tests/support/special_floats.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <vector>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// Vertex i lies at (i, 0, 0), has the normal (0, i, 0) and the colour (0, 0, i).
Cloud row_of(int n)
{
    Cloud cloud;
    cloud.enable_vNormal();
    cloud.enable_vColor();
    cloud.enable_vFlag();
    for (int i = 0; i < n; ++i)
    {
        auto const x = static_cast<float>(i);
        size_t const v = cloud.add_vCoord({x, 0, 0});
        cloud.vNrv[v] = {0, x, 0};
        cloud.vColor[v] = {0, 0, x};
    }
    return cloud;
}

void expect_rows(Cloud const& cloud, std::vector<float> const& expected)
{
    ASSERT_EQ(cloud.get_vn(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(cloud.vCoord[i], Vector3f(expected[i], 0, 0));
        EXPECT_EQ(cloud.get_vNrv(i), Vector3f(0, expected[i], 0));
        EXPECT_EQ(cloud.get_vColor(i), Vector3f(0, 0, expected[i]));
    }
}

} // namespace

TEST(Cloud, NewOneIsEmptyAndLegal)
{
    Cloud const cloud;
    EXPECT_EQ(cloud.get_vn(), 0U);
    EXPECT_FALSE(cloud.has_vNormal || cloud.has_vColor || cloud.has_vFlag);
    EXPECT_TRUE(cloud.is_legal());
    EXPECT_EQ(cloud.get_barycenter(), Vector3f(0, 0, 0));
}

TEST(Cloud, ChannelsGrowWithTheVerticesOnlyWhileTheyAreOn)
{
    Cloud cloud;
    EXPECT_EQ(cloud.add_vCoord({1, 2, 3}), 0U);
    cloud.enable_vNormal();
    EXPECT_EQ(cloud.vNrv, std::vector<Vector3f>{Vector3f(0, 0, 0)});
    EXPECT_EQ(cloud.add_vCoord({4, 5, 6}), 1U);
    EXPECT_EQ(cloud.vNrv.size(), 2U);
    EXPECT_TRUE(cloud.vColor.empty());
    EXPECT_TRUE(cloud.vFlag.empty());
    cloud.resize_vn(4);
    EXPECT_EQ(cloud.vCoord[3], Vector3f(0, 0, 0));
    EXPECT_EQ(cloud.vNrv.size(), 4U);
    cloud.set_vCoords({{9, 9, 9}});
    EXPECT_EQ(cloud.get_vn(), 1U);
    EXPECT_EQ(cloud.vNrv.size(), 1U);
    cloud.disable_vNormal();
    EXPECT_FALSE(cloud.has_vNormal);
    EXPECT_EQ(cloud.vNrv.capacity(), 0U);
}

TEST(Cloud, EnablingAChannelThatIsOnKeepsIt)
{
    Cloud cloud = row_of(3);
    cloud.set_vDeleted(1, true);
    cloud.enable_vNormal();
    cloud.enable_vColor();
    cloud.enable_vFlag();
    expect_rows(cloud, {0, 1, 2});
    EXPECT_EQ(cloud.vFlag[1], Cloud::DELETED);
}

TEST(Cloud, VertexOfTheCloudItselfCanBeAdded)
{
    Cloud cloud;
    cloud.add_vCoord({1, 2, 3});
    for (int i = 0; i < 100; ++i)
    {
        cloud.add_vCoord(cloud.vCoord.front());
    }
    EXPECT_EQ(cloud.vCoord.back(), Vector3f(1, 2, 3));
}

TEST(Cloud, IndexOutOfRangeThrows)
{
    Cloud cloud = row_of(2);
    EXPECT_THROW(cloud.get_vNrv(2), std::out_of_range);
    EXPECT_THROW(cloud.get_vColor(2), std::out_of_range);
    EXPECT_THROW(cloud.set_vDeleted(2, true), std::out_of_range);
    try
    {
        cloud.get_vNrv(static_cast<size_t>(-1));
        FAIL();
    }
    catch (std::out_of_range const& error)
    {
        EXPECT_STREQ(error.what(), "invalid vector<T> subscript");
    }
}

TEST(Cloud, DeletingWithoutTheFlagChannelThrows)
{
    Cloud cloud = row_of(2);
    cloud.disable_vFlag();
    EXPECT_THROW(cloud.set_vDeleted(0, true), std::out_of_range);
}

TEST(Cloud, SqueezeWithoutFlagsChangesNothing)
{
    Cloud cloud = row_of(4);
    cloud.squeeze();
    expect_rows(cloud, {0, 1, 2, 3});
    cloud.disable_vFlag();
    cloud.squeeze();
    expect_rows(cloud, {0, 1, 2, 3});
}

TEST(Cloud, SqueezeRemovesFlaggedVerticesInOrderWithTheirChannels)
{
    Cloud cloud = row_of(6);
    cloud.set_vDeleted(0, true);
    cloud.set_vDeleted(3, true);
    cloud.set_vDeleted(4, true);
    cloud.set_vDeleted(4, false);
    cloud.vFlag[5] = 0x80;
    static_cast<BaseData&>(cloud).squeeze();
    expect_rows(cloud, {1, 2, 4, 5});
    EXPECT_EQ(cloud.vFlag, (std::vector<unsigned char>{0, 0, 0, 0x80}));
    for (size_t i = 0; i < 4; ++i)
    {
        cloud.set_vDeleted(i, true);
    }
    cloud.squeeze();
    EXPECT_EQ(cloud.get_vn(), 0U);
}

TEST(Cloud, BoundingBoxLeavesOutWhatIsNotFinite)
{
    Cloud cloud;
    Vector3f min(7, 7, 7);
    Vector3f max(7, 7, 7);
    cloud.get_boundBox(min, max);
    EXPECT_EQ(min, Vector3f(0, 0, 0));
    EXPECT_EQ(max, Vector3f(0, 0, 0));
    cloud.set_vCoords({{NOT_A_NUMBER, 0, 0}, {1, -2, 3}, {2, 5, -1}, {HUGE_VALF, 0, 0}});
    cloud.get_boundBox(min, max);
    EXPECT_EQ(min, Vector3f(1, -2, -1));
    EXPECT_EQ(max, Vector3f(2, 5, 3));
}

TEST(Cloud, BarycenterIsSummedInDouble)
{
    Cloud cloud;
    // In float 1 vanishes beside 2^25.
    cloud.set_vCoords({{33554432.0F, 0, 0}, {1, 0, 0}, {1, 0, 0}, {-33554432.0F, 0, 0}});
    EXPECT_EQ(cloud.get_barycenter(), Vector3f(0.5F, 0, 0));
}

TEST(Cloud, RigidTransformationMovesPointsAndRotatesNormals)
{
    Cloud cloud = row_of(2);
    RigidMatrix motion;
    Matrix3d quarter_turn; // about z
    quarter_turn << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    motion.set_rotation(quarter_turn);
    motion.set_translation({10, 20, 30});
    cloud.rigid_transformation(motion);
    EXPECT_EQ(cloud.vCoord[1], Vector3f(10, 21, 30));
    EXPECT_EQ(cloud.vNrv[1], Vector3f(-1, 0, 0));
    EXPECT_EQ(cloud.vColor[1], Vector3f(0, 0, 1));
}

TEST(Cloud, EveryInconsistencyIsIllegalAndRepaired)
{
    auto const expect_repaired = [](Cloud cloud, size_t n)
    {
        EXPECT_FALSE(cloud.is_legal());
        cloud.repair_illegal();
        EXPECT_TRUE(cloud.is_legal());
        EXPECT_EQ(cloud.get_vn(), n);
    };
    Cloud cloud = row_of(4);
    EXPECT_TRUE(cloud.is_legal());
    cloud.vNrv.pop_back();
    expect_repaired(cloud, 4);
    cloud = row_of(4);
    cloud.vColor.resize(9, Vector3f(0, 0, 0));
    expect_repaired(cloud, 4);
    cloud = row_of(4);
    cloud.vFlag.clear();
    expect_repaired(cloud, 4);
    cloud = row_of(4);
    cloud.vNrv[2].y() = NOT_A_NUMBER;
    expect_repaired(cloud, 4);
    cloud = row_of(4);
    cloud.vCoord[1].x() = HUGE_VALF;
    expect_repaired(cloud, 3);
}

TEST(Cloud, RepairRemovesTheVertexThatIsNotFiniteFromAllChannels)
{
    Cloud cloud = row_of(4);
    cloud.vCoord[1].x() = NOT_A_NUMBER;
    cloud.repair_illegal();
    expect_rows(cloud, {0, 2, 3});
    Cloud legal = row_of(4);
    legal.repair_illegal();
    expect_rows(legal, {0, 1, 2, 3});
}

TEST(Cloud, SqueezeOfChannelsOfAWrongLengthDoesNoHarm)
{
    Cloud cloud = row_of(4);
    cloud.vNrv.resize(2);
    cloud.vColor.resize(7, Vector3f(0, 0, 0));
    cloud.vFlag.resize(1);
    cloud.vFlag[0] = Cloud::DELETED;
    cloud.squeeze();
    EXPECT_EQ(cloud.get_vn(), 3U);
    EXPECT_EQ(cloud.vNrv.size(), 1U);
    EXPECT_EQ(cloud.vColor.size(), 3U);
}

TEST(Cloud, ClearDropsContentChannelsAndMemory)
{
    Cloud cloud = row_of(100);
    cloud.clear();
    EXPECT_EQ(cloud.get_vn(), 0U);
    EXPECT_EQ(cloud.vCoord.capacity(), 0U);
    EXPECT_FALSE(cloud.has_vNormal || cloud.has_vColor || cloud.has_vFlag);
    cloud.add_vCoord({1, 1, 1});
    EXPECT_TRUE(cloud.is_legal());
}

TEST(CloudSwap, BringsEverythingBackAndFreesTheMemoryMeanwhile)
{
    Cloud cloud = row_of(5);
    cloud.vCoord[2].x() = NOT_A_NUMBER;
    cloud.vNrv.pop_back();
    cloud.set_vDeleted(3, true);
    Cloud const before = cloud;
    ASSERT_EQ(cloud.swap_out_data(), 0);
    EXPECT_TRUE(std::filesystem::exists(swap_path(cloud)));
    EXPECT_EQ(cloud.get_vn(), 0U);
    EXPECT_EQ(cloud.vCoord.capacity() + cloud.vNrv.capacity() + cloud.vFlag.capacity(), 0U);
    EXPECT_EQ(cloud.swap_out_data(), 0) << "it is in the file already";
    ASSERT_EQ(cloud.swap_in_data(), 0);
    EXPECT_FALSE(has_leftover(swap_path(cloud)));
    EXPECT_EQ(cloud.swap_in_data(), 0) << "it is in memory already";
    ASSERT_EQ(cloud.get_vn(), 5U);
    EXPECT_TRUE(std::isnan(cloud.vCoord[2].x()));
    EXPECT_EQ(cloud.vCoord[4], before.vCoord[4]);
    EXPECT_EQ(cloud.vNrv, before.vNrv);
    EXPECT_EQ(cloud.vColor, before.vColor);
    EXPECT_EQ(cloud.vFlag, before.vFlag);
    EXPECT_TRUE(cloud.has_vNormal && cloud.has_vColor && cloud.has_vFlag);
}

TEST(CloudSwap, EmptyCloudCanBeSwapped)
{
    Cloud cloud;
    EXPECT_EQ(cloud.swap_out_data(), 0);
    EXPECT_EQ(cloud.swap_in_data(), 0);
    EXPECT_EQ(cloud.get_vn(), 0U);
    EXPECT_FALSE(cloud.has_vNormal);
}

TEST(CloudSwap, MissingOrDamagedFileGivesAnEmptyCloud)
{
    Cloud cloud = row_of(5);
    ASSERT_EQ(cloud.swap_out_data(), 0);
    std::filesystem::remove(swap_path(cloud));
    EXPECT_NE(cloud.swap_in_data(), 0);
    EXPECT_EQ(cloud.get_vn(), 0U);
    EXPECT_FALSE(cloud.has_vNormal);

    size_t const n_bytes = [&]
    {
        cloud = row_of(5);
        cloud.swap_out_data();
        return file_content(swap_path(cloud)).size();
    }();
    for (size_t i = 0; i < n_bytes; ++i)
    {
        cloud = row_of(5);
        ASSERT_EQ(cloud.swap_out_data(), 0);
        std::string bytes = file_content(swap_path(cloud));
        bytes[i] = static_cast<char>(~bytes[i]);
        write_file(swap_path(cloud), bytes);
        EXPECT_NE(cloud.swap_in_data(), 0) << i;
        EXPECT_EQ(cloud.get_vn(), 0U);
        EXPECT_TRUE(cloud.is_legal());
        EXPECT_FALSE(std::filesystem::exists(swap_path(cloud)));
    }
}

TEST(CloudSwap, FileGoesWithItsObjectAndWhenTheObjectIsUsedAnew)
{
    std::filesystem::path path;
    {
        Cloud cloud = row_of(3);
        path = swap_path(cloud);
        ASSERT_EQ(cloud.swap_out_data(), 0);
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));

    Cloud cloud = row_of(3);
    ASSERT_EQ(cloud.swap_out_data(), 0);
    cloud.clear();
    EXPECT_FALSE(std::filesystem::exists(swap_path(cloud)));
    cloud = row_of(3);
    ASSERT_EQ(cloud.swap_out_data(), 0);
    cloud = row_of(2);
    EXPECT_FALSE(std::filesystem::exists(swap_path(cloud)));
    expect_rows(cloud, {0, 1});
}

TEST(CloudSwap, NamesDifferBetweenObjectsAndCopies)
{
    Cloud a = row_of(3);
    std::wstring const name = a.get_temp_full_name();
    EXPECT_EQ(a.get_temp_full_name(), name);
    Cloud b = a;
    EXPECT_NE(b.get_temp_full_name(), name);
}

TEST(CloudSwap, CopyOfASwappedCloudBringsTheSameDataBack)
{
    Cloud original = row_of(3);
    ASSERT_EQ(original.swap_out_data(), 0);
    std::filesystem::path const path = swap_path(original);
    Cloud copy = original;
    Cloud assigned = row_of(7);
    assigned = original;
    EXPECT_TRUE(copy.is_swapped_out() && assigned.is_swapped_out());
    EXPECT_EQ(copy.get_vn() + assigned.get_vn(), 0U);
    ASSERT_EQ(original.swap_in_data(), 0);
    expect_rows(original, {0, 1, 2});
    ASSERT_EQ(copy.swap_in_data(), 0);
    expect_rows(copy, {0, 1, 2});
    EXPECT_TRUE(std::filesystem::exists(path));
    ASSERT_EQ(assigned.swap_in_data(), 0);
    expect_rows(assigned, {0, 1, 2});
    EXPECT_FALSE(has_leftover(path));
}

TEST(CloudSwap, CopyKeepsItsDataWhenTheOriginalIsSwappedOutAgain)
{
    Cloud original = row_of(3);
    ASSERT_EQ(original.swap_out_data(), 0);
    Cloud copy = original;
    ASSERT_EQ(original.swap_in_data(), 0);
    original = row_of(5);
    ASSERT_EQ(original.swap_out_data(), 0);
    EXPECT_TRUE(std::filesystem::exists(swap_path(original)));
    ASSERT_EQ(copy.swap_in_data(), 0);
    expect_rows(copy, {0, 1, 2});
    ASSERT_EQ(original.swap_in_data(), 0);
    expect_rows(original, {0, 1, 2, 3, 4});
}

TEST(CloudSwap, GrowingVectorKeepsSwappedClouds)
{
    std::vector<Cloud> clouds;
    std::vector<std::filesystem::path> paths;
    for (int i = 0; i < 20; ++i)
    {
        clouds.push_back(row_of(i));
        paths.push_back(swap_path(clouds.back()));
        ASSERT_EQ(clouds.back().swap_out_data(), 0);
    }
    for (int i = 0; i < 20; ++i)
    {
        auto& cloud = clouds[static_cast<size_t>(i)];
        ASSERT_EQ(cloud.swap_in_data(), 0);
        ASSERT_EQ(cloud.get_vn(), static_cast<size_t>(i));
        ASSERT_EQ(cloud.vNrv, row_of(i).vNrv);
    }
    for (auto const& path : paths)
    {
        EXPECT_FALSE(has_leftover(path));
    }
}

namespace
{

/// A host's cloud that names its own file.
class NamedCloud : public Cloud
{
public:
    explicit NamedCloud(std::wstring name) : name_(std::move(name)) {}
    const std::wstring get_temp_full_name() override { return name_; }

private:
    std::wstring name_;
};

} // namespace

TEST(CloudSwap, OverriddenNameIsUsedAndRemoved)
{
    std::filesystem::path const path =
        detail::path_from_wide(Cloud().get_temp_full_name()).concat(".host");
    {
        NamedCloud cloud(path.wstring());
        cloud.add_vCoord({1, 2, 3});
        ASSERT_EQ(cloud.swap_out_data(), 0);
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));

    NamedCloud named(path.wstring());
    named.add_vCoord({1, 2, 3});
    ASSERT_EQ(named.swap_out_data(), 0);
    Cloud copy = named;
    ASSERT_EQ(named.swap_in_data(), 0);
    named.add_vCoord({4, 5, 6});
    ASSERT_EQ(named.swap_out_data(), 0);
    ASSERT_EQ(copy.swap_in_data(), 0);
    EXPECT_EQ(copy.get_vn(), 1U) << "the file that the copy needs is not written anew";
    ASSERT_EQ(named.swap_in_data(), 0);
    EXPECT_EQ(named.get_vn(), 2U);
    EXPECT_FALSE(has_leftover(path));

    NamedCloud nowhere((path / "no" / "directory").wstring());
    nowhere.add_vCoord({1, 2, 3});
    EXPECT_NE(nowhere.swap_out_data(), 0);
    EXPECT_EQ(nowhere.get_vn(), 1U) << "the data stays in memory";
}

#if !defined(_WIN32)
TEST(CloudSwap, TemporaryDirectoryMayHaveLettersBeyondAscii)
{
    TempDir const dir;
    std::filesystem::path const directory = dir.path() / "m\xC3\xA4\xC3\x9F";
    std::filesystem::create_directory(directory);
    char const* const before = std::getenv("TMPDIR");
    std::string const saved = before == nullptr ? "" : before;
    setenv("TMPDIR", directory.c_str(), 1);
    Cloud cloud = row_of(3);
    EXPECT_EQ(cloud.swap_out_data(), 0);
    EXPECT_FALSE(std::filesystem::is_empty(directory));
    EXPECT_EQ(cloud.swap_in_data(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory));
    expect_rows(cloud, {0, 1, 2});
    before == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", saved.c_str(), 1);
}
#endif
