// Every converter of the binding table on arbitrary native values. An
// input is LEGACY \n VALUE \n VALUE ...: the converted legacy node at or
// after LEGACY in name order (wrapping; one per row and sensor), then the
// values of the native nodes that its converter reads (learnt from a clean
// run), in the order it reads them. Runs without the bus thread: the
// converter's writes are stored at once.
#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bindings/binding.h"
#include "frame/context.h"
#include "frame/text.h"
#include "sim/platform/sim.h"
#include "tests/fuzz/fuzz_daemon.h"

namespace {

struct Call {
    Converter converter;
    std::string legacy_name;
    std::string native_name;
    std::vector<std::string> reads;  // native nodes read, first occurrence order
};

std::vector<Call> calls;  // in legacy name order

void run(const Call &call)
{
    char legacy[128];
    char native[128];
    copy_into(legacy, call.legacy_name.c_str());
    copy_into(native, call.native_name.c_str());
    call.converter(legacy, native);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    load_default_device();
    service.cam_count = kMaxCameras;
    for (const NodeBinding &row : binding_table) {
        if (!row.converter)
            continue;
        bool per_camera = contains(row.legacy_name, "cam%d");
        for (int camera = 1; camera <= (per_camera ? kMaxCameras : 1); ++camera) {
            char legacy[128];
            char native[128];
            expand_pattern(legacy, row.legacy_name, camera);
            expand_pattern(native, row.native_name, camera);
            Call call{row.converter, legacy, native, {}};
            sim::take_record();
            run(call);
            std::set<std::string> seen;
            for (const std::string &name : sim::take_record().reads)
                if (seen.insert(name).second)
                    call.reads.push_back(name);
            calls.push_back(call);
        }
    }
    std::stable_sort(calls.begin(), calls.end(),
                     [](const Call &a, const Call &b) { return a.legacy_name < b.legacy_name; });
    undo_writes();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (calls.empty())
        return 0;
    std::string rest(reinterpret_cast<const char *>(data), size);
    std::string legacy = take_line(&rest);
    auto pick = std::lower_bound(calls.begin(), calls.end(), legacy,
                                 [](const Call &call, const std::string &name) { return call.legacy_name < name; });
    const Call &call = pick == calls.end() ? calls.front() : *pick;
    std::vector<std::pair<std::string, std::optional<std::string>>> before;
    for (const std::string &node : call.reads) {
        before.emplace_back(node, sim::node(node));
        sim::device_write(node, take_line(&rest));
    }
    run(call);
    for (const auto &[node, old] : before) {
        if (old)
            sim::device_write(node, *old);
        else
            sim::remove_node(node);
    }
    undo_writes();
    return 0;
}
