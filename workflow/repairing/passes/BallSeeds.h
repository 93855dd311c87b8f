#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// Finds the triangles from which a ball can start among points without faces: those on which it
/// lies without a point inside it, on the side that the normals of their corners tell.
class BallSeeds
{
public:
    /// \param mesh points with normals \param radius of the ball \param min_cosine the smallest
    ///        product of the normals of a triangle and its corners
    BallSeeds(OrvaneAlgorithm::TriMesh const& mesh, double radius, double min_cosine);

    /// Adds the first one that there is. \return whether there is one
    bool add_first(OrvaneAlgorithm::TriMesh& mesh);

    /// Adds one in every place that no face is near. \return how many
    std::size_t add_elsewhere(OrvaneAlgorithm::TriMesh& mesh);

private:
    bool add_at(OrvaneAlgorithm::TriMesh& mesh, OpenMesh::VertexHandle vertex);
    bool fits(OrvaneAlgorithm::TriMesh const& mesh, OpenMesh::VertexHandle a,
              OpenMesh::VertexHandle b, OpenMesh::VertexHandle c) const;
    bool is_empty(OrvaneAlgorithm::Vector3d const& centre) const;

    double radius_;
    double min_cosine_;
    OrvaneAlgorithm::KdTree3f points_;
    std::vector<int> hits_;
    std::vector<float> square_distances_;
};

} // namespace veld
