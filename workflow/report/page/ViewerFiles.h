#pragma once

#include <string>

namespace veld
{

/// What every page has in it: `viewer/dist/viewer.js` and `viewer/page.css`, put in here by the
/// build, with their SHA-256 sums in hexadecimal digits.
struct ViewerFile
{
    std::string content;
    std::string sha256;
};

ViewerFile viewer_script();
ViewerFile page_style();

} // namespace veld
