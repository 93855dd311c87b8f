#include "run_veld.h"

#include <gmock/gmock.h>

#include <cmath>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

using namespace veld_test;
using testing::UnorderedElementsAre;

/// The holes that the command lists, for a four by four grid with a square hole of eight edges
/// round (2, 2, 0) unless another mesh is given.
nlohmann::json holes(std::vector<std::string> const& options,
                     TriMesh const& mesh = grid_with_hole(2))
{
    MeshDir const dir(mesh);
    std::vector<std::string> arguments{"holes", dir.mesh(), "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Outcome const run = run_veld(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    auto const json = run.json();
    EXPECT_THAT(keys_of(json), UnorderedElementsAre("holes"));
    return json["holes"];
}

std::vector<int> edges_of(nlohmann::json const& list)
{
    std::vector<int> edges;
    for (auto const& hole : list)
    {
        edges.push_back(hole["edges"]);
    }
    return edges;
}

TEST(HolesCommand, ListsEachHoleWithItsMeasures)
{
    auto const list = holes({});
    ASSERT_THAT(edges_of(list), UnorderedElementsAre(8, 16));
    auto const& hole = list[0]["edges"] == 8 ? list[0] : list[1];
    EXPECT_THAT(keys_of(hole), UnorderedElementsAre("vertices", "edges", "perimeter", "centre"));
    EXPECT_EQ(hole["vertices"], 8);
    EXPECT_DOUBLE_EQ(hole["perimeter"].get<double>(), 8.0);
    EXPECT_EQ(hole["centre"], nlohmann::json({2.0, 2.0, 0.0}));
}

TEST(HolesCommand, ClosedMeshHasAnEmptyList)
{
    EXPECT_TRUE(holes({}, tetrahedron()).empty());
}

TEST(HolesCommand, PinchedPairIsTwoHolesAndTheBorder)
{
    EXPECT_THAT(edges_of(holes({}, pinched_pair())), UnorderedElementsAre(4, 4, 16));
}

TEST(HolesCommand, PerimeterLimitIsStrict)
{
    EXPECT_THAT(edges_of(holes({"--max-perimeter", "16"})), UnorderedElementsAre(8));
    EXPECT_THAT(edges_of(holes({"--max-perimeter", "8"})), UnorderedElementsAre());
}

TEST(HolesCommand, PerimeterZeroIsNoLimit)
{
    EXPECT_THAT(edges_of(holes({"--max-perimeter", "0"})), UnorderedElementsAre(8, 16));
}

TEST(HolesCommand, NearestHoleIsTheOneWhoseRimIsNear)
{
    EXPECT_THAT(edges_of(holes({"--near", "1.9,1.1,0", "--distance", "0.5"})),
                UnorderedElementsAre(8));
    EXPECT_THAT(edges_of(holes({"--near", "-1,-1,0", "--distance", "2"})),
                UnorderedElementsAre(16));
}

TEST(HolesCommand, NoHoleIsNearAtExactlyTheDistance)
{
    EXPECT_THAT(edges_of(holes({"--near", "-1,0,0", "--distance", "1"})), UnorderedElementsAre());
}

TEST(HolesCommand, NearestIsChosenAmongTheShortOnes)
{
    EXPECT_THAT(edges_of(holes({"--near", "-1,0,0", "--distance", "9", "--max-perimeter", "10"})),
                UnorderedElementsAre(8));
}

/// Runs a marker search with the given marker file.
Outcome find_markers(std::string const& markers, std::vector<std::string> const& options)
{
    MeshDir const dir(grid_with_hole(2));
    write_file(dir.file("markers.txt"), markers);
    std::vector<std::string> arguments{"holes", dir.mesh(), "--json", "--markers",
                                       dir.file("markers.txt")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run_veld(arguments);
}

TEST(HolesCommand, MarkerHoleIsShorterThanTheMarkersCircle)
{
    // Eight edges against circles of 8.17 and 7.98.
    Outcome const wide =
        find_markers("# places\n\n2 2 0 # here\n", {"--match", "0.1", "--marker-radius", "1.3"});
    EXPECT_THAT(edges_of(wide.json()["holes"]), UnorderedElementsAre(8));
    Outcome const narrow = find_markers("2 2 0\n", {"--match", "0.1", "--marker-radius", "1.27"});
    EXPECT_EQ(narrow.status, 0);
    EXPECT_TRUE(narrow.json()["holes"].empty());
}

TEST(HolesCommand, MarkerHoleLiesNearItsMarker)
{
    Outcome const run = find_markers("2 2.5 0\n", {"--match", "0.5", "--marker-radius", "1.3"});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.json()["holes"].empty());
}

TEST(HolesCommand, MarkerHoleFacesLikeItsMarkerIfAsked)
{
    std::vector<std::string> const options{"--match", "0.1", "--marker-radius", "1.3", "--normals"};
    EXPECT_THAT(edges_of(find_markers("2 2 0 0 0 5\n", options).json()["holes"]),
                UnorderedElementsAre(8));
    EXPECT_TRUE(find_markers("2 2 0 0 0 -5\n", options).json()["holes"].empty());
}

TEST(HolesCommand, NegativeNormalDotIsANumberAndNoOption)
{
    Outcome const run =
        find_markers("2 2 0 1 0 -0.5\n", {"--match", "0.1", "--marker-radius", "1.3", "--normals",
                                          "--normal-dot", "-0.9"});
    EXPECT_THAT(edges_of(run.json()["holes"]), UnorderedElementsAre(8));
}

TEST(HolesCommand, WrongMarkerLineIsNamed)
{
    std::vector<std::string> const options{"--match", "0.1", "--marker-radius", "1.3"};
    for (std::string const line : {"1 2\n", "1 2 x\n", "1 2 nan\n", "1 2 3 4\n", "1,2,3\n"})
    {
        Outcome const run = find_markers("0 0 0\n" + line, options);
        EXPECT_EQ(run.status, 1) << line;
        EXPECT_EQ(run.error_lines(), 1) << line;
        EXPECT_NE(run.err.find("markers.txt: line 2"), std::string::npos) << run.err;
    }
}

TEST(HolesCommand, MarkersWithoutNormalsAreRefusedWhereNormalsAreAskedFor)
{
    Outcome const run =
        find_markers("2 2 0\n", {"--match", "0.1", "--marker-radius", "1.3", "--normals"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("markers.txt: line 1"), std::string::npos);
}

TEST(HolesCommand, EmptyMarkerFileIsRefused)
{
    EXPECT_EQ(find_markers("# none\n", {"--match", "1", "--marker-radius", "1"}).status, 1);
}

TEST(HolesCommand, ByteOrderMarkOfAMarkerFileIsSkipped)
{
    std::vector<std::string> const options{"--match", "0.1", "--marker-radius", "1.3"};
    Outcome const run = find_markers("\xEF\xBB\xBF"
                                     "2 2 0\r\n",
                                     options);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(edges_of(run.json()["holes"]), UnorderedElementsAre(8));
    EXPECT_EQ(find_markers("2 2 0\n\xEF\xBB\xBF"
                           "2 2 0\n",
                           options)
                  .status,
              1);
    EXPECT_EQ(find_markers("\xEF\xBB", options).status, 1);
}

/// The refusal of something that is no marker file.
void expect_no_marker_file(std::string const& path, std::string const& reason)
{
    MeshDir const dir(grid_with_hole(2));
    Outcome const run =
        run_veld({"holes", dir.mesh(), "--markers", path, "--match", "1", "--marker-radius", "1"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "error: " + path + ": " + reason + "\n");
}

TEST(HolesCommand, MarkersAreReadFromPlainFilesOnly)
{
    TempDir const dir;
    std::filesystem::create_directory(dir.file("folder"));
    expect_no_marker_file(dir.file("none"), "no such file");
    expect_no_marker_file(dir.file("folder"), "is a directory");
#if !defined(_WIN32)
    ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0600), 0);
    expect_no_marker_file(dir.file("pipe"), "is not a file");
#endif
}

TEST(HolesCommand, PerimeterOfHugeCoordinatesIsFinite)
{
    // The square of 3e38 is no float, nor is the sum of the three sides.
    auto const list = holes({}, make_mesh({{0, 0, 0}, {3e38F, 0, 0}, {0, 3e38F, 0}}, {{0, 1, 2}}));
    ASSERT_EQ(list.size(), 1U);
    double const expected = 3e38 * (2.0 + std::sqrt(2.0));
    ASSERT_TRUE(list[0]["perimeter"].is_number());
    EXPECT_NEAR(list[0]["perimeter"].get<double>(), expected, 1e-6 * expected);
}

TEST(HolesCommand, TextListsNumberEdgesAndPerimeter)
{
    MeshDir const dir(grid_with_hole(2));
    Outcome const run = run_veld({"holes", dir.mesh(), "--max-perimeter", "10"});
    EXPECT_NE(run.out.find("1 hole\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("(mm)"), std::string::npos);
}

} // namespace
