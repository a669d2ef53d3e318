// corvane-bench: see bench/bench.h and docs/PERFORMANCE.md.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/bench.h"
#include "bench/report.h"

namespace {

const char usage[] =
    "usage: corvane-bench [report] [--quick] [--no-callgrind]\n"
    "       corvane-bench startup DEVICE [SEQUENCE] | replay DEVICE SEQUENCE | writes RUNS COUNT BURST\n"
    "  report (the default) prints the daemon's figures as markdown; the other\n"
    "  forms are the measured processes it starts.\n";

} // namespace

int main(int argc, char **argv)
{
    std::string mode = argc > 1 && argv[1][0] != '-' ? argv[1] : "report";
    if (mode == "startup" && (argc == 3 || argc == 4))
        return bench::run_startup(argv[2], argc == 4 ? argv[3] : "");
    if (mode == "replay" && argc == 4)
        return bench::run_replay(argv[2], argv[3]);
    if (mode == "writes" && argc == 5)
        return bench::run_writes(atoi(argv[2]), atoi(argv[3]), atoi(argv[4]));
    if (mode == "report") {
        bench::ReportOptions options;
        for (int i = argv[1] && std::string(argv[1]) == "report" ? 2 : 1; i < argc; ++i) {
            std::string option = argv[i];
            if (option == "--quick")
                options.quick = true;
            else if (option == "--no-callgrind")
                options.callgrind = false;
            else {
                fputs(usage, stderr);
                return 2;
            }
        }
        return bench::report(options);
    }
    fputs(usage, stderr);
    return 2;
}
