#include "run_veld.h"

#include "tests/support/photos.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A sheet, its photograph, and what is made of them.
class TextureCommand : public testing::Test
{
protected:
    std::vector<std::string> arguments(std::vector<std::string> const& more) const
    {
        std::vector<std::string> list{"texture", sheet_.mesh(), "--photos",
                                      photos_.path().string()};
        list.insert(list.end(), more.begin(), more.end());
        return list;
    }

    Outcome texture(std::vector<std::string> const& more) const
    {
        return run_veld(arguments(more));
    }

    std::string out(std::string const& name) const { return results_.file(name); }

    MeshDir sheet_{grid(30, 30)};
    PhotoDir photos_;
    TempDir results_;
};

TEST_F(TextureCommand, HasTheDocumentedKeys)
{
    for (auto const* const pipeline : {"fusion", "mesh"})
    {
        SCOPED_TRACE(pipeline);
        Outcome const run = texture({"-o", out("model.obj"), "--json", "--pipeline", pipeline});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        auto const result = run.json();
        EXPECT_THAT(keys_of(result),
                    testing::UnorderedElementsAre("photographs", "patches", "texture_holes",
                                                  "faces", "seen_faces", "textured_faces",
                                                  "colourless_faces", "depth_tolerance",
                                                  "atlas_width", "atlas_height", "seconds"));
        EXPECT_NEAR(result["depth_tolerance"].get<double>(), 2.5, 1e-6);
        EXPECT_EQ(result["photographs"], 1);
        EXPECT_EQ(result["patches"], 1);
        EXPECT_EQ(result["texture_holes"], 0);
        EXPECT_EQ(result["faces"], 1800);
        EXPECT_EQ(result["textured_faces"], 1800);
        EXPECT_EQ(result["colourless_faces"], 0);
        EXPECT_THAT(files_in(results_.path()), ElementsAre("model.jpg", "model.mtl", "model.obj"));
    }
}

TEST_F(TextureCommand, ByModulesAloneThePieceHasThreeGapsMore)
{
    auto const size = [&](std::vector<std::string> more)
    {
        more.insert(more.end(), {"-o", out("model.glb"), "--json", "--pipeline", "mesh"});
        auto const result = texture(more).json();
        return std::make_pair(result["atlas_width"].get<int>(), result["atlas_height"].get<int>());
    };
    // The sheet goes from column 4.5 to 94.5, which is rounded to 5 and 95, so it has 91; and 3 on
    // each side.
    EXPECT_EQ(size({"--packing-gap", "1"}), std::make_pair(100, 100));
    EXPECT_EQ(size({"--packing-gap", "5"}), std::make_pair(112, 112));
    EXPECT_EQ(size({}), std::make_pair(106, 106));
}

TEST_F(TextureCommand, WhatAPipelineDoesNotUseIsRefused)
{
    auto const refusal = [&](char const* option, char const* value)
    {
        Outcome const run = texture({"-o", out("m.glb"), "--pipeline", "mesh", option, value});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        return run.err;
    };
    EXPECT_EQ(refusal("--image-border", "3"),
              "error: --image-border: --pipeline mesh does not use it: to it photographs count up "
              "to their rim (see veld texture --help)\n");
    for (auto const* const option : {"--hole-ratio", "--hole-vertices", "--patch-margin"})
    {
        EXPECT_THAT(refusal(option, "1"), StartsWith(std::string("error: ") + option +
                                                     ": --pipeline mesh does not use it: "));
    }
    EXPECT_THAT(refusal("--solver", "simplicial"),
                StartsWith("error: --solver: --pipeline mesh does not use it: "));
    Outcome const no_gap =
        texture({"-o", out("m.glb"), "--pipeline", "mesh", "--packing-gap", "0"});
    EXPECT_EQ(no_gap.status, 2);
    EXPECT_EQ(no_gap.error_lines(), 1);
    EXPECT_THAT(no_gap.err, EndsWith("(see --packing-gap)\n"));
    EXPECT_TRUE(files_in(results_.path()).empty());
    EXPECT_EQ(texture({"-o", out("m.glb"), "--pipeline", "fusion", "--image-border", "3"}).status,
              0);
}

