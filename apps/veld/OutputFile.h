#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// A file under a temporary name beside its final one. It goes with its scope unless it was
/// committed, so an output appears whole or not at all.
class OutputFile
{
public:
    /// \param path the final name. The temporary one has the same extension.
    explicit OutputFile(std::string const& path);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    /// Where to write.
    std::string temporary() const { return temporary_.string(); }

    /// Gives the file its final name.
    void commit();

private:
    std::filesystem::path final_;
    std::filesystem::path temporary_;
};

/// Refuses outputs that cannot be written, that are no plain files, or that are one of the inputs
/// or each other. Called before the work, so that an hour of it is not lost on a typing error.
void check_outputs(std::vector<std::string> const& outputs, std::vector<std::string> const& inputs);

/// Refuses an output whose extension is none of the given ones (".ply", in either case).
void check_extension(std::string const& path, std::vector<std::string> const& extensions);

/// Writes a text file as a whole or not at all.
void write_text_file(std::string const& path, std::string const& text);

} // namespace veld
