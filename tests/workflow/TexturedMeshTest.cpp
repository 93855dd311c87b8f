#include "workflow/files/TexturedMesh.h"
#include "workflow/Error.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Render.h"

#include "reason_of.h"
#include "tests/support/meshes.h"
#include "tests/support/photos.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Vector2f;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

/// A square of two faces under an image of four pixels: blue, green over red, white.
veld::TexturedMesh square()
{
    veld::TexturedMesh textured;
    textured.mesh =
        make_mesh({{0, 0, 0}, {1000, 0, 0}, {1000, 1000, 0}, {0, 1000, 0}}, {{0, 1, 2}, {0, 2, 3}});
    textured.mesh.request_halfedge_texcoords2D();
    for (auto const face : textured.mesh.faces())
    {
        for (auto const h : textured.mesh.fh_range(face))
        {
            auto const point = textured.mesh.point(textured.mesh.to_vertex_handle(h));
            textured.mesh.set_texcoord2D(h, Vector2f(point.x() / 1000, point.y() / 1000));
        }
    }
    textured.image = veld::TextureImage(2, 2);
    textured.image.pixel(0, 0)[0] = 255;
    textured.image.pixel(1, 0)[1] = 255;
    textured.image.pixel(0, 1)[2] = 255;
    std::memset(textured.image.pixel(1, 1), 255, 3);
    return textured;
}

TEST(TexturedMesh, ObjHasItsMaterialAndImageBesideIt)
{
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("model.obj"), square(), context);
    EXPECT_THAT(files_in(dir.path()), ElementsAre("model.jpg", "model.mtl", "model.obj"));
    std::string const obj = file_content(dir.file("model.obj"));
    EXPECT_EQ(obj.rfind("mtllib model.mtl\nusemtl atlas\n", 0), 0U);
    EXPECT_THAT(obj, HasSubstr("v 1000 1000 0\n"));
    EXPECT_THAT(obj, HasSubstr("vt 1 1\n"));
    std::string const material = file_content(dir.file("model.mtl"));
    EXPECT_THAT(material, HasSubstr("newmtl atlas\n"));
    EXPECT_THAT(material, HasSubstr("map_Kd model.jpg\n"));
    auto const image = veld::read_texture_of(dir.file("model.obj"), context);
    EXPECT_EQ(image.width(), 2);
    EXPECT_EQ(image.height(), 2);
}

TEST(TexturedMesh, ColoursOfVerticesAreLeftOut)
{
    veld::TexturedMesh coloured = square();
    coloured.mesh.request_vertex_colors();
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("plain.obj"), square(), context);
    veld::write_textured_mesh(dir.file("coloured.obj"), coloured, context);
    std::string const plain = file_content(dir.file("plain.obj"));
    std::string const written = file_content(dir.file("coloured.obj"));
    EXPECT_EQ(written.substr(written.find("\nv ")), plain.substr(plain.find("\nv ")));
}

