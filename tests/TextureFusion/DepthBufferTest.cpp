#include "algorithmVeld/TextureFusion/projection/DepthBuffer.h"

#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::detail::DepthBuffer;

struct Sample
{
    int x;
    int y;
    float depth;
};

/// The whole image, dilated step by step: four passes over every fourth row, in which each pixel
/// with a depth writes it to those around it that hold none or, before the first pass, a farther
/// one. The last writer stays.
class DilatedImage
{
public:
    DilatedImage(int width, int height, float dis_thr)
        : width_(width), height_(height), dis_thr_(dis_thr), depths_(size()), mask_(size())
    {
    }

    void insert(Sample const& sample)
    {
        std::size_t const i = at(sample.x, sample.y);
        if (mask_[i] == 0 || depths_[i] > sample.depth)
        {
            depths_[i] = sample.depth;
            mask_[i] = 1;
        }
    }

    void dilate()
    {
        std::vector<float> const source = depths_;
        for (int pass = 0; pass < 4; ++pass)
        {
            for (int y = pass; y < height_; y += 4)
            {
                for (int x = 0; x < width_; ++x)
                {
                    if (mask_[at(x, y)] != 0)
                    {
                        hand_on(x, y, source);
                    }
                }
            }
        }
    }

    bool is_visible(Sample const& sample) const
    {
        return depths_[at(sample.x, sample.y)] + dis_thr_ > sample.depth;
    }

private:
    std::size_t size() const
    {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    }
    std::size_t at(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x);
    }

    void hand_on(int x, int y, std::vector<float> const& source)
    {
        float const d = source[at(x, y)];
        for (int r = std::max(y - 1, 0); r <= std::min(y + 1, height_ - 1); ++r)
        {
            for (int c = std::max(x - 1, 0); c <= std::min(x + 1, width_ - 1); ++c)
            {
                if (mask_[at(c, r)] == 0 || source[at(c, r)] > d + dis_thr_)
                {
                    depths_[at(c, r)] = d;
                }
            }
        }
    }

    int width_;
    int height_;
    float dis_thr_;
    std::vector<float> depths_;
    std::vector<char> mask_;
};

std::vector<Sample> random_samples(std::mt19937& random, int width, int height, std::size_t n)
{
    std::vector<Sample> samples(n);
    for (Sample& sample : samples)
    {
        // Halves, so that many lie just at the tolerance.
        sample = {static_cast<int>(random() % static_cast<unsigned>(width)),
                  static_cast<int>(random() % static_cast<unsigned>(height)),
                  0.5F * static_cast<float>(random() % 16U)};
    }
    return samples;
}

bool is_visible(DepthBuffer const& buffer, Sample const& sample)
{
    return buffer.is_visible(sample.x, sample.y, sample.depth, buffer.nearest(sample.x, sample.y));
}

TEST(DepthBuffer, ShowsWhatTheDilationOfTheWholeImageShows)
{
    std::mt19937 random(3);
    // A negative or infinite tolerance, or one that is no number, is a setting like any other.
    for (float const dis_thr : {1.0F, 0.0F, 2.5F, -1.0F, INFINITE, -INFINITE, NOT_A_NUMBER})
    {
        DepthBuffer buffer(dis_thr);
        int n_visible = 0;
        for (int round = 0; round < 60; ++round)
        {
            // Sizes go up and down: what an earlier view left must not count.
            int const width = 1 + static_cast<int>(random() % 20U);
            int const height = 1 + static_cast<int>(random() % 12U);
            auto const samples = random_samples(random, width, height, random() % 150U);
            DilatedImage image(width, height, dis_thr);
            buffer.begin_view(width, height);
            for (Sample const& sample : samples)
            {
                image.insert(sample);
                buffer.insert(sample.x, sample.y, sample.depth);
            }
            image.dilate();
            for (Sample const& sample : samples)
            {
                ASSERT_EQ(is_visible(buffer, sample), image.is_visible(sample)) << dis_thr;
                n_visible += is_visible(buffer, sample) ? 1 : 0;
            }
        }
        // Nearer than the tolerance: without any, a vertex does not even see itself.
        EXPECT_EQ(n_visible > 0, dis_thr > 0.0F) << dis_thr;
    }
}

TEST(DepthBuffer, ReachesOnePixelAtAllSidesOfAnImage)
{
    // 8 and 16 are where the mask's bytes end.
    constexpr int WIDTH = 18;
    constexpr int HEIGHT = 3;
    DepthBuffer buffer(1.0F);
    for (int near_x = 0; near_x < WIDTH; ++near_x)
    {
        for (int x = 0; x < WIDTH; ++x)
        {
            for (int y : {0, 1, 2})
            {
                buffer.begin_view(WIDTH, HEIGHT);
                buffer.insert(near_x, 0, 10.0F);
                buffer.insert(x, y, 20.0F);
                bool const is_in_reach = std::abs(x - near_x) <= 1 && y <= 1;
                EXPECT_EQ(is_visible(buffer, {x, y, 20.0F}), !is_in_reach) << near_x << " " << x;
                EXPECT_TRUE(is_visible(buffer, {near_x, 0, 10.0F}));
            }
        }
    }
}

} // namespace
} // namespace veld_test
