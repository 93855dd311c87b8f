#pragma once

#include "algorithmVeld/common/BaseData.h"
#include "algorithmVeld/common/files/wide_path.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// \file
/// The temporary files of the data classes, looked at and damaged from outside.

namespace veld_test
{

inline std::filesystem::path swap_path(OrvaneAlgorithm::BaseData& data)
{
    return OrvaneAlgorithm::detail::path_from_wide(data.get_temp_full_name());
}

/// Whether the file, or another one whose name begins so, is left in its directory.
inline bool has_leftover(std::filesystem::path const& path)
{
    for (auto const& entry : std::filesystem::directory_iterator(path.parent_path()))
    {
        if (entry.path().filename().string().rfind(path.filename().string(), 0) == 0)
        {
            return true;
        }
    }
    return false;
}

} // namespace veld_test
