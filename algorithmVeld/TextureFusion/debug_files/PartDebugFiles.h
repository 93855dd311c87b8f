#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"

#include <string>
#include <vector>

/// \file
/// Some faces of a mesh with their vertices, as text OBJ. Each function tells the log its name, and
/// of each file that cannot be written.

namespace OrvaneAlgorithm::detail
{

/// One block of textured faces, to `debug_dir` of `gPH`: by the pixels of its view in
/// "6-face-block-NNNN-tex.obj", by the view in "6-face-block-NNNN-patch.obj".
/// \param i number of the block
void save_face_patch(TriMesh const& mesh, TexProperties const& properties,
                     std::vector<TexImage> const& images,
                     std::vector<OpenMesh::FaceHandle> const& block, int i);

/// Any faces, without colours: "NAME_face_array.obj" in `result_dir`.
void save_face_array(TriMesh const& mesh, std::vector<OpenMesh::FaceHandle> const& faces,
                     std::string const& name);

} // namespace OrvaneAlgorithm::detail
