#include "workflow/run/Run.h"

#include "reason_of.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/photos.h"
#include "tests/support/temp_dir.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Clean.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/Inspect.h"

#include "algorithmVeld/common/CRangeDataIO.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Cancelled;
using testing::ElementsAre;
using testing::HasSubstr;
using veld::Json;

constexpr std::size_t SHEET_STEPS = 5; // clean, repair, fill, fill, texture

/// A sheet with a hole and a photograph of it.
class SheetRun : public testing::Test
{
protected:
    SheetRun()
    {
        std::vector<Cell> missing;
        for (int y = 10; y < 16; ++y)
        {
            for (int x = 10; x < 16; ++x)
            {
                missing.push_back({x, y});
            }
        }
        veld::write_mesh(scan_.file("scan.ply"), grid_without(30, 30, missing), context_);
        std::filesystem::create_directory(scan_.file("photos"));
        PhotoDir const photos;
        std::filesystem::copy(photos.path(), scan_.file("photos"));
        request_.scan = scan_.file("scan.ply");
        request_.directory = results_.path() / "run";
        request_.pictures = false; // they take most of the time
        context_.warn = [this](veld::Warning const& warning) { warnings_.push_back(warning); };
    }

    veld::RunResult run()
    {
        lines_.clear();
        return veld::run(request_, context_,
                         [this](std::string const& line) { lines_.push_back(line); });
    }
    void take(std::string const& recipe)
    {
        request_.recipe = veld::parse_recipe(recipe, "recipe.json");
    }
    std::string refusal()
    {
        return reason_of([&] { run(); });
    }
    std::string file(std::string const& name) const { return (request_.directory / name).string(); }

    /// The bytes of the models, and what the recipe says.
    std::map<std::string, std::string> models() const
    {
        std::map<std::string, std::string> bytes;
        for (std::string const name : {"model.ply", "model.glb", "recipe.json"})
        {
            bytes[name] = file_content(file(name));
        }
        return bytes;
    }

    TempDir scan_;
    TempDir results_;
    veld::Context context_;
    veld::RunRequest request_;
    std::vector<std::string> lines_;
    std::vector<veld::Warning> warnings_;
};

TEST_F(SheetRun, TakesTheStepsThatFitAndLeavesTheResults)
{
    auto const result = run();
    EXPECT_THAT(files_in(request_.directory),
                testing::IsSupersetOf(
                    {"model.glb", "model.ply", "recipe.json", "report.html", "run.json"}));
    EXPECT_THAT(files_in(request_.directory), testing::Not(testing::Contains("01-clean.ply")));
    ASSERT_EQ(result.record.steps.size(), SHEET_STEPS);
    EXPECT_EQ(result.from_before, 0U);
    EXPECT_EQ(result.record.textured, "model.glb");
    EXPECT_EQ(result.record.steps[2].mesh, "model.ply");
    EXPECT_EQ(result.record.steps[2].result["closed"].size(), 1U) << "the border is longer";
    EXPECT_EQ(result.record.steps[2].new_faces_begin, 2 * (30 * 30 - 36));
    ASSERT_EQ(lines_.size(), SHEET_STEPS + 1);
    EXPECT_THAT(lines_[0],
                testing::AllOf(HasSubstr("a mesh of 1728 faces"), HasSubstr("1 photograph in ")));
    EXPECT_THAT(lines_[1],
                HasSubstr("clean: 0 faces and 25 vertices taken out, 1 piece and 2 holes left ("));
    EXPECT_THAT(lines_[2], HasSubstr("repair: left out, for the mesh is not torn ("));
    EXPECT_THAT(lines_[3], HasSubstr("fill: 1 of 2 holes closed with "));
    EXPECT_THAT(lines_[4], HasSubstr("fill: left out, for it closes none of what is open ("));
    EXPECT_THAT(lines_[5], HasSubstr("texture: 1 photograph on "));
}

TEST_F(SheetRun, TheRecordIsInTheFolder)
{
    auto const result = run();
    auto const record = veld::read_run_record(request_.directory);
    EXPECT_EQ(record.to_json(), result.record.to_json());
    EXPECT_EQ(record.source, request_.scan.string());
    EXPECT_EQ(record.steps[0].title, "Clean the mesh");
    EXPECT_EQ(record.steps[4].title, "Texture from 1 photograph");
    EXPECT_EQ(record.steps[0].line, lines_[1]);
    EXPECT_EQ(Json::parse(file_content(file("recipe.json"))), record.recipe);
}