TEST(TexturedMesh, AllFilesAppearOrNone)
{
    TempDir const dir;
    std::filesystem::create_directory(dir.path() / "model.mtl");
    veld::Context context;
    auto const write = [&]
    {
        veld::Outputs outputs;
        outputs.check(veld::textured_mesh_files(dir.file("model.obj")), {});
        veld::write_textured_mesh(dir.file("model.obj"), square(), outputs, context);
        outputs.commit();
    };
    EXPECT_THAT(reason_of(write), EndsWith("model.mtl: is a directory, not a file to write"));
    EXPECT_THAT(files_in(dir.path()), ElementsAre("model.mtl"));
    // An image that no JPEG can hold.
    veld::TexturedMesh wide = square();
    wide.image = veld::TextureImage(70'000, 1);
    EXPECT_THAT(reason_of([&] { veld::write_textured_mesh(dir.file("wide.obj"), wide, context); }),
                HasSubstr("wide.jpg: cannot be written: its texture has 70000 x 1 pixels"));
    EXPECT_THAT(reason_of([&] { veld::write_textured_mesh(dir.file("wide.glb"), wide, context); }),
                HasSubstr("wide.glb: cannot be written: its texture has 70000 x 1 pixels"));
    EXPECT_THAT(files_in(dir.path()), ElementsAre("model.mtl"));
}

TEST(TexturedMesh, OtherFormatsAreRefused)
{
    EXPECT_THAT(reason_of([] { veld::textured_mesh_files("model.ply"); }),
                EndsWith("model.ply: the extension has to be one of .obj .glb"));
}

/// A GLB file taken apart, without the library that wrote it.
class Glb
{
public:
    explicit Glb(std::string const& path) : content_(file_content(path))
    {
        EXPECT_EQ(content_.substr(0, 4), "glTF");
        EXPECT_EQ(word(4), 2U);
        EXPECT_EQ(word(8), content_.size());
        EXPECT_EQ(content_.substr(16, 4), "JSON");
        header_ = nlohmann::json::parse(content_.substr(20, word(12)));
        binary_ = 20 + word(12) + 8;
    }

    nlohmann::json const& header() const { return header_; }

    template <typename Value>
    std::vector<Value> values(int accessor, std::size_t per_element) const
    {
        auto const& entry = header_["accessors"][static_cast<std::size_t>(accessor)];
        std::vector<Value> result(entry["count"].get<std::size_t>() * per_element);
        std::string const bytes = view(entry["bufferView"]);
        EXPECT_EQ(bytes.size(), result.size() * sizeof(Value));
        std::memcpy(result.data(), bytes.data(), bytes.size());
        return result;
    }

    std::string view(std::size_t number) const
    {
        auto const& entry = header_["bufferViews"][number];
        return content_.substr(binary_ + entry.value("byteOffset", std::size_t{0}),
                               entry["byteLength"].get<std::size_t>());
    }

private:
    std::uint32_t word(std::size_t at) const
    {
        std::uint32_t value = 0;
        std::memcpy(&value, content_.data() + at, sizeof(value));
        return value;
    }

    std::string content_;
    nlohmann::json header_;
    std::size_t binary_ = 0;
};

TEST(TexturedMesh, GlbHasMetresAndCoordinatesFromTheTop)
{
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("model.glb"), square(), context);
    EXPECT_THAT(files_in(dir.path()), ElementsAre("model.glb"));
    Glb const glb(dir.file("model.glb"));
    auto const primitive = glb.header()["meshes"][0]["primitives"][0];
    auto const points = glb.values<float>(primitive["attributes"]["POSITION"], 3);
    auto const texcoords = glb.values<float>(primitive["attributes"]["TEXCOORD_0"], 2);
    auto const triangles = glb.values<std::uint32_t>(primitive["indices"], 1);
    ASSERT_EQ(points.size(), 12U); // corners of one place and coordinate are one
    ASSERT_EQ(triangles.size(), 6U);
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_FLOAT_EQ(texcoords[2 * i], points[3 * i]);
        EXPECT_FLOAT_EQ(texcoords[2 * i + 1], 1.0F - points[3 * i + 1]);
    }
    auto const corner = [&](std::size_t i)
    {
        auto const* const p = points.data() + 3 * triangles[i];
        return OrvaneAlgorithm::Vector3f(p[0], p[1], p[2]);
    };
    EXPECT_GT((corner(1) - corner(0)).cross(corner(2) - corner(0)).z(), 0.0F);
    EXPECT_EQ(
        glb.header()["accessors"][primitive["attributes"]["POSITION"].get<std::size_t>()]["max"],
        nlohmann::json({1.0, 1.0, 0.0}));
    EXPECT_TRUE(glb.header()["materials"][0]["extensions"].contains("KHR_materials_unlit"));
    EXPECT_EQ(glb.header()["extensionsUsed"], nlohmann::json({"KHR_materials_unlit"}));
    write_file(dir.file("inside.jpg"), glb.view(glb.header()["images"][0]["bufferView"]));
    veld::TextureImage image;
    ASSERT_EQ(OrvaneAlgorithm::read_rgb_image(dir.file("inside.jpg"), image), 0);
    EXPECT_EQ(image.width(), 2);
}

