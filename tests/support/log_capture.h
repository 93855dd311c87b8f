#pragma once

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "tests/support/count_of.h"

#include <string>

namespace veld_test
{

/// Collects what the library logs in a scope, and puts the log switch, the directories and the sink
/// back at its end.
class LogCapture
{
public:
    explicit LogCapture(bool log_enabled = true) : before_(OrvaneAlgorithm::gPH)
    {
        OrvaneAlgorithm::gPH.log_enabled = log_enabled;
        OrvaneAlgorithm::gLH.set_sink([this](std::string const& text) { text_ += text; });
    }
    ~LogCapture()
    {
        OrvaneAlgorithm::gLH.set_sink({});
        OrvaneAlgorithm::gPH = before_;
    }
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;

    std::string const& text() const { return text_; }

    /// How often a piece of text was logged.
    int count(std::string const& piece) const { return count_of(text_, piece); }

private:
    OrvaneAlgorithm::ParamHolder before_;
    std::string text_;
};

} // namespace veld_test