TEST_F(SheetRun, GivesWhatTheStepsGiveThatAHostCalls)
{
    run();
    veld::CleanSettings clean;
    clean.clean_ups = {veld::non_manifold_vertices(), veld::small_pieces_by_faces(1),
                       veld::small_pieces_by_vertices(1)};
    auto const scan = veld::read_mesh(request_.scan, context_).mesh;
    veld::write_mesh(file("1.ply"), veld::clean(scan, clean, context_).mesh, context_);
    auto const cleaned = veld::read_mesh(file("1.ply"), context_).mesh;
    veld::write_mesh(file("2.ply"), veld::fill(cleaned, veld::FillSettings(), context_).mesh,
                     context_);
    EXPECT_EQ(file_content(file("2.ply")), file_content(file("model.ply")));
}

TEST_F(SheetRun, KeepsTheMeshOfEveryStepWhereThatIsWanted)
{
    run();
    auto const without = models();
    request_.keep = true;
    auto const result = run();
    EXPECT_EQ(result.from_before, 0U) << "the meshes were gone";
    EXPECT_THAT(files_in(request_.directory),
                testing::IsSupersetOf({"01-clean.ply", "03-fill.ply", "model.glb", "model.ply"}));
    EXPECT_EQ(file_content(file("03-fill.ply")), file_content(file("model.ply")));
    EXPECT_EQ(result.record.steps[0].mesh, "01-clean.ply");
    EXPECT_EQ(result.record.steps[1].mesh, "") << "it was left out";
    EXPECT_EQ(models(), without);
    EXPECT_EQ(run().from_before, SHEET_STEPS);
}

TEST_F(SheetRun, DrawsAPictureOfEachStepThatMadeSomething)
{
    request_.pictures = true;
    auto const result = run();
    std::vector<std::string> pictures;
    for (auto const& step : result.record.steps)
    {
        pictures.push_back(step.picture);
    }
    EXPECT_THAT(pictures,
                testing::ElementsAre("01-clean.png", "", "03-fill.png", "", "05-texture.png"));
    EXPECT_THAT(files_in(request_.directory),
                testing::IsSupersetOf({"01-clean.png", "03-fill.png", "05-texture.png"}));
    EXPECT_NE(file_content(file("01-clean.png")), file_content(file("03-fill.png")));
    EXPECT_THAT(file_content(file("report.html")), HasSubstr("<h2>Before and after</h2>"));

    write_file(file("07-fill.png"), "of a run that had more steps");
    take(R"({"veld_recipe": 1, "steps": [{"step": "clean"}]})");
    request_.pictures = false;
    EXPECT_EQ(run().record.steps[0].picture, "");
    EXPECT_THAT(files_in(request_.directory), testing::Not(testing::Contains(HasSubstr(".png"))));
}

TEST_F(SheetRun, AFinishedOneIsTakenFromBefore)
{
    run();
    auto const before = models();
    std::string const page = file_content(file("report.html"));
    auto const result = run();
    EXPECT_EQ(result.from_before, SHEET_STEPS);
    EXPECT_EQ(file_content(file("report.html")), page);
    ASSERT_EQ(lines_.size(), SHEET_STEPS + 1);
    for (std::size_t i = 1; i < lines_.size(); ++i)
    {
        EXPECT_THAT(lines_[i], testing::EndsWith(" s), from before"));
    }
    EXPECT_EQ(models(), before);
}

TEST_F(SheetRun, GoesOnWhereItWasStoppedAndGivesTheSame)
{
    run();
    auto const whole = models();
    for (std::size_t stopped_behind = 1; stopped_behind <= SHEET_STEPS; ++stopped_behind)
    {
        request_.directory = results_.path() / std::to_string(stopped_behind);
        veld::Context stopped;
        std::size_t lines = 0;
        auto const stop = [&](std::string const&)
        {
            if (lines++ == stopped_behind - 1)
            {
                stopped.cancel.cancel();
            }
        };
        EXPECT_THROW(veld::run(request_, stopped, stop), Cancelled) << stopped_behind;
        EXPECT_FALSE(std::filesystem::exists(file("recipe.json")));
        auto const result = run();
        // What is left out does nothing that could be cancelled.
        std::size_t const fewest = stopped_behind - 1;
        EXPECT_GE(result.from_before, fewest) << stopped_behind;
        EXPECT_LE(result.from_before, fewest + 1) << stopped_behind;
        EXPECT_EQ(models(), whole) << stopped_behind;
    }
}