TEST(TexturedMesh, GlbHasNormalsWhereAllAreUnits)
{
    veld::TexturedMesh textured = square();
    textured.mesh.request_vertex_normals();
    set_normals(textured.mesh, {0, 0, 1});
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("model.glb"), textured, context);
    auto const attributes =
        Glb(dir.file("model.glb")).header()["meshes"][0]["primitives"][0]["attributes"];
    ASSERT_TRUE(attributes.contains("NORMAL"));
    set_normals(textured.mesh, {0, 0, 0});
    veld::write_textured_mesh(dir.file("zero.glb"), textured, context);
    EXPECT_FALSE(Glb(dir.file("zero.glb"))
                     .header()["meshes"][0]["primitives"][0]["attributes"]
                     .contains("NORMAL"));
}

/// What reading the texture of an OBJ file warns of. \param material empty for no material file
std::string warning_of(std::string const& material)
{
    TempDir const dir;
    write_file(dir.file("model.obj"), "# made elsewhere\n  mtllib model.mtl\nv 0 0 0\n");
    if (!material.empty())
    {
        write_file(dir.file("model.mtl"), material);
    }
    std::string text;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { text += warning.text; };
    EXPECT_TRUE(veld::read_texture_of(dir.file("model.obj"), context).empty());
    return text;
}

TEST(TexturedMesh, ATextureThatCannotBeReadIsToldOf)
{
    EXPECT_EQ(warning_of("newmtl a\nKd 1 0 0\n"), "");
    EXPECT_THAT(warning_of(""), EndsWith("model.mtl: no such file"));
    EXPECT_THAT(warning_of("map_Kd none.png\n"), EndsWith("none.png: no such file"));
    EXPECT_THAT(warning_of("map_Kd model.mtl\n"), EndsWith("is no JPEG or PNG that can be read"));
    EXPECT_THAT(warning_of("map_Kd a.png\nmap_Kd b.png\n"),
                HasSubstr("names 2 textures, of which one can be taken"));
}

TEST(TexturedMesh, OptionsInFrontOfATextureArePassedOver)
{
    TempDir const dir;
    write_file(dir.file("model.obj"), "mtllib model.mtl\r\n");
    write_file(dir.file("model.mtl"), "newmtl a\r\n\tmap_Kd -s 1 1 1 one.png\r\n");
    ASSERT_EQ(OrvaneAlgorithm::write_rgb_image(dir.file("one.png"), sheet_photo(3, 4)), 0);
    veld::Context context;
    EXPECT_EQ(veld::read_texture_of(dir.file("model.obj"), context).height(), 4);
}

TEST(TexturedMesh, APointAtNoPlaceIsNotInTheBoundsOfAGlb)
{
    veld::TexturedMesh broken = square();
    broken.mesh.set_point(OpenMesh::VertexHandle(1), {std::nanf(""), -7000.0F, 0.0F});
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("model.glb"), broken, context);
    Glb const glb(dir.file("model.glb"));
    auto const primitive = glb.header()["meshes"][0]["primitives"][0];
    auto const accessor =
        glb.header()["accessors"][primitive["attributes"]["POSITION"].get<std::size_t>()];
    EXPECT_EQ(accessor["min"], nlohmann::json({0.0, 0.0, 0.0}));
    EXPECT_EQ(accessor["max"], nlohmann::json({1.0, 1.0, 0.0}));
}

veld::Picture drawn(veld::TexturedMesh const& textured, veld::FaceMarks const& marks, bool unlit)
{
    veld::RenderSettings settings;
    settings.width = 100;
    settings.height = 100;
    settings.view = {0.0, 0.0, veld::UpAxis::Y};
    settings.line_width = 0.0;
    settings.unlit = unlit;
    veld::Context context;
    return veld::render(textured.mesh, textured.image, marks, settings, context);
}

