#include "algorithmVeld/common/BaseData.h"

#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/files/wide_path.h"
#include "algorithmVeld/common/running/Progress.h"

#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

namespace OrvaneAlgorithm
{

namespace detail
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
    std::filesystem::path const name = "algorithmVeld-" + unique_file_suffix() + ".tmp";
    return wide_from_path(error ? name : directory / name);
}

/// The names of all temporary files with data in them. Copies, moves and overrides can make an
/// object write while the file of the name it gives still has another one's data.
class TakenNames
{
public:
    /// The names of this process. They outlive every object, also one that lives to its end.
    static TakenNames& of_process()
    {
        static auto* const names = new TakenNames;
        return *names;
    }

    /// Takes the wanted name, or an unused one if somebody has it.
    std::wstring take(std::wstring wanted)
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        return *(names_.count(wanted) == 0 ? names_.insert(std::move(wanted)).first
                                           : names_.insert(unused_temp_name()).first);
    }

    void give_back(std::wstring const& name)
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        names_.erase(name);
    }

private:
    std::mutex mutex_;
    std::set<std::wstring> names_;
};

/// The name of a temporary file, taken for a scope.
class TakenName
{
public:
    explicit TakenName(std::wstring wanted)
        : name_(TakenNames::of_process().take(std::move(wanted)))
    {
    }
    ~TakenName() { TakenNames::of_process().give_back(name_); }
    TakenName(TakenName const&) = delete;
    TakenName& operator=(TakenName const&) = delete;

    std::filesystem::path path() const { return path_from_wide(name_); }

private:
    std::wstring name_;
};

} // namespace

/// A temporary file that goes with the last object whose data is in it.
class SwapFile
{
public:
    explicit SwapFile(std::wstring wanted) : name_(std::move(wanted)) {}
    ~SwapFile()
    {
        if (is_written_)
        {
            std::error_code ignored;
            std::filesystem::remove(path(), ignored);
        }
    }
    SwapFile(SwapFile const&) = delete;
    SwapFile& operator=(SwapFile const&) = delete;

    std::filesystem::path path() const { return name_.path(); }
    void set_written() { is_written_ = true; }

private:
    TakenName name_;
    bool is_written_ = false;
};

} // namespace detail

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

BaseData& BaseData::operator=(BaseData&& other) noexcept
{
    if (this != &other)
    {
        temp_full_name_ = std::exchange(other.temp_full_name_, {});
        swap_file_ = std::move(other.swap_file_);
    }
    return *this;
}

BaseData::~BaseData() = default;

const std::wstring BaseData::get_temp_full_name()
{
    if (temp_full_name_.empty())
    {
        temp_full_name_ = detail::unused_temp_name();
    }
    return temp_full_name_;
}

bool BaseData::write_swap_file(std::function<void(detail::BinaryWriter&)> const& write)
{
    auto file = std::make_shared<detail::SwapFile>(get_temp_full_name());
    detail::BinaryWriter writer(file->path());
    writer.scalar(detail::SWAP_MAGIC);
    write(writer);
    if (!writer.finish())
    {
        return false;
    }
    file->set_written();
    swap_file_ = std::move(file);
    return true;
}

bool BaseData::read_swap_file(std::function<void(detail::BinaryReader&)> const& read)
{
    // Not to be ended on the way: the data would be neither here nor there.
    detail::ContextScope const outside({});
    bool complete = false;
    {
        detail::BinaryReader reader(swap_file_->path());
        if (reader.scalar<std::uint32_t>() != detail::SWAP_MAGIC)
        {
            reader.fail();
        }
        read(reader);
        complete = reader.finish();
    }
    drop_swap_file();
    return complete;
}

void BaseData::exchange(BaseData& other) noexcept
{
    temp_full_name_.swap(other.temp_full_name_);
    swap_file_.swap(other.swap_file_);
}

void BaseData::drop_swap_file()
{
    // Only an owner that is alone knows that the file is gone now and its name is free.
    if (swap_file_.use_count() > 1)
    {
        temp_full_name_.clear();
    }
    swap_file_.reset();
}

} // namespace OrvaneAlgorithm
