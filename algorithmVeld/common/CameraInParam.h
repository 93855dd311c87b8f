#pragma once

namespace OrvaneAlgorithm
{

/// Pinhole intrinsics of a camera, in pixels.
class CameraInParam
{
public:
    CameraInParam() = default;

    /// \param fx,fy focal lengths \param cx,cy principal point; (0, 0) is the centre of the top
    ///        left pixel
    CameraInParam(double fx, double fy, double cx, double cy) : fx_(fx), fy_(fy), cx_(cx), cy_(cy)
    {
    }

    /// Focal length along x, in pixels.
    double get_fx() const { return fx_; }
    /// Focal length along y, in pixels.
    double get_fy() const { return fy_; }
    /// Principal point along x, in pixels.
    double get_cx() const { return cx_; }
    /// Principal point along y, in pixels.
    double get_cy() const { return cy_; }

private:
    double fx_ = 0.0;
    double fy_ = 0.0;
    double cx_ = 0.0;
    double cy_ = 0.0;
};

} // namespace OrvaneAlgorithm
