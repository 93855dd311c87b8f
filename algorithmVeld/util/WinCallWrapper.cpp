#include "algorithmVeld/util/WinCallWrapper.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/files/wide_path.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace OrvaneAlgorithm
{

namespace
{

namespace fs = std::filesystem;

struct Entry
{
    std::wstring name;
    bool is_directory = false;
};

/// Adds an entry, unless its name cannot be told as wide text.
void add_entry(fs::directory_entry const& entry, std::vector<Entry>& entries)
{
    try
    {
        std::error_code error;
        entries.push_back(
            {detail::wide_from_path(entry.path().filename()), entry.is_directory(error) && !error});
    }
    catch (std::system_error const&)
    {
    }
}

/// What a directory holds, by name: the order in which systems tell it differs.
std::vector<Entry> entries_of(std::wstring const& dir)
{
    std::vector<Entry> entries;
    fs::path path;
    if (!detail::path_from_wide(dir + L"/", path))
    {
        return entries;
    }
    std::error_code error;
    fs::directory_iterator it(path, error);
    for (; !error && it != fs::directory_iterator(); it.increment(error))
    {
        add_entry(*it, entries);
    }
    std::sort(entries.begin(), entries.end(),
              [](Entry const& a, Entry const& b) { return a.name < b.name; });
    return entries;
}

void tell(std::wstring const& dir, bool verbose)
{
    if (!verbose)
    {
        return;
    }
    // %ls and not %s, which is narrow text in the wide formats of some platforms.
    gLH.LogPrintf(L"browse %ls\n", dir.c_str());
    fs::path path;
    gLH.print_past_log("browse " + (detail::path_from_wide(dir, path) ? path.u8string() : "?") +
                       '\n');
}

bool has_extension(std::wstring name, std::wstring const& ext)
{
    WinCallWrapper::wstring_to_lower(name);
    return name.size() > ext.size() && name.compare(name.size() - ext.size(), ext.size(), ext) == 0;
}

} // namespace

std::vector<std::wstring> WinCallWrapper::get_dir_arr(std::wstring const& dir, bool verbose)
{
    tell(dir, verbose);
    std::vector<std::wstring> paths;
    for (auto const& entry : entries_of(dir))
    {
        if (entry.is_directory)
        {
            paths.push_back(dir + L"/" + entry.name);
        }
    }
    return paths;
}

std::vector<std::wstring> WinCallWrapper::get_file_arr(std::wstring const& dir,
                                                       std::wstring const& ext, bool verbose)
{
    tell(dir, verbose);
    std::vector<std::wstring> paths;
    for (auto const& entry : entries_of(dir))
    {
        if (!entry.is_directory && has_extension(entry.name, ext))
        {
            paths.push_back(dir + L"/" + entry.name);
        }
    }
    return paths;
}

std::vector<std::wstring> WinCallWrapper::get_file_arr(std::wstring const& dir,
                                                       std::wstring const& prefix,
                                                       std::wstring const& ext, bool verbose)
{
    auto paths = get_file_arr(dir, ext, verbose);
    auto const begins_otherwise = [&prefix](std::wstring const& path)
    { return path.compare(0, prefix.size(), prefix) != 0; };
    paths.erase(std::remove_if(paths.begin(), paths.end(), begins_otherwise), paths.end());
    return paths;
}

void WinCallWrapper::wstring_to_lower(std::wstring& text)
{
    for (wchar_t& c : text)
    {
        c = c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    }
}

} // namespace OrvaneAlgorithm
