// The report side of corvane-bench.
#ifndef BENCH_REPORT_H
#define BENCH_REPORT_H

namespace bench {

struct ReportOptions {
    bool quick = false;      // few and short runs: a smoke run of a few seconds
    bool callgrind = true;   // instruction counts, when valgrind is installed
};

// Prints the markdown sections of the daemon's own figures; 1 when a
// measured process failed (its row says so).
int report(const ReportOptions &options);

} // namespace bench

#endif
