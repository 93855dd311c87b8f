#pragma once

#include "algorithmVeld/common/running/Progress.h"

#include <exception>
#include <ostream>
#include <streambuf>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Hands on what is written to it, and tells progress, until the run is cancelled: from then on it
/// fails. For writers of others, which know nothing of runs, and through which no exception gets.
class StoppableBuffer : public std::streambuf
{
public:
    /// \param size about how many bytes will come
    StoppableBuffer(std::streambuf& target, std::size_t size)
        : target_(target), block_(std::size_t{1} << 16U), progress_(size)
    {
        setp(block_.data(), block_.data() + block_.size());
    }

    /// Throws what ended the writing, if anything did.
    void rethrow() const
    {
        if (exception_)
        {
            std::rethrow_exception(exception_);
        }
    }

protected:
    int_type overflow(int_type c) override
    {
        if (!hand_on())
        {
            return traits_type::eof();
        }
        return traits_type::eq_int_type(c, traits_type::eof())
                   ? traits_type::not_eof(c)
                   : sputc(traits_type::to_char_type(c));
    }
    int sync() override { return hand_on() && target_.pubsync() == 0 ? 0 : -1; }

private:
    bool hand_on()
    {
        auto const n = pptr() - pbase();
        if (exception_ || target_.sputn(pbase(), n) != n)
        {
            return false;
        }
        setp(block_.data(), block_.data() + block_.size());
        try
        {
            progress_.advance(static_cast<std::size_t>(n));
        }
        catch (...)
        {
            exception_ = std::current_exception();
        }
        return !exception_;
    }

    std::streambuf& target_;
    std::vector<char> block_;
    Progress progress_;
    std::exception_ptr exception_;
};

/// Calls `write(stream)` with a stream to another one's target that fails when the run is
/// cancelled.
/// \param size about how many bytes will come
/// \return what `write` returned; the target tells whether it took everything
template <typename Write>
bool write_stoppably(std::ostream& target, std::size_t size, Write const& write)
{
    StoppableBuffer buffer(*target.rdbuf(), size);
    std::ostream stream(&buffer);
    stream.imbue(target.getloc());
    bool const written = write(stream);
    stream.flush();
    buffer.rethrow();
    target.setstate(stream.rdstate());
    return written;
}

} // namespace OrvaneAlgorithm::detail
