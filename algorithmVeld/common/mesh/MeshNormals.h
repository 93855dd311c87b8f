#pragma once

#include "algorithmVeld/common/TriMesh.h"

/// \file
/// The normals of a mesh, bit for bit those of OpenMesh's own updates: but on all cores, several
/// times as fast, and such that they can be ended. Hidden elements have normals too; what is marked
/// deleted is left as it is. The mesh has the normals that are named.

namespace OrvaneAlgorithm::detail
{

void update_face_normals(TriMesh& mesh);

/// The mean of the normals of the faces around each vertex, which have to be up to date.
void update_vertex_normals(TriMesh& mesh);

/// The mean of the normals of those faces around the end of each halfedge that no sharp edge parts
/// from its own. Normals of faces have to be up to date.
void update_halfedge_normals(TriMesh& mesh);

/// Brings all normals that the mesh has up to date. It has those of faces and vertices.
void update_normals(TriMesh& mesh);

/// Requests normals of faces and vertices, and brings all normals up to date, with those of
/// halfedges where the mesh has them. The requests stay; an exception takes them back.
void renew_normals(TriMesh& mesh);

/// Requests the normals that the mesh lacks and, if any were lacking, computes both kinds, so that
/// they agree. They stay: the next call finds them.
void provide_normals(TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
