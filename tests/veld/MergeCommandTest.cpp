#include "run_veld.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <set>
#include <sstream>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::CRangeDataIO;
using OrvaneAlgorithm::RangeData;
using testing::HasSubstr;

namespace fs = std::filesystem;

/// A folder of frames.
class Frames : public TempDir
{
public:
    explicit Frames(std::vector<RangeData> const& frames)
    {
        fs::create_directory(folder());
        for (std::size_t i = 0; i < frames.size(); ++i)
        {
            fs::path const path = fs::path(folder()) / ("frame-" + std::to_string(i) + ".rge");
            EXPECT_EQ(CRangeDataIO::write_rge(path.wstring(), frames[i]), 0);
        }
    }
    std::string folder() const { return file("frames"); }

    /// `veld merge` on them, with the merged mesh in `merged.ply`.
    Outcome merge(std::vector<std::string> options = {"--json"}) const
    {
        options.insert(options.begin(), {"merge", folder(), "-o", file("merged.ply")});
        return run_veld(options);
    }
};

using Point = std::array<float, 3>;

/// The faces of a mesh by the places of their corners, the way round that they have.
std::multiset<std::array<Point, 3>> faces_of(std::string const& path)
{
    OrvaneAlgorithm::TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    EXPECT_TRUE(OrvaneAlgorithm::read_mesh(path, mesh, report)) << report.error;
    std::multiset<std::array<Point, 3>> faces;
    for (auto const face : mesh.faces())
    {
        std::array<Point, 3> corners{};
        auto corner = mesh.cfv_iter(face);
        for (auto& point : corners)
        {
            auto const& p = mesh.point(*corner);
            point = {p.x(), p.y(), p.z()};
            ++corner;
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        faces.insert(corners);
    }
    return faces;
}

/// Cells are cut across q1-q3, so the first and the last corner of a sheet are in one face each,
/// and such vertices go.
constexpr int LOST_CORNERS = 2;

/// Two flat frames of 21 x 21 points, 0.5 apart, side by side: the gap between them is one spacing.
std::vector<RangeData> side_by_side()
{
    return {flat_frame(21, 21, 0.5F), flat_frame(21, 21, 0.5F, {10.5F, 0.0F, 0.0F})};
}

/// The second frame lies on the first, half of it, and hardly above.
std::vector<RangeData> half_covered()
{
    return {flat_frame(21, 21, 0.5F), flat_frame(21, 21, 0.5F, {5.25F, 0.2F, 0.02F})};
}

TEST(MergeCommand, HasTheDocumentedKeys)
{
    Frames const frames(side_by_side());
    Outcome const run = frames.merge();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    auto const json = run.json();
    EXPECT_THAT(keys_of(json),
                testing::UnorderedElementsAre("frames", "vertices", "faces", "holes", "seconds",
                                              "noise", "noise_aslant", "noise_depth", "prepared",
                                              "spacing", "stitch_radius", "long_edge",
                                              "overlap_removed", "outliers_removed", "method"));
    EXPECT_EQ(json["frames"], 2);
    EXPECT_EQ(json["vertices"], 2 * 21 * 21 - LOST_CORNERS);
    EXPECT_EQ(json["overlap_removed"], 0);
}

TEST(MergeCommand, FramesSideBySideBecomeOneSheet)
{
    Frames const frames(side_by_side());
    auto const json = frames.merge().json();
    // 20 x 20 cells each and 20 between them.
    EXPECT_EQ(json["faces"], 2 * (2 * 400 + 20) - LOST_CORNERS);
    EXPECT_EQ(json["holes"], 1);
    auto const info = run_veld({"info", frames.file("merged.ply"), "--json"}).json();
    EXPECT_EQ(info["components"], 1);
    EXPECT_EQ(info["non_manifold_vertices"], 0);
}

TEST(MergeCommand, SpacingIsMeasuredAndTheThresholdsFollowIt)
{
    Frames const frames(side_by_side());
    auto const json = frames.merge().json();
    EXPECT_NEAR(json["spacing"].get<double>(), 0.5, 1e-6);
    EXPECT_NEAR(json["stitch_radius"].get<double>(), 0.5, 1e-6);
    EXPECT_NEAR(json["long_edge"].get<double>(), 2.5, 1e-6);
    EXPECT_THAT(frames.merge({}).out, HasSubstr("spacing 0.5 mm, stitch radius 0.5 mm"));
}

TEST(MergeCommand, WhatIsGivenIsTaken)
{
    Frames const frames(side_by_side());
    auto const json =
        frames.merge({"--json", "--spacing", "0.4", "--stitch-radius", "0.1", "--long-edge", "3"})
            .json();
    EXPECT_EQ(json["spacing"], 0.4);
    EXPECT_EQ(json["stitch_radius"], 0.1);
    EXPECT_EQ(json["long_edge"], 3.0);
    // Borders one spacing apart do not see each other within twice 0.1 mm.
    EXPECT_LT(json["faces"].get<int>(), 2 * (2 * 400 + 20));
}

/// Side by side, and a point in front of the gap between them, off the surface.
std::vector<RangeData> with_a_loose_point()
{
    auto frames = side_by_side();
    frames.push_back(flat_frame(1, 1, 0.5F, {10.25F, 5.0F, 0.3F}));
    return frames;
}

TEST(MergeCommand, OutlierMethodTakesLoosePointsOffTheSurface)
{
    Frames const frames(with_a_loose_point());
    std::vector<std::string> const options{"--json", "--keep-layers", "--method", "outlier"};
    Outcome const run = frames.merge(options);
    ASSERT_EQ(run.status, 0) << run.err;
    auto const json = run.json();
    EXPECT_EQ(json["method"], "outlier");
    EXPECT_EQ(json["outliers_removed"], 1);
    EXPECT_NEAR(json["spacing"].get<double>(), 0.5, 1e-6);
    auto const heights = [&]
    {
        return run_veld({"info", frames.file("merged.ply"), "--json"})
            .json()["bounding_box"]["max"][2]
            .get<double>();
    };
    EXPECT_EQ(heights(), 0.0);
    auto kept = options;
    kept.insert(kept.end(), {"--outlier-factor", "0", "--normal-angle", "90"});
    EXPECT_EQ(frames.merge(kept).json()["outliers_removed"], 0);
    EXPECT_GT(heights(), 0.29);
    EXPECT_THAT(frames.merge({"--keep-layers", "--method", "outlier"}).out,
                HasSubstr("  outliers: 1 loose point off the surface taken out\n"));
}

TEST(MergeCommand, OutlierMethodMakesOneSheetOfFramesSideBySide)
{
    Frames const frames(side_by_side());
    auto const json = frames.merge({"--json", "--method", "outlier"}).json();
    EXPECT_EQ(json["faces"], 2 * (2 * 400 + 20) - LOST_CORNERS);
    EXPECT_EQ(json["holes"], 1);
    auto const info = run_veld({"info", frames.file("merged.ply"), "--json"}).json();
    EXPECT_EQ(info["components"], 1);
    EXPECT_EQ(info["non_manifold_vertices"], 0);
}

TEST(MergeCommand, TheLogDoesNotChangeWhatTheOutlierMethodMakes)
{
    Frames const frames(with_a_loose_point());
    std::vector<std::string> options{"--keep-layers", "--method", "outlier"};
    ASSERT_EQ(frames.merge(options).status, 0);
    std::string const mesh = file_content(frames.file("merged.ply"));
    options.emplace_back("--verbose");
    ASSERT_EQ(frames.merge(options).status, 0);
    EXPECT_EQ(file_content(frames.file("merged.ply")), mesh);
}

TEST(MergeCommand, LongBorderEdgesStayIfTheyAreKept)
{
    // The last column is so far off that the cells before it are stretched to nine spacings.
    RangeData frame = flat_frame(21, 21, 0.5F);
    for (auto& point : frame.vCoord)
    {
        point.x() += point.x() > 9.9F ? 4.0F : 0.0F;
    }
    Frames const frames({frame});
    std::vector<std::string> options{"--json", "--method", "outlier", "--keep-layers"};
    auto const cut = frames.merge(options).json();
    EXPECT_EQ(cut["faces"], 2 * 19 * 20 - LOST_CORNERS);
    EXPECT_TRUE(cut.contains("long_edge"));
    options.emplace_back("--keep-long-edges");
    auto const kept = frames.merge(options).json();
    EXPECT_EQ(kept["faces"], 2 * 20 * 20 - LOST_CORNERS);
    EXPECT_FALSE(kept.contains("long_edge"));
}

TEST(MergeCommand, SmallPiecesGo)
{
    Frames const frames({flat_frame(21, 21, 0.5F), flat_frame(3, 3, 0.5F, {50, 0, 0})});
    EXPECT_EQ(frames.merge().json()["vertices"], 21 * 21 - LOST_CORNERS);
    EXPECT_EQ(frames.merge({"--json", "--min-component", "0"}).json()["vertices"],
              21 * 21 + 9 - 2 * LOST_CORNERS);
}

TEST(MergeCommand, OverlapIsTakenOutUnlessItIsKept)
{
    Frames const frames(half_covered());
    auto const single = frames.merge().json();
    EXPECT_GT(single["overlap_removed"].get<int>(), 150);
    EXPECT_LT(single["overlap_removed"].get<int>(), 300);
    auto const layers = frames.merge({"--json", "--keep-layers"}).json();
    EXPECT_EQ(layers["overlap_removed"], 0);
    EXPECT_EQ(layers["vertices"], 2 * (21 * 21 - LOST_CORNERS));
    EXPECT_GT(layers["faces"].get<int>(), single["faces"].get<int>() + 200);
    EXPECT_THAT(frames.merge({}).out, HasSubstr("points taken out"));
    EXPECT_THAT(frames.merge({"--keep-layers"}).out, testing::Not(HasSubstr("taken out")));
}

TEST(MergeCommand, PointsMoveToTheMeanOfTheLayersUnlessTheyAreKept)
{
    Frames const frames({flat_frame(21, 21, 0.5F), flat_frame(21, 21, 0.5F, {0, 0, 0.1F})});
    auto const expect_heights =
        [&](std::vector<std::string> const& options, double low, double high)
    {
        Outcome const run = frames.merge(options);
        EXPECT_EQ(run.status, 0) << run.err;
        auto const box =
            run_veld({"info", frames.file("merged.ply"), "--json"}).json()["bounding_box"];
        EXPECT_NEAR(box["min"][2].get<double>(), low, 1e-6);
        EXPECT_NEAR(box["max"][2].get<double>(), high, 1e-6);
        return run.out;
    };
    EXPECT_THAT(expect_heights({}, 0.05, 0.05), HasSubstr("mean of the layers"));
    EXPECT_THAT(expect_heights({"--keep-points"}, 0.0, 0.0),
                testing::Not(HasSubstr("mean of the layers")));
    expect_heights({"--keep-layers"}, 0.0, 0.1);
    EXPECT_EQ(frames.merge({"--keep-layers", "--keep-points"}).status, 1);
}

TEST(MergeCommand, AnErrorNamesTheOptionAndNotTheSetting)
{
    Outcome const run = Frames(half_covered()).merge({"--prepare", "always", "--keep-layers"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, testing::EndsWith(": none can be kept (see --prepare)\n"));
}

TEST(MergeCommand, TheFrameOfEveryVertexIsWritten)
{
    Frames const frames(half_covered());
    Outcome const run = frames.merge({"--json", "--frame-map", frames.file("map.txt")});
    ASSERT_EQ(run.status, 0) << run.err;
    std::istringstream text(file_content(frames.file("map.txt")));
    std::map<int, int> count;
    for (int frame = 0; text >> frame;)
    {
        ++count[frame];
    }
    EXPECT_EQ(count.size(), 2U);
    EXPECT_EQ(count[0] + count[1], run.json()["vertices"].get<int>());
}

TEST(MergeCommand, SameBytesForAnyNumberOfThreads)
{
    Frames const frames(random_frames(3, 6, 40, 0.5F));
    ASSERT_EQ(frames.merge({"--threads", "1", "--frame-map", frames.file("map.txt")}).status, 0);
    std::string const mesh = file_content(frames.file("merged.ply"));
    std::string const map = file_content(frames.file("map.txt"));
    for (char const* const threads : {"2", "8"})
    {
        ASSERT_EQ(
            frames.merge({"--threads", threads, "--frame-map", frames.file("map.txt")}).status, 0);
        EXPECT_EQ(file_content(frames.file("merged.ply")), mesh);
        EXPECT_EQ(file_content(frames.file("map.txt")), map);
    }
}

void expect_error(Frames const& frames, Outcome const& run, int status, std::string const& text)
{
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.error_lines(), 1) << run.err;
    EXPECT_THAT(run.err, HasSubstr(text));
    EXPECT_FALSE(fs::exists(frames.file("merged.ply")));
}

TEST(MergeCommand, ErrorsNameWhatIsWrong)
{
    Frames const frames(side_by_side());
    expect_error(frames, frames.merge({"--min-component", "100000"}), 2, "--min-component");
    expect_error(frames, frames.merge({"--spacing", "-1"}), 1, "--spacing");
    expect_error(frames, frames.merge({"--method", "glue"}), 1, "--method");
    expect_error(frames, frames.merge({"--method", "outlier", "--stitch-radius", "1"}), 1,
                 "--stitch-radius: --method outlier does not use it: borders look for others");
    expect_error(frames, frames.merge({"--outlier-factor", "3"}), 1,
                 "--outlier-factor: --method stitch does not use it: it keeps every loose point");
    expect_error(frames, frames.merge({"--keep-long-edges"}), 1,
                 "--keep-long-edges: --method stitch does not use it: it always cuts them");
    expect_error(frames,
                 frames.merge({"--method", "outlier", "--keep-long-edges", "--long-edge", "1"}), 1,
                 "--long-edge excludes --keep-long-edges");
    expect_error(
        frames, frames.merge({"--frame-map", (fs::path(frames.folder()) / "frame-0.rge").string()}),
        1, "frame-0.rge");
    expect_error(frames, frames.merge({"--frame-map", frames.file("merged.ply")}), 1, "merged.ply");
    fs::create_directory(frames.file("empty"));
    expect_error(frames, run_veld({"merge", frames.file("empty"), "-o", frames.file("merged.ply")}),
                 1, "empty");
    // Points without neighbours tell no spacing.
    Frames const lone({flat_frame(1, 1, 1.0F)});
    expect_error(lone, lone.merge({}), 1, "--spacing");
}

TEST(MergeCommand, FramesThatCannotBeUsedAreNamedAndTheOthersMerged)
{
    auto ranges = side_by_side();
    ranges.emplace_back(); // no points
    ranges.push_back(flat_frame(21, 21, 0.5F, {30, 0, 0}));
    for (auto& point : ranges.back().vCoord)
    {
        point.y() = std::numeric_limits<float>::quiet_NaN();
    }
    ranges.push_back(flat_frame(21, 21, 0.5F, {60, 0, 0}));
    ranges.back().disable_vNormal();
    Frames const frames(ranges);
    Outcome const run = frames.merge();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.error_lines(), 3) << run.err;
    EXPECT_THAT(run.err, HasSubstr("frame-2.rge: left out: it holds no points"));
    EXPECT_THAT(run.err, HasSubstr("frame-3.rge: left out: it holds no points"));
    EXPECT_THAT(run.err, HasSubstr("frame-4.rge: has no normals: computed from its grid"));
    EXPECT_EQ(run.json()["frames"], 3);
    EXPECT_EQ(run.json()["vertices"], 3 * 21 * 21 - 2 * LOST_CORNERS);
}

