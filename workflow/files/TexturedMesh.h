#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/TriMesh.h"

#include <filesystem>
#include <vector>

namespace veld
{

using TextureImage = OrvaneAlgorithm::Image<3, unsigned char>;

/// A mesh with one image as its texture. The texture coordinates are those of the halfedges, for
/// the vertex that each points to: (0, 0) is the lower left corner of the image and (1, 1) the
/// upper right one, so that the centre of the top left pixel is (0.5 / width, 1 - 0.5 / height).
/// Where a corner has none they are NaN.
struct TexturedMesh
{
    OrvaneAlgorithm::TriMesh mesh; ///< With texture coordinates at its halfedges.
    TextureImage image;            ///< The atlas.
};

/// All files of a textured mesh: `OUT.obj` with `OUT.mtl` and `OUT.jpg` beside it, or `OUT.glb`
/// alone. Throws `InputError` for another extension.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
textured_mesh_files(std::filesystem::path const& path);

/// Writes a textured mesh in the format that the extension names. All of its files appear or none.
///
/// OBJ has the coordinates as they are, millimetres, and the normals of vertices if the mesh has
/// them; GLB (glTF 2.0, binary) has metres, as its standard asks for, and the image inside as JPEG.
/// Its material takes no light, since the photographs have theirs in them. Colours of vertices are
/// left out of both. Throws `OperationError` where a file cannot be written.
VELD_WORKFLOW_API void write_textured_mesh(std::filesystem::path const& path,
                                           TexturedMesh const& textured, Context& context);

/// The same for files that get their places later, with others. \param path `OUT.obj` or `OUT.glb`
VELD_WORKFLOW_API void write_textured_mesh(std::filesystem::path const& path,
                                           TexturedMesh const& textured, Outputs& outputs,
                                           Context& context);

/// The same for a GLB file that has its place, such as standard output.
VELD_WORKFLOW_API void write_glb(OutputFile const& file, TexturedMesh const& textured,
                                 Context& context);

/// The files that an OBJ file names and that read_texture_of() looks at, as far as they are there;
/// none for another format.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
files_named_by(std::filesystem::path const& mesh);

/// The image that the materials of an OBJ file name. Empty where they name none, with a warning
/// where they name one that cannot be read, or several.
VELD_WORKFLOW_API TextureImage read_texture_of(std::filesystem::path const& obj, Context& context);

} // namespace veld
