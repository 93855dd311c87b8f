#include "workflow/tiling/Tiling.h"

#include "algorithmVeld/cleanup/PatchEditor.h"
#include "algorithmVeld/common/CRangeDataIO.h"
#include "tests/reconstruction/depth_frames.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/real_data.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"
#include "tests/workflow/reason_of.h"
#include "workflow/files/Checksum.h"
#include "workflow/files/Json.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/tiling/files/MeshRows.h"
#include "workflow/tiling/files/TileMesh.h"
#include "workflow/tiling/plan/Survey.h"
#include "workflow/tiling/plan/TileBoxes.h"
#include "workflow/tiling/seams/SeamFaces.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <thread>
#include <tuple>

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::CRangeDataIO;
using OrvaneAlgorithm::TriMesh;
using testing::HasSubstr;

namespace fs = std::filesystem;

using Point = std::array<float, 3>;
using Corners = std::array<Point, 3>;
using FaceSet = std::multiset<Corners>;

/// Each face by the places of its corners, the way round that it has.
FaceSet faces_of(TriMesh const& mesh)
{
    FaceSet faces;
    for (auto const face : mesh.faces())
    {
        Corners corners{};
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

/// Faces that only one of two meshes has.
std::vector<Corners> differences(TriMesh const& one, TriMesh const& other)
{
    std::vector<Corners> list;
    FaceSet const a = faces_of(one);
    FaceSet const b = faces_of(other);
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(list));
    return list;
}

std::string content_of(fs::path const& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

int boundary_edges(TriMesh const& mesh)
{
    auto const edges = mesh.edges();
    return static_cast<int>(std::count_if(edges.begin(), edges.end(),
                                          [](auto const& edge) { return edge.is_boundary(); }));
}

/// Vertices at which several fans of faces meet, or no face at all.
int odd_vertices(TriMesh const& mesh)
{
    int odd = 0;
    for (auto const vertex : mesh.vertices())
    {
        int gaps = 0;
        for (auto const h : mesh.voh_range(vertex))
        {
            gaps += mesh.is_boundary(h) ? 1 : 0;
        }
        odd += gaps > 1 || mesh.is_isolated(vertex) ? 1 : 0;
    }
    return odd;
}

/// A scan of frames in a folder, merged as a whole and in tiles.
class TiledScan : public TempDir
{
public:
    explicit TiledScan(std::vector<RangeData> const& frames) : source(file("frames"))
    {
        fs::create_directory(source);
        for (std::size_t i = 0; i < frames.size(); ++i)
        {
            auto const path = source / ("frame-" + std::to_string(100 + i) + ".rge");
            EXPECT_EQ(CRangeDataIO::write_rge(path.wstring(), frames[i]), 0);
        }
    }
    explicit TiledScan(fs::path path) : source(std::move(path)) {}

    TriMesh whole()
    {
        return veld::merge(veld::load_frames(source, load, context), settings, context).mesh;
    }

    veld::TiledMergeResult merge(std::string const& folder = "tiles")
    {
        veld::OutputFile output(file("tiled.ply"));
        auto result =
            veld::merge_in_tiles(source, load, settings, tiling, file(folder), output, {}, context);
        output.commit();
        return result;
    }

    veld::TilePlan plan(std::string const& folder = "tiles")
    {
        return veld::plan_tiles(source, load, settings, tiling, file(folder), context);
    }

    veld::Json plan_json() const { return veld::Json::parse(content_of(file("tiles/plan.json"))); }

    fs::path kept_file(std::size_t tile, int frame) const
    {
        return veld::TileFolder(file("tiles")).kept_file(tile, frame);
    }

    TriMesh mesh() { return veld::read_mesh(file("tiled.ply"), context).mesh; }

    fs::path source;
    veld::LoadFramesSettings load;
    veld::MergeSettings settings;
    veld::TileSettings tiling;
    veld::Context context;
};

/// Nine frames of hills that overlap each other, with noise and colours.
std::vector<RangeData> hills()
{
    std::vector<RangeData> frames;
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 3; ++column)
        {
            frames.push_back(hilly_frame(60.0 * column + 0.37 * row, 60.0 * row + 0.21 * column, 80,
                                         static_cast<unsigned>(3 * row + column), 0.02));
            RangeData& frame = frames.back();
            frame.enable_vColor();
            for (std::size_t i = 0; i < frame.get_vn(); ++i)
            {
                frame.vColor[i] = {0.2F * static_cast<float>(row),
                                   0.2F * static_cast<float>(column),
                                   static_cast<float>(i % 50) / 49.0F};
            }
        }
    }
    return frames;
}

