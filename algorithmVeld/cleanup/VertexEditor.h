#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

namespace OrvaneAlgorithm
{

/// Removes the vertices at which two or more fans of faces meet. No walk round a hole can pass such
/// a vertex in a well-defined way, so this comes before work on holes.
class ALGORITHMVELD_API VertexEditor
{
public:
    VertexEditor() = default;
    VertexEditor(VertexEditor const&) {}
    VertexEditor& operator=(VertexEditor const&) { return *this; }
    ~VertexEditor() = default;

    /// Removes every vertex with more than one boundary gap around it, with its faces, and those
    /// that get a second gap by it, and so on outwards. Afterwards every vertex has one gap or
    /// none. All vertices that had several gaps at the start go, also where the removal of a
    /// neighbour has already left them with one: a chain of triangles that hang on each other by
    /// single vertices vanishes whole. Vertices that lose their last face go too. A vertex that the
    /// host has marked hidden is passed over at the start and goes only where the damage reaches
    /// it.
    ///
    /// The mesh is changed in place and comes back compacted: gaps in the arrays are filled from
    /// the end, properties go with their elements, and what was marked deleted before goes too. A
    /// mesh without such vertices comes back as it was.
    /// \param mesh changed in place
    /// \param verbose log the counts before and after; `gPH` is not looked at
    /// \return `RET_SUCCESS`
    static RetVal remove_non_manifold_verts(TriMesh& mesh, bool verbose);
};

} // namespace OrvaneAlgorithm
