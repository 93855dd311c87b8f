#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/Numbers.h"
#include "workflow/photos/cameras/CameraLists.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

/// \file
/// A COLMAP model as text: `cameras.txt` with one camera a line, and `images.txt` with two lines
/// for each photograph, of which the second lists points and may be empty. `#` begins a line of
/// comment.

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::Vector3d;

namespace
{

/// The centre of the top left pixel there; it is (0, 0) here.
constexpr double PIXEL_CENTRE = 0.5;

struct ModelCamera
{
    std::string model;
    int width = 0;
    int height = 0;
    std::vector<double> params;
};

/// A text file line by line and word by word, with the place that messages name.
class ModelText
{
public:
    explicit ModelText(fs::path const& path) : name_(shown(path)), stream_(open_input(path)) {}

    /// \return false at the end of the file
    bool next_line()
    {
        if (!std::getline(stream_, line_))
        {
            if (stream_.bad())
            {
                throw InputError(name_ + ": cannot be read");
            }
            return false;
        }
        ++number_;
        rest_ = line_;
        return true;
    }

    /// Goes to the next line that holds something else than a comment. \return false if there is
    /// none
    bool next_entry()
    {
        while (next_line())
        {
            if (!rest().empty() && rest().front() != '#')
            {
                return true;
            }
        }
        return false;
    }

    /// What is left of the line, without the blanks around it.
    std::string_view rest() const
    {
        auto const begin = rest_.find_first_not_of(BLANKS);
        return begin == std::string_view::npos
                   ? std::string_view()
                   : rest_.substr(begin, rest_.find_last_not_of(BLANKS) + 1 - begin);
    }

    /// The next word, empty at the line's end.
    std::string next_word()
    {
        rest_ = rest();
        std::string word(rest_.substr(0, rest_.find_first_of(BLANKS)));
        rest_.remove_prefix(word.size());
        return word;
    }

    double number(char const* what)
    {
        double value = 0.0;
        if (!parse_number(next_word(), value))
        {
            refuse(std::string(what) + " has to be a number");
        }
        return value;
    }

    int id(char const* what)
    {
        int value = 0;
        if (!parse_number(next_word(), value) || value < 0)
        {
            refuse(std::string(what) + " has to be a whole number");
        }
        return value;
    }

    int side(char const* what)
    {
        int value = 0;
        if (!parse_number(next_word(), value) || value < 1 || value > LONGEST_PHOTO_SIDE)
        {
            refuse(
                fmt::format("{} has to be a whole number from 1 to {}", what, LONGEST_PHOTO_SIDE));
        }
        return value;
    }

    std::string place() const { return fmt::format("{}: line {}: ", name_, number_); }

    [[noreturn]] void refuse(std::string const& reason) const
    {
        throw InputError(place() + reason);
    }

private:
    static constexpr char const* BLANKS = " \t\r";