TEST_F(TextureCommand, ByModulesPhotographsOfDifferentSizesAreRefused)
{
    auto other = sheet_view("two.png");
    other["width"] = 50;
    PhotoDir const two(nlohmann::json::array({sheet_view("one.png"), other}));
    ASSERT_EQ(OrvaneAlgorithm::write_rgb_image(two.file("two.png"), sheet_photo(50)), 0);
    Outcome const run = run_veld({"texture", sheet_.mesh(), "--photos", two.path().string(), "-o",
                                  out("m.glb"), "--pipeline", "mesh"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error_lines(), 1) << run.err;
    EXPECT_THAT(run.err, HasSubstr("different sizes"));
    EXPECT_TRUE(files_in(results_.path()).empty());
}

TEST_F(TextureCommand, ReportsInALineForPeople)
{
    Outcome const run = texture({"-o", out("model.glb")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out,
                AllOf(HasSubstr("model.glb: 1 photograph on 1800 of 1800 faces, 1 patch, "),
                      HasSubstr("depth tolerance 2.5 mm\n"),
                      HasSubstr("seen by none: 0 faces, in small regions: 0 faces, 0 without a "
                                "colour")));
    EXPECT_THAT(files_in(results_.path()), ElementsAre("model.glb"));
    EXPECT_EQ(texture({"-o", out("quiet.glb"), "--quiet"}).out, "");
}

TEST_F(TextureCommand, MeshAndModelMayBeStreams)
{
    for (std::string const pipeline : {"fusion", "mesh"})
    {
        ASSERT_EQ(texture({"-o", out("file.glb"), "--pipeline", pipeline}).status, 0);
        Outcome const run = run_veld_in(sheet_.path(),
                                        "texture - --photos " + quoted(photos_.path().string()) +
                                            " -o - --pipeline " + pipeline + " < mesh.ply",
                                        out("stream.glb"));
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(file_content(out("stream.glb")), file_content(out("file.glb")));
    }
    EXPECT_THAT(texture({"-o", out("x.glb"), "--format", "obj"}).err,
                HasSubstr("--format: is for a mesh on standard input"));
}

TEST_F(TextureCommand, ErrorsAreOneLine)
{
    auto const fails = [&](std::vector<std::string> const& more, int status)
    {
        Outcome const run = texture(more);
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_THAT(run.err, StartsWith("error: "));
        return run.err;
    };
    EXPECT_THAT(fails({"-o", out("model.ply")}, 1),
                EndsWith("model.ply: the extension has to be one of .obj .glb\n"));
    EXPECT_THAT(fails({}, 1), HasSubstr("--output"));
    EXPECT_THAT(fails({"-o", out("m.glb"), "--scale", "nan"}, 1), HasSubstr("--scale"));
    EXPECT_THAT(fails({"-o", out("m.glb"), "--scale", "0"}, 1), HasSubstr("--scale"));
    EXPECT_THAT(fails({"-o", out("m.glb"), "--depth-tolerance", "-1"}, 1),
                HasSubstr("--depth-tolerance: '-1' is not a length"));
    EXPECT_THAT(fails({"-o", out("m.glb"), "--pipeline", "magic"}, 1), HasSubstr("--pipeline"));
    EXPECT_THAT(fails({"-o", out("m.glb"), "--solver", "magic"}, 1), HasSubstr("--solver"));
    for (auto const* const faces : {"2000", "2147483647"}) // as much as a recipe may say
    {
        EXPECT_THAT(fails({"-o", out("m.glb"), "--small-region", faces}, 2),
                    EndsWith("(see --small-region)\n"));
    }
    EXPECT_THAT(fails({"-o", out("none/m.glb")}, 1), HasSubstr("there is no directory"));
    EXPECT_TRUE(files_in(results_.path()).empty());
}

TEST_F(TextureCommand, PhotographsThatAreNotThereAreAnError)
{
    auto const err_of = [&](std::string const& source) {
        return run_veld({"texture", sheet_.mesh(), "--photos", source, "-o", out("m.glb")}).err;
    };
    EXPECT_THAT(err_of(out("none")), EndsWith("none: no such file\n"));
    EXPECT_THAT(err_of(results_.path().string()), HasSubstr("has neither cameras.json nor"));
    auto view = sheet_view("one.png");
    view["t"] = {1000, 0, 30};
    PhotoDir const elsewhere(nlohmann::json::array({view}));
    EXPECT_THAT(err_of(elsewhere.path().string()),
                AllOf(StartsWith("error: " + sheet_.mesh() + ": "),
                      HasSubstr("no vertex of the mesh is in view of any photograph")));
    std::filesystem::remove(photos_.path() / "one.png");
    EXPECT_THAT(err_of(photos_.path().string()),
                EndsWith("one.png: no such file, the photograph of view 0\n"));
}

TEST_F(TextureCommand, WhatIsThereIsNotWrittenOverUnasked)
{
    write_file(out("model.mtl"), "mine");
    Outcome const run = texture({"-o", out("model.obj"), "--no-overwrite"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("model.mtl: is there already"));
    EXPECT_THAT(files_in(results_.path()), ElementsAre("model.mtl"));
    EXPECT_EQ(file_content(out("model.mtl")), "mine");
}

TEST_F(TextureCommand, APhotographIsNeverWrittenOver)
{
    PhotoDir const jpegs(nlohmann::json::array({sheet_view("model.jpg")}));
    std::string const before = file_content(jpegs.path() / "model.jpg");
    Outcome const run = run_veld({"texture", sheet_.mesh(), "--photos", jpegs.path().string(), "-o",
                                  jpegs.file("model.obj")});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, EndsWith("model.jpg: is an input, which is never written\n"));
    EXPECT_EQ(file_content(jpegs.path() / "model.jpg"), before);
}

TEST_F(TextureCommand, NoOutputIsWrittenOverWhatThePhotographsComeFrom)
{
    for (auto const& name : {"cameras.json", "one.png"})
    {
        std::string const file = photos_.file(name);
        std::string const before = file_content(file);
        Outcome const texturing = texture({"-o", out("model.glb"), "--timings", file});
        Outcome const choice = run_veld({"keyframes", photos_.path().string(), "--timings", file});
        for (Outcome const& run : {texturing, choice})
        {
            EXPECT_EQ(run.status, 1);
            EXPECT_THAT(run.err,
                        EndsWith(std::string(name) + ": is an input, which is never written\n"));
        }
        EXPECT_EQ(file_content(file), before);
    }
    EXPECT_TRUE(files_in(results_.path()).empty());
}

TEST_F(TextureCommand, TheTextureOfTheMeshIsNotWrittenOver)
{
    ASSERT_EQ(texture({"-o", out("model.obj")}).status, 0);
    std::string const before = file_content(out("model.jpg"));
    for (auto const& name : {"model.jpg", "model.mtl"})
    {
        Outcome const run =
            run_veld({"texture", out("model.obj"), "--photos", photos_.path().string(), "-o",
                      out("other.glb"), "--timings", out(name)});
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err,
                    EndsWith(std::string(name) + ": is an input, which is never written\n"));
    }
    EXPECT_EQ(file_content(out("model.jpg")), before);
}

TEST_F(TextureCommand, SettingsAreNamedAsOptions)
{
    Outcome const run = texture({"-o", out("m.glb"), "--pose-scale", "1000"});
    EXPECT_THAT(run.err, HasSubstr("and --pose-scale 1 makes them one"));
    EXPECT_THAT(run.err, Not(HasSubstr("pose_scale")));
}

TEST_F(TextureCommand, UnitsThatDoNotFitAreWarnedOf)
{
    Outcome const run = texture({"-o", out("m.glb"), "--depth-tolerance", "5"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, AllOf(StartsWith("warning: "), HasSubstr("the mesh is 42.4 mm across")));
    EXPECT_EQ(texture({"-o", out("m.glb"), "--depth-tolerance", "5", "--quiet"}).err, "");
}

TEST_F(TextureCommand, RenderShowsTheTexture)
{
    auto const draw = [&](std::string const& mesh)
    {
        Outcome const run =
            run_veld({"render", mesh, "-o", out("picture.png"), "--view", "front", "--unlit",
                      "--line-width", "0", "--width", "100", "--height", "100"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        OrvaneAlgorithm::Image<3, unsigned char> picture;
        EXPECT_EQ(OrvaneAlgorithm::read_rgb_image(out("picture.png"), picture), 0);
        return picture;
    };
    for (auto const* const pipeline : {"fusion", "mesh"})
    {
        SCOPED_TRACE(pipeline);
        ASSERT_EQ(texture({"-o", out("model.obj"), "--pipeline", pipeline}).status, 0);
        auto const textured = draw(out("model.obj"));
        // The photograph is bluer on the right and greener below; the middle of the picture is its
        // own.
        EXPECT_GT(textured.pixel(80, 50)[0], textured.pixel(20, 50)[0] + 80);
        EXPECT_GT(textured.pixel(50, 80)[1], textured.pixel(50, 20)[1] + 80);
        for (int channel = 0; channel < 3; ++channel)
        {
            EXPECT_NEAR(textured.pixel(50, 50)[channel],
                        photo_channel(channel, PHOTO_CENTRE, PHOTO_CENTRE), 4.0);
        }
    }
    auto const plain = draw(sheet_.mesh());
    EXPECT_NEAR(plain.pixel(80, 50)[0], plain.pixel(20, 50)[0], 3);
}

using TextureCommandRealData = RealData;

TEST_F(TextureCommandRealData, TheCastleAndTheCartonAreTextured)
{
    TempDir const dir;
    auto const texture = [&](std::string const& mesh, std::string const& photos,
                             std::vector<std::string> const& more)
    {
        std::vector<std::string> list{"texture", real_data(mesh),     "--photos", real_data(photos),
                                      "-o",      dir.file("out.glb"), "--json"};
        list.insert(list.end(), more.begin(), more.end());
        Outcome const run = run_veld(list);
        EXPECT_EQ(run.status, 0) << run.err;
        return run.json();
    };
    auto const castle =
        texture("photos_castle/mesh_coarse.ply", "photos_castle", {"--depth-tolerance", "0.02"});
    EXPECT_EQ(castle["photographs"], 10);
    EXPECT_GT(castle["textured_faces"], 13'000);
    auto const by_modules =
        texture("photos_castle/mesh_coarse.ply", "photos_castle",
                {"--depth-tolerance", "0.02", "--pipeline", "mesh", "--keep-exposures"});
    EXPECT_GT(by_modules["textured_faces"], 13'000);
    auto const carton = texture("photos_carton/mesh.ply", "photos_carton", {"--scale", "1000"});
    EXPECT_EQ(carton["photographs"], 24);
    EXPECT_GT(carton["textured_faces"], 15'000);
}

} // namespace
