#include "run_veld.h"

#include <gmock/gmock.h>

#include <cmath>

namespace
{

using namespace veld_test;
using testing::UnorderedElementsAre;

nlohmann::json info(TriMesh const& mesh)
{
    MeshDir const dir(mesh);
    Outcome const run = run_veld({"info", dir.mesh(), "--json"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    return run.json();
}

TEST(InfoCommand, HasTheDocumentedKeys)
{
    EXPECT_THAT(keys_of(info(tetrahedron())),
                UnorderedElementsAre("vertices", "faces", "edges", "boundary_edges", "holes",
                                     "components", "non_manifold_vertices", "isolated_vertices",
                                     "faces_left_out", "closed", "average_edge_length",
                                     "bounding_box", "contents"));
}

TEST(InfoCommand, HasTheDocumentedKeysOfTheFile)
{
    EXPECT_THAT(keys_of(info(tetrahedron())["contents"]),
                UnorderedElementsAre("vertices", "faces_by_corners", "vertices_not_finite",
                                     "left_out", "triangles_of_polygons", "turned_faces",
                                     "crowded_edges", "added_vertices", "kept", "dropped"));
}

TEST(InfoCommand, ClosedMeshHasNoBoundary)
{
    auto const json = info(tetrahedron());
    EXPECT_EQ(json["vertices"], 4);
    EXPECT_EQ(json["faces"], 4);
    EXPECT_EQ(json["edges"], 6);
    EXPECT_EQ(json["boundary_edges"], 0);
    EXPECT_EQ(json["holes"], 0);
    EXPECT_EQ(json["components"], 1);
    EXPECT_EQ(json["closed"], true);
    EXPECT_NEAR(json["average_edge_length"].get<double>(), (3.0 + 3.0 * std::sqrt(2.0)) / 6.0,
                1e-6);
}

TEST(InfoCommand, GridWithAHoleIsCountedWhole)
{
    // Four by four cells without the middle four, whose common vertex is left alone.
    auto const json = info(grid_with_hole(2));
    EXPECT_EQ(json["vertices"], 25);
    EXPECT_EQ(json["faces"], 24);
    EXPECT_EQ(json["edges"], 48);
    EXPECT_EQ(json["boundary_edges"], 16 + 8);
    EXPECT_EQ(json["holes"], 2);
    EXPECT_EQ(json["components"], 1);
    EXPECT_EQ(json["non_manifold_vertices"], 0);
    EXPECT_EQ(json["isolated_vertices"], 1);
    EXPECT_EQ(json["faces_left_out"], 0);
    EXPECT_EQ(json["closed"], false);
    EXPECT_NEAR(json["average_edge_length"].get<double>(), (36.0 + 12.0 * std::sqrt(2.0)) / 48.0,
                1e-6);
    EXPECT_EQ(json["bounding_box"]["min"], nlohmann::json({0.0, 0.0, 0.0}));
    EXPECT_EQ(json["bounding_box"]["max"], nlohmann::json({4.0, 4.0, 0.0}));
}

TEST(InfoCommand, PinchedPairHasOneVertexWithTwoGaps)
{
    auto const json = info(pinched_pair());
    EXPECT_EQ(json["holes"], 3);
    EXPECT_EQ(json["components"], 1);
    EXPECT_EQ(json["non_manifold_vertices"], 1);
}

TEST(InfoCommand, PiecesThatShareOnlyAVertexAreTwo)
{
    auto const json = info(bow_tie());
    EXPECT_EQ(json["components"], 2);
    EXPECT_EQ(json["holes"], 2);
    EXPECT_EQ(json["boundary_edges"], 6);
    EXPECT_EQ(json["non_manifold_vertices"], 1);
}

TEST(InfoCommand, TextNamesTheFileAndTheUnit)
{
    MeshDir const dir(grid_with_hole(2));
    Outcome const run = run_veld({"info", dir.mesh()});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find(dir.mesh() + ": open\n"), std::string::npos);
    EXPECT_NE(run.out.find(" mm\n"), std::string::npos);
}

} // namespace
