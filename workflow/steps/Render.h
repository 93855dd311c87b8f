#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"
#include "workflow/pictures/NewFaces.h"
#include "workflow/pictures/View.h"

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/TriMesh.h"

#include <filesystem>
#include <vector>

namespace veld
{

/// What a picture shows, and how large.
struct RenderSettings
{
    int width = 1200;        ///< Pixels.
    int height = 900;        ///< Pixels.
    ViewDirection view;      ///< From where the camera looks.
    double line_width = 4.0; ///< Width of hole rims in pixels; 0 draws none.
    bool unlit = false;      ///< Colours of a texture, or of vertices, without light and shadow.
    bool plain = false;      ///< One colour for the surface, whatever colours its vertices have.
};

using Picture = OrvaneAlgorithm::Image<3, unsigned char>;

/// Which colour each face has: 0 the surface's, 1 and 2 those of filled holes. Empty for the
/// surface's everywhere.
using FaceMarks = std::vector<char>;

/// Draws a mesh by casting rays: lit from the viewer's side, its back faces darker, its boundary
/// as lines in a strong colour. Where its vertices have colours, its outside has them, but for
/// faces with a mark. The same input gives the same bytes for any number of threads.
/// Throws `InputError` for a mesh without faces.
VELD_WORKFLOW_API Picture render(OrvaneAlgorithm::TriMesh const& mesh, FaceMarks const& marks,
                                 RenderSettings const& settings, Context& context);

/// The same with the image to which the mesh's texture coordinates belong. It covers the outside
/// of faces that have coordinates and no mark.
VELD_WORKFLOW_API Picture render(OrvaneAlgorithm::TriMesh const& mesh, Picture const& texture,
                                 FaceMarks const& marks, RenderSettings const& settings,
                                 Context& context);

/// Writes a picture in the format that its extension names, PNG or JPEG. It appears whole or not at
/// all.
VELD_WORKFLOW_API void write_picture(std::filesystem::path const& path, Picture const& picture,
                                     Context& context);

/// The same for a file that gets its place later, with others.
VELD_WORKFLOW_API void write_picture(OutputFile const& file, Picture const& picture,
                                     Context& context);

/// Refuses a path whose extension is no format of pictures.
VELD_WORKFLOW_API void check_picture_extension(std::filesystem::path const& path);

} // namespace veld
