#pragma once

#include "algorithmVeld/common/LogHolder.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace veld_test
{

/// The steps as "name(child child(...))", without times.
inline std::string outline(nlohmann::json const& steps)
{
    std::string text;
    for (auto const& step : steps)
    {
        text += (text.empty() ? "" : " ") + step["name"].get<std::string>();
        if (!step["children"].empty())
        {
            text += "(" + outline(step["children"]) + ")";
        }
    }
    return text;
}

inline std::string outline(OrvaneAlgorithm::LogHolder const& log)
{
    return outline(nlohmann::json::parse(log.steps_as_json()));
}

/// Forgets the steps that the library has timed so far, and hears of those that it starts and ends
/// in a scope: "+step/parent" and "-step/parent".
class StepsHeard
{
public:
    StepsHeard()
    {
        OrvaneAlgorithm::gLH.clear_steps();
        OrvaneAlgorithm::gLH.set_step_observer(
            [this](OrvaneAlgorithm::StepEvent const& event)
            { events_.push_back((event.started ? "+" : "-") + event.step + "/" + event.parent); });
    }
    ~StepsHeard() { OrvaneAlgorithm::gLH.set_step_observer({}); }
    StepsHeard(StepsHeard const&) = delete;
    StepsHeard& operator=(StepsHeard const&) = delete;

    std::vector<std::string> const& events() const { return events_; }

private:
    std::vector<std::string> events_;
};

} // namespace veld_test
