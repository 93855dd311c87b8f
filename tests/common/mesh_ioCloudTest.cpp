#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/mesh_io.h"

#include <gtest/gtest.h>

#include <map>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::MeshFileContents;
using OrvaneAlgorithm::read_cloud;
using OrvaneAlgorithm::detail::carried_values;
using OrvaneAlgorithm::detail::name_in_file;

struct CloudRead
{
    TriMesh cloud;
    MeshFileContents contents;
};

/// What is read of a text of points; errors come without the name of the file.
CloudRead read_cloud_of(std::string const& text, std::string const& name = "scan.xyz")
{
    TempDir const directory;
    std::string const path = directory.file(name);
    write_file(path, text);
    CloudRead read;
    bool const ok = read_cloud(path, read.cloud, read.contents);
    EXPECT_EQ(ok, read.contents.error.empty());
    if (!ok)
    {
        EXPECT_EQ(read.contents.error.rfind(path + ": ", 0), 0U) << read.contents.error;
        read.contents.error.erase(0, path.size() + 2);
    }
    return read;
}

TEST(MeshIoCloud, PointsComeInTheOrderOfTheirLines)
{
    for (auto const* name : {"scan.xyz", "scan.TXT", "scan.asc"})
    {
        auto const read =
            read_cloud_of("# three\n1 2 3\r\n\n-4.5\t5e1 +6 # the second\n0 0 0", name);
        EXPECT_EQ(read.contents.error, "");
        ASSERT_EQ(read.cloud.n_vertices(), 3U);
        EXPECT_EQ(read.cloud.point(OpenMesh::VertexHandle(0)), Vector3f(1, 2, 3));
        EXPECT_EQ(read.cloud.point(OpenMesh::VertexHandle(1)), Vector3f(-4.5F, 50, 6));
        EXPECT_EQ(read.cloud.n_faces(), 0U);
        EXPECT_FALSE(read.cloud.has_vertex_normals());
        EXPECT_TRUE(carried_values(read.cloud).empty());
    }
}

TEST(MeshIoCloud, SixNumbersAreAPointAndItsNormal)
{
    auto const read = read_cloud_of("1 2 3 0 0.6 0.8\n4 5 6 0 0 0\n7 8 9 nan 0 1\n");
    EXPECT_EQ(read.contents.error, "");
    ASSERT_TRUE(read.cloud.has_vertex_normals());
    EXPECT_EQ(read.cloud.normal(OpenMesh::VertexHandle(0)), Vector3f(0, 0.6F, 0.8F));
    EXPECT_EQ(read.cloud.normal(OpenMesh::VertexHandle(1)), Vector3f(0, 0, 0));
    EXPECT_EQ(read.cloud.normal(OpenMesh::VertexHandle(2)), Vector3f(0, 0, 0));
}

TEST(MeshIoCloud, AFourthNumberIsTheIntensity)
{
    auto const read = read_cloud_of("1 2 3 0.5\n4 5 6 70\n");
    EXPECT_EQ(read.contents.error, "");
    auto const values = carried_values(read.cloud);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(name_in_file(read.cloud, values[0]), "intensity");
    EXPECT_EQ(read.cloud.property(values[0], OpenMesh::VertexHandle(1)), 70.0F);
}

TEST(MeshIoCloud, PointsThatAreNotFiniteAreLeftOutAndCounted)
{
    auto const read = read_cloud_of("1 2 3\nnan 0 0\n0 inf 0\n0 0 1e99\n4 5 6\n");
    EXPECT_EQ(read.contents.vertices, 5U);
    EXPECT_EQ(read.contents.vertices_not_finite, 3U);
    ASSERT_EQ(read.cloud.n_vertices(), 2U);
    EXPECT_EQ(read.cloud.point(OpenMesh::VertexHandle(1)), Vector3f(4, 5, 6));
}

TEST(MeshIoCloud, RefusesWhatIsNoListOfPointsByItsLine)
{
    std::map<std::string, std::string> const reasons{
        {"\n# nothing\n", "holds no points"},
        {"1 2 3\n1 2 x\n", "line 2 is not a list of numbers"},
        {"1 2\n", "line 1 has 2 numbers: a point has 3, 4 with an intensity, or 6 with a normal"},
        {"1 2 3 4 5\n",
         "line 1 has 5 numbers: a point has 3, 4 with an intensity, or 6 with a normal"},
        {"1 2 3 4 5 6 7\n", "line 1 has more than 6 numbers"},
        {"# two\n1 2 3\n1 2 3 4\n", "line 3 has 4 numbers, and the first has 3"},
        {"1 2 3 0 0 1\n1 2 3 200 100 50\n",
         "line 2 has numbers 4 to 6 that are no normal of length 1"}};
    for (auto const& [text, reason] : reasons)
    {
        auto const read = read_cloud_of(text);
        EXPECT_EQ(read.contents.error, reason) << text;
        EXPECT_EQ(read.cloud.n_vertices(), 0U);
    }
}

TEST(MeshIoCloud, AMeshFileIsReadAsAMesh)
{
    TempDir const directory;
    std::string error;
    std::string const path = directory.file("grid.ply");
    ASSERT_TRUE(OrvaneAlgorithm::write_mesh(path, grid(3, 2), error)) << error;
    TriMesh cloud;
    MeshFileContents contents;
    EXPECT_TRUE(read_cloud(path, cloud, contents)) << contents.error;
    EXPECT_EQ(cloud.n_vertices(), 12U);
    EXPECT_EQ(cloud.n_faces(), 12U);
    EXPECT_NE(read_cloud_of("1 2 3\n", "scan.pts").contents.error, "");
}

} // namespace
