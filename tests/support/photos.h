#pragma once

#include "tests/support/files.h"
#include "tests/support/temp_dir.h"

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/image_io.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

/// \file
/// A photographed sheet, made by code: `grid(30, 30)`, seen from straight above.

namespace veld_test
{

constexpr int PHOTO_SIDE = 100;
constexpr double PHOTO_FOCAL_LENGTH = 90.0;
constexpr double PHOTO_CENTRE = 49.5;
constexpr double CAMERA_HEIGHT = 30.0;
constexpr double SHEET_CENTRE = 15.0;

/// Blue, green and red of a photograph, also between its pixels.
inline double photo_channel(int channel, double x, double y)
{
    return channel == 0 ? 2.0 * x : channel == 1 ? 2.0 * y : 220.0 - x - y;
}

inline OrvaneAlgorithm::Image<3, unsigned char> sheet_photo(int width = PHOTO_SIDE,
                                                            int height = PHOTO_SIDE)
{
    OrvaneAlgorithm::Image<3, unsigned char> photo(width, height);
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            for (int channel = 0; channel < 3; ++channel)
            {
                photo.pixel(x, y)[channel] =
                    static_cast<unsigned char>(photo_channel(channel, x, y));
            }
        }
    }
    return photo;
}

/// The view of that photograph in `cameras.json`. \param unit of its pose, in those of the sheet
inline nlohmann::json sheet_view(std::string const& image, double unit = 1.0)
{
    return {{"image", image},
            {"width", PHOTO_SIDE},
            {"height", PHOTO_SIDE},
            {"fx", PHOTO_FOCAL_LENGTH},
            {"fy", PHOTO_FOCAL_LENGTH},
            {"cx", PHOTO_CENTRE},
            {"cy", PHOTO_CENTRE},
            {"R", {{1, 0, 0}, {0, -1, 0}, {0, 0, -1}}},
            {"t", {-SHEET_CENTRE / unit, SHEET_CENTRE / unit, CAMERA_HEIGHT / unit}}};
}

/// A folder with `cameras.json` and the photographs that it names, all alike.
class PhotoDir : public TempDir
{
public:
    explicit PhotoDir(nlohmann::json const& views)
    {
        write_file(list(), nlohmann::json{{"views", views}}.dump());
        for (auto const& view : views)
        {
            if (view.is_object() && view.contains("image") && view["image"].is_string() &&
                view["image"] != "")
            {
                EXPECT_EQ(OrvaneAlgorithm::write_rgb_image(file(view["image"].get<std::string>()),
                                                           sheet_photo()),
                          0);
            }
        }
    }
    PhotoDir() : PhotoDir(nlohmann::json::array({sheet_view("one.png")})) {}

    std::string list() const { return file("cameras.json"); }
};

} // namespace veld_test
