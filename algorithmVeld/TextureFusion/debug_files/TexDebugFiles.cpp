#include "algorithmVeld/TextureFusion/debug_files/TexDebugFiles.h"

#include "algorithmVeld/TextureFusion/debug_files/DebugPalette.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;

/// Red, green and blue of each vertex; black where it has none.
using VertexColors = std::vector<PaletteColor>;

/// From the order of an image's channels.
PaletteColor to_rgb(unsigned char const* pixel)
{
    return {pixel[2], pixel[1], pixel[0]};
}

PaletteColor color_at(std::vector<TexImage> const& images, VertTex const& place)
{
    auto const& image = images[static_cast<std::size_t>(place.image_id)].image;
    return to_rgb(image.pixel(place.px, place.py));
}

void write_faces(TriMesh const& mesh, ObjText& file)
{
    CancelPoll poll;
    for (auto const face : mesh.all_faces())
    {
        poll.next();
        std::array<int, 3> corners{};
        std::size_t k = 0;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners[k++] = vertex.idx() + 1;
        }
        file.triangle(corners[0], corners[1], corners[2]);
    }
}

/// Writes the whole mesh to "NAME.obj".
void save_colored_mesh(TriMesh const& mesh, VertexColors const& colors, std::string const& name)
{
    char path[512];
    format_line(path, "%s/%s.obj", gPH.result_dir.c_str(), name.c_str());
    ObjText file(path);
    if (file.is_open())
    {
        file.vertex_count(static_cast<int>(mesh.n_vertices()));
        CancelPoll poll;
        for (auto const vertex : mesh.all_vertices())
        {
            poll.next();
            auto const& [red, green, blue] = colors[static_cast<std::size_t>(vertex.idx())];
            file.vertex(mesh.point(vertex), red, green, blue);
        }
        file.triangle_count(static_cast<int>(mesh.n_faces()));
        write_faces(mesh, file);
        file.end_of_file();
    }
    if (!file.close())
    {
        log("fail to write '%s'.\n", static_cast<char const*>(path));
    }
}

/// How many views elements have.
struct ViewCounts
{
    int with_views = 0;
    int without_views = 0;
    int total = 0;
    int min = 0; ///< of those with views
    int max = 0;

    void add(std::size_t n_views)
    {
        int const n = static_cast<int>(n_views);
        if (n == 0)
        {
            ++without_views;
            return;
        }
        min = with_views == 0 ? n : std::min(min, n);
        max = std::max(max, n);
        total += n;
        ++with_views;
    }

    double mean() const { return with_views == 0 ? 0.0 : static_cast<double>(total) / with_views; }
};

/// \param elements "faces" \param element "face"
void log_counts(ViewCounts const& counts, std::string const& elements, std::string const& element)
{
    auto const line = [](std::string const& what, int n)
    { log("  %-22s%8d\n", (what + ":").c_str(), n); };
    line("total " + elements, counts.with_views + counts.without_views);
    line("colored " + elements, counts.with_views);
    line("uncolored " + elements, counts.without_views);
    line("total " + element + " tex size", counts.total);
    line("min " + element + " tex size", counts.min);
    line("max " + element + " tex size", counts.max);
    log("  avg %s tex size:    %8.2f\n", element.c_str(), counts.mean());
}

/// Vertices by the chosen view of the first textured face around them.
void save_chosen_views(TriMesh const& mesh, TexProperties const& properties,
                       std::vector<TexImage> const& images, std::string const& tex_name,
                       std::string const& patch_name)
{
    VertexColors pixels(mesh.n_vertices());
    VertexColors views(mesh.n_vertices());
    std::vector<std::uint8_t> is_colored(mesh.n_vertices(), 0);
    for (auto const face : mesh.all_faces())
    {
        if (!mesh.property(properties.face_has_tex, face))
        {
            continue;
        }
        FaceTex const& chosen = properties.chosen(mesh, face);
        auto corner = chosen.corner.begin();
        for (auto const vertex : mesh.fv_range(face))
        {
            auto const v = static_cast<std::size_t>(vertex.idx());
            if (is_colored[v] == 0)
            {
                is_colored[v] = 1;
                pixels[v] = color_at(images, *corner);
                views[v] = debug_palette(chosen.image_id);
            }
            ++corner;
        }
    }
    save_colored_mesh(mesh, pixels, tex_name);
    save_colored_mesh(mesh, views, patch_name);
}

} // namespace