/// How far a point is from the nearest side of a tile within the scan, in millimetres.
class Sides
{
public:
    explicit Sides(fs::path const& plan)
    {
        auto const json = veld::Json::parse(std::ifstream(plan));
        double const side = json["side"];
        for (auto const& tile : json["tiles"])
        {
            for (auto const* end : {"low", "high"})
            {
                for (std::size_t a = 0; a < 3; ++a)
                {
                    int const cell = tile[end][a];
                    if (cell != std::numeric_limits<int>::min() &&
                        cell != std::numeric_limits<int>::max())
                    {
                        sides_.insert({a, cell * side});
                    }
                }
            }
        }
    }

    double distance(Point const& point) const
    {
        double least = std::numeric_limits<double>::max();
        for (auto const& [axis, place] : sides_)
        {
            least = std::min(least, std::abs(static_cast<double>(point[axis]) - place));
        }
        return least;
    }

private:
    std::set<std::pair<std::size_t, double>> sides_;
};

TEST(Tiling, OneTileIsTheWhole)
{
    TiledScan scan(hills());
    auto const result = scan.merge();
    ASSERT_EQ(result.tiles.size(), 1U);
    EXPECT_EQ(result.join.refused, 0U);
    auto const whole = scan.whole();
    EXPECT_EQ(result.join.faces, whole.n_faces());
    EXPECT_EQ(result.join.vertices, whole.n_vertices());
    EXPECT_TRUE(differences(whole, scan.mesh()).empty());
}

TEST(Tiling, TilesDifferFromTheWholeInFewFacesNearTheirSidesAlone)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.tiling.margin = 32.0;
    auto const result = scan.merge();
    EXPECT_GT(result.tiles.size(), 3U);
    auto const whole = scan.whole();
    auto const mesh = scan.mesh();
    auto const differing = differences(whole, mesh);
    EXPECT_LT(static_cast<double>(differing.size()), 0.001 * static_cast<double>(whole.n_faces()));
    // The margin, and some spacings that a decision reaches; the scan goes on far beyond.
    constexpr double REACH = 40.0;
    Sides const sides(scan.file("tiles/plan.json"));
    for (auto const& face : differing)
    {
        EXPECT_LT(sides.distance(face[0]), REACH);
    }
    EXPECT_TRUE(std::any_of(mesh.vertices_begin(), mesh.vertices_end(),
                            [&](auto const vertex)
                            {
                                auto const& p = mesh.point(vertex);
                                return sides.distance({p.x(), p.y(), p.z()}) > 1.4 * REACH;
                            }));
    EXPECT_EQ(mesh.n_faces(), result.join.faces);
    EXPECT_EQ(odd_vertices(mesh), 0);
    EXPECT_EQ(OrvaneAlgorithm::PatchEditor::count_components_by_face(mesh), 1);
    EXPECT_NEAR(boundary_edges(mesh), boundary_edges(whole), 0.02 * boundary_edges(whole));
}

TEST(Tiling, VerticesKeepTheColoursOfTheirSamples)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    std::map<Point, OrvaneAlgorithm::Vector3f> colours;
    auto const whole = scan.whole();
    for (auto const vertex : whole.vertices())
    {
        auto const& p = whole.point(vertex);
        colours[{p.x(), p.y(), p.z()}] = whole.color(vertex);
    }
    auto const mesh = scan.mesh();
    ASSERT_TRUE(mesh.has_vertex_colors());
    std::size_t known = 0;
    for (auto const vertex : mesh.vertices())
    {
        auto const& p = mesh.point(vertex);
        auto const found = colours.find({p.x(), p.y(), p.z()});
        if (found != colours.end())
        {
            ++known;
            EXPECT_LT((found->second - mesh.color(vertex)).cwiseAbs().maxCoeff(), 0.003F);
        }
    }
    EXPECT_GT(known, mesh.n_vertices() / 2);
}

TEST(Tiling, NarrowMarginsLeaveGapsThatAreStitchedToASoundMesh)
{
    for (unsigned const seed : {1U, 2U, 3U})
    {
        SCOPED_TRACE(seed);
        TiledScan scan(random_frames(seed, 6, 90, 1.0F));
        scan.tiling.tile_points = 3000;
        scan.tiling.margin = 8.0;
        auto const result = scan.merge();
        EXPECT_GT(result.join.refused, 0U);
        auto const mesh = scan.mesh();
        EXPECT_EQ(mesh.n_faces(), result.join.faces);
        EXPECT_EQ(odd_vertices(mesh), 0);
        auto const whole = scan.whole();
        EXPECT_NEAR(static_cast<double>(mesh.n_faces()), static_cast<double>(whole.n_faces()),
                    0.02 * static_cast<double>(whole.n_faces()));
        EXPECT_LT(boundary_edges(mesh), 1.25 * boundary_edges(whole));
    }
}

