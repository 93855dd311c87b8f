#include "algorithmVeld/common/BaseData.h"

#include <atomic>
#include <filesystem>
#include <random>
#include <system_error>

namespace OrvaneAlgorithm
{

namespace
{

/// A name that no other object of any process has.
std::wstring unused_temp_name()
{
    static std::atomic<unsigned> count{0};
    static unsigned const process = std::random_device{}();
    std::error_code error;
    std::filesystem::path directory = std::filesystem::temp_directory_path(error);
    std::filesystem::path const name =
        "algorithmVeld-" + std::to_string(process) + "-" + std::to_string(count++) + ".tmp";
    return (error ? name : directory / name).wstring();
}

} // namespace

BaseData::BaseData(BaseData const&) {}

BaseData& BaseData::operator=(BaseData const& other)
{
    if (this != &other)
    {
        set_swapped_out(false);
    }
    return *this;
}

BaseData::~BaseData()
{
    set_swapped_out(false);
}

const std::wstring BaseData::get_temp_full_name()
{
    if (temp_full_name_.empty())
    {
        temp_full_name_ = unused_temp_name();
    }
    return temp_full_name_;
}

void BaseData::set_swapped_out(bool swapped_out)
{
    if (swapped_out_ && !swapped_out)
    {
        std::error_code ignored;
        std::filesystem::remove(temp_full_name_, ignored);
    }
    swapped_out_ = swapped_out;
}

} // namespace OrvaneAlgorithm
