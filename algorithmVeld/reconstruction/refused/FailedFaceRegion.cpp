#include "algorithmVeld/reconstruction/refused/FailedFaceRegion.h"

#include "algorithmVeld/common/mesh/MeetingOrder.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

double wide(float value)
{
    return static_cast<double>(value);
}

/// Vertices in the order in which they were met, and the numbers from 1 that the file gives them.
class MetVertices
{
public:
    int number(VertexHandle vertex) { return meet(vertex, numbers_, order_) + 1; }

    std::vector<VertexHandle> const& order() const { return order_; }

private:
    std::vector<VertexHandle> order_;
    IndexTable numbers_;
};

/// Text that is printed as a whole, so that other lines do not come between.
class PrintedText
{
public:
    template <typename... Arguments>
    void add(char const* format, Arguments... arguments)
    {
        char line[512];
        format_line(line, format, arguments...);
        text_ += line;
    }

    std::string const& str() const { return text_; }

private:
    std::string text_;
};

/// The corners of a refused triangle and the faces around them.
struct Region
{
    PrintedText text;
    MetVertices vertices;
    std::vector<std::vector<int>> faces; ///< Each as the numbers of its corners.
};

void describe_triangle(TriMesh const& mesh, FailedFace const& failed, PrintedText& text)
{
    auto const& [a, b, c] = failed.corners;
    Vector3f const& pa = failed.point_a;
    Vector3f const& pb = failed.point_b;
    Vector3f const& pc = mesh.point(c);
    text.add("%s", "\ninvalid face:\n  [vertex idx:]");
    text.add("    %d %d %d\n", a.idx(), b.idx(), c.idx());
    text.add("%s", "  [vertex pos:]");
    text.add("    (%f,%f,%f) (%f,%f,%f) (%f,%f,%f)\n", wide(pa.x()), wide(pa.y()), wide(pa.z()),
             wide(pb.x()), wide(pb.y()), wide(pb.z()), wide(pc.x()), wide(pc.y()), wide(pc.z()));
}

/// Notes a face and its corners.
void note_face(TriMesh const& mesh, FaceHandle face, Region& region)
{
    std::vector<int> numbers;
    for (auto const corner : mesh.fv_range(face))
    {
        region.text.add("  %d", corner.idx());
        numbers.push_back(region.vertices.number(corner));
    }
    region.text.add("%s", "\n");
    region.faces.push_back(numbers);
}

/// Collects the faces around the corners, each once, corner by corner.
Region collect_region(TriMesh const& mesh, FailedFace const& failed)
{
    Region region;
    describe_triangle(mesh, failed, region.text);
    for (auto const corner : failed.corners)
    {
        region.vertices.number(corner);
    }
    std::unordered_set<int> seen;
    for (auto const corner : failed.corners)
    {
        region.text.add("Faces around vertex [%d]:\n", corner.idx());
        for (auto const face : mesh.vf_range(corner))
        {
            if (seen.insert(face.idx()).second)
            {
                note_face(mesh, face, region);
            }
        }
    }
    return region;
}

bool write_region(char const* path, TriMesh const& mesh, Region const& region,
                  FailedFaceIn triangle)
{
    ObjText file(path);
    for (auto const vertex : region.vertices.order())
    {
        file.vertex(mesh.point(vertex));
    }
    if (triangle == FailedFaceIn::WRITTEN)
    {
        file.triangle(1, 2, 3); // The corners were met first.
    }
    for (auto const& face : region.faces)
    {
        file.polygon(face);
    }
    return file.close();
}

} // namespace

void output_failed_face_region(TriMesh const& mesh, FailedFace const& failed,
                               std::string const& directory, FailedFaceIn triangle)
{
    if (!std::all_of(failed.corners.begin(), failed.corners.end(),
                     [&](VertexHandle corner) { return mesh.is_valid_handle(corner); }))
    {
        return;
    }
    auto const region = collect_region(mesh, failed);
    gLH.print_past_log(region.text.str());
    if (directory.empty())
    {
        return;
    }
    auto const& [a, b, c] = failed.corners;
    char path[512];
    format_line(path,
                triangle == FailedFaceIn::WRITTEN
                    ? "%s/patch_radius-%f_[%d-%d-%d]_level-%d_with-failed-face.obj"
                    : "%s/patch_radius-%f_[%d-%d-%d]_level-%d.obj",
                directory.c_str(), wide(failed.radius), a.idx(), b.idx(), c.idx(), failed.level);
    if (!write_region(path, mesh, region, triangle))
    {
        print_line("fail to write '%s'.\n", path);
    }
}

} // namespace OrvaneAlgorithm::detail
