#pragma once

#include "algorithmVeld/common/LogHolder.h"
#include "tests/support/count_of.h"

#include <string>

namespace veld_test
{

/// Collects what the library prints past the log in a scope, which so stays off standard output. At
/// its end no steps are left, for a series of balls that ends early leaves one running.
class PrintCapture
{
public:
    PrintCapture()
    {
        OrvaneAlgorithm::gLH.set_print_sink([this](std::string const& text) { text_ += text; });
    }
    ~PrintCapture()
    {
        OrvaneAlgorithm::gLH.set_print_sink({});
        OrvaneAlgorithm::gLH.clear_steps();
    }
    PrintCapture(PrintCapture const&) = delete;
    PrintCapture& operator=(PrintCapture const&) = delete;

    std::string const& text() const { return text_; }

    /// How often a piece of text was printed.
    int count(std::string const& piece) const { return count_of(text_, piece); }

private:
    std::string text_;
};

} // namespace veld_test
