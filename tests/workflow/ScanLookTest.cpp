#include "workflow/run/ScanLook.h"

#include "reason_of.h"
#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/photos.h"
#include "tests/support/temp_dir.h"
#include "workflow/files/MeshFiles.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::HasSubstr;
using veld::ScanKind;

/// A folder in which scans of all kinds are put.
class ScanLookFolder : public testing::Test
{
protected:
    veld::ScanLook look(std::string const& name, std::filesystem::path const& markers = {},
                        std::filesystem::path const& photos = {})
    {
        return veld::look_at_scan(dir_.path() / name, markers, photos, context_);
    }
    std::string refusal(std::string const& name)
    {
        return reason_of([&] { look(name); });
    }
    void put_mesh(std::string const& name)
    {
        veld::write_mesh(dir_.file(name), grid(3, 3), context_);
    }
    void put_photos(std::string const& folder)
    {
        PhotoDir const photos;
        std::filesystem::create_directories(dir_.file(folder));
        std::filesystem::copy(photos.path(), dir_.file(folder));
    }
    void put_scans()
    {
        write_file(dir_.file("one.conf"), "bmesh a.ply 0 0 0 0 0 0 1\n");
        put_mesh("a.ply");
    }

    TempDir dir_;
    veld::Context context_;
};

TEST_F(ScanLookFolder, AFileWithFacesIsAMeshAndOneWithoutIsACloud)
{
    put_mesh("mesh.ply");
    write_file(dir_.file("cloud.xyz"), "0 0 0\n1 0 0\n");
    write_file(dir_.file("normals.xyz"), "0 0 0 0 0 1\n1 0 0 0 0 1\n");
    auto const mesh = look("mesh.ply");
    EXPECT_EQ(mesh.kind, ScanKind::MESH);
    EXPECT_EQ(mesh.found, "a mesh of 18 faces");
    EXPECT_EQ(mesh.mesh.n_faces(), 18U);
    EXPECT_EQ(look("cloud.xyz").kind, ScanKind::CLOUD);
    EXPECT_EQ(look("cloud.xyz").found, "a cloud of 2 points");
    EXPECT_EQ(look("normals.xyz").found, "a cloud of 2 points with normals");
}

TEST_F(ScanLookFolder, FilesAreFoundWithoutReadingTheMesh)
{
    write_file(dir_.file("scan.ply"), "no mesh at all");
    write_file(dir_.file("markers.txt"), "0 0 0\n");
    put_photos("photos");
    auto const found = veld::find_scan(dir_.file("scan.ply"), {}, {});
    EXPECT_THAT(found.files, testing::ElementsAre(dir_.path() / "scan.ply"));
    EXPECT_EQ(found.markers, dir_.path() / "markers.txt");
    EXPECT_EQ(found.photos, dir_.path() / "photos");
    EXPECT_EQ(found.photo_files.front(), dir_.path() / "photos" / "cameras.json");
    EXPECT_EQ(found.mesh.n_vertices(), 0U);
    EXPECT_EQ(found.found, "");
}

TEST_F(ScanLookFolder, AFolderIsWhatItHolds)
{
    put_scans();
    auto const frames = look("");
    EXPECT_EQ(frames.kind, ScanKind::FRAMES);
    EXPECT_EQ(frames.source, dir_.path() / "one.conf");
    EXPECT_THAT(frames.files,
                testing::ElementsAre(dir_.path() / "one.conf", dir_.path() / "a.ply"));
    EXPECT_THAT(frames.found, HasSubstr("1 frame in "));

    std::filesystem::create_directory(dir_.file("mesh"));
    put_mesh("mesh/scan.ply");
    EXPECT_EQ(look("mesh").kind, ScanKind::MESH);
    EXPECT_EQ(look("mesh").source, dir_.path() / "mesh" / "scan.ply");
}

TEST_F(ScanLookFolder, FramesAreCountedOnlyWhereTheirNumbersCanBeThoseOfFiles)
{
    auto const found = [this](std::string const& numbers)
    {
        write_file(dir_.file("scan.json"),
                   R"({"points": {}, "poses": {}, "rows": 1)" + numbers + "}");
        return look("scan.json").found;
    };
    EXPECT_EQ(found(R"(, "first": 7, "last": 9)"), "3 frames");
    for (auto const& numbers : {"", R"(, "first": 1, "last": 9223372036854775807)",
                                R"(, "first": -9223372036854775807, "last": 9223372036854775807)",
                                R"(, "first": -5, "last": 5)", R"(, "first": 5, "last": 4)"})
    {
        EXPECT_EQ(found(numbers), "frames") << numbers;
    }
}

