#include "workflow/report/page/Html.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace veld
{

std::string html_text(std::string const& text)
{
    std::string result;
    result.reserve(text.size());
    for (char const c : text)
    {
        switch (c)
        {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            // A page has no other control characters than blanks.
            bool const is_blank = c == '\n' || c == '\t';
            result += static_cast<unsigned char>(c) < ' ' && !is_blank ? '?' : c;
        }
    }
    return result;
}

std::string json_in_script(std::string json)
{
    // Outside of its texts JSON has no such character, and inside it may stand like this.
    for (auto at = json.find('<'); at != std::string::npos; at = json.find('<', at))
    {
        json.replace(at, 1, "\\u003c");
    }
    return json;
}

std::string base64(std::string const& bytes)
{
    constexpr char const* LETTERS =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3)
    {
        std::uint32_t three = 0;
        for (std::size_t k = 0; k < 3; ++k)
        {
            auto const byte =
                i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : std::uint32_t{0};
            three = three << 8U | byte;
        }
        std::size_t const letters = std::min<std::size_t>(bytes.size() - i, 3) + 1;
        for (std::size_t k = 0; k < 4; ++k)
        {
            text += k < letters ? LETTERS[three >> (18U - 6U * k) & 63U] : '=';
        }
    }
    return text;
}

std::string policy_hash(std::string const& hex)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    {
        bytes += static_cast<char>(std::stoul(hex.substr(i, 2), nullptr, 16));
    }
    return "'sha256-" + base64(bytes) + "'";
}

} // namespace veld
