// The process entry: a lone --help or --version answers and exits; any
// other command line starts the daemon, which takes no arguments.
#include "frame/info_option.h"
#include "frame/main.h"

namespace {

const char help_text[] =
    "usage: corvaned [--help | --version]\n"
    "  Keeps the legacy corvane.* subtree of the configuration bus in step with\n"
    "  the device's native nodes and runs the lens and PTZ logic. Started without\n"
    "  arguments by the init system; logs to standard output, stops on SIGINT,\n"
    "  SIGTERM or SIGQUIT.\n";

} // namespace

int main(int argc, char **argv)
{
    if (corvaned::answer_info_option(argc, argv, "corvaned", help_text))
        return 0;
    return corvaned::main(); // other arguments are ignored, as they always were
}