void save_vertex_projected_model(TriMesh const& mesh, std::vector<TexImage> const& images,
                                 VertTexLists const& vertices)
{
    log("save_vertex_projected_model() ..\n");
    VertexColors pixels(mesh.n_vertices());
    VertexColors views(mesh.n_vertices());
    ViewCounts counts;
    for (std::size_t v = 0; v < mesh.n_vertices(); ++v)
    {
        counts.add(vertices.size(v));
        if (vertices.size(v) > 0)
        {
            VertTex const& first = *vertices.begin(v);
            pixels[v] = color_at(images, first);
            views[v] = debug_palette(first.image_id);
        }
    }
    save_colored_mesh(mesh, pixels, "1-vertex-projected-model-tex");
    save_colored_mesh(mesh, views, "1-vertex-projected-model-patch");
    log_counts(counts, "vertices", "vert");
}

void save_face_selection_vertex_model(TriMesh const& mesh, TexProperties const& properties,
                                      std::vector<TexImage> const& images,
                                      std::string const& tex_name, std::string const& patch_name)
{
    log("save_face_selection_vertex_model() ..\n");
    save_chosen_views(mesh, properties, images, tex_name, patch_name);
}

void save_face_projected_model(TriMesh const& mesh, TexProperties const& properties,
                               std::vector<TexImage> const& images)
{
    log("save_face_projected_model() ..\n");
    save_chosen_views(mesh, properties, images, "2-face-projected-model-tex",
                      "2-face-projected-model-patch");
    ViewCounts counts;
    for (auto const face : mesh.all_faces())
    {
        counts.add(mesh.property(properties.face_tex_list, face).size());
    }
    log_counts(counts, "faces", "face");
}

void save_boundary_optimized_model(TriMesh const& mesh, TexProperties const& properties,
                                   std::vector<TexImage> const& images)
{
    log("save_boundary_optimized_model() ..\n");
    save_chosen_views(mesh, properties, images, "3-boundary-optimized-model-tex",
                      "3-boundary-optimized-model-patch");
}

void save_image_projected_model(TriMesh const& mesh, std::vector<TexImage> const& images,
                                VertTexLists const& vertices, int i)
{
    log("save_image_projected_model() ..\n");
    VertexColors pixels(mesh.n_vertices());
    for (std::size_t v = 0; v < mesh.n_vertices(); ++v)
    {
        auto const* const seen =
            std::find_if(vertices.begin(v), vertices.end(v),
                         [i](VertTex const& place) { return place.image_id == i; });
        if (seen != vertices.end(v))
        {
            pixels[v] = color_at(images, *seen);
        }
    }
    char name[512];
    format_line(name, "0-image-%04d-projected-model", i);
    save_colored_mesh(mesh, pixels, name);
}

void save_fused_vertex_model(TriMesh const& mesh, TexProperties const& properties)
{
    log("save_fused_vertex_model() ..\n");
    VertexColors colors(mesh.n_vertices());
    for (auto const vertex : mesh.all_vertices())
    {
        colors[static_cast<std::size_t>(vertex.idx())] =
            to_rgb(mesh.property(properties.vert_color, vertex).data());
    }
    save_colored_mesh(mesh, colors, "7-fused-vertex-model");
}

void save_tex_hole_model(TriMesh const& mesh, std::vector<std::vector<FaceHandle>> const& holes)
{
    log("save_tex_hole_model() ..\n");
    VertexColors colors(mesh.n_vertices());
    std::size_t n_faces = 0;
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        n_faces += holes[h].size();
        for (auto const face : holes[h])
        {
            for (auto const vertex : mesh.fv_range(face))
            {
                colors[static_cast<std::size_t>(vertex.idx())] = debug_palette(static_cast<int>(h));
            }
        }
    }
    save_colored_mesh(mesh, colors, "4-tex-hole-model-patch");
    log("====================< tex hole info >====================\n");
    log("  total holes:       %8d\n", static_cast<int>(holes.size()));
    log("  total hole faces:  %8d\n", static_cast<int>(n_faces));
    log("====================</tex hole info >====================\n");
}

} // namespace OrvaneAlgorithm::detail
