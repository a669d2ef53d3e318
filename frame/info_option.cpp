#include "frame/info_option.h"

#include <cstdio>
#include <cstring>

#include "frame/version.h"

namespace corvaned {

bool answer_info_option(int argc, char **argv, const char *name, const char *help)
{
    if (argc != 2)
        return false;
    if (strcmp(argv[1], "--version") == 0) {
        printf("%s %s\n", name, CORVANED_VERSION);
        return true;
    }
    if (strcmp(argv[1], "--help") == 0) {
        (void)fputs(help, stdout);
        return true;
    }
    return false;
}

} // namespace corvaned
