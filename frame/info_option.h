#ifndef FRAME_INFO_OPTION_H
#define FRAME_INFO_OPTION_H

namespace corvaned {
// Answers a lone --help or --version for the program `name`: prints the
// help text or the version on standard output and returns true (the caller
// exits 0). Any other command line returns false and prints nothing.
bool answer_info_option(int argc, char **argv, const char *name, const char *help);
}

#endif
