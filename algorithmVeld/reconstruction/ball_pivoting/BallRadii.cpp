#include "algorithmVeld/reconstruction/ball_pivoting/BallRadii.h"

#include "algorithmVeld/common/mesh/MeshScope.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr float FIRST_SCALE = 0.33333334F;
constexpr double SCALE_LIMIT = 0.8;

} // namespace

bool create_ball_radius(TriMesh const& mesh, int sample_faces, std::vector<float>& radii,
                        float factor)
{
    radii.clear();
    float sum = 0.0F;
    int sides = 0;
    int faces = 0;
    for (int i = 0; i < static_cast<int>(mesh.n_faces()) && faces < sample_faces; ++i)
    {
        OpenMesh::FaceHandle const face(i);
        if (is_deleted(mesh, face))
        {
            continue;
        }
        ++faces;
        for (auto it = mesh.cfh_iter(face); it.is_valid(); ++it)
        {
            sum += mesh.calc_edge_length(*it);
            ++sides;
        }
    }
    if (sides == 0)
    {
        return false;
    }
    float const mean = sum / static_cast<float>(sides);
    float scale = FIRST_SCALE;
    do
    {
        radii.push_back(scale * mean);
        scale *= factor;
    } while (static_cast<double>(scale) < SCALE_LIMIT);
    return true;
}

} // namespace OrvaneAlgorithm::detail