TEST_F(ScanLookFolder, SeveralThingsHaveToBeNamed)
{
    EXPECT_THAT(refusal(""), HasSubstr(": is empty"));
    write_file(dir_.file("notes.txt"), "hello");
    EXPECT_THAT(refusal(""), HasSubstr(": holds no scan"));
    put_scans();
    put_mesh("merged.ply");
    EXPECT_THAT(refusal(""), HasSubstr(": holds frames and also merged.ply: name the file"));
    std::filesystem::remove(dir_.file("one.conf"));
    EXPECT_THAT(refusal(""), HasSubstr(": holds a.ply, merged.ply: name the one"));
    EXPECT_THAT(refusal("none.ply"), HasSubstr("none.ply: no such file"));
    write_file(dir_.file("some.json"), "{}");
    EXPECT_THAT(refusal("some.json"), HasSubstr("some.json: describes no frames"));
}

TEST_F(ScanLookFolder, MarkersAndPhotographsAreFoundBesideTheScan)
{
    put_mesh("scan.ply");
    EXPECT_TRUE(look("scan.ply").markers.empty());
    EXPECT_TRUE(look("scan.ply").photos.empty());
    write_file(dir_.file("markers.txt"), "1 1 0\n2 2 0\n");
    put_photos("photos");
    auto const found = look("scan.ply");
    EXPECT_EQ(found.markers, dir_.path() / "markers.txt");
    EXPECT_EQ(found.photos, dir_.path() / "photos");
    EXPECT_THAT(found.photo_files, testing::ElementsAre(dir_.path() / "photos" / "cameras.json",
                                                        dir_.path() / "photos" / "one.png"));
    EXPECT_THAT(found.found, testing::AllOf(HasSubstr("2 markers in "), HasSubstr("1 photograph")));
}

TEST_F(ScanLookFolder, TheyMayLieBesideTheFolderOfAScanToo)
{
    std::filesystem::create_directory(dir_.file("frames"));
    put_mesh("frames/a.ply");
    write_file(dir_.file("frames/one.conf"), "bmesh a.ply 0 0 0 0 0 0 1\n");
    write_file(dir_.file("markers.txt"), "1 1 0\n");
    put_photos("images");
    for (std::string const name : {"frames", "frames/", "frames/one.conf"})
    {
        EXPECT_EQ(look(name).markers, dir_.path() / "markers.txt") << name;
        EXPECT_EQ(look(name).photos, dir_.path() / "images") << name;
    }
    EXPECT_TRUE(look("frames/a.ply").markers.empty()) << "a mesh has only what is in its folder";
}

TEST_F(ScanLookFolder, WhatIsNamedIsTakenAndHasToBeThere)
{
    put_mesh("scan.ply");
    put_photos("photos");
    put_photos("others");
    write_file(dir_.file("places.txt"), "1 1 0\n");
    auto const named = look("scan.ply", dir_.file("places.txt"), dir_.file("others"));
    EXPECT_EQ(named.markers, dir_.path() / "places.txt");
    EXPECT_EQ(named.photos, dir_.path() / "others");
    EXPECT_THAT(reason_of([&] { look("scan.ply", dir_.file("none.txt")); }),
                HasSubstr("none.txt: no such file"));
    std::filesystem::remove(dir_.file("others/one.png"));
    EXPECT_THAT(reason_of([&] { look("scan.ply", {}, dir_.file("others")); }),
                HasSubstr("one.png: no such file"));
}

TEST_F(ScanLookFolder, DepthImagesAreFramesWithTheFilesThatTheirListNames)
{
    write_file(dir_.file("a.png"), "no picture at all");
    write_file(dir_.file("cameras.json"),
               R"({"views": [{"depth": "a.png", "R": [1, 0]}, {"depth": "gone.png"},)"
               R"( {"image": "a.png"}, 7]})");
    for (std::string const name : {"", "cameras.json"})
    {
        auto const found = veld::find_scan(dir_.path() / name, {}, {});
        EXPECT_EQ(found.kind, ScanKind::FRAMES);
        EXPECT_EQ(found.source, dir_.path() / "cameras.json");
        EXPECT_THAT(found.files,
                    testing::UnorderedElementsAre(dir_.path() / "cameras.json",
                                                  dir_.path() / "a.png", dir_.path() / "a.png"));
        EXPECT_EQ(found.frames, 2U);
    }
}

TEST_F(ScanLookFolder, ADamagedListIsToldWhereItsNameSaysWhatItIs)
{
    put_mesh("scan.ply");
    write_file(dir_.file("notes.json"), "{ no JSON");
    EXPECT_EQ(look("").kind, ScanKind::MESH) << "any file may be beside a scan";
    write_file(dir_.file("cameras.json"), "{ no JSON");
    EXPECT_THAT(refusal(""), HasSubstr("cameras.json: "));
}

TEST_F(ScanLookFolder, ADirectoryOfTextFramesHasToBeThere)
{
    write_file(dir_.file("scan.json"),
               R"({"points": {}, "poses": {}, "rows": 1, "directory": "gone"})");
    EXPECT_THAT(refusal("scan.json"),
                testing::AllOf(HasSubstr("gone"), HasSubstr("cannot be read")));
}

TEST_F(ScanLookFolder, AListForSomethingElseIsNoPhotographs)
{
    put_mesh("scan.ply");
    write_file(dir_.file("cameras.json"), "{\"cameras\": []}");
    EXPECT_TRUE(look("scan.ply").photos.empty());
}

} // namespace
