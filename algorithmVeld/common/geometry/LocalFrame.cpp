#include "algorithmVeld/common/geometry/LocalFrame.h"

#include <Eigen/Eigenvalues>

namespace OrvaneAlgorithm::detail
{

Eigen::Matrix3f compute_lrf(std::vector<Vector3f> const& points, Vector3f const& normal)
{
    Vector3f centre = Vector3f::Zero();
    for (auto const& point : points)
    {
        centre += point;
    }
    centre /= static_cast<float>(points.size());

    Eigen::Matrix3f spread = Eigen::Matrix3f::Zero();
    for (auto const& point : points)
    {
        Vector3f const d = point - centre;
        spread += d * d.transpose();
    }
    // Eigenvectors come in the order of rising eigenvalues.
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3f> const solver(spread);
    Eigen::Matrix3f lrf = solver.eigenvectors();
    Vector3f const least = lrf.col(0);
    lrf.col(2) = least.dot(normal) >= 0.0F ? least : Vector3f(-least);
    lrf.col(0) = Vector3f(lrf.col(1)).cross(Vector3f(lrf.col(2)));
    return lrf;
}

} // namespace OrvaneAlgorithm::detail
