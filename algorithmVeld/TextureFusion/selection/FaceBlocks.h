#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Takes the view from faces without textured neighbours and from connected sets of at most
/// `small_region_face_thr` textured faces.
/// \return how many faces the largest of these sets has, small or not
std::size_t filter_face_tex(TriMesh& mesh, TexProperties const& properties,
                            int small_region_face_thr);

/// What the search for small blocks has changed.
struct RelabelledFaces
{
    int faces = 0;  ///< that were given a view of the ring around their block
    int blocks = 0; ///< with such faces
};

/// Gives each connected block of one view that has at most `small_region_face_thr` faces to the
/// views around it, the most frequent first, face by face as far as each is seen there.
RelabelledFaces optimize_face_tex(TriMesh& mesh, TexProperties const& properties,
                                  int small_region_face_thr);

/// Smooths the borders of blocks: a face there takes the view that most faces around its corners
/// have, if it is seen in that.
void optimize_boundary_iteration(TriMesh& mesh, TexProperties const& properties);

/// The other way to smooth the borders of blocks, in one pass in face order: a face there takes the
/// view that most of its neighbours across edges have, if it is seen in that. What changes counts
/// for the faces behind it, and no face comes a second time.
/// \return how many faces have changed
int greedy_change_face_tex_by_edge_shared(TriMesh& mesh, TexProperties const& properties);

/// Which faces are in connected blocks of one view that have at most `small_region_face_thr` faces.
std::vector<std::uint8_t> find_block_by_face(TriMesh& mesh, TexProperties const& properties,
                                             int small_region_face_thr);

} // namespace OrvaneAlgorithm::detail
