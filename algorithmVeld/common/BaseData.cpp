#include "algorithmVeld/common/BaseData.h"

#include "algorithmVeld/common/detail/BinaryFile.h"
#include "algorithmVeld/common/detail/wide_path.h"

#include <filesystem>
#include <system_error>

namespace OrvaneAlgorithm
{

namespace
{

/// Tells a swap file from any other one, and the layout of this version.
constexpr std::uint32_t SWAP_MAGIC = 0x50575356;

/// A name that no other object of any process has.
std::wstring unused_temp_name()
{
    std::error_code error;
    std::filesystem::path const directory = std::filesystem::temp_directory_path(error);
    std::filesystem::path const name = "algorithmVeld-" + detail::unique_file_suffix() + ".tmp";
    return detail::wide_from_path(error ? name : directory / name);
}

} // namespace

BaseData::BaseData(BaseData const& /*other*/) {}

BaseData& BaseData::operator=(BaseData const& other)
{
    if (this != &other)
    {
        drop_swap_file();
    }
    return *this;
}

BaseData::~BaseData()
{
    drop_swap_file();
}

const std::wstring BaseData::get_temp_full_name()
{
    if (temp_full_name_.empty())
    {
        temp_full_name_ = unused_temp_name();
    }
    return temp_full_name_;
}

bool BaseData::write_swap_file(std::function<void(detail::BinaryWriter&)> const& write)
{
    std::wstring file = get_temp_full_name();
    detail::BinaryWriter writer(detail::path_from_wide(file));
    writer.scalar(SWAP_MAGIC);
    write(writer);
    if (!writer.finish())
    {
        return false;
    }
    swap_file_ = std::move(file);
    return true;
}

bool BaseData::read_swap_file(std::function<void(detail::BinaryReader&)> const& read)
{
    bool complete = false;
    {
        detail::BinaryReader reader(detail::path_from_wide(swap_file_));
        if (reader.scalar<std::uint32_t>() != SWAP_MAGIC)
        {
            reader.fail();
        }
        read(reader);
        complete = reader.finish();
    }
    drop_swap_file();
    return complete;
}

void BaseData::drop_swap_file()
{
    if (is_swapped_out())
    {
        std::error_code ignored;
        std::filesystem::remove(detail::path_from_wide(swap_file_), ignored);
        swap_file_.clear();
    }
}

} // namespace OrvaneAlgorithm
