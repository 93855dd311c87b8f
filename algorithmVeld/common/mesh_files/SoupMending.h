#pragma once

#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// \file
/// What makes a mesh of a soup that is none. Each function does one thing, and does nothing to a
/// soup that does not need it. All take a soup whose
/// faces name only points that are there.

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

/// Turns triangles over so that neighbours agree. Neighbours are the two faces of an edge that has
/// two; of the faces that hang together so, the smaller number is turned, and of equal ones those
/// unlike the first. \return how many were turned
std::size_t orient(MeshSoup& soup);

/// What was done where surfaces meet.
struct Separation
{
    std::size_t edges = 0;  ///< Those of more than two faces, or of two that cannot agree.
    std::size_t points = 0; ///< How many were added.
};

/// Takes surfaces apart where more than one passes an edge or a point, so that no face is lost:
/// each gets its own points there.
///
/// Faces at an edge stay together in pairs that agree in their orientation: first those that hang
/// together by other edges, then those whose normals differ least, of equal ones the first in the
/// file; faces of the same corners, back to back, come last. Where a mesh could not hold that,
/// because a surface would pass the edge twice, the next best pairs. A face that is left over ends
/// there. At a point the faces that hang together over such pairs are a fan. Fans that end at a
/// boundary share their point, as a mesh allows; the first one has it alone where one of them is
/// closed, or where an edge was taken apart.
Separation separate(MeshSoup& soup);

} // namespace OrvaneAlgorithm::detail
