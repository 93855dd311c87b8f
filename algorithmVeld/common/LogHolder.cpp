#include "algorithmVeld/common/LogHolder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <iomanip>
#include <locale>
#include <mutex>
#include <sstream>
#include <thread>
#include <vector>

namespace OrvaneAlgorithm
{

LogHolder gLH;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t NONE = static_cast<std::size_t>(-1);

/// A step under one parent, with the time of all its laps.
struct Step
{
    std::string name;
    std::string parent;
    std::size_t parent_step = NONE; ///< NONE at the top, or while no step of that name is known
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

/// Length of the UTF-8 sequence at the beginning of `text`, 0 if there is no valid one.
std::size_t utf8_length(unsigned char const* text, std::size_t n)
{
    unsigned char const c = text[0];
    std::size_t const length = c < 0x80 ? 1 : c < 0xC2 ? 0 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    if (length > n || c > 0xF4)
    {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((text[i] & 0xC0) != 0x80)
        {
            return 0;
        }
    }
    // What is written longer than needed, half a surrogate pair, or too large is no text either.
    bool const is_wrong = (c == 0xE0 && text[1] < 0xA0) || (c == 0xED && text[1] > 0x9F) ||
                          (c == 0xF0 && text[1] < 0x90) || (c == 0xF4 && text[1] > 0x8F);
    return is_wrong ? 0 : length;
}

/// A JSON string; bytes that are no UTF-8 become the replacement character.
std::string json_string(std::string const& text)
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(text.data());
    std::string quoted = "\"";
    for (std::size_t i = 0; i < text.size();)
    {
        std::size_t const length = utf8_length(bytes + i, text.size() - i);
        if (length == 0)
        {
            quoted += "\xEF\xBF\xBD";
        }
        else if (bytes[i] < 0x20)
        {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(bytes[i]));
            quoted += code;
        }
        else
        {
            quoted += bytes[i] == '"' || bytes[i] == '\\' ? "\\" : "";
            quoted.append(text, i, length);
        }
        i += std::max<std::size_t>(length, 1);
    }
    return quoted + '"';
}

/// Seconds with a decimal point, whatever the host's locale is.
std::string seconds_text(double seconds, int digits)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(digits) << seconds;
    return text.str();
}

/// The steps as a forest: each step's children in order of their first start.
class StepForest
{
public:
    explicit StepForest(std::deque<Step> const& steps) : parents_(steps.size(), NONE)
    {
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            parents_[i] = steps[i].parent_step;
        }
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            adopt(steps, i);
        }
        children_.resize(steps.size());
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            (parents_[i] == NONE ? roots_ : children_[parents_[i]]).push_back(i);
        }
    }

    std::vector<std::size_t> const& roots() const { return roots_; }
    std::vector<std::size_t> const& children(std::size_t i) const { return children_[i]; }

private:
    /// Puts a step whose parent came after it under the first step of that name, unless it would
    /// become its own ancestor.
    void adopt(std::deque<Step> const& steps, std::size_t i)
    {
        for (std::size_t j = 0; j < steps.size() && parents_[i] == NONE; ++j)
        {
            if (!steps[i].parent.empty() && steps[j].name == steps[i].parent && !is_under(j, i))
            {
                parents_[i] = j;
            }
        }
    }

    bool is_under(std::size_t step, std::size_t ancestor) const
    {
        while (step != NONE && step != ancestor)
        {
            step = parents_[step];
        }
        return step == ancestor;
    }

    std::vector<std::size_t> parents_;
    std::vector<std::vector<std::size_t>> children_;
    std::vector<std::size_t> roots_;
};

} // namespace

struct LogHolder::State
{
    using Sink = std::function<void(std::string const&)>;

    std::mutex sink_mutex; // of both: their texts stay in order where they go to one place
    Sink sink;
    Sink print_sink;

    std::mutex observer_mutex;
    std::atomic<bool> is_observed{false};
    std::function<void(StepEvent const&)> observer;

    std::mutex steps_mutex;
    std::deque<Step> steps;
    std::vector<Lap> laps;

    void write(std::string const& text) { write_to(sink, text); }
    void print(std::string const& text) { write_to(print_sink, text); }