TEST(Tiling, EveryLayerIsKeptWhereThatIsAskedFor)
{
    TiledScan scan(hills());
    scan.settings.layers = veld::Layers::ALL;
    scan.tiling.tile_points = 20000;
    auto const result = scan.merge();
    EXPECT_GT(result.tiles.size(), 2U);
    for (auto const& tile : result.tiles)
    {
        EXPECT_EQ(tile.thin.removed, 0U);
    }
    auto const whole = scan.whole();
    auto const mesh = scan.mesh();
    EXPECT_EQ(odd_vertices(mesh), 0);
    EXPECT_LT(static_cast<double>(differences(whole, mesh).size()),
              0.001 * static_cast<double>(whole.n_faces()));
}

TEST(Tiling, TheBytesAreTheSameForAnyNumberOfThreads)
{
    TiledScan scan(random_frames(1, 6, 90, 1.0F));
    scan.tiling.tile_points = 3000;
    scan.tiling.margin = 8.0;
    std::set<std::string> outcomes;
    for_thread_counts(
        [&]
        {
            fs::remove_all(scan.file("tiles"));
            EXPECT_GT(scan.merge().join.stitched, 0U); // so gaps are closed, too
            outcomes.insert(content_of(scan.file("tiled.ply")));
        });
    EXPECT_EQ(outcomes.size(), 1U);
}

TEST(Tiling, GoesOnFromTheTilesThatAreDone)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    auto const first = scan.merge();
    std::string const bytes = content_of(scan.file("tiled.ply"));
    EXPECT_FALSE(first.plan.found);
    fs::remove(scan.file("tiles/tile-00001/mesh.tile"));
    auto const second = scan.merge();
    EXPECT_TRUE(second.plan.found);
    EXPECT_TRUE(second.tiles[1].thin.found);
    EXPECT_TRUE(second.tiles[0].merge.found);
    EXPECT_FALSE(second.tiles[1].merge.found);
    EXPECT_EQ(content_of(scan.file("tiled.ply")), bytes);
}

TEST(Tiling, StepsByThemselvesGiveTheSame)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    std::string const folder = scan.file("by-step");
    auto const plan =
        veld::plan_tiles(scan.source, scan.load, scan.settings, scan.tiling, folder, scan.context);
    EXPECT_EQ(veld::read_tile_plan(folder).tiles.size(), plan.tiles.size());
    for (std::size_t t = plan.tiles.size(); t-- > 0;)
    {
        veld::thin_tile(folder, t, scan.context);
    }
    for (std::size_t t = plan.tiles.size(); t-- > 0;)
    {
        veld::merge_tile(folder, t, scan.context);
    }
    veld::OutputFile output(scan.file("by-step.ply"));
    veld::join_tiles(folder, output, scan.context);
    output.commit();
    EXPECT_EQ(content_of(scan.file("by-step.ply")), content_of(scan.file("tiled.ply")));
}

TEST(Tiling, RefusesAFolderWithTheTilesOfSomethingElse)
{
    TiledScan scan(hills());
    scan.merge();
    scan.settings.max_hole_edges = 12;
    EXPECT_THAT(reason_of([&] { scan.merge(); }), HasSubstr("tiles: holds the tiles of other"));
}

/// Someone removes the files of a folder and leaves the folders in it.
TEST(Tiling, TilesOfAPlanThatIsGoneAreNotTaken)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    fs::remove(scan.file("tiles/plan.json"));
    scan.settings.max_hole_edges = 12;
    auto const result = scan.merge();
    EXPECT_FALSE(result.tiles[0].thin.found);
    EXPECT_FALSE(result.tiles[0].merge.found);
    std::string const bytes = content_of(scan.file("tiled.ply"));
    scan.merge("others");
    EXPECT_EQ(content_of(scan.file("tiled.ply")), bytes);
}

TEST(Tiling, TheMeshOfAnotherTileIsRefused)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    fs::copy_file(scan.file("tiles/tile-00001/mesh.tile"), scan.file("tiles/tile-00000/mesh.tile"),
                  fs::copy_options::overwrite_existing);
    veld::OutputFile output(scan.file("other.ply"));
    EXPECT_THAT(reason_of([&] { veld::join_tiles(scan.file("tiles"), output, scan.context); }),
                HasSubstr("tile-00000/mesh.tile: is the mesh of another tile"));
    auto const again = scan.merge();
    EXPECT_FALSE(again.tiles[0].merge.found);
    EXPECT_TRUE(again.tiles[1].merge.found);
}

/// With its version changed, and the checksum behind it with that.
void change_version(fs::path const& tile_mesh)
{
    std::string bytes = content_of(tile_mesh);
    bytes.resize(bytes.size() - veld::Checksum().text().size());
    constexpr std::size_t PLACE = sizeof(std::uint64_t); // behind the length of its list
    ++bytes[PLACE];
    std::ofstream(tile_mesh, std::ios::binary) << bytes << veld::Checksum().add(bytes).text();
}

