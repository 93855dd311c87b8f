#include "algorithmVeld/common/mesh_io.h"

#include "tests/support/mesh_files.h"
#include "tests/support/meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELD_SANITIZED 1
#endif
#endif
#if defined(__linux__) && !defined(VELD_SANITIZED) && !defined(__SANITIZE_ADDRESS__) &&            \
    !defined(__SANITIZE_THREAD__)
#define VELD_CAN_LIMIT_MEMORY 1
#include <sys/resource.h>
#include <unistd.h>
#endif

using namespace OrvaneAlgorithm;
using testing::HasSubstr;
using testing::Not;
using veld_test::bytes;
using veld_test::file_content;
using veld_test::read_content;
using veld_test::TempDir;

namespace
{

/// Lets the process take 64 MB more than it has, where the system can say so.
class MemoryLimit
{
public:
#ifdef VELD_CAN_LIMIT_MEMORY
    MemoryLimit()
    {
        getrlimit(RLIMIT_AS, &before_);
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        auto limit = before_;
        limit.rlim_cur = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (64U << 20U);
        setrlimit(RLIMIT_AS, &limit);
    }
    ~MemoryLimit()
    {
        setrlimit(RLIMIT_AS, &before_);
    }
    MemoryLimit(MemoryLimit const&) = delete;
    MemoryLimit& operator=(MemoryLimit const&) = delete;

private:
    rlimit before_{};
#else
    MemoryLimit() {}
#endif
};

// Files whose error was worked out by hand.

std::string ply(std::string const& body, std::string const& vertices = "3",
                std::string const& faces = "1")
{
    return "ply\nformat ascii 1.0\nelement vertex " + vertices +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + faces +
           "\nproperty list uchar int vertex_indices\nend_header\n" + body;
}

std::string binary_ply(std::string const& body, std::string const& vertices = "3",
                       std::string const& faces = "1")
{
    auto text = ply(body, vertices, faces);
    return text.replace(text.find("ascii"), 5, "binary_little_endian");
}

/// Three vertices and the length of the list that follows.
std::string binary_triangle(float last = 0.0F)
{
    std::string text;
    for (float const value : {0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 1.0F})
    {
        text += bytes(value);
    }
    return text + bytes(last) + '\3';
}

std::string corners(int a, int b, int c)
{
    return bytes(a) + bytes(b) + bytes(c);
}

std::string binary_stl(std::uint32_t declared, int there)
{
    return std::string(80, 'x') + bytes(declared) + std::string(50 * std::size_t(there), '\0');
}

float const QUIET_NAN = std::numeric_limits<float>::quiet_NaN();
std::string const TRIANGLE = "0 0 0\n1 0 0\n0 1 0\n";
std::string const FACET = "facet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                          "vertex 0 1 0\nendloop\nendfacet\n";

struct Damaged
{
    std::string name;
    std::string content;
    std::string error;
};

std::vector<Damaged> damaged_plys()
{
    return {
        {"a.ply", "OFF\n1 0 0\n0 0 0\n", "is not a PLY file"},
        {"a.ply", "plywood\n", "is not a PLY file"},
        {"a.ply", "ply\n", "ends within its header"},
        {"a.ply", "ply\nformat ascii 1.0\nelement vertex 3\n", "ends within its header"},
        {"a.ply", "ply\nformat ascii 2.0\n", "line 2 of its header is not understood"},
        {"a.ply", "ply\nelement vertex 3\nend_header\n", "line 3 of its header is not understood"},
        {"a.ply", ply("", "-3"), "line 3 of its header is not understood"},
        {"a.ply", ply("", "99999999999999999999"), "line 3 of its header is not understood"},
        {"a.ply", "ply\nformat ascii 1.0\nproperty float x\nend_header\n",
         "line 3 of its header is not understood"},
        {"a.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty fload x\nend_header\n",
         "line 4 of its header is not understood"},
        {"a.ply", "ply\nformat ascii 1.0\nelement face 0\nend_header\n",
         "does not declare one list of vertices and one of faces"},
        {"a.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nend_header\n1\n",
         "has vertices without the coordinates x, y and z"},
        {"a.ply",
         "ply\nformat ascii 1.0\nelement vertex 0\nproperty int x\nproperty int y\n"
         "property int z\nelement face 1\nproperty int a\nend_header\n1\n",
         "has faces without one list vertex_indices"},
        {"a.ply", "ply\nformat ascii 1.0\nelement vertex 0\nelement tristrips 1\nend_header\n1\n",
         "holds triangle strips; only single triangles are supported"},
        {"a.ply", ply("0 0 0\n1 0 0\n"), "ends in the middle of vertex 2"},
        {"a.ply", ply("0 0 0\n1 0 0\n0 1"), "ends in the middle of vertex 2"},
        {"a.ply", ply(TRIANGLE), "ends in the middle of face 0"},
        {"a.ply", ply(TRIANGLE + "3 0 1"), "ends in the middle of face 0"},
        {"a.ply", ply("0 0\n1 0 0\n0 1 0\n3 0 1 2\n"),
         "vertex 0 has fewer values than the header declares"},
        {"a.ply", ply("0 0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"),
         "vertex 0 has more values than the header declares"},
        {"a.ply", ply("0 0 zero\n1 0 0\n0 1 0\n3 0 1 2\n"),
         "vertex 0 has a value that is no number"},
        {"a.ply", ply("0 0 0\n1 nan 0\n0 1 0\n3 0 1 2\n"),
         "vertex 1 has a coordinate that is not finite"},
        {"a.ply", ply("0 0 0\n1 0 0\n0 1 1e39\n3 0 1 2\n"),
         "vertex 2 has a coordinate that is not finite"},
        {"a.ply", ply(TRIANGLE + "3 0 1 99\n"), "face 0 names vertex 99, but there are only 3"},
        {"a.ply", ply(TRIANGLE + "3 0 1 -1\n"), "face 0 names vertex -1, but there are only 3"},
        {"a.ply", ply(TRIANGLE + "3 0 1 1.5\n"), "face 0 has a corner that is no vertex index"},
        {"a.ply", ply(TRIANGLE + "3 0 1 9999999999\n"),
         "face 0 has a corner that is no vertex index"},
        {"a.ply", ply(TRIANGLE + "4 0 1 2 0\n"),
         "face 0 has 4 corners; only triangles are supported"},
        {"a.ply", ply(TRIANGLE + "3 0 1 2\n3 0 1 2\n"), "holds more than its header declares"},
        {"a.ply", ply(TRIANGLE + "3 0 1 2\n", "3", "1000000000000"),
         "ends in the middle of face 1"},
        {"a.ply", ply(TRIANGLE, "1000000000000", "1000000000000"),
         "ends in the middle of vertex 3"},
        {"a.ply", binary_ply(binary_triangle() + corners(0, 1, 2), "1000000000000"),
         "ends in the middle of vertex 4"},
        {"a.ply", binary_ply(binary_triangle() + corners(0, 1, 2), "3", "4000000000"),
         "ends in the middle of face 1"},
        {"a.ply", binary_ply(binary_triangle(QUIET_NAN) + corners(0, 1, 2)),
         "vertex 2 has a coordinate that is not finite"},
        {"a.ply", binary_ply(binary_triangle() + corners(0, 1, 3)),
         "face 0 names vertex 3, but there are only 3"},
        {"a.ply", binary_ply(binary_triangle() + corners(0, 1, 2) + "x"),
         "holds more than its header declares"},
    };
}

std::vector<Damaged> damaged_stls()
{
    return {
        {"a.stl", "ply\n", "is not an STL file, or ends within its header"},
        {"a.stl", binary_stl(2, 1),
         "is not an STL file, or damaged: declares 2 faces, but has the size of 1"},
        {"a.stl", binary_stl(4294967295U, 1),
         "is not an STL file, or damaged: declares 4294967295 faces, but has the size of 1"},
        {"a.stl", binary_stl(0, 0), "holds no faces"},
        {"a.stl", "solid a\nendsolid a\n", "holds no faces"},
        {"a.stl", "solid a\n", "ends without endsolid"},
        {"a.stl", "solid a\n" + FACET, "ends without endsolid"},
        {"a.stl", "solid a\n" + FACET + "facet normal 0 0 1\nouter loop\nvertex 0 0 0\n",
         "ends in the middle of face 1"},
        {"a.stl", "solid a\nvertex 0 0 0\n", "line 2 is not understood"},
        {"a.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0\n",
         "line 4 is not understood"},
        {"a.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nendloop\n",
         "face 0 has 2 corners; only triangles are supported"},
        {"a.stl",
         "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
         "vertex 1 inf 0\nendloop\nendfacet\nendsolid\n",
         "vertex 2 has a coordinate that is not finite"},
    };
}

std::vector<Damaged> damaged_objs()
{
    return {
        {"a.obj", "ply\nformat ascii 1.0\n", "line 1 is not understood"},
        {"a.obj", "# nothing here\n", "holds no vertices"},
        {"a.obj", "v 0 0\n", "line 1 has too few numbers"},
        {"a.obj", "v 0 0 x\n", "line 1 has too few numbers"},
        {"a.obj", "v 0 0 0\nv 0 nan 0\n", "vertex 2 has a coordinate that is not finite"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n",
         "face 1 names vertex 4, but there are only 3"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\n", "line 4 has a corner that is no index"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -4 1 2\n", "line 4 has a corner that is no index"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 99999999999\n",
         "line 4 has a corner that is no index"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1//1 2//1 3//1\n",
         "face 1 names normal 1, but there are only 0"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//2 3//1\n",
         "face 1 names normal 2, but there are only 1"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3 1\n",
         "face 1 has 4 corners; only triangles are supported"},
        {"a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2\n",
         "face 1 has 2 corners; only triangles are supported"},
    };
}

std::vector<Damaged> damaged_offs()
{
    return {
        {"a.off", "ply\n", "is not an OFF file"},
        {"a.off", "4OFF\n3 1 0\n", "is not an OFF file"},
        {"a.off", "OFF\n", "does not say how many vertices and faces it has"},
        {"a.off", "OFF\n3\n", "does not say how many vertices and faces it has"},
        {"a.off", "OFF\n-3 1 0\n", "does not say how many vertices and faces it has"},
        {"a.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n", "ends in the middle of vertex 2"},
        {"a.off", "OFF\n3 1 0\n" + TRIANGLE, "ends in the middle of face 0"},
        {"a.off", "OFF\n3 1 0\n" + TRIANGLE + "3 0 1", "ends in the middle of face 0"},
        {"a.off", "OFF\n3 1 0\n0 0\n1 0 0\n0 1 0\n3 0 1 2\n", "vertex 0 has too few values"},
        {"a.off", "OFF\n3 1 0\n0 0 zero\n1 0 0\n0 1 0\n3 0 1 2\n",
         "vertex 0 has a value that is no number"},
        {"a.off", "OFF\n3 1 0\n0 0 -inf\n1 0 0\n0 1 0\n3 0 1 2\n",
         "vertex 0 has a coordinate that is not finite"},
        {"a.off", "OFF\n3 1 0\n" + TRIANGLE + "3 0 1 3\n",
         "face 0 names vertex 3, but there are only 3"},
        {"a.off", "OFF\n3 1 0\n" + TRIANGLE + "5 0 1 2 0 1\n",
         "face 0 has 5 corners; only triangles are supported"},
        {"a.off", "OFF\n3 1 0\n" + TRIANGLE + "3 0 1 2\n3 0 1 2\n", "holds more than it declares"},
        {"a.off", "OFF\n1000000000000 1000000000000 0\n" + TRIANGLE,
         "ends in the middle of vertex 3"},
        {"a.off", "OFF BINARY\n", "ends within its header"},
        {"a.off", "OFF BINARY\n" + bytes(1U) + bytes(4000000000U) + std::string(16, '\0'),
         "ends in the middle of face 0"},
    };
}

std::vector<Damaged> damaged_oms()
{
    std::string const head = std::string("OMT") + char(0x42);
    std::string const end = bytes(std::uint16_t(0x1c));
    return {
        {"a.om", "ply\n", "is not an OM file, or ends within its header"},
        {"a.om", head + bytes(1U) + bytes(0U), "is not an OM file, or ends within its header"},
        {"a.om", "OMTA" + bytes(0U) + bytes(0U) + bytes(0U) + end,
         "is of a version of the OM format that is not supported (known: 2.2)"},
        {"a.om", head + bytes(0U) + bytes(0U) + bytes(0U), "is cut off"},
        {"a.om",
         head + bytes(4000000000U) + bytes(4000000000U) + bytes(4000000000U) +
             bytes(std::uint16_t(0x1600)) + std::string(24, '\0'),
         "is cut off"},
        {"a.om", head + bytes(1U) + bytes(0U) + bytes(0U) + end, "holds no vertex positions"},
        {"a.om", head + bytes(0U) + bytes(7U) + bytes(0U) + end,
         "holds no faces, though it declares some"},
        {"a.om", head + bytes(0U) + bytes(0U) + bytes(0U) + end + "x",
         "holds more than it declares"},
        {"a.om",
         head + bytes(1U) + bytes(0U) + bytes(0U) + bytes(std::uint16_t(0x1600)) +
             bytes(QUIET_NAN) + bytes(QUIET_NAN) + bytes(QUIET_NAN) + end,
         "vertex 0 has a coordinate that is not finite"},
        {"a.om",
         head + bytes(0U) + bytes(1U) + bytes(0U) + bytes(std::uint16_t(0x06e8)) + '\5' + end,
         "face 0 names a halfedge that is not there"},
    };
}

void expect_errors(std::vector<Damaged> const& files)
{
    for (auto const& file : files)
    {
        MemoryLimit const limit;
        auto const result = read_content(file.name, file.content);
        EXPECT_FALSE(result.ok) << file.content;
        EXPECT_EQ(result.error, file.name + ": " + file.error) << file.content;
        EXPECT_EQ(result.mesh.n_vertices(), 0U);
        EXPECT_EQ(result.mesh.n_faces(), 0U);
    }
}

TEST(DamagedMesh, PlyIsRefusedWithItsReason)
{
    expect_errors(damaged_plys());
}

TEST(DamagedMesh, StlIsRefusedWithItsReason)
{
    expect_errors(damaged_stls());
}

TEST(DamagedMesh, ObjIsRefusedWithItsReason)
{
    expect_errors(damaged_objs());
}

TEST(DamagedMesh, OffIsRefusedWithItsReason)
{
    expect_errors(damaged_offs());
}

TEST(DamagedMesh, OmIsRefusedWithItsReason)
{
    expect_errors(damaged_oms());
}

// Files cut off at every place.

/// What a write of a small mesh with normals and colours leaves in a file.
std::string written(std::string const& extension)
{
    auto mesh = veld_test::open_cone(12);
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, Vector3f(0, 0, 1));
        mesh.set_color(v, Vector3f(0.2F, 0.4F, 0.6F));
    }
    TempDir const directory;
    std::string error;
    EXPECT_TRUE(write_mesh(directory.file("a" + extension), mesh, error)) << error;
    return file_content(directory.file("a" + extension));
}

