#include "algorithmVeld/common/BaseData.h"

#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/files/wide_path.h"

#include <filesystem>
#include <system_error>

namespace OrvaneAlgorithm
{

namespace detail
{

/// A temporary file that goes with the last object whose data is in it.
class SwapFile
{
public:
    explicit SwapFile(std::wstring name) : name_(std::move(name)) {}
    ~SwapFile()
    {
        std::error_code ignored;
        std::filesystem::remove(path_from_wide(name_), ignored);
    }
    SwapFile(SwapFile const&) = delete;
    SwapFile& operator=(SwapFile const&) = delete;

    std::wstring const& name() const { return name_; }

private:
    std::wstring name_;
};

} // namespace detail

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

BaseData::BaseData(BaseData const& other) : swap_file_(other.swap_file_) {}

BaseData& BaseData::operator=(BaseData const& other)
{
    if (this != &other)
    {
        drop_swap_file();
        swap_file_ = other.swap_file_;
    }
    return *this;
}

BaseData::~BaseData() = default;

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
    std::wstring name = get_temp_full_name();
    if (name == lent_name_)
    {
        name = unused_temp_name();
    }
    detail::BinaryWriter writer(detail::path_from_wide(name));
    writer.scalar(SWAP_MAGIC);
    write(writer);
    if (!writer.finish())
    {
        return false;
    }
    swap_file_ = std::make_shared<detail::SwapFile>(std::move(name));
    return true;
}

bool BaseData::read_swap_file(std::function<void(detail::BinaryReader&)> const& read)
{
    bool complete = false;
    {
        detail::BinaryReader reader(detail::path_from_wide(swap_file_->name()));
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
    // Only an owner that is alone knows when the file is gone and its name is free.
    if (swap_file_.use_count() > 1)
    {
        lent_name_ = swap_file_->name();
        temp_full_name_.clear();
    }
    swap_file_.reset();
}

} // namespace OrvaneAlgorithm
