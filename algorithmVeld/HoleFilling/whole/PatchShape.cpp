#include "algorithmVeld/HoleFilling/whole/PatchShape.h"

#include "algorithmVeld/HoleFilling/fairing/LaplaceWeights.h"
#include "algorithmVeld/common/geometry/TriangleGeometry.h"
#include "algorithmVeld/common/running/Log.h"

#include <array>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr float TEN_DEGREES = 0.17453292F;

/// The normals of the old faces without a narrow corner.
std::vector<Vector3f> sound_normals(TriMesh const& mesh, OpenMesh::FPropHandleT<bool> face_new)
{
    std::vector<Vector3f> normals;
    for (auto const face : mesh.all_faces())
    {
        if (mesh.property(face_new, face))
        {
            continue;
        }
        std::array<Vector3f, 3> corners;
        std::size_t n = 0;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners[n++ % 3] = mesh.point(vertex);
        }
        if (corner_angles(corners[0], corners[1], corners[2]).min() >= TEN_DEGREES)
        {
            normals.push_back(mesh.calc_face_normal(face));
        }
    }
    return normals;
}

} // namespace

void move_to_neighbours(TriMesh& mesh, Patch const& patch)
{
    constexpr float LIGHTEST = 1e-5F;
    for (auto const vertex : patch)
    {
        Vector3f sum = Vector3f::Zero();
        float total = 0.0F;
        for (auto const neighbour : mesh.vv_range(vertex))
        {
            float const weight =
                laplace_weight(mesh, vertex, neighbour, LaplaceWeight::INVERSE_LENGTH);
            sum += weight * mesh.point(neighbour);
            total += weight;
        }
        if (!(total < LIGHTEST))
        {
            mesh.set_point(vertex, sum / total);
        }
    }
}

double even_share(TriMesh const& mesh, OpenMesh::FPropHandleT<bool> face_new, Vector3f& mean)
{
    auto const normals = sound_normals(mesh, face_new);
    mean = Vector3f::Zero();
    for (auto const& normal : normals)
    {
        mean += normal;
    }
    mean.normalize();
    std::size_t even = 0;
    for (auto const& normal : normals)
    {
        even += angle_between(normal, mean) <= TEN_DEGREES ? 1 : 0;
    }
    return normals.empty() ? 0.0 : static_cast<double>(even) / static_cast<double>(normals.size());
}

void log_bad_normals(TriMesh const& mesh)
{
    if (mesh.has_vertex_normals())
    {
        for (auto const vertex : mesh.all_vertices())
        {
            Vector3f const normal = mesh.normal(vertex);
            if (!normal.allFinite())
            {
                log("    invalid vert[%d] normal: (%f, %f, %f)\n", vertex.idx(), normal.x(),
                    normal.y(), normal.z());
            }
        }
    }
    if (mesh.has_face_normals())
    {
        for (auto const face : mesh.all_faces())
        {
            Vector3f const normal = mesh.normal(face);
            if (!normal.allFinite())
            {
                log("    invalid face[%d] normal: (%f, %f, %f)\n", face.idx(), normal.x(),
                    normal.y(), normal.z());
            }
        }
    }
}

} // namespace OrvaneAlgorithm::detail
