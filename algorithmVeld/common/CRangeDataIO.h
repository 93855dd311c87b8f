#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/export.h"

#include <string>
#include <system_error>

namespace OrvaneAlgorithm
{

/// Frame files with the extension `.rge`: a versioned little-endian header, all members of a
/// `RangeData`, and a checksum. docs/rge-format.md tells them byte by byte.
class ALGORITHMVELD_API CRangeDataIO
{
public:
    /// Reads a frame. A file that is missing, foreign, damaged or cut off leaves `frame` empty, and
    /// memory is taken only for what the file really holds.
    ///
    /// The channels come as they were written, whatever their lengths and values: ask `is_legal()`
    /// about files from elsewhere.
    /// \return 0 on success; 1 the file cannot be opened; 2 it is no frame file or a newer version;
    ///         3 it is damaged, or its grid has more than 2^28 cells
    static int read_rge(std::wstring const& path, RangeData& frame);
    /// The same, with a reason in words; empty on success.
    static int read_rge(std::wstring const& path, RangeData& frame, std::string& reason);

    /// Writes a frame. An existing file is replaced only by a complete one.
    /// \return 0 on success; 1 the file cannot be written, the frame's data is swapped out, or the
    ///         grid has a negative side or more than 2^28 cells
    static int write_rge(std::wstring const& path, RangeData const& frame);
    /// The same, with why the system did not write; none where that was not it.
    static int write_rge(std::wstring const& path, RangeData const& frame, std::error_code& error);
};

} // namespace OrvaneAlgorithm