/// The lengths at which a file can be cut without a word.
std::vector<std::size_t> silent_cuts(std::string const& name, std::string const& content)
{
    TempDir const directory;
    std::vector<std::size_t> cuts;
    for (std::size_t n = 0; n < content.size(); ++n)
    {
        veld_test::write_file(directory.file(name), content.substr(0, n));
        if (veld_test::read_path(directory.file(name)).ok)
        {
            cuts.push_back(n);
        }
    }
    return cuts;
}

TEST(CutMesh, IsAlwaysNoticedInBinaryFiles)
{
    EXPECT_THAT(silent_cuts("a.ply", written(".ply")), testing::IsEmpty());
    EXPECT_THAT(silent_cuts("a.stl", written(".stl")), testing::IsEmpty());
    EXPECT_THAT(silent_cuts("a.om", written(".om")), testing::IsEmpty());
}

/// The last number may lose digits and still be one: text cannot tell. Here it is 12 and loses its
/// line end, then its 2.
TEST(CutMesh, IsNoticedInTextButForTheLastDigit)
{
    std::string body;
    for (int i = 0; i < 13; ++i)
    {
        body += std::to_string(i) + " " + std::to_string(i * i) + " 0\n";
    }
    body += "3 0 5 12\n";
    auto const off = "OFF\n13 1 0\n" + body;
    EXPECT_THAT(silent_cuts("a.off", off), testing::ElementsAre(off.size() - 2, off.size() - 1));
    auto const text = ply(body, "13");
    EXPECT_THAT(silent_cuts("a.ply", text), testing::ElementsAre(text.size() - 2, text.size() - 1));
}