TEST(Tiling, TheMeshOfAnotherVersionIsMadeAgain)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    std::string const bytes = content_of(scan.file("tiled.ply"));
    change_version(scan.file("tiles/tile-00001/mesh.tile"));
    veld::OutputFile output(scan.file("other.ply"));
    EXPECT_THAT(reason_of([&] { veld::join_tiles(scan.file("tiles"), output, scan.context); }),
                HasSubstr("tile-00001/mesh.tile: is the mesh of another tile, of another plan or "
                          "of another version"));
    auto const again = scan.merge();
    EXPECT_TRUE(again.tiles[0].merge.found);
    EXPECT_FALSE(again.tiles[1].merge.found);
    EXPECT_EQ(content_of(scan.file("tiled.ply")), bytes);
}

TEST(Tiling, APlanOfAnotherVersionOfTheLibraryIsRefused)
{
    TiledScan scan(hills());
    scan.merge();
    auto plan = scan.plan_json();
    EXPECT_EQ(plan["made_by"], veld::tile_maker());
    plan["made_by"] = "0.0.1 of some solver";
    std::ofstream(scan.file("tiles/plan.json")) << plan;
    EXPECT_THAT(reason_of([&] { scan.merge(); }),
                HasSubstr("plan.json: holds the tiles of another version of the library"));
    EXPECT_THAT(reason_of([&] { veld::thin_tile(scan.file("tiles"), 0, scan.context); }),
                HasSubstr("of another version of the library"));
}

/// A plan, another one in the same folder that was killed while it wrote a tile, the first again.
TEST(Tiling, ATileThatAnotherPlanBeganIsMadeAgain)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    std::string const bytes = content_of(scan.file("tiled.ply"));
    auto const given = scan.settings;
    scan.settings.layers = veld::Layers::ALL;
    fs::remove(scan.file("tiles/plan.json"));
    auto const other = scan.plan();
    // The second of its files cannot take its place: whoever writes ends there, as one who is
    // killed does.
    auto const& frames = other.tiles[0].frames;
    ASSERT_GT(frames.size(), 1U);
    fs::path const second = scan.kept_file(0, frames[1]);
    fs::remove(second);
    fs::create_directory(second);
    std::ofstream(second / "file") << "x";
    EXPECT_THAT(reason_of([&] { veld::thin_tile(scan.file("tiles"), 0, scan.context); }),
                HasSubstr("cannot be written"));
    fs::remove_all(second);
    fs::remove(scan.file("tiles/plan.json"));
    scan.settings = given;
    auto const again = scan.merge();
    EXPECT_FALSE(again.tiles[0].thin.found);
    EXPECT_EQ(content_of(scan.file("tiled.ply")), bytes);
}

TEST(Tiling, WhatAnEarlierPlanLeftGoesAndNothingElseDoes)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    auto const many = scan.merge().plan.tiles.size();
    fs::remove(scan.file("tiles/plan.json"));
    std::string const last = "tiles/tile-0000" + std::to_string(many - 1);
    std::string const before_last = "tiles/tile-0000" + std::to_string(many - 2);
    std::ofstream(scan.file(last) + "/notes.txt") << "x";
    std::ofstream(scan.file("tiles/tile-00000/piece-000099.rge")) << "x";
    fs::create_directory(scan.file("tiles/tile-of-mine"));
    scan.tiling.tile_points = 40000;
    ASSERT_LT(scan.merge().plan.tiles.size(), many - 1);
    EXPECT_FALSE(fs::exists(scan.file(before_last)));
    EXPECT_FALSE(fs::exists(scan.file(last) + "/mesh.tile"));
    EXPECT_TRUE(fs::exists(scan.file(last) + "/notes.txt"));
    EXPECT_FALSE(fs::exists(scan.file("tiles/tile-00000/piece-000099.rge")));
    EXPECT_TRUE(fs::exists(scan.file("tiles/tile-of-mine")));
}

TEST(Tiling, AFileOfTheScanIsNeverTheMesh)
{
    TiledScan scan(hills());
    veld::plan_tiles(scan.source, scan.load, scan.settings, scan.tiling, scan.file("tiles"),
                     scan.context);
    // Range scans are PLY files, as the mesh is. Their names are all that counts here.
    auto plan = scan.plan_json();
    std::ofstream(scan.file("bun000.ply")) << "a scan";
    plan["sources"].push_back(scan.file("bun000.ply"));
    std::ofstream(scan.file("tiles/plan.json")) << plan;
    fs::create_symlink(scan.file("bun000.ply"), scan.file("link.ply"));
    for (auto const* name : {"bun000.ply", "link.ply"})
    {
        SCOPED_TRACE(name);
        veld::OutputFile output(scan.file(name));
        EXPECT_THAT(reason_of([&] { veld::join_tiles(scan.file("tiles"), output, scan.context); }),
                    HasSubstr(std::string(name) + ": is an input, which is never written"));
    }
    EXPECT_EQ(content_of(scan.file("bun000.ply")), "a scan");
    EXPECT_THAT(scan.plan_json()["sources"],
                testing::Contains(fs::canonical(scan.source / "frame-100.rge").string()));
}

