#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

namespace OrvaneAlgorithm
{

/// Removes specks: small pieces of a mesh that hang together with nothing else, or only by a thin
/// strip.
///
/// The mesh is changed in place and comes back compacted: the gaps that removed elements leave are
/// filled from the end, so that elements change their places where something was removed and
/// nowhere else, and all properties go with them. What was marked deleted before goes too. Elements
/// that stay keep positions, normals and colours. The time is proportional to the size of the mesh.
///
/// Log lines are printed when an operation's own `verbose` is true; `gPH` is not looked at.
class ALGORITHMVELD_API PatchEditor
{
public:
    PatchEditor() = default;
    PatchEditor(PatchEditor const&) {}
    PatchEditor& operator=(PatchEditor const&) { return *this; }
    ~PatchEditor() = default;

    /// How many components `remove_small_components_by_face` would find: pieces of faces that hang
    /// together over edges. A face that is marked deleted belongs to none.
    static int count_components_by_face(TriMesh const& mesh);

    /// How many faces the largest of these components has; 0 without a face.
    static int largest_component_by_face(TriMesh const& mesh);

    /// Removes the components of `face_thr` faces or fewer, with the vertices that lose their last
    /// face by it. Faces hang together over edges: a shared vertex joins nothing. Vertices that had
    /// no face before stay.
    /// \param mesh changed in place
    /// \param face_thr the largest component that goes, in faces
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`
    static RetVal remove_small_components_by_face(TriMesh& mesh, int face_thr, bool verbose);

    /// Removes the components of `vert_thr` vertices or fewer. Vertices hang together along edges:
    /// faces that share a vertex are one component, and a vertex without a face is a component of
    /// one.
    /// \param mesh changed in place
    /// \param vert_thr the largest component that goes, in vertices
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`
    static RetVal remove_small_components_by_vert(TriMesh& mesh, int vert_thr, bool verbose);

    /// Removes small bodies that hang on others by thin strips, by a morphological opening on the
    /// graph of the faces: peels `ring_num` layers of faces off every boundary, removes those
    /// pieces of what is left that have fewer than `face_thr` faces, grows the rest back by
    /// `ring_num` layers, and removes the faces that are not reached by it. So a piece that is thin
    /// everywhere goes whatever its size, and a strip between two bodies stays as far as it is no
    /// longer than what grows over it from both ends. A boundary face is one with a boundary edge;
    /// a closed component has no layers, and goes only if it has fewer than `face_thr` faces.
    ///
    /// The two limits differ: here a piece of exactly `face_thr` faces stays, while
    /// `remove_small_components_by_face` removes it. Nothing is logged.
    /// \param mesh changed in place
    /// \param face_thr the smallest piece that stays, in faces
    /// \param ring_num how many layers are peeled and grown back
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT`, with the mesh as it was, if a number is below 1
    static RetVal remove_small_componets_by_face_strong_connection(TriMesh& mesh, int face_thr,
                                                                   int ring_num);
};

} // namespace OrvaneAlgorithm
