#include "shell/SettingNames.h"

#include <algorithm>
#include <map>

namespace veld::cli
{

namespace
{

/// The setting of a step as an option.
std::string option_of(std::string setting)
{
    static std::map<std::string, std::string> const others{
        {"margin", "tile-margin"}, {"preparation", "prepare"}, {"radii", "radius"}};
    auto const other = others.find(setting);
    if (other != others.end())
    {
        return "--" + other->second;
    }
    std::replace(setting.begin(), setting.end(), '_', '-');
    return "--" + setting;
}

/// The reason with the option in the setting's place.
std::string with_option_name(std::string reason, std::string const& setting)
{
    // A name without an underscore may be an ordinary word.
    auto const at =
        setting.find('_') == std::string::npos ? std::string::npos : reason.find(setting + " ");
    bool const is_word = at == 0 || (at != std::string::npos && reason[at - 1] == ' ');
    return is_word ? reason.replace(at, setting.size(), option_of(setting)) : reason;
}

} // namespace

std::string with_option(std::string const& reason, std::string const& setting)
{
    std::string named = with_option_name(reason, setting);
    bool const is_named = setting.empty() || named.find(option_of(setting)) != std::string::npos;
    return is_named ? named : named + " (see " + option_of(setting) + ")";
}

} // namespace veld::cli
