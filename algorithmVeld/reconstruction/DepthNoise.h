#pragma once

namespace OrvaneAlgorithm
{

/// How far the depths that a scanner measures scatter, as a function of the depth: the standard
/// deviation is `constant` + `square` depth^2. Cameras that triangulate or see with two eyes
/// measure disparities, and so have a part that grows with the square.
struct DepthNoise
{
    double constant = 0.0; ///< millimetres
    double square = 0.0;   ///< one over millimetres

    /// Standard deviation along the axis of the camera, in millimetres.
    double at(double depth) const { return constant + square * depth * depth; }
};

} // namespace OrvaneAlgorithm
