#pragma once

#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"

#include <string>
#include <vector>

/// \file
/// The mesh with coloured vertices after the stages of texturing, as text OBJ in `result_dir` of
/// `gPH`. Vertices without a colour are black. Each function tells the log its name, and of each
/// file that cannot be written. Who calls them asks before whether to save, and times them.

namespace OrvaneAlgorithm::detail
{

/// Vertices by the first view that sees them: the pixel in "1-vertex-projected-model-tex.obj", the
/// view in "1-vertex-projected-model-patch.obj". Tells the log how many views see a vertex.
void save_vertex_projected_model(TriMesh const& mesh, std::vector<TexImage> const& images,
                                 VertTexLists const& vertices);

/// Vertices by the chosen view of the first textured face around them.
/// \param tex_name name of the file of pixels, without directory and extension
/// \param patch_name that of the file of views
void save_face_selection_vertex_model(TriMesh const& mesh, TexProperties const& properties,
                                      std::vector<TexImage> const& images,
                                      std::string const& tex_name, std::string const& patch_name);

/// The same after the choice of the most frontal views: "2-face-projected-model-tex.obj" and
/// "2-face-projected-model-patch.obj". Tells the log how many views see a face.
void save_face_projected_model(TriMesh const& mesh, TexProperties const& properties,
                               std::vector<TexImage> const& images);

/// The same after blocks were made large: "3-boundary-optimized-model-tex.obj" and
/// "3-boundary-optimized-model-patch.obj".
void save_boundary_optimized_model(TriMesh const& mesh, TexProperties const& properties,
                                   std::vector<TexImage> const& images);

/// The vertices that view `i` sees, by its pixels: "0-image-NNNN-projected-model.obj".
void save_image_projected_model(TriMesh const& mesh, std::vector<TexImage> const& images,
                                VertTexLists const& vertices, int i);

/// `vert_color`: "7-fused-vertex-model.obj".
void save_fused_vertex_model(TriMesh const& mesh, TexProperties const& properties);

/// Vertices by the texture hole that they are in: "4-tex-hole-model-patch.obj". Tells the log the
/// numbers of holes and of their faces.
void save_tex_hole_model(TriMesh const& mesh,
                         std::vector<std::vector<OpenMesh::FaceHandle>> const& holes);

} // namespace OrvaneAlgorithm::detail
