#include "workflow/files/Checksum.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "algorithmVeld/common/running/Progress.h"

#include <fmt/format.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstdint>
#include <fstream>
#include <vector>

namespace veld
{

namespace
{

constexpr std::size_t BLOCK = std::size_t{1} << 20U;

} // namespace

struct Checksum::State
{
    XXH3_state_t xxh3;
};

Checksum::Checksum() : state_(std::make_unique<State>())
{
    XXH3_128bits_reset(&state_->xxh3);
}

Checksum::~Checksum() = default;

void Checksum::add_bytes(void const* data, std::size_t n)
{
    XXH3_128bits_update(&state_->xxh3, data, n);
}

Checksum& Checksum::add(std::string const& text)
{
    std::string const length = std::to_string(text.size()) + ":";
    add_bytes(length.data(), length.size());
    add_bytes(text.data(), text.size());
    return *this;
}

Checksum& Checksum::add_file(std::filesystem::path const& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        throw InputError(shown(path) + ": cannot be read");
    }
    std::vector<char> block(BLOCK);
    std::uint64_t size = 0;
    while (stream)
    {
        OrvaneAlgorithm::detail::poll_cancel();
        stream.read(block.data(), static_cast<std::streamsize>(block.size()));
        add_bytes(block.data(), static_cast<std::size_t>(stream.gcount()));
        size += static_cast<std::uint64_t>(stream.gcount());
    }
    if (stream.bad())
    {
        throw InputError(shown(path) + ": cannot be read");
    }
    return add(std::to_string(size));
}

std::string Checksum::text() const
{
    XXH128_hash_t const sum = XXH3_128bits_digest(&state_->xxh3);
    return fmt::format("{:016x}{:016x}", sum.high64, sum.low64);
}

std::string checksum_of(std::filesystem::path const& path)
{
    return Checksum().add_file(path).text();
}

} // namespace veld