    void write_to(Sink const& chosen, std::string const& text)
    {
        std::lock_guard<std::mutex> const lock(sink_mutex);
        if (chosen)
        {
            chosen(text);
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

    /// The step that a new lap of the parent's name would be counted on: the one that runs in this
    /// thread, or in another one (a parallel region inside it), or the last one of that name.
    std::size_t find_parent(std::string const& parent) const
    {
        std::size_t elsewhere = NONE;
        auto const thread = std::this_thread::get_id();
        for (auto lap = laps.rbegin(); lap != laps.rend(); ++lap)
        {
            if (steps[lap->step].name == parent)
            {
                if (lap->thread == thread)
                {
                    return lap->step;
                }
                elsewhere = elsewhere == NONE ? lap->step : elsewhere;
            }
        }
        for (std::size_t i = steps.size(); i-- > 0 && elsewhere == NONE;)
        {
            elsewhere = steps[i].name == parent ? i : NONE;
        }
        return elsewhere;
    }

    /// The step of this name under this parent, made on its first start.
    std::size_t find_or_add(std::string const& name, std::string const& parent)
    {
        std::size_t const parent_step = parent.empty() ? NONE : find_parent(parent);
        auto const is_it = [&](std::size_t i)
        { return steps[i].name == name && steps[i].parent == parent; };
        // A step inside itself is counted on itself: a chain of parents never holds it twice.
        for (std::size_t i = parent_step; i != NONE; i = steps[i].parent_step)
        {
            if (is_it(i))
            {
                return i;
            }
        }
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            // One that started before its parent was known joins it now.
            if (is_it(i) && (steps[i].parent_step == parent_step || steps[i].parent_step == NONE))
            {
                steps[i].parent_step = parent_step;
                return i;
            }
        }
        steps.push_back({name, parent, parent_step, 0, 0.0, 0});
        return steps.size() - 1;
    }

    /// The last lap of the step in this thread, or else in any other.
    std::vector<Lap>::reverse_iterator find_lap(std::string const& name)
    {
        auto const is_it = [&](Lap const& lap) { return steps[lap.step].name == name; };
        auto const thread = std::this_thread::get_id();
        auto const own =
            std::find_if(laps.rbegin(), laps.rend(),
                         [&](Lap const& lap) { return lap.thread == thread && is_it(lap); });
        return own != laps.rend() ? own : std::find_if(laps.rbegin(), laps.rend(), is_it);
    }

    /// Ends the last lap of the step. \return false if there is none
    bool end_lap(std::string const& name, StepEvent& event)
    {
        auto const lap = find_lap(name);
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

void LogHolder::print_past_log(std::string const& text)
{
    state_->print(text);
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
    // Wide formatting tells neither a length beforehand nor why it failed, so the buffer grows
    // until the text fits, up to a size at which it is held to be impossible.
    constexpr std::size_t LARGEST_BUFFER = std::size_t{1} << 20U;
    for (std::vector<wchar_t> buffer(1024); buffer.size() <= LARGEST_BUFFER;
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
    // First, so that a step whose observer throws has not started.
    if (state_->is_observed)
    {
        state_->tell({step, parent, true, 0.0});
    }
    std::lock_guard<std::mutex> const lock(state_->steps_mutex);
    std::size_t const index = state_->find_or_add(step, parent);
    state_->laps.push_back({index, std::this_thread::get_id(), Clock::now()});
    ++state_->steps[index].running;
}

void LogHolder::lapSpecStepTimer(std::string const& step)
{
    StepEvent event;
    bool ended = false;
    {
        std::lock_guard<std::mutex> const lock(state_->steps_mutex);
        ended = state_->end_lap(step, event);
    }
    if (ended && state_->is_observed)
    {
        event.step = step;
        state_->tell(event);
    }
}

void LogHolder::set_sink(std::function<void(std::string const&)> sink)
{
    std::lock_guard<std::mutex> const lock(state_->sink_mutex);
    state_->sink = std::move(sink);
}

void LogHolder::set_print_sink(std::function<void(std::string const&)> sink)
{
    std::lock_guard<std::mutex> const lock(state_->sink_mutex);
    state_->print_sink = std::move(sink);
}

void LogHolder::set_step_observer(std::function<void(StepEvent const&)> observer)
{
    std::lock_guard<std::mutex> const lock(state_->observer_mutex);
    state_->observer = std::move(observer);
    state_->is_observed = static_cast<bool>(state_->observer);
}

std::string LogHolder::report_steps() const
{
    std::lock_guard<std::mutex> const lock(state_->steps_mutex);
    StepForest const forest(state_->steps);
    std::string report;
    std::function<void(std::size_t, int)> const add = [&](std::size_t i, int depth)
    {
        Step const& step = state_->steps[i];
        char laps[16];
        std::snprintf(laps, sizeof laps, "%8d", step.laps);
        std::string const seconds = seconds_text(step.seconds, 6);
        std::string name(static_cast<std::size_t>(depth) * 2, ' ');
        name += step.name;
        name.resize(std::max<std::size_t>(name.size(), 44), ' ');
        report += name + laps + std::string(13 - std::min<std::size_t>(seconds.size(), 12), ' ') +
                  seconds + " s\n";
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
            json += json.size() > 1 ? "," : "";
            json += "{\"name\":" + json_string(step.name) +
                    ",\"laps\":" + std::to_string(step.laps) +
                    ",\"seconds\":" + seconds_text(step.seconds, 9) +
                    ",\"running\":" + std::to_string(step.running) +
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
    int const length =
        format == nullptr ? -1 : std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    if (length < 0)
    {
        buffer[0] = '\0';
    }
    return length;
}

} // namespace OrvaneAlgorithm
