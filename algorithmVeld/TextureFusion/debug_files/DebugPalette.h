#pragma once

#include <array>

namespace OrvaneAlgorithm::detail
{

/// Red, green, blue.
using PaletteColor = std::array<unsigned char, 3>;

/// The colour by which a view or a texture hole is told from others in debug files. There are 56;
/// then they come again.
/// \param id 0 or more
PaletteColor debug_palette(int id);

} // namespace OrvaneAlgorithm::detail
