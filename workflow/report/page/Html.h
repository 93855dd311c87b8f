#pragma once

#include <string>

/// \file
/// Texts and bytes as parts of a page.

namespace veld
{

/// A text as it stands between tags and in quoted attributes.
std::string html_text(std::string const& text);

/// JSON as it stands inside of a script element: no text in it can end that.
std::string json_in_script(std::string json);

/// Bytes as base64, with padding.
std::string base64(std::string const& bytes);

/// A SHA-256 sum in hexadecimal digits as a content security policy has it: "'sha256-…'".
std::string policy_hash(std::string const& hex);

} // namespace veld