TEST(Tiling, WhatIsWrongWithTheOutputIsToldBeforeTheWork)
{
    TiledScan scan(hills());
    auto const refuses = [&](std::string const& name)
    {
        veld::OutputFile output(scan.file(name));
        return reason_of(
            [&]
            {
                veld::merge_in_tiles(scan.source, scan.load, scan.settings, scan.tiling,
                                     scan.file("tiles"), output, {}, scan.context);
            });
    };
    EXPECT_THAT(refuses("tiled.stl"), HasSubstr("tiled.stl: the extension has to be one of .ply"));
    EXPECT_FALSE(fs::exists(scan.file("tiles")));
}

TEST(Tiling, APlanThatIsRefusedLeavesNoFolder)
{
    TiledScan scan({depth_frame(depth_wall(3000.0), 0.0, 1, 0.0),
                    depth_frame(depth_wall(3000.0), 0.0, 2, 30.0)});
    scan.settings.noise = 1.2;
    EXPECT_THAT(reason_of([&] { scan.plan("new/tiles"); }),
                HasSubstr("takes the noise of these frames out first"));
    EXPECT_FALSE(fs::exists(scan.file("new")));
}

/// A tile with one vertex and no face.
veld::TileMesh one_vertex()
{
    veld::TileMesh tile;
    tile.keys = {1};
    tile.points = {{1.0F, 2.0F, 3.0F}};
    tile.normals = {{0.0F, 0.0F, 1.0F}};
    return tile;
}

TEST(Tiling, RowsWithoutAPlaceComeWithTheReasonOfTheSystem)
{
    TempDir const dir;
    veld::OutputFile const output(dir.file("mesh.ply"));
    fs::remove_all(output.temporary().parent_path());
    EXPECT_THAT(reason_of([&] { veld::MeshRows(output, false); }),
                HasSubstr("mesh.ply: cannot be written: No such file"));
}

#if !defined(_WIN32)
/// Files of this process take so many bytes, as on a disk that is full then.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : signal_(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        rlimit const limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signal_);
    }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

private:
    void (*signal_)(int);
    rlimit before_{};
};

TEST(Tiling, AFullDiskIsKnownBehindTheTileThatFillsIt)
{
    TempDir const dir;
    veld::OutputFile const output(dir.file("mesh.ply"));
    veld::MeshRows rows(output, false);
    auto const tile = one_vertex();
    rows.add_vertex(tile, 0);
    rows.flush();
    FileSizeLimit const limit(40);
    rows.add_vertex(tile, 0);
    EXPECT_THAT(reason_of([&] { rows.flush(); }),
                HasSubstr("mesh.ply: cannot be written: File too large"));
}
#endif

TEST(Tiling, RowsThatAreLostAreNoShorterMesh)
{
    TempDir const dir;
    veld::OutputFile const output(dir.file("mesh.ply"));
    veld::MeshRows rows(output, false);
    auto const tile = one_vertex();
    rows.add_vertex(tile, 0);
    rows.add_vertex(tile, 0);
    rows.flush();
    fs::resize_file(output.temporary().string() + ".vertices", 30);
    EXPECT_THAT(reason_of([&] { rows.finish(); }), HasSubstr("mesh.ply: cannot be written"));
}

TEST(Tiling, TheMeshIsPutTogetherAsLongAsTheRunGoesOn)
{
    TempDir const dir;
    veld::OutputFile const output(dir.file("mesh.ply"));
    veld::MeshRows rows(output, false);
    rows.add_vertex(one_vertex(), 0);
    OrvaneAlgorithm::CancelToken const token;
    token.cancel();
    OrvaneAlgorithm::RunScope const run(token);
    EXPECT_THROW(rows.finish(), OrvaneAlgorithm::Cancelled);
}

/// As two machines that were given one tile.
TEST(Tiling, ATileThatIsMadeTwiceAtATimeIsTheSame)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    scan.merge();
    std::string const bytes = content_of(scan.file("tiles/tile-00000/mesh.tile"));
    fs::path const folder = scan.file("twice");
    auto const plan = scan.plan("twice");
    auto const twice = [&](auto const& step)
    {
        std::array<std::string, 2> reasons;
        std::array<std::thread, 2> threads;
        for (std::size_t i = 0; i < 2; ++i)
        {
            threads[i] = std::thread(
                [&, i]
                {
                    reasons[i] = reason_of(
                        [&]
                        {
                            veld::Context context;
                            step(context);
                        });
                });
        }
        std::for_each(threads.begin(), threads.end(), [](auto& thread) { thread.join(); });
        EXPECT_THAT(reasons, testing::Each("no error"));
    };
    for (std::size_t t = 0; t < plan.tiles.size(); ++t)
    {
        twice([&](veld::Context& context) { veld::thin_tile(folder, t, context); });
    }
    twice([&](veld::Context& context) { veld::merge_tile(folder, 0, context); });
    for (int const frame : plan.tiles[0].frames)
    {
        auto const name = scan.kept_file(0, frame).filename();
        EXPECT_EQ(content_of(folder / "tile-00000" / name), content_of(scan.kept_file(0, frame)));
    }
    // Of the file, all but the time that it took.
    EXPECT_EQ(content_of(folder / "tile-00000/mesh.tile").size(), bytes.size());
    for (std::size_t t = 1; t < plan.tiles.size(); ++t)
    {
        veld::merge_tile(folder, t, scan.context);
    }
    veld::OutputFile output(scan.file("twice.ply"));
    veld::join_tiles(folder, output, scan.context);
    output.commit();
    EXPECT_EQ(content_of(scan.file("twice.ply")), content_of(scan.file("tiled.ply")));
}

