#include "algorithmVeld/common/mesh_files/StoppableStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace OrvaneAlgorithm;
using detail::write_stoppably;

namespace
{

/// Takes as many bytes as there is room for, as a disk does.
class FullDisk : public std::streambuf
{
public:
    explicit FullDisk(std::size_t room) : room_(room) {}

    std::string const& taken() const { return taken_; }

protected:
    std::streamsize xsputn(char const* bytes, std::streamsize n) override
    {
        auto const fits = std::min(static_cast<std::size_t>(n), room_ - taken_.size());
        taken_.append(bytes, fits);
        return static_cast<std::streamsize>(fits);
    }

private:
    std::size_t room_;
    std::string taken_;
};

/// More than a few blocks, with a pattern that shows what is missing or twice.
std::string numbers_as_text(int n)
{
    std::string text;
    for (int i = 0; i < n; ++i)
    {
        text += std::to_string(i) + '\n';
    }
    return text;
}

bool starts_with(std::string const& text, std::string const& start)
{
    return text.compare(0, start.size(), start) == 0;
}

} // namespace

TEST(StoppableStream, HandsOnEveryByteAndTellsProgressUpToTheEnd)
{
    std::string const text = numbers_as_text(50000);
    std::ostringstream target;
    std::vector<double> told;
    RunScope const run(CancelToken(), [&](double fraction) { told.push_back(fraction); });
    EXPECT_TRUE(write_stoppably(target, text.size(),
                                [&](std::ostream& stream)
                                {
                                    for (char const c : text.substr(0, 100000))
                                    {
                                        stream.put(c);
                                    }
                                    return bool(stream << text.substr(100000));
                                }));
    EXPECT_EQ(target.str(), text);
    EXPECT_TRUE(target.good());
    ASSERT_GT(told.size(), 2U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), 1.0);
}

TEST(StoppableStream, ATargetThatIsFullFailsForTheWriterAndForWhoGaveIt)
{
    std::string const text = numbers_as_text(50000);
    FullDisk disk(100000);
    std::ostream target(&disk);
    EXPECT_FALSE(write_stoppably(target, text.size(),
                                 [&](std::ostream& stream) { return bool(stream << text); }));
    EXPECT_FALSE(target.good());
    EXPECT_EQ(disk.taken(), text.substr(0, 100000));
}

TEST(StoppableStream, ATargetThatIsFullOnlyAtTheEndIsSeenToo)
{
    // The writer is done before anything has been handed on.
    FullDisk disk(3);
    std::ostream target(&disk);
    EXPECT_TRUE(
        write_stoppably(target, 5, [](std::ostream& stream) { return bool(stream << "12345"); }));
    EXPECT_FALSE(target.good());
    EXPECT_EQ(disk.taken(), "123");
}

TEST(StoppableStream, WhatWasCancelledMeansNothingIsTakenAnyMore)
{
    std::string const text = numbers_as_text(50000);
    CancelToken const token;
    RunScope const run(token);
    std::ostringstream target;
    bool has_failed = false;
    auto const write = [&](std::ostream& stream)
    {
        stream << text.substr(0, 100000);
        EXPECT_TRUE(stream.good());
        token.cancel();
        stream << text.substr(100000);
        has_failed = stream.fail();
        stream << "more";
        return true;
    };
    EXPECT_THROW(write_stoppably(target, text.size(), write), Cancelled);
    EXPECT_TRUE(has_failed);
    EXPECT_LT(target.str().size(), text.size());
    EXPECT_TRUE(starts_with(text, target.str()));
}

TEST(StoppableStream, WhatTheSinkOfProgressThrowsGoesAroundTheWriter)
{
    std::string const text = numbers_as_text(50000);
    RunScope const run(CancelToken(), [](double) { throw std::runtime_error("no more"); });
    std::ostringstream target;
    bool has_ended = false;
    auto const write = [&](std::ostream& stream)
    {
        stream << text;
        has_ended = true;
        return true;
    };
    EXPECT_THROW(write_stoppably(target, text.size(), write), std::runtime_error);
    EXPECT_TRUE(has_ended);
}