TEST(MergeCommand, TextFramesThatCannotBeUsedAreNamedAndTheOthersMerged)
{
    TempDir const dir;
    fs::create_directory(dir.file("in"));
    for (int const number : {1, 2, 3, 4})
    {
        std::ostringstream points;
        // The last one is two pixels shorter than its grid says.
        for (int i = 0; i < (number == 4 ? 98 : 100); ++i)
        {
            points << 0.5 * (i % 10) + 20 * number << " " << 0.5 * (i / 10) << " 100 0 0 0\n";
        }
        write_file(dir.file("in/c" + std::to_string(number) + ".asc"), points.str());
    }
    write_file(dir.file("in/p1.txt"), "1 0 0 0 1 0 0 0 1 0 0 0");
    write_file(dir.file("in/p2.txt"), "1 0 0 0 1 0 0 0 1 0 0"); // and none for 3
    write_file(dir.file("in/p4.txt"), "1 0 0 0 1 0 0 0 1 0 0 0");
    nlohmann::json const scan{{"rows", 10},
                              {"columns", 10},
                              {"directory", "in"},
                              {"points", {{"prefix", "c"}, {"suffix", ".asc"}}},
                              {"poses", {{"form", "twelve"}, {"prefix", "p"}, {"suffix", ".txt"}}},
                              {"first", 1},
                              {"last", 4}};
    write_file(dir.file("scan.json"), scan.dump());
    Outcome const run = run_veld({"merge", dir.file("scan.json"), "-o", dir.file("merged.ply"),
                                  "--json", "--min-component", "0"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.error_lines(), 3) << run.err;
    EXPECT_THAT(run.err, HasSubstr("frame 2: left out: its pose lacks 1 of 12 numbers"));
    EXPECT_THAT(run.err, HasSubstr("frame 3: left out: there is no pose for it"));
    EXPECT_THAT(run.err, HasSubstr("frame 4: its point file ends after 98 of 100 pixels"));
    EXPECT_EQ(run.json()["frames"], 2);
}

using MergeCommandRealData = RealData;

TEST_F(MergeCommandRealData, OutlierMethodMakesOneMeshOfTheBunnyToo)
{
    TempDir const dir;
    std::string const merged = dir.file("bunny.ply");
    Outcome const run = run_veld({"merge", real_data("range_bunny/bun.conf"), "-o", merged,
                                  "--scale", "1000", "--json", "--method", "outlier"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_GT(run.json()["faces"], 250000);
    auto const info = run_veld({"info", merged, "--json"}).json();
    EXPECT_EQ(info["non_manifold_vertices"], 0);
    EXPECT_EQ(info["isolated_vertices"], 0);
}

TEST_F(MergeCommandRealData, BunnyBecomesOneMesh)
{
    TempDir const dir;
    std::string const merged = dir.file("bunny.ply");
    Outcome const run = run_veld(
        {"merge", real_data("range_bunny/bun.conf"), "-o", merged, "--scale", "1000", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["frames"], 10);
    // Most places were seen by several of the ten scans.
    EXPECT_GT(run.json()["overlap_removed"].get<int>(), 362272 / 2);
    auto const info = run_veld({"info", merged, "--json"}).json();
    EXPECT_EQ(info["non_manifold_vertices"], 0);
    EXPECT_EQ(info["isolated_vertices"], 0);
}

TEST(MergeCommand, TwoTilesBecomeTheMeshOfTheWhole)
{
    Frames const frames({flat_frame(41, 41, 0.5F), flat_frame(41, 41, 0.5F, {20.5F, 0.0F, 0.0F})});
    auto const whole = frames.merge().json();
    auto const faces = faces_of(frames.file("merged.ply"));
    auto const tiled = frames.merge({"--json", "--tile-points", "2000"}).json();
    EXPECT_EQ(tiled["tiles"].size(), 2U);
    EXPECT_EQ(tiled["vertices"], whole["vertices"]);
    EXPECT_EQ(tiled["faces"], whole["faces"]);
    EXPECT_EQ(tiled["points"], 2 * 41 * 41);
    EXPECT_EQ(faces.size(), whole["faces"]);
    EXPECT_EQ(faces_of(frames.file("merged.ply")), faces); // only their order is another
}

TEST(MergeCommand, TilesAreToldAndCanBeKept)
{
    Frames const frames({flat_frame(41, 41, 0.5F), flat_frame(41, 41, 0.5F, {20.5F, 0.0F, 0.0F})});
    std::vector<std::string> const options{"--tile-points", "1800", "--keep-tiles",
                                           frames.file("tiles")};
    auto const first = frames.merge(options);
    EXPECT_THAT(first.out, HasSubstr("tile 1: "));
    EXPECT_TRUE(fs::exists(frames.file("tiles/plan.json")));
    auto again = options;
    again.emplace_back("--json");
    auto const second = frames.merge(again).json();
    EXPECT_TRUE(second["tiles"][0]["merge"]["found"].get<bool>());
}

TEST(MergeCommand, TilesLeaveNothingBesideTheMesh)
{
    Frames const frames(side_by_side());
    EXPECT_EQ(frames.merge({"--tile-points", "400"}).status, 0);
    std::size_t files = 0;
    for ([[maybe_unused]] auto const& entry : fs::directory_iterator(frames.file(".")))
    {
        ++files;
    }
    EXPECT_EQ(files, 2U); // The frames and the mesh.
}

TEST(MergeCommand, TilesAreRefusedWhereTheyCannotBe)
{
    Frames const frames(side_by_side());
    EXPECT_NE(frames.merge({"--tile-points", "0"}).status, 0);
    EXPECT_NE(frames.merge({"--tile-margin", "20"}).status, 0);
    EXPECT_NE(frames.merge({"--tile-points", "9", "--frame-map", frames.file("map")}).status, 0);
    auto const outlier = frames.merge({"--tile-points", "9", "--method", "outlier"});
    EXPECT_EQ(outlier.status, 1);
    EXPECT_THAT(outlier.err, HasSubstr("through the whole scan (see --method)"));
    auto const stl =
        run_veld({"merge", frames.folder(), "-o", frames.file("merged.stl"), "--tile-points", "9"});
    EXPECT_EQ(stl.status, 1);
    EXPECT_THAT(stl.err, HasSubstr("is for a mesh that becomes a .ply file"));
}

} // namespace
