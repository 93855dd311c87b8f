#pragma once

#include "algorithmVeld/common/export.h"

#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

/// Lists directories by wide names. It has no state.
///
/// A path in a list is the directory as it was given, "/" and the entry's name as the system gives
/// it; names rise in each list. An empty directory name stands for the root. The list is empty for
/// a directory that is not there or cannot be read, and lacks entries whose names are no text
/// (where the system's names are bytes, they have to be UTF-8).
///
/// With `verbose` a line "browse DIR" goes to the log and is printed past it; the log switch of
/// `gPH` does not matter.
class ALGORITHMVELD_API WinCallWrapper
{
public:
    WinCallWrapper() = default;
    WinCallWrapper(WinCallWrapper const&) {}
    WinCallWrapper& operator=(WinCallWrapper const&) { return *this; }
    ~WinCallWrapper() = default;

    /// The subdirectories, and links to directories; not "." and "..".
    static std::vector<std::wstring> get_dir_arr(std::wstring const& dir, bool verbose);

    /// The files, and whatever else is no directory, whose names end in `ext` and have something
    /// before it.
    /// \param dir the directory
    /// \param ext the end of the name in lower case ("A" to "Z" of the name count as "a" to "z");
    ///        with "A" to "Z" in it nothing matches
    /// \param verbose whether to log
    static std::vector<std::wstring> get_file_arr(std::wstring const& dir, std::wstring const& ext,
                                                  bool verbose);

    /// The same, of which only those paths stay that begin with `prefix`.
    /// \param dir,ext,verbose as above
    /// \param prefix is compared with the whole path, so it begins with the directory
    static std::vector<std::wstring> get_file_arr(std::wstring const& dir,
                                                  std::wstring const& prefix,
                                                  std::wstring const& ext, bool verbose);

    /// Turns "A" to "Z" into "a" to "z"; nothing else changes.
    static void wstring_to_lower(std::wstring& text);
};

} // namespace OrvaneAlgorithm