TEST_F(SheetRun, GoesOnWhereAStepWasStoppedInItsMiddle)
{
    run();
    auto const whole = models();
    request_.directory = results_.path() / "stopped";
    veld::Context stopped;
    stopped.progress = [&](veld::Progress const& progress)
    {
        if (progress.fraction > 0.85) // of five steps the last one is at work
        {
            stopped.cancel.cancel();
        }
    };
    EXPECT_THROW(veld::run(request_, stopped, {}), Cancelled);
    EXPECT_EQ(veld::read_run_record(request_.directory).steps.size(), SHEET_STEPS - 1);
    EXPECT_EQ(run().from_before, SHEET_STEPS - 1);
    EXPECT_EQ(models(), whole);
}

TEST_F(SheetRun, ProgressGrowsThroughAllSteps)
{
    std::vector<double> fractions;
    context_.progress = [&](veld::Progress const& progress)
    { fractions.push_back(progress.fraction); };
    run();
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(fractions.back(), 1.0);
}

TEST_F(SheetRun, BeginsAtTheStepThatAChangedSettingTouches)
{
    std::string const texture = R"(, {"step": "texture", "settings": {"patch_margin": )";
    std::string const steps = R"({"veld_recipe": 1, "steps": [{"step": "clean"}, {"step": "fill"})";
    take(steps + texture + "3}}]}");
    run();
    take(steps + texture + "2}}]}");
    EXPECT_EQ(run().from_before, 2U) << "the model is what the texture is made of";
    take(R"({"veld_recipe": 1, "steps": [{"step": "clean"},
             {"step": "fill", "settings": {"max_perimeter": 5}}, {"step": "texture"}]})");
    EXPECT_EQ(run().from_before, 0U) << "the mesh behind clean is gone";
    request_.keep = true;
    run();
    take(R"({"veld_recipe": 1, "steps": [{"step": "clean"}, {"step": "fill"}]})");
    EXPECT_EQ(run().from_before, 1U);
    EXPECT_THAT(files_in(request_.directory), testing::Not(testing::Contains("model.glb")))
        << "this one has no texture";
}

TEST_F(SheetRun, BeginsAtTheStepThatAChangedInputTouches)
{
    run();
    auto const before = models();
    std::string const list = scan_.file("photos/cameras.json");
    write_file(list, file_content(list) + " ");
    EXPECT_EQ(run().from_before, SHEET_STEPS - 1) << "the photographs are of the texture alone";
    EXPECT_EQ(models(), before);
    auto mesh = veld::read_mesh(request_.scan, context_).mesh;
    mesh.point(vh(0)).z() += 0.25F;
    veld::write_mesh(request_.scan, mesh, context_);
    EXPECT_EQ(run().from_before, 0U);
    EXPECT_NE(models(), before);
}

TEST_F(SheetRun, AResultThatIsNotWhatItWasIsMadeAgain)
{
    request_.keep = true;
    run();
    auto const before = models();
    write_file(file("03-fill.ply"), "damaged");
    EXPECT_EQ(run().from_before, 2U);
    EXPECT_EQ(models(), before);
    write_file(file("model.glb"), "damaged");
    EXPECT_EQ(run().from_before, SHEET_STEPS - 1);
    EXPECT_EQ(models(), before);
    std::filesystem::remove(file("model.ply"));
    EXPECT_EQ(run().from_before, SHEET_STEPS);
    EXPECT_EQ(models(), before);
}

TEST_F(SheetRun, ARecordWithValuesOfOtherKindsIsNoReasonToFail)
{
    write_file(scan_.file("markers.txt"), "13 13 0\n");
    auto const whole = run();
    auto const before = models();
    Json record = whole.record.to_json();
    record["steps"].back()["result"]["file_checksum"] = 3;
    record["steps"][1]["settings"]["radius"] = "two";
    write_file(file("run.json"), record.dump());
    EXPECT_LT(run().from_before, whole.record.steps.size()) << "nothing tells that it is the same";
    EXPECT_TRUE(models().at("model.ply") == before.at("model.ply"));
    EXPECT_TRUE(models().at("model.glb") == before.at("model.glb"));
}