    std::string name_;
    std::ifstream stream_;
    std::string line_;
    std::string_view rest_;
    int number_ = 0;
};

std::map<int, ModelCamera> read_cameras(fs::path const& path)
{
    ModelText text(path);
    std::map<int, ModelCamera> cameras;
    while (text.next_entry())
    {
        int const id = text.id("the number of the camera");
        ModelCamera camera;
        camera.model = text.next_word();
        camera.width = text.side("the width");
        camera.height = text.side("the height");
        while (!text.rest().empty())
        {
            camera.params.push_back(text.number("each parameter"));
        }
        if (!cameras.emplace(id, std::move(camera)).second)
        {
            text.refuse(fmt::format("camera {} is there twice", id));
        }
    }
    return cameras;
}

CameraInParam intrinsics_of(ModelCamera const& camera, std::string const& place)
{
    bool const has_one_focal_length = camera.model == "SIMPLE_PINHOLE";
    if (!has_one_focal_length && camera.model != "PINHOLE")
    {
        throw InputError(fmt::format(
            "{}its camera has the model {}, with lens distortion or of another kind; undistort "
            "the photographs first (colmap image_undistorter) and give the model that this "
            "writes, as text",
            place, shown(camera.model)));
    }
    std::size_t const n_params = has_one_focal_length ? 3 : 4;
    if (camera.params.size() != n_params)
    {
        throw InputError(fmt::format("{}its camera needs {} parameters for the model {} and has {}",
                                     place, n_params, camera.model, camera.params.size()));
    }
    auto const* const centre = camera.params.data() + n_params - 2;
    return {camera.params[0], has_one_focal_length ? camera.params[0] : camera.params[1],
            centre[0] - PIXEL_CENTRE, centre[1] - PIXEL_CENTRE};
}

RigidMatrix read_pose(ModelText& text)
{
    std::array<double, 7> values{};
    std::transform(values.begin(), values.end(), values.begin(),
                   [&text](double) { return text.number("each number of the pose"); });
    Eigen::Vector4d const turn(values[0], values[1], values[2], values[3]);
    double const length = turn.stableNorm();
    if (!(length > 0.0) || !std::isfinite(length))
    {
        text.refuse("its quaternion is no rotation");
    }
    Eigen::Quaterniond const rotation(turn[0] / length, turn[1] / length, turn[2] / length,
                                      turn[3] / length);
    RigidMatrix pose;
    pose.set_rotation(rotation.toRotationMatrix());
    pose.set_translation(Vector3d(values[4], values[5], values[6]));
    return pose;
}

/// Goes over the line of points, which is there for every photograph, if only as an empty line.
void skip_points(ModelText& text)
{
    if (!text.next_line())
    {
        return;
    }
    std::size_t words = 0;
    bool are_numbers = true;
    for (auto word = text.next_word(); !word.empty(); word = text.next_word())
    {
        double number = 0.0;
        are_numbers = are_numbers && parse_number(word, number);
        ++words;
    }
    if (!are_numbers || words % 3 != 0)
    {
        text.refuse("is no line of points (X Y POINT3D_ID ...), which has to follow the line of "
                    "each photograph, empty if there are none");
    }
}

/// Where the photographs of a model are: beside it, or where COLMAP has them. The first folder
/// that has one of them, so that one that is missing is missed there.
fs::path folder_of_photos(fs::path const& model, std::vector<PhotoView> const& views)
{
    for (fs::path const& folder :
         {model, model / "images", model / ".." / "images", model / ".." / ".." / "images"})
    {
        auto const is_there = [&folder](PhotoView const& view)
        {
            std::error_code error;
            return fs::exists(folder / view.image, error);
        };
        if (std::any_of(views.begin(), views.end(), is_there))
        {
            return folder.lexically_normal();
        }
    }
    return model;
}

/// The view of a line of `images.txt`, behind its number.
PhotoView read_view(ModelText& text, std::map<int, ModelCamera> const& cameras)
{
    PhotoView view;
    view.pose = read_pose(text);
    int const id = text.id("the number of the camera");
    view.image = text.rest(); // which may hold blanks
    if (view.image.empty())
    {
        text.refuse("the name of the photograph is missing");
    }
    if (!is_file_name(view.image))
    {
        text.refuse("the name of the photograph is none of a file");
    }
    auto const camera = cameras.find(id);
    if (camera == cameras.end())
    {
        text.refuse(fmt::format("{}: camera {} is not in cameras.txt", shown(view.image), id));
    }
    std::string const place = text.place() + shown(view.image) + ": ";
    view.width = camera->second.width;
    view.height = camera->second.height;
    view.intrinsics = intrinsics_of(camera->second, place);
    check_camera(view, place);
    return view;
}

} // namespace

std::vector<PhotoView> read_colmap_model(fs::path const& folder)
{
    auto const cameras = read_cameras(folder / "cameras.txt");
    ModelText text(folder / "images.txt");
    std::vector<PhotoView> views;
    std::set<int> ids;
    while (text.next_entry())
    {
        int const id = text.id("the number of the photograph");
        if (!ids.insert(id).second)
        {
            text.refuse(fmt::format("photograph {} is there twice", id));
        }
        views.push_back(read_view(text, cameras));
        skip_points(text);
    }
    if (views.empty())
    {
        throw InputError(shown(folder / "images.txt") + ": has no photograph");
    }
    fs::path const photos = folder_of_photos(folder, views);
    for (auto& view : views)
    {
        view.file = photos / view.image;
    }
    return views;
}

} // namespace veld
