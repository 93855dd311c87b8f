#include "algorithmVeld/common/LogHolder.h"

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace OrvaneAlgorithm
{

LogHolder gLH;

namespace
{

using Clock = std::chrono::steady_clock;

/// A step under one parent, with the time of all its laps.
struct Step
{
    std::string name;
    std::string parent;
    int laps = 0;
    double seconds = 0.0;
    int running = 0;
};

/// A lap that has not ended.
struct Lap
{
    std::size_t step;
    std::thread::id thread;
    Clock::time_point start;
};

/// UTF-8 of a code point.
void append_utf8(std::string& text, unsigned long code)
{
    if (code < 0x80)
    {
        text += static_cast<char>(code);
        return;
    }
    int const extra = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static unsigned char const lead[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(lead[extra] | (code >> (6 * extra)));
    for (int i = extra - 1; i >= 0; --i)
    {
        text += static_cast<char>(0x80 | ((code >> (6 * i)) & 0x3F));
    }
}

std::string to_utf8(wchar_t const* wide)
{
    std::string text;
    for (; *wide != L'\0'; ++wide)
    {
        auto code = static_cast<unsigned long>(*wide);
        bool const is_pair = sizeof(wchar_t) == 2 && code >= 0xD800 && code < 0xDC00 &&
                             wide[1] >= 0xDC00 && wide[1] < 0xE000;
        if (is_pair)
        {
            ++wide;
            code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<unsigned long>(*wide) - 0xDC00);
        }
        append_utf8(text, code <= 0x10FFFF ? code : 0xFFFD);
    }
    return text;
}

std::string json_string(std::string const& text)
{
    std::string quoted = "\"";
    for (char const c : text)
    {
        if (c == '"' || c == '\\')
        {
            quoted += '\\';
            quoted += c;
        }
        else if (static_cast<unsigned char>(c) < 0x20)
        {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            quoted += code;
        }
        else
        {
            quoted += c;
        }
    }
    return quoted + '"';
}

/// The steps as a forest: each step's children in order of their first start.
class StepForest
{
public:
    explicit StepForest(std::deque<Step> const& steps) : steps_(steps), children_(steps.size())
    {
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            std::size_t const parent = parent_of(i);
            (parent == steps.size() ? roots_ : children_[parent]).push_back(i);
        }
    }

    std::vector<std::size_t> const& roots() const { return roots_; }
    std::vector<std::size_t> const& children(std::size_t i) const { return children_[i]; }

private:
    /// The first earlier step of the parent's name, or of a later one; a step is never made its own
    /// ancestor.
    std::size_t parent_of(std::size_t i) const
    {
        std::size_t const none = steps_.size();
        if (steps_[i].parent.empty())
        {
            return none;
        }
        for (std::size_t j = i; j-- > 0;)
        {
            if (steps_[j].name == steps_[i].parent)
            {
                return j;
            }
        }
        return none;
    }

    std::deque<Step> const& steps_;
    std::vector<std::vector<std::size_t>> children_;
    std::vector<std::size_t> roots_;
};

} // namespace

struct LogHolder::State
{
    std::mutex sink_mutex;
    std::function<void(std::string const&)> sink;

    std::mutex observer_mutex;
    std::function<void(StepEvent const&)> observer;

    std::mutex steps_mutex;
    std::deque<Step> steps;
    std::vector<Lap> laps;

    void write(std::string const& text)
    {
        std::lock_guard<std::mutex> const lock(sink_mutex);
        if (sink)
        {
            sink(text);
        }
        else
        {
            std::fwrite(text.data(), 1, text.size(), stdout);
        }
    }

    void tell(StepEvent const& event)
    {
        std::lock_guard<std::mutex> const lock(observer_mutex);
        if (observer)
        {
            observer(event);
        }
    }

    std::size_t find_or_add(std::string const& name, std::string const& parent)
    {
        auto const it = std::find_if(steps.begin(), steps.end(),
                                     [&](Step const& step)
                                     { return step.name == name && step.parent == parent; });
        if (it == steps.end())
        {
            steps.push_back({name, parent, 0, 0.0, 0});
            return steps.size() - 1;
        }
        return static_cast<std::size_t>(it - steps.begin());
    }

    /// Ends this thread's last lap of the step. \return false if there is none
    bool end_lap(std::string const& name, StepEvent& event)
    {
        auto const thread = std::this_thread::get_id();
        auto const lap = std::find_if(laps.rbegin(), laps.rend(),
                                      [&](Lap const& l)
                                      { return l.thread == thread && steps[l.step].name == name; });
        if (lap == laps.rend())
        {
            return false;
        }
        Step& step = steps[lap->step];
        event.parent = step.parent;
        event.seconds = std::chrono::duration<double>(Clock::now() - lap->start).count();
        step.seconds += event.seconds;
        ++step.laps;
        --step.running;
        laps.erase(std::next(lap).base());
        return true;
    }
};

