#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace OrvaneAlgorithm::detail
{

/// A text file that is printed line by line, for diagnosis. Nothing happens where it could not be
/// opened.
class PrintedFile
{
public:
    explicit PrintedFile(std::string const& path) : file_(std::fopen(path.c_str(), "wt")) {}

    bool is_open() const { return file_ != nullptr; }

    void print(char const* text)
    {
        if (file_)
        {
            std::fputs(text, file_.get());
        }
    }

    template <typename... Arguments>
    void print(char const* format, Arguments... arguments)
    {
        if (file_)
        {
            std::fprintf(file_.get(), format, arguments...);
        }
    }

    /// Ends the file. \return false if it could not be opened or not be written as a whole
    bool close()
    {
        auto* const file = file_.release();
        if (file == nullptr)
        {
            return false;
        }
        bool const written = std::ferror(file) == 0;
        return std::fclose(file) == 0 && written;
    }

private:
    struct Close
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, Close> file_;
};

} // namespace OrvaneAlgorithm::detail
