#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/mesh_files/MeshSoup.h"

namespace OrvaneAlgorithm::detail
{

/// The soup of an array mesh, checked as those of files are. Throws `FileError` where channels do
/// not fit each other, or a face or a texture index names what is not there.
/// \param arrays their points, normals and colours are gone afterwards
MeshSoup soup_of(BaseTriMesh&& arrays);

} // namespace OrvaneAlgorithm::detail
