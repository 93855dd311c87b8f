#pragma once

#include <string_view>

/// \file
/// The fuzz targets, one a source in readers/ and operations/. An exception that leaves one of them
/// is a finding, as is what the sanitizers see.

namespace veld_fuzz
{

/// \name What is read from files
/// @{

/// Folders of frames: text frames with their description and poses, lists of range scans, depth
/// images with their cameras.
void frame_sources(std::string_view input);
/// GLB files, which report pages show.
void glb(std::string_view input);
/// JPEG and PNG files: photographs and depth images.
void images(std::string_view input);
/// OM files, and STL files, binary and ascii: what does not begin as an OM file.
void mesh_binary(std::string_view input);
/// OBJ files, and the textures that they name: a file that names itself is its own list of
/// materials.
void mesh_obj(std::string_view input);
/// PLY files, ascii and binary.
void mesh_ply(std::string_view input);
/// OFF files, and clouds as text: what does not begin as an OFF file.
void mesh_text(std::string_view input);
/// Lists of cameras: `cameras.json`, and COLMAP models as text, with their photographs.
void photo_lists(std::string_view input);
/// `.rge` files without their checksum, and PLY files with a range grid.
void range_frame(std::string_view input);
/// Recipes, records of runs, and files of markers and of sticks.
void texts(std::string_view input);

/// @}

/// \name What works on small, damaged meshes and frames
/// @{

/// What takes parts out of meshes and clouds, and turns one into the other.
void clean_mesh(std::string_view input);
/// The filling of holes without new vertices.
void cut_ears(std::string_view input);
/// The careful filling of holes: triangulation, refinement, fairing.
void fill_careful(std::string_view input);
/// The filling of all holes of a mesh, and of those at markers.
void fill_whole(std::string_view input);
/// What finds holes, cuts sticks out and smooths.
void find_holes(std::string_view input);
/// Range frames to a mesh, and what prepares them.
void merge_frames(std::string_view input);
/// The repair of torn meshes by a ball and by projections.
void repair_mesh(std::string_view input);
/// Photographs as a texture, and the choice of photographs.
void texture_mesh(std::string_view input);

/// @}

} // namespace veld_fuzz
