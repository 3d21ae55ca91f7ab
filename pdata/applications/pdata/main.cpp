#include <csignal>

#include "pdata_app.h"

int main(int argc, char **argv)
{
    // A reader that goes away shows as a failed write, and ends with a status.
    std::signal(SIGPIPE, SIG_IGN);
    console_t console = console_open();
    return pdata_main(argc, argv, console);
}
