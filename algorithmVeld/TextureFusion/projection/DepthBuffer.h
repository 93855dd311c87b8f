#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// How the depth of a pixel reaches those around it. A pixel hands it to those of the 3 x 3 pixels
/// around it that are farther away by more than the tolerance.
enum class Dilation
{
    FROM_ORIGINAL, ///< each pixel hands on what it held before the first
    IN_PLACE       ///< row by row, each pixel hands on what it holds by then
};

/// The depths of vertices in one view, the nearest one for each pixel. Few pixels of a photograph
/// hold a vertex, so next to nothing here costs what all pixels do: a mask of bits tells the pixels
/// that count.
class DepthBuffer
{
public:
    /// \param dis_thr tolerance of depths
    explicit DepthBuffer(float dis_thr, Dilation dilation = Dilation::FROM_ORIGINAL)
        : dis_thr_(dis_thr), dilation_(dilation)
    {
    }

    /// Forgets all depths, and takes the size of the next view.
    void begin_view(int width, int height);

    /// Notes the depth of a vertex. The order of vertices does not matter.
    void insert(int x, int y, float depth);

    /// Dilates in place, if that is the way. Behind it nothing is noted until the next view.
    void end_view();

    /// The nearest depth of a pixel that holds one, or what it holds after a dilation in place. To
    /// ask for many in a row costs far less than to ask for each when it is looked at, for memory
    /// answers all of them at the same time.
    float nearest(int x, int y) const { return depths_[offset(x, y)]; }

    /// Whether nothing hides a vertex that was noted: it lies nearer than the tolerance behind what
    /// its pixel holds after the dilation.
    ///
    /// Where the original depths are handed on, that is so if it lies nearer than the tolerance
    /// behind the nearest one of its pixel, and that one no more than the tolerance behind any of
    /// the eight pixels around. Which depth a pixel is handed last then does not matter, for none
    /// of its vertices is within the tolerance of any.
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

    bool holds_a_depth(int x, int y) const;
    void hand_on(int x, int y);
    unsigned held_around(int x, int y) const;
    float nearest_around(int x, int y, float nearest) const;

    float dis_thr_;
    Dilation dilation_;
    int width_ = 0;
    int height_ = 0;
    std::size_t mask_width_ = 0; ///< bytes
    std::vector<float> depths_;
    std::vector<std::uint8_t> mask_; ///< the pixels whose depths count, eight in a byte
};

} // namespace OrvaneAlgorithm::detail
