#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"

#include "tests/TextureFusion/scenes.h"
#include "tests/support/meshes.h"

#include <cstddef>
#include <vector>

namespace veld_test
{

/// A flat grid of cells with two faces each, `2 * (y * columns + x)` and the next one, whose vertex
/// (x, y) all views see in the pixel (origin + step x, origin + step y). The views have one colour
/// each.
struct TexturedGrid
{
    int columns;
    int rows;
    int origin = 10;
    int step = 8;
    float depth = 100.0F;
    TriMesh mesh;
    OrvaneAlgorithm::detail::TexProperties properties;
    std::vector<OrvaneAlgorithm::detail::TexImage> images;

    /// \param labels the view of each cell, row by row; -1 for none
    TexturedGrid(int n_columns, int n_rows, std::vector<int> const& labels,
                 std::vector<std::array<unsigned char, 3>> const& colours)
        : columns(n_columns), rows(n_rows), mesh(grid_without(n_columns, n_rows, {}))
    {
        properties.add_to(mesh);
        for (std::size_t i = 0; i < colours.size(); ++i)
        {
            images.push_back(view(static_cast<int>(i), look_at({0, 0, -100}, {0, 0, 0}), 100.0,
                                  painted(120, 60, [&](int, int) { return colours[i]; })));
        }
        for (std::size_t cell = 0; cell < labels.size(); ++cell)
        {
            set_label(static_cast<int>(cell), labels[cell]);
        }
    }

    OpenMesh::VertexHandle vertex(int x, int y) const { return vh(y * (columns + 1) + x); }
    OpenMesh::FaceHandle face(int cell, int half) const
    {
        return OpenMesh::FaceHandle(2 * cell + half);
    }
    int pixel(int k) const { return origin + step * k; }

    void set_label(int cell, int label)
    {
        set_face_label(face(cell, 0), label);
        set_face_label(face(cell, 1), label);
    }

    void set_face_label(OpenMesh::FaceHandle f, int label)
    {
        mesh.property(properties.face_has_tex, f) = label >= 0;
        mesh.property(properties.face_tex_label, f) = label;
        // The chosen view need not be the first of the list.
        mesh.property(properties.face_tex_index, f) = 1;
        mesh.property(properties.face_tex_list, f) = {seen_from(f, 0), seen_from(f, label)};
    }

    OrvaneAlgorithm::detail::FaceTex seen_from(OpenMesh::FaceHandle f, int label) const
    {
        OrvaneAlgorithm::detail::FaceTex seen;
        seen.image_id = label;
        std::size_t k = 0;
        for (auto const v : mesh.fv_range(f))
        {
            auto& corner = seen.corner[k++];
            corner.image_id = label;
            corner.depth = depth;
            corner.px = pixel(v.idx() % (columns + 1));
            corner.py = pixel(v.idx() / (columns + 1));
        }
        return seen;
    }
};

} // namespace veld_test
