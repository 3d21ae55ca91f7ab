#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

#include "exit_status.h"
#include "pdata_app.h"

namespace
{

/// Returns what ended the program where nothing can be thrown: a JSON document allocates while it
/// is destroyed.
std::string_view last_words()
{
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const std::bad_alloc &) {
        return "pdata: out of memory\n";
    } catch (...) {
        return "pdata: internal error: an exception where none can be thrown\n";
    }
}

[[noreturn]] void end_at_once()
{
    const std::string_view text = last_words();
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    std::_Exit(EXIT_STATUS_INTERNAL);
}

} // namespace

int main(int argc, char **argv)
{
    std::set_terminate(end_at_once);
    // A reader that goes away shows as a failed write, and ends with a status.
    std::signal(SIGPIPE, SIG_IGN);
    console_t console = console_open();
    return pdata_main(argc, argv, console);
}
