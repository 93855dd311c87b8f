#pragma once

namespace OrvaneAlgorithm
{

/// Radii of a hole in millimetres.
struct HoleRadius
{
    double r_p = 0.0; ///< Of the circle with its perimeter.
    double r_d = 0.0; ///< Mean distance of its corners from its centre.
    double r_b = 0.0; ///< Half the diagonal of its box.
    double r_a = 0.0; ///< The mean of the three.
};

} // namespace OrvaneAlgorithm
