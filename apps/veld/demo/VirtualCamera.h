#pragma once

#include "demo/GourdModel.h"
#include "demo/VirtualScanner.h"
#include "workflow/photos/GainBalance.h"
#include "workflow/photos/Photos.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld::cli
{

/// What a camera is like. Lengths are millimetres.
struct CameraSettings
{
    int width = 1200;        ///< Pixels.
    int height = 900;        ///< Pixels.
    double distance = 400.0; ///< From the middle of what it looks at.
    double room = 134.0;     ///< What it sees there, from the lower to the upper edge.
};

/// The light and the exposure of one photograph.
struct StudioLight
{
    ColourGain gain{1.0, 1.0, 1.0};    ///< Of blue, green and red.
    Vector3d from = Vector3d::UnitZ(); ///< Unit vector to the lamp.
};

/// A photograph and where it was taken from.
struct TakenPhoto
{
    PhotoView view;
    Photo photo;
};

/// A camera without lens errors or noise, before the patterned gourd. Each photograph has a light
/// of its own, whose lamp stands somewhere around the camera: photographs differ in exposure, in
/// tint, and in what they shade.
class VirtualCamera
{
public:
    /// \param middle of what the camera looks at
    VirtualCamera(CameraSettings const& settings, Vector3d const& middle)
        : settings_(settings), middle_(middle)
    {
    }

    /// The file of a photograph, counted from 0.
    static std::string photo_name(std::size_t number);

    /// Takes a photograph from each view. The same in every run.
    std::vector<TakenPhoto> photograph(GourdModel const& gourd,
                                       std::vector<ScannerView> const& views) const;

private:
    PhotoView place(ScannerView const& from, std::size_t number) const;

    CameraSettings settings_;
    Vector3d middle_;
};

} // namespace veld::cli