LogHolder::LogHolder() : state_(std::make_unique<State>()) {}

LogHolder::~LogHolder() = default;

void LogHolder::print_log(char const* text)
{
    if (text != nullptr)
    {
        state_->write(text);
    }
}

bool LogHolder::LogPrintf(char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    int const length = format == nullptr ? -1 : std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text;
    if (length >= 0)
    {
        text.resize(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        text.pop_back();
    }
    va_end(again);
    if (length < 0)
    {
        return false;
    }
    state_->write(text);
    return true;
}

bool LogHolder::LogPrintf(wchar_t const* format, ...)
{
    if (format == nullptr)
    {
        return false;
    }
    // Wide formatting tells no length beforehand, so the buffer grows until the text fits.
    for (std::vector<wchar_t> buffer(512); buffer.size() <= (1U << 20);
         buffer.resize(buffer.size() * 4))
    {
        va_list arguments;
        va_start(arguments, format);
        int const length = std::vswprintf(buffer.data(), buffer.size(), format, arguments);
        va_end(arguments);
        if (length >= 0)
        {
            state_->write(to_utf8(buffer.data()));
            return true;
        }
    }
    return false;
}

void LogHolder::startSpecStepTimer(std::string const& step, std::string const& parent)
{
    {
        std::lock_guard<std::mutex> const lock(state_->steps_mutex);
        std::size_t const index = state_->find_or_add(step, parent);
        ++state_->steps[index].running;
        state_->laps.push_back({index, std::this_thread::get_id(), Clock::now()});
    }
    state_->tell({step, parent, true, 0.0});
}

void LogHolder::lapSpecStepTimer(std::string const& step)
{
    StepEvent event{step, {}, false, 0.0};
    bool ended = false;
    {
        std::lock_guard<std::mutex> const lock(state_->steps_mutex);
        ended = state_->end_lap(step, event);
    }
    if (ended)
    {
        state_->tell(event);
    }
}

void LogHolder::set_sink(std::function<void(std::string const&)> sink)
{
    std::lock_guard<std::mutex> const lock(state_->sink_mutex);
    state_->sink = std::move(sink);
}

void LogHolder::set_step_observer(std::function<void(StepEvent const&)> observer)
{
    std::lock_guard<std::mutex> const lock(state_->observer_mutex);
    state_->observer = std::move(observer);
}

std::string LogHolder::report_steps() const
{
    std::lock_guard<std::mutex> const lock(state_->steps_mutex);
    StepForest const forest(state_->steps);
    std::string report;
    std::function<void(std::size_t, int)> const add = [&](std::size_t i, int depth)
    {
        Step const& step = state_->steps[i];
        char numbers[64];
        std::snprintf(numbers, sizeof numbers, "%8d %12.6f s\n", step.laps, step.seconds);
        std::string name(static_cast<std::size_t>(depth) * 2, ' ');
        name += step.name;
        name.resize(std::max<std::size_t>(name.size(), 44), ' ');
        report += name + numbers;
        for (std::size_t const child : forest.children(i))
        {
            add(child, depth + 1);
        }
    };
    for (std::size_t const root : forest.roots())
    {
        add(root, 0);
    }
    return report;
}

std::string LogHolder::steps_as_json() const
{
    std::lock_guard<std::mutex> const lock(state_->steps_mutex);
    StepForest const forest(state_->steps);
    std::function<std::string(std::vector<std::size_t> const&)> const list =
        [&](std::vector<std::size_t> const& indices)
    {
        std::string json = "[";
        for (std::size_t const i : indices)
        {
            Step const& step = state_->steps[i];
            char numbers[128];
            std::snprintf(numbers, sizeof numbers, ",\"laps\":%d,\"seconds\":%.9f,\"running\":%d",
                          step.laps, step.seconds, step.running);
            json += json.size() > 1 ? "," : "";
            json += "{\"name\":" + json_string(step.name) + numbers +
                    ",\"children\":" + list(forest.children(i)) + "}";
        }
        return json + "]";
    };
    return list(forest.roots());
}

void LogHolder::clear_steps()
{
    std::lock_guard<std::mutex> const lock(state_->steps_mutex);
    state_->steps.clear();
    state_->laps.clear();
}

int format_line(char (&buffer)[512], char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    if (length < 0)
    {
        buffer[0] = '\0';
    }
    return length;
}

} // namespace OrvaneAlgorithm