TEST_F(SheetRun, RemovesStepsOfLongerRunsWhateverTheirNumber)
{
    run();
    for (std::string const name : {"100-fill.ply", "1000-clean.png", "100-notes.ply",
                                   "012-fill.ply", "7-fill.ply", "100", "100-.ply"})
    {
        write_file(file(name), "left");
    }
    run();
    auto const files = files_in(request_.directory);
    EXPECT_THAT(files, testing::Not(testing::Contains("100-fill.ply")));
    EXPECT_THAT(files, testing::Not(testing::Contains("1000-clean.png")));
    EXPECT_THAT(files, testing::IsSupersetOf(
                           {"100-notes.ply", "012-fill.ply", "7-fill.ply", "100", "100-.ply"}))
        << "no run gives these names";
}

TEST_F(SheetRun, ItsOwnRecipeGivesTheSameBytes)
{
    run();
    auto const before = models();
    request_.recipe = veld::read_recipe(file("recipe.json"));
    request_.directory = results_.path() / "again";
    run();
    EXPECT_EQ(models(), before);
}

TEST_F(SheetRun, GivesTheSameForAnyNumberOfThreads)
{
    context_.threads = 1;
    run();
    auto const before = models();
    for (int const threads : {2, 8})
    {
        context_.threads = threads;
        request_.directory = results_.path() / std::to_string(threads);
        run();
        EXPECT_EQ(models(), before) << threads;
    }
}

TEST_F(SheetRun, WhatWasMadeStaysWhereALaterStepFails)
{
    // Photographs from under the sheet, which looks up.
    auto view = sheet_view("one.png");
    view["R"] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    PhotoDir const photos(nlohmann::json::array({view}));
    request_.photos = photos.path();
    try
    {
        run();
        FAIL() << "no vertex is seen from there";
    }
    catch (veld::OperationError const& error)
    {
        EXPECT_THAT(error.what(), testing::StartsWith("texture: "));
    }
    EXPECT_TRUE(std::filesystem::exists(file("model.ply")));
    EXPECT_EQ(veld::read_run_record(request_.directory).steps.size(), SHEET_STEPS - 1);
    request_.photos.clear();
    EXPECT_EQ(run().from_before, SHEET_STEPS - 1);
}

TEST_F(SheetRun, FilesThatAreOfNoRunAreNeverTouched)
{
    std::filesystem::create_directory(request_.directory);
    write_file(file("notes.txt"), "mine");
    write_file(file("model.ply"), "mine");
    EXPECT_THAT(refusal(), HasSubstr("model.ply: is there already and of no run"));
    std::filesystem::remove(file("model.ply"));
    write_file(file("01-clean.ply"), "mine");
    EXPECT_THAT(refusal(), HasSubstr("01-clean.ply: is there already and of no run"));
    std::filesystem::remove(file("01-clean.ply"));
    write_file(file("run.json"), "{\"races\": 3}");
    EXPECT_THAT(refusal(), HasSubstr("run.json: 'version' is missing"));
    EXPECT_EQ(file_content(file("run.json")), "{\"races\": 3}");
    std::filesystem::remove(file("run.json"));
    run();
    EXPECT_EQ(file_content(file("notes.txt")), "mine");
}

TEST_F(SheetRun, TheFolderOfTheScanIsNoPlaceForResults)
{
    request_.directory = scan_.path();
    EXPECT_THAT(refusal(), HasSubstr(": is the folder of the scan"));
    request_.directory = scan_.file("photos");
    EXPECT_THAT(refusal(), HasSubstr(": is the folder of the photographs"));
    request_.directory = request_.scan;
    EXPECT_THAT(refusal(), HasSubstr("scan.ply: is a file"));
}

#if !defined(_WIN32)
TEST_F(SheetRun, KeepsOthersOutOfItsFolderWhileItIsAtWork)
{
    std::string refused;
    int lines = 0;
    veld::run(request_, context_,
              [&](std::string const& line)
              {
                  ++lines;
                  if (line.find("clean") == 0)
                  {
                      refused = refusal();
                  }
              });
    EXPECT_EQ(refused, request_.directory.string() + ": another run is at work there");
    EXPECT_EQ(lines, 1 + static_cast<int>(SHEET_STEPS)) << "it went on as if alone";
    EXPECT_EQ(run().from_before, SHEET_STEPS) << "and holds nothing when it has ended";
}
#endif

