#include "progress.h"

namespace
{

constexpr std::chrono::seconds FIRST{1};
constexpr std::chrono::milliseconds BETWEEN{200};

void write_line(progress_t &progress, std::string_view text)
{
    fmt::print(progress.console.err, "\r\x1b[K{}", text);
    (void)std::fflush(progress.console.err);
}

} // namespace

progress_t progress_begin(console_t &console, progress_clock_t::time_point now)
{
    return {console, now + FIRST};
}

void progress_show(progress_t &progress, const progress_step_t &step, size_t done, size_t all,
                   progress_clock_t::time_point now)
{
    if (!progress.console.progress || now < progress.next)
        return;
    progress.next = now + BETWEEN;
    progress.shown = true;
    write_line(progress, fmt::format("{} {} of {} {}", step.done, done >> step.shift,
                                     all >> step.shift, step.unit));
}

void progress_end(progress_t &progress)
{
    if (progress.shown)
        write_line(progress, "");
    progress.shown = false;
}
