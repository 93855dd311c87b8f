#pragma once

#include "demo/VirtualCamera.h"
#include "workflow/files/OutputFile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld::cli
{

/// Photographs in one directory, with the list of their cameras.
class PhotoFiles
{
public:
    PhotoFiles(std::string directory, std::size_t photos)
        : directory_(std::move(directory)), photos_(photos)
    {
    }

    std::string cameras() const { return file("cameras.json"); }
    std::vector<std::string> all() const;

    /// Writes photographs, as JPEG.
    /// \return the list of cameras in its temporary place, by which they can be read before they
    ///         are committed
    std::string save(std::vector<TakenPhoto> const& photos, Outputs& outputs) const;

private:
    std::string file(std::string const& name) const
    {
        return (std::filesystem::path(directory_) / name).string();
    }

    std::string directory_;
    std::size_t photos_;
};

} // namespace veld::cli