TEST_F(SheetRun, OneThatHasEndedMayBeKept)
{
    request_.existing = veld::Existing::KEPT;
    veld::Context stopped;
    EXPECT_THROW(veld::run(request_, stopped,
                           [&](std::string const& line)
                           {
                               if (line.find("clean") == 0)
                               {
                                   stopped.cancel.cancel();
                               }
                           }),
                 Cancelled);
    EXPECT_GE(run().from_before, 1U) << "it had not ended";
    EXPECT_THAT(refusal(), HasSubstr(": a run is there already"));
}

TEST_F(SheetRun, StepsThatDoNotFitAreRefusedBeforeTheWork)
{
    auto const refusal_of = [&](std::string const& steps)
    {
        take("{\"veld_recipe\": 1, \"steps\": [\n" + steps + "]}");
        return refusal();
    };
    EXPECT_EQ(refusal_of(R"({"step": "merge"})"),
              "recipe.json:2: steps[0]: merge takes frames, and the scan is a mesh");
    EXPECT_EQ(refusal_of("{\"step\": \"texture\"},\n{\"step\": \"fill\"}"),
              "recipe.json:3: steps[1]: fill takes a mesh, and texture leaves a textured mesh");
    EXPECT_EQ(refusal_of(R"({"step": "markers"})"),
              "recipe.json:2: steps[0]: markers: the scan has no markers");
    request_.recipe = veld::Recipe();
    EXPECT_EQ(refusal(), "the recipe names no step");
    EXPECT_FALSE(std::filesystem::exists(request_.directory));
}

TEST_F(SheetRun, AStepMayComeTwice)
{
    take(R"({"veld_recipe": 1, "steps": [
             {"step": "fill", "settings": {"max_edges": 3}}, {"step": "fill"}]})");
    auto const result = run();
    EXPECT_EQ(result.record.steps[0].result["closed"].size(), 0U);
    EXPECT_EQ(result.record.steps[1].result["closed"].size(), 1U);
}

TEST_F(SheetRun, MarkersAreCutOutWithARadiusThatTheirHolesTell)
{
    // The hole of 6 x 6 mm is as long as a circle of 24 / (2 pi) mm.
    write_file(scan_.file("markers.txt"), "13 13 0\n");
    auto const result = run();
    ASSERT_EQ(result.record.steps[1].name, "markers");
    double const radius = result.record.steps[1].settings["radius"];
    EXPECT_NEAR(radius, 1.1 * 24.0 / (2.0 * 3.14159265358979), 1e-6);
    EXPECT_EQ(result.record.steps[3].settings["marker_radius"], radius);
    EXPECT_EQ(result.record.steps[3].result["closed"][0]["method"], "markers");
    EXPECT_FALSE(result.record.steps[1].settings.contains("markers")) << "they are of this scan";
}

TEST_F(SheetRun, MarkersWithoutHolesHaveTheUsualRadiusWithAWarning)
{
    write_file(scan_.file("markers.txt"), "23 23 0\n");
    auto const result = run();
    EXPECT_NEAR(result.record.steps[1].settings["radius"].get<double>(), 3.3, 1e-12);
    ASSERT_FALSE(warnings_.empty());
    EXPECT_EQ(warnings_[0].code, veld::WarningCode::MARKER_WITHOUT_HOLE);
    ASSERT_EQ(result.record.steps[1].warnings.size(), 1U);
    EXPECT_THAT(result.record.steps[1].warnings[0], HasSubstr("3.3 mm is taken"));
}

TEST_F(SheetRun, PosesInMetresAreTakenAsSuch)
{
    PhotoDir const photos(nlohmann::json::array({sheet_view("one.png", 1000.0)}));
    request_.photos = photos.path();
    auto const result = run();
    EXPECT_EQ(result.record.steps.back().settings["pose_scale"], 1000.0);
    ASSERT_FALSE(warnings_.empty());
    EXPECT_EQ(warnings_.back().code, veld::WarningCode::UNITS_UNLIKELY);
}

TEST_F(SheetRun, AMeshInMetresIsTexturedInMillimetres)
{
    auto mesh = veld::read_mesh(request_.scan, context_).mesh;
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) /= 1000.0F;
    }
    veld::write_mesh(request_.scan, mesh, context_);
    PhotoDir const photos(nlohmann::json::array({sheet_view("one.png", 1000.0)}));
    request_.photos = photos.path();
    auto const settings = run().record.steps.back().settings;
    EXPECT_EQ(settings["scale"], 1000.0);
    EXPECT_EQ(settings["pose_scale"], 1.0);
    EXPECT_NEAR(settings["depth_tolerance"].get<double>(), 2.5, 1e-3) << "2.5 edges of 1 mm";
}