/// What the tiles of a folder have, beside their steps.
class TilesAtHand
{
public:
    explicit TilesAtHand(fs::path folder) : folder_(std::move(folder)), plan_(folder_.read_plan())
    {
        for (std::size_t t = 0; t < plan_.boxes.size(); ++t)
        {
            tiles.push_back(veld::read_tile_mesh(folder_.mesh_file(t), plan_, t));
        }
    }

    void write() const
    {
        for (std::size_t t = 0; t < tiles.size(); ++t)
        {
            veld::write_tile_mesh(folder_.mesh_file(t), tiles[t]);
        }
    }

    veld::SeamFaces seams() const
    {
        veld::SeamFaces seams;
        for (auto const& tile : tiles)
        {
            seams.add(tile.crossing);
        }
        seams.compare();
        return seams;
    }

    /// Of faces, those that a mesh has by the places of their corners.
    std::size_t count_in(FaceSet const& mesh, std::vector<veld::KeyedFace> const& faces) const
    {
        std::map<veld::SampleKey, Point> places;
        for (auto const& tile : tiles)
        {
            for (std::size_t v = 0; v < tile.keys.size(); ++v)
            {
                auto const& p = tile.points[v];
                places[tile.keys[v]] = {p.x(), p.y(), p.z()};
            }
        }
        auto const is_there = [&](veld::KeyedFace const& face)
        {
            Corners corners{places.at(face[0]), places.at(face[1]), places.at(face[2])};
            std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                        corners.end());
            return mesh.count(corners) > 0;
        };
        return static_cast<std::size_t>(std::count_if(faces.begin(), faces.end(), is_there));
    }

    std::vector<veld::TileMesh> tiles;

private:
    veld::TileFolder folder_;
    veld::TileRecord plan_;
};

/// Has all tiles agree on the other side of a face as well, beside a gap: one of the two has to go.
void turn_a_face_at_a_gap(TilesAtHand& at_hand)
{
    auto const seams = at_hand.seams();
    std::set<veld::SampleKey> gaps;
    for (auto const& face : seams.refused())
    {
        gaps.insert(face.begin(), face.end());
    }
    auto const found = std::find_if(
        seams.agreed().begin(), seams.agreed().end(),
        [&](veld::KeyedFace const& face) {
            return std::any_of(face.begin(), face.end(), [&](auto key) { return gaps.count(key); });
        });
    ASSERT_NE(found, seams.agreed().end());
    for (auto& tile : at_hand.tiles)
    {
        auto const face =
            std::find_if(tile.crossing.begin(), tile.crossing.end(),
                         [&](veld::CrossingFace const& one) { return one.corners == *found; });
        if (face != tile.crossing.end())
        {
            veld::CrossingFace turned = *face;
            std::swap(turned.corners[1], turned.corners[2]);
            turned.own = static_cast<unsigned char>((face->own & 1U) | (face->own & 2U) << 1U |
                                                    (face->own & 4U) >> 1U);
            tile.crossing.push_back(turned);
        }
    }
    at_hand.write();
}

TEST(Tiling, FacesOverSeamsAreThoseThatStayed)
{
    TiledScan scan(random_frames(2, 6, 90, 1.0F));
    scan.tiling.tile_points = 3000;
    scan.tiling.margin = 8.0;
    scan.merge();
    TilesAtHand at_hand(scan.file("tiles"));
    turn_a_face_at_a_gap(at_hand);
    auto const join = scan.merge().join;
    auto const agreed = at_hand.seams().agreed();
    EXPECT_LT(join.crossing, agreed.size());
    EXPECT_EQ(join.crossing, at_hand.count_in(faces_of(scan.mesh()), agreed));
}

