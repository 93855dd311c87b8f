#pragma once

#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::RangeData;

/// The photograph beside a frame of a depth camera, which another camera took as a rule. Its file
/// is not read before its pixels are wanted, which most of what is done with frames never does.
class FramePhoto
{
public:
    using Pixels = OrvaneAlgorithm::Image<3, unsigned char>;

    /// \param width and height in pixels, as the list of cameras tells them
    /// \param from_global to the coordinates of the photograph's camera, in millimetres
    FramePhoto(std::filesystem::path file, int width, int height,
               OrvaneAlgorithm::CameraInParam const& camera,
               OrvaneAlgorithm::RigidMatrix const& from_global)
        : file_(std::move(file)),
          width_(width),
          height_(height),
          camera_(camera),
          from_global_(from_global)
    {
    }

    /// Notes what the frame saw, so that nothing gets the colours of what stands before it.
    /// \param focal_length of the depth camera, in pixels
    void list_depths(RangeData const& frame, double focal_length);

    /// For frames whose lengths were scaled after the photograph was read.
    void set_scale(double scale) { scale_ = scale; }

    /// Takes the camera along where its frame gets another pose. Both are in millimetres.
    void follow(OrvaneAlgorithm::RigidMatrix const& before,
                OrvaneAlgorithm::RigidMatrix const& after);

    /// Whether a place is in the picture, and the frame saw nothing before it.
    bool shows(OrvaneAlgorithm::Vector3f const& place) const;

    /// Reads the file. \return why it gives no colours; empty where it does
    std::string read(Pixels& pixels) const;

    /// The colour of a place that the photograph shows, red, green and blue from 0 to 1.
    /// \param pixels that were read
    OrvaneAlgorithm::Vector3f colour_of(OrvaneAlgorithm::Vector3f const& place,
                                        Pixels const& pixels) const;

private:
    struct Pixel
    {
        double column;
        double row;
        double depth;
    };

    std::optional<Pixel> pixel_of(OrvaneAlgorithm::Vector3d const& place) const;
    /// \param p in coordinates of the camera
    std::optional<Pixel> project(OrvaneAlgorithm::Vector3d const& p) const;
    std::size_t block_of(Pixel const& pixel) const;

    std::filesystem::path file_;
    int width_;
    int height_;
    OrvaneAlgorithm::CameraInParam camera_;
    OrvaneAlgorithm::RigidMatrix from_global_;
    double scale_ = 1.0;
    int side_ = 1;               ///< of a block of pixels
    int columns_ = 0;            ///< of blocks
    std::vector<float> nearest_; ///< depth in each block; 0 where the frame saw nothing
};

} // namespace veld
