#include "run_veld.h"

#include "algorithmVeld/common/image_io.h"

#include <gmock/gmock.h>

#include <sstream>

namespace
{

using namespace veld_test;
using Picture = OrvaneAlgorithm::Image<3, unsigned char>;
using testing::IsSupersetOf;

/// Draws the mesh of a file.
Picture draw_text(std::string const& text, std::vector<std::string> const& options = {})
{
    TempDir const dir;
    write_file(dir.file("mesh.ply"), text);
    std::vector<std::string> arguments{
        "render", dir.file("mesh.ply"), "-o", dir.file("out.png"), "--width",
        "160",    "--height",           "120"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Outcome const run = run_veld(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    Picture picture;
    EXPECT_EQ(OrvaneAlgorithm::read_rgb_image(dir.file("out.png"), picture), 0);
    return picture;
}

/// Draws a mesh.
Picture draw(TriMesh const& mesh, std::vector<std::string> const& options = {})
{
    return draw_text(ply_text(mesh), options);
}

/// Number of pixels whose blue, green and red fulfil a condition.
template <typename Condition>
int count_pixels(Picture const& picture, Condition const& condition)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
    {
        for (int x = 0; x < picture.width(); ++x)
        {
            auto const* const p = picture.pixel(x, y);
            count += condition(p[0], p[1], p[2]) ? 1 : 0;
        }
    }
    return count;
}

int rim_pixels(Picture const& picture)
{
    return count_pixels(picture, [](int b, int g, int r) { return r > 190 && g < 110 && b < 80; });
}

int filled_pixels(Picture const& picture)
{
    return count_pixels(picture, [](int b, int g, int r) { return b > r + 40 && g > r + 20; });
}

TEST(RenderCommand, PictureHasTheAskedSize)
{
    MeshDir const dir(grid_with_hole(2));
    Outcome const run = run_veld({"render", dir.mesh(), "-o", dir.file("out.png"), "--width", "123",
                                  "--height", "45", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const json = run.json();
    EXPECT_THAT(keys_of(json), IsSupersetOf({"width", "height"}));
    EXPECT_EQ(json["width"], 123);
    EXPECT_EQ(json["height"], 45);
    EXPECT_EQ(json["faces"], 24);
    EXPECT_EQ(json["holes"], 2);
    Picture picture;
    ASSERT_EQ(OrvaneAlgorithm::read_rgb_image(dir.file("out.png"), picture), 0);
    EXPECT_EQ(picture.width(), 123);
    EXPECT_EQ(picture.height(), 45);
}

TEST(RenderCommand, HolesAreDrawnInAStrongColour)
{
    EXPECT_GT(rim_pixels(draw(grid_with_hole(2), {"--view", "front"})), 200);
}

TEST(RenderCommand, ClosedMeshShowsNoHoleColour)
{
    EXPECT_EQ(rim_pixels(draw(sphere(3))), 0);
}

TEST(RenderCommand, LineWidthZeroDrawsNoRim)
{
    EXPECT_EQ(rim_pixels(draw(grid_with_hole(2), {"--view", "front", "--line-width", "0"})), 0);
}

TEST(RenderCommand, RimBehindTheSurfaceIsHidden)
{
    // Seen from its apex a cone hides its rim but for the outline; a sphere in front hides all.
    TriMesh mesh = sphere(4);
    for (auto const& p : {Vector3f(0.1F, 0, -3), Vector3f(-0.1F, 0, -3), Vector3f(0, 0.1F, -3)})
    {
        mesh.add_vertex(p);
    }
    int const n = static_cast<int>(mesh.n_vertices());
    mesh.add_face(vh(n - 3), vh(n - 2), vh(n - 1));
    EXPECT_EQ(rim_pixels(draw(mesh, {"--view", "front"})), 0);
    EXPECT_GT(rim_pixels(draw(mesh, {"--view", "back"})), 0);
}

TEST(RenderCommand, BackFacesAreDarkerThanFrontFaces)
{
    auto const brightness = [](Picture const& picture)
    {
        auto const* const p = picture.pixel(picture.width() / 3, picture.height() / 2);
        return p[0] + p[1] + p[2];
    };
    TriMesh const mesh = grid(3, 3);
    EXPECT_GT(brightness(draw(mesh, {"--view", "front"})),
              brightness(draw(mesh, {"--view", "back"})) + 100);
}

TEST(RenderCommand, UpAxisTurnsTheObject)
{
    // The grid faces +z: seen from the front with y up, from the top with z up.
    auto const covered = [](Picture const& picture)
    { return count_pixels(picture, [](int b, int g, int r) { return r > b + 8 && g < 240; }); };
    TriMesh const mesh = grid(3, 3);
    EXPECT_GT(covered(draw(mesh, {"--view", "front", "--line-width", "0"})), 5000);
    EXPECT_LT(covered(draw(mesh, {"--view", "top", "--line-width", "0"})), 400);
    EXPECT_GT(covered(draw(mesh, {"--view", "top", "--up", "z", "--line-width", "0"})), 5000);
}

TEST(RenderCommand, NamedViewIsItsAzimuthAndElevation)
{
    TriMesh const mesh = open_cone(5);
    Picture const named = draw(mesh, {"--view", "left"});
    Picture const angles = draw(mesh, {"--azimuth", "-90", "--elevation", "0"});
    EXPECT_TRUE(std::equal(named.data(), named.data() + 160 * 120 * 3, angles.data()));
}

TEST(RenderCommand, NewFacesGetAColourOfTheirOwn)
{
    MeshDir const dir(grid_with_hole(2));
    write_file(dir.file("filled.ply"), ply_text(grid(4, 4)));
    Outcome const run =
        run_veld({"render", dir.file("filled.ply"), "-o", dir.file("out.png"), "--compare",
                  dir.mesh(), "--view", "front", "--width", "160", "--height", "120", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["new_faces"], 8);
    Picture picture;
    ASSERT_EQ(OrvaneAlgorithm::read_rgb_image(dir.file("out.png"), picture), 0);
    EXPECT_GT(filled_pixels(picture), 1000);
    EXPECT_EQ(filled_pixels(draw(grid(4, 4), {"--view", "front"})), 0);
}

TEST(RenderCommand, SameBytesForAnyNumberOfThreads)
{
    MeshDir const dir(pinched_pair());
    for (std::string const threads : {"1", "2"})
    {
        ASSERT_EQ(run_veld({"render", dir.mesh(), "-o", dir.file(threads + ".png"), "--width",
                            "200", "--height", "150", "--threads", threads})
                      .status,
                  0);
    }
    std::string const one = file_content(dir.file("1.png"));
    EXPECT_FALSE(one.empty());
    EXPECT_TRUE(one == file_content(dir.file("2.png")));
}

TEST(RenderCommand, SizeAndPlaceOfTheMeshDoNotMatter)
{
    for (float const scale : {1e-18F, 1e18F})
    {
        TriMesh mesh = grid_with_hole(2);
        for (auto const v : mesh.vertices())
        {
            mesh.set_point(v, mesh.point(v) * scale);
        }
        EXPECT_GT(rim_pixels(draw(mesh, {"--view", "front"})), 200) << scale;
    }
}

/// A sheet of red vertices on the left and green ones on the right, as a file.
std::string coloured_sheet()
{
    TriMesh const mesh = grid(4, 4);
    std::ostringstream text;
    text << "ply\nformat ascii 1.0\nelement vertex " << mesh.n_vertices()
         << "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\n"
            "property uchar green\nproperty uchar blue\nelement face "
         << mesh.n_faces() << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (auto const v : mesh.vertices())
    {
        Vector3f const& p = mesh.point(v);
        text << p.x() << " " << p.y() << " " << p.z()
             << (p.x() < 2.0F ? " 255 0 0\n" : " 0 255 0\n");
    }
    for (auto const f : mesh.faces())
    {
        text << "3";
        for (auto const v : mesh.fv_range(f))
        {
            text << " " << v.idx();
        }
        text << "\n";
    }
    return text.str();
}

int red_pixels(Picture const& picture)
{
    return count_pixels(picture, [](int b, int g, int r) { return r > 150 && g < 70 && b < 70; });
}

int green_pixels(Picture const& picture)
{
    return count_pixels(picture, [](int b, int g, int r) { return g > 150 && r < 70 && b < 70; });
}

TEST(RenderCommand, ColoursOfVerticesAreShownUnlessItIsPlain)
{
    std::vector<std::string> const front{"--view", "front", "--line-width", "0"};
    Picture const coloured = draw_text(coloured_sheet(), front);
    EXPECT_GT(red_pixels(coloured), 1000);
    EXPECT_GT(green_pixels(coloured), 2000);
    Picture const plain =
        draw_text(coloured_sheet(), {"--view", "front", "--line-width", "0", "--plain"});
    Picture const colourless = draw(grid(4, 4), front);
    EXPECT_TRUE(std::equal(plain.data(), plain.data() + 160 * 120 * 3, colourless.data()));
}

TEST(RenderCommand, UnlitColoursOfVerticesAreThoseOfTheFile)
{
    Picture const picture =
        draw_text(coloured_sheet(), {"--view", "front", "--line-width", "0", "--unlit"});
    EXPECT_GT(
        count_pixels(picture, [](int b, int g, int r) { return b == 0 && g == 0 && r == 255; }),
        1000);
    EXPECT_GT(
        count_pixels(picture, [](int b, int g, int r) { return b == 0 && g == 255 && r == 0; }),
        2000);
}

TEST(RenderCommand, TheInsideHasNoColoursOfVertices)
{
    Picture const back = draw_text(coloured_sheet(), {"--view", "back", "--line-width", "0"});
    EXPECT_EQ(red_pixels(back), 0);
    EXPECT_EQ(green_pixels(back), 0);
}

TEST(RenderCommand, MeshWithoutFacesIsRefused)
{
    TempDir const dir;
    write_file(dir.file("cloud.ply"), "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                                      "property float y\nproperty float z\nend_header\n0 0 0\n");
    Outcome const run = run_veld({"render", dir.file("cloud.ply"), "-o", dir.file("out.png")});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error_lines(), 1);
    EXPECT_THAT(files_in(dir.path()), testing::ElementsAre("cloud.ply"));
}

TEST(RenderCommand, PictureOfUnknownFormatIsRefused)
{
    MeshDir const dir(tetrahedron());
    Outcome const run = run_veld({"render", dir.mesh(), "-o", dir.file("out.gif")});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("out.gif"), std::string::npos);
}

} // namespace
