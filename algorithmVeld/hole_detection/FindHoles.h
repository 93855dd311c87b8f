#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Lists boundary loops as they are, or one starting point for each loop near a given place. The
/// older neighbour of `FindHolesEx`.
class ALGORITHMVELD_API FindHoles
{
public:
    FindHoles() = default;
    FindHoles(FindHoles const&) {}
    FindHoles& operator=(FindHoles const&) { return *this; }
    ~FindHoles() = default;

    /// Lists all boundary loops without splitting them, as to-vertices of their halfedges: a loop
    /// that touches itself holds that vertex twice.
    /// \param mesh gets a temporary property, and is not changed otherwise
    /// \param holes cleared before it is filled
    /// \param verbose written to the log switch of `gPH`, where it stays
    /// \return always `RET_SUCCESS`
    static RetVal find_holes(TriMesh& mesh, Holes& holes, bool verbose);

    /// Finds the loops whose centre lies near one of the given places, and gives one vertex of
    /// each.
    /// \param mesh gets a temporary property, and is not changed otherwise
    /// \param hole_centres places to look at
    /// \param distance the centre of a loop, the mean of its vertices, has to be nearer than this
    /// \param start_verts the to-vertex of each loop's first halfedge, in the order of the loops;
    ///        left alone without centres
    /// \param verbose written to the log switch of `gPH`, where it stays
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` without centres or if no loop is near
    static RetVal find_holes(TriMesh& mesh, std::vector<Vector3f> const& hole_centres,
                             double distance, std::vector<OpenMesh::VertexHandle>& start_verts,
                             bool verbose);

    /// Finds all holes like `FindHolesEx::find_holes`.
    /// \param mesh gets a temporary property, and is not changed otherwise
    /// \param holes cleared before it is filled
    /// \param verbose whether to log; `gPH` is left alone
    /// \return always `RET_SUCCESS`
    RetVal find_simple_holes(TriMesh& mesh, Holes& holes, bool verbose);
};

} // namespace OrvaneAlgorithm
