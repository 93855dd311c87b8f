#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The depths of vertices in one view, the nearest one for each pixel. Few pixels of a photograph
/// hold a vertex, so nothing here costs what all pixels do: those that were written are known, and
/// the dilation is worked out where somebody asks for it.
class DepthBuffer
{
public:
    /// \param dis_thr tolerance of depths
    explicit DepthBuffer(float dis_thr) : dis_thr_(dis_thr) {}

    /// Forgets all depths, and takes the size of the next view.
    void begin_view(int width, int height);

    /// Notes the depth of a vertex, which has to be finite.
    /// \return false if the pixel held one that is nearer by the tolerance or more
    bool insert(int x, int y, float depth);

    /// The depth of a pixel that was written, after each pixel has handed its depth to those of the
    /// 3 x 3 pixels around it that are farther away by more than the tolerance.
    float dilated(int x, int y) const;

private:
    static constexpr float NONE = std::numeric_limits<float>::infinity();

    std::size_t offset(int x, int y) const
    {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(y) +
               static_cast<std::size_t>(x);
    }

    float dis_thr_;
    int width_ = 0;
    int height_ = 0;
    std::vector<float> depths_;         ///< none in all pixels but those below
    std::vector<std::size_t> written_; ///< pixels with a depth
};

} // namespace OrvaneAlgorithm::detail