/// A text STL ends with the name of its solid, which may be missing.
TEST(CutMesh, IsNoticedInTextStlBeforeItsLastWord)
{
    std::string const text = "solid a\n" + FACET + FACET + "endsolid a\n";
    EXPECT_THAT(silent_cuts("a.stl", text),
                testing::ElementsAre(text.size() - 3, text.size() - 2, text.size() - 1));
}

/// OBJ declares no counts: what is there is a mesh at every line's end. Only cut lines are noticed.
TEST(CutMesh, GivesFewerElementsInObj)
{
    std::string const text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    EXPECT_THAT(silent_cuts("a.obj", text), testing::ElementsAre(7, 8, 15, 16, 23, 24, 31));
}

// Files with changed bytes.

/// Reads the content thousands of times, with a few of its bytes changed each time.
void read_with_changed_bytes(std::string const& name, std::string const& content)
{
    TempDir const directory;
    auto const path = directory.file(name);
    std::mt19937 random(static_cast<unsigned>(content.size()));
    MemoryLimit const limit;
    for (int i = 0; i < 3000; ++i)
    {
        auto changed = content;
        for (unsigned n = 1 + random() % 4; n > 0; --n)
        {
            changed[random() % changed.size()] = static_cast<char>(random() % 256);
        }
        veld_test::write_file(path, changed);
        auto const result = veld_test::read_path(path);
        EXPECT_THAT(result.error, Not(HasSubstr("memory")));
        EXPECT_EQ(result.ok, result.error.empty());
        EXPECT_TRUE(result.mesh.is_legal());
        EXPECT_TRUE(result.ok || result.mesh.n_vertices() == 0);
    }
}

TEST(ChangedMesh, NeverHarmsAsPly)
{
    read_with_changed_bytes("a.ply", written(".ply"));
    read_with_changed_bytes("a.ply", ply(TRIANGLE + "3 0 1 2\n"));
}

TEST(ChangedMesh, NeverHarmsAsStl)
{
    read_with_changed_bytes("a.stl", written(".stl"));
    read_with_changed_bytes("a.stl", "solid a\n" + FACET + "endsolid a\n");
}

TEST(ChangedMesh, NeverHarmsAsObj)
{
    read_with_changed_bytes("a.obj", written(".obj"));
}

TEST(ChangedMesh, NeverHarmsAsOff)
{
    read_with_changed_bytes("a.off", written(".off"));
    read_with_changed_bytes("a.off", "COFF BINARY\n" + bytes(3U) + bytes(1U) + bytes(0U) +
                                         std::string(72, '\1') + bytes(3U) + corners(0, 1, 2));
}

TEST(ChangedMesh, NeverHarmsAsOm)
{
    read_with_changed_bytes("a.om", written(".om"));
}

} // namespace
