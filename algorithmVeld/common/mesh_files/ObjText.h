#pragma once

#include "algorithmVeld/common/vectors.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A partial model, written by hand as text OBJ. Indices are one-based and taken as they are given.
/// Nothing happens where the file could not be opened.
class ObjText
{
public:
    explicit ObjText(std::string const& path) : file_(std::fopen(path.c_str(), "wt")) {}

    bool is_open() const { return file_ != nullptr; }

    void vertex_count(int n) { print("# Number of vertices: %d\n", n); }
    void triangle_count(int n) { print("# Number of triangles: %d\n", n); }
    void end_of_file() { print("# end of file\n"); }

    void vertex(Vector3f const& p) { print("v %f %f %f\n", wide(p.x()), wide(p.y()), wide(p.z())); }

    /// \param red,green,blue 0 to 255
    void vertex(Vector3f const& p, int red, int green, int blue)
    {
        print("v %f %f %f %d %d %d\n", wide(p.x()), wide(p.y()), wide(p.z()), red, green, blue);
    }

    void triangle(int a, int b, int c) { print("f %d %d %d\n", a, b, c); }

    void polygon(std::vector<int> const& corners)
    {
        print("f");
        for (int const corner : corners)
        {
            print(" %d", corner);
        }
        print("\n");
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

    static double wide(float value) { return static_cast<double>(value); }

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

    std::unique_ptr<std::FILE, Close> file_;
};

} // namespace OrvaneAlgorithm::detail
