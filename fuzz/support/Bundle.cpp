#include "fuzz/support/Bundle.h"

#include "fuzz/support/Target.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace veld_fuzz
{

namespace
{

constexpr std::string_view MARK = "@@ ";

/// A name that stays in the folder, whatever the input says.
std::string safe_name(std::string_view name)
{
    auto const is_plain = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == '_';
    };
    bool const is_safe = !name.empty() && name.size() < 40 && name.front() != '.' &&
                         std::all_of(name.begin(), name.end(), is_plain);
    return is_safe ? std::string(name) : "other";
}

} // namespace

void write_bundle(std::string_view input)
{
    empty_work_folder();
    while (input.substr(0, MARK.size()) == MARK)
    {
        input.remove_prefix(MARK.size());
        auto const line = input.substr(0, input.find('\n'));
        input.remove_prefix(std::min(line.size() + 1, input.size()));
        std::string const next = "\n" + std::string(MARK);
        auto const end = input.find(next);
        work_file(safe_name(line), input.substr(0, end));
        input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
    }
}

} // namespace veld_fuzz
