#include "shell/Console.h"

#include "workflow/Error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace veld::cli
{

namespace
{

void write_error_stream(std::string const& text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

/// A bar, a percentage and what is being done. Shorter than a line of any terminal.
std::string progress_line(std::string const& text, double fraction)
{
    constexpr int WIDTH = 24;
    constexpr std::size_t LONGEST_TEXT = 40;
    auto const done = static_cast<std::size_t>(std::clamp(fraction, 0.0, 1.0) * WIDTH);
    std::string bar = std::string(done, '#') + std::string(WIDTH - done, '.');
    return fmt::format("[{}] {:3.0f} % {}", bar, 100.0 * std::clamp(fraction, 0.0, 1.0),
                       one_line(text).substr(0, LONGEST_TEXT));
}

} // namespace

bool is_terminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(fileno(stderr)) != 0;
#endif
}

std::string one_line(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
    {
        text.pop_back();
    }
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
    return text;
}

void print_line(std::string const& text)
{
    write_error_stream(one_line(text) + "\n");
}

void print_error(std::string const& text)
{
    print_line("error: " + text);
}

void Console::print(std::string const& text)
{
    if (!settings_.json && !settings_.quiet)
    {
        write_result(text);
    }
}

void Console::print_json(std::string const& text)
{
    write_result(text + "\n");
}

void Console::warn(std::string const& text)
{
    std::lock_guard<std::mutex> const lock(mutex_);
    if (!settings_.quiet)
    {
        clear_line();
        write_error_stream("warning: " + one_line(text) + "\n");
    }
}

void Console::log(std::string const& text)
{
    std::lock_guard<std::mutex> const lock(mutex_);
    clear_line();
    write_error_stream(text);
}

void Console::show_progress(std::string const& text, double fraction)
{
    constexpr auto PAUSE = std::chrono::milliseconds(100);
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const now = std::chrono::steady_clock::now();
    bool const is_due = !progress_shown_ || text != progress_text_ || now - progress_time_ >= PAUSE;
    if (is_terminal() && is_due && !settings_.quiet)
    {
        clear_line();
        write_error_stream(progress_line(text, fraction));
        progress_shown_ = true;
        progress_text_ = text;
        progress_time_ = now;
    }
}

void Console::clear_progress()
{
    std::lock_guard<std::mutex> const lock(mutex_);
    clear_line();
}

void Console::finish()
{
    clear_progress();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    {
        throw OperationError("standard output: cannot be written");
    }
}

void Console::release()
{
    std::lock_guard<std::mutex> const lock(mutex_);
    if (!held_.empty())
    {
        clear_line();
        write_error_stream(held_);
        held_.clear();
    }
}

void Console::write_result(std::string const& text)
{
    std::lock_guard<std::mutex> const lock(mutex_);
    clear_line();
    if (settings_.output_is_stdout)
    {
        held_ += text;
        return;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void Console::clear_line()
{
    if (progress_shown_)
    {
        write_error_stream("\r\033[K");
        progress_shown_ = false;
    }
}

} // namespace veld::cli