/// A frame without neighbours tells no spacing, and so no size of cells.
TEST(Tiling, CellsAreMeasuredByTheFirstFrameThatHasASpacing)
{
    RangeData lone = flat_frame(1, 1, 1.0F, {100.0F, 0.0F, 0.0F});
    RangeData const fine = flat_frame(40, 40, 0.001F);
    veld::Survey survey{veld::MergeSettings()};
    veld::NamedFrame frame;
    frame.data = lone;
    survey.add(frame);
    EXPECT_EQ(survey.side, 0.0);
    frame.data = fine;
    survey.add(frame);
    EXPECT_NEAR(survey.side, 0.016, 1e-4);
    EXPECT_EQ(survey.points, 1601U);
    std::size_t counted = 0;
    for (auto const& [cell, count] : survey.counts)
    {
        counted += count;
    }
    EXPECT_EQ(counted, 1601U);
}

TEST(Tiling, AScanIsTheSameByAnyOfItsNames)
{
    TiledScan scan(hills());
    scan.merge();
    scan.source = fs::path(scan.file(".")) / "frames" / ".." / "frames";
    EXPECT_TRUE(scan.merge().plan.found);
}

TEST(Tiling, AFolderThatCannotBeIsRefusedBeforeTheWork)
{
    TiledScan scan(hills());
    std::ofstream(scan.file("file")) << "x";
    EXPECT_THAT(reason_of([&] { scan.merge("file"); }), HasSubstr("is a file"));
    EXPECT_THAT(reason_of([&] { scan.merge("tiled.ply"); }),
                HasSubstr("is named for the tiles and for the mesh"));
}

TEST(Tiling, CellsAreFewHoweverSmallTheSpacingIsSaidToBe)
{
    TiledScan scan({flat_frame(1100, 1100, 1.0F)});
    scan.settings.spacing = 1e-3;
    std::vector<veld::WarningCode> codes;
    scan.context.warn = [&](veld::Warning const& warning) { codes.push_back(warning.code); };
    auto const plan = veld::plan_tiles(scan.source, scan.load, scan.settings, scan.tiling,
                                       scan.file("tiles"), scan.context);
    EXPECT_THAT(codes, testing::Contains(veld::WarningCode::UNITS_UNLIKELY));
    // Of 16 spacings, doubled until points a millimetre apart share cells.
    double const side = veld::Json::parse(content_of(scan.file("tiles/plan.json")))["side"];
    EXPECT_DOUBLE_EQ(side, 0.016 * 128.0);
    EXPECT_EQ(plan.points, 1100U * 1100U);
}

TEST(Tiling, LargerCellsHaveTheSamplesOfThoseInThem)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-20.0F, 20.0F);
    veld::CellCounts small;
    veld::CellCounts large;
    for (int i = 0; i < 2000; ++i)
    {
        OrvaneAlgorithm::Vector3f const point(uniform(random), uniform(random), uniform(random));
        ++small[veld::cell_of(point, 0.7)];
        ++large[veld::cell_of(point, 1.4)];
    }
    EXPECT_EQ(veld::in_larger_cells(small), large);
}

/// The noise that is given is that at a depth of a metre, and grows with the square of the depth.
TEST(Tiling, RefusesFramesWhoseNoiseAWholeWouldTakeOutAndNoOthers)
{
    for (auto const& [depth, noise, is_refused] :
         {std::tuple(300.0, 2.0, false), std::tuple(3000.0, 1.2, true)})
    {
        SCOPED_TRACE(depth);
        TiledScan scan({depth_frame(depth_wall(depth), 0.0, 1, 0.0),
                        depth_frame(depth_wall(depth), 0.0, 2, 0.01 * depth)});
        scan.settings.noise = noise;
        auto const whole = veld::merge(veld::load_frames(scan.source, scan.load, scan.context),
                                       scan.settings, scan.context);
        EXPECT_EQ(whole.prepared, is_refused);
        auto const reason = reason_of([&] { scan.merge(); });
        EXPECT_THAT(reason, HasSubstr(is_refused ? "takes the noise of these frames out first"
                                                 : "no error"));
    }
}

TEST(Tiling, APieceThatCannotBeWrittenComesWithTheReasonOfTheSystem)
{
    TempDir const dir;
    EXPECT_THAT(
        reason_of([&]
                  { veld::write_frame(fs::path(dir.file("no/a.rge")), flat_frame(3, 3, 1.0F)); }),
        HasSubstr("a.rge: cannot be written: "));
}

TEST(Tiling, APlanThatWasChangedByHandIsRefused)
{
    TiledScan scan(hills());
    scan.merge();
    auto const plan = veld::Json::parse(content_of(scan.file("tiles/plan.json")));
    auto const refuses = [&](char const* path, veld::Json const& value)
    {
        auto changed = plan;
        changed[veld::Json::json_pointer(path)] = value;
        std::ofstream(scan.file("tiles/plan.json")) << changed;
        return reason_of([&] { veld::read_tile_plan(scan.file("tiles")); });
    };
    EXPECT_THAT(refuses("/side", 0.0), HasSubstr("'side' has to be above 0"));
    EXPECT_THAT(refuses("/tiles", veld::Json::array()), HasSubstr("'tiles' has to be a list"));
    for (auto const& frame : {veld::Json(-1), veld::Json(9), veld::Json(5000000000)})
    {
        EXPECT_THAT(refuses("/tiles/0/frames/0", frame), HasSubstr("'frames' has to be a list"));
    }
}

