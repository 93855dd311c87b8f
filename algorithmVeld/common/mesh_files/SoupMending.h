#pragma once

#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// \file
/// What takes out of a soup what no mesh has; faces are turned alike in `SoupOrientation`, and
/// surfaces taken apart in `SoupSeparation`. Each function does one thing, and does nothing to a
/// soup that does not need it. All take a soup whose faces name only points that are there.

namespace OrvaneAlgorithm::detail
{

/// Faces that were left out.
struct LeftOut
{
    std::size_t count = 0;
    std::size_t first = 0; ///< The lowest place in the file.

    void add(std::size_t place)
    {
        first = count == 0 ? place : std::min(first, place);
        ++count;
    }
};

/// Takes triangles out. \param faces in rising order
void remove_faces(MeshSoup& soup, std::vector<std::size_t> const& faces, LeftOut& removed);

/// Takes points out whose coordinates are not finite, with their faces. \return their number
std::size_t remove_unplaced_points(MeshSoup& soup, LeftOut& faces);

/// Cuts polygons into triangles, which stand in their places. A corner that is named several times
/// in a row counts once.
/// \param too_few faces of fewer than three corners, which go \param too_many faces of more than
///        MOST_POLYGON_CORNERS, which go
void triangulate_polygons(MeshSoup& soup, LeftOut& too_few, LeftOut& too_many);

/// Takes triangles out that name a point twice.
void remove_degenerate(MeshSoup& soup, LeftOut& removed);

/// Takes triangles out that name the same points in the same order round as one before.
void remove_repeated(MeshSoup& soup, LeftOut& removed);

} // namespace OrvaneAlgorithm::detail