/// Runs without photographs.
class RunOfScan : public testing::Test
{
protected:
    veld::RunResult run(std::string const& scan)
    {
        veld::RunRequest request;
        request.scan = scan;
        request.directory = dir_.path() / "run";
        request.pictures = false;
        return veld::run(request, context_,
                         [this](std::string const& line) { lines_.push_back(line); });
    }
    veld::MeshHealth health()
    {
        auto mesh = veld::read_mesh(dir_.path() / "run" / "model.ply", context_).mesh;
        return veld::inspect(mesh, context_);
    }

    TempDir dir_;
    veld::Context context_;
    std::vector<std::string> lines_;
};

TEST_F(RunOfScan, OfAClosedMeshFillsNothingAndSaysSo)
{
    veld::write_mesh(dir_.file("sphere.ply"), sphere(3), context_);
    run(dir_.file("sphere.ply"));
    EXPECT_THAT(lines_, testing::Contains(HasSubstr("fill: nothing to fill: the mesh is closed")));
    EXPECT_THAT(lines_, testing::Contains(HasSubstr("fill: left out, for the mesh is closed")));
    EXPECT_EQ(file_content(dir_.file("sphere.ply")), file_content(dir_.file("run/model.ply")));
}

TEST_F(RunOfScan, OfACloudEstimatesItsNormalsAndConnectsIt)
{
    std::string text;
    TriMesh const points = sphere(4);
    for (auto const vertex : points.vertices())
    {
        auto const p = (10.0F * points.point(vertex)).eval();
        text += std::to_string(p.x()) + " " + std::to_string(p.y()) + " " + std::to_string(p.z()) +
                "\n";
    }
    write_file(dir_.file("cloud.xyz"), text);
    auto const result = run(dir_.file("cloud.xyz"));
    EXPECT_EQ(result.record.steps[0].name, "normals");
    EXPECT_EQ(result.record.steps[1].name, "repair");
    EXPECT_EQ(result.record.steps[1].title, "Connect the points");
    EXPECT_TRUE(health().closed);
}

TEST_F(RunOfScan, OfATornMeshTiesItsPieces)
{
    std::vector<Cell> slit;
    for (int y = 0; y < 20; ++y)
    {
        slit.push_back({20, y});
    }
    veld::write_mesh(dir_.file("torn.ply"), grid_without(40, 20, slit), context_);
    auto const result = run(dir_.file("torn.ply"));
    ASSERT_EQ(result.record.steps[1].name, "repair");
    EXPECT_THAT(lines_[2], HasSubstr("repair: 2 pieces tied by "));
    EXPECT_EQ(health().components, 1U);
    EXPECT_EQ(health().holes, 1U) << "the outer border";
}

TEST_F(RunOfScan, OfFramesMergesThem)
{
    auto const frames = random_frames(7, 3, 30, 1.0F);
    std::filesystem::create_directory(dir_.file("frames"));
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        std::string const path = dir_.file("frames/frame-" + std::to_string(i) + ".rge");
        ASSERT_EQ(OrvaneAlgorithm::CRangeDataIO::write_rge(std::wstring(path.begin(), path.end()),
                                                           frames[i]),
                  0);
    }
    auto const result = run(dir_.file("frames"));
    EXPECT_EQ(result.record.steps[0].name, "merge");
    EXPECT_EQ(result.record.steps[0].title, "Merge 3 frames");
    EXPECT_EQ(result.record.steps[0].settings["scale"], 1.0);
    EXPECT_GT(result.record.steps[0].settings["spacing"], 0.0);
    EXPECT_EQ(run(dir_.file("frames")).from_before, result.record.steps.size());
}

TEST_F(RunOfScan, OfFramesThatCannotBeUsedIsWrongInput)
{
    std::filesystem::create_directory(dir_.file("frames"));
    write_file(dir_.file("frames/a.rge"), "no frame");
    EXPECT_THROW(run(dir_.file("frames")), veld::InputError);
}

TEST(UsualRecipe, HasAllStepsWhereNoScanIsKnown)
{
    std::vector<std::string> names;
    for (auto const& step : veld::usual_recipe().steps)
    {
        names.push_back(veld::to_string(step.kind));
    }
    EXPECT_THAT(names,
                ElementsAre("merge", "clean", "markers", "repair", "fill", "fill", "texture"));
}

} // namespace