TEST(Tiling, NamesAFileThatIsDamagedOrMissing)
{
    TiledScan scan(hills());
    scan.tiling.tile_points = 12000;
    auto const plan = veld::plan_tiles(scan.source, scan.load, scan.settings, scan.tiling,
                                       scan.file("tiles"), scan.context);
    fs::path const tile = scan.file("tiles/tile-00000");
    fs::path const piece =
        tile / ("piece-00000" + std::to_string(plan.tiles[0].frames.front()) + ".rge");
    ASSERT_TRUE(fs::exists(piece));
    EXPECT_THAT(reason_of([&] { veld::merge_tile(scan.file("tiles"), 0, scan.context); }),
                HasSubstr("tile 0 is not thin yet"));
    std::string bytes = content_of(piece);
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
    std::ofstream(piece, std::ios::binary) << bytes;
    EXPECT_THAT(reason_of([&] { scan.merge(); }),
                HasSubstr(piece.filename().string() + ": the file is damaged"));
    EXPECT_THAT(reason_of([&] { veld::thin_tile(scan.file("tiles"), 99, scan.context); }),
                HasSubstr("there is no tile 99"));
}

TEST(Tiling, NamesAMeshThatIsCutOff)
{
    TiledScan scan(hills());
    scan.merge();
    fs::path const mesh = scan.file("tiles/tile-00000/mesh.tile");
    fs::resize_file(mesh, fs::file_size(mesh) / 2);
    EXPECT_THAT(reason_of([&] { scan.merge(); }), HasSubstr("mesh.tile: the file is damaged"));
}

TEST(Tiling, RefusesSettingsThatAreNone)
{
    TiledScan scan(hills());
    auto const setting_of = [&]
    {
        try
        {
            scan.merge();
        }
        catch (veld::InputError const& error)
        {
            return error.setting();
        }
        return std::string("none");
    };
    scan.tiling.tile_points = 0;
    EXPECT_EQ(setting_of(), "tile_points");
    scan.tiling = {};
    scan.tiling.margin = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(setting_of(), "margin");
    scan.tiling = {};
    scan.settings.method = veld::MergeMethod::OUTLIER;
    EXPECT_EQ(setting_of(), "method");
    scan.settings = {};
    scan.settings.preparation = veld::Preparation::ALWAYS;
    EXPECT_EQ(setting_of(), "preparation");
}

TEST(Tiling, TilesWithoutAPieceThatStaysDoNoHarm)
{
    // Far to the right lie scraps of 6 x 6 faces alone.
    auto const far = [](int r, int c)
    { return Vector3f(1000.0F + static_cast<float>(c), static_cast<float>(r), 0.0F); };
    auto frames = hills();
    frames.push_back(
        make_frame(272, 272, far, [](int r, int c) { return r % 16 > 6 || c % 16 > 6; }));
    TiledScan scan(frames);
    scan.tiling.tile_points = 12000;
    auto const result = scan.merge();
    EXPECT_GT(std::count_if(result.tiles.begin(), result.tiles.end(),
                            [](auto const& tile) { return tile.merge.faces == 0; }),
              0);
    auto const mesh = scan.mesh();
    EXPECT_EQ(mesh.n_faces(), result.join.faces);
    EXPECT_EQ(odd_vertices(mesh), 0);
    for (auto const vertex : mesh.vertices())
    {
        EXPECT_LT(mesh.point(vertex).x(), 500.0F);
    }
}

TEST(Tiling, SaysSoWhereNothingIsLeft)
{
    TiledScan scan({flat_frame(4, 4, 1.0F), flat_frame(4, 4, 1.0F, {50.0F, 0.0F, 0.0F})});
    EXPECT_THAT(reason_of([&] { scan.merge(); }), HasSubstr("has more than 100 faces"));
    EXPECT_FALSE(fs::exists(scan.file("tiled.ply")));
}

using TilingRealData = RealData;

TEST_F(TilingRealData, ScansOfTheBunnyGiveTheFacesOfTheWhole)
{
    TiledScan scan(fs::path(real_data("range_bunny/bun.conf")));
    scan.load.scale = 1000.0;
    scan.settings.preparation = veld::Preparation::NEVER;
    scan.tiling.tile_points = 60000;
    auto const result = scan.merge();
    EXPECT_GT(result.tiles.size(), 4U);
    auto const whole = scan.whole();
    auto const mesh = scan.mesh();
    EXPECT_EQ(odd_vertices(mesh), 0);
    EXPECT_TRUE(differences(whole, mesh).empty());
}

} // namespace
