#include "FrameFiles.h"
#include "ForEachIndex.h"

#include "Errors.h"
#include "FrameLoaders.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/util/WinCallWrapper.h"

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::CRangeDataIO;
using OrvaneAlgorithm::WinCallWrapper;

namespace
{

/// A path as the library's classes for frame files take it.
std::wstring widened(std::string const& path)
{
    try
    {
        if constexpr (sizeof(wchar_t) == sizeof(char32_t))
        {
            // The standard's own conversion follows the locale, and names of files are UTF-8.
            std::u32string const text = fs::path(path).u32string();
            return std::wstring(text.begin(), text.end());
        }
        else
        {
            return fs::path(path).wstring();
        }
    }
    catch (std::system_error const&)
    {
        throw InputError(path + ": its name is no UTF-8");
    }
}

std::string narrowed(std::wstring const& path)
{
    if constexpr (sizeof(wchar_t) == sizeof(char32_t))
    {
        return fs::path(std::u32string(path.begin(), path.end())).string();
    }
    else
    {
        return fs::path(path).string();
    }
}

} // namespace

std::vector<std::string> frame_files_in(std::string const& folder)
{
    std::vector<std::string> files;
    // The list puts the separator behind the folder, which so needs none of its own.
    std::wstring name = widened(folder);
    while (name.size() > 1 && name.back() == L'/')
    {
        name.pop_back();
    }
    for (auto const& path : WinCallWrapper::get_file_arr(name, L".rge", false))
    {
        files.push_back(narrowed(path));
    }
    return files;
}

std::string read_frame(std::string const& path, RangeData& frame)
{
    switch (CRangeDataIO::read_rge(widened(path), frame))
    {
    case 0:
        return {};
    case 1:
        return "it cannot be opened";
    case 2:
        return "it is no frame file of a known version";
    default:
        return "the file is damaged";
    }
}

void save_frame(OutputFile const& file, RangeData const& frame)
{
    if (CRangeDataIO::write_rge(widened(file.temporary()), frame) != 0)
    {
        throw OperationError(file.path() + ": cannot be written");
    }
}

LoadedSource load_rge_folder(std::string const& folder)
{
    LoadedSource source;
    source.files = frame_files_in(folder);
    if (source.files.empty())
    {
        throw InputError(folder + ": holds no .rge files and no cameras.json");
    }
    source.frames.resize(source.files.size());
    for_each_index(source.frames.size(),
                   [&source](std::size_t i)
                   {
                       LoadedFrame& frame = source.frames[i];
                       frame.name = source.files[i];
                       frame.unusable = read_frame(frame.name, frame.data);
                       if (frame.unusable.empty() && frame.data.get_vn() > 0 &&
                           !frame.data.has_vNormal)
                       {
                           frame.remarks.emplace_back("has no normals: computed from its grid");
                       }
                   });
    return source;
}

} // namespace veld