std::vector<int> colour_at(veld::Picture const& picture, int x, int y)
{
    auto const* const p = picture.pixel(x, y);
    return {p[0], p[1], p[2]};
}

TEST(RenderTexture, APointAtNoPlaceDoesNotChangeTheScale)
{
    // A third face behind the others, which ends where there is no place.
    veld::TexturedMesh broken = square();
    auto const nowhere = broken.mesh.add_vertex({std::nanf(""), 0.0F, 0.0F});
    auto const corner = [&](int i) { return OpenMesh::VertexHandle(i); };
    ASSERT_TRUE(broken.mesh.add_face(corner(1), corner(0), nowhere).is_valid());
    auto const wanted = drawn(square(), {}, true);
    auto const picture = drawn(broken, {}, true);
    for (int const at : {20, 80})
    {
        EXPECT_EQ(colour_at(picture, at, at), colour_at(wanted, at, at));
    }
}

TEST(RenderTexture, UnlitColoursAreThoseOfThePixels)
{
    // Each pixel of the texture covers a quarter of the square, and is pure at its rim.
    auto const picture = drawn(square(), {}, true);
    EXPECT_THAT(colour_at(picture, 20, 20), ElementsAre(255, 0, 0));
    EXPECT_THAT(colour_at(picture, 80, 20), ElementsAre(0, 255, 0));
    EXPECT_THAT(colour_at(picture, 20, 80), ElementsAre(0, 0, 255));
    EXPECT_THAT(colour_at(picture, 80, 80), ElementsAre(255, 255, 255));
}

TEST(RenderTexture, BetweenPixelsTheirLightIsMixed)
{
    // In the middle all four give a quarter of their light: two of them shine in each channel.
    auto const picture = drawn(square(), {}, true);
    int const half =
        static_cast<int>(std::lround(255.0 * (1.055 * std::pow(0.5, 1 / 2.4) - 0.055)));
    for (int const channel : colour_at(picture, 50, 50))
    {
        EXPECT_NEAR(channel, half, 6); // the pixel lies beside the middle
    }
}

TEST(RenderTexture, LightFallsOnTheTextureUnlessItIsUnlit)
{
    auto const lit = colour_at(drawn(square(), {}, false), 20, 20);
    EXPECT_LT(lit[0], 250);
    EXPECT_GT(lit[0], 100);
    EXPECT_LT(lit[1], 80);
}

TEST(RenderTexture, FacesWithoutCoordinatesOrWithAMarkLookAsBefore)
{
    veld::TexturedMesh bare = square();
    for (auto const h : bare.mesh.halfedges())
    {
        bare.mesh.set_texcoord2D(h, Vector2f::Constant(std::nanf("")));
    }
    veld::TexturedMesh plain = square();
    plain.mesh.release_halfedge_texcoords2D();
    auto const wanted = colour_at(drawn(plain, {}, true), 30, 40);
    EXPECT_EQ(colour_at(drawn(bare, {}, true), 30, 40), wanted);
    EXPECT_NE(colour_at(drawn(square(), {}, true), 30, 40), wanted);
    EXPECT_EQ(colour_at(drawn(square(), {1, 1}, false), 30, 40),
              colour_at(drawn(plain, {1, 1}, false), 30, 40));
}

TEST(RenderTexture, CoordinatesBeyondTheImageRepeatIt)
{
    veld::TexturedMesh moved = square();
    for (auto const h : moved.mesh.halfedges())
    {
        Vector2f const place = moved.mesh.texcoord2D(h) * 0.1F + Vector2f(3.85F, -0.15F);
        moved.mesh.set_texcoord2D(h, place);
    }
    // From 3.85 and -0.15 to 3.95 and -0.05, beyond the centre of the upper right pixel.
    EXPECT_THAT(colour_at(drawn(moved, {}, true), 80, 20), ElementsAre(0, 255, 0));
}

} // namespace
