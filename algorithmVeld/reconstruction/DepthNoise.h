#pragma once

namespace OrvaneAlgorithm
{

/// How far the depths that a scanner measures scatter, as a function of depth and slant: the
/// standard deviation is (`constant` + `square` depth^2) (1 + `slant` tan^2), of the angle between
/// the view and the normal. Cameras that triangulate or see with two eyes measure disparities, and
/// so have a part that grows with the square; a pattern on a surface aslant is drawn out.
struct DepthNoise
{
    double constant = 0.0; ///< millimetres
    double square = 0.0;   ///< one over millimetres
    double slant = 0.0;    ///< what an angle of 45 degrees adds, as a part

    /// Whether there is any.
    bool is_given() const { return constant > 0.0 || square > 0.0; }
    /// Standard deviation along the axis of the camera, in millimetres.
    double at(double depth) const { return constant + square * depth * depth; }
    /// The same where the cosine of the angle between view and normal is known, and above 0.
    double at(double depth, double cosine) const
    {
        return at(depth) * (1.0 + slant * (1.0 / (cosine * cosine) - 1.0));
    }
};

namespace detail
{

/// Points nearer than so many standard deviations of their noise tell nothing that their neighbours
/// do not.
constexpr double SPACING_OF_NOISE = 2.5;

/// Whether noise hides what lies between neighbours.
/// \param spacing of these
inline bool hides_surface(double noise, double spacing)
{
    return noise > 0.5 * spacing;
}

} // namespace detail

} // namespace OrvaneAlgorithm
