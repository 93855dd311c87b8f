#include "Arrays.h"

#include <algorithm>
#include <array>

namespace veld::python
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

std::vector<Vector3f> vectors_of(FloatRows const& rows)
{
    std::vector<Vector3f> vectors(rows.shape(0));
    if (!vectors.empty())
    {
        std::copy_n(rows.data(), 3 * vectors.size(), vectors.front().data());
    }
    return vectors;
}

OrvaneAlgorithm::Image<3, unsigned char> image_of(Pixels const& pixels)
{
    OrvaneAlgorithm::Image<3, unsigned char> image(static_cast<int>(pixels.shape(1)),
                                                   static_cast<int>(pixels.shape(0)));
    if (!image.empty())
    {
        std::copy_n(pixels.data(), pixels.size(), image.data());
    }
    return image;
}

RigidMatrix motion_of(Matrix4 const& matrix)
{
    Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor> const> const rows(matrix.data());
    RigidMatrix motion;
    motion.set_rotation(Matrix3d(rows.topLeftCorner<3, 3>()));
    motion.set_translation(Vector3d(rows.topRightCorner<3, 1>()));
    return motion;
}

OwnArray<double> matrix_of(RigidMatrix const& motion)
{
    std::array<double, 16> values{};
    Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor>> rows(values.data());
    rows.setIdentity();
    rows.topLeftCorner<3, 3>() = motion.get_rotation();
    rows.topRightCorner<3, 1>() = motion.get_translation();
    auto const [kept, owner] = given_away(values);
    return {kept->data(), {4, 4}, owner};
}

} // namespace veld::python
