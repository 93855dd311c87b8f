#pragma once

#include "demo/VirtualScanner.h"
#include "workflow/files/OutputFile.h"

#include <string>
#include <vector>

namespace veld::cli
{

/// The files of text frames in one directory, numbered from 1: points, poses of twelve values, and
/// the description that names them.
class TextFrameFiles
{
public:
    TextFrameFiles(std::string directory, std::size_t frames)
        : directory_(std::move(directory)), frames_(frames)
    {
    }

    std::string description() const { return file("frames.json"); }
    std::string points(std::size_t frame) const;
    std::string pose(std::size_t frame) const;
    std::vector<std::string> all() const;

    /// Writes frames.
    /// \return the description in its temporary place, by which they can be read before they are
    ///         committed
    std::string save(std::vector<ScannedFrame> const& frames, Outputs& outputs) const;

private:
    std::string file(std::string const& name) const;

    std::string directory_;
    std::size_t frames_;
};

} // namespace veld::cli
