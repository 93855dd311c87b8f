#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"

namespace OrvaneAlgorithm::detail
{

/// Takes the view from faces without textured neighbours and from connected sets of at most
/// `small_region_face_thr` textured faces.
void filter_face_tex(TriMesh& mesh, TexProperties const& properties, int small_region_face_thr);

/// Gives each connected block of one view that has at most `small_region_face_thr` faces to the
/// views around it, the most frequent first, face by face as far as each is seen there.
void optimize_face_tex(TriMesh& mesh, TexProperties const& properties, int small_region_face_thr);

/// Smooths the borders of blocks: a face there takes the view that most faces around its corners
/// have, if it is seen in that.
void optimize_boundary_iteration(TriMesh& mesh, TexProperties const& properties);

} // namespace OrvaneAlgorithm::detail
