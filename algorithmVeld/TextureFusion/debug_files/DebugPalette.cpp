#include "algorithmVeld/TextureFusion/debug_files/DebugPalette.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::array<PaletteColor, 56> COLORS{{
    // the corners of the colour cube
    {255, 0, 0},
    {0, 255, 0},
    {0, 0, 255},
    {255, 255, 0},
    {255, 0, 255},
    {0, 255, 255},
    {255, 255, 255},
    // half as bright
    {128, 0, 0},
    {0, 128, 0},
    {0, 0, 128},
    {128, 128, 0},
    {128, 0, 128},
    {0, 128, 128},
    {128, 128, 128},
    // mixes of the two
    {255, 128, 0},
    {128, 255, 0},
    {0, 255, 128},
    {0, 128, 255},
    {128, 0, 255},
    {255, 0, 128},
    {255, 128, 128},
    {128, 255, 128},
    {128, 128, 255},
    {255, 255, 128},
    {255, 128, 255},
    {128, 255, 255},
    // a quarter as bright
    {64, 0, 0},
    {0, 64, 0},
    {0, 0, 64},
    {64, 64, 0},
    {64, 0, 64},
    {0, 64, 64},
    {64, 64, 64},
    // three quarters
    {192, 0, 0},
    {0, 192, 0},
    {0, 0, 192},
    {192, 192, 0},
    {192, 0, 192},
    {0, 192, 192},
    {192, 192, 192},
    // mixes of these two
    {192, 64, 0},
    {64, 192, 0},
    {0, 192, 64},
    {0, 64, 192},
    {64, 0, 192},
    {192, 0, 64},
    {192, 64, 64},
    {64, 192, 64},
    {64, 64, 192},
    {192, 192, 64},
    {192, 64, 192},
    {64, 192, 192},
    // of all
    {255, 192, 64},
    {64, 255, 192},
    {192, 64, 255},
    {255, 192, 128},
}};

} // namespace

PaletteColor debug_palette(int id)
{
    return COLORS[static_cast<std::size_t>(id) % COLORS.size()];
}

} // namespace OrvaneAlgorithm::detail
