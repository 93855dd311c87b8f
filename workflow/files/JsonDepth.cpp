#include "workflow/files/JsonDepth.h"

namespace veld
{

bool is_nested_too_deeply(std::string_view json)
{
    std::size_t depth = 0;
    bool is_in_text = false;
    for (std::size_t i = 0; i < json.size(); ++i)
    {
        char const c = json[i];
        if (is_in_text)
        {
            // What stands behind a backslash does not end the text.
            i += c == '\\' ? 1 : 0;
            is_in_text = c != '"';
        }
        else if (c == '"')
        {
            is_in_text = true;
        }
        else if (c == '[' || c == '{')
        {
            if (++depth > DEEPEST_JSON)
            {
                return true;
            }
        }
        else if ((c == ']' || c == '}') && depth > 0)
        {
            --depth;
        }
    }
    return false;
}

} // namespace veld
