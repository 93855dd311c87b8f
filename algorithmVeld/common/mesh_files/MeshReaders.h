#pragma once

#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include <string_view>

/// \file
/// One reader for each mesh format. Each takes the file's whole content, and takes it only if it is
/// complete: counts agree with what is there. They throw `FileError` otherwise, and never use
/// more memory than a small multiple of the content, whatever the file declares. The soup still has
/// to be checked.
///
/// OpenMesh's own readers are not used: they accept files that are cut off, believe any declared
/// count, and end the process on some damaged ones. Checking the content before they see it would
/// be reading it.

namespace OrvaneAlgorithm::detail
{

MeshSoup read_ply(std::string_view content);
MeshSoup read_stl(std::string_view content);
MeshSoup read_obj(std::string_view content);
MeshSoup read_off(std::string_view content);
MeshSoup read_om(std::string_view content);

/// Points as text: a point a line, "x y z" and behind it an intensity, a normal or nothing, the
/// same in all lines. `#` begins a comment.
MeshSoup read_cloud_text(std::string_view content);

} // namespace OrvaneAlgorithm::detail
