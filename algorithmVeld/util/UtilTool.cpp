#include "algorithmVeld/util/UtilTool.h"

#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/files/series_name.h"

#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

std::wstring widened(std::string const& text)
{
    std::wstring wide;
    wide.reserve(text.size());
    for (char const c : text)
    {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    return wide;
}

std::string narrowed(std::wstring const& text)
{
    std::string narrow;
    narrow.reserve(text.size());
    for (wchar_t const c : text)
    {
        narrow += static_cast<char>(c);
    }
    return narrow;
}

template <typename Text>
std::vector<Text> series_names(Text const& parent, Text const& prefix, Text const& suffix,
                               std::vector<int> const& numbers)
{
    std::vector<Text> names;
    names.reserve(numbers.size());
    for (int const number : numbers)
    {
        names.push_back(detail::series_name(parent, prefix, number, suffix));
    }
    return names;
}

} // namespace

bool UtilTool::DirDesc::extractPathTag(std::string const& path, std::string& dir, std::string& name,
                                       std::string& ext)
{
    std::string const whole = path; // which may be one of the outputs
    ext.clear();
    name.clear();
    dir.clear();
    auto const point = whole.rfind('.');
    if (point == std::string::npos)
    {
        return false;
    }
    ext = whole.substr(point);
    // Only what stands before the point can be the directory.
    std::string const head = whole.substr(0, point);
    auto separator = head.rfind('\\');
    if (separator == std::string::npos)
    {
        separator = head.rfind('/');
    }
    if (separator == std::string::npos)
    {
        name = head;
        return true;
    }
    dir = head.substr(0, separator);
    name = head.substr(separator + 1);
    return true;
}

bool UtilTool::DirDesc::extract_num(std::string const& text, int& number, std::string& digits)
{
    auto const found = detail::first_number(text);
    if (!found)
    {
        return false;
    }
    std::string run(found->digits); // the text may be the output
    number = found->value;
    digits = std::move(run);
    return true;
}

void UtilTool::FileSeriesDesc::set_name_info(std::string const& parent, std::string const& prefix,
                                             std::string const& suffix)
{
    parent_dir_ = parent;
    wide_parent_dir_ = widened(parent);
    prefix_ = prefix;
    wide_prefix_ = widened(prefix);
    suffix_ = suffix;
    wide_suffix_ = widened(suffix);
}

void UtilTool::FileSeriesDesc::set_name_info(std::wstring const& parent, std::wstring const& prefix,
                                             std::wstring const& suffix)
{
    parent_dir_ = narrowed(parent);
    wide_parent_dir_ = parent;
    prefix_ = narrowed(prefix);
    wide_prefix_ = prefix;
    suffix_ = narrowed(suffix);
    wide_suffix_ = suffix;
}

void UtilTool::FileSeriesDesc::get_filenames(std::vector<std::string>& names) const
{
    names = series_names(parent_dir_, prefix_, suffix_, fileNumArr);
}

void UtilTool::FileSeriesDesc::get_filenames(std::vector<std::wstring>& names) const
{
    names = series_names(wide_parent_dir_, wide_prefix_, wide_suffix_, fileNumArr);
}

} // namespace OrvaneAlgorithm
