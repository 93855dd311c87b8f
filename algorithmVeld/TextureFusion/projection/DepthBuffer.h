#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The depths of vertices in one view, the nearest one for each pixel. Few pixels of a photograph
/// hold a vertex, so next to nothing here costs what all pixels do: a mask of bits tells the pixels
/// that count.
class DepthBuffer
{
public:
    /// \param dis_thr tolerance of depths
    explicit DepthBuffer(float dis_thr) : dis_thr_(dis_thr) {}

    /// Forgets all depths, and takes the size of the next view.
    void begin_view(int width, int height);

    /// Notes the depth of a vertex. The order of vertices does not matter.
    void insert(int x, int y, float depth);

    /// The nearest depth of a pixel that holds one. To ask for many in a row costs far less than to
    /// ask for each when it is looked at, for memory answers all of them at the same time.
    float nearest(int x, int y) const { return depths_[offset(x, y)]; }

    /// Whether nothing hides a vertex that was noted: it lies nearer than the tolerance behind the
    /// nearest one of its pixel, and that one no more than the tolerance behind any of the eight
    /// pixels around.
    ///
    /// That is what a dilation by one pixel leaves, in which each pixel hands its depth to those
    /// around it that are farther away by more than the tolerance. Which depth a pixel is handed
    /// last then does not matter, for none of its vertices is within the tolerance of any.
    /// \param nearest of its pixel
    bool is_visible(int x, int y, float depth, float nearest) const;

private:
    std::size_t offset(int x, int y) const
    {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(y) +
               static_cast<std::size_t>(x);
    }

    /// The first byte of a row's mask. Around the image lies a frame of one pixel without depths.
    std::size_t mask_row(int y) const { return mask_width_ * (static_cast<std::size_t>(y) + 1); }

    unsigned held_around(int x, int y) const;
    float nearest_around(int x, int y, float nearest) const;

    float dis_thr_;
    int width_ = 0;
    std::size_t mask_width_ = 0; ///< bytes
    std::vector<float> depths_;
    std::vector<std::uint8_t> mask_; ///< the pixels whose depths count, eight in a byte
};

} // namespace OrvaneAlgorithm::detail
