#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

namespace OrvaneAlgorithm
{

/// Image of `N` interleaved channels of type `T`. Pixel (x, y) begins at element
/// `(width * y + x) * N`, and y grows from the first row of memory downwards.
///
/// A photograph or an atlas is an `Image<3, unsigned char>`, whose channels are blue, green and
/// red.
template <int N, typename T>
class Image
{
public:
    /// An image without pixels.
    Image() = default;

    /// All channels 0. A size that is not positive gives an image without pixels.
    Image(int width, int height)
    {
        if (width > 0 && height > 0)
        {
            width_ = width;
            height_ = height;
            pixels_ = std::make_unique<T[]>(n_elements());
        }
    }

    /// A copy of the pixels.
    Image(Image const& other) : Image(other.width_, other.height_)
    {
        std::copy_n(other.pixels_.get(), n_elements(), pixels_.get());
    }

    Image(Image&& other) noexcept { swap(other); }

    /// Takes the place of what was there.
    Image& operator=(Image other) noexcept
    {
        swap(other);
        return *this;
    }

    ~Image() = default;

    /// Pixels in a row.
    int width() const { return width_; }
    /// Number of rows.
    int height() const { return height_; }
    /// Whether there are no pixels.
    bool empty() const { return pixels_ == nullptr; }

    /// The first element, or null for an image without pixels.
    T* data() { return pixels_.get(); }
    /// The same for an image that is only read.
    T const* data() const { return pixels_.get(); }

    /// The `N` channels of a pixel, which has to lie inside.
    T* pixel(int x, int y) { return data() + offset(x, y); }
    /// The same for an image that is only read.
    T const* pixel(int x, int y) const { return data() + offset(x, y); }

    /// Swaps the pixels of two images.
    void swap(Image& other) noexcept
    {
        std::swap(pixels_, other.pixels_);
        std::swap(width_, other.width_);
        std::swap(height_, other.height_);
    }

private:
    std::size_t n_elements() const
    {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * N;
    }

    std::size_t offset(int x, int y) const
    {
        return (static_cast<std::size_t>(width_) * static_cast<std::size_t>(y) +
                static_cast<std::size_t>(x)) *
               N;
    }

    std::unique_ptr<T[]> pixels_;
    int width_ = 0;
    int height_ = 0;
};

} // namespace OrvaneAlgorithm
