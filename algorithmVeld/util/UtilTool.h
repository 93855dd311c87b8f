#pragma once

#include "algorithmVeld/common/export.h"

#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

/// Names of files and of numbered series of files. It has no state; its two classes do the work.
class ALGORITHMVELD_API UtilTool
{
public:
    class DirDesc;
    class FileSeriesDesc;

    UtilTool() = default;
    UtilTool(UtilTool const&) {}
    UtilTool& operator=(UtilTool const&) { return *this; }
    ~UtilTool() = default;
};

/// Takes names apart. It has no state.
class ALGORITHMVELD_API UtilTool::DirDesc
{
public:
    /// Splits a path at its last point and at the last separator before that: the last backslash,
    /// or the last slash where there is no backslash.
    ///
    /// The last point counts wherever it stands: "a.b/c" is the name "a" with the extension ".b/c".
    /// \param path to be split
    /// \param dir the directory, without the separator behind it; empty if there is none
    /// \param name what lies between the separator and the point
    /// \param ext the point and all behind it
    /// \return false, with the three texts empty, for a path without a point
    static bool extractPathTag(std::string const& path, std::string& dir, std::string& name,
                               std::string& ext);

    /// Finds the first number in a text: its first run of the digits 0 to 9. A sign does not count.
    /// \param text to be searched
    /// \param number the value; the largest `int` for a run whose value is larger
    /// \param digits the run itself, leading zeros included
    /// \return false, with both as they were, for a text without a digit
    static bool extract_num(std::string const& text, int& number, std::string& digits);
};

/// A series of files that differ in a number: `parent`/`prefix``number``suffix`.
///
/// All texts are kept narrow and wide, and only `set_name_info` sets both: the other setters leave
/// the other width as it was. A conversion takes character for character, so a narrow text has to
/// be ASCII for a wide name that means the same, and the other way round.
class ALGORITHMVELD_API UtilTool::FileSeriesDesc
{
public:
    /// Sets the narrow directory.
    void set_parentDir(std::string const& parent) { parent_dir_ = parent; }
    /// Sets the wide directory.
    void set_parentDir(std::wstring const& parent) { wide_parent_dir_ = parent; }
    /// Sets the narrow text in front of the number.
    void set_filenamePrefix(std::string const& prefix) { prefix_ = prefix; }
    /// Sets the wide text in front of the number.
    void set_filenamePrefix(std::wstring const& prefix) { wide_prefix_ = prefix; }
    /// Sets the narrow text behind the number.
    void set_filenameSuffix(std::string const& suffix) { suffix_ = suffix; }
    /// Sets the wide text behind the number.
    void set_filenameSuffix(std::wstring const& suffix) { wide_suffix_ = suffix; }
    /// Sets the numbers, one for each file.
    void set_fileNumArr(std::vector<int> const& numbers) { fileNumArr = numbers; }

    /// Sets the three texts in both widths.
    void set_name_info(std::string const& parent, std::string const& prefix,
                       std::string const& suffix);
    /// The same from wide texts.
    void set_name_info(std::wstring const& parent, std::wstring const& prefix,
                       std::wstring const& suffix);

    /// Replaces `names` by one path for each number, in their order, made of the texts of its
    /// width.
    void get_filenames(std::vector<std::string>& names) const;
    /// The same with wide texts.
    void get_filenames(std::vector<std::wstring>& names) const;

private:
    std::string parent_dir_;
    std::wstring wide_parent_dir_;
    std::string prefix_;
    std::wstring wide_prefix_;
    std::string suffix_;
    std::wstring wide_suffix_;
    std::vector<int> fileNumArr;
};

} // namespace OrvaneAlgorithm
